"""Streams, statistics, splines and convolution beside NumPy and SciPy, in turns; told are the quickest of many rounds.
usage: statistics.py FOLDER-OF-LIBRARIES"""
import ctypes
import sys
import time

import numpy as np

ctypes.CDLL(sys.argv[1] + '/libqnm_core.so', ctypes.RTLD_GLOBAL)
layer = ctypes.CDLL(sys.argv[1] + '/libqnm_orvan_lp64.so.2')
layer.QNM_Domain_Set_Num_Threads(1, 3)
SFMT19937, MT19937 = 0xD00000, 0x800000


def passed(argument):
    if isinstance(argument, np.ndarray):
        return argument.ctypes.data_as(ctypes.c_void_p)
    if isinstance(argument, float):
        return ctypes.c_double(argument)
    return argument


def call(name, *arguments):
    """The call, ready to be repeated."""
    function, given = getattr(layer, name), [passed(a) for a in arguments]

    def run():
        if function(*given) != 0:
            raise RuntimeError(name)
    return run


def made(name, *arguments):
    handle = ctypes.c_void_p()
    call(name, ctypes.byref(handle), *arguments)()
    return handle


def row(name, beside, n, theirs, ours):
    best = {theirs: float('inf'), ours: float('inf')}
    end = time.perf_counter() + 1
    while time.perf_counter() < end:
        for work in best:
            start = time.perf_counter()
            work()
            best[work] = min(best[work], time.perf_counter() - start)
    print(f'{name:30}{beside:34}{best[theirs] / n * 1e9:10.3f}{best[ours] / n * 1e9:10.3f}'
          f'{best[ours] / best[theirs]:8.2f}')


def integer(value):
    return np.array([value], np.int32)


def streams(n=100_000):
    r, random = np.empty(n), np.random.Generator(np.random.MT19937(777))
    for name, number in ('SFMT19937', SFMT19937), ('MT19937', MT19937):
        row('uniform, ' + name, "NumPy's MT19937", n, lambda: random.random(out=r),
            call('vdRngUniform', 0, made('vslNewStream', number, 777), n, r, 0.0, 1.0))
    random = np.random.default_rng(777)
    for name, method in ('Box and Muller', 1), ('inversion', 2):
        row('Gaussian, ' + name, "NumPy's ziggurat, PCG64", n, lambda: random.standard_normal(out=r),
            call('vdRngGaussian', method, made('vslNewStream', SFMT19937, 777), n, r, 0.0, 1.0))


def covariance(n=1_000_000, p=10):
    x = np.random.default_rng(1).standard_normal((n, p))
    kept = [integer(p), integer(n), integer(0x20000), np.empty(p), np.empty((p, p)), integer(0)]
    task = made('vsldSSNewTask', *kept[:3], x, None, None)
    call('vsldSSEditCovCor', task, *kept[3:], None, None)()
    ours = call('vsldSSCompute', task, ctypes.c_uint64(0x1001), 1)
    row('covariance, one thread', 'numpy.cov', n, lambda: np.cov(x, rowvar=False), ours)


def spline(cells=1000, n=100_000):
    from scipy.interpolate import CubicSpline
    random = np.random.default_rng(1)
    x = np.arange(cells + 1) + 0.5 * random.random(cells + 1)
    y, c, r = np.sin(0.01 * x), np.empty(4 * cells), np.empty(n)
    site, one = x[0] + (x[-1] - x[0]) * random.random(n), integer(1)
    task = made('dfdNewTask1D', cells + 1, x, 0, 1, y, 0)
    call('dfdEditPPSpline1D', task, 4, 2, 2, None, 0, None, c, 0)()
    call('dfdConstruct1D', task, 0, 0)()
    theirs = CubicSpline(x, y, bc_type='natural')
    for name, sites, hint in ('any order', site, 0), ('sorted sites', np.sort(site), 0x40):
        row('spline, ' + name, "SciPy's CubicSpline", n, lambda: theirs(sites),
            call('dfdInterpolate1D', task, 1, 1, n, sites, hint, 1, one, None, r, 0, None))
        np.testing.assert_allclose(r, theirs(sites), atol=1e-12)


def convolution():
    from scipy import signal
    for (m, n), how in ((256, 10_000), 'direct'), ((2000, 20_000), 'fft'):
        x, y, z = np.ones(m), np.ones(n), np.empty(m + n - 1)
        task = made('vsldConvNewTask1D', 0, m, n, m + n - 1)
        row(f'convolution, {m} by {n}', f'scipy.signal.convolve, {how}', m + n - 1,
            lambda: signal.convolve(x, y, method=how), call('vsldConvExec1D', task, x, 1, y, 1, z, 1))


streams()
covariance()
try:
    spline()
    convolution()
except ImportError as absent:
    print('Left out:', absent)
