// A call of any member of the C interface, made from its plan: sizes and letters by chance or as told, arrays
// whose every element is another number, leading dimensions longer than need be. And the routine's side of
// it: what the call makes of all that.
#pragma once

#include "helpers/storage.hpp"
#include "lapacke/room/plan.hpp"
#include "support/function_call.hpp"
#include "support/published.hpp"

namespace qnm::tests {

using catalogue::LapackeArgument;
using catalogue::LapackePlan;
using catalogue::LapackeShape;
using catalogue::StorageForm;
using catalogue::StorageUse;
using Role = LapackeArgument::Role;

/// One exported function of the C interface.
struct Member {
    const LapackePlan* plan;
    bool high;
    std::string name, work_name; // its own, and that of the work level

    bool has_value() const { return plan->row->result.kind == catalogue::ResultKind::value; }
};

/// Whether an argument of the routine is one integer.
inline bool is_single(const Argument& a)
{
    return a.kind == catalogue::Kind::integer;
}

/// All members with a high and a work level, by their exported names.
const std::map<std::string, Member>& members();

/// A call of the routine, and of the member that ends in it.
class CCall : public FunctionCall {
public:
    CCall(const Member& member, int layout, std::mt19937& chance, bool empty = false);

    const Member& member() const { return *member_; }
    const LapackePlan& plan() const { return *member_->plan; }
    std::size_t index(const LapackeArgument& a) const
    {
        return static_cast<std::size_t>(&a - plan().arguments.data());
    }
    using FunctionCall::by_rows;
    using FunctionCall::index;
    /// A call whose row-major form is told to the routine in this way.
    bool by_rows(LapackeShape shape) const { return by_rows() && plan().c->shape == shape; }
    bool holds_if(const ExpressionPtr& condition) const { return !condition || holds(*condition); }
    Element element(const LapackeArgument& a) const { return Element::of(a.argument->type, signature()); }

    /// Gives arrays and leading dimensions their sizes for the integers and letters as they stand, and
    /// numbers to all elements.
    CCall& lay_out();
    /// The same for leading dimensions as they are.
    CCall& fill_arrays();

    // The caller's memory: numbers behind all addresses, and reals by value. What is not there is at an
    // address that nobody may touch.
    using Memory = std::map<std::string, Array>;
    Memory& memory() { return memory_; }
    const Memory& memory() const { return memory_; }
    /// The number that element k of an array holds at first.
    double original(const LapackeArgument& a, long k) const
    {
        return static_cast<double>(8192 * static_cast<long>(index(a)) + k + 1);
    }
    const void* place(const LapackeArgument& a) const;
    /// Real and complex arguments that stand in it.
    std::vector<const LapackeArgument*> reals() const;

    // The routine's side. It answers a query; in the call itself it looks at all that it got, and writes to
    // every element of copies and workspaces.
    static constexpr float result = 3.25;
    /// What it leaves in info, and what a query answers for the i-th argument.
    long info = 0;
    std::function<long(std::size_t)> answer = [](std::size_t i) { return static_cast<long>(200 + i); };
    int queries = 0, runs = 0;
    /// The copies and workspaces that it got filled.
    std::string filled;

    /// What the caller has of arrays lies beside pages that nobody may touch, ahead of it or behind it.
    enum class Beside { nothing, ahead, behind } beside = Beside::nothing;
    /// Calls the member with fresh notes of the core; the result is info, or the value as a number.
    double run();

    /// The first argument that the entry refuses by itself, and under whose name it is printed: of a NaN
    /// under none. Position 0: it refuses nothing.
    struct Refusal {
        int position = 0;
        std::string printed_as = {};
    };
    Refusal refusal(bool nan_checks) const;
    /// The call that the routine gets then, or got in a query.
    FunctionCall of_routine(bool query) const;
    /// What the entry takes from the core's memory: workspaces of the high level, what is known in front of
    /// what is asked for, each in the order of names; then copies.
    struct Block {
        long bytes;
        bool is_workspace;
        bool of_high_level;
    };
    std::vector<Block> blocks() const;
    /// What it gives back when the routine leaves `info`.
    double given_back() const;
    /// Calls the member, and expects a refusal: nothing is allocated, written or computed.
    void expect_refused(const Refusal& refusal);
    /// Calls the member when there is no memory for the n-th block.
    void expect_failing(std::size_t n);

    /// Expects in the caller's memory what came back, and what the high level hands out of its workspaces,
    /// and nothing else.
    void expect_results() const;

    /// Whether this argument goes through a copy here, and how many elements that has.
    bool is_copied(const LapackeArgument& a) const;
    long copy_elements(const LapackeArgument& matrix) const;
    long ld(const LapackeArgument& matrix, bool copy = false) const;
    /// How many lines an array has and how long they are, as published. What stands beside is a NaN: who
    /// reads it refuses the call, or brings it into a copy.
    std::pair<long, long> published(const LapackeArgument& array) const;
    /// A form of a matrix, of the caller's or of the copy.
    Storage storage(const LapackeArgument& matrix, const StorageForm& form, bool copy = false) const;
    /// Where the elements that are moved stand in the caller's matrix and in the copy; none if none are.
    std::vector<std::pair<long, long>> moves(const LapackeArgument& matrix, const StorageUse& use) const;
    /// The elements that a NaN check of an array reads, by offset.
    std::vector<long> checked(const LapackeArgument& array, const StorageUse& use) const;
    /// Elements of a workspace that the high level provides.
    long room(const LapackeArgument& workspace) const;

private:
    char letter_of(const catalogue::Expression& e) const;
    /// Whether a matrix is stored by rows.
    bool lines_are_rows() const;
    std::int64_t named(const std::string& name, int group) const override;
    void act(Call& noted, recording::Answer& reply);
    void look_at(const Call& noted, const LapackeArgument& a) const;
    void look_at_copy(const unsigned char* got, const LapackeArgument& a) const;
    void write(const Call& noted, const LapackeArgument& a) const;
    char expected_letter(const std::string& name) const;
    long expected_integer(const LapackeArgument& a) const;
    double written(const LapackeArgument& a, long k) const { return original(a, k) + 4'194'304; }

    const Member* member_;
    int layout_;
    Memory memory_, before_;
    std::map<std::string, long> extents_; // elements that an entry may touch
    std::map<std::string, void*> guarded_;
    bool asked_ = false;
};

/// The core's transposition of a general matrix, as the helpers ask for it; or that it does nothing, as it
/// comes.
void transpose_in_core(bool does);

/// What LAPACKE_xerbla has printed, line by line, and the blocks that the layer asked for.
std::vector<std::string> printed();
std::vector<long> allocated();

/// Begins with a fresh core, NaN checks on.
class LapackeTest : public CoreTest {
protected:
    LapackeTest();
    std::mt19937 chance{20'240'517};
    static void check_for_nan(bool on) { support::call(layer()["LAPACKE_set_nancheck"], on ? 1 : 0); }
    /// Runs `body` for calls of all members in these layouts.
    template <class Body>
    void for_all(const std::vector<int>& layouts, int rounds, Body&& body)
    {
        for (const auto& [name, m] : members())
            for (const int layout : layouts)
                for (int round = 0; round < rounds && !HasFatalFailure(); ++round) {
                    SCOPED_TRACE(m.plan->c->where() + " " + name + " layout " + std::to_string(layout));
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
