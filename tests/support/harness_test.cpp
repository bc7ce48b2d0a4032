// Calls with any argument list, breaches of the calling convention, and libraries seen from outside.
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <numeric>

extern "C" {
void loses_rbx();
void loses_rbp();
void loses_r12();
void loses_r13();
void loses_r14();
void loses_r15();
void pops_too_much();
void sets_direction();
void changes_mxcsr();
void changes_x87();
void echoes_rax();
}

namespace qnm::support {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

template <class F>
const void* address(F* function)
{
    return reinterpret_cast<const void*>(function);
}

// A compiler's own idea of where words and reals stand.
using Long = std::int64_t;
std::vector<Long> seen_words;
std::vector<double> seen_reals;

Long ten(Long a, Long b, Long c, Long d, Long e, Long f, Long g, Long h, Long i, Long j)
{
    seen_words = {a, b, c, d, e, f, g, h, i, j};
    return a;
}

double mixed(Long a, double x, Long b, float y, double z, double u, Long c, double v, double w, double p,
             double q, Long d, Long e, Long f, Long g)
{
    seen_words = {a, b, c, d, e, f, g};
    seen_reals = {x, static_cast<double>(y), z, u, v, w, p, q};
    return q;
}

TEST(Invoke, ArgumentsStandWhereACompilerLooksForThem)
{
    for (std::size_t count = 1; count <= 10; ++count) {
        std::vector<Long> expected(count);
        std::iota(expected.begin(), expected.end(), 100);
        const Returned returned = invoke(address(ten), {expected.begin(), expected.end()});
        seen_words.resize(count);
        EXPECT_EQ(seen_words, expected);
        EXPECT_EQ(returned.int64(), 100);
        EXPECT_THAT(returned.violations, ElementsAre());
    }
    const Returned returned = call(mixed, Long{1}, 0.5, Long{2}, 1.5F, 2.5, 3.5, Long{3}, 4.5, 5.5, 6.5, 7.5,
                                   Long{4}, Long{5}, Long{6}, Long{7});
    EXPECT_THAT(seen_words, ElementsAre(1, 2, 3, 4, 5, 6, 7));
    EXPECT_THAT(seen_reals, ElementsAre(0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5));
    EXPECT_EQ(returned.float64(), 7.5);
    EXPECT_EQ(Word(-1).bits(), 0x5A5A5A5AFFFFFFFFU); // an int leaves the upper half undefined
}

TEST(Invoke, ResultRegistersComeBack)
{
    const Returned returned = invoke(address(echoes_rax), {}, {0., 1., 2., 3., 4., 5., 6.25, 7.5F}, 42);
    EXPECT_EQ(returned.int32(), 42);
    EXPECT_EQ(returned.rdx, 0x1122334455667788U);
    EXPECT_EQ(returned.float32(), 7.5F);
    EXPECT_EQ(returned.xmm1.float64(), 6.25);
}

TEST(Invoke, EveryBreachOfTheConventionIsTold)
{
    for (const auto& [callee, expected] :
         std::vector<std::pair<void (*)(), std::string>>{{loses_rbx, "rbx"},
                                                         {loses_rbp, "rbp"},
                                                         {loses_r12, "r12"},
                                                         {loses_r13, "r13"},
                                                         {loses_r14, "r14"},
                                                         {loses_r15, "r15"},
                                                         {pops_too_much, "rsp off by 16"},
                                                         {sets_direction, "direction"},
                                                         {changes_mxcsr, "mxcsr"},
                                                         {changes_x87, "x87"}})
        for (const std::size_t words : {0, 7, 8})
            EXPECT_THAT(invoke(address(callee), std::vector<Word>(words, Word(1L))).violations,
                        ElementsAre(HasSubstr(expected)));
    EXPECT_NONFATAL_FAILURE(call(loses_r12), "r12 not kept");
    // Calls may nest.
    const auto outer =
        +[](Long a) { return invoke(address(loses_rbx), {}).violations.size() == 1 ? a + 1 : 0; };
    EXPECT_EQ(call(outer, Long{41}).int64(), 42);
}

TEST(Library, IsReadFromItsFileAndFoundInMemory)
{
    const Library library(SAMPLE_LAYER);
    const ElfFile& file = library.file();
    const auto named = [](const std::string& name) { return ::testing::Field(&Symbol::name, name); };
    EXPECT_THAT(file.exported(), Contains(named("sample_cell")));
    EXPECT_THAT(file.exported(), Not(Contains(named("qnm_blas_any"))));
    EXPECT_THAT(file.undefined(), Contains(named("qnm_blas_any")));
    EXPECT_THAT(file.undefined(), Not(Contains(named("sample_cell"))));
    EXPECT_EQ(file.soname(), "libsample_layer.so");
    EXPECT_THAT(ElfFile("/proc/self/exe").needed(), Contains("libsample_recording.so"));
    EXPECT_TRUE(file.dynamic(DT_GNU_HASH));
    EXPECT_FALSE(file.dynamic(DT_SYMBOLIC));

    const int* const unknown = library.local<const int>("sample.verbose_unknown");
    EXPECT_EQ(*unknown, -1);
    EXPECT_EQ(*static_cast<const int**>(library["sample_cell"]), unknown);
    EXPECT_EQ(library.find("qnm_blas_any"), nullptr);
    EXPECT_THROW(library["sample_nothing"], std::out_of_range);
    EXPECT_THROW(library.local<int>("sample.nothing"), std::out_of_range);
    for (const char* wrong : {"/nonexistent/lib.so", "/proc/self/cmdline"})
        EXPECT_THROW(ElfFile{wrong}, std::runtime_error) << wrong;
    EXPECT_THROW(Library("libnonexistent.so"), std::runtime_error);
}

} // namespace
} // namespace qnm::support
