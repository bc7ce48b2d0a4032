// What is odd in the C interface: vectors that are conjugated for the length of a call, memory of group
// batches, products made at run time, indices.
#include "calls.hpp"
#include "suite/routine.hpp"

#include <array>

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Odd : public CoreTest {
protected:
    /// Visits row-major calls that conjugate vectors.
    template <class Visit>
    static void each_conjugated(const std::string& roots, Visit visit)
    {
        const auto is_wanted = [&](const Signature& s) {
            return roots.empty() ? s.root.find("_batch") == std::string::npos : lists(roots, s.root);
        };
        each_layout(is_wanted, [&](FunctionCall call) {
            if (call.may_conjugate())
                visit(call.has("trans") ? call.choose("trans", 'N').set("trans", 113).settle() : call);
        });
    }
    static void run(const FunctionCall& call)
    {
        core().clear();
        call.run();
        EXPECT_EQ(core().live_blocks(), 0U);
    }
    static std::vector<Call> blocks() { return core().calls("qnm_serv_allocate"); }
    static std::vector<Call> noted(const FunctionCall& call) { return core().calls(called(call)); }
    /// The same, the imaginary parts of n elements turned.
    static std::vector<double> turned(const FunctionCall& call, const std::string& vector, std::int64_t n)
    {
        std::vector<double> values = call.values(vector);
        for (std::int64_t i = 0; i < n; ++i)
            values.at(static_cast<std::size_t>(2 * i * std::abs(call.integer("inc" + vector)) + 1)) *= -1;
        return values;
    }
};

TEST_F(Odd, TheCountOfRealsHasTheCallersWidth)
{
    constexpr std::int64_t large = std::int64_t{1} << 30;
    each_conjugated("her", [](FunctionCall call) {
        core().fail_allocation(1);
        run(call.set("n", large).set("lda", large));
        const std::int64_t reals = call.narrow() ? -2 * large : 2 * large;
        EXPECT_THAT(
            blocks(),
            ElementsAre(recording::Allocated(
                static_cast<std::size_t>(reals * (call.signature().letter.real == 's' ? 4 : 8)), 128)));
    });
}

// Scratch comes ahead of the tests, but where trans decides; a negative size has none.
TEST_F(Odd, ARefusedCallLeavesItsVectorsButTrsvStoppedByDiag)
{
    each_conjugated("", [](const FunctionCall& good) {
        const std::string& root = good.signature().root;
        const std::size_t copies = lists("her2 hpr2", root)                     ? 2
                                   : lists("hemv hbmv hpmv her hpr gerc", root) ? 1
                                                                                : 0;
        for (const FunctionCall::Step& step : good.steps()) {
            if (step.argument == "layout")
                continue;
            SCOPED_TRACE(step.argument);
            FunctionCall call = good;
            const bool left = root == "trsv" && step.argument == "diag";
            const auto x = left ? turned(call, "x", call.integer("n")) : call.values("x");
            run(call.spoil(step.argument));
            EXPECT_EQ(call.values("x"), x);
            EXPECT_EQ(reports().front(), (std::pair(good.signature().report_name, step.code)));
            if (good.is_integer(good.index(step.argument))) {
                EXPECT_EQ(blocks().size(), step.argument == "n" ? 0U : copies);
            }
        }
    });
}

TEST_F(Odd, AnIncrementOfZeroTurnsOneElementOnce)
{
    each_conjugated("hemv hbmv hpmv", [](FunctionCall call) {
        const std::vector<double> before = call.set("n", 4).set("incy", 0).values("y"),
                                  once = turned(call, "y", 1);
        std::vector<double> seen; // while the report is under way
        core().answers("qnm_serv_xerbla").calling([&](Call&, Answer&) { seen = call.values("y"); });
        run(call);
        EXPECT_EQ(seen, once);
        EXPECT_EQ(call.values("y"), before);
    });
}

TEST_F(Odd, AnEmptyProblemGoesOnAsItCame)
{
    each_conjugated("", [](FunctionCall call) {
        if (lists("gemv gbmv", call.signature().root))
            return; // returns
        run(call.set("n", 0));
        EXPECT_THAT(blocks(), IsEmpty());
        ASSERT_THAT(noted(call), SizeIs(1));
        for (std::size_t place = 0; const catalogue::Place& p : call.callee().places) {
            const auto i = static_cast<std::size_t>(p.parameter);
            if (names(call)[i] == "x") {
                EXPECT_EQ(noted(call)[0].word(place), call.word(i).bits());
            } else if (names(call)[i] == "incx") {
                EXPECT_EQ(noted(call)[0].behind(place), call.integer(i));
            }
            ++place;
        }
    });
}

bool has_groups(const Signature& s)
{
    return s.root.ends_with("_batch");
}

TEST_F(Odd, LettersOfGroupsAreOnTheStackInBlocksOrInTheCoresMemory)
{
    each_layout(has_groups, [](const FunctionCall& few) {
        const std::string& root = few.signature().root;
        const bool in_blocks = root.starts_with("gemm") || root.starts_with("trsm");
        for (const int groups : {1024, 1025}) {
            const FunctionCall call(few.signature(), few.by_rows() ? row_major : column_major, groups);
            if (call.may_conjugate())
                continue; // which has more
            run(FunctionCall(call).set("group_size", 0));
            EXPECT_THAT(noted(call), SizeIs(in_blocks && groups > 1024 ? 2 : 1));
            EXPECT_THAT(core().calls("qnm_serv_malloc"), SizeIs(root.starts_with("syrk")          ? 2
                                                                : in_blocks || !call.has_layout() ? 0
                                                                                                  : 1));
        }
    });
}

TEST_F(Odd, EachMissingArrayIsReportedEvenIfThereAreNoGroups)
{
    each_layout(has_groups, [](const FunctionCall& good) {
        const std::string& name = good.signature().names.front();
        for (const FunctionCall::Step& step : good.steps())
            for (const int count : {3, 0})
                if (step.argument != "layout" && step.argument != "group_count") {
                    FunctionCall missing = good;
                    run(missing.set("group_count", count).point(step.argument, nullptr));
                    EXPECT_EQ(reports(), (Reports{{name, step.code}})) << step.argument;
                    EXPECT_THAT(noted(good), IsEmpty());
                }
        FunctionCall none = good;
        run(none.set("group_count", 0));
        EXPECT_THAT(reports(), IsEmpty());
        EXPECT_THAT(noted(good),
                    SizeIs(!good.has_layout() || name.find("gemv") != std::string::npos ? 1 : 0));
        if (name.find("gemv") == std::string::npos)
            return;
        core().fail_allocation(1); // which comes ahead of the other tests
        run(none.spoil("layout").point("m", nullptr));
        EXPECT_EQ(reports(), (Reports{{name, 1000}}));
    });
}

/// Groups 0 and 2 of three conjugate; group 1 has two problems, the others one.
TEST_F(Odd, ConjugatedGroupsWorkOnCopies)
{
    each_layout(has_groups, [](FunctionCall call) {
        if (!call.may_conjugate())
            return;
        call.set("trans", 113).set("trans", 112, 1).set("group_size", 1).set("group_size", 2, 1);
        call.give("m=2 n=4 lda=9 incx=-3 incy=-2").set("n", 0, 0); // problem 0 has an empty y
        std::array<std::array<double, 40>, 8> memory;
        for (std::size_t p = 0; p < 8; ++p) {
            memory[p].fill(1.25);
            const auto address = reinterpret_cast<std::intptr_t>(memory[p].data());
            call.put(p < 4 ? "x" : "y", static_cast<long double>(address), p % 4);
        }
        const auto before = memory;
        run(call);
        EXPECT_THAT(noted(call), SizeIs(1));
        // Letters, alpha, beta, two arrays of addresses, x and y of the groups that conjugate.
        const auto blocks = core().calls("qnm_serv_malloc");
        EXPECT_THAT(blocks, SizeIs(8));
        for (std::size_t failing = 1; failing <= blocks.size(); ++failing) {
            EXPECT_EQ(blocks[failing - 1].int32(1), 64);
            EXPECT_EQ(memory, before);
            core().fail_allocation(failing);
            run(call);
            EXPECT_EQ(reports(), (Reports{{call.signature().names.front(), 1000}}));
            EXPECT_THAT(noted(call), IsEmpty());
        }
        EXPECT_EQ(memory, before);
    });
}

/// A product's layout and arguments, and what the core gets for its letters.
struct Creation {
    int layout;
    const char *given, *letters;
};

TEST_F(Odd, CreationHasLettersOfItsOwnForTwoShapes)
{
    const Creation creations[] = {
        {column_major, "transa=N transb=T m=3 n=4 ldc=12", "NT"},
        {row_major, "transa=N transb=T m=3 n=4 ldc=12", "TN"},
        // One contiguous row by columns, or one column by rows; and what is nearly so.
        {column_major, "transa=N transb=T m=1 n=4 ldc=1", "OT"},
        {column_major, "transa=T transb=T m=1 n=4 ldc=1", "ON"},
        {column_major, "transa=T transb=T m=1 n=0 ldc=1", "TT"},
        {column_major, "transa=T transb=N m=1 n=4 ldc=1", "TN"},
        {column_major, "transa=T transb=T m=1 n=4 ldc=2", "TT"},
        {row_major, "transa=T transb=N m=3 n=1 ldc=1", "NT"},
        {row_major, "transa=T transb=T m=3 n=1 ldc=1", "NN"},
        {row_major, "transa=T transb=T m=0 n=1 ldc=1", "TT"},
        {row_major, "transa=N transb=T m=3 n=1 ldc=1", "TN"},
        {row_major, "transa=T transb=T m=3 n=1 ldc=2", "TT"},
    };
    each_layout([](const Signature& s) { return s.family == "cblas_jit"; },
                [&](const FunctionCall& good) {
                    for (const Creation& c : creations) {
                        FunctionCall call = good;
                        if (good.by_rows() != (c.layout == row_major))
                            continue;
                        SCOPED_TRACE(c.given);
                        core().answers(called(call)).with(1);
                        core().clear();
                        EXPECT_EQ(call.give(c.given).run().int32(), 1);
                        ASSERT_THAT(noted(call), SizeIs(1));
                        const Call product = noted(call)[0];
                        EXPECT_EQ((std::string{product.letter(1), product.letter(2)}), c.letters);
                        EXPECT_EQ(call.spoil("k").run().int32(), 2) << "the status of a refusal";
                    }
                });
}

TEST_F(Odd, AnIndexThatIsNotThereIsLessThanNone)
{
    each_layout([](const Signature& s) { return s.result == "CBLAS_INDEX"; },
                [](FunctionCall call) {
                    core().answers(called(call)).with(0); // a core that finds none
                    EXPECT_EQ(call.run().int64(), -1);
                    core().clear();
                    for (const auto& [n, incx] : {std::pair{0, 1}, {-1, 1}, {3, 0}, {3, -1}})
                        EXPECT_EQ(call.set("n", n).set("incx", incx).run().int64(), 0);
                    EXPECT_THAT(story(), IsEmpty());
                });
}

} // namespace
} // namespace qnm::tests
