# The programs, and the first of them once more through qnm-run, must print the same bits.
# usage: samebits.sh QNM_RUN PROGRAM...
. "${0%/*}/common.sh"
qnm_run=$1
shift

"$1" > expected
# 13 of 13 by 13 and smaller operations with real, complex, single and double results
[ "$(wc -l < expected)" = 957 ] || fail "not all results were printed"
for program in "$@"; do
    "$program" > direct
    "$qnm_run" "$program" > run
    cmp expected direct
    cmp expected run
done
