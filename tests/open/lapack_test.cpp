// LAPACK of the core: who carries each name, and what the core tells of its machine.
#include "core.hpp"

#include "catalogue/catalogue.hpp"

#include <cmath>
#include <fstream>
#include <limits>
#include <map>

namespace qnm::test {
namespace {

// ---- who carries what

// A stub leaves all arguments alone but INFO, where the routine has one.
TEST(Carried, StubsTellTheirNameAndSetInfo)
{
    std::map<std::string, std::string> who;
    std::ifstream list(QNM_CARRIED_LIST);
    for (std::string name, carrier; list >> name >> carrier;)
        who[name] = carrier;
    const catalogue::Catalogue tables = catalogue::read_tables({QNM_TABLE_FILES});
    int stubs = 0;
    for (const catalogue::Entry& entry : tables.entries()) {
        if (entry.width == catalogue::Width::wide || entry.core().empty()) // helpers have none
            continue;
        ASSERT_EQ(who.count(entry.core()), 1U) << entry.core();
        ASSERT_NO_THROW(core_symbol(entry.core()));
        if (who.at(entry.core()) != "stub")
            continue;
        ++stubs;
        constexpr std::size_t most = 40;
        ASSERT_LE(entry.row->arguments.size(), most);
        std::array<core_int, most> place;
        place.fill(1); // the number of problems too
        testing::internal::CaptureStderr();
        const auto result =
            std::apply([&](auto&... x) { return by_value<core_int>(entry.core(), &x...); }, place);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "QNM ERROR: " + entry.name() + " is not carried by this core.\n");
        EXPECT_EQ(result, 0) << entry.core();
        std::array<core_int, most> expected;
        expected.fill(1);
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
    const std::size_t length = 1;
    const auto block_of = [&](const char* name) {
        return by_value<core_int>("qnm_lapack_ilaenv", &block, name, " ", &size, &size, &minus, &minus,
                                  length, length);
    };
    EXPECT_GT(block_of("DGETRF"), 1);
    EXPECT_EQ(block_of("DNOSUCH"), 1);
    const core_int three = 3;
    const auto agree = [&](const char* a, const char* b) {
        return by_value<core_int>("qnm_lapack_lsamen", &three, a, b, length, length);
    };
    EXPECT_NE(agree("gEqrf", "GEQxy"), 0);
    EXPECT_EQ(agree("GER", "GEQ"), 0);
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
    const std::pair<const char*, R> found[] = {{"B", R(beta)}, {"N", R(t)}, {"R", R(rnd)},  {"E", eps},
                                               {"M", R(emin)}, {"U", rmin}, {"L", R(emax)}, {"O", rmax}};
    for (const auto& [what, value] : found)
        EXPECT_EQ(value, lapack<R>(l + "lamch", what)) << what;
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

// ---- queries

// The layer hands no selection to a query: the room told is that of the most demanding one, and no more.
template <class T>
class Selections : public testing::Test {
protected:
    static constexpr core_int n = 21, half = n / 2, query = -1, yes = 1;
    const std::string l = letter<T>();
    Matrix<T> t = different(1), b = different(2), q{n, n, 0}, z = q; // order and content of q, z: any
    std::vector<T> w[3] = {std::vector<T>(n), std::vector<T>(n), std::vector<T>(n)}, work{T()};
    std::vector<core_int> select = std::vector<core_int>(n, 1), iwork{0};
    core_int m = 0, info = -99, lwork = query, liwork = query;
    real_t<T> s = 0, sep = 0, dif[2] = {};

    // A triangle with different numbers along the diagonal.
    static Matrix<T> different(int step)
    {
        Matrix<T> a(n, n);
        for (core_int j = 0; j < n; ++j) {
            std::fill_n(&a(j, j), n - j, T(0));
            a(j, j) = static_cast<real_t<T>>(n + step * j);
        }
        return a;
    }
    // `call` takes SELECT. What a query answers is enough, and `less` is refused.
    void expect_exact(core_int position, core_int less, auto call)
    {
        std::fill_n(select.begin(), half, 0);
        lwork = liwork = query;
        call(nullptr);
        ASSERT_EQ(info, 0);
        lwork = static_cast<core_int>(std::real(work[0]));
        liwork = std::max<core_int>(1, iwork[0]);
        work.resize(static_cast<std::size_t>(lwork));
        iwork.resize(static_cast<std::size_t>(liwork));
        lwork -= less;
        testing::internal::CaptureStderr();
        call(select.data());
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(info, -position);
        lwork += less;
        call(select.data());
        EXPECT_EQ(info, 0);
        EXPECT_EQ(m, n - half);
    }
};
TYPED_TEST_SUITE(Selections, Types);

TYPED_TEST(Selections, AreNotReadForAQuery)
{
    using T = TypeParam;
    auto& x = *this;
    constexpr core_int shift = is_complex<T> ? 1 : 0; // one array of eigenvalues in place of two
    core_int* const none = nullptr;
    for (const char* job : {"E", "V", "B"})
        x.expect_exact(15 - shift, 1, [&](core_int* given) {
            if constexpr (is_complex<T>)
                lapack(x.l + "trsen", job, "V", given, x.n, x.t, x.q, x.w[0], &x.m, &x.s, &x.sep, x.work,
                       x.lwork, &x.info);
            else
                lapack(x.l + "trsen", job, "V", given, x.n, x.t, x.q, x.w[0], x.w[1], &x.m, &x.s, &x.sep,
                       x.work, x.lwork, x.iwork, x.liwork, &x.info);
        });
    for (const core_int ijob : {1, 4, 5}) // of 1 and 4 LAPACK asks one less than it takes
        x.expect_exact(22 - shift, ijob == 5 ? 1 : 2, [&](core_int* given) {
            const auto call = [&](const auto&... values) {
                lapack(x.l + "tgsen", ijob, x.yes, x.yes, given, x.n, x.t, x.b, values..., x.w[2], x.q, x.z,
                       &x.m, &x.s, &x.sep, &x.dif[0], x.work, x.lwork, x.iwork, x.liwork, &x.info);
            };
            if constexpr (is_complex<T>)
                call(x.w[0]);
            else
                call(x.w[0], x.w[1]);
        });
    const core_int rows = 0;
    const auto trevc3 = [&](const auto&... rest) {
        lapack(x.l + "trevc3", "R", "S", none, x.n, x.t, x.q, x.z, rows, &x.m, x.work, x.query, rest...,
               &x.info);
    };
    x.info = -99;
    if constexpr (is_complex<T>)
        trevc3(&x.s, x.query);
    else
        trevc3();
    EXPECT_EQ(x.info, 0);
    EXPECT_GE(std::real(x.work[0]), 2 * x.n);
}

} // namespace
} // namespace qnm::test
