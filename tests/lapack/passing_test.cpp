// What reaches the core from any entry, and what comes back.
#include "lapack_call.hpp"

namespace qnm::tests {
namespace {

class Passing : public LapackTest {};

void expect_passed(LapackCall& call)
{
    core().clear();
    const Routine routine(call);
    call.run();
    ASSERT_EQ(story(), Routine::story(call));
    const auto noted = core().calls(lapack_core(call.entry()));
    routine.expect_arguments(noted.at(0));
    routine.expect_results();
}

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

TEST_F(Passing, TheInterfaceIsTheLayersOwn)
{
    for (const Entry& e : entries()) {
        QNM_TRACE_ENTRY(e);
        LapackCall call(e, 2);
        core().clear();
        call.run();
        const auto registered = core().calls("qnm_serv_set_xerbla_interface");
        ASSERT_EQ(registered.empty(), !registers(e));
        for (const Call& c : registered)
            EXPECT_EQ(c.pointer<void>(0), layer()["cdecl_xerbla"]);
    }
}

// A routine that stops early leaves what it would have written, and the caller finds it as it was.
TEST_F(Passing, AScalarThatTheCoreLeavesAloneKeepsItsValue)
{
    std::size_t scalars = 0;
    for (const Entry& e : entries()) {
        QNM_TRACE_ENTRY(e);
        LapackCall call(e, 3);
        const LapackCall before = call;
        core().answers(lapack_core(e)).calling([](Call&, recording::Answer&) {});
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

TEST_F(Passing, ValuesBeyond32BitsReachTheCoreFromWideEntries)
{
    constexpr std::int64_t large = 3'000'000'000'000;
    for (const Entry& e : entries()) {
        if (e.width == Width::narrow || e.row->groups || e.frame() == Class::checked)
            continue;
        QNM_TRACE_ENTRY(e);
        LapackCall call(e, 0);
        for (const Argument& a : e.row->arguments)
            if (a.kind == Kind::integer || a.kind == Kind::value)
                call.set(a.name, large + e.row->position(a));
        core().clear();
        const Routine routine(call);
        call.run();
        routine.expect_arguments(core().calls().back());
    }
}

TEST_F(Passing, ResultsComeBackAsTheCoreGaveThem)
{
    for (const int mode : {0, 1})
        for (const Entry& e : entries()) {
            if (e.row->result.kind != catalogue::ResultKind::value)
                continue;
            QNM_TRACE_ENTRY(e);
            core().mode(mode);
            LapackCall call(e, 2);
            const std::string type = catalogue::c_type(e.row->result.type, e.precision, e.width);
            if (type == "float") {
                core().answers(lapack_core(e)).with(0.25F);
                EXPECT_EQ(call.run().float32(), 0.25F);
            } else if (type == "double") {
                core().answers(lapack_core(e)).with(0.25);
                EXPECT_EQ(call.run().float64(), 0.25);
            } else {
                EXPECT_EQ(e.row->result.type, "index");
                core().answers(lapack_core(e)).with(-77);
                EXPECT_EQ(call.run().int32(), -77);
            }
        }
}

} // namespace
} // namespace qnm::tests
