// Complex level 2, row-major: the memory of conjugated copies, and what is left behind. That the vectors are
// right, the twins of numbers_test.cpp show.
#include "calls.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

using Values = std::vector<double>;

/// The vectors that a row-major call copies, with their lengths; others are turned in place.
struct Turned {
    const char* roots;
    bool by_trans; // for 113 only
    const char* copied;
};

const Turned all_turned[] = {
    {"gemv gbmv gemv_batch_strided", true, "x m"}, // of a batch the first vectors are looked at
    {"hemv hbmv hpmv her hpr", false, "x n"},      {"her2 hpr2", false, "x n y n"}, {"gerc", false, "y n"},
    {"trmv tbmv tpmv tbsv tpsv trsv", true, ""},
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

/// The same, the imaginary parts of n elements turned.
Values turned_memory(Values values, std::int64_t n, std::int64_t increment)
{
    for (std::int64_t i = 0; i < (increment == 0 ? 1 : n); ++i)
        values.at(static_cast<std::size_t>(2 * i * std::abs(increment) + 1)) *= -1;
    return values;
}

/// Where an argument stands in the core's call.
std::size_t place(const FunctionCall& call, const std::string& name)
{
    const auto& places = call.callee().places;
    return static_cast<std::size_t>(
        std::ranges::find(places, static_cast<int>(call.index(name)), &catalogue::Place::parameter) -
        places.begin());
}

/// The core function, gerc's being that without a conjugate.
std::string called(const Member& member)
{
    std::string name = member.core();
    if (member.is("gerc"))
        name.back() = 'u';
    return name;
}

class Conjugated : public CoreTest {
protected:
    static std::vector<Member> complex_members_of(const std::string& roots)
    {
        std::vector<Member> found = members_of(roots);
        std::erase_if(found, [](const Member& member) { return !member.complex(); });
        return found;
    }

    static FunctionCall conjugate_call(const Member& member)
    {
        return filled(member, row_major).set("trans", conjugate_transpose).settle();
    }

    /// Visits a call of each complex member with its facts.
    template <class Visit>
    static void each(Visit visit)
    {
        for (const Turned& turned : all_turned)
            for (const Member& member : complex_members_of(turned.roots)) {
                SCOPED_TRACE(member.name());
                visit(member, turned.by_trans ? conjugate_call(member) : filled(member, row_major), turned);
                if (::testing::Test::HasFatalFailure())
                    return;
            }
    }

    static void run(const FunctionCall& call)
    {
        core().clear();
        call.run();
        EXPECT_EQ(core().live_blocks(), 0U);
    }
    static void expect_report(const FunctionCall& call, int code)
    {
        EXPECT_THAT(reports(), ElementsAre(std::pair(call.signature().report_name, code)));
    }
};

TEST_F(Conjugated, CopiesHaveTheirSizeAndAreGivenBack)
{
    each([](const Member& member, FunctionCall call, const Turned& turned) {
        const FunctionCall before = call;
        run(call);
        EXPECT_THAT(core().calls(called(member)), SizeIs(1));
        for (const char* vector : {"x", "y"})
            if (call.has(vector)) {
                EXPECT_EQ(call.values(vector), before.values(vector)) << vector;
            }
        const auto copies = pairs(turned.copied);
        const auto blocks = core().calls("qnm_serv_allocate");
        ASSERT_EQ(blocks.size(), copies.size());
        const std::size_t problems =
            call.has("batch_size") ? static_cast<std::size_t>(call.integer("batch_size")) : 1;
        const std::size_t element = member.single() ? 8 : 16;
        for (std::size_t i = 0; i < copies.size(); ++i)
            EXPECT_THAT(
                blocks[i],
                recording::Allocated(
                    problems * static_cast<std::size_t>(call.integer(copies[i].second)) * element, 128));
    });
}

TEST_F(Conjugated, TheCountOfRealsHasTheCallersWidth)
{
    constexpr std::int64_t large = std::int64_t{1} << 30;
    for (const Member& member : members_of("her")) {
        FunctionCall call = filled(member, row_major);
        core().fail_allocation(1);
        run(call.set("n", large).set("lda", large));
        const std::int64_t reals = member.wide ? 2 * large : -2 * large;
        EXPECT_EQ(core().calls("qnm_serv_allocate").at(0).int64(0), reals * (member.single() ? 4 : 8))
            << member.name();
    }
}

TEST_F(Conjugated, ABadArgumentLeavesVectorsAndMemoryAsTheyWere)
{
    each([](const Member&, const FunctionCall& good, const Turned& turned) {
        for (const std::string bad : {"n", "k", "lda", "incx", "incy"}) {
            FunctionCall call = good;
            if (!call.has(bad))
                continue;
            SCOPED_TRACE(bad);
            run(call.spoil(bad));
            EXPECT_EQ(call.values("x"), good.values("x"));
            // Scratch comes ahead of the tests, but in gemv; a negative size has none.
            const bool scratch = !turned.by_trans && bad != "n";
            EXPECT_EQ(core().calls("qnm_serv_allocate").size(), scratch ? pairs(turned.copied).size() : 0U);
        }
    });
}

TEST_F(Conjugated, AnEmptyProblemGoesOnAsItCame)
{
    each([](const Member& member, FunctionCall call, const Turned&) {
        if (call.has("batch_size"))
            return; // asks m
        run(call.set("n", 0));
        EXPECT_THAT(core().calls("qnm_serv_allocate"), IsEmpty());
        if (*member.family->idle != '\0') {
            EXPECT_THAT(story(), IsEmpty());
            return;
        }
        const auto noted = core().calls(called(member));
        ASSERT_THAT(noted, SizeIs(1));
        EXPECT_EQ(noted[0].pointer<const char>(place(call, "x")), call.address("x"));
        EXPECT_EQ(noted[0].behind(place(call, "incx")), call.integer("incx"));
    });
}

TEST_F(Conjugated, AnIncrementOfZeroTurnsOneElementOnce)
{
    for (const Member& member : members_of("hemv hbmv hpmv")) {
        SCOPED_TRACE(member.name());
        FunctionCall call = filled(member, row_major);
        const Values before = call.values("y");
        Values seen; // while the report is under way
        core().answers("qnm_serv_xerbla").calling([&](Call&, Answer&) { seen = call.values("y"); });
        run(call.set("incy", 0));
        EXPECT_EQ(seen, turned_memory(before, 1, 0));
        EXPECT_EQ(call.values("y"), before);
        expect_report(call, position(call, "incy"));
    }
}

TEST_F(Conjugated, TrsvStoppedByDiagLeavesXConjugated)
{
    for (const Member& member : complex_members_of("trsv trmv"))
        for (const std::string bad : {"uplo", "diag"}) {
            SCOPED_TRACE(member.name() + " " + bad);
            FunctionCall call = conjugate_call(member);
            const Values before = call.values("x");
            run(call.spoil(bad));
            // The others go on, and bring it back.
            const bool left = bad == "diag" && member.is("trsv");
            EXPECT_EQ(call.values("x"),
                      left ? turned_memory(before, call.integer("n"), call.integer("incx")) : before);
            EXPECT_EQ(reports().front(), (std::pair(member.name(), position(call, bad))));
        }
}

TEST_F(Conjugated, AQuickReturnComesAheadOfScratch)
{
    for (const Member& member : complex_members_of("gemv")) {
        FunctionCall call = conjugate_call(member);
        run(call.scalar("alpha", 0).scalar("beta", 1));
        EXPECT_THAT(story(), IsEmpty()) << member.name();
        run(call.scalar("beta", 1, 0.5));
        EXPECT_THAT(core().calls(member.core()), SizeIs(1));
    }
}

} // namespace
} // namespace qnm::tests
