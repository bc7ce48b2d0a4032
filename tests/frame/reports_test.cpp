// Reports of the layer's own functions, and what passes through entries that report.
#include "layer.hpp"

#include <stdexcept>

namespace qnm {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;

class Reports : public LayerTest {
protected:
    static auto registered() { return Called("qnm_serv_set_xerbla_interface", layer()["cdecl_xerbla"]); }
    static auto measured(const char* name) { return Called("qnm_serv_strnlen_s", name, 4096); }
};

TEST_F(Reports, OfTheCInterfaceRegisterMeasureAndReport)
{
    const char* const name = "cblas_dgemm";
    call_entry("cblas_xerbla", {name, 7});
    EXPECT_THAT(core().calls(), ElementsAre(registered(), measured(name), Reported("cblas_dgemm", 7)));
    EXPECT_EQ(core().calls().back().pointer<const char>(0), name);

    core().clear();
    call_entry("cblas_xerbla_malloc_error", {name});
    EXPECT_THAT(core().calls(), ElementsAre(registered(), measured(name), Reported("cblas_dgemm", 1000)));
    EXPECT_EQ(core().calls().back().code64(), 1000);
}

TEST_F(Reports, OfTheCInterfaceWidenTheCode)
{
    for (const int code : {1, -5, 2147483647, -2147483647 - 1}) {
        core().clear();
        call_entry("cblas_xerbla", {"cblas_x", code});
        EXPECT_EQ(core().calls().back().code64(), code);
    }
}

TEST_F(Reports, LengthOfANameIsWhatTheCoreMeasures)
{
    const std::string endless(5000, 'x');
    call_entry("cblas_xerbla", {endless.c_str(), 1});
    EXPECT_THAT(core().calls().back(), Reported(std::string(4096, 'x'), 1));
    core().answers("qnm_serv_strnlen_s").with(3);
    call_entry("cblas_xerbla_malloc_error", {"cblas_x"});
    EXPECT_THAT(core().calls().back(), Reported("cbl", 1000));
}

TEST_F(Reports, OfEntriesCarryThePaddedName)
{
    struct Bad {
        std::string entry;
        std::vector<Word> words;
        std::string name;
        int code;
    };
    const int one = 1, zero = 0, minus_one = -1;
    const wide_int wide_one = 1, wide_minus_one = -1;
    const std::vector<Word> nowhere(8, address(0xbad));
    const auto with_rest = [&](std::vector<Word> words) {
        words.insert(words.end(), nowhere.begin(), nowhere.end());
        return words;
    };
    const std::vector<Bad> all{
        {"dger_", with_rest({&minus_one, &one}), "DGER  ", 1},
        {"DGER_64", with_rest({&wide_one, &wide_minus_one}), "DGER  ", 2},
        {"dgemmt", with_rest({"U", "N", "N", &minus_one, &one}), "DGEMMT", 4},
        {"qnm_blas__dgemm_batch",
         with_rest({"N", "N", &one, &one, &one, nullptr, nullptr, &one, nullptr, &one, nullptr, nullptr, &one,
                    &minus_one, &one}),
         "DGEMM_BATCH ", 14},
        {"dgem2vu_", with_rest({&minus_one, &one}), "DGEM2VU", 1},
        {"DGEMV",
         with_rest({"N", &one, &one, nullptr, nullptr, &one, nullptr, &zero, nullptr, nullptr, &one}),
         "DGEMV ", 8}};
    for (const Bad& bad : all) {
        SCOPED_TRACE(bad.entry);
        core().clear();
        core().ignore("qnm_serv_verbose_mode");
        call_entry(bad.entry, bad.words);
        EXPECT_THAT(core().calls(), ElementsAre(registered(), Reported(bad.name, bad.code)));
    }
}

// The frame of a checked entry with nothing to check.
TEST_F(Reports, XerblaArrayGoesToTheCoreOfLapack)
{
    core().ignore("qnm_serv_verbose_mode");
    const int length = 5, info = -3;
    const wide_int wide_length = 5000000000, wide_info = -3;
    core().clear();
    call_entry("xerbla_array_", {"DGEMM", &length, &info});
    ASSERT_THAT(core().calls(), ElementsAre(registered(), Called("qnm_lapack_xerbla_array")));
    EXPECT_EQ(core().calls()[1].behind(1), 5);
    EXPECT_EQ(core().calls()[1].behind(2), -3);
    EXPECT_EQ(core().calls()[1].word(3), 1U);
    EXPECT_NE(core().calls()[1].pointer<int>(1), &length);

    core().clear();
    const char* const name = "DGEMM";
    call_entry("qnm_lapack__xerbla_array_64_", {name, &wide_length, &wide_info});
    EXPECT_THAT(core().calls(), ElementsAre(registered(), Called("qnm_lapack_xerbla_array", name,
                                                                 &wide_length, &wide_info, 1)));

    core().mode(1);
    call_entry("XERBLA_ARRAY", {"DGEMM", &length, &info});
    EXPECT_THAT(core().calls().back(), Printed("XERBLA_ARRAY(D,5,-3)"));
    call_entry("XERBLA_ARRAY_64", {"DGEMM", &wide_length, nullptr});
    EXPECT_THAT(core().calls().back(), Printed("XERBLA_ARRAY_64(D,5000000000,0)"));
}

// From the end of a chain through the links, the core's router, the report and the entry.
TEST_F(Reports, AnExceptionOfAHandlerReachesTheCaller)
{
    const int one = 1, minus_one = -1;
    const wide_int wide_one = 1, wide_minus_one = -1;
    core().answers("qnm_serv_default_xerbla").calling([](recording::Call& report, recording::Answer&) {
        throw std::runtime_error(report.text);
    });
    const auto thrown = [](const std::string& name, const std::vector<Word>& words) -> std::string {
        core().forward_reports(true);
        try {
            call_entry(name, words);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "nothing";
    };
    for (const int mode : {0, 1}) {
        core().mode(mode);
        EXPECT_EQ(thrown("dgemm_", {"N", "N", &minus_one, &one, &one}), "DGEMM ");
        EXPECT_EQ(thrown("dgemm_64_", {"N", "N", &wide_minus_one, &wide_one, &wide_one}), "DGEMM ");
        EXPECT_EQ(thrown("qnm_blas_errchk_dgemm", {"N", "N", &minus_one, &one, &one}), "DGEMM ");
        EXPECT_EQ(thrown("cblas_xerbla", {"cblas_dgemm", 3}), "cblas_dgemm");
        core().fail_allocation(1);
        EXPECT_EQ(thrown("daxpyi_", {&one, nullptr, nullptr, &one, nullptr}), "DAXPYI");
    }
}

// So may one of the core: a wide entry may have nothing of its own on the stack, a traced one has a result
// kept.
TEST_F(Reports, AnExceptionOfTheCoreReachesTheCaller)
{
    const int one = 1;
    const wide_int wide_one = 1;
    core().answers("qnm_blas_ddot").calling([](recording::Call&, recording::Answer&) {
        throw std::runtime_error("from the core");
    });
    for (const int mode : {0, 1}) {
        core().mode(mode);
        EXPECT_THROW(call_entry("ddot", {&one, nullptr, &one, nullptr, &one}), std::runtime_error);
        EXPECT_THROW(call_entry("ddot_64", {&wide_one, nullptr, &wide_one, nullptr, &wide_one}),
                     std::runtime_error);
    }
}

} // namespace
} // namespace qnm
