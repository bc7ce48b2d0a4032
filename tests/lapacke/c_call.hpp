// A call of any member of the C interface, made from its plan: sizes and letters by chance or as told, arrays
// whose every element is another number, leading dimensions longer than need be. And the routine's side of
// it.
#pragma once

#include "lapacke/room/plan.hpp"
#include "support/sample_call.hpp"

#include <map>

namespace qnm::tests {

using catalogue::Form;
using catalogue::FormUse;
using catalogue::LapackeArgument;
using catalogue::LapackePlan;
using catalogue::LapackeShape;
using Role = LapackeArgument::Role;

inline constexpr int row_major = 101;
inline constexpr int column_major = 102;

/// One exported function of the C interface, and the entry that it ends in.
struct Member {
    const LapackePlan* plan;
    Entry entry;
    bool high;

    /// Of this level, or of a level told.
    std::string name() const { return name(high); }
    std::string name(bool of_high) const
    {
        return lapacke_name(*plan, entry.precision,
                            *lapacke_form(*plan, of_high ? "high" : "work", entry.width));
    }
    bool has_value() const { return plan->row->result.kind == catalogue::ResultKind::value; }
};

/// All members with a high and a work level.
const std::vector<Member>& members();
/// By its exported name.
const Member& member(std::string_view name);

/// One number of an array.
struct Element {
    std::size_t size;
    bool integer;
    bool complex;
    bool single;

    /// Writes number k of a row of them; the imaginary part is the opposite number.
    void store(unsigned char* memory, std::int64_t k, double number) const;
    bool is_nan(const unsigned char* memory, std::int64_t k) const;
};

class CCall : public SampleCall {
public:
    CCall(const Member& member, int layout, std::mt19937& chance, bool empty = false);

    const Member& member() const { return *member_; }
    const LapackePlan& plan() const { return *member_->plan; }
    bool by_rows() const { return layout_ == row_major; }
    /// A call whose row-major form is told to the routine in this way.
    bool by_rows(LapackeShape shape) const { return by_rows() && plan().c->shape == shape; }

    /// Gives arrays and leading dimensions their sizes for the integers and letters as they stand.
    CCall& lay_out();
    /// Numbers in all arrays, for the leading dimensions as they are.
    void fill();

    bool holds_if(const ExpressionPtr& condition) const { return !condition || holds(*condition); }
    Element element(const std::string& type) const;
    Element element(const LapackeArgument& a) const { return element(a.argument->type); }

    /// Whether this argument goes through a copy here, and what the copy looks like.
    bool is_copied(const LapackeArgument& a) const;
    std::int64_t copy_ld(const LapackeArgument& matrix) const;
    std::int64_t copy_elements(const LapackeArgument& matrix) const;
    /// How many lines an array has and how long they are, as published. What stands beside is a NaN: who
    /// reads it refuses the call, or brings it into a copy.
    std::pair<std::int64_t, std::int64_t> published(const LapackeArgument& array) const;
    /// The elements of a form that a matrix holds, by their offsets in the caller's row-major matrix and in
    /// the copy.
    using Visit = std::function<void(std::int64_t row_major, std::int64_t column_major)>;
    void for_each(const LapackeArgument& matrix, const Form& form, const Visit& visit) const;
    /// Those that come back from a copy; none if none does.
    void for_each_returned(const LapackeArgument& matrix, const Visit& visit) const;
    /// The elements that a NaN check of an array reads, by offset.
    std::vector<std::int64_t> checked(const LapackeArgument& array, const FormUse& use) const;
    /// Elements of a workspace that the high level provides, given what a query answers.
    std::int64_t room(const LapackeArgument& workspace, std::int64_t answer) const;
    /// Workspaces that the high level takes here, in order.
    std::vector<const LapackeArgument*> workspaces() const;

    using Memory = std::map<std::string, std::vector<unsigned char>>;
    Memory& memory() { return memory_; }
    const Memory& memory() const { return memory_; }
    const std::vector<unsigned char>& memory(const std::string& name) const { return memory_.at(name); }
    /// Real and complex arguments that stand in memory.
    std::vector<const LapackeArgument*> reals() const;
    /// Puts NaNs into so many elements, of complex ones into either part.
    void put_nans(const LapackeArgument& array, std::int64_t first, std::int64_t count, bool second_part);
    /// All arrays at addresses that nobody may touch.
    CCall& untouchable();

    /// Calls the member; the result is info, or the value as a number.
    double run() const;

private:
    void choose_sizes(std::mt19937& chance, bool empty);
    std::int64_t ld(const LapackeArgument& matrix) const;
    /// Whether a matrix is stored by rows.
    bool lines_are_rows() const;
    const void* place(const LapackeArgument& a) const;
    std::int64_t named(const std::string& name, int group) const override;

    const Member* member_;
    int layout_;
    Memory memory_;
    bool untouchable_ = false;
};

/// The number that element k of an array holds at first, and what a routine writes there.
double original(std::size_t argument, std::int64_t k);
double written(std::size_t argument, std::int64_t k);
std::size_t index_of(const LapackePlan& plan, const LapackeArgument& a);

/// The routine's side of one call. Answers a query; in the call itself looks at all it got, and writes to
/// every element of copies and workspaces.
class Routine {
public:
    explicit Routine(CCall& call);
    ~Routine();
    Routine(const Routine&) = delete;
    Routine& operator=(const Routine&) = delete;

    /// What it leaves in info, what a function gives back, and what a query answers for the i-th argument.
    std::int64_t info = 0;
    static constexpr double result = 3.25;
    std::function<std::int64_t(std::size_t)> answer = [](std::size_t i) {
        return static_cast<std::int64_t>(200 + i);
    };

    int queries = 0;
    int runs = 0;
    /// Expects that what came back, and nothing else, is in the caller's matrices.
    void expect_matrices() const;
    /// Expects the values that the high level hands out of its workspaces.
    void expect_additions() const;

private:
    void act(Call& noted, recording::Answer& reply);
    void tell_sizes(const Call& noted) const;
    void look_at(const Call& noted, const LapackeArgument& a, std::size_t word) const;
    void look_at_memory(const Call& noted, const LapackeArgument& a, std::size_t word) const;
    void write(const Call& noted, const LapackeArgument& a, std::size_t word) const;
    char expected_letter(const std::string& name) const;
    std::int64_t expected_integer(const LapackeArgument& a) const;

    CCall& call_;
    CCall::Memory before_;
    bool asked_ = false;
};

/// What LAPACKE_xerbla has printed, line by line, and the blocks that the layer asked for.
std::vector<std::string> printed();
std::vector<std::int64_t> allocated();

/// Begins with a fresh core, NaN checks on.
class LapackeTest : public BlasTest {
protected:
    LapackeTest();
    std::mt19937 chance{20'240'517};
    static void check_for_nan(bool on);
    /// Runs `body` for calls of all members in these layouts.
    template <class Body>
    void for_all(const std::vector<int>& layouts, int rounds, Body&& body)
    {
        for (const Member& m : members())
            for (const int layout : layouts)
                for (int round = 0; round < rounds && !HasFatalFailure(); ++round) {
                    SCOPED_TRACE(m.plan->c->where() + " " + m.name() + " layout " + std::to_string(layout) +
                                 " round " + std::to_string(round));
                    core().clear();
                    body(m, layout);
                    if (HasFailure() && ++failed_ > 40)
                        FAIL() << "and so on";
                }
    }
    const std::vector<int> both{row_major, column_major};

private:
    int failed_ = 0;
};

} // namespace qnm::tests
