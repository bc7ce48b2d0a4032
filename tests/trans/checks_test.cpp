// The checks: codes and their order by literals, bounds for every layout and transposition.
#include "copy_call.hpp"

namespace qnm::tests {
namespace {

using recording::Called;
using recording::Reported;
using ::testing::ElementsAre;

class Checks : public TransTest {
protected:
    /// The code that the entry and the exported check report; 0 if both let the call pass.
    static int code(CopyCall& call)
    {
        const std::string lower = catalogue::to_lower(call.entry().name());
        core().clear();
        const int answer = call.check();
        const std::vector<Call> by_check = core().calls("qnm_serv_xerbla");
        core().clear();
        call.run();
        const std::vector<Call> by_entry = core().calls("qnm_serv_xerbla");
        EXPECT_EQ(by_check.size(), static_cast<std::size_t>(answer));
        EXPECT_EQ(by_entry.size(), by_check.size());
        EXPECT_EQ(core().calls("qnm_trans_" + lower).size(), by_entry.empty() ? 1U : 0U);
        if (by_entry.empty() || by_check.empty())
            return 0;
        EXPECT_THAT(by_check[0], Reported(lower, by_entry[0].code()));
        EXPECT_THAT(by_entry[0], Reported(lower, by_entry[0].code()));
        EXPECT_EQ(by_entry[0].code64(), by_entry[0].code());
        return by_entry[0].code();
    }
};

struct Order {
    const char* stem;
    std::vector<std::pair<int, const char*>> tests;
};
const std::vector<Order> orders{
    {"OMATCOPY", {{1, "ordering"}, {7, "lda"}, {2, "trans"}, {9, "ldb"}}},
    {"IMATCOPY", {{1, "ordering"}, {7, "lda"}, {2, "trans"}, {8, "ldb"}}},
    {"OMATCOPY2", {{1, "ordering"}, {7, "lda"}, {8, "stridea"}, {2, "trans"}, {10, "ldb"}, {11, "strideb"}}},
    {"OMATADD", {{1, "ordering"}, {8, "lda"}, {2, "transa"}, {11, "ldb"}, {3, "transb"}, {13, "ldc"}}},
    {"OMATCOPY_BATCH",
     {{1, "layout"},
      {10, "group_count"},
      {7, "lda_array"},
      {2, "trans_array"},
      {9, "ldb_array"},
      {11, "group_size"}}},
    {"IMATCOPY_BATCH",
     {{1, "layout"},
      {9, "group_count"},
      {7, "lda_array"},
      {2, "trans_array"},
      {8, "ldb_array"},
      {10, "group_size"}}},
    {"OMATCOPY_BATCH_STRIDED",
     {{1, "layout"}, {7, "lda"}, {2, "trans"}, {10, "ldb"}, {11, "strideb"}, {12, "batch_size"}}},
    {"IMATCOPY_BATCH_STRIDED",
     {{1, "layout"}, {7, "lda"}, {2, "trans"}, {8, "ldb"}, {9, "stride"}, {10, "batch_size"}}},
    {"OMATADD_BATCH_STRIDED",
     {{1, "layout"},
      {8, "lda"},
      {2, "transa"},
      {12, "ldb"},
      {3, "transb"},
      {15, "ldc"},
      {16, "stridec"},
      {17, "batch_size"}}}};

TEST_F(Checks, ReportTheFirstBadArgumentInTheOrderOfTesting)
{
    for (const Order& order : orders)
        for (const std::string letter : {"S", "D", "C", "Z"})
            for (const Form form : {Form::fortran, Form::c}) {
                const Entry& entry = member("QNM_" + letter + order.stem);
                QNM_TRACE_MEMBER(entry, form);
                CopyCall all_bad(entry, form), good(entry, form);
                EXPECT_EQ(code(good), 0);
                for (auto test = order.tests.rbegin(); test != order.tests.rend(); ++test) {
                    CopyCall alone(entry, form);
                    EXPECT_EQ(code(alone.spoil(test->second)), test->first);
                    EXPECT_EQ(code(all_bad.spoil(test->second)), test->first);
                }
            }
}

TEST_F(Checks, LeadingDimensionsHoldALineOfTheirMatrix)
{
    for (const Order& order : orders)
        for (const char ordering : {'R', 'c'})
            for (const char trans : {'N', 'r', 't', 'C'}) {
                const Entry& entry = member("QNM_D" + std::string(order.stem));
                CopyCall call(entry, Form::c);
                SCOPED_TRACE(entry.name() + " " + ordering + trans);
                const bool turned = trans == 't' || trans == 'C', rows_first = ordering == 'c';
                const bool sum = entry.row->find("transa") != nullptr;
                const std::string suffix = entry.row->groups ? "_array" : "";
                call.set_letter(entry.row->arguments[0].name, ordering);
                for (const char* name : {"trans", "transa", "transb"})
                    if (entry.row->find(name + suffix) != nullptr)
                        call.set_letter(name + suffix, trans);
                const std::int64_t rows = call.get("rows" + suffix), cols = call.get("cols" + suffix);
                const std::int64_t straight = rows_first ? rows : cols, across = rows_first ? cols : rows;
                const auto expect_bound = [&](const std::string& name, std::int64_t bound) {
                    const std::int64_t good = call.get(name);
                    EXPECT_EQ(code(call.set(name, bound)), 0) << name;
                    EXPECT_NE(code(call.set(name, bound - 1)), 0) << name;
                    call.set(name, good);
                };
                expect_bound("lda" + suffix, sum && turned ? across : straight);
                expect_bound("ldb" + suffix, turned ? across : straight);
                if (sum)
                    expect_bound("ldc", straight);
            }
}

TEST_F(Checks, LettersAreOfEitherCaseAndNoOther)
{
    for (const Form form : {Form::fortran, Form::c}) {
        CopyCall call(member("QNM_ZOMATCOPY"), form);
        call.set("rows", 5).set("cols", 5);
        for (int c = 1; c < 256; ++c) {
            const char letter = static_cast<char>(c);
            const std::string text(1, letter);
            EXPECT_EQ(code(call.set_letter("ordering", letter)), std::string("RrCc").find(letter) < 4 ? 0 : 1)
                << c;
            call.set_letter("ordering", 'R');
            EXPECT_EQ(code(call.set_letter("trans", letter)),
                      std::string("NnRrTtCc").find(letter) < 8 ? 0 : 2)
                << c;
            call.set_letter("trans", 'N');
        }
    }
    // They are not asked of the core.
    core().reset();
    core().listen("qnm_serv_lsame");
    CopyCall(member("QNM_ZOMATCOPY"), Form::c).run();
    EXPECT_TRUE(core().calls("qnm_serv_lsame").empty());
}

TEST_F(Checks, SizesAreUnsigned)
{
    CopyCall call(member("QNM_DOMATCOPY"), Form::fortran);
    EXPECT_EQ(code(call.set("lda", -1).set("ldb", -1)), 0);
    EXPECT_EQ(code(call.set("cols", -1)), 0); // column-major: lda holds rows; ldb is as large as can be
    EXPECT_EQ(code(call.set("lda", 1000).set("rows", -1)), 7);
    CopyCall empty(member("QNM_DOMATCOPY"), Form::c);
    EXPECT_EQ(code(empty.set("rows", 0).set("cols", 0).set("lda", 1).set("ldb", 1)), 0);
    EXPECT_EQ(code(empty.set("ldb", 0)), 9);
}

TEST_F(Checks, ABadLetterIsReportedWhateverItsMatrixWouldNeed)
{
    CopyCall call(member("QNM_DOMATADD"), Form::c); // 5 by 30
    call.set_letter("transa", 'x');
    EXPECT_EQ(code(call.set("lda", 5)), 2);
    EXPECT_EQ(code(call.set("lda", 4)), 8);
}

TEST_F(Checks, NoGroupsNeedNoArrays)
{
    CopyCall call(member("QNM_COMATCOPY_BATCH"), Form::fortran);
    call.spoil("lda_array").set("group_count", 0);
    EXPECT_EQ(code(call), 0);
    EXPECT_EQ(code(call.spoil("layout")), 1);
}

TEST_F(Checks, EveryGroupIsLookedAt)
{
    for (const std::size_t groups : {1U, 2U, 40U})
        for (const Form form : {Form::fortran, Form::c}) {
            CopyCall call(member("QNM_ZIMATCOPY_BATCH"), form, groups);
            EXPECT_EQ(code(call), 0);
            EXPECT_EQ(code(call.spoil("ldb_array")), 8) << groups; // that of the last group
        }
}

TEST_F(Checks, TheNameIsMeasuredAndTheReportGoesStraightToTheCore)
{
    CopyCall(member("QNM_DOMATCOPY"), Form::c).spoil("trans").run();
    EXPECT_THAT(core().calls(),
                ElementsAre(Called("qnm_serv_set_xerbla_interface"), Called("qnm_serv_verbose_mode"),
                            Called("qnm_serv_strnlen_s", testing::_, 4096), Reported("qnm_domatcopy", 2)));
}

} // namespace
} // namespace qnm::tests
