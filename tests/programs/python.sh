# Runs the tests of a Python package on linear algebra over the reference libraries, as they stand and through qnm-run,
# and compares the outcome of each test. The only differences allowed, and required, are those of
# python_differences.txt.
# usage: python.sh QNM_RUN FOLDER DIFFERENCES PYTHON PACKAGE [OPTION OF PYTEST...]
. "${0%/*}/common.sh"
qnm_run=$1 folder=$2 differences=$3 python=$4 package=$5
shift 5

# Engine and reference libraries as in lapack.sh.
export OPENBLAS_CORETYPE=Nehalem OPENBLAS_NUM_THREADS=1
export LD_LIBRARY_PATH=$folder:$folder/../blas
unset PYTEST_ADDOPTS

# A line for each test, its outcome ahead; nothing is left behind in the package.
outcomes() { # NAME RUNNER OPTION...
    local name=$1 runner=$2
    shift 2
    "$runner" "$python" -IB -m pytest -p no:cacheprovider --color=no -v --tb=short "$@" --pyargs "$package" \
        > "$name-output" 2> "$name-errors" || true
    sed -nE 's/^(.*::.*) (PASSED|FAILED|ERROR|SKIPPED|XFAIL|XPASS)( .*)?$/\2 \1/p' "$name-output" |
        sort > "$name"
}
outcomes plain env "$@"
paged() { "$qnm_run" --page="$work/page.html" "$@"; }
outcomes layer paged "$@"
grep -q '<table id=by-routine>' page.html || fail "no page of the calls"

diff plain layer | grep '^[<>]' > found || true
sed -n "/^\[$package\]\$/,/^\$/{/^[<>]/p}" "$differences" > wanted
passed=$(grep -c '^PASSED' plain || true)
if [ "$passed" -lt 400 ] || grep -qE '^(FAILED|ERROR)' plain || ! cmp -s wanted found; then
    tail -n 40 wanted found layer-output layer-errors
    fail "$passed tests passed without the layer; wanted and found are differences (< plain, > through the layer)"
fi
echo "$(grep -c '^PASSED' layer) of $(wc -l < layer) tests passed, $(wc -l < wanted) lines differ as expected"
