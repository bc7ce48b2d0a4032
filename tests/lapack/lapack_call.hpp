// A call of any LAPACK entry, made from its row, with arrays of integers that know their length, and a core
// that reads and writes all that a routine may.
#pragma once

#include "support/sample_call.hpp"

#include <map>

namespace qnm::tests {

/// Whether an argument is an integer that the routine writes.
inline bool comes_back(const Argument& a)
{
    return is_scalar(a) && a.direction != catalogue::Direction::none;
}

/// Whether -1 in an argument is a question for sizes, to which all scratch is spared.
inline bool asks(const Argument& a)
{
    return a.query;
}

class LapackCall : public SampleCall {
public:
    /// Elements of a buffer on the stack.
    static constexpr std::int64_t on_stack = 16;

    /// All integers the same and first letters but for those given, or both by chance, with large integers in
    /// wide calls; where tests forbid the value, the nearest.
    LapackCall(const Entry& entry, std::int64_t size, const std::string& given = "");
    LapackCall(const Entry& entry, std::mt19937& chance);
    LapackCall(std::string_view name, std::int64_t size, const std::string& given = "")
        : LapackCall(tests::entry(name), size, given)
    {
    }

    /// Gives the arrays their lengths for the integers and letters as they stand.
    LapackCall& lay_out();

    /// Elements of an array of integers that are copied; below 1 there are none.
    std::int64_t extent(const Argument& argument) const;
    /// Bytes of the block for an array, 0 if it lives on the stack.
    std::int64_t block(const Argument& argument) const;
    /// Arrays of integers of which the entry makes 64-bit copies, and how many of these are blocks.
    bool is_copied(const Argument& a) const { return narrow() && !row().groups && a.kind == Kind::integers; }
    std::vector<const Argument*> copied() const;
    std::size_t blocks() const;
    /// Whether an array's length depends on the size of a tree's leaves, which the entry has to ask for.
    bool needs_leaf() const;
    /// Whether -1 in an argument asks for sizes.
    bool is_query() const;

    const std::vector<int>& elements(const Argument& argument) const { return arrays_.at(&argument); }
    /// Arrays with what lies behind them.
    const std::map<const Argument*, std::vector<int>>& arrays() const { return arrays_; }

private:
    std::int64_t named(const std::string& name, int group) const override;
    double real_length(const Argument& argument) const;

    std::map<const Argument*, std::vector<int>> arrays_;
    mutable bool leaf_seen_ = false;
};

/// Whether an entry registers the error interface.
bool registers(const Entry& entry);

/// The names of the calls that end an entry's work before its blocks are taken, in order.
std::vector<std::string> beginning(const LapackCall& call);

/// The core's side of one call. It reads every array that has been copied for it and then writes to every
/// array and every scalar that is not input, with rubbish in the upper half of each integer.
class Routine {
public:
    explicit Routine(LapackCall& call);
    ~Routine();
    Routine(const Routine&) = delete;
    Routine& operator=(const Routine&) = delete;

    /// The names of the calls that this call of the entry has to make, in order.
    static std::vector<std::string> story(const LapackCall& call);
    /// Expects that the core got what the caller passed, widened, and 1 for each hidden length.
    void expect_arguments(const Call& noted) const;
    /// Expects that what the routine wrote, and nothing else, has come back.
    void expect_results() const;

    /// What the routine leaves in an element of an array, and in a scalar; the latter counts elements, so it
    /// is small. Its upper half is lost on the way back to a narrow caller.
    static std::int64_t written(std::size_t argument, std::int64_t element);
    static std::int64_t written(std::size_t argument);

private:
    void act(Call& noted);
    void expect_array(const Argument& argument) const;
    std::int64_t coming_back(const Argument& argument) const;

    LapackCall& call_;
    LapackCall before_;
    bool query_;
    std::map<const Argument*, std::vector<std::int64_t>> seen_;
};

/// Begins with a fresh core that knows the size of leaves and whose one-time answers go unnoted.
class LapackTest : public BlasTest {
protected:
    LapackTest() { core().answers("qnm_lapack_ilaenv").with(LapackCall::leaf_size); }
};

} // namespace qnm::tests
