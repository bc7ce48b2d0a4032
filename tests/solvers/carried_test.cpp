// Iterative solvers, trust regions and eigenvalues: integers and arrays over to the core and back, where
// their copies lie, and which null addresses are refused.
#include "solvers/members.hpp"
#include "support/function_call.hpp"

namespace qnm::tests {
namespace {

using Numbers = std::map<std::string, std::int64_t>;

constexpr std::int64_t junk = std::int64_t{0x5A5A'5A5A} << 32;
constexpr std::int64_t filled = 5; // of a second factor's columns

/// One call: memory for each argument, and a core that looks at what it gets and overwrites what is its own.
class CarriedCall {
public:
    /// Some numbers of the caller's, and some that the core leaves.
    CarriedCall(const CarriedRoutine& of, Numbers numbers, Numbers left = {})
        : routine(of), given(std::move(numbers)), answers(std::move(left))
    {
        given.insert({{"n", 3}, {"nrhs", 2}, {"maxfil", 1}});
        const std::int64_t n = given["n"], fill = given["maxfil"], guard = 4;
        const Numbers lengths{{"r", 128 + 2 * given["nrhs"]},
                              {"p", n + 1},
                              {"c", 3 * n}, // three elements a row
                              {"L", n + 1},
                              {"J", (2 * fill + 1) * n - fill * (fill + 1) + 1}};
        for (std::size_t i = 0; i < of.arguments.size(); ++i) {
            Memory a;
            const auto& [name, way, length] = of.arguments[i];
            a.is_index = lengths.contains(length) && length != "r";
            a.count = length.empty()             ? 1
                      : a.is_index && n < 1      ? 0
                      : lengths.contains(length) ? lengths.at(length)
                                                 : std::stoll(length);
            for (std::int64_t k = 0; k < std::max<std::int64_t>(a.count, 1); ++k) {
                const std::int64_t own = static_cast<std::int64_t>(1000 * (i + 1)) + 3 * k;
                a.now.push_back(static_cast<int>(length == "p"          ? 1 + 3 * k
                                                 : given.contains(name) ? given[name]
                                                 : k % 2 == 0           ? own
                                                                        : -own));
            }
            a.now.insert(a.now.end(), guard, -77);
            a.before = a.now;
            memory.push_back(a);
            passed.emplace_back(way == '.' ? untouchable_address(i) : memory.back().now.data());
        }
        if (of.arguments.front().name == "uplo")
            passed.emplace_back(0x7BAD'0000UL); // the caller's length
    }

    struct Memory {
        bool is_index = false; // an array that may be missing
        std::int64_t count = 0;
        std::vector<int> now, before;
    };

    support::Returned run(const std::string& name)
    {
        core().clear();
        core().answers(called).calling([this](Call& call, Answer& answer) {
            act(call);
            answer.returns(1501);
        });
        return support::call_words(layer()[name], passed);
    }

    void expect_results()
    {
        for (std::size_t i = 0; i < memory.size(); ++i) {
            const auto& [name, way, length] = routine.arguments[i];
            std::int64_t changed = memory[i].count;
            if (!routine.arguments[i].comes_back() || (is_factor(i) && answers["ierr"] != 0))
                changed = 0;
            else if (length == "J")
                changed = std::min(filled, changed);
            else if (routine.name == "dcgmrhs" && length == "r" && answers.contains("nrhs"))
                changed = 128 + 2 * answers["nrhs"];
            std::vector<int> expected = memory[i].before;
            for (std::int64_t k = 0; k < changed; ++k)
                expected[static_cast<std::size_t>(k)] = static_cast<int>(written(i, k));
            EXPECT_EQ(memory[i].now, expected) << name;
        }
    }

    /// Parameters have a block of the core's memory before indices have, of its size and alignment, and all
    /// are given back behind the core's function.
    void expect_blocks() const
    {
        std::vector<std::string> expected, noted;
        for (const bool index : {false, true})
            for (std::size_t i = 0; i < memory.size(); ++i)
                if (!routine.arguments[i].length.empty() && memory[i].is_index == index &&
                    memory[i].count != 0 && routine.family != "trs")
                    expected.push_back("qnm_serv_allocate " + std::to_string(8 * memory[i].count) +
                                       (routine.family == "feast" ? " 168" : " 128"));
        const std::size_t blocks = expected.size();
        expected.push_back(called);
        expected.insert(expected.end(), blocks, "qnm_serv_deallocate");
        for (const Call& call : core().calls())
            noted.push_back(call.name != "qnm_serv_allocate"
                                ? call.name
                                : call.name + " " + std::to_string(call.word(0)) + " " +
                                      std::to_string(call.word(1)));
        EXPECT_EQ(noted, expected);
    }

    const CarriedRoutine& routine;
    const std::string called = "qnm_" + routine.family + "_" + routine.name;
    Numbers given, answers;
    std::deque<Memory> memory;
    std::vector<support::Word> passed;

private:
    bool is_factor(std::size_t i) const
    {
        return routine.arguments[i].length == "L" || routine.arguments[i].length == "J";
    }

    /// What the core leaves in element k of argument i.
    std::int64_t written(std::size_t i, std::int64_t k) const
    {
        const auto& [name, way, length] = routine.arguments[i];
        if (const auto told = answers.find(name); told != answers.end())
            return told->second;
        return length == "L" && k == given.at("n") ? filled + 1
                                                   : junk + static_cast<std::int64_t>(500'000 * (i + 1)) + k;
    }

    void act(const Call& call)
    {
        for (std::size_t i = 0; i < memory.size(); ++i) {
            const CarriedArgument& a = routine.arguments[i];
            SCOPED_TRACE(a.name);
            auto* const place = call.pointer<std::int64_t>(i);
            if (a.way == '.' || memory[i].count == 0) {
                EXPECT_EQ(call.word(i), a.way == '.' ? passed[i].bits() : 0);
                continue;
            }
            const auto caller = std::vector<std::int64_t>(memory[i].before.begin(),
                                                          memory[i].before.begin() + memory[i].count);
            EXPECT_NE(call.word(i), passed[i].bits());
            EXPECT_EQ(std::equal(caller.begin(), caller.end(), place), a.goes_in());
            if (a.comes_back() || answers.contains(a.name))
                for (std::int64_t k = 0; k < memory[i].count; ++k)
                    place[k] = written(i, k);
        }
        if (routine.arguments.front().name == "uplo") {
            EXPECT_EQ(call.word(memory.size()), 1U);
        }
    }
};

class Carried : public CoreTest {
protected:
    static void expect_carried(const CarriedRoutine& routine, const std::string& name, const Numbers& given,
                               const Numbers& left = {{"ierr", 0}})
    {
        SCOPED_TRACE(name + " " + ::testing::PrintToString(given) + ::testing::PrintToString(left));
        CarriedCall call(routine, given, left);
        const support::Returned returned = call.run(name);
        if (routine.family == "trs") {
            EXPECT_EQ(returned.int32(), 1501);
        }
        call.expect_blocks();
        call.expect_results();
    }
};

TEST_F(Carried, IntegersAndArraysGoOverAndComeBack)
{
    EXPECT_EQ(carried_routines().size(), 75U);
    for (const CarriedRoutine& routine : carried_routines()) {
        const Signature& told = signature(routine.name);
        std::string upper = routine.name, listed, published;
        std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
        EXPECT_EQ(told.names, (std::vector{upper, routine.name, routine.name + "_"}));
        for (const CarriedArgument& a : routine.arguments)
            listed += a.name + " ";
        for (const Parameter& p : told.parameters)
            published += p.name + " ";
        EXPECT_EQ(published, listed);
        for (const std::string& name : told.names)
            expect_carried(routine, name, {});
        for (const int n : {1, 0, -2, 40})
            expect_carried(routine, routine.name, {{"n", n}});
    }
}

TEST_F(Carried, WhatTheCoreLeavesSaysHowMuchComesBack)
{
    for (const CarriedRoutine& routine : carried_routines()) {
        if (routine.name.starts_with("dcgmrhs")) // right-hand sides
            for (const int nrhs : {0, 1, 9})
                for (int left = 0; left <= nrhs; ++left)
                    expect_carried(routine, routine.name, {{"nrhs", nrhs}}, {{"nrhs", left}});
        if (routine.name == "dcsrilut")
            for (const std::int64_t ierr : {0, -101, -104})
                for (const int n : {2, 3, 7})
                    expect_carried(routine, routine.name, {{"n", n}}, {{"ierr", ierr}});
    }
}

TEST_F(Carried, NullAddressesAreRefusedAsPublished)
{
    for (const CarriedRoutine& routine : carried_routines())
        for (std::size_t i = 0; i < routine.arguments.size(); ++i) {
            const bool positions = routine.family == "feast";
            const auto is_asked = [&](std::size_t k) { return positions || routine.arguments[k].way != '.'; };
            const auto is_info = [&](std::size_t k) {
                return positions && routine.arguments[k].name == "info";
            };
            if (routine.family == "iss" || !is_asked(i))
                continue;
            SCOPED_TRACE(routine.arguments[i].name + " of " + routine.name);
            CarriedCall call(routine, {});
            for (std::size_t k = i; k < routine.arguments.size(); ++k) // the first is told
                if (k == i || (is_asked(k) && !is_info(k)))
                    call.passed[k] = nullptr;
            const support::Returned returned = call.run(routine.name);
            EXPECT_TRUE(core().calls().empty());
            if (!positions) {
                EXPECT_EQ(returned.int32(), 1502);
            }
            for (std::size_t k = 0; k < call.memory.size(); ++k) {
                if (is_info(k) && k != i)
                    call.memory[k].before[0] = -(101 + static_cast<int>(i));
                EXPECT_EQ(call.memory[k].now, call.memory[k].before) << routine.arguments[k].name;
            }
        }
}

} // namespace
} // namespace qnm::tests
