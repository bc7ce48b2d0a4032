# Runs the tests of a Python package on linear algebra as they stand and through qnm-run, and compares the outcome of
# each. The only differences allowed, and required, are those of python_differences.txt; tests that it marks with - are
# left out, since their outcome is left to chance.
# usage: python.sh QNM_RUN PYTHON DIFFERENCES PACKAGE
set -eu
qnm_run=$1 python=$2 differences=$3 package=$4

# See lapack.sh.
export OPENBLAS_CORETYPE=Nehalem OPENBLAS_NUM_THREADS=1

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

section() { sed -n "/^\[$package\]\$/,/^\$/p" "$differences" | grep "^[$1]" || true; }
section - | cut -c3- > chance
outcomes() { # RUNNER...: a line for each test, its outcome ahead
    "$@" "$python" -m pytest -p no:cacheprovider -v --tb=no --pyargs "$package" 2> errors |
        sed -nE 's/^.*tests\/(.*::.*) (PASSED|FAILED|ERROR|SKIPPED|XFAIL|XPASS)( .*)?$/\2 \1/p' | grep -vF -f chance | sort
}
outcomes env > plain
outcomes "$qnm_run" > layer
diff plain layer | grep '^[<>]' > found || true
section '<>' > wanted

[ "$(grep -c '^PASSED' plain)" -gt 300 ] || { echo "FAILED: too few tests pass as they stand"; exit 1; }
if ! cmp -s wanted found; then
    echo "FAILED: differences (< plain, > through the layer), expected:"
    cat wanted
    echo "found:"
    cat found
    tail -5 errors
    exit 1
fi
echo "$(grep -c '^PASSED' layer) tests passed, $(wc -l < wanted) lines differ as expected"
