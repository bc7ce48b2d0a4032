// Words that every entry shares.
#pragma once

#include <type_traits>

namespace qnm {

/// The integer of all core functions. Narrow entries take `int`, wide entries take this very type.
using core_int = long long;
/// A hidden character length; the layer passes 1, whatever its caller passed.
using hidden_length = long;

/// The handler of every error chain: only 32 bits of `info` are defined.
using xerbla_handler = void(const char* srname, const int* info, int len);

#define QNM_EXPORT [[gnu::visibility("default")]]
#define QNM_INLINE [[gnu::always_inline]] inline
#define QNM_INLINE_LAMBDA __attribute__((always_inline))
#define QNM_COLD [[gnu::cold, gnu::noinline]]

// The cell of an entry is an aligned word that every thread binds to one same address: a race costs a second
// look-up and nothing else. The thread sanitizer is told so here, and only here.
#ifdef __SANITIZE_THREAD__
#define QNM_BENIGN_RACE [[gnu::no_sanitize("thread")]] inline
#else
#define QNM_BENIGN_RACE QNM_INLINE
#endif

QNM_INLINE bool unlikely(bool condition)
{
    return __builtin_expect(static_cast<long>(condition), 0) != 0;
}

/// Keeps a value in its stack slot. An entry calls twice with the same long argument list; without this the
/// compiler moves every argument through a callee-saved register, at four instructions for each instead of
/// two.
template <class T>
QNM_INLINE void park(T& value)
{
    if constexpr (!std::is_empty_v<T>)
        asm volatile("" : "+m"(value));
}

/// Nothing that follows is moved up across this point.
QNM_INLINE void stay_below()
{
    asm volatile("" ::: "memory");
}

/// The core's and the layer's own services, as the frame uses them. Those of the layer are called through the
/// dynamic symbol table, so that an application's definition is the one that counts.
extern "C" {
QNM_EXPORT void qnm_set_xerbla_interface(xerbla_handler* head);
QNM_EXPORT void cdecl_xerbla(const char* srname, const int* info, int len);
QNM_EXPORT void qnm_serv_iface_xerbla(const char* srname, const int* info, int len);
QNM_EXPORT const int* qnm_serv_iface_verbose_mode();
QNM_EXPORT double qnm_serv_iface_dsecnd();
QNM_EXPORT void qnm_serv_iface_print_verbose_info(int enabled, const char* line, double seconds);
QNM_EXPORT void* qnm_serv_iface_allocate(core_int bytes, core_int alignment);
QNM_EXPORT void qnm_serv_iface_deallocate(void* block);
int qnm_serv_lsame(const char* a, const char* b, hidden_length, hidden_length);
int qnm_serv_snprintf_s(char* to, core_int size, core_int most, const char* format, ...);
core_int qnm_serv_strnlen_s(const char* text, core_int most);
}

} // namespace qnm
