// How arguments of streams and generators travel.
#pragma once

#include "frame/types.hpp"

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#else
#define VALGRIND_MAKE_MEM_DEFINED(address, size) static_cast<void>(0)
#endif

namespace qnm::vsl {

// Kinds.
struct Number; // by value or by reference: a handle too
struct AsItIs; // a slot, an array, a text, a function
struct Engine; // the id of a generator, which the line shows by name
struct Seed;   // a number that the kernel gets as an array and its length

/// An argument: as it came, or a place where it waits.
template <class Kind, class V>
struct As {
    V value;
    static constexpr bool is_wide = sizeof(V) == 8 && std::is_integral_v<V>;
};
template <class Kind, class V>
QNM_INLINE As<Kind, V> as(V value)
{
    return {value};
}

/// A text of Fortran, which may have no end but its length; below 0 it has one.
struct FortranText {
    const char* value;
    int length;
};

// What is meant, read where it is asked for.
template <class V>
QNM_INLINE V given(V value)
{
    return value;
}
template <class V>
QNM_INLINE V given(const V* value)
{
    return *value;
}
template <class Kind, class V>
QNM_INLINE auto given(As<Kind, V> argument)
{
    const std::remove_cvref_t<V> value = argument.value;
    if constexpr (std::is_same_v<Kind, AsItIs>)
        return value;
    else
        return given(value);
}
QNM_INLINE const char* given(FortranText text)
{
    return text.value;
}

/// The name of a generator, which begins with that of its family.
const char* engine_name(int id, char (&room)[32]);
/// The text up to its length, a zero or the end of the room.
const char* copied(FortranText text, char (&room)[256]);

/// An argument as the line shows it, for the length of a statement.
template <class A>
struct Shown {
    A argument;
    auto get() const { return given(argument); }
};
template <class V>
struct Shown<As<Engine, V>> {
    As<Engine, V> argument;
    char room[32]{};
    const char* get() { return engine_name(static_cast<int>(given(argument)), room); }
};
template <>
struct Shown<FortranText> {
    FortranText argument;
    char room[256]{};
    const char* get() { return copied(argument, room); }
};

// The call of a kernel: of a wide integer it gets the lower half.
template <class... P, class... A>
requires(sizeof...(P) == sizeof...(A)) QNM_INLINE int call(int (*kernel)(P...), A... arguments)
{
    return kernel(static_cast<P>(given(arguments))...);
}

template <class Slot, class Id, class V>
QNM_INLINE int call(int (*kernel)(void**, int, int, const unsigned*), Slot slot, Id id, As<Seed, V> seed)
{
    unsigned words[2];
    words[0] = static_cast<unsigned>(given(seed));
    int count = 1;
    if constexpr (seed.is_wide) {
        // A seed whose 32nd bit is set counts as two words, of which the entry knows one: such a stream is
        // not to be had again.
        asm volatile("" : "=m"(words[1]));
        if (unlikely(static_cast<int>(words[0]) < 0)) {
            VALGRIND_MAKE_MEM_DEFINED(&words[1], sizeof words[1]);
            count = 2;
        }
    }
    return kernel(given(slot), static_cast<int>(given(id)), count, words);
}

} // namespace qnm::vsl
