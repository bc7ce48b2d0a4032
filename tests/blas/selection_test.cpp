// The two kernels of the direct entries: both sides of every limit, written by hand.
#include "support/function_call.hpp"
#include "support/published.hpp"

namespace qnm::tests {
namespace {

struct Limits {
    const char* members;
    const char* sizes; // of which the routine has these
    /// Small is what is within these limits; each of them one more is not, and negative sizes are.
    std::vector<int> largest;
    std::vector<std::vector<int>> small = {}, regular = {}; // and these
};

const Limits limits[] = {
    {"axpy_direct sdcz dot_direct sd", "n", {1500}, {{0}}},
    {"gemm_direct scz", "m n k", {34, 34, 34}, {}, {{60, 10, 10}}},
    {"gemm_direct d",
     "m n k",
     {34, 34, 34},
     {{60, 10, 10}, {35, 2, -1}},
     {{61, 10, 10}, {60, 11, 10}, {60, 10, 11}, {35, 1, 10}, {35, -1, 10}, {1, 35, 5}}},
    {"gemm3m_direct cz", "m n k", {34, 34, 8}, {{8, 8, 100000}}, {{9, 8, 9}, {8, 9, 9}}},
    {"syrk_direct s", "n k", {22, 39}},
    {"syrk_direct d", "n k", {22, 44}},
    {"syrk_direct c", "n k", {14, 69}},
    {"syrk_direct z", "n k", {14, 49}},
    {"trsm_direct sdc", "m n", {32, 32}},
    {"trsm_direct z", "m n", {32, 24}},
};

class Selection : public CoreTest {};

TEST_F(Selection, SizesAndTheLowBitOfTheFlagChooseTheKernel)
{
    std::size_t members = 0;
    for (const Limits& l : limits)
        for (const auto& member : expand(l.members)) {
            ++members;
            const std::string& name = member.first;
            const std::string operation = name.substr(0, name.find("_direct"));
            const bool flagged = operation.find("dot") == std::string::npos;
            const auto expect = [&](const std::vector<int>& sizes, bool small) {
                for (const int flag : {0, 2, 1, -1, -2}) {
                    SCOPED_TRACE(name + " " + ::testing::PrintToString(sizes) + " flag " +
                                 std::to_string(flag));
                    FunctionCall call(catalogue::to_upper(name));
                    for (std::size_t i = 0; i < sizes.size(); ++i)
                        call.set(words(l.sizes)[i], sizes[i]);
                    if (flagged)
                        call.set("flag", flag);
                    core().clear();
                    call.run();
                    ASSERT_EQ(core().calls().size(), 1U);
                    const bool forced = flagged && flag % 2 != 0;
                    EXPECT_EQ(core().calls()[0].name,
                              (small || forced ? "qnm_blas_x" : "qnm_blas_") + operation);
                }
            };
            expect(l.largest, true);
            expect(std::vector<int>(l.largest.size(), -1), true);
            for (std::size_t i = 0; i < l.largest.size(); ++i) {
                std::vector<int> more = l.largest;
                ++more[i];
                expect(more, false);
            }
            for (const auto& sizes : l.small)
                expect(sizes, true);
            for (const auto& sizes : l.regular)
                expect(sizes, false);
        }
    EXPECT_EQ(members, 20U);
}

} // namespace
} // namespace qnm::tests
