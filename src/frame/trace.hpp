// Verbose tracing: the mode, the time and the line. Only the snapshot of a mode is on the untraced path.
#pragma once

#include <tuple>

#include "frame/kinds.hpp"

namespace qnm {

/// Where an entry's mode lives: first at a constant -1, then for good at the core's live word.
using Cell = const int*;

QNM_BENIGN_RACE int snapshot(const Cell& cell)
{
    return *cell;
}

/// Binds the cell if it was found unknown and reads the mode as it is now.
QNM_COLD bool tracing(Cell* cell, int found);

/// Time between two readings.
class Stopwatch {
public:
    void start() { elapsed_ = -qnm_serv_iface_dsecnd(); }
    void stop() { elapsed_ += qnm_serv_iface_dsecnd(); }
    /// A clock that answered zero is not read again.
    void stop_if_running()
    {
        if (elapsed_ != 0.0)
            stop();
    }
    double elapsed() const { return elapsed_; }

private:
    double elapsed_ = 0.0;
};

/// Formats and hands over one line. The last byte ends the text whatever the formatter did. `enabled` is 0
/// for a call during which the mode came on.
template <class... Shown>
void hand_over(int enabled, const char* format, double elapsed, Shown... shown)
{
    constexpr int size = 450;
    char line[size];
    qnm_serv_snprintf_s(line, size, size - 1, format, shown...);
    line[size - 1] = '\0';
    qnm_serv_iface_print_verbose_info(enabled, line, elapsed);
}

/// The same with those left out that a line does not show; few entries have any.
template <class... Kept>
void leave_out(const char* format, double elapsed, const std::tuple<Kept...>& kept)
{
    std::apply([&](auto... shown) { hand_over(1, format, elapsed, shown...); }, kept);
}

template <class... Kept, class First, class... Rest>
void leave_out(const char* format, double elapsed, const std::tuple<Kept...>& kept, First first, Rest... rest)
{
    if constexpr (std::is_same_v<First, Unshown>)
        leave_out(format, elapsed, kept, rest...);
    else
        leave_out(format, elapsed, std::tuple_cat(kept, std::tuple(first)), rest...);
}

template <class... Shown>
QNM_INLINE void print_line(const char* format, double elapsed, Shown... shown)
{
    if constexpr ((std::is_same_v<Shown, Unshown> || ...))
        leave_out(format, elapsed, std::tuple<>(), shown...);
    else
        hand_over(1, format, elapsed, shown...);
}

/// The call of an entry whose cell is unknown or on: decided, and if the mode is on timed and shown. `show`
/// prints the line of a time; it reads the arguments after the call, and the result is kept aside meanwhile.
template <class Call, class Show>
QNM_INLINE auto traced(Cell* cell, int found, Call&& call, Show&& show)
{
    if (!tracing(cell, found))
        return call();
    Stopwatch watch;
    watch.start();
    Kept<decltype(call())> kept(call);
    watch.stop_if_running();
    show(watch.elapsed());
    return kept.take();
}

/// The mode of entries without a cell: where it lives is asked at each call, and it is read on both sides of
/// the core.
class AskedMode {
public:
    QNM_INLINE AskedMode() : mode_(qnm_serv_iface_verbose_mode()), at_first_(*mode_ != 0)
    {
        if (at_first_)
            watch_.start();
    }
    QNM_INLINE bool on() const { return *mode_ != 0; }
    /// Whether it was on when the call began, and the watch that was started then.
    QNM_INLINE bool at_first() const { return at_first_; }
    QNM_INLINE Stopwatch watch() const { return watch_; }

private:
    const int* mode_;
    bool at_first_;
    Stopwatch watch_;
};

/// The line of a call that was refused: its time is the gap between two readings of the clock.
template <class Show>
QNM_INLINE void show_refused(Cell* cell, int found, Show&& show)
{
    if (!tracing(cell, found))
        return;
    Stopwatch watch;
    watch.start();
    watch.stop_if_running();
    show(watch.elapsed());
}

} // namespace qnm
