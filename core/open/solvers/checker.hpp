// Whether rows of a sparse matrix are what they are said to be.
#pragma once

#include "../core.hpp"

namespace qnm::core::solvers {

/// The published codes.
enum Finding : int { sound = 0, descending = 21, out_of_range = 22, in_wrong_triangle = 23, unordered = 24 };

enum class Triangle { all, upper, lower };

struct Checked {
    Finding finding = sound;
    core_int row = 0, place = 0; // from 0: where it was found
};

/// Starts that descend are found ahead of all else: indices are read between sound starts alone. The rows may
/// be a part of the matrix, from `first` on.
template <class I>
Checked checked(core_int n, const I* ia, const I* ja, core_int base, Triangle triangle, core_int first,
                core_int columns)
{
    if (ia[0] != base)
        return {descending, 0, 0};
    for (core_int i = 0; i < n; ++i)
        if (ia[i + 1] < ia[i])
            return {descending, i, 0};
    for (core_int i = 0; i < n; ++i) {
        core_int last = -1;
        for (core_int p = ia[i] - base; p < ia[i + 1] - base; ++p) {
            const core_int j = ja[p] - base;
            if (j < 0 || j >= columns)
                return {out_of_range, i, p};
            if ((triangle == Triangle::upper && j < first + i) ||
                (triangle == Triangle::lower && j > first + i))
                return {in_wrong_triangle, i, p};
            if (j <= last)
                return {unordered, i, p};
            last = j;
        }
    }
    return {};
}

template <class I>
Checked checked(core_int n, const I* ia, const I* ja, core_int base, Triangle triangle)
{
    return checked(n, ia, ja, base, triangle, 0, n);
}

} // namespace qnm::core::solvers
