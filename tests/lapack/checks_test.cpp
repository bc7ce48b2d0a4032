// The argument checks: 84 roots by a list of their codes, in the order of testing.
#include "lapack_call.hpp"
#include "support/published.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

void expect_report(const Entry& e, int code)
{
    std::string name = catalogue::to_upper(bare_name(e));
    name.resize(std::max<std::size_t>(name.size(), 6), ' ');
    EXPECT_THAT(core().calls().back(), recording::Reported(name, code));
    EXPECT_EQ(core().calls().back().int32(2), static_cast<int>(name.size()));
}

class Checks : public LapackTest {
protected:
    /// The exported check that reads the integers of an entry; those of private routines read 64 bits alone.
    static const void* check_of(const LapackCall& call)
    {
        const std::string name = bare_name(call.entry());
        if (name.ends_with("dtsvb"))
            return call.narrow() ? nullptr : layer()["qnm_lapack_ps_errchk_" + name];
        return layer()["qnm_lapack_errchk_" + name + (call.narrow() ? "" : "_ilp64")];
    }

    /// Asks the entry and the exported check, which agree; the code, 0 if all is well.
    static int judged(LapackCall call)
    {
        const Entry& e = call.entry();
        core().clear();
        call.set("info", 4711).run();
        const bool good = core().calls(lapack_core(e)).size() == 1;
        const int code = good ? 0 : static_cast<int>(-call.integer("info"));
        if (!good)
            expect_report(e, code);
        if (good && !call.narrow()) { // the core writes INFO, but this one is idle
            EXPECT_EQ(call.integer("info"), 0);
        }
        core().clear();
        if (const void* check = check_of(call)) {
            EXPECT_EQ(call.set("info", 4711).run(check).int32(), good ? 0 : 1);
            EXPECT_EQ(call.integer("info"), -code);
            EXPECT_EQ(core().calls().size(), good ? 0U : 1U);
            if (!good)
                expect_report(e, code);
        }
        return code;
    }
};

/// Makes one argument bad, by as little as there is.
LapackCall spoilt(LapackCall call, const Argument& a)
{
    if (!a.letters.empty())
        call.choose(a.name, 'X');
    else
        call.set(a.name, a.query && call.bound(a) == 0 ? -2 : call.bound(a) - 1); // -1 asks for the size
    return call;
}

TEST_F(Checks, EachTestAloneAndInTheCompanyOfLaterOnes)
{
    std::size_t members = 0;
    std::mt19937 chance(7);
    for (const Entry& e : entries()) {
        if (e.frame() != Class::checked)
            continue;
        QNM_TRACE_ENTRY(e);
        ++members;
        const std::vector<int>& codes = lapack_checks().at(bare_name(e));
        const auto tests = e.row->tests();
        ASSERT_EQ(tests.size(), codes.size());
        for (int round = 0; round < 12; ++round) {
            const LapackCall good(e, chance);
            ASSERT_EQ(judged(good), 0);
            for (std::size_t i = 0; i < tests.size(); ++i) {
                SCOPED_TRACE(tests[i]->name);
                EXPECT_EQ(judged(spoilt(good, *tests[i])), codes[i]);
                EXPECT_EQ(judged(spoilt(spoilt(good, *tests[i]), *tests[0])), codes[0]);
                LapackCall at = good;
                if (tests[i]->maximum) {
                    at.set(tests[i]->name, good.value(*tests[i]->maximum) + 1);
                    EXPECT_EQ(judged(at), codes[i]);
                }
                if (tests[i]->minimum) { // the least good value
                    at.set(tests[i]->name, good.bound(*tests[i])).make_valid();
                    EXPECT_EQ(judged(at), 0);
                }
            }
        }
    }
    EXPECT_EQ(members, 2 * 84U);
}

TEST_F(Checks, Literally)
{
    // Sizes that are not given are 3 by 2, the rest is large enough.
    const std::string gesvd = "m=3 n=2 lda=3 lwork=-1 ", ormqr = "m=3 n=2 k=1 lda=3 ldc=3 ";
    const std::tuple<const char*, std::string, int> facts[] = {
        {"GETRF", "m=-1 n=-1 lda=-1", 1},
        {"GETRF", "m=2 n=-1 lda=-1", 2},
        {"GETRF", "m=2 n=1 lda=1", 4},
        {"GETRF", "m=0 n=0 lda=0", 4}, // a leading dimension of at least 1
        {"GETRF", "m=2 n=4 lda=2", 0},
        {"POTRF", "uplo=u n=2 lda=2", 0},
        {"POTRF", "uplo=x n=-1 lda=2", 1},
        {"POTRF", "uplo=L n=-1 lda=2", 2},
        {"POTRF", "uplo=L n=2 lda=1", 4},
        {"GEQRF", "m=3 n=2 lda=3 lwork=2", 0},
        {"GEQRF", "m=2 n=3 lda=2 lwork=2", 7},
        {"GESVD", gesvd + "jobu=O jobvt=o ldu=3 ldvt=2", 2},
        {"GESVD", gesvd + "jobu=B jobvt=O ldu=3 ldvt=2", 1},
        {"GESVD", gesvd + "jobu=O jobvt=N ldu=1 ldvt=1 lwork=-5", 0}, // LWORK is the core's business
        {"GESVD", gesvd + "jobu=N jobvt=N ldu=0 ldvt=1", 9},
        {"GESVD", gesvd + "jobu=S jobvt=N ldu=2 ldvt=1", 9},
        {"GESVD", gesvd + "jobu=A jobvt=N ldu=2 ldvt=1", 9},
        {"GESVD", gesvd + "jobu=A jobvt=A ldu=3 ldvt=1", 11},
        {"GESVD", gesvd + "jobu=A jobvt=S ldu=3 ldvt=1", 11},
        {"GESVD", gesvd + "jobu=A jobvt=S ldu=3 ldvt=2", 0},
        {"GESVD", gesvd + "jobu=A jobvt=N ldu=3 ldvt=0", 11},
        // from the left nq is 3 and nw 2, from the right the other way round
        {"ORMQR", ormqr + "side=L trans=C lwork=2", 2},
        {"ORMQR", ormqr + "side=B trans=C lwork=2", 1},
        {"ORMQR", ormqr + "side=L trans=T k=3 lwork=2", 0},
        {"ORMQR", ormqr + "side=L trans=T k=4 lwork=2", 5},
        {"ORMQR", ormqr + "side=R trans=T k=3 lwork=3", 5},
        {"ORMQR", ormqr + "side=L trans=T k=2 lda=2 lwork=2", 7},
        {"ORMQR", ormqr + "side=R trans=T k=2 lda=2 lwork=3", 0},
        {"ORMQR", ormqr + "side=R trans=T k=2 lda=1 lwork=3", 7},
        {"ORMQR", ormqr + "side=L trans=T ldc=2 lwork=2", 10},
        {"ORMQR", ormqr + "side=L trans=T lwork=1", 12},
        {"ORMQR", ormqr + "side=R trans=T lwork=2", 12},
        {"ORMQR", ormqr + "side=R trans=T k=0 lwork=1", 0}, // nothing to apply needs no workspace
        {"ORMQR", ormqr + "side=R trans=T lwork=-1", 0},    // a query
    };
    for (const char* width : {"", "_64"})
        for (const auto& [root, given, code] : facts) {
            LapackCall call(std::string("D") + root + width, 1);
            call.give(given);
            EXPECT_EQ(judged(call), code) << root << width << ' ' << given;
        }
}

TEST_F(Checks, ThoseOfPrivateRoutinesReadIn64Bits)
{
    constexpr std::int64_t large = std::int64_t{1} << 32; // zero to one who reads 32 bits
    const struct {
        std::int64_t n, nrhs, ldb;
        int solve, factor; // the codes of dtsvb and dttrfb
    } facts[] = {{-1, -1, 0, 1, 1}, {3, -1, 3, 2, 0},    {3, 1, 2, 7, 0},      {3, 1, 3, 0, 0},
                 {0, 0, 0, 0, 0},   {large, 1, 0, 7, 0}, {-large, 1, 1, 1, 1}, {large, large, large, 0, 0}};
    for (const std::string p : {"s", "d", "c", "z"})
        for (const auto& f : facts)
            for (const bool solve : {true, false}) {
                const std::string name = p + (solve ? "dtsvb" : "dttrfb");
                const int code = solve ? f.solve : f.factor;
                SCOPED_TRACE(name + " " + std::to_string(f.n) + " " + std::to_string(f.ldb));
                std::int64_t info = 99;
                std::vector<support::Word> words{&f.n, nullptr, nullptr, nullptr, &info};
                if (solve)
                    words = {&f.n, &f.nrhs, nullptr, nullptr, nullptr, nullptr, &f.ldb, &info};
                core().clear();
                const auto verdict = support::call_words(layer()["qnm_lapack_ps_errchk_" + name], words);
                EXPECT_EQ(verdict.int32(), code == 0 ? 0 : 1);
                EXPECT_EQ(info, -code);
                ASSERT_EQ(core().calls().size(), code == 0 ? 0U : 1U);
                if (code != 0) {
                    EXPECT_THAT(core().calls()[0], recording::Reported(catalogue::to_upper(name), code));
                }
            }
}

} // namespace
} // namespace qnm::tests
