// A system of equations in steps: analysed, factored, solved as often as wanted.
#pragma once

#include "pattern.hpp"
#include "processes.hpp"

#include <memory>
#include <string>

namespace qnm::core::solvers {

/// What an analysis is to heed.
struct Wishes {
    core_int reordering = 2;
    bool scaled = false, matched = false;
    core_int perturbation = 13; // null pivots become 10^-this times the norm; below zero: they are an error
    bool determinant = false;
};

enum class Turned { no, conjugated, plain };

/// Kilobytes, and counts of the factors.
struct Facts {
    core_int analysis_kb = 0, factors_kb = 0, nonzeros = 0, millions_of_operations = 0;
    core_int perturbed = 0, zero_pivot_row = 0, negative = 0;
    double flops = 0;
    cdouble determinant = 0; // times a power of 2
    int binary_exponent = 0;
};

/// What is done with a system's file.
enum class Filed { written, read, removed };

/// Errors are told by what is returned; without memory steps throw. All processes make a step together.
/// Values are those of each one's own elements; what else a step is given or gives back lies at the first one
/// alone, and the others hand on null.
class System {
public:
    virtual ~System() = default;
    /// With an order if one is given, from 1: the place of each row among the pivots. Values may be missing.
    virtual Error analyse(const void* values, const int* given_order) = 0;
    virtual Error factor(const void* values) = 0;
    /// x has b at first. Returns how often it was refined.
    virtual Error solve(Turned turned, core_int sides, void* x) = 0;
    /// Up to so many steps; returns how many were made, below zero an error.
    virtual core_int refine(Turned turned, core_int sides, const void* b, void* x, const void* values,
                            core_int most) = 0;
    virtual const int* order() const = 0; // as it was made
    virtual bool is_factored() const = 0;
    /// Under this name in this folder. One that is read goes on where the other was, facts apart.
    virtual Error file(Filed what, const std::string& folder, const std::string& name, bool is_factored) = 0;

    Facts facts;
};

std::unique_ptr<System> make_system(Kind kind, bool single, const Wishes& wishes,
                                    std::shared_ptr<const Pattern> pattern, const Processes& processes);

} // namespace qnm::core::solvers
