// How arguments of an entry are told to what it calls.
#pragma once

#include "fftw/types.hpp"
#include "frame/types.hpp"

namespace qnm::fftw {

/// Arguments of an entry that what it calls takes as one array: n0, n1, n2.
template <class T, int count>
struct Parts {
    T each[count];
};
template <class T, class... More>
Parts(T, More...) -> Parts<T, 1 + sizeof...(More)>;

/// What stands at the addresses of parts.
template <class T, int count>
struct List {
    explicit List(const Parts<const T*, count>& parts)
    {
        for (int i = 0; i < count; ++i)
            each[i] = *parts.each[i];
    }
    operator const T*() const { return each; }
    T each[count];
};

template <class T>
constexpr int count_of = 1;
template <class T, int count>
constexpr int count_of<Parts<T, count>> = count;

/// Lengths and kinds as arrays, by value or by address; all else as it came.
template <class T>
QNM_INLINE T as_array(const T& value)
{
    return value;
}
QNM_INLINE const Kind* as_array(const Kind& kind)
{
    return &kind;
}
template <class T, int count>
QNM_INLINE const T* as_array(const Parts<T, count>& parts)
{
    return parts.each;
}
template <class T, int count>
QNM_INLINE List<T, count> as_array(const Parts<const T*, count>& parts)
{
    return List<T, count>(parts);
}

/// Whether all arguments that an entry looks at are there.
struct Given {
    bool all;
};
template <class... T>
QNM_INLINE Given all(const T*... arguments)
{
    return {((arguments != nullptr) && ...)};
}

} // namespace qnm::fftw
