// Rows that the reader must refuse, and what it says of them: file, line, what it found, what it expected.
#include "catalogue/catalogue.hpp"

#include <gmock/gmock.h>

namespace qnm::catalogue {
namespace {

const std::string families = "family blas\n"
                             "    core   qnm_blas_name\n"
                             "    check  qnm_blas_errchk_name\n"
                             "    narrow NAME name name_ qnm_blas__name\n"
                             "    wide   NAME_64 name_64 name_64_\n";

/// The message that refuses the text, or "accepted".
std::string refusal(const std::string& text, bool in_family = true)
{
    try {
        Catalogue tables;
        tables.read_text(families, "families.tab");
        tables.read_text((in_family ? "family blas\n" : "") + text, "x.tab");
    } catch (const TableError& error) {
        return error.what();
    }
    return "accepted";
}

struct Refused {
    std::string row;
    std::string message; // behind "x.tab:"; up to " ..." if it ends so
};

void PrintTo(const Refused& refused, std::ostream* out)
{
    *out << refused.row;
}

class Rows : public ::testing::TestWithParam<Refused> {};

TEST_P(Rows, AreRefusedWithPlaceAndReason)
{
    const std::string more = " ...";
    std::string said = refusal(GetParam().row), expected = "x.tab:" + GetParam().message;
    if (expected.size() > more.size() && expected.substr(expected.size() - more.size()) == more) {
        expected.resize(expected.size() - more.size());
        said.resize(std::min(said.size(), expected.size()));
    }
    EXPECT_EQ(said, expected);
}

// The language grows, and lists of its words with it.
const std::string letters_and_class =
    "expected letters (s d c z sc dz cs zd is id ic iz ds sds, or -) and a class ...";
const std::string type_of_argument = "expected a type of argument (char, int, T, R, C, void, float, ...)";
const std::string end_of_row = "expected ',', '->', 'where', 'tested last', ...";

INSTANTIATE_TEST_SUITE_P(
    Heads, Rows,
    ::testing::Values(
        Refused{"4axpy s unchecked int n", "2: '4axpy': expected the root of a routine's name, 'family', "
                                           "'service', 'forward', 'internal' or 'chain'"},
        Refused{"axpy s q unchecked int n", "2: 'q': " + letters_and_class},
        Refused{"axpy s careful int n", "2: 'careful': " + letters_and_class},
        Refused{"axpy s", "2: end of the row: " + letters_and_class},
        Refused{"axpy unchecked int n", "2: 'axpy': expected letters ahead of the class"},
        Refused{"axpy s, unchecked int n", "2: 'int': " + letters_and_class},
        Refused{"axpy s s unchecked int n", "2: 'SAXPY': expected a name that x.tab:2 does not export"},
        Refused{"axpy s unchecked int n\naxpy d s unchecked int n",
                "3: 'SAXPY': expected a name that x.tab:2 does not export"},
        Refused{"family nowhere", "2: end of the row: expected a family that was told before"},
        Refused{"family blas core qnm_blas_name", "2: 'core': expected a family that was not told before"},
        Refused{"family own check own_name", "2: end of the row: expected 'narrow'"},
        Refused{"family own narrow NAME wide\nfamily own\naxpy s unchecked int n",
                "4: 'own': expected a family with a core, or without one for helpers"},
        Refused{"axpy s helper int n",
                "2: 'blas': expected a family with a core, or without one for helpers"},
        Refused{"family own core own_name narrow NAME", "2: end of the row: expected 'wide'"}));

INSTANTIATE_TEST_SUITE_P(
    Arguments, Rows,
    ::testing::Values(
        Refused{"axpy s unchecked", "2: end of the row: " + type_of_argument},
        Refused{"axpy s unchecked int n,", "2: end of the row: " + type_of_argument},
        Refused{"axpy s unchecked integer n", "2: 'integer': " + type_of_argument},
        Refused{"axpy s unchecked int 3", "2: '3': expected the argument's name"},
        Refused{"axpy s unchecked int n, T x[n", "2: end of the row: expected ']'"},
        Refused{"axpy s unchecked int n, T x(n)", "2: ')': expected ','"},
        Refused{"axpy s unchecked int n, T n", "2: 'n': expected each argument's name once"},
        Refused{"axpy s unchecked int n,\n    T x value",
                "3: 'value': expected it behind an int or a void that "
                "is no array"},
        Refused{"axpy s unchecked int n, T x[m]",
                "2: 'm': expected an integer argument or an earlier name of 'where'"},
        Refused{"axpy s unchecked T n, T x[n]",
                "2: 'n': expected an integer argument or an earlier name of 'where'"},
        Refused{"axpy s unchecked T x kept", "2: 'kept': " + end_of_row},
        Refused{"axpyi s scratch int nz, int indx[] in",
                "2: 'indx': expected an extent and 'in' for the index array of a scratch entry"},
        Refused{"axpyi s scratch int nz, int indx[nz]",
                "2: 'indx': expected an extent and 'in' for the index array of a scratch entry"}));

INSTANTIATE_TEST_SUITE_P(
    Tests, Rows,
    ::testing::Values(
        Refused{"axpy s unchecked int n >= 0",
                "2: a test: expected tests in rows of class checked, check or matcopy, and only there"},
        Refused{"axpy s checked int n",
                "2: no test: expected tests in rows of class checked, check or matcopy, and only there"},
        Refused{"axpy s matcopy int n",
                "2: no test: expected tests in rows of class checked, check or matcopy, and only there"},
        Refused{"axpy s checked int n != 1", "2: '1': expected '0'"},
        Refused{"axpy s checked T x[] >= 1", "2: '>=': " + end_of_row},
        Refused{"axpy s checked int n >= 0, char trans in ntc", "2: 'in': " + end_of_row},
        Refused{"axpy s checked int n >= 0, int m code 4", "2: 'code': " + end_of_row},
        Refused{"axpy s checked int n >= 0 code x", "2: 'x': expected the reported code"},
        Refused{"axpy s checked int n >= 0, int m unless n == 1", "2: 'unless': " + end_of_row},
        Refused{"axpy s checked int n >= 0 tested first n", "2: 'first': expected 'last'"},
        Refused{"axpy s checked int n >= 0, int m tested last m",
                "2: 'm': expected a tested argument behind 'tested last'"},
        Refused{"axpy s checked int n >= 0 tested last k",
                "2: 'k': expected a tested argument behind 'tested last'"},
        Refused{"axpy s checked groups int n[] >= 0",
                "2: 'groups': expected the arguments group_count and group_size"}));

INSTANTIATE_TEST_SUITE_P(
    Clauses, Rows,
    ::testing::Values(Refused{"axpy s unchecked int n, T x[] nonsense", "2: 'nonsense': " + end_of_row},
                      Refused{"dot s unchecked int n -> real", "2: 'real': expected the result's type"},
                      Refused{"dot s checked int n >= 0 -> status refused x",
                              "2: 'x': expected what a refused call gives back"},
                      Refused{"axpy s checked int n >= 0 where = 1", "2: '=': expected a name to define"},
                      Refused{"axpy s checked int n >= 0 where m : 1", "2: ':': expected '='"},
                      Refused{"axpy s checked int n >= a where b = a, a = n",
                              "2: 'a': expected an integer argument or an earlier name of 'where'"},
                      Refused{"axpy s checked int n >= 0 where a = side is L ? 1 : n",
                              "2: 'side': expected a character argument of the row"},
                      Refused{"axpy s bare int n small xaxpy", "2: end of the row: expected 'when'"},
                      Refused{"axpy s bare int n small xaxpy when m < 3",
                              "2: 'm': expected an integer argument or an earlier name of 'where'"},
                      Refused{"axpy s unchecked int n also lapack",
                              "2: 'lapack': expected a family that was told before"}));

INSTANTIATE_TEST_SUITE_P(
    Expressions, Rows,
    ::testing::Values(
        Refused{"axpy s checked int n >= ", "2: end of the row: expected a number, a name or '('"},
        Refused{"axpy s checked int n >= (1+2", "2: end of the row: expected ')'"},
        Refused{"axpy s checked int n >= 1234567", "2: '1234567': expected a number of at most six digits"},
        Refused{"axpy s checked char t in NT, int n >= (t is N ? 1)", "2: ')': expected ':'"},
        Refused{"axpy s checked char t in NT, int n >= t is NT ? 1 : 2",
                "2: 'NT': expected one letter after 'is'; 'in' takes several"},
        Refused{"axpy s checked int n >= max(1)", "2: 'max': expected one operand for abs ..."},
        Refused{"axpy s checked int n >= abs(n,1)", "2: 'abs': expected one operand for abs ..."}));

const std::string type_of_service =
    "expected a type of the services (int, int64, address, text, buffer, double, "
    "...)";

INSTANTIATE_TEST_SUITE_P(
    Services, Rows,
    ::testing::Values(
        Refused{"service", "2: end of the row: expected the service's name"},
        Refused{"service QNM_Do : integer n", "2: 'integer': " + type_of_service},
        Refused{"service QNM_Do : int", "2: end of the row: expected the argument's name"},
        Refused{"service QNM_Do : int n -> nothing", "2: 'nothing': " + type_of_service},
        Refused{"service QNM_Do to qnm_do",
                "2: 'to': expected 'core', 'but', ': arguments', '-> result' or the end of the row"},
        Refused{"forward QNM_Do\nforward QNM_DO",
                "3: 'QNM_DO': expected a name that x.tab:2 does not export"},
        Refused{"axpy s unchecked int n\ninternal saxpy",
                "3: 'saxpy': expected a name that x.tab:2 does not export"}));

/// The same of a row of the C interface, over two Fortran rows.
std::string c_refusal(const std::string& row)
{
    try {
        Catalogue tables;
        tables.read_text(families + "family cblas calls blas narrow cblas_name wide cblas_name_64\n",
                         "families.tab");
        tables.read_text(
            "family blas\n"
            "mul s d checked char trans in NTC, int m >= 0, int n >= 0, T alpha, T a[], int lda >= m\n"
            "nul s checked int n >= 0\n",
            "b.tab");
        tables.read_text("family cblas\n" + row, "x.tab");
    } catch (const TableError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(Refusals, OfRowsOfTheCInterface)
{
    for (const auto& [row, message] : {
             std::pair{"mul s d level3 rows exchange m n, trans as TNN", "accepted"},
             std::pair{"mul s level4",
                       "2: 'level4': expected letters (s d c z sc dz cs zd is id ic iz ds sds, or -) "
                       "and a class (level2, level3, made, sized, blocks, groups, forward, "
                       "regardless, index, direct, jump, here)"},
             std::pair{"mul level3", "2: 'mul': expected letters ahead of the class"},
             std::pair{"mul s c level3", "2: 'mul': expected a Fortran row with the letters 'c'"},
             std::pair{"mul s level3 of mull", "2: 'mull': expected a Fortran row with the letters 's'"},
             std::pair{"mul s level3 rows exchange m k", "2: 'k': expected an argument of the row"},
             std::pair{"mul s level3 rows swap m n", "2: 'm': expected 'as'"},
             std::pair{"mul s level3 rows m as NM", "2: 'm': expected an option"},
             std::pair{"mul s level3 tested m, k, layout, lda", "2: 'k': expected an argument of the row"},
             std::pair{"mul s level3 with k >= 0", "2: 'k': expected an argument of the Fortran row"},
             std::pair{"mul s level3 with m", "2: end of the row: expected '>='"},
             std::pair{"mul s level3 conjugated all",
                       "2: 'all': expected general, product, copies, copies_in_step, triangle or batch"},
             std::pair{"mul s level3 types alpha real", "2: 'real': expected a type"},
             std::pair{"mul s level3 columns code lda it", "2: 'it': expected the reported code"},
             std::pair{"mul s blocks", "2: 'trans': expected a place among the tests for each option"},
             std::pair{"mul s level3 quickly",
                       "2: 'quickly': expected a clause of the C interface (plain, stops, "
                       "narrow_only, allocated_first, of, layout_behind, tested, goes_on, "
                       "quick, conjugated, types, with, columns, rows) or the end of the row"},
             std::pair{"mul s level3\nmul s level3",
                       "3: 'cblas_smul': expected a name that x.tab:2 does not export"},
         })
        EXPECT_EQ(c_refusal(row),
                  std::string(message) == "accepted" ? message : std::string("x.tab:") + message)
            << row;
}

TEST(Refusals, OfTablesAndOfRowsWithoutFamily)
{
    EXPECT_EQ(refusal("axpy s unchecked int n", false),
              "x.tab:1: 'axpy': expected a line 'family NAME' above the first row");
    EXPECT_EQ(refusal("    int n", false), "x.tab:1: an indented line: expected a row to go on");
    Catalogue tables;
    EXPECT_THAT(
        [&] { tables.read("/nonexistent/level9.tab"); },
        ::testing::ThrowsMessage<TableError>("/nonexistent/level9.tab:0: cannot be read: expected a table"));
}

TEST(Refusals, AreNotForGoodRows)
{
    EXPECT_EQ(
        refusal("# A comment.\n\naxpy s d unchecked # another\n    int n,\n\n    T x[n] inout\n# The end."),
        "accepted");
    EXPECT_EQ(refusal(" # An indented comment ahead of all.\nnothing_here - unchecked nothing"), "accepted");
}

} // namespace
} // namespace qnm::catalogue
