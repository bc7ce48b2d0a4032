# Poisson's equation on the unit cube by PARDISO, by conjugate gradients with ILU(0), and analysed by FEAST, as poisson3d.c
# tells, with the same digits, by ctypes.
#
#     python3 poisson3d.py FOLDER narrow|wide [SIDE]      FOLDER has the libraries; PARDISO gets integers of that width
import ctypes
import math
import sys
from ctypes import byref, c_double, c_int

import numpy as np
from scipy import sparse

folder, width = sys.argv[1:3]
side = int(sys.argv[3]) if len(sys.argv) > 3 else 12
layer = ctypes.CDLL(folder + "/libqnm.so.2")
layer.dsecnd.restype = c_double
ROOM, LOWEST, HIGHEST = 30, 0.0, 150.0  # 17 eigenvalues, a gap behind them

n = side**3
line = (side + 1) ** 2 * sparse.diags([-1.0, 2.0, -1.0], [-1, 0, 1], (side, side))
a = sparse.csr_matrix(sparse.kronsum(sparse.kronsum(line, line), line))
a.sort_indices()
start, column, value = (a.indptr + 1).astype(np.int32), (a.indices + 1).astype(np.int32), a.data
h = 1.0 / (side + 1)
point = h * np.arange(1, side + 1)
pz, py, px = np.meshgrid(*3 * [point * (1 - point)], indexing="ij")
exact = (px * py * pz).ravel()
b = (2 * (px * py + py * pz + pz * px)).ravel()


def call(name, *arguments):
    """All arguments go by address."""
    getattr(layer, name)(*(ctypes.c_void_p(x.ctypes.data) if isinstance(x, np.ndarray) else
                           byref(x) if isinstance(x, (c_int, ctypes.c_int64, c_double)) else x for x in arguments))


def must(what, status):
    if status.value != 0:
        raise RuntimeError(f"{what}: {status.value}")


def solve_directly():
    integer = c_int if width == "narrow" else ctypes.c_int64
    name = "pardiso" if width == "narrow" else "pardiso_64"
    half = sparse.triu(a, format="csr")  # of a symmetric matrix the upper triangle
    starts, columns = half.indptr.astype(integer) + 1, half.indices.astype(integer) + 1
    u, pt, iparm, error = np.zeros(n), np.zeros(64, np.int64), np.zeros(64, integer), integer()  # iparm: defaults
    one, silent, rows, positive_definite = integer(1), integer(0), integer(n), integer(2)
    for phase in 13, -1:  # all steps; release
        call(name, pt, one, one, positive_definite, integer(phase), rows, half.data, starts, columns, None, one, iparm,
             silent, b, u, error)
        must(name, error)
    return u


def solve_by_steps():
    u, factors, tmp, between = np.zeros(n), np.zeros(len(value)), np.zeros((4, n)), np.zeros(n)
    ipar, dpar, rows = np.zeros(128, np.int32), np.zeros(128), c_int(n)
    request, status, steps = c_int(), c_int(), c_int()
    arguments = rows, u, b, request, ipar, dpar, tmp
    call("dcg_init", *arguments)
    must("dcg_init", request)
    ipar[8] = 1  # it ends when the residual is small,
    ipar[9] = 0  # and does not ask us
    ipar[10] = 1  # there is a preconditioner
    dpar[0] = 1e-11
    call("dcg_check", *arguments)
    must("dcg_check", request)
    call("dcsrilu0", rows, value, start, column, factors, ipar, dpar, status)
    must("dcsrilu0", status)
    while True:
        call("dcg", *arguments)
        if request.value <= 0:
            break
        if request.value == 1:
            call("qnm_dcsrgemv", b"N", rows, value, start, column, tmp[0], tmp[1])
        else:
            call("qnm_dcsrtrsv", b"L", b"N", b"U", rows, factors, start, column, tmp[2], between)
            call("qnm_dcsrtrsv", b"U", b"N", b"N", rows, factors, start, column, between, tmp[3])
    must("dcg", request)
    call("dcg_get", *arguments, steps)
    return u, steps.value


def find_eigenvalues():
    eigenvalue, vectors, residual = np.zeros(ROOM), np.zeros((ROOM, n)), np.zeros(ROOM)
    fpm, accuracy = np.zeros(128, np.int32), c_double()
    columns, contours, found, info = c_int(ROOM), c_int(), c_int(), c_int()
    call("feastinit", fpm)
    call("dfeast_scsrev", b"F", c_int(n), value, start, column, fpm, accuracy, contours, c_double(LOWEST),
         c_double(HIGHEST), columns, eigenvalue, vectors, found, residual, info)
    must("dfeast_scsrev", info)
    return sorted(eigenvalue[: found.value]), contours.value


def tell_formula():
    """Eigenvalues of the differences are sums of those along the three axes."""
    along = []
    for k in range(side):
        s = math.sin(math.acos(-1) * (k + 1) / (2 * (side + 1)))
        along.append(4 * (side + 1) * (side + 1) * (s * s))
    sums = (x + y + z for z in along for y in along for x in along)
    return sorted(sum for sum in sums if sum < HIGHEST)[:ROOM]


def tell_solution(name, u, seconds):
    """Prints a row; returns whether the solution is right."""
    product = np.zeros(n)
    call("qnm_dcsrgemv", b"N", c_int(n), value, start, column, u, product)
    worst = abs(u - exact).max()
    # One after the other, as in C.
    bound = math.sqrt(np.add.accumulate((b - product) ** 2)[-1]) / eigenvalue[0]
    print(f"{name:20}{worst:10.1E}{bound:10.1E}{seconds:10.3f} seconds")
    return worst < bound < 1e-10


times = [layer.dsecnd(), layer.dsecnd()][1:]  # the clock may need a moment at first
direct = solve_directly()
times.append(layer.dsecnd())
iterated, steps = solve_by_steps()
times.append(layer.dsecnd())
eigenvalue, contours = find_eigenvalues()
times.append(layer.dsecnd())
seconds = np.diff(times)

print(f"{n} points, {len(value)} elements")
print("                         error   at most")
good = tell_solution("PARDISO", direct, seconds[0])
good = tell_solution(f"DCG, {steps} steps", iterated, seconds[1]) and good
print(f"{f'FEAST, {contours} contours':20}{seconds[2]:30.3f} seconds")
formula = tell_formula()
good = good and len(eigenvalue) == len(formula)
print("    eigenvalue  by the formula  times")
i = 0
while i < len(eigenvalue):
    alike = sum(abs(other - formula[i]) < 1e-6 for other in formula)
    good = good and all(abs(x / y - 1) < 1e-12 for x, y in zip(eigenvalue[i:i + alike], formula[i:i + alike]))
    print(f"{eigenvalue[i]:14.9f}{formula[i]:16.9f}{alike:7}")
    i += alike
print(f"All within their bounds, and {len(eigenvalue)} eigenvalues below {HIGHEST:.0f}: {'yes' if good else 'no'}")
sys.exit(not good)
