// What reaches the core from any entry, and what comes back.
#include "lapack_call.hpp"

namespace qnm::tests {
namespace {

class Passing : public LapackTest {
protected:
    static void expect_passed(LapackCall& call)
    {
        core().clear();
        const Routine routine(call);
        const std::vector<std::string> expected =
            Routine::story(call); // a query may change the length that asks
        call.run();
        ASSERT_EQ(story(), expected);
        for (const Call& registered : core().calls("qnm_serv_set_xerbla_interface"))
            EXPECT_EQ(registered.pointer<void>(0), layer()["cdecl_xerbla"]);
        routine.expect_arguments(core().calls(lapack_core(call.entry())).at(0));
        routine.expect_results();
    }
};

TEST_F(Passing, AllSizesFromNoneToLong)
{
    for (const Entry& e : entries()) {
        QNM_TRACE_ENTRY(e);
        for (const std::int64_t size : {-2, 0, 1, 2, 3, 15, 16, 17, 40}) {
            SCOPED_TRACE(size);
            LapackCall call(e, size);
            expect_passed(call);
        }
    }
}

TEST_F(Passing, SizesAndLettersByChance)
{
    std::mt19937 chance(20240229);
    for (const Entry& e : entries())
        for (int round = 0; round < 6; ++round) {
            QNM_TRACE_ENTRY(e);
            LapackCall call(e, chance);
            expect_passed(call);
        }
}

TEST_F(Passing, AQueryMakesNoScratchAndBringsBackTheFirstElement)
{
    std::size_t first = 0;
    for (const Entry& e : entries())
        for (const Argument& a : e.row->arguments) {
            if (!asks(a))
                continue;
            QNM_TRACE_ENTRY(e);
            SCOPED_TRACE(a.name);
            LapackCall call(e, 40);
            call.set(a.name, -1);
            for (const Argument* array : call.copied())
                if (array->returned)
                    ++first;
                else if (e.row->root != "gesvdq")
                    call.point(array->name, nullptr); // and nobody looks behind it
            expect_passed(call);
        }
    EXPECT_GT(first, 100U);
}

// A routine that stops early leaves what it would have written, and the caller finds it as it was.
TEST_F(Passing, AScalarThatTheCoreLeavesAloneKeepsItsValue)
{
    std::size_t scalars = 0;
    for (const Entry& e : entries()) {
        QNM_TRACE_ENTRY(e);
        LapackCall call(e, 3);
        const LapackCall before = call;
        call.run();
        for (const Argument& a : e.row->arguments)
            if (comes_back(a) && !e.row->groups &&
                (a.name != "info" || a.direction == catalogue::Direction::inout)) {
                EXPECT_EQ(call.integer(a), before.integer(a)) << a.name;
                ++scalars;
            }
    }
    EXPECT_GE(scalars, 2 * 299U) << "published routines that write more than INFO";
}

TEST_F(Passing, ResultsComeBackAsTheCoreGaveThem)
{
    constexpr std::int64_t large = -0x7'0000'004D; // negative either way, -77 to one who reads 32 bits
    for (const int mode : {0, 0, 1})               // an entry's first call takes the road of a traced one
        for (const Entry& e : entries()) {
            if (e.row->result.kind != catalogue::ResultKind::value)
                continue;
            QNM_TRACE_ENTRY(e);
            core().mode(mode);
            const LapackCall call(e, 2);
            const std::string type = catalogue::c_type(e.row->result.type, e.precision, e.width);
            recording::Script& answer = core().answers(lapack_core(e));
            if (type == "float")
                EXPECT_EQ((answer.with(0.25F), call.run().float32()), 0.25F);
            else if (type == "double")
                EXPECT_EQ((answer.with(0.25), call.run().float64()), 0.25);
            else if (answer.with(large); call.narrow())
                EXPECT_EQ(call.run().int32(), -77);
            else
                EXPECT_EQ(call.run().int64(), large);
        }
}

} // namespace
} // namespace qnm::tests
