# Problem 71 of Hock and Schittkowski by Ipopt: ipopt.py LIBRARY SOLVER; ends with Ipopt's status.
import ctypes
import sys
from ctypes import CFUNCTYPE, POINTER, c_double, c_int, c_void_p

ipopt = ctypes.CDLL(sys.argv[1])
numbers, integers = POINTER(c_double), POINTER(c_int)


def store(place, values):
    for k, value in enumerate(values):
        place[k] = value


@CFUNCTYPE(c_int, c_int, numbers, c_int, numbers, c_void_p)
def objective(n, x, new, value, data):
    value[0] = x[0] * x[3] * (x[0] + x[1] + x[2]) + x[2]
    return 1


@CFUNCTYPE(c_int, c_int, numbers, c_int, numbers, c_void_p)
def gradient(n, x, new, g, data):
    store(g, [x[3] * (2 * x[0] + x[1] + x[2]), x[0] * x[3], x[0] * x[3] + 1, x[0] * (x[0] + x[1] + x[2])])
    return 1


@CFUNCTYPE(c_int, c_int, numbers, c_int, c_int, numbers, c_void_p)
def constraints(n, x, new, m, c, data):
    store(c, [x[0] * x[1] * x[2] * x[3], sum(t * t for t in x[0:4])])
    return 1


@CFUNCTYPE(c_int, c_int, numbers, c_int, c_int, c_int, integers, integers, numbers, c_void_p)
def jacobian(n, x, new, m, count, row, column, value, data):
    if value:
        product = x[0] * x[1] * x[2] * x[3]
        store(value, [product / t for t in x[0:4]] + [2 * t for t in x[0:4]])
    else:
        store(row, [0] * 4 + [1] * 4)
        store(column, [0, 1, 2, 3] * 2)
    return 1


@CFUNCTYPE(c_int)
def none():  # second derivatives are approximated
    return 0


def array(*values):
    return (c_double * len(values))(*values)


ipopt.CreateIpoptProblem.restype = c_void_p
problem = c_void_p(ipopt.CreateIpoptProblem(
    4, array(1, 1, 1, 1), array(5, 5, 5, 5), 2, array(25, 40), array(2e19, 40), 8, 10, 0,
    objective, constraints, gradient, jacobian, none))
ipopt.AddIpoptStrOption(problem, b"linear_solver", sys.argv[2].encode())
ipopt.AddIpoptStrOption(problem, b"hessian_approximation", b"limited-memory")
ipopt.AddIpoptIntOption(problem, b"print_level", 0)
ipopt.AddIpoptNumOption(problem, b"tol", c_double(1e-9))
x, value = array(1, 5, 5, 1), c_double()
status = ipopt.IpoptSolve(problem, x, None, ctypes.byref(value), None, None, None, None)
print("optimum %.8f at" % value.value, *("%.6f" % t for t in x))
ipopt.FreeIpoptProblem(problem)
sys.exit(status)
