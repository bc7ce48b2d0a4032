// Rows of the C tables: what the reader refuses, and what it derives of a few telling members. The facts are
// those of the published interface, written by hand.
#include "catalogue/catalogue.hpp"

#include <gmock/gmock.h>
#include <sstream>

namespace qnm::catalogue {
namespace {

const std::string routines =
    "family lapack\n"
    "    core   qnm_lapack_name\n"
    "    check  qnm_lapack_errchk_name\n"
    "    narrow NAME\n"
    "    wide   NAME_64\n"
    "family lapacke\n"
    "    core   qnm_lapack__name_\n"
    "    narrow LAPACKE_name\n"
    "    wide   LAPACKE_name_64\n"
    "family lapack\n"
    "geqrf s d registered\n"
    "    int m, int n, T a(m,n) inout, int lda, T tau[min(m,n)] out, T work[lwork] work,\n"
    "    int lwork query, int info out\n";

std::string refusal(const std::string& row)
{
    try {
        Catalogue tables;
        tables.read_text(routines, "lapack.tab");
        tables.read_text("family lapacke\n" + row, "x.tab");
    } catch (const TableError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(CRows, AreRefusedWithPlaceAndReason)
{
    EXPECT_EQ(refusal("geqrf s d"), "accepted");
    EXPECT_EQ(refusal("geqrf s d : a as ge(m,n) when m > 0, lda bound n"), "accepted");
    const std::string place = "x.tab:2: ";
    EXPECT_EQ(refusal("geqrf z"), place + "'z' of 'geqrf': expected a routine of the LAPACK tables");
    EXPECT_EQ(refusal("gerqf s"), place + "'s' of 'gerqf': expected a routine of the LAPACK tables");
    EXPECT_EQ(refusal("geqrf s : q when m > 0"), place + "'q': expected an argument of geqrf");
    EXPECT_EQ(refusal("geqrf s : a when k > 0"),
              place + "'k': expected an argument of geqrf, a name of 'where', row_major or one letter");
    for (const char* row : {"geqrf s : order a q", "geqrf s : refuses q when m > 0", "geqrf s turned(q n)",
                            "geqrf s : adds R stat[2] from q"})
        EXPECT_EQ(refusal(row), place + "'q': expected an argument of geqrf") << row;
    EXPECT_EQ(refusal("geqrf s : a as xx(m,n)"),
              place + "'xx': expected a storage form (ge, gb, sy, he, po, tr, ...)");
    EXPECT_EQ(refusal("geqrf s : a as ge(m)"), place + "'ge': expected 2 options for this form");
    EXPECT_EQ(refusal("geqrf s : a kept, a kept"), place + "'a': expected each argument once");
    EXPECT_EQ(refusal("geqrf s\ngeqrf s").substr(0, 37), "lapacke/x.tab:3: 'LAPACKE_sgeqrf': ex");
    for (const char* row :
         {"geqrf s : a as ge(m,n) twice", "geqrf s square", "geqrf s : refuses m", "geqrf s : adds q x",
          "geqrf s : stops", "geqrf s turned", "geqrf s : a not", "geqrf s : order : a"})
        EXPECT_THAT(refusal(row), ::testing::StartsWith("x.tab:2: ")) << row;
}

const Catalogue& tables()
{
    static const auto read = [] {
        std::vector<std::string> paths;
        std::istringstream list(QNM_TABLES);
        for (std::string path; std::getline(list, path, ':');)
            paths.push_back(path);
        return read_tables(paths);
    }();
    return read;
}

/// "6 a, 8 b": the arrays of a member in the order of its NaN checks.
std::string checked(const std::string& name)
{
    for (const LapackePlan& plan : tables().lapacke_plans())
        for (const Precision& precision : plan.precisions)
            if (lapacke_name(*plan.row, precision, Width::narrow, true) == name) {
                std::string text;
                for (const int i : plan.checked) {
                    const LapackeArgument& a = plan.arguments[static_cast<std::size_t>(i)];
                    text += (text.empty() ? "" : ", ") + std::to_string(a.position) + " " + a.argument->name;
                }
                return text;
            }
    return "no such member";
}

TEST(CPlans, CheckArraysInThePublishedOrder)
{
    EXPECT_EQ(checked("LAPACKE_dgesv"), "4 a, 7 b");
    EXPECT_EQ(checked("LAPACKE_dgeqrf"), "4 a");
    EXPECT_EQ(checked("LAPACKE_dgesvx"), "6 a, 8 af, 14 b, 13 c, 12 r");
    EXPECT_EQ(checked("LAPACKE_dormqr"), "7 a, 10 c, 9 tau");
    EXPECT_EQ(checked("LAPACKE_dsyevr"), "6 a, 12 abstol, 8 vl, 9 vu");
    EXPECT_EQ(checked("LAPACKE_dpbsvx"), "7 ab, 9 afb, 13 b, 12 s");
    EXPECT_EQ(checked("LAPACKE_dtfsm"), "10 a, 9 alpha, 11 b");
    EXPECT_EQ(checked("LAPACKE_dsytrs_3"), "5 a, 7 e, 9 b");
    // Where the published source gives another number than the position.
    EXPECT_EQ(checked("LAPACKE_cgesvdq"), "9 a");
    EXPECT_EQ(checked("LAPACKE_dgesvdx"), "7 a");
    EXPECT_EQ(checked("LAPACKE_dtpqrt2"), "5 a, 7 b");
}

} // namespace
} // namespace qnm::catalogue
