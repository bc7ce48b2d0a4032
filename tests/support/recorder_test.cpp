#include "recording/matchers.hpp"
#include "sample_layer.h"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <sstream>
#include <thread>

extern "C" void calls_misaligned();

namespace qnm::recording {
namespace {

using support::call;
using support::Real;
using support::Word;
using ::testing::_;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using Long = std::int64_t;

class Recorder : public RecordedTest {};

TEST_F(Recorder, KeepsEveryWordAndReal)
{
    for (std::size_t count = 1; count <= Call::words; ++count) {
        SCOPED_TRACE(count);
        core().clear();
        std::vector<Word> words;
        for (std::size_t i = 0; i < count; ++i)
            words.emplace_back(static_cast<Long>(100 + i));
        support::call_words(reinterpret_cast<const void*>(sample_forward), words,
                            {0.5, 1.5F, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5});
        ASSERT_THAT(core().calls(), ElementsAre(Called("qnm_blas_forwarded", 100)));
        const Call& noted = core().calls().front();
        for (std::size_t i = 0; i < count; ++i)
            EXPECT_EQ(noted.word(i), 100 + i);
        EXPECT_EQ(noted.real(0), 0.5);
        EXPECT_EQ(noted.real32(1), 1.5F);
        EXPECT_EQ(noted.real(7), 7.5);
        EXPECT_EQ(noted.vector_count(), 8U);
    }
    EXPECT_THROW(core().calls().front().word(Call::words), std::out_of_range);
}

TEST_F(Recorder, SeesWhatDiedWithTheCall)
{
    const int m = -7;
    const double a[] = {0, 0};
    call(sample_gemm, "n", &m, a);
    ASSERT_THAT(core().calls().back(), Called("qnm_blas_dgemm", _, _, a, 1));
    EXPECT_EQ(core().calls().back().behind(1), -7);
    EXPECT_EQ(core().calls().back().letter(0), 'n');
    EXPECT_EQ(core().calls().back().behind(3), std::nullopt);
}

TEST_F(Recorder, HandsBackEachKindOfAnswer)
{
    const int n = 3;
    EXPECT_EQ(sample_dot(&n), 0.0);
    core().answers("qnm_blas_ddot").with(3.5);
    core().answers("qnm_blas_sdot").with(2.5F);
    EXPECT_EQ(sample_dot(&n), 3.5);
    EXPECT_EQ(sample_sdot(&n), 2.5F);

    Script& forwarded = core().answers("qnm_blas_forwarded");
    forwarded.with(Long{-5});
    EXPECT_EQ(call(sample_forward).int64(), -5);
    forwarded.with(&n);
    EXPECT_EQ(call(sample_forward).rax, reinterpret_cast<std::uint64_t>(&n));
    forwarded.with(std::complex<double>(1.25, -2.5));
    const auto z = call(sample_forward);
    EXPECT_EQ(z.float64(), 1.25);
    EXPECT_EQ(z.xmm1.float64(), -2.5);
    forwarded.with(std::complex<float>(1.5F, -3.5F));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(call(sample_forward).float64()), 0xC06000003FC00000U);
}

TEST_F(Recorder, RunsAnActionDuringTheCall)
{
    Long seen = 0;
    core().answers("qnm_blas_ddot").calling([&](Call& noted, Answer& answer) {
        seen = *noted.pointer<Long>(0);
        answer.returns(static_cast<double>(2 * seen));
    });
    const int n = 21;
    EXPECT_EQ(sample_dot(&n), 42.0);
    EXPECT_EQ(seen, 21);
}

std::int32_t survives(const std::int32_t* n)
{
    try {
        call(sample_dot, n);
    } catch (const std::runtime_error&) {
        return *n;
    }
    return 0;
}

TEST_F(Recorder, LetsExceptionsOfAnActionPass)
{
    core().answers("qnm_blas_ddot").calling([](Call&, Answer&) {
        throw std::runtime_error("from the core");
    });
    const int n = 21;
    EXPECT_THROW(call(sample_dot, &n), std::runtime_error);
    EXPECT_EQ(call(survives, &n).int32(), 21);
}

TEST_F(Recorder, RefusesAScriptForAnUnknownName)
{
    EXPECT_THROW(core().answers("qnm_blas_ddott"), std::invalid_argument);
    const support::ElfFile layer(SAMPLE_LAYER);
    std::set<std::string_view> wanted;
    const auto undefined = layer.undefined();
    for (const auto& symbol : undefined)
        if (symbol.name.starts_with("qnm_"))
            wanted.insert(symbol.name);
    const auto names = core().names();
    EXPECT_EQ(std::set<std::string_view>(names.begin(), names.end()), wanted);
}

TEST_F(Recorder, NotesOnlyWhatIsListenedTo)
{
    const int m = 1;
    core().listen("qnm_serv_lsame");
    call(sample_gemm, "N", &m, nullptr);
    EXPECT_EQ(core().calls("qnm_serv_lsame").size(), 1U);
    core().clear();
    core().ignore("qnm_serv_lsame");
    core().ignore("qnm_blas_dgemm");
    call(sample_gemm, "N", &m, nullptr);
    EXPECT_THAT(core().calls(), ElementsAre(Called("qnm_serv_set_xerbla_interface", &sample_head)));
    core().reset();
    call(sample_gemm, "N", &m, nullptr);
    EXPECT_THAT(core().calls(), ElementsAre(_, Called("qnm_blas_dgemm")));
}

TEST_F(Recorder, TellsAMisalignedCaller)
{
    calls_misaligned();
    ASSERT_EQ(core().calls().size(), 1U);
    EXPECT_THAT(core().calls().front(), Not(Called("qnm_blas_forwarded")));
    EXPECT_THAT(::testing::PrintToString(core().calls().front()), HasSubstr("misaligned"));
}

TEST_F(Recorder, PrintsACallForReaders)
{
    const int m = 17;
    call(sample_gemm, "T", &m, nullptr);
    EXPECT_THAT(::testing::PrintToString(core().calls().back()),
                ::testing::MatchesRegex("qnm_serv_xerbla \"SAMPLE \" code 1 words 0x[0-9a-f]+.*"));
}

TEST_F(Recorder, ServesManyThreads)
{
    constexpr int threads = 4, rounds = 500;
    const auto hammer = [] {
        std::vector<std::thread> all;
        for (int t = 0; t < threads; ++t)
            all.emplace_back([] {
                const int n = 3, indx[] = {1, 2, 3};
                for (int i = 0; i < rounds; ++i) {
                    sample_axpyi(&n, indx);
                    sample_gemm("N", &n, nullptr);
                }
            });
        for (auto& thread : all)
            thread.join();
    };
    hammer();
    EXPECT_EQ(core().calls("qnm_blas_daxpyi").size(), static_cast<std::size_t>(threads * rounds));
    core().clear();
    core().quiet(true);
    hammer();
    EXPECT_THAT(core().calls(), IsEmpty());
}

} // namespace
} // namespace qnm::recording
