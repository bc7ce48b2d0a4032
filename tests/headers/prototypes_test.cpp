// What the headers declare: the names that the library exports, with the prototypes of published headers.
#include "support/library.hpp"

#include <algorithm>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <regex>
#include <set>
#include <sstream>

namespace qnm::headers {
namespace {

using Names = std::set<std::string>;
using ::testing::IsEmpty;

/// `const double* const* a_array`: element "double", constant, two stars.
struct Type {
    std::string element;
    int stars = 0;
    bool constant = false; // what the first star leads to
};

struct Prototype {
    std::string name, text;
    Type result;
    std::vector<Type> arguments;
};

Type read_type(const std::string& text)
{
    static const std::regex word("[A-Za-z_][A-Za-z_0-9]*|\\*");
    Type type;
    for (std::sregex_token_iterator at(text.begin(), text.end(), word), end; at != end; ++at) {
        if (*at == "*")
            ++type.stars;
        else if (*at == "const")
            type.constant = type.constant || type.stars == 0;
        else if (type.element.empty())
            type.element = *at;
    }
    return type;
}

/// The text without comments and directives. The library's own matching goes as deep as a text is long, which
/// a sanitized stack does not bear: they are taken out by hand.
std::string code_of(const std::string& source)
{
    std::string text, code;
    std::size_t at = 0;
    for (std::size_t open = 0; (open = source.find("/*", at)) != std::string::npos;) {
        text.append(source, at, open - at).push_back(' ');
        at = source.find("*/", open) + 2;
    }
    std::istringstream lines(text.append(source, at));
    bool goes_on = false;
    for (std::string line; std::getline(lines, line);) {
        const bool directive = goes_on || line.find_first_not_of(" \t") == line.find('#');
        goes_on = directive && line.ends_with('\\');
        if (!directive && line.find("extern \"C\" {") == std::string::npos)
            code += line.substr(0, line.find("//")) + '\n';
    }
    return code;
}

/// All declarations of functions in the text, in every branch of its conditions.
std::vector<Prototype> read_prototypes(const std::string& source)
{
    std::vector<Prototype> all;
    std::istringstream statements(code_of(source));
    for (std::string statement; std::getline(statements, statement, ';');) {
        statement.erase(0, statement.rfind('}') + 1); // the end of a struct or an enum lies ahead of it
        const auto open = statement.find('('), close = statement.find(')');
        if (statement.find("typedef") != std::string::npos || close == std::string::npos ||
            statement.find('(', open + 1) != std::string::npos ||
            statement.find_first_not_of(" \n", close + 1) != std::string::npos)
            continue;
        const auto last = statement.find_last_not_of(" \n\t", open - 1);
        const auto name = statement.find_last_of(" *\n\t", last) + 1;
        Prototype prototype{
            statement.substr(name, last + 1 - name), statement, read_type(statement.substr(0, name)), {}};
        std::istringstream list(statement.substr(open + 1, close - open - 1));
        for (std::string argument; std::getline(list, argument, ',');)
            if (const Type type = read_type(argument); type.element != "void" || type.stars > 0)
                prototype.arguments.push_back(type);
        all.push_back(std::move(prototype));
    }
    return all;
}

std::string read_file(const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw std::runtime_error(path + " cannot be read");
    return {std::istreambuf_iterator<char>(in), {}};
}

const std::map<std::string, Prototype>& ours()
{
    static const std::map<std::string, Prototype> all = [] {
        std::map<std::string, Prototype> declared;
        for (const char* header :
             {"services.h", "blas.h", "cblas.h", "lapack.h", "lapacke.h", "lapacke_helpers.h", "trans.h"})
            for (const Prototype& p : read_prototypes(read_file(QNM_HEADERS + std::string("/") + header)))
                EXPECT_TRUE(declared.emplace(p.name, p).second) << p.name << " is declared twice";
        return declared;
    }();
    return all;
}

TEST(HeaderNames, AreThoseThatTheLibraryExports)
{
    // Exported for other interfaces of the library, for the project's tests and for the core, not for
    // programs.
    const std::regex not_for_programs(
        "(qnm_(blas__|lapack__|serv_iface_|(blas|lapack|lapack_ps|trans)_errchk_)|"
        "cdecl_|qnm_set_xerbla_interface).*");
    Names exported, declared, in_one;
    for (const support::Symbol& symbol : support::ElfFile(QNM_LAYER_FILE).exported())
        if (!std::regex_match(symbol.name, not_for_programs))
            exported.insert(symbol.name);
    for (const auto& [name, prototype] : ours())
        declared.insert(name);
    std::ranges::set_symmetric_difference(declared, exported, std::inserter(in_one, in_one.end()));
    EXPECT_THAT(in_one, IsEmpty()) << "exported or declared, and not both";
}

/// How a published header spells what ours has.
struct Habits {
    std::map<std::string, std::string> words; // of either header, and what they stand for
    std::function<bool(bool ours, bool theirs)> constants_agree;
    bool subroutines_return_int = false;
};

bool agree(const Type& our, const Type& their, const Habits& habits)
{
    const auto meaning = [&](const std::string& word) {
        return habits.words.contains(word) ? habits.words.at(word) : word;
    };
    if (habits.subroutines_return_int && our.element == "void" && our.stars == 0)
        return their.stars == 0 && (their.element == "int" || their.element == "void");
    return our.stars == their.stars &&
           (our.stars == 0 || habits.constants_agree(our.constant, their.constant)) &&
           (meaning(our.element) == meaning(their.element) ||
            (our.element.starts_with("qnm_complex") && their.element == "void"));
}

/// Expects that each published name of ours has a declaration that agrees with ours; tells how many there
/// are.
int compare(const std::vector<Prototype>& published, const Habits& habits)
{
    std::map<std::string, std::vector<Prototype>> by_name; // a header has one for each compiler's convention
    for (const Prototype& p : published)
        if (ours().contains(p.name))
            by_name[p.name].push_back(p);
    for (const auto& [name, theirs] : by_name) {
        const Prototype& our = ours().at(name);
        EXPECT_TRUE(std::any_of(theirs.begin(), theirs.end(),
                                [&](const Prototype& their) {
                                    return agree(our.result, their.result, habits) &&
                                           std::equal(our.arguments.begin(), our.arguments.end(),
                                                      their.arguments.begin(), their.arguments.end(),
                                                      [&](const Type& a, const Type& b) {
                                                          return agree(a, b, habits);
                                                      });
                                }))
            << our.text << "\n  published as " << theirs.front().text;
    }
    return static_cast<int>(by_name.size());
}

#ifdef OPENBLAS_HEADER
// Complex arrays are arrays of reals there, nothing is const, and subroutines return an int without meaning.
TEST(PublishedHeader, OfOpenBlasAgrees)
{
    const std::string text =
        std::regex_replace(read_file(OPENBLAS_HEADER), std::regex("BLASFUNC\\((\\w+)\\)"), "$1_");
    const Habits habits{{{"qnm_complex8", "float"},
                         {"openblas_complex_float", "float"},
                         {"qnm_complex16", "double"},
                         {"openblas_complex_double", "double"},
                         {"FLOATRET", "float"},
                         {"blasint", "int"}},
                        [](bool, bool) { return true; },
                        true};
    EXPECT_GE(compare(read_prototypes(text), habits), 150);
}
#endif

#ifdef REFERENCE_HEADER
// Has const where the reference BLAS only reads, and `void` or the real type for complex types. Functions
// stand there as subroutines with one more argument, the address of their result.
TEST(PublishedHeader, OfReferenceBlasAgrees)
{
    std::string text = read_file(REFERENCE_HEADER);
    for (const auto& [word, meaning] :
         {std::pair{"FCHAR", "const char *"}, {"FINT2", "int *"}, {"FINT", "const int *"}})
        text = std::regex_replace(text, std::regex(word), meaning);
    std::vector<Prototype> published;
    const std::regex name("F77_(\\w+?)(_sub)?_base");
    for (Prototype p : read_prototypes(text)) {
        std::smatch parts;
        const std::string full = p.name;
        if (!std::regex_match(full, parts, name) || parts[1] == "xerbla") // that one is of C
            continue;
        p.name = parts[1].str() + "_";
        std::erase_if(p.arguments,
                      [](const Type& type) { return type.element == "size_t"; }); // hidden lengths
        if (parts[2].matched) {
            Type result = p.arguments.back();
            p.arguments.pop_back();
            if (result.element == "void") { // a complex result's address comes first
                p.arguments.insert(p.arguments.begin(), result);
            } else {
                --result.stars;
                p.result = result;
            }
        }
        published.push_back(p);
    }
    EXPECT_GE(
        compare(published, {{{"qnm_complex8", "float"}, {"qnm_complex16", "double"}}, std::equal_to<>()}),
        126);
}
#endif

#ifdef CBLAS_HEADER
TEST(PublishedHeader, OfReferenceCblasAgrees)
{
    std::vector<Prototype> published = read_prototypes(read_file(CBLAS_HEADER));
    std::erase_if(published,
                  [](const Prototype& p) { return p.name == "cblas_xerbla"; }); // of another signature
    const int compared = compare(published, {{{"CBLAS_INT", "int"}}, std::equal_to<>()});
    EXPECT_EQ(compared, static_cast<int>(published.size())) << "names of the reference that we lack";
    EXPECT_GE(compared, 148);
}
#endif

#ifdef LAPACKE_HEADER
TEST(PublishedHeader, OfLapackeAgrees)
{
    std::vector<Prototype> published = read_prototypes(read_file(LAPACKE_HEADER));
    std::erase_if(published, [](const Prototype& p) { return !p.name.starts_with("LAPACKE_"); });
    Names lacking;
    for (Prototype& p : published) {
        // Since 3.12 LAPACK tells the place that it has reached.
        if (p.name.starts_with("LAPACKE_ctgexc") || p.name.starts_with("LAPACKE_ztgexc"))
            ++p.arguments.at(13).stars;
        if (!ours().contains(p.name) && p.name.find("lassq") == std::string::npos &&
            p.name.find("_nancheck") == std::string::npos)
            lacking.insert(p.name);
    }
    // A promise not to write more than is published breaks no program.
    EXPECT_EQ(compare(published, {{}, std::greater_equal<>()}), 2490);
    EXPECT_THAT(lacking, IsEmpty());
}
#endif

} // namespace
} // namespace qnm::headers
