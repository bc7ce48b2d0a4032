# Vector functions on NumPy's arrays, by ctypes, each beside the function of NumPy or SciPy.
#
#     python3 vectors.py FOLDER      FOLDER has the libraries
#
# Each row ends with the largest difference that is allowed, in units of the last place (of the larger part, if the
# result is complex): ours is right to one or two, so it is above all theirs. Bessel functions cross zero,
# where SciPy's are good to so many units of their largest value.
import ctypes
import sys

import numpy as np
from scipy import special

folder = sys.argv[1]
layer = ctypes.CDLL(folder + "/libqnm.so.2")


def vector(name, *inputs):
    """What the function of this name, vdExp for one, makes of arrays."""
    result_type = {"s": np.float32, "d": np.float64, "c": np.complex64, "z": np.complex128}[name[1]]
    result = np.empty(inputs[0].shape, result_type)
    addresses = [ctypes.c_void_p(array.ctypes.data) for array in (*inputs, result)]
    getattr(layer, name)(ctypes.c_int(inputs[0].size), *addresses)
    return result


def of_two(function):
    return lambda a: function(a, a[::-1].copy())


cases = [
    ("vdExp", np.exp, -700, 700, 2),
    ("vdExp2", np.exp2, -1000, 1000, 2),
    ("vdExp10", special.exp10, -300, 300, 4),
    ("vdExpm1", np.expm1, -5, 5, 3),
    ("vdLn", np.log, 1e-3, 1e3, 2),
    ("vdLog2", np.log2, 1e-3, 1e3, 3),
    ("vdLog10", np.log10, 1e-3, 1e3, 3),
    ("vdLog1p", np.log1p, -0.99, 50, 3),
    ("vdSqrt", np.sqrt, 0, 1e6, 0),
    ("vdCbrt", np.cbrt, -1e6, 1e6, 2),
    ("vdInvSqrt", lambda x: 1 / np.sqrt(x), 1e-3, 1e6, 2),
    ("vdSin", np.sin, -1e4, 1e4, 4),
    ("vdCos", np.cos, -1e4, 1e4, 4),
    ("vdTan", np.tan, -1.5, 1.5, 3),
    ("vdSind", special.sindg, 1, 179, 4),
    ("vdCosd", special.cosdg, -89, 89, 4),
    ("vdTand", special.tandg, 1, 60, 6),
    ("vdAsin", np.arcsin, -1, 1, 3),
    ("vdAcos", np.arccos, -1, 1, 3),
    ("vdAtan", np.arctan, -50, 50, 2),
    ("vdSinh", np.sinh, -50, 50, 3),
    ("vdCosh", np.cosh, -50, 50, 3),
    ("vdTanh", np.tanh, -5, 5, 4),
    ("vdAsinh", np.arcsinh, -50, 50, 4),
    ("vdAcosh", np.arccosh, 1, 50, 4),
    ("vdAtanh", np.arctanh, -0.99, 0.99, 4),
    ("vdErf", special.erf, -4, 4, 4),
    ("vdErfc", special.erfc, -4, 1, 12),
    ("vdErfcx", special.erfcx, -4, 50, 8),
    ("vdErfInv", special.erfinv, -0.999, 0.999, 4),
    ("vdCdfNorm", special.ndtr, -1, 5, 8),
    ("vdCdfNormInv", special.ndtri, 0.01, 0.45, 8),
    ("vdTGamma", special.gamma, 0.1, 100, 8),
    ("vdExpInt1", special.exp1, 0.01, 30, 16),
    ("vdI0", special.i0, -20, 20, 8),
    ("vdI1", special.i1, 0.1, 20, 16),
    ("vdJ0", special.j0, 0, 50, 8),
    ("vdY1", special.y1, 2, 50, 24),
    ("vdPow", of_two(np.power), 0.1, 50, 3),
    ("vdAtan2", of_two(np.arctan2), -50, 50, 2),
    ("vdHypot", of_two(np.hypot), -50, 50, 2),
    ("vdFmod", of_two(np.fmod), 0.1, 50, 0),
    ("vsExp", lambda x: np.exp(x.astype(float)).astype(np.float32), -80, 80, 1),
    ("vzExp", np.exp, -5, 5, 4),
    ("vzSqrt", np.sqrt, -5, 5, 4),
]
crossing = {"vdJ0", "vdY1"}

random = np.random.default_rng(1)
failures = 0
for name, function, low, high, most in cases:
    a = random.uniform(low, high, 10000)
    if name[1] == "z":
        a = a + 1j * random.uniform(low, high, a.size)
    elif name[1] == "s":
        a = a.astype(np.float32)
    theirs = function(a)
    ours = vector(name, *((a, a[::-1].copy()) if name[2:] in ("Pow", "Atan2", "Hypot", "Fmod") else (a,)))
    size = np.maximum(abs(theirs.real), abs(theirs.imag)) if name[1] == "z" else abs(theirs)
    if name in crossing:
        size = np.full(a.size, size.max())
    difference = np.max(abs(ours - theirs) / np.spacing(size))
    good = difference <= most and np.any(ours != 0)
    failures += not good
    print(f"{name:13}{difference:9.2f} ulp, allowed {most:3}{'' if good else '   WRONG'}")
print(f"{len(cases) - failures} of {len(cases)} as told")
sys.exit(failures != 0)
