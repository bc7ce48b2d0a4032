// Drivers of the contour integrals, for dense, banded and sparse matrices.
#include "../array.hpp"
#include "../guarded.hpp"
#include "../solvers/carrier.hpp"
#include "../solvers/controls.hpp"
#include "machine.hpp"

#include <Eigen/OrderingMethods>
#include <Eigen/SparseCore>
#include <Eigen/SparseLU>
#include <optional>

extern "C" {
#define QNM_DECLARE(l, L, T)                                                                                 \
    void l##gbtrf_(const std::int64_t* m, const std::int64_t* n, const std::int64_t* kl,                     \
                   const std::int64_t* ku, T* ab, const std::int64_t* ldab, std::int64_t* ipiv,              \
                   std::int64_t* info);                                                                      \
    void l##gbtrs_(const char* trans, const std::int64_t* n, const std::int64_t* kl, const std::int64_t* ku, \
                   const std::int64_t* nrhs, const T* ab, const std::int64_t* ldab,                          \
                   const std::int64_t* ipiv, T* b, const std::int64_t* ldb, std::int64_t* info);
QNM_COMPLEX_LETTERS(QNM_DECLARE)
#undef QNM_DECLARE
void qnm_core_not_carried(const char* name, std::int64_t* info, const std::int64_t* count);
}

namespace qnm::core::feast {
namespace {

#define QNM_BANDED(l, L, T)                                                                                  \
    constexpr auto gbtrf(T)                                                                                  \
    {                                                                                                        \
        return l##gbtrf_;                                                                                    \
    }                                                                                                        \
    constexpr auto gbtrs(T)                                                                                  \
    {                                                                                                        \
        return l##gbtrs_;                                                                                    \
    }
QNM_COMPLEX_LETTERS(QNM_BANDED)
#undef QNM_BANDED

/// Which triangle is stored; the other one is its mirror image.
struct Part {
    char uplo;
    bool is_good() const { return is_letter(&uplo, 'L') || is_letter(&uplo, 'U') || is_full(); }
    bool is_full() const { return is_letter(&uplo, 'F'); }
    bool has(core_int i, core_int j) const { return is_full() || (is_letter(&uplo, 'L') ? i >= j : i <= j); }
};

// Each kind of matrix gives its elements, visit(i, j, value), and tells which argument, counted from its own
// first one, is bad.

template <class T>
struct Dense {
    core_int n;
    const T* a;
    core_int lda;

    int bad(Part) const { return lda < n ? 2 : 0; }
    template <class Visit>
    void each(Part part, const Visit& visit) const
    {
        for (core_int j = 0; j < n; ++j)
            for (core_int i = 0; i < n; ++i)
                if (part.has(i, j))
                    visit(i, j, a[i + j * lda]);
    }
};

template <class T>
struct Band {
    core_int n, k;
    const T* a;
    core_int lda;

    int bad(Part part) const { return k < 0 || k >= n ? 1 : lda < (part.is_full() ? 2 * k : k) + 1 ? 3 : 0; }
    template <class Visit>
    void each(Part part, const Visit& visit) const
    {
        const core_int diagonal = is_letter(&part.uplo, 'L') ? 0 : k;
        for (core_int j = 0; j < n; ++j)
            for (core_int i = std::max<core_int>(0, j - k); i < std::min(n, j + k + 1); ++i)
                if (part.has(i, j))
                    visit(i, j, a[diagonal + i - j + j * lda]);
    }
};

template <class T>
struct Csr {
    core_int n;
    const T* a;
    const core_int *ia, *ja;

    int bad(Part) const
    {
        for (core_int i = 0; i < n; ++i)
            if (ia[0] != 1 || ia[i + 1] < ia[i])
                return 2;
        const bool out = std::any_of(ja, ja + ia[n] - 1, [this](core_int j) { return j < 1 || j > n; });
        return out ? 3 : 0;
    }
    template <class Visit>
    void each(Part part, const Visit& visit) const
    {
        for (core_int i = 0; i < n; ++i)
            for (core_int k = ia[i] - 1; k < ia[i + 1] - 1; ++k)
                if (part.has(i, ja[k] - 1))
                    visit(i, ja[k] - 1, a[k]);
    }
};

/// The same with the mirror images.
template <class Matrix, class Visit>
void each_element(const Matrix& matrix, Part part, const Visit& visit)
{
    matrix.each(part, [&](core_int i, core_int j, auto v) {
        visit(i, j, v);
        if (!part.is_full() && i != j)
            visit(j, i, conjugate(v));
    });
}

// Each kind of pencil factors z B - A, solves with the factors, and multiplies.

template <class T, template <class> class Kind>
class Pencil;

template <class T>
class Pencil<T, Dense> {
public:
    using C = std::complex<real_t<T>>;
    Pencil(Part part, const Dense<T>& a, const std::optional<Dense<T>>& b)
        : n_(a.n), a_(n_ * n_), b_(b ? n_ * n_ : 0), has_b_(b), factors_(n_ * n_), pivots_(n_)
    {
        each_element(a, part, [this](core_int i, core_int j, T v) { a_[i + j * n_] = v; });
        if (b)
            each_element(*b, part, [this](core_int i, core_int j, T v) { b_[i + j * n_] = v; });
    }
    bool factor(C z)
    {
        for (core_int k = 0; k < n_ * n_; ++k)
            factors_[k] = (has_b_ ? z * b_[k] : k % (n_ + 1) == 0 ? z : C()) - a_[k];
        core_int info = 0;
        Engine<C>::getrf(&n_, &n_, factors_.get(), &n_, pivots_.get(), &info);
        return info == 0;
    }
    bool solve(const char* trans, C* x, core_int count) const
    {
        core_int info = 0;
        Engine<C>::getrs(trans, &n_, &count, factors_.get(), &n_, pivots_.get(), x, &n_, &info);
        return info == 0;
    }
    void times(bool b, const T* x, T* y, core_int count) const
    {
        const T one = 1, zero = 0;
        Engine<T>::gemm("N", "N", &n_, &count, &n_, &one, (b ? b_ : a_).get(), &n_, x, &n_, &zero, y, &n_);
    }

private:
    core_int n_;
    Array<T> a_, b_;
    bool has_b_;
    Array<C> factors_;
    Array<core_int> pivots_;
};

template <class T>
class Pencil<T, Band> {
public:
    using C = std::complex<real_t<T>>;
    Pencil(Part part, const Band<T>& a, const std::optional<Band<T>>& b)
        : n_(a.n),
          k_(b ? std::max(a.k, b->k) : a.k),
          a_(Array<T>::zeros(n_ * width())),
          b_(Array<T>::zeros(n_ * width())),
          factors_(n_ * ld()),
          pivots_(n_)
    {
        each_element(a, part, [this](core_int i, core_int j, T v) { a_[k_ + i - j + j * width()] = v; });
        if (b)
            each_element(*b, part, [this](core_int i, core_int j, T v) { b_[k_ + i - j + j * width()] = v; });
        else
            for (core_int j = 0; j < n_; ++j)
                b_[k_ + j * width()] = 1;
    }
    bool factor(C z)
    {
        for (core_int j = 0; j < n_; ++j)
            for (core_int i = 0; i < width(); ++i)
                factors_[k_ + i + j * ld()] = z * b_[i + j * width()] - a_[i + j * width()];
        core_int info = 0;
        const core_int rows = ld();
        gbtrf(C())(&n_, &n_, &k_, &k_, factors_.get(), &rows, pivots_.get(), &info);
        return info == 0;
    }
    bool solve(const char* trans, C* x, core_int count) const
    {
        core_int info = 0;
        const core_int rows = ld();
        gbtrs(C())(trans, &n_, &k_, &k_, &count, factors_.get(), &rows, pivots_.get(), x, &n_, &info);
        return info == 0;
    }
    void times(bool b, const T* x, T* y, core_int count) const
    {
        const T* const band = (b ? b_ : a_).get();
        std::fill_n(y, n_ * count, T());
        for (core_int c = 0; c < count; ++c)
            for (core_int j = 0; j < n_; ++j)
                for (core_int i = std::max<core_int>(0, j - k_); i < std::min(n_, j + k_ + 1); ++i)
                    y[i + c * n_] += band[k_ + i - j + j * width()] * x[j + c * n_];
    }

private:
    core_int width() const { return 2 * k_ + 1; }
    core_int ld() const { return 3 * k_ + 1; } // with room for exchanges
    core_int n_, k_;
    Array<T> a_, b_;
    Array<C> factors_;
    Array<core_int> pivots_;
};

/// By the library of direct solvers if it is there, else by the engine's sparse LU; their memory is their
/// own.
template <class T>
class Pencil<T, Csr> {
public:
    using C = std::complex<real_t<T>>;
    Pencil(Part part, const Csr<T>& a, const std::optional<Csr<T>>& b)
        : a_(taken(part, a)), b_(a_.rows(), a_.cols()), plugin_(solvers::carrier())
    {
        if (b)
            b_ = taken(part, *b);
        else
            b_.setIdentity();
    }
    ~Pencil()
    {
        if (system_ != nullptr)
            plugin_->end_inner(system_);
    }
    Pencil(const Pencil&) = delete;
    Pencil& operator=(const Pencil&) = delete;

    bool factor(C z)
    {
        const Sparse<C> pencil = z * b_.template cast<C>() - a_.template cast<C>();
        const bool analyses = !std::exchange(analysed_, true);
        if (plugin_ != nullptr) {
            if (analyses && !is_done(plugin_->begin_inner(&system_, sizeof(real_t<T>) == sizeof(float),
                                                          !is_complex<T>, static_cast<int>(pencil.rows()),
                                                          pencil.outerIndexPtr(), pencil.innerIndexPtr())))
                return false;
            return is_done(plugin_->factor_inner(system_, pencil.valuePtr()));
        }
        const Eigen::SparseMatrix<C, Eigen::ColMajor, std::int32_t> columns = pencil;
        if (analyses)
            lu_.analyzePattern(columns);
        lu_.factorize(columns);
        return lu_.info() == Eigen::Success;
    }
    bool solve(const char* trans, C* x, core_int count)
    {
        const bool adjoint = !is_letter(trans, 'N');
        if (plugin_ != nullptr)
            return is_done(plugin_->solve_inner(system_, adjoint, static_cast<int>(count), x));
        Eigen::Map<Block<C>> columns(x, a_.rows(), count);
        if (adjoint)
            columns = lu_.adjoint().solve(columns).eval();
        else
            columns = lu_.solve(columns).eval();
        return true;
    }
    void times(bool b, const T* x, T* y, core_int count) const
    {
        Eigen::Map<Block<T>>(y, a_.rows(), count).noalias() =
            (b ? b_ : a_) * Eigen::Map<const Block<T>>(x, a_.rows(), count);
    }

private:
    template <class X>
    using Sparse = Eigen::SparseMatrix<X, Eigen::RowMajor, std::int32_t>;
    template <class X>
    using Block = Eigen::Matrix<X, Eigen::Dynamic, Eigen::Dynamic>;

    static Sparse<T> taken(Part part, const Csr<T>& matrix)
    {
        if (matrix.n > INT32_MAX || 2 * matrix.ia[matrix.n] > INT32_MAX)
            throw std::bad_alloc();
        std::vector<Eigen::Triplet<T, std::int32_t>> all;
        each_element(matrix, part, [&all](core_int i, core_int j, T v) {
            all.emplace_back(static_cast<std::int32_t>(i), static_cast<std::int32_t>(j), v);
        });
        Sparse<T> made(matrix.n, matrix.n);
        made.setFromTriplets(all.begin(), all.end());
        return made;
    }
    static bool is_done(int error)
    {
        if (error == solvers::no_memory)
            throw std::bad_alloc();
        return error == solvers::no_error;
    }

    Sparse<T> a_, b_;
    Eigen::SparseLU<Eigen::SparseMatrix<C, Eigen::ColMajor, std::int32_t>,
                    Eigen::COLAMDOrdering<std::int32_t>>
        lu_;
    const solvers::Plugin* plugin_;
    void* system_ = nullptr;
    bool analysed_ = false;
};

/// Arguments that all drivers have.
template <class T>
struct Tail {
    core_int* fpm;
    real_t<T>* epsout;
    core_int* loop;
    const real_t<T>*emin, *emax;
    core_int* m0;
    real_t<T>* e;
    T* x;
    core_int* m;
    real_t<T>* res;
    core_int* info;
};

template <class T, template <class> class Kind>
void drive(const char* uplo, const Kind<T>& a, const std::optional<Kind<T>>& b, const Tail<T>& tail,
           int place_of_b)
{
    core_int job = begin;
    std::complex<real_t<T>> ze;
    Problem<T> p{&job,     a.n,      &ze,         nullptr,   nullptr,    nullptr,
                 nullptr,  tail.fpm, tail.epsout, tail.loop, *tail.emin, *tail.emax,
                 *tail.m0, tail.e,   tail.x,      tail.m,    tail.res,   tail.info};
    constexpr int place_of_a = 3;
    const Part part{*uplo};
    *tail.loop = *tail.m = 0;
    if (!part.is_good())
        *tail.info = bad_argument - 1;
    else if (const core_int fault = p.fault(); fault != good)
        *tail.info = fault;
    else if (const int bad = a.bad(part); bad != 0)
        *tail.info = bad_argument - place_of_a - bad + 1;
    else if (const int other = b ? b->bad(part) : 0; other != 0)
        *tail.info = bad_argument - place_of_b - other + 1;
    else
        *tail.info = guarded<no_memory, solver_failed>([&] {
            const core_int n = a.n, m0 = *tail.m0;
            Pencil<T, Kind> pencil(part, a, b);
            Array<T> work(n * m0), aq(m0 * m0), sq(m0 * m0);
            Array<std::complex<real_t<T>>> workc(n * m0);
            p.work = work.get();
            p.workc = workc.get();
            p.aq = aq.get();
            p.sq = sq.get();
            for (;;) {
                p.next();
                const core_int count = tail.fpm[columns];
                bool good = true;
                switch (job) {
                case factor:
                    good = pencil.factor(ze);
                    break;
                case solve:
                    good = pencil.solve("N", workc.get(), count);
                    break;
                case solve_adjoint:
                    good = pencil.solve("C", workc.get(), count);
                    break;
                case times_a:
                    pencil.times(false, tail.x, work.get(), count);
                    break;
                case times_b:
                    if (b)
                        pencil.times(true, tail.x, work.get(), count);
                    else
                        std::copy_n(tail.x, n * count, work.get());
                    break;
                case factor_adjoint: // the factors serve both
                    break;
                default:
                    return static_cast<Info>(*tail.info);
                }
                if (!good)
                    return solver_failed;
            }
        });
}

} // namespace
} // namespace qnm::core::feast

using qnm::core::cdouble;
using qnm::core::cfloat;
using qnm::core::core_int;
using qnm::core::real_t;
using namespace qnm::core::feast;

QNM_CORE void qnm_feast_feastinit(core_int* fpm)
{
    set_defaults(fpm);
}

#define QNM_TAIL(T)                                                                                          \
    core_int *fpm, real_t<T>*epsout, core_int *loop, const real_t<T>*emin, const real_t<T>*emax,             \
        core_int *m0, real_t<T>*e, T *x, core_int *m, real_t<T>*res, core_int *info
#define QNM_PASSED                                                                                           \
    {                                                                                                        \
        fpm, epsout, loop, emin, emax, m0, e, x, m, res, info                                                \
    }
#define QNM_DRIVERS(l, T, dense, band, sparse, rci)                                                          \
    QNM_CORE void qnm_feast_##l##feast_##dense##ev(const char* uplo, const core_int* n, const T* a,          \
                                                   const core_int* lda, QNM_TAIL(T))                         \
    {                                                                                                        \
        drive<T, Dense>(uplo, {*n, a, *lda}, {}, QNM_PASSED, 0);                                             \
    }                                                                                                        \
    QNM_CORE void qnm_feast_##l##feast_##dense##gv(const char* uplo, const core_int* n, const T* a,          \
                                                   const core_int* lda, const T* b, const core_int* ldb,     \
                                                   QNM_TAIL(T))                                              \
    {                                                                                                        \
        drive<T, Dense>(uplo, {*n, a, *lda}, Dense<T>{*n, b, *ldb}, QNM_PASSED, 5);                          \
    }                                                                                                        \
    QNM_CORE void qnm_feast_##l##feast_##band##ev(const char* uplo, const core_int* n, const core_int* kla,  \
                                                  const T* a, const core_int* lda, QNM_TAIL(T))              \
    {                                                                                                        \
        drive<T, Band>(uplo, {*n, *kla, a, *lda}, {}, QNM_PASSED, 0);                                        \
    }                                                                                                        \
    QNM_CORE void qnm_feast_##l##feast_##band##gv(const char* uplo, const core_int* n, const core_int* kla,  \
                                                  const T* a, const core_int* lda, const core_int* klb,      \
                                                  const T* b, const core_int* ldb, QNM_TAIL(T))              \
    {                                                                                                        \
        drive<T, Band>(uplo, {*n, *kla, a, *lda}, Band<T>{*n, *klb, b, *ldb}, QNM_PASSED, 6);                \
    }                                                                                                        \
    QNM_CORE void qnm_feast_##l##feast_##sparse##ev(const char* uplo, const core_int* n, const T* a,         \
                                                    const core_int* ia, const core_int* ja, QNM_TAIL(T))     \
    {                                                                                                        \
        drive<T, Csr>(uplo, {*n, a, ia, ja}, {}, QNM_PASSED, 0);                                             \
    }                                                                                                        \
    QNM_CORE void qnm_feast_##l##feast_##sparse##gv(const char* uplo, const core_int* n, const T* a,         \
                                                    const core_int* ia, const core_int* ja, const T* b,      \
                                                    const core_int* ib, const core_int* jb, QNM_TAIL(T))     \
    {                                                                                                        \
        drive<T, Csr>(uplo, {*n, a, ia, ja}, Csr<T>{*n, b, ib, jb}, QNM_PASSED, 6);                          \
    }                                                                                                        \
    QNM_CORE void qnm_feast_##l##feast_##rci(core_int* ijob, const core_int* n, std::complex<real_t<T>>* ze, \
                                             T* work, std::complex<real_t<T>>* workc, T* aq, T* sq,          \
                                             QNM_TAIL(T))                                                    \
    {                                                                                                        \
        Problem<T>{ijob, *n,    ze,    work, workc, aq, sq, fpm, epsout,                                     \
                   loop, *emin, *emax, *m0,  e,     x,  m,  res, info}                                       \
            .next();                                                                                         \
    }
#define QNM_REAL(l, L, T)                                                                                    \
    QNM_DRIVERS(l, T, sy, sb, scsr, srci)                                                                    \
    QNM_CORE void qnm_feast_##l##feast_srci_pfilter(core_int* ijob, const core_int*, void*, T*, void*, T*,   \
                                                    T*, core_int*, T*, core_int*, const T*, const T*,        \
                                                    core_int*, T*, T*, core_int*, T*, core_int* info)        \
    {                                                                                                        \
        *ijob = finished; /* nobody knows what it filters */                                                 \
        *info = solver_failed;                                                                               \
        qnm_core_not_carried(#L "FEAST_SRCI_PFILTER", nullptr, nullptr);                                     \
    }
#define QNM_COMPLEX(l, L, T) QNM_DRIVERS(l, T, he, hb, hcsr, hrci)
QNM_REAL_LETTERS(QNM_REAL)
QNM_COMPLEX_LETTERS(QNM_COMPLEX)
