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
using ::testing::HasSubstr;

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

/// Those that tell how families are spelled.
std::string families()
{
    std::string words;
    std::istringstream in(all_tables);
    for (std::string table; in >> table;)
        words += table.ends_with("/family.tab") ? table + " " : "";
    return words;
}

class Generator : public ::testing::Test {
protected:
    Generator() : folder_(fs::temp_directory_path() / ("qnm-generate-" + std::to_string(getpid())))
    {
        fs::create_directory(folder_);
    }
    ~Generator() override { fs::remove_all(folder_); }

    fs::path in_folder(const char* name) const { return folder_ / name; }

    /// Runs the generator; both outputs are kept apart.
    int run(const std::string& words)
    {
        const fs::path out = in_folder("out"), error = in_folder("error");
        const std::string command =
            std::string(QNM_GENERATE) + " " + words + " >" + out.string() + " 2>" + error.string();
        const int status = std::system(command.c_str());
        out_ = read(out);
        error_ = read(error);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    fs::path folder_;
    std::string out_, error_;
};

TEST_F(Generator, WritesOnlyWhatChanged)
{
    const fs::path table = in_folder("level1.tab"), source = in_folder("level1.cpp");
    const std::string told = folder_.filename().string() + "/level1.tab";
    const std::string words =
        "source " + told + " " + source.string() + " " + families() + " " + table.string();
    const std::string text =
        "family blas\naxpy s unchecked int n, T alpha, T x[], int incx, T y[] inout, int incy\n"
        "lift s checked int n >= 0\n";
    write(table, text);
    ASSERT_EQ(run(words), 0) << error_;
    const auto long_ago = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::last_write_time(source, long_ago);

    write(table, "# One comment ahead of all,\n# and another.\n" + text + "    # and behind\n");
    ASSERT_EQ(run(words), 0) << error_;
    EXPECT_EQ(fs::last_write_time(source), long_ago);

    write(table, text + "copy s unchecked int n, T x[], int incx, T y[] out, int incy\n");
    ASSERT_EQ(run(words), 0) << error_;
    EXPECT_NE(fs::last_write_time(source), long_ago);
    EXPECT_THAT(read(source), HasSubstr("qnm_blas_scopy"));
}

TEST_F(Generator, ExplainsWhatItKnowsAndRefusesTheRest)
{
    EXPECT_EQ(run("--explain dgemm_ " + all_tables), 0);
    EXPECT_THAT(out_, ::testing::StartsWith("DGEMM\n  row       blas/level3.tab:"));
    for (const auto& [words, status, said] :
         {std::tuple{"--explain dgemmm " + all_tables, 1, "generate: no row exports the name dgemmm\n"},
          {"--explain", 2, "usage: generate"},
          {"poetry level1.tab /dev/null " + all_tables, 2, "usage: generate"},
          {"source blas/level1.tab /dev/null /nonexistent/level1.tab", 1,
           "/nonexistent/level1.tab:0: cannot be read: expected a table\n"},
          {"source blas/level1.tab /nonexistent/level1.cpp " + all_tables, 1,
           "/nonexistent/level1.cpp:0: cannot be written: expected a folder that exists\n"},
          {"header /nonexistent.h.in /dev/null " + all_tables, 1,
           "/nonexistent.h.in:0: cannot be read: expected a header\n"}}) {
        EXPECT_EQ(run(words), status) << words;
        EXPECT_EQ(out_, "");
        EXPECT_THAT(error_, ::testing::StartsWith(said));
    }
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

TEST_F(Generator, TakesEachRowIntoAHeaderOnceAndLeavesNoneOut)
{
    const auto header = [&](const std::string& text) {
        const fs::path source = in_folder("x.h.in"), result = in_folder("x.h");
        fs::remove(result);
        write(source, text);
        const int status = run("header " + source.string() + " " + result.string() + " " + all_tables);
        return status == 0 ? read(result) : error_;
    };
    const std::string narrow = "(const char* srname_array, const int* srname_len, const int* info);\n",
                      wide =
                          "(const char* srname_array, const qnm_int64* srname_len, const qnm_int64* info);\n";
    std::string wanted = "/* ahead */\n";
    for (const char* spelling : {"XERBLA_ARRAY", "xerbla_array", "xerbla_array_"})
        wanted += std::string("void ") + spelling + narrow;
    for (const char* spelling : {"XERBLA_ARRAY_64", "xerbla_array_64", "xerbla_array_64_"})
        wanted += std::string("void ") + spelling + wide;
    EXPECT_EQ(header("/* ahead */\n@prototypes lapack/errors.tab @\n/* behind */\n"),
              wanted + "/* behind */\n");
    EXPECT_EQ(header("@prototypes blas/level9.tab @\n"),
              "blas/level9.tab:0: no rows: expected the name of a table that was read\n");
    EXPECT_THAT(header("@poems blas/level2.tab @\n"),
                ::testing::StartsWith("'@poems blas/level2.tab@': expected "));
    EXPECT_EQ(header("@prototypes blas/sparse1.tab axpyi gather @\n"),
              "blas/sparse1.tab:0: 'gather': expected a row of this table\n");
    EXPECT_EQ(header("@prototypes lapack/errors.tab @\n@prototypes lapack/errors.tab xerbla_array @\n"),
              "lapack/errors.tab:4: 'xerbla_array': expected to be asked for once\n");
    EXPECT_EQ(header("@prototypes services/chains.tab cdecl_xerbla\n  cdecl_pardiso_pivot @\n"),
              "services/chains.tab:6: 'cdecl_progress': expected a place in the header\n");
}

} // namespace
} // namespace qnm::generate
