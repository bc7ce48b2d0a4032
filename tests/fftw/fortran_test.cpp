// Fortran names: dimensions turned around, what must be there, what is cleared, and how strides wrap.
#include "transforms.hpp"

namespace qnm::tests {
namespace {

class Fortran : public Fftw {};

TEST_F(Fortran, StridesWrapAroundIn32Bits)
{
    for (const std::string letter : {"d", "s"})
        for (const auto& [text, asked_for] :
             {std::pair{"plan_many_dft_ 3 [3,4,5] 6 in [65536,65537,9] 2 100 in [65536,65537,9] 2 100 -1 4",
                        "_md 32 5 4 3; 17 52; 12 0 131072 131072 2; 7 6; 14 100; 15 100; 27 1; commit"},
              {"plan_dft_ 3 [65536,65537,9] in in -1 4",
               "_md 32 9 65537 65536; 17 52; 12 0 4295032832 65536 1; 27 1; commit"}}) {
            Record* plan = fortran_planned(letter + "fftw_", text);
            EXPECT_EQ(asked(), letter + asked_for);
            call(letter + "fftw_", "destroy_plan_", {&plan});
            EXPECT_TRUE(plan != untouched && plan != nullptr); // the variable is left as it is
            EXPECT_EQ(asked(), "free");
        }
}

TEST_F(Fortran, ClearsThePlanAheadOfWhatItRefuses)
{
    const std::string eight = "[1,1,1,1,1,1,1,1]", three = eight + " " + eight + " " + eight;
    for (const std::string letter : {"d", "s"}) {
        const std::string prefix = letter + "fftw_";
        for (const std::string& text : std::initializer_list<std::string>{
                 "plan_dft_ 8 " + eight + " in out -1 0", "plan_dft_r2c_ 8 " + eight + " in out 0",
                 "plan_many_dft_ 8 " + eight + " 1 in " + eight + " 1 1 out " + eight + " 1 1 -1 0",
                 "plan_guru_dft_ 8 " + three + " 0 null null null in out -1 0",
                 "plan_guru_dft_ 1 " + three + " 2 " + three + " in out -1 0",
                 "plan_guru_split_dft_r2c_ 1 " + three + " 0 null null null in ro io 0",
                 "plan_guru_split_dft_c2r_ 1 " + three + " 0 null null null ri ii out 0",
                 "plan_r2r_ 8 " + eight + " in out [4] 0", "plan_r2r_ 2 [5,5] in out [4,4] 0",
                 "plan_r2r_2d_ 5 5 in out 4 4 0", "plan_r2r_3d_ 5 5 5 in out 4 4 4 0",
                 "plan_r2r_2d_ null 5 in out 4 4 0", "plan_r2r_3d_ 5 5 5 in out 4 4 null 0",
                 "plan_many_r2r_ 1 [5] 1 in [5] 1 5 out [5] 1 5 [4] 0",
                 "plan_guru_r2r_ 0 " + three + " 1 " + three + " in out [4] 0"})
            EXPECT_EQ(fortran_planned(prefix, text), nullptr) << letter << text;
        EXPECT_EQ(asked(), "");
        // Behind the tests, a rank that cannot be is the descriptor's to refuse.
        EXPECT_EQ(fortran_planned(prefix, "plan_dft_ 0 [9] in out -1 0"), nullptr);
        EXPECT_EQ(asked(), letter + "_md 32");
        for (const std::string text : {"plan_r2r_ null [5] in out [4] 0", "plan_r2r_ 1 null in out [4] 0",
                                       "plan_r2r_1d_ null in out [4] 0", "plan_r2r_1d_ 5 in out null 0",
                                       "plan_guru_r2r_ 1 [5] [1] [1] 0 null null null in out null 0"})
            EXPECT_EQ(fortran_planned(prefix, text), untouched) << letter << text;
    }
    // Single precision alone looks at the lengths of these two.
    for (const std::string text : {"plan_dft_r2c_2d_ 7 null in in 0", "plan_dft_c2r_2d_ null 5 in in 0"})
        EXPECT_EQ(fortran_planned("sfftw_", text), nullptr);
    EXPECT_EQ(asked(), "");
}

TEST_F(Fortran, KindsAreTurnedAround)
{
    for (const std::string letter : {"d", "s"})
        for (const std::string text : {"plan_r2r_1d_ 5 in out 4 0", "plan_r2r_ 1 [5] in out [4] 0",
                                       "plan_guru_r2r_ 1 [5] [1] [1] 0 null null null in out [4,77] 0"}) {
            Record* plan = fortran_planned(letter + "fftw_", text);
            EXPECT_EQ(asked(), letter + "_init 5 2 00 1; " + letter + "_commit out 1 5 0") << text;
            call(letter + "fftw_", "destroy_plan_", {&plan});
            asked();
        }
}

TEST_F(Fortran, HandsOnWhatAnAddressHolds)
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
