# What qnm-core-check says of a core that is sound, of one that lacks most, and of one with a fault, all over the list of the
# tests.
# usage: core_check.sh QNM_CORE_CHECK LIST CORE EXAMPLE_CORE
. "${0%/*}/programs/common.sh"
check=$1 list=$2 core=$3 example=$4 # whole paths

expect() { # STATUS ARGUMENT...
    local wanted=$1 status=0
    shift
    "$check" "$@" > verdicts 2>&1 || status=$?
    [ $status = "$wanted" ] || fail "status $status of: $*: $(<verdicts)"
}
verdict() { grep -Eq "$1" verdicts || fail "no line '$1': $(<verdicts)"; }

# A part of a program of tests is not empty, and there is one of each family.
while read -r family name command; do
    filter=${command##*--gtest_filter=}
    [ "$filter" != "$command" ] || continue
    for suite in ${filter//:/ }; do
        [ -n "$(${command/$filter/${suite%%-*}} --gtest_list_tests | grep '^  ')" ] || fail "$family: no $suite in $name"
    done
done < "$list"
for header in "${0%/*}"/../src/*/core.h.in; do
    family=$(basename "${header%/*}")
    grep -q "^$family[/ ]" "$list" || fail "no test of $family"
done

# One file carries level 1; what it lacks is told by name.
expect 0 --tests "$list" "$example" blas/level1
verdict '^blas/level1 .* names +passed'
verdict '^services +errors +passed'
! grep -q xblat1z "$list" || verdict '^blas/level1 +programs.xzcblat164? +passed'
expect 1 "$example" blas/level3
verdict '^blas/level3 .*FAILED: .* missing: qnm_blas_sgemm'
expect 2 --tests "$list" "$example" lapack/norms
verdict 'no tests: expected some of what was asked for'

# A copy of another name, in a folder of its own: its libraries are found beside it. One function of it does nothing.
mkdir home
for file in "${core%/*}"/libqnm_{kernels,core_solvers}.so; do
    [ ! -e "$file" ] || ln -s "$file" home
done
cp "$core" home/mine.so
families="services trans solvers/iterative sparse/classic vml"
expect 0 --tests "$list" home/mine.so $families
verdict '^vml +open_vml_tests +passed'
address=$(nm -D "$core" | sed -n 's/ T qnm_trans_qnm_domatcopy$//p')
printf '\xc3' | dd of=home/mine.so bs=1 seek=$((0x$address)) conv=notrunc status=none
expect 1 --tests "$list" home/mine.so $families
[ "$(grep FAILED verdicts | cut -d: -f1)" = "$(grep '^trans .*tests' verdicts | cut -d: -f1)" ] || fail "$(<verdicts)"

# What cannot be tried is no verdict, and nothing but such is no proof.
printf 'blas some echo of another kind; exit 77\n' > list
expect 2 --tests list "$example" blas/level1
printf 'blas/level1 some echo of another kind; exit 77\nblas/level1 more printf "1 is not 2"; exit 1\n' > list
expect 1 --tests list "$example" blas/level1
verdict '^blas/level1 +some +left out: of another kind'
verdict '^blas/level1 +more +FAILED: 1 is not 2, see'
echo "all as expected"
