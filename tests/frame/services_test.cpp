// What is not a function of a checked list of arguments: links of chains, forwards, services in both forms,
// leaving the process; and reports. Spellings of one function share an address: one of them is called.
#include "layer.hpp"
#include "published.hpp"

#include <cstdlib>
#include <stdexcept>

namespace qnm {
namespace {

class Services : public recording::RecordedTest {};

/// The one call that arrives at the core.
Call arrived(const std::string& spelling, const std::string& target, const std::vector<Word>& words)
{
    core().clear();
    call_entry(spelling, words);
    EXPECT_THAT(core().calls(), ElementsAre(Called(target))) << spelling;
    return core().calls().empty() ? Call() : core().calls().front();
}

/// Expects one call of the core's function, with everything as it was given, and its results handed back.
void expect_untouched(const std::string& name, const std::string& target)
{
    SCOPED_TRACE(name);
    std::vector<Word> words;
    for (wide_int i = 0; i < 10; ++i)
        words.emplace_back(0x7101010101010101 + i);
    const std::vector<support::Real> reals{1.5, 2.5, 3.5F, 4.5, 5.5, 6.5F, 7.5, 8.5};
    constexpr std::uint64_t announced = 0x6B6B6B6B6B6B6B05; // in rax: a variadic callee reads its low byte
    const auto walk = [&] { return support::invoke(layer()[name], words, reals, announced); };

    core().listen(target);
    core().clear();
    core().answers(target).with(wide_int{0x0123456789ABCDEF});
    const support::Returned returned = walk();
    EXPECT_EQ(returned.int64(), 0x0123456789ABCDEF);
    EXPECT_THAT(returned.violations, ElementsAre());
    ASSERT_THAT(core().calls(), ElementsAre(Called(target)));
    const recording::Arguments got = core().calls().front().arguments();
    for (std::size_t i = 0; i < words.size(); ++i)
        EXPECT_EQ(core().calls().front().word(i), words[i].bits()) << "word " << i;
    for (std::size_t i = 0; i < reals.size(); ++i) {
        EXPECT_EQ(got.vectors[i].low, std::bit_cast<std::uint64_t>(reals[i].float64())) << "real " << i;
        EXPECT_EQ(got.vectors[i].high, ~std::uint64_t{0}) << "real " << i;
    }
    EXPECT_EQ(got.rax, announced);
    core().answers(target).with(-2.25);
    EXPECT_EQ(walk().float64(), -2.25);
}

TEST_F(Services, LinksForwardsAndCFormsLeaveAllAsItCame)
{
    for (const auto& chain : published::chains())
        for (const std::string& link : chain.links)
            expect_untouched(link, chain.core);
    for (const auto& forward : published::forwards())
        expect_untouched(forward.spellings.back(), forward.core);
    for (const auto& service : published::two_forms())
        expect_untouched(service.c, service.c_core);
}

TEST_F(Services, FortranFormsReadThroughPointersAndHandBackTheResult)
{
    // An int as a Fortran caller stores it has another variable beside it.
    constexpr std::uint64_t beside = 0x5EC2E75500000000, value = 0x1122334455667788, lower = 0xFFFFFFFF;
    for (const auto& service : published::two_forms()) {
        const std::string& spelling = service.fortran.back();
        SCOPED_TRACE(spelling);
        std::vector<std::uint64_t> values;
        for (const int width : service.widths)
            values.push_back((width == 32 ? beside | (value & lower) : value) + values.size());
        std::vector<Word> words;
        for (std::size_t i = 0; i < values.size(); ++i)
            words.push_back(service.widths[i] == 0 ? Word(values[i]) : Word(&values[i]));
        core().answers(service.core).with(wide_int{0x00007FFF12345678});
        const Call got = arrived(spelling, service.core, words);
        for (std::size_t i = 0; i < values.size(); ++i)
            if (service.widths[i] != 32) {
                EXPECT_EQ(got.word(i), values[i]) << "word " << i;
            } else {
                EXPECT_EQ(got.word(i) & lower, values[i] & lower) << "word " << i;
                EXPECT_NE(got.word(i) & ~lower, beside) << "word " << i << " read too far";
            }
        const std::uint64_t defined = service.result == 64   ? ~std::uint64_t{0}
                                      : service.result == 32 ? lower
                                                             : 0;
        EXPECT_EQ(call_entry(spelling, words).rax & defined, 0x00007FFF12345678 & defined);
    }
}

int noted_status = 0;

void note(int status)
{
    noted_status = status;
}

TEST_F(Services, TheProcessEndsByTheHandlerOrInGoodOrder)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const Call given = arrived("qnm_set_exit_handler_", "qnm_serv_set_exit_handler", {note});
    EXPECT_EQ(given.word(0), Word(note).bits());
    call_entry("qnm_serv_iface_exit", {2}); // comes back, since the handler does
    EXPECT_EQ(noted_status, 2);
    call_entry("qnm_set_exit_handler_", {nullptr});
    EXPECT_EXIT(
        {
            std::atexit([] { std::fputs("left in good order", stderr); });
            call_entry("qnm_serv_iface_exit", {17});
        },
        ::testing::ExitedWithCode(17), "left in good order");
}

class Reports : public Services {};

TEST_F(Reports, OfTheCInterfaceRegisterMeasureAndReport)
{
    const std::string endless(5000, 'x');
    for (const auto& [reporter, name, measured, code] :
         {std::tuple{"cblas_xerbla", "cblas_dgemm", 11U, 7},
          {"cblas_xerbla", "cblas_dgemm", 3U, -5}, // the length is what the core measures
          {"cblas_xerbla", endless.c_str(), 4096U, 1},
          {"cblas_xerbla_malloc_error", "cblas_dgemm", 11U, 1000}}) { // takes no code
        core().answers("qnm_serv_strnlen_s").with(wide_int{measured});
        core().clear();
        call_entry(reporter, {name, code});
        EXPECT_THAT(core().calls(),
                    ElementsAre(Called("qnm_serv_set_xerbla_interface", layer()["cdecl_xerbla"]),
                                Called("qnm_serv_strnlen_s", name, 4096),
                                Reported(std::string(name, measured), code)));
        EXPECT_EQ(core().calls().back().code64(), code);
    }
}

// From the end of a chain through the links, the core's router, the report and the entry; or from the core's
// function itself, where a wide entry may have nothing of its own on the stack, and a traced one has a result
// kept.
TEST_F(Reports, ExceptionsReachTheCaller)
{
    const int one = 1, minus = -1;
    const wide_int w1 = 1;
    const std::tuple<std::string, std::vector<Word>, std::string> all[]{
        {"dgemm_", {"N", "N", &minus, &one, &one}, "DGEMM "},
        {"dgemm_64_", {"X", "N", &w1, &w1, &w1}, "DGEMM "},
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
