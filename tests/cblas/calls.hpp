// Calls of the members of the C interface.
#pragma once

#include "support/function_call.hpp"
#include "support/published.hpp"

namespace qnm::tests {

/// The names of a call's arguments, plain in group batches too.
inline std::vector<std::string> names(const FunctionCall& call)
{
    std::vector<std::string> all;
    for (const Parameter& p : call.parameters())
        all.push_back(p.name.substr(0, p.name.find("_array")));
    return all;
}

/// Scalars, and arrays (or addresses of arrays) of one letter.
inline bool is_number(const std::string& name)
{
    return name.ends_with("alpha") || name.ends_with("beta");
}
inline bool is_matrix(const std::string& name)
{
    return name == "ap" || (name.size() == 1 && std::string("abcxy").find(name) != std::string::npos);
}

/// Visits functions of the C interface in their layouts.
template <class Wanted, class Visit>
void each_layout(Wanted wanted, Visit visit)
{
    const auto is_wanted = [&](const Signature& s) { return s.family.starts_with("cblas") && wanted(s); };
    for (const Signature* s : signatures(is_wanted))
        for (const int layout : {column_major, row_major}) {
            const FunctionCall call(*s, layout);
            if (layout == row_major && !call.has_layout())
                continue;
            SCOPED_TRACE(s->names.front() + " " + std::to_string(layout));
            visit(call);
            if (::testing::Test::HasFatalFailure())
                return;
        }
}

} // namespace qnm::tests
