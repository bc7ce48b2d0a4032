# Transforms on several processes beside those on one, linked and through qnm-run.
# usage: distributed.sh QNM_RUN MPIRUN LINKED PLAIN LIBRARY
. "${0%/*}/common.sh"
qnm_run=$1 mpirun=$2 linked=$3 plain=$4 library=$5
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
on() { "$mpirun" --oversubscribe -n "$@" 2>&1 < /dev/null | tail -n 20; return "${PIPESTATUS[0]}"; }

# Nothing but what the layer leaves to it.
cat > wanted <<END
DftiComputeBackwardDM
DftiComputeForwardDM
DftiSetValueDM
qnm_cdft_DftiCommitDescriptorDM
qnm_cdft_DftiComputeBackwardDM
qnm_cdft_DftiComputeForwardDM
qnm_cdft_DftiCreateDescriptorDM
qnm_cdft_DftiFreeDescriptorDM
qnm_cdft_DftiGetValueDM
qnm_cdft_DftiSetValueDM
qnm_serv_get_mpi_wrappers
END
nm -D --defined-only "$library" | awk '{ print $3 }' | LC_ALL=C sort | diff wanted - || fail "names of the library"
! nm -D --undefined-only "$library" | grep fftw || fail "FFTW is left to the linker"

for processes in 1 2 3; do
    on $processes "$linked" || fail "linked, $processes processes"
done
QNM_FFT_EFFORT=measure on 2 "$linked" || fail "measured"

# Each process has a report and a trace of its own, or all have one.
on 2 "$qnm_run" --cluster --report --trace=trace "$plain" > report || fail "through qnm-run"
for process in 0 1; do
    grep -q "^qnm-run: process $process of 2: $plain ran " report || fail "the report of process $process"
    lines=$(grep -c '^QNM_VERBOSE FFT(' trace.$process)
    [ "$(counted total)" = $((2 * lines)) ] || fail "the trace of process $process"
done
"$qnm_run" --cluster --report "$mpirun" --oversubscribe -n 2 "$plain" 2> report < /dev/null || fail "around mpirun"
[ "$(counted total)" = $((2 * lines)) ] || fail "the report of all processes"

# Without the library there is nothing to run on.
mkdir -p bin lib
cp "$qnm_run" bin/
cp "${library%/*}"/libqnm_gnu.so.2 lib/
bin/qnm-run --cluster "$plain" 2> err && fail "without the library"
grep -qF "libqnm_cdft_fftw.so is missing; looked in $work/lib" err || fail "message without the library"
grep -qF '`make plugins` builds it' err || fail "hint without the library"
