#include "dss.hpp"

#include "living.hpp"
#include "open/guarded.hpp"
#include "open/solvers/checker.hpp"
#include "system.hpp"

#include <chrono>
#include <cmath>
#include <cstring>
#include <string_view>
#include <vector>

namespace qnm::core::solvers::dss {
namespace {

// Options that add up, and codes of a step, of which there is one at a time.
enum Option : unsigned {
    refinement_on = 8192,
    in_parts = 16384 | 32768,
    single_precision = 65536,
    zero_based = 131072,
    transposed = 262144,
    conjugated = 524288
};
constexpr unsigned code = 0xFC0;
enum Structure : unsigned { symmetric = 0x40, structure_alone = 0x80, general = 0xC0, of_complex = 0xC0 };
enum Order : unsigned { automatic = 0x40, given = 0x80, wanted = 0x100 };
enum Sign : unsigned { positive = 0x40, indefinite = 0x80, hermitian_positive = 0xC0, hermitian = 0x100 };

using Clock = std::chrono::steady_clock;

struct Solver {
    bool single = false, from_zero = false, refines = false;
    // as defined
    bool defined = false, complex = false;
    unsigned structure = general;
    core_int n = 0;
    std::vector<int> row_index, columns;
    // as reordered and factored
    std::vector<int> order; // from 1
    int mtype = 0;
    std::unique_ptr<System> system;
    std::vector<char> values; // the caller's may have gone when solutions are refined
    double reorder_time = 0, factor_time = 0, solve_time = 0;

    Stored<int> stored() const { return {n, row_index.data(), columns.data(), from_zero ? 0 : 1, 1}; }
    std::size_t element() const { return (single ? 4U : 8U) * (complex ? 2U : 1U); }

    int kind_of(unsigned sign) const
    {
        switch (structure) {
        case structure_alone:
            return complex ? 3 : 1;
        case general:
            return complex ? 13 : 11;
        default:
            break;
        }
        if (!complex)
            return sign == positive ? 2 : -2;
        return sign == hermitian_positive ? 4 : sign == hermitian ? -4 : 6;
    }
    /// In the order that is given or has been found; else a new one.
    Error analyse(int type)
    {
        const Kind kind(type);
        const bool scaled = kind.symmetry == Symmetry::none;
        const Wishes wishes{
            .scaled = scaled, .perturbation = kind.is_indefinite() ? 8 : 13, .determinant = true};
        system = make_system(kind, single, wishes, std::make_shared<const Pattern>(kind, stored()), {});
        mtype = type;
        return system->analyse(nullptr, order.empty() ? nullptr : order.data());
    }
};
Living<Solver> living;

Status status_of(Error error)
{
    switch (error) {
    case no_error:
        return dss_done;
    case no_memory:
        return dss_no_memory;
    case zero_pivot:
    case singular_diagonal:
        return dss_zero_pivot;
    default:
        return dss_failed;
    }
}

/// One step of a solver that lives, timed.
template <class Step>
int with(void** handle, double Solver::*time, const Step& step)
{
    Solver* const solver = living.find(*handle);
    if (solver == nullptr)
        return dss_bad_state;
    const auto begun = Clock::now();
    const Status status = guarded<dss_no_memory, dss_failed>([&]() -> Status { return step(*solver); });
    if (time != nullptr)
        solver->*time = std::chrono::duration<double>(Clock::now() - begun).count();
    return status;
}

unsigned option(const int* opt)
{
    return static_cast<unsigned>(*opt);
}

// ---- statistics

/// Mantissa, at least 1 and below 10 in size, and the power of 10.
int write_determinant(const Solver& solver, double* results)
{
    const Facts& facts = solver.system->facts;
    const double size = std::abs(facts.determinant);
    const double digits = size == 0 ? 0 : std::log10(size) + facts.binary_exponent * std::log10(2.0);
    const double power = std::floor(digits);
    const cdouble base = size == 0 ? cdouble() : facts.determinant / size * std::pow(10.0, digits - power);
    results[0] = power;
    results[1] = base.real();
    if (solver.complex)
        results[2] = base.imag();
    return solver.complex ? 3 : 2;
}

/// How many results were written; 0 for a name that nobody knows, below zero for one that is not to be had.
int write_statistic(const Solver& solver, std::string_view name, double* results)
{
    const Facts& facts = solver.system->facts;
    const auto one = [&](double value) { return *results = value, 1; };
    if (name == "reordertime")
        return one(solver.reorder_time);
    if (name == "factortime")
        return one(solver.factor_time);
    if (name == "solvetime")
        return one(solver.solve_time);
    if (name == "peakmem")
        return one(static_cast<double>(facts.analysis_kb));
    if (name == "factormem" || name == "solvemem")
        return one(static_cast<double>(facts.factors_kb));
    if (name == "flops")
        return one(facts.flops);
    if (name == "determinant")
        return solver.system->is_factored() ? write_determinant(solver, results) : -1;
    if (name != "inertia")
        return 0;
    if (!solver.system->is_factored() || solver.complex || solver.structure != symmetric)
        return -1;
    results[0] = static_cast<double>(solver.n - facts.negative - facts.perturbed);
    results[1] = static_cast<double>(facts.negative);
    results[2] = static_cast<double>(facts.perturbed);
    return 3;
}

} // namespace

int create(void** handle, const int* opt)
{
    return guarded<dss_no_memory, dss_failed>([&] {
        auto made = std::make_unique<Solver>();
        made->single = (option(opt) & single_precision) != 0;
        made->from_zero = (option(opt) & zero_based) != 0;
        made->refines = (option(opt) & refinement_on) != 0;
        *handle = living.add(std::move(made));
        return dss_done;
    });
}

int define_structure(void** handle, const int* opt, const int* row_index, const int* rows, const int* cols,
                     const int* columns, const int* nonzeros)
{
    return with(handle, nullptr, [&](Solver& s) {
        const unsigned structure = option(opt) & code;
        const bool complex = structure > of_complex;
        if (structure < symmetric || structure > of_complex + general)
            return dss_bad_structure;
        if (*rows != *cols || *rows < 1)
            return dss_not_square;
        const int base = s.from_zero ? 0 : 1, stored = row_index[*rows] - base;
        if (stored != *nonzeros)
            return stored < *nonzeros ? dss_too_many_values : dss_too_few_values;
        s.structure = complex ? structure - of_complex : structure;
        const Triangle triangle = s.structure == symmetric ? Triangle::upper : Triangle::all;
        const Finding found = checked<int>(*rows, row_index, columns, base, triangle).finding;
        if (found != sound)
            return found == descending ? dss_row_index : dss_column_index;
        s.defined = false;
        s.system.reset();
        s.order.clear();
        s.complex = complex;
        s.n = *rows;
        s.row_index.assign(row_index, row_index + *rows + 1);
        s.columns.assign(columns, columns + stored);
        s.defined = true;
        return dss_done;
    });
}

int reorder(void** handle, const int* opt, int* perm)
{
    return with(handle, &Solver::reorder_time, [&](Solver& s) {
        const unsigned order = option(opt) & code;
        if (!s.defined)
            return dss_bad_state;
        if ((order == given || order == wanted) && perm == nullptr)
            return dss_bad_order;
        const int base = s.from_zero ? 0 : 1;
        s.order.clear();
        if (order == given)
            for (core_int i = 0; i < s.n; ++i)
                s.order.push_back(perm[i] - base + 1);
        const Error error = s.analyse(s.kind_of(indefinite));
        if (error != no_error) {
            s.system.reset();
            return error == inconsistent ? dss_bad_order : status_of(error);
        }
        s.order.assign(s.system->order(), s.system->order() + s.n);
        if (order == wanted)
            for (core_int i = 0; i < s.n; ++i)
                perm[i] = s.order[static_cast<std::size_t>(i)] - 1 + base;
        return dss_done;
    });
}

int factor(void** handle, const int* opt, const void* values, bool complex)
{
    return with(handle, &Solver::factor_time, [&](Solver& s) {
        const unsigned sign = option(opt) & code;
        if (s.system == nullptr)
            return dss_bad_state;
        if (values == nullptr || complex != s.complex)
            return dss_bad_values;
        if (sign > hermitian)
            return dss_bad_option;
        s.refines = s.refines || (option(opt) & refinement_on) != 0;
        if (const int type = s.kind_of(sign); type != s.mtype) // of another sign than it was analysed for
            if (const Error error = s.analyse(type); error != no_error)
                return status_of(error);
        const auto* const bytes = static_cast<const char*>(values);
        s.values.assign(bytes, bytes + s.columns.size() * s.element());
        return status_of(s.system->factor(values));
    });
}

int solve(void** handle, const int* opt, const void* rhs, const int* nrhs, void* solution, bool complex)
{
    return with(handle, &Solver::solve_time, [&](Solver& s) {
        if (s.system == nullptr || !s.system->is_factored())
            return dss_bad_state;
        if (rhs == nullptr || solution == nullptr || complex != s.complex || *nrhs < 1)
            return dss_bad_values;
        if ((option(opt) & in_parts) != 0)
            return dss_bad_option;
        const Turned turned = (option(opt) & conjugated) != 0   ? Turned::conjugated
                              : (option(opt) & transposed) != 0 ? Turned::plain
                                                                : Turned::no;
        std::memmove(solution, rhs, static_cast<std::size_t>(s.n * *nrhs) * s.element());
        Error error = s.system->solve(turned, *nrhs, solution);
        const bool refined =
            s.refines || (option(opt) & refinement_on) != 0 || s.system->facts.perturbed != 0;
        constexpr core_int most = 2;
        if (error == no_error && refined)
            error = static_cast<Error>(std::min<core_int>(
                s.system->refine(turned, *nrhs, rhs, solution, s.values.data(), most), no_error));
        return status_of(error);
    });
}

int statistics(void** handle, const int* /*opt*/, const char* stat, double* results)
{
    return with(handle, nullptr, [&](Solver& s) {
        if (s.system == nullptr)
            return dss_bad_state;
        std::string_view rest = stat;
        while (!rest.empty()) {
            char name[16] = "";
            std::size_t length = 0, at = 0;
            for (; at < rest.size() && rest[at] != ','; ++at)
                if (rest[at] != ' ' && length + 1 < sizeof name)
                    name[length++] = static_cast<char>(upper_case(rest[at]) | ('a' - 'A'));
            rest.remove_prefix(std::min(at + 1, rest.size()));
            const int written = write_statistic(s, {name, length}, results);
            if (written <= 0)
                return written == 0 ? dss_bad_statistic : dss_no_statistic;
            results += written;
        }
        return dss_done;
    });
}

int end(void** handle, const int* /*opt*/)
{
    Solver* const solver = living.find(*handle);
    if (solver == nullptr)
        return dss_bad_state;
    living.end(solver);
    *handle = nullptr;
    return dss_done;
}

} // namespace qnm::core::solvers::dss
