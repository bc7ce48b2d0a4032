// Statuses as texts, and classes of statuses.
#include "dft/reference.hpp"

#include <iterator>

namespace qnm::dft {

namespace {

/// The core's message of a status. Those without one share that of 4.
const char* message_of(std::int64_t status)
{
    constexpr int unknown = 4;
    constexpr int numbers[]{774, 775, 776, 777, 784, 779, 780, 781, 782, 783};
    const bool known = static_cast<std::uint64_t>(status) < std::size(numbers);
    return qnm_serv_get_msg(numbers[known ? status : unknown], 0);
}

} // namespace

extern "C" {

// A class is nothing but a status.
QNM_EXPORT Status DftiErrorClass(std::int64_t status, std::int64_t error_class)
{
    return status == error_class ? 1 : 0;
}

QNM_EXPORT int qnm_dft_dfti_error_class_external(const std::int64_t* status, const std::int64_t* error_class)
{
    return *status == *error_class ? 1 : 0;
}

QNM_EXPORT const char* DftiErrorMessage(std::int64_t status)
{
    return message_of(status);
}

// For callers whose texts end in blanks.
QNM_EXPORT char* qnm_dft_dfti_error_message_external(char* buffer, const std::int64_t* length,
                                                     const std::int64_t* status)
{
    const auto size = static_cast<std::size_t>(std::max<std::int64_t>(*length, 0));
    const char* const text = message_of(*status);
    const std::size_t told = text != nullptr ? qnm_serv_strnlen_s(text, size) : 0;
    std::fill(std::copy_n(text, told, buffer), buffer + size, ' ');
    return buffer;
}

QNM_TWIN(qnm_dft_dftierrorclass, DftiErrorClass)
QNM_TWIN(qnm_dft_dftierrormessage, DftiErrorMessage)
}

} // namespace qnm::dft
