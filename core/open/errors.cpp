// Error reports, and the two other callbacks that an application can take over.
#include "refusals.hpp"
#include "services.hpp"

#include <qnm/core/lapack.h>

#include <atomic>
#include <cstring>
#include <unistd.h>

namespace {

std::atomic<qnm_xerbla_t> registered_handler{nullptr}; // by the application, at run time
std::atomic<qnm_xerbla_t> chain_head{nullptr};         // by the layer, at each of its calls
std::atomic<qnm_progress_t> registered_progress{nullptr}, progress_head{nullptr};
std::atomic<qnm_pardiso_pivot_t> pivot{nullptr};

// Names arrive padded with blanks, or with a terminator counted in.
int trimmed(const char* srname, int len)
{
    int length = static_cast<int>(strnlen(srname, static_cast<std::size_t>(std::max(len, 0))));
    while (length > 0 && srname[length - 1] == ' ')
        --length;
    return length;
}

} // namespace

QNM_CORE void qnm_serv_default_xerbla(const char* srname, const int* info, int len)
{
    using namespace qnm::core;
    const int length = trimmed(srname, len);
    if (*info == index_scratch_failure)
        print_to(STDERR_FILENO, "QNM ERROR: not enough memory for the integer arrays of %.*s.\n", length,
                 srname);
    else if (*info == memory_failure)
        print_to(STDERR_FILENO, "QNM ERROR: not enough memory in %.*s.\n", length, srname);
    else
        print_to(STDERR_FILENO, "QNM ERROR: Parameter %d was incorrect on entry to %.*s.\n", *info, length,
                 srname);
}

// A handler registered at run time comes before the chain: it is the more particular wish.
QNM_CORE void qnm_serv_xerbla(const char* srname, const int* info, int len)
{
    qnm_xerbla_t handler = registered_handler.load();
    if (handler == nullptr)
        handler = chain_head.load();
    if (handler == nullptr)
        handler = qnm_serv_default_xerbla;
    handler(srname, info, len);
}

QNM_CORE void qnm_serv_set_xerbla_interface(qnm_xerbla_t head)
{
    chain_head.store(head, std::memory_order_relaxed);
}

// The setters return what was registered before.
QNM_CORE qnm_xerbla_t qnm_serv_set_xerbla(qnm_xerbla_t handler)
{
    return registered_handler.exchange(handler);
}

// The name as an array of characters, one each.
QNM_CORE void qnm_lapack_xerbla_array(const char* srname_array, const qnm::core::core_int* srname_len,
                                      const qnm::core::core_int* info, std::size_t)
{
    const int code = static_cast<int>(*info);
    qnm_serv_xerbla(srname_array, &code, static_cast<int>(*srname_len));
}

// The engine's own reports go the same way. It counts the terminator as part of the name.
extern "C" [[gnu::visibility("hidden")]] int xerbla_(const char* srname, const int* info, std::int64_t len)
{
    const int length = static_cast<int>(strnlen(srname, static_cast<std::size_t>(len)));
    qnm::core::note_refusal({srname, static_cast<std::size_t>(trimmed(srname, length))}, *info);
    qnm_serv_xerbla(srname, info, length);
    return 0;
}

// What a routine that nobody carries does: nothing is computed, and INFO (each of `count` ones, if there are
// several) must not pass for success.
extern "C" [[gnu::visibility("hidden")]] void
qnm_core_not_carried(const char* name, qnm::core::core_int* info, const qnm::core::core_int* count)
{
    using namespace qnm::core;
    print_to(STDERR_FILENO, "QNM ERROR: %s is not carried by this core.\n", name);
    if (info != nullptr)
        std::fill_n(info, count != nullptr ? std::max<core_int>(*count, 0) : 1, not_carried_info);
}

// As with reports, what was registered at run time comes first.
bool qnm::core::goes_on(std::string_view stage, int step)
{
    qnm_progress_t callback = registered_progress.load();
    if (callback == nullptr)
        callback = progress_head.load();
    if (callback == nullptr)
        return true;
    int thread = 0;
    char text[64] = "";
    const std::size_t length = stage.copy(text, sizeof text - 1);
    return callback(&thread, &step, text, static_cast<int>(length)) == 0;
}

QNM_CORE int qnm_serv_default_progress(int*, int*, char*, int)
{
    return 0; // go on
}
// No solver of this core asks for a pivot; what is set is kept.
QNM_CORE int qnm_serv_default_pardiso_pivot(void*, void*, void*)
{
    return 0; // the solver's own pivot
}
QNM_CORE qnm_progress_t qnm_serv_set_progress(qnm_progress_t callback)
{
    return registered_progress.exchange(callback);
}
QNM_CORE void qnm_serv_set_progress_interface(qnm_progress_t head)
{
    progress_head.store(head);
}
QNM_CORE qnm_pardiso_pivot_t qnm_serv_set_pardiso_pivot(qnm_pardiso_pivot_t callback)
{
    return pivot.exchange(callback);
}
