// Running plans on their arrays and on others; memory, threads, and what does nothing.
#include "transforms.hpp"

#include <cstddef>
#include <cstring>

namespace qnm::tests {
namespace {

class Execute : public Fftw {};

TEST_F(Execute, OnOtherArraysByACopyOfThePlan)
{
    const std::string line = "plan_dft_1d 8 in out -1 0",
                      split = "plan_guru_split_dft 1 (8:1:1) 0 null ri ii ";
    const struct {
        std::string plan, name, arrays, runs;
    } cases[]{{line, "execute_dft", " a b", "forward a b"},
              {"plan_dft_1d 8 in in 1 0", "execute_dft", " a b", "backward a"}, // stays in place
              {"plan_dft_r2c_1d 8 in out 0", "execute_dft_r2c", " a b", "forward a b"},
              {"plan_dft_c2r_1d 8 in out 0", "execute_dft_c2r", " a a", "backward a a"},
              {line, "execute_r2r", " a b", "forward a b"}, // whatever it was made for
              {split + "ro io 0", "execute_split_dft", " a b in out", "forward a b in out"},
              {split + "ri ii 0", "execute_split_dft", " a b in out", "forward a b"},
              {line, "execute_split_dft_r2c", " a b in", ""},
              {line, "execute_split_dft_c2r", " a b in", ""}};
    for (const std::string prefix : {"fftw_", "fftwf_"})
        for (const auto& [text, name, arrays, runs] : cases) {
            SCOPED_TRACE(prefix + text + ", " + name);
            Record* const plan = planned(prefix, text);
            const Record before = *plan;
            asked();
            core().clear();
            call(prefix, name + arrays, {plan});
            EXPECT_EQ(asked(), runs);
            // Each array null: double precision leaves all but complex data to the transform.
            for (std::size_t at = 0; !runs.empty() && (at = arrays.find(' ', at)) != std::string::npos;
                 ++at) {
                const std::size_t end = std::min(arrays.find(' ', at + 1), arrays.size());
                call(prefix, name + std::string(arrays).replace(at + 1, end - at - 1, "null"), {plan});
                EXPECT_EQ(asked().empty(), prefix == "fftwf_" || name == "execute_dft");
            }
            EXPECT_EQ(std::memcmp(plan, &before, sizeof before), 0);
            EXPECT_TRUE(core().calls("qnm_serv_malloc").empty());
            for (const std::string& none :
                 {name + arrays, std::string("execute"), std::string("destroy_plan")}) {
                plan->execute = nullptr;
                plan->destroy = nullptr;
                call(prefix, none, {plan});
                call(prefix, none, {nullptr});
            }
            EXPECT_EQ(asked(), "");
            before.destroy(plan);
        }
}

TEST_F(Execute, MemoryIsAlignedAsTheSettingsSay)
{
    for (const auto& [prefix, real] : {std::pair{"fftw_", 8U}, {"fftwf_", 4U}})
        for (const auto& [name, size] :
             {std::pair{"malloc", 1U}, {"alloc_real", real}, {"alloc_complex", 2 * real}})
            for (const std::uint64_t count :
                 {std::uint64_t{3}, ~std::uint64_t{0} / size + 3}) { // wraps around
                fftw3_qnm.alignment = count == 3 ? 64 : 4096;
                core().clear();
                void* const block = reinterpret_cast<void*>(call(prefix, name, {count}).rax);
                call(prefix, "free", {block});
                EXPECT_THAT(core().calls(),
                            ::testing::ElementsAre(recording::Called("qnm_serv_malloc", count * size),
                                                   recording::Called("qnm_serv_free", block)));
                EXPECT_EQ(core().calls()[0].int32(1), fftw3_qnm.alignment);
                EXPECT_EQ(call(prefix, "alignment_of", {0x12345L * 64 + 13}).int32(), 13);
            }
    fftw3_qnm.alignment = 64;
}

TEST_F(Execute, SettingsAndStubsAreThoseOfBothPrecisions)
{
    static_assert(offsetof(Settings, alignment) == 32 && sizeof(Settings) == 40);
    EXPECT_TRUE(fftw3_qnm.verbose == 0 && fftw3_qnm.user_threads == 1);
    core().answers("qnm_serv_domain_get_max_threads").with(17);
    for (const std::string prefix : {"fftw_", "fftwf_"}) {
        EXPECT_EQ(call(prefix, "init_threads").int32(), 1);
        EXPECT_EQ(core().calls().back().int32(0), 2);
        EXPECT_EQ(fftw3_qnm.threads, 17);
        call(prefix, "plan_with_nthreads -3");
        EXPECT_EQ(fftw3_qnm.threads, -3);
        call(prefix, "cleanup_threads");
        EXPECT_EQ(fftw3_qnm.threads, 1);
        fftw3_qnm.time_limit = 0;
        support::call_words(layer()[prefix + "set_timelimit"], {}, {2.5});
        EXPECT_EQ(fftw3_qnm.time_limit, 2.5);
        for (const auto& [name, text] : {std::pair{"version", "FFTW 3.3.4 wrappers to  Orvan oneQNM"},
                                         {"cc", ""},
                                         {"codelet_optim", ""}})
            EXPECT_STREQ(static_cast<const char*>(layer()[prefix + name]), text);
        core().clear();
        const std::vector<support::Word> nobodys{0x1L, 0x2L, 0x3L, 0x4L}; // addresses that nobody may read
        for (const char* name : {"cleanup", "export_wisdom", "export_wisdom_to_file", "forget_wisdom",
                                 "flops", "print_plan", "fprint_plan"})
            call(prefix, name, nobodys);
        for (const char* name : {"import_wisdom", "import_wisdom_from_file", "import_wisdom_from_filename",
                                 "import_wisdom_from_string", "import_system_wisdom",
                                 "export_wisdom_to_filename", "export_wisdom_to_string", "sprint_plan"})
            EXPECT_EQ(call(prefix, name, nobodys).rax, 0U) << name;
        for (const char* name : {"cost", "estimate_cost"})
            EXPECT_EQ(call(prefix, name, nobodys).float64(), 0.0) << name;
        EXPECT_TRUE(core().calls().empty());
    }
}

TEST_F(Execute, FortranHandsOnWhatAnAddressHolds)
{
    for (const std::string prefix : {"dfftw_", "sfftw_"}) {
        Record* plan = fortran_planned(prefix, "plan_dft_1d_ 8 in out -1 0");
        asked();
        for (const auto& [text, runs] : {std::pair{"execute_dft_ a b", "forward a b"},
                                         {"execute_dft_r2c_ a b", "forward a b"},
                                         {"execute_dft_c2r_ a b", "forward a b"},
                                         {"execute_r2r_ a b", "forward a b"},
                                         {"execute_split_dft_ a b ri ii", "forward a b"},
                                         {"execute_split_dft_r2c_ a b ri", ""},
                                         {"execute_split_dft_c2r_ a b ri", ""},
                                         {"flops_ a b ri", ""},
                                         {"print_plan_", ""}}) {
            call(prefix, text, {&plan});
            EXPECT_EQ(asked(), runs) << text;
            call(prefix, text, {nullptr});
            EXPECT_EQ(asked(), "") << text;
        }
        call(prefix, "destroy_plan_", {&plan});
        call(prefix, "destroy_plan_ null");
        call(prefix, "execute_ null");
        call(prefix, "plan_with_nthreads_ 6");
        EXPECT_EQ(fftw3_qnm.threads, 6);
        call(prefix, "plan_with_nthreads_ null");
        call(prefix, "cleanup_threads_");
        EXPECT_EQ(fftw3_qnm.threads, 1);
        for (const char* name : {"cleanup_", "export_wisdom_", "forget_wisdom_"})
            call(prefix, name, {0x1L});
        for (const auto& [name, expected] :
             {std::pair{"init_threads_", 1}, {"import_system_wisdom_", 0}, {"import_wisdom_", 0}}) {
            int result = 99;
            call(prefix, name, {&result, 0x1L, 0x2L});
            EXPECT_EQ(result, expected) << name;
            core().clear();
            call(prefix, name, {nullptr, 0x1L, 0x2L});
            EXPECT_TRUE(core().calls().empty()) << name;
        }
    }
}

} // namespace
} // namespace qnm::tests
