// Rows that are sums of other rows: products and sums of sparse matrices, a row at a time.
#pragma once

#include "handle.hpp"

#include <memory>

namespace qnm::core::sparse {

/// A row of op(A), zero-based, wherever it stands: the caller's rows are read in place.
template <class T, class I>
class RowReader {
public:
    RowReader(const Matrix<T, I>& m, Operation op, Descriptor d)
        : rows(sparse::rows_of(m, op)), columns(sparse::columns_of(m, op))
    {
        // What the caller keeps by columns is the transpose by rows.
        const bool by_columns = m.a.format == Format::columns;
        const bool lined = m.a.format == Format::rows || by_columns;
        if (d.type == Type::general && lined && by_columns == (op != Operation::plain)) {
            lines_ = m.lines();
            conjugated_ = op == Operation::conjugated;
        } else {
            made_ = m.stored([&](const auto& view) { return sorted<I>(view, op, d); });
            lines_ = made_.view();
        }
    }
    template <class Visit>
    [[gnu::always_inline]] void each(core_int i, const Visit& visit) const
    {
        lines_.each(i, [&](core_int j, T v) { visit(j - lines_.base, conjugated_ ? conjugate(v) : v); });
    }

    const core_int rows, columns;

private:
    Rows<T, I> made_;
    Lines<T, I> lines_{};
    bool conjugated_ = false;
};

/// A row that is being summed.
template <class T, class I>
class Sum {
public:
    explicit Sum(core_int columns) : seen_(Array<core_int>::zeros(columns)), value_(columns), places_(columns)
    {
    }
    void begin() { ++row_, count_ = 0; }
    [[gnu::always_inline]] void add(core_int j, T v)
    {
        if (seen_[j] == row_) {
            value_[j] += v;
        } else {
            seen_[j] = row_;
            value_[j] = v;
            places_[count_++] = static_cast<I>(j);
        }
    }
    core_int count() const { return count_; }
    /// In ascending order; without values if there is no place for them.
    void store(I* index, core_int base, T* value) const
    {
        std::sort(places_.get(), places_.get() + count_);
        for (core_int p = 0; p < count_; ++p) {
            index[p] = static_cast<I>(places_[p] + base);
            if (value != nullptr)
                value[p] = value_[places_[p]];
        }
    }

private:
    core_int row_ = 0, count_ = 0;
    Array<core_int> seen_; // the last row that had this place
    Array<T> value_;
    Array<I> places_;
};

/// The starts of rows whose elements sum_row(i, add) gives to add(column, value).
template <class T, class I, class SumRow>
Rows<T, I> counted(core_int rows, core_int columns, const SumRow& sum_row)
{
    Rows<T, I> made(rows, columns);
    Array<core_int> seen = Array<core_int>::zeros(columns);
    core_int all = 0;
    for (core_int i = 0; i < rows; ++i) {
        sum_row(i, [&](core_int j, T) { all += std::exchange(seen[j], i + 1) != i + 1 ? 1 : 0; });
        made.start[i + 1] = static_cast<I>(all);
        if (made.start[i + 1] != all)
            throw std::bad_alloc(); // no integer of this width counts them
    }
    return made;
}

/// And their elements, into arrays that are there.
template <class T, class I, class SumRow>
void fill(core_int rows, core_int columns, const I* start, core_int base, I* index, T* value,
          const SumRow& sum_row)
{
    Sum<T, I> sum(columns);
    for (core_int i = 0; i < rows; ++i) {
        const core_int first = start[i] - base;
        sum.begin();
        sum_row(i, [&](core_int j, T v) { sum.add(j, v); });
        sum.store(index + first, base, value != nullptr ? value + first : nullptr);
    }
}

template <class T, class I, class SumRow>
Rows<T, I> assembled(core_int rows, core_int columns, const SumRow& sum_row)
{
    Rows<T, I> made = counted<T, I>(rows, columns, sum_row);
    made.make_room();
    fill(rows, columns, made.start.get(), 0, made.index.get(), made.value.get(), sum_row);
    return made;
}

} // namespace qnm::core::sparse
