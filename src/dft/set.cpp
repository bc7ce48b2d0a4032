// Setting the configuration.
#include "dft/codes.hpp"
#include "dft/reference.hpp"

#include <limits>

namespace qnm::dft {

namespace {

/// What was committed no longer holds.
void uncommit(dft_descriptor* d)
{
    d->commit_status = uncommitted;
    d->forward = d->backward = nullptr;
    d->state &= static_cast<std::uint8_t>(~1U);
}

void write_chain(dft_descriptor* d, const Code& code, std::uint32_t value)
{
    for (; d != nullptr; d = code.alone ? nullptr : d->next)
        field(d, code) = value;
}

/// Ends at the first descriptor that the value does not suit; those ahead of it keep the value.
int write_conjugate_even(dft_descriptor* d, std::int64_t value)
{
    for (; d != nullptr; d = d->next) {
        if (d->rank >= 2 && value == complex_real)
            return inconsistent_configuration;
        d->conjugate_even_storage = static_cast<std::uint32_t>(value);
        if (value == complex_complex)
            d->packed_format = cce_format;
    }
    return no_error;
}

int write_option(dft_descriptor* d, std::int64_t value)
{
    d->options = value == allow ? d->options | DFT_DESTROY_INPUT : d->options & ~unsigned{DFT_DESTROY_INPUT};
    return no_error;
}

bool fits(std::int64_t value)
{
    return value == static_cast<std::int32_t>(value);
}

/// Of a value that not every descriptor may have.
int judge_there(const dft_descriptor& d, Where where)
{
    if (where == Where::complex_data)
        return d.domain == real_domain ? unimplemented : no_error;
    return d.rank > 1 ? inconsistent_configuration : no_error;
}

int refusal_of(const Code& code, std::int64_t value)
{
    return code.unimplemented.have(value) ? unimplemented : inconsistent_configuration;
}

/// The one place where an integer is set. A descriptor is no longer committed behind it, refused or not.
Status set_integer(dft_descriptor* d, const Code& code, std::int64_t value)
{
    uncommit(d);
    if (code.is == Is::operation)
        return (d->ops->*code.set)(d, value);
    if (!code.accepted.have(value) && !(code.any && fits(value)))
        return refusal_of(code, value);
    if (code.there.have(value))
        if (const int status = judge_there(*d, code.where); status != no_error)
            return status;
    if (code.is == Is::conjugate_even)
        return write_conjugate_even(d, value);
    if (code.is == Is::option)
        return write_option(d, value);
    write_chain(d, code, static_cast<std::uint32_t>(value));
    return no_error;
}

// The rarer ones stand out of line, so that an integer is set without a stack frame.

/// C callers give strides with the slowest dimension first, behind the offset.
[[gnu::noinline]] Status set_reversed(dft_descriptor* d, const Code& code, const std::int64_t* strides)
{
    if (strides == nullptr)
        return inconsistent_configuration;
    const int rank = sound_rank(d->rank);
    std::int64_t fastest_first[most_dimensions + 1] = {strides[0]};
    std::reverse_copy(strides + 1, strides + 1 + rank, fastest_first + 1);
    return (d->ops->*code.set_all)(d, fastest_first);
}

[[gnu::noinline]] Status set_text(dft_descriptor* d, const char* text)
{
    constexpr std::size_t longest = 4096;
    if (text == nullptr)
        return inconsistent_configuration;
    return d->ops->set_name(d, text, static_cast<std::int64_t>(qnm_serv_strnlen_s(text, longest)), 0);
}

/// A scale by address.
template <class T>
int set_scale(const dft_handle* handle, const std::int64_t* code, const T* value)
{
    if (const int status = refused(handle, code, value); status != no_error)
        return status;
    if (code_of(static_cast<std::uint64_t>(*code)).is != Is::scale)
        return inconsistent_configuration;
    dft_descriptor* const d = *handle;
    return static_cast<int>(d->ops->set_scale(d, static_cast<int>(*code), static_cast<double>(*value)));
}

} // namespace

extern "C" {

// Published with `...`: the value is a word, which stands in the third register of integers, or a real
// number, which stands in the first of vectors.
QNM_EXPORT Status DftiSetValue(dft_handle d, unsigned number, std::int64_t word, double real)
{
    if (!is_valid(d))
        return bad_descriptor;
    const Code& code = code_of(number);
    if (code.is >= Is::operation)
        return set_integer(d, code, code.wide ? word : static_cast<std::uint32_t>(word));
    switch (code.is) {
    case Is::scale:
        return d->ops->set_scale(d, static_cast<int>(number), real);
    case Is::strides:
        return set_reversed(d, code, reinterpret_cast<const std::int64_t*>(word));
    case Is::text:
        return set_text(d, reinterpret_cast<const char*>(word));
    default:
        return inconsistent_configuration;
    }
}

QNM_EXPORT int qnm_dft_dfti_set_value_intval(const dft_handle* handle, const std::int64_t* code,
                                             const std::int64_t* value)
{
    const int status = refused(handle, code, value);
    return status != no_error
               ? status
               : static_cast<int>(set_integer(*handle, code_of(static_cast<std::uint64_t>(*code)), *value));
}

QNM_EXPORT int qnm_dft_dfti_set_value_intvec(const dft_handle* handle, const std::int64_t* code,
                                             const std::int64_t* values)
{
    if (const int status = refused(handle, code, values); status != no_error)
        return status;
    const Code& told = code_of(static_cast<std::uint64_t>(*code));
    dft_descriptor* const d = *handle;
    return told.is == Is::strides ? static_cast<int>((d->ops->*told.set_all)(d, values))
                                  : inconsistent_configuration;
}

QNM_EXPORT int qnm_dft_dfti_set_value_dblval(const dft_handle* handle, const std::int64_t* code,
                                             const double* value)
{
    return set_scale(handle, code, value);
}
QNM_EXPORT int qnm_dft_dfti_set_value_sglval(const dft_handle* handle, const std::int64_t* code,
                                             const float* value)
{
    return set_scale(handle, code, value);
}

QNM_EXPORT int qnm_dft_dfti_set_value_chars(const dft_handle* handle, const std::int64_t* code,
                                            const char* text, std::int64_t length)
{
    if (const int status = refused(handle, code, text); status != no_error)
        return status;
    if (code_of(static_cast<std::uint64_t>(*code)).is != Is::text)
        return inconsistent_configuration;
    dft_descriptor* const d = *handle;
    return static_cast<int>(d->ops->set_name(d, text, length, ' '));
}

QNM_TWIN(qnm_dft_dftisetvalue, DftiSetValue)
}

} // namespace qnm::dft
