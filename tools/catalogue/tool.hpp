// The main() of the tools that read tables.
#pragma once

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace qnm::catalogue {

/// Hands the words of the command line to `run`, whose result is the tool's status. What throws is told, with
/// status 1.
inline int run_tool(int (*run)(const std::vector<std::string>&), int count, char** words)
{
    try {
        return run({words + 1, words + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

} // namespace qnm::catalogue
