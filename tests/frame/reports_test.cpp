// Reports of the layer's own functions, and what passes through entries that report.
#include "layer.hpp"

#include <stdexcept>

namespace qnm {
namespace {

const int one = 1, minus = -1;
const wide_int w1 = 1, wminus = -1;

class Reports : public recording::RecordedTest {};

TEST_F(Reports, OfTheCInterfaceRegisterMeasureAndReport)
{
    const auto expect = [](const std::string& reporter, const std::string& name, int code,
                           const std::string& shown) {
        core().clear();
        call_entry(reporter, {name.c_str(), code}); // the second reporter takes no code
        EXPECT_THAT(core().calls(),
                    ElementsAre(Called("qnm_serv_set_xerbla_interface", layer()["cdecl_xerbla"]),
                                Called("qnm_serv_strnlen_s", name.c_str(), 4096), Reported(shown, code)));
        EXPECT_EQ(core().calls().back().code64(), code);
    };
    const std::string name = "cblas_dgemm", endless(5000, 'x');
    for (const int code : {7, -5})
        expect("cblas_xerbla", name, code, name);
    expect("cblas_xerbla", endless, 1, std::string(4096, 'x'));
    core().answers("qnm_serv_strnlen_s").with(3); // the length is what the core measures
    expect("cblas_xerbla", name, 1, "cbl");
    expect("cblas_xerbla_malloc_error", name, 1000, "cbl");
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
