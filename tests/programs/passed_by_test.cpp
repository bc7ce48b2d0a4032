// Names of the reference libraries that are not the layer's: the list, beside the libraries of this machine.
#include "passed_by.hpp"

#include "support/library.hpp"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>

namespace qnm::run {
namespace {

std::set<std::string> exported(const std::string& path)
{
    std::set<std::string> names;
    for (const auto& symbol : support::ElfFile(path).exported())
        names.insert(symbol.name);
    return names;
}

TEST(PassedBy, IsWhatTheLibrariesHaveAndTheLayerHasNot)
{
    std::istringstream libraries(QNM_REFERENCE_LIBRARIES);
    if (libraries.str().empty())
        GTEST_SKIP() << "no reference library on this machine";
    const auto ours = exported(QNM_LAYER);
    for (std::string path; std::getline(libraries, path, ':');) {
        SCOPED_TRACE(path);
        std::set<std::string> expected, told;
        const auto theirs = exported(path);
        std::set_difference(theirs.begin(), theirs.end(), ours.begin(), ours.end(),
                            std::inserter(expected, expected.end()));
        std::string library = std::filesystem::path(path).filename();
        library.erase(
            std::remove_if(library.begin(), library.end(), [](char c) { return c == '6' || c == '4'; }),
            library.end());
        for (const PassedBy& each : passed_by())
            if (each.library == library)
                told.emplace(each.name);
        EXPECT_EQ(told, expected);
    }
}

TEST(PassedBy, IsFoundByName)
{
    for (const PassedBy& each : passed_by())
        EXPECT_EQ(passed_by_to(each.name), each.library) << each.name;
    for (const char* name : {"", "dgesv_", "zzz"})
        EXPECT_EQ(passed_by_to(name), "") << name;
}

} // namespace
} // namespace qnm::run
