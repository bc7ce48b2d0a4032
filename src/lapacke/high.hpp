// The high level: looks at the layout and for NaN, manages workspace, calls the work level.
#pragma once

#include <type_traits>

#include "lapacke/work.hpp"

namespace qnm {

/// The size that a query gave, in the first element of a workspace.
template <class E>
QNM_INLINE core_int size_in(const E& first)
{
    return static_cast<core_int>(first);
}
template <class R>
QNM_INLINE core_int size_in(const Complex<R>& first)
{
    return static_cast<core_int>(first.re);
}

/// Workspace of a known size.
template <class E>
struct Fixed {
    static constexpr bool asked = false;
    core_int count;
    bool needed = true;
    E* place = nullptr;
    QNM_INLINE bool obtain()
    {
        place = needed ? obtained<E>(room(count)) : nullptr;
        return place != nullptr || !needed;
    }
};

/// Workspace whose size the routine tells.
template <class E, class I>
struct Asked {
    static constexpr bool asked = true;
    bool needed = true;
    E first{};
    I size = -1;
    E* place = nullptr;
    QNM_INLINE void query() { place = &first; }
    QNM_INLINE void read()
    {
        size = static_cast<I>(size_in(first));
        place = nullptr;
    }
    QNM_INLINE bool obtain()
    {
        place = needed ? obtained<E>(room(size)) : nullptr;
        return place != nullptr || !needed;
    }
};

/// The same for a workspace of two dimensions: a query gives both.
template <class E, class I>
struct AskedTable {
    static constexpr bool asked = true;
    E first[2]{};
    I size = -1; // the leading dimension
    core_int columns = 0;
    E* place = nullptr;
    QNM_INLINE void query() { place = first; }
    QNM_INLINE void read()
    {
        size = static_cast<I>(size_in(first[0]));
        columns = size_in(first[1]);
        place = nullptr;
    }
    QNM_INLINE bool obtain()
    {
        place = obtained<E>(room(core_int{size}) * room(columns));
        return place != nullptr;
    }
};

template <class W>
QNM_INLINE bool obtain_if(W& workspace, bool asked)
{
    return W::asked != asked || workspace.obtain();
}

template <class W>
QNM_INLINE void query(W& workspace)
{
    if constexpr (W::asked)
        workspace.query();
}

template <class W>
QNM_INLINE void read_size(W& workspace)
{
    if constexpr (W::asked)
        workspace.read();
}

template <class W>
QNM_INLINE void release(W& workspace)
{
    if (workspace.place != nullptr)
        qnm_serv_iface_free(workspace.place);
}

/// Reports a bad argument among the NaN checks.
QNM_INLINE int reported(const char* name, int position)
{
    misused<int>(name, position);
    return position;
}

/// What an entry with a value gives back for a NaN or a bad layout is the code as a real.
template <class R, class Nan, class Call>
QNM_INLINE R without_layout(Nan&& nan, Call&& call)
{
    if (LAPACKE_get_nancheck() != 0)
        if (const int position = nan(); position != 0)
            return static_cast<R>(-position);
    return call();
}

/// The same for an entry with a layout.
template <class R, class Nan, class Call>
QNM_INLINE R with_layout(const char* name, int layout, Nan&& nan, Call&& call)
{
    if (!is_layout(layout))
        return misused<R>(name, 1);
    return without_layout<R>(nan, call);
}

/// `stops` ends the entry behind the query. `prepare` and `finish` see the workspaces before and after the
/// call.
template <class R, class Call, class Prepare, class Finish, class... W>
QNM_INLINE R worked(const char* name, bool stops, Call&& call, Prepare&& prepare, Finish&& finish,
                    W... workspaces)
{
    constexpr bool asks = (W::asked || ...);
    R result{};
    bool failed = !(obtain_if(workspaces, false) && ...);
    bool ended = false;
    if constexpr (asks) {
        if (!failed) {
            (query(workspaces), ...);
            result = call(workspaces...);
            ended = result != 0 || stops;
            (read_size(workspaces), ...);
            failed = !ended && !(obtain_if(workspaces, true) && ...);
        }
    }
    if (!failed && !ended) {
        prepare(workspaces...);
        result = call(workspaces...);
        finish(workspaces...);
    }
    (release(workspaces), ...);
    if constexpr (std::is_integral_v<R>) {
        if (failed)
            result = work_failed;
        failed = result == work_failed;
    }
    if (failed)
        LAPACKE_xerbla(name, work_failed);
    return result;
}

/// Nothing to do at one of worked's steps.
struct Nothing {
    template <class... W>
    QNM_INLINE void operator()(W&... /*workspaces*/) const
    {
    }
};
inline constexpr Nothing nothing;

template <class E>
QNM_INLINE void copy_values(E* to, const E* from, core_int count)
{
    for (core_int i = 0; i < count; ++i)
        to[i] = from[i];
}

template <class E>
QNM_INLINE bool nonzero(const E& value)
{
    return value != 0;
}
template <class R>
QNM_INLINE bool nonzero(const Complex<R>& value)
{
    return value.re != 0 || value.im != 0;
}

} // namespace qnm
