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

/// The starts, from 0, of lines whose elements for_all(visit) visits as visit(line, ...). Returns the first
/// line, counted from 1, behind which there are more than `most`, or 0.
template <class I, class ForAll>
core_int count_lines(core_int lines, I* start, const ForAll& for_all,
                     core_int most = std::numeric_limits<I>::max())
{
    std::fill_n(start, lines + 1, I{});
    for_all([&](core_int line, const auto&...) { ++start[line + 1]; });
    core_int sum = 0, full = 0;
    for (core_int k = 1; k <= lines; ++k) {
        sum += start[k];
        if (sum > most && full == 0)
            full = k;
        start[k] = static_cast<I>(sum);
    }
    return full;
}

/// Then put(place, ...) for each, in lines one behind the other; within a line their order stays.
template <class I, class ForAll, class Put>
void place_lines(core_int lines, I* start, const ForAll& for_all, const Put& put)
{
    for_all([&](core_int line, const auto&... element) { put(start[line]++, element...); });
    for (core_int k = lines; k > 0; --k) // a line's start has become its end
        start[k] = start[k - 1];
    start[0] = 0;
}

/// Sorts elements by lines. `elements(visit)` calls visit(line, index, place) for each, every time that it is
/// called; value(place) is read where values are wanted. Returns the first line, counted from 1, that has no
/// room, or 0; without room the starts alone are there.
template <class T, class I, class Value, class Elements>
core_int gather(core_int lines, const Compressed<T, I>& to, const Value& value, const Elements& elements)
{
    const core_int full = count_lines(lines, to.start, elements, to.most);
    if (full == 0 && to.index != nullptr)
        place_lines(lines, to.start, elements, [&](I p, core_int index, core_int place) {
            to.index[p] = static_cast<I>(index) + to.base;
            if (to.values != nullptr)
                to.values[p] = value(place);
        });
    std::for_each(to.start, to.start + lines + 1, [&](I& start) { start += to.base; });
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

/// Blocks of rows of elements: each_row(i, visit) calls visit(column, place) for a row, of which value(place)
/// goes to inner(i, column) of its block, i and column within it. A block takes `ld` elements. Returns as
/// gather does.
template <class T, class I, class Inner, class EachRow, class Value>
core_int build_blocks(core_int rows, core_int block, core_int ld, const Compressed<T, I>& to, I* places,
                      const Inner& inner, const EachRow& each_row, const Value& value)
{
    const auto each = [&](core_int line, const auto& visit) {
        for (core_int i = line * block; i < std::min((line + 1) * block, rows); ++i)
            each_row(i, [&](core_int j, core_int p) { visit(i % block, j, p); });
    };
    return build((rows + block - 1) / block, to, places,
                 [&](core_int line, const auto& add) {
                     each(line, [&](core_int, core_int j, core_int) { add(j / block); });
                 },
                 [&](core_int line, core_int first, core_int behind, const auto& place) {
                     for (core_int b = first; b < behind; ++b)
                         std::fill_n(to.values + b * ld, block * block, T{});
                     each(line, [&](core_int i, core_int j, core_int p) {
                         to.values[place(j / block) * ld + inner(i, j % block)] += value(p);
                     });
                 });
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
