# Runs one C test program of the reference BLAS as it stands and through qnm-run, and compares verdicts.
# usage: cblas.sh QNM_RUN FOLDER LEVEL LETTER
set -eu
qnm_run=$1 folder=$2 level=$3 letter=$4
program=$folder/x${letter}cblat$level
# The programs take a variable from the reference library, which therefore lies beneath the layer.
export LD_LIBRARY_PATH=$folder

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/plain" "$work/layer"

fail() {
    echo "FAILED: $*"
    exit 1
}

# Error exits stay untested: the programs bring a cblas_xerbla of another signature, which takes the layer's place.
input=/dev/null
if [ "$level" != 1 ]; then
    input=$work/input
    sed 's/^T\( *LOGICAL FLAG, T TO TEST ERROR EXITS\)/F\1/' "$folder/${letter}in$level" > "$input"
    grep -q '^F *LOGICAL FLAG, T TO TEST ERROR EXITS' "$input" || fail "the input has no switch for error exits"
fi
(cd "$work/plain" && "$program" < "$input" > output)
(cd "$work/layer" && "$qnm_run" --report "$program" < "$input" > output 2> "$work/report") ||
    fail "exit status $? through qnm-run: $(tail -3 "$work/report")"
diff -r "$work/plain" "$work/layer" || fail "the verdicts differ (< plain, > through the layer)"
if [ "$level" != 1 ]; then
    grep -q "^qnm-run: .* has a cblas_xerbla of its own" "$work/report" || fail "qnm-run does not tell of cblas_xerbla"
fi

# What qnm-run counted of a routine. Complex products go to the core at once, and leave no line.
counted() { awk -v name="$1" '$1 == name { print $2 }' "$work/report"; }
checked=0
if [ "$level" = 1 ]; then
    for routine in $(sed -n 's/.*Test of subprogram number *[0-9]* *CBLAS_\([A-Z0-9]*\).*/\1/p' "$work/layer/output"); do
        case $routine in
        [CZ]DOT[CU]) [ -z "$(counted "$routine")" ] || fail "$routine passed through the Fortran entry" ;;
        *) [ -n "$(counted "$routine")" ] || fail "$routine did not pass through the layer" ;;
        esac
        checked=$((checked + 1))
    done
    passed=$(grep -c -e '----- PASS -----' "$work/layer/output")
    [ "$checked" = "$passed" ] || fail "$passed of $checked routines passed"
else
    declare -A expected=() seen=()
    while read -r routine calls; do # first by columns, then by rows
        name=$(echo "$routine" | tr '[:lower:]' '[:upper:]')
        [ -z "${seen[$routine]:-}" ] || name=${name/GERC/GERU} # that is what a row-major call of it becomes
        seen[$routine]=yes
        expected[$name]=$((${expected[$name]:-0} + calls))
        checked=$((checked + 1))
    done < <(sed -n 's/^ *cblas_\([a-z0-9]*\) *PASSED THE .*COMPUTATIONAL TESTS ( *\([0-9]*\) CALLS).*/\1 \2/p' \
        "$work/layer/output")
    for name in "${!expected[@]}"; do
        through=$(counted "$name")
        case $name in
        ?GEMV | ?GBMV) # return early where there is nothing to do
            [ "${through:-0}" -gt 0 ] && [ "$through" -le "${expected[$name]}" ] ;;
        *) [ "${through:-0}" = "${expected[$name]}" ] ;;
        esac || fail "$name: ${expected[$name]} calls, ${through:-0} of them through the layer"
    done
    listed=$(grep -c '^cblas_[a-z0-9]* *T PUT F FOR NO TEST' "$input")
    [ "$checked" = "$((2 * listed))" ] || fail "$checked of $((2 * listed)) verdicts passed"
fi
[ "$checked" -gt 0 ] || fail "no verdict was found"
echo "$checked verdicts"
