// What the recording core noted, in short; and the layer under test.
#pragma once

#include "recording/matchers.hpp"
#include "support/library.hpp"

namespace qnm::tests {

using recording::Answer;
using recording::Call;
using recording::core;

inline const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

/// Names of the calls noted, in order.
inline std::vector<std::string> story()
{
    std::vector<std::string> names;
    for (const Call& call : core().calls())
        names.push_back(call.name);
    return names;
}

/// Texts of the calls of one name: names looked up, lines printed.
inline std::vector<std::string> texts(const char* name)
{
    std::vector<std::string> all;
    for (const Call& call : core().calls(name))
        all.push_back(call.text);
    return all;
}
inline std::vector<std::string> looked_up()
{
    return texts("dlsym");
}
inline std::vector<std::string> lines()
{
    return texts("qnm_serv_print_verbose_info");
}

/// Reports so far: names and codes.
using Reports = std::vector<std::pair<std::string, int>>;
inline Reports reports()
{
    Reports all;
    for (const Call& call : core().calls("qnm_serv_xerbla"))
        all.emplace_back(call.text, call.code());
    return all;
}

} // namespace qnm::tests
