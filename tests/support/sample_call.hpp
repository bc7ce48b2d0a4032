// A call of any entry, made from its row: valid as it comes, with a value of its own in each integer and an
// address of its own for each array. Tests change one argument or two and look what becomes of it.
#pragma once

#include "catalogue/catalogue.hpp"
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <array>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qnm::tests {

using catalogue::Argument;
using catalogue::Class;
using catalogue::Entry;
using catalogue::Kind;
using catalogue::Width;
using recording::Call;
using recording::core;

/// The layer under test, all entries of its tables, and one of them by its upper-case name.
const support::Library& layer();
const std::vector<Entry>& entries();
const Entry& entry(std::string_view name);

class SampleCall {
public:
    /// Elements of each array of a group batch, and of an index array.
    static constexpr int groups = 3;

    explicit SampleCall(const Entry& entry);
    explicit SampleCall(std::string_view name) : SampleCall(tests::entry(name)) {}

    const Entry& entry() const { return *entry_; }
    const catalogue::Row& row() const { return *entry_->row; }
    bool narrow() const { return entry_->width == Width::narrow; }

    /// Integers and letters as they stand in the caller's memory; in group batches those of all groups, or of
    /// one.
    std::int64_t integer(const Argument& argument, int group = 0) const;
    char letter(const Argument& argument, int group = 0) const;
    SampleCall& set(const std::string& name, std::int64_t value);
    SampleCall& set(const std::string& name, std::int64_t value, int group);
    SampleCall& choose(const std::string& name, char letter);
    SampleCall& choose(const std::string& name, char letter, int group);
    /// Another address for an argument, null included.
    SampleCall& point(const std::string& name, const void* address);

    /// Gives every integer a valid value that no other has, for the letters as they are now.
    SampleCall& settle();
    /// The least value that a test of the row's kind `>=` lets pass, as the tables' own evaluator has it.
    std::int64_t bound(const Argument& argument, int group = 0) const;
    bool holds(const catalogue::Expression& condition, int group = 0) const;

    /// What the caller passes for an argument: an address, or the value itself.
    support::Word word(const Argument& argument) const;
    bool is_null(const Argument& argument) const;
    /// The address in front of the arguments, where a complex result goes.
    static const void* hidden_result();

    /// The entry, or its exported check, called with rubbish in place of the hidden lengths.
    support::Returned run() const;
    support::Returned run_check() const;

    /// The caller's integers and letters, byte by byte.
    bool operator==(const SampleCall& other) const { return memory_ == other.memory_; }

private:
    using Slot = std::array<unsigned char, groups * sizeof(std::int64_t)>;

    std::size_t index(const std::string& name) const;
    std::size_t index(const Argument& argument) const
    {
        return static_cast<std::size_t>(row().position(argument)) - 1;
    }
    catalogue::Values values(int group) const;
    std::int64_t valid_value(const Argument& argument, int group, std::set<std::int64_t>& used) const;
    support::Returned run(const void* function, bool with_result) const;

    const Entry* entry_;
    std::vector<Slot> memory_;
    std::vector<std::optional<const void*>> pointed_;
};

/// Whether an argument is a pointer to integers of the caller's width that are one value each.
inline bool is_scalar(const Argument& argument)
{
    return argument.kind == Kind::integer;
}

/// The names of the calls noted, in order.
std::vector<std::string> story();

/// Expects the one call of the core that this call of an entry has to end in.
void expect_core_call(const Call& noted, const SampleCall& call, const std::string& core_function);

/// The core function of an entry, by the naming rule told in words rather than in the tables.
std::string core_name(const Entry& entry);

/// Begins with a fresh core whose answer to the one-time question for the mode word goes unnoted.
class BlasTest : public recording::RecordedTest {
protected:
    BlasTest() { core().ignore("qnm_serv_verbose_mode"); }
};

} // namespace qnm::tests

/// Names the row and the entry in each failure below this line.
#define QNM_TRACE_ENTRY(ENTRY) SCOPED_TRACE((ENTRY).row->where() + " " + (ENTRY).name())
