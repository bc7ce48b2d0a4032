#include "system.hpp"

#include "mumps.hpp"

#include <cmath>
#include <limits>

namespace qnm::core::solvers {
namespace {

/// The engine's errors in PARDISO's terms.
Error error_of(int told)
{
    switch (told) {
    case 0:
        return no_error;
    case -2:
    case -4:
    case -16:
        return inconsistent;
    case -5:
    case -7:
    case -13:
    case -19:
    case -22:
        return no_memory;
    case -6:
        return not_matched;
    case -10:
    case -40:
        return zero_pivot;
    case -51:
    case -52:
        return too_large;
    default:
        return internal;
    }
}

/// Room that the engine gives itself, by an estimate that may fall short.
bool wants_more_room(int told)
{
    return told == -8 || told == -9 || told == -11 || told == -14 || told == -15 || told == -17 ||
           told == -20;
}

template <class T>
class Solver final : public System {
    using R = real_t<T>;

public:
    Solver(Kind kind, const Wishes& wishes, std::shared_ptr<const Pattern> pattern)
        : kind_(kind),
          wishes_(wishes),
          pattern_(std::move(pattern)),
          engine_(kind.symmetry != Symmetry::plain ? 0
                  : kind.positive                  ? 1
                                                   : 2)
    {
    }

    Error analyse(const void* values, const int* given_order) override
    {
        factored_ = false;
        auto& words = engine_.words;
        words.n = static_cast<int>(pattern_->n);
        words.nnz = pattern_->count;
        words.irn = pattern_->row.get();
        words.jcn = pattern_->column.get();
        Array<T> room;
        words.a = engine_.elements(pattern_->elements(static_cast<const T*>(values), room));
        words.perm_in = const_cast<int*>(given_order);
        const bool matched =
            wishes_.matched && values != nullptr && given_order == nullptr && !kind_.positive;
        engine_.control(6) = matched ? 7 : 0;
        engine_.control(7) = given_order != nullptr ? 1 : wishes_.reordering == 0 ? 0 : 3;
        engine_.control(8) = wishes_.scaled ? 77 : 0;
        engine_.control(12) = matched ? 0 : 1;
        engine_.control(13) = 1; // no part of the matrix is worked upon as a dense one of many processes
        const int told = engine_.run(1);
        words.a = nullptr;
        words.perm_in = nullptr;
        facts.analysis_kb = core_int{engine_.told(16)} * 1024;
        facts.nonzeros = engine_.counted(3);
        facts.millions_of_operations = static_cast<core_int>(engine_.words.rinfog[0] / 1e6);
        const Error error = error_of(told);
        const bool may_be_unmatched = kind_.symmetry == Symmetry::none;
        return error == not_matched && !may_be_unmatched ? not_reordered : error;
    }

    Error factor(const void* values) override
    {
        factored_ = false;
        Array<T> room;
        auto& words = engine_.words;
        words.a = engine_.elements(pattern_->elements(static_cast<const T*>(values), room));
        facts.perturbed = facts.zero_pivot_row = facts.negative = 0;
        engine_.control(24) = 0;
        engine_.control(33) = wishes_.determinant ? 1 : 0;
        int told = run_with_room();
        if (error_of(told) == zero_pivot)
            told = factor_singular();
        words.a = nullptr;
        if (told == 0) {
            facts.factors_kb = core_int{engine_.told(18)} * 1024;
            facts.nonzeros = engine_.counted(9);
            facts.flops = static_cast<double>(words.rinfog[2]);
            facts.determinant = {static_cast<double>(words.rinfog[11]),
                                 static_cast<double>(words.rinfog[12])};
            facts.binary_exponent = engine_.told(34);
            facts.negative = kind_.symmetry == Symmetry::plain && !kind_.complex ? engine_.told(12) : 0;
        }
        Error error = error_of(told);
        if (kind_.positive && facts.negative != 0)
            error = zero_pivot;
        if (error == zero_pivot && pattern_->is_diagonal())
            error = singular_diagonal;
        factored_ = error == no_error;
        return error;
    }

    Error solve(Turned turned, core_int sides, void* x) override
    {
        return error_of(solved(turned, sides, static_cast<T*>(x)));
    }

    core_int refine(Turned turned, core_int sides, const void* b, void* x, const void* values,
                    core_int most) override
    {
        Array<T> room, residual(pattern_->n * sides);
        const T* const a = pattern_->elements(static_cast<const T*>(values), room);
        auto* const now = static_cast<T*>(x);
        R last = std::numeric_limits<R>::infinity();
        core_int made = 0;
        for (; made < most; ++made) {
            const R error = residual_of(turned, sides, a, static_cast<const T*>(b), now, residual.get());
            if (error <= std::numeric_limits<R>::epsilon() || !(error <= last / 2))
                break;
            last = error;
            if (const int told = solved(turned, sides, residual.get()); told != 0)
                return error_of(told);
            for (core_int k = 0; k < pattern_->n * sides; ++k)
                now[k] += residual[k];
        }
        return made;
    }

    const int* order() const override { return engine_.words.sym_perm; }
    bool is_factored() const override { return factored_; }

private:
    int run_with_room()
    {
        constexpr int most = 10000; // per cent above the estimate
        int told = engine_.run(2);
        while (wants_more_room(told) && engine_.control(14) < most) {
            engine_.control(14) *= 3;
            told = engine_.run(2);
        }
        return told;
    }

    /// Once more, looking out for null pivots, each of which gets a small value; or, where these are an
    /// error, with the row of one of them.
    int factor_singular()
    {
        if (kind_.positive &&
            kind_.symmetry == Symmetry::plain) { // the engine tells how many pivots were good
            const int good = engine_.told(2);
            for (core_int i = 0; i < pattern_->n && order() != nullptr; ++i)
                if (order()[i] == good + 1)
                    facts.zero_pivot_row = i + 1;
            return -10;
        }
        const bool perturbs = wishes_.perturbation >= 0 && !kind_.positive;
        engine_.control(24) = 1;
        engine_.words.cntl[4] = perturbs ? std::pow(R(10), -static_cast<R>(wishes_.perturbation)) : R(0);
        const int told = run_with_room();
        if (told != 0)
            return told;
        facts.perturbed = engine_.told(28);
        if (perturbs)
            return 0;
        if (facts.perturbed > 0)
            facts.zero_pivot_row = engine_.words.pivnul_list[0];
        facts.perturbed = 0;
        return -10;
    }

    int solved(Turned turned, core_int sides, T* x)
    {
        const core_int all = pattern_->n * sides;
        const auto conjugate_all = [&] {
            if constexpr (is_complex<T>)
                if (turned == Turned::conjugated)
                    for (core_int k = 0; k < all; ++k)
                        x[k] = std::conj(x[k]);
        };
        auto& words = engine_.words;
        engine_.control(9) = turned == Turned::no ? 1 : 0;
        words.rhs = engine_.elements(x);
        words.nrhs = static_cast<int>(sides);
        words.lrhs = words.n;
        conjugate_all();
        const int told = engine_.run(3);
        conjugate_all();
        words.rhs = nullptr;
        return told;
    }

    /// Returns the componentwise backward error (Arioli, Demmel and Duff, 1989), the largest of all sides.
    R residual_of(Turned turned, core_int sides, const T* a, const T* b, const T* x, T* r) const
    {
        const core_int n = pattern_->n;
        const bool half = engine_.words.sym != 0;
        Array<R> size(n);
        R worst = 0;
        for (core_int side = 0; side < sides; ++side, b += n, x += n, r += n) {
            for (core_int i = 0; i < n; ++i) {
                r[i] = b[i];
                size[i] = std::abs(b[i]);
            }
            const auto take = [&](core_int i, core_int j, T v) {
                const T product = v * x[j];
                r[i] -= product;
                size[i] += std::abs(product);
            };
            for (core_int k = 0; k < pattern_->count; ++k) {
                core_int i = pattern_->row[k] - 1, j = pattern_->column[k] - 1;
                const T v = turned == Turned::conjugated ? conjugate(a[k]) : a[k];
                if (turned != Turned::no)
                    std::swap(i, j);
                take(i, j, v);
                if (half && i != j)
                    take(j, i, v);
            }
            for (core_int i = 0; i < n; ++i)
                if (const R error = std::abs(r[i]); error != 0)
                    worst = std::max(worst, error / size[i]);
        }
        return worst;
    }

    Kind kind_;
    Wishes wishes_;
    std::shared_ptr<const Pattern> pattern_;
    Instance<T> engine_;
    bool factored_ = false;
};

} // namespace

std::unique_ptr<System> make_system(Kind kind, bool single, const Wishes& wishes,
                                    std::shared_ptr<const Pattern> pattern)
{
    const auto make = [&](auto zero) -> std::unique_ptr<System> {
        return std::make_unique<Solver<decltype(zero)>>(kind, wishes, std::move(pattern));
    };
    if (kind.complex)
        return single ? make(cfloat()) : make(cdouble());
    return single ? make(0.0F) : make(0.0);
}

} // namespace qnm::core::solvers
