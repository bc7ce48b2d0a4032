// Complex level 2, row-major: conjugated copies and vectors, their memory, and what is left behind.
#include "c_call.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Values = std::vector<double>;

/// What a row-major call does to vectors: those copied and those turned in place, with their lengths.
struct Turned {
    const char* roots;
    bool by_trans; // for 113 only
    const char *copied, *in_place;
    bool in_step = false; // copies keep the signs of increments
};

const Turned all_turned[] = {
    {"gemv gbmv gemv_batch_strided", true, "x m", "y n"}, // of a batch the first vectors are looked at
    {"hemv hbmv hpmv", false, "x n", "y n"},
    {"her hpr", false, "x n", ""},
    {"her2", false, "x n y n", ""},
    {"hpr2", false, "x n y n", "", true},
    {"gerc", false, "y n", ""},
    {"trmv tbmv tpmv tbsv tpsv trsv", true, "", "x n"},
};

/// Words in pairs: vectors and their lengths.
std::vector<std::pair<std::string, std::string>> pairs(const std::string& text)
{
    const auto all = words(text);
    std::vector<std::pair<std::string, std::string>> found;
    for (std::size_t i = 0; i < all.size(); i += 2)
        found.emplace_back(all[i], all[i + 1]);
    return found;
}

/// Numbers of the call's type, behind a pointer or in one of its vectors.
Values numbers(const CCall& call, const void* array, std::int64_t count)
{
    Values values;
    for (std::int64_t i = 0; i < count; ++i)
        values.push_back(call.member().single() ? static_cast<const float*>(array)[i]
                                                : static_cast<const double*>(array)[i]);
    return values;
}

Values memory_of(const CCall& call, const std::string& vector)
{
    return numbers(call, call.address(vector), 64);
}

/// The same, the imaginary parts of n elements turned.
Values turned_memory(Values values, std::int64_t n, std::int64_t increment)
{
    for (std::int64_t i = 0; i < (increment == 0 ? 1 : n); ++i)
        values.at(static_cast<std::size_t>(2 * i * std::abs(increment) + 1)) *= -1;
    return values;
}

/// The conjugate of a vector in its own order, or in the order of memory.
Values expected_copy(const Values& memory, std::int64_t n, std::int64_t increment, bool in_step = false)
{
    Values copy;
    for (std::int64_t i = 0; i < n; ++i) {
        const std::int64_t at = (increment < 0 && !in_step ? n - 1 - i : i) * std::abs(increment);
        copy.push_back(memory.at(static_cast<std::size_t>(2 * at)));
        copy.push_back(-memory.at(static_cast<std::size_t>(2 * at + 1)));
    }
    return copy;
}

/// The core function, gerc's being that without a conjugate.
std::string called(const Member& member)
{
    std::string name = member.core();
    if (member.is("gerc"))
        name.back() = 'u';
    return name;
}

class Conjugated : public CTest {
protected:
    static std::vector<Member> complex_members_of(const std::string& roots)
    {
        std::vector<Member> found = members_of(roots);
        std::erase_if(found, [](const Member& member) { return !member.complex(); });
        return found;
    }

    static CCall conjugate_call(const Member& member)
    {
        CCall call(member, row_major);
        return call.set("trans", conjugate_transpose).settle();
    }

    /// Visits a call of each complex member with its facts.
    template <class Visit>
    static void each(Visit visit)
    {
        for (const Turned& turned : all_turned)
            for (const Member& member : complex_members_of(turned.roots)) {
                SCOPED_TRACE(member.name());
                visit(turned.by_trans ? conjugate_call(member) : CCall(member, row_major), turned);
                if (::testing::Test::HasFatalFailure())
                    return;
            }
    }

    static void run(const CCall& call)
    {
        core().clear();
        call.run();
        EXPECT_EQ(core().live_blocks(), 0U);
    }
    static void expect_report(const CCall& call, int code)
    {
        EXPECT_THAT(reports(), ElementsAre(std::pair(call.member().name(), code)));
    }
};

TEST_F(Conjugated, VectorsAndScalarsAreConjugatedForTheLengthOfTheCall)
{
    each([](CCall call, const Turned& turned) {
        for (const auto& [incx, incy] : {std::pair{2, 3}, {-2, 3}, {3, -2}, {-1, -1}}) {
            call.set("incx", incx);
            if (call.has("incy"))
                call.set("incy", incy);
            const CCall before = call;
            int looked = 0;
            core().answers(called(call.member())).calling([&](Call& noted, Answer&) {
                ++looked;
                for (const auto& [vector, length] : pairs(turned.copied)) {
                    const std::int64_t n = call.get(length), increment = call.get("inc" + vector);
                    EXPECT_EQ(numbers(call, noted.pointer<void>(call.place(vector)), 2 * n),
                              expected_copy(memory_of(before, vector), n, increment, turned.in_step));
                    EXPECT_EQ(noted.behind(call.place("inc" + vector)),
                              turned.in_step && increment < 0 ? -1 : 1);
                }
                for (const auto& [vector, length] : pairs(turned.in_place)) {
                    EXPECT_EQ(noted.pointer<const char>(call.place(vector)), call.address(vector));
                    EXPECT_EQ(
                        memory_of(call, vector),
                        turned_memory(memory_of(before, vector), call.get(length), call.get("inc" + vector)));
                }
                for (const char* scalar : {"alpha", "beta"})
                    if (*turned.in_place != '\0' && call.has(scalar)) {
                        EXPECT_EQ(numbers(call, noted.pointer<void>(call.place(scalar)), 2),
                                  turned_memory(numbers(call, call.address(scalar), 2), 1, 1));
                    }
                if (turned.by_trans)
                    EXPECT_EQ(noted.letter(call.place("trans")), 'N');
                else
                    call.expect_passed(noted);
            });
            run(call);
            EXPECT_EQ(looked, 1);
            for (const char* vector : {"x", "y"})
                if (call.has(vector)) {
                    EXPECT_EQ(memory_of(call, vector), memory_of(before, vector)) << vector;
                }
            const auto copies = pairs(turned.copied);
            const auto blocks = core().calls("qnm_serv_allocate");
            ASSERT_EQ(blocks.size(), copies.size());
            const std::size_t problems = call.has("batch_size") ? call.get<std::size_t>("batch_size") : 1;
            for (std::size_t i = 0; i < copies.size(); ++i)
                EXPECT_THAT(blocks[i],
                            recording::Allocated(problems * call.get<std::size_t>(copies[i].second) *
                                                     (call.member().single() ? 8 : 16),
                                                 128));
        }
    });
}

TEST_F(Conjugated, TheCountOfRealsHasTheCallersWidth)
{
    constexpr std::int64_t large = std::int64_t{1} << 30;
    for (const Member& member : members_of("her")) {
        CCall call(member, row_major);
        core().fail_allocation(1);
        run(call.set("n", large).set("lda", large));
        const std::int64_t reals = member.wide ? 2 * large : -2 * large;
        EXPECT_EQ(core().calls("qnm_serv_allocate").at(0).int64(0), reals * (member.single() ? 4 : 8))
            << member.name();
    }
}

TEST_F(Conjugated, WithoutMemoryNothingIsTouchedAndNothingLost)
{
    each([](const CCall& call, const Turned& turned) {
        for (std::size_t failing = 1; failing <= pairs(turned.copied).size(); ++failing) {
            const CCall before = call;
            core().fail_allocation(failing);
            run(call);
            expect_report(call, 1000);
            EXPECT_THAT(core().calls(called(call.member())), IsEmpty());
            for (const char* vector : {"x", "y"})
                if (call.has(vector)) {
                    EXPECT_EQ(memory_of(call, vector), memory_of(before, vector));
                }
            // The first block goes back ahead of the report that there was no second.
            std::vector<std::string> told = story();
            std::erase(told, "qnm_serv_allocate");
            if (failing == 2) {
                EXPECT_THAT(told, ElementsAre("qnm_serv_deallocate", "qnm_serv_set_xerbla_interface",
                                              "qnm_serv_strnlen_s", "qnm_serv_xerbla"));
            }
        }
    });
}

TEST_F(Conjugated, ABadArgumentLeavesVectorsAndMemoryAsTheyWere)
{
    each([](const CCall& good, const Turned& turned) {
        for (const std::string bad : {"n", "k", "lda", "incx", "incy"}) {
            CCall call = good;
            if (!call.has(bad))
                continue;
            SCOPED_TRACE(bad);
            run(call.spoil(bad));
            EXPECT_EQ(memory_of(call, "x"), memory_of(good, "x"));
            // Scratch comes ahead of the tests, but in gemv; a negative size has none.
            const bool scratch = !turned.by_trans && bad != "n";
            EXPECT_EQ(core().calls("qnm_serv_allocate").size(), scratch ? pairs(turned.copied).size() : 0U);
        }
    });
}

TEST_F(Conjugated, AnEmptyProblemGoesOnAsItCame)
{
    each([](CCall call, const Turned&) {
        if (call.has("batch_size"))
            return; // asks m
        run(call.set("n", 0));
        EXPECT_THAT(core().calls("qnm_serv_allocate"), IsEmpty());
        if (*call.member().family->idle != '\0') {
            EXPECT_THAT(story(), IsEmpty());
            return;
        }
        const auto noted = core().calls(called(call.member()));
        ASSERT_THAT(noted, SizeIs(1));
        EXPECT_EQ(noted[0].pointer<const char>(call.place("x")), call.address("x"));
        EXPECT_EQ(noted[0].behind(call.place("incx")), call.get("incx"));
    });
}

TEST_F(Conjugated, AnIncrementOfZeroTurnsOneElementOnce)
{
    for (const Member& member : members_of("hemv hbmv hpmv")) {
        SCOPED_TRACE(member.name());
        CCall call(member, row_major);
        const Values before = memory_of(call, "y");
        Values seen; // while the report is under way
        core().answers("qnm_serv_xerbla").calling([&](Call&, Answer&) { seen = memory_of(call, "y"); });
        run(call.set("incy", 0));
        EXPECT_EQ(seen, turned_memory(before, 1, 0));
        EXPECT_EQ(memory_of(call, "y"), before);
        expect_report(call, call.position("incy"));
    }
}

TEST_F(Conjugated, TrsvStoppedByDiagLeavesXConjugated)
{
    for (const Member& member : complex_members_of("trsv trmv"))
        for (const std::string bad : {"uplo", "diag"}) {
            SCOPED_TRACE(member.name() + " " + bad);
            CCall call = conjugate_call(member);
            const Values before = memory_of(call, "x");
            run(call.spoil(bad));
            // The others go on, and bring it back.
            const bool left = bad == "diag" && member.is("trsv");
            EXPECT_EQ(memory_of(call, "x"),
                      left ? turned_memory(before, call.get("n"), call.get("incx")) : before);
            EXPECT_THAT(c_reports(member), ElementsAre(std::pair(member.name(), call.position(bad))));
        }
}

TEST_F(Conjugated, AQuickReturnComesAheadOfScratch)
{
    for (const Member& member : complex_members_of("gemv")) {
        CCall call = conjugate_call(member);
        run(call.scalar("alpha", 0).scalar("beta", 1));
        EXPECT_THAT(story(), IsEmpty()) << member.name();
        run(call.scalar("beta", 1, 0.5));
        EXPECT_THAT(core().calls(member.core()), SizeIs(1));
    }
}

} // namespace
} // namespace qnm::tests
