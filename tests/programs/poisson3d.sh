# One Poisson problem in three dimensions, solved directly and by steps, and its lowest eigenvalues: right, and the same digits
# from each language and either width of integers.
# usage: poisson3d.sh QNM_RUN EXAMPLES PYTHON PROGRAM...
. "${0%/*}/common.sh"
lib=${1%/bin/*}/lib examples=$2 python=$3
shift 3
look() {
    "$@" > digits || fail "$*: $(cat digits)"
    [ "$(grep -c ' [0-9]*\.[0-9]* seconds$' digits)" = 3 ] || fail "not timed: $(cat digits)"
    sed -i 's/ *[0-9.]* seconds$//' digits
    [ ! -e first ] || diff first digits || fail "$*"
    cp digits first
}
for program in "$@"; do
    look "$program"
done
if "$python" -I -c 'import scipy.sparse' 2> errors; then
    look "$python" -I "$examples/poisson3d.py" "$lib" narrow
    look "$python" -I "$examples/poisson3d.py" "$lib" wide
else
    echo "python3 with SciPy is missing: left out"
fi
# Sums of three eigenvalues of a line of 12 points, in twice the digits; and the steps of SciPy's conjugate gradients.
cat > eigenvalues <<'DIGITS'
29.464997130 1
58.359194749 3
87.253392368 3
104.646698538 3
116.147589988 1
133.540896157 6
DIGITS
awk '/^ +[0-9]/ { print $1, $3; good += $1 == $2 }
    /^PARDISO/ { good += $2 < 1e-15 }
    /^DCG/ { good += $2 == 20 && $4 < 1e-11 }
    END { exit good != 8 }' first > found || fail "$(cat first)"
diff eigenvalues found
echo "all as expected"
