// Sparse matrices as lists of elements, and the dense matrices that they are to be read as.
#pragma once

#include "core.hpp"
#include "open/sparse/view.hpp"

namespace qnm::test {

namespace sparse = core::sparse;
using sparse::Descriptor;

/// In any order, each as often as it likes.
template <class T>
struct Elements {
    core_int rows, columns;
    std::vector<core_int> row, column;
    std::vector<T> value;

    void add(core_int i, core_int j, T v)
    {
        row.push_back(i);
        column.push_back(j);
        value.push_back(v);
    }
};

template <class T>
Elements<T> random_elements(core_int rows, core_int columns)
{
    Elements<T> made{rows, columns, {}, {}, {}};
    if (rows != 0 && columns != 0)
        for (const T& v : random_vector<T>(random_integer(0, static_cast<int>(2 * rows + 3))))
            made.add(random_integer(0, static_cast<int>(rows) - 1),
                     random_integer(0, static_cast<int>(columns) - 1), v);
    return made;
}

/// What a descriptor makes of them.
template <class T>
Matrix<T> dense(const Elements<T>& stored, const Descriptor& d = sparse::general, core_int block = 1)
{
    using sparse::Type;
    Matrix<T> full(stored.rows, stored.columns);
    full.take('N', full, T(0));
    const bool unit = d.diag == sparse::Diag::unit && d.type != Type::general && d.type != Type::skew;
    const bool blocks = d.type == Type::block_triangular || d.type == Type::block_diagonal;
    for (std::size_t k = 0; k < stored.value.size(); ++k) {
        const core_int i = stored.row[k], j = stored.column[k];
        const core_int below = blocks ? i / block - j / block : i - j;
        T v = stored.value[k];
        if (d.type != Type::general) {
            if (d.type == Type::diagonal || d.type == Type::block_diagonal ? below != 0
                : d.mode == sparse::Mode::lower                            ? below < 0
                                                                           : below > 0)
                continue;
            if (below == 0 && (unit || d.type == Type::skew))
                continue;
        }
        if (d.type == Type::hermitian && i == j)
            v = T(std::real(v));
        full(i, j) += v;
        if (i != j && sparse::is_mirrored(d.type))
            full(j, i) += d.type == Type::hermitian ? conjugate(v) : d.type == Type::skew ? -v : v;
    }
    for (core_int i = 0; unit && i < std::min(full.rows, full.columns); ++i)
        full(i, i) += T(1);
    return full;
}

/// Lines of them: the elements of each in a random order, and which those are.
template <class T, class I>
struct Compressed {
    std::vector<I> start{}, end{}, index{};
    std::vector<T> value{};

    Compressed(const Elements<T>& all, I base, bool by_columns)
    {
        const auto& line = by_columns ? all.column : all.row;
        const auto& other = by_columns ? all.row : all.column;
        for (core_int k = 0; k < (by_columns ? all.columns : all.rows); ++k) {
            start.push_back(static_cast<I>(value.size()) + base);
            for (std::size_t p = 0; p < line.size(); ++p)
                if (line[p] == k) {
                    index.push_back(static_cast<I>(other[p]) + base);
                    value.push_back(all.value[p]);
                }
            end.push_back(static_cast<I>(value.size()) + base);
        }
    }
};

} // namespace qnm::test
