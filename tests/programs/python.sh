# Runs the tests of a Python package on linear algebra over the reference libraries, as they stand and through qnm-run,
# and compares the outcome of each test. The only differences allowed, and required, are those of
# python_differences.txt.
# usage: python.sh QNM_RUN FOLDER DIFFERENCES PYTHON PACKAGE [OPTION OF PYTEST...]
set -eu
qnm_run=$1 folder=$2 differences=$3 python=$4 package=$5
shift 5
options=("$@")

# Engine and reference libraries as in lapack.sh.
export OPENBLAS_CORETYPE=Nehalem OPENBLAS_NUM_THREADS=1
export LD_LIBRARY_PATH=$folder:$folder/../blas
unset PYTEST_ADDOPTS

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# A line for each test, its outcome ahead; nothing is left behind in the package.
outcomes() { # NAME RUNNER...
    local name=$1
    shift
    "$@" "$python" -IB -m pytest -p no:cacheprovider --color=no -v --tb=short "${options[@]}" --pyargs "$package" \
        > "$name-output" 2> "$name-errors" || true
    sed -nE 's/^(.*::.*) (PASSED|FAILED|ERROR|SKIPPED|XFAIL|XPASS)( .*)?$/\2 \1/p' "$name-output" |
        sort > "$name"
}
outcomes plain env
outcomes layer "$qnm_run"

diff plain layer | grep '^[<>]' > found || true
sed -n "/^\[$package\]\$/,/^\$/{/^[<>]/p}" "$differences" > wanted
passed=$(grep -c '^PASSED' plain || true)
if [ "$passed" -lt 400 ] || grep -qE '^(FAILED|ERROR)' plain || ! cmp -s wanted found; then
    echo "FAILED: $passed tests passed without the layer; differences (< plain, > through the layer), expected:"
    cat wanted
    echo "found:"
    head -n 40 found
    tail -n 40 layer-output
    tail -n 5 layer-errors
    exit 1
fi
echo "$(grep -c '^PASSED' layer) of $(wc -l < layer) tests passed, $(wc -l < wanted) lines differ as expected"
