// A call of any member of the C interface, made from its plan: sizes and letters by chance or as told, arrays
// whose every element is another number, leading dimensions longer than need be. And the routine's side of
// it.
#pragma once

#include "catalogue/catalogue.hpp"
#include "recording/matchers.hpp"
#include "storage.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace qnm::tests {

using catalogue::Argument;
using catalogue::ExpressionPtr;
using catalogue::Form;
using catalogue::FormUse;
using catalogue::LapackeArgument;
using catalogue::LapackePlan;
using catalogue::LapackeShape;
using catalogue::Precision;
using catalogue::Width;
using recording::Call;
using recording::core;
using Role = LapackeArgument::Role;

/// One exported function of the C interface.
struct Member {
    const LapackePlan* plan;
    const Precision* precision;
    Width width;
    bool high;

    std::string name() const { return lapacke_name(*plan->row, *precision, width, high); }
    /// The core function that it ends in.
    std::string routine() const;
    bool has_value() const { return plan->row->result.kind == catalogue::ResultKind::value; }
};

const support::Library& layer();
/// All members with a high and a work level.
const std::vector<Member>& members();
/// By its exported name.
const Member& member(std::string_view name);

/// Bytes of one number, and how they are read.
struct Element {
    std::size_t size;
    bool integer;
    bool complex;
    bool single;
};

class CCall {
public:
    enum class Sizes { by_chance, zero };

    CCall(const Member& member, int layout, std::mt19937& chance, Sizes sizes = Sizes::by_chance);

    const Member& member() const { return *member_; }
    const LapackePlan& plan() const { return *member_->plan; }
    int layout() const { return layout_; }
    bool by_rows() const { return layout_ == row_major; }
    bool narrow() const { return member_->width == Width::narrow; }
    const LapackeArgument& argument(const std::string& name) const { return *plan().find(name); }

    /// Integers and letters of the caller. Changing one changes nothing else; `lay_out` gives arrays and
    /// leading dimensions their sizes anew.
    CCall& set(const std::string& name, std::int64_t value);
    CCall& choose(const std::string& name, char letter);
    CCall& lay_out();
    std::int64_t integer(const std::string& name) const;
    char letter(const std::string& name) const { return letters_.at(name); }

    /// Expressions of the tables, for this call.
    std::int64_t value(const catalogue::Expression& e) const;
    bool holds(const ExpressionPtr& condition) const { return !condition || value(*condition) != 0; }
    Storage storage(const Form& form) const;
    Element element(const std::string& type) const;
    Element element(const LapackeArgument& a) const { return element(a.argument->type); }

    /// Whether this argument goes through a copy here, and what the copy looks like.
    bool is_copied(const LapackeArgument& a) const;
    std::int64_t copy_ld(const LapackeArgument& matrix) const;
    std::int64_t copy_elements(const LapackeArgument& matrix) const;
    /// The caller's leading dimension.
    std::int64_t ld(const LapackeArgument& matrix) const;
    /// The elements that come back from a copy, by their offsets in row-major and in the copy; none if none
    /// does.
    void for_each_returned(const LapackeArgument& matrix,
                           const std::function<void(std::int64_t, std::int64_t)>& visit) const;
    void for_each(const LapackeArgument& matrix, const Form& form,
                  const std::function<void(std::int64_t row_major, std::int64_t column_major)>& visit) const;
    /// The elements that a NaN check of an array reads, by offset.
    std::vector<std::int64_t> checked(const LapackeArgument& array, const FormUse& use) const;
    /// Elements of a workspace that the high level provides, given what a query answers.
    std::int64_t room(const LapackeArgument& workspace, std::int64_t answer) const;
    /// Workspaces that the high level takes here, in order.
    std::vector<const LapackeArgument*> workspaces() const;

    std::vector<unsigned char>& memory(const std::string& name) { return memory_.at(name); }
    const std::vector<unsigned char>& memory(const std::string& name) const { return memory_.at(name); }
    const std::map<std::string, std::vector<unsigned char>>& memory() const { return memory_; }
    /// Puts a NaN into an element, of a complex one into either part.
    void put_nan(const LapackeArgument& array, std::int64_t element, bool second_part);
    /// All arrays at addresses that nobody may touch.
    CCall& untouchable();

    /// Calls the member; the result is info, or the value as a number.
    double run() const;

private:
    void choose_letters(std::mt19937& chance);
    void choose_sizes(std::mt19937& chance, Sizes sizes);
    void keep_bounds();
    void fill();
    const void* place(const LapackeArgument& a) const;
    catalogue::Values values() const;

    const Member* member_;
    int layout_;
    std::map<std::string, std::int64_t> integers_;
    std::map<std::string, char> letters_;
    std::map<std::string, std::vector<unsigned char>> memory_;
    bool untouchable_ = false;
};

/// The number that element k of an array holds at first, and what a routine writes there.
double original(std::size_t argument, std::int64_t k);
double written(std::size_t argument, std::int64_t k);
void store(unsigned char* place, const Element& element, double number);

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
    void query(const Call& noted);
    void look_at(const Call& noted, const LapackeArgument& a, std::size_t word);
    void look_at_turned(const Call& noted, const LapackeArgument& a, std::size_t word);
    void write(const Call& noted, const LapackeArgument& a, std::size_t word);
    bool is_query(const Call& noted) const;

    CCall& call_;
    std::map<std::string, std::vector<unsigned char>> before_;
};

/// What LAPACKE_xerbla has printed, line by line, and the blocks that the layer asked for.
std::vector<std::string> printed();
std::vector<std::int64_t> allocated();
std::size_t calls_of(const Member& member);

/// Begins with a fresh core, NaN checks on.
class LapackeTest : public recording::RecordedTest {
protected:
    LapackeTest();
    std::mt19937 chance{20'240'517};
    static void check_for_nan(bool on);
    /// Runs `body` for calls of all members, of one level or both, and one or both layouts.
    template <class Body>
    void for_all(const std::vector<int>& layouts, Body&& body, int rounds = 2)
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

private:
    int failed_ = 0;
};

} // namespace qnm::tests
