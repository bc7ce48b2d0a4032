// A call of any entry of the C interface, made from its signature: valid as it comes, with a value of its own
// in each argument.
#pragma once

#include "members.hpp"
#include "support/arguments.hpp"
#include "support/recorded.hpp"

namespace qnm::tests {

/// Numbers of 8 or 16 bits; scalars; arrays (or addresses of arrays) of one letter.
bool is_small(const std::string& argument);
bool is_scalar(const std::string& argument);
bool is_matrix(const std::string& argument);

class CCall : public support::Arguments {
public:
    /// Of a group batch, with so many groups. Groups have one problem or two, in turn.
    CCall(const Member& member, int layout, int groups = 0);

    const Member& member() const { return member_; }
    int layout() const { return layout_; }
    /// Position in the list.
    int position(const std::string& argument) const;
    CCall& set(const std::string& argument, std::int64_t value, std::size_t group = last);
    /// A scalar of the call, its imaginary part 0 for real types.
    CCall& scalar(const std::string& argument, double re, double im = 0);

    /// The least good value of an argument in this layout.
    std::int64_t bound(const std::string& argument) const;
    /// Gives bounded arguments good values for the sizes as they are.
    CCall& settle();
    /// Makes one argument, or its element of a group, bad.
    CCall& spoil(const std::string& argument, std::size_t group = last);

    /// All choices of codes that the routine accepts, each set in turn.
    template <class Visit>
    void each_choice(Visit visit)
    {
        choose(0, visit);
    }
    /// The letters that the routine gets for codes of an option, in their order.
    std::string accepted(const std::string& option) const;

    std::vector<Step> steps() const;

    support::Returned run() const { return call(layer()[member_.name()]); }

    /// The arguments in the places of the Fortran routine.
    std::vector<std::string> places() const;
    std::size_t place(const std::string& argument) const;
    /// The letter of an option as the layout makes it; `*` for a code that conjugates.
    char expected_letter(const std::string& option, std::size_t group = last) const;
    /// Expects that the core got this call as it should, in the order of the layout. Conjugated arguments are
    /// not looked at.
    void expect_passed(const Call& noted) const;
    /// The same of some groups. Letters are read while the call is under way.
    void expect_groups(const Call& noted, std::size_t begin, std::size_t end) const;

private:
    template <class Visit>
    void choose(std::size_t from, Visit& visit)
    {
        for (std::size_t i = from; i < names().size(); ++i)
            if (const Option* option = option_of(names()[i])) {
                for (const char letter : accepted(names()[i])) {
                    set(names()[i], option->first + static_cast<int>(option->letters.find(letter)));
                    choose(i + 1, visit);
                }
                return;
            }
        settle();
        visit();
    }

    Member member_;
    int layout_;
};

/// Reports of the C interface.
Reports c_reports(const Member& member);

/// Visits members in their layouts.
template <class Visit>
void each_layout(const std::vector<Member>& members, Visit visit)
{
    for (const Member& member : members)
        for (const int layout : {column_major, row_major}) {
            if (layout == row_major && !member.has_layout())
                continue;
            SCOPED_TRACE(member.name() + " " + std::to_string(layout));
            visit(member, layout);
            if (::testing::Test::HasFatalFailure())
                return;
        }
}

class CTest : public recording::RecordedTest {
protected:
    CTest() { core().ignore("qnm_serv_verbose_mode"); }
};

} // namespace qnm::tests
