// Compressed matrices, and how they are built of elements that come in another order.
#pragma once

#include "../services.hpp"

#include <limits>

namespace qnm::core::sparse {

/// A matrix by lines, which are its rows or its columns: those of line k stand from start[k] - base on. As
/// room for a result: what is null is not wanted, and no more than `most` elements fit.
template <class T, class I>
struct Compressed {
    I* start;
    I* index;
    T* values;
    I base;
    core_int most = std::numeric_limits<I>::max();

    /// visit(index from 0, place) for the elements of a line
    template <class Visit>
    void each(core_int line, const Visit& visit) const
    {
        for (core_int p = start[line] - base, behind = start[line + 1] - base; p < behind; ++p)
            visit(core_int{index[p]} - base, p);
    }
    /// visit(line, index, place)
    template <class Visit>
    void each_of(core_int lines, const Visit& visit) const
    {
        for (core_int k = 0; k < lines; ++k)
            each(k, [&](core_int other, core_int p) { visit(k, other, p); });
    }
};

/// Sorts elements by lines; within a line their order stays. `elements(visit)` calls visit(line, index,
/// place) for each, every time that it is called; value(place) is read where values are wanted. Returns the
/// first line, counted from 1, that has no room, or 0; without room the starts alone are there.
template <class T, class I, class Value, class Elements>
core_int gather(core_int lines, const Compressed<T, I>& to, const Value& value, const Elements& elements)
{
    std::fill_n(to.start, lines + 1, I{});
    elements([&](core_int line, core_int, core_int) { ++to.start[line + 1]; });
    core_int sum = 0, full = 0;
    for (core_int k = 1; k <= lines; ++k) {
        sum += to.start[k];
        if (sum > to.most && full == 0)
            full = k;
        to.start[k] = static_cast<I>(sum);
    }
    const bool filled = full == 0 && to.index != nullptr;
    if (filled)
        elements([&](core_int line, core_int index, core_int place) {
            const I p = to.start[line]++;
            to.index[p] = static_cast<I>(index) + to.base;
            if (to.values != nullptr)
                to.values[p] = value(place);
        });
    for (core_int k = lines; k > 0; --k) // a filled line's start is where it ends
        to.start[k] = to.start[filled ? k - 1 : k] + to.base;
    to.start[0] = to.base;
    return full;
}

/// Builds lines with ascending indices. indices(line, add) calls add(index), in any order and as often as it
/// likes; then fill(line, first, behind, place) gives values to the elements from `first` to `behind`, of
/// which place(index) is one. `places` has a zero for each index. Returns as gather does; the lines ahead are
/// there.
template <class T, class I, class Indices, class Fill>
core_int build(core_int lines, const Compressed<T, I>& to, I* places, const Indices& indices,
               const Fill& fill)
{
    core_int behind = 0;
    to.start[0] = to.base;
    for (core_int line = 0; line < lines; ++line) {
        const core_int first = behind;
        bool full = false;
        indices(line, [&](core_int index) {
            if (places[index] > first || full) // met in this line
                return;
            full = behind == to.most;
            if (full)
                return;
            if (to.index != nullptr)
                to.index[behind] = static_cast<I>(index);
            places[index] = static_cast<I>(++behind);
        });
        if (full)
            return line + 1;
        to.start[line + 1] = static_cast<I>(behind) + to.base;
        if (to.index == nullptr)
            continue;
        std::sort(to.index + first, to.index + behind);
        for (core_int p = first; p < behind; ++p) {
            places[to.index[p]] = static_cast<I>(p + 1);
            to.index[p] += to.base;
        }
        if (to.values != nullptr)
            fill(line, first, behind, [&](core_int index) { return core_int{places[index]} - 1; });
    }
    return 0;
}

/// Ascending indices, in place and without memory.
template <class T, class I>
void sort_line(core_int count, I* index, T* values)
{
    if (std::is_sorted(index, index + count))
        return;
    const auto exchange = [&](core_int p, core_int q) {
        std::swap(index[p], index[q]);
        std::swap(values[p], values[q]);
    };
    const auto sink = [&](core_int p, core_int behind) { // into a heap, the largest first
        for (core_int child = 2 * p + 1; child < behind; p = child, child = 2 * p + 1) {
            child += child + 1 < behind && index[child] < index[child + 1];
            if (index[p] >= index[child])
                return;
            exchange(p, child);
        }
    };
    for (core_int p = count / 2; p-- > 0;)
        sink(p, count);
    for (core_int behind = count; behind-- > 1;) {
        exchange(0, behind);
        sink(0, behind);
    }
}

template <class T, class I>
void sort_lines(core_int lines, const Compressed<T, I>& a)
{
    for (core_int k = 0; k < lines; ++k) {
        const core_int first = a.start[k] - a.base;
        sort_line(a.start[k + 1] - a.base - first, a.index + first, a.values + first);
    }
}

} // namespace qnm::core::sparse
