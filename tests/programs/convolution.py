# Convolution and correlation of NumPy's arrays by ctypes, each beside that of SciPy.
#
#     python3 convolution.py FOLDER      FOLDER has the libraries
import ctypes
import itertools
import sys

import numpy as np
from scipy import signal

folder = sys.argv[1]
layer = ctypes.CDLL(folder + "/libqnm.so.2")
types = {"s": np.float32, "d": np.float64, "c": np.complex64, "z": np.complex128}


def checked(status):
    if status != 0:
        sys.exit(f"status {status}")


def ints(values):
    return (ctypes.c_int * len(values))(*values)


def strides(array):
    return ints([step // array.itemsize for step in array.strides])


def address(array):
    return ctypes.c_void_p(array.ctypes.data)  # of the first element, wherever the others lie


def result(letter, kind, mode, x, y, zshape):
    """What a task makes of two arrays; kind is Conv or Corr."""
    z = np.empty(zshape, types[letter])
    task = ctypes.c_void_p()
    create = getattr(layer, f"vsl{letter}{kind}NewTask")
    run = getattr(layer, f"vsl{letter}{kind}Exec")
    checked(create(ctypes.byref(task), mode, x.ndim, ints(x.shape), ints(y.shape), ints(zshape)))
    checked(run(task, address(x), strides(x), address(y), strides(y), address(z), strides(z)))
    checked(getattr(layer, f"vsl{kind}DeleteTask")(ctypes.byref(task)))
    return z


random = np.random.default_rng(7)
shapes = [((1,), (1,)), ((7,), (1000,)), ((3000,), (700,)), ((5, 40), (33, 8)), ((4, 3, 9), (2, 11, 5)), ((2, 3, 2, 3), (3, 2, 3, 2))]
failures = rows = 0
for letter, kind, mode, (xshape, yshape) in itertools.product("sdcz", ("Conv", "Corr"), (0, 1, 2), shapes):
    dtype = types[letter]

    def numbers(shape):
        a = random.standard_normal(shape)
        if letter in "cz":
            a = a + 1j * random.standard_normal(shape)
        return a.astype(dtype)

    x, y = numbers(xshape), numbers(yshape)
    # Of twice as many numbers every other one, from the end.
    y = np.repeat(y, 2, axis=-1)[..., ::-2][..., ::-1]
    x = np.asfortranarray(x)
    exact = np.complex128 if letter in "cz" else np.float64
    if kind == "Conv":
        theirs = signal.convolve(x.astype(exact), y.astype(exact), method="direct")
    else:  # SciPy's has the conjugate in the second place
        theirs = signal.correlate(y.astype(exact), x.astype(exact), method="direct")
    ours = result(letter, kind, mode, x, y, theirs.shape)
    # Rounding of as many terms, by the size of their sum.
    terms = min(np.prod(xshape), np.prod(yshape))
    most = 4 * np.finfo(dtype).eps * np.sqrt(terms + 10) * 6 * max(1, np.log2(theirs.size))
    difference = np.max(abs(ours - theirs))
    good = difference <= most and np.any(ours != 0)
    rows += 1
    failures += not good
    if not good:
        print(f"{letter}{kind} mode {mode} {xshape} {yshape}: {difference:.2e}, allowed {most:.2e}   WRONG")
print(f"{rows - failures} of {rows} as SciPy's")
sys.exit(failures != 0)
