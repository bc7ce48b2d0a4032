# Runs two programs of Debian that use the C interfaces, as they stand and through qnm-run, and compares what they print:
# molds (semi-empirical quantum chemistry) on its own examples, bart (image reconstruction) on a phantom, as far as
# it needs no plan that is refused.
# usage: c_programs.sh QNM_RUN molds|bart
. "${0%/*}/common.sh"
qnm_run=$1 program=$2

# One thread, and kernels that every processor has; molds alone needs no other process of MPI.
export OMP_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1 OPENBLAS_CORETYPE=Nehalem
export OMPI_MCA_ess_singleton_isolated=1 OMPI_MCA_pml=ob1 OMPI_MCA_btl=self
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1

mkdir plain layer
went_through() { # ROUTINE...
    for routine in "$@"; do
        [ "$(counted "$routine")" -gt 0 ] || fail "$routine did not pass through the layer"
    done
}

run_molds() { # FOLDER RUNNER...
    local folder=$1 example
    shift
    for example in /usr/share/doc/molds/examples/*.in*; do
        zcat -f "$example" > input.in
        # energies, and not the times or the vectors of degenerate orbitals, which rounding mixes
        "$@" molds input.in 2> "report.$(basename "$example")" |
            grep -E 'energy|Energy|dipole|Occ|Unocc' | grep -vi 'elapsed' > "$folder/$(basename "$example")"
    done
}

run_bart() { # FOLDER RUNNER...
    local folder=$1 step
    shift
    (
        cd "$folder"
        for step in 'phantom -s4 -k -x 48 kspace' 'cc -M kspace matrix' 'ccapply -p 3 kspace matrix few' \
            'noise -s 7 -n 2 kspace noisy' 'whiten noisy noisy white' 'reshape 11 2304 1 4 kspace coils' \
            'transpose 1 3 coils table' 'svd -e table u s vh' 'transpose 0 1 table rows' \
            'extract 0 0 200 table part' 'ssa -w 15 part eof values' 'lrmatrix -i 3 coils low'; do
            # shellcheck disable=SC2086 # the words of a step
            "$@" bart $step > /dev/null 2> "$work/report.${step%% *}" || fail "bart $step: $(tail -n 3 "$work/report.${step%% *}")"
        done
    )
}

"run_$program" plain env
rm report.*
"run_$program" layer "$qnm_run" --report

case $program in
molds)
    diff -r plain layer || fail "results differ (< plain, > through the layer)"
    lines=$(cat layer/* | wc -l)
    [ "$lines" -gt 200 ] || fail "$lines results"
    went_through DSYEVD DGEMM DDOT
    echo "$lines results agree"
    ;;
bart)
    for result in few white s values low; do # single precision
        bart nrmse -t 0.00001 "plain/$result" "layer/$result" || fail "$result differs"
    done
    went_through CGESVD CGESDD CHEEV CPOTRF CTRTRI CSYRK
    # Its transforms are FFTW's, along several dimensions of batches: no plan. It looks, and ends.
    ! "$qnm_run" --report bart fft 3 layer/kspace layer/image > report.fft 2>&1 || fail "bart fft has a plan"
    grep -q '^fftwf_plan_guru64_dft .*howmany_rank=14' report.fft || fail "bart fft: $(cat report.fft)"
    ;;
esac
