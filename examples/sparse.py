# Sparse matrices of SciPy, by ctypes: products, triangular solves, sums and products of two, each beside SciPy's.
#
#     python3 sparse.py FOLDER [FILE...]      FOLDER has the libraries; files are in Matrix Market or Harwell-Boeing form
#
# Differences are told in units of what roundings may make of an element: the machine's precision by the sum of the
# absolute values of its terms. Each row ends with how many are allowed.
import ctypes
import os
import sys

import numpy as np
from scipy import sparse

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from matrix_files import read

folder, files = sys.argv[1], sys.argv[2:]
layer = ctypes.CDLL(folder + "/libqnm.so.2")

PLAIN, TRANSPOSED, BY_ROWS = 10, 11, 101
epsilon = np.finfo(float).eps


class Descriptor(ctypes.Structure):
    _fields_ = [(name, ctypes.c_int) for name in ("type", "mode", "diag")]


GENERAL = Descriptor(20, 42, 50)
SYMMETRIC_LOWER = Descriptor(21, 40, 50)
UNIT_LOWER, UPPER = Descriptor(23, 40, 51), Descriptor(23, 41, 50)


def passed(x):
    """An array goes as its address, a float as a double, all else as it is."""
    if isinstance(x, np.ndarray):
        return ctypes.c_void_p(x.ctypes.data)
    return ctypes.c_double(x) if isinstance(x, float) else x


def must(name, *arguments):
    status = getattr(layer, "qnm_sparse_" + name)(*map(passed, arguments))
    if status != 0:
        raise RuntimeError(f"{name}: status {status}")


class Handle:
    """A matrix of SciPy's where it is, or one that a function of the library makes."""

    def __init__(self, a=None):
        self.handle = ctypes.c_void_p()
        self.a = a  # the arrays have to outlive the handle
        if a is not None:
            start = a.indptr.ctypes.data
            must("d_create_csr", ctypes.byref(self.handle), 0, *a.shape, ctypes.c_void_p(start),
                 ctypes.c_void_p(start + a.indptr.itemsize), a.indices, a.data)

    @classmethod
    def made(cls, name, *arguments):
        new = cls()
        must(name, *arguments, ctypes.byref(new.handle))
        return new

    def __del__(self):
        must("destroy", self.handle)

    def scipy(self):
        """A copy for SciPy."""
        base, rows, columns = ctypes.c_int(), ctypes.c_int(), ctypes.c_int()
        start, end, index = (ctypes.POINTER(ctypes.c_int)() for _ in range(3))
        values = ctypes.POINTER(ctypes.c_double)()
        must("d_export_csr", self.handle, *map(ctypes.byref, (base, rows, columns, start, end, index, values)))
        starts = np.append(np.ctypeslib.as_array(start, (rows.value,)), end[rows.value - 1]) - base.value
        count = int(starts[-1])
        return sparse.csr_matrix((np.ctypeslib.as_array(values, (count,)).copy(),
                                  np.ctypeslib.as_array(index, (count,)) - base.value, starts),
                                 (rows.value, columns.value))


def poisson(side, dimensions):
    line = sparse.diags([-1.0, 2.0, -1.0], [-1, 0, 1], (side, side))
    a = line
    for _ in range(dimensions - 1):
        a = sparse.kronsum(a, line)
    return a


random = np.random.default_rng(1)
matrices = [("poisson 2d", poisson(40, 2)), ("poisson 3d", poisson(12, 3)),
            ("random 90x60", sparse.random(90, 60, 0.1, random_state=random))]
matrices += [(path.rsplit("/", 1)[-1], read(path)) for path in files]

failures = 0


def compare(matrix, what, ours, theirs, size, most):
    global failures
    difference = abs(ours - theirs) / (epsilon * size + np.finfo(float).tiny)
    worst = float(difference.max()) if difference.size != 0 else 0.0
    good = ours.shape == theirs.shape and bool(np.any(ours != 0)) and worst <= most
    failures += not good
    print(f"{matrix:14}{what:22}{worst:8.2f}, allowed {most:4}{'' if good else '   WRONG'}")


for name, a in matrices:
    a = sparse.csr_matrix(a, dtype=float)
    a.sort_indices()
    handle, sizes = Handle(a), abs(a)
    longest = int(max(np.diff(a.indptr).max(), np.diff(a.tocsc().indptr).max())) + 2
    x, y = random.uniform(-1, 1, a.shape[1]), random.uniform(-1, 1, a.shape[0])
    result = y.copy()
    must("d_mv", PLAIN, 2.0, handle.handle, GENERAL, x, -1.0, result)
    compare(name, "2 A x - y", result, 2 * (a @ x) - y, 2 * (sizes @ abs(x)) + abs(y), longest)
    result = x.copy()
    must("d_mv", TRANSPOSED, 1.0, handle.handle, GENERAL, y, 0.0, result)
    compare(name, "A' y", result, a.T @ y, sizes.T @ abs(y), longest)
    several, result = random.uniform(-1, 1, (a.shape[1], 5)), np.empty((a.shape[0], 5))
    must("d_mm", PLAIN, 1.0, handle.handle, GENERAL, BY_ROWS, several, 5, 5, 0.0, result, 5)
    compare(name, "A X, of five columns", result, a @ several, sizes @ abs(several), longest)
    # The classic product, which takes the arrays themselves.
    result = np.empty(a.shape[0])
    rows, one, zero = ctypes.c_int(a.shape[0]), ctypes.c_double(1), ctypes.c_double(0)
    starts = ctypes.c_void_p(a.indptr.ctypes.data), ctypes.c_void_p(a.indptr.ctypes.data + 4)
    layer.qnm_dcsrmv(b"N", ctypes.byref(rows), ctypes.byref(ctypes.c_int(a.shape[1])), ctypes.byref(one), b"GLNC  ",
                     passed(a.data), passed(a.indices), *starts, passed(x), ctypes.byref(zero), passed(result))
    compare(name, "A x, classic", result, a @ x, sizes @ abs(x), longest)

    other = sparse.csr_matrix(a.T)
    other.sort_indices()
    turned = Handle(other)
    product = Handle.made("spmm", PLAIN, handle.handle, turned.handle).scipy()
    compare(name, "A A'", product.toarray(), (a @ other).toarray(), (sizes @ abs(other)).toarray(), longest)
    total = Handle.made("d_add", TRANSPOSED, handle.handle, 3.0, turned.handle).scipy()
    compare(name, "3 A' + A'", total.toarray(), (4 * other).toarray(), (4 * abs(other)).toarray(), 2)

    if a.shape[0] == a.shape[1]:
        half = sparse.tril(a, format="csr")
        whole = half + sparse.tril(a, -1).T
        must("d_mv", PLAIN, 1.0, handle.handle, SYMMETRIC_LOWER, x, 0.0, result)
        compare(name, "of the lower half", result, whole @ x, abs(whole) @ abs(x), longest)
        # A solution is right if its product is what it was asked for.
        for what, descriptor, triangle in (
            ("lower solve, unit", UNIT_LOWER, sparse.tril(a, -1) + sparse.eye(a.shape[0])),
            ("upper solve", UPPER, sparse.triu(a)),
        ):
            if np.any(triangle.diagonal() == 0):
                continue
            must("d_trsv", PLAIN, 1.0, handle.handle, descriptor, x, result)
            compare(name, what, triangle @ result, x, abs(triangle) @ abs(result), 2 * longest)

print("all as SciPy's" if failures == 0 else f"{failures} are wrong")
sys.exit(failures != 0)
