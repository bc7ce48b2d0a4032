// Narrow sparse level 1: the 64-bit copy of the index array, for the length of one call.
#include "support/sample_call.hpp"

#include <numeric>

namespace qnm::tests {
namespace {

using recording::Allocated;
using recording::Answer;
using recording::Called;
using recording::Reported;
using ::testing::ElementsAre;

class Scratch : public BlasTest {
protected:
    static std::vector<const Entry*> members()
    {
        std::vector<const Entry*> found;
        for (const Entry& e : entries())
            if (e.frame() == Class::scratch)
                found.push_back(&e);
        EXPECT_EQ(found.size(), 24U);
        return found;
    }

    static std::size_t index_word(const Entry& entry)
    {
        const bool hidden = entry.row->result.kind == catalogue::ResultKind::hidden;
        return static_cast<std::size_t>(entry.row->position(*entry.row->find("indx"))) - (hidden ? 0 : 1);
    }
};

TEST_F(Scratch, HoldsTheWidenedIndicesDuringTheCall)
{
    std::vector<int> indx(1000);
    std::iota(indx.begin(), indx.end(), -500);
    indx[7] = -2'147'483'647 - 1;
    const std::pair<int, std::size_t> cases[] = {{0, 8}, {-5, 8}, {1, 8}, {2, 16}, {16, 128}, {1000, 8000}};
    for (const Entry* e : members())
        for (const auto& [nz, bytes] : cases) {
            QNM_TRACE_ENTRY(*e);
            SCOPED_TRACE(nz);
            std::vector<std::int64_t> seen;
            core().answers(core_name(*e)).calling([&](Call& noted, Answer&) {
                const auto* copy = noted.pointer<const std::int64_t>(index_word(*e));
                seen.assign(copy, copy + std::max(nz, 0));
                EXPECT_EQ(core().live_blocks(), 1U);
            });
            SampleCall call(*e);
            call.set("nz", nz).point("indx", nz > 0 ? indx.data() : nullptr); // not read for no elements
            call.run();                                                       // binds the cell
            core().clear();
            call.run();
            ASSERT_EQ(core().calls().size(), 3U);
            const Call noted = core().calls()[1];
            expect_core_call(noted, call, core_name(*e));
            EXPECT_THAT(core().calls(),
                        ElementsAre(Allocated(bytes, 128), Called(core_name(*e)),
                                    Called("qnm_serv_deallocate", noted.pointer<void>(index_word(*e)))));
            EXPECT_EQ(noted.word(index_word(*e)) % 128, 0U);
            EXPECT_EQ(seen, std::vector<std::int64_t>(indx.begin(), indx.begin() + std::max(nz, 0)));
            EXPECT_EQ(core().live_blocks(), 0U);
        }
}

TEST_F(Scratch, AFailedAllocationIsReportedAndNothingElseHappens)
{
    core().mode(1);
    for (const Entry* e : members())
        for (const int nz : {0, 3}) {
            QNM_TRACE_ENTRY(*e);
            SampleCall call(*e);
            call.set("nz", nz);
            const SampleCall before = call;
            core().clear();
            core().fail_allocation(1);
            const support::Returned returned = call.run();
            EXPECT_THAT(core().calls(),
                        ElementsAre(Allocated(nz == 0 ? 8 : 24, 128),
                                    Called("qnm_serv_set_xerbla_interface", layer()["cdecl_xerbla"]),
                                    Reported(e->name(), 1102)));
            EXPECT_EQ(core().calls().back().code64(), 1102);
            EXPECT_EQ(core().live_blocks(), 0U);
            EXPECT_EQ(call, before);
            if (e->row->result.kind == catalogue::ResultKind::value) {
                EXPECT_EQ(returned.float64(), 0.0);
            }
        }
}

TEST_F(Scratch, WideMembersAllocateNothing)
{
    std::size_t seen = 0;
    for (const Entry& e : entries())
        if (e.row->entry_class == Class::scratch && e.width == Width::wide) {
            QNM_TRACE_ENTRY(e);
            ++seen;
            SampleCall call(e);
            call.point("indx", &call);
            core().clear();
            call.run();
            ASSERT_EQ(story(), std::vector<std::string>{core_name(e)});
            EXPECT_EQ(core().calls()[0].pointer<const void>(index_word(e)), &call);
        }
    EXPECT_EQ(seen, 24U);
}

} // namespace
} // namespace qnm::tests
