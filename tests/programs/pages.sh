# Programs of a page for users: each is compiled as the page tells, and prints what stands beside its statements.
# usage: pages.sh QNM_RUN PAGE COUNT CC [FORTRAN]; the page has COUNT programs
. "${0%/*}/common.sh"
build=${1%/bin/*} page=$2 count=$3 cc=$4 fortran=${5-}
# A program is indented, and ends where C's main or Fortran's program does.
awk '/^    (#include|program )/ && file == "" { file = ++k (/program/ ? ".f90" : ".c") }
    file != "" { print substr($0, 5) > file }
    /^    (}|end program)/ && file != "" { done = file; sub(/.*/, "", file); close(done) }' "$page"
[ "$(ls ./*.c ./*.f90 | wc -l)" = "$count" ] || fail "not $count programs: $(ls)"
for program in *.c *.f90; do
    case $program in
    *.c) "$cc" "$program" -I"$build/include" -L"$build/lib" -lqnm_orvan_lp64 -lqnm_core -lm ;;
    *) [ -n "$fortran" ] || continue
        "$fortran" "$program" -L"$build/lib" -lqnm_gnu -lqnm_orvan_lp64 -lqnm_core ;;
    esac 2> errors || fail "$program: $(cat errors)"
    sed -n 's/^ *print.*\/\* \(.*\) \*\/$/\1/p; s/^ *print.* ! //p' "$program" > expected
    [ -s expected ] || fail "$program tells nothing"
    LD_LIBRARY_PATH=$build/lib ./a.out > printed || fail "$program: status $?"
    diff expected printed || fail "$program"
done
echo "all as expected"
