// A call of any LAPACK entry, made from its row, with arrays of integers that know their length, and a core
// that reads and writes all that a routine may.
#pragma once

#include "support/sample_call.hpp"

#include <map>
#include <random>

namespace qnm::tests {

/// Whether an argument is an integer that the routine writes.
inline bool comes_back(const Argument& a)
{
    return a.kind == Kind::integer && a.direction != catalogue::Direction::none;
}

/// Whether -1 in an argument is a question for sizes to which all scratch is spared. A length that a query
/// itself sets asks in the core alone.
inline bool asks(const Argument& a)
{
    return a.query && !comes_back(a);
}

class LapackCall : public SampleCall {
public:
    /// What the core answers when it is asked for the size of a tree's leaves.
    static constexpr std::int64_t leaf_size = 5;
    /// Elements of a buffer on the stack.
    static constexpr std::int64_t on_stack = 16;

    /// All integers the same and first letters, or both by chance; where tests forbid the value, the nearest.
    LapackCall(const Entry& entry, std::int64_t size);
    LapackCall(const Entry& entry, std::mt19937& chance);
    LapackCall(std::string_view name, std::int64_t size) : LapackCall(tests::entry(name), size) {}

    /// Brings tested integers and letters into their bounds, in the order of the tests.
    LapackCall& make_valid();
    /// Gives the arrays their lengths for the integers and letters as they stand.
    LapackCall& lay_out();

    std::int64_t value(const catalogue::Expression& expression) const;
    /// Elements of an array of integers that are copied; below 1 there are none.
    std::int64_t extent(const Argument& argument) const;
    /// Bytes of the block for an array, 0 if it lives on the stack.
    std::int64_t block(const Argument& argument) const;
    /// Whether the entry makes a 64-bit copy of this argument.
    bool is_copied(const Argument& a) const { return narrow() && !row().groups && a.kind == Kind::integers; }
    /// Whether an array's length depends on the size of a tree's leaves, which the entry has to ask for.
    bool needs_leaf() const;

    /// The entry, called with rubbish in place of the hidden lengths.
    support::Returned run() const;
    /// Words in front of the arguments: where a hidden result goes, and the length of one that is text.
    std::size_t words_of_result() const;

    /// Whether -1 in an argument asks for sizes.
    bool is_query() const;
    std::vector<const Argument*> copied() const;

    const std::vector<int>& elements(const Argument& argument) const { return arrays_.at(&argument); }
    /// Arrays with what lies behind them.
    const std::map<const Argument*, std::vector<int>>& arrays() const { return arrays_; }

private:
    catalogue::Values values() const;
    std::map<const Argument*, std::vector<int>> arrays_;
};

/// The core function of an entry: its name in lower case, without the width.
std::string lapack_core(const Entry& entry);

/// Whether an entry registers the error interface.
bool registers(const Entry& entry);

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
