// What planners ask for, in order, in C and in Fortran; what they refuse; that nothing is lost at any step.
#include "transforms.hpp"

namespace qnm::tests {
namespace {

class Planner : public Fftw {};

/// A call, what it asks for, and what the plan does when it runs; or `null` where there is none, and
/// `untouched` where the variable of Fortran is left as it is. A `_` stands behind the letter of the
/// precision.
constexpr const char* stories = R"(
plan_dft_1d 8 in out -1 3 => _1d 32 8; 12 0 1; 11 44; 13 0 1; 27 1; commit => forward in out
plan_dft_1d 8 null null 2 4 => _1d 32 8; 17 52; 12 0 1; 27 1; commit => backward null
plan_dft 3 [2,2147483647,2147483647] in in 0 0 => _md 32 2 2147483647 2147483647; 12 0 4611686014132420609 2147483647 1; 27 1; commit => backward in
plan_guru_dft 2 (3:-4:5,6:7:8) 1 (9:10:11) in out -1 4 => _md 32 3 6; 17 52; 12 0 -4 7; 11 44; 13 0 5 8; 7 9; 14 10; 15 11; 27 1; commit => forward in out
plan_guru64_dft 1 {5000000000:3:3} 1 {6000000000:-7000000000:-7000000000} in in -1 0 => _1d 32 5000000000; 12 0 3; 7 6000000000; 14 -7000000000; 15 -7000000000; 27 1; commit => forward in
plan_dft_r2c_2d 5 7 in out 4 => _md 33 5 7; 10 39; 12 0 7 1; 13 0 4 1; 11 44; 27 1; commit => forward in out
plan_many_dft_r2c 3 [2,3,5] 4 in null 2 50 out [9,8,7] 3 60 0 => _md 33 2 3 5; 10 39; 12 0 30 10 2; 13 0 168 21 3; 11 44; 7 4; 14 50; 15 60; 27 1; commit => forward in out
plan_many_dft_c2r 3 [2,3,5] 4 null null 2 50 null [9,8,7] 3 60 4 => _md 33 2 3 5; 10 39; 12 0 18 6 2; 13 0 168 21 3; 7 4; 14 50; 15 60; 27 1; commit => backward null
plan_guru_dft_c2r 1 (8:2:3) -1 null in out 0 => _1d 33 8; 10 39; 12 0 2; 13 0 3; 11 44; 27 1; commit => backward in out
plan_guru_split_dft 1 (8:2:2) 1 (3:16:16) ri ii ri ii 4 => _1d 32 8; 8 42; 12 0 2; 7 3; 14 16; 15 16; 27 1; commit => forward ri ii
plan_guru64_split_dft 1 {8:1:2} 0 null ri ii ri io 0 => _1d 32 8; 8 42; 12 0 1; 11 44; 13 0 2; 27 1; commit => forward ri ii ri io
plan_many_dft_ 3 [3,4,5] 6 in [65536,65537,9] 2 100 in [65536,65537,9] 2 100 -1 4 => _md 32 5 4 3; 17 52; 12 0 131072 131072 2; 7 6; 14 100; 15 100; 27 1; commit => forward in
plan_dft_ 3 [65536,65537,9] in in -1 4 => _md 32 9 65537 65536; 17 52; 12 0 4295032832 65536 1; 27 1; commit => forward in
plan_r2r_1d 5 in out 3 4 => _init 4 1 00 1; _commit out 1 5 0 => _backward 1 2
plan_r2r_1d 5 in out 4 4 => _init 5 2 00 1; _commit out 1 5 0 => _forward 1 2
plan_r2r_1d 5 in out 5 4 => _init 5 2 00 1; _commit out 1 5 0 => _backward 1 2
plan_r2r_1d 5 in out 6 4 => _init 5 4 00 1; _commit out 1 5 0 => _backward 1 2
plan_r2r_1d 5 in in 7 4 => _init 6 0 00 1; _commit in 1 5 0 => _backward 0 1
plan_r2r_1d 5 in out 8 4 => _init 5 3 00 1; _commit out 1 5 0 => _forward 1 2
plan_r2r_1d 5 in out 9 4 => _init 5 3 00 1; _commit out 1 5 0 => _backward 1 2
plan_r2r 1 [5] in out [10] 4 => _init 5 5 00 1; _commit out 1 5 0 => _backward 1 2
plan_guru_r2r 1 (5:1:1) 0 null in out [413] 4 => _init 6 0 00 1; _commit out 1 5 1 => _backward 1 2
plan_r2r_1d 1 in in 3 0 => _init 0 1 00 1; _commit in 1 1 0 => _backward 1 2
plan_r2r_1d_ 5 in out 4 0 => _init 5 2 00 1; _commit out 1 5 0 => _forward 1 2
plan_r2r_ 1 [5] in out [4] 0 => _init 5 2 00 1; _commit out 1 5 0 => _forward 1 2
plan_guru_r2r_ 1 [5] [1] [1] 0 null null null in out [4,77] 0 => _init 5 2 00 1; _commit out 1 5 0 => _forward 1 2
plan_dft 0 [9] in out -1 0 => _md 32 => null
plan_dft -7 [9] in out -1 0 => _md 32 => null
plan_dft_r2c 0 [9] in in 0 => _md 33 => null
plan_many_dft_c2r -1 [9] 1 in [9] 1 1 out [9] 1 1 0 => _md 33 => null
plan_dft_ 0 [9] in out -1 0 => _md 32 => null
plan_many_dft 1 [8] 2 in null 1 8 in null 2 8 -1 0 => _1d 32 8; 12 0 1; free => null
plan_many_dft 2 [8,8] 2 in [9,9] 1 99 in [8,8] 1 99 -1 0 => _md 32 8 8; 12 0 9 1; free => null
plan_many_dft 1 [8] 2 in null 1 8 in null 1 9 -1 0 => _1d 32 8; 12 0 1; free => null
plan_guru64_split_dft 1 {8:1:2} 0 null ri ii ri ii 0 => _1d 32 8; 8 42; 12 0 1; free => null
plan_dft 8 EIGHT in out -1 0 =>  => null
plan_dft 2 null in out -1 0 =>  => null
plan_dft_r2c 8 EIGHT in out 0 =>  => null
plan_dft_c2r 1 null in out 0 =>  => null
plan_many_dft 8 EIGHT 1 in null 1 1 out null 1 1 -1 0 =>  => null
plan_many_dft_c2r 1 null 1 in null 1 1 out null 1 1 0 =>  => null
plan_r2r 0 [5] in out [4] 0 =>  => null
plan_r2r_2d 5 5 in out 4 4 0 =>  => null
plan_r2r_3d 5 5 5 in out 4 4 4 0 =>  => null
plan_many_r2r 1 [5] 1 in null 1 5 out null 1 5 [4] 0 =>  => null
plan_r2r_1d 5 in out 0 0 =>  => null
plan_r2r_1d 5 in out 1 0 =>  => null
plan_r2r_1d 5 in out 2 0 =>  => null
plan_r2r_1d 5 in out 11 0 =>  => null
plan_r2r_1d 5 in out 412 0 =>  => null
plan_r2r_1d 5 in out -1 0 =>  => null
plan_r2r_1d 2147483647 in out 7 0 =>  => null
plan_r2r_1d 2147483647 in out 413 0 =>  => null
plan_r2r_1d -2147483648 in out 3 0 =>  => null
plan_guru64_r2r 1 {2147483648:1:1} 0 null in out [4] 0 =>  => null
plan_guru64_r2r 1 {5:2:1} 0 null in out [4] 0 =>  => null
plan_guru64_r2r 1 {5:1:2} 0 null in out [4] 0 =>  => null
plan_guru64_r2r 1 {5:1:1} 1 {1:5:5} in out [4] 0 =>  => null
plan_guru64_r2r 1 {5:1:1} -1 null in out [4] 0 =>  => null
plan_guru64_r2r 1 {5:1:1} 0 null in out null 0 =>  => null
plan_guru64_r2r 2 {5:1:1,5:1:1} 0 null in out [4] 0 =>  => null
plan_guru_split_dft_r2c 1 (8:1:1) 0 null in ro io 0 =>  => null
plan_guru_split_dft_c2r 1 (8:1:1) 0 null ri ii out 0 =>  => null
plan_guru64_split_dft_r2c 1 {8:1:1} 0 null in ro io 0 =>  => null
plan_guru64_split_dft_c2r 1 {8:1:1} 0 null ri ii out 0 =>  => null
plan_dft_ 8 EIGHT in out -1 0 =>  => null
plan_dft_r2c_ 8 EIGHT in out 0 =>  => null
plan_many_dft_ 8 EIGHT 1 in EIGHT 1 1 out EIGHT 1 1 -1 0 =>  => null
plan_guru_dft_ 8 EIGHT EIGHT EIGHT 0 null null null in out -1 0 =>  => null
plan_guru_dft_ 1 EIGHT EIGHT EIGHT 2 EIGHT EIGHT EIGHT in out -1 0 =>  => null
plan_guru_split_dft_r2c_ 1 [8] [1] [1] 0 null null null in ro io 0 =>  => null
plan_guru_split_dft_c2r_ 1 [8] [1] [1] 0 null null null ri ii out 0 =>  => null
plan_r2r_ 8 EIGHT in out [4] 0 =>  => null
plan_r2r_ 2 [5,5] in out [4,4] 0 =>  => null
plan_r2r_2d_ 5 5 in out 4 4 0 =>  => null
plan_r2r_3d_ 5 5 5 in out 4 4 4 0 =>  => null
plan_r2r_2d_ null 5 in out 4 4 0 =>  => null
plan_r2r_3d_ 5 5 5 in out 4 4 null 0 =>  => null
plan_many_r2r_ 1 [5] 1 in [5] 1 5 out [5] 1 5 [4] 0 =>  => null
plan_guru_r2r_ 0 [5] [1] [1] 1 [1] [1] [1] in out [4] 0 =>  => null
plan_r2r_ null [5] in out [4] 0 =>  => untouched
plan_r2r_ 1 null in out [4] 0 =>  => untouched
plan_r2r_1d_ null in out [4] 0 =>  => untouched
plan_r2r_1d_ 5 in out null 0 =>  => untouched
plan_guru_r2r_ 1 [5] [1] [1] 0 null null null in out null 0 =>  => untouched
)";

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

/// All guru planners with lists that cannot be.
std::string impossible()
{
    std::string all;
    for (const auto& [form, dims] : {std::pair{"", "(1:1:1,1:1:1)"}, {"64", "{1:1:1,1:1:1}"}})
        for (const auto& [kind, rest] : {std::pair{"_dft", "in out -1 0"},
                                         {"_dft_r2c", "in out 0"},
                                         {"_dft_c2r", "in out 0"},
                                         {"_split_dft", "ri ii ro io 0"},
                                         {"_r2r", "in out [4] 0"}})
            for (const char* lists : {" 8 L 0 null ", " 1 L 2 L ", " 1 null 0 null ", " 1 L 1 null "})
                all += std::string("plan_guru") + form + kind + replaced(lists, "L", dims) + rest +
                       " =>  => null\n";
    return all;
}

TEST_F(Planner, AsksForThePlanInOrderAndGivesUpAtAnyStepThatFails)
{
    const std::string all = replaced(std::string(stories + 1) + impossible(), "EIGHT", "[1,1,1,1,1,1,1,1]");
    std::istringstream in(all);
    for (std::string line; std::getline(in, line);)
        for (const std::string letter : {"d", "s"}) {
            const std::size_t first = line.find(" => "), last = line.rfind(" => ");
            const std::string text = line.substr(0, first),
                              made = replaced(line.substr(first + 4, last - first - 4), "_", letter + "_"),
                              runs = replaced(line.substr(last + 4), "_", letter + "_");
            SCOPED_TRACE(letter + " " + line);
            const bool fortran = text.find("_ ") != std::string::npos,
                       none = runs == "null" || runs == "untouched";
            const std::string prefix = fortran ? letter + "fftw_" : letter == "d" ? "fftw_" : "fftwf_";
            const auto plan = [&] { return fortran ? fortran_planned(prefix, text) : planned(prefix, text); };
            fresh<double>("in");
            if (letter == "s")
                fresh<float>("in");
            core().clear();
            Record* const result = plan();
            EXPECT_EQ(asked(), made);
            EXPECT_EQ(core().calls("qnm_serv_malloc").empty(), made.empty());
            if (none) {
                EXPECT_EQ(result, runs == "null" ? nullptr : untouched);
                continue;
            }
            ASSERT_TRUE(result != nullptr && result != untouched);
            EXPECT_EQ(life(letter == "d" ? "fftw_" : "fftwf_", result), " => " + runs + "; free");
            int step = 1;
            for (std::size_t end = 0; end != std::string::npos; ++step) {
                end = made.find(';', end + 1);
                fail(step);
                EXPECT_EQ(plan(), nullptr);
                const bool created = step > 1 && runs.find('_') == std::string::npos;
                EXPECT_EQ(asked(), made.substr(0, end) + (created ? "; free" : ""));
            }
            for (std::size_t block = core().calls("qnm_serv_malloc").size() / static_cast<std::size_t>(step);
                 block > 0; --block) {
                core().fail_allocation(block);
                EXPECT_EQ(plan(), nullptr);
                EXPECT_EQ(asked(), "");
            }
        }
}

TEST_F(Planner, OfSinglePrecisionAloneLooksAtTwoLengthsInFortran)
{
    for (const char* text : {"plan_dft_r2c_2d_ 7 null in in 0", "plan_dft_c2r_2d_ null 5 in in 0"})
        EXPECT_EQ(fortran_planned("sfftw_", text), nullptr);
    EXPECT_EQ(asked(), "");
}

TEST_F(Planner, TakesRecordsAndThreadsFromTheSettings)
{
    const Settings before = fftw3_qnm;
    static Record record;
    static int ended;
    const auto life_of = [&](const std::string& prefix) {
        const std::string text = life(prefix, planned(prefix, "plan_dft_1d 8 in in -1 0"));
        return text + asked();
    };
    for (const std::string prefix : {"fftw_", "fftwf_"}) {
        const std::string made = (prefix == "fftw_" ? "d" : "s") + std::string("_1d 32 8; 12 0 1; ");
        for (const int threads : {0, 5, -1}) {
            call("fftw_", "plan_with_nthreads " + std::to_string(threads));
            const std::string limit = threads < 0 ? "" : "27 " + std::to_string(threads) + "; ";
            EXPECT_EQ(life_of(prefix), made + limit + "commit => forward in; free");
        }
        // A record of the application's: what ends it is its own, or nothing does.
        for (const bool ends : {true, false}) {
            ended = 0;
            record = {};
            if (ends)
                record.destroy = [](Record* plan) { ended += plan == &record ? 1 : 0; };
            fftw3_qnm.new_plan = []() -> void* { return &record; };
            EXPECT_EQ(life_of(prefix), made + "commit => forward in");
            fail(2);
            EXPECT_EQ(life_of(prefix), "null" + made.substr(0, made.size() - 2));
            EXPECT_EQ(ended, ends ? 2 : 0);
        }
        for (void* (*none)() : {+[]() -> void* { return nullptr; }, static_cast<void* (*)()>(nullptr)}) {
            fftw3_qnm.new_plan = none;
            EXPECT_EQ(life_of(prefix), "null");
        }
        fftw3_qnm = before;
    }
}

template <class R>
void expect_numbers_of(const std::string& prefix)
{
    fftw3_qnm.verbose = -1;
    fftw3_qnm.threads = 4;
    core().clear();
    Record* const plan = planned(prefix, "plan_r2r_1d 5 in out 3 0");
    const auto blocks = core().calls("qnm_serv_malloc");
    EXPECT_THAT(blocks,
                ::testing::ElementsAre(recording::Called("qnm_serv_malloc", 88),
                                       recording::Called("qnm_serv_malloc", (5 * 4 / 2 + 2) * sizeof(R)),
                                       recording::Called("qnm_serv_malloc", 512)));
    EXPECT_TRUE(plan->doubles == nullptr ? sizeof(R) == 4 : sizeof(R) == 8 && plan->floats == nullptr);
    EXPECT_THAT(asked(), ::testing::StartsWith(prefix == "fftw_" ? "d_init 4 1 11 4;" : "s_init 4 1 11 4;"));
    plan->integers[5] = 0; // a sine transform of a size that is none: nothing runs
    plan->integers[0] = 0;
    EXPECT_EQ(life(prefix, plan), " => free");
    // The largest size is counted in 64 bits, and an odd one is not cut.
    for (const std::uint64_t n : {std::uint64_t{2147483647}, std::uint64_t{5}}) {
        core().clear();
        core().fail_allocation(2);
        EXPECT_EQ(planned(prefix, "plan_r2r_1d " + std::to_string(n) + " in out 4 0"), nullptr);
        EXPECT_EQ(core().calls("qnm_serv_malloc")[1].word(0), (5 * n / 2 + 2) * sizeof(R));
    }
    fftw3_qnm.verbose = 0;
}

TEST_F(Planner, TrigonometricPlansHaveIntegersAndNumbers)
{
    expect_numbers_of<double>("fftw_");
    expect_numbers_of<float>("fftwf_");
}

} // namespace
} // namespace qnm::tests
