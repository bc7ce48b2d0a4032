/* Calls the library on each process, and one of them ends all, which nobody does of himself. */
#include <mpi.h>
#include <signal.h>
#include <stdint.h>
#include <unistd.h>

void dscal_(const int32_t* n, const double* alpha, double* x, const int32_t* incx);

int main(int argc, char** argv)
{
    const int32_t n = 3, one = 1;
    const double alpha = 2;
    double x[3] = {1, 2, 3};
    int rank = 0;
    MPI_Init(&argc, &argv);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    dscal_(&n, &alpha, x, &one);
    signal(SIGTERM, SIG_IGN);
    MPI_Barrier(MPI_COMM_WORLD);
    if (rank == 1)
        MPI_Abort(MPI_COMM_WORLD, 3);
    sleep(60);
    MPI_Finalize();
    return 0;
}
