# The distributed solver beside the one of one process, linked and through qnm-run.
# usage: distributed_solver.sh QNM_RUN MPIRUN PROGRAM LIBRARY [--cluster]
. "${0%/*}/common.sh"
qnm_run=$1 mpirun=$2 program=$3 library=$4
shift 4
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
on() { "$mpirun" --oversubscribe -n "$@" 2>&1 < /dev/null | tail -n 20; return "${PIPESTATUS[0]}"; }

# Nothing but what the core asks for; and Open MPI must know its own constants again.
nm -D --defined-only "$library" | awk '{ print $3 }' | diff - <(echo qnm_core_cluster) || fail "names of the library"
nm "$library" | awk '/ mpi_fortran_/ && $1 != "U"' | grep . && fail "constants of Open MPI"

for processes in 1 2 3; do
    on $processes "$program" || fail "$processes processes"
done

# What the engine multiplies is nobody's call.
on 2 "$qnm_run" "$@" --report "$program" > report || fail "through qnm-run"
[ "$(counted GEMM)" = 0 ] && [ "$(counted total)" = 0 ] || fail "calls of the engine's"
