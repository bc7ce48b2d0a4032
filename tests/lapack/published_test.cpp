// LAPACK as it is published, by hand: classes of entries, tests with their codes and bounds, lengths of
// arrays of integers.
#include "suite/routine.hpp"
#include "support/published.hpp"

namespace qnm::tests {
namespace {

using Bytes = std::vector<std::int64_t>;

class Published : public CoreTest {};

TEST_F(Published, EachClassHasItsMembers)
{
    std::map<std::string, std::set<std::string>> classes;
    std::size_t hidden = 0, functions = 0, told = 0;
    EXPECT_EQ(lapack_members().size(), 2249U);
    for (const Signature* s : entries()) {
        if (!is_narrow(*s))
            continue;
        QNM_TRACE_SIGNATURE(*s);
        const FortranCall call(*s);
        classes[frame(*s)].insert(bare_name(*s));
        hidden += call.has("result") ? 1 : 0;
        functions += s->result != "void" ? 1 : 0;
        const auto varies = [&](std::size_t i) { // in length
            const auto& extents = call.facts(i)->extents;
            return extents.empty() || extents[0]->kind != Expression::Kind::number;
        };
        if (const auto member = lapack_members().find(bare_name(*s)); member != lapack_members().end()) {
            EXPECT_EQ(std::ranges::any_of(call.copied(), varies), member->second);
            ++told;
        }
    }
    EXPECT_GE(told, 2249U);
    EXPECT_EQ(classes.size(), 3U);
    EXPECT_EQ(classes["checked"].size(), 84U);
    EXPECT_EQ(classes["registered"].size(), 2253U - 84 - 12);
    EXPECT_EQ(classes["unregistered"],
              (std::set<std::string>{"lsamen", "crscl", "dlag2s", "dlat2s", "qnm_sspffrt2", "qnm_dspffrt2",
                                     "qnm_cspffrt2", "qnm_zspffrt2", "qnm_sspffrtx", "qnm_dspffrtx",
                                     "qnm_cspffrtx", "qnm_zspffrtx"}));
    // Norms and growth factors, machine constants, condition numbers, elements of test matrices, the
    // environment; complex ones and one letter come through a hidden argument.
    EXPECT_EQ(functions, 144U);
    EXPECT_EQ(hidden, 9U) << "ladiv, larnd, latm2 and latm3 of c and z, chla_transtype";
}

TEST_F(Published, CodesStandInTheOrderOfTestingAndNothingToDoIsNoFault)
{
    for (const Signature* s : signatures([](const Signature& s) { return frame(s) == "checked"; })) {
        QNM_TRACE_SIGNATURE(*s);
        std::vector<int> codes;
        for (const catalogue::Test& test : s->tests)
            codes.push_back(test.code);
        EXPECT_EQ(codes, lapack_checks().at(bare_name(*s)));
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

TEST_F(Published, Bounds)
{
    // Sizes that are not given are 3 by 2, the rest is large enough.
    const std::string gesvd = "m=3 n=2 lda=3 lwork=-1 ", ormqr = "m=3 n=2 k=1 lda=3 ldc=3 ";
    const std::tuple<const char*, std::string, int> facts[] = {
        {"GETRF", "m=2 n=1 lda=1", 4},
        {"GETRF", "m=0 n=0 lda=0", 4}, // a leading dimension of at least 1
        {"GETRF", "m=2 n=4 lda=2", 0},
        {"POTRF", "uplo=u n=2 lda=2", 0},
        {"POTRF", "uplo=L n=2 lda=1", 4},
        {"GEQRF", "m=3 n=2 lda=3 lwork=2", 0},
        {"GEQRF", "m=2 n=3 lda=2 lwork=2", 7},
        {"GESVD", gesvd + "jobu=O jobvt=o ldu=3 ldvt=2", 2},
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

TEST_F(Published, LengthsOfScratch)
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
    for (const auto& [name, given, bytes] : facts) {
        core().clear();
        FortranCall(name, 1, given).run();
        Bytes requests;
        for (const Call& request : core().calls("qnm_serv_allocate"))
            requests.push_back(request.int64(0));
        EXPECT_EQ(requests, bytes) << name << ' ' << given;
    }
}

} // namespace
} // namespace qnm::tests
