# Runs one test program of the reference LAPACK on its inputs, as it stands and through qnm-run, and compares
# verdicts: what passed, what failed and how many tests were made. In the folder lapack64 the programs have 64-bit integers.
# The only differences allowed, and of the open core required, are those of lapack_differences.txt.
# usage: lapack.sh QNM_RUN FOLDER PROGRAM INPUT...
. "${0%/*}/common.sh"
qnm_run=$1 folder=$2 differences=${0%/*}/lapack_differences.txt program=$3 options=$(options_for "$2")
shift 3
[ -x "$folder/$program" ] || left_out "$folder/$program is missing"

# Rounding differs from processor to processor, and a ratio close to its threshold with it: one kind of kernels, which
# every machine has, and one thread.
export OPENBLAS_CORETYPE=Nehalem OPENBLAS_NUM_THREADS=1

verdicts() { grep -E 'passed|failed|XERBLA|detected|is not 0|total number|rror code|\*\*\*' "$1" || true; }
letter=${program: -1}
expected() { sed -n "/^\[.*\b$program\b.* $1\b.*\]\$/,/^\$/{/^[<>]/{s/?/${letter^}/;p}}" "$differences"; }

as_wanted() { cmp -s wanted found || { [ -n "${QNM_CHECKED:-}" ] && ! [ -s found ]; }; }

failures=0
compared=0
for input in "$@"; do
    # without: the reference libraries, whatever the machine's own choice is
    LD_LIBRARY_PATH=$folder:${folder/lapack/blas} "$folder/$program" < "$folder/$input.in" > plain 2> plain-errors
    status=0
    "$qnm_run" $options "$folder/$program" < "$folder/$input.in" > layer 2> layer-errors || status=$?
    verdicts plain > plain-verdicts
    verdicts layer > layer-verdicts
    compared=$((compared + $(wc -l < plain-verdicts)))
    diff plain-verdicts layer-verdicts | grep '^[<>]' > found || true
    expected "$input" > wanted
    if [ "$status" != 0 ] || [ ! -s plain-verdicts ] || ! as_wanted; then
        echo "FAILED: $program < $input.in, exit status $status"
        echo "differences (< plain, > through the layer), expected:"
        cat wanted
        echo "found:"
        cat found
        tail -5 layer-errors
        failures=$((failures + 1))
    fi
done

# And it was the layer that ran: calls of the first input, with fewer matrices, are traced.
calls=0
count_calls() {
    sed -E 's/^[0-9]+( +Number of values of [MN]\b)/3\1/' "$folder/$1.in" > shorter
    "$qnm_run" $options --report "$folder/$program" < shorter > layer 2> report || failures=$((failures + 1))
    calls=$(counted total)
    [ "$calls" -gt 1000 ] || fail "$calls calls passed through the layer"
}
traced count_calls "$1"

echo "$compared verdicts of $# inputs compared, $calls calls traced"
exit "$failures"
