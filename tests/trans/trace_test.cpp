// Lines and times: the mode is asked for at each call and read on both sides of the core.
#include "copy_call.hpp"

namespace qnm::tests {
namespace {

using recording::Printed;
using ::testing::ElementsAre;

class Trace : public TransTest {
protected:
    /// The lines of a call, with the core setting the mode while it runs.
    static std::vector<Call> lines(const CopyCall& call, int before, int after,
                                   std::vector<double> clock = {2, 5, 1000})
    {
        core().clear();
        core().mode(before);
        core().clock(std::move(clock));
        core().answers(call.core_name()).calling([=](Call&, Answer&) { core().mode(after); });
        call.run();
        return core().calls("qnm_serv_print_verbose_info");
    }
    static std::size_t readings() { return core().calls("qnm_serv_dsecnd").size(); }
};

TEST_F(Trace, EveryMemberPrintsItsLine)
{
    all([](const CopyCall& call) {
        const auto found = lines(call, 1, 1);
        EXPECT_THAT(found, ElementsAre(Printed(call.line(core().calls(call.core_name()).at(0)), 3.0)));
    });
}

TEST_F(Trace, FormatsAreThePublishedOnes)
{
    const std::tuple<const char*, Form, const char*> formats[] = {
        {"QNM_DOMATCOPY", Form::fortran, "(%c, %c, %d, %d, %f, %p, %d, %p, %d)"},
        {"QNM_DOMATCOPY", Form::c, "(%c, %c, %zu, %zu, %f, %p, %zu, %p, %zu)"},
        {"QNM_DIMATCOPY", Form::fortran, "(%c, %c, %d, %d, %f, %p, %d, %d)"},
        {"QNM_DOMATADD", Form::fortran, "(%c, %c, %c, %d, %d, %f, %p, %d, %f, %p, %d, %p, %d)"},
        {"QNM_DOMATCOPY2", Form::c, "(%c, %c, %zu, %zu, %f, %p, %zu, %zu, %p, %zu, %zu)"},
        {"QNM_DOMATCOPY_BATCH", Form::fortran, "(%c, %p, %p, %p, %p, %p, %p, %p, %p, %d, %p)"},
        {"QNM_DOMATCOPY_BATCH_STRIDED", Form::fortran, "(%c, %c, %d, %d, %f, %p, %d, %d, %p, %d, %d, %d)"},
        {"QNM_ZOMATCOPY", Form::fortran, "(%c, %c, %d, %d, %p, %p, %d, %p, %d)"},
        {"QNM_COMATADD_BATCH_STRIDED", Form::c,
         "(%c, %c, %c, %zu, %zu, %p, %p, %zu, %zu, %p, %p, %zu, %zu, %p, %zu, %zu, %zu)"},
    };
    for (const auto& [name, form, format] : formats) {
        core().reset();
        lines(CopyCall(name, form), 1, 1);
        EXPECT_EQ(core().calls("qnm_serv_snprintf_s").at(0).text, std::string(name) + format);
    }
}

TEST_F(Trace, TheModeDecidesBeforeAndAfter)
{
    for (const Form form : {Form::fortran, Form::c}) {
        core().reset();
        const CopyCall call("QNM_SOMATCOPY", form);
        EXPECT_TRUE(lines(call, 0, 0).empty());
        EXPECT_EQ(readings(), 0U);
        // Off at the end: the first reading was for nothing.
        EXPECT_TRUE(lines(call, 1, 0).empty());
        EXPECT_EQ(readings(), 1U);
        // On during the call: the time is the bare reading.
        const auto late = lines(call, 0, -1, {7, 9});
        ASSERT_EQ(late.size(), 1U);
        EXPECT_EQ(late[0].int32(0), 0);
        EXPECT_EQ(late[0].real(0), 7.0);
        EXPECT_EQ(late[0].text, call.line());
        // A clock at zero is read again all the same.
        EXPECT_THAT(lines(call, 2, 2, {0, 4}), ElementsAre(Printed(call.line(), 4.0)));
        EXPECT_EQ(readings(), 2U);
        EXPECT_THAT(lines(call, -1, 1, {1, 4}), ElementsAre(Printed(call.line(), 3.0))); // on, too
    }
}

TEST_F(Trace, TheModeIsAskedForAtEachCall)
{
    const CopyCall call("QNM_DIMATCOPY", Form::c);
    for (int i = 0; i < 3; ++i)
        call.run();
    EXPECT_EQ(core().calls("qnm_serv_verbose_mode").size(), 3U);
    EXPECT_EQ(layer().file().locals().count("qnm_dimatcopy.verbose_ptr"), 0U);
}

TEST_F(Trace, ARefusedCallIsShownBehindItsReport)
{
    CopyCall call("QNM_DOMATCOPY", Form::fortran);
    call.spoil("lda"); // so the core, which would turn the mode off, is not called
    EXPECT_THAT(lines(call, 1, 0), ElementsAre(Printed(call.line(), 3.0)));
    EXPECT_THAT(story(),
                ElementsAre("qnm_serv_set_xerbla_interface", "qnm_serv_verbose_mode", "qnm_serv_dsecnd",
                            "qnm_serv_strnlen_s", "qnm_serv_xerbla", "qnm_serv_dsecnd", "qnm_serv_snprintf_s",
                            "qnm_serv_print_verbose_info"));
}

} // namespace
} // namespace qnm::tests
