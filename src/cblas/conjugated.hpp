// Complex level 2, row-major. A row-major matrix is a column-major one transposed; where its conjugate is
// wanted, vectors and scalars are conjugated for the length of the call, and what is written is conjugated
// back.
#pragma once

#include "cblas/layout.hpp"

namespace qnm::cblas {

/// A scalar's conjugate.
template <class R>
class Conjugated {
public:
    QNM_INLINE explicit Conjugated(const void* z)
        : value_{static_cast<const R*>(z)[0], -static_cast<const R*>(z)[1]}
    {
    }
    QNM_INLINE const void* pass() const { return value_; }

private:
    R value_[2];
};

/// Conjugates a vector in place. An increment of zero is an error that its vector must survive: the one
/// element is conjugated once.
template <class R>
[[gnu::noinline]] void conjugate(const void* vector, core_int n, core_int increment)
{
    R* element = const_cast<R*>(static_cast<const R*>(vector));
    const core_int stride = 2 * magnitude(increment);
    const core_int count = increment == 0 && n > 0 ? 1 : n;
    for (core_int i = 0; i < count; ++i, element += stride)
        element[1] = -element[1];
}

/// Copies the conjugate of a vector read forward, filling a dense copy from its first element or its last.
template <class R>
[[gnu::noinline]] void copy_conjugate(R* to, const void* vector, core_int n, core_int increment,
                                      bool backward)
{
    const R* from = static_cast<const R*>(vector);
    const core_int stride = 2 * magnitude(increment);
    if (backward)
        to += 2 * (n - 1);
    for (core_int i = 0; i < n; ++i, from += stride, to += backward ? -2 : 2) {
        to[0] = from[0];
        to[1] = -from[1];
    }
}

/// Scratch for the conjugate of a vector of n elements, freed at the end of the block.
template <class I, class R>
class Scratch {
public:
    Scratch() = default;
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    QNM_INLINE ~Scratch() { release(); }

    /// The count of reals is formed in the caller's width. False if there is no memory.
    QNM_INLINE bool take(I n)
    {
        constexpr core_int alignment = 128;
        const I reals = 2 * n;
        block_ =
            static_cast<R*>(qnm_serv_iface_allocate(reals * static_cast<core_int>(sizeof(R)), alignment));
        return block_ != nullptr;
    }
    QNM_INLINE void release()
    {
        if (block_ != nullptr)
            qnm_serv_iface_deallocate(block_);
        block_ = nullptr;
    }
    QNM_INLINE R* get() const { return block_; }

private:
    R* block_ = nullptr;
};

/// gemv, gbmv: a conjugate transpose only, once all is tested. y has n elements, x has m.
struct General {
    template <auto* Entry, class Row>
    QNM_INLINE static void rows(const char* name, Row row)
    {
        if (const int position = row.rows_tests(name); unlikely(position != 0))
            return cblas_xerbla(name, position);
        if (row.quick())
            return;
        if (unlikely(row.trans == conjugate_transpose))
            return conjugated<Entry>(name, row);
        row.rows(Entry);
    }

private:
    template <auto* Entry, class Row>
    QNM_INLINE static void conjugated(const char* name, Row row)
    {
        using R = typename Row::real;
        const Conjugated<R> alpha(row.alpha);
        const Conjugated<R> beta(row.beta);
        Scratch<typename Row::integer, R> x;
        if (!x.take(row.m))
            return cblas_xerbla_malloc_error(name);
        copy_conjugate(x.get(), row.x, row.m, row.incx, row.incx < 1);
        conjugate<R>(row.y, row.n, row.incy);
        row.alpha = alpha.pass();
        row.beta = beta.pass();
        row.x = x.get();
        row.incx = 1;
        row.rows(Entry);
        x.release();
        conjugate<R>(row.y, row.n, row.incy);
    }
};

/// gemv_batch_strided: as gemv, for each of the batch. All copies stand in one block.
struct Batch {
    template <auto* Entry, class Row>
    QNM_INLINE static void rows(const char* name, Row row)
    {
        if (const int position = row.rows_tests(name); unlikely(position != 0))
            return cblas_xerbla(name, position);
        if (unlikely(row.trans == conjugate_transpose && row.m > 0 && row.batch_size > 0))
            return conjugated<Entry>(name, row);
        row.rows(Entry);
    }

private:
    template <auto* Entry, class Row>
    QNM_INLINE static void conjugated(const char* name, Row row)
    {
        using I = typename Row::integer;
        using R = typename Row::real;
        const Conjugated<R> alpha(row.alpha);
        const Conjugated<R> beta(row.beta);
        Scratch<core_int, R> x;
        if (!x.take(core_int{row.m} * row.batch_size))
            return cblas_xerbla_malloc_error(name);
        const auto turn_y = [&] {
            for (I p = 0; p < row.batch_size; ++p)
                conjugate<R>(static_cast<const R*>(row.y) + 2 * core_int{row.stridey} * p, row.n, row.incy);
        };
        for (I p = 0; p < row.batch_size; ++p)
            copy_conjugate(x.get() + 2 * core_int{row.m} * p,
                           static_cast<const R*>(row.x) + 2 * core_int{row.stridex} * p, row.m, row.incx,
                           row.incx < 1);
        turn_y();
        row.alpha = alpha.pass();
        row.beta = beta.pass();
        row.x = x.get();
        row.incx = 1;
        row.stridex = row.m;
        row.rows(Entry);
        turn_y();
    }
};

/// hemv and its kin: always, and ahead of the tests.
struct Product {
    template <auto* Entry, class Row>
    QNM_INLINE static void rows(const char* name, Row row)
    {
        using R = typename Row::real;
        const Conjugated<R> alpha(row.alpha);
        const Conjugated<R> beta(row.beta);
        Scratch<typename Row::integer, R> x;
        if (row.n > 0) {
            if (!x.take(row.n))
                return cblas_xerbla_malloc_error(name);
            copy_conjugate(x.get(), row.x, row.n, row.incx, row.incx < 1);
            conjugate<R>(row.y, row.n, row.incy);
        }
        if (const int position = row.rows_tests(name); position != 0) {
            cblas_xerbla(name, position);
        } else {
            row.alpha = alpha.pass();
            row.beta = beta.pass();
            if (row.n > 0) {
                row.x = x.get();
                row.incx = 1;
            }
            row.rows(Entry);
        }
        x.release();
        conjugate<R>(row.y, row.n, row.incy);
    }
};

/// Updates: vectors that are only read go as conjugated copies, made ahead of the tests and behind the
/// options. The increments are tested as they came. InStep: the copies are in the order of memory, and the
/// increments keep their signs.
template <bool InStep>
struct Copied {
    template <auto* Entry, class Row>
    QNM_INLINE static void rows(const char* name, Row row)
    {
        using I = typename Row::integer;
        using R = typename Row::real;
        if (const int position = row.rows_options(name); position != 0)
            return cblas_xerbla(name, position);
        constexpr int most = 2;
        Scratch<I, R> scratch[most];
        if (row.n > 0) {
            int taken = 0;
            const auto take = [&](const void* /*vector*/, I /*increment*/) {
                return scratch[taken++].take(row.n);
            };
            if (!row.each_copied(take)) {
                for (Scratch<I, R>& one : scratch)
                    one.release();
                return cblas_xerbla_malloc_error(name);
            }
            int copied = 0;
            row.each_copied([&](const void* vector, I increment) {
                copy_conjugate(scratch[copied++].get(), vector, row.n, increment, !InStep && increment < 1);
                return true;
            });
        }
        if (const int position = row.rows_values(name); position != 0)
            return cblas_xerbla(name, position);
        if (row.n > 0) {
            int passed = 0;
            row.each_copied([&](const void*& vector, I& increment) {
                vector = scratch[passed++].get();
                increment = InStep && increment < 0 ? -1 : 1;
                return true;
            });
        }
        row.rows(Entry);
    }
};

/// Triangular: x is conjugated in place among the options, and back behind the call. An option that ends the
/// entry leaves it as it is then.
struct Triangle {
    template <auto* Entry, class Row>
    QNM_INLINE static void rows(const char* name, Row row)
    {
        using R = typename Row::real;
        const bool turned = row.trans == conjugate_transpose && row.n > 0;
        const auto turn = [&] {
            if (turned)
                conjugate<R>(row.x, row.n, row.incx);
        };
        if (const int position = row.rows_options(name, turn); unlikely(position != 0))
            return cblas_xerbla(name, position);
        if (const int position = row.rows_values(name); unlikely(position != 0))
            cblas_xerbla(name, position);
        else
            row.rows(Entry);
        turn();
    }
};

} // namespace qnm::cblas
