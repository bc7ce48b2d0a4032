#include "sample_layer.h"
#include "support/library.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qnm::support {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::ThrowsMessage;

std::vector<std::string> names(const std::vector<Symbol>& symbols)
{
    std::vector<std::string> all;
    std::transform(symbols.begin(), symbols.end(), std::back_inserter(all),
                   [](const Symbol& symbol) { return symbol.name; });
    return all;
}

TEST(LibraryOnDisk, ListsWhatItGivesAndWants)
{
    const ElfFile file(SAMPLE_LAYER);
    EXPECT_THAT(names(file.exported()), Contains("sample_gemm"));
    EXPECT_THAT(names(file.exported()), Not(Contains("qnm_blas_dgemm")));
    EXPECT_THAT(names(file.undefined()), Contains("qnm_blas_dgemm"));
    EXPECT_THAT(names(file.undefined()), Not(Contains("sample_gemm")));
    EXPECT_EQ(file.locals().count("sample.verbose_ptr"), 1U);
    EXPECT_EQ(file.soname(), "libsample_layer.so");
    EXPECT_THAT(ElfFile("/proc/self/exe").needed(), Contains("libsample_layer.so"));
    EXPECT_TRUE(file.dynamic(DT_GNU_HASH));
    EXPECT_FALSE(file.dynamic(DT_SYMBOLIC));
    EXPECT_EQ(file.flags() & DF_SYMBOLIC, 0U);
}

TEST(LibraryOnDisk, RefusesWhatIsNoLibrary)
{
    EXPECT_THAT([] { ElfFile("/nonexistent/lib.so"); },
                ThrowsMessage<std::runtime_error>(HasSubstr("/nonexistent/lib.so: cannot be read")));
    EXPECT_THAT([] { ElfFile("/proc/self/cmdline"); },
                ThrowsMessage<std::runtime_error>(HasSubstr("no 64-bit ELF file")));
    EXPECT_THROW(Library("libnonexistent.so"), std::runtime_error);
}

TEST(LibraryLoaded, GivesAddressesOfTheRunningCopy)
{
    const Library library(SAMPLE_LAYER);
    EXPECT_EQ(library["sample_gemm"], reinterpret_cast<void*>(sample_gemm));
    EXPECT_EQ(library.find("qnm_blas_dgemm"), nullptr);
    EXPECT_THROW(library["sample_nothing"], std::out_of_range);
    EXPECT_EQ(*library.local<const int>("sample.verbose_unknown"), -1);
    EXPECT_THROW(library.local<int>("sample.nothing"), std::out_of_range);
}

} // namespace
} // namespace qnm::support
