// Calls of the members of the C interface.
#pragma once

#include "members.hpp"
#include "support/function_call.hpp"

namespace qnm::tests {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Numbers by value, arrays (or addresses of arrays) of one letter.
bool is_number(const std::string& argument);
bool is_matrix(const std::string& argument);
/// The names of a call's arguments, plain in group batches too.
std::vector<std::string> names(const FunctionCall& call);
/// Position in the list.
int position(const FunctionCall& call, const std::string& argument);

/// A call with memory behind its arrays; in a group batch, where groups have one problem or two in turn, with
/// addresses in them.
FunctionCall filled(const Member& member, int layout, int groups = 0);

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

} // namespace qnm::tests
