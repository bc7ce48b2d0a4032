// LAPACK of the core: who carries each name, what the core tells of its machine, and what it mends.
#include "core.hpp"

#include "support/tables.hpp"

#include <cmath>
#include <fstream>
#include <map>
#include <set>

namespace qnm::test {
namespace {

// A stub leaves all arguments alone but INFO, where the routine has one.
TEST(Carried, StubsTellTheirNameAndSetInfo)
{
    std::map<std::string, std::string> who;
    std::ifstream list(QNM_CARRIED_LIST);
    for (std::string name, carrier; list >> name >> carrier;)
        who[name] = carrier;
    const catalogue::Catalogue& tables = support::tables();
    std::set<std::string> stubs; // some stand behind many entries, and tell the first one's name
    for (const catalogue::Entry& entry : tables.entries()) {
        if (entry.width != catalogue::Width::narrow || entry.row->entry_class == catalogue::Class::own ||
            !entry.row->family->calls.empty() || entry.row->family->kernels) // these call something else
            continue;
        ASSERT_NO_THROW(core_symbol(entry.core()));
        if (who.at(entry.core()) != "stub" || !stubs.insert(entry.core()).second)
            continue;
        std::vector<core_int> place(entry.row->arguments.size(), 1), expected = place; // one problem
        std::vector<const void*> addresses;
        for (const core_int& each : place)
            addresses.push_back(&each);
        testing::internal::CaptureStderr();
        EXPECT_EQ(by_pointers(entry.core(), addresses).int64(), 0) << entry.core();
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "QNM ERROR: " + catalogue::to_upper(entry.name()) + " is not carried by this core.\n");
        const catalogue::Argument* info = entry.row->find("info");
        if (info != nullptr && info->direction != catalogue::Direction::none)
            expected[static_cast<std::size_t>(entry.row->position(*info) - 1)] = -1001;
        EXPECT_EQ(place, expected) << entry.core();
    }
    for (const catalogue::Signature& s : tables.signatures())
        if (!s.exported) { // of the layer's own making: no routine of an engine, and no stub will do
            EXPECT_EQ(who.at(s.names.front()), "own") << s.names.front();
            EXPECT_NO_THROW(core_symbol(s.names.front()));
        }
    EXPECT_EQ(static_cast<std::ptrdiff_t>(stubs.size()),
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
QNM_TYPED(Queries, ReadNoSelection)
{
    constexpr core_int n = 21, yes = 1, query = -1, most = 2 * n * n;
    constexpr bool real = !is_complex<T>;
    Matrix<T> t(n, n), b(n, n), q(n, n), z = q; // triangles with different numbers along the diagonals
    for (core_int j = 0; j < n; ++j)
        for (core_int i = j; i < n; ++i) {
            t(i, j) = T(static_cast<real_t<T>>(i == j ? n + j : 0));
            b(i, j) = T(static_cast<real_t<T>>(i == j ? n + 2 * j : 0));
        }
    std::vector<T> w(n), w2 = w, beta = w, work(most);
    std::vector<real_t<T>> s(n), sep(2), dif(2), rwork(n);
    std::vector<core_int> select(n, 1), iwork(most);
    std::fill_n(select.begin(), n / 2, 0);
    core_int lwork = query, liwork = query, m = 0, info = -99;
    // `call` takes SELECT; `less` than what is told is refused at `position`.
    const auto expect_exact = [&](core_int position, core_int less, auto call) {
        lwork = liwork = query;
        call(nullptr);
        ASSERT_EQ(info, 0);
        const auto told = static_cast<core_int>(std::real(work[0]));
        liwork = std::max<core_int>(1, iwork[0]);
        const Reports reports;
        for (lwork = told - less; lwork <= told; lwork += less) {
            call(select.data());
            EXPECT_EQ(info, lwork < told ? -position : 0);
        }
        EXPECT_EQ(m, n - n / 2);
    };
    const auto call = [&](const std::string& name, std::vector<const void*> arguments) {
        std::erase(arguments, &real); // stands for what complex routines have not
        arguments.push_back(&info);
        by_pointers(named<T>("lapack", name), arguments);
    };
    const auto of_real = [&](const void* argument) { return real ? argument : &real; };
    const auto a_of = [](Matrix<T>& x) { return x.data.data(); };
    for (const char* job : {"E", "V", "B"})
        expect_exact(real ? 15 : 14, 1, [&](const core_int* selection) {
            call("?trsen",
                 {job, "V", selection, &n, a_of(t), &t.ld, a_of(q), &q.ld, w.data(), of_real(w2.data()), &m,
                  s.data(), sep.data(), work.data(), &lwork, of_real(iwork.data()), of_real(&liwork)});
        });
    for (const core_int ijob : {1, 4, 5}) // of 1 and 4 LAPACK asks one less than it takes
        expect_exact(real ? 22 : 21, ijob == 5 ? 1 : 2, [&](const core_int* selection) {
            call("?tgsen",
                 {&ijob,   &yes,         &yes,     selection,          &n,          a_of(t),    &t.ld,
                  a_of(b), &b.ld,        w.data(), of_real(w2.data()), beta.data(), a_of(q),    &q.ld,
                  a_of(z), &z.ld,        &m,       s.data(),           sep.data(),  dif.data(), work.data(),
                  &lwork,  iwork.data(), &liwork});
        });
    lwork = query;
    call("?trevc3", {"R", "S", nullptr, &n, a_of(t), &t.ld, a_of(q), &q.ld, a_of(z), &z.ld, &n, &m,
                     work.data(), &lwork, real ? &real : static_cast<const void*>(rwork.data()),
                     real ? &real : static_cast<const void*>(&lwork)});
    EXPECT_EQ(info, 0);
    EXPECT_GE(std::real(work[0]), 2 * n);
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

QNM_TYPED(Mended, SystemsTakeLettersOfEitherCaseAndNoRightSides)
{
    Matrix<T> a = Matrix<T>(3, 3).fill_diagonal(T(4)), upper(3, 2), lower = upper, factors = a;
    lapack<T>("?trtrs", 'L', 'C', 'N', a.rows, upper.columns, a, upper);
    EXPECT_EQ(lapack<T>("?trtrs", 'l', 'c', 'n', a.rows, upper.columns, a, lower), 0);
    EXPECT_EQ(lower.data, upper.data);
    std::vector<core_int> pivots(3), expected(3);
    lapack<T>("?gesv", a.rows, core_int{0}, a, pivots, upper);
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
    const auto bdb3 = [&](const Matrix<T>& top, const Matrix<T>& bottom) {
        std::vector<real_t<T>> angles(6);
        const Guarded<T> tau(3), work(lwork);
        EXPECT_EQ(lapack<T>(orthogonal<T>("bdb3"), m, p, q, top, bottom, angles.data(), angles.data() + 3,
                            Guarded<T>(3), Guarded<T>(3), tau, work, lwork),
                  0);
        return angles;
    };
    Matrix<T> top(p, q), other_top = top, bottom(m - p, q, top.ld - (m - p)), before = bottom,
                         dense(m - p, q, 0);
    dense.take('N', bottom).data.resize(100, T(7));
    EXPECT_EQ(bdb3(top, bottom), bdb3(other_top, dense));
    EXPECT_EQ(top.data, other_top.data);
    EXPECT_NE(bottom.data, before.data);
    EXPECT_EQ(bottom.data, before.take('N', dense).data);
    EXPECT_GE(std::ranges::count(dense.data, T(7)), 100 - 1 - (m - p) * q);

    Matrix<T> a(m, n), b = a;
    const Guarded<T> ta(n * n), tb(n * n), d(n);
    lapack<T>(orthogonal<T>("hr_col"), m, n, n, a, ta, n, d);
    lapack<T>(orthogonal<T>("hr_col"), m, n, core_int{10}, b, tb, n, d);
    EXPECT_EQ(ta, tb);
}

} // namespace
} // namespace qnm::test
