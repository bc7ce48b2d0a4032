// Memory that cannot be had: each allocation of each narrow entry fails once.
#include "lapack_call.hpp"

namespace qnm::tests {
namespace {

class Failing : public LapackTest {};

/// What an entry calls when its n-th block cannot be had.
std::vector<std::string> failing_story(const LapackCall& call, std::size_t n)
{
    std::vector<std::string> names = beginning(call);
    names.insert(names.end(), n, "qnm_serv_allocate");
    names.insert(names.end(), n - 1, "qnm_serv_deallocate");
    names.emplace_back("qnm_serv_set_xerbla_interface");
    if (bare_name(call.entry()).size() > 6)
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
            const std::size_t blocks = sample.blocks();
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
                const auto lines = core().calls("qnm_serv_print_verbose_info");
                EXPECT_EQ(lines.size(), call.needs_leaf() ? static_cast<std::size_t>(mode) : 0);
                for (const Call& line : lines) { // of the entry that is asked
                    EXPECT_TRUE(line.text.starts_with("ILAENV(9,")) << line.text;
                    for (const char* name :
                         {"qnm_serv_dsecnd", "qnm_serv_snprintf_s", "qnm_serv_print_verbose_info"})
                        std::erase(told, name);
                }
                ASSERT_EQ(told, failing_story(call, n));
                const Call& report = core().calls().back();
                EXPECT_THAT(report, recording::Reported(catalogue::to_upper(bare_name(e)), 1102));
                EXPECT_EQ(report.code64(), 1102);
                EXPECT_EQ(core().live_blocks(), 0U);
                for (const Argument& a : e.row->arguments)
                    if (is_scalar(a)) {
                        EXPECT_EQ(call.integer(a),
                                  a.name == "info" && comes_back(a) ? -1023 : before.integer(a))
                            << a.name;
                    }
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

} // namespace
} // namespace qnm::tests
