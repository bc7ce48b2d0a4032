// Matrix copy as it is published, by hand: codes and their order, bounds for every layout and transposition,
// formats of lines.
#include "support/function_call.hpp"

namespace qnm::tests {
namespace {

/// The code that a call is refused with; 0 if it passes.
int refusal(const FunctionCall& call)
{
    core().clear();
    call.run();
    return reports().empty() ? 0 : reports()[0].second;
}

class Published : public CoreTest {};

/// Roots of the members, and their tests in order, each behind its code.
const std::map<std::string, const char*> orders{
    {"omatcopy", "1 ordering 7 lda 2 trans 9 ldb "},
    {"imatcopy", "1 ordering 7 lda 2 trans 8 ldb "},
    {"omatcopy2", "1 ordering 7 lda 8 stridea 2 trans 10 ldb 11 strideb "},
    {"omatadd", "1 ordering 8 lda 2 transa 11 ldb 3 transb 13 ldc "},
    {"omatcopy_batch", "1 layout 10 group_count 7 lda_array 2 trans_array 9 ldb_array 11 group_size "},
    {"imatcopy_batch", "1 layout 9 group_count 7 lda_array 2 trans_array 8 ldb_array 10 group_size "},
    {"omatcopy_batch_strided", "1 layout 7 lda 2 trans 10 ldb 11 strideb 12 batch_size "},
    {"imatcopy_batch_strided", "1 layout 7 lda 2 trans 8 ldb 9 stride 10 batch_size "},
    {"omatadd_batch_strided", "1 layout 8 lda 2 transa 12 ldb 3 transb 15 ldc 16 stridec 17 batch_size "},
};

TEST_F(Published, CodesStandInTheOrderOfTesting)
{
    const auto members = signatures([](const Signature& s) { return !s.callees.empty(); });
    EXPECT_EQ(members.size(), 9U * 4 * 2);
    for (const Signature* s : members) {
        QNM_TRACE_SIGNATURE(*s);
        std::string told;
        for (const FunctionCall::Step& step : FunctionCall(*s).steps())
            told += std::to_string(step.code) + ' ' + step.argument + ' ';
        EXPECT_EQ(told, orders.at(bare_name(*s).substr(5)));
    }
}

TEST_F(Published, LinesFitIntoLeadingDimensionsAndMatricesIntoStrides)
{
    for (const auto& order : orders)
        for (const char ordering : {'R', 'c'})
            for (const char trans : {'N', 'r', 't', 'C'}) {
                FunctionCall call("QNM_D" + order.first);
                SCOPED_TRACE(call.signature().names.front() + " " + ordering + trans);
                // One line and the number of lines, as told and transposed.
                const bool turned = trans == 't' || trans == 'C', sum = call.has("transa");
                const int line = ordering == 'c' ? 5 : 30, lines = 35 - line;
                const int turned_line = turned ? lines : line, turned_lines = 35 - turned_line;
                call.choose(call.parameters()[0].name, ordering).choose(sum ? "transa" : "trans", trans);
                if (sum)
                    call.choose("transb", trans).set("ldc", 103);
                call.give("rows=5 cols=30 lda=101 ldb=102").make_valid(); // that is, the distances
                for (const auto& [name, bound] :
                     {std::pair{"lda", sum ? turned_line : line}, std::pair{"ldb", turned_line},
                      std::pair{"ldc", line}, std::pair{"stridec", 103 * lines},
                      std::pair{!sum && call.has("batch_size") ? "strideb" : "-", 102 * turned_lines},
                      std::pair{"stride", std::max(101 * lines, 102 * turned_lines)}})
                    if (call.has(name)) {
                        EXPECT_EQ(refusal(FunctionCall(call).set(name, bound)), 0) << name;
                        EXPECT_NE(refusal(FunctionCall(call).set(name, bound - 1)), 0) << name;
                    }
            }
}

TEST_F(Published, BoundsOfOddCalls)
{
    const std::tuple<const char*, const char*, int> facts[] = {
        {"QNM_DOMATCOPY", "rows=-1 lda=-1 ldb=-1", 0}, // unsigned: as large as can be
        {"QNM_DOMATCOPY", "cols=-1 lda=1000 ldb=-1", 7},
        {"QNM_Domatcopy", "rows=0 cols=0 lda=1 ldb=0", 9},
        {"QNM_COMATCOPY_BATCH", "lda=0 group_count=0", 0},    // of no groups none is looked at
        {"QNM_Domatadd", "transa=x rows=5 cols=30 lda=5", 2}, // whatever the matrix would need
        {"QNM_Domatadd", "transa=x rows=5 cols=30 lda=4", 8},
    };
    for (const auto& [name, given, code] : facts)
        EXPECT_EQ(refusal(FunctionCall(name).give(given)), code) << name << ' ' << given;
}

TEST_F(Published, FormatsAreThePublishedOnes)
{
    const std::pair<std::string, const char*> formats[] = {
        {"QNM_DOMATCOPY", "(%c, %c, %d, %d, %f, %p, %d, %p, %d)"},
        {"QNM_Domatcopy2", "(%c, %c, %zu, %zu, %f, %p, %zu, %zu, %p, %zu, %zu)"},
        {"QNM_DOMATCOPY_BATCH", "(%c, %p, %p, %p, %p, %p, %p, %p, %p, %d, %p)"},
        {"QNM_ZOMATCOPY", "(%c, %c, %d, %d, %p, %p, %d, %p, %d)"},
        {"QNM_Comatcopy_batch_strided", "(%c, %c, %zu, %zu, %p, %p, %zu, %zu, %p, %zu, %zu, %zu)"},
    };
    for (const auto& [name, format] : formats)
        EXPECT_EQ(signature(name).trace, catalogue::to_upper(name) + format);
}

} // namespace
} // namespace qnm::tests
