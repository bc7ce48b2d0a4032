// Results: each in the registers of its type, the same with and without a trace.
#include "support/published.hpp"
#include "support/sample_call.hpp"

namespace qnm::tests {
namespace {

using catalogue::ResultKind;

class Results : public BlasTest {};

/// What a call gives back for an answer of the core's.
template <class T>
support::Returned answered(const SampleCall& call, T value)
{
    core().clear();
    call.run();
    for (const std::string& name : story()) // which kernel it is
        if (name.starts_with("qnm_blas_"))
            core().answers(name).with(value);
    return call.run();
}

TEST_F(Results, ComeBackAsTheCoreGaveThem)
{
    for (const int mode : {0, 1})
        for (const Published& facts : published())
            for (const auto& member : expand(facts.members))
                for (const std::string width : {"", "_64"}) {
                    const std::string name = catalogue::to_upper(member.first) + width;
                    if (name.ends_with("_DIRECT_64"))
                        continue; // these have no wide member
                    SCOPED_TRACE(name);
                    core().mode(mode);
                    const SampleCall call(name);
                    const std::string result = facts.result;
                    EXPECT_EQ(call.row().result.kind, result.empty()       ? ResultKind::none
                                                      : result == "hidden" ? ResultKind::hidden
                                                                           : ResultKind::value);
                    constexpr std::int64_t large = 0x0123'4567'89AB'CDEF;
                    if (result == "real" && member.second == 's') {
                        EXPECT_EQ(answered(call, -2.5F).float32(), -2.5F);
                    } else if (result == "real") {
                        EXPECT_EQ(answered(call, 1e-300).float64(), 1e-300);
                    } else if (result == "int") { // what stands above 32 bits is nobody's
                        EXPECT_EQ(answered(call, std::int64_t{0x7'FFFF'FFF9}).int32(), -7);
                    } else if (result == "size") {
                        EXPECT_EQ(answered(call, large).int64(), large);
                    }
                }
}

} // namespace
} // namespace qnm::tests
