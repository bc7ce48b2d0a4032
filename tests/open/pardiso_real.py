# PARDISO on real matrices, beside SuperLU's factors: usage: pardiso_real.py CORE EXAMPLES DATA
# Packages are unpacked in DATA, unless they are installed. Prints a line for each matrix; ends with 1 if a backward error
# is above 1e-14 times n, with 77 if SciPy or matrices are missing.
import ctypes
import os
import sys

try:
    import numpy as np
    import scipy.sparse
    from scipy.sparse.linalg import splu
except ImportError:
    sys.exit(77)

sys.path.insert(0, sys.argv[2])
from matrix_files import read

FILES = ["r-cran-matrix/usr/lib/R/library/Matrix/external/" + name for name in ("lund_a.mtx", "pores_1.mtx", "utm300.rua")]
FILES.append("libsuperlu-doc/usr/share/doc/libsuperlu-dev/examples/g20.rua")
paths = [os.path.join(sys.argv[3], file) for file in FILES]
paths = [path if os.path.exists(path) else "/" + file.split("/", 1)[1] for path, file in zip(paths, FILES)]
if not all(map(os.path.exists, paths)):
    print("real matrices: r-cran-matrix and libsuperlu-doc have them")
    sys.exit(77)

core = ctypes.CDLL(sys.argv[1])


def pointer(array):
    return array.ctypes.data_as(ctypes.c_void_p)


def solved(a, b, mtype):
    """By phases, with no step of refinement."""
    rows = scipy.sparse.csr_matrix(scipy.sparse.triu(a) if mtype == 2 else a)
    rows.sort_indices()
    integers = [np.array([k], np.int32) for k in (1, 1, mtype, 0, a.shape[0])]
    nrhs, msglvl, error = (np.array([k], np.int32) for k in (b.shape[1], 0, -99))
    handle, iparm = np.zeros(64, np.int64), np.zeros(64, np.int32)
    core.qnm_pds_lp64_pardisoinit(pointer(handle), pointer(integers[2]), pointer(iparm))
    iparm[34] = iparm[26] = 1  # indices from 0; check them
    x, right = np.zeros_like(b, order="F"), np.array(b, order="F")
    ia, ja = rows.indptr.astype(np.int32), rows.indices.astype(np.int32)
    for phase in (11, 22, 33, -1):
        integers[3][0] = phase
        core.qnm_pds_lp64_pardiso(pointer(handle), *map(pointer, integers), pointer(rows.data), pointer(ia),
                                  pointer(ja), None, pointer(nrhs), pointer(iparm), pointer(msglvl),
                                  pointer(right), pointer(x), pointer(error))
        if error[0] != 0:
            sys.exit("phase %d: error %d" % (phase, error[0]))
    return x


def backward_error(a, x, b):
    size = abs(a).sum(axis=1).max() * abs(x).max() + abs(b).max()
    return abs(a @ x - b).max() / size


worst = 0
for path in paths:
    a = scipy.sparse.csc_matrix(read(path)).astype(np.float64)
    n = a.shape[0]
    b = np.column_stack([a @ np.ones(n), np.cos(np.arange(n))])
    other = backward_error(a, splu(a).solve(b), b)
    symmetric = abs(a - a.T).max() == 0
    for mtype in ([2, 11] if symmetric else [11]):
        error = backward_error(a, solved(a, b, mtype), b)
        worst = max(worst, error / n)
        print("%-12s mtype %2d n %5d backward error %.1e, SuperLU's %.1e" % (path.split("/")[-1], mtype, n, error, other))
sys.exit(not worst < 1e-14)
