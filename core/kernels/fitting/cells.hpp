// Cells of sites. Inside, a cell is that of its left point: -1 left of all, n-1 right of all; callers count
// from 0.
#pragma once

#include "task.hpp"

namespace qnm::df {

inline constexpr Int block = 256; // sites that go through a call together

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
        const Int end = x_.size() - 1;
        const T last = x_.last();
        for (Int i = 0; i < n; ++i) // the last cell has its right point too
            cell[i] -= cell[i] == end && site[i] == last ? 1 : 0;
    }

private:
    // Each leaves the number of the last point that is not right of a site.
    void directly(Int n, const T* site, Int* cell) const
    {
        const Int end = x_.size() - 1;
        const T first = x_.first(), last = x_.last(), steps = 1 / x_.step();
        for (Int i = 0; i < n; ++i) {
            const T s = site[i];
            if (!(s >= first)) {
                cell[i] = -1;
            } else if (s >= last) {
                cell[i] = end;
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
        for (Int i = 0; i < n; ++i) {
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
                by_halves(1, site + i, &c);
            cell[i] = c;
        }
        reached_ = c;
    }

    // Several sites at once: each waits for memory, not for the others.
    void by_halves(Int n, const T* site, Int* cell) const
    {
        constexpr Int together = 8;
        Int i = 0;
        for (; i + together <= n; i += together)
            halve<together>(site + i, cell + i);
        for (; i < n; ++i)
            halve<1>(site + i, cell + i);
    }
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
