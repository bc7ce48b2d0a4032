// The high level looks at the layout and for NaN, manages workspace, calls the work level: what it is made
// of.
#pragma once

#include <type_traits>

#include "lapacke/work.hpp"

namespace qnm {

/// The size that a query gave, in the first element of a workspace.
template <class E>
core_int size_in(const E& first)
{
    return static_cast<core_int>(first);
}
template <class R>
core_int size_in(const Complex<R>& first)
{
    return static_cast<core_int>(first.re);
}

/// Workspace of a known size.
template <class E>
struct Fixed {
    static constexpr bool asked = false;
    struct Answer {};
    core_int count;
    bool needed = true;
    E* place = nullptr;
    void query(Answer& /*answer*/) const {}
    void read(const Answer& /*answer*/) const {}
    bool obtain()
    {
        place = needed ? obtained<E>(room(count)) : nullptr;
        return place != nullptr || !needed;
    }
};

/// Workspace whose size the routine tells.
template <class E, class I>
struct Asked {
    static constexpr bool asked = true;
    using Answer = E;
    bool needed = true;
    I size = -1;
    E* place = nullptr;
    void query(Answer& answer) { place = &answer; }
    void read(const Answer& answer)
    {
        size = static_cast<I>(size_in(answer));
        place = nullptr;
    }
    bool obtain()
    {
        place = needed ? obtained<E>(room(size)) : nullptr;
        return place != nullptr || !needed;
    }
};

/// The same for a workspace of two dimensions: a query gives both.
template <class E, class I>
struct AskedTable {
    static constexpr bool asked = true;
    struct Answer {
        E sizes[2];
    };
    I size = -1; // the leading dimension
    core_int columns = 0;
    E* place = nullptr;
    void query(Answer& answer) { place = answer.sizes; }
    void read(const Answer& answer)
    {
        size = static_cast<I>(size_in(answer.sizes[0]));
        columns = size_in(answer.sizes[1]);
        place = nullptr;
    }
    bool obtain()
    {
        place = obtained<E>(room(core_int{size}) * room(columns));
        return place != nullptr;
    }
};

template <class W>
bool obtain_if(W& workspace, bool asked)
{
    return W::asked != asked || workspace.obtain();
}

template <class W>
void release(const W& workspace)
{
    if (workspace.place != nullptr)
        Memory::release(workspace.place);
}

/// Asks the routine for sizes. The answers stand apart from what is known of the workspaces, whose addresses
/// nobody gets, so that it need not stand in memory.
template <class R, class Call, class... W>
R query(Call& call, W&... workspaces, typename W::Answer... answers)
{
    (workspaces.query(answers), ...);
    const R result = call(workspaces...);
    (workspaces.read(answers), ...);
    return result;
}

/// Whether arrays are looked at for NaN: they are, unless somebody has switched it off.
inline bool nan_checks()
{
    return !unlikely(LAPACKE_get_nancheck() == 0);
}

/// Reports a bad argument among the NaN checks.
inline int reported(const char* name, int position)
{
    misused<int>(name, position);
    return position;
}

/// `stops` ends the entry behind the query. `prepare` and `finish` see the workspaces before and after the
/// call.
template <class R, class Call, class Prepare, class Finish, class... W>
R worked(const char* name, bool stops, Call&& call, Prepare&& prepare, Finish&& finish, W... workspaces)
{
    constexpr bool asks = (W::asked || ...);
    R result{};
    bool failed = !(obtain_if(workspaces, false) && ...);
    bool ended = false;
    if constexpr (asks) {
        if (!failed) {
            result = query<R, Call, W...>(call, workspaces..., typename W::Answer{}...);
            ended = result != 0 || stops;
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
    void operator()(W&... /*workspaces*/) const
    {
    }
};
inline constexpr Nothing nothing;

template <class E>
void copy_values(E* to, const E* from, core_int count)
{
    for (core_int i = 0; i < count; ++i)
        to[i] = from[i];
}

template <class E>
bool nonzero(const E& value)
{
    return value != 0;
}
template <class R>
bool nonzero(const Complex<R>& value)
{
    return value.re != 0 || value.im != 0;
}

} // namespace qnm
