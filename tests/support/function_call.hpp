// A call of any function, made from its signature: valid as it comes, with a value of its own in each integer
// and an address of its own for each array. Tests change an argument or two and look what becomes of it.
#pragma once

#include "catalogue/catalogue.hpp"
#include "support/invoke.hpp"
#include "support/layouts.hpp"
#include "support/recorded.hpp"

#include <algorithm>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qnm::tests {

using catalogue::Argument;
using catalogue::Direction;
using catalogue::Expression;
using catalogue::ExpressionPtr;
using catalogue::Fill;
using catalogue::Parameter;
using catalogue::Signature;
using catalogue::Travel;

/// The functions of the tables under test in order, and one by any of its names.
const std::vector<Signature>& signatures();
const Signature& signature(std::string_view name);
/// Those that a test wants.
std::vector<const Signature*> signatures(const std::function<bool(const Signature&)>& wanted);

/// The template behind a function: "checked".
inline std::string frame(const Signature& s)
{
    return s.source.substr(0, s.source.find(','));
}
inline bool is_narrow(const Signature& s)
{
    return s.form->width == catalogue::Width::narrow;
}
/// Names the row and the function in each failure below this line.
#define QNM_TRACE_SIGNATURE(S) SCOPED_TRACE((S).where() + " " + (S).names.front())

/// An address that faults at the first touch: the layer has no business behind it.
inline const void* untouchable_address(std::size_t i)
{
    return reinterpret_cast<const void*>(0xADD0'0000'0000'0000U + 0x1000 * (i + 1));
}

/// A record that the layer takes for a stream, and one that it takes for a deleted one; as slots hold them.
extern void* good_stream;
extern void* deleted_stream;

class FunctionCall {
public:
    static constexpr int all_groups = -1;
    /// The leaves' size of a divide-and-conquer tree, where an expression asks for it.
    static constexpr std::int64_t leaf_size = 5;

    /// Of a group batch with so many groups, or of a batch with so many problems.
    explicit FunctionCall(const Signature& signature, int layout = column_major, int groups = 3);
    explicit FunctionCall(std::string_view name, int layout = column_major, int groups = 3)
        : FunctionCall(tests::signature(name), layout, groups)
    {
    }
    virtual ~FunctionCall() = default;
    FunctionCall(const FunctionCall&) = default;
    FunctionCall& operator=(const FunctionCall&) = default;

    const Signature& signature() const { return *signature_; }
    const std::vector<Parameter>& parameters() const { return signature_->parameters; }
    bool narrow() const { return is_narrow(*signature_); }
    bool by_rows() const { return layout_ == row_major; }
    bool has_groups() const { return has("group_count"); }
    bool has_layout() const;
    /// Whether this is a row-major call of complex numbers for which vectors may be conjugated.
    bool may_conjugate() const;

    /// Arguments are known by their place, or by name; those of groups also without their `_array`.
    bool has(const std::string& name) const;
    std::size_t index(const std::string& name) const;
    const Argument* facts(std::size_t i) const { return parameters()[i].argument; }
    bool is_integer(std::size_t i) const;
    bool is_real(std::size_t i) const
    {
        return slots_[i].type == Type::float32 || slots_[i].type == Type::float64;
    }
    /// Whether it has an element for each group.
    bool is_of_groups(const std::string& name) const;
    /// An integer behind an address, which is one value.
    bool is_scalar(std::size_t i) const { return parameters()[i].travel == Travel::integer; }
    /// The argument that stands in the place of another one in a call of this layout.
    std::size_t taker(std::size_t i) const;

    /// Elements as they stand in the caller's memory, or the value itself; of groups those of one.
    std::size_t size(std::size_t i) const { return slots_[i].count; }
    std::size_t size(const std::string& name) const { return size(index(name)); }
    long double number(std::size_t i, std::size_t k = 0) const;
    std::int64_t integer(std::size_t i, int k = 0) const
    {
        return static_cast<std::int64_t>(number(i, static_cast<std::size_t>(k)));
    }
    std::int64_t integer(const std::string& name, int k = 0) const { return integer(index(name), k); }
    /// An option's letter, or what the routine gets for its code.
    char letter(std::size_t i, int k = 0) const;
    char letter(const std::string& name, int k = 0) const { return letter(index(name), k); }

    FunctionCall& put(const std::string& name, long double value, std::size_t k = 0);
    FunctionCall& set(const std::string& name, std::int64_t value, int group = all_groups);
    FunctionCall& choose(const std::string& name, char letter, int group = all_groups);
    /// A real or complex number; the imaginary part of a real one is dropped.
    FunctionCall& scalar(const std::string& name, double re, double im = 0);
    /// Several integers and letters: "uplo=U n=3".
    FunctionCall& give(const std::string& words);
    /// Another address for an argument, null included.
    FunctionCall& point(const std::string& name, const void* address);
    /// Memory behind an array, with so many numbers that differ; and what stands in it.
    FunctionCall& fill(const std::string& name, std::size_t numbers);
    /// Another handle of a stream or a task: itself, or in the slot, which is the variable.
    FunctionCall& handle(const std::string& name, void*& handle);
    std::vector<double> values(const std::string& name) const;
    FunctionCall& assign(const std::string& name, const std::vector<double>& values);
    /// Takes over what another call has under the same names.
    FunctionCall& assign(const FunctionCall& other);

    /// Gives every integer a valid value that no other has, for the letters as they are now.
    FunctionCall& settle();
    /// Gives every letter one of those told for it, in either case.
    FunctionCall& choose_letters(std::mt19937& chance,
                                 const std::function<std::string(const Argument&)>& letters);
    /// Brings tested integers and letters into their bounds, in the order of the tests.
    FunctionCall& make_valid();
    /// Makes all sizes as small or as large as this, and gives the rest good values for them.
    FunctionCall& resize(std::int64_t size);
    /// What stands for an option's letter: either case, or the code.
    std::set<int> accepted(std::size_t i, char letter) const;
    /// Makes an argument bad by as little as there is: a letter or a code outside, one below the bound, an
    /// increment of zero, an array that is not there.
    FunctionCall& spoil(const std::string& name, int group = 0);
    /// Visits a call for each combination of good letters or codes, settled.
    void each_choice(const std::function<void(const FunctionCall&)>& visit) const;

    /// The tests of this layout in their order, each with the name of its argument.
    struct Step {
        std::string argument;
        int code;
        bool goes_on;
    };
    std::vector<Step> steps() const;
    /// Whether an argument has a lower bound in this layout, and which: as the tables' own evaluator has it.
    bool is_bounded(const std::string& name) const;
    std::int64_t bound(const std::string& name, int group = 0) const;
    /// Whether the test of an argument is left out, as the others are.
    bool is_exempt(const std::string& name) const;
    std::int64_t value(const Expression& expression, int group = 0) const;
    bool holds(const Expression& condition, int group = 0) const { return value(condition, group) != 0; }

    /// What the caller passes for an argument that is no real number: an address, or the value itself.
    support::Word word(std::size_t i) const;
    support::Word word(const std::string& name) const { return word(index(name)); }
    const char* address(const std::string& name) const
    {
        return reinterpret_cast<const char*>(word(name).bits());
    }
    bool is_null(std::size_t i) const { return slots_[i].pointed && slots_[i].address == nullptr; }

    /// The function, or another of the same arguments, called with rubbish in place of the hidden lengths.
    support::Returned run() const { return run(layer()[signature_->names.front()]); }
    support::Returned run(const void* function) const;

    /// The caller's memory, byte by byte.
    bool operator==(const FunctionCall& other) const;

    /// Expects that the core got this call as the signature tells. `odd` sees each place with its argument
    /// first, and tells whether it is none of the usual. Gives back how many words and reals were passed.
    using Odd = std::function<bool(std::size_t argument, std::size_t word)>;
    struct Passed {
        std::size_t words, reals;
    };
    Passed expect_passed(const Call& noted, const catalogue::Callee& callee, const Odd& odd = {}) const;
    /// The same of the callee of the layout.
    Passed expect_passed(const Call& noted) const { return expect_passed(noted, callee()); }
    const catalogue::Callee& callee() const;

protected:
    /// What a name of an expression stands for.
    virtual std::int64_t named(const std::string& name, int group) const;

private:
    enum class Type { byte, int32, int64, float32, float64 };
    struct Slot {
        Type type = Type::byte;
        std::size_t count = 0;
        std::vector<unsigned char> memory{}; // with something behind, for who reads too far
        bool by_value = false, pointed = false;
        const void* address = nullptr;
    };
    /// Visits a type with a value of it.
    template <class Visit>
    static auto as(Type type, Visit visit)
    {
        switch (type) {
        case Type::byte:
            return visit(char{});
        case Type::int32:
            return visit(std::int32_t{});
        case Type::int64:
            return visit(std::int64_t{});
        case Type::float32:
            return visit(float{});
        default:
            return visit(double{});
        }
    }
    static std::size_t bytes(Type type);
    static void make(Slot& slot, std::size_t count);
    static void store(Slot& slot, std::size_t k, long double value);
    std::size_t find(const std::string& name) const;
    Type type_of(std::size_t i, std::size_t& parts) const;
    std::int64_t valid_value(std::size_t i, int group) const;
    void expect_place(const Call& noted, std::size_t word, const catalogue::Place& place) const;

    const Signature* signature_;
    int layout_;
    int groups_;
    std::vector<Slot> slots_;
};

/// Expects an address in the stack frames of the layer.
void expect_local(const Call& noted, std::size_t word, const std::string& name);

/// The letters that expressions ask an option for, behind those of its test.
std::string letters_of(const Argument& option, const std::vector<ExpressionPtr>& expressions);

/// The least value of an argument by published bounds, in the words of `Published`; 0 without one.
std::int64_t least(const FunctionCall& call, const std::string& bounds, const std::string& argument);

/// A routine's name in lower case and without its width.
std::string bare_name(const Signature& signature);
/// The core function of an entry of the Fortran interfaces, by the naming rule told in words rather than in
/// the tables.
std::string core_name(const Signature& signature);

/// Begins with a fresh core whose answer to the one-time question for the mode word goes unnoted.
class CoreTest : public recording::RecordedTest {
protected:
    CoreTest()
    {
        core().ignore("qnm_serv_verbose_mode");
        const auto names = core().names();
        if (std::find(names.begin(), names.end(), "qnm_lapack_ilaenv") != names.end()) // not in all layers
            core().answers("qnm_lapack_ilaenv").with(FunctionCall::leaf_size);
    }
};

} // namespace qnm::tests
