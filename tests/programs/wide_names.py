"""The jumps of plain names to wide entries, beside the headers and the layer: whole, true, and in nobody's way.

wide_names.py HEADERS JUMPS LAYER: what programs with 64-bit integers call under plain names is what headers declare twice,
with other integers.
"""
import glob
import re
import subprocess
import sys

headers, jumps, layer = sys.argv[1:4]
failures = []


def expect(good, message):
    if not good:
        failures.append(message)


def told(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


declared = {}
for header in glob.glob(headers + "/*.h"):
    text = re.sub(r"/\*.*?\*/|^ *#.*?$", "", open(header).read(), flags=re.S | re.M)
    for found in re.finditer(r"([\w ]+[*\s]+)(\w+)(\([^;{}]*\));", text):
        declared[found[2]] = re.sub(r"\s+", " ", found[1] + found[3])


def wide(name):
    return name + ("64_" if name.endswith("_") else "_64")


plain = {name for name in declared if re.fullmatch(r"[a-z0-9_]+_|(cblas|LAPACKE)_\w+", name) and wide(name) in declared}
wanted = {name: wide(name) for name in plain if declared[name] != declared[wide(name)]}

# Each symbol's one instruction, and the entry of the linkage table that it leads to.
made = dict(re.findall(r"<(\w+)>:\n.*\tjmp .*<(\w+)@plt>\n", told("objdump", "-d", "--no-show-raw-insn", jumps)))
expect(len(made) > 5000, f"{len(made)} jumps")
for name in sorted(made.keys() | wanted.keys()):
    expect(made.get(name) == wanted.get(name), f"{name}: to {made.get(name)}, and not to {wanted.get(name)}")
exported = set(re.findall(r" [TW] (\w+)", told("nm", "-D", "--defined-only", jumps)))
expect(exported == made.keys(), f"more than jumps: {sorted(exported - made.keys())[:9]}")

# The layer calls no narrow entry under a name that is taken over, but for those of the C interface to LAPACK, whose narrow
# entries call each other alone and are all taken over.
called = set(re.findall(r"R_X86_64_\w+ +\w+ +(\w+) \+ 0", told("readelf", "--relocs", "--wide", layer)))
expect("LAPACKE_dgesv_work" in called, "relocations are read otherwise")
expect(not [name for name in called & made.keys() if not name.startswith("LAPACKE_")], "the layer calls what is taken over")

print(f"{len(made)} jumps")
for failure in failures:
    print("FAILED:", failure)
sys.exit(len(failures) > 0)
