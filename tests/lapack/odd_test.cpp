// What is odd in LAPACK: lengths beyond 32 bits, checks of private routines, sizes of leaves that are asked
// for.
#include "suite/routine.hpp"

namespace qnm::tests {
namespace {

class Odd : public CoreTest {};

// Blocks are granted without memory behind them while nothing is copied into them, so that many are asked
// for; the first that would be filled, or the last, is refused.
TEST_F(Odd, BlocksAreCountedIn64Bits)
{
    std::size_t beyond = 0;
    for (const std::int64_t size : {50'000, 600'000'000, 2'147'483'647})
        for (const Signature* s : entries()) {
            if (!is_narrow(*s) || frame(*s) == "checked")
                continue;
            QNM_TRACE_SIGNATURE(*s);
            FortranCall call(*s, 1);
            for (const Parameter& p : s->parameters)
                if (p.travel == Travel::integer && !call.has_groups())
                    call.set(p.name, p.name.starts_with("inc") ? 1 : size);
            std::vector<std::int64_t> expected, requests;
            for (const std::size_t i : call.copied())
                if (const std::int64_t bytes = call.block(i); bytes != 0) {
                    expected.push_back(bytes);
                    const Argument& a = *call.facts(i);
                    if (a.direction == Direction::in || a.direction == Direction::inout || a.cleared)
                        break;
                }
            if (expected.empty())
                continue;
            beyond += static_cast<std::size_t>(
                std::ranges::count_if(expected, [](std::int64_t bytes) { return bytes > 0xFFFF'FFFF; }));
            std::size_t granted = 0;
            core().answers("qnm_serv_allocate").calling([&](Call&, Answer& answer) {
                answer.returns(++granted < expected.size() ? &granted : nullptr);
            });
            core().answers("qnm_serv_deallocate").calling([](Call&, Answer&) {});
            core().clear();
            call.run();
            for (const Call& request : core().calls("qnm_serv_allocate"))
                requests.push_back(request.int64(0));
            EXPECT_EQ(requests, expected);
            EXPECT_TRUE(core().calls(call.callee().name).empty());
        }
    EXPECT_GT(beyond, 1000U);
}

TEST_F(Odd, TwoProductsOfSizes)
{
    // Half of 50,000 squared does not fit in 32 bits.
    core().answers("qnm_serv_allocate").with(nullptr);
    FortranCall("DGETRF_BATCH_STRIDED", 1).give("strideipiv=50000 batch_size=50000").run();
    EXPECT_THAT(core().calls("qnm_serv_allocate"),
                ::testing::ElementsAre(recording::Allocated(20'000'000'000, 128)));
}

TEST_F(Odd, DgesddHasNoScratchAtAQuery)
{
    for (const bool query : {false, true}) {
        FortranCall("DGESDD", 2, query ? "lwork=-1" : "").run();
        EXPECT_EQ(core().calls().back().word(12) == 0, query);
    }
}

// The leaf size is asked for by the routine's own name, through this layer's own entry.
TEST_F(Odd, LeafSizesAreAskedFor)
{
    std::string asked;
    core().answers("qnm_lapack_ilaenv").calling([&](Call& noted, Answer& answer) {
        asked.assign(noted.pointer<const char>(1), 6);
        answer.returns(25);
    });
    for (const char* name : {"DGELSD", "DBDSDC", "DLALSA", "DLASDA", "DLALSD", "SGELSD", "SBDSDC", "ZLALSA",
                             "SLASDA", "CLALSD"}) {
        SCOPED_TRACE(name);
        const bool has_letters = std::string_view(name).ends_with("BDSDC");
        const FortranCall call(name, 100, has_letters ? "compq=P uplo=U" : "");
        core().clear();
        call.run();
        const auto questions = core().calls("qnm_lapack_ilaenv");
        ASSERT_EQ(questions.size(), 1U);
        EXPECT_EQ(asked, name);
        EXPECT_EQ(questions[0].behind(0), 9);
        EXPECT_EQ(questions[0].word(7), 1U);
        EXPECT_EQ(questions[0].word(8), 1U);
    }
}

TEST_F(Odd, ChecksOfPrivateRoutinesReadIn64Bits)
{
    // 4294967296 is zero to one who reads 32 bits.
    const std::tuple<const char*, std::string, int> facts[] = {
        {"dtsvb", "n=3 nrhs=-1 ldb=3", 2},
        {"dtsvb", "n=3 nrhs=1 ldb=2", 7},
        {"dtsvb", "n=0 nrhs=0 ldb=0", 0},
        {"dtsvb", "n=4294967296 nrhs=1 ldb=0", 7},
        {"dtsvb", "n=-4294967296 nrhs=1 ldb=1", 1},
        {"dtsvb", "n=4294967296 nrhs=4294967296 ldb=4294967296", 0},
        {"dttrfb", "n=0", 0},
        {"dttrfb", "n=-4294967296", 1},
    };
    for (const std::string letter : {"s", "d", "c", "z"})
        for (const auto& [root, given, code] : facts) {
            SCOPED_TRACE(letter + root + ' ' + given);
            FunctionCall check("qnm_lapack_ps_errchk_" + letter + root);
            core().clear();
            EXPECT_EQ(check.set("info", 4711).give(given).run().int32(), code == 0 ? 0 : 1);
            EXPECT_EQ(check.integer("info"), -code);
            EXPECT_EQ(reports(), Reports(code == 0 ? 0 : 1, {catalogue::to_upper(letter + root), code}));
        }
}

} // namespace
} // namespace qnm::tests
