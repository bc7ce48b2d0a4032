// What PARDISO is told by numbers: kinds of matrices and the array of controls, at the caller's width.
#pragma once

#include "../core.hpp"

namespace qnm::core::solvers {

enum Error : int {
    no_error = 0,
    inconsistent = -1,
    no_memory = -2,
    not_reordered = -3,
    zero_pivot = -4,
    internal = -5,
    not_matched = -6,
    singular_diagonal = -7,
    too_large = -8,
    not_opened = -10, // files
    not_passed = -11, // they were not written, read or removed
    stopped = -13
};

/// Statuses of DSS; options have published numbers of their own.
enum Status : int {
    dss_done = 0,
    dss_zero_pivot = -1,
    dss_no_memory = -2,
    dss_failed = -3,
    dss_row_index = -4,
    dss_column_index = -5,
    dss_too_few_values = -6,
    dss_too_many_values = -7,
    dss_not_square = -8,
    dss_bad_state = -9,
    dss_bad_option = -10,
    dss_bad_structure = -14,
    dss_bad_order = -15,
    dss_bad_values = -16,
    dss_bad_statistic = -17,
    dss_no_statistic = -18
};

enum class Symmetry { none, structure, plain, hermitian };

/// The kinds that the published numbers tell.
struct Kind {
    bool known = true, complex = false, positive = false;
    Symmetry symmetry = Symmetry::none;

    explicit constexpr Kind(core_int mtype)
    {
        switch (mtype) {
        case 3:
            complex = true;
            [[fallthrough]];
        case 1:
            symmetry = Symmetry::structure;
            break;
        case 2:
            positive = true;
            [[fallthrough]];
        case -2:
            symmetry = Symmetry::plain;
            break;
        case 4:
            positive = true;
            [[fallthrough]];
        case -4:
            complex = true, symmetry = Symmetry::hermitian;
            break;
        case 6:
            complex = true, symmetry = Symmetry::plain;
            break;
        case 13:
            complex = true;
            break;
        case 11:
            break;
        default:
            known = false;
        }
    }
    /// Whether the upper triangle alone is stored.
    constexpr bool is_half() const { return symmetry == Symmetry::plain || symmetry == Symmetry::hermitian; }
    constexpr bool is_indefinite() const { return is_half() && !positive; }
};

/// Places in the array of controls, counted from 1 as in its documentation.
enum Control {
    set_by_caller = 1,
    reordering = 2,
    iteration = 4,
    permutation = 5,
    solution_in_b = 6,
    steps_made = 7,
    steps_allowed = 8,
    perturbation = 10,
    scaling = 11,
    transposition = 12,
    matching = 13,
    perturbed_pivots = 14,
    peak_of_analysis = 15,
    kept_by_analysis = 16,
    memory_of_factors = 17,
    nonzeros = 18,
    operations = 19,
    pivoting = 21,
    positive_eigenvalues = 22,
    negative_eigenvalues = 23,
    checks = 27,
    single_precision = 28,
    zero_pivot_row = 30,
    schur_complement = 36,
    block_size = 37,
    zero_based = 35,
    spread_input = 40,
    first_row = 41,
    last_row = 42,
    diagonal_access = 56,
    out_of_core = 60
};
constexpr int controls_in_all = 64;

template <class I>
class Controls {
public:
    explicit Controls(I* iparm) : iparm_(iparm) {}
    core_int operator[](Control c) const { return iparm_[c - 1]; }
    void set(Control c, core_int value) const { iparm_[c - 1] = static_cast<I>(value); }

    /// All of them as they are without a word of the caller's.
    void set_defaults(Kind kind, bool by_caller) const
    {
        std::fill_n(iparm_, controls_in_all, I{});
        set(set_by_caller, by_caller ? 1 : 0);
        set(reordering, 2);
        set(perturbation, kind.is_indefinite() ? 8 : 13);
        set(scaling, kind.symmetry == Symmetry::none ? 1 : 0);
        set(matching, kind.symmetry == Symmetry::none ? 1 : 0);
        set(nonzeros, -1);
        set(pivoting, 1);
    }

private:
    I* iparm_;
};

} // namespace qnm::core::solvers
