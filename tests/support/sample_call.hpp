// A call of any entry, made from its row: valid as it comes, with a value of its own in each integer and an
// address of its own for each array. Tests change one argument or two and look what becomes of it.
#pragma once

#include "catalogue/catalogue.hpp"
#include "support/invoke.hpp"
#include "support/recorded.hpp"

#include <array>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qnm::tests {

using catalogue::Argument;
using catalogue::Class;
using catalogue::Entry;
using catalogue::ExpressionPtr;
using catalogue::Kind;
using catalogue::Width;

/// The tables under test, all their entries, and one by its upper-case name.
const catalogue::Catalogue& tables();
const std::vector<Entry>& entries();
const Entry& entry(std::string_view name);

/// An address that faults at the first touch: the layer has no business behind it.
inline const void* untouchable_address(std::size_t i)
{
    return reinterpret_cast<const void*>(0xADD0'0000'0000'0000U + 0x1000 * (i + 1));
}

class SampleCall {
public:
    /// Elements of each array of a group batch, and of an index array.
    static constexpr int groups = 3;
    static constexpr int all_groups = -1;
    /// The leaves' size of a divide-and-conquer tree, where an expression asks for it.
    static constexpr std::int64_t leaf_size = 5;

    explicit SampleCall(const Entry& entry);
    explicit SampleCall(std::string_view name) : SampleCall(tests::entry(name)) {}

    const Entry& entry() const { return *entry_; }
    const catalogue::Row& row() const { return *entry_->row; }
    bool narrow() const { return entry_->width == Width::narrow; }

    /// Integers and letters as they stand in the caller's memory; in group batches those of all groups, or of
    /// one.
    std::int64_t integer(const Argument& argument, int group = 0) const;
    char letter(const Argument& argument, int group = 0) const;
    std::int64_t integer(const std::string& name) const { return integer(row().arguments[index(name)]); }
    char letter(const std::string& name) const { return letter(row().arguments[index(name)]); }
    SampleCall& set(const std::string& name, std::int64_t value, int group = all_groups);
    SampleCall& choose(const std::string& name, char letter, int group = all_groups);
    /// Several integers and letters: "uplo=U n=3".
    SampleCall& give(const std::string& words);
    /// Another address for an argument, null included.
    SampleCall& point(const std::string& name, const void* address);

    /// Gives every integer a valid value that no other has, for the letters as they are now.
    SampleCall& settle();
    /// Gives every letter one of those told for it, in either case.
    SampleCall& choose_letters(std::mt19937& chance,
                               const std::function<std::string(const Argument&)>& letters);
    /// Brings tested integers and letters into their bounds, in the order of the tests.
    SampleCall& make_valid();
    /// The least value that a test of the row's kind `>=` lets pass, as the tables' own evaluator has it.
    std::int64_t bound(const Argument& argument, int group = 0) const;
    std::int64_t value(const catalogue::Expression& expression, int group = 0) const;
    bool holds(const catalogue::Expression& condition, int group = 0) const
    {
        return value(condition, group) != 0;
    }

    /// What the caller passes for an argument: an address, or the value itself.
    support::Word word(const Argument& argument) const;
    bool is_null(const Argument& argument) const;
    /// The address in front of the arguments, where a complex result goes, and how many words stand there: a
    /// text has its length behind it.
    static const void* hidden_result();
    std::size_t words_of_result() const;

    /// The entry, or its exported check, called with rubbish in place of the hidden lengths.
    support::Returned run() const { return run(layer()[entry_->name()]); }
    support::Returned run_check() const { return run(layer()[entry_->check()]); }
    support::Returned run(const void* function) const;

    /// The caller's integers and letters, byte by byte.
    bool operator==(const SampleCall& other) const { return memory_ == other.memory_; }

protected:
    /// What a name of an expression stands for.
    virtual std::int64_t named(const std::string& name, int group) const;

private:
    using Slot = std::array<unsigned char, groups * sizeof(std::int64_t)>;

    std::size_t index(const std::string& name) const;
    std::size_t index(const Argument& argument) const
    {
        return static_cast<std::size_t>(row().position(argument)) - 1;
    }
    std::size_t integer_bytes() const { return narrow() ? sizeof(std::int32_t) : sizeof(std::int64_t); }
    std::int64_t valid_value(const Argument& argument, int group, std::set<std::int64_t>& used) const;

    const Entry* entry_;
    std::vector<Slot> memory_;
    std::vector<std::optional<const void*>> pointed_;
};

/// Whether an argument is a pointer to integers of the caller's width that are one value each.
inline bool is_scalar(const Argument& argument)
{
    return argument.kind == Kind::integer;
}

/// The letters that expressions ask an option for, behind those of its test.
std::string letters_of(const Argument& option, const std::vector<ExpressionPtr>& expressions);
/// All extents and definitions of a row.
std::vector<ExpressionPtr> expressions_of(const catalogue::Row& row);

/// Whether a word is one of a list with blanks between.
inline bool lists(const std::string& words, const std::string& word)
{
    return (" " + words + " ").find(" " + word + " ") != std::string::npos;
}

/// Expects the one call of the core that this call of an entry has to end in. `odd` sees each argument first,
/// with its place in the core's call, and tells whether it is none of the usual.
void expect_core_call(
    const Call& noted, const SampleCall& call, const std::string& core_function,
    const std::function<bool(const Argument&, std::size_t)>& odd = [](const Argument&, std::size_t) {
        return false;
    });
/// Expects an address in the stack frames of the layer.
void expect_local(const Call& noted, std::size_t word, const std::string& name);

/// An entry's name in lower case and without its width.
std::string bare_name(const Entry& entry);
/// The core function of an entry, by the naming rule told in words rather than in the tables.
std::string core_name(const Entry& entry);
inline std::string lapack_core(const Entry& entry)
{
    return "qnm_lapack_" + bare_name(entry);
}

/// Begins with a fresh core whose answer to the one-time question for the mode word goes unnoted.
class BlasTest : public recording::RecordedTest {
protected:
    BlasTest() { core().ignore("qnm_serv_verbose_mode"); }
};

} // namespace qnm::tests

/// Names the row and the entry in each failure below this line.
#define QNM_TRACE_ENTRY(ENTRY) SCOPED_TRACE((ENTRY).row->where() + " " + (ENTRY).name())
