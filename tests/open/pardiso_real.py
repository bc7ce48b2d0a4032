# PARDISO on real matrices, beside SuperLU's factors and MUMPS called directly, in one process: usage: pardiso_real.py CORE
# MUMPS EXAMPLES DATA. Packages are unpacked in DATA, unless they are installed. Prints a line for each matrix; ends with 1
# if a backward error is above 1e-14 times n, with 77 if SciPy or matrices are missing.
import ctypes
import os
import sys

try:
    import numpy as np
    import scipy.sparse
    from scipy.sparse.linalg import splu
except ImportError:
    sys.exit(77)

sys.path.insert(0, sys.argv[3])
from matrix_files import read

FILES = ["r-cran-matrix/usr/lib/R/library/Matrix/external/" + name for name in ("lund_a.mtx", "pores_1.mtx", "utm300.rua")]
FILES.append("libsuperlu-doc/usr/share/doc/libsuperlu-dev/examples/g20.rua")
paths = [os.path.join(sys.argv[4], file) for file in FILES]
paths = [path if os.path.exists(path) else "/" + file.split("/", 1)[1] for path, file in zip(paths, FILES)]
if not all(map(os.path.exists, paths)):
    print("real matrices: r-cran-matrix and libsuperlu-doc have them; tools/install-packages packages.txt check unpacks them")
    sys.exit(77)

mumps = ctypes.CDLL(sys.argv[2], mode=ctypes.RTLD_GLOBAL)  # its names stand ahead of all that the core brings
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


def solved_directly(a, b):
    elements = scipy.sparse.coo_matrix(a)
    rows, columns = (index.astype(np.int32) + 1 for index in (elements.row, elements.col))
    x = np.array(b, order="F")
    status = mumps.mumps_solve(a.shape[0], ctypes.c_int64(elements.nnz), pointer(rows), pointer(columns),
                               pointer(elements.data), b.shape[1], pointer(x))
    if status != 0:
        sys.exit("MUMPS: %d" % status)
    return x


def backward_error(a, x, b):
    size = abs(a).sum(axis=1).max() * abs(x).max() + abs(b).max()
    return abs(a @ x - b).max() / size


worst = 0
for path in paths:
    a = scipy.sparse.csc_matrix(read(path)).astype(np.float64)
    n = a.shape[0]
    b = np.column_stack([a @ np.ones(n), np.cos(np.arange(n))])
    others = backward_error(a, splu(a).solve(b), b), backward_error(a, solved_directly(a, b), b)
    symmetric = abs(a - a.T).max() == 0
    for mtype in ([2, 11] if symmetric else [11]):
        error = backward_error(a, solved(a, b, mtype), b)
        worst = max(worst, error / n, max(others) / n)
        print("%-12s mtype %2d n %5d backward error %.1e, SuperLU's %.1e, MUMPS's %.1e"
              % (path.split("/")[-1], mtype, n, error, *others))
sys.exit(not worst < 1e-14)
