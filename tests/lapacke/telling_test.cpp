// Telling members by facts of the published interface, written by hand: nothing here comes from the plans but
// how a call is made. Positions count the layout.
#include "c_call.hpp"

#include <algorithm>

namespace qnm::tests {

namespace {

struct Fact {
    const char* name;
    std::map<std::string, char> letters;
    std::map<std::string, std::int64_t> sizes;
    std::vector<int> checked;         // arrays in the order of NaN checks
    std::vector<int> leading;         // leading dimensions in the order of their tests
    std::vector<std::string> in;      // copies that the routine gets filled
    std::vector<std::string> back;    // matrices that come back
    std::vector<std::int64_t> blocks; // bytes that are allocated; a query answers 100
};

void PrintTo(const Fact& fact, std::ostream* out)
{
    *out << fact.name;
}

const std::vector<Fact> facts{
    {"LAPACKE_dgesv", {}, {{"n", 4}, {"nrhs", 2}}, {4, 7}, {5, 8}, {"a", "b"}, {"a", "b"}, {128, 64}},
    {"LAPACKE_dgesvd",
     {{"jobu", 'A'}, {"jobvt", 'S'}},
     {{"m", 5}, {"n", 4}},
     {6},
     {7, 10, 12},
     {"a"},
     {"a", "u", "vt"},
     {800, 160, 200, 128}},
    {"LAPACKE_dgesdd",
     {{"jobz", 'O'}},
     {{"m", 5}, {"n", 4}},
     {5},
     {6, 9, 11},
     {"a"},
     {"a", "vt"},
     {128, 800, 160, 128}},
    {"LAPACKE_zgeev",
     {{"jobvl", 'N'}, {"jobvr", 'V'}},
     {{"n", 4}},
     {5},
     {6, 9, 11},
     {"a"},
     {"a", "vr"},
     {64, 1600, 256, 256}},
    {"LAPACKE_dsyevr",
     {{"jobz", 'V'}, {"range", 'V'}, {"uplo", 'U'}},
     {{"n", 4}},
     {6, 12, 8, 9},
     {7, 16},
     {"a"},
     {"a", "z"},
     {400, 800, 128, 128}},
    {"LAPACKE_zheev", {{"jobz", 'N'}, {"uplo", 'L'}}, {{"n", 4}}, {5}, {6}, {"a"}, {"a"}, {80, 1600, 256}},
    {"LAPACKE_dormqr",
     {{"side", 'R'}, {"trans", 'N'}},
     {{"m", 5}, {"n", 4}, {"k", 3}},
     {7, 10, 9},
     {8, 11},
     {"a", "c"},
     {"c"},
     {800, 96, 160}},
    {"LAPACKE_dgesvx",
     {{"fact", 'F'}, {"trans", 'N'}, {"equed", 'B'}},
     {{"n", 4}, {"nrhs", 2}},
     {6, 8, 14, 13, 12},
     {7, 9, 15, 17},
     {"a", "af", "b"},
     {"b", "x"},
     {16, 128, 128, 128, 64, 64}},
    {"LAPACKE_dgbsv",
     {},
     {{"n", 4}, {"kl", 1}, {"ku", 2}, {"nrhs", 2}},
     {6, 9},
     {7, 10},
     {"ab", "b"},
     {"ab", "b"},
     {160, 64}},
    {"LAPACKE_zhptrf", {{"uplo", 'U'}}, {{"n", 4}}, {4}, {}, {"ap"}, {"ap"}, {160}},
    // The published one tests ldb against m, which is the wrong way round in row-major.
    {"LAPACKE_dtfsm",
     {{"transr", 'N'}, {"side", 'L'}, {"uplo", 'U'}, {"trans", 'N'}, {"diag", 'N'}},
     {{"m", 5}, {"n", 4}},
     {10, 9, 11},
     {12},
     {"a", "b"},
     {"b"},
     {120, 160}},
    {"LAPACKE_dlarfb",
     {{"side", 'L'}, {"trans", 'N'}, {"direct", 'F'}, {"storev", 'C'}},
     {{"m", 5}, {"n", 4}, {"k", 3}},
     {9, 11, 13},
     {10, 12, 14},
     {"v", "t", "c"},
     {"c"},
     {96, 120, 72, 160}},
    // The published ones report other numbers than the positions.
    {"LAPACKE_ctpqrt",
     {},
     {{"m", 5}, {"n", 4}, {"l", 2}, {"nb", 2}},
     {6, 8},
     {7, 9, 11},
     {"a", "b"},
     {"a", "b", "t"},
     {64, 128, 160, 64}},
};

class Telling : public LapackeTest, public ::testing::WithParamInterface<Fact> {
protected:
    CCall valid()
    {
        CCall call(member(GetParam().name), row_major, chance);
        for (const auto& [name, letter] : GetParam().letters)
            call.choose(name, letter);
        for (const auto& [name, size] : GetParam().sizes)
            call.set(name, size);
        return call.lay_out();
    }
    /// Positions that a call reports one by one, each mended before the next.
    template <class Mend>
    static std::vector<int> refused(CCall& call, Mend&& mend)
    {
        Routine routine(call);
        routine.answer = [](std::size_t) { return 300; };
        std::vector<int> positions;
        for (double code = call.run(); code < 0 && positions.size() < 10; code = call.run()) {
            positions.push_back(static_cast<int>(-code));
            for (const LapackeArgument& a : call.plan().arguments)
                if (a.position == positions.back())
                    mend(a.argument->name);
        }
        return positions;
    }
};

TEST_P(Telling, ChecksForNanInThePublishedOrder)
{
    const CCall clean = valid();
    CCall call = clean;
    for (const LapackeArgument& a : call.plan().arguments)
        if (a.argument->type != "char" && call.memory().count(a.argument->name) != 0 &&
            !call.element(a).integer)
            for (std::int64_t k = 0; k < 300; ++k)
                call.put_nan(a, k, k % 2 == 0);
    EXPECT_EQ(refused(call, [&](const std::string& name) { call.memory(name) = clean.memory(name); }),
              GetParam().checked);
}

TEST_P(Telling, TestsLeadingDimensionsInTheOrderOfArguments)
{
    const CCall good = valid();
    CCall call = good;
    for (const LapackeArgument& a : call.plan().arguments)
        if (a.argument->name.starts_with("ld") && !a.hidden)
            call.set(a.argument->name, 0);
    EXPECT_EQ(refused(call, [&](const std::string& name) { call.set(name, good.integer(name)); }),
              GetParam().leading);
}

TEST_P(Telling, CopiesWhatTheRoutineReadsAndWrites)
{
    CCall call = valid();
    const CCall before = call;
    Routine routine(call);
    routine.answer = [](std::size_t) { return 100; };
    std::vector<std::string> in, back;
    auto plain = core().answers(call.member().routine()).action();
    core().answers(call.member().routine()).calling([&](Call& noted, recording::Answer& reply) {
        for (std::size_t i = 0; i < call.plan().arguments.size(); ++i) {
            const std::string& name = call.plan().arguments[i].argument->name;
            const bool may =
                call.argument(name).address && !call.argument(name).hidden && call.memory().count(name) != 0;
            const auto* copy = noted.pointer<const unsigned char>(i);
            if (may && copy != nullptr && copy != call.memory(name).data() &&
                !call.element(call.argument(name)).integer &&
                std::any_of(copy, copy + 64,
                            [](unsigned char byte) { return byte != recording::Core::poison; }))
                in.push_back(name);
        }
        plain(noted, reply);
    });
    core().clear();
    EXPECT_EQ(call.run(), 0);
    for (const LapackeArgument& a : call.plan().arguments)
        if (const std::string& name = a.argument->name;
            call.memory().count(name) != 0 && a.argument->type != "char")
            if (!call.element(a).integer && call.memory(name) != before.memory(name))
                back.push_back(name);
    EXPECT_EQ(in, GetParam().in);
    EXPECT_EQ(back, GetParam().back);
    EXPECT_EQ(allocated(), GetParam().blocks);
}

INSTANTIATE_TEST_SUITE_P(Members, Telling, ::testing::ValuesIn(facts),
                         [](const auto& fact) { return std::string(fact.param.name).substr(8); });

} // namespace

} // namespace qnm::tests
