// The recording core: what it notes of a call, what it answers, and its services.
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <cstring>
#include <thread>

extern "C" {
void calls_misaligned();
void qnm_blas_any();
void* qnm_serv_allocate(std::size_t, int);
void qnm_serv_deallocate(void*);
void* qnm_serv_malloc(std::size_t, int);
void* qnm_serv_calloc(std::size_t, std::size_t, int);
void* qnm_serv_realloc(void*, std::size_t);
void qnm_serv_free(void*);
int qnm_serv_lsame(const char*, const char*, std::int64_t, std::int64_t);
double qnm_serv_dsecnd();
int* qnm_serv_verbose_mode();
int qnm_serv_snprintf_s(char*, std::size_t, std::size_t, const char*, ...);
std::size_t qnm_serv_strnlen_s(const char*, std::size_t);
int qnm_serv_getenv(const char*, char*, std::int64_t);
int qnm_serv_strncat_s(char*, std::size_t, const char*, std::size_t);
void qnm_serv_xerbla(const char*, const void*, int);
void qnm_serv_set_xerbla_interface(void (*)(const char*, const int*, int));
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
support::Returned any(const std::vector<Word>& words = {}, const std::vector<support::Real>& reals = {})
{
    return support::call_words(reinterpret_cast<const void*>(qnm_blas_any), words, reals);
}

class Recording : public RecordedTest {};

TEST_F(Recording, KeepsWhatStoodInACall)
{
    std::vector<Word> words;
    for (std::size_t i = 0; i < Call::words; ++i)
        words.emplace_back(100L + static_cast<long>(i));
    any(words, {0.5, 1.5F, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5});
    const Call noted = core().calls().at(0);
    EXPECT_THAT(noted, Called("qnm_blas_any", 100, 101));
    for (std::size_t i = 0; i < Call::words; ++i)
        EXPECT_EQ(noted.word(i), 100 + i);
    EXPECT_THROW(noted.word(Call::words), std::out_of_range);
    EXPECT_EQ(noted.real(0), 0.5);
    EXPECT_EQ(noted.real32(1), 1.5F);
    EXPECT_EQ(noted.real(7), 7.5);
    EXPECT_EQ(noted.vector_count(), 8U);
    {
        const std::int64_t dies_with_the_call = -7;
        any({&dies_with_the_call, "n", 1L});
    }
    EXPECT_EQ(core().calls()[1].behind(0), -7);
    EXPECT_EQ(core().calls()[1].letter(1), 'n');
    EXPECT_EQ(core().calls()[1].behind(2), std::nullopt);

    calls_misaligned();
    EXPECT_THAT(core().calls()[2], Not(Called("qnm_blas_any")));
    EXPECT_THAT(::testing::PrintToString(core().calls()[2]), HasSubstr("misaligned"));
}

TEST_F(Recording, HandsBackEachKindOfAnswer)
{
    Script& script = core().answers("qnm_blas_any");
    script.with(3.5);
    EXPECT_EQ(any().float64(), 3.5);
    script.with(2.5F);
    EXPECT_EQ(any().float32(), 2.5F);
    script.with(std::int64_t{-5});
    EXPECT_EQ(any().int64(), -5);
    script.with(&script);
    EXPECT_EQ(any().rax, reinterpret_cast<std::uint64_t>(&script));
    script.with(std::complex<double>(1.25, -2.5));
    EXPECT_EQ(any().float64(), 1.25);
    EXPECT_EQ(any().xmm1.float64(), -2.5);
    script.with(std::complex<float>(1.5F, -3.5F));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(any().float64()), 0xC06000003FC00000U);
    script.calling([](Call& noted, Answer& answer) { answer.returns(2 * *noted.pointer<std::int64_t>(0)); });
    const std::int64_t n = 21;
    EXPECT_EQ(any({&n}).int64(), 42);
    script.calling([](Call&, Answer&) { throw std::runtime_error("from the core"); });
    EXPECT_THROW(any(), std::runtime_error);
    core().reset();
    EXPECT_EQ(any().int64(), 0);
}

TEST_F(Recording, ServesTheNamesThatTheLayerImports)
{
    std::set<std::string> wanted;
    for (const auto& symbol : support::ElfFile(SAMPLE_LAYER).undefined())
        if (symbol.name.starts_with("qnm_"))
            wanted.insert(symbol.name);
    const auto names = core().names();
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), wanted);
    EXPECT_THROW(core().answers("qnm_blas_anny"), std::invalid_argument);
}

TEST_F(Recording, NotesOnlyWhatIsListenedTo)
{
    const auto noted = [] {
        core().clear();
        EXPECT_EQ(qnm_serv_lsame("n", "N", 1, 1), 1);
        any();
        return core().calls().size();
    };
    EXPECT_EQ(noted(), 1U);
    core().listen("qnm_serv_lsame");
    EXPECT_EQ(noted(), 2U);
    core().ignore("qnm_blas_any");
    EXPECT_EQ(noted(), 1U);
    core().quiet(true);
    EXPECT_EQ(noted(), 0U);
    core().reset();
    EXPECT_EQ(noted(), 1U);
    EXPECT_THAT(core().calls(), ElementsAre(Called("qnm_blas_any")));
}

TEST_F(Recording, ServesManyThreads)
{
    constexpr int threads = 4, rounds = 500;
    {
        std::vector<std::jthread> crowd;
        for (int t = 0; t < threads; ++t)
            crowd.emplace_back([] {
                for (int i = 0; i < rounds; ++i) {
                    qnm_serv_deallocate(qnm_serv_allocate(24, 128));
                    any();
                }
            });
    }
    EXPECT_EQ(core().calls().size(), std::size_t{3 * threads * rounds});
}

/// Kernels that the sample layer looks up by name.
class Kernels : public Recording {
protected:
    const void* find(const char* name) const
    {
        return reinterpret_cast<const void*>(support::call_words(layer_["sample_find"], {name}).rax);
    }

    static ::testing::Matcher<const Call&> looked_up(const std::string& name)
    {
        return ::testing::AllOf(Called("dlsym"), ::testing::Field("text", &Call::text, name));
    }

    const support::Library layer_{SAMPLE_LAYER};
};

TEST_F(Kernels, AreTheNamesThatTheLayerHasAsTexts)
{
    const std::vector<std::string_view> names = core().kernels();
    EXPECT_THAT(names,
                UnorderedElementsAre("qnm_vml_kernel_dSample_ttab", "qnm_vml_kernel_dSample_ctab",
                                     "qnm_vml_kernel_GetTTableIndex", "__vslNewStreamEx", "_vsldRngUniform",
                                     "qnm_df_kernel_dNewTsk1D", "__vslDeleteStream"));
    for (const std::string_view name : names) {
        const void* kernel = find(name.data());
        EXPECT_EQ(kernel, core().kernel(name));
        core().answers(name).with(1.5F);
        EXPECT_EQ(support::call_words(kernel, {7L, &names}).float32(), 1.5F);
        EXPECT_THAT(core().calls().back(), Called(std::string(name), 7, &names));
    }
    // Rightly spelt, and so not what the layer asks for.
    EXPECT_THROW(core().kernel("qnm_df_kernel_dNewTask1D"), std::invalid_argument);
    EXPECT_THROW(core().table("qnm_df_kernel_dNewTask1D", &names), std::invalid_argument);
    EXPECT_THROW(core().answers("qnm_df_kernel_dNewTask1D"), std::invalid_argument);
}

TEST_F(Kernels, AreNotedAndAnsweredAtLookUpAndCall)
{
    const std::string functions = "qnm_vml_kernel_dSample_ttab", companions = "qnm_vml_kernel_dSample_ctab",
                      index = "qnm_vml_kernel_GetTTableIndex";
    const std::array<const void*, 3> kernels{nullptr, nullptr, core().kernel(functions)};
    const std::array<float, 3> numbers{0, 0, 0.25F};
    core().table(functions, kernels.data());
    core().table(companions, numbers.data());
    core().answers("qnm_serv_vml_cpu_detect").with(5);
    core().answers(index).with(2);
    core().answers(functions).with(3.5);
    const double a = 1;
    EXPECT_EQ(support::call_words(layer_["sample_vector"], {9L, &a}).float64(), 3.5);
    const auto opened = Called("qnm_serv_load_vml");
    EXPECT_THAT(core().calls(), ElementsAre(opened, looked_up(functions), opened, looked_up(companions),
                                            opened, looked_up(index), Called("qnm_serv_vml_cpu_detect"),
                                            Called(index, 5), Called(functions, 9, &a)));
    EXPECT_EQ(core().calls().back().real32(0), 0.25F);
    core().reset();
    EXPECT_EQ(find(functions.c_str()), core().kernel(functions));
}

TEST_F(Kernels, MayBeMissing)
{
    const auto refused = [](const std::string& name) {
        return ::testing::AllOf(Called("qnm_serv_print", 1, 772, 1),
                                ::testing::Field("text", &Call::text, name));
    };
    // Looked for in that library alone.
    EXPECT_EQ(find("qnm_blas_any"), nullptr);
    EXPECT_THAT(core().calls(), ElementsAre(Called("qnm_serv_load_vml"), refused("qnm_blas_any")));
    core().table("__vslNewStreamEx", nullptr);
    EXPECT_EQ(find("__vslNewStreamEx"), nullptr);
    EXPECT_THAT(core().calls().back(), refused("__vslNewStreamEx"));
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

TEST_F(Service, MemoryIsAlignedCountedAndPoisoned)
{
    // An alignment is an int, whose upper half holds junk here, as a compiler may leave it.
    auto* scratch =
        reinterpret_cast<unsigned char*>(support::call(qnm_serv_allocate, std::size_t{24}, 128).rax);
    void* odd = qnm_serv_malloc(1024, 168);
    auto* zeros = static_cast<unsigned char*>(qnm_serv_calloc(3, 8, 64));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(scratch) % 128, 0U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(odd) % 256, 0U);
    EXPECT_THAT(std::vector<unsigned char>(scratch, scratch + 24), Each(Core::poison));
    EXPECT_THAT(std::vector<unsigned char>(zeros, zeros + 24), Each(0));
    EXPECT_EQ(core().live_blocks(), 3U);

    std::memcpy(odd, "kept", 5);
    void* grown = qnm_serv_realloc(odd, 4096);
    EXPECT_STREQ(static_cast<char*>(grown), "kept");
    for (void* block : {grown, static_cast<void*>(zeros), static_cast<void*>(nullptr)})
        qnm_serv_free(block);
    qnm_serv_deallocate(scratch);
    EXPECT_THAT(core().calls()[0], Allocated(24, 128));

    core().fail_allocation(2);
    qnm_serv_free(qnm_serv_malloc(8, 64));
    EXPECT_EQ(qnm_serv_malloc(8, 64), nullptr);
    qnm_serv_free(qnm_serv_malloc(8, 64));
}

TEST_F(Service, WrongReleasesAndOverrunsAreFaults)
{
    void* block = qnm_serv_allocate(8, 128);
    qnm_serv_deallocate(block);
    qnm_serv_deallocate(block);
    EXPECT_THAT(take_faults(), ElementsAre(HasSubstr("not live")));
    qnm_serv_free(qnm_serv_allocate(8, 128));
    EXPECT_THAT(take_faults(), ElementsAre(HasSubstr("other pair")));
    auto* bytes = static_cast<char*>(qnm_serv_allocate(8, 128));
    bytes[8] = 1;
    qnm_serv_deallocate(bytes);
    EXPECT_THAT(take_faults(), ElementsAre(HasSubstr("beyond its end")));
}

TEST_F(Service, ClockAndModeFollowTheTest)
{
    core().clock({1.0, 3.5});
    for (const double reading : {1.0, 3.5, 4.5})
        EXPECT_EQ(qnm_serv_dsecnd(), reading);
    core().mode(7);
    EXPECT_EQ(*qnm_serv_verbose_mode(), 7);
    core().reset();
    EXPECT_EQ(qnm_serv_dsecnd(), 1.0);
    EXPECT_EQ(*qnm_serv_verbose_mode(), 0);
}

TEST_F(Service, LinesAreReadToTheirEnds)
{
    char line[450];
    std::memset(line, 'x', sizeof line);
    qnm_serv_print_verbose_info(1, line, 0.5);
    EXPECT_EQ(core().calls()[0].text, std::string(450, 'x'));
    EXPECT_THAT(core().calls()[0], Not(Printed(std::string(450, 'x')))); // there is no zero behind it
    line[3] = line[449] = '\0';
    qnm_serv_print_verbose_info(1, line, 0.5);
    qnm_serv_print_verbose_info(0, line, 0.5);
    EXPECT_THAT(core().calls(), ElementsAre(_, Printed("xxx", 0.5), Not(Printed("xxx", 0.5))));
    EXPECT_THAT(core().calls()[1], Not(Printed("xxx", 1.5)));
}

TEST_F(Service, TextIsFormattedMeasuredAndJoinedWithinBounds)
{
    char line[200];
    std::memset(line, 'x', sizeof line);
    EXPECT_EQ(qnm_serv_snprintf_s(line, sizeof line, 7, "%d", 123456789), 7);
    EXPECT_STREQ(line, "1234567");
    EXPECT_EQ(line[8], 'x');
    EXPECT_EQ(qnm_serv_snprintf_s(line, 4, 99, "%s", "abcdef"), 3);
    EXPECT_STREQ(line, "abc");
    qnm_serv_snprintf_s(line, sizeof line, 199, "%d,%lli,%c,%f,%d,%d,%d,%g,%g,%g,%g,%g,%g,%g,%g,%g,%d", 1,
                        -2LL, 'c', 0.5, 3, 4, 5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5, 6);
    EXPECT_STREQ(line, "1,-2,c,0.500000,3,4,5,1.5,2.5,3.5,4.5,5.5,6.5,7.5,8.5,9.5,6");
    EXPECT_EQ(core().calls().back().text.substr(0, 7), "%d,%lli");

    EXPECT_EQ(qnm_serv_strnlen_s("DGETRF", 4096), 6U);
    EXPECT_EQ(qnm_serv_strnlen_s("DGETRF", 3), 3U);
    EXPECT_EQ(qnm_serv_strnlen_s(nullptr, 4096), 0U);
    char path[6] = "/tmp";
    EXPECT_EQ(qnm_serv_strncat_s(path, sizeof path, "/", 4096), 0);
    EXPECT_NE(qnm_serv_strncat_s(path, sizeof path, "/", 4096), 0);
    EXPECT_STREQ(path, "/tmp/");
    EXPECT_EQ(qnm_serv_getenv("HOME", path, 0), 0);
    EXPECT_STREQ(path, "/tmp/");
    EXPECT_EQ(qnm_serv_getenv("HOME", path, sizeof path), 0);
    EXPECT_STREQ(path, ""); // never what a variable of the machine says
    EXPECT_EQ(qnm_serv_lsame("Transpose", "t", 1, 1), 1);
    EXPECT_EQ(qnm_serv_lsame("@", "`", 1, 1), 0); // only letters have case
}

std::int32_t last_code = 0;

TEST_F(Service, ReportsAreReadInBothWidthsAndReachTheHeadOnRequest)
{
    const std::int64_t slot = (std::int64_t{77} << 32) | 5; // only the lower half is defined
    const auto head = [](const char*, const int* info, int) { last_code = *info; };
    qnm_serv_set_xerbla_interface(head);
    EXPECT_EQ(core().head(), +head);
    qnm_serv_xerbla("DGER  \0", &slot, 7);
    EXPECT_EQ(last_code, 0);
    const Call report = core().calls().back();
    const std::string name("DGER  \0", 7);
    EXPECT_THAT(report, Reported(name, 5));
    EXPECT_THAT(report, Not(Reported("DGER", 5)));
    EXPECT_THAT(report, Not(Reported(name, 6)));
    EXPECT_EQ(report.code64(), slot);
    EXPECT_THAT(::testing::PrintToString(report), HasSubstr("\" code 5 words 0x"));
    core().forward_reports(true);
    qnm_serv_xerbla("DGER  ", &slot, 6);
    EXPECT_EQ(last_code, 5);
}

} // namespace
} // namespace qnm::recording
