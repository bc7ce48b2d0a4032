// Running plans on their arrays and on others; memory, threads, and what does nothing.
#include "transforms.hpp"

#include <cstring>

namespace qnm::tests {
namespace {

class Execute : public Fftw {};

TEST_F(Execute, OnOtherArraysByACopyOfThePlan)
{
    const struct {
        std::string plan, call, runs;
    } cases[]{
        {"plan_dft_1d 8 in out -1 0", "execute_dft a b", "forward a b"},
        {"plan_dft_1d 8 in out -1 0", "execute_dft a a", "forward a a"},
        {"plan_dft_1d 8 in in 1 0", "execute_dft a b", "backward a"}, // stays in place
        {"plan_dft_r2c_1d 8 in out 0", "execute_dft_r2c a b", "forward a b"},
        {"plan_dft_c2r_1d 8 in out 0", "execute_dft_c2r a b", "backward a b"},
        {"plan_dft_1d 8 in out -1 0", "execute_r2r a b", "forward a b"}, // whatever it was made for
        {"plan_guru_split_dft 1 (8:1:1) 0 null ri ii ro io 0", "execute_split_dft a b in out",
         "forward a b in out"},
        {"plan_guru_split_dft 1 (8:1:1) 0 null ri ii ri ii 0", "execute_split_dft a b in out", "forward a b"},
        {"plan_dft_1d 8 in out -1 0", "execute_split_dft_r2c a b in", ""},
        {"plan_dft_1d 8 in out -1 0", "execute_split_dft_c2r a b in", ""}};
    for (const std::string prefix : {"fftw_", "fftwf_"})
        for (const auto& [text, on, runs] : cases) {
            SCOPED_TRACE(prefix + text + ", " + on);
            Record* const plan = planned(prefix, text);
            const Record before = *plan;
            asked();
            core().clear();
            call(prefix, on, {plan});
            EXPECT_EQ(asked(), runs);
            // Each array null: double precision leaves all but complex data to the transform.
            for (std::size_t at = on.find(' '); !runs.empty() && at != std::string::npos;) {
                const std::size_t end = std::min(on.find(' ', at + 1), on.size());
                call(prefix, std::string(on).replace(at + 1, end - at - 1, "null"), {plan});
                const bool refused = prefix == "fftwf_" || on.starts_with("execute_dft ");
                EXPECT_EQ(asked() == "", refused);
                at = end < on.size() ? end : std::string::npos;
            }
            EXPECT_EQ(std::memcmp(plan, &before, sizeof before), 0);
            EXPECT_TRUE(core().calls("qnm_serv_malloc").empty());
            plan->execute = nullptr;
            call(prefix, on, {plan});
            call(prefix, on, {nullptr});
            call(prefix, "execute", {plan});
            call(prefix, "execute null");
            call(prefix, "destroy_plan null");
            plan->execute = before.execute;
            plan->destroy = nullptr;
            call(prefix, "destroy_plan", {plan});
            EXPECT_EQ(asked(), "");
            plan->destroy = before.destroy;
            call(prefix, "destroy_plan", {plan});
        }
}

TEST_F(Execute, MemoryIsAlignedAsTheSettingsSay)
{
    for (const auto& [prefix, real] : {std::pair{"fftw_", 8U}, {"fftwf_", 4U}})
        for (const int alignment : {64, 4096})
            for (const auto& [name, size] :
                 {std::pair{"malloc", 1U}, {"alloc_real", real}, {"alloc_complex", 2 * real}})
                for (const std::uint64_t count :
                     {std::uint64_t{3}, ~std::uint64_t{0} / size + 3}) { // wraps around
                    fftw3_qnm.alignment = alignment;
                    core().clear();
                    void* const block = reinterpret_cast<void*>(call(prefix, name, {count}).rax);
                    call(prefix, "free", {block});
                    EXPECT_EQ(core().calls()[0].word(0), count * size) << name;
                    EXPECT_EQ(core().calls()[0].int32(1), alignment);
                    EXPECT_EQ(core().calls()[1].pointer<void>(0), block);
                    EXPECT_EQ(call(prefix, "alignment_of", {0x12345L * 64 + count % 64}).int32(),
                              static_cast<int>(count % 64));
                }
    fftw3_qnm.alignment = 64;
}

TEST_F(Execute, SettingsAreThoseOfBothPrecisions)
{
    static_assert(offsetof(Settings, alignment) == 32 && sizeof(Settings) == 40);
    core().answers("qnm_serv_domain_get_max_threads").with(17);
    for (const std::string prefix : {"fftw_", "fftwf_"}) {
        EXPECT_EQ(call(prefix, "init_threads").int32(), 1);
        EXPECT_EQ(core().calls().back().int32(0), 2);
        EXPECT_EQ(fftw3_qnm.threads, 17);
        call(prefix, "plan_with_nthreads -3");
        EXPECT_EQ(fftw3_qnm.threads, -3);
        call(prefix, "cleanup_threads");
        fftw3_qnm.time_limit = 0;
        EXPECT_EQ(fftw3_qnm.threads, 1);
        support::call_words(layer()[prefix + "set_timelimit"], {}, {2.5});
        EXPECT_EQ(fftw3_qnm.time_limit, 2.5);
        EXPECT_STREQ(static_cast<const char*>(layer()[prefix + "version"]),
                     "FFTW 3.3.4 wrappers to  Orvan oneQNM");
        EXPECT_STREQ(static_cast<const char*>(layer()[prefix + "cc"]), "");
        EXPECT_STREQ(static_cast<const char*>(layer()[prefix + "codelet_optim"]), "");
    }
    EXPECT_EQ(fftw3_qnm.verbose, 0);
    EXPECT_EQ(fftw3_qnm.user_threads, 1);
}

TEST_F(Execute, StubsGiveNothingAndTouchNothing)
{
    for (const std::string prefix : {"fftw_", "fftwf_"}) {
        core().clear();
        for (const char* name : {"cleanup", "export_wisdom", "export_wisdom_to_file", "forget_wisdom",
                                 "flops", "print_plan", "fprint_plan"})
            call(prefix, name, {0x1L, 0x2L, 0x3L, 0x4L}); // addresses that nobody may read
        for (const char* name :
             {"import_wisdom", "import_wisdom_from_file", "import_wisdom_from_filename",
              "import_wisdom_from_string", "import_system_wisdom", "export_wisdom_to_filename"})
            EXPECT_EQ(call(prefix, name, {0x1L, 0x2L}).int32(), 0) << name;
        for (const char* name : {"export_wisdom_to_string", "sprint_plan"})
            EXPECT_EQ(call(prefix, name, {0x1L}).rax, 0U) << name;
        for (const char* name : {"cost", "estimate_cost"})
            EXPECT_EQ(call(prefix, name, {0x1L}).float64(), 0.0) << name;
        EXPECT_TRUE(core().calls().empty());
    }
}

} // namespace
} // namespace qnm::tests
