// Reports of the layer's own functions, and what passes through entries that report.
#include "layer.hpp"

#include <stdexcept>

namespace qnm {
namespace {

const int one = 1, minus = -1, zero = 0;
const wide_int w1 = 1, wminus = -1;

class Reports : public recording::RecordedTest {
protected:
    static auto registered() { return Called("qnm_serv_set_xerbla_interface", layer()["cdecl_xerbla"]); }
};

TEST_F(Reports, OfTheCInterfaceRegisterMeasureAndReport)
{
    const auto expect = [](const std::string& reporter, const std::string& name, std::vector<Word> more,
                           int code, const std::string& shown) {
        more.insert(more.begin(), name.c_str());
        core().clear();
        call_entry(reporter, more);
        EXPECT_THAT(core().calls(),
                    ElementsAre(registered(), Called("qnm_serv_strnlen_s", name.c_str(), 4096),
                                Reported(shown, code)));
        EXPECT_EQ(core().calls().back().pointer<const char>(0), name.c_str());
        EXPECT_EQ(core().calls().back().code64(), code);
    };
    const std::string name = "cblas_dgemm", endless(5000, 'x');
    for (const int code : {7, -5, 2147483647, -2147483647 - 1})
        expect("cblas_xerbla", name, {code}, code, name);
    expect("cblas_xerbla_malloc_error", name, {}, 1000, name);
    expect("cblas_xerbla", endless, {1}, 1, std::string(4096, 'x'));
    core().answers("qnm_serv_strnlen_s").with(3); // the length is what the core measures
    expect("cblas_xerbla", name, {1}, 1, "cbl");
    expect("cblas_xerbla_malloc_error", name, {}, 1000, "cbl");
}

TEST_F(Reports, OfEntriesCarryThePaddedName)
{
    const struct {
        std::string entry;
        std::vector<Word> words;
        std::string name;
        int code;
    } all[]{
        {"dger_", {&minus, &one}, "DGER  ", 1},
        {"DGER_64", {&w1, &wminus}, "DGER  ", 2},
        {"dgemmt", {"U", "N", "N", &minus, &one}, "DGEMMT", 4},
        {"qnm_blas__dgemm_batch",
         {"N", "N", &one, &one, &one, nullptr, nullptr, &one, nullptr, &one, nullptr, nullptr, &one, &minus},
         "DGEMM_BATCH ",
         14},
        {"dgem2vu_", {&minus, &one}, "DGEM2VU", 1},
        {"DGEMV",
         {"N", &one, &one, nullptr, nullptr, &one, nullptr, &zero, nullptr, nullptr, &one},
         "DGEMV ",
         8}};
    core().ignore("qnm_serv_verbose_mode");
    for (auto [entry, words, name, code] : all) {
        SCOPED_TRACE(entry);
        words.resize(20, Word(0xbadL));
        core().clear();
        call_entry(entry, words);
        EXPECT_THAT(core().calls(), ElementsAre(registered(), Reported(name, code)));
    }
}

// The frame of a checked entry with nothing to check.
TEST_F(Reports, XerblaArrayGoesToTheCoreOfLapack)
{
    core().ignore("qnm_serv_verbose_mode");
    const int length = 5, info = -3;
    const wide_int wide_length = 5000000000, wide_info = -3;
    const char* const name = "DGEMM";
    call_entry("xerbla_array_", {name, &length, &info});
    ASSERT_THAT(core().calls(), ElementsAre(registered(), Called("qnm_lapack_xerbla_array", name)));
    EXPECT_EQ(core().calls()[1].behind(1), 5);
    EXPECT_EQ(core().calls()[1].behind(2), -3);
    EXPECT_EQ(core().calls()[1].word(3), 1U);

    core().clear();
    call_entry("qnm_lapack__xerbla_array_64_", {name, &wide_length, &wide_info});
    EXPECT_THAT(core().calls(), ElementsAre(registered(), Called("qnm_lapack_xerbla_array", name,
                                                                 &wide_length, &wide_info, 1)));
    core().mode(1);
    call_entry("XERBLA_ARRAY_64", {name, &wide_length, nullptr});
    EXPECT_THAT(core().calls().back(), Printed("XERBLA_ARRAY_64(D,5000000000,0)"));
}

// From the end of a chain through the links, the core's router, the report and the entry; or from the core's
// function itself, where a wide entry may have nothing of its own on the stack, and a traced one has a result
// kept.
TEST_F(Reports, ExceptionsReachTheCaller)
{
    const struct {
        std::string entry;
        std::vector<Word> words;
        std::string thrown;
    } all[]{{"dgemm_", {"N", "N", &minus, &one, &one}, "DGEMM "},
            {"dgemm_64_", {"N", "N", &wminus, &w1, &w1}, "DGEMM "},
            {"qnm_blas_errchk_dgemm", {"N", "N", &minus, &one, &one}, "DGEMM "},
            {"cblas_xerbla", {"cblas_dgemm", 3}, "cblas_dgemm"},
            {"daxpyi_", {&one, nullptr, nullptr, &one, nullptr}, "DAXPYI"},
            {"ddot", {&one, nullptr, &one, nullptr, &one}, ""},
            {"ddot_64", {&w1, nullptr, &w1, nullptr, &w1}, ""}};
    for (const char* thrower : {"qnm_serv_default_xerbla", "qnm_blas_ddot"})
        core().answers(thrower).calling([](Call& call, Answer&) { throw std::runtime_error(call.text); });
    core().forward_reports(true);
    for (const int mode : {0, 1})
        for (const auto& [entry, words, thrown] : all) {
            core().mode(mode);
            core().fail_allocation(1);
            std::string caught = "nothing";
            try {
                call_entry(entry, words);
            } catch (const std::runtime_error& error) {
                caught = error.what();
            }
            EXPECT_EQ(caught, thrown) << entry;
        }
}

} // namespace
} // namespace qnm
