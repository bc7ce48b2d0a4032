// Fortran names: dimensions turned around, what must be there, what is cleared, and how strides wrap.
#include "transforms.hpp"

#include <sstream>

namespace qnm::tests {
namespace {

class Fortran : public Fftw {};

// `needed`: the positions, behind the plan, of what must not be null.
const struct {
    std::string call, asked, runs;
    std::vector<int> needed;
} plans[]{
    {"plan_dft_ 3 [2,3,4] in out -1 4",
     "_md 32 4 3 2; 17 52; 12 0 6 2 1; 11 44; 13 0 6 2 1; 27 1; commit",
     "forward in out",
     {0, 1, 4, 5}},
    {"plan_dft_1d_ 8 in in 1 0", "_1d 32 8; 12 0 1; 27 1; commit", "backward in", {0, 3, 4}},
    {"plan_dft_2d_ 2 3 in in -1 0", "_md 32 3 2; 12 0 2 1; 27 1; commit", "forward in", {4, 5}},
    {"plan_dft_3d_ 2 3 4 in in -1 0", "_md 32 4 3 2; 12 0 6 2 1; 27 1; commit", "forward in", {5, 6}},
    {"plan_dft_r2c_ 3 [7,5,3] in out 0",
     "_md 33 3 5 7; 10 39; 12 0 35 7 1; 13 0 20 4 1; 11 44; 27 1; commit",
     "forward in out",
     {0, 1}},
    {"plan_dft_r2c_1d_ 7 in out 0",
     "_1d 33 7; 10 39; 12 0 1; 13 0 1; 11 44; 27 1; commit",
     "forward in out",
     {0}},
    {"plan_dft_r2c_2d_ 7 5 in in 0", "_md 33 5 7; 10 39; 12 0 8 1; 13 0 4 1; 27 1; commit", "forward in", {}},
    {"plan_dft_r2c_3d_ 7 5 3 in in 0",
     "_md 33 3 5 7; 10 39; 12 0 40 8 1; 13 0 20 4 1; 27 1; commit",
     "forward in",
     {}},
    {"plan_dft_c2r_ 2 [7,5] in out 0",
     "_md 33 5 7; 10 39; 12 0 4 1; 13 0 7 1; 11 44; 27 1; commit",
     "backward in out",
     {0, 1}},
    {"plan_dft_c2r_1d_ 7 in out 0",
     "_1d 33 7; 10 39; 12 0 1; 13 0 1; 11 44; 27 1; commit",
     "backward in out",
     {0}},
    {"plan_dft_c2r_2d_ 7 5 in in 0",
     "_md 33 5 7; 10 39; 12 0 4 1; 13 0 8 1; 27 1; commit",
     "backward in",
     {}},
    {"plan_dft_c2r_3d_ 7 5 3 in out 0",
     "_md 33 3 5 7; 10 39; 12 0 20 4 1; 13 0 35 7 1; 11 44; 27 1; commit",
     "backward in out",
     {}},
    {"plan_many_dft_ 3 [3,4,5] 6 in [7,8,9] 2 100 out [10,11,12] 3 200 -1 0",
     "_md 32 5 4 3; 12 0 112 14 2; 11 44; 13 0 330 30 3; 7 6; 14 100; 15 200; 27 1; commit",
     "forward in out",
     {0, 1, 2, 4, 5, 6, 8, 9, 10, 11, 12}},
    {"plan_many_dft_ 3 [3,4,5] 6 in [65536,65537,9] 2 100 in [65536,65537,9] 2 100 -1 0", // wraps around
     "_md 32 5 4 3; 12 0 131072 131072 2; 7 6; 14 100; 15 100; 27 1; commit",
     "forward in",
     {}},
    {"plan_many_dft_r2c_ 2 [6,4] 5 in [8,4] 1 32 in [4,4] 1 16 0",
     "_md 33 4 6; 10 39; 12 0 8 1; 13 0 4 1; 7 5; 14 32; 15 16; 27 1; commit",
     "forward in",
     {0, 1, 2, 4, 5, 6, 8, 9, 10, 11}},
    {"plan_many_dft_c2r_ 1 [6] 5 in [4] 1 4 out [6] 1 6 0",
     "_1d 33 6; 10 39; 12 0 1; 13 0 1; 11 44; 7 5; 14 4; 15 6; 27 1; commit",
     "backward in out",
     {0, 1, 2, 4, 5, 6, 8, 9, 10, 11}},
    {"plan_guru_dft_ 2 [3,4] [5,6] [7,8] 1 [9] [10] [11] in out 0 4",
     "_md 32 4 3; 17 52; 12 0 6 5; 11 44; 13 0 8 7; 7 9; 14 10; 15 11; 27 1; commit",
     "backward in out",
     {0, 1, 2, 3, 4, 5, 6, 7, 10, 11}},
    {"plan_guru_dft_r2c_ 1 [8] [2] [3] 0 null null null in in 0",
     "_1d 33 8; 10 39; 12 0 2; 13 0 3; 27 1; commit",
     "forward in",
     {0, 1, 2, 3, 4, 10}},
    {"plan_guru_dft_c2r_ 1 [8] [2] [3] 0 null null null in in 0",
     "_1d 33 8; 10 39; 12 0 2; 13 0 3; 27 1; commit",
     "backward in",
     {0, 1, 2, 3, 4, 10}},
    {"plan_guru_split_dft_ 1 [8] [2] [3] 0 null null null ri ii ro io 0",
     "_1d 32 8; 8 42; 12 0 2; 11 44; 13 0 3; 27 1; commit",
     "forward ri ii ro io",
     {0, 1, 2, 3, 4, 12}},
};

std::string without(const std::string& text, int position)
{
    std::istringstream in(text);
    std::string name, each;
    for (in >> name; in >> each; --position)
        name += position == 0 ? " null" : " " + each;
    return name;
}

TEST_F(Fortran, PlansAsCDoesWithDimensionsTurnedAround)
{
    for (const std::string letter : {"d", "s"})
        for (const auto& [text, wanted, runs, needed] : plans) {
            SCOPED_TRACE(letter + text);
            Record* plan = fortran_planned(letter + "fftw_", text);
            ASSERT_TRUE(plan != untouched && plan != nullptr);
            EXPECT_EQ(asked(), letter + wanted);
            call(letter + "fftw_", "execute_", {&plan});
            EXPECT_EQ(asked(), runs);
            call(letter + "fftw_", "destroy_plan_", {&plan});
            EXPECT_NE(plan, nullptr); // the variable is left as it is
            EXPECT_EQ(asked(), "free");
            for (const int position : needed)
                EXPECT_EQ(fortran_planned(letter + "fftw_", without(text, position)), untouched) << position;
            call(letter + "fftw_", text, {nullptr});
            EXPECT_EQ(asked(), "");
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

TEST_F(Fortran, KindsAreTurnedAroundAndOnePlanIsMade)
{
    for (const std::string letter : {"d", "s"})
        for (const std::string text : {"plan_r2r_1d_ 5 in out 4 0", "plan_r2r_ 1 [5] in out [4] 0",
                                       "plan_guru_r2r_ 1 [5] [1] [1] 0 null null null in out [4,77] 0"}) {
            Record* plan = fortran_planned(letter + "fftw_", text);
            EXPECT_EQ(asked(), letter + "_init 5 2 00 1; commit out 1 5 0") << text;
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
