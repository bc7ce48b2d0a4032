# Runs one test program of the reference BLAS, in Fortran or in C, as it stands and through qnm-run, and compares verdicts.
# In the folder blas64 they have 64-bit integers under the same names.
# usage: reference.sh QNM_RUN FOLDER fortran|c LEVEL LETTER
. "${0%/*}/common.sh"
qnm_run=$1 folder=$2 language=$3 level=$4 letter=$5
mkdir plain layer
options=$(options_for "$folder")
program=$folder/xblat$level$letter given=$folder/${letter}blat$level.in
if [ "$language" = c ]; then
    program=$folder/x${letter}cblat$level given=$folder/${letter}in$level
    # The programs take a variable from the reference library, which therefore lies beneath the layer.
    export LD_LIBRARY_PATH=$folder${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
fi
[ -x "$program" ] || left_out "$program is missing"
[ "$level" != 1 ] || given=/dev/null
cp "$given" input
# Error exits of C stay untested: the programs bring a cblas_xerbla of another signature, which takes the layer's place.
if [ "$language" = c ] && [ "$level" != 1 ]; then
    sed -i 's/^T\( *LOGICAL FLAG, T TO TEST ERROR EXITS\)/F\1/' input
    grep -q '^F *LOGICAL FLAG, T TO TEST ERROR EXITS' input || fail "the input has no switch for error exits"
fi

# The summary is the file that the program writes, or its output if it writes none.
(cd plain && "$program" < ../input > output)
(cd layer && "$qnm_run" $options --report "$program" < ../input > output 2> ../report) ||
    fail "exit status $? through qnm-run: $(tail -3 report)"
diff -r plain layer || fail "the verdicts differ (< plain, > through the layer)"
cat layer/* > verdicts

# What the program says of each routine, and what qnm-run counted of the same routine.
checked=0
if [ "$level" = 1 ]; then
    for routine in $(sed -n 's/.*Test of subprogram number *[0-9]* *\(CBLAS_\)\?\([A-Z0-9]*\).*/\2/p' verdicts); do
        calls=$(counted "$routine")
        case $language-$routine in # complex products of C go to the core at once, and leave no line
        c-[CZ]DOT[CU]) traced [ "$calls" = 0 ] ;;
        *) traced [ "$calls" -gt 0 ] ;;
        esac || fail "$routine: $calls calls through the Fortran entry"
        checked=$((checked + 1))
    done
    listed=$(grep -c -e '----- PASS -----' verdicts)
else
    declare -A expected=() seen=()
    while read -r routine calls; do # in C first by columns, then by rows
        name=${routine^^}
        [ -z "${seen[$routine]:-}" ] || name=${name/GERC/GERU} # that is what a row-major call of it becomes
        seen[$routine]=yes
        expected[$name]=$((${expected[$name]:-0} + calls))
        checked=$((checked + 1))
    done < <(sed -nE 's/^ *(cblas_)?(\w+) *PASSED THE .*COMPUTATIONAL TESTS \( *([0-9]+) CALLS\).*/\2 \3/p' verdicts)
    for name in "${!expected[@]}"; do
        through=$(counted "$name")
        case $language-$name in
        c-?GEMV | c-?GBMV) # return early where there is nothing to do
            traced [ "$through" -gt 0 ] && traced [ "$through" -le "${expected[$name]}" ] ;;
        c-*) traced [ "$through" = "${expected[$name]}" ] ;;
        *) # error exits stand by themselves
            traced [ "$through" = "${expected[$name]}" ] && traced [ "$(counted "$name" refused)" -gt 0 ] &&
                grep -q "^ *$name *PASSED THE TESTS OF ERROR-EXITS" verdicts ;;
        esac || fail "$name: ${expected[$name]} calls, $through of them through the layer; or its error exits failed"
    done
    listed=$(grep -cE '^(cblas_)?\w+ *T PUT F FOR NO TEST' input)
    if [ "$language" = c ]; then
        listed=$((2 * listed))
        grep -q "^qnm-run: .* has a cblas_xerbla of its own" report || fail "qnm-run does not tell of cblas_xerbla"
    fi
fi
[ "$checked" -gt 0 ] && [ "$checked" = "$listed" ] || fail "$checked of $listed verdicts passed"
echo "$checked verdicts"
