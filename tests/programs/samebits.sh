# The programs, and the first of them once more through qnm-run, must print the same bits.
# usage: samebits.sh QNM_RUN PROGRAM...
set -eu
qnm_run=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$1" > "$work/expected"
# 13 of 13 by 13 and smaller operations with real, complex, single and double results
[ "$(wc -l < "$work/expected")" = 957 ] || { echo "FAILED: not all results were printed"; exit 1; }
for program in "$@"; do
    "$program" > "$work/direct"
    "$qnm_run" "$program" > "$work/run"
    cmp "$work/expected" "$work/direct"
    cmp "$work/expected" "$work/run"
done
