// Storage forms of LAPACK's matrices.
#pragma once

#include "lapacke/room/plan.hpp"

namespace qnm::catalogue {

/// How many options a form takes, how many of them are letters, and which are its rows and columns.
struct Shape {
    std::size_t options;
    std::size_t letters;
    int rows; // -1 a triangle's band, -2 a general band
    int columns;
    bool packed;
};
/// Null for an unknown name.
const Shape* find_shape(const std::string& name);

/// n*(n+1)/2: the n of a packed triangle; null for other arrays.
ExpressionPtr packed_order(const Argument& a);

/// The storage of an array by the naming scheme of LAPACK: the letters of the routine's name say the kind of
/// its first matrices, which are called a, af; ab, afb, bb; ap, afp, bp.
StorageForm derived_form(const Row& row, const Argument& a);

} // namespace qnm::catalogue
