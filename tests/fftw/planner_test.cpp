// What planners ask descriptors for, in order: lists of dimensions, placement, batches; what they refuse.
#include "transforms.hpp"

namespace qnm::tests {
namespace {

class Planner : public Fftw {};

const struct {
    std::string call, asked, runs;
} plans[]{
    {"plan_dft_1d 8 in out -1 3", "_1d 32 8; 12 0 1; 11 44; 13 0 1; 27 1; commit", "forward in out"},
    {"plan_dft_1d 8 null null 2 4", "_1d 32 8; 17 52; 12 0 1; 27 1; commit", "backward null"},
    {"plan_dft 3 [2,2147483647,2147483647] in in 0 0",
     "_md 32 2 2147483647 2147483647; 12 0 4611686014132420609 2147483647 1; 27 1; commit", "backward in"},
    {"plan_guru_dft 2 (3:-4:5,6:7:8) 1 (9:10:11) in out -1 4",
     "_md 32 3 6; 17 52; 12 0 -4 7; 11 44; 13 0 5 8; 7 9; 14 10; 15 11; 27 1; commit", "forward in out"},
    {"plan_guru64_dft 1 {5000000000:3:3} 1 {6000000000:-7000000000:-7000000000} in in -1 0",
     "_1d 32 5000000000; 12 0 3; 7 6000000000; 14 -7000000000; 15 -7000000000; 27 1; commit", "forward in"},
    {"plan_dft_r2c_2d 5 7 in out 4", "_md 33 5 7; 10 39; 12 0 7 1; 13 0 4 1; 11 44; 27 1; commit",
     "forward in out"},
    {"plan_many_dft_r2c 3 [2,3,5] 4 in null 2 50 out [9,8,7] 3 60 0",
     "_md 33 2 3 5; 10 39; 12 0 30 10 2; 13 0 168 21 3; 11 44; 7 4; 14 50; 15 60; 27 1; commit",
     "forward in out"},
    {"plan_many_dft_c2r 3 [2,3,5] 4 null null 2 50 null [9,8,7] 3 60 4",
     "_md 33 2 3 5; 10 39; 12 0 18 6 2; 13 0 168 21 3; 7 4; 14 50; 15 60; 27 1; commit", "backward null"},
    {"plan_guru_dft_c2r 1 (8:2:3) -1 null in out 0", "_1d 33 8; 10 39; 12 0 2; 13 0 3; 11 44; 27 1; commit",
     "backward in out"},
    {"plan_guru_split_dft 1 (8:2:2) 1 (3:16:16) ri ii ri ii 4",
     "_1d 32 8; 8 42; 12 0 2; 7 3; 14 16; 15 16; 27 1; commit", "forward ri ii"},
    {"plan_guru64_split_dft 1 {8:1:2} 0 null ri ii ri io 0",
     "_1d 32 8; 8 42; 12 0 1; 11 44; 13 0 2; 27 1; commit", "forward ri ii ri io"},
};

TEST_F(Planner, AsksForThePlanInOrderAndGivesUpAtAnyStepThatFails)
{
    for (const auto& [prefix, letter] : {std::pair{"fftw_", "d"}, {"fftwf_", "s"}})
        for (const auto& [text, wanted, runs] : plans) {
            SCOPED_TRACE(prefix + text);
            const std::string all = letter + wanted;
            EXPECT_EQ(life(prefix, planned(prefix, text)), all + " => " + runs + "; free");
            int step = 1;
            for (std::size_t end = 0; end != std::string::npos; ++step) {
                end = all.find(';', end + 1);
                fail(step);
                EXPECT_EQ(planned(prefix, text), nullptr);
                EXPECT_EQ(asked(), all.substr(0, end) + (step > 1 ? "; free" : ""));
            }
            core().fail_allocation(1);
            EXPECT_EQ(life(prefix, planned(prefix, text)), "null");
            EXPECT_EQ(asked(), "");
        }
}

TEST_F(Planner, RefusesShapesWithARecordOrWithout)
{
    const std::string eight = "[1,1,1,1,1,1,1,1]", dims = "(1:1:1,1:1:1)", dims64 = "{1:1:1,1:1:1}";
    std::vector<std::pair<std::string, std::string>> refused{
        {"plan_dft 8 " + eight + " in out -1 0", ""},
        {"plan_dft 2 null in out -1 0", ""},
        {"plan_dft_r2c 8 " + eight + " in out 0", ""},
        {"plan_dft_c2r 1 null in out 0", ""},
        {"plan_many_dft 8 " + eight + " 1 in null 1 1 out null 1 1 -1 0", ""},
        {"plan_many_dft_c2r 1 null 1 in null 1 1 out null 1 1 0", ""},
        {"plan_r2r 0 [5] in out [4] 0", ""},
        {"plan_r2r_2d 5 5 in out 4 4 0", ""},
        {"plan_r2r_3d 5 5 5 in out 4 4 4 0", ""},
        {"plan_many_r2r 1 [5] 1 in null 1 5 out null 1 5 [4] 0", ""},
        // Lists of no dimension are not looked at.
        {"plan_dft 0 [9] in out -1 0", "_md 32"},
        {"plan_dft -7 [9] in out -1 0", "_md 32"},
        {"plan_dft_r2c 0 [9] in in 0", "_md 33"},
        {"plan_many_dft_c2r -1 [9] 1 in [9] 1 1 out [9] 1 1 0", "_md 33"},
        // In place with two layouts: in a dimension, in that of the batch.
        {"plan_many_dft 1 [8] 2 in null 1 8 in null 2 8 -1 0", "_1d 32 8; 12 0 1; free"},
        {"plan_many_dft 2 [8,8] 2 in [9,9] 1 99 in [8,8] 1 99 -1 0", "_md 32 8 8; 12 0 9 1; free"},
        {"plan_many_dft 1 [8] 2 in null 1 8 in null 1 9 -1 0", "_1d 32 8; 12 0 1; free"},
        {"plan_guru64_split_dft 1 {8:1:2} 0 null ri ii ri ii 0", "_1d 32 8; 8 42; 12 0 1; free"},
    };
    for (const std::string form : {"", "64"})
        for (const auto& [kind, rest] : {std::pair{"_dft", "in out -1 0"},
                                         {"_dft_r2c", "in out 0"},
                                         {"_dft_c2r", "in out 0"},
                                         {"_split_dft", "ri ii ro io 0"},
                                         {"_r2r", "in out [4] 0"},
                                         {"_split_dft_r2c", "in ro io 0"},
                                         {"_split_dft_c2r", "ri ii out 0"}}) {
            const std::string name = "plan_guru" + form + kind + " ", &list = form.empty() ? dims : dims64;
            for (const std::string& lists : {"8 " + list + " 0 null ", "1 " + list + " 2 " + list + " ",
                                             std::string("1 null 0 null "), "1 " + list + " 1 null "})
                refused.emplace_back(name + lists + rest, "");
            if (std::string(kind).find("split_dft_") == 1)
                refused.emplace_back(name + "1 " + list + " 0 null " + rest, "");
        }
    for (const auto& [prefix, letter] : {std::pair{"fftw_", "d"}, {"fftwf_", "s"}})
        for (const auto& [text, wanted] : refused) {
            SCOPED_TRACE(prefix + text);
            core().clear();
            EXPECT_EQ(planned(prefix, text), nullptr);
            EXPECT_EQ(asked(), wanted.empty() ? "" : letter + wanted);
            EXPECT_EQ(core().calls("qnm_serv_malloc").size(), wanted.empty() ? 0U : 1U);
        }
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

} // namespace
} // namespace qnm::tests
