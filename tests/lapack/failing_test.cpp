// Memory that cannot be had: each allocation of each narrow entry fails once.
#include "lapack_call.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

class Failing : public LapackTest {};

std::string upper_name(const Entry& entry)
{
    return catalogue::to_upper(lapack_core(entry).substr(std::string_view("qnm_lapack_").size()));
}

/// What an entry with this number of blocks calls when the last of them cannot be had.
std::vector<std::string> failing_story(const LapackCall& call, std::size_t failing)
{
    std::vector<std::string> names{"qnm_serv_set_xerbla_interface"};
    if (call.needs_leaf())
        names.insert(names.end(), {"qnm_serv_set_xerbla_interface", "qnm_lapack_ilaenv"});
    names.insert(names.end(), failing, "qnm_serv_allocate");
    names.insert(names.end(), failing - 1, "qnm_serv_deallocate");
    names.emplace_back("qnm_serv_set_xerbla_interface");
    if (upper_name(call.entry()).size() > 6)
        names.emplace_back("qnm_serv_strnlen_s");
    names.emplace_back("qnm_serv_xerbla");
    return names;
}

TEST_F(Failing, EachAllocationOnce)
{
    std::size_t members = 0, failures = 0;
    for (const int mode : {0, 1})
        for (const Entry& e : entries()) {
            QNM_TRACE_ENTRY(e);
            const LapackCall sample(e, 40);
            const auto arrays = sample.copied();
            const auto blocks = static_cast<std::size_t>(std::count_if(
                arrays.begin(), arrays.end(), [&](const Argument* a) { return sample.block(*a) != 0; }));
            members += blocks > 0 ? 1 : 0;
            core().mode(0);
            sample.run(); // binds the cell of what is asked for the leaves
            core().mode(mode);
            for (std::size_t n = 1; n <= blocks; ++n, ++failures) {
                SCOPED_TRACE(n);
                LapackCall call(e, 40);
                const LapackCall before = call;
                core().clear();
                core().fail_allocation(n);
                const support::Returned returned = call.run();
                std::vector<std::string> told = story();
                std::erase_if(told, [&](const std::string& name) { // the lines of ilaenv
                    return call.needs_leaf() && (name == "qnm_serv_dsecnd" || name == "qnm_serv_snprintf_s" ||
                                                 name == "qnm_serv_print_verbose_info");
                });
                ASSERT_EQ(told, failing_story(call, n));
                const Call& report = core().calls().back();
                EXPECT_THAT(report, recording::Reported(upper_name(e), 1102));
                EXPECT_EQ(report.code64(), 1102);
                EXPECT_EQ(core().live_blocks(), 0U);
                for (const Argument& a : e.row->arguments)
                    if (a.kind == Kind::integer) {
                        EXPECT_EQ(call.integer(a),
                                  a.name == "info" && comes_back(a) ? -1023 : before.integer(a))
                            << a.name;
                    }
                EXPECT_EQ(call.arrays().size(), before.arrays().size());
                for (const auto& [argument, array] : before.arrays())
                    EXPECT_EQ(call.elements(*argument), array) << argument->name;
                if (e.row->result.kind == catalogue::ResultKind::value) {
                    EXPECT_EQ(returned.float64(), 0.0);
                }
            }
        }
    EXPECT_GE(members, 2 * 780U) << "few arrays are short at size 40";
    EXPECT_GE(failures, 2 * 1100U);
}

TEST_F(Failing, LinesOfAFailedCallAreIlaenvsAlone)
{
    core().mode(1);
    LapackCall call("DGELSD", 40);
    core().fail_allocation(1);
    call.run();
    const auto lines = core().calls("qnm_serv_print_verbose_info");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].text.starts_with("ILAENV(9,D,")) << lines[0].text;
    LapackCall plain("DGETRF", 40);
    core().clear();
    core().fail_allocation(1);
    plain.run();
    EXPECT_TRUE(core().calls("qnm_serv_print_verbose_info").empty());
}

} // namespace
} // namespace qnm::tests
