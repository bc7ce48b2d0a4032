# Runs one test program of the reference BLAS as it stands and through qnm-run, and compares verdicts.
# usage: reference.sh QNM_RUN FOLDER LEVEL LETTER
set -eu
qnm_run=$1 folder=$2 level=$3 letter=$4
program=$folder/xblat$level$letter
input=/dev/null
[ "$level" = 1 ] || input=$folder/${letter}blat$level.in

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/plain" "$work/layer"

fail() {
    echo "FAILED: $*"
    exit 1
}

# The summary is the file that the program writes, or its output if it writes none.
(cd "$work/plain" && "$program" < "$input" > output)
(cd "$work/layer" && "$qnm_run" --report "$program" < "$input" > output 2> "$work/report") ||
    fail "exit status $? through qnm-run: $(tail -3 "$work/report")"
diff -r "$work/plain" "$work/layer" || fail "the verdicts differ (< plain, > through the layer)"
cat "$work"/layer/* > "$work/verdicts"

# What the program says of each routine, and what qnm-run counted of the same routine.
counted() { awk -v name="$1" '$1 == name { print $2 }' "$work/report"; }
checked=0
if [ "$level" = 1 ]; then
    for routine in $(sed -n 's/.*Test of subprogram number *[0-9]* *\([A-Z0-9]*\).*/\1/p' "$work/verdicts"); do
        [ -n "$(counted "$routine")" ] || fail "$routine did not pass through the layer"
        checked=$((checked + 1))
    done
    passed=$(grep -c -e '----- PASS -----' "$work/verdicts")
    [ "$checked" = "$passed" ] || fail "$passed of $checked routines passed"
else
    # "DGEMM  PASSED THE COMPUTATIONAL TESTS ( 17497 CALLS)"; error exits come on top
    while read -r routine calls; do
        grep -q "^ *$routine *PASSED THE TESTS OF ERROR-EXITS" "$work/verdicts" ||
            fail "$routine did not pass the tests of error exits"
        through=$(counted "$routine")
        [ "${through:-0}" -gt "$calls" ] || fail "$routine: $calls calls, ${through:-0} of them through the layer"
        checked=$((checked + 1))
    done < <(sed -n \
        's/^ *\([A-Z0-9]*\) *PASSED THE COMPUTATIONAL TESTS ( *\([0-9]*\) CALLS).*/\1 \2/p' "$work/verdicts")
    listed=$(grep -c '^[A-Z0-9]* *T PUT F FOR NO TEST' "$input")
    [ "$checked" = "$listed" ] || fail "$checked of $listed routines passed"
fi
[ "$checked" -gt 0 ] || fail "no verdict was found"
echo "$checked routines passed"
