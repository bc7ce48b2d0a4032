// Cells of sites. Inside, a cell is that of its left point: -1 left of all, n-1 right of all; callers count
// from 0.
#pragma once

#include "task.hpp"

#include <algorithm>

namespace qnm::df {

inline constexpr Int block = 256; // sites that go through a call together
inline constexpr Int group = 8;   // neighbours that often lie in one cell
static_assert(block % group == 0);

/// Vectors that every processor has.
template <class T>
struct Vector {
    static constexpr Int bytes = 16, count = bytes / static_cast<Int>(sizeof(T));
    typedef T Type __attribute__((vector_size(bytes), aligned(alignof(T)), may_alias));
    static Type at(const T* from) { return *reinterpret_cast<const Type*>(from); }
    static void put(Type numbers, T* to) { *reinterpret_cast<Type*>(to) = numbers; }
};

/// Whether a group's numbers are all the same.
inline bool alike(const Int* number)
{
    using Numbers = Vector<Int>;
    Numbers::Type differ{};
    for (Int i = 0; i < group; i += Numbers::count)
        differ |= Numbers::at(number + i) ^ number[0];
    return (differ[0] | differ[1]) == 0;
}
/// Whether a group's sites all lie in [low, high).
template <class T>
bool within(const T* site, T low, T high)
{
    using Sites = Vector<T>;
    using Words = Vector<Int>::Type;
    Words inside = (Words)(Sites::at(site) >= low);
    for (Int i = 0; i < group; i += Sites::count)
        inside &= (Words)(Sites::at(site + i) >= low) & (Words)(Sites::at(site + i) < high);
    return (inside[0] & inside[1]) == -1;
}

/// Finds cells of one block after another. What is told of sites and points only chooses the way.
template <class T>
class Cells {
public:
    Cells(const Points<T>& points, bool ascending) : x_(points), ascending_(ascending) {}

    void find(Int n, const T* site, Int* cell)
    {
        if (x_.are_even())
            directly(n, site, cell);
        else if (ascending_)
            onwards(n, site, cell);
        else
            by_halves(n, site, cell);
    }

private:
    // A site is in the cell of the last point that is not right of it; the last cell has its right point too.
    Int closed(Int cell, T site, Int end) const { return cell == end && site == x_.last() ? end - 1 : cell; }

    void directly(Int n, const T* site, Int* cell) const
    {
        const Int end = x_.size() - 1;
        const T first = x_.first(), last = x_.last(), steps = 1 / x_.step();
        for (Int i = 0; i < n; ++i) {
            const T s = site[i];
            if (!(s >= first)) {
                cell[i] = -1;
            } else if (s >= last) {
                cell[i] = closed(end, s, end);
            } else {
                const T distance = (s - first) * steps, most = static_cast<T>(end - 1);
                Int c = static_cast<Int>(distance < most ? distance
                                                         : most); // rounding may take it to a neighbour
                c -= c > 0 && s < x_.even(c) ? 1 : 0;
                c += s >= x_.even(c + 1) ? 1 : 0;
                cell[i] = c;
            }
        }
    }

    void onwards(Int n, const T* site, Int* cell)
    {
        constexpr int steps = 8; // then halving is quicker
        const T* const x = x_.listed();
        const Int size = x_.size();
        Int c = reached_;
        for (Int i = 0; i < n;) {
            const T s = site[i];
            int left = steps;
            if (c >= 0 && !(s >= x[c])) // not in order, or the first
                left = 0;
            else
                while (c + 1 < size && s >= x[c + 1] && left > 0) {
                    ++c;
                    --left;
                }
            if (left == 0)
                halve<1>(site + i, &c);
            cell[i++] = closed(c, s, size - 1);
            if (c >= 0 && c + 1 < size)
                for (; i + group <= n && site[i + group - 1] < x[c + 1] && within(site + i, x[c], x[c + 1]);
                     i += group)
                    std::fill_n(cell + i, group, c);
        }
        reached_ = c;
    }

    // Several sites at once: each waits for memory, not for the others.
    void by_halves(Int n, const T* site, Int* cell) const
    {
        Int i = 0;
        for (; i + group <= n; i += group)
            halve<group>(site + i, cell + i);
        for (; i < n; ++i)
            halve<1>(site + i, cell + i);
        const Int end = x_.size() - 1;
        for (i = 0; i < n; ++i)
            cell[i] = closed(cell[i], site[i], end);
    }
    // Leaves the last point that is not right of a site.
    template <Int together>
    void halve(const T* site, Int* cell) const
    {
        const T* const x = x_.listed();
        T s[together];
        Int c[together];
        for (Int k = 0; k < together; ++k) {
            s[k] = site[k];
            c[k] = 0;
        }
        for (Int length = x_.size(); length > 1;) {
            const Int half = length / 2;
            for (Int k = 0; k < together; ++k)
                c[k] += -static_cast<Int>(s[k] >= x[c[k] + half]) & half; // no branch
            length -= half;
        }
        for (Int k = 0; k < together; ++k)
            cell[k] = c[k] - (s[k] >= x[c[k]] ? 0 : 1);
    }

    const Points<T> x_;
    bool ascending_;
    Int reached_ = 0;
};

} // namespace qnm::df
