// The Fortran BLAS as it is published, by hand: members, their classes and results, tests with letters,
// bounds and codes, reports.
#include "support/function_call.hpp"
#include "support/published.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

/// How each argument comes, in a letter.
std::string kinds(const Signature& s)
{
    std::string all;
    for (const Parameter& p : s.parameters)
        if (p.argument != nullptr)
            all += p.travel == Travel::letter || p.travel == Travel::letters ? 'c'
                   : p.travel == Travel::value                               ? 'v'
                   : p.travel == Travel::integer                             ? 'i'
                                                                             : 'p';
    return all;
}

std::string kinds(const Published& facts)
{
    const bool groups = lists(facts.arguments, "group_count");
    std::string all;
    for (const auto& p : parameters(facts.arguments))
        all += p.by_value                                                   ? 'v'
               : !p.letters.empty() || p.name == "srname"                   ? 'c'
               : is_integer(p.name) && (!groups || p.name == "group_count") ? 'i'
                                                                            : 'p';
    return all;
}

/// Six characters at least, one blank behind a longer name, but for eight.
std::string reported_name(const Signature& s)
{
    const std::string without_blank =
        "CGEM2VC ZGEM2VC DGEM2VU SGEM2VU GEMM_BF16BF16F32_PACK GEMM_E4M3E4M3F32_PACK "
        "GEMM_E5M2E5M2F32_PACK GEMM_F16F16F32_PACK";
    std::string name = catalogue::to_upper(bare_name(s));
    const std::size_t blank = name.size() == 6 || lists(without_blank, name) ? 0 : 1;
    name.resize(std::max<std::size_t>(name.size() + blank, 6), ' ');
    return name;
}

/// The codes of all tests in their order: as published, but that a group batch tests its number of groups
/// first, and a strided batch leading dimensions ahead of strides.
std::vector<int> codes(const Published& facts, bool strided)
{
    auto told = parameters(facts.arguments);
    std::erase_if(told, [](const auto& p) { return !p.tested; });
    const auto rank = [&](const auto& p) {
        if (p.name == "group_count")
            return 0;
        return strided && (p.name.starts_with("stride") || p.name == "batch_size") ? 2 : 1;
    };
    std::stable_sort(told.begin(), told.end(),
                     [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
    std::vector<int> all;
    for (const auto& p : told)
        all.push_back(p.code);
    return all;
}

/// The letters and bounds of one call, for its letters and sizes.
void expect_tests(const FunctionCall& call, const Published& facts)
{
    std::size_t i = 0;
    for (const auto& p : parameters(facts.arguments)) {
        SCOPED_TRACE(p.name);
        const Argument& a = *call.facts(i++);
        std::string letters = a.letters, expected = p.letters;
        std::ranges::sort(letters);
        std::ranges::sort(expected);
        EXPECT_EQ(letters, expected);
        EXPECT_EQ(a.tested(), p.tested);
        if (!is_integer(p.name) || !p.tested)
            continue;
        EXPECT_EQ(a.nonzero, p.name.starts_with("inc"));
        if (!a.nonzero) {
            EXPECT_EQ(call.bound(p.name), least(call, facts.bounds, p.name));
        }
        const std::string option = p.name == "lda" ? "transa" : p.name == "ldb" ? "transb" : "";
        EXPECT_EQ(call.is_exempt(p.name), call.has(option) && call.letter(option) == 'P');
    }
}

TEST(Published, SignaturesAreThePublishedOnes)
{
    std::set<std::string> all;
    std::size_t checked = 0;
    for (const Published& facts : published())
        for (const auto& [routine, letter] : expand(facts.members))
            for (const char* width : {"", "_64"}) {
                const std::string name = catalogue::to_upper(routine) + width;
                if (name.ends_with("_DIRECT_64"))
                    continue; // these have no wide member
                SCOPED_TRACE(name);
                EXPECT_TRUE(all.insert(name).second);
                const Signature& s = signature(name);
                ASSERT_EQ(kinds(s), kinds(facts));
                const std::string steps = facts.entry_class, result = facts.result;
                EXPECT_EQ(frame(s), steps == "scratch" && !is_narrow(s) ? "unchecked" : steps);
                EXPECT_EQ(s.result,
                          result == "real" ? (letter == 's' ? "float" : "double")
                          : result == "size"
                              ? (routine.ends_with("_ptr") ? "qnm_" + routine.substr(12, 5) + "_jit_kernel_t"
                                                           : "size_t")
                          : result == "int" ? "int"
                                            : "void");
                EXPECT_EQ(!s.parameters.empty() && s.parameters[0].name == "result", result == "hidden");
                if (steps != "checked")
                    continue;
                ++checked;
                EXPECT_EQ(s.report_name, reported_name(s));
                std::vector<int> found;
                for (const catalogue::Test& test : s.tests)
                    found.push_back(test.code);
                EXPECT_EQ(found, codes(facts, name.find("_BATCH_STRIDED") != std::string::npos));
                FunctionCall(s).each_choice([&](FunctionCall call) {
                    expect_tests(call, facts);
                    expect_tests(call.resize(0), facts);
                });
            }
    EXPECT_EQ(checked, 420U);
    for (const Signature* s :
         signatures([](const Signature& s) { return s.family == "blas" && frame(s) != "check"; }))
        EXPECT_TRUE(all.contains(s->names.front())) << s->names.front();
}

} // namespace
} // namespace qnm::tests
