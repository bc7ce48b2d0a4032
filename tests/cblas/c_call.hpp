// A call of any entry of the C interface but the group batches and variants, made from its signature as
// published.hpp has it: valid as it comes, with a value of its own in each argument.
#pragma once

#include "published.hpp"
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <map>

namespace qnm::tests {

using recording::Call;
using recording::core;

const support::Library& layer();

constexpr int row_major = 101;
constexpr int column_major = 102;

/// One routine of a family, with its letter, in one width.
struct Member {
    const Family* family;
    std::string routine; // "dgemm"
    char letter;
    bool wide;

    bool complex() const { return letter == 'c' || letter == 'z'; }
    bool single() const { return letter == 's' || letter == 'c'; }
    std::string name() const { return "cblas_" + routine + (wide ? "_64" : ""); }
    std::string core() const { return "qnm_blas_" + routine.substr(0, routine.find("_sub")); }
    bool has_layout() const { return family->column_order.find("layout") != std::string::npos; }
};

/// All members of all families, narrow and wide.
const std::vector<Member>& members();
std::vector<Member> members_of(const std::string& root);
/// All members of some families.
std::vector<Member> members_in(const std::vector<Family>& families);

/// The order of testing in a layout.
struct Step {
    std::string argument;
    int code = 0;
    bool goes_on = false;
};

/// A set of codes: the letters that the Fortran routine gets for them, in their order.
struct Option {
    int first = 0;
    std::string letters;
};
/// The set of an argument's name; none for other arguments.
const Option* option_of(const std::string& argument);

/// How an argument comes: integers of the caller's width, numbers of 8 or 16 bits, real scalars by value;
/// what is none of these, and no option, comes by address.
bool is_integer(const std::string& argument);
bool is_small(const std::string& argument);
bool is_scalar(const std::string& argument);
bool is_real_scalar(const std::string& argument, const Member& member);

class CCall {
public:
    CCall(const Member& member, int layout);

    const Member& member() const { return member_; }
    int layout() const { return layout_; }
    const std::vector<std::string>& names() const { return names_; }
    /// Position in the list, layout being 1.
    int position(const std::string& argument) const;
    bool has(const std::string& argument) const { return values_.count(argument) != 0; }
    /// Sizes, increments and codes.
    std::int64_t value(const std::string& argument) const { return values_.at(argument); }
    CCall& set(const std::string& argument, std::int64_t value);
    /// A scalar of the call, its imaginary part 0 for real types.
    CCall& scalar(const std::string& argument, double re, double im = 0);
    /// Where an array or a complex scalar stands.
    const void* address(const std::string& argument) const;
    /// Where an array is to stand.
    CCall& point(const std::string& argument, const void* address);

    /// The least good value of an argument with a bound in this layout.
    std::int64_t bound(const std::string& argument) const;
    /// Gives bounded arguments good values for the sizes as they are.
    CCall& settle();
    /// Makes one argument bad.
    CCall& spoil(const std::string& argument);

    /// All choices of codes that the routine accepts, each set in turn.
    template <class Visit>
    void each_choice(Visit visit)
    {
        choose(0, visit);
    }

    std::vector<Step> steps() const;

    support::Returned run() const;

    /// The letter of an option as the layout makes it; `*` for a code that conjugates.
    char expected_letter(const std::string& argument) const;
    /// Expects that the core got this call as it should, in the order of the layout. Conjugated arguments are
    /// not looked at.
    void expect_passed(const Call& noted) const;

private:
    std::string bounds() const;
    std::int64_t evaluate(const std::string& expression) const;
    bool accepts(const std::string& argument, int index) const;

    template <class Visit>
    void choose(std::size_t from, Visit& visit)
    {
        for (std::size_t i = from; i < names_.size(); ++i)
            if (const Option* option = option_of(names_[i])) {
                for (int code = 0; code < static_cast<int>(option->letters.size()); ++code)
                    if (accepts(names_[i], code)) {
                        set(names_[i], option->first + code);
                        choose(i + 1, visit);
                    }
                return;
            }
        settle();
        visit();
    }

    Member member_;
    int layout_;
    std::vector<std::string> names_;          // behind the layout
    std::map<std::string, std::string> sets_; // letters of options that do not take all
    std::map<std::string, std::int64_t> values_;
    std::map<std::string, std::pair<double, double>> scalars_;
    std::map<std::string, std::vector<float>> singles_; // complex scalars and arrays
    std::map<std::string, std::vector<double>> doubles_;
    std::map<std::string, const void*> pointed_;
};

/// Names of the calls noted, in order.
std::vector<std::string> story();

/// Reports so far: names and codes.
using Reports = std::vector<std::pair<std::string, int>>;
Reports reports();
/// Those of the C interface.
Reports c_reports();

} // namespace qnm::tests
