// Our prototypes beside those of published headers: names, results, arguments one by one.
#include "prototypes.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <regex>
#include <set>

namespace qnm::headers {
namespace {

std::map<std::string, Prototype> ours()
{
    std::map<std::string, Prototype> all;
    for (const char* header : {"services.h", "blas.h", "cblas.h", "lapacke.h", "lapacke_helpers.h"})
        for (const Prototype& prototype : read_prototypes(read_file(QNM_HEADERS + std::string("/") + header)))
            all[prototype.name] = prototype;
    return all;
}

std::string spelled(const Type& type)
{
    return (type.constant ? "const " : "") + type.element +
           std::string(static_cast<std::size_t>(type.stars), '*');
}

std::string spelled(const Prototype& p)
{
    std::string text = spelled(p.result) + " " + p.name + "(";
    for (const Type& type : p.arguments)
        text += (text.back() == '(' ? "" : ", ") + spelled(type);
    return text + ")";
}

using Agrees = bool (*)(const Type& ours, const Type& published);

bool same(const Prototype& our, const Prototype& their, Agrees agrees)
{
    return agrees(our.result, their.result) &&
           std::equal(our.arguments.begin(), our.arguments.end(), their.arguments.begin(),
                      their.arguments.end(), agrees);
}

/// One line for each published name of ours whose declarations all differ from ours; counts the names.
std::string disagreements(const std::vector<Prototype>& published, Agrees agrees, int& compared)
{
    std::map<std::string, std::vector<Prototype>> by_name; // a header has one for each compiler's convention
    for (const Prototype& prototype : published)
        by_name[prototype.name].push_back(prototype);
    std::string lines;
    for (const auto& [name, our] : ours()) {
        const auto found = by_name.find(name);
        if (found == by_name.end())
            continue;
        ++compared;
        const auto& theirs = found->second;
        if (std::none_of(theirs.begin(), theirs.end(),
                         [&](const Prototype& their) { return same(our, their, agrees); }))
            lines += "\n" + spelled(our) + "\n  published as " + spelled(theirs.front());
    }
    return lines;
}

#ifdef OPENBLAS_HEADER
// Complex arrays are arrays of reals there, nothing is const, and subroutines return an int without meaning.
bool as_openblas_has_it(const Type& our, const Type& their)
{
    static const std::map<std::string, std::string> plain{
        {"qnm_complex8", "float"},   {"openblas_complex_float", "float"},
        {"qnm_complex16", "double"}, {"openblas_complex_double", "double"},
        {"FLOATRET", "float"},       {"blasint", "int"}};
    const auto element = [&](const std::string& word) {
        const auto found = plain.find(word);
        return found == plain.end() ? word : found->second;
    };
    const bool subroutine = our.element == "void" && our.stars == 0 && their.stars == 0;
    return (subroutine && (their.element == "int" || their.element == "void")) ||
           (element(our.element) == element(their.element) && our.stars == their.stars);
}

TEST(PublishedHeader, OfOpenBlasAgrees)
{
    const std::string text =
        std::regex_replace(read_file(OPENBLAS_HEADER), std::regex("BLASFUNC\\((\\w+)\\)"), "$1_");
    int compared = 0;
    EXPECT_EQ(disagreements(read_prototypes(text), as_openblas_has_it, compared), "");
    EXPECT_GE(compared, 150);
}
#endif

#ifdef REFERENCE_HEADER
// Has const where the reference BLAS only reads, and `void` or the real type for complex types.
bool as_reference_has_it(const Type& our, const Type& their)
{
    static const std::map<std::string, std::string> real{{"qnm_complex8", "float"},
                                                         {"qnm_complex16", "double"}};
    const auto complex = real.find(our.element);
    return (our.element == their.element ||
            (complex != real.end() && (their.element == "void" || their.element == complex->second))) &&
           our.stars == their.stars && our.constant == their.constant;
}

/// Functions stand there as subroutines with one more argument, the address of their result.
Prototype as_function(Prototype subroutine)
{
    Type result = subroutine.arguments.back();
    subroutine.arguments.pop_back();
    if (result.element == "void") { // a complex result's address comes first
        subroutine.arguments.insert(subroutine.arguments.begin(), result);
    } else {
        --result.stars;
        subroutine.result = result;
    }
    return subroutine;
}

TEST(PublishedHeader, OfReferenceBlasAgrees)
{
    std::string text = read_file(REFERENCE_HEADER);
    for (const auto& [word, meaning] :
         {std::pair{"FCHAR", "const char *"}, {"FINT2", "int *"}, {"FINT", "const int *"}})
        text = std::regex_replace(text, std::regex(word), meaning);
    std::vector<Prototype> published;
    const std::regex name("F77_(\\w+?)(_sub)?_base");
    for (Prototype prototype : read_prototypes(text)) {
        std::smatch parts;
        if (!std::regex_match(prototype.name, parts, name) || parts[1] == "xerbla") // that one is of C
            continue;
        const std::string routine = parts[1].str() + "_"; // the parts lie in the prototype's own name
        while (!prototype.arguments.empty() && prototype.arguments.back().element == "size_t")
            prototype.arguments.pop_back(); // hidden lengths
        if (parts[2].matched)
            prototype = as_function(prototype);
        prototype.name = routine;
        published.push_back(prototype);
    }
    int compared = 0;
    EXPECT_EQ(disagreements(published, as_reference_has_it, compared), "");
    EXPECT_GE(compared, 126);
}
#endif

#ifdef CBLAS_HEADER
bool as_cblas_has_it(const Type& our, const Type& their)
{
    return our.element == (their.element == "CBLAS_INT" ? "int" : their.element) &&
           our.stars == their.stars && (our.constant == their.constant || our.stars == 0);
}

TEST(PublishedHeader, OfReferenceCblasAgrees)
{
    std::vector<Prototype> published = read_prototypes(read_file(CBLAS_HEADER));
    std::erase_if(published,
                  [](const Prototype& p) { return p.name == "cblas_xerbla"; }); // of another signature
    int compared = 0;
    EXPECT_EQ(disagreements(published, as_cblas_has_it, compared), "");
    EXPECT_EQ(compared, static_cast<int>(published.size())) << "names of the reference that we lack";
    EXPECT_GE(compared, 148);
}
#endif

#ifdef LAPACKE_HEADER
bool as_lapacke_has_it(const Type& our, const Type& their)
{
    // A promise not to write more than is published breaks no program.
    return our.element == their.element && our.stars == their.stars && (our.constant || !their.constant);
}

TEST(PublishedHeader, OfLapackeAgrees)
{
    std::vector<Prototype> published = read_prototypes(read_file(LAPACKE_HEADER));
    std::set<std::string> ours_alone, theirs_alone;
    const std::map<std::string, Prototype> our = ours();
    std::erase_if(published, [&](Prototype& p) {
        // Since 3.12 LAPACK tells the place that it has reached.
        if (p.name.find("LAPACKE_ctgexc") == 0 || p.name.find("LAPACKE_ztgexc") == 0)
            ++p.arguments.at(13).stars;
        if (p.name.rfind("LAPACKE_", 0) == 0 && p.name.find("lassq") == std::string::npos &&
            p.name.find("_nancheck") == std::string::npos && our.count(p.name) == 0)
            theirs_alone.insert(p.name);
        return p.name.rfind("LAPACKE_", 0) != 0;
    });
    int compared = 0;
    EXPECT_EQ(disagreements(published, as_lapacke_has_it, compared), "");
    EXPECT_EQ(compared, 2490);
    EXPECT_TRUE(theirs_alone.empty()) << *theirs_alone.begin();
}
#endif

} // namespace
} // namespace qnm::headers
