// A call of any entry of the Fortran interfaces, with arrays of integers that know their length, and a core
// that reads and writes all that a routine may.
#pragma once

#include "support/function_call.hpp"

#include <map>

namespace qnm::tests {

class FortranCall : public FunctionCall {
public:
    /// Elements of a buffer on the stack.
    static constexpr std::int64_t on_stack = 16;

    explicit FortranCall(const Signature& signature);
    /// All integers the same and first letters but for those given, or both by chance, with large integers in
    /// wide calls; where tests forbid the value, the nearest.
    FortranCall(const Signature& signature, std::int64_t size, const std::string& given = "");
    FortranCall(std::string_view name, std::int64_t size, const std::string& given = "")
        : FortranCall(tests::signature(name), size, given)
    {
    }
    FortranCall(const Signature& signature, std::mt19937& chance);

    /// Gives the arrays their lengths for the integers and letters as they stand.
    FortranCall& lay_out();

    /// Whether the routine writes an integer, and whether -1 in it is a question for sizes.
    bool comes_back(std::size_t i) const
    {
        return is_scalar(i) && facts(i)->direction != Direction::none && !has_groups();
    }
    /// Whether it goes in first.
    bool is_seeded(std::size_t i) const;
    bool asks(std::size_t i) const { return facts(i) != nullptr && facts(i)->query; }
    bool is_query() const;

    /// Arrays of integers of which the entry makes 64-bit copies: their elements, where below 1 there are
    /// none, and the bytes of their blocks, 0 for those that live on the stack.
    const std::vector<std::size_t>& copied() const { return copied_; }
    bool is_copied(std::size_t i) const;
    std::int64_t extent(std::size_t i) const;
    std::int64_t block(std::size_t i) const;
    std::size_t blocks() const;
    /// Whether an array's length depends on the size of a tree's leaves, which the entry has to ask for.
    bool needs_leaf() const;

    /// Arrays with what lies behind them.
    const std::map<std::size_t, std::vector<int>>& arrays() const { return arrays_; }
    /// Takes what stands in other memory for an array's elements.
    void take(std::size_t i, const int* elements)
    {
        std::copy_n(elements, std::max<std::int64_t>(extent(i), 0), arrays_.at(i).begin());
    }

    /// The calls that the entry makes, in order, up to its blocks and all.
    std::vector<std::string> beginning() const;
    std::vector<std::string> story() const;

private:
    std::int64_t named(const std::string& name, int group) const override;
    double real_length(std::size_t i) const;

    std::vector<std::size_t> copied_;
    std::map<std::size_t, std::vector<int>> arrays_;
    mutable bool leaf_seen_ = false;
};

/// The core's side of one call. It reads every array that has been copied for it and then writes to every
/// array and every integer that is a copy or not input, with rubbish in the upper half of each.
class Routine {
public:
    explicit Routine(FortranCall& call);
    ~Routine();
    Routine(const Routine&) = delete;
    Routine& operator=(const Routine&) = delete;

    /// Expects that the core got what the caller passed, widened, and 1 for each hidden length.
    void expect_arguments(const Call& noted) const;
    /// Expects that what the routine wrote, and nothing else, has come back.
    void expect_results() const;

private:
    void act(Call& noted);
    void expect_array(std::size_t i) const;
    std::int64_t coming_back(std::size_t i) const;

    FortranCall& call_;
    FortranCall before_;
    bool query_;
    std::map<std::size_t, std::vector<std::int64_t>> seen_;
};

/// The entries of the Fortran interfaces to BLAS, LAPACK and solvers, which copy integers; and the functions
/// of all other families that hand a call on as their signatures tell. The C interface to LAPACK and its
/// helpers move matrices, and services have odd arguments: these have tests of their own.
const std::vector<const Signature*>& entries();
const std::vector<const Signature*>& others();
std::vector<const Signature*> all();

/// Visits a call of each function in each of its layouts, of so many groups or problems. Of vectors that are
/// conjugated there are those of three problems, and none of groups.
void each_call(const std::vector<const Signature*>& functions,
               const std::function<void(const FunctionCall&)>& visit, int groups = 3);

/// The arguments that an entry of the Fortran interfaces reads up to one of its tests.
std::set<std::string> needed_for(const Signature& signature, std::size_t test);

/// Whether an argument is conjugated for the length of a row-major call: there twins show what is right.
bool is_turned(const FunctionCall& call, std::size_t i);

/// The core's function that a call ends in, through the entry of another family where there is one.
std::string called(const FunctionCall& call);

} // namespace qnm::tests
