// FFTW's transforms of several processes, opened at run time.
#pragma once

#define OMPI_SKIP_MPICXX 1
#include <fftw3-mpi.h>

namespace qnm::cdft {

// The layer presents FFTW's interface under FFTW's names, so none of them may be left for the linker to find.
#define QNM_CDFT_OF_ENGINE(DO)                                                                               \
    DO(mpi_init)                                                                                             \
    DO(mpi_local_size_many_1d)                                                                               \
    DO(mpi_local_size_many)                                                                                  \
    DO(mpi_local_size_many_transposed)                                                                       \
    DO(mpi_plan_many_dft)                                                                                    \
    DO(mpi_plan_many_dft_r2c)                                                                                \
    DO(mpi_plan_many_dft_c2r)                                                                                \
    DO(mpi_execute_dft)                                                                                      \
    DO(mpi_execute_dft_r2c)                                                                                  \
    DO(mpi_execute_dft_c2r)                                                                                  \
    DO(destroy_plan)                                                                                         \
    DO(alignment_of)

/// The functions of one precision, by their names without the prefix. Those of single precision differ from
/// the types told here in what pointers point to alone.
struct Engine {
#define QNM_CDFT_FUNCTION(NAME) decltype(&fftw_##NAME) NAME;
    QNM_CDFT_OF_ENGINE(QNM_CDFT_FUNCTION)
#undef QNM_CDFT_FUNCTION
};

/// That of a precision; null if it cannot be opened, which is said once.
const Engine* engine_of(bool single);

} // namespace qnm::cdft
