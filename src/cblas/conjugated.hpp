// Complex level 2, row-major. A row-major matrix is a column-major one transposed; where its conjugate is
// wanted, vectors and scalars are conjugated for the length of the call, and what is written is conjugated
// back.
#pragma once

#include "cblas/conjugate.hpp"
#include "cblas/layout.hpp"

namespace qnm::cblas {

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
        VectorCopy<R> x;
        if (!x.take(reals(row.m)))
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
        VectorCopy<R> x;
        if (!x.take(reals(core_int{row.m} * row.batch_size)))
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
        VectorCopy<R> x;
        if (row.n > 0) {
            if (!x.take(reals(row.n)))
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
        VectorCopy<R> scratch[most];
        if (row.n > 0) {
            int taken = 0;
            const auto take = [&](const void* /*vector*/, I /*increment*/) {
                return scratch[taken++].take(reals(row.n));
            };
            if (!row.each_copied(take)) {
                for (VectorCopy<R>& one : scratch)
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
