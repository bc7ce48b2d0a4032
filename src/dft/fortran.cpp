// Fortran entries with arrays of integers, or with a result to narrow. They call the entries of 64 bits by
// their exported names.
#include "dft/codes.hpp"
#include "dft/reference.hpp"

#include <optional>

namespace qnm::dft {

namespace {

/// The rank is judged behind this copy, which has room for the largest that can be.
struct Widened {
    std::int64_t values[most_dimensions + 1] = {};

    Widened(const int* from, int count) { std::copy_n(from, count, values); }
};

/// `precision` is the address of what the entry takes for it.
template <class Precision>
QNM_INLINE int create(int (*entry)(dft_handle*, const Precision*, const std::int64_t*, const std::int64_t*,
                                   const std::int64_t*),
                      dft_handle* made, const Precision* precision, const int* domain, const int* rank,
                      const int* lengths)
{
    const std::int64_t wide_domain = *domain, wide_rank = *rank;
    return entry(made, precision, &wide_domain, &wide_rank, Widened(lengths, sound_rank(wide_rank)).values);
}

/// How many integers a code has, lengths too, which the entries judge. None: it has no such values.
std::optional<int> count_of(const dft_handle* handle, std::int64_t code)
{
    const Is is = code_of(static_cast<std::uint64_t>(code)).is;
    if (is != Is::strides && is != Is::lengths)
        return std::nullopt;
    return sound_rank((*handle)->rank) + (is == Is::strides ? 1 : 0);
}

} // namespace

extern "C" {

QNM_EXPORT int DFTI_CREATE_DESCRIPTOR_1D(dft_handle* made, const int* precision, const int* domain,
                                         const int* rank, const int* length)
{
    const std::int64_t wide = *precision;
    return create(qnm_dft_dfti_create_descriptor_1d, made, &wide, domain, rank, length);
}
QNM_EXPORT int DFTI_CREATE_DESCRIPTOR_HIGHD(dft_handle* made, const int* precision, const int* domain,
                                            const int* rank, const int* lengths)
{
    const std::int64_t wide = *precision;
    return create(qnm_dft_dfti_create_descriptor_highd, made, &wide, domain, rank, lengths);
}
QNM_EXPORT int DFTI_CREATE_DESCRIPTOR_D_1D(dft_handle* made, const double* tag, const int* domain,
                                           const int* rank, const int* length)
{
    return create(qnm_dft_dfti_create_descriptor_d_1d, made, tag, domain, rank, length);
}
QNM_EXPORT int DFTI_CREATE_DESCRIPTOR_D_MD(dft_handle* made, const double* tag, const int* domain,
                                           const int* rank, const int* lengths)
{
    return create(qnm_dft_dfti_create_descriptor_d_md, made, tag, domain, rank, lengths);
}
QNM_EXPORT int DFTI_CREATE_DESCRIPTOR_S_1D(dft_handle* made, const float* tag, const int* domain,
                                           const int* rank, const int* length)
{
    return create(qnm_dft_dfti_create_descriptor_s_1d, made, tag, domain, rank, length);
}
QNM_EXPORT int DFTI_CREATE_DESCRIPTOR_S_MD(dft_handle* made, const float* tag, const int* domain,
                                           const int* rank, const int* lengths)
{
    return create(qnm_dft_dfti_create_descriptor_s_md, made, tag, domain, rank, lengths);
}

// Stored whatever the status.
QNM_EXPORT int DFTI_GET_VALUE_INTVAL(const dft_handle* handle, const int* code, int* value)
{
    const std::int64_t wide_code = *code;
    std::int64_t wide = 0;
    const int status = qnm_dft_dfti_get_value_intval(handle, &wide_code, &wide);
    *value = static_cast<int>(wide);
    return status;
}

QNM_EXPORT int DFTI_SET_VALUE_INTVEC(const dft_handle* handle, const int* code, const int* values)
{
    const std::int64_t wide_code = *code;
    const std::optional<int> count = count_of(handle, wide_code);
    return count ? qnm_dft_dfti_set_value_intvec(handle, &wide_code, Widened(values, *count).values)
                 : inconsistent_configuration;
}

QNM_EXPORT int DFTI_GET_VALUE_INTVEC(const dft_handle* handle, const int* code, int* values)
{
    const std::int64_t wide_code = *code;
    const std::optional<int> count = count_of(handle, wide_code);
    if (!count)
        return inconsistent_configuration;
    std::int64_t wide[most_dimensions + 1] = {};
    const int status = qnm_dft_dfti_get_value_intvec(handle, &wide_code, wide);
    std::transform(wide, wide + *count, values, [](std::int64_t value) { return static_cast<int>(value); });
    return status;
}

QNM_EXPORT char* DFTI_ERROR_MESSAGE_EXTERNAL(char* buffer, int length, const int* status)
{
    const std::int64_t wide_length = length, wide_status = *status;
    return qnm_dft_dfti_error_message_external(buffer, &wide_length, &wide_status);
}

QNM_FORTRAN(DFTI_CREATE_DESCRIPTOR_1D, dfti_create_descriptor_1d)
QNM_FORTRAN(DFTI_CREATE_DESCRIPTOR_HIGHD, dfti_create_descriptor_highd)
QNM_FORTRAN(DFTI_CREATE_DESCRIPTOR_D_1D, dfti_create_descriptor_d_1d)
QNM_FORTRAN(DFTI_CREATE_DESCRIPTOR_D_MD, dfti_create_descriptor_d_md)
QNM_FORTRAN(DFTI_CREATE_DESCRIPTOR_S_1D, dfti_create_descriptor_s_1d)
QNM_FORTRAN(DFTI_CREATE_DESCRIPTOR_S_MD, dfti_create_descriptor_s_md)
QNM_FORTRAN(DFTI_GET_VALUE_INTVAL, dfti_get_value_intval)
QNM_FORTRAN(DFTI_SET_VALUE_INTVEC, dfti_set_value_intvec)
QNM_FORTRAN(DFTI_GET_VALUE_INTVEC, dfti_get_value_intvec)
QNM_FORTRAN(DFTI_ERROR_MESSAGE_EXTERNAL, dfti_error_message_external)
}

} // namespace qnm::dft
