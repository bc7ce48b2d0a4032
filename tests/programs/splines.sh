# Splines from Python, by the layer over the open core and its kernels, each beside SciPy's.
# usage: splines.sh QNM_RUN PYTHON
. "${0%/*}/common.sh"
if ! "$2" -I -c 'import scipy.interpolate' 2> errors; then
    echo "python3 with SciPy is missing: left out"
    exit
fi
"$2" -I "${0%/*}/splines.py" "${1%/bin/*}/lib" > differences 2>&1 || fail "$(cat differences)"
cat differences
