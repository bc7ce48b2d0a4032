# What qnm-run tells of a program's names without running it, and why a run told nothing.
# usage: check.sh QNM_RUN NAMES NAMES_WIDE NAMES_OWN RIVAL LONGLEY MODULE BELOW ABOVE FAULTY OPEN [LONGLEY_WIDE]
. "${0%/*}/common.sh"
qnm_run=$1 names=$2 wide=$3 own=$4 rival=$5 longley=$6 module=$7 below=$8 above=$9 faulty=${10} open=${11} linked=${12:-}

# A check, its status, and lines that it has; names of a fate may go on in further lines.
expect() { # STATUS LINES QNM_RUN'S ARGUMENTS...
    local wanted=$1 lines=$2 status=0 line
    shift 2
    "$qnm_run" "$@" > out 2>&1 || status=$?
    [ $status = "$wanted" ] || fail "status $status of: $*: $(<out)"
    while read -r line; do
        grep -qxF -- "$line" <(sed 's/^ *//' out) || fail "no line '$line' of: $*: $(<out)"
    done <<< "$lines"
}

expect 0 "ours, 32-bit integers (7): dcopy_ dgemv_ dnrm2_ drot_ drotg_ dscal_ dtrsv_
all is ours: 7 names (dcopy_, dgemv_, dnrm2_, ...)" --check "$longley"
for file in "$names" "$module"; do
    expect 1 "$file
ours by the adapter, 32-bit integers (1): zdotc_
ours, 32-bit integers (2): dgemm_ xerbla_
ours, 64-bit integers (1): dgemm_64_
not ours, by $rival (1): dlasd4_
1 name (dlasd4_) is not ours, 4 names (dgemm_, dgemm_64_, xerbla_, ...) are" --check "$file"
    ! grep -q rival_solve out || fail "another's own affair: $(<out)"
done
expect 1 "defined in the program itself (1): dgemm_
1 name (dgemm_) is not ours, none is" --check "$own"
expect 0 "$above
ours, 32-bit integers (1): dgemm_" --check "$below"
expect 0 "calls nothing of the layer; what it opens or starts while it runs is not seen" --check true

# 64-bit integers under plain names: asked for, or because of the library that has them.
jumps="ours by libqnm_ilp64.so.2, 64-bit integers (2): dgemm_ zdotc_"
expect 1 "$jumps" --check "$wide"
expect 1 "$jumps" --check "$open"
if [ -n "$linked" ]; then # with the jumps themselves
    expect 0 "ours by libqnm_ilp64.so.2, 64-bit integers (2): dgels_ dnrm2_" --check "$linked"
    expect 0 "integers of 64 bits, dgels gave info = 0" "$linked"
    "$linked" > direct && cmp out direct || fail "other digits without qnm-run"
fi
expect 1 "$jumps" --integers=64 --check "$names"
expect 1 "ours, 32-bit integers (2): dgemm_ xerbla_" --integers=32 --check "$wide"

# What cannot run.
expect 2 "cannot run: ./missing: no such program" --check ./missing
LC_ALL=C sed 's/libnames\.so\.3/libnemos.so.3/' "$names" > lost
chmod +x lost
expect 2 "cannot run: the library libnemos.so.3 is not found" --check ./lost
cp "$rival" core.so
expect 2 "$PWD/core.so
cannot run: dgemm_ ends the program, since the core lacks qnm_blas_dgemm" --core=core.so --check "$names"
expect 125 "qnm-run: none.so: No such file or directory" --core=none.so --check "$names"
expect 125 "qnm-run: $longley: is not a library of this machine" --core="$longley" --check "$names"
expect 125 "qnm-run: lines: expected a file for the trace alone" --trace=lines --report=lines "$longley"
expect 125 "qnm-run: out: is not a library of this machine" --core=out --check "$names"

# A run that told nothing says why.
expect 0 "why: it takes 1 name (dlasd4_) from $rival; 1 name (xerbla_) of ours with no line of their own;\
 of ours it might have called 3 names (dgemm_, dgemm_64_, zdotc_), and did not" --report "$names"
expect 0 "why: it brings 1 name (dgemm_) itself; what it opens or starts while it runs is not seen" --report "$own" call
expect 0 "why: neither it nor a library that it needs takes a name of ours; what it opens or starts while it runs is not seen" \
    --report true
cp "$(command -v rm)" rm
expect 0 "why: neither it nor a library that it needs takes a name of ours; what it opens or starts while it runs is not seen" \
    --report ./rm ./rm # gone when it is looked for

# A run that told something says what it did not.
expect 0 "passed by: it takes 1 name (dlasd4_) from $rival; what it opens or starts while it runs is not seen" \
    --report "$faulty"
"$qnm_run" --report --page=longley.html "$longley" > out 2>&1
! grep -q "why:\|passed by:" out || fail "a reason without need: $(<out)"
grep -q "<dt>passed by</dt><dd>nothing by its files; " longley.html || fail "the page does not say what is seen"
echo "all as expected"
