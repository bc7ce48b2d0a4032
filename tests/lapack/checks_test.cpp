// The argument checks: 84 roots by a list of their codes, in the order of testing; some literally.
#include "suite/line.hpp"
#include "suite/routine.hpp"
#include "support/published.hpp"

namespace qnm::tests {
namespace {

std::vector<const Signature*> checked()
{
    return signatures([](const Signature& s) { return frame(s) == "checked"; });
}

class Checks : public CoreTest {};

TEST_F(Checks, CodesStandInTheOrderOfTesting)
{
    EXPECT_EQ(checked().size(), 2 * 84U);
    for (const Signature* s : checked()) {
        QNM_TRACE_SIGNATURE(*s);
        std::vector<int> codes;
        for (const catalogue::Test& test : s->tests)
            codes.push_back(test.code);
        EXPECT_EQ(codes, lapack_checks().at(bare_name(*s)));
    }
}

TEST_F(Checks, NothingToDoIsNoFault)
{
    for (const Signature* s : checked()) {
        QNM_TRACE_SIGNATURE(*s);
        FortranCall call(*s, 1000);
        for (const char* size : {"m", "n", "k", "nrhs", "ihi", "kd"})
            if (call.has(size))
                call.set(size, 0);
        if (call.has("ilo"))
            call.set("ilo", 1);
        core().clear();
        call.run();
        EXPECT_THAT(reports(), ::testing::IsEmpty());
    }
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
            SCOPED_TRACE(std::string(root) + width + ' ' + given);
            FortranCall call(std::string("D") + root + width, 1);
            core().clear();
            call.set("info", 4711).give(given).run();
            EXPECT_EQ(reports().empty() ? 0 : reports()[0].second, code);
            if (code != 0 || !call.narrow()) { // else the core writes INFO, but this one is idle
                EXPECT_EQ(call.integer("info"), -code);
            }
        }
}

TEST_F(Checks, ThoseOfPrivateRoutinesReadIn64Bits)
{
    // 4294967296 is zero to one who reads 32 bits.
    const std::tuple<const char*, std::string, int> facts[] = {
        {"dtsvb", "n=-1 nrhs=-1 ldb=0", 1},
        {"dtsvb", "n=3 nrhs=-1 ldb=3", 2},
        {"dtsvb", "n=3 nrhs=1 ldb=2", 7},
        {"dtsvb", "n=3 nrhs=1 ldb=3", 0},
        {"dtsvb", "n=0 nrhs=0 ldb=0", 0},
        {"dtsvb", "n=4294967296 nrhs=1 ldb=0", 7},
        {"dtsvb", "n=-4294967296 nrhs=1 ldb=1", 1},
        {"dtsvb", "n=4294967296 nrhs=4294967296 ldb=4294967296", 0},
        {"dttrfb", "n=-1", 1},
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

TEST_F(Checks, ARefusedCallPrintsItsLineWithTheCodeInInfo)
{
    core().mode(1);
    for (const Signature* s : checked()) {
        QNM_TRACE_SIGNATURE(*s);
        FortranCall call(*s, 2);
        core().clear();
        core().clock({2, 5});
        call.spoil(call.steps().front().argument).run();
        EXPECT_EQ(story(), (std::vector<std::string>{"qnm_serv_set_xerbla_interface", "qnm_serv_xerbla",
                                                     "qnm_serv_dsecnd", "qnm_serv_dsecnd",
                                                     "qnm_serv_snprintf_s", "qnm_serv_print_verbose_info"}));
        expect_line(call);
        EXPECT_EQ(call.integer("info"), -1);
    }
}

} // namespace
} // namespace qnm::tests
