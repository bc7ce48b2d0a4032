# Ipopt calls PARDISO of a library that it opens by name, and finds the optimum that it finds by its own solver.
# usage: ipopt.sh QNM_RUN PYTHON PROGRAM IPOPT
. "${0%/*}/common.sh"
lib=${1%/bin/*}/lib
shift
ln -s "$lib/libqnm_orvan_lp64.so.2" libpardiso.so
optimum() { # SOLVER FOLDER
    LD_PRELOAD=$lib/libqnm_core.so LD_LIBRARY_PATH=$2 "$python" -IB "$program" "$ipopt" "$1" > out 2>&1 || fail "$(cat out)"
    grep '^optimum' out
}
python=$1 program=$2 ipopt=$3
own=$(optimum mumps "$work") || fail "$own"
[ "$own" = "optimum 17.01401714 at 1.000000 4.743000 3.821150 1.379408" ] || fail "$own"
[ "$(optimum pardiso "$work")" = "$own" ] || fail "by PARDISO: $(cat out)"
! (optimum pardiso /) > refused || fail "another PARDISO than ours"
echo "all as expected"
