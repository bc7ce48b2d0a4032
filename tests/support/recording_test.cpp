// The recording core and the calls of the tests, where a fault of their own would let faults of the layer
// pass in silence.
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <cstring>
#include <gtest/gtest-spi.h>

extern "C" {
void loses_rbx(), loses_rbp(), loses_r12(), loses_r13(), loses_r14(), loses_r15(), pops_too_much(),
    sets_direction(), changes_mxcsr(), changes_x87(), calls_misaligned();
void qnm_blas_any();
void* qnm_serv_allocate(std::size_t, int);
void qnm_serv_deallocate(void*);
void* qnm_serv_malloc(std::size_t, int);
void* qnm_serv_realloc(void*, std::size_t);
void qnm_serv_free(void*);
int qnm_serv_snprintf_s(char*, std::size_t, std::size_t, const char*, ...);
int qnm_serv_getenv(const char*, char*, std::int64_t);
void qnm_serv_xerbla(const char*, const void*, int);
void qnm_serv_print_verbose_info(int, const char*, double);
}

namespace qnm::recording {
namespace {

using support::Word;
using ::testing::_;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

/// A call with any arguments.
support::Returned any(const std::vector<Word>& words = {})
{
    return support::call_words(reinterpret_cast<const void*>(qnm_blas_any), words);
}

// Breaches of the calling convention, which no other test would miss if they went unnoticed.
TEST(Invoke, EveryBreachOfTheConventionIsTold)
{
    void (*const callees[])(){loses_rbx, loses_rbp,     loses_r12,      loses_r13,     loses_r14,
                              loses_r15, pops_too_much, sets_direction, changes_mxcsr, changes_x87};
    const char* const told[]{"rbx", "rbp",           "r12",       "r13",   "r14",
                             "r15", "rsp off by 16", "direction", "mxcsr", "x87"};
    for (std::size_t i = 0; i < std::size(callees); ++i)
        for (const std::size_t words : {7, 8})
            EXPECT_THAT(
                support::invoke(reinterpret_cast<const void*>(callees[i]), std::vector<Word>(words, 1L))
                    .violations,
                ElementsAre(HasSubstr(told[i])));
    EXPECT_NONFATAL_FAILURE(support::call(loses_r12), "r12 not kept");
}

class Recording : public RecordedTest {
protected:
    // Faults that a test means to cause are read and cleared before the fixture looks.
    static std::vector<std::string> take_faults()
    {
        auto faults = core().faults();
        core().reset();
        return faults;
    }
};

TEST_F(Recording, TellsCallsApartAndHandsBackBothPartsOfAnAnswer)
{
    std::vector<Word> words;
    for (std::size_t i = 0; i < Call::words; ++i)
        words.emplace_back(100L + static_cast<long>(i));
    any(words);
    const Call noted = core().calls().at(0);
    EXPECT_THAT(noted, Called("qnm_blas_any", 100, 101));
    EXPECT_THAT(noted, Not(Called("qnm_blas_any", 100, 102)));
    EXPECT_THAT(noted, Not(Called("qnm_blas_other")));
    EXPECT_EQ(noted.word(Call::words - 1), 99 + Call::words);
    EXPECT_THROW(noted.word(Call::words), std::out_of_range);
    EXPECT_EQ(noted.behind(2), std::nullopt);
    calls_misaligned();
    EXPECT_THAT(core().calls()[1], Not(Called("qnm_blas_any")));
    EXPECT_THROW(core().answers("qnm_blas_anny"), std::invalid_argument);
    core().answers("qnm_blas_any").with(std::complex<double>(1.25, -2.5));
    EXPECT_EQ(any().float64(), 1.25);
    EXPECT_EQ(any().xmm1.float64(), -2.5);
    core().answers("qnm_blas_any").with(std::complex<float>(1.5F, -3.5F));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(any().float64()), 0xC06000003FC00000U);
}

TEST_F(Recording, KernelsAreTheNamesThatTheLayerHasAsTexts)
{
    const support::Library layer(QNM_LAYER);
    const auto find = [&](const char* name) {
        return reinterpret_cast<const void*>(support::call_words(layer["sample_find"], {name}).rax);
    };
    const auto names = core().kernels();
    EXPECT_THAT(names,
                UnorderedElementsAre("qnm_vml_kernel_dSample_ttab", "__vslNewStreamEx", "_vsldRngUniform",
                                     "qnm_df_kernel_dNewTsk1D", "__vslDeleteStream"));
    for (const std::string_view name : names) {
        const void* kernel = find(name.data());
        core().answers(name).with(1.5F);
        EXPECT_EQ(support::call_words(kernel, {7L, &names}).float32(), 1.5F);
        EXPECT_THAT(core().calls().back(), Called(std::string(name), 7, &names));
        core().table(name, &names); // something else may stand in a kernel's place, or nothing
        EXPECT_EQ(find(name.data()), &names);
        core().table(name, nullptr);
        EXPECT_EQ(find(name.data()), nullptr);
        EXPECT_THAT(core().calls().back(), Called("qnm_serv_print", 1, 772, 1));
        EXPECT_EQ(core().calls().back().text, name);
    }
    EXPECT_EQ(find("qnm_blas_any"), nullptr); // they are looked for in their own library alone
    // Rightly spelt, and so not what the layer asks for.
    EXPECT_THROW(core().kernel("qnm_df_kernel_dNewTask1D"), std::invalid_argument);
}

TEST_F(Recording, MemoryIsAlignedCountedPoisonedAndGuarded)
{
    auto* scratch = static_cast<unsigned char*>(qnm_serv_allocate(24, 128));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(scratch) % 128, 0U);
    EXPECT_THAT(std::vector<unsigned char>(scratch, scratch + 24), Each(Core::poison));
    EXPECT_THAT(core().calls()[0], Allocated(24, 128));
    EXPECT_THAT(core().calls()[0], Not(Allocated(25, 128)));
    EXPECT_THAT(core().calls()[0], Not(Allocated(24, 64)));
    EXPECT_EQ(core().live_blocks(), 1U);
    qnm_serv_deallocate(scratch);
    qnm_serv_deallocate(scratch);
    EXPECT_THAT(take_faults(), ElementsAre(HasSubstr("not live")));
    qnm_serv_free(qnm_serv_allocate(8, 128));
    EXPECT_THAT(take_faults(), ElementsAre(HasSubstr("other pair")));
    auto* bytes = static_cast<char*>(qnm_serv_realloc(qnm_serv_malloc(4, 128), 8));
    bytes[8] = 1;
    qnm_serv_free(bytes);
    EXPECT_THAT(take_faults(), ElementsAre(HasSubstr("beyond its end")));
}

TEST_F(Recording, LinesAndReportsAreReadToTheirEnds)
{
    char line[450];
    std::memset(line, 'x', sizeof line);
    qnm_serv_print_verbose_info(1, line, 0.5);
    EXPECT_THAT(core().calls()[0], Not(Printed(std::string(450, 'x')))); // there is no zero behind it
    line[3] = line[449] = '\0';
    qnm_serv_print_verbose_info(1, line, 0.5);
    qnm_serv_print_verbose_info(0, line, 0.5);
    EXPECT_THAT(core().calls(), ElementsAre(_, Printed("xxx", 0.5), Not(Printed("xxx", 0.5))));
    EXPECT_THAT(core().calls()[1], Not(Printed("xxx", 1.5)));
    const std::int64_t slot = (std::int64_t{77} << 32) | 5; // only the lower half is defined
    const std::string name("DGER  \0", 7);
    qnm_serv_xerbla(name.data(), &slot, 7);
    const Call report = core().calls().back();
    EXPECT_THAT(report, Reported(name, 5));
    EXPECT_THAT(report, Not(Reported("DGER", 5)));
    EXPECT_THAT(report, Not(Reported(name, 6)));
    EXPECT_EQ(report.code64(), slot);
}

TEST_F(Recording, TextKeepsWithinItsBounds)
{
    char line[200];
    std::memset(line, 'x', sizeof line);
    EXPECT_EQ(qnm_serv_snprintf_s(line, sizeof line, 7, "%d", 123456789), 7);
    EXPECT_STREQ(line, "1234567");
    EXPECT_EQ(line[8], 'x');
    EXPECT_EQ(qnm_serv_snprintf_s(line, 4, 99, "%s", "abcdef"), 3);
    qnm_serv_getenv("HOME", line, sizeof line);
    EXPECT_STREQ(line, ""); // never what a variable of the machine says
}

} // namespace
} // namespace qnm::recording
