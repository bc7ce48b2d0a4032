// The LAPACK entry: register, snapshot, check, widen, arrays, core, results back, release, line.
#pragma once

#include "lapack/call.hpp"

namespace qnm::lapack {

// What some kinds do and the others do not.
template <class A>
QNM_INLINE void set_info(A& /*argument*/, int /*value*/)
{
}

template <class H>
QNM_INLINE void set_info(Info<H>& info, int value)
{
    *pointer(info) = value;
}

template <class A>
inline constexpr bool is_query = false;
template <class H>
inline constexpr bool is_query<Query<H>> = true;
template <class H>
inline constexpr bool is_query<Answer<H>> = true;
template <class H>
inline constexpr bool is_query<OwnQuery<H>> = true;
template <class A>
inline constexpr bool is_array = requires(A a)
{
    a.count;
};

template <class A>
QNM_INLINE bool asks(A& argument)
{
    if constexpr (is_query<A>)
        return *argument.caller == -1;
    else
        return false;
}

/// Whether sizes are asked for. With one length argument and no array of integers there is nothing to decide.
template <class... A>
QNM_INLINE bool any_asks(A&... arguments)
{
    constexpr int queries = (0 + ... + (is_query<A> ? 1 : 0));
    if constexpr (queries > 1 || (queries == 1 && (is_array<A> || ...)))
        return (asks(arguments) || ...);
    else
        return false;
}

/// A bad argument was found: report, and a line if tracing is on.
template <class I, class... A>
QNM_COLD void refused_cold(A... arguments, Cell* cell, const char* format, const char* name, int length,
                           int found, int position)
{
    (set_info(arguments, -position), ...);
    report_argument<I>(name, length, position);
    show_refused(cell, found,
                 [&](double elapsed) { print_line(format, elapsed, shown_caller<true>(arguments)...); });
}

/// The call of an entry whose cell is unknown or on.
template <class I, class Jump, class... A>
QNM_COLD auto traced_cold(A... arguments, Cell* cell, const char* format, const char* name, int length,
                          int found, Jump* core)
{
    constexpr bool wide = sizeof(I) == sizeof(core_int);
    using R = typename Function<Jump>::Result;
    const auto around = [&](auto&& call) -> R {
        return traced(cell, found, call,
                      [&](double elapsed) { print_line(format, elapsed, shown_caller<wide>(arguments)...); });
    };
    return run<R, Letters<A...>>(name, length, around, core, Seat<A>(arguments, Ground<A>())...);
}

template <class R, auto* Core, class... A>
QNM_INLINE R untraced(const char* name, int length, A... arguments)
{
    const auto at_once = [](auto&& call) QNM_INLINE_LAMBDA -> R { return call(); };
    return run<R, Letters<A...>>(name, length, at_once, Core, Seat<A>(arguments, Ground<A>())...);
}

/// The argument as a check reads it.
template <class A>
QNM_INLINE auto tested(A a)
{
    if constexpr (requires { a.caller; })
        return a.caller;
    else
        return a;
}

template <class A>
QNM_INLINE void stay_in_place(A a)
{
    if constexpr (!std::is_empty_v<A>)
        park(tested(a).place);
}

template <bool registers, class I, class Tests, auto* Core, class Jump, class... A>
QNM_INLINE auto entry(Site site, Jump* jump, A... arguments)
{
    using R = typename Function<Jump>::Result;
    (stay_in_place(arguments), ...);
    if constexpr (registers)
        register_chain();
    int found = snapshot(*site.cell);
    park(found);
    if constexpr (!std::is_same_v<Tests, NoTests>) {
        const int position = Tests::template code<I>(tested(arguments)...);
        if (unlikely(position != 0)) {
            refused_cold<I, decltype(sent(arguments))...>(sent(arguments)..., site.cell, site.format,
                                                          site.name, site.length, found, position);
            return R();
        }
        (set_info(arguments, 0), ...);
    }
    const bool query = any_asks(arguments...);
    if (unlikely(found != 0))
        return traced_cold<I, Jump, decltype(sent(counted(arguments, query)))...>(
            sent(counted(arguments, query))..., site.cell, site.format, site.name, site.length, found, jump);
    stay_below();
    return untraced<R, Core>(site.name, site.length, counted(arguments, query)...);
}

template <class I, class Tests, auto* Core, class Jump, class... A>
QNM_INLINE auto checked(Site site, Jump* jump, A&&... arguments)
{
    return entry<true, I, Tests, Core>(site, jump, kind(arguments)...);
}

/// For the few that never report: the interface is left as it is.
template <class I, class Tests, auto* Core, class Jump, class... A>
QNM_INLINE auto unregistered(Site site, Jump* jump, A&&... arguments)
{
    return entry<false, I, Tests, Core>(site, jump, kind(arguments)...);
}

/// The body of an exported check: 0 with INFO 0 if all is well, else 1 after the report, with minus the
/// position.
template <class I, class Tests, class... A>
QNM_INLINE int verdict(const char* name, int length, A&&... arguments)
{
    const int position = Tests::template code<I>(tested(kind(arguments))...);
    (set_info(arguments, -position), ...);
    return unlikely(position != 0) ? report_argument<I>(name, length, position) : 0;
}

} // namespace qnm::lapack
