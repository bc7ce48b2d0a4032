// Distributed transforms: communicators of C and Fortran become each other, integers of Fortran are widened,
// and a distributed layer does the rest, if there is one. It is called by its exported names.
#include "dft/descriptor.hpp"

extern "C" {
std::int64_t qnm_cdft_DftiCreateDescriptorDM(std::int64_t comm, void* made, int precision, int domain,
                                             std::int64_t rank, const std::int64_t* lengths);
std::int64_t qnm_cdft_DftiCommitDescriptorDM(void* handle);
std::int64_t qnm_cdft_DftiFreeDescriptorDM(void* handle);
std::int64_t qnm_cdft_DftiGetValueDM(void* handle, int code, void* value);
std::int64_t qnm_cdft_DftiSetValueDM(void* handle, int code, ...);
std::int64_t qnm_cdft_DftiComputeForwardDM(void* handle, void* a, ...);
std::int64_t qnm_cdft_DftiComputeBackwardDM(void* handle, void* a, ...);
}

namespace qnm::dft {

namespace {

/// Codes of distributed transforms. Rows are counted from 0 in C, from 1 in Fortran.
enum : int {
    dimension = 1,
    all_lengths = 2,
    local_size = 1000,
    first_row = 1001,
    rows = 1002,
    communicator = 1003,
    first_row_out = 1005,
    rows_out = 1006
};

std::int64_t communicator_of_c(std::int64_t comm)
{
    const dft_mpi_wrappers* const wrappers = qnm_serv_get_mpi_wrappers();
    return wrappers != nullptr ? wrappers->comm_f2c(wrappers->comm_c2f(comm)) : comm;
}

std::int64_t communicator_of_fortran(int comm)
{
    const dft_mpi_wrappers* const wrappers = qnm_serv_get_mpi_wrappers();
    return wrappers != nullptr ? wrappers->comm_f2c(comm) : comm;
}

int communicator_to_fortran(std::int64_t comm)
{
    const dft_mpi_wrappers* const wrappers = qnm_serv_get_mpi_wrappers();
    return wrappers != nullptr ? wrappers->comm_c2f(comm) : static_cast<int>(comm);
}

bool is_rank(std::int64_t rank)
{
    return rank >= 1 && rank <= most_dimensions;
}

/// Of Fortran, with so many lengths; a distributed layer has the slowest dimension first.
int create(const int* comm, void* made, const int* precision, const int* domain, const int* rank,
           const int* lengths, bool one_length)
{
    if (precision == nullptr || domain == nullptr || rank == nullptr || lengths == nullptr)
        return inconsistent_configuration;
    if (!is_rank(*rank))
        return invalid_configuration;
    std::int64_t slowest_first[most_dimensions] = {};
    const int count = one_length ? 1 : *rank;
    std::reverse_copy(lengths, lengths + count, slowest_first);
    return static_cast<int>(qnm_cdft_DftiCreateDescriptorDM(communicator_of_fortran(*comm), made, *precision,
                                                            *domain, *rank, slowest_first));
}

/// An integer of 64 bits as Fortran has it: narrowed, counted from 1, or a communicator.
template <class Narrow>
int get_integer(void* handle, int code, void* value, Narrow narrow)
{
    std::int64_t wide = 0;
    const Status status = qnm_cdft_DftiGetValueDM(handle, code, &wide);
    if (status == no_error)
        *static_cast<int*>(value) = narrow(wide);
    return static_cast<int>(status);
}

int get_lengths(void* handle, void* value)
{
    std::int64_t rank = 0, lengths[most_dimensions] = {};
    Status status = qnm_cdft_DftiGetValueDM(handle, dimension, &rank);
    if (status == no_error)
        status = qnm_cdft_DftiGetValueDM(handle, all_lengths, lengths);
    if (status != no_error)
        return static_cast<int>(status);
    const int count = sound_rank(rank);
    std::reverse(lengths, lengths + count);
    std::transform(lengths, lengths + count, static_cast<int*>(value),
                   [](std::int64_t length) { return static_cast<int>(length); });
    return no_error;
}

/// To an entry of the distributed layer, with arrays or none.
template <auto* entry, class... Arrays>
int passed(void* const* handle, Arrays... arrays)
{
    return handle == nullptr ? inconsistent_configuration : static_cast<int>(entry(*handle, arrays...));
}

/// Values travel behind the code: reals as doubles, integers in 64 bits.
template <class Wide, class T>
int set(void* const* handle, const int* code, const T* value)
{
    if (handle == nullptr || code == nullptr || value == nullptr)
        return inconsistent_configuration;
    return static_cast<int>(qnm_cdft_DftiSetValueDM(*handle, *code, static_cast<Wide>(*value)));
}

} // namespace

extern "C" {

// Published with `...`: a length, or the address of lengths, in the sixth register of integers.
QNM_EXPORT Status DftiCreateDescriptorDM(std::int64_t comm, void* made, int precision, int domain,
                                         std::int64_t rank, std::int64_t length_or_lengths)
{
    if (!is_rank(rank))
        return invalid_configuration;
    comm = communicator_of_c(comm);
    std::int64_t lengths[most_dimensions] = {length_or_lengths};
    if (rank != 1) {
        if (length_or_lengths == 0)
            return inconsistent_configuration;
        std::copy_n(reinterpret_cast<const std::int64_t*>(length_or_lengths), rank, lengths);
    }
    return qnm_cdft_DftiCreateDescriptorDM(comm, made, precision, domain, rank, lengths);
}

QNM_EXPORT Status DftiCommitDescriptorDM(void* handle)
{
    return qnm_cdft_DftiCommitDescriptorDM(handle);
}

QNM_EXPORT Status DftiFreeDescriptorDM(void* handle)
{
    return qnm_cdft_DftiFreeDescriptorDM(handle);
}

QNM_EXPORT Status DftiGetValueDM(void* handle, int code, void* value)
{
    return handle == nullptr || value == nullptr ? inconsistent_configuration
                                                 : qnm_cdft_DftiGetValueDM(handle, code, value);
}

QNM_EXPORT int DFTICREATEDESCRIPTORDM1_INTERNAL(const int* comm, void* made, const int* precision,
                                                const int* domain, const int* rank, const int* length)
{
    return create(comm, made, precision, domain, rank, length, true);
}
QNM_EXPORT int DFTICREATEDESCRIPTORDMN_INTERNAL(const int* comm, void* made, const int* precision,
                                                const int* domain, const int* rank, const int* lengths)
{
    return create(comm, made, precision, domain, rank, lengths, false);
}

QNM_EXPORT int DFTICOMMITDESCRIPTORDM_INTERNAL(void* const* handle)
{
    return passed<qnm_cdft_DftiCommitDescriptorDM>(handle);
}
QNM_EXPORT int DFTIFREEDESCRIPTORDM_INTERNAL(void* handle)
{
    return static_cast<int>(qnm_cdft_DftiFreeDescriptorDM(handle));
}

QNM_EXPORT int DFTICOMPUTEFORWARDDMI_INTERNAL(void* const* handle, void* a)
{
    return passed<qnm_cdft_DftiComputeForwardDM>(handle, a);
}
QNM_EXPORT int DFTICOMPUTEFORWARDDMO_INTERNAL(void* const* handle, void* a, void* b)
{
    return passed<qnm_cdft_DftiComputeForwardDM>(handle, a, b);
}
QNM_EXPORT int DFTICOMPUTEBACKWARDDMI_INTERNAL(void* const* handle, void* a)
{
    return passed<qnm_cdft_DftiComputeBackwardDM>(handle, a);
}
QNM_EXPORT int DFTICOMPUTEBACKWARDDMO_INTERNAL(void* const* handle, void* a, void* b)
{
    return passed<qnm_cdft_DftiComputeBackwardDM>(handle, a, b);
}

QNM_EXPORT int DFTIGETVALUEDM_INTERNAL(void* const* handle, const int* code, void* value)
{
    if (handle == nullptr || code == nullptr || value == nullptr)
        return inconsistent_configuration;
    switch (*code) {
    case dimension:
    case local_size:
    case rows:
    case rows_out:
        return get_integer(*handle, *code, value, [](std::int64_t wide) { return static_cast<int>(wide); });
    case first_row:
    case first_row_out:
        return get_integer(*handle, *code, value, [](std::int64_t row) { return static_cast<int>(row + 1); });
    case all_lengths:
        return get_lengths(*handle, value);
    case communicator:
        return get_integer(*handle, *code, value, communicator_to_fortran);
    default:
        return static_cast<int>(qnm_cdft_DftiGetValueDM(*handle, *code, value));
    }
}

QNM_EXPORT int DFTISETVALUEDMD_INTERNAL(void* const* handle, const int* code, const double* value)
{
    return set<double>(handle, code, value);
}
QNM_EXPORT int DFTISETVALUEDMF_INTERNAL(void* const* handle, const int* code, const float* value)
{
    return set<double>(handle, code, value);
}
QNM_EXPORT int DFTISETVALUEDMI_INTERNAL(void* const* handle, const int* code, const int* value)
{
    return set<std::int64_t>(handle, code, value);
}
// The address is the value.
QNM_EXPORT int DFTISETVALUEDMP_INTERNAL(void* const* handle, const int* code, void* value)
{
    return value == nullptr ? inconsistent_configuration : set<void*>(handle, code, &value);
}

QNM_TWIN(DFTICREATEDESCRIPTORDM, DftiCreateDescriptorDM)
QNM_FORTRAN(DFTICREATEDESCRIPTORDM, dfticreatedescriptordm)
QNM_TWIN(DFTICOMMITDESCRIPTORDM, DftiCommitDescriptorDM)
QNM_FORTRAN(DFTICOMMITDESCRIPTORDM, dfticommitdescriptordm)
QNM_TWIN(DFTIFREEDESCRIPTORDM, DftiFreeDescriptorDM)
QNM_FORTRAN(DFTIFREEDESCRIPTORDM, dftifreedescriptordm)
QNM_TWIN(DFTIGETVALUEDM, DftiGetValueDM)
QNM_FORTRAN(DFTIGETVALUEDM, dftigetvaluedm)
QNM_FORTRAN(DFTICREATEDESCRIPTORDM1_INTERNAL, dfticreatedescriptordm1_internal)
QNM_FORTRAN(DFTICREATEDESCRIPTORDMN_INTERNAL, dfticreatedescriptordmn_internal)
QNM_FORTRAN(DFTICOMMITDESCRIPTORDM_INTERNAL, dfticommitdescriptordm_internal)
QNM_FORTRAN(DFTIFREEDESCRIPTORDM_INTERNAL, dftifreedescriptordm_internal)
QNM_FORTRAN(DFTICOMPUTEFORWARDDMI_INTERNAL, dfticomputeforwarddmi_internal)
QNM_FORTRAN(DFTICOMPUTEFORWARDDMO_INTERNAL, dfticomputeforwarddmo_internal)
QNM_FORTRAN(DFTICOMPUTEBACKWARDDMI_INTERNAL, dfticomputebackwarddmi_internal)
QNM_FORTRAN(DFTICOMPUTEBACKWARDDMO_INTERNAL, dfticomputebackwarddmo_internal)
QNM_FORTRAN(DFTIGETVALUEDM_INTERNAL, dftigetvaluedm_internal)
QNM_FORTRAN(DFTISETVALUEDMD_INTERNAL, dftisetvaluedmd_internal)
QNM_FORTRAN(DFTISETVALUEDMF_INTERNAL, dftisetvaluedmf_internal)
QNM_FORTRAN(DFTISETVALUEDMI_INTERNAL, dftisetvaluedmi_internal)
QNM_FORTRAN(DFTISETVALUEDMP_INTERNAL, dftisetvaluedmp_internal)
}

} // namespace qnm::dft
