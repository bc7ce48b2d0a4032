#include "pardiso.hpp"

#include "living.hpp"
#include "open/guarded.hpp"
#include "open/solvers/checker.hpp"
#include "system.hpp"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

namespace qnm::core::solvers {
namespace {

/// What pt[0] stands for: matrices of one structure, each with factors of its own.
struct Handle {
    struct Matrix {
        std::shared_ptr<const Pattern> pattern;
        std::unique_ptr<System> system; // null once it has been released
    };
    Kind kind;
    bool single;
    core_int n;
    Wishes wishes;
    std::vector<Matrix> matrices;
    std::shared_ptr<const Pattern> latest; // what was analysed last, for matrices that never were
    std::vector<int> given_order;          // from 1; empty: none
};

Living<Handle> living;

void say(const char* what)
{
    std::fprintf(stderr, "QNM ERROR: PARDISO: %s is not carried by this core.\n", what);
}

/// The arguments of one call, under their published names.
template <class I>
struct Arguments {
    void** pt;
    core_int maxfct, mnum, phase, n;
    Kind kind;
    const void* a;
    const I *ia, *ja;
    I* perm;
    core_int nrhs;
    Controls<I> iparm;
    bool tells;
    void *b, *x;
};

template <class I>
class Call : Arguments<I> {
    using Arguments<I>::pt, Arguments<I>::maxfct, Arguments<I>::mnum, Arguments<I>::phase, Arguments<I>::n,
        Arguments<I>::kind, Arguments<I>::a, Arguments<I>::ia, Arguments<I>::ja, Arguments<I>::perm,
        Arguments<I>::nrhs, Arguments<I>::iparm, Arguments<I>::tells, Arguments<I>::b, Arguments<I>::x;

public:
    explicit Call(const Arguments<I>& arguments) : Arguments<I>(arguments) {}

    Error run()
    {
        if (pt[0] != nullptr && (handle = living.find(pt[0])) == nullptr)
            return inconsistent;
        if (phase == -1 || phase == 0)
            return release();
        const core_int first = phase >= 10 ? phase / 10 : phase, last = phase >= 10 ? phase % 10 : phase;
        if (phase > 100) {
            say("a solution in parts");
            return inconsistent;
        }
        if (iparm[set_by_caller] == 0)
            iparm.set_defaults(kind, false);
        if (phase < 11 || first < 1 || first > last || last > 3)
            return inconsistent;
        if (const Error error = refused(); error != no_error)
            return error;
        counts_nonzeros = iparm[nonzeros] < 0;
        counts_operations = iparm[operations] < 0;
        for (core_int step = first; step <= last; ++step) {
            static constexpr const char* stages[] = {"analysis", "factors", "solution"};
            const auto begun = std::chrono::steady_clock::now();
            const Error error = step == 1 ? analyse() : step == 2 ? factor() : solve();
            if (error != no_error)
                return error;
            if (tells)
                tell(stages[step - 1], begun);
            if (!host->goes_on(stages[step - 1],
                               static_cast<int>(100 * (step - first + 1) / (last - first + 1))))
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
            say(iparm[schur_complement] != 0 ? "a Schur complement" : "work out of core");
            return inconsistent;
        }
        return no_error;
    }

    bool is_single() const { return iparm[single_precision] == 1; }
    core_int base() const { return iparm[zero_based] == 1 ? 0 : 1; }
    core_int block() const { return std::max<core_int>(iparm[block_size], 1); }

    bool is_same_system() const { return handle != nullptr && handle->n == n * block(); }

    Handle::Matrix& matrix() const
    {
        if (handle->matrices.size() < static_cast<std::size_t>(mnum))
            handle->matrices.resize(static_cast<std::size_t>(mnum));
        return handle->matrices[static_cast<std::size_t>(mnum - 1)];
    }

    Error analyse()
    {
        if (ia == nullptr || ja == nullptr || (iparm[permutation] == 1 && perm == nullptr))
            return inconsistent;
        const Triangle triangle = kind.is_half() ? Triangle::upper : Triangle::all;
        if (iparm[checks] == 1) {
            const Checked found = checked(n, ia, ja, base(), triangle);
            if (found.finding != sound) {
                std::fprintf(stderr,
                             "QNM ERROR: PARDISO: row %lld of the matrix is not as it has to be (%d).\n",
                             static_cast<long long>(found.row + base()), found.finding);
                return inconsistent;
            }
        }
        if (handle != nullptr && (handle->n != n * block() || handle->single != is_single())) {
            living.end(handle); // another system
            pt[0] = handle = nullptr;
        }
        if (handle == nullptr) {
            pt[0] = handle = living.add(std::make_unique<Handle>(Handle{.kind = kind,
                                                                        .single = is_single(),
                                                                        .n = n * block(),
                                                                        .wishes = {},
                                                                        .matrices = {},
                                                                        .latest = {},
                                                                        .given_order = {}}));
        }
        handle->kind = kind;
        handle->wishes = {.reordering = iparm[reordering],
                          .scaled = iparm[scaling] == 1,
                          .matched = iparm[matching] == 1,
                          .perturbation = iparm[perturbation]};
        handle->given_order.clear();
        handle->latest.reset(); // what fails from here on leaves no analysis
        matrix() = {};
        if (iparm[permutation] == 1)
            for (core_int i = 0; i < n; ++i) // rows of a block stay together
                for (core_int k = 0; k < block(); ++k)
                    handle->given_order.push_back(static_cast<int>((perm[i] - base()) * block() + k + 1));
        handle->latest =
            std::make_shared<const Pattern>(kind, Stored<I>{n * block(), ia, ja, base(), block()});
        return analyse(matrix());
    }

    /// What was analysed last, for this matrix.
    Error analyse(Handle::Matrix& of) const
    {
        of.pattern = handle->latest;
        of.system = make_system(handle->kind, handle->single, handle->wishes, of.pattern);
        const std::vector<int>& order = handle->given_order;
        const Error error = of.system->analyse(a, order.empty() ? nullptr : order.data());
        if (error != no_error) {
            of.system.reset();
            return error;
        }
        if (iparm[permutation] == 2 && perm != nullptr && of.system->order() != nullptr)
            return_order(of.system->order());
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
        if (!is_same_system() || handle->latest == nullptr || a == nullptr)
            return inconsistent;
        Handle::Matrix& of = matrix();
        if (of.system == nullptr)
            if (const Error error = analyse(of); error != no_error)
                return error;
        const Error error = of.system->factor(a);
        tell_facts(*of.system);
        return error;
    }

    Error solve() const
    {
        if (!is_same_system() || b == nullptr || x == nullptr || nrhs < 1)
            return inconsistent;
        if (nrhs > std::numeric_limits<int>::max())
            return too_large;
        const Handle::Matrix& of = matrix();
        if (of.system == nullptr || !of.system->is_factored())
            return inconsistent;
        const core_int how = iparm[transposition];
        const Turned turned = how == 0 ? Turned::no : how == 1 ? Turned::conjugated : Turned::plain;
        const std::size_t element = (handle->single ? 4U : 8U) * (handle->kind.complex ? 2U : 1U);
        const std::size_t bytes = static_cast<std::size_t>(handle->n * nrhs) * element;
        std::memmove(x, b, bytes);
        if (const Error error = of.system->solve(turned, nrhs, x); error != no_error)
            return error;
        // With perturbed pivots the factors are those of another matrix.
        const core_int steps = iparm[steps_allowed] != 0         ? std::abs(iparm[steps_allowed])
                               : of.system->facts.perturbed != 0 ? 2
                                                                 : 0;
        core_int made = 0;
        if (steps != 0 && a != nullptr)
            made = of.system->refine(turned, nrhs, b, x, a, steps);
        if (made < 0)
            return static_cast<Error>(made);
        iparm.set(steps_made, made);
        if (iparm[solution_in_b] == 1)
            std::memcpy(b, x, bytes);
        return no_error;
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

    Handle* handle = nullptr;
    bool counts_nonzeros = false, counts_operations = false;
};

} // namespace

template <class I>
void pardiso(void** pt, const I* maxfct, const I* mnum, const I* mtype, const I* phase, const I* n,
             const void* a, const I* ia, const I* ja, I* perm, const I* nrhs, I* iparm, const I* msglvl,
             void* b, void* x, I* error)
{
    const auto run = [&] {
        return Call<I>({.pt = pt,
                        .maxfct = *maxfct,
                        .mnum = *mnum,
                        .phase = *phase,
                        .n = *n,
                        .kind = Kind(*mtype),
                        .a = a,
                        .ia = ia,
                        .ja = ja,
                        .perm = perm,
                        .nrhs = *nrhs,
                        .iparm = Controls(iparm),
                        .tells = *msglvl == 1,
                        .b = b,
                        .x = x})
            .run();
    };
    *error = static_cast<I>(guarded<no_memory, internal>(run));
}

template Pardiso<std::int32_t> pardiso<std::int32_t>;
template Pardiso<std::int64_t> pardiso<std::int64_t>;

} // namespace qnm::core::solvers
