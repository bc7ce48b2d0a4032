// The words of a matrix copy's check. It takes values: letters compare as they stand, sizes as unsigned
// numbers.
#pragma once

#include "frame/check.hpp"
#include "frame/report.hpp"

namespace qnm::trans {

using size = std::size_t;

/// A size as the tests of a row read it.
struct Size {
    size value;
    QNM_INLINE size operator*() const { return value; }
};

QNM_INLINE bool is(char argument, const char* letter)
{
    return argument == *letter || argument == *letter + ('a' - 'A');
}

/// Of a letter in an array.
QNM_INLINE bool is(const char* argument, const char* letter)
{
    return is(*argument, letter);
}

template <class I>
QNM_INLINE bool below(I value, I bound)
{
    return unlikely(value < bound);
}

/// A bound of 0 asks for the sign: a count that was negative must not be taken for a huge one.
template <class I>
QNM_INLINE bool below(I value, int /*zero*/)
{
    return unlikely(static_cast<core_int>(value) < 0);
}

/// Array of sizes, and the one size that is no array.
template <class I>
QNM_INLINE const I* integers(const core_int* array)
{
    return reinterpret_cast<const I*>(array);
}

template <class I>
QNM_INLINE Size integers(Size scalar)
{
    return scalar;
}

/// Whether a test fails for any group; one array is walked over all groups before the next is touched.
template <class I, class Test>
QNM_INLINE bool any_group(Size group_count, Test&& fails)
{
    for (I g = 0; g < *group_count; ++g)
        if (fails(g))
            return true;
    return false;
}

/// A checked argument as its row's tests read it.
template <class A>
QNM_INLINE A tested(A argument)
{
    return argument;
}

QNM_INLINE Size tested(core_int argument)
{
    return {static_cast<size>(argument)};
}

/// Reports under a name in lower case, past the layer's own report call.
QNM_COLD inline int trans_xerbla(const char* name, core_int code)
{
    report<qnm_serv_xerbla>(name, measured(name), code);
    return 1;
}

/// The body of a check: 0 if all is well, else 1 after the report.
template <class Tests, class... A>
QNM_INLINE int verdict(const char* name, A... arguments)
{
    const int position = Tests::template code<size>(tested(arguments)...);
    return unlikely(position != 0) ? trans_xerbla(name, position) : 0;
}

} // namespace qnm::trans
