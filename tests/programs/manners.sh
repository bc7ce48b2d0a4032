# How qnm-run treats the programs, their streams and their ends.
# usage: manners.sh QNM_RUN LONGLEY STATIC_PROGRAM OWN_XERBLA LINGERING LONGLEY_LAPACK
. "${0%/*}/common.sh"
set +e
qnm_run=$1 longley=$2 static_program=$3 own_xerbla=$4 lingering=$5 longley_lapack=$6
mkdir tmp
export TMPDIR=$work/tmp

failures=0
check() { # WHAT EXPECTED FOUND
    [ "$2" = "$3" ] && return
    printf 'FAILED: %s\n  expected: %s\n  found:    %s\n' "$1" "$2" "$3"
    failures=$((failures + 1))
}
# Runs qnm-run with the arguments behind the first two; expects the status and a text in standard error.
expect() {
    local wanted=$1 text=$2
    shift 2
    "$qnm_run" "$@" > out 2> err < /dev/null
    check "status of: $*" "$wanted" $?
    [[ "$(<err)" = *"$text"* ]] || check "message of: $*" "$text" "$(tail -n 5 err)"
}

# Programs that cannot be run this way.
touch not-executable
printf 'MZ\0\0' > foreign
printf '#!%s\n' "$static_program" > static-script
printf '#!/no/such/interpreter\n' > lost-script
head -c 64 "$longley" > other-machine
printf '\x28' | dd of=other-machine bs=1 seek=18 conv=notrunc status=none
head -c 200 "$longley" > cut-short
chmod +x foreign static-script lost-script other-machine cut-short
mkdir -p folders/longley
expect 127 "./missing: no such program" ./missing
expect 127 "missing-along-path: no such program along PATH" missing-along-path
expect 126 "/: Is a directory" /
expect 126 "Permission denied" ./not-executable
expect 126 "statically linked" "$static_program"
expect 126 "interpreter $static_program: is statically linked" ./static-script
expect 126 "interpreter /no/such/interpreter: No such file" ./lost-script
expect 126 "is not a 64-bit x86-64 program" ./other-machine
expect 126 "statically linked" ./cut-short
expect 126 "neither a program of this machine nor a script" ./foreign
if [ "$(id -u)" = 0 ]; then
    cp "$longley" set-user-id
    chown 65534 set-user-id
    chmod u+s set-user-id
    expect 126 "set-user-id" ./set-user-id
fi

# A program with its owner's rights writes no trace where its caller wants one; without them it does.
if [ "$(id -u)" != 0 ] || findmnt -no OPTIONS -T "$work" | grep -qw nosuid; then
    echo "left out: a set-user-id program, which takes root and a file system that has them"
else
    chmod 755 "$work"
    install -m 4755 "$lingering" trusting
    mkdir -m 777 traces
    for caller in 0 65534; do
        QNM_VERBOSE=1 QNM_VERBOSE_OUTPUT_FILE=$work/traces/$caller setpriv --reuid "$caller" --clear-groups ./trusting
        check "status of a set-user-id program called by $caller" 5 $?
    done
    check "traces of set-user-id programs" 0 "$(ls traces)"
    # setpriv cannot change the user of a program that has threads already, and the engine's are there from the start
    OPENBLAS_NUM_THREADS=1 expect 5 "no traced call was made" --report setpriv --reuid 65534 --clear-groups ./trusting
    expect 5 "DSCAL " --report ./trusting
fi

# Options.
expect 125 "no program given" --report
expect 125 "unknown option --fast" --fast "$longley"
expect 125 "unknown option --trace=" --trace= "$longley"
expect 125 "no/such/folder/trace: No such file" --trace=no/such/folder/trace "$longley"
expect 0 "" --help
check "help goes to standard output" 1 "$(grep -c '^Usage: qnm-run' out)"
cp "$longley" ./-dashed
expect 0 "" -- "$longley"
PATH="$work:$PATH" expect 0 "" -- -dashed

# PATH: a folder of that name is passed over, an empty element is the working directory.
cp "$longley" here
PATH="$work/folders:$(dirname "$longley")" expect 0 "" longley
(cd "$work/folders" && PATH="$work/folders" "$qnm_run" longley 2> ../err)
check "only a folder of the name along PATH" 126 $?
PATH=":$PATH" expect 0 "" here

# A library that is missing beside qnm-run.
mkdir bin
cp "$qnm_run" bin/
bin/qnm-run "$longley" 2> err
check "status without libraries" 125 $?
check "message without libraries" "qnm-run: libqnm_gnu.so.2 is missing; looked in $work/lib" \
    "$(sed 's/ and .*//' err)"

# Streams and exit, with and without a trace.
for options in "" "--report" "--trace=trace"; do
    check "standard input $options" "word" "$(echo word | "$qnm_run" $options cat 2> err)"
    check "arguments $options" "a b|c" "$("$qnm_run" $options printf '%s|%s' 'a b' c 2> err)"
    check "standard error $options" "1" \
        "$("$qnm_run" $options sh -c 'echo told >&2' 2>&1 > /dev/null | grep -c '^told$')"
    expect 3 "" $options sh -c 'exit 3'
    expect 143 "" $options sh -c 'kill -TERM $$'
    check "own preloads stand behind $options" ":libm.so.6" \
        "$(LD_PRELOAD=libm.so.6 "$qnm_run" $options sh -c 'echo "${LD_PRELOAD##*core.so.2}"' 2> err)"
    # a signal sent to qnm-run reaches the program, which may have its own way with it
    rm -f ready
    "$qnm_run" $options sh -c \
        'trap "exit 9" TERM; echo ready; for wait in $(seq 200); do sleep 0.05; done' > ready 2> err &
    job=$!
    for wait in $(seq 100); do grep -qs ready ready && break; sleep 0.05; done
    kill -TERM $job
    wait $job
    check "status after a forwarded signal $options" 9 $?
    check "no file is left behind $options" "" "$(find "$TMPDIR" /dev/shm -name "qnm-run.$job.*")"
done

# Report and trace of a program whose calls are known: 16 observations by 7 terms. Columns: calls and largest sizes.
table() { awk '/^routine /{on=1; next} on{print $1, $2, $6, $7, $8}' err | sort | sed 's/ *$//' | paste -sd'|'; }
expect 0 "qnm-run: $longley ran " --report --trace=trace "$longley"
check "answer" "at least" "$(tail -1 out | cut -d' ' -f1,2)"
check "calls and largest sizes" \
    "DCOPY 19 16|DGEMV 1 16 7|DNRM2 8 16|DROT 112 7|DROTG 112|DSCAL 7 16|DTRSV 1 7|total 260" "$(table)"
check "lines of the trace" 260 "$(grep -cE '^QNM_VERBOSE D[A-Z0-9]+\(.*\) [0-9.]+(ns|us|ms|s)' trace)"
check "a line of the trace" 1 "$(grep -c '^QNM_VERBOSE DTRSV(U,N,N,7,0x[0-9a-f]*,7,0x[0-9a-f]*,1) ' trace)"
expect 0 "QNM_VERBOSE DTRSV(U,N,N,7," --trace "$longley"

# A driver of LAPACK is one call: what it calls within the core is the core's own affair.
expect 0 "" --report "$longley_lapack"
check "answer by LAPACK" "at least" "$(tail -1 out | cut -d' ' -f1,2)"
check "calls of LAPACK" "DGELS 1 16 7 1|DNRM2 8 16|total 9" "$(table)"

# Children write into the same report, also those that outlive the program.
expect 4 "" --report sh -c "$longley; $longley; exit 4"
check "calls of two children" 1 "$(table | grep -c '|DROT 224 7|')"
expect 5 "" --report "$lingering"
check "calls of a child that outlives the program" "DSCAL 2 3|total 2" "$(table)"
expect 0 "no traced call was made" --report true

# A function that a program brings along is told, where there is a report to tell it in.
expect 0 "cblas_xerbla" --report "$own_xerbla"
expect 0 "" "$own_xerbla"
check "no word without a report" "" "$(<err)"

exit "$failures"
