"""Solvers of the open core against NumPy, SciPy and what theory tells. usage: solvers.py CORE"""
import ctypes
import sys
import unittest

import numpy as np
import scipy.sparse as sparse
import scipy.sparse.linalg as linalg

library = ctypes.CDLL(sys.argv[1])


def reference(argument):
    """Arrays by their address, numbers by reference, letters as such."""
    if isinstance(argument, np.ndarray):
        return ctypes.c_void_p(argument.ctypes.data)
    if isinstance(argument, float):
        return ctypes.byref(ctypes.c_double(argument))
    if isinstance(argument, int):
        return ctypes.byref(ctypes.c_int64(argument))
    return argument


def call(name, *arguments):
    function = getattr(library, 'qnm_' + name)
    function.restype = ctypes.c_int
    return function(*map(reference, arguments))


def word(value=77):
    return np.array([value], dtype=np.int64)


def poisson(*sizes):
    """The Laplacian of a grid with some convection, or without if no size is odd."""
    a = sparse.csr_matrix((1, 1))
    for n in sizes:
        skew = 0.3 * (n % 2)
        line = sparse.diags([-1 - skew, 2, -1 + skew], [-1, 0, 1], (n, n))
        a = sparse.kron(a, sparse.identity(n)) + sparse.kron(sparse.identity(a.shape[0]), line)
    a = a.tocsr()
    a.sort_indices()
    return a


def rows(a):
    return a.data, a.indptr.astype(np.int64) + 1, a.indices.astype(np.int64) + 1


random = np.random.default_rng(20240229)

# Places in ipar and dpar, from 0.
STAGE, STEPS, MOST, AT_MOST, BY_RESIDUAL, ASKS, PREPARED, BY_NORM, WHERE, INNER, RESTART = 2, 3, 4, 7, 8, 9, 10, 11, 12, 13, 14
RELATIVE, FIRST, NOW = 0, 2, 4


class Solve:
    """A solve by reverse communication; the residuals that it tells."""

    def __init__(self, method, a, b, prepare=None, x=None, words=(), **options):
        self.method, self.a, self.b, self.prepare = method, a, b.copy('F'), prepare
        self.n, self.count = b.shape[0], b.size // b.shape[0]
        self.many = [self.count] if method == 'dcgmrhs' else []
        self.x = np.zeros_like(self.b) if x is None else x
        self.ipar, self.dpar = np.full(128 + 2 * self.count, -7, dtype=np.int64), np.full(128, np.nan)
        self.request = word()
        extra = [1] if self.many else []
        self.run('_init', self.n, self.x, *self.many, self.b, *extra)
        assert self.request[0] == 0
        if method == 'dfgmres':
            self.ipar[RESTART] = options.get('restart', self.n)
        self.ipar[ASKS], self.ipar[BY_RESIDUAL], self.ipar[PREPARED] = 0, 1, prepare is not None
        self.ipar[BY_NORM], self.ipar[MOST] = 1, 1000
        for place, value in words:
            self.ipar[place] = value
        self.dpar[RELATIVE] = options.get('tolerance', 1e-12)
        m = max(self.ipar[RESTART], 1)
        self.tmp = np.full((2 * m + 1) * self.n + m * (m + 9) // 2 + 1 if method == 'dfgmres'
                           else (3 + self.count) * self.n, np.nan)
        self.history = []

    def run(self, name, *arguments):
        call('iss_' + self.method + name, *arguments, self.request, self.ipar, self.dpar, getattr(self, 'tmp', None))

    def get(self, b=None):
        count = word()
        call(f'iss_{self.method}_get', self.n, self.x, *self.many, self.b if b is None else b, self.request, self.ipar,
             self.dpar, self.tmp, count)
        return count[0]

    def step(self):
        before = self.ipar[STEPS]
        self.run('', self.n, self.x, *self.many, self.b)
        if self.ipar[STEPS] > before:
            self.history.append(self.dpar[NOW])
        columns = (self.ipar[21] - 1, self.ipar[22] - 1) if self.method == 'dfgmres' else (0, self.n)
        if self.request[0] == 1:
            self.tmp[columns[1]:][:self.n] = self.a @ self.tmp[columns[0]:][:self.n]
        elif self.request[0] == 3:
            if self.method != 'dfgmres':
                columns = 2 * self.n, 3 * self.n
            self.tmp[columns[1]:][:self.n] = self.prepare(self.tmp[columns[0]:][:self.n])
        return self.request[0]

    def __call__(self, on=lambda solve: None):
        while self.step() > 0:
            on(self)
        outcome = self.request[0]
        if self.method == 'dfgmres':
            self.get()
        return outcome


def incomplete(a):
    """Solves with the factors of the core, and these."""
    data, ia, ja = rows(a)
    lu, error, ipar, dpar = np.full(len(data), np.nan), word(), np.zeros(128, dtype=np.int64), np.zeros(128)
    call('iss_dcsrilu0', a.shape[0], data, ia, ja, lu, ipar, dpar, error)
    assert error[0] == 0
    lu = sparse.csr_matrix((lu, a.indices, a.indptr), a.shape)
    lower, upper = (sparse.tril(lu, -1) + sparse.identity(a.shape[0])).tocsr(), sparse.triu(lu).tocsr()
    return lambda v: linalg.spsolve_triangular(upper, linalg.spsolve_triangular(lower, v), lower=False), lower, upper


class Iterative(unittest.TestCase):
    def agree(self, found, expected):
        self.assertEqual(len(found), len(expected))
        np.testing.assert_allclose(found, expected, rtol=0, atol=1e-8 * max(expected))

    def test_conjugate_gradients_as_scipy(self):
        a = poisson(12, 10)
        b = random.standard_normal(a.shape[0])
        start = random.standard_normal(a.shape[0])
        for prepare in None, incomplete(a)[0]:
            expected = []
            linalg.cg(a, b, x0=start, tol=1e-10, atol=0, callback=lambda x: expected.append(np.linalg.norm(b - a @ x)),
                      M=prepare and linalg.LinearOperator(a.shape, matvec=prepare))
            solve = Solve('dcg', a, b, prepare, start.copy(), [(BY_RESIDUAL, 0), (MOST, len(expected))])
            self.assertEqual(solve(), -1)
            self.agree(solve.history, expected)
            self.assertEqual(solve.get(), len(expected))
            self.assertAlmostEqual(solve.dpar[FIRST], np.linalg.norm(b - a @ start), 10)

    def test_gmres_as_scipy(self):
        a = poisson(11, 9)
        b = random.standard_normal(a.shape[0])
        prepare = incomplete(a)[0]
        for m in 4, a.shape[0]:
            for of, operator in (None, a), (prepare, linalg.LinearOperator(a.shape, lambda v: a @ prepare(v))):
                expected = []
                linalg.gmres(operator, b, tol=1e-9, atol=0, restart=m, callback=expected.append, callback_type='pr_norm')
                solve = Solve('dfgmres', a, b, of, restart=m, words=[(BY_RESIDUAL, 0), (MOST, len(expected))])
                self.assertEqual(solve(), -1)
                self.agree(solve.history, np.array(expected) * np.linalg.norm(b))
                self.assertLess(np.linalg.norm(b - a @ solve.x), 2e-9 * np.linalg.norm(b))

    def test_a_step_for_each_eigenvalue(self):
        q = np.linalg.qr(random.standard_normal((30, 30)))[0]
        a = q @ np.diag(np.repeat([1.0, 2, 5], 10)) @ q.T
        b = random.standard_normal(30)
        for method in 'dcg', 'dfgmres':
            solve = Solve(method, a, b)
            self.assertEqual(solve(), 0)
            self.assertEqual(solve.ipar[STEPS], 3)
            np.testing.assert_allclose(a @ solve.x, b, atol=1e-11)

    def test_solves_between_the_steps_of_others(self):
        a = poisson(8, 6)
        b = random.standard_normal((a.shape[0], 2))
        for method in 'dcg', 'dfgmres':
            def new(k):
                return Solve(method, a, b[:, k], incomplete(a)[0], restart=5)
            alone, together = [new(0), new(1)], [new(0), new(1)]
            for solve in alone:
                self.assertEqual(solve(), 0)
            for turn in range(1000):
                for solve in together:
                    if solve.request[0] > 0 or turn == 0:
                        solve.step()
            for k in 0, 1:
                together[k].method == 'dcg' or together[k].get()
                np.testing.assert_array_equal(alone[k].x, together[k].x)

    def test_many_systems(self):
        a = poisson(8, 6)
        b = np.asfortranarray(random.standard_normal((a.shape[0], 3)))
        prepare = incomplete(a)[0]
        many = Solve('dcgmrhs', a, b, prepare)
        self.assertEqual(many(), 0)
        for k in range(3):
            one = Solve('dcg', a, b[:, k], prepare)
            one()
            np.testing.assert_array_equal(many.x[:, k], one.x)
            self.assertEqual(many.ipar[128 + k], one.ipar[STEPS])
        # The second one fails.
        many = Solve('dcgmrhs', sparse.diags([1.0, 2, -2]), np.array([[1.0, 0, 1], [0, 1, 0], [0, 1, 0]], order='F'))
        self.assertEqual(many(), -2)
        np.testing.assert_array_equal(many.x[:, ::2], [[1, 1], [0, 0], [0, 0]])
        np.testing.assert_array_equal(many.ipar[128:134], [1, 0, 1, 0, -2, 0])

    def test_the_solution_whenever_it_is_asked_for(self):
        a = poisson(7, 7)
        b = random.standard_normal(a.shape[0])
        plain = Solve('dfgmres', a, b, restart=6)
        plain()
        solve, apart = Solve('dfgmres', a, b, restart=6, words=[(ASKS, 1)]), np.zeros_like(b)

        def at_test(solve):
            if solve.request[0] != 2:
                return
            for where in -1, 1, 0:
                solve.ipar[WHERE] = where
                before, apart[:] = solve.x.copy(), 5
                self.assertEqual(solve.get(apart), solve.ipar[STEPS])
                if where == 1:
                    self.assertAlmostEqual(np.linalg.norm(b - a @ apart), solve.dpar[NOW], 9)
                else:
                    self.assertTrue((apart == 5).all())
                self.assertEqual((solve.x == before).all(), where != 0)
        self.assertEqual(solve(at_test), 0)
        np.testing.assert_allclose(solve.x, plain.x, atol=1e-9)

    def test_how_it_ends(self):
        one, turn = np.ones(2), np.array([[0.0, 1], [-1, 0]])
        bad = np.array([np.nan, 1])
        for method, a, b, words, outcome, steps in (
                ('dcg', turn, one, [], -2, 0), ('dfgmres', np.zeros((2, 2)), one, [], -2, 0),
                ('dcg', np.eye(2), bad, [], -10, 0), ('dfgmres', np.eye(2), bad, [], -10, 0),
                ('dcg', np.eye(2), one, [(AT_MOST, 0), (BY_RESIDUAL, 0)], -11, 0),
                ('dfgmres', np.eye(2), one, [(AT_MOST, 0), (BY_RESIDUAL, 0)], -11, 0),
                ('dcg', np.eye(2), one, [(STAGE, 99)], -11, 0), ('dfgmres', np.eye(2), one, [(STAGE, 99)], -11, 0),
                ('dcg', np.eye(2), one, [(MOST, 0)], -1, 0), ('dfgmres', turn, one, [(MOST, 1)], -1, 1),
                ('dcg', np.eye(2), np.zeros(2), [], 0, 0), ('dfgmres', np.eye(2), one, [(BY_RESIDUAL, 0)], 0, 1)):
            with self.subTest(method=method, words=words, outcome=outcome):
                solve = Solve(method, a, b, words=words)
                self.assertEqual(solve(), outcome)
                self.assertEqual(solve.ipar[STEPS], steps)
        seen = []
        solve = Solve('dfgmres', turn, one, words=[(BY_NORM, 0), (ASKS, 1), (MOST, 1)])
        solve(lambda solve: seen.append(solve.request[0]))
        self.assertEqual(seen, [1, 1, 2, 4])

    def test_checks(self):
        for method in 'dcg', 'dfgmres', 'dcgmrhs':
            for words, real, outcome in (
                    ([], 0.5, 0), ([(0, 3)], 0.5, -1100), ([(STAGE, 2)], 0.5, -1010), ([(MOST, 0)], 0.5, -1010),
                    ([], -1.0, -1010), ([], np.nan, -1010), ([(AT_MOST, 0), (BY_RESIDUAL, 0)], 0.5, -1001),
                    ([(AT_MOST, 0), (BY_RESIDUAL, 0)], -1.0, -1011)):
                solve = Solve(method, np.eye(2), np.ones((2, 1)), words=words, tolerance=real)
                for expected in (outcome, outcome if outcome in (-1100, -1001) else -1001 if outcome == -1011 else 0):
                    solve.run('_check', solve.n, solve.x, *solve.many, solve.b)
                    self.assertEqual(solve.request[0], expected)
            solve.run('_init', 0, solve.x, *solve.many, solve.b, *([1] if solve.many else []))
            self.assertEqual(solve.request[0], -10000)


class Incomplete(unittest.TestCase):
    def test_factors_in_the_pattern(self):
        a = poisson(9, 7) + sparse.random(63, 63, 0.05, random_state=1)
        a = a.tocsr()
        a.sort_indices()
        _, lower, upper = incomplete(a)
        stored = a.astype(bool).toarray()
        np.testing.assert_allclose((lower @ upper).toarray()[stored], a.toarray()[stored], atol=1e-14)

    def ilut(self, a, tolerance, most, ipar=0, dpar=(0.0, 0.0)):
        data, ia, ja = rows(a)
        n, error = a.shape[0], word()
        room = (2 * most + 1) * n - most * (most + 1) + 1
        lu, index, start = np.full(room + 1, 77.0), np.full(room + 1, 77), np.full(n + 1, 77)
        words, numbers = np.full(128, ipar, dtype=np.int64), np.zeros(128)
        numbers[30:32] = dpar
        call('iss_dcsrilut', n, data, ia, ja, lu, start, index, tolerance, most, words, numbers, error)
        if error[0] != 0:
            return error[0], None
        self.assertTrue((index[start[-1] - 1:] == 77).all())
        made = sparse.csr_matrix((lu[:start[-1] - 1], index[:start[-1] - 1] - 1, start - 1), a.shape)
        self.assertTrue(made.has_canonical_format)
        return 0, made.toarray()

    def test_factors_with_all_fill(self):
        for n in 1, 2, 40:
            a = sparse.csr_matrix(random.standard_normal((n, n)) * (random.random((n, n)) < 0.2) + 4 * np.eye(n))
            for most in n - 1, n:
                _, lu = self.ilut(a, 0.0, most)
                np.testing.assert_allclose((np.tril(lu, -1) + np.eye(n)) @ np.triu(lu), a.toarray(), atol=1e-13)

    def test_what_is_dropped(self):
        a = sparse.csr_matrix([[2.0, 0.01, 1], [0.01, 2, -1.5], [1, 0.5, 2]])
        np.testing.assert_allclose(self.ilut(a, 0.1, 3)[1], [[2, 0, 1], [0, 2, -1.5], [0.5, 0.25, 2 - 0.5 + 0.375]])
        np.testing.assert_allclose(self.ilut(a, 0.0, 0)[1], 2 * np.eye(3))
        # The largest of each side, whatever the tolerance.
        one = self.ilut(a, 0.0, 1)[1]
        self.assertEqual((one != 0).sum(axis=1).tolist(), [2, 3, 2])
        self.assertEqual((one[0, 2], one[2, 0]), (1, 0.5))

    def test_errors(self):
        def matrix(values):
            return sparse.csr_matrix(values)
        good, empty, zero = matrix(np.eye(2)), matrix([[1.0, 0], [0, 0]]), matrix([[1.0, 1], [1, 1]])
        short, long, turned = good.copy(), good.copy(), zero.copy()
        long.indices[1] = 2
        short.indices[0] = -1
        turned.indices[:2] = 1, 0
        for a, expected in (empty, -101), (zero, -102), (turned, -106), (long, -106), (short, -106):
            data, ia, ja = rows(a)
            error = word()
            call('iss_dcsrilu0', 2, data, ia, ja, np.zeros(9), np.zeros(128, dtype=np.int64), np.zeros(128), error)
            self.assertEqual(error[0], expected)
            self.assertEqual(self.ilut(a, 0.0, 1)[0], expected)
        call('iss_dcsrilu0', 0, data, None, None, np.zeros(9), np.zeros(128, dtype=np.int64), np.zeros(128), error)
        self.assertEqual(error[0], -105)
        small = matrix([[1.0, 1], [1, 1.125]])
        self.assertEqual(self.ilut(small, 0.0, 1, 0, (0.25, 3.0))[0], -103)
        self.assertEqual(self.ilut(small, 0.0, 1, 1, (0.25, 3.0))[1][1, 1], 3)
        for most in -1, 3:
            self.assertEqual(self.ilut(good, 0.0, most)[0], -105)
        library.qnm_serv_set_memory_limit(1, ctypes.c_size_t(1))
        outcome = self.ilut(good, 0.0, 1)[0]
        library.qnm_serv_set_memory_limit(1, ctypes.c_size_t(0))
        self.assertEqual(outcome, -104)


unittest.main(argv=sys.argv[:1])
