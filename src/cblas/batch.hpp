// Group batches: options come as arrays of codes and go on as arrays of letters.
#pragma once

#include "cblas/conjugated.hpp"
#include "cblas/level1.hpp"

namespace qnm::cblas {

template <class I>
QNM_INLINE I problems(const I* group_size, I groups)
{
    I total = 0;
    for (I g = 0; g < groups; ++g)
        total += group_size[g];
    return total;
}

/// The letters of some groups' codes; texts as in letter().
template <class I>
QNM_INLINE void spell(char* to, const int* codes, I groups, const char* texts, int first)
{
    for (I g = 0; g < groups; ++g)
        to[g] = *letter(texts, codes[g] - first);
}

/// Memory of the core, freed at the end of the block.
template <class T>
class Block {
public:
    Block() = default;
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block()
    {
        if (block_ != nullptr)
            qnm_serv_iface_free(block_);
    }
    bool take(core_int count)
    {
        constexpr core_int alignment = 64;
        block_ = static_cast<T*>(qnm_serv_iface_malloc(count * static_cast<core_int>(sizeof(T)), alignment));
        return block_ != nullptr;
    }
    T* get() const { return block_; }
    /// Leaves the block to the caller.
    T* give()
    {
        T* given = block_;
        block_ = nullptr;
        return given;
    }
    T& operator[](core_int i) const { return block_[i]; }

private:
    T* block_ = nullptr;
};

/// The tests of the layout in question, with the layout among them where the row says.
template <class Row>
QNM_INLINE int group_tests(const char* name, Row row)
{
    return row.layout == column_major ? row.columns_tests(name)
           : row.layout == row_major  ? row.rows_tests(name)
                                      : Row::layout_position;
}

/// gemm_batch, trsm_batch: no allocation. The Fortran entry gets at most 1024 groups at a time.
template <auto* Entry, class Row>
QNM_INLINE void blocks(const char* name, Row row)
{
    using I = typename Row::integer;
    constexpr I most = 1024;
    if (const int position = group_tests(name, row); unlikely(position != 0))
        return cblas_xerbla(name, position);
    char letters[Row::options][most];
    const auto pass = [&](int i) { return &letters[i][0]; };
    I left = row.group_count;
    while (left > 0) {
        I count = smaller<I>(most, left);
        const I size = problems(row.group_size, count);
        row.group_count = count;
        if (row.layout == column_major) {
            row.columns_letters(pass, count);
            row.columns(Entry, pass);
        } else {
            row.rows_letters(pass, count);
            row.rows(Entry, pass);
        }
        row.advance(count, size);
        left -= count;
    }
}

/// The call of a group form, once its letters are there.
struct ToldGroups {
    template <auto* Entry, class Row, class Letters>
    static void rows(const char* /*name*/, Row row, Letters letters)
    {
        row.rows(Entry, letters);
    }
};

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
                qnm_serv_iface_free(const_cast<void*>(pointers_[p]));
    }

    bool good() const { return pointers_.get() != nullptr; }
    const void* const* get() const { return pointers_.get(); }

    /// Takes the conjugate of a vector; an empty one stays as it is. False if there is no memory.
    bool take(core_int p, core_int n, core_int increment)
    {
        if (n < 1)
            return true;
        const core_int length = magnitude(increment) * (n - 1) + 1;
        Block<Complex<R>> copy;
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
    Block<const void*> pointers_;
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
        Block<Complex<R>> alpha;
        Block<Complex<R>> beta;
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

template <class RowMajor, auto* Entry, class Row, class Letters>
QNM_INLINE void call_groups(const char* name, Row row, Letters letters)
{
    if (row.layout == column_major) {
        row.columns_letters(letters, row.group_count);
        row.columns(Entry, letters);
    } else {
        row.rows_letters(letters, row.group_count);
        RowMajor::template rows<Entry>(name, row, letters);
    }
}

/// syrk_batch, dgmm_batch: all tests, then memory for the letters, then the call. No groups, no call.
template <class RowMajor, auto* Entry, class Row>
QNM_INLINE void groups(const char* name, Row row)
{
    if (const int position = group_tests(name, row); unlikely(position != 0))
        return cblas_xerbla(name, position);
    if (row.group_count == 0)
        return;
    Block<char> letters[Row::options];
    for (Block<char>& block : letters)
        if (!block.take(row.group_count))
            return cblas_xerbla_malloc_error(name);
    call_groups<RowMajor, Entry>(name, row, [&](int i) { return letters[i].get(); });
}

/// gemv_batch: the number of groups, memory for the letters, then all other tests.
template <class RowMajor, auto* Entry, class Row>
QNM_INLINE void allocated_first(const char* name, Row row)
{
    if (const int position = row.ahead(name); unlikely(position != 0))
        return cblas_xerbla(name, position);
    Block<char> letters;
    if (!letters.take(row.group_count))
        return cblas_xerbla_malloc_error(name);
    if (const int position = group_tests(name, row); unlikely(position != 0))
        return cblas_xerbla(name, position);
    call_groups<RowMajor, Entry>(name, row, [&](int) { return letters.get(); });
}

} // namespace qnm::cblas
