# How qnm-run treats the programs, their streams and their ends.
# usage: manners.sh QNM_RUN LONGLEY STATIC_PROGRAM OWN_XERBLA LINGERING LONGLEY_LAPACK OF_MUSL SANITIZED
. "${0%/*}/common.sh"
set +e
qnm_run=$1 longley=$2 static_program=$3 own_xerbla=$4 lingering=$5 longley_lapack=$6 of_musl=$7 sanitized=$8
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
touch cut-short
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
for length in 40 200 9000; do
    head -c $length "$longley" > cut-short
    expect 126 "./cut-short: is cut short" ./cut-short
done
loader=$(LC_ALL=C readelf --program-headers "$longley" | sed -nE 's/.*interpreter: (.*)\]/\1/p')
expect 126 "$loader: is the dynamic loader; name the program itself" "$loader" "$longley"
cp "$(dirname "$qnm_run")/../lib/libqnm_gnu.so.2" library
chmod +x library
expect 126 "./library: is a library, no program" ./library
expect 126 "$of_musl: is a program of musl" "$of_musl"
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
expect 125 "unknown option -1" -1 "$longley"
expect 125 "--trace=: expected --trace[=FILE]" --trace= "$longley"
expect 125 "--core: expected --core=FILE" --core "$longley"
expect 125 "--check=yes: expected --check" --check=yes "$longley"
expect 125 "--integers=16: integers have 32 or 64 bits" --integers=16 "$longley"
expect 125 "no/such/folder/trace: No such file" --trace=no/such/folder/trace "$longley"
for option in --help -h; do
    expect 0 "" $option
    check "help goes to standard output" 1 "$(grep -c '^Usage: qnm-run' out)"
done
for option in --version -V; do
    expect 0 "" $option
    check "qnm-run, layer, core and engine of $option" 1 "$(paste -sd' ' out |
        grep -c '^qnm-run [0-9.]* layer /.*libqnm_orvan_lp64.so.2 core  /.*libqnm_core.so.2 .* core [0-9.]*, engine ')"
done
expect 0 "" --explain dgemm_64_
check "what a name is" "DGEMM_64   title     Product of two general matrices, added to a third" "$(head -2 out | paste -sd" ")"
expect 125 "the layer has no function dgemmm_" --explain dgemmm_
expect 125 "no/such/folder/page.html: No such file" --page=no/such/folder/page.html "$longley"
for seconds in 0 -1 1.5 1x; do
    expect 125 "--every=$seconds: not a number of seconds" --every=$seconds "$longley"
done
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

# A sanitizer's runtime wants to be the first library. A core is what was asked for.
expect 0 "" "$sanitized"
expect 0 "" --report "$sanitized"
cp "$(readlink -f "$(dirname "$qnm_run")/../lib/libqnm_core.so.2")" other-core.so
expect 0 "" --core=other-core.so sh -c 'echo "$LD_PRELOAD"'
check "another core" "$work/other-core.so" "$(sed 's/.*://' out)"

# Where there is no /proc, it is found by its own name.
if unshare -m true 2> err; then
    unshare -m sh -c 'mount -t tmpfs none /proc && exec "$@"' - "$qnm_run" true 2> err
    check "status without /proc" 0 $?
else
    echo "left out: no /proc, which takes a mount of one's own"
fi

# Names of files tell processes apart. One that cannot be written whole is a failure, if the program has none.
unset OMPI_COMM_WORLD_RANK OMPI_COMM_WORLD_SIZE
expect 0 "" --trace=trace.%p.%r.%% --report=report.%p sh -c "echo \$\$; exec '$longley'"
process=$(head -1 out)
check "files by process" 260 "$(grep -c '^QNM_VERBOSE' "trace.$process.0.%")"
check "a report in a file" 1 "$(grep -c '^total  *260 ' "report.$process")"
check "nothing beside it" "" "$(<err)"
OMPI_COMM_WORLD_RANK=1 OMPI_COMM_WORLD_SIZE=2 expect 0 "" --report=of-several true
check "one of two" 1 "$(grep -c ': process 1 of 2: ' of-several.1)"
PMI_RANK=1 PMI_SIZE=2 expect 0 "" --report=ranked.%r true
check "one of two, named" 1 "$(grep -c ': process 1 of 2: ' ranked.1)"
expect 125 "report.%x: expected %p, %r or %%" --report=report.%x touch was-run
check "nothing is run without its file" "" "$(find . -name was-run)"
for file in trace report; do
    expect 125 "/dev/full could not be written whole: No space left" --$file=/dev/full "$longley"
    expect 3 "" --$file=/dev/full sh -c "$longley; exit 3"
done
"$qnm_run" --trace=lines --report "$longley" > out <&- 2>&-
check "no report in a trace that got its descriptor" "260 0" "$(grep -c '^QNM_VERBOSE D' lines) $(grep -c '^total' lines)"

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
table() { awk '/^routine /{on=1; next} on{print $1, $2, $8, $9, $10}' err | sort | sed 's/ *$//' | paste -sd'|'; }
expect 0 "qnm-run: $longley ran " --report --trace=trace "$longley"
check "answer" "at least" "$(tail -1 out | cut -d' ' -f1,2)"
check "calls and largest sizes" \
    "DCOPY 19 n=16|DGEMV 1 m=16 n=7|DNRM2 8 n=16|DROT 112 n=7|DROTG 112|DSCAL 7 n=16|DTRSV 1 n=7|total 260" "$(table)"
check "lines of the trace" 260 "$(grep -cE '^QNM_VERBOSE D[A-Z0-9]+\(.*\) [0-9.]+(ns|us|ms|s)' trace)"
check "a line of the trace" 1 "$(grep -c '^QNM_VERBOSE DTRSV(U,N,N,7,0x[0-9a-f]*,7,0x[0-9a-f]*,1) ' trace)"
expect 0 "QNM_VERBOSE DTRSV(U,N,N,7," --trace "$longley"

# A driver of LAPACK is one call: what it calls within the core is the core's own affair.
expect 0 "" --report "$longley_lapack"
check "answer by LAPACK" "at least" "$(tail -1 out | cut -d' ' -f1,2)"
check "calls of LAPACK" "DGELS 1 m=16 n=7 nrhs=1|DNRM2 8 n=16|total 9" "$(table)"

# Children write into the same report, also those that outlive the program.
expect 4 "" --report sh -c "$longley; $longley; exit 4"
check "calls of two children" 1 "$(table | grep -c '|DROT 224 n=7|')"
expect 5 "" --report "$lingering"
check "calls of a child that outlives the program" "DSCAL 2 n=3|total 2" "$(table)"

# A report while the program runs, and at its end.
expect 0 "true ran " --every=1 true
expect 0 "" --every=1 --page=page.html sh -c "$longley; sleep 1.5"
check "reports so far, where a page is asked for" 0 "$(grep -c 'has run' err)"
expect 0 "" --every=1 --report sh -c "$longley; sleep 2.5"
check "reports so far" "2 1" "$(grep -c ' has run ' err) $(grep -c ' ran ' err)"
check "the same calls in each" 1 "$(grep '^DROT ' err | sort -u | wc -l)"

# A function that a program brings along is told, where there is a report to tell it in.
expect 0 "cblas_xerbla" --report "$own_xerbla"
expect 0 "" "$own_xerbla"
check "no word without a report" "" "$(<err)"

exit "$failures"
