#include "recording/matchers.hpp"
#include "sample_layer.h"
#include "support/invoke.hpp"

#include <cstring>

extern "C" {
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
int qnm_serv_strncat_s(char*, std::size_t, const char*, std::size_t);
void qnm_serv_xerbla(const char*, const void*, int);
void qnm_serv_print_verbose_info(int, const char*, double);
}

namespace qnm::recording {
namespace {

using ::testing::_;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class Service : public RecordedTest {
protected:
    // Faults that a test means to cause are read and cleared before the fixture looks.
    static std::vector<std::string> take_faults()
    {
        auto faults = core().faults();
        core().reset();
        return faults;
    }
};

TEST_F(Service, LettersCompareWithoutCase)
{
    EXPECT_EQ(qnm_serv_lsame("n", "N", 1, 1), 1);
    EXPECT_EQ(qnm_serv_lsame("Transpose", "t", 1, 1), 1);
    EXPECT_EQ(qnm_serv_lsame("N", "T", 1, 1), 0);
    EXPECT_EQ(qnm_serv_lsame("@", "`", 1, 1), 0); // only letters have case
}

TEST_F(Service, MemoryIsAlignedCountedAndPoisoned)
{
    auto* scratch = static_cast<unsigned char*>(qnm_serv_allocate(24, 128));
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
    qnm_serv_free(grown);
    qnm_serv_free(zeros);
    qnm_serv_free(nullptr);
    qnm_serv_deallocate(scratch);
    EXPECT_THAT(core().calls(), ElementsAre(Allocated(24, 128), Called("qnm_serv_malloc", 1024, 168), _,
                                            Called("qnm_serv_realloc", odd, 4096), _, _, _,
                                            Called("qnm_serv_deallocate", scratch)));
}

TEST_F(Service, AnAlignmentIsAnInt)
{
    // Its upper half holds junk here, as a compiler may leave it.
    void* block = reinterpret_cast<void*>(support::call(qnm_serv_allocate, std::size_t{24}, 128).rax);
    EXPECT_NE(block, nullptr);
    qnm_serv_deallocate(block);
    EXPECT_THAT(core().calls(), ElementsAre(Allocated(24, 128), _));
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

TEST_F(Service, TheNthAllocationFailsOnce)
{
    const int n = 2, indx[] = {5, -6};
    core().fail_allocation(2);
    sample_axpyi(&n, indx);
    EXPECT_THAT(core().calls(),
                ElementsAre(Allocated(16, 128), Called("qnm_blas_daxpyi"), Called("qnm_serv_deallocate")));
    core().clear();
    sample_axpyi(&n, indx);
    EXPECT_THAT(core().calls(), ElementsAre(Allocated(16, 128), Reported("SAXPYI", 1102)));
    EXPECT_EQ(core().calls().back().code64(), 1102);
    core().clear();
    sample_axpyi(&n, indx);
    EXPECT_EQ(core().calls().size(), 3U);
}

TEST_F(Service, TheClockFollowsItsScript)
{
    core().clock({1.0, 3.5});
    EXPECT_EQ(qnm_serv_dsecnd(), 1.0);
    EXPECT_EQ(qnm_serv_dsecnd(), 3.5);
    EXPECT_EQ(qnm_serv_dsecnd(), 4.5);
    core().reset();
    EXPECT_EQ(qnm_serv_dsecnd(), 1.0);
}

TEST_F(Service, ATracedCallTellsItsStory)
{
    core().mode(1);
    core().clock({1.0, 3.5});
    const int m = 17;
    sample_gemm("n", &m, reinterpret_cast<const double*>(0x1234));
    // Whether this entry's cell is bound already depends on the tests before; the rest of the story does not.
    core().ignore("qnm_serv_verbose_mode");
    core().clear();
    core().clock({1.0, 3.5});
    sample_gemm("n", &m, reinterpret_cast<const double*>(0x1234));
    EXPECT_THAT(core().calls(),
                ElementsAre(Called("qnm_serv_set_xerbla_interface", &sample_head), Called("qnm_serv_dsecnd"),
                            Called("qnm_blas_dgemm"), Called("qnm_serv_dsecnd"),
                            Called("qnm_serv_snprintf_s", _, 450, 449), Printed("SAMPLE(n,17,0x1234)", 2.5)));
    EXPECT_EQ(core().calls()[4].text, "SAMPLE(%c,%d,%p)");
    EXPECT_EQ(qnm_serv_verbose_mode(), core().mode_word());
}

TEST_F(Service, ALineThatDoesNotEndInZeroIsSeen)
{
    char line[450];
    std::memset(line, 'x', sizeof line);
    qnm_serv_print_verbose_info(1, line, 0.5);
    const Call& printed = core().calls().front();
    EXPECT_EQ(printed.text, std::string(450, 'x'));
    EXPECT_EQ(printed.last_byte, 'x');
    EXPECT_THAT(printed, Not(Printed(std::string(450, 'x'))));

    line[3] = line[449] = '\0';
    qnm_serv_print_verbose_info(1, line, 0.5);
    qnm_serv_print_verbose_info(0, line, 0.5);
    EXPECT_THAT(core().calls(), ElementsAre(_, Printed("xxx", 0.5), Not(Printed("xxx", 0.5))));
    EXPECT_THAT(core().calls()[1], Not(Printed("xxx", 1.5)));
}

TEST_F(Service, FormattingIsBoundedAndTakesEveryKind)
{
    char line[16];
    std::memset(line, 'x', sizeof line);
    EXPECT_EQ(qnm_serv_snprintf_s(line, sizeof line, 7, "%d", 123456789), 7);
    EXPECT_STREQ(line, "1234567");
    EXPECT_EQ(line[8], 'x');
    EXPECT_EQ(qnm_serv_snprintf_s(line, 4, 99, "%s", "abcdef"), 3);
    EXPECT_STREQ(line, "abc");

    char wide[200];
    qnm_serv_snprintf_s(wide, sizeof wide, 199, "%d,%lli,%c,%f,%d,%d,%d,%g,%g,%g,%g,%g,%g,%g,%g,%g,%d", 1,
                        -2LL, 'c', 0.5, 3, 4, 5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5, 6);
    EXPECT_STREQ(wide, "1,-2,c,0.500000,3,4,5,1.5,2.5,3.5,4.5,5.5,6.5,7.5,8.5,9.5,6");
}

TEST_F(Service, StringsAreBounded)
{
    EXPECT_EQ(qnm_serv_strnlen_s("DGETRF", 4096), 6U);
    EXPECT_EQ(qnm_serv_strnlen_s("DGETRF", 3), 3U);
    EXPECT_EQ(qnm_serv_strnlen_s(nullptr, 4096), 0U);
    char path[6] = "/tmp";
    EXPECT_EQ(qnm_serv_strncat_s(path, sizeof path, "/", 4096), 0);
    EXPECT_STREQ(path, "/tmp/");
    EXPECT_NE(qnm_serv_strncat_s(path, sizeof path, "/", 4096), 0);
    EXPECT_STREQ(path, "/tmp/");
}

TEST_F(Service, ReportsAreReadInBothWidths)
{
    const std::int64_t slot = (std::int64_t{77} << 32) | 5; // only the lower half is defined
    qnm_serv_xerbla("DGER  ", &slot, 6);
    EXPECT_THAT(core().calls(), ElementsAre(Reported("DGER  ", 5)));
    EXPECT_EQ(core().calls().front().code64(), slot);
    EXPECT_THAT(core().calls().front(), Not(Reported("DGER", 5)));
    EXPECT_THAT(core().calls().front(), Not(Reported("DGER  ", 6)));
}

TEST_F(Service, ReportsReachTheHeadOnRequest)
{
    const int m = 1;
    sample_gemm("X", &m, nullptr);
    EXPECT_THAT(core().calls(), ElementsAre(_, Reported("SAMPLE ", 1)));
    EXPECT_EQ(reinterpret_cast<void*>(core().head()), reinterpret_cast<void*>(sample_head));
    EXPECT_EQ(sample_last_code(), 0);

    core().clear();
    core().forward_reports(true);
    sample_gemm("X", &m, nullptr);
    EXPECT_THAT(core().calls(), ElementsAre(_, Reported("SAMPLE ", 1), Called("qnm_serv_default_xerbla")));
    EXPECT_EQ(core().calls().back().text, "SAMPLE ");
    EXPECT_EQ(sample_last_code(), 1);
}

} // namespace
} // namespace qnm::recording
