// Matrices of the core's own: rows with one array of starts, in counted memory.
#pragma once

#include "../array.hpp"
#include "build.hpp"
#include "view.hpp"

namespace qnm::core::sparse {

template <class T, class I>
struct Rows {
    core_int rows = 0, columns = 0;
    Array<I> start, index; // from 0
    Array<T> value;

    Rows() = default;
    Rows(core_int m, core_int n) : rows(m), columns(n), start(Array<I>::zeros(m + 1)) {}
    core_int count() const { return start[rows]; }
    /// What the starts tell.
    void make_room()
    {
        index = Array<I>(count());
        value = Array<T>(count());
    }
    Lines<T, I> view() const
    {
        return {rows, columns, start.get(), start.get() + 1, index.get(), value.get(), 0, 0};
    }
};

/// visit(row, column, element) for all that is stored, both from 0.
template <class View, class Visit>
void for_each_element(const View& a, const Visit& visit)
{
    for (core_int k = 0; k < a.count; ++k)
        a.each(k, [&](core_int other, auto v) {
            a.turned ? visit(other - a.base, a.line(k), v) : visit(a.line(k), other - a.base, v);
        });
}

/// The same for what a descriptor makes of it, mirror images and units included.
template <class View, class Visit>
void for_each_element(const View& a, Descriptor d, const Visit& visit)
{
    using T = typename View::Element;
    if (d.type == Type::general)
        return for_each_element(a, visit);
    const Part part = part_of(d, false, a.block);
    for_each_element(a, [&](core_int i, core_int j, T v) {
        if (!part.of(i, 0).hold(j))
            return;
        if (!is_mirrored(d.type))
            return visit(i, j, v);
        const T image = d.type == Type::hermitian ? conjugate(v) : d.type == Type::skew ? -v : v;
        if (i != j)
            visit(j, i, image);
        else if (d.type == Type::hermitian)
            v = T(std::real(v));
        visit(i, j, v);
    });
    if (adds_unit(d))
        for (core_int i = 0; i < std::min(rows_of(a), columns_of(a)); ++i)
            visit(i, i, T(1));
}

/// Elements of each row in the order in which for_all(visit(row, column, element)) has them.
template <class T, class I, class ForAll>
Rows<T, I> collected(core_int rows, core_int columns, const ForAll& for_all)
{
    Rows<T, I> made(rows, columns);
    I* const start = made.start.get();
    if (count_lines(rows, start, for_all) != 0)
        throw std::bad_alloc(); // no integer of this width counts them
    made.make_room();
    place_lines(rows, start, for_all, [&](I p, core_int j, T v) {
        made.index[p] = static_cast<I>(j);
        made.value[p] = v;
    });
    return made;
}

/// The transpose, each row as the rows of the matrix come.
template <class View, class I, class T = typename View::Element>
Rows<T, I> transpose(const View& a)
{
    return collected<T, I>(columns_of(a), rows_of(a), [&](const auto& visit) {
        for_each_element(a, [&](core_int i, core_int j, T v) { visit(j, i, v); });
    });
}

/// Elements of the same place become one, their sum, where they stand side by side.
template <class T, class I>
void merge(Rows<T, I>& a)
{
    core_int to = 0, p = 0;
    for (core_int i = 0; i < a.rows; ++i) {
        const core_int first = to;
        for (; p < a.start[i + 1]; ++p)
            if (to > first && a.index[to - 1] == a.index[p]) {
                a.value[to - 1] += a.value[p];
            } else {
                a.index[to] = a.index[p];
                a.value[to++] = a.value[p];
            }
        a.start[i + 1] = static_cast<I>(to);
    }
}

/// op(A), each row in ascending order, no place twice.
template <class I, class View, class T = typename View::Element>
Rows<T, I> sorted(const View& a, Operation op, Descriptor d)
{
    const bool turns = op != Operation::plain, conjugates = op == Operation::conjugated;
    const core_int rows = turns ? columns_of(a) : rows_of(a), columns = turns ? rows_of(a) : columns_of(a);
    Rows<T, I> made = collected<T, I>(rows, columns, [&](const auto& visit) {
        for_each_element(a, d, [&](core_int i, core_int j, T v) {
            turns ? visit(j, i, conjugates ? conjugate(v) : v) : visit(i, j, v);
        });
    });
    bool ascends = true;
    for (core_int i = 0; i < rows && ascends; ++i)
        ascends = std::is_sorted(made.index.get() + made.start[i], made.index.get() + made.start[i + 1]);
    if (!ascends)
        made = transpose<Lines<T, I>, I>(transpose<Lines<T, I>, I>(made.view()).view());
    merge(made);
    return made;
}

} // namespace qnm::core::sparse
