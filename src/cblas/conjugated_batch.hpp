// Complex matrix-vector products of group batches, row-major: conjugated copies for the groups that need
// them.
#pragma once

#include "cblas/checks.hpp"
#include "frame/complex.hpp"
#include "frame/scratch.hpp"

namespace qnm::cblas {

/// Group batches have an alignment and a pair of their own.
using GroupMemory = Malloced<64>;
template <class T>
using GroupBlock = Block<T, GroupMemory>;

template <class I>
QNM_INLINE I problems(const I* group_size, I groups)
{
    I total = 0;
    for (I g = 0; g < groups; ++g)
        total += group_size[g];
    return total;
}

/// The vectors of a batch, those of conjugated groups as copies. Copies keep the increments of their vectors.
template <class R>
class ConjugatedVectors {
public:
    ConjugatedVectors(const void* const* given, core_int count) : given_(given), count_(count)
    {
        if (pointers_.take(larger<core_int>(count, 1)))
            for (core_int p = 0; p < count; ++p)
                pointers_[p] = given[p];
    }
    ConjugatedVectors(const ConjugatedVectors&) = delete;
    ConjugatedVectors& operator=(const ConjugatedVectors&) = delete;
    ~ConjugatedVectors()
    {
        for (core_int p = 0; pointers_.get() != nullptr && p < count_; ++p)
            if (pointers_[p] != given_[p])
                GroupMemory::release(const_cast<void*>(pointers_[p]));
    }

    bool good() const { return pointers_.get() != nullptr; }
    const void* const* get() const { return pointers_.get(); }

    /// Takes the conjugate of a vector; an empty one stays as it is. False if there is no memory.
    bool take(core_int p, core_int n, core_int increment)
    {
        if (n < 1)
            return true;
        const core_int length = magnitude(increment) * (n - 1) + 1;
        GroupBlock<Complex<R>> copy;
        if (!copy.take(length))
            return false;
        pointers_[p] = copy.give();
        turn(pointers_[p], given_[p], n, increment);
        return true;
    }

    /// Brings a copy back, conjugated.
    void bring_back(core_int p, core_int n, core_int increment) const
    {
        if (pointers_[p] != given_[p])
            turn(given_[p], pointers_[p], n, increment);
    }

private:
    static void turn(const void* to, const void* from, core_int n, core_int increment)
    {
        R* target = const_cast<R*>(static_cast<const R*>(to));
        const R* source = static_cast<const R*>(from);
        const core_int stride = 2 * magnitude(increment);
        for (core_int i = 0; i < n; ++i, target += stride, source += stride) {
            target[0] = source[0];
            target[1] = -source[1];
        }
    }

    const void* const* given_;
    core_int count_;
    GroupBlock<const void*> pointers_;
};

/// gemv_batch of complex numbers, row-major: groups with a conjugate transpose get conjugated copies of
/// vectors and scalars, the others go as they are.
struct GeneralGroups {
    template <auto* Entry, class Row, class Letters>
    static void rows(const char* name, Row row, Letters letters)
    {
        using I = typename Row::integer;
        using R = typename Row::real;
        const auto turned = [&](I g) { return row.trans_array[g] == conjugate_transpose; };
        if (!any_group<I>(&row.group_count, turned))
            return row.rows(Entry, letters);
        GroupBlock<Complex<R>> alpha;
        GroupBlock<Complex<R>> beta;
        if (!alpha.take(row.group_count) || !beta.take(row.group_count))
            return cblas_xerbla_malloc_error(name);
        const core_int total = problems(row.group_size, row.group_count);
        ConjugatedVectors<R> x(row.x_array, total);
        ConjugatedVectors<R> y(row.y_array, total);
        bool good = x.good() && y.good();
        const auto each_turned = [&](auto&& visit) {
            core_int p = 0;
            for (I g = 0; g < row.group_count; ++g)
                for (I i = 0; i < row.group_size[g]; ++i, ++p)
                    if (turned(g))
                        visit(g, p);
        };
        each_turned([&](I g, core_int p) {
            good = good && x.take(p, row.m_array[g], row.incx_array[g]) &&
                   y.take(p, row.n_array[g], row.incy_array[g]);
        });
        if (!good)
            return cblas_xerbla_malloc_error(name);
        for (I g = 0; g < row.group_count; ++g) {
            const R sign = turned(g) ? R{-1} : R{1};
            const auto scaled = [&](const void* scalars) {
                const Complex<R> z = static_cast<const Complex<R>*>(scalars)[g];
                return Complex<R>{z.re, sign * z.im};
            };
            alpha[g] = scaled(row.alpha_array);
            beta[g] = scaled(row.beta_array);
        }
        row.alpha_array = alpha.get();
        row.beta_array = beta.get();
        row.x_array = x.get();
        row.y_array = y.get();
        row.rows(Entry, letters);
        each_turned([&](I g, core_int p) { y.bring_back(p, row.n_array[g], row.incy_array[g]); });
    }
};

} // namespace qnm::cblas
