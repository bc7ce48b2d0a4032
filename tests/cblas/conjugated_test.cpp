// Complex level 2, row-major: conjugated copies and vectors, their memory, and what is left behind.
#include "c_call.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

using recording::Answer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr int conjugate_transpose = 113;

/// What a row-major call does to vectors: those copied and those turned in place, with their lengths.
struct Turned {
    std::vector<std::string> roots;
    bool by_trans;      // for 113 only
    std::string copied; // "x m"
    std::string in_place;
    bool in_step = false; // copies keep the signs of increments
};

const std::vector<Turned>& all_turned()
{
    static const std::vector<Turned> all{{{"gemv", "gbmv"}, true, "x m", "y n"},
                                         {{"hemv", "hbmv", "hpmv"}, false, "x n", "y n"},
                                         {{"her", "hpr"}, false, "x n", ""},
                                         {{"her2"}, false, "x n y n", ""},
                                         {{"hpr2"}, false, "x n y n", "", true},
                                         {{"gerc"}, false, "y n", ""},
                                         {{"trmv", "tbmv", "tpmv", "tbsv", "tpsv", "trsv"}, true, "", "x n"}};
    return all;
}

class Conjugated : public recording::RecordedTest {
protected:
    Conjugated() { core().ignore("qnm_serv_verbose_mode"); }
};

CCall make_call(const Member& member, const Turned& turned)
{
    CCall call(member, row_major);
    if (turned.by_trans)
        call.set("trans", conjugate_transpose);
    return call.settle();
}

/// Visits each complex member with its facts.
template <class Visit>
void each(Visit visit)
{
    for (const Turned& turned : all_turned())
        for (const std::string& root : turned.roots)
            for (const Member& member : members_of(root)) {
                if (!member.complex())
                    continue;
                SCOPED_TRACE(member.name());
                visit(member, turned);
                if (::testing::Test::HasFatalFailure())
                    return;
            }
}

double element(const CCall& call, const void* array, std::int64_t index)
{
    return call.member().single() ? static_cast<const float*>(array)[index]
                                  : static_cast<const double*>(array)[index];
}

/// A vector's memory up to its end and a little beyond.
std::vector<double> memory_of(const CCall& call, const std::string& vector)
{
    std::vector<double> values;
    for (std::int64_t i = 0; i < 64; ++i)
        values.push_back(element(call, call.address(vector), i));
    return values;
}

/// The same, the imaginary parts of n elements turned.
std::vector<double> turned_memory(std::vector<double> values, std::int64_t n, std::int64_t increment)
{
    for (std::int64_t i = 0; i < (increment == 0 ? 1 : n); ++i)
        values.at(static_cast<std::size_t>(2 * i * std::abs(increment) + 1)) *= -1;
    return values;
}

/// The conjugate of a vector in its own order, or in the order of memory.
std::vector<double> expected_copy(const std::vector<double>& memory, std::int64_t n, std::int64_t increment,
                                  bool in_step)
{
    std::vector<double> copy;
    for (std::int64_t i = 0; i < n; ++i) {
        const std::int64_t at = (increment < 0 && !in_step ? n - 1 - i : i) * std::abs(increment);
        copy.push_back(memory.at(static_cast<std::size_t>(2 * at)));
        copy.push_back(-memory.at(static_cast<std::size_t>(2 * at + 1)));
    }
    return copy;
}

/// Where a conjugated argument stands in the Fortran call.
std::size_t place_of(const Member& member, const std::string& argument)
{
    const auto places = words(member.family->rows);
    const auto found = std::find_if(places.begin(), places.end(), [&](const std::string& word) {
        return word == argument || word == argument + "*";
    });
    return static_cast<std::size_t>(found - places.begin());
}

std::string called(const Member& member)
{
    return member.routine.substr(1) == "gerc" ? std::string("qnm_blas_") + member.letter + "geru"
                                              : member.core();
}

std::vector<std::pair<std::string, std::string>> pairs(const std::string& text)
{
    const auto all = words(text);
    std::vector<std::pair<std::string, std::string>> found;
    for (std::size_t i = 0; i < all.size(); i += 2)
        found.emplace_back(all[i], all[i + 1]);
    return found;
}

TEST_F(Conjugated, VectorsAndScalarsAreConjugatedForTheLengthOfTheCall)
{
    each([](const Member& member, const Turned& turned) {
        for (const auto& [incx, incy] :
             {std::pair{2, 3}, std::pair{-2, 3}, std::pair{3, -2}, std::pair{-1, -1}}) {
            CCall call = make_call(member, turned);
            call.set("incx", incx);
            if (call.has("incy"))
                call.set("incy", incy);
            std::map<std::string, std::vector<double>> before;
            for (const char* vector : {"x", "y"})
                if (call.has("inc" + std::string(vector)))
                    before[vector] = memory_of(call, vector);
            int looked = 0;
            core().answers(called(member)).calling([&](Call& noted, Answer&) {
                ++looked;
                for (const auto& [vector, length] : pairs(turned.copied)) {
                    const std::int64_t n = call.value(length), increment = call.value("inc" + vector);
                    const std::size_t place = place_of(member, vector);
                    std::vector<double> copy;
                    for (std::int64_t i = 0; i < 2 * n; ++i)
                        copy.push_back(element(call, noted.pointer<void>(place), i));
                    EXPECT_EQ(copy, expected_copy(before[vector], n, increment, turned.in_step)) << vector;
                    EXPECT_EQ(noted.behind<std::int64_t>(place_of(member, "inc" + vector)),
                              turned.in_step && increment < 0 ? -1 : 1);
                }
                for (const auto& [vector, length] : pairs(turned.in_place)) {
                    EXPECT_EQ(noted.pointer<const void>(place_of(member, vector)), call.address(vector));
                    EXPECT_EQ(memory_of(call, vector),
                              turned_memory(before[vector], call.value(length), call.value("inc" + vector)));
                }
                for (const char* scalar : {"alpha", "beta"})
                    if (const auto place = place_of(member, scalar);
                        !turned.in_place.empty() && place < words(member.family->rows).size()) {
                        EXPECT_EQ(element(call, noted.pointer<void>(place), 0),
                                  element(call, call.address(scalar), 0));
                        EXPECT_EQ(element(call, noted.pointer<void>(place), 1),
                                  -element(call, call.address(scalar), 1));
                    }
                if (!turned.by_trans)
                    call.expect_passed(noted);
                else
                    EXPECT_EQ(noted.letter(place_of(member, "trans:TN*")), 'N');
            });
            core().clear();
            call.run();
            EXPECT_EQ(looked, 1);
            for (const auto& [vector, memory] : before)
                EXPECT_EQ(memory_of(call, vector), memory) << vector;
            EXPECT_EQ(core().calls("qnm_serv_allocate").size(), pairs(turned.copied).size());
            EXPECT_EQ(core().live_blocks(), 0U);
        }
    });
}

TEST_F(Conjugated, ScratchHasItsSizeAndItsAlignment)
{
    each([](const Member& member, const Turned& turned) {
        CCall call = make_call(member, turned);
        core().clear();
        call.run();
        const auto copies = pairs(turned.copied);
        const auto blocks = core().calls("qnm_serv_allocate");
        ASSERT_EQ(blocks.size(), copies.size());
        for (std::size_t i = 0; i < copies.size(); ++i) {
            const std::int64_t reals = 2 * call.value(copies[i].second);
            EXPECT_THAT(blocks[i], recording::Allocated(
                                       static_cast<std::size_t>(reals * (member.single() ? 4 : 8)), 128));
        }
    });
}

TEST_F(Conjugated, TheCountOfRealsHasTheCallersWidth)
{
    constexpr std::int64_t large = std::int64_t{1} << 30;
    for (const Member& member : members_of("her")) {
        CCall call(member, row_major);
        call.set("n", large).set("lda", large);
        core().clear();
        core().fail_allocation(1);
        call.run();
        const std::int64_t reals = member.wide ? 2 * large : -2 * large;
        EXPECT_EQ(core().calls("qnm_serv_allocate").at(0).int64(0), reals * (member.single() ? 4 : 8))
            << member.name();
    }
}

TEST_F(Conjugated, WithoutMemoryNothingIsTouchedAndNothingLost)
{
    each([](const Member& member, const Turned& turned) {
        const std::size_t copies = pairs(turned.copied).size();
        for (std::size_t failing = 1; failing <= copies; ++failing) {
            CCall call = make_call(member, turned);
            const auto x = memory_of(call, "x");
            const auto y = call.has("y") || member.family->arguments.find(" y ") != std::string::npos
                               ? memory_of(call, "y")
                               : x;
            core().clear();
            core().fail_allocation(failing);
            call.run();
            EXPECT_THAT(reports(), ElementsAre(std::pair(member.name(), 1000)));
            EXPECT_THAT(core().calls(called(member)), IsEmpty());
            EXPECT_EQ(memory_of(call, "x"), x);
            EXPECT_EQ(core().live_blocks(), 0U);
            const auto told = story();
            // The first block goes back ahead of the report that there was no second.
            EXPECT_LE(std::find(told.begin(), told.end(), "qnm_serv_deallocate") - told.begin(),
                      failing == 2 ? std::find(told.begin(), told.end(), "qnm_serv_xerbla") - told.begin()
                                   : static_cast<std::ptrdiff_t>(told.size()));
            if (failing == 2) {
                EXPECT_THAT(core().calls("qnm_serv_deallocate"), SizeIs(1));
            }
        }
    });
}

TEST_F(Conjugated, ABadArgumentLeavesVectorsAndMemoryAsTheyWere)
{
    each([](const Member& member, const Turned& turned) {
        for (const char* bad : {"n", "k", "lda", "incx", "incy"}) {
            CCall call = make_call(member, turned);
            if (!call.has(bad))
                continue;
            SCOPED_TRACE(bad);
            call.spoil(bad);
            const auto x = memory_of(call, "x");
            core().clear();
            call.run();
            EXPECT_EQ(memory_of(call, "x"), x);
            EXPECT_EQ(core().live_blocks(), 0U);
            // Scratch comes ahead of the tests, but in gemv; a negative size has none.
            const bool scratch = !turned.by_trans && std::string(bad) != "n";
            EXPECT_EQ(core().calls("qnm_serv_allocate").size(), scratch ? pairs(turned.copied).size() : 0U);
        }
    });
}

TEST_F(Conjugated, AnEmptyProblemGoesOnAsItCame)
{
    each([](const Member& member, const Turned& turned) {
        CCall call = make_call(member, turned);
        call.set("n", 0);
        core().clear();
        call.run();
        EXPECT_THAT(core().calls("qnm_serv_allocate"), IsEmpty());
        if (!member.family->idle.empty()) {
            EXPECT_THAT(story(), IsEmpty());
            return;
        }
        const auto noted = core().calls(called(member));
        ASSERT_THAT(noted, SizeIs(1));
        EXPECT_EQ(noted[0].pointer<const void>(place_of(member, "x")), call.address("x"));
        EXPECT_EQ(noted[0].behind<std::int64_t>(place_of(member, "incx")), call.value("incx"));
    });
}

/// What a vector holds while a report is under way.
std::vector<double> while_reported(const CCall& call, const std::string& vector)
{
    std::vector<double> seen;
    core().answers("qnm_serv_xerbla").calling([&](Call&, Answer&) { seen = memory_of(call, vector); });
    call.run();
    return seen;
}

TEST_F(Conjugated, AnIncrementOfZeroTurnsOneElementOnce)
{
    for (const char* root : {"hemv", "hbmv", "hpmv"})
        for (const Member& member : members_of(root)) {
            SCOPED_TRACE(member.name());
            CCall call(member, row_major);
            call.set("incy", 0);
            const auto before = memory_of(call, "y");
            core().clear();
            EXPECT_EQ(while_reported(call, "y"), turned_memory(before, 1, 0));
            EXPECT_EQ(memory_of(call, "y"), before);
            EXPECT_THAT(reports(), ElementsAre(std::pair(member.name(), call.position("incy"))));
        }
}

TEST_F(Conjugated, TrsvStoppedByDiagLeavesXConjugated)
{
    for (const Member& member : members_of("trsv")) {
        if (!member.complex())
            continue;
        SCOPED_TRACE(member.name());
        for (const char* bad : {"uplo", "diag"}) {
            CCall call(member, row_major);
            call.set("trans", conjugate_transpose).spoil(bad);
            const auto before = memory_of(call, "x");
            core().clear();
            call.run();
            EXPECT_EQ(memory_of(call, "x"), std::string(bad) == "diag"
                                                ? turned_memory(before, call.value("n"), call.value("incx"))
                                                : before);
            EXPECT_THAT(reports(), ElementsAre(std::pair(member.name(), call.position(bad))));
        }
    }
    // The others go on, and bring it back.
    for (const Member& member : members_of("trmv"))
        if (member.complex()) {
            CCall call(member, row_major);
            call.set("trans", conjugate_transpose).spoil("diag");
            const auto before = memory_of(call, "x");
            call.run();
            EXPECT_EQ(memory_of(call, "x"), before);
        }
}

TEST_F(Conjugated, AQuickReturnComesAheadOfScratch)
{
    for (const Member& member : members_of("gemv"))
        if (member.complex()) {
            CCall call(member, row_major);
            call.set("trans", conjugate_transpose).scalar("alpha", 0).scalar("beta", 1).run();
            EXPECT_THAT(story(), IsEmpty()) << member.name();
            call.scalar("beta", 1, 0.5).run();
            EXPECT_THAT(core().calls(member.core()), SizeIs(1));
            core().clear();
        }
}

TEST_F(Conjugated, Her2kConjugatesAlphaInACopy)
{
    for (const Member& member : members_of("her2k")) {
        const CCall call(member, row_major);
        int looked = 0;
        core().answers(member.core()).calling([&](Call& noted, Answer&) {
            ++looked;
            EXPECT_EQ(element(call, noted.pointer<void>(4), 0), element(call, call.address("alpha"), 0));
            EXPECT_EQ(element(call, noted.pointer<void>(4), 1), -element(call, call.address("alpha"), 1));
        });
        call.run();
        EXPECT_EQ(looked, 1);
    }
}

TEST_F(Conjugated, ABatchOfVectorsIsConjugatedWhole)
{
    for (const Member& member : members_of("gemv_batch_strided")) {
        if (!member.complex())
            continue;
        SCOPED_TRACE(member.name());
        CCall call(member, row_major);
        call.set("trans", conjugate_transpose).settle().set("incx", -2).set("stridex", 11);
        const auto x = memory_of(call, "x"), y = memory_of(call, "y");
        int looked = 0;
        core().answers(member.core()).calling([&](Call& noted, Answer&) {
            ++looked;
            const std::int64_t m = call.value("m");
            std::vector<double> expected = expected_copy(x, m, -2, false);
            const auto second = expected_copy({x.begin() + 22, x.end()}, m, -2, false);
            expected.insert(expected.end(), second.begin(), second.end());
            std::vector<double> copies;
            for (std::int64_t i = 0; i < 4 * m; ++i)
                copies.push_back(element(call, noted.pointer<void>(place_of(member, "x")), i));
            EXPECT_EQ(copies, expected);
            EXPECT_EQ(noted.behind<std::int64_t>(place_of(member, "stridex")), m);
            EXPECT_EQ(noted.behind<std::int64_t>(place_of(member, "incx")), 1);
            EXPECT_EQ(memory_of(call, "y"), turned_memory(y, call.value("n"), call.value("incy")));
        });
        call.run();
        EXPECT_EQ(looked, 1);
        EXPECT_EQ(memory_of(call, "y"), y);
        core().clear();
        core().fail_allocation(1);
        call.run();
        EXPECT_THAT(reports(), ElementsAre(std::pair(member.name(), 1000)));
        EXPECT_EQ(memory_of(call, "y"), y);
    }
}

} // namespace
} // namespace qnm::tests
