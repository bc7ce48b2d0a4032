// Iterative solvers, trust regions and eigenvalues: integers and arrays over to the core and back, where
// their copies lie, and which null addresses are refused.
#include "solvers/members.hpp"
#include "support/function_call.hpp"

#include <deque>

namespace qnm::tests {
namespace {

using support::Word;

constexpr std::int64_t junk = std::int64_t{0x5A5A'5A5A} << 32;
constexpr int untouched = -77;

/// One call: memory for each argument, and a core that looks at what it gets and overwrites what is its own.
class CarriedCall {
public:
    static constexpr std::size_t guard = 4;

    CarriedCall(const CarriedRoutine& of, int n, int nrhs = 2) : routine(of)
    {
        given_["n"] = n;
        given_["nrhs"] = nrhs;
        given_["maxfil"] = 1;
        for (std::size_t i = 0; i < of.arguments.size(); ++i) {
            const std::string& told = of.arguments[i];
            const std::size_t end = told.find_first_of(".+<=");
            Argument a{told.substr(0, end), told[end], told.substr(end + 1), 0, {}};
            const auto value = given_.find(a.name);
            const int number = value == given_.end() ? 1000 + static_cast<int>(10 * i) : value->second;
            a.count = count(a.length);
            a.memory.assign(static_cast<std::size_t>(std::max<std::int64_t>(a.count, 1)) + guard, untouched);
            for (std::size_t k = 0; k + guard < a.memory.size(); ++k)
                a.memory[k] = number + (k % 2 == 0 ? 1 : -1) * static_cast<int>(3 * k);
            if (a.length == "p") // three elements a row
                for (std::size_t k = 0; k + guard < a.memory.size(); ++k)
                    a.memory[k] = 1 + static_cast<int>(3 * k);
            all.push_back(std::move(a));
            passed.emplace_back(a.way == '.' ? untouchable_address(i) : all.back().memory.data());
        }
        if (of.arguments.front() == "uplo.")
            passed.emplace_back(0x7BAD'0000UL); // the caller's length
    }

    struct Argument {
        std::string name;
        char way;
        std::string length;
        std::int64_t count; // below 0: no array
        std::vector<int> memory;
        bool goes_in() const { return way == '+' || way == '='; }
        bool comes_back() const { return way == '<' || way == '='; }
        /// An index array, which may be missing.
        bool is_index() const
        {
            return !length.empty() && std::string("pcLJ").find(length) != std::string::npos;
        }
    };

    support::Returned run(const std::string& name)
    {
        core().clear();
        core().answers(routine.core).calling([this](Call& call, Answer& answer) {
            act(call);
            answer.returns(1501);
        });
        return support::call_words(layer()[name], passed);
    }

    /// What the core leaves in element k of argument i.
    std::int64_t written(std::size_t i, std::int64_t k) const
    {
        const Argument& a = all[i];
        if (a.name == "ierr")
            return ierr;
        if (a.length == "L" && k == given_.at("n"))
            return 6; // five elements
        return junk + static_cast<std::int64_t>(500'000 * (i + 1)) + k;
    }

    const CarriedRoutine& routine;
    std::deque<Argument> all;
    std::vector<Word> passed;
    std::int64_t ierr = 0;
    std::int64_t returned_nrhs = -1; // which the core leaves behind; below 0: as it was

    int given(const std::string& name) const { return given_.at(name); }
    const Argument* find(const std::string& name) const
    {
        for (const Argument& a : all)
            if (a.name == name)
                return &a;
        return nullptr;
    }

    /// How many elements of an array come back.
    std::int64_t back(const Argument& a) const
    {
        if (a.length == "L")
            return ierr == 0 ? a.count : 0;
        if (a.length == "J")
            return ierr == 0 ? std::min<std::int64_t>(5, a.count) : 0;
        if (a.length == "r" && returned_nrhs >= 0 && routine.name == "dcgmrhs")
            return 128 + 2 * returned_nrhs;
        return a.count;
    }

    void expect_results(const CarriedCall& before) const
    {
        for (std::size_t i = 0; i < all.size(); ++i) {
            const Argument& a = all[i];
            SCOPED_TRACE(a.name);
            const std::int64_t changed = !a.comes_back() ? 0 : a.length.empty() ? 1 : back(a);
            for (std::int64_t k = 0; k < static_cast<std::int64_t>(a.memory.size()); ++k)
                ASSERT_EQ(a.memory[static_cast<std::size_t>(k)],
                          k < changed ? static_cast<int>(written(i, k))
                                      : before.all[i].memory[static_cast<std::size_t>(k)])
                    << k;
        }
    }

    /// Blocks of the core's memory, parameters before indices, of their size and alignment, and all given
    /// back.
    void expect_blocks() const
    {
        const std::size_t alignment = routine.core.starts_with("qnm_feast") ? 168 : 128;
        std::vector<std::pair<std::size_t, std::size_t>> expected, taken;
        std::vector<std::uint64_t> places;
        const Call& noted = core().calls(routine.core).at(0);
        for (const bool index : {false, true})
            for (std::size_t i = 0; i < all.size(); ++i)
                if (const Argument& a = all[i]; !a.length.empty() && a.is_index() == index && a.count >= 0 &&
                                                !routine.core.starts_with("qnm_trs")) {
                    expected.emplace_back(8 * a.count, alignment);
                    places.push_back(noted.word(i));
                }
        for (const Call& each : core().calls("qnm_serv_allocate"))
            taken.emplace_back(each.word(0), each.word(1));
        EXPECT_EQ(taken, expected);
        std::vector<std::uint64_t> released;
        for (const Call& each : core().calls("qnm_serv_deallocate"))
            released.push_back(each.word(0));
        std::sort(places.begin(), places.end());
        std::sort(released.begin(), released.end());
        EXPECT_EQ(released, places);
        EXPECT_EQ(core().live_blocks(), 0U);
        EXPECT_EQ(story().size(), 2 * expected.size() + 1);
    }

private:
    std::int64_t count(const std::string& length) const
    {
        const std::int64_t n = given_.at("n"), fill = given_.at("maxfil");
        if (length.empty())
            return 0;
        if (length == "r")
            return 128 + 2 * static_cast<std::int64_t>(given_.at("nrhs"));
        if (std::isdigit(length[0]) != 0)
            return std::stoll(length);
        if (n < 1)
            return -1;
        return length == "c" ? 3 * n : length == "J" ? (2 * fill + 1) * n - fill * (fill + 1) + 1 : n + 1;
    }

    void act(const Call& call)
    {
        for (std::size_t i = 0; i < all.size(); ++i) {
            const Argument& a = all[i];
            SCOPED_TRACE(a.name);
            auto* const place = call.pointer<std::int64_t>(i);
            if (a.way == '.' || a.count < 0) {
                EXPECT_EQ(call.word(i), a.count < 0 ? 0 : passed[i].bits());
                continue;
            }
            const std::int64_t count = a.length.empty() ? 1 : a.count;
            EXPECT_NE(call.word(i), passed[i].bits());
            if (a.way == '<') {
                EXPECT_FALSE(std::equal(place, place + count, a.memory.begin())) << "was filled";
            }
            for (std::int64_t k = 0; k < count; ++k) {
                if (a.goes_in()) {
                    ASSERT_EQ(place[k], a.memory[static_cast<std::size_t>(k)]) << k;
                }
                if (a.comes_back())
                    place[k] = written(i, k);
            }
            if (a.name == "nrhs" && returned_nrhs >= 0)
                *place = returned_nrhs;
        }
        if (all.front().name == "uplo") {
            EXPECT_EQ(call.word(all.size()), 1U);
        }
    }

    std::map<std::string, int> given_;
};

class Carried : public CoreTest {
protected:
    static void expect_carried(const CarriedRoutine& routine, const std::string& name, int n, int nrhs = 2,
                               std::int64_t returned_nrhs = -1, std::int64_t ierr = 0)
    {
        SCOPED_TRACE(name + " n " + std::to_string(n) + " nrhs " + std::to_string(nrhs));
        CarriedCall call(routine, n, nrhs);
        const CarriedCall before(routine, n, nrhs);
        call.returned_nrhs = returned_nrhs;
        call.ierr = ierr;
        const support::Returned returned = call.run(name);
        if (routine.core.starts_with("qnm_trs")) {
            EXPECT_EQ(returned.int32(), 1501);
        }
        call.expect_blocks();
        call.expect_results(before);
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
        for (const std::string& a : routine.arguments)
            listed += a.substr(0, a.find_first_of(".+<=")) + " ";
        for (const Parameter& p : told.parameters)
            published += p.name + " ";
        EXPECT_EQ(published, listed);
        for (const std::string& name : told.names)
            expect_carried(routine, name, 3);
        for (const int n : {1, 0, -2, 40})
            expect_carried(routine, routine.name, n);
    }
}

TEST_F(Carried, ParametersOfRightHandSidesAreCountedByTheCoreWhereItIsAsked)
{
    for (const CarriedRoutine& routine : carried_routines())
        if (routine.name.starts_with("dcgmrhs"))
            for (const int nrhs : {0, 1, 9})
                for (const std::int64_t returned : {-1, 0, 1})
                    if (returned <= nrhs)
                        expect_carried(routine, routine.name, 3, nrhs, returned);
}

TEST_F(Carried, IncompleteFactorsComeBackIfThereWasNoError)
{
    for (const CarriedRoutine& routine : carried_routines())
        if (routine.name == "dcsrilut")
            for (const std::int64_t ierr : {0, -101, -104})
                for (const int n : {2, 3, 7})
                    expect_carried(routine, routine.name, n, 2, -1, ierr);
}

TEST_F(Carried, NullAddressesAreRefusedAsPublished)
{
    for (const CarriedRoutine& routine : carried_routines()) {
        if (routine.core.starts_with("qnm_iss"))
            continue; // nobody asks
        const bool eigenvalues = routine.core.starts_with("qnm_feast");
        for (std::size_t i = 0; i < routine.arguments.size(); ++i) {
            SCOPED_TRACE(routine.arguments[i] + " of " + routine.name);
            CarriedCall call(routine, 3);
            const CarriedCall before(routine, 3);
            if (!eigenvalues && call.all[i].way == '.')
                continue;
            for (std::size_t k = i; k < routine.arguments.size(); ++k) // the first is told
                if ((!eigenvalues && call.all[k].way != '.') || (eigenvalues && call.all[k].name != "info") ||
                    k == i)
                    call.passed[k] = nullptr;
            const support::Returned returned = call.run(routine.name);
            EXPECT_TRUE(core().calls().empty());
            if (!eigenvalues) {
                EXPECT_EQ(returned.int32(), 1502);
            }
            for (std::size_t k = 0; k < call.all.size(); ++k) {
                if (call.all[k].name == "info" && eigenvalues && i != k) {
                    EXPECT_EQ(call.all[k].memory[0], -(101 + static_cast<int>(i)));
                } else {
                    EXPECT_EQ(call.all[k].memory, before.all[k].memory) << call.all[k].name;
                }
            }
        }
    }
}

} // namespace
} // namespace qnm::tests
