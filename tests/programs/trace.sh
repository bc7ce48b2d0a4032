# What becomes of traces where a program, its reader or the machine does not behave.
# usage: trace.sh QNM_RUN CALLS [MPIRUN ABORTING]
. "${0%/*}/common.sh"
qnm_run=$1 calls=$2 mpirun=${3-} aborting=${4-}
trap 'rm -rf "$work"; [ -z "$program" ] || kill -KILL $program 2> /dev/null || true' EXIT
program=

lines() { grep -c '^QNM_VERBOSE DSCAL(' "$1"; }
files_of() { find /dev/shm "$work" -name "qnm-run.$1.*"; }
until_there() { # TEXT FILE
    for wait in $(seq 200); do grep -qs "$1" "$2" && return; sleep 0.05; done
    fail "no '$1' in $2: $(<"$2")"
}
# A program under qnm-run in the background, which waits: $job and $program.
waiting() {
    rm -f out
    "$qnm_run" --report "$@" > out 2> err < /dev/null &
    job=$!
    until_there waiting out
    program=$(pgrep -P $job)
}

# A file of the program's own stays its own, whichever descriptor it has. Standard error that is closed swallows nothing.
for run in "$qnm_run --trace=lines" "env QNM_VERBOSE=1 QNM_VERBOSE_OUTPUT_FILE=lines"; do
    rm -rf lines own
    $run "$calls" 5 close 7 2> err
    [ "$(<own)" = "its own" ] || fail "$run: lines in a file of the program's"
    [ "$(lines lines)" = 12 ] && [ ! -s err ] || fail "$run: $(lines lines) lines, $(<err)"
    rm lines
    $run "$calls" 2 tell 3 2>&- || fail "$run: without standard error"
    [ "$(lines lines)" = 5 ] && ! grep -q told lines || fail "$run: without standard error: $(<lines)"
done
# A file that cannot be opened again is told once.
mkdir there
QNM_VERBOSE=1 QNM_VERBOSE_OUTPUT_FILE=there/lines "$calls" 1 wait close 7 > out 2> err &
program=$!
until_there waiting out
number=$(find /proc/$program/fd -lname "$work/there/lines" -printf %f)
[ "$number" -ge 100 ] || fail "the trace has descriptor $number, where programs look for theirs"
rm -r there
kill -USR1 $program
wait $program
[ "$(<err)" = "QNM WARNING: $work/there/lines cannot be opened again; tracing ends." ] || fail "lost file: $(<err)"

# The reader is killed: the program does not wait for it, nor does one that begins then, and nobody is told. The next
# reader takes away what was left.
waiting "$calls" 5 wait 20000 tell
[ "$(files_of $job | wc -l)" = 1 ] || fail "files of a run: $(files_of $job)"
kill -KILL $job
[ "$(files_of $job | wc -l)" = 1 ] || fail "files of a run that was killed: $(files_of $job)"
QNM_VERBOSE=1 QNM_VERBOSE_RING=$(files_of $job) "$calls" 5 2> late
[ ! -s late ] || fail "a program behind its reader: $(<late)"
kill -USR1 $program
until_there told err
[ "$(<err)" = told ] || fail "a program without its reader: $(<err)"
"$qnm_run" --report true 2> err
[ -z "$(files_of $job)" ] || fail "left behind: $(files_of $job)"
for number in TERM HUP KILL; do
    waiting "$calls" 5 wait
    kill -$number $program
    wait $job 2> /dev/null && fail "status behind SIG$number"
    [ -z "$(files_of $job)" ] || fail "left behind SIG$number: $(files_of $job)"
    grep -q '^DSCAL  *5 ' err || fail "report behind SIG$number: $(<err)"
done

# SIGTERM: the report is there at once, whatever the program makes of it, and again if there is more to report.
waiting "$calls" 5 ignore wait 4 wait
kill -TERM $job
until_there '^total' err
[ "$(grep '^DSCAL' err | tr -s ' ' | cut -d' ' -f2)" = 5 ] || fail "report at SIGTERM: $(<err)"
: > out
kill -USR1 $program
until_there waiting out
kill -KILL $program
wait $job 2> /dev/null && fail "status behind SIGKILL"
[ "$(grep '^DSCAL' err | tr -s ' ' | cut -d' ' -f2 | paste -sd' ')" = "5 9" ] || fail "report at the end: $(<err)"
program=

# Too little memory to share: in the folder of temporary files, else nowhere.
if unshare -m true 2> /dev/null; then
    without_room() { unshare -m sh -c 'mount -t tmpfs -o size=1m none /dev/shm && exec "$@"' - "$@"; }
    without_room "$qnm_run" --report "$calls" 5 2> err || fail "without room: $(<err)"
    grep -q '^DSCAL  *5 ' err || fail "report without room: $(<err)"
    TMPDIR=/no/such/folder without_room "$qnm_run" --report "$calls" 5 2> err && fail "without any room"
    grep -q 'shm: No space left on device; /no/such/folder: No such file or directory$' err || fail "no room: $(<err)"
else
    echo "left out: too little memory to share, which takes a mount of one's own"
fi

# One of several processes ends them all, by SIGTERM and soon after by SIGKILL: all report.
if [ -n "$aborting" ]; then
    export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1 TMPDIR=$work
    "$mpirun" --oversubscribe -n 2 "$qnm_run" --report "$aborting" > report 2>&1 < /dev/null && fail "status of an abort"
    [ "$(counted DSCAL)" = 2 ] && [ "$(grep -c ' of 2: ' report)" = 2 ] || fail "reports of an abort: $(<report)"
fi
echo "all as expected"
