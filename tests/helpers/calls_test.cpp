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
        const char* copy; // as seen from the two arrays; none if empty
    } all[]{
        {"LAPACKE_dge_trans", {101, 3, 4, in, 5, out, 6}, "r 3x4 in+0 ld 5 out+0 ld 6"},
        {"LAPACKE_dgg_trans", {102, 3, 4, in, 5, out, 6}, "c 3x4 in+0 ld 5 out+0 ld 6"},
        {"LAPACKE_dge_trans_64",
         {101, 3L, large, in, large, out, 9L},
         "r 3x4294967296 in+0 ld 4294967296 out+0 ld 9"},
        // A negative size is nothing to copy, and nothing to report.
        {"LAPACKE_dge_trans", {101, -1, 4, in, 5, out, 6}, ""},
        // A triangle above 64 is halved, unless its diagonal is not there.
        {"LAPACKE_dtr_trans", {102, 'l', 'n', 64, in, 140, out, 130}, ""},
        {"LAPACKE_dtr_trans", {102, 'l', 'u', 65, in, 140, out, 130}, ""},
        {"LAPACKE_dtr_trans", {102, 'L', 'n', 65, in, 140, out, 130}, "c 33x32 in+32 ld 140 out+4160 ld 130"},
        {"LAPACKE_dsy_trans", {102, 'U', 65, in, 140, out, 130}, "c 32x33 in+4480 ld 140 out+32 ld 130"},
        // A full packed form is a rectangle.
        {"LAPACKE_dtf_trans", {101, 'n', 'u', 'n', 6, in, out}, "r 7x3 in+0 ld 3 out+0 ld 7"},
        {"LAPACKE_dpf_trans", {102, 'C', 'u', 7, in, out}, "c 4x7 in+0 ld 4 out+0 ld 7"},
        {"LAPACKE_dtf_trans", {101, 'n', 'u', 'n', 0, in, out}, ""},
    };
    for (const auto& [helper, words, copy] : all) {
        core().clear();
        call(helper, words);
        std::string told;
        for (const Call& noted : core().calls("qnm_trans_qnm_domatcopy")) {
            EXPECT_EQ(static_cast<char>(noted.word(1)), 't');
            EXPECT_EQ(noted.real(0), 1.0);
            char text[100];
            std::snprintf(text, sizeof text, "%c %ldx%ld in+%td ld %ld out+%td ld %ld",
                          static_cast<char>(noted.word(0)), noted.int64(2), noted.int64(3),
                          noted.pointer<double>(4) - in, noted.int64(5), noted.pointer<double>(6) - out,
                          noted.int64(7));
            told += text;
        }
        EXPECT_EQ(told, copy) << helper;
        EXPECT_TRUE(core().calls("qnm_serv_xerbla").empty()) << helper;
    }
}

TEST_F(Calls, TheSwitchIsOnUnlessTheEnvironmentSaysOtherwise)
{
    int asked = 0;
    const std::vector<std::pair<const char*, int>> values{
        {nullptr, 1}, {"", 1}, {"1", 1}, {"-3", 1}, {"0", 0}, {"00", 0}, {"010", 1}, {"yes", 0}, {"0x1", 0}};
    for (const auto& [value, on] : values) {
        *layer().local<int>("nancheck_flag") = -1;
        core().answers("qnm_serv_getenv").calling([&asked, value = value](Call& noted, Answer& answer) {
            ++asked;
            EXPECT_STREQ(noted.pointer<const char>(0), "LAPACKE_NANCHECK");
            EXPECT_EQ(noted.int32(2), 256);
            std::memset(noted.pointer<char>(1), '7', 255);
            const std::string text = value != nullptr ? value : "7";
            std::memcpy(noted.pointer<char>(1), text.c_str(), text.size() + 1);
            answer.returns(value == nullptr ? -1 : static_cast<int>(text.size()));
        });
        for (int again = 0; again < 2; ++again)
            EXPECT_EQ(call("LAPACKE_get_nancheck"), on) << (value != nullptr ? value : "none");
    }
    for (const int flag : {-5, 0}) {
        call("LAPACKE_set_nancheck", {flag});
        EXPECT_EQ(call("LAPACKE_get_nancheck"), flag != 0);
    }
    EXPECT_EQ(asked, 9); // once each time
}

TEST_F(Calls, LettersAreComparedByTheCore)
{
    core().listen("qnm_serv_lsame");
    core().answers("qnm_serv_lsame").with(7);
    EXPECT_EQ(call("LAPACKE_lsame", {'u', 'L'}), 7);
    ASSERT_EQ(core().calls().size(), 1U);
    const Call& noted = core().calls().front();
    EXPECT_THAT((std::vector<long>{noted.letter(0), noted.letter(1), noted.int64(2), noted.int64(3)}),
                ElementsAre('u', 'L', 1, 1));
}

// The texts are looked at where calls fail.
TEST_F(Calls, MessagesArePrintedForNegativeCodes)
{
    for (const int info : {-1012, 0, 3})
        call("LAPACKE_xerbla", {"LAPACKE_dgesv", info});
    const auto printed = core().calls("qnm_serv_printf_s");
    ASSERT_EQ(printed.size(), 1U);
    EXPECT_EQ(printed[0].word(1), 1012U);
    EXPECT_STREQ(printed[0].pointer<const char>(2), "LAPACKE_dgesv");
    EXPECT_EQ(printed[0].vector_count(), 0U);
}

} // namespace
} // namespace qnm::tests
