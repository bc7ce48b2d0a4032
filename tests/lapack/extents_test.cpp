// How long the scratch is: sizes that do not fit in 32 bits, and routines that tell most, by hand.
#include "suite/routine.hpp"

namespace qnm::tests {
namespace {

using Bytes = std::vector<std::int64_t>;

class Extents : public CoreTest {
protected:
    /// Bytes of the blocks that a call asks for, in order.
    static Bytes requests(const FortranCall& call)
    {
        Bytes bytes;
        core().clear();
        call.run();
        for (const Call& request : core().calls("qnm_serv_allocate")) {
            bytes.push_back(request.int64(0));
            EXPECT_EQ(request.int32(1), 128);
        }
        return bytes;
    }
};

// Blocks are granted without memory behind them while nothing is copied into them, so that many are asked
// for; the first that would be filled, or the last, is refused.
TEST_F(Extents, BlocksAreCountedIn64Bits)
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
            Bytes expected;
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
            EXPECT_EQ(requests(call), expected);
            EXPECT_TRUE(core().calls(call.callee().name).empty());
        }
    EXPECT_GT(beyond, 1000U);
}

TEST_F(Extents, TwoProductsOfSizes)
{
    // Half of 50,000 squared does not fit in 32 bits.
    core().answers("qnm_serv_allocate").with(nullptr);
    FortranCall call("DGETRF_BATCH_STRIDED", 1);
    call.give("strideipiv=50000 batch_size=50000");
    EXPECT_EQ(requests(call), Bytes{20'000'000'000});
}

TEST_F(Extents, Literally)
{
    // The published lengths in elements of 8 bytes, 16 and less of which are on the stack; integers that are
    // not given are 1.
    const std::tuple<const char*, const char*, Bytes> facts[] = {
        {"DGETRF", "m=16 n=300 lda=16", {}},
        {"DGETRF", "m=17 n=300 lda=17", {136}},
        {"DGETRF", "m=300 n=17 lda=300", {136}},
        {"DGETRS", "n=16", {}},
        {"DGETRS", "n=17", {136}},
        {"DGEQP3", "m=3 n=17", {136}},
        {"DSYTRF", "n=17", {136}},
        {"DSYTRF", "n=17 lwork=-1", {}},
        {"DSTEDC", "liwork=16", {}},
        {"DSTEDC", "liwork=17", {136}},
        {"DGESDD", "m=2 n=2", {}},
        {"DGESDD", "m=3 n=5", {192}},
        {"CHESV_AA", "n=17", {136}},
        // QPTR of n+2, four and GIVCOL of n*lg(n), IWORK of 4*n; INDXQ is on the stack
        {"DLAED7", "n=1", {}},
        {"DLAED7", "n=15", {136, 480, 480, 480, 960, 480}},
        // real numbers: 7 ln 7 = 13.62, 8 ln 8 = 16.64, 100 ln 100 = 460.5, 1000 ln 1000 = 6907.8
        {"DLAEDA", "n=0", {}},
        {"DLAEDA", "n=7", {}},
        {"DLAEDA", "n=8", Bytes(5, 133)},
        {"SLAEDA", "n=100", Bytes(5, 3684)},
        {"DLAEDA", "n=1000", Bytes(5, 55'262)},
        // leaves of 5: 100/6 of them make four levels below the root, 100*(3*5+11)
        {"DGELSD", "m=100 n=100", {100 * 26 * 8}},
        {"DGELSD", "m=100 n=300 lwork=-1", {}},
    };
    for (const auto& [name, given, bytes] : facts)
        EXPECT_EQ(requests(FortranCall(name, 1, given)), bytes) << name << ' ' << given;
}

TEST_F(Extents, DgesddHasNoScratchAtAQuery)
{
    for (const bool query : {false, true}) {
        FortranCall("DGESDD", 2, query ? "lwork=-1" : "").run();
        EXPECT_EQ(core().calls().back().word(12) == 0, query);
    }
}

// The leaf size is asked for by the routine's own name, through this layer's own entry.
TEST_F(Extents, LeafSizesAreAskedFor)
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

} // namespace
} // namespace qnm::tests
