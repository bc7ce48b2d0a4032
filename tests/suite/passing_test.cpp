// What reaches the core from any entry, and what comes back.
#include "suite/routine.hpp"
#include "support/published.hpp"

namespace qnm::tests {
namespace {

class Passing : public CoreTest {
protected:
    static void expect_passed(FortranCall& call, bool traced = false)
    {
        core().mode(traced ? 1 : 0);
        core().clear();
        const Routine routine(call);
        const std::vector<std::string> expected = call.story(); // a query may change the length that asks
        const std::string name = call.callee().name;
        call.run();
        std::vector<std::string> told = story();
        if (traced) // lines are looked at elsewhere
            std::erase_if(told, [](const std::string& each) {
                return lists("qnm_serv_dsecnd qnm_serv_snprintf_s qnm_serv_print_verbose_info", each);
            });
        ASSERT_EQ(told, expected);
        for (const Call& registered : core().calls("qnm_serv_set_xerbla_interface"))
            EXPECT_EQ(registered.pointer<void>(0), layer()["cdecl_xerbla"]);
        routine.expect_arguments(core().calls(name).at(0));
        routine.expect_results();
    }
};

TEST_F(Passing, AllSizesFromNoneToLong)
{
    for (const Signature* s : entries()) {
        QNM_TRACE_SIGNATURE(*s);
        EXPECT_EQ(s->callees.front().name, core_name(*s));
        FortranCall(*s).run(); // binds the cell
        for (const std::int64_t size : {-2, 0, 1, 2, 3, 15, 16, 17, 40}) {
            SCOPED_TRACE(size);
            FortranCall call(*s, size);
            expect_passed(call);
        }
    }
}

TEST_F(Passing, SizesAndLettersByChanceTracedOrNot)
{
    std::mt19937 chance(20240229);
    for (const Signature* s : entries())
        for (int round = 0; round < 6; ++round) {
            QNM_TRACE_SIGNATURE(*s);
            FortranCall call(*s, chance);
            expect_passed(call, round % 2 == 1);
        }
}

TEST_F(Passing, ValidCallsWithAValueOfItsOwnInEachArgument)
{
    each_call(others(), [](const FunctionCall& any) {
        any.each_choice([](FunctionCall call) {
            core().clear();
            const FunctionCall before = call;
            call.run();
            EXPECT_THAT(reports(), ::testing::IsEmpty());
            const auto noted = core().calls(called(call));
            ASSERT_EQ(noted.size(), 1U) << ::testing::PrintToString(story());
            EXPECT_TRUE(call == before);
            call.expect_passed(noted[0], call.callee(),
                               [&](std::size_t i, std::size_t) { return is_turned(call, i); });
        });
    });
}

TEST_F(Passing, AQueryMakesNoScratchAndBringsBackTheFirstElement)
{
    std::size_t first = 0;
    for (const Signature* s : entries())
        for (std::size_t i = 0; i < s->parameters.size(); ++i) {
            FortranCall call(*s, 40);
            if (!call.asks(i))
                continue;
            QNM_TRACE_SIGNATURE(*s);
            SCOPED_TRACE(s->parameters[i].name);
            call.set(s->parameters[i].name, -1);
            for (const std::size_t array : call.copied())
                if (call.facts(array)->returned)
                    ++first;
                else if (!bare_name(*s).ends_with("gesvdq"))
                    call.point(s->parameters[array].name, nullptr); // and nobody looks behind it
            expect_passed(call);
        }
    EXPECT_GT(first, 100U);
}

// A routine that stops early leaves what it would have written, and the caller finds it as it was.
TEST_F(Passing, AScalarThatTheCoreLeavesAloneKeepsItsValue)
{
    std::size_t scalars = 0;
    for (const Signature* s : entries()) {
        QNM_TRACE_SIGNATURE(*s);
        FortranCall call(*s, 3);
        const FortranCall before = call;
        call.run();
        for (std::size_t i = 0; i < s->parameters.size(); ++i)
            if (call.comes_back(i) && call.is_seeded(i)) {
                EXPECT_EQ(call.integer(i), before.integer(i)) << s->parameters[i].name;
                ++scalars;
            }
    }
    EXPECT_GE(scalars, 2 * 299U) << "published routines that write more than INFO";
}

TEST_F(Passing, ResultsComeBackAsTheCoreGaveThem)
{
    constexpr std::int64_t large = -0x7'0000'004D; // negative either way, -77 to one who reads 32 bits
    for (const int mode : {0, 0, 1})               // an entry's first call takes the road of a traced one
        for (const Signature* s : all()) {
            if (s->result == "void")
                continue;
            QNM_TRACE_SIGNATURE(*s);
            core().mode(mode);
            FunctionCall call(*s);
            recording::Script& answer = core().answers(called(call));
            const bool index = s->result == "CBLAS_INDEX"; // counts from zero, and gets 32 bits
            if (s->result == "float")
                EXPECT_EQ((answer.with(0.25F), call.run().float32()), 0.25F);
            else if (s->result == "double")
                EXPECT_EQ((answer.with(0.25), call.run().float64()), 0.25);
            else if (answer.with(large); s->result == "int")
                EXPECT_EQ(call.run().int32(), -77);
            else
                EXPECT_EQ(call.run().int64(), index ? -78 : large);
        }
}

} // namespace
} // namespace qnm::tests
