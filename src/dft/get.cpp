// Asking for the configuration.
#include "dft/codes.hpp"
#include "dft/reference.hpp"

#include <cstring>

namespace qnm::dft {

namespace {

/// An integer behind a code: a field, a bit, or what the core answers, whatever its status.
Status get_integer(dft_descriptor* d, const Code& code, std::int64_t& value)
{
    switch (code.is) {
    case Is::rank:
    case Is::field:
    case Is::conjugate_even:
        value = code.wide ? static_cast<std::int32_t>(field(d, code)) : std::int64_t{field(d, code)};
        return no_error;
    case Is::option:
        value = (d->options & DFT_DESTROY_INPUT) != 0 ? allow : avoid;
        return no_error;
    case Is::operation:
        return (d->ops->*code.get)(d, &value);
    default:
        return inconsistent_configuration;
    }
}

bool is_integer(const Code& code)
{
    return code.is == Is::rank || code.is >= Is::operation;
}

enum class To { slowest, fastest };

/// Lengths, or strides behind their offset, with this dimension first. They are had before the caller's
/// address is looked at.
Status get_all(dft_descriptor* d, const Code& code, std::int64_t* values, To to)
{
    std::int64_t fastest_first[most_dimensions + 1] = {};
    if (const Status status = (d->ops->*code.get)(d, fastest_first); status != no_error)
        return status;
    if (values == nullptr)
        return inconsistent_configuration;
    const int offset = code.is == Is::strides ? 1 : 0;
    const int count = sound_rank(d->rank) + offset;
    if (to == To::slowest)
        std::reverse(fastest_first + offset, fastest_first + count);
    std::copy_n(fastest_first, count, values);
    return no_error;
}

Status get_version(char* text)
{
    constexpr std::int64_t size = 198;
    if (text == nullptr)
        return inconsistent_configuration;
    std::memset(text, 0, size);
    qnm_dft_dfti_get_version_string(text, size);
    text[size - 1] = '\0';
    return no_error;
}

/// C callers get at most nine characters.
Status get_short_name(dft_descriptor* d, char* text)
{
    constexpr std::int64_t size = 10;
    if (text == nullptr)
        return inconsistent_configuration;
    const Status status = d->ops->get_name(d, text, size);
    text[size - 1] = '\0';
    return status;
}

double scale_of(dft_descriptor* d, std::uint64_t number)
{
    double scale = 0;
    d->ops->get_scale(d, &scale, static_cast<int>(number));
    return scale;
}

/// A scale to the caller, in the precision of the transform.
Status get_real(dft_descriptor* d, std::uint64_t number, void* value)
{
    const double scale = scale_of(d, number);
    if (value == nullptr)
        return inconsistent_configuration;
    if (d->precision == single_precision)
        *static_cast<float*>(value) = static_cast<float>(scale);
    else
        *static_cast<double*>(value) = scale;
    return no_error;
}

/// An integer to a caller in C.
Status get_number(dft_descriptor* d, const Code& code, void* result)
{
    std::int64_t value = 0;
    const Status status = get_integer(d, code, value);
    if (result == nullptr)
        return inconsistent_configuration;
    if (code.wide)
        *static_cast<std::int64_t*>(result) = value;
    else
        *static_cast<std::int32_t*>(result) = static_cast<std::int32_t>(value);
    return status;
}

/// A scale by addresses, in the caller's own precision.
template <class T>
int get_scale(const dft_handle* handle, const std::int64_t* code, T* value)
{
    if (const int status = refused(handle, code, value); status != no_error)
        return status;
    const auto number = static_cast<std::uint64_t>(*code);
    if (code_of(number).is != Is::scale)
        return inconsistent_configuration;
    *value = static_cast<T>(scale_of(*handle, number));
    return no_error;
}

} // namespace

extern "C" {

// Published with `...`: the third argument is an address.
QNM_EXPORT Status DftiGetValue(dft_handle d, unsigned number, void* result)
{
    const Code& code = code_of(number);
    if (code.is == Is::version)
        return get_version(static_cast<char*>(result));
    if (!is_valid(d))
        return bad_descriptor;
    switch (code.is) {
    case Is::nothing:
        return inconsistent_configuration;
    case Is::lengths:
    case Is::strides:
        return get_all(d, code, static_cast<std::int64_t*>(result), To::slowest);
    case Is::scale:
        return get_real(d, number, result);
    case Is::text:
        return get_short_name(d, static_cast<char*>(result));
    default:
        return get_number(d, code, result);
    }
}

QNM_EXPORT int qnm_dft_dfti_get_value_intval(const dft_handle* handle, const std::int64_t* number,
                                             std::int64_t* value)
{
    if (const int status = refused(handle, number, value); status != no_error)
        return status;
    dft_descriptor* const d = *handle;
    const Code& code = code_of(static_cast<std::uint64_t>(*number));
    if (code.is == Is::lengths && d->rank == 1) {
        std::int64_t lengths[most_dimensions] = {};
        d->ops->get_lengths(d, lengths);
        *value = lengths[0];
        return no_error;
    }
    if (!is_integer(code))
        return inconsistent_configuration;
    std::int64_t found = 0;
    const Status status = get_integer(d, code, found);
    *value = found;
    return static_cast<int>(status);
}

QNM_EXPORT int qnm_dft_dfti_get_value_intvec(const dft_handle* handle, const std::int64_t* number,
                                             std::int64_t* values)
{
    if (const int status = refused(handle, number, values); status != no_error)
        return status;
    const Code& code = code_of(static_cast<std::uint64_t>(*number));
    if (code.is != Is::lengths && code.is != Is::strides)
        return inconsistent_configuration;
    return static_cast<int>(get_all(*handle, code, values, To::fastest));
}

QNM_EXPORT int qnm_dft_dfti_get_value_dblval(const dft_handle* handle, const std::int64_t* code,
                                             double* value)
{
    return get_scale(handle, code, value);
}
QNM_EXPORT int qnm_dft_dfti_get_value_sglval(const dft_handle* handle, const std::int64_t* code, float* value)
{
    return get_scale(handle, code, value);
}

// The version is of no descriptor, so no handle is looked at.
QNM_EXPORT int qnm_dft_dfti_get_value_chars(const dft_handle* handle, const std::int64_t* number, char* text,
                                            std::int64_t length)
{
    const auto blank = [&] { std::fill_n(text, std::max<std::int64_t>(length, 0), ' '); };
    if (number == nullptr || text == nullptr)
        return inconsistent_configuration;
    const Code& code = code_of(static_cast<std::uint64_t>(*number));
    if (code.is == Is::version) {
        blank();
        qnm_dft_dfti_get_version_string(text, length);
        return no_error;
    }
    if (const int status = refused(handle, number, text); status != no_error)
        return status;
    if (code.is != Is::text)
        return inconsistent_configuration;
    blank();
    dft_descriptor* const d = *handle;
    return static_cast<int>(d->ops->get_name(d, text, length));
}

QNM_TWIN(qnm_dft_dftigetvalue, DftiGetValue)
}

} // namespace qnm::dft
