# Runs two programs of Debian that use the C interfaces, as they stand and through qnm-run, and compares what they print:
# molds (semi-empirical quantum chemistry) on its own examples, bart (image reconstruction) on a phantom.
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
        for step in 'phantom -s4 -k -x 48 kspace' 'ecalib -S -m 1 -c 0.5 kspace maps' \
            'pics -S -l2 -r 0.01 -i 10 kspace maps image' 'reshape 11 2304 1 4 kspace coils' \
            'transpose 1 3 coils table' 'svd -e table u s vh'; do
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
    for result in image s; do # single precision
        bart nrmse -t 0.00001 "plain/$result" "layer/$result" || fail "$result differs"
    done
    went_through CGESVD CHEEV
    ;;
esac
