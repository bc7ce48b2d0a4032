// What helpers ask of the core: matrix copies, of halved triangles too; the environment; letters; messages.
#include "support/invoke.hpp"
#include "support/recorded.hpp"

#include <cstring>

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;

int call(const char* name, const std::vector<support::Word>& words = {})
{
    return support::call_words(layer()[name], words).int32();
}

class Calls : public recording::RecordedTest {};

TEST_F(Calls, LayoutsAreChangedByFewCopies)
{
    static double in[140 * 130], out[140 * 130];
    constexpr long large = 0x1'0000'0000;
    const struct {
        const char* helper;
        std::vector<support::Word> words;
        std::vector<std::string> copies; // as seen from the two arrays
    } all[]{
        {"LAPACKE_dge_trans", {101, 3, 4, in, 5, out, 6}, {"r 3x4 in+0 ld 5 out+0 ld 6"}},
        {"LAPACKE_dgg_trans", {102, 3, 4, in, 5, out, 6}, {"c 3x4 in+0 ld 5 out+0 ld 6"}},
        {"LAPACKE_dgg_trans", {101, 3, 4, in, 5, out, 6}, {"r 3x4 in+0 ld 5 out+0 ld 6"}},
        {"LAPACKE_dge_trans_64",
         {101, 3L, large, in, large, out, 9L},
         {"r 3x4294967296 in+0 ld 4294967296 out+0 ld 9"}},
        // A negative size is nothing to copy, and nothing to report.
        {"LAPACKE_dge_trans", {101, -1, 4, in, 5, out, 6}, {}},
        // A triangle above 64 is halved, unless its diagonal is not there.
        {"LAPACKE_dtr_trans", {102, 'l', 'n', 64, in, 140, out, 130}, {}},
        {"LAPACKE_dtr_trans", {102, 'l', 'u', 65, in, 140, out, 130}, {}},
        {"LAPACKE_dtr_trans",
         {102, 'L', 'n', 65, in, 140, out, 130},
         {"c 33x32 in+32 ld 140 out+4160 ld 130"}},
        {"LAPACKE_dtr_trans",
         {101, 'u', 'n', 65, in, 140, out, 130},
         {"c 33x32 in+32 ld 140 out+4160 ld 130"}},
        {"LAPACKE_dsy_trans", {102, 'U', 65, in, 140, out, 130}, {"c 32x33 in+4480 ld 140 out+32 ld 130"}},
        {"LAPACKE_dpo_trans", {101, 'l', 65, in, 140, out, 130}, {"c 32x33 in+4480 ld 140 out+32 ld 130"}},
        // A full packed form is a rectangle.
        {"LAPACKE_dtf_trans", {101, 'n', 'u', 'n', 6, in, out}, {"r 7x3 in+0 ld 3 out+0 ld 7"}},
        {"LAPACKE_dtf_trans", {102, 'n', 'u', 'n', 7, in, out}, {"c 7x4 in+0 ld 7 out+0 ld 4"}},
        {"LAPACKE_dpf_trans", {102, 't', 'u', 6, in, out}, {"c 3x7 in+0 ld 3 out+0 ld 7"}},
        {"LAPACKE_dtf_trans", {101, 'C', 'u', 'n', 7, in, out}, {"r 4x7 in+0 ld 7 out+0 ld 4"}},
        {"LAPACKE_dtf_trans", {101, 'n', 'u', 'n', 0, in, out}, {}},
    };
    for (const auto& [helper, words, copies] : all) {
        core().clear();
        call(helper, words);
        std::vector<std::string> told;
        for (const Call& copy : core().calls("qnm_trans_qnm_domatcopy")) {
            EXPECT_EQ(static_cast<char>(copy.word(1)), 't');
            EXPECT_EQ(copy.real(0), 1.0);
            char text[100];
            std::snprintf(text, sizeof text, "%c %ldx%ld in+%td ld %ld out+%td ld %ld",
                          static_cast<char>(copy.word(0)), copy.int64(2), copy.int64(3),
                          copy.pointer<double>(4) - in, copy.int64(5), copy.pointer<double>(6) - out,
                          copy.int64(7));
            told.emplace_back(text);
        }
        EXPECT_EQ(told, copies) << helper;
        EXPECT_TRUE(core().calls("qnm_serv_xerbla").empty()) << helper;
    }
}

TEST_F(Calls, TheSwitchIsOnUnlessTheEnvironmentSaysOtherwise)
{
    int asked = 0;
    for (const auto& [value, on] : {std::pair<const char*, int>{nullptr, 1},
                                    {"", 1},
                                    {"1", 1},
                                    {"-3", 1},
                                    {"0", 0},
                                    {"00", 0},
                                    {"010", 1},
                                    {"yes", 0},
                                    {"0x1", 0}}) {
        *layer().local<int>("nancheck_flag") = -1;
        core().answers("qnm_serv_getenv").calling([&asked, value = value](Call& noted, Answer& answer) {
            ++asked;
            EXPECT_STREQ(noted.pointer<const char>(0), "LAPACKE_NANCHECK");
            EXPECT_EQ(noted.int32(2), 256);
            std::memset(noted.pointer<char>(1), '7', 255);
            std::strcpy(noted.pointer<char>(1), value != nullptr ? value : "7");
            answer.returns(value == nullptr ? -1 : static_cast<int>(std::strlen(value)));
        });
        EXPECT_EQ(call("LAPACKE_get_nancheck"), on) << (value != nullptr ? value : "none");
        EXPECT_EQ(call("LAPACKE_get_nancheck"), on);
    }
    EXPECT_EQ(asked, 9); // once each time
    for (const auto& [flag, on] : {std::pair{-5, 1}, {0, 0}}) {
        call("LAPACKE_set_nancheck", {flag});
        EXPECT_EQ(call("LAPACKE_get_nancheck"), on);
    }
    EXPECT_EQ(asked, 9);
}

TEST_F(Calls, LettersAreComparedByTheCore)
{
    core().listen("qnm_serv_lsame");
    core().answers("qnm_serv_lsame").with(7);
    EXPECT_EQ(call("LAPACKE_lsame", {'u', 'L'}), 7);
    ASSERT_EQ(core().calls().size(), 1U);
    const Call& noted = core().calls().front();
    EXPECT_EQ(noted.letter(0), 'u');
    EXPECT_EQ(noted.letter(1), 'L');
    EXPECT_EQ(noted.int64(2), 1);
    EXPECT_EQ(noted.int64(3), 1);
}

TEST_F(Calls, MessagesArePrintedForNegativeCodes)
{
    std::vector<std::string> printed;
    core().answers("qnm_serv_printf_s").calling([&](Call& noted, Answer&) {
        const std::string format = noted.pointer<const char>(0);
        char text[200];
        // The words of a variadic call go on as they came.
        std::snprintf(text, sizeof text, format.c_str(), noted.word(1), noted.word(2));
        EXPECT_EQ(noted.vector_count(), 0U);
        printed.emplace_back(text);
    });
    for (const int info : {-1011, -1010, -4, -1012, 0, 3})
        call("LAPACKE_xerbla", {"LAPACKE_dgesv", info});
    EXPECT_THAT(printed, ElementsAre("Not enough memory to transpose matrix in LAPACKE_dgesv\n",
                                     "Not enough memory to allocate work array in LAPACKE_dgesv\n",
                                     "Wrong parameter 4 in LAPACKE_dgesv\n",
                                     "Wrong parameter 1012 in LAPACKE_dgesv\n"));
}

} // namespace
} // namespace qnm::tests
