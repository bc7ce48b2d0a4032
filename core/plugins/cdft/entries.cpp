// The entries that the layer leaves to a distributed layer: creation, configuration, life, and how
// communicators of C and Fortran become each other.
#include "descriptor.hpp"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <new>

namespace qnm::cdft {
namespace {

static_assert(sizeof(MPI_Comm) == sizeof(std::int64_t), "communicators of Open MPI are addresses");

/// A code whose value is a field, or null: what is known and not carried.
struct Field {
    int code;
    std::uint32_t dft_descriptor::*at;
    std::array<std::uint32_t, 3> accepted;    ///< none: it cannot be set
    std::array<std::uint32_t, 3> not_carried; ///< values that are known all the same
};
using Head = dft_descriptor;
constexpr Field fields[] = {
    {DFTI_FORWARD_DOMAIN, &Head::domain, {}, {}},
    {DFTI_PRECISION, &Head::precision, {}, {}},
    {DFTI_COMPLEX_STORAGE,
     &Head::complex_storage,
     {DFTI_COMPLEX_COMPLEX},
     {DFTI_COMPLEX_REAL, DFTI_REAL_COMPLEX, DFTI_REAL_REAL}},
    {DFTI_REAL_STORAGE, &Head::real_storage, {DFTI_REAL_REAL}, {DFTI_REAL_COMPLEX}},
    {DFTI_CONJUGATE_EVEN_STORAGE,
     &Head::conjugate_even_storage,
     {DFTI_COMPLEX_COMPLEX},
     {DFTI_COMPLEX_REAL, DFTI_REAL_COMPLEX, DFTI_REAL_REAL}},
    {DFTI_PLACEMENT, &Head::placement, {DFTI_INPLACE, DFTI_NOT_INPLACE}, {}},
    {DFTI_WORKSPACE, &Head::workspace, {DFTI_ALLOW, DFTI_AVOID}, {}},
    {DFTI_ORDERING, &Head::ordering, {DFTI_ORDERED, DFTI_BACKWARD_SCRAMBLED}, {DFTI_FORWARD_SCRAMBLED}},
    {DFTI_TRANSPOSE, &Head::transpose, {DFTI_NONE, DFTI_ALLOW}, {}},
    {DFTI_PACKED_FORMAT,
     &Head::packed_format,
     {DFTI_CCE_FORMAT},
     {DFTI_CCS_FORMAT, DFTI_PACK_FORMAT, DFTI_PERM_FORMAT}},
    {DFTI_NUMBER_OF_TRANSFORMS, nullptr, {}, {}},
    {DFTI_INPUT_STRIDES, nullptr, {}, {}},
    {DFTI_OUTPUT_STRIDES, nullptr, {}, {}},
    {DFTI_INPUT_DISTANCE, nullptr, {}, {}},
    {DFTI_OUTPUT_DISTANCE, nullptr, {}, {}},
    {DFTI_DESCRIPTOR_NAME, nullptr, {}, {}},
    {DFTI_VERSION, nullptr, {}, {}},
    {DFTI_NUMBER_OF_USER_THREADS, nullptr, {}, {}},
    {DFTI_THREAD_LIMIT, nullptr, {}, {}},
    {DFTI_DESTROY_INPUT, nullptr, {}, {}},
};

const Field* field_of(int code)
{
    const Field* const found =
        std::find_if(std::begin(fields), std::end(fields), [code](const Field& f) { return f.code == code; });
    return found != std::end(fields) ? found : nullptr;
}

bool is_among(const std::array<std::uint32_t, 3>& values, std::uint32_t value)
{
    return value != 0 && std::find(values.begin(), values.end(), value) != values.end();
}

Status set_field(Descriptor& d, int code, std::uint32_t value)
{
    const Field* const field = field_of(code);
    if (field == nullptr)
        return DFTI_INCONSISTENT_CONFIGURATION;
    if (field->at == nullptr || is_among(field->not_carried, value))
        return DFTI_UNIMPLEMENTED;
    if (!is_among(field->accepted, value))
        return DFTI_INCONSISTENT_CONFIGURATION;
    if (value == DFTI_BACKWARD_SCRAMBLED && d.is_real())
        return DFTI_UNIMPLEMENTED;
    d.*field->at = value;
    return DFTI_NO_ERROR;
}

template <class T>
Status give(void* value, T found)
{
    *static_cast<T*>(value) = found;
    return DFTI_NO_ERROR;
}

Status get_field(const Descriptor& d, int code, void* value)
{
    const Field* const field = field_of(code);
    if (field == nullptr)
        return DFTI_INCONSISTENT_CONFIGURATION;
    return field->at != nullptr ? give(value, d.*field->at) : Status{DFTI_UNIMPLEMENTED};
}

Status give_scale(const Descriptor& d, void* value, double scale)
{
    return d.is_single() ? give(value, static_cast<float>(scale)) : give(value, scale);
}

/// Local sizes are counted in elements of the forward domain.
Status get(const Descriptor& d, int code, void* value)
{
    switch (code) {
    case DFTI_DIMENSION:
        return give<std::int64_t>(value, d.rank);
    case DFTI_LENGTHS:
        std::copy_n(d.length, d.rank, static_cast<std::int64_t*>(value));
        return DFTI_NO_ERROR;
    case DFTI_FORWARD_SCALE:
        return give_scale(d, value, d.forward_scale);
    case DFTI_BACKWARD_SCALE:
        return give_scale(d, value, d.backward_scale);
    case DFTI_COMMIT_STATUS:
        return give(value, d.commit_status);
    case DFTI_DM_LOCAL_SIZE:
        return give<std::int64_t>(value, slabs_of(d).size * (d.is_real() ? 2 : 1));
    case DFTI_DM_FIRST_ROW:
        return give<std::int64_t>(value, slabs_of(d).first);
    case DFTI_DM_ROWS:
        return give<std::int64_t>(value, slabs_of(d).rows);
    case DFTI_DM_FIRST_ROW_OUT:
        return give<std::int64_t>(value, slabs_of(d).first_out);
    case DFTI_DM_ROWS_OUT:
        return give<std::int64_t>(value, slabs_of(d).rows_out);
    case DFTI_DM_COMMUNICATOR:
        return give(value, d.comm);
    case DFTI_DM_WORKSPACE:
        return give(value, d.given_workspace);
    default:
        return get_field(d, code, value);
    }
}

bool mpi_runs()
{
    int began = 0, ended = 0;
    return MPI_Initialized(&began) == MPI_SUCCESS && began != 0 && MPI_Finalized(&ended) == MPI_SUCCESS &&
           ended == 0;
}

Descriptor* descriptor_at(void* handle)
{
    auto* const d = static_cast<dft_descriptor*>(handle);
    return d != nullptr && d->magic == distributed_magic ? static_cast<Descriptor*>(d) : nullptr;
}

/// Whether all elements, and half a row more each, can be counted in bytes.
bool is_countable(std::int64_t rank, const std::int64_t* lengths)
{
    std::int64_t bytes = 4 * sizeof(double);
    return std::none_of(lengths, lengths + rank,
                        [&](std::int64_t length) { return __builtin_mul_overflow(bytes, length, &bytes); });
}

/// The engine has no real lines. Complex data with a single row or column it takes for data of a lower rank,
/// which has other rows: it refuses them, or writes beyond arrays.
bool is_carried(int domain, std::int64_t rank, const std::int64_t* lengths)
{
    return domain == DFTI_REAL ? rank > 1 : lengths[0] > 1 && (rank == 1 || lengths[1] > 1);
}

Status judge(MPI_Comm comm, int precision, int domain, std::int64_t rank, const std::int64_t* lengths)
{
    if ((precision != DFTI_SINGLE && precision != DFTI_DOUBLE) ||
        (domain != DFTI_COMPLEX && domain != DFTI_REAL) || lengths == nullptr || comm == nullptr ||
        comm == MPI_COMM_NULL || !mpi_runs())
        return DFTI_INCONSISTENT_CONFIGURATION;
    if (rank < 1 || rank > most_dimensions ||
        std::any_of(lengths, lengths + rank, [](std::int64_t length) { return length < 1; }))
        return DFTI_INVALID_CONFIGURATION;
    if (!is_carried(domain, rank, lengths))
        return DFTI_UNIMPLEMENTED;
    return is_countable(rank, lengths) ? Status{DFTI_NO_ERROR} : no_memory;
}

Status create(MPI_Comm comm, Descriptor** made, int precision, int domain, std::int64_t rank,
              const std::int64_t* lengths)
{
    if (const Status status = judge(comm, precision, domain, rank, lengths); status != DFTI_NO_ERROR)
        return status;
    const Engine* const engine = engine_of(precision == DFTI_SINGLE);
    if (engine == nullptr)
        return DFTI_INTERNAL_ERROR;
    auto* const d = new Descriptor{};
    if (d == nullptr)
        return no_memory;
    d->magic = distributed_magic;
    d->commit_status = DFTI_UNCOMMITTED;
    d->rank = static_cast<std::int32_t>(rank);
    d->domain = static_cast<std::uint32_t>(domain);
    d->precision = static_cast<std::uint32_t>(precision);
    d->complex_storage = d->conjugate_even_storage = DFTI_COMPLEX_COMPLEX;
    d->real_storage = DFTI_REAL_REAL;
    d->placement = DFTI_INPLACE;
    d->packed_format = DFTI_CCE_FORMAT;
    d->workspace = DFTI_ALLOW;
    d->ordering = DFTI_ORDERED;
    d->transpose = DFTI_NONE;
    d->forward_scale = d->backward_scale = 1;
    std::copy_n(lengths, rank, d->length);
    d->comm = comm;
    d->engine = engine;
    *made = d;
    return DFTI_NO_ERROR;
}

Status set(Descriptor& d, int code, va_list rest)
{
    d.commit_status = DFTI_UNCOMMITTED;
    switch (code) {
    case DFTI_FORWARD_SCALE:
        d.forward_scale = va_arg(rest, double);
        return DFTI_NO_ERROR;
    case DFTI_BACKWARD_SCALE:
        d.backward_scale = va_arg(rest, double);
        return DFTI_NO_ERROR;
    case DFTI_DM_WORKSPACE:
        d.given_workspace = va_arg(rest, void*);
        return DFTI_NO_ERROR;
    default:
        return set_field(d, code, va_arg(rest, unsigned)); // an int of C, or the lower half of a word
    }
}

Status compute(void* handle, Way way, void* a, va_list rest)
{
    const Descriptor* const d = descriptor_at(handle);
    if (d == nullptr)
        return DFTI_BAD_DESCRIPTOR;
    if (d->commit_status != DFTI_COMMITTED)
        return DFTI_INVALID_CONFIGURATION;
    void* const b = d->two_arrays() ? va_arg(rest, void*) : a;
    if (a == nullptr || b == nullptr || (d->two_arrays() && a == b))
        return DFTI_INCONSISTENT_CONFIGURATION;
    return compute(*d, way, a, b);
}

// Ahead of MPI's beginning and behind its end there is no communicator to convert.
int to_fortran(std::int64_t comm)
{
    return comm != 0 && mpi_runs() ? MPI_Comm_c2f(reinterpret_cast<MPI_Comm>(comm)) : -1;
}
std::int64_t to_c(int comm)
{
    return mpi_runs() ? reinterpret_cast<std::int64_t>(MPI_Comm_f2c(comm)) : 0;
}

} // namespace
} // namespace qnm::cdft

using namespace qnm::cdft;

#define QNM_EXPORT [[gnu::visibility("default")]]

extern "C" {

QNM_EXPORT std::int64_t qnm_cdft_DftiCreateDescriptorDM(std::int64_t comm, Descriptor** made, int precision,
                                                        int domain, std::int64_t rank,
                                                        const std::int64_t* lengths)
{
    if (made == nullptr)
        return DFTI_INCONSISTENT_CONFIGURATION;
    *made = nullptr;
    return create(reinterpret_cast<MPI_Comm>(comm), made, precision, domain, rank, lengths);
}

QNM_EXPORT std::int64_t qnm_cdft_DftiCommitDescriptorDM(void* handle)
{
    Descriptor* const d = descriptor_at(handle);
    return d != nullptr ? commit(*d) : Status{DFTI_BAD_DESCRIPTOR};
}

// Behind the end of MPI its share of the plans is gone, and the rest cannot be had without it.
QNM_EXPORT std::int64_t qnm_cdft_DftiFreeDescriptorDM(void** handle)
{
    if (handle == nullptr)
        return DFTI_INCONSISTENT_CONFIGURATION;
    Descriptor* const d = descriptor_at(*handle);
    if (d == nullptr)
        return DFTI_BAD_DESCRIPTOR;
    if (mpi_runs())
        release_plans(*d);
    d->magic = 0; // a handle that is used again is seen to be none
    delete d;
    *handle = nullptr;
    return DFTI_NO_ERROR;
}

QNM_EXPORT std::int64_t qnm_cdft_DftiGetValueDM(void* handle, int code, void* value)
{
    const Descriptor* const d = descriptor_at(handle);
    if (d == nullptr)
        return DFTI_BAD_DESCRIPTOR;
    return value != nullptr ? get(*d, code, value) : Status{DFTI_INCONSISTENT_CONFIGURATION};
}

QNM_EXPORT std::int64_t qnm_cdft_DftiSetValueDM(void* handle, int code, ...)
{
    Descriptor* const d = descriptor_at(handle);
    if (d == nullptr)
        return DFTI_BAD_DESCRIPTOR;
    va_list rest;
    va_start(rest, code);
    const Status status = set(*d, code, rest);
    va_end(rest);
    return status;
}

#define QNM_CDFT_COMPUTE(NAME, WAY)                                                                          \
    QNM_EXPORT std::int64_t qnm_cdft_##NAME(void* handle, void* a, ...)                                      \
    {                                                                                                        \
        va_list rest;                                                                                        \
        va_start(rest, a);                                                                                   \
        const Status status = compute(handle, Way::WAY, a, rest);                                            \
        va_end(rest);                                                                                        \
        return status;                                                                                       \
    }
QNM_CDFT_COMPUTE(DftiComputeForwardDM, forward)
QNM_CDFT_COMPUTE(DftiComputeBackwardDM, backward)

// What the layer does not stand in front of.
#define QNM_CDFT_ALSO(NAME)                                                                                  \
    [[gnu::alias("qnm_cdft_" #NAME), gnu::visibility("default")]] decltype(qnm_cdft_##NAME) NAME;
QNM_CDFT_ALSO(DftiSetValueDM)
QNM_CDFT_ALSO(DftiComputeForwardDM)
QNM_CDFT_ALSO(DftiComputeBackwardDM)

QNM_EXPORT const dft_mpi_wrappers* qnm_serv_get_mpi_wrappers()
{
    static constexpr dft_mpi_wrappers wrappers{to_fortran, to_c};
    return &wrappers;
}
}
