// The generator as the build runs it: what it writes and when, what it says of a name, what it refuses.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <regex>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace qnm::generate {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string read(const fs::path& path)
{
    std::ifstream in(path);
    if (!in)
        ADD_FAILURE() << path << " cannot be read";
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void write(const fs::path& path, const std::string& text)
{
    std::ofstream(path) << text;
}

const std::string all_tables = std::regex_replace(QNM_TABLES, std::regex(":"), " ");

class Generator : public ::testing::Test {
protected:
    Generator() : folder_(fs::temp_directory_path() / ("qnm-generate-" + std::to_string(getpid())))
    {
        fs::create_directory(folder_);
    }
    ~Generator() override { fs::remove_all(folder_); }

    std::string in_folder(const char* name) const { return (folder_ / name).string(); }

    /// Runs the generator; both outputs are kept apart.
    int run(const std::string& words)
    {
        const std::string out = in_folder("out"), error = in_folder("error");
        const int status = std::system((QNM_GENERATE " " + words + " >" + out + " 2>" + error).c_str());
        out_ = read(out);
        error_ = read(error);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    fs::path folder_;
    std::string out_, error_;
};

TEST_F(Generator, WritesOnlyWhatChanged)
{
    const std::string table = in_folder("level1.tab"), source = in_folder("level1.cpp"),
                      families = std::regex_replace(all_tables, std::regex("\\S+/(?!family)[\\w-]+.tab"), ""),
                      text = "family blas\ntitle lift \"Lifts\"\nlift s checked int n >= 0\n";
    const auto long_ago = fs::file_time_type::clock::now() - std::chrono::hours(1);
    const auto writes = [&](const std::string& content) {
        write(table, content);
        EXPECT_EQ(
            run("source " + folder_.filename().string() + "/level1.tab " + source + " " + families + table),
            0)
            << error_;
        const bool written = fs::last_write_time(source) != long_ago;
        fs::last_write_time(source, long_ago);
        return written;
    };
    EXPECT_TRUE(writes(text));
    EXPECT_FALSE(writes("# One comment ahead of all,\n# and another.\n" + text + "    # and behind\n"));
    EXPECT_TRUE(writes(
        text + "title copy \"Copies\"\ncopy s unchecked int n, T x[], int incx, T y[] out, int incy\n"));
    EXPECT_THAT(read(source), ::testing::HasSubstr("qnm_blas_scopy"));
}

TEST_F(Generator, WantsATitleOfEachPublishedRoutine)
{
    const std::string table = in_folder("level9.tab"), name = folder_.filename().string() + "/level9.tab";
    const auto source = [&](const std::string& text) {
        write(table, "family blas\n" + text);
        run("source " + name + " " + in_folder("x.cpp") + " " + all_tables + " " + table);
        return error_;
    };
    const std::string lift = "lift s checked int n >= 0\n";
    EXPECT_EQ(source(lift), name + ":2: 'lift': expected a title\n");
    EXPECT_EQ(source("title lift \"Lifts\"\n" + lift), "");
    EXPECT_EQ(source("title lift drop \"Lifts\"\n" + lift),
              name + ":2: 'drop': expected a row of this table\n");
    EXPECT_EQ(source("title lift \"Lifts\" positive singular\n" + lift),
              name + ":2: 'singular': expected a routine with info\n");
}

TEST_F(Generator, ExplainsWhatItKnowsAndRefusesTheRest)
{
    EXPECT_EQ(run("--explain dgemm_ " + all_tables), 0);
    EXPECT_THAT(out_, StartsWith("DGEMM\n  title     Product of two general matrices, added to a third\n  "
                                 "row       blas/level3.tab:"));
    for (const auto& [words, status, said] :
         {std::tuple{"--explain dgemmm " + all_tables, 1, "generate: no row exports the name dgemmm\n"},
          {"--explain", 2, "usage: generate"},
          {"poetry level1.tab /dev/null " + all_tables, 2, "usage: generate"},
          {"source blas/level1.tab /nonexistent/level1.cpp " + all_tables, 1,
           "/nonexistent/level1.cpp:0: cannot be written: expected a folder that exists\n"},
          {"header /nonexistent.h.in /dev/null " + all_tables, 1,
           "/nonexistent.h.in:0: cannot be read: expected a header\n"}}) {
        EXPECT_EQ(run(words), status) << words;
        EXPECT_EQ(out_, "");
        EXPECT_THAT(error_, StartsWith(said));
    }
}

TEST_F(Generator, TellsWritersOfCoresOneTypeForEachFunction)
{
    const std::string source = in_folder("x.h.in"), result = in_folder("x.h"), table = in_folder("odd.tab");
    const auto header = [&](const std::string& row) {
        write(source, "@imports " + folder_.filename().string() + " @\n");
        write(table, "family blas\n" + row);
        return run("header " + source + " " + result + " " + all_tables + " " + table) == 0 ? read(result)
                                                                                            : error_;
    };
    // Letters of a core's one name: what stands behind an address, codes tell.
    EXPECT_THAT(header("odd s d unchecked int n, T x[] core - odd\n"),
                HasSubstr("void qnm_blas_odd(const qnm_int64* n, const void* x);"));
    EXPECT_THAT(header("odd s unchecked int n, int x[] core axpy\n"),
                AllOf(HasSubstr("'qnm_blas_saxpy': expected what blas/level1.tab:"),
                      HasSubstr(" calls, void qnm_blas_saxpy(")));
}

TEST_F(Generator, TakesEachRowIntoAHeaderOnceAndLeavesNoneOut)
{
    const std::string source = in_folder("x.h.in"), result = in_folder("x.h");
    const auto header = [&](const std::string& text) {
        write(source, text);
        return run("header " + source + " " + result + " " + all_tables) == 0 ? read(result) : error_;
    };
    std::string wanted = "/* ahead */\n/* Reports a bad argument of a routine whose name is an array. */\n";
    for (const auto& [spelling, type] : {std::pair{"XERBLA_ARRAY", "int"},
                                         {"xerbla_array", "int"},
                                         {"xerbla_array_", "int"},
                                         {"XERBLA_ARRAY_64", "qnm_int64"},
                                         {"xerbla_array_64", "qnm_int64"},
                                         {"xerbla_array_64_", "qnm_int64"}})
        wanted += "void " + std::string(spelling) + "(const char* srname_array, const " + type +
                  "* srname_len, const " + type + "* info);\n";
    for (const auto& [text, said] :
         {std::pair{"/* ahead */\n@prototypes lapack/errors.tab @\n/* behind */\n",
                    wanted + "/* behind */\n"},
          {"@prototypes blas/level9.tab @\n",
           "blas/level9.tab:0: no rows: expected the name of a table that was read\n"},
          {"@poems blas/level2.tab @\n",
           "'@poems blas/level2.tab@': expected prototypes TABLE ROOT..., core "
           "TABLE, imports FOLDER MACRO, helpers FAMILY, renames FAMILY, routines "
           "FAMILY FORM PREFIX, complex_functions MACRO, wide_fellows MACRO PREFIX..., constants FILE or a "
           "room's own\n"},
          {"    RED = -3, /* int */\n@constants x.h.in@\n",
           "    RED = -3, /* int */\n  integer(c_int), parameter, public :: RED = -3\n"},
          {"    RED = 0x1a\n#define BLUE 0x100000000ULL /* far */\n@constants x.h.in@\n",
           "    RED = 0x1a\n#define BLUE 0x100000000ULL /* far */\n  integer(c_int), parameter, public :: "
           "RED = 26\n"
           "  integer(c_int64_t), parameter, public :: BLUE = 4294967296_c_int64_t\n"},
          {"@constants x.h.in@\n", source + ":0: no enumerators: expected a header that has some\n"},
          {"@dft generic Poems dft/compute.tab dfti_poem_@\n",
           "'@dft generic Poems dft/compute.tab dfti_poem_@': expected Fortran entries of this table\n"},
          {"@dft poems@\n",
           "'@dft poems@': expected interfaces TABLE, generic NAME TABLE PREFIX or procedures "
           "TABLE PREFIX\n"},
          {"@prototypes blas/sparse1.tab axpyi gather @\n",
           "blas/sparse1.tab:0: 'gather': expected a row of this table\n"},
          {"@prototypes lapack/errors.tab @\n@prototypes lapack/errors.tab xerbla_array @\n",
           "lapack/errors.tab:5: 'xerbla_array': expected to be asked for once\n"},
          {"@prototypes services/chains.tab cdecl_xerbla\n  cdecl_pardiso_pivot @\n",
           "services/chains.tab:8: 'cdecl_progress': expected a place in the header\n"}})
        EXPECT_EQ(header(text), said);
}

/// Text without comments and without what stands in quotes.
std::string code_of(std::string text)
{
    text = std::regex_replace(text, std::regex("\"[^\"\\n]*\""), "\"\"");
    return std::regex_replace(text, std::regex("//[^\\n]*"), "");
}

TEST(GeneratedSources, HoldNoLogic)
{
    const std::regex logic("\\b(if|else|for|while|do|switch|goto)\\b");
    // A function is its head and one return of one call.
    const std::regex function("extern \"\" QNM_EXPORT [^;]*?\\n\\{\\n([^]*?)\\n\\}\\n");
    const std::regex one_call("\\s*return [\\w:]+(<[^;]*>)?\\([^;]*\\);\\s*");
    // A member of the C interface to LAPACK is one line, which tells the level that it calls.
    const std::regex member("QNM_(WORK|HIGH)\\(LAPACKE_\\w+, \\w+, \\w+, \\w+, \\w+\\)\n");
    const auto count = [](const std::string& text, const std::regex& what) {
        return std::distance(std::sregex_iterator(text.begin(), text.end(), what), std::sregex_iterator());
    };
    std::ptrdiff_t sources = 0, functions = 0, members = 0;
    for (const auto& file : fs::directory_iterator(GENERATED_SOURCES)) {
        ++sources;
        const std::string text = code_of(read(file.path()));
        std::smatch found;
        EXPECT_FALSE(std::regex_search(text, found, logic)) << file.path() << ": " << found.str();
        const std::string name = file.path().filename().string();
        if (name.rfind("lapacke-", 0) == 0 && file.path().extension() == ".cpp") {
            members += count(text, member);
            EXPECT_EQ(count(text, std::regex("extern|QNM_EXPORT|QNM_WORK|QNM_HIGH")), count(text, member))
                << name;
        }
        if (name.rfind("blas-", 0) != 0 && name.rfind("cblas-", 0) != 0 && name.rfind("helpers-", 0) != 0)
            continue;
        for (std::sregex_iterator at(text.begin(), text.end(), function), end; at != end; ++at, ++functions)
            EXPECT_TRUE(std::regex_match((*at)[1].str(), one_call)) << file.path() << ": " << at->str();
    }
    EXPECT_GE(sources, 9);
    EXPECT_EQ(functions, 1108 + 574 + 304); // Fortran, C, helpers; six of the C interface are jumps
    EXPECT_EQ(members, 2 * (1281 + 1280));  // narrow and wide, high and work level
}

} // namespace
} // namespace qnm::generate
