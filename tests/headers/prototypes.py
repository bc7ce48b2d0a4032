"""What the headers declare: the names that the library exports, with the prototypes of published headers.

prototypes.py COMPILER INCLUDE LIBRARY [WHOSE=HEADER]...: the compiler tells what a header declares.
"""
import glob
import operator
import re
import subprocess
import sys
import tempfile

compiler, include, library = sys.argv[1:4]
failures = []
one_for_all = {"int32_t": "int", "complex float": "qnm_complex8", "complex double": "qnm_complex16"}


def expect(good, message):
    if not good:
        failures.append(message)


def read_type(text):
    """`const double *const *`: its element, double; two stars; and whether what the first leads to is constant."""
    words = re.findall(r"\w+|\*", text)
    element = " ".join(word for word in words if word not in ("const", "*"))
    return one_for_all.get(element, element), words.count("*"), "*" in words and "const" in words[:words.index("*")]


def prototypes(header, *options):
    """The name of each function that a header declares, with the types of its result and its arguments."""
    with tempfile.NamedTemporaryFile(mode="r") as told:
        subprocess.run([compiler, "-x", "c", "-fsyntax-only", "-aux-info", told.name, *options, header], check=True)
        for line in told:
            line = re.sub(r"\(\*(\w+) (\(.*\))\);", r"*\1 \2;", line)  # the address of an array as a result
            found = re.fullmatch(r"/\* (\S+):\d+:NC \*/ extern (.*?)(\w+) \((.*)\);\n", line)
            if found and found[1] == header:
                arguments = [read_type(each) for each in found[4].split(",") if each != "void"]
                yield found[3], [read_type(found[2]), *arguments]


def names_of(library):
    return {line.split()[-1] for line in subprocess.check_output(
        ["nm", "--dynamic", "--defined-only", library], text=True).splitlines()}


ours = {}
for header in sorted(glob.glob(include + "/qnm/*.h")):
    for function, types in prototypes(header, "-I", include):
        expect(function not in ours, f"{function} is declared twice")
        ours[function] = types

# Some names are for other interfaces of the library, for the project's tests and for the core, not for programs.
exported = names_of(library)
for name in exported ^ ours.keys():
    expect(re.match(r"qnm_(\w+?__|serv_iface_|vml_serv_|\w+?_errchk_|set_xerbla_interface$|dft_dfti_compute_|dfti_is_ilp64$|cdft_)|"
                    r"cdecl_|(?i:dfti(_|\w*_internal))|\w+__$|[ds]fftw_|fftw(f?_(version|cc|codelet_optim)|3_qnm)$", name),
           f"{name} is exported or declared, and not both")


# A core's headers have just what the layer imports.
imported = {line.split()[-1] for line in subprocess.check_output(
    ["nm", "--dynamic", "--undefined-only", library], text=True).splitlines() if " qnm_" in line}
for_cores = {function for header in glob.glob(include + "/qnm/core/*.h")
             for function, _ in prototypes(header, "-I", include)}
expect(len(imported) > 3000, f"the layer imports {len(imported)} functions")
for name in sorted(imported ^ for_cores):
    expect(False, f"{name} is imported or declared for a core, and not both")


def compare(published, least, words={}, constants_agree=operator.eq, int_for_nothing=False):
    """Expects that published functions which we have too, so many at least, are declared as ours."""
    def agree(our, their):
        if int_for_nothing and our[:2] == ("void", 0):
            return their[:2] in (("int", 0), ("void", 0))
        (element, stars, constant), (other, *rest) = our, their
        return (stars == rest[0] and (stars == 0 or constants_agree(constant, rest[1])) and
                (words.get(element, element) == words.get(other, other) or
                 (element.startswith("qnm_complex") and other == "void")))

    both = published.keys() & ours.keys()
    expect(len(both) >= least, f"{len(both)} functions of {least} to compare")
    for function in both:
        our, their = ours[function], published[function]
        expect(len(our) == len(their) and all(map(agree, our, their)), f"{function}: {our}\n  published as {their}")
    return published.keys() - both


def openblas(header):
    """Complex arrays are arrays of reals there, nothing is const, and subroutines return an int without meaning."""
    floats = {"qnm_complex8": "float", "openblas_complex_float": "float"}
    doubles = {"qnm_complex16": "double", "openblas_complex_double": "double"}
    compare(dict(prototypes(header, "-DRETURN_BY_STACK")), 150, {**floats, **doubles, "blasint": "int"}, lambda our, their: True, True)


def reference(header):
    """Has const where the reference BLAS only reads. Functions stand there as subroutines with one more argument, the
    address of their result; hidden lengths are told."""
    published = {}
    for function, (result, *arguments) in prototypes(
            header, "-include", "stddef.h", "-DF77_GLOBAL(lower,upper)=lower##_", "-DF77_CHAR=const char *"):
        arguments = [each for each in arguments if each[0] != "size_t"]
        if function.endswith("sub_"):
            last = arguments.pop()
            if last[0] == "void":  # a complex result's address comes first
                arguments.insert(0, last)
            else:
                result = last[0], last[1] - 1, False
        published[re.sub("(sub)?_$", "_", function)] = [result, *arguments]
    del published["xerbla_"]  # that one is of C
    compare(published, 126, {"qnm_complex8": "float", "qnm_complex16": "double"})


def cblas(header):
    published = dict(prototypes(header))
    del published["cblas_xerbla"]  # of another signature
    lacking = compare(published, 148)
    expect(not lacking, f"{lacking} of the reference are lacking")


def lapacke(header):
    published = {name: types for name, types in prototypes(header) if name.startswith("LAPACKE_")}
    for function in published:
        if re.match("LAPACKE_[cz]tgexc", function):  # since 3.12 LAPACK tells the place that it has reached
            element, stars, constant = published[function][14]
            published[function][14] = element, stars + 1, constant
    lacking = compare(published, 2490, constants_agree=operator.ge)  # to write less than is published breaks nobody
    lacking = [name for name in lacking if not re.search("lassq|_nancheck", name)]
    expect(not lacking, f"{lacking} of the reference are lacking")


def fftw(header):
    """Of single and double precision; the Fortran 2003 interface has the same functions."""
    published = {name: types for name, types in prototypes(header) if re.match("fftwf?_", name)}
    newer = r"[ds]?fftwf?_(make_planner_thread_safe|planner_nthreads|threads_set_callback)_?$"
    lacking = [name for name in compare(published, 138) if not re.match(newer, name)]
    expect(not lacking, f"{lacking} of FFTW are lacking")
    with open(header.replace("fftw3.h", "fftw3.f03")) as fortran:
        lacking = set(re.findall(r"name='(fftwf?_\w+)'", fortran.read())) - published.keys()
    expect(not lacking, f"{lacking} of FFTW's Fortran interface are lacking")


def fftw_names(library):
    """What the libraries export: nothing of ours is unknown to them, and of their Fortran names few are to us."""
    published = set()
    for each in ("fftw3", "fftw3_threads", "fftw3f", "fftw3f_threads"):
        published |= names_of(library.replace("fftw3", each))
    unknown = {name for name in exported if "fftw" in name} - published - {"fftw3_qnm"}
    expect(not unknown, f"{unknown} are unknown to FFTW")
    ours_too = r"[ds]fftw_(?!cost|estimate_cost|planner_nthreads|set_timelimit)\w+(?<!_)_$"
    lacking = {name for name in published if re.match(ours_too, name)} - exported
    expect(not lacking, f"{lacking} of FFTW's Fortran names are lacking")


for each in sys.argv[4:]:
    whose, _, path = each.partition("=")
    globals()[whose](path)
print("\n".join(failures) or "all agree")
sys.exit(len(failures) > 0)
