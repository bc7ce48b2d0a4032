// How long the scratch is: sizes that do not fit in 32 bits, and routines that tell most, by hand.
#include "lapack_call.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

using catalogue::Direction;

class Extents : public LapackTest {
protected:
    /// Bytes of the blocks that were asked for, in order.
    static std::vector<std::int64_t> requests()
    {
        std::vector<std::int64_t> bytes;
        for (const Call& call : core().calls("qnm_serv_allocate")) {
            bytes.push_back(call.int64(0));
            EXPECT_EQ(call.int32(1), 128);
        }
        return bytes;
    }

    /// Requests of one call with these integers; nothing of it is large. Other integers are 1.
    static std::vector<std::int64_t> requests(std::string_view name,
                                              const std::map<std::string, std::int64_t>& integers,
                                              const std::map<std::string, char>& letters = {})
    {
        LapackCall call(name, 1);
        for (const auto& [argument, value] : integers)
            call.set(argument, value);
        for (const auto& [argument, letter] : letters)
            call.choose(argument, letter);
        call.make_valid().lay_out();
        core().clear();
        call.run();
        EXPECT_FALSE(core().calls().empty());
        return requests();
    }
};

using Bytes = std::vector<std::int64_t>;

// Blocks are granted without memory behind them while nothing is copied into them, so that many are asked
// for; the first that would be filled, or the last, is refused.
TEST_F(Extents, BlocksAreCountedIn64Bits)
{
    std::size_t beyond = 0;
    for (const std::int64_t size : {50'000, 600'000'000, 2'147'483'647})
        for (const Entry& e : entries()) {
            QNM_TRACE_ENTRY(e);
            LapackCall call(e, 1);
            for (const Argument& a : e.row->arguments)
                if (a.kind == Kind::integer && !e.row->groups && e.width == Width::narrow)
                    call.set(a.name, a.name.starts_with("inc") ? 1 : size);
            if (e.frame() == Class::checked)
                for (const Argument& a : e.row->arguments) // workspace is not to be looked at
                    if (a.query)
                        call.set(a.name, size);
            Bytes expected;
            bool refused = false;
            for (const Argument* a : call.copied())
                if (const std::int64_t bytes = call.block(*a); bytes != 0 && !refused) {
                    expected.push_back(bytes);
                    refused = a->direction == Direction::in || a->direction == Direction::inout || a->cleared;
                }
            if (expected.empty() || e.frame() == Class::checked)
                continue;
            beyond += std::count_if(expected.begin(), expected.end(),
                                    [](std::int64_t bytes) { return bytes > 0xFFFF'FFFF; });
            std::size_t granted = 0;
            core().answers("qnm_serv_allocate").calling([&](Call&, recording::Answer& answer) {
                answer.returns(++granted < expected.size() ? &granted : nullptr);
            });
            core().answers("qnm_serv_deallocate").calling([](Call&, recording::Answer&) {});
            core().clear();
            call.run();
            EXPECT_EQ(requests(), expected);
            EXPECT_TRUE(core().calls(lapack_core(e)).empty());
        }
    EXPECT_GT(beyond, 1000U);
}

TEST_F(Extents, Dgetrf)
{
    EXPECT_EQ(requests("DGETRF", {{"m", 16}, {"n", 300}, {"lda", 16}}), Bytes{});
    EXPECT_EQ(requests("DGETRF", {{"m", 17}, {"n", 300}, {"lda", 17}}), Bytes{136});
    EXPECT_EQ(requests("DGETRF", {{"m", 300}, {"n", 17}, {"lda", 300}}), Bytes{136});
}

TEST_F(Extents, TwoProductsOfSizes)
{
    // Half of 50,000 squared does not fit in 32 bits.
    core().answers("qnm_serv_allocate").with(nullptr);
    LapackCall call("DGETRF_BATCH_STRIDED", 1);
    call.set("strideipiv", 50'000).set("batch_size", 50'000);
    call.run();
    EXPECT_EQ(requests(), Bytes{20'000'000'000});
}

TEST_F(Extents, TellingRows)
{
    EXPECT_EQ(requests("DGETRS", {{"n", 16}}), Bytes{});
    EXPECT_EQ(requests("DGETRS", {{"n", 17}}), Bytes{136});
    EXPECT_EQ(requests("DGEQP3", {{"m", 3}, {"n", 17}}), Bytes{136});
    EXPECT_EQ(requests("DSYTRF", {{"n", 17}}), Bytes{136});
    EXPECT_EQ(requests("DSYTRF", {{"n", 17}, {"lwork", -1}}), Bytes{});
    EXPECT_EQ(requests("DSTEDC", {{"liwork", 16}}), Bytes{});
    EXPECT_EQ(requests("DSTEDC", {{"liwork", 17}}), Bytes{136});
    EXPECT_EQ(requests("DGESDD", {{"m", 2}, {"n", 2}}), Bytes{});
    EXPECT_EQ(requests("DGESDD", {{"m", 3}, {"n", 5}}), Bytes{192});
    EXPECT_EQ(requests("CHESV_AA", {{"n", 17}}), Bytes{136});
    // QPTR of N+2, all others short enough but IWORK of 4*N
    EXPECT_EQ(requests("DLAED7", {{"n", 1}}), Bytes{});
    EXPECT_EQ(requests("DLAED7", {{"n", 14}}).at(0), 14 * 4 * 8);
    const Bytes tree = requests("DLAED7", {{"n", 15}});
    EXPECT_EQ(tree.at(0), 15 * 8 + 16);
    EXPECT_EQ(tree.size(), 7U - 1U) << "INDXQ is on the stack";
}

TEST_F(Extents, LengthsOfDlaedaAreRealNumbers)
{
    EXPECT_EQ(requests("DLAEDA", {{"n", 0}}), Bytes{});
    EXPECT_EQ(requests("DLAEDA", {{"n", 7}}), Bytes{});              // 7 ln 7 = 13.62
    EXPECT_EQ(requests("DLAEDA", {{"n", 8}}), Bytes(5, 133));        // 8 ln 8 = 16.64
    EXPECT_EQ(requests("SLAEDA", {{"n", 100}}), Bytes(5, 3684));     // 100 ln 100 = 460.5
    EXPECT_EQ(requests("DLAEDA", {{"n", 1'000}}), Bytes(5, 55'262)); // 6907.8
}

TEST_F(Extents, QueriesOfTellingRows)
{
    LapackCall dstedc("DSTEDC", 20);
    dstedc.set("liwork", -1);
    dstedc.run();
    const Call& both = core().calls().back();
    EXPECT_EQ(both.name, "qnm_lapack_dstedc");
    EXPECT_EQ(both.behind(7), -1);
    EXPECT_EQ(both.behind(9), -1);
    EXPECT_EQ(dstedc.integer(*dstedc.row().find("lwork")), 20);

    LapackCall dgesdd("DGESDD", 2);
    dgesdd.run();
    EXPECT_NE(core().calls().back().word(12), 0U);
    dgesdd.set("lwork", -1).run();
    EXPECT_EQ(core().calls().back().word(12), 0U);
}

// The leaf size is asked for by the routine's own name, through this layer's own entry.
TEST_F(Extents, LeafSizesAreAskedFor)
{
    std::string asked;
    const std::vector<std::string> asking{"DGELSD", "DBDSDC", "DLALSA", "DLASDA", "DLALSD",
                                          "SGELSD", "SBDSDC", "ZLALSA", "SLASDA", "CLALSD"};
    for (const std::string& name : asking) {
        SCOPED_TRACE(name);
        LapackCall call(name, 100);
        if (name.ends_with("BDSDC"))
            call.choose("compq", 'P').choose("uplo", 'U');
        call.lay_out();
        core().answers("qnm_lapack_ilaenv").calling([&](Call& noted, recording::Answer& answer) {
            asked.assign(noted.pointer<const char>(1), 6);
            answer.returns(25);
        });
        core().clear();
        call.run();
        const auto questions = core().calls("qnm_lapack_ilaenv");
        ASSERT_EQ(questions.size(), 1U);
        EXPECT_EQ(asked, name);
        EXPECT_EQ(questions[0].behind(0), 9);
        EXPECT_EQ(questions[0].word(7), 1U);
        EXPECT_EQ(questions[0].word(8), 1U);
    }
    // 100/26 leaves make one level below the root: 100*(3*2+11)
    EXPECT_EQ(requests("DGELSD", {{"m", 100}, {"n", 100}}), Bytes{100 * 17 * 8});
    EXPECT_EQ(requests("DGELSD", {{"m", 100}, {"n", 300}, {"lwork", -1}}), Bytes{});
}

TEST_F(Extents, IlaenvPassesLengthsOfOne)
{
    const int ispec = 9, n = -1;
    core().answers("qnm_lapack_ilaenv").with(25);
    const auto returned = support::call_words(layer()["ilaenv_"], {&ispec, "DGESVDXYZ", "options", &n, &n, &n,
                                                                   &n, std::int64_t{9}, std::int64_t{7}});
    EXPECT_EQ(returned.int32(), 25);
    const Call& call = core().calls().back();
    EXPECT_EQ(call.behind(0), 9);
    EXPECT_EQ(call.word(7), 1U);
    EXPECT_EQ(call.word(8), 1U);
}

TEST_F(Extents, DgetrsLiterally)
{
    const int n = 3, nrhs = 2, ipiv[3] = {3, -2, 1};
    int info = 99;
    const double a[1] = {}, b[1] = {};
    std::vector<std::int64_t> seen;
    core().answers("qnm_lapack_dgetrs").calling([&](Call& call, recording::Answer&) {
        seen.assign(call.pointer<std::int64_t>(5), call.pointer<std::int64_t>(5) + 3);
        *call.pointer<std::int64_t>(8) = -0x7'0000'0005;
    });
    support::call_words(layer()["dgetrs_"], {"t", &n, &nrhs, a, &n, ipiv, b, &n, &info});
    EXPECT_EQ(seen, (std::vector<std::int64_t>{3, -2, 1}));
    EXPECT_EQ(info, -5);
    const Call& call = core().calls().back();
    EXPECT_EQ(call.letter(0), 't');
    EXPECT_EQ(call.word(3), support::Word(a).bits());
    EXPECT_EQ(call.word(9), 1U);
}

} // namespace
} // namespace qnm::tests
