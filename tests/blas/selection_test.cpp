// The two kernels of the direct entries: both sides of every limit, written by hand.
#include "support/sample_call.hpp"

#include <sstream>

namespace qnm::tests {
namespace {

struct Sizes {
    std::vector<int> values; // of m, n, k, as far as the routine has them
    bool small;
};

struct Limits {
    const char* members;
    const char* sizes;
    std::vector<Sizes> cases;
};

const Limits limits[] = {
    {"SAXPY_DIRECT DAXPY_DIRECT CAXPY_DIRECT ZAXPY_DIRECT SDOT_DIRECT DDOT_DIRECT",
     "n",
     {{{1500}, true}, {{1501}, false}, {{0}, true}, {{-1501}, true}}},
    {"SGEMM_DIRECT CGEMM_DIRECT ZGEMM_DIRECT",
     "m n k",
     {{{34, 34, 34}, true},
      {{35, 34, 34}, false},
      {{34, 35, 34}, false},
      {{34, 34, 35}, false},
      {{60, 10, 10}, false},
      {{-1, -1, -1}, true}}},
    {"DGEMM_DIRECT",
     "m n k",
     {{{34, 34, 34}, true},
      {{35, 34, 34}, false},
      {{34, 35, 34}, false},
      {{34, 34, 35}, false},
      {{60, 10, 10}, true},
      {{61, 10, 10}, false},
      {{60, 11, 10}, false},
      {{60, 10, 11}, false},
      {{35, 2, -1}, true},
      {{35, 1, 10}, false},
      {{35, -1, 10}, false},
      {{1, 35, 5}, false},
      {{-1, -1, -1}, true}}},
    {"CGEMM3M_DIRECT ZGEMM3M_DIRECT",
     "m n k",
     {{{8, 8, 100000}, true},
      {{9, 8, 9}, false},
      {{8, 9, 9}, false},
      {{34, 34, 8}, true},
      {{34, 34, 9}, false},
      {{35, 34, 8}, false},
      {{34, 35, 8}, false},
      {{-1, -1, 100}, true}}},
    {"SSYRK_DIRECT", "n k", {{{22, 39}, true}, {{23, 39}, false}, {{22, 40}, false}, {{-1, -1}, true}}},
    {"DSYRK_DIRECT", "n k", {{{22, 44}, true}, {{23, 44}, false}, {{22, 45}, false}, {{-1, -1}, true}}},
    {"CSYRK_DIRECT", "n k", {{{14, 69}, true}, {{15, 69}, false}, {{14, 70}, false}, {{-1, -1}, true}}},
    {"ZSYRK_DIRECT", "n k", {{{14, 49}, true}, {{15, 49}, false}, {{14, 50}, false}, {{-1, -1}, true}}},
    {"STRSM_DIRECT DTRSM_DIRECT CTRSM_DIRECT",
     "m n",
     {{{32, 32}, true}, {{33, 32}, false}, {{32, 33}, false}, {{-1, -1}, true}}},
    {"ZTRSM_DIRECT", "m n", {{{32, 24}, true}, {{33, 24}, false}, {{32, 25}, false}, {{-1, -1}, true}}},
};

std::vector<std::string> words(const char* list)
{
    std::istringstream in(list);
    return {std::istream_iterator<std::string>(in), {}};
}

class Selection : public BlasTest {};

TEST_F(Selection, SizesAndTheLowBitOfTheFlagChooseTheKernel)
{
    std::size_t members = 0;
    for (const Limits& l : limits)
        for (const std::string& name : words(l.members)) {
            ++members;
            const std::string operation = name.substr(0, name.find("_DIRECT"));
            const std::string regular = "qnm_blas_" + catalogue::to_lower(operation);
            const std::string small = "qnm_blas_x" + catalogue::to_lower(operation);
            const bool flagged = operation.find("DOT") == std::string::npos;
            for (const Sizes& sizes : l.cases)
                for (const int flag : {0, 2, 1, -1, -2}) {
                    SampleCall call(name);
                    const auto names = words(l.sizes);
                    for (std::size_t i = 0; i < names.size(); ++i)
                        call.set(names[i], sizes.values[i]);
                    if (flagged)
                        call.set("flag", flag);
                    SCOPED_TRACE(name + " " + ::testing::PrintToString(sizes.values) + " flag " +
                                 std::to_string(flag));
                    core().clear();
                    call.run();
                    ASSERT_EQ(core().calls().size(), 1U);
                    const bool forced = flagged && flag % 2 != 0;
                    expect_core_call(core().calls()[0], call, sizes.small || forced ? small : regular);
                }
        }
    EXPECT_EQ(members, 20U);
}

} // namespace
} // namespace qnm::tests
