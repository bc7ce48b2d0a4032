#include "pardiso.hpp"

#include "handle.hpp"
#include "open/guarded.hpp"
#include "open/solvers/checker.hpp"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

namespace qnm::core::solvers {

Living<Handle> living;

namespace {

void say(const char* what)
{
    std::fprintf(stderr, "QNM ERROR: PARDISO: %s is not carried by this core.\n", what);
}

template <class I>
class Call : Arguments<I> {
    using Arguments<I>::processes, Arguments<I>::pt, Arguments<I>::maxfct, Arguments<I>::mnum,
        Arguments<I>::mtype, Arguments<I>::phase, Arguments<I>::n, Arguments<I>::a, Arguments<I>::ia,
        Arguments<I>::ja, Arguments<I>::perm, Arguments<I>::nrhs, Arguments<I>::iparm, Arguments<I>::tells,
        Arguments<I>::b, Arguments<I>::x;

public:
    explicit Call(const Arguments<I>& arguments) : Arguments<I>(arguments), kind(arguments.mtype) {}

    Error run()
    {
        handle = pt[0] != nullptr ? living.find(pt[0]) : nullptr;
        const bool is_one_of_these = handle != nullptr && handle->processes.are_same(processes);
        const core_int number = is_one_of_these ? handle->number : pt[0] == nullptr ? 0 : -1;
        if (!processes.have_in_common(number) || number < 0)
            return inconsistent;
        if (phase == -1 || phase == 0)
            return release();
        const core_int first = phase >= 10 ? phase / 10 : phase, last = phase >= 10 ? phase % 10 : phase;
        if (phase > 100) {
            if (processes.is_first())
                say("a solution in parts");
            return inconsistent;
        }
        if (iparm[set_by_caller] == 0)
            iparm.set_defaults(kind, false);
        if (phase < 11 || first < 1 || first > last || last > 3)
            return inconsistent;
        if (const Error error = processes.agreed([&] { return refused(); }); error != no_error)
            return error;
        counts_nonzeros = iparm[nonzeros] < 0;
        counts_operations = iparm[operations] < 0;
        for (core_int step = first; step <= last; ++step) {
            static constexpr const char* stages[] = {"analysis", "factors", "solution"};
            const auto begun = std::chrono::steady_clock::now();
            const Error error = step == 1 ? analyse() : step == 2 ? factor() : solve();
            if (error != no_error)
                return error;
            if (tells && processes.is_first())
                tell(stages[step - 1], begun);
            const auto part = static_cast<int>(100 * (step - first + 1) / (last - first + 1));
            if (!processes.all(host->goes_on(stages[step - 1], part)))
                return stopped;
        }
        return no_error;
    }

private:
    Error release()
    {
        if (handle == nullptr)
            return no_error;
        if (phase == 0) {
            if (mnum < 1 || mnum > static_cast<core_int>(handle->matrices.size()))
                return inconsistent;
            handle->matrices[static_cast<std::size_t>(mnum - 1)].system.reset();
            return no_error;
        }
        living.end(handle);
        pt[0] = nullptr;
        return no_error;
    }

    Error refused() const
    {
        if (!kind.known || n < 1 || maxfct < 1 || mnum < 1 || mnum > maxfct || iparm[block_size] < 0)
            return inconsistent;
        if (n > std::numeric_limits<int>::max() / std::max<core_int>(iparm[block_size], 1))
            return too_large;
        if (iparm[schur_complement] != 0 || iparm[out_of_core] == 2) {
            if (processes.is_first())
                say(iparm[schur_complement] != 0 ? "a Schur complement" : "work out of core");
            return inconsistent;
        }
        const Rows own = rows();
        const bool may_be_spread = iparm[spread_input] == 1 || iparm[spread_input] == 2;
        if (is_spread() && (!may_be_spread || own.first < 0 || own.count < 0 || own.first + own.count > n))
            return inconsistent;
        return no_error;
    }

    /// Rows that this process has: of the matrix, and of vectors that are spread as the matrix is.
    struct Rows {
        core_int first, count;
    };
    bool is_spread() const { return Processes::are_several && iparm[spread_input] != 0; }
    Rows rows() const
    {
        if (is_spread())
            return {iparm[first_row] - base(), iparm[last_row] - iparm[first_row] + 1};
        return {0, processes.is_first() ? n : 0};
    }
    bool is_single() const { return iparm[single_precision] == 1; }
    core_int base() const { return iparm[zero_based] == 1 ? 0 : 1; }
    core_int block() const { return std::max<core_int>(iparm[block_size], 1); }

    bool is_same_system() const { return handle != nullptr && handle->n == n * block(); }

    /// Null if it has been released, or never was.
    Handle::Matrix* find() const
    {
        const auto at = static_cast<std::size_t>(mnum - 1);
        return at < handle->matrices.size() && handle->matrices[at].system != nullptr ? &handle->matrices[at]
                                                                                      : nullptr;
    }
    Handle::Matrix& matrix() const
    {
        if (handle->matrices.size() < static_cast<std::size_t>(mnum))
            handle->matrices.resize(static_cast<std::size_t>(mnum));
        return handle->matrices[static_cast<std::size_t>(mnum - 1)];
    }

    /// What each process does for itself ahead of an analysis.
    struct Prepared {
        std::shared_ptr<const Pattern> pattern;
        std::vector<int> order;
    };
    Error prepare(Prepared& made) const
    {
        const Rows own = rows();
        const bool is_ordered = iparm[permutation] == 1 && processes.is_first();
        if ((own.count > 0 && (ia == nullptr || ja == nullptr)) || (is_ordered && perm == nullptr))
            return inconsistent;
        const Triangle triangle = kind.is_half() ? Triangle::upper : Triangle::all;
        if (iparm[checks] == 1 && own.count > 0) {
            const Checked found = checked(own.count, ia, ja, base(), triangle, own.first, n);
            if (found.finding != sound) {
                std::fprintf(stderr,
                             "QNM ERROR: PARDISO: row %lld of the matrix is not as it has to be (%d).\n",
                             static_cast<long long>(own.first + found.row + base()), found.finding);
                return inconsistent;
            }
        }
        made.pattern = std::make_shared<const Pattern>(
            kind, Stored<I>{own.count * block(), ia, ja, base(), block(), own.first * block()}, n * block(),
            is_spread());
        for (core_int i = 0; is_ordered && i < n; ++i) // rows of a block stay together
            for (core_int k = 0; k < block(); ++k)
                made.order.push_back(static_cast<int>((perm[i] - base()) * block() + k + 1));
        return no_error;
    }

    /// What was analysed for this matrix is not what the caller has now.
    void forget() const
    {
        if (handle == nullptr)
            return;
        handle->latest.reset();
        if (Handle::Matrix* const of = find())
            of->system.reset();
    }

    Error analyse()
    {
        Prepared prepared;
        if (const Error error = processes.agreed([&] { return prepare(prepared); }); error != no_error) {
            forget();
            return error;
        }
        if (handle != nullptr && (handle->n != n * block() || handle->single != is_single())) {
            living.end(handle); // another system
            pt[0] = handle = nullptr;
        }
        if (handle == nullptr) {
            const Processes kept = processes.kept();
            core_int number = Handle::next_number();
            processes.hand_out(&number, 1);
            const auto add = [&] {
                handle = living.add(std::make_unique<Handle>(
                    Handle{kept, number, static_cast<int>(mtype), is_single(), n * block()}));
                return no_error;
            };
            if (const Error error = processes.agreed(add); error != no_error) {
                if (handle != nullptr)
                    living.end(handle);
                return error;
            }
            pt[0] = handle;
        }
        handle->mtype = static_cast<int>(mtype);
        handle->wishes = {.reordering = iparm[reordering],
                          .scaled = iparm[scaling] == 1,
                          .matched = iparm[matching] == 1,
                          .perturbation = iparm[perturbation]};
        handle->given_order = std::move(prepared.order);
        handle->latest = std::move(prepared.pattern);
        return analyse_latest();
    }

    /// What was analysed last, for this matrix.
    Error analyse_latest() const
    {
        const auto find = [&] {
            matrix().pattern = handle->latest;
            return no_error;
        };
        if (const Error error = processes.agreed(find); error != no_error)
            return error;
        Handle::Matrix& of = matrix();
        of.system.reset();
        const auto make = [&] {
            of.system =
                make_system(handle->kind(), handle->single, handle->wishes, of.pattern, handle->processes);
            return no_error;
        };
        const std::vector<int>& order = handle->given_order;
        Error error = processes.agreed(make);
        if (error == no_error)
            error = of.system->analyse(a, order.empty() ? nullptr : order.data());
        if (error != no_error) {
            of.system.reset();
            return error;
        }
        const auto give_back = [&] {
            if (iparm[permutation] == 2 && perm != nullptr && of.system->order() != nullptr)
                return_order(of.system->order());
            return no_error;
        };
        error = processes.agreed(give_back);
        if (error != no_error) {
            of.system.reset();
            return error;
        }
        tell_facts(*of.system);
        return no_error;
    }

    /// Blocks in the order of the first of their rows.
    void return_order(const int* places) const
    {
        const Array<core_int> at(handle->n); // the block of each place
        for (core_int i = 0; i < handle->n; ++i)
            at[places[i] - 1] = i / block();
        std::fill_n(perm, n, static_cast<I>(-1));
        core_int next = base();
        for (core_int place = 0; place < handle->n; ++place)
            if (I& of_block = perm[at[place]]; of_block < 0)
                of_block = static_cast<I>(next++);
    }

    Error factor() const
    {
        if (!is_same_system() || handle->latest == nullptr)
            return inconsistent;
        Handle::Matrix* const of = find();
        const Pattern& pattern = of == nullptr ? *handle->latest : *of->pattern;
        if (!processes.all(pattern.count == 0 || a != nullptr))
            return inconsistent;
        if (of == nullptr)
            if (const Error error = analyse_latest(); error != no_error)
                return error;
        System& system = *matrix().system;
        const Error error = system.factor(a);
        tell_facts(system);
        return error;
    }

    Error solve() const
    {
        if (!is_same_system() || nrhs < 1)
            return inconsistent;
        if (nrhs > std::numeric_limits<int>::max())
            return too_large;
        const Handle::Matrix* const of = find();
        if (of == nullptr || !of->system->is_factored())
            return inconsistent;
        const bool has_solution =
            is_spread() && iparm[spread_input] == 2 ? rows().count > 0 : processes.is_first();
        if (!processes.all((rows().count == 0 || b != nullptr) && (!has_solution || x != nullptr)))
            return inconsistent;
        if (is_spread())
            return handle->single ? solve_spread<float>(*of->system) : solve_spread<double>(*of->system);
        const Error error = solve(*of->system, b, x);
        if (error == no_error && iparm[solution_in_b] == 1 && processes.is_first())
            std::memcpy(b, x, bytes());
        return error;
    }

    /// Of vectors as they are at the first process.
    Error solve(System& system, const void* whole_b, void* whole_x) const
    {
        const core_int how = iparm[transposition];
        const Turned turned = how == 0 ? Turned::no : how == 1 ? Turned::conjugated : Turned::plain;
        if (processes.is_first())
            std::memmove(whole_x, whole_b, bytes());
        if (const Error error = system.solve(turned, nrhs, whole_x); error != no_error)
            return error;
        // With perturbed pivots the factors are those of another matrix.
        const core_int steps = iparm[steps_allowed] != 0     ? std::abs(iparm[steps_allowed])
                               : system.facts.perturbed != 0 ? 2
                                                             : 0;
        core_int made = 0;
        if (steps != 0 && processes.all(a != nullptr || matrix().pattern->count == 0))
            made = system.refine(turned, nrhs, whole_b, whole_x, a, steps);
        if (made < 0)
            return static_cast<Error>(made);
        iparm.set(steps_made, made);
        return no_error;
    }

    /// Each process has its rows of b, and x as well or the first one all of it. Rows of several are added
    /// up.
    template <class R>
    Error solve_spread(System& system) const
    {
        const core_int parts = handle->kind().complex ? 2 : 1; // of a number
        const core_int all = handle->n * parts, first = rows().first * block() * parts,
                       count = rows().count * block() * parts;
        Array<R> whole_b, whole_x;
        const auto make = [&] {
            whole_b = Array<R>::zeros(all * nrhs);
            whole_x = Array<R>(all * nrhs);
            return no_error;
        };
        if (const Error error = processes.agreed(make); error != no_error)
            return error;
        const auto copy_own = [&](R* own, R* whole, bool to_whole) {
            for (core_int side = 0; count > 0 && side < nrhs; ++side) {
                R* const mine = own + side * count;
                R* const there = whole + side * all + first;
                to_whole ? std::copy_n(mine, count, there) : std::copy_n(there, count, mine);
            }
        };
        copy_own(static_cast<R*>(b), whole_b.get(), true);
        processes.add_up(whole_b.get(), all * nrhs);
        if (const Error error = solve(system, whole_b.get(), whole_x.get()); error != no_error)
            return error;
        processes.hand_out(whole_x.get(), all * nrhs);
        if (iparm[spread_input] == 2)
            copy_own(static_cast<R*>(x), whole_x.get(), false);
        else if (processes.is_first())
            std::memcpy(x, whole_x.get(), bytes());
        if (iparm[solution_in_b] == 1)
            copy_own(static_cast<R*>(b), whole_x.get(), false);
        return no_error;
    }

    /// Of vectors whole.
    std::size_t bytes() const
    {
        const std::size_t element = (handle->single ? 4U : 8U) * (handle->kind().complex ? 2U : 1U);
        return static_cast<std::size_t>(handle->n * nrhs) * element;
    }

    void tell_facts(const System& system) const
    {
        const Facts& facts = system.facts;
        iparm.set(peak_of_analysis, facts.analysis_kb);
        iparm.set(kept_by_analysis, facts.analysis_kb);
        iparm.set(memory_of_factors, facts.factors_kb);
        if (counts_nonzeros)
            iparm.set(nonzeros, facts.nonzeros);
        if (counts_operations)
            iparm.set(operations, facts.millions_of_operations);
        if (!system.is_factored() && facts.zero_pivot_row == 0)
            return;
        iparm.set(perturbed_pivots, facts.perturbed);
        iparm.set(zero_pivot_row, facts.zero_pivot_row);
        const bool counts = kind.symmetry == Symmetry::plain && !kind.complex;
        iparm.set(negative_eigenvalues, counts ? facts.negative : -1);
        iparm.set(positive_eigenvalues, counts ? handle->n - facts.negative - facts.perturbed : -1);
    }

    void tell(const char* stage, std::chrono::steady_clock::time_point begun) const
    {
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begun;
        const Facts& facts = matrix().system->facts;
        std::printf("PARDISO %s: %lld equations, %lld non-zeros of factors, %lld million operations, "
                    "%lld perturbed pivots, %.3f s\n",
                    stage, static_cast<long long>(handle->n), static_cast<long long>(facts.nonzeros),
                    static_cast<long long>(facts.millions_of_operations),
                    static_cast<long long>(facts.perturbed), time.count());
        std::fflush(stdout);
    }

    const Kind kind;
    Handle* handle = nullptr;
    bool counts_nonzeros = false, counts_operations = false;
};

} // namespace

template <class I>
Error called(const Arguments<I>& arguments) noexcept
{
    return guarded<no_memory, internal>([&] { return Call<I>(arguments).run(); });
}

template Error called(const Arguments<std::int32_t>&) noexcept;
template Error called(const Arguments<std::int64_t>&) noexcept;

} // namespace qnm::core::solvers
