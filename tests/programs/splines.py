# Splines from Python, by the layer over the open core, each beside SciPy's.
#
#     python3 splines.py FOLDER      FOLDER has the libraries
import ctypes
import sys

import numpy as np
from scipy.interpolate import Akima1DInterpolator, CubicHermiteSpline, CubicSpline

folder = sys.argv[1]
layer = ctypes.CDLL(folder + "/libqnm.so.2")

DEFAULT, NATURAL, HERMITE, AKIMA = 0, 2, 3, 5
NOT_A_KNOT, FREE, LEFT1, RIGHT1, LEFT2, RIGHT2, PERIODIC = 1, 2, 4, 8, 16, 32, 64
ROWS, COLUMNS, SORTED = 0x10, 0x20, 0x40


def pointer(array):
    return None if array is None else ctypes.c_void_p(array.ctypes.data)


def good(status):
    if status != 0:
        sys.exit(f"status {status}")


def calls(letter, name, *arguments):
    good(getattr(layer, "df" + letter + name)(*map(lambda a: pointer(a) if isinstance(a, np.ndarray) else a, arguments)))


def ours(letter, x, y, spline, sites, integrals, y_hint=ROWS, uniform=False):
    """Values, three derivatives, and integrals from the first limit to all, of functions in rows or columns."""
    kind = np.float32 if letter == "s" else np.float64
    ends_type, ends, inner_type, inner, kind_of_spline = spline
    points = np.array([x[0], x[-1]] if uniform else x, kind)
    values = np.ascontiguousarray(y if y_hint == ROWS else y.T, kind)
    ends, inner = (None if a is None else np.array(a, kind) for a in (ends, inner))
    functions, n = y.shape
    coefficients = np.full((functions, n - 1, 4), np.nan, kind)
    task = ctypes.c_void_p()
    calls(letter, "NewTask1D", ctypes.byref(task), n, points, 4 if uniform else 0, functions, values, y_hint)
    calls(letter, "EditPPSpline1D", task, 4, kind_of_spline, ends_type, ends, inner_type, inner, coefficients, 0)
    calls(letter, "Construct1D", task, 0, 0)
    wanted = np.ones(4, np.int32)
    results = {}
    for hint, order in ((0, slice(None)), (SORTED, np.argsort(sites))):
        of = np.array(sites[order], kind)
        r = np.empty((functions, of.size, 4), kind)
        calls(letter, "Interpolate1D", task, 1, 1, of.size, of, hint, 4, wanted, None, r, ROWS, None)
        by_columns = np.empty((functions, 4, of.size), kind)
        calls(letter, "Interpolate1D", task, 1, 1, of.size, of, hint, 4, wanted, None, by_columns, COLUMNS, None)
        assert np.array_equal(r, by_columns.transpose(0, 2, 1))
        results[hint] = np.empty_like(r)
        results[hint][:, order] = r
    assert np.array_equal(results[0], results[SORTED])
    begin, end = np.full(integrals.size, integrals[0], kind), np.array(integrals, kind)
    r = np.empty((functions, end.size), kind)
    calls(letter, "Integrate1D", task, 0, end.size, begin, 0, end, 0, None, None, r, ROWS)
    good(layer.dfDeleteTask(ctypes.byref(task)))
    return results[0], r


random = np.random.default_rng(1)
failures = cases = 0
for n in (2, 3, 4, 5, 6, 7, 40, 1000):
    for uniform in (False, True):
        x = np.linspace(-1, 2, n) if uniform else np.cumsum(random.uniform(0.5, 1.5, n)) / n
        y = random.normal(size=(3, n)).cumsum(axis=1)
        slopes = random.normal(size=n)
        a, b = random.normal(size=2)
        inside = None if n == 2 else slopes[1:-1]
        # Conditions at ends, inside, type, and SciPy's of a function.
        splines = [
            ("not a knot", (NOT_A_KNOT, None, 0, None, DEFAULT), lambda v: CubicSpline(x, v)),
            ("default", (0, None, 0, None, DEFAULT), lambda v: CubicSpline(x, v)),
            ("natural", (0, None, 0, None, NATURAL), lambda v: CubicSpline(x, v, bc_type="natural")),
            ("free", (FREE, None, 0, None, DEFAULT), lambda v: CubicSpline(x, v, bc_type="natural")),
            ("slopes", (LEFT1 | RIGHT1, [a, b], 0, None, DEFAULT),
             lambda v: CubicSpline(x, v, bc_type=((1, a), (1, b)))),
            ("bends", (LEFT2 | RIGHT2, [a, b], 0, None, NATURAL),
             lambda v: CubicSpline(x, v, bc_type=((2, a), (2, b)))),
            ("slope, bend", (LEFT1 | RIGHT2, [a, b], 0, None, DEFAULT),
             lambda v: CubicSpline(x, v, bc_type=((1, a), (2, b)))),
            ("bend, knot", (NOT_A_KNOT | LEFT2, [a], 0, None, DEFAULT),
             lambda v: CubicSpline(x, v, bc_type=((2, a), "not-a-knot"))),
            ("knot, slope", (NOT_A_KNOT | RIGHT1, [b], 0, None, DEFAULT),
             lambda v: CubicSpline(x, v, bc_type=("not-a-knot", (1, b)))),
            ("Akima", (0, None, 0, None, AKIMA), lambda v: Akima1DInterpolator(x, v)),
            ("Hermite", (LEFT1 | RIGHT1, [slopes[0], slopes[-1]], 1, inside, HERMITE),
             lambda v: CubicHermiteSpline(x, v, slopes)),
            ("period", (PERIODIC, None, 0, None, DEFAULT), lambda v: CubicSpline(x, v, bc_type="periodic")),
        ]
        sites = np.concatenate([x, random.uniform(x[0], x[-1], 3000)])
        limits = random.uniform(x[0], x[-1], 50)
        for name, spline, scipy in splines:
            if name == "Akima" and n == 2:
                continue  # SciPy looks at a third point
            if name == "period":
                y[:, -1] = y[:, 0]
            theirs = [scipy(v) for v in y]
            for letter, most in (("d", 1e-11), ("s", 2e-3)):
                if letter == "s" and (n > 7 or uniform):
                    continue
                for y_hint in (ROWS, COLUMNS):
                    cases += 1
                    r, sums = ours(letter, x, y, spline, sites, limits, y_hint, uniform)
                    for j, s in enumerate(theirs):
                        for k in range(4):
                            # On a border of pieces the third derivative, and Akima's second, have two values.
                            at = slice(n, None) if k >= 2 else slice(None)
                            wanted = s(sites[at], k)
                            size = np.abs(wanted).max() + 1e-300
                            error = np.abs(r[j, at, k] - wanted).max() / max(size, np.abs(y).max())
                            if letter == "s" and k >= 2:
                                continue
                            if not error <= most:
                                failures += 1
                                print(f"{letter} {name}, {n} points, uniform {uniform}, derivative {k}: {error:.1e}")
                        wanted = np.array([s.antiderivative()(u) - s.antiderivative()(limits[0]) for u in limits])
                        error = np.abs(sums[j] - wanted).max() / np.abs(y).max()
                        if not error <= most:
                            failures += 1
                            print(f"{letter} {name}, {n} points, uniform {uniform}, integrals: {error:.1e}")
print(f"{cases} splines, {failures} failures")
sys.exit(failures != 0)
