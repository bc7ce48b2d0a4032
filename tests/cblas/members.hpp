// What the C interface adds to the Fortran routines, written by hand: orders of tests and row-major calls.
#pragma once

#include "support/layouts.hpp"
#include "support/published.hpp"

namespace qnm::tests {

inline constexpr int conjugate_transpose = 113;

/// Members with one behaviour.
struct Family {
    const char* members;
    /// Of testing: `level3`: options, sizes, layout, the rest; `level2`: layout, options (which do not end
    /// the entry), sizes, leading dimensions, increments; `sized` has no layout. Else the arguments:
    /// `ldb@11` is reported as 11, `uplo+` does not end the entry, `rows:n` stands in one layout only.
    const char* order;
    /// A row-major call: `m,n` change places, `trans:TN*` are the letters of codes in their order, and `*`
    /// tells what is conjugated.
    const char* rows = "";
    const char* idle = "";   // sizes of which one that is 0 ends the entry; `scalars`: alpha 0 and beta 1
    const char* bounds = ""; // where the Fortran routine has others; `!` is not raised to 1
    const char* arguments = nullptr; // the same
    bool narrow_only = false;
};

/// One routine of a family in one width.
struct Member {
    const Family* family;
    std::string routine; // "dgemm"
    char letter;
    bool wide;
    std::string arguments, bounds; // with the layout

    bool complex() const { return letter == 'c' || letter == 'z'; }
    bool single() const { return letter == 's' || letter == 'c'; }
    bool is(const char* part) const { return routine.find(part) != std::string::npos; }
    std::string name() const;
    std::string core() const;
    bool has_layout() const { return is_word("layout"); }
    bool has_groups() const { return is_word("group_size"); }
    bool is_word(const std::string& word) const;
    /// Arguments change places in a row-major call: the one that stands in the place of another.
    std::string partner(const std::string& argument) const;
    /// The letters that a row-major call has for the codes of an option; empty: those of a column-major one.
    std::string row_letters(const std::string& option) const;
    bool conjugates(const std::string& argument) const;
};

/// Levels 1 to 3, strided batches and variants; and group batches, with plain names for their arrays, whose
/// orders may have arrays that only must not be null.
const std::vector<Member>& members();
const std::vector<Member>& group_members();
/// Those whose names without letter are among the words.
std::vector<Member> members_of(const std::string& roots);

/// The tests in their order in a layout.
struct Step {
    std::string argument;
    int code = 0; // 0: its position
    bool goes_on = false;
};
std::vector<Step> steps(const Member& member, int layout);

} // namespace qnm::tests
