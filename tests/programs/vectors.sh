# Vector functions from Python and R, each beside the language's own: from any folder, and wherever the libraries lie.
# usage: vectors.sh QNM_RUN EXAMPLES PYTHON
. "${0%/*}/common.sh"
examples=$2 python=$3
mkdir "a folder"
cp "${1%/bin/*}"/lib/libqnm_{core.so,orvan_lp64.so.2,kernels.so} "a folder"
if "$python" -I -c 'import scipy.special' 2> errors; then
    "$python" -I "$examples/vectors.py" "a folder" > differences || fail "$(cat differences)"
    [ "$(grep -c allowed differences)" = 45 ] || fail "not all functions: $(cat differences)"
else
    echo "python3 with SciPy is missing: left out"
fi
if command -v Rscript > path; then
    Rscript "$examples/vectors.R" "a folder" > differences || fail "$(cat differences)"
else
    echo "R is missing: left out"
fi
echo "all as expected"
