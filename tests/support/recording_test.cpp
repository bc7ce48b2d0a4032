// The recording core, where a fault of its own would let faults of the layer pass in silence.
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <cstring>

extern "C" {
void calls_misaligned();
void qnm_blas_any();
void* qnm_serv_allocate(std::size_t, int);
void qnm_serv_deallocate(void*);
void* qnm_serv_malloc(std::size_t, int);
void* qnm_serv_realloc(void*, std::size_t);
void qnm_serv_free(void*);
int qnm_serv_lsame(const char*, const char*, std::int64_t, std::int64_t);
int qnm_serv_snprintf_s(char*, std::size_t, std::size_t, const char*, ...);
int qnm_serv_getenv(const char*, char*, std::int64_t);
int qnm_serv_strncat_s(char*, std::size_t, const char*, std::size_t);
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

class Recording : public RecordedTest {};

TEST_F(Recording, TellsCallsApart)
{
    std::vector<Word> words;
    for (std::size_t i = 0; i < Call::words; ++i)
        words.emplace_back(100L + static_cast<long>(i));
    any(words);
    const Call noted = core().calls().at(0);
    EXPECT_THAT(noted, Called("qnm_blas_any", 100, 101));
    EXPECT_THAT(noted, Not(Called("qnm_blas_any", 100, 102)));
    EXPECT_THAT(noted, Not(Called("qnm_blas_other", 100, 101)));
    EXPECT_EQ(noted.word(Call::words - 1), 99 + Call::words);
    EXPECT_THROW(noted.word(Call::words), std::out_of_range);
    EXPECT_EQ(noted.behind(2), std::nullopt);
    calls_misaligned();
    EXPECT_THAT(core().calls()[1], Not(Called("qnm_blas_any")));
    EXPECT_THROW(core().answers("qnm_blas_anny"), std::invalid_argument);
}

TEST_F(Recording, HandsBackBothPartsOfAnAnswer)
{
    core().answers("qnm_blas_any").with(std::complex<double>(1.25, -2.5));
    EXPECT_EQ(any().float64(), 1.25);
    EXPECT_EQ(any().xmm1.float64(), -2.5);
    core().answers("qnm_blas_any").with(std::complex<float>(1.5F, -3.5F));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(any().float64()), 0xC06000003FC00000U);
}

/// Kernels that the sample layer looks up by name.
class Kernels : public Recording {
protected:
    const void* find(const char* name) const
    {
        return reinterpret_cast<const void*>(support::call_words(layer_["sample_find"], {name}).rax);
    }

    const support::Library layer_{SAMPLE_LAYER};
};

TEST_F(Kernels, AreTheNamesThatTheLayerHasAsTexts)
{
    const std::vector<std::string_view> names = core().kernels();
    EXPECT_THAT(names, UnorderedElementsAre("qnm_vml_kernel_dSample_ttab", "qnm_vml_kernel_GetTTableIndex",
                                            "__vslNewStreamEx", "_vsldRngUniform", "qnm_df_kernel_dNewTsk1D",
                                            "__vslDeleteStream"));
    for (const std::string_view name : names) {
        const void* kernel = find(name.data());
        EXPECT_EQ(kernel, core().kernel(name));
        core().answers(name).with(1.5F);
        EXPECT_EQ(support::call_words(kernel, {7L, &names}).float32(), 1.5F);
        EXPECT_THAT(core().calls().back(), Called(std::string(name), 7, &names));
    }
    // Rightly spelt, and so not what the layer asks for.
    EXPECT_THROW(core().kernel("qnm_df_kernel_dNewTask1D"), std::invalid_argument);
}

TEST_F(Kernels, AreNotedAndAnsweredAtLookUpAndCall)
{
    const auto named = [](const auto& call, const std::string& name) {
        return ::testing::AllOf(call, ::testing::Field("text", &Call::text, name));
    };
    const std::string functions = "qnm_vml_kernel_dSample_ttab", index = "qnm_vml_kernel_GetTTableIndex";
    const std::array<const void*, 3> kernels{nullptr, nullptr, core().kernel(functions)};
    core().table(functions, kernels.data());
    core().answers(index).with(2);
    core().answers(functions).with(3.5);
    EXPECT_EQ(support::call_words(layer_["sample_vector"], {9L}).float64(), 3.5);
    const auto opened = Called("qnm_serv_load_vml");
    EXPECT_THAT(core().calls(),
                ElementsAre(opened, named(Called("dlsym"), functions), opened, named(Called("dlsym"), index),
                            Called(index, 5), Called(functions, 9)));
    // One may be missing; and they are looked for in their own library alone.
    core().table(functions, nullptr);
    for (const std::string& missing : {functions, std::string("qnm_blas_any")}) {
        EXPECT_EQ(find(missing.c_str()), nullptr);
        EXPECT_THAT(core().calls().back(), named(Called("qnm_serv_print", 1, 772, 1), missing));
    }
}

class Service : public Recording {
protected:
    // Faults that a test means to cause are read and cleared before the fixture looks.
    static std::vector<std::string> take_faults()
    {
        auto faults = core().faults();
        core().reset();
        return faults;
    }
};

TEST_F(Service, MemoryIsAlignedCountedPoisonedAndGuarded)
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

TEST_F(Service, LinesAreReadToTheirEnds)
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
}

TEST_F(Service, TextKeepsWithinItsBounds)
{
    char line[200];
    std::memset(line, 'x', sizeof line);
    EXPECT_EQ(qnm_serv_snprintf_s(line, sizeof line, 7, "%d", 123456789), 7);
    EXPECT_STREQ(line, "1234567");
    EXPECT_EQ(line[8], 'x');
    EXPECT_EQ(qnm_serv_snprintf_s(line, 4, 99, "%s", "abcdef"), 3);
    qnm_serv_snprintf_s(line, sizeof line, 199, "%d,%lli,%c,%f,%d,%d,%d,%g,%g,%g,%g,%g,%g,%g,%g,%g,%d", 1,
                        -2LL, 'c', 0.5, 3, 4, 5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5, 6);
    EXPECT_STREQ(line, "1,-2,c,0.500000,3,4,5,1.5,2.5,3.5,4.5,5.5,6.5,7.5,8.5,9.5,6");
    char path[6] = "/tmp";
    EXPECT_EQ(qnm_serv_strncat_s(path, sizeof path, "/", 4096), 0);
    EXPECT_NE(qnm_serv_strncat_s(path, sizeof path, "/", 4096), 0);
    EXPECT_STREQ(path, "/tmp/");
    qnm_serv_getenv("HOME", path, sizeof path);
    EXPECT_STREQ(path, ""); // never what a variable of the machine says
    EXPECT_EQ(qnm_serv_lsame("Transpose", "t", 1, 1), 1);
    EXPECT_EQ(qnm_serv_lsame("@", "`", 1, 1), 0); // only letters have case
}

TEST_F(Service, ReportsAreReadInBothWidths)
{
    const std::int64_t slot = (std::int64_t{77} << 32) | 5; // only the lower half is defined
    qnm_serv_xerbla("DGER  \0", &slot, 7);
    const Call report = core().calls().back();
    const std::string name("DGER  \0", 7);
    EXPECT_THAT(report, Reported(name, 5));
    EXPECT_THAT(report, Not(Reported("DGER", 5)));
    EXPECT_THAT(report, Not(Reported(name, 6)));
    EXPECT_EQ(report.code64(), slot);
}

} // namespace
} // namespace qnm::recording
