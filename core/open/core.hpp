// Common ground of the open core: integer width, export marking, the letters of the families.
#pragma once

#include <algorithm>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#define QNM_CORE extern "C" __attribute__((visibility("default")))

// One use of M per letter: lower case, upper case, element type.
#define QNM_REAL_LETTERS(M) M(s, S, float) M(d, D, double)
#define QNM_COMPLEX_LETTERS(M) M(c, C, qnm::core::cfloat) M(z, Z, qnm::core::cdouble)
#define QNM_ALL_LETTERS(M) QNM_REAL_LETTERS(M) QNM_COMPLEX_LETTERS(M)

namespace qnm::core {

using core_int = std::int64_t;
using cfloat = std::complex<float>;
using cdouble = std::complex<double>;

template <class T>
struct RealOf {
    using type = T;
};
template <class R>
struct RealOf<std::complex<R>> {
    using type = R;
};
template <class T>
using real_t = typename RealOf<T>::type;
template <class T>
inline constexpr bool is_complex = !std::is_same_v<T, real_t<T>>;

template <class T>
T conjugate(T value)
{
    if constexpr (is_complex<T>)
        return std::conj(value);
    else
        return value;
}

/// Whatever the locale.
constexpr char upper_case(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
/// Whether two characters are the same but for the case of a letter.
constexpr bool same_character(char a, char b)
{
    return upper_case(a) == upper_case(b);
}

/// The same, quicker, where one of them is known for a letter: the cases differ in one bit.
constexpr bool same_letter(char option, char letter)
{
    return ((option ^ letter) & ~('a' - 'A')) == 0;
}
constexpr bool is_letter(const char* option, char letter)
{
    return same_letter(*option, letter);
}

// Offset of the first element of a vector of n elements: a negative increment walks from its far end.
constexpr core_int vector_start(core_int n, core_int inc)
{
    return inc < 0 ? (1 - n) * inc : 0;
}

} // namespace qnm::core
