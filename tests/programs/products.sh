# The products of direct solvers are the core's own affair: none is a call of the layer, and none of a program's own BLAS.
# usage: products.sh QNM_RUN OWN_BLAS LIBRARY PYTHON
. "${0%/*}/common.sh"
qnm_run=$1 own_blas=$2 library=$3 python=$4

# By itself, and with the layer ahead of all its libraries.
"$own_blas" > out || fail "$(cat out)"
"$qnm_run" --report "$own_blas" > out 2> report || fail "$(cat out report)"
[ "$(cat out)" = "0 0" ] || fail "$(cat out)"
grep -q 'no traced call was made' report || fail "$(cat report)"

# SciPy's own products are calls of the layer, as ever; beside them the solver has none.
cat > program.py <<'END_OF_PROGRAM'
import ctypes
import sys

import numpy
from scipy.linalg import blas, lapack

assert (blas.dgemm(1, numpy.eye(7), numpy.ones((7, 5))) == 1).all()
if len(sys.argv) > 1:
    solve = ctypes.CDLL(sys.argv[1]).solve
    print(solve(2), solve(11))
lapack.dgesv(numpy.eye(6), numpy.ones((6, 1)))
END_OF_PROGRAM
if ! "$python" -I -c 'import scipy.linalg' 2> errors; then
    echo "python3 with SciPy is missing: left out"
    exit 0
fi
calls() { # ARGUMENT...
    "$qnm_run" --report "$python" -IB program.py "$@" > out 2> report || fail "$(cat out report)"
    awk '/^routine /{ on = 1; next } on { print $1, $2, $8, $9, $10 }' report | sort
}
calls > without
grep -q '^DGEMM 1 m=7 n=5 k=7$' without && grep -q '^DGESV 1 n=6 nrhs=1' without || fail "$(cat without report)"
calls "$library" > with
[ "$(cat out)" = "0 0" ] || fail "$(cat out)"
diff without with || fail "calls of the solver's among those of the program"
echo "all as expected"
