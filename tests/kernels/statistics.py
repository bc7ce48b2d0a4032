"""Kernels of summary statistics against certified values and NumPy. usage: statistics.py KERNELS"""
import ctypes
import itertools
import sys
import threading
import unittest

import numpy as np

library = ctypes.CDLL(sys.argv[1])
Body = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_int64, ctypes.c_void_p)


@ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_int64, ctypes.c_void_p, ctypes.c_void_p)
def threader(count, body, data):
    """Everything at once, the last first."""
    statuses = [0] * count

    def run(k):
        statuses[k] = Body(body)(k, data)
    threads = [threading.Thread(target=run, args=(k,)) for k in reversed(range(count))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return min(statuses + [0])


# What edits of several addresses hold, in their order.
EDITS = {'Moments': range(7, 14), 'Sums': range(67, 74), 'CovCor': (7, 19, 20, 21, 22), 'CP': (7, 67, 74, 75),
         'PartialCovCor': (45, 19, 20, 21, 22, 46, 47, 48, 49), 'Quantiles': (24, 25, 26, 27, 44),
         'StreamQuantiles': range(62, 67), 'PooledCovariance': (28, 29, 30, 32, 33, 34), 'RCov': (40, 36, 37, 38, 39),
         'OutDetect': (41, 42, 43), 'MissingVals': range(50, 60), 'MtxParametrz': (21, 22, 60, 61)}
ROWS, COLUMNS = 0x10000, 0x20000
FULL, LOWER, UPPER = 0, 1, 2
MEAN, COV, COR, CP = 7, 19, 21, 74
# Estimates of the basic stage, and where they go.
BASIC = {7: 0x1, 8: 0x2, 9: 0x4, 10: 0x8, 11: 0x10, 12: 0x20, 13: 0x40, 14: 0x80, 15: 0x100, 18: 0x200, 67: 1 << 25,
         68: 1 << 26, 69: 1 << 27, 70: 1 << 28, 71: 1 << 29, 72: 1 << 30, 73: 1 << 31}
MATRICES = {COV: 1 << 12, COR: 1 << 13, CP: 1 << 32}


class Task:
    """x has a row for each observation."""

    def __init__(self, x, dtype=np.float64, storage=ROWS, wide=0, weights=None, indices=None):
        self.dtype, self.wide, self.kept, self.handle = np.dtype(dtype), wide, {}, ctypes.c_void_p()
        self.letter = 's' if self.dtype.itemsize == 4 else 'd'
        n, self.p = x.shape
        self.storage = storage
        given = [self.integers(self.p), self.integers(n), self.integers(storage), self.data(x),
                 None if weights is None else np.array(weights, dtype),
                 None if indices is None else self.integers(indices)]
        self.kept.update({i: a for i, a in zip((1, 2, 4, 3, 6, 5), given) if a is not None})
        status = self.call('__vsl?SSNewTask', ctypes.byref(self.handle), *given, ctypes.c_int(wide))
        assert status == 0, status

    def integers(self, values):
        return np.array(values, np.int64 if self.wide else np.int32)

    def data(self, x):
        return np.array(x.T if self.storage == ROWS else x, self.dtype, order='C')

    def call(self, name, *arguments):
        function = getattr(library, name.replace('?', self.letter))
        function.restype = ctypes.c_int
        return function(*[a.ctypes.data_as(ctypes.c_void_p) if isinstance(a, np.ndarray) else a for a in arguments])

    def edit(self, parameter, values):
        real = np.issubdtype(np.asarray(values).dtype, np.floating)
        values = np.array(values, self.dtype, order="C") if real else self.integers(values)
        self.kept[parameter] = values
        status = self.call('__vsl?SSEditTask' if real else '__vsliSSEditTask', self.handle, ctypes.c_int(parameter),
                           values)
        assert status == 0, (parameter, status)
        return values

    def room(self, parameter, *shape):
        return self.edit(parameter, np.full(shape, 7.0))

    def status(self, stage, estimates, method=1, by=threader):
        return self.call('_vsl?SS' + stage, self.handle, ctypes.c_uint64(estimates), ctypes.c_int64(method), by)

    def run(self, stage, estimates, method=1, by=threader):
        status = self.status(stage, estimates, method, by)
        assert status == 0, (stage, status)

    def __getitem__(self, parameter):
        return self.kept[parameter].astype(np.float64)

    def __del__(self):
        assert self.call('__vslSSDeleteTask', ctypes.byref(self.handle)) == 0 and not self.handle


def everything(task):
    """Asks for all of the basic stage."""
    for parameter in BASIC:
        task.room(parameter, task.p)
    for parameter in MATRICES:
        task.room(parameter, task.p, task.p)
    return sum(BASIC.values()) + sum(MATRICES.values())


def expected(x, weights):
    """Of columns, by definition."""
    w = np.ones(len(x)) if weights is None else np.asarray(weights, float)
    total = w.sum()
    freedom = total - (w * w).sum() / total
    mean = w @ x / total
    d = x - mean
    result = {7: mean, 67: w @ x}
    for k in (2, 3, 4):
        result.update({66 + k: w @ x ** k, 69 + k: w @ d ** k, 6 + k: w @ x ** k / total, 9 + k: w @ d ** k / total})
    result[11] = w @ d ** 2 / freedom
    result[14] = result[13] / result[11] ** 2 - 3
    result[15] = result[12] / result[11] ** 1.5
    result[18] = np.sqrt(result[11]) / mean
    result[CP] = (d * w[:, None]).T @ d
    result[COV] = result[CP] / freedom
    deviations = np.sqrt(np.diag(result[COV]))
    result[COR] = result[COV] / np.outer(deviations, deviations)
    return result


def sample(n, p, dtype=np.float64, seed=1):
    random = np.random.default_rng(seed)
    x = random.standard_normal((n, p)) @ random.standard_normal((p, p)) + np.arange(1, p + 1)
    return (x + 0.2 * x * x).astype(dtype).astype(np.float64)


def digits_of_pi(count):
    sys.set_int_max_str_digits(0)
    one = 10 ** (count + 20)
    pi = 0
    for factor, inverse in ((16, 5), (-4, 239)):
        term, k = factor * one // inverse, 1
        while abs(term) > 1:
            pi += term // k
            term //= -inverse * inverse
            k += 2
    return [int(c) for c in str(pi)[:count]]


MICHELSON = """850 740 900 1070 930 850 950 980 980 880 1000 980 930 650 760 810 1000 1000 960 960 960 940 960 940 880 800
    850 880 900 840 830 790 810 880 880 830 800 790 760 800 880 880 880 860 720 720 620 860 970 950 880 910 850 870 840
    840 850 840 840 840 890 810 810 820 800 770 760 740 750 760 910 920 890 860 880 720 840 850 850 780 890 840 780 810
    760 810 790 810 820 850 870 870 810 740 810 940 950 800 810 870"""


class Statistics(unittest.TestCase):
    def near(self, found, wanted, tolerance, scale=None, what=None):
        scale = np.abs(wanted).max() if scale is None else scale
        self.assertLessEqual(np.abs(found - wanted).max() / scale, tolerance, what)

    def test_certified(self):
        steps = [(o + 0.2, [o + 0.1, o + 0.3] * 500) for o in (1, 1000000, 10000000)]
        cases = [([10000001, 10000003, 10000002], 10000002, 1, 14, 14)]
        cases += [([first] + rest, first, 0.1, 14, digits) for (first, rest), digits in zip(steps, (14, 9.4, 8.2))]
        pi = digits_of_pi(5000)
        self.assertEqual(pi[4990:], [int(c) for c in '7413260472'])
        sum_, squares = sum(pi), sum(x * x for x in pi)  # certified by integers
        cases += [(pi, sum_ / 5000, ((5000 * squares - sum_ * sum_) / (5000 * 4999)) ** 0.5, 14, 14),
                  ([299 + float(x) / 1000 for x in MICHELSON.split()], 299.8524, 0.0790105478190518, 14, 13)]
        for x, mean, deviation, digits_of_mean, digits in cases:
            task = Task(np.array(x, float)[:, None])
            task.room(7, 1), task.room(11, 1)
            task.run('Basic', 0x11)
            for found, wanted, least in ((task[7], mean, digits_of_mean), (np.sqrt(task[11]), deviation, digits)):
                self.assertGreaterEqual(-np.log10(max(abs(found[0] / wanted - 1), 1e-17)), least, (len(x), wanted))

    def test_basic(self):
        """All shapes of a task, against the definitions; blocks and parts have seams."""
        for n, p, dtype, storage, wide, weighted in itertools.chain(
                itertools.product((1601,), (5,), (np.float32, np.float64), (ROWS, COLUMNS), (0, 1), (0, 1)),
                [(70001, 10, np.float64, COLUMNS, 0, 0), (2, 1, np.float64, ROWS, 0, 0),
                 (300, 41, np.float64, ROWS, 0, 1)]):
            what = n, p, dtype, storage, wide, weighted
            x = sample(n, p, dtype)
            weights = np.arange(n) % 4 if weighted else None
            task = Task(x, dtype, storage, wide, weights)
            estimates = everything(task)
            for k in (16, 17):
                task.room(k, p)
            task.run('Basic', estimates)
            task.run('Minmax', 0xc00)
            tolerance = 2e-6 if dtype == np.float32 else 1e-12
            for parameter, wanted in expected(x, weights).items():
                if n > 2 or parameter not in (12, 15, 72):
                    self.near(task[parameter], wanted, tolerance, what=(parameter,) + what)
            there = x if weights is None else x[weights > 0]
            np.testing.assert_array_equal(task[16], there.min(0))
            np.testing.assert_array_equal(task[17], there.max(0))

    def test_threads(self):
        """Who works does not change a bit."""
        x = sample(70001, 10)
        results = []
        for by in (None, threader):
            task = Task(x, storage=COLUMNS)
            task.run('Basic', everything(task), by=by)
            results.append([task[k].tobytes() for k in (*BASIC, *MATRICES)])
        self.assertEqual(*results)

    def test_blocks(self):
        """Pieces of a sample, one after another, come to the whole; with the caller's mean too."""
        x, weights, cuts = sample(1000, 3), 1.0 + np.arange(1000) % 3, (0, 1, 400, 1000)
        for method, storage in itertools.product((1, 0x101), (ROWS, COLUMNS)):
            task = Task(x[:1], storage=storage, weights=weights[:1])
            estimates = everything(task)
            accumulated = task.edit(23, np.zeros(2))
            for k in (16, 17):
                task.room(k, 3)
            centre = task.edit(7, np.array([3.0, 1, 2]))
            for begin, end in zip(cuts, cuts[1:]):
                task.edit(3, task.data(x[begin:end]))
                task.edit(2, end - begin)
                task.edit(6, weights[begin:end])
                task.run('Minmax', 0xc00 + estimates)
                task.run('Basic', estimates, method)
            wanted = expected(x, weights)
            if method == 0x101:
                d, total = x - centre, weights.sum()
                wanted.update({7: centre, 13: weights @ d ** 4 / total, 72: weights @ d ** 3, 71: weights @ d ** 2,
                               CP: (d * weights[:, None]).T @ d})
                for k in (11, 12, 14, 15, 18, COV, COR):
                    del wanted[k]
                del wanted[73]
            for parameter, value in wanted.items():
                self.near(task[parameter], value, 1e-12, what=(parameter, method))
            np.testing.assert_array_equal(task[16], x.min(0))
            np.testing.assert_array_equal(task[17], x.max(0))
            self.near(accumulated, np.array([weights.sum(), (weights ** 2).sum()]), 1e-15)

    def test_continued_needs(self):
        """A block that cannot go on is refused, unless what it needs is there."""
        task = Task(sample(50, 2))
        task.edit(23, np.array([10.0, 10.0]))
        task.room(14, 2)
        for parameter in (7, 11, 12, 13):
            self.assertEqual(task.status('Basic', 0x80), -4100 - parameter)
            task.room(parameter, 2)
        self.assertTrue((task[14] == 7).all() and (task[23] == 10).all())
        task.run('Basic', 0x80)

    def test_indices_and_packed(self):
        x, chosen = sample(400, 5), [1, 0, 1, 1, 0]
        wanted = expected(x, None)[COV]
        pairs = {LOWER: [(i, j) for i in range(5) for j in range(i + 1)],
                 UPPER: [(i, j) for i in range(5) for j in range(i, 5)],
                 FULL: [(i, j) for i in range(5) for j in range(5)]}
        for storage, order in pairs.items():
            task = Task(x, indices=chosen, wide=storage % 2)
            task.room(COV, len(order)), task.room(7, 5)
            task.edit(20, storage)
            task.run('Basic', 0x1001)
            for found, (i, j) in zip(task[COV], order):
                self.assertAlmostEqual(found, wanted[i, j] if chosen[i] and chosen[j] else 7, 12)
            self.near(task[7], np.where(chosen, x.mean(0), 7), 1e-14)

    def test_edits(self):
        """Several addresses at once are the same one by one; a null leaves what is there."""
        for (name, parameters), dtype in itertools.product(EDITS.items(), (np.float32, np.float64)):
            x = sample(3, 1)
            tasks = Task(x, dtype), Task(x, dtype)
            for task in tasks:
                for parameter in (1, 2, 3, 4):
                    task.call('__vsl?SSEditTask' if parameter == 3 else '__vsliSSEditTask', task.handle, parameter, None)
            addresses = [ctypes.c_void_p(64 * (k + 1)) for k in range(len(parameters))]
            for given in (addresses, [None] * len(parameters)):
                self.assertEqual(tasks[0].call('__vsl?SSEdit' + name, tasks[0].handle, *given), 0)
            for parameter, address in zip(parameters, addresses):
                self.assertIn(0, [tasks[1].call(edit, tasks[1].handle, parameter, address)
                                  for edit in ('__vsliSSEditTask', '__vsl?SSEditTask')])
            records = [ctypes.string_at(task.handle.value, 16 + 80 * 8) for task in tasks]
            self.assertEqual(*records, name)

    def test_order(self):
        for dtype, storage, n in itertools.product((np.float32, np.float64), (ROWS, COLUMNS), (301, 400)):
            x, weights = sample(n, 3, dtype), 1 + np.arange(n) % 3  # of which only means look at weights
            task = Task(x, dtype, storage, weights=weights)
            orders = task.edit(25, np.array([0, 0.1, 0.25, 0.5, 0.9, 1.0]))
            task.edit(24, 6), task.room(26, 3, 6), task.room(27, *x.shape), task.room(78, *x.shape)
            task.room(76, 3), task.room(77, 3)
            task.edit(44, COLUMNS), task.edit(79, COLUMNS)
            task.run('Quantiles', 0x30000), task.run('Sort', 1 << 39), task.run('MAD', 3 << 33)
            np.testing.assert_array_equal(task[27], np.sort(x, 0))
            np.testing.assert_array_equal(task[78], np.sort(x, 0))
            tolerance = 3e-7 if dtype == np.float32 else 1e-14
            self.near(task[26], np.quantile(x, orders.astype(float), axis=0).T, tolerance)
            self.near(task[76], np.median(np.abs(x - np.median(x, 0)), 0), tolerance)
            self.near(task[77], np.average(np.abs(x - np.average(x, 0, weights)), 0, weights), tolerance)
        x[5] = np.nan
        task = Task(x)
        task.room(78, *x.T.shape), task.run('Sort', 1 << 39)
        np.testing.assert_array_equal(task[78], np.sort(x, 0).T)

    def test_groups(self):
        x, groups = sample(500, 3), np.arange(500) ** 2 % 5 % 3 + (np.arange(500) % 7 == 0)
        task = Task(x, wide=1)
        count = groups.max() + 1
        task.edit(28, groups), task.edit(32, [0] + [1] * (count - 1))
        task.room(29, 3), task.room(30, 3, 3), task.room(33, count - 1, 3), task.room(34, count - 1, 3, 3)
        task.run('PooledCovariance', 0x180000c000)
        parts = [x[groups == g] for g in range(count)]
        self.near(task[30], sum((len(y) - 1) * np.cov(y.T) for y in parts) / (len(x) - count), 1e-13)
        self.near(task[29], x.mean(0), 1e-14)
        self.near(task[33], np.array([y.mean(0) for y in parts[1:]]), 1e-14)
        self.near(task[34], np.array([np.cov(y.T) for y in parts[1:]]), 1e-13)

    def test_partial(self):
        cov = np.cov(sample(300, 5).T)
        task = Task(sample(2, 5))
        task.edit(45, [1, -1, 1, 0, -1]), task.edit(19, cov), task.room(46, 2, 2), task.room(48, 3)
        task.edit(49, UPPER)
        task.run('PartialCovariance', 0x300000)
        y, z = [0, 2], [1, 4]
        wanted = cov[np.ix_(y, y)] - cov[np.ix_(y, z)] @ np.linalg.inv(cov[np.ix_(z, z)]) @ cov[np.ix_(z, y)]
        self.near(task[46], wanted, 1e-13)
        self.near(task[48], np.array([1, wanted[0, 1] / np.sqrt(wanted[0, 0] * wanted[1, 1]), 1]), 1e-13)

    def test_parametrization(self):
        cor = np.array([[1, 0.9, 0.1, 0.2], [0.9, 1, 0.9, 0.1], [0.1, 0.9, 1, 0.9], [0.2, 0.1, 0.9, 1]])
        values, vectors = np.linalg.eigh(cor)
        self.assertLess(values[0], 0)
        b = vectors * np.sqrt(np.maximum(values, 0))
        b /= np.linalg.norm(b, axis=1)[:, None]
        for dtype, tolerance in ((np.float32, 1e-4), (np.float64, 1e-6)):
            task = Task(sample(2, 4), dtype)
            task.edit(21, cor), task.room(60, 4, 4)
            task.run('CorParametrization', 0x800000)
            self.near(task[60], b @ b.T, tolerance)
            np.testing.assert_array_equal(np.diag(task[60]), 1)
            np.linalg.cholesky(task[60])
            good = task[60].copy()
            task.edit(21, good)
            task.run('CorParametrization', 0x800000) # stays as it is
            self.near(task[60], good, 1e-13 if dtype == np.float64 else 1e-6)

    def test_stream(self):
        """Ranks are well within the bound, as errors cancel, in all orders and blocks; small streams are exact."""
        orders, error = np.array([0.0, 0.01, 0.3, 0.5, 0.99, 1.0]), 0.05
        for n, way, wide in itertools.product((100, 100000), (lambda x: x, np.sort, lambda x: np.sort(x)[::-1]), (0, 1)):
            x = np.array([way(column) for column in sample(n, 2).T]).T
            task = Task(x, wide=wide, storage=COLUMNS)
            task.edit(63, orders), task.edit(62, 6), task.room(64, 2, 6)
            task.edit(65, 1), task.edit(66, np.array([error]))
            for begin in range(0, n, n // 5):
                task.edit(3, task.data(x[begin:begin + n // 5])), task.edit(2, n // 5)
                task.run('StreamQuantiles', 1 << 24, 0x80 if wide else 0x40)
            if wide:
                self.assertTrue((task[64] == 7).all())
                task.edit(2, 0), task.run('StreamQuantiles', 1 << 24, 0x80)
            ranks = [np.searchsorted(np.sort(x[:, k]), task[64][k]) for k in (0, 1)]
            self.assertLessEqual(np.abs(ranks - orders * (n - 1)).max(), 0.5 if n == 100 else error * n / 25, (n, wide))
            self.assertTrue(np.isin(task[64], x).all())

    def test_outliers(self):
        x = sample(400, 4)
        far = np.arange(400) % 10 == 3
        x[far] += 60
        for start, storage, dtype in itertools.product((0.0, 1.0), (ROWS, COLUMNS), (np.float32, np.float64)):
            y = x.copy()
            y[far] = y[far] if start else x[~far][:40] + np.outer(np.arange(40) % 2 * 2 - 1, [60, -60, 60, 60])
            task = Task(y, dtype, storage)
            task.edit(41, 3), task.edit(42, np.array([start, 0.001, 0])), task.room(43, 400)
            task.run('OutliersDetection', 0x80000)
            self.assertTrue((task[43][far] == 0).all() and task[43][~far].mean() > 0.97, (start, task[43][~far].mean()))

    def test_robust(self):
        random = np.random.default_rng(5)
        truth = np.array([[4, 1, -1], [1, 2, 0.5], [-1, 0.5, 1]])
        x = random.multivariate_normal([1, 2, 3], truth, 4000)
        x[:1000] = [50, -50, 50] + random.standard_normal((1000, 3))
        task = Task(x)
        task.room(38, 3), task.room(39, 6)
        task.edit(40, LOWER), task.edit(37, np.array([0.99]))
        task.run('RobustCovariance', 0x40000)
        self.near(task[38], np.array([1, 2, 3]), 0.03)
        self.near(task[39], truth[np.tril_indices(3)], 0.1)
        # Far from the ellipse, not from either component's middle.
        x = random.multivariate_normal([0, 0], [[1, 0.99], [0.99, 1]], 2000)
        x[:300] = [2, -2] + 0.1 * random.standard_normal((300, 2))
        task = Task(x)
        task.room(39, 2, 2), task.edit(37, np.array([0.99]))
        task.run('RobustCovariance', 0x40000)
        self.near(task[39], np.array([[1, 0.99], [0.99, 1]]), 0.1)

    def test_robust_by_biweight(self):
        """By its definition: the least determinant among those that give distances their mean."""
        random, p = np.random.default_rng(6), 2
        x = random.multivariate_normal([1, 2], [[4, 1], [1, 2]], 600)
        x[:30] += [30, -40]
        d = np.linspace(0, 40, 400001)
        step, density = d[1], d * np.exp(-d * d / 2)

        def rising(near, slope):
            return np.cumsum(d * np.where(d < near, 1, np.clip(1 - ((d - near) / slope) ** 2, 0, None) ** 2)) * step

        def stands(rho):
            return (rho * density).sum() * step / rho[-1]
        for outliers, rejected, storage in ((0.3, 0.01, ROWS), (0.45, 1e-4, COLUMNS)):
            end = np.sqrt(-2 * np.log(rejected))
            plain = stands(rising(0, end)) < outliers
            low, high = 1e-3, end - 1e-3
            for _ in range(30):
                middle = (low + high) / 2
                rho = rising(0, middle) if plain else rising(middle, end - middle)
                low, high = (middle, high) if stands(rho) > outliers else (low, middle)
            self.assertEqual(plain, storage == COLUMNS)

            def mean(centre, shape, scale=1.0):
                z = np.linalg.solve(np.linalg.cholesky(shape), (x - centre).T)
                return np.interp(np.sqrt((z * z).sum(0)) / scale, d, rho).mean()

            def size(values):
                centre, shape = values[:2], np.array([[values[2], values[3]], [values[3], values[4]]])
                low, high = 0.1, 10.0
                for _ in range(50):
                    scale = np.sqrt(low * high)
                    low, high = (scale, high) if mean(centre, shape, scale) > outliers * rho[-1] else (low, scale)
                return np.log(np.linalg.det(shape)) + 2 * p * np.log(scale)
            task = Task(x, storage=storage)
            centre, cov = task.room(38, 2), task.room(39, 2, 2)
            task.edit(36, 4), task.edit(37, np.array([outliers, rejected, 1e-10, 500]))
            task.run('RobustCovariance', 0x40000)
            self.assertAlmostEqual(mean(centre, cov) / rho[-1], outliers, delta=1e-4)
            found = np.array([*centre, cov[0, 0], cov[0, 1], cov[1, 1]])
            for move in np.eye(5) * 1e-2:
                self.assertAlmostEqual((size(found + move) - size(found - move)) / 2e-2, 0, delta=2e-4)
            self.near(centre, np.array([1, 2]), 0.2)
            self.near(cov, np.array([[4, 1], [1, 2]]), 0.3)

    def test_missing(self):
        """One component lacks values: likelihood has a closed form, and imputed values are about their regression."""
        random = np.random.default_rng(8)
        n, m = 1500, 300
        x = random.multivariate_normal([1, 2, 3], [[4, 1, -1], [1, 2, 0.5], [-1, 0.5, 1]], n)
        gone = random.random(n) < 0.3 + 0.3 * (x[:, 0] > 1)  # by what is known
        truth, x[gone, 1] = x[gone, 1].copy(), np.nan
        z = np.column_stack([np.ones(n), x[:, [0, 2]]])
        slopes, left = np.linalg.lstsq(z[~gone], x[~gone, 1], rcond=None)[:2]
        deviation = np.sqrt(left[0] / (~gone).sum())
        for prior in (False, True):
            task = Task(x, storage=COLUMNS)
            task.edit(50, 5), task.edit(51, np.array([100, 3 if prior else 1, 1e-10, m, gone.sum()]))
            simulated, chain = task.room(57, m, gone.sum()), task.room(59, m, 9)
            if prior:  # as sure of a mean as of 10^9 observations
                task.edit(55, np.array([1e9, -1, 5, 6, 7] + [0.0] * 6))
            task.run('MissingValues', 0x400000)
            if prior:
                self.near(chain[:, :3], np.array([5, 6, 7]), 1e-4)
                continue
            error = deviation / np.sqrt(m)
            self.assertLess(np.abs(simulated.mean(0) - z[gone] @ slopes).max(), 6 * error)
            self.assertAlmostEqual((simulated - z[gone] @ slopes).std() / deviation, 1, delta=0.02)
            self.assertAlmostEqual((simulated.mean(0) - truth).std() / deviation, 1, delta=0.1)
            filled = np.cov(np.column_stack([x[:, 0], np.where(gone, z @ slopes, x[:, 1]), x[:, 2]]).T)
            filled[1, 1] += deviation ** 2 * gone.mean()
            self.near(chain[:, 0].mean(), x[:, 0].mean(), 0.01)
            self.near(chain[:, 1].mean(), (z @ slopes * gone + np.nan_to_num(x[:, 1]) * ~gone).mean(), 0.01)
            self.near(chain[:, 3:].mean(0), filled[np.tril_indices(3)], 0.01)
            self.assertAlmostEqual(chain[:, 0].std() / np.sqrt(4 / n), 1, delta=0.15)
        # An inverted Wishart matrix's mean, where degrees of freedom are few.
        n, m, x = 12, 20000, x[~gone][:12]
        task = Task(x)
        chain = task.room(59, m, 9)
        task.edit(50, 5), task.edit(51, np.array([1.0, 1, 0, m, 0])), task.room(57, 1)
        task.run('MissingValues', 0x400000)
        self.near(chain[:, 3:].mean(0), (np.cov(x.T) * (n - 1) / (n - 1 - 3 - 1))[np.tril_indices(3)], 0.04)

    def test_refused(self):
        x = sample(20, 2)
        for stage, estimates, needs in (
                ('Basic', 0x3001, (7, 19, 21)), ('Basic', 1 << 25, (67,)), ('Minmax', 0xc00, (16, 17)),
                ('Sort', 1 << 39, (78,)), ('MAD', 3 << 33, (76, 77)), ('Quantiles', 0x20000, (27,))):
            task = Task(x)
            for parameter in needs:
                self.assertEqual(task.status(stage, estimates), -4100 - parameter)
                for room in needs[:needs.index(parameter)]:
                    self.assertTrue((task[room] == 7).all())
                task.room(parameter, 2, 20)
            self.assertEqual(task.status(stage, estimates), 0)
        for parameter, value in ((5, [1, 2]), (5, [0, 0]), (6, [-1.0] + [1.0] * 19), (6, [0.0] * 20), (20, 3)):
            task = Task(x)
            task.room(7, 2), task.room(19, 2, 2)
            task.edit(parameter, value)
            self.assertEqual(task.status('Basic', 0x1001), -4200 - parameter)
            self.assertTrue((task[7] == 7).all() and (task[19] == 7).all())
        # Data that are not there, where a mask's other bits have kept the layer from looking.
        for parameter, value, status in ((2, 0, -4202), (4, 3, -4204), (3, None, -4103)):
            for stage, estimates, result in (('Basic', 1, 7), ('Minmax', 0x400, 16), ('Sort', 1 << 39, 78)):
                task = Task(x)
                room = task.room(result, 2, 20)
                if value is None:
                    task.call('__vsldSSEditTask', task.handle, ctypes.c_int(parameter), None)
                else:
                    task.edit(parameter, value)
                self.assertEqual(task.status(stage, estimates), status)
                self.assertTrue((room == 7).all())
        task = Task(x)
        room = np.zeros(2)
        for name, parameter, status in (
                ('i', 7, -3), ('d', 20, -3), ('s', 7, -3), ('d', 80, -3), ('d', 0, -3), ('d', 7, 0)):
            self.assertEqual(task.call(f'__vsl{name}SSEditTask', task.handle, ctypes.c_int(parameter), room), status)
        self.assertEqual(task.call('__vslsSSEditMoments', task.handle, *[None] * 7), -3)


unittest.main(argv=sys.argv[:1])
