// Rows that the reader must refuse, and what it says of them: file, line, what it found, what it expected.
#include "catalogue/catalogue.hpp"
#include "facts.hpp"

#include <algorithm>
#include <gmock/gmock.h>

namespace qnm::catalogue {
namespace {

const std::string rows_to_refer_to =
    "family blas core qnm_blas_name\n"
    "    form narrow reference int32 NAME name name_ qnm_blas__name check qnm_blas_errchk_name\n"
    "    form wide reference int64 NAME_64 name_64 name_64_ check qnm_blas_errchk_name_ilp64\n"
    "family cblas calls blas\n"
    "    form narrow codes int32 cblas_name calls qnm_blas__name\n"
    "    form wide codes int64 cblas_name_64 calls name_64\n"
    "family lapack core qnm_lapack_name form narrow reference int32 NAME form wide reference int64 NAME_64\n"
    "family lapacke calls lapack form narrow value int32 level high LAPACKE_name calls qnm_lapack__name_\n"
    "family blas\n"
    "mul s d checked char trans in NTC, int m >= 0, int n >= 0, T alpha, T a[], int lda >= m\n"
    "nul s checked int n >= 0\n";
const std::string routine_to_refer_to =
    "family lapack\ngeqrf s registered int m, int n, T a(m,n) inout, int lda, T tau[min(m,n)] out,\n"
    "    T work[lwork] work, int lwork query, int info out\n";

/// The message that refuses the text, or "accepted".
std::string refusal(const std::string& text)
{
    try {
        Catalogue tables;
        tables.read_text(rows_to_refer_to, "told.tab");
        tables.read_text(routine_to_refer_to, "routine.tab");
        tables.read_text(text, "x.tab");
    } catch (const TableError& error) {
        return error.what();
    }
    return "accepted";
}

/// Rows with the same beginning (a `|` begins a line) and what is said of them behind "x.tab:", the place
/// first unless it is line 2; the words of the language, which grow, may be left away at "...".
void expect_refusals(const std::string& begin, const std::string& cases)
{
    for (auto [row, message] : tests::facts(cases)) {
        std::replace(row.begin(), row.end(), '|', '\n');
        std::string said = refusal("family " + begin + row);
        if (std::isdigit(message[0]) != 0)
            message = "x.tab:" + message;
        else if (message != "accepted")
            message = "x.tab:2: " + message;
        if (message.ends_with(" ...")) {
            message.resize(message.size() - 4);
            said = said.substr(0, message.size());
        }
        EXPECT_EQ(said, message) << row;
    }
}

TEST(Refusals, OfHeadsAndFamilies)
{
    expect_refusals("blas\n", R"(
        4axpy s unchecked int n => '4axpy': expected the root of a routine's name, 'family' or 'type';
        axpy s q unchecked int n => 'q': expected letters (s d c z sc dz cs zd is id ic iz ds sds, or -) and a
            class ...;
        axpy unchecked int n => 'axpy': expected letters ahead of the class;
        axpy s unchecked int n|axpy d s unchecked int n => 3: 'SAXPY': expected a name that x.tab:2 does not
            export;
        title lift "Lifts, # and all" positive odd|positive odd "is odd" => 2: 'odd': expected a word that
            'positive' told before;
        title lift lift "Lifts" => 'lift': expected one title for a root;
        title lift Lifts => end of the row: expected the routine's title, in quotation marks;
        title lift "Lifts|  things" => "Lifts: expected a closing quotation mark in its line;
        title lift "Lifts." => the title of 'lift', 6 characters: expected 1 to 80 of them, without a full stop;
        title lift "Lifts" source book one => 'one': expected the publication's edition, 1988 or 3.12;
        title lift "Lifts" source book 3.1 => 'book 3.1': expected a publication that 'source' told before;
        source book "A book"|family blas source book 3.1|title lift "Lifts" => accepted;
        source book "A book" and more => 'book': expected a word and what it stands for, once;
        family nowhere => end of the row: expected a family that was told before;
        family blas core qnm_blas_name => 'core': expected a family that was not told before;
        family own check own_name => 'check': expected 'form';
        family own form narrow address int32 NAME => 'address': expected a convention (reference, value, codes);
        family own form narrow value int16 NAME => 'int16': expected a width of integers (int32, int64, size);
        family own form narrow value int32 => end of the row: expected a spelling of the form;
        family own core own_name wide => end of the row: expected the pattern of core names for 64-bit integers;
        family own registers core own_name => 'core': expected a callback (xerbla, progress, pivot);
        family own registers pivot core own_name form f value int32 NAME|family own|axpy - bare int n =>
            4: 'own', which registers: expected rows of class passed;
        family own null all 100 => 'all': expected 'info';
        axpy s in half unchecked int n => 'half': expected a form of the family;
        axpy in narrow unchecked int n => 'in': expected letters ...;
        family own form f value int32 NAME form f value int64 NAME_64 => 'f': expected each form's name once;
        family own form narrow value int32 NAME|family own|axpy s unchecked int n => 4: 'own': expected a
            family with a core;
        axpy s bare int n|family own core own_name form narrow value int32 NAME|family own|axpy d bare int n =>
            5: 'own': expected families of one room in a table;
        type number => end of the row: expected the C type;
        type double float => 'double': expected a word that means no other type;)");
    EXPECT_EQ(refusal("axpy s unchecked int n"),
              "x.tab:1: 'axpy': expected a line 'family NAME' above the first row");
    EXPECT_EQ(refusal("    int n"), "x.tab:1: an indented line: expected a row to go on");
    Catalogue tables;
    tables.read_text(rows_to_refer_to, "told.tab");
    tables.read_text("", "sample/level2.tab");
    for (const auto& [path, said] :
         {std::pair{"/nonexistent/level9.tab", ":0: cannot be read: expected a table"},
          {QNM_SAMPLE_TABLE,
           ":0: 'sample/level2.tab': expected a folder and a name that no other table has"}})
        EXPECT_THAT([&] { tables.read(path); },
                    ::testing::ThrowsMessage<TableError>(std::string(path) + said));
}

TEST(Refusals, OfArgumentsAndClauses)
{
    expect_refusals("blas\naxpy s unchecked ", R"(
        int n,| integer m => 3: 'integer': expected a type of argument (char, int, T, R, C, void, float, ...;
        int 3 => '3': expected the argument's name;  T x[3 => end of the row: expected ']';
        int n, T x(n) => ')': expected ',';
        int n, T n => 'n': expected each argument's name once;
        int n,| T x value => 3: 'value': expected it behind an int or a void that is no array;
        T n, T x[n] => 'n': expected an integer argument or an earlier name of 'where';
        int n, list few => 'few': expected a list that was told before;
        int n|list few int m -> T => 3: '->': expected ',' or the end of the list;
        int n|list few int m|list few int k => 4: 'few': expected each list's name once;
        int n, T x[ia[n]] => 'ia': expected an array of integers of the row;
        T x kept => 'kept': expected ',', '->', 'where', 'tested last', ...;
        int n -> real => 'real': expected the result's type;
        int n >= 0 => a test: expected tests in rows of class checked, relayed or check, where they must be, and
            handed, where they may;
        int n small xaxpy => end of the row: expected 'when';
        int n small xaxpy when m < 3 => 'm': expected an integer argument or an earlier name of 'where';
        int n also own => 'own': expected a family that was told before;)");
    expect_refusals("blas\ndo - ", R"(
        scratch int indx[] in => 'indx': expected an extent and 'in' for the index array of a scratch entry;
        scratch int nz, int indx[nz] => 'indx': expected an extent and 'in' for the index array of a scratch
            entry;
        carried int n, int ipar[n] inout => 'ipar': expected a number as extent where a family tells no
            alignment;
        carried int ipar[15] => 'ipar': expected an extent and 'in', 'out' or 'inout' for the array of a carried
            entry;
        carried int ipar[15] in if m > 0 => 'm': expected an integer argument ...;
        carried int ipar[15] out but back s => 's': expected a direction and a letter;
        handed int n core hand(m) => 'm': expected an argument or a number for each place of the core's call;
        handed int n core do(&3) => '3': expected an argument whose address the core takes;
        handed int n core do(local 3) => '3': expected an argument of which the core gets a copy;
        handed int n core - do(local n, wide, -1, field) => accepted;
        chain do_ DO => end of the row: expected a further name of the chain, or its arguments;
        passed double x, more, int n => ',': expected ',', ...;
        own in frame/ => end of the row: expected the file's name;
        passed ahead => end of the row: expected a function that is called ahead of the jump;
        relayed int n >= 0 => 'blas': expected a family of narrow forms by reference;)");
}

TEST(Refusals, OfTestsAndExpressions)
{
    expect_refusals("blas\naxpy s checked ", R"(
        int n => no test: expected tests in rows of class checked, relayed or check, where they must be, and
            handed, where they may;
        T x > 0 => '>': expected ...;  T x[] >= 1 => '>=': expected ...;  int n != 1 => '1': expected '0';
        int n >= 0, char trans in ntc => 'in': expected ...;  int n >= 0, int m code 4 => 'code': expected ...;
        int n >= 0, int m unless n == 1 => 'unless': expected ...;
        int n >= 0 code 0x => '0x': expected the reported code;
        int n >= 0 tested first n => 'first': expected 'last';
        int n >= 0, int m tested last m => 'm': expected a tested argument behind 'tested last';
        groups int n[] >= 0 => 'groups': expected the arguments group_count and group_size;
        int n >= 0 -> status refused x => 'x': expected what a refused call gives back;
        int n >= 0 where = 1 => '=': expected a name to define;
        int n >= a where b = a, a = n => 'a': expected an integer argument or an earlier name of 'where';
        int n >= a where a = side is L ? 1 : n => 'side': expected a character argument of the row;
        int n >= => end of the row: expected a number, a name or '(';  int n >= (1+2 => end of the row: expected ')';
        int n >= 1234567 => '1234567': expected a number of at most six digits;
        char t in NT, int n >= (t is N ? 1) => ')': expected ':';
        char t in NT, int n >= t is NT ? 1 : 2 => 'NT': expected one letter after ...;
        int n >= max(1) => 'max': expected one operand for abs ...;  int n >= abs(n,1) => 'abs': expected ...;)");
}

TEST(Refusals, OfTheCInterface)
{
    expect_refusals("cblas\nmul s ", R"(
        level3 rows exchange m n, trans as TNN => accepted;
        level4 => 'level4': expected letters (s d c z sc dz cs zd is id ic iz ds sds, or -) and a class (level2,
            level3, ...;
        level3 of mull => 'mull': expected a Fortran row with the letters 's';
        level3 rows exchange m k => 'k': expected an argument of the row;
        level3 rows swap m n => 'm': expected 'as';  level3 rows m as NM => 'm': expected an option;
        level3 tested m, k, layout, lda => 'k': expected an argument of the row;
        level3 with k >= 0 => 'k': expected an argument of the Fortran row;
        level3 with m => end of the row: expected '>=';
        level3 conjugated all => 'all': expected general, product, copies, ...;
        blocks => 'trans': expected a place among the tests for each option;
        level3 quickly => 'quickly': expected a clause of the C interface (plain, stops, ...;
        level3|mul s level3 => 3: 'cblas_smul': expected a name that x.tab:2 does not export;)");
}

TEST(Refusals, OfTheCInterfaceToLapack)
{
    expect_refusals("lapacke\ngeqrf s ", R"(
        : a as ge(m,n) when m > 0, lda bound n => accepted;
        z => 'z' of 'geqrf': expected a routine of the LAPACK tables;
        : q kept => 'q': expected an argument of geqrf;
        : order a q => 'q': expected an argument of geqrf;
        : refuses q when m > 0 => 'q': expected an argument of geqrf;
        : adds R stat[2] from q => 'q': expected an argument of geqrf;
        turned(q n) => 'q': expected an argument of geqrf;
        : a when row_major is N => 'row_major': expected an argument of geqrf;
        : adds R stat[k] from work => 'k': expected an argument of geqrf, a name of 'where', row_major or one
            letter;
        : a as xx(m,n) => 'xx': expected a storage form (ge, gb, sy, he, po, tr, ...;
        : a as ge(m) => 'ge': expected 2 options for this form;
        : a kept, a kept => 'a': expected each argument once;
        |geqrf s => 3: 'LAPACKE_sgeqrf': expected a name that x.tab:2 does not export;
        : a as ge(m,n) twice => 'twice': expected ...;  square => 'square': expected letters, ...;
        : refuses m => end of the row: expected 'when';  : adds R x q => 'q': expected 'from';
        turned m n => 'm': expected '(';
        turned(m n) => 'work': expected 'turned' and the size that the turned routine needs;
        : work turned n => 'work': expected 'turned' for workspaces of turned routines alone;
        : a not => end of the row: expected 'out';)");
}

TEST(Refusals, OfTagsThatCompute)
{
    const std::string families = "by_address room dft form all reference int64 qnm_name\n",
                      own = "family by_address\n",
                      fortran =
                          "family fortran room dft calls by_address form all reference int32 NAME name_\n";
    expect_refusals(
        families + own,
        "compute c arrays 1 forward => 3: 'by_address': expected a family whose entries another one calls;");
    expect_refusals(families + fortran + own, R"(
        compute c arrays one => 4: 'one': expected the number of arrays;
        compute c 1 => 4: '1': expected a tag, or 'arrays';
        compute c arrays 1 => 4: end of the row: expected 'forward' or 'backward';
        compute c arrays 1 both => 4: 'both': expected 'forward' or 'backward';
        compute c arrays 1 forward|compute z c arrays 1 forward => 5: 'qnm_dfti_compute_forward_c': expected a
            name that x.tab:4 does not export;
        compute c z arrays 1 forward backward => accepted;)");
}

TEST(Refusals, OfTheInterfaceOfPlans)
{
    const std::string families =
        "plans room fftw form double value int32 p_name form single value int32 pf_name\n"
        "family plans_fortran room fftw calls plans form double reference int32 dp_name_"
        " form single reference int32 sp_name_\nfamily plans\n";
    expect_refusals(families, R"(
        a : whole n own => 4: 'whole': expected a type;
        a : int 5 own => 4: '5': expected a name;
        a : int n[3] own => 4: '3': expected ']';
        a : int n owned => 4: 'owned': expected a class;
        a, 7 : int n own => 4: '7': expected a name;
        a : int n -> thing own => 4: 'thing': expected a type;
        a : int n box => 4: end of the row: expected 'to';
        a : R in arrays needs out => 4: 'out': expected an argument of the row;
        a : R in arrays needs in in double in => 4: 'in': expected the end of the row;
        a : R in own batch first => 4: 'first': expected 'at_rank';
        a : R in own|a, b stub => 5: 'p_a': expected a name that x.tab:4 does not export;
        a : R in own|family plans_fortran|b held => 6: 'b': expected a name of the family that this one calls;
        a : R in -> plan own|family plans_fortran|a held needs plan in => accepted;)");
}

TEST(Refusals, OfVectorMathematics)
{
    const std::string families =
        "vectors room vml core k_Name form narrow value int32 vName form mode value int32 vmName level mode\n"
        "family control room vml core k_Name form narrow value int32 vmlName form wide value int64 "
        "vmlName_64\n"
        "family ";
    expect_refusals(families + "vectors\n", R"(
        Exp Ln s d : a -> y => accepted;
        Exp 7 => 4: '7': expected a root, or letters of types;  Exp s y : a => 4: 'y': expected ':';
        Exp s : a, b => 4: end of the row: expected '->';  Exp s : a -> 7 => 4: '7': expected an argument's name;
        Exp s : a -> y quickly => 4: 'quickly': expected 'marked', 'direct', 'code', ...;
        Exp s : a -> y strided codes 2 => 4: 1 codes: expected a code for each vector;
        Exp s : a -> y code b 3 plain => 4: 'b': expected a vector of the row;
        Exp s : a -> y code y 3 => 4: end of the row: expected 'plain';
        Exp s : a -> y status 1000 => 4: end of the row: expected letters of the row;
        Exp s : a -> y status 1000 d => 4: 'd': expected letters of the row;
        Exp s : a -> y status 999 s => 4: '999': expected '1000';
        Exp s : a -> y|Exp s : a -> y => 5: 'vsExp': expected a name that x.tab:4 does not export;
        Exp s : a -> y|ExpI s : a -> y direct => 5: 'vsExpI': expected a name that x.tab:4 does not export;)");
    expect_refusals(families + "control\n", R"(
        SetMode : int -> int => accepted;  SetMode int => 4: 'int': expected ':';
        SetMode : thing -> int => 4: 'thing': expected a type;  GetMode : -> => 4: end of the row: expected a type;
        GetMode : -> int int => 4: 'int': expected the end of the row;)");
}

TEST(Refusals, OfGeneratorsAndStreams)
{
    expect_refusals(
        "streams room vsl kernel _name form narrow value int32 name form wide value int64 name_64\n"
        "family streams\n",
        R"(
        go z : R a => 3: 'z': expected letters (s d i, or -);
        go s methods 0 2 : R a => 3: '2': expected '1';
        go s sometimes : R a => 3: 'sometimes': expected 'methods', 'bits', ...;
        go s : T* a => 3: '*': expected the argument's name;
        go s : bool a => 3: 'bool': expected a type of argument;
        go s : R a in 0 2 => 3: '2': expected '1';
        go s : R a inside 0 2 => 3: '2': expected '1';
        go s : R a < c, R b => 3: 'c': expected a number of the row;
        go s : R a[], R b < a => 3: 'a': expected a number of the row;
        go s : R a[] > 0 => 3: '>': expected ',', 'tested last' or the end of the row;
        go s : R a tested last b => 3: 'b': expected a number of the row;
        go s : nothing|go s : nothing => 4: 'sgo': expected a name that x.tab:3 does not export;
        go s d i : R a < b, R b, R p inside 0 1 tested last a => accepted;)");
}

// A table of any length is refused before it takes the reader's stack, or that of whoever walks the
// expression.
TEST(Refusals, OfExpressionsThatNestTooDeep)
{
    const auto row = [](const char* open, const char* close, std::size_t times) {
        std::string text = "family blas\naxpy s checked int n >= 0, T x[";
        for (std::size_t i = 0; i < times; ++i)
            text += open;
        text += "n";
        for (std::size_t i = 0; i < times; ++i)
            text += close;
        return refusal(text + "]");
    };
    for (const auto& [open, close] : std::vector<std::pair<const char*, const char*>>{{"(", ")"},
                                                                                      {"- ", ""},
                                                                                      {"not ", ""},
                                                                                      {"abs(", ")"},
                                                                                      {"x[", "]"},
                                                                                      {"n ? n : ", ""},
                                                                                      {"n + ", ""}}) {
        const auto nests_too_deep = [&](std::size_t times) {
            return row(open, close, times).ends_with("expected at most 100 levels of nesting");
        };
        EXPECT_FALSE(nests_too_deep(90)) << open;
        EXPECT_TRUE(nests_too_deep(200'000)) << open;
    }
}

TEST(Refusals, AreNotForGoodRows)
{
    for (const char* row :
         {"# A comment.\n\nfamily blas\naxpy s d unchecked # another\n    int n,\n\n    T x[n] inout\n# The "
          "end.",
          " # An indented comment ahead of all.\nfamily blas\nnothing_here - unchecked nothing"})
        EXPECT_EQ(refusal(row), "accepted");
}

} // namespace
} // namespace qnm::catalogue
