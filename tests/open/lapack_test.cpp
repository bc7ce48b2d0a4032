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
        if (entry.width != catalogue::Width::narrow || entry.row->entry_class == catalogue::Class::own)
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

// ---- what the engine does wrong, seen through the core

template <class T>
class Mended : public testing::Test {
protected:
    const std::string l = letter<T>(), orthogonal = l + (is_complex<T> ? "un" : "or");
    const core_int one = 1;
    core_int info = -99;

    // An array's end, and what must stay as it is behind it.
    static std::vector<T> guarded(core_int n)
    {
        return std::vector<T>(static_cast<std::size_t>(n + 40), T(7));
    }
    static void expect_guard(const std::vector<T>& array)
    {
        EXPECT_EQ(std::count(array.end() - 40, array.end(), T(7)), 40);
    }
};
TYPED_TEST_SUITE(Mended, Types);

TYPED_TEST(Mended, TriangularSystemsTakeLettersOfEitherCase)
{
    Matrix<TypeParam> a(3, 3), b(3, 2);
    for (core_int i = 0; i < a.rows; ++i)
        a(i, i) = TypeParam(4);
    for (const std::string upper : {"UNN", "UTU", "LCN"}) {
        std::string lower = upper;
        for (char& c : lower)
            c = static_cast<char>(std::tolower(c));
        Matrix<TypeParam> x[] = {b, b};
        for (int k : {0, 1}) {
            const std::string& letters = k == 0 ? upper : lower;
            lapack(this->l + "trtrs", letters[0], letters[1], letters[2], a.rows, b.columns, a, x[k],
                   &this->info);
            ASSERT_EQ(this->info, 0) << letters;
        }
        EXPECT_EQ(x[0].data, x[1].data) << lower;
    }
}

TYPED_TEST(Mended, SizesOfZero)
{
    using T = TypeParam;
    Matrix<T> a(3, 3), factors = a;
    const Matrix<T> b(3, 1);
    std::vector<core_int> pivots[] = {{0, 0, 0}, {0, 0, 0}};
    const core_int none = 0, query = -1;
    lapack(this->l + "gesv", a.rows, none, a, pivots[0], b, &this->info);
    lapack(this->l + "getrf", a.rows, a.rows, factors, pivots[1], &this->info);
    EXPECT_EQ(a.data, factors.data);
    EXPECT_EQ(pivots[0], pivots[1]);

    T size{};
    lapack("qnm_" + this->l + "getrinp", none, &size, this->one, &size, query, &this->info);
    EXPECT_EQ(size, T(1));
    lapack("qnm_" + this->l + "getrinp", none, &size, this->one, &size, none, &this->info);
    EXPECT_EQ(this->info, 0);
}

// H C is the conjugate transpose of C^H H^H, which the engine has right. All numbers are whole and small.
TYPED_TEST(Mended, ReflectorsInRowsKeepToTheirWorkspace)
{
    using T = TypeParam;
    const core_int m = 5, n = 4, k = 3, trapeze = 2;
    const Matrix<T> v(k, m), t(k, k);
    Matrix<T> a(k, n), b(m, n), a_turned(n, k), b_turned(n, m);
    a_turned.take('C', a);
    b_turned.take('C', b);
    std::vector<T> work = this->guarded(k * n);
    const std::string name = this->l + "tprfb", turned = is_complex<T> ? "C" : "T";
    lapack(name, 'L', 'N', 'F', 'R', m, n, k, trapeze, v, t, a, b, work, k);
    this->expect_guard(work);
    lapack(name, 'R', turned[0], 'F', 'R', n, m, k, trapeze, v, t, a_turned, b_turned, work, n);
    for (core_int j = 0; j < n; ++j) {
        for (core_int i = 0; i < k; ++i)
            EXPECT_EQ(a(i, j), conjugate(a_turned(j, i)));
        for (core_int i = 0; i < m; ++i)
            EXPECT_EQ(b(i, j), conjugate(b_turned(j, i)));
    }
}

// With equal leading dimensions, and with NB that is N, the engine is right.
TYPED_TEST(Mended, DecompositionsKeepToTheirArrays)
{
    using T = TypeParam;
    const core_int m = 5, p = 3, q = 3, lwork = 60;
    Matrix<T> top[] = {Matrix<T>(p, q), {p, q}},
              bottom[] = {Matrix<T>(m - p, q, p + 3 - (m - p)), {m - p, q, 0}};
    top[1].data = top[0].data;
    bottom[1].take('N', bottom[0]);
    bottom[1].data.resize(static_cast<std::size_t>((m - p) * q));
    const std::vector<T> before = bottom[0].data;
    bottom[1].data.resize(40 + bottom[1].data.size(), T(7));
    std::vector<real_t<T>> angles[] = {std::vector<real_t<T>>(6), std::vector<real_t<T>>(6)};
    for (int i : {0, 1}) {
        lapack(this->orthogonal + "bdb3", m, p, q, top[i], bottom[i], angles[i].data(), angles[i].data() + 3,
               this->guarded(3), this->guarded(3), this->guarded(3), this->guarded(lwork), lwork,
               &this->info);
        ASSERT_EQ(this->info, 0);
    }
    EXPECT_EQ(angles[0], angles[1]);
    EXPECT_EQ(top[0].data, top[1].data);
    EXPECT_NE(bottom[0].data, before);
    for (core_int j = 0; j < q; ++j)
        for (core_int i = 0; i < m - p; ++i)
            EXPECT_EQ(bottom[0](i, j), bottom[1](i, j));
    this->expect_guard(bottom[1].data);

    const core_int n = 2;
    Matrix<T> a[] = {Matrix<T>(m, n), {m, n}};
    a[1].data = a[0].data;
    std::vector<T> t[] = {this->guarded(n * n), this->guarded(n * n)}, d = this->guarded(n);
    for (int i : {0, 1})
        lapack(this->orthogonal + "hr_col", m, n, i == 0 ? n : core_int{10}, a[i], t[i], n, d, &this->info);
    EXPECT_EQ(t[0], t[1]);
    this->expect_guard(t[1]);
}

} // namespace
} // namespace qnm::test
