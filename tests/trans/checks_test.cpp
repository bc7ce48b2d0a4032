// The checks: codes and their order by literals, bounds for every layout and transposition.
#include "copy_call.hpp"

#include <sstream>

namespace qnm::tests {
namespace {

using recording::Called;
using recording::Reported;
using ::testing::ElementsAre;

/// The code that the entry and the exported check report; 0 if both let the call pass.
int code(const CopyCall& call)
{
    core().clear();
    const int answer = call.check();
    const std::vector<Call> by_check = core().calls("qnm_serv_xerbla");
    core().clear();
    call.run();
    const std::vector<Call> by_entry = core().calls("qnm_serv_xerbla");
    EXPECT_EQ(by_check.size(), static_cast<std::size_t>(answer));
    EXPECT_EQ(by_entry.size(), by_check.size());
    EXPECT_EQ(core().calls(call.core_name()).size(), by_entry.empty() ? 1U : 0U);
    if (by_entry.empty() || by_check.empty())
        return 0;
    EXPECT_THAT(by_check[0], Reported(call.lower(), by_entry[0].code()));
    EXPECT_THAT(by_entry[0], Reported(call.lower(), by_entry[0].code()));
    EXPECT_EQ(by_entry[0].code64(), by_entry[0].code());
    return by_entry[0].code();
}

/// Stems of the members, and their tests in order, each behind its code.
const std::pair<const char*, const char*> orders[] = {
    {"OMATCOPY", "1 ordering 7 lda 2 trans 9 ldb"},
    {"IMATCOPY", "1 ordering 7 lda 2 trans 8 ldb"},
    {"OMATCOPY2", "1 ordering 7 lda 8 stridea 2 trans 10 ldb 11 strideb"},
    {"OMATADD", "1 ordering 8 lda 2 transa 11 ldb 3 transb 13 ldc"},
    {"OMATCOPY_BATCH", "1 layout 10 group_count 7 lda_array 2 trans_array 9 ldb_array 11 group_size"},
    {"IMATCOPY_BATCH", "1 layout 9 group_count 7 lda_array 2 trans_array 8 ldb_array 10 group_size"},
    {"OMATCOPY_BATCH_STRIDED", "1 layout 7 lda 2 trans 10 ldb 11 strideb 12 batch_size"},
    {"IMATCOPY_BATCH_STRIDED", "1 layout 7 lda 2 trans 8 ldb 9 stride 10 batch_size"},
    {"OMATADD_BATCH_STRIDED", "1 layout 8 lda 2 transa 12 ldb 3 transb 15 ldc 16 stridec 17 batch_size"},
};

std::vector<std::pair<int, std::string>> in_order(const char* order)
{
    std::istringstream in(order);
    std::vector<std::pair<int, std::string>> tests;
    for (std::pair<int, std::string> test; in >> test.first >> test.second;)
        tests.push_back(test);
    return tests;
}

class Checks : public TransTest {};

TEST_F(Checks, ReportTheFirstBadArgumentInTheOrderOfTesting)
{
    for (const auto& [stem, order] : orders)
        for (const char* letter : {"S", "D", "C", "Z"})
            for (const Form form : {Form::fortran, Form::c}) {
                CopyCall good(std::string("QNM_") + letter + stem, form);
                SCOPED_TRACE(good.entry().name() + (form == Form::c ? ", C form" : ", Fortran form"));
                EXPECT_EQ(code(good), 0);
                CopyCall all_bad = good; // from one test to the last
                const auto tests = in_order(order);
                for (auto test = tests.rbegin(); test != tests.rend(); ++test) {
                    EXPECT_EQ(code(CopyCall(good).spoil(test->second)), test->first);
                    EXPECT_EQ(code(all_bad.spoil(test->second)), test->first);
                }
            }
}

TEST_F(Checks, LinesFitIntoLeadingDimensionsAndMatricesIntoStrides)
{
    for (const auto& order : orders)
        for (const char ordering : {'R', 'c'})
            for (const char trans : {'N', 'r', 't', 'C'}) {
                CopyCall call(std::string("QNM_D") + order.first, Form::c);
                SCOPED_TRACE(call.entry().name() + " " + ordering + trans);
                const bool turned = trans == 't' || trans == 'C', sum = call.has("transa");
                const std::string suffix = call.entry().row->groups ? "_array" : "";
                call.set(call.names()[0], ordering);
                for (const char* name : {"trans", "transa", "transb"})
                    if (call.has(name + suffix))
                        call.set(name + suffix, trans);
                // One line and the number of lines, as told and transposed.
                std::int64_t line = call.get("cols" + suffix), lines = call.get("rows" + suffix);
                if (ordering == 'c')
                    std::swap(line, lines);
                const std::int64_t turned_line = turned ? lines : line, turned_lines = turned ? line : lines;
                const auto expect_bound = [&](const std::string& name, std::int64_t bound) {
                    EXPECT_EQ(code(CopyCall(call).set(name, bound)), 0) << name;
                    EXPECT_NE(code(CopyCall(call).set(name, bound - 1)), 0) << name;
                };
                expect_bound("lda" + suffix, sum ? turned_line : line);
                expect_bound("ldb" + suffix, turned_line);
                if (sum)
                    expect_bound("ldc", line);
                if (call.has("stridec"))
                    expect_bound("stridec", call.get("ldc") * lines);
                else if (call.has("strideb") && call.has("batch_size"))
                    expect_bound("strideb", call.get("ldb") * turned_lines);
                for (const std::int64_t lda : {101, 999})
                    if (call.has("stride"))
                        expect_bound("stride", std::max(call.set("lda", lda).get("lda") * lines,
                                                        call.get("ldb") * turned_lines));
            }
}

TEST_F(Checks, LettersAreOfEitherCaseAndNoOther)
{
    for (const Form form : {Form::fortran, Form::c})
        for (const auto& [name, letters, position] :
             {std::tuple{"ordering", "RrCc", 1}, std::tuple{"trans", "NnRrTtCc", 2}})
            for (int c = 1; c < 256; ++c) {
                CopyCall call("QNM_ZOMATCOPY", form);
                const bool good = std::string(letters).find(static_cast<char>(c)) != std::string::npos;
                EXPECT_EQ(code(call.set("rows", 5).set("cols", 5).set(name, c)), good ? 0 : position) << c;
            }
    // They are not asked of the core.
    core().reset();
    core().listen("qnm_serv_lsame");
    CopyCall("QNM_ZOMATCOPY", Form::c).run();
    EXPECT_TRUE(core().calls("qnm_serv_lsame").empty());
}

TEST_F(Checks, SizesAreUnsigned)
{
    CopyCall call("QNM_DOMATCOPY", Form::fortran);
    EXPECT_EQ(code(call.set("lda", -1).set("ldb", -1)), 0);
    EXPECT_EQ(code(call.set("cols", -1)), 0); // column-major: lda holds rows; ldb is as large as can be
    EXPECT_EQ(code(call.set("lda", 1000).set("rows", -1)), 7);
    CopyCall empty("QNM_DOMATCOPY", Form::c);
    EXPECT_EQ(code(empty.set("rows", 0).set("cols", 0).set("lda", 1).set("ldb", 1)), 0);
    EXPECT_EQ(code(empty.set("ldb", 0)), 9);
}

TEST_F(Checks, ABadLetterIsReportedWhateverItsMatrixWouldNeed)
{
    CopyCall call("QNM_DOMATADD", Form::c); // 5 by 30
    EXPECT_EQ(code(call.set("transa", 'x').set("lda", 5)), 2);
    EXPECT_EQ(code(call.set("lda", 4)), 8);
}

TEST_F(Checks, OfGroupsEachIsLookedAtAndNoOther)
{
    CopyCall none("QNM_COMATCOPY_BATCH", Form::fortran);
    EXPECT_EQ(code(none.spoil("lda_array").set("group_count", 0)), 0);
    EXPECT_EQ(code(none.spoil("layout")), 1);
    for (const std::size_t groups : {1U, 2U, 40U})
        for (const Form form : {Form::fortran, Form::c}) {
            CopyCall call("QNM_ZIMATCOPY_BATCH", form, groups);
            EXPECT_EQ(code(call), 0);
            EXPECT_EQ(code(call.spoil("ldb_array")), 8) << groups; // that of the last group
        }
}

TEST_F(Checks, TheNameIsMeasuredAndTheReportGoesStraightToTheCore)
{
    CopyCall("QNM_DOMATCOPY", Form::c).spoil("trans").run();
    EXPECT_THAT(core().calls(),
                ElementsAre(Called("qnm_serv_set_xerbla_interface"), Called("qnm_serv_verbose_mode"),
                            Called("qnm_serv_strnlen_s", testing::_, 4096), Reported("qnm_domatcopy", 2)));
}

} // namespace
} // namespace qnm::tests
