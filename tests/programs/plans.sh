# What is told of plans that cannot be made, and which functions of FFTW a program may not call.
# usage: plans.sh QNM_RUN REFUSED_PLANS LAYER WATCH MIXED MIXED_BELOW FFTW_PROGRAM...
. "${0%/*}/common.sh"
qnm_run=$1 refused_plans=$2 layer=$3 watch=$4 mixed=$5 mixed_below=$6
shift 6

# Every planner of the layer is watched, and nothing else.
planners() { nm -D --defined-only "$1" | awk '$3 ~ /^([ds]?fftw|fftwf)_plan_/ && $3 !~ /nthreads/ { print $3 }' | sort; }
planners "$layer" > all
[ "$(wc -l < all)" = 122 ] || fail "$(wc -l < all) planners"
nm -D --defined-only "$watch" | awk '{ print $3 }' | sort | diff all -

# One line where nobody traces; a program that makes its plans is left in peace.
first='fftw_plan_dft_r2c(rank=2,n=4x0,flags=64) in place'
"$qnm_run" "$refused_plans" 2> err
diff - err <<< "QNM WARNING: no plan: $first; null was returned. Others are told in a trace alone."
for program in "$@"; do
    "$qnm_run" --report "$program" 2> err
    grep -q '^FFT srfo  *1 ' err && ! grep -q 'no plan\|^refused\|^passed by' err || fail "$program: $(<err)"
done

"$qnm_run" --trace=trace --report "$refused_plans" 2> err
diff - <(grep 'no plan' trace) << END
QNM_VERBOSE no plan: $first -
QNM_VERBOSE no plan: fftw_plan_r2r_1d(n=8,kind=2,flags=64) -
QNM_VERBOSE no plan: fftw_plan_r2r_1d(n=9,kind=2,flags=64) -
QNM_VERBOSE no plan: fftw_plan_r2r(rank=2,n=4x0,kind=5x5,flags=64) -
QNM_VERBOSE no plan: fftw_plan_guru_split_dft_r2c(rank=1,dims=4:1:1,howmany_rank=2,howmany_dims=3:4:4x2:12:12,flags=64) -
QNM_VERBOSE no plan: fftwf_plan_many_dft(rank=1,n=4,howmany=3,inembed=null,istride=1,idist=4,onembed=4,ostride=1,odist=5,sign=1,flags=64) in place -
QNM_VERBOSE no plan: fftw_plan_dft(rank=0,n=null,sign=1,flags=64) in place -
QNM_VERBOSE no plan: sfftw_plan_dft_(rank=2,n=4x0,sign=-1,flags=64) in place -
QNM_VERBOSE no plan: dfftw_plan_dft_r2c_1d_(n=3,flags=64) -
END
diff - <(sed -n '/^refused/,$p' err) << END
refused plans                 plans  the first by each planner
dfftw_plan_dft_r2c_1d_            1  (n=3,flags=64)
fftw_plan_dft                     1  (rank=0,n=null,sign=1,flags=64) in place
fftw_plan_dft_r2c                 1  (rank=2,n=4x0,flags=64) in place
fftw_plan_guru_split_dft_r2c      1  (rank=1,dims=4:1:1,howmany_rank=2,howmany_dims=3:4:4x2:12:12,flags=64)
fftw_plan_r2r                     1  (rank=2,n=4x0,kind=5x5,flags=64)
fftw_plan_r2r_1d                  2  (n=8,kind=2,flags=64)
fftwf_plan_many_dft               1  (rank=1,n=4,howmany=3,inembed=null,istride=1,idist=4,onembed=4,ostride=1,odist=5,sign=1,flags=64) in place
sfftw_plan_dft_                   1  (rank=2,n=4x0,sign=-1,flags=64) in place
END

# Functions that FFTW alone has.
alone() { # WHO NAME PROGRAM
    local status=0
    "$qnm_run" "$3" 2> err || status=$?
    [ "$status" = 126 ] || fail "$3: status $status"
    diff - err <<< "qnm-run: $3: $1calls $2, which only FFTW has; its plans cannot be mixed with the layer's"
}
alone "" fftwf_mpi_init "$mixed"
alone "$(ldd "$mixed_below" | awk '/mixed_library/ { print $3 }') " dfftw_execute__ "$mixed_below"
echo "all as expected"
