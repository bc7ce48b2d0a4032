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
    case -78:
        return no_memory;
    case -6:
        return not_matched;
    case -10:
    case -40:
        return zero_pivot;
    case -51:
    case -52:
        return too_large;
    case -70:
    case -71:
    case -74:
        return not_opened;
    case -72:
    case -73:
    case -75:
    case -76:
    case -79:
        return not_passed;
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
    Solver(Kind kind, const Wishes& wishes, std::shared_ptr<const Pattern> pattern,
           const Processes& processes)
        : kind_(kind),
          wishes_(wishes),
          pattern_(std::move(pattern)),
          processes_(processes),
          engine_(kind.symmetry != Symmetry::plain ? 0
                  : kind.positive                  ? 1
                                                   : 2,
                  processes)
    {
    }

    Error analyse(const void* values, const int* given_order) override
    {
        factored_ = false;
        if (const int told = engine_.begin(); told != 0)
            return error_of(told);
        auto& words = engine_.words;
        words.n = static_cast<int>(pattern_->n);
        place_elements();
        const Values of_caller(*this, values);
        if (of_caller.error != no_error)
            return of_caller.error;
        words.perm_in = const_cast<int*>(given_order);
        const bool matched = wishes_.matched && values != nullptr && given_order == nullptr &&
                             !kind_.positive && !pattern_->is_spread;
        engine_.control(6) = matched ? 7 : 0;
        engine_.control(7) = given_order != nullptr    ? 1
                             : wishes_.reordering == 0 ? 0
                                                       : Processes::nested_dissection;
        engine_.control(8) = wishes_.scaled ? 77 : 0;
        engine_.control(12) = matched ? 0 : 1;
        engine_.control(13) = 1; // no part of the matrix is worked upon as a dense one of many processes
        engine_.control(18) = pattern_->is_spread ? 3 : 0;
        engine_.control(28) = 1; // the first process orders
        const int told = engine_.run(1);
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
        const Values of_caller(*this, values);
        if (of_caller.error != no_error)
            return of_caller.error;
        facts.perturbed = facts.zero_pivot_row = facts.negative = 0;
        engine_.control(24) = 0;
        engine_.control(33) = wishes_.determinant ? 1 : 0;
        int told = run_with_room();
        if (error_of(told) == zero_pivot)
            told = factor_singular();
        if (told == 0) {
            const auto& words = engine_.words;
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
        if (error == zero_pivot && processes_.all(pattern_->is_diagonal()))
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
        const core_int all = pattern_->n * sides;
        Array<T> room, residual, copy;
        Array<R> size;
        const T* a = nullptr;
        const Error error_of_room = processes_.agreed([&] {
            residual = Array<T>(all);
            size = Array<R>(pattern_->n);
            copy = processes_.is_first() ? Array<T>() : Array<T>(all);
            a = pattern_->elements(static_cast<const T*>(values), room);
            return no_error;
        });
        if (error_of_room != no_error)
            return error_of_room;
        auto* const now = processes_.is_first() ? static_cast<T*>(x) : copy.get();
        R last = std::numeric_limits<R>::infinity();
        core_int made = 0;
        for (; made < most; ++made) {
            processes_.hand_out(now, all);
            const R error =
                residual_of(turned, sides, a, static_cast<const T*>(b), now, residual.get(), size.get());
            if (error <= std::numeric_limits<R>::epsilon() || !(error <= last / 2))
                break;
            last = error;
            if (const int told = solved(turned, sides, residual.get()); told != 0)
                return error_of(told);
            for (core_int k = 0; processes_.is_first() && k < all; ++k)
                now[k] += residual[k];
        }
        return made;
    }

    const int* order() const override { return engine_.words.sym_perm; }
    bool is_factored() const override { return factored_; }

    Error file(Filed what, const std::string& folder, const std::string& name, bool is_factored) override
    {
        auto& words = engine_.words;
        if (folder.size() >= sizeof words.save_dir || name.size() >= sizeof words.save_prefix)
            return inconsistent;
        if (const int told = engine_.begin(); told != 0)
            return error_of(told);
        folder.copy(words.save_dir, sizeof words.save_dir);
        name.copy(words.save_prefix, sizeof words.save_prefix);
        const int told = engine_.run(what == Filed::written ? 7 : what == Filed::read ? 8 : -3);
        if (what == Filed::read) {
            place_elements();
            factored_ = told == 0 && is_factored;
        }
        return error_of(told);
    }

private:
    /// The caller's values, where the engine looks for them while this lives.
    class Values {
    public:
        Values(Solver& of, const void* values) : words_(of.engine_.words)
        {
            error = of.processes_.agreed([&] {
                auto* const a =
                    Instance<T>::elements(of.pattern_->elements(static_cast<const T*>(values), room_));
                (of.pattern_->is_spread ? words_.a_loc : words_.a) = a;
                return no_error;
            });
        }
        ~Values() { words_.a = words_.a_loc = nullptr; }
        Values(const Values&) = delete;

        Error error = no_error;

    private:
        typename Mumps<T>::Words& words_;
        Array<T> room_;
    };

    void place_elements()
    {
        auto& words = engine_.words;
        (pattern_->is_spread ? words.nnz_loc : words.nnz) = pattern_->count;
        (pattern_->is_spread ? words.irn_loc : words.irn) = pattern_->row.get();
        (pattern_->is_spread ? words.jcn_loc : words.jcn) = pattern_->column.get();
    }

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
            processes_.hand_out(&facts.zero_pivot_row, 1);
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
        if (facts.perturbed > 0 && processes_.is_first())
            facts.zero_pivot_row = engine_.words.pivnul_list[0];
        processes_.hand_out(&facts.zero_pivot_row, 1);
        facts.perturbed = 0;
        return -10;
    }

    int solved(Turned turned, core_int sides, T* x)
    {
        const core_int all = processes_.is_first() ? pattern_->n * sides : 0;
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
    /// The residual is the first process's.
    R residual_of(Turned turned, core_int sides, const T* a, const T* b, const T* x, T* r, R* size) const
    {
        const core_int n = pattern_->n;
        const bool half = engine_.words.sym != 0;
        R worst = 0;
        for (core_int side = 0; side < sides; ++side, x += n, r += n) {
            for (core_int i = 0; i < n; ++i) {
                r[i] = processes_.is_first() ? b[side * n + i] : T();
                size[i] = std::abs(r[i]);
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
            processes_.add_up(r, n);
            processes_.add_up(size, n);
            for (core_int i = 0; i < n; ++i)
                if (const R error = std::abs(r[i]); error != 0)
                    worst = std::max(worst, error / size[i]);
        }
        processes_.hand_out(&worst, 1);
        return worst;
    }

    Kind kind_;
    Wishes wishes_;
    std::shared_ptr<const Pattern> pattern_;
    Processes processes_;
    Instance<T> engine_;
    bool factored_ = false;
};

} // namespace

std::unique_ptr<System> make_system(Kind kind, bool single, const Wishes& wishes,
                                    std::shared_ptr<const Pattern> pattern, const Processes& processes)
{
    const auto make = [&](auto zero) -> std::unique_ptr<System> {
        return std::make_unique<Solver<decltype(zero)>>(kind, wishes, std::move(pattern), processes);
    };
    if (kind.complex)
        return single ? make(cfloat()) : make(cdouble());
    return single ? make(0.0F) : make(0.0);
}

} // namespace qnm::core::solvers
