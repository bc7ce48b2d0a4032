// Lines and times: the mode is asked for at each call and read on both sides of the core.
#include "copy_call.hpp"

namespace qnm::tests {
namespace {

class Trace : public TransTest {
protected:
    struct Line {
        int enabled;
        std::string text;
        double seconds;
    };
    /// The lines of a call, with the core setting the mode while it runs.
    static std::vector<Line> lines(CopyCall& call, int before, int after,
                                   std::vector<double> clock = {2, 5, 1000})
    {
        core().clear();
        core().mode(before);
        core().clock(std::move(clock));
        core().answers("qnm_trans_" + catalogue::to_lower(call.entry().name())).calling([=](Call&, auto&) {
            core().mode(after);
        });
        call.run();
        std::vector<Line> all;
        for (const Call& noted : core().calls("qnm_serv_print_verbose_info")) {
            EXPECT_EQ(noted.last_byte, '\0');
            all.push_back({noted.int32(0), noted.text, noted.real(0)});
        }
        return all;
    }
    static std::size_t readings() { return core().calls("qnm_serv_dsecnd").size(); }
};

TEST_F(Trace, EveryMemberPrintsItsLine)
{
    all([](CopyCall call) {
        const auto found = lines(call, 1, 1);
        ASSERT_EQ(found.size(), 1U);
        EXPECT_EQ(found[0].enabled, 1);
        EXPECT_EQ(found[0].seconds, 3.0);
        EXPECT_EQ(found[0].text,
                  call.line(core().calls("qnm_trans_" + catalogue::to_lower(call.entry().name())).at(0)));
    });
}

TEST_F(Trace, FormatsAreThePublishedOnes)
{
    const auto format = [](const char* name, Form form) {
        core().reset();
        CopyCall call(member(name), form);
        lines(call, 1, 1);
        return core().calls("qnm_serv_snprintf_s").at(0).text;
    };
    EXPECT_EQ(format("QNM_DOMATCOPY", Form::fortran), "QNM_DOMATCOPY(%c, %c, %d, %d, %f, %p, %d, %p, %d)");
    EXPECT_EQ(format("QNM_DOMATCOPY", Form::c), "QNM_DOMATCOPY(%c, %c, %zu, %zu, %f, %p, %zu, %p, %zu)");
    EXPECT_EQ(format("QNM_DIMATCOPY", Form::fortran), "QNM_DIMATCOPY(%c, %c, %d, %d, %f, %p, %d, %d)");
    EXPECT_EQ(format("QNM_DOMATADD", Form::fortran),
              "QNM_DOMATADD(%c, %c, %c, %d, %d, %f, %p, %d, %f, %p, %d, %p, %d)");
    EXPECT_EQ(format("QNM_DOMATCOPY2", Form::c),
              "QNM_DOMATCOPY2(%c, %c, %zu, %zu, %f, %p, %zu, %zu, %p, %zu, %zu)");
    EXPECT_EQ(format("QNM_DOMATCOPY_BATCH", Form::fortran),
              "QNM_DOMATCOPY_BATCH(%c, %p, %p, %p, %p, %p, %p, %p, %p, %d, %p)");
    EXPECT_EQ(format("QNM_DOMATCOPY_BATCH_STRIDED", Form::fortran),
              "QNM_DOMATCOPY_BATCH_STRIDED(%c, %c, %d, %d, %f, %p, %d, %d, %p, %d, %d, %d)");
    EXPECT_EQ(format("QNM_ZOMATCOPY", Form::fortran), "QNM_ZOMATCOPY(%c, %c, %d, %d, %p, %p, %d, %p, %d)");
    EXPECT_EQ(format("QNM_COMATADD_BATCH_STRIDED", Form::c),
              "QNM_COMATADD_BATCH_STRIDED(%c, %c, %c, %zu, %zu, %p, %p, %zu, %zu, %p, %p, %zu, %zu, %p, %zu, "
              "%zu, %zu)");
}

TEST_F(Trace, TheModeDecidesBeforeAndAfter)
{
    for (const Form form : {Form::fortran, Form::c}) {
        core().reset();
        CopyCall call(member("QNM_SOMATCOPY"), form);
        EXPECT_TRUE(lines(call, 0, 0).empty());
        EXPECT_EQ(readings(), 0U);
        // Off at the end: the first reading was for nothing.
        EXPECT_TRUE(lines(call, 1, 0).empty());
        EXPECT_EQ(readings(), 1U);
        // On during the call: the time is the bare reading.
        const auto late = lines(call, 0, -1, {7, 9});
        ASSERT_EQ(late.size(), 1U);
        EXPECT_EQ(late[0].enabled, 0);
        EXPECT_EQ(late[0].seconds, 7.0);
        EXPECT_EQ(late[0].text, call.line({}));
        // A clock at zero is read again all the same.
        const auto zero = lines(call, 2, 2, {0, 4});
        ASSERT_EQ(zero.size(), 1U);
        EXPECT_EQ(zero[0].seconds, 4.0);
        EXPECT_EQ(readings(), 2U);
    }
}

TEST_F(Trace, TheModeIsAskedForAtEachCall)
{
    CopyCall call(member("QNM_DIMATCOPY"), Form::c);
    for (int i = 0; i < 3; ++i)
        call.run();
    EXPECT_EQ(core().calls("qnm_serv_verbose_mode").size(), 3U);
    EXPECT_EQ(layer().file().locals().count("qnm_dimatcopy.verbose_ptr"), 0U);
}

TEST_F(Trace, ARefusedCallIsShownBehindItsReport)
{
    CopyCall call(member("QNM_DOMATCOPY"), Form::fortran);
    call.spoil("lda");
    const auto found = lines(call, 1, 0); // the core, which would turn it off, is not called
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].text, call.line({}));
    std::vector<std::string> story;
    for (const Call& noted : core().calls())
        story.push_back(noted.name);
    EXPECT_THAT(story, testing::ElementsAre("qnm_serv_set_xerbla_interface", "qnm_serv_verbose_mode",
                                            "qnm_serv_dsecnd", "qnm_serv_strnlen_s", "qnm_serv_xerbla",
                                            "qnm_serv_dsecnd", "qnm_serv_snprintf_s",
                                            "qnm_serv_print_verbose_info"));
}

} // namespace
} // namespace qnm::tests
