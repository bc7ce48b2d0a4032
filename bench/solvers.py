"""Conjugate gradients and FEAST beside SciPy, in turns; told are the quickest of some rounds.
usage: solvers.py FOLDER-OF-LIBRARIES"""
import ctypes
import sys
import time

import numpy as np
import scipy.sparse as sparse
import scipy.sparse.linalg as linalg

ctypes.CDLL(sys.argv[1] + '/libqnm_core.so', ctypes.RTLD_GLOBAL)
layer = ctypes.CDLL(sys.argv[1] + '/libqnm_orvan_lp64.so.2')


class Description(ctypes.Structure):
    _fields_ = [('type', ctypes.c_int), ('mode', ctypes.c_int), ('diag', ctypes.c_int)]


GENERAL, UNIT_LOWER, UPPER = Description(20, 42, 50), Description(23, 40, 51), Description(23, 41, 50)


def passed(argument):
    if isinstance(argument, np.ndarray):
        return argument.ctypes.data_as(ctypes.c_void_p)
    return ctypes.c_double(argument) if isinstance(argument, float) else argument


def call(name, *arguments):
    """The call, ready to be repeated."""
    function, given = getattr(layer, name), [passed(a) for a in arguments]
    return lambda: function(*given)


def words(*values):
    return np.array(values, np.int32)


def handle(a):
    made, n = ctypes.c_void_p(), a.shape[0]
    call('qnm_sparse_d_create_csr', ctypes.byref(made), 0, n, n, a.indptr, a.indptr[1:], a.indices, a.data)()
    return made


def laplacian(*sizes):
    a = sparse.csr_matrix((1, 1))
    for n in sizes:
        line = sparse.diags([-1.0, 2, -1], [-1, 0, 1], (n, n))
        a = sparse.kron(a, sparse.identity(n)) + sparse.kron(sparse.identity(a.shape[0]), line)
    a = a.tocsr()
    a.sort_indices()
    return a


def rows(name, beside, rounds, theirs, ours):
    """Returns what both gave at last."""
    best, given = {theirs: float('inf'), ours: float('inf')}, {}
    for _ in range(rounds):
        for work in best:
            start = time.perf_counter()
            given[work] = work()
            best[work] = min(best[work], time.perf_counter() - start)
    print(f'{name:30}{beside:34}{best[theirs] * 1e3:10.1f}{best[ours] * 1e3:10.1f}{best[ours] / best[theirs]:8.2f}', flush=True)
    return given[theirs], given[ours]


def gradients(side=300, tolerance=1e-8):
    a = laplacian(side, side)
    n, b, lu = a.shape[0], np.random.default_rng(1).standard_normal(a.shape[0]), a.copy()
    ipar, dpar, tmp, x = np.zeros(128, np.int32), np.zeros(128), np.zeros(4 * n), np.zeros(n)
    request, size, count = words(0), words(n), words(0)
    call('dcg_init', size, x, b, request, ipar, dpar, tmp)()
    call('dcsrilu0', size, a.data, a.indptr + np.int32(1), a.indices + np.int32(1), lu.data, ipar, dpar, request)()
    h, factors, v = handle(a), handle(lu), np.empty(n)

    def solves(of, to):
        lower = call('qnm_sparse_d_trsv', 10, 1.0, factors, UNIT_LOWER, of, v)
        upper = call('qnm_sparse_d_trsv', 10, 1.0, factors, UPPER, v, to)
        return lambda: (lower(), upper())
    columns = tmp.reshape(4, n)
    product = call('qnm_sparse_d_mv', 10, 1.0, h, GENERAL, columns[0], 0.0, columns[1])
    answers = {1: product, 3: solves(columns[2], columns[3])}
    start = call('dcg_init', size, x, b, request, ipar, dpar, tmp)
    step = call('dcg', size, x, b, request, ipar, dpar, tmp)

    def ours():
        x[:] = 0
        start()
        ipar[4], ipar[8:11], dpar[0] = 10_000, (1, 0, 1), tolerance
        step()
        while request[0] > 0:
            answers[request[0]]()
            step()
        call('dcg_get', size, x, b, request, ipar, dpar, tmp, count)()
        return count[0], np.linalg.norm(b - a @ x)
    of, to = np.empty(n), np.empty(n)
    solve = solves(of, to)

    def prepared(r):
        of[:] = r.ravel()
        solve()
        return to.copy()

    def theirs():
        made = [0]

        def counted(_):
            made[0] += 1
        found, _ = linalg.cg(a, b, tol=tolerance, atol=0, callback=counted,
                             M=linalg.LinearOperator(a.shape, prepared, dtype=float))
        return made[0], np.linalg.norm(b - a @ found)
    for who, (steps, residual) in zip(('it', 'ours'), rows(f'CG, ILU(0), {side} by {side}', "SciPy's cg, the same solves", 5, theirs, ours)):
        print(f'    {who}: {steps} iterations, residual {residual:.1e}')


def eigenvalues(side=30, wanted=20):
    a = laplacian(side, side, side)
    n, m0 = a.shape[0], 3 * wanted // 2
    line = 4 * np.sin(np.arange(1, side + 1) * np.pi / (2 * side + 2))**2
    known = np.sort(np.add.outer(np.add.outer(line, line), line).ravel())
    upper = sparse.triu(a).tocsr()
    fpm, epsout, loop, m, info = np.zeros(128, np.int32), np.zeros(1), words(0), words(0), words(0)
    e, x, res = np.zeros(m0), np.zeros((m0, n)), np.zeros(m0)
    interval = np.array([0, (known[wanted - 1] + known[wanted]) / 2])
    call('feastinit', fpm)()
    solve = call('dfeast_scsrev', ctypes.c_char_p(b'U'), words(n), upper.data, upper.indptr + np.int32(1),
                 upper.indices + np.int32(1), fpm, epsout, loop, interval, interval[1:], words(m0), e, x, m, res, info)

    def ours():
        solve()
        return e[:m[0]] if info[0] == 0 else np.full(wanted, np.nan)
    columns = a.tocsc()
    outcome = rows(f'{wanted} lowest of {side}^3', "SciPy's eigsh, shift-invert", 1,
                   lambda: np.sort(linalg.eigsh(columns, wanted, sigma=0, return_eigenvectors=True)[0]), ours)
    for who, found in zip(('it', 'ours'), outcome):
        print(f'    {who}: {len(found)} eigenvalues, largest error {abs(found - known[:len(found)]).max():.1e}')
    print(f'    ours: {loop[0] + 1} contours of {fpm[1]} points')


print(f'{"":30}{"beside":34}{"it, ms":>10}{"ours, ms":>10}{"ratio":>8}')
gradients()
eigenvalues()
