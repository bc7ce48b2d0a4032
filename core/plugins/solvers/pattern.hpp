// Where a matrix has elements: rows of the caller's become coordinates, as the engine wants them.
#pragma once

#include "open/array.hpp"
#include "open/solvers/controls.hpp"

namespace qnm::core::solvers {

/// The caller's arrays: rows of elements, or of blocks that count from the first row and column on.
template <class I>
struct Stored {
    core_int n; // rows of elements
    const I *start, *index;
    core_int base, block;
    core_int first = 0; // row of the matrix

    /// visit(row, column, place of the value), all from 0. Blocks lie by columns where indices count from 1,
    /// as elsewhere, else by rows.
    template <class Visit>
    void each(const Visit& visit) const
    {
        if (block == 1) {
            for (core_int i = 0; i < n; ++i)
                for (core_int p = start[i] - base; p < start[i + 1] - base; ++p)
                    visit(first + i, index[p] - base, p);
            return;
        }
        for (core_int i = 0; i < n / block; ++i)
            for (core_int p = start[i] - base; p < start[i + 1] - base; ++p)
                for (core_int k = 0; k < block * block; ++k) {
                    const core_int down = base == 0 ? k / block : k % block;
                    const core_int right = base == 0 ? k % block : k / block;
                    visit(first + i * block + down, (index[p] - base) * block + right, p * block * block + k);
                }
    }
};

class Pattern {
public:
    Pattern() = default; // of nothing
    template <class I>
    Pattern(Kind kind, const Stored<I>& a) : Pattern(kind, a, a.n, false)
    {
    }
    /// Of a matrix with n rows, some of which may be elsewhere.
    template <class I>
    Pattern(Kind kind, const Stored<I>& a, core_int rows, bool in_parts) : n(rows), is_spread(in_parts)
    {
        // A triangle has nothing below its diagonal; of Hermitian ones the other triangle is completed.
        const bool half = kind.is_half();
        const bool mirrored = kind.symmetry == Symmetry::hermitian;
        core_int stored = 0;
        a.each([&](core_int i, core_int j, core_int) {
            stored += 1;
            count += half && j < i ? 0 : mirrored && i != j ? 2 : 1;
        });
        row = Array<int>(count);
        column = Array<int>(count);
        in_order_ = count == stored && !mirrored;
        if (!in_order_)
            from_ = Array<core_int>(count);
        core_int at = 0;
        const auto put = [&](core_int i, core_int j, core_int from) {
            row[at] = static_cast<int>(i + 1);
            column[at] = static_cast<int>(j + 1);
            if (!in_order_)
                from_[at] = from;
            ++at;
        };
        a.each([&](core_int i, core_int j, core_int p) {
            if (half && j < i)
                return;
            put(i, j, p);
            if (mirrored && i != j)
                put(j, i, ~p);
        });
    }

    /// The elements in the order of the coordinates: the caller's own where that is theirs, else in `room`.
    template <class T>
    const T* elements(const T* values, Array<T>& room) const
    {
        if (in_order_ || values == nullptr)
            return values;
        room = Array<T>(count);
        for (core_int k = 0; k < count; ++k)
            room[k] = from_[k] < 0 ? conjugate(values[~from_[k]]) : values[from_[k]];
        return room.get();
    }
    bool is_diagonal() const
    {
        for (core_int k = 0; k < count; ++k)
            if (row[k] != column[k])
                return false;
        return true;
    }

    /// To a file, or from one.
    template <class Self, class File>
    static void pass(Self& self, File& file)
    {
        file(self.n, self.count, self.is_spread, self.in_order_);
        file.many(self.row, self.count);
        file.many(self.column, self.count);
        if (!self.in_order_)
            file.many(self.from_, self.count);
    }

    core_int n = 0;
    bool is_spread = false; // all processes have rows, each its own
    core_int count = 0;
    Array<int> row, column; // from 1

private:
    bool in_order_ = false;
    Array<core_int> from_; // place of the value; that of one to be conjugated bit by bit inverted
};

} // namespace qnm::core::solvers
