// LAPACK of the core: who carries each name, what the core tells of its machine, and what it mends.
#include "core.hpp"

#include "catalogue/catalogue.hpp"

#include <cmath>
#include <fstream>
#include <map>

namespace qnm::test {
namespace {

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
        ASSERT_NO_THROW(core_symbol(entry.core()));
        if (who.at(entry.core()) != "stub")
            continue;
        ++stubs;
        std::array<core_int, 40> place, expected;
        ASSERT_LE(entry.row->arguments.size(), place.size());
        place.fill(1); // the number of problems too
        expected.fill(1);
        testing::internal::CaptureStderr();
        const auto result =
            std::apply([&](auto&... x) { return by_value<core_int>(entry.core(), &x...); }, place);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "QNM ERROR: " + entry.name() + " is not carried by this core.\n");
        EXPECT_EQ(result, 0) << entry.core();
        const catalogue::Argument* info = entry.row->find("info");
        if (info != nullptr && info->direction != catalogue::Direction::none)
            expected[static_cast<std::size_t>(entry.row->position(*info) - 1)] = -1001;
        EXPECT_EQ(place, expected) << entry.core();
    }
    EXPECT_EQ(stubs,
              std::count_if(who.begin(), who.end(), [](const auto& line) { return line.second == "stub"; }));
}

// Texts come with a length of one, whatever theirs is.
TEST(Environment, NamesAreReadBeyondTheirLength)
{
    const core_int block = 1, minus = -1, size = 1000, three = 3;
    const std::size_t length = 1;
    const auto block_of = [&](const char* name) {
        return by_value<core_int>("qnm_lapack_ilaenv", &block, name, " ", &size, &size, &minus, &minus,
                                  length, length);
    };
    EXPECT_GT(block_of("DGETRF"), 1);
    EXPECT_EQ(block_of("DNOSUCH"), 1);
    EXPECT_NE(by_value<core_int>("qnm_lapack_lsamen", &three, "gEqrf", "GEQxy", length, length), 0);
    EXPECT_EQ(by_value<core_int>("qnm_lapack_lsamen", &three, "GER", "GEQ", length, length), 0);
}

// What was once found out by trial agrees with what LAMCH answers.
QNM_TYPED_OF(Environment, ArithmeticAgreesWithLamch, float, double)
{
    core_int beta = 0, t = 0, rnd = 0, emin = 0, emax = 0, largest = 0, least = 0;
    T eps = 0, rmin = 0, rmax = 0, overflow = 0;
    const core_int ieee = 1;
    const T one = 1;
    lapack<T>("?lamc2", &beta, &t, &rnd, &eps, &emin, &rmin, &emax, &rmax);
    const std::pair<const char*, T> found[] = {{"B", T(beta)}, {"N", T(t)}, {"R", T(rnd)},  {"E", eps},
                                               {"M", T(emin)}, {"U", rmin}, {"L", T(emax)}, {"O", rmax}};
    for (const auto& [what, value] : found)
        EXPECT_EQ(value, by_value<T>(named<T>("lapack", "?lamch"), what)) << what;
    lapack<T>("?lamc5", beta, t, emin, ieee, &largest, &overflow);
    EXPECT_EQ(std::pair(largest, overflow), std::pair(emax, rmax));
    // dividing by two loses nothing down to the last denormal number
    lapack<T>("?lamc4", &least, one, beta);
    EXPECT_EQ(std::ldexp(one, static_cast<int>(least) - 1), std::numeric_limits<T>::denorm_min());
}

// The layer hands no selection to a query: the room told is that of the most demanding one, and no more.
// `call` takes SELECT, LWORK, WORK, LIWORK, IWORK and M; `less` than what is told is refused at `position`.
template <class T>
void expect_exact(core_int position, core_int less, core_int n, auto call)
{
    std::vector<core_int> select(static_cast<std::size_t>(n), 1), iwork{0};
    std::vector<T> work{T()};
    core_int lwork = -1, liwork = -1, m = 0;
    std::fill_n(select.begin(), n / 2, 0);
    ASSERT_EQ(call(nullptr, lwork, work, liwork, iwork, &m), 0);
    lwork = static_cast<core_int>(std::real(work[0]));
    liwork = std::max<core_int>(1, iwork[0]);
    work.resize(static_cast<std::size_t>(lwork));
    iwork.resize(static_cast<std::size_t>(liwork));
    const Reports reports;
    EXPECT_EQ(call(select.data(), lwork - less, work, liwork, iwork, &m), -position);
    EXPECT_EQ(call(select.data(), lwork, work, liwork, iwork, &m), 0);
    EXPECT_EQ(m, n - n / 2);
}

QNM_TYPED(Queries, ReadNoSelection)
{
    constexpr core_int n = 21, query = -1, yes = 1, rows = 0;
    constexpr core_int shift = is_complex<T> ? 1 : 0; // one array of eigenvalues in place of two
    Matrix<T> t(n, n), b(n, n), q(n, n), z = q;       // triangles with different numbers along the diagonals
    for (core_int j = 0; j < n; ++j) {
        std::fill_n(&t(j, j), n - j, T(0));
        std::fill_n(&b(j, j), n - j, T(0));
        t(j, j) = static_cast<real_t<T>>(n + j);
        b(j, j) = static_cast<real_t<T>>(n + 2 * j);
    }
    std::vector<T> w(n), w2 = w, beta = w;
    real_t<T> s = 0, sep = 0, dif[2];
    for (const char* job : {"E", "V", "B"})
        expect_exact<T>(15 - shift, 1, n, [&](const core_int* select, const auto&... room) {
            const auto& [lwork, work, liwork, iwork, m] = std::tie(room...);
            if constexpr (is_complex<T>)
                return lapack<T>("?trsen", job, "V", select, n, t, q, w, m, &s, &sep, work, lwork);
            else
                return lapack<T>("?trsen", job, "V", select, n, t, q, w, w2, m, &s, &sep, work, lwork, iwork,
                                 liwork);
        });
    for (const core_int ijob : {1, 4, 5}) // of 1 and 4 LAPACK asks one less than it takes
        expect_exact<T>(22 - shift, ijob == 5 ? 1 : 2, n, [&](const core_int* select, const auto&... room) {
            const auto& [lwork, work, liwork, iwork, m] = std::tie(room...);
            const auto call = [&](const auto&... values) {
                return lapack<T>("?tgsen", ijob, yes, yes, select, n, t, b, values..., beta, q, z, m, &s,
                                 &sep, &dif[0], work, lwork, iwork, liwork);
            };
            if constexpr (is_complex<T>)
                return call(w);
            else
                return call(w, w2);
        });
    core_int m = 0;
    const auto trevc3 = [&](const auto&... rest) {
        return lapack<T>("?trevc3", "R", "S", static_cast<core_int*>(nullptr), n, t, q, z, rows, &m, w, query,
                         rest...);
    };
    if constexpr (is_complex<T>)
        EXPECT_EQ(trevc3(&s, query), 0);
    else
        EXPECT_EQ(trevc3(), 0);
    EXPECT_GE(std::real(w[0]), 2 * n);
}

// ---- what the engine does wrong, seen through the core

// An array's end, and what must stay as it is behind it.
template <class T>
struct Guarded : std::vector<T> {
    explicit Guarded(core_int n) : std::vector<T>(static_cast<std::size_t>(n + 40), T(7)) {}
    ~Guarded() { EXPECT_EQ(std::count(this->end() - 40, this->end(), T(7)), 40); }
};
template <class T>
std::string orthogonal(const std::string& rest)
{
    return (is_complex<T> ? "?un" : "?or") + rest;
}

QNM_TYPED(Mended, TriangularSystemsTakeLettersOfEitherCase)
{
    const Matrix<T> a = Matrix<T>(3, 3).fill_diagonal(T(4)), b(3, 2);
    for (const std::string letters : {"UNNunn", "UTUutu", "LCNlcn"}) {
        Matrix<T> x[] = {b, b};
        for (const std::size_t k : {0U, 1U})
            ASSERT_EQ(lapack<T>("?trtrs", letters[3 * k], letters[3 * k + 1], letters[3 * k + 2], a.rows,
                                b.columns, a, x[k]),
                      0);
        EXPECT_EQ(x[0].data, x[1].data) << letters;
    }
}

QNM_TYPED(Mended, ASystemWithoutRightSidesIsFactored)
{
    Matrix<T> a(3, 3), factors = a, b(3, 1);
    std::vector<core_int> pivots(3), expected(3);
    lapack<T>("?gesv", a.rows, core_int{0}, a, pivots, b);
    lapack<T>("?getrf", a.rows, a.rows, factors, expected);
    EXPECT_EQ(a.data, factors.data);
    EXPECT_EQ(pivots, expected);
}

// H C is the conjugate transpose of C^H H^H, which the engine has right. All numbers are whole and small.
QNM_TYPED(Mended, ReflectorsInRowsKeepToTheirWorkspace)
{
    const core_int m = 5, n = 4, k = 3, trapeze = 2;
    const Matrix<T> v(k, m), t(k, k);
    Matrix<T> a(k, n), b(m, n), a_turned(n, k), b_turned(n, m), a_expected = a, b_expected = b;
    a_turned.take('C', a);
    b_turned.take('C', b);
    const Guarded<T> work(k * n);
    lapack<T>("?tprfb", 'L', 'N', 'F', 'R', m, n, k, trapeze, v, t, a, b, work, k);
    lapack<T>("?tprfb", 'R', is_complex<T> ? 'C' : 'T', 'F', 'R', n, m, k, trapeze, v, t, a_turned, b_turned,
              work, n);
    EXPECT_EQ(a.data, a_expected.take('C', a_turned).data);
    EXPECT_EQ(b.data, b_expected.take('C', b_turned).data);
}

// With equal leading dimensions, and with NB that is N, the engine is right.
QNM_TYPED(Mended, DecompositionsKeepToTheirArrays)
{
    const core_int m = 5, p = 3, q = 3, lwork = 60, n = 2;
    const auto bdb3 = [&](const Matrix<T>& top, const auto& bottom, core_int ld) {
        std::vector<real_t<T>> angles(6);
        const Guarded<T> tau(3), work(lwork);
        EXPECT_EQ(lapack<T>(orthogonal<T>("bdb3"), m, p, q, top, bottom.data(), ld, angles.data(),
                            angles.data() + 3, Guarded<T>(3), Guarded<T>(3), tau, work, lwork),
                  0);
        return angles;
    };
    Matrix<T> top(p, q), other_top = top, bottom(m - p, q, top.ld - (m - p)), before = bottom;
    Guarded<T> dense((m - p) * q);
    for (core_int at = 0; at < (m - p) * q; ++at)
        dense[static_cast<std::size_t>(at)] = bottom(at % (m - p), at / (m - p));
    EXPECT_EQ(bdb3(top, bottom.data, bottom.ld), bdb3(other_top, dense, m - p));
    EXPECT_EQ(top.data, other_top.data);
    EXPECT_NE(bottom.data, before.data);
    for (core_int at = 0; at < (m - p) * q; ++at)
        EXPECT_EQ(dense[static_cast<std::size_t>(at)], bottom(at % (m - p), at / (m - p)));

    Matrix<T> a(m, n), b = a;
    const Guarded<T> ta(n * n), tb(n * n), d(n);
    lapack<T>(orthogonal<T>("hr_col"), m, n, n, a, ta, n, d);
    lapack<T>(orthogonal<T>("hr_col"), m, n, core_int{10}, b, tb, n, d);
    EXPECT_EQ(ta, tb);
}

// ...and where the core has no memory for it, this is told, and nothing is changed or lost.
QNM_TYPED(Mended, MissingMemoryIsTold)
{
    const core_int three = 3, two = 2, five = 5, lwork = 60;
    const Matrix<T> v(3, 3), top(3, 3), bottom(2, 3), before_top = top, before_bottom = bottom;
    const std::vector<T> work(60);
    const std::vector<real_t<T>> angles(6);
    const Use before = in_use();
    const Reports reports;
    by_value<int>("qnm_serv_set_memory_limit", 1, static_cast<std::size_t>(before.first) + 1);
    lapack<T>("?tprfb", 'L', 'N', 'F', 'R', two, three, three, two, v, v, top, bottom, work, three);
    EXPECT_EQ(lapack<T>(orthogonal<T>("bdb3"), five, three, three, top, bottom, angles, angles, work, work,
                        work, work, lwork),
              -1000);
    by_value<int>("qnm_serv_set_memory_limit", 1, std::size_t{0});
    EXPECT_EQ(in_use(), before);
    EXPECT_EQ(top.data, before_top.data);
    EXPECT_EQ(bottom.data, before_bottom.data);
    const std::string l(1, core::upper_case(letter<T>[0]));
    EXPECT_EQ(reports.told, (std::vector<std::string>{l + "TPRFB 1000",
                                                      l + (is_complex<T> ? "UNBDB3 1000" : "ORBDB3 1000")}));
}

} // namespace
} // namespace qnm::test
