// Words that every entry shares.
#pragma once

#include <type_traits>

#include "services/core.hpp"

namespace qnm {

/// The integer of all core functions. Narrow entries take `int`, wide entries take this very type.
using core_int = long long;
/// A hidden character length; the layer passes 1, whatever its caller passed.
using hidden_length = long;

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

} // namespace qnm
