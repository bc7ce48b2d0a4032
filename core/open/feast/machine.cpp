#include "machine.hpp"

#include "../array.hpp"
#include "../guarded.hpp"
#include "../services.hpp"

#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <unistd.h>

extern "C" {
#define QNM_DECLARE(l, L, T)                                                                                 \
    void l##syev_(const char* jobz, const char* uplo, const std::int64_t* n, T* a, const std::int64_t* lda,  \
                  T* w, T* work, const std::int64_t* lwork, std::int64_t* info);
QNM_REAL_LETTERS(QNM_DECLARE)
#undef QNM_DECLARE
#define QNM_DECLARE(l, L, T)                                                                                 \
    void l##heev_(const char* jobz, const char* uplo, const std::int64_t* n, T* a, const std::int64_t* lda,  \
                  qnm::core::real_t<T>* w, T* work, const std::int64_t* lwork, qnm::core::real_t<T>* rwork,  \
                  std::int64_t* info);
QNM_COMPLEX_LETTERS(QNM_DECLARE)
#undef QNM_DECLARE
}

namespace qnm::core::feast {
namespace {

enum Stage : core_int {
    started,
    factored,
    solved,
    adjoint_factored,
    adjoint_solved,
    multiplied_a,
    multiplied_b
};

#define QNM_EIGEN(l, L, T)                                                                                   \
    core_int eigen(core_int n, T* a, T* w, T* work, core_int lwork, T*)                                      \
    {                                                                                                        \
        core_int info = 0;                                                                                   \
        l##syev_("V", "U", &n, a, &n, w, work, &lwork, &info);                                               \
        return info;                                                                                         \
    }
QNM_REAL_LETTERS(QNM_EIGEN)
#undef QNM_EIGEN
#define QNM_EIGEN(l, L, T)                                                                                   \
    core_int eigen(core_int n, T* a, real_t<T>* w, T* work, core_int lwork, real_t<T>* rwork)                \
    {                                                                                                        \
        core_int info = 0;                                                                                   \
        l##heev_("V", "U", &n, a, &n, w, work, &lwork, rwork, &info);                                        \
        return info;                                                                                         \
    }
QNM_COMPLEX_LETTERS(QNM_EIGEN)
#undef QNM_EIGEN

core_int bad(core_int word)
{
    return bad_word + word + 1;
}

struct Node {
    double at, weight;
};

/// Of Gauss and Legendre, by Newton's iteration on the polynomial.
Node node(core_int count, core_int k)
{
    double x =
        std::cos(std::numbers::pi * (static_cast<double>(k) + 0.75) / (static_cast<double>(count) + 0.5));
    double slope = 1;
    for (int step = 0; step < 20; ++step) {
        double before = 0, now = 1;
        for (core_int j = 1; j <= count; ++j) {
            const auto degree = static_cast<double>(j);
            before = std::exchange(now, ((2 * degree - 1) * x * now - (degree - 1) * before) / degree);
        }
        slope = static_cast<double>(count) * (x * now - before) / (x * x - 1);
        const double change = now / slope;
        x -= change;
        if (std::abs(change) < 1e-15)
            break;
    }
    return {x, 2 / ((1 - x * x) * slope * slope)};
}

template <class T>
struct Machine {
    using R = real_t<T>;
    using C = std::complex<R>;
    const Problem<T>& p;

    core_int size() const { return p.fpm[columns]; }
    T* products() const { return reinterpret_cast<T*>(p.workc); } ///< A times the basis, between two contours

    void ask(Job job, Stage then) const
    {
        *p.ijob = job;
        p.fpm[stage] = then;
    }
    void end(core_int info) const
    {
        *p.ijob = finished;
        *p.info = info;
    }

    void start() const
    {
        *p.loop = *p.m = 0;
        *p.epsout = 1;
        if (const core_int fault = p.fault(); fault != good)
            return end(fault);
        *p.info = good;
        p.fpm[point] = 0;
        p.fpm[first_column] = 1;
        p.fpm[columns] = p.m0;
        if (p.fpm[starts_with_x] != 0)
            return ask(times_b, started);
        std::uint64_t random = 1;
        const auto any = [&random] {
            random = random * 6364136223846793005u + 1442695040888963407u;
            return static_cast<R>(static_cast<double>(random >> 11) * 0x1p-52 - 1);
        };
        std::generate_n(p.work, p.n * p.m0, [&] {
            if constexpr (is_complex<T>) {
                const R real = any();
                return T(real, any());
            } else {
                return any();
            }
        });
        integrate();
    }
    void next() const
    {
        switch (p.fpm[stage]) {
        case started:
            return integrate();
        case factored:
            return solve_with(solve, solved);
        case solved:
            add(false);
            return is_complex<T> ? ask(factor_adjoint, adjoint_factored) : next_point();
        case adjoint_factored:
            return solve_with(solve_adjoint, adjoint_solved);
        case adjoint_solved:
            add(true);
            return next_point();
        case multiplied_a:
            std::copy_n(p.work, p.n * size(), products());
            return ask(times_b, multiplied_b);
        case multiplied_b:
            return refine();
        default:
            return end(bad(stage));
        }
    }

private:
    /// The radius in its direction, and the weight with it.
    C spoke(R* weight) const
    {
        const Node here = node(p.fpm[points], p.fpm[point]);
        const double angle = std::numbers::pi / 2 * (1 - here.at);
        *weight = static_cast<R>(here.weight / (is_complex<T> ? 4 : 2));
        return C(std::polar((static_cast<double>(p.emax) - static_cast<double>(p.emin)) / 2, angle));
    }
    void integrate() const
    {
        std::fill_n(p.x, p.n * p.m0, T());
        p.fpm[point] = 0;
        ask_for_factors();
    }
    void ask_for_factors() const
    {
        R weight = 0;
        *p.ze = spoke(&weight) + (p.emin + (p.emax - p.emin) / 2);
        ask(factor, factored);
    }
    void solve_with(Job job, Stage then) const
    {
        const core_int filled = p.n * size();
        std::copy_n(p.work, filled, p.workc);
        std::fill_n(p.workc + filled, p.n * p.m0 - filled, C());
        ask(job, then);
    }
    void add(bool adjoint) const
    {
        R weight = 0;
        C factor = spoke(&weight);
        factor *= weight;
        if (adjoint)
            factor = std::conj(factor);
        for (core_int k = 0; k < p.n * size(); ++k) {
            if constexpr (is_complex<T>)
                p.x[k] += factor * p.workc[k];
            else
                p.x[k] += factor.real() * p.workc[k].real() - factor.imag() * p.workc[k].imag();
        }
    }
    void next_point() const
    {
        if (++p.fpm[point] < p.fpm[points])
            return ask_for_factors();
        if (p.fpm[ends_after_contour] != 0) {
            *p.m = size();
            return end(subspace_only);
        }
        ask(times_a, multiplied_a);
    }

    /// to := op(x) y, k by columns; all of them k by k but for tall x and y.
    static void multiply(const char* trans, core_int rows, core_int count, core_int inner, const T* x,
                         core_int ldx, const T* y, core_int ldy, T* to, core_int ldto)
    {
        const T one = 1, zero = 0;
        Engine<T>::gemm(trans, "N", &rows, &count, &inner, &one, x, &ldx, y, &ldy, &zero, to, &ldto);
    }
    /// Rayleigh and Ritz: eigenvalues, and coefficients of vectors whose products with B are orthonormal.
    /// Returns how many the basis has in truth; those in the interval come first.
    core_int reduce(Array<T>& coefficients) const
    {
        const core_int k = size(), room = 64 * k;
        multiply("C", k, k, p.n, p.x, p.n, products(), p.n, p.aq, k);
        multiply("C", k, k, p.n, p.x, p.n, p.work, p.n, p.sq, k);
        Array<T> basis(k * k), small(k * k), scratch(room);
        const Array<R> lengths(k), values(k), more(3 * k);
        for (core_int j = 0; j < k; ++j) {
            const R square = std::real(p.sq[j + j * k]);
            lengths[j] = square > 0 ? 1 / std::sqrt(square) : R(0);
        }
        for (core_int j = 0; j < k; ++j)
            for (core_int i = 0; i < k; ++i)
                basis[i + j * k] = lengths[i] * p.sq[i + j * k] * lengths[j];
        if (eigen(k, basis.get(), values.get(), scratch.get(), room, more.get()) != 0)
            return 0;
        const R least = values[k - 1] * static_cast<R>(k) * std::numeric_limits<R>::epsilon();
        core_int lost = 0;
        while (lost < k && !(values[lost] > least))
            ++lost;
        const core_int left = k - lost;
        T* const kept = basis.get() + lost * k;
        for (core_int j = 0; j < left; ++j)
            for (core_int i = 0; i < k; ++i)
                kept[i + j * k] *= lengths[i] / std::sqrt(values[lost + j]);
        multiply("N", k, left, k, p.aq, k, kept, k, small.get(), k);
        multiply("C", left, left, k, kept, k, small.get(), k, p.aq, left);
        if (left == 0 || eigen(left, p.aq, values.get(), scratch.get(), room, more.get()) != 0)
            return 0;
        multiply("N", k, left, left, kept, k, p.aq, left, small.get(), k);
        core_int at = 0;
        for (const bool inside : {true, false}) {
            for (core_int j = 0; j < left; ++j) {
                const T* const vector = small.get() + j * k;
                if ((is_inside(values[j]) && is_kept(vector)) != inside)
                    continue;
                p.e[at] = values[j];
                std::copy_n(vector, k, coefficients.get() + at++ * k);
            }
            if (inside)
                *p.m = at;
        }
        return left;
    }
    /// Between orthonormal vectors before the contour and after it, coefficients are the inverse of what the
    /// contour has left of a vector: half or more of those of the interval, next to nothing of a mixture from
    /// both sides of it, whose quotient may lie within.
    bool is_kept(const T* vector) const
    {
        R square = 0;
        for (core_int i = 0; i < size(); ++i)
            square += std::norm(vector[i]);
        return *p.loop == 0 || square < 16;
    }
    bool is_inside(R value) const { return value >= p.emin && value <= p.emax; }
    /// Block by block of rows, for want of room.
    void recombine(T* vectors, const Array<T>& coefficients, core_int left, const Array<T>& block) const
    {
        for (core_int first = 0; first < p.n; first += block_rows) {
            const core_int rows = std::min(block_rows, p.n - first);
            multiply("N", rows, left, size(), vectors + first, p.n, coefficients.get(), size(), block.get(),
                     block_rows);
            for (core_int j = 0; j < left; ++j)
                std::copy_n(block.get() + j * block_rows, rows, vectors + first + j * p.n);
        }
    }
    R largest() const { return std::max(std::abs(p.emin), std::abs(p.emax)); }
    R residual(core_int j) const
    {
        R left = 0, whole = 0;
        for (core_int i = j * p.n; i < (j + 1) * p.n; ++i) {
            left += std::abs(products()[i] - p.e[j] * p.work[i]);
            whole += std::abs(p.work[i]);
        }
        return left / (largest() * whole);
    }
    /// The sum of eigenvalues, kept between two contours. Returns the one before.
    R exchange_trace(R now) const
    {
        const auto bits = std::bit_cast<std::uint64_t>(static_cast<double>(now));
        core_int* const kept = p.fpm + trace;
        const auto before = static_cast<std::uint64_t>(kept[1]) << 32 | static_cast<std::uint32_t>(kept[0]);
        kept[0] = static_cast<std::int32_t>(bits);
        kept[1] = static_cast<std::int32_t>(bits >> 32);
        return static_cast<R>(std::bit_cast<double>(before));
    }
    void refine() const
    {
        Array<T> coefficients(size() * size()), block(block_rows * size());
        const core_int left = reduce(coefficients);
        if (left == 0)
            return end(reduced_failed);
        for (T* vectors : {p.x, products(), p.work})
            recombine(vectors, coefficients, left, block);
        p.fpm[columns] = left;
        std::fill_n(p.x + left * p.n, (p.m0 - left) * p.n, T());
        std::fill_n(p.e + left, p.m0 - left, R());
        std::fill_n(p.res, p.m0, R());
        R worst = 0;
        for (core_int j = 0; j < left; ++j) {
            p.res[j] = residual(j);
            if (j < *p.m)
                worst = std::max(worst, p.res[j]);
        }
        const R now = std::accumulate(p.e, p.e + *p.m, R()), before = exchange_trace(now);
        if (*p.loop > 0)
            *p.epsout = std::abs(now - before) / largest();
        if (p.fpm[tells] != 0)
            tell(now, worst);
        const bool last = *p.loop >= p.fpm[most_loops];
        if (*p.m == 0) {
            if (*p.loop > 0 || last)
                return end(none_found);
        } else {
            const bool small =
                p.fpm[stops_by_residual] != 0 ? worst <= tolerance() : *p.epsout <= tolerance();
            if (*p.m == p.m0 && p.m0 < p.n)
                return end(small_subspace);
            if (small)
                return end(good);
        }
        if (last)
            return end(not_converged);
        ++*p.loop;
        integrate(); // of B times the new vectors
    }
    [[gnu::cold]] void tell(R sum, R worst) const
    {
        print_to(STDOUT_FILENO,
                 "FEAST: contour %lld: %lld eigenvalues, sum %.15g, changed by %.2g, largest residual %.2g\n",
                 static_cast<long long>(*p.loop + 1), static_cast<long long>(*p.m), static_cast<double>(sum),
                 static_cast<double>(*p.epsout), static_cast<double>(worst));
    }
    R tolerance() const
    {
        return static_cast<R>(
            std::pow(10.0, -static_cast<double>(p.fpm[sizeof(R) == 4 ? single_digits : digits])));
    }

    static constexpr core_int block_rows = 128;
};

} // namespace

void set_defaults(core_int* fpm)
{
    std::fill_n(fpm, words, 0);
    fpm[points] = 8;
    fpm[digits] = 12;
    fpm[most_loops] = 20;
    fpm[single_digits] = 5;
}

template <class T>
core_int Problem<T>::fault() const
{
    const struct {
        Word word;
        core_int least, most;
    } bounds[] = {
        {tells, 0, 1},         {points, 1, 1000},         {digits, 0, 16},       {most_loops, 0, INT32_MAX},
        {starts_with_x, 0, 1}, {stops_by_residual, 0, 1}, {single_digits, 0, 7}, {ends_after_contour, 0, 1},
        {checks_a, 0, 1},      {checks_b, 0, 1}};
    for (const auto& [word, least, most] : bounds)
        if (fpm[word] < least || fpm[word] > most)
            return bad(word);
    return !(emin < emax) ? bad_interval : n < 1 ? bad_size : m0 < 1 || m0 > n ? bad_subspace : good;
}

template <class T>
void Problem<T>::next() const
{
    const Machine<T> machine{*this};
    const auto went = guarded<no_memory, reduced_failed>([&] {
        *ijob == begin ? machine.start() : machine.next();
        return good;
    });
    if (went != good)
        machine.end(went);
}

template struct Problem<float>;
template struct Problem<double>;
template struct Problem<cfloat>;
template struct Problem<cdouble>;

} // namespace qnm::core::feast
