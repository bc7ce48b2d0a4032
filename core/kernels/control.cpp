// Mode, status and callback, of each thread its own; and which tables a processor takes.
#include "errors.hpp"
#include "tables.hpp"

#include <cerrno>
#include <cfenv>
#include <cstdio>
#include <immintrin.h>
#include <unistd.h>
#include <utility>

namespace qnm::vml {
namespace {

struct OfThread {
    std::uint32_t mode = default_mode;
    int status = ok;
    Callback callback = nullptr;
};
constinit thread_local OfThread own;

void begin(Call* call)
{
    *call = {own.mode, ok, 0, own.callback, 0};
}

void failed(const Call* call)
{
    if ((call->mode & errors_ignored) != 0)
        return;
    own.status = call->status;
    if ((call->mode & errors_to_errno) != 0)
        errno = call->status == domain ? EDOM : ERANGE;
    if ((call->mode & errors_to_flags) != 0) {
        static constexpr int flags[] = {0, FE_INVALID, FE_DIVBYZERO, FE_OVERFLOW | FE_INEXACT,
                                        FE_UNDERFLOW | FE_INEXACT};
        for (unsigned code = domain; code <= underflow; ++code)
            if ((call->errors >> code & 1U) != 0)
                std::feraiseexcept(flags[code]);
    }
}

} // namespace

bool tell(Call* call, ErrorRecord* record, const char* name)
{
    call->status = record->code;
    call->errors |= 1U << static_cast<unsigned>(record->code);
    if (!call->told_at_once())
        return false;
    record->length = std::snprintf(record->name, sizeof record->name, "%s", name);
    if ((call->mode & errors_to_stderr) != 0) {
        static constexpr const char* words[] = {"", "an argument outside the domain", "a pole", "overflow",
                                                "underflow"};
        char line[160];
        const int length = std::snprintf(line, sizeof line, "QNM: %s, element %d (%g): %s\n", record->name,
                                         record->index, record->argument[0], words[record->code]);
        while (::write(STDERR_FILENO, line, static_cast<std::size_t>(length)) < 0 && errno == EINTR) {
        }
    }
    if (!call->calls_back())
        return false;
    const unsigned inside = _mm_getcsr();
    _mm_setcsr(call->arithmetic);
    call->callback(record);
    _mm_setcsr(inside);
    return true;
}

} // namespace qnm::vml

#define QNM_KERNEL_SYMBOL extern "C" __attribute__((visibility("default")))

using namespace qnm::vml;

QNM_KERNEL_SYMBOL const Frame qnm_vml_kernel_frame = {begin, failed};

QNM_KERNEL_SYMBOL std::uint32_t qnm_vml_kernel_SetMode(std::uint32_t wanted)
{
    return std::exchange(own.mode, wanted);
}
QNM_KERNEL_SYMBOL std::uint32_t qnm_vml_kernel_GetMode()
{
    return own.mode;
}
QNM_KERNEL_SYMBOL int qnm_vml_kernel_SetErrStatus(int wanted)
{
    return std::exchange(own.status, wanted);
}
QNM_KERNEL_SYMBOL int qnm_vml_kernel_GetErrStatus()
{
    return own.status;
}
QNM_KERNEL_SYMBOL int qnm_vml_kernel_ClearErrStatus()
{
    return std::exchange(own.status, int{ok});
}
QNM_KERNEL_SYMBOL Callback qnm_vml_kernel_SetErrorCallBack(Callback wanted)
{
    return std::exchange(own.callback, wanted);
}
QNM_KERNEL_SYMBOL Callback qnm_vml_kernel_GetErrorCallBack()
{
    return own.callback;
}
QNM_KERNEL_SYMBOL Callback qnm_vml_kernel_ClearErrorCallBack()
{
    return std::exchange(own.callback, nullptr);
}

// Types that detection answers, remapped, and those that only an override can present (6 and 7).
QNM_KERNEL_SYMBOL int qnm_vml_kernel_GetTTableIndex(int type)
{
    const int best = best_set();
    switch (type) {
    case 0:
    case 1:
    case 2:
        return sse2_table;
    case 6:
        return best == sse2_table ? sse2_table : avx2_table;
    case 7:
        return best;
    default:
        return best == sse2_table ? sse2_table : best_table;
    }
}
