// LAPACK of the core: who carries each name, and what the core tells of its machine.
#include "lapack.hpp"

#include "catalogue/catalogue.hpp"

#include <cmath>
#include <fstream>
#include <limits>
#include <map>

namespace qnm::test {
namespace {

// ---- who carries what

std::map<std::string, std::string> carriers()
{
    std::ifstream list(QNM_CARRIED_LIST);
    std::map<std::string, std::string> carriers;
    for (std::string name, who; list >> name >> who;)
        carriers[name] = who;
    return carriers;
}

// A stub leaves all arguments alone but INFO, where the routine has one.
TEST(Carried, StubsTellTheirNameAndSetInfo)
{
    const std::map<std::string, std::string> who = carriers();
    const catalogue::Catalogue tables = catalogue::read_tables({QNM_TABLE_FILES});
    int stubs = 0;
    for (const catalogue::Entry& entry : tables.entries()) {
        if (entry.width == catalogue::Width::wide)
            continue;
        ASSERT_EQ(who.count(entry.core()), 1U) << entry.core();
        ASSERT_NO_THROW(core_symbol(entry.core()));
        if (who.at(entry.core()) != "stub")
            continue;
        ++stubs;
        constexpr std::size_t most = 40;
        std::array<core_int, most> place;
        place.fill(1); // the number of problems too
        const auto arguments = [&]<std::size_t... i>(std::index_sequence<i...>)
        {
            return by_value<core_int>(entry.core(), &place[i]...);
        };
        testing::internal::CaptureStderr();
        const core_int result = arguments(std::make_index_sequence<most>{});
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "QNM ERROR: " + entry.name() + " is not carried by this core.\n");
        EXPECT_EQ(result, 0) << entry.core();
        std::array<core_int, most> expected;
        expected.fill(1);
        ASSERT_LE(entry.row->arguments.size(), most);
        const catalogue::Argument* info = entry.row->find("info");
        if (info != nullptr && info->direction != catalogue::Direction::none)
            expected[static_cast<std::size_t>(entry.row->position(*info) - 1)] = -1001;
        EXPECT_EQ(place, expected) << entry.core();
    }
    EXPECT_EQ(stubs,
              std::count_if(who.begin(), who.end(), [](const auto& line) { return line.second == "stub"; }));
}

// ---- the machine and the tuning

// Texts come with a length of one, whatever theirs is.
TEST(Environment, NamesAreReadBeyondTheirLength)
{
    const core_int block = 1, minus = -1, size = 1000;
    EXPECT_GT(lapack<core_int>("ilaenv", block, "DGETRF", " ", size, size, minus, minus), 1);
    EXPECT_EQ(lapack<core_int>("ilaenv", block, "DNOSUCH", " ", size, size, minus, minus), 1);
    const core_int three = 3;
    EXPECT_NE(lapack<core_int>("lsamen", three, "gEqrf", "GEQxy"), 0);
    EXPECT_EQ(lapack<core_int>("lsamen", three, "GER", "GEQ"), 0);
}

template <class R>
class Arithmetic : public testing::Test {
};
using RealTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(Arithmetic, RealTypes);

// What was once found out by trial agrees with what LAMCH answers.
TYPED_TEST(Arithmetic, AgreesWithLamch)
{
    using R = TypeParam;
    const std::string l = letter<R>();
    core_int beta = 0, t = 0, rnd = 0, emin = 0, emax = 0;
    R eps = 0, rmin = 0, rmax = 0;
    by_value<void>("qnm_lapack_" + l + "lamc2", &beta, &t, &rnd, &eps, &emin, &rmin, &emax, &rmax);
    const auto lamch = [&](const char* what) { return lapack<R>(l + "lamch", what); };
    EXPECT_EQ(R(beta), lamch("B"));
    EXPECT_EQ(R(t), lamch("N"));
    EXPECT_EQ(R(rnd), lamch("R"));
    EXPECT_EQ(eps, lamch("E"));
    EXPECT_EQ(R(emin), lamch("M"));
    EXPECT_EQ(rmin, lamch("U"));
    EXPECT_EQ(R(emax), lamch("L"));
    EXPECT_EQ(rmax, lamch("O"));
    core_int largest = 0, ieee = 1;
    R overflow = 0;
    by_value<void>("qnm_lapack_" + l + "lamc5", &beta, &t, &emin, &ieee, &largest, &overflow);
    EXPECT_EQ(largest, emax);
    EXPECT_EQ(overflow, rmax);
    // dividing by two loses nothing down to the last denormal number
    core_int least = 0;
    const R one = 1;
    by_value<void>("qnm_lapack_" + l + "lamc4", &least, &one, &beta);
    EXPECT_EQ(std::ldexp(one, static_cast<int>(least) - 1), std::numeric_limits<R>::denorm_min());
}

// ---- complex results

template <class T>
class ComplexResults : public testing::Test {
};
TYPED_TEST_SUITE(ComplexResults, ComplexTypes);

TYPED_TEST(ComplexResults, StandFirst)
{
    using T = TypeParam;
    T quotient{};
    const T x(3, 4), y(0, 2);
    by_value<void>("qnm_lapack_" + letter<T>() + "ladiv", &quotient, &x, &y);
    EXPECT_EQ(quotient, T(2, real_t<T>(-1.5)));
}

} // namespace
} // namespace qnm::test
