// The words of a C entry's tests and of its call. All arguments are the entry's own parameters, so an address
// of one is what the Fortran routine takes by reference.
#pragma once

#include <cstddef>

#include "frame/check.hpp"
#include "frame/layout.hpp"

namespace qnm::cblas {

extern "C" {
QNM_EXPORT void cblas_xerbla(const char* name, int position);
QNM_EXPORT void cblas_xerbla_malloc_error(const char* name);
}

inline constexpr int conjugate_transpose = 113;

/// Codes of one group follow each other.
QNM_INLINE bool within(int code, int first, int last)
{
    return static_cast<unsigned>(code) - static_cast<unsigned>(first) <=
           static_cast<unsigned>(last) - static_cast<unsigned>(first);
}

template <class I>
QNM_INLINE bool at_most(I value, I bound)
{
    return unlikely(value <= bound);
}

/// A bad option that is reported and does not end the entry: it becomes the code behind the last, for which
/// call() passes a blank.
QNM_INLINE bool goes_on(bool bad, const char* name, int position, int& code, int unset)
{
    if (bad) {
        cblas_xerbla(name, position);
        code = unset;
    }
    return false;
}

/// The same for a size.
QNM_INLINE bool goes_on(bool bad, const char* name, int position)
{
    if (bad)
        cblas_xerbla(name, position);
    return false;
}

/// A step among the tests that tests nothing.
template <class Step>
QNM_INLINE bool done(Step&& step)
{
    step();
    return false;
}

/// The option letter of a code, as a string of its own: texts are told in the order of the codes, with a zero
/// behind each.
QNM_INLINE const char* letter(const char* texts, int index)
{
    return texts + 2 * std::size_t{static_cast<unsigned>(index)}; // no sign to extend
}

/// Whether the operation leaves its result as it is.
template <class R>
QNM_INLINE bool idle(R alpha, R beta)
{
    return alpha == 0 && beta == 1;
}

template <class R>
QNM_INLINE bool idle(const void* alpha, const void* beta)
{
    const R* a = static_cast<const R*>(alpha);
    const R* b = static_cast<const R*>(beta);
    return a[0] == 0 && a[1] == 0 && b[0] == 1 && b[1] == 0;
}

} // namespace qnm::cblas
