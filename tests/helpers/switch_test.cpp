// The switch, option letters and messages.
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <cstring>

extern "C" {
int LAPACKE_get_nancheck();
void LAPACKE_set_nancheck(int flag);
int LAPACKE_lsame(char a, char b);
void LAPACKE_xerbla(const char* name, int info);
}

namespace qnm {
namespace {

using recording::Called;
using recording::core;
using support::call;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Switch : public recording::RecordedTest {
protected:
    /// What the switch reads of an environment in which the variable has this value.
    static int read(const char* value)
    {
        static const support::Library layer(QNM_LAYER);
        *layer.local<int>("nancheck_flag") = -1;
        core().reset();
        core().answers("qnm_serv_getenv").calling([=](recording::Call& noted, recording::Answer& answer) {
            EXPECT_STREQ(noted.pointer<const char>(0), "LAPACKE_NANCHECK");
            EXPECT_EQ(noted.int32(2), 256);
            std::memset(noted.pointer<char>(1), '7', 255);
            if (value != nullptr)
                std::strcpy(noted.pointer<char>(1), value);
            answer.returns(value == nullptr ? -1 : static_cast<int>(std::strlen(value)));
        });
        return call(LAPACKE_get_nancheck).int32();
    }
};

TEST_F(Switch, IsOnUnlessTheEnvironmentSaysOtherwise)
{
    EXPECT_EQ(read(nullptr), 1);
    EXPECT_EQ(read(""), 1);
    EXPECT_EQ(read("1"), 1);
    EXPECT_EQ(read("-3"), 1);
    EXPECT_EQ(read("0"), 0);
    EXPECT_EQ(read("00"), 0);
    EXPECT_EQ(read("010"), 1);
    EXPECT_EQ(read("yes"), 0);
    EXPECT_EQ(read("0x1"), 0);
}

TEST_F(Switch, ReadsTheEnvironmentOnce)
{
    EXPECT_EQ(read("0"), 0);
    call(LAPACKE_get_nancheck);
    EXPECT_EQ(core().calls("qnm_serv_getenv").size(), 1U);
    call(LAPACKE_set_nancheck, -5);
    EXPECT_EQ(call(LAPACKE_get_nancheck).int32(), 1);
    call(LAPACKE_set_nancheck, 0);
    EXPECT_EQ(call(LAPACKE_get_nancheck).int32(), 0);
    EXPECT_EQ(core().calls("qnm_serv_getenv").size(), 1U);
}

TEST_F(Switch, LettersAreComparedByTheCore)
{
    core().listen("qnm_serv_lsame");
    core().answers("qnm_serv_lsame").calling([](recording::Call& noted, recording::Answer& answer) {
        EXPECT_EQ(noted.letter(0), 'u');
        EXPECT_EQ(noted.letter(1), 'L');
        EXPECT_EQ(noted.int64(2), 1);
        EXPECT_EQ(noted.int64(3), 1);
        answer.returns(7);
    });
    EXPECT_EQ(call(LAPACKE_lsame, 'u', 'L').int32(), 7);
    EXPECT_EQ(core().calls().size(), 1U);
}

TEST_F(Switch, MessagesArePrintedForNegativeCodes)
{
    std::vector<std::string> printed;
    core().answers("qnm_serv_printf_s").calling([&](recording::Call& noted, recording::Answer&) {
        const std::string format = noted.pointer<const char>(0);
        char text[200];
        if (format.find("%d") == std::string::npos)
            std::snprintf(text, sizeof text, format.c_str(), noted.pointer<const char>(1));
        else
            std::snprintf(text, sizeof text, format.c_str(), noted.int32(1), noted.pointer<const char>(2));
        EXPECT_EQ(noted.vector_count(), 0U);
        printed.emplace_back(text);
    });
    for (const int info : {-1011, -1010, -4, -1012, 0, 3})
        call(LAPACKE_xerbla, "LAPACKE_dgesv", info);
    EXPECT_THAT(printed, ElementsAre("Not enough memory to transpose matrix in LAPACKE_dgesv\n",
                                     "Not enough memory to allocate work array in LAPACKE_dgesv\n",
                                     "Wrong parameter 4 in LAPACKE_dgesv\n",
                                     "Wrong parameter 1012 in LAPACKE_dgesv\n"));
}

} // namespace
} // namespace qnm
