// Kernels of data fitting, called as the layer calls them.
#include "kernels/fitting/task.hpp"

#include <algorithm>
#include <cmath>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {
int granted = -1; // allocations until one fails; below 0: none does
} // namespace
extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return granted >= 0 && granted-- == 0 ? nullptr : __real_calloc(count, size);
}
}

namespace {

using namespace qnm::df;
using ::testing::ElementsAre;
using Orders = std::vector<std::int32_t>;
template <class T>
using List = std::vector<T>;

/// A kernel's status. Arguments pass as they are.
template <class... A>
int call(const std::string& name, A... arguments)
{
    const auto kernel =
        reinterpret_cast<int (*)(A...)>(dlsym(RTLD_DEFAULT, ("qnm_df_kernel_" + name).c_str()));
    if (kernel == nullptr)
        throw std::runtime_error(name);
    return kernel(arguments...);
}

/// What callbacks of both kinds get, and what they answer.
struct Told {
    List<double> numbers;
    List<Int> cells;
    int status = 0, results = 2;

    template <class T>
    int answer(T* r) const
    {
        for (int k = 0; k < results; ++k)
            r[k] = static_cast<T>(1000 * (k + 1));
        return status;
    }
};
template <class T>
int estimate(Int* n, Int* cell, T* site, T* r, const void* parameters, void*)
{
    Told& told = *static_cast<Told*>(const_cast<void*>(parameters));
    EXPECT_EQ(*n, 1);
    told.numbers.push_back(static_cast<double>(*site));
    told.cells.push_back(*cell);
    return told.answer(r);
}
template <class T>
int integral(Int* n, Int* left_cell, T* left, Int* right_cell, T* right, T* r, const void* parameters, void*)
{
    Told& told = *static_cast<Told*>(const_cast<void*>(parameters));
    EXPECT_EQ(*n, 1);
    for (const T* limit : {left, right})
        told.numbers.push_back(static_cast<double>(*limit));
    for (const Int* cell : {left_cell, right_cell})
        told.cells.push_back(*cell);
    return told.answer(r);
}
// Tells cells of sites in turn; below -1 it does not know.
template <class T>
int search(Int* n, T* site, Int* cell, int* found, const void* parameters, void*)
{
    const Told& told = *static_cast<const Told*>(parameters);
    for (Int i = 0; i < *n; ++i) {
        cell[i] = told.cells[static_cast<std::size_t>(i) % told.cells.size()];
        found[i] = cell[i] < -1 || std::isnan(site[i]) ? 0 : 1;
    }
    return told.status;
}

struct Outside {
    const void *left = nullptr, *left_told = nullptr, *right = nullptr, *right_told = nullptr,
               *inner = nullptr, *inner_told = nullptr, *search = nullptr, *search_told = nullptr;
};

struct Wanted {
    Int order, type, end_type;
    List<double> ends = {};
    Int inner_type = 0;
    List<double> inner = {};

    bool is_made() const { return type < look_up || type > steps_closed_right; }
    std::string kernel() const
    {
        constexpr const char* cubic[] = {"Default", "", "Natural", "Hermite", "Bessel",
                                         "Akima",   "", "",        "",        "Hyman"};
        return std::string("DF") +
               (order == 2   ? "Linear"
                : order == 3 ? "Quadratic"
                             : cubic[type]) +
               (order == 4 ? "CubicSpline1D" : "Spline1D");
    }
};

template <class T>
class Fitted {
public:
    Fitted(List<T> points, List<T> values, Int functions = 1, Int point_hint = no_hint,
           Int function_hint = no_hint, Int count = 0)
        : x(std::move(points)), y(std::move(values))
    {
        n = count != 0 ? count : static_cast<Int>(x.size());
        EXPECT_EQ(call(name("NewTask1D"), &task, n, x.data(), point_hint, functions, y.data(), function_hint),
                  0);
    }
    Fitted(const Fitted&) = delete;
    ~Fitted() { call("DeleteTask", &task); }

    static std::string name(const std::string& root) { return (sizeof(T) == 4 ? "s" : "d") + root; }
    int make(const Wanted& w, Threader* threader = nullptr)
    {
        ends.assign(w.ends.begin(), w.ends.end());
        inner.assign(w.inner.begin(), w.inner.end());
        coefficients.assign(static_cast<std::size_t>(task->ny * n * 4), T(NAN));
        EXPECT_EQ(call(name("EditPPSpline1D"), task, w.order, w.type, w.end_type,
                       ends.empty() ? nullptr : ends.data(), w.inner_type,
                       inner.empty() ? nullptr : inner.data(), coefficients.data(), Int{0}),
                  0);
        return w.is_made() ? call(name(w.kernel()), task, Int{0}, Int{0}, threader) : 0;
    }
    int interpolate(const List<T>& sites, const Orders& orders, List<T>& r, Int hint = no_hint,
                    Int r_hint = no_hint, std::int32_t* cells = nullptr, Int type = 1, const Outside& o = {},
                    Threader* threader = nullptr) const
    {
        return call(name("DFInterpolate1D"), task, type, Int{1}, Int(sites.size()), sites.data(), hint,
                    Int(orders.size()), orders.data(), nullptr, r.data(), r_hint, cells, o.left, o.left_told,
                    o.right, o.right_told, o.inner, o.inner_told, o.search, o.search_told, threader);
    }
    T at(double site, std::size_t order = 0) const
    {
        List<T> r(1);
        Orders orders(order + 1);
        orders[order] = 1;
        EXPECT_EQ(interpolate({T(site)}, orders, r), 0);
        return r[0];
    }
    int integrate(const List<T>& from, const List<T>& to, List<T>& r, Int r_hint = no_hint,
                  const Outside& o = {}) const
    {
        return call(name("DFIntegrate1D"), task, Int{0}, Int(from.size()), from.data(), Int{0}, to.data(),
                    Int{0}, nullptr, nullptr, r.data(), r_hint, o.left, o.left_told, o.right, o.right_told,
                    o.inner, o.inner_told, o.search, o.search_told, nullptr);
    }
    T integral(double from, double to) const
    {
        List<T> r(1);
        EXPECT_EQ(integrate({T(from)}, {T(to)}, r), 0);
        return r[0];
    }
    List<std::int32_t> cells(const List<T>& sites, Int hint, Int count, const Outside& o = {},
                             Threader* threader = nullptr) const
    {
        List<std::int32_t> found(static_cast<std::size_t>(count));
        EXPECT_EQ(call(name("DFSearch1D"), task, Int{1}, count, sites.data(), hint, nullptr, found.data(),
                       o.search, o.search_told, threader),
                  0);
        return found;
    }

    Task* task = nullptr;
    Int n;
    List<T> x, y, ends, inner, coefficients;
};

template <class T>
class Fitting : public ::testing::Test {
};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Fitting, Types);

double power(double x, int k)
{
    return k == 0 ? 1 : x * power(x, k - 1);
}
/// 2 - x + x^2 / 2 - x^3 / 4, up to a degree, and its derivatives; -1 is its integral from 0.
double polynomial(int degree, double x, int k = 0)
{
    constexpr double c[] = {2, -1, 0.5, -0.25};
    double sum = 0;
    for (int m = std::max(k, 0); m <= degree; ++m) {
        double factor = k < 0 ? 1.0 / (m + 1) : 1;
        for (int i = 0; i < k; ++i)
            factor *= m - i;
        sum += c[m] * factor * power(x, m - k);
    }
    return sum;
}

TYPED_TEST(Fitting, PolynomialsOfTheirOwnDegreeAreExact)
{
    using T = TypeParam;
    const List<double> points = {-1, -0.5, 0.75, 1, 2, 2.5, 4};
    const double middle = -0.75; // of the first cell
    for (std::size_t n = 2; n <= points.size(); ++n) {
        const List<double> x(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(n));
        const auto of = [&](int degree, int k) {
            return List<double>{polynomial(degree, x.front(), k), polynomial(degree, x.back(), k)};
        };
        const auto inside = [&](int k) {
            List<double> values;
            for (std::size_t i = 1; i + 1 < n; ++i)
                values.push_back(polynomial(3, x[i], k));
            return values;
        };
        List<double> knots = {-1.25};
        for (std::size_t i = 0; i + 1 < n; ++i)
            knots.push_back(0.75 * x[i] + 0.25 * x[i + 1]);
        knots.push_back(x.back() + 0.5);
        const double q_left = of(2, 1)[0], q_right = of(2, 1)[1];

        struct Row {
            int degree;
            std::size_t fewest;
            Wanted wanted;
        };
        const Row rows[] = {{1, 2, {2, 0, 0}},
                            {2, 2, {3, 0, 4, {q_left}}},
                            {2, 2, {3, 0, 8, {q_right}}},
                            {2, 2, {3, 0, 0x10, {1}}},
                            {2, 2, {3, 0, 0x20, {1}}},
                            {2, 3, {3, 0, 1}},
                            {2, 2, {3, 0, 0x80, {polynomial(2, middle)}}},
                            {2, 2, {3, 1, 12, {q_left, q_right}}},
                            {2, 2, {3, 1, 0x30, {1, 1}}},
                            {2, 2, {3, 1, 0x24, {q_left, 1}, 8, knots}},
                            {2, 2, {3, 1, 0x18, {1, q_right}, 8, knots}},
                            {2, 3, {4, 4, 0}},
                            {1, 2, {4, 0, 0}},
                            {1, 2, {4, 5, 0}},
                            {2, 3, {4, 4, 1}},
                            {2, 2, {4, 4, 0x30, {1, 1}}},
                            {2, 2, {4, 4, 0x18, {1, q_right}}},
                            {2, 2, {4, 4, 0x24, {q_left, 1}}},
                            {2, 3, {4, 0, 0}},
                            {3, 4, {4, 0, 0}},
                            {3, 2, {4, 0, 12, of(3, 1)}},
                            {3, 2, {4, 2, 0x30, of(3, 2)}},
                            {3, 2, {4, 0, 0x24, {of(3, 1)[0], of(3, 2)[1]}}},
                            {3, 2, {4, 3, 12, of(3, 1), 1, inside(1)}},
                            {3, 2, {4, 3, 0x30, of(3, 2), 1, inside(1)}},
                            {3, 2, {4, 3, 0x18, {of(3, 2)[0], of(3, 1)[1]}, 1, inside(1)}},
                            {3, 4, {4, 0, 1, {}, 1, inside(1)}},
                            {3, 2, {4, 0, 12, of(3, 1), 2, inside(2)}},
                            {3, 2, {4, 0, 0x18, {of(3, 2)[0], of(3, 1)[1]}, 2, inside(2)}},
                            {3, 2, {4, 0, 0x24, {of(3, 1)[0], of(3, 2)[1]}, 2, inside(2)}},
                            {3, 2, {4, 0, 0x30, of(3, 2), 2, inside(2)}},
                            {3, 4, {4, 0, 0, {}, 2, inside(2)}}};
        for (const Row& row : rows) {
            if (n < row.fewest)
                continue;
            List<T> y;
            for (const double point : x)
                y.push_back(static_cast<T>(polynomial(row.degree, point)));
            Fitted<T> spline({x.begin(), x.end()}, y);
            ASSERT_EQ(spline.make(row.wanted), 0);
            SCOPED_TRACE("row " + std::to_string(&row - rows) + " of " + std::to_string(n) + " points");
            const double most = sizeof(T) == 4 ? 1e-3 : 2e-12;
            for (double site = -2; site <= x.back() + 1; site += 0.125) {
                for (int k = 0; k < 4; ++k)
                    EXPECT_NEAR(spline.at(site, static_cast<std::size_t>(k)), polynomial(row.degree, site, k),
                                most)
                        << "derivative " << k << " at " << site;
                EXPECT_NEAR(spline.integral(site, -site),
                            polynomial(row.degree, -site, -1) - polynomial(row.degree, site, -1), 4 * most)
                    << "integral from " << site;
            }
            EXPECT_EQ(spline.at(0.5, 4), 0);
        }
    }
}

TYPED_TEST(Fitting, PeriodsBeginAnywhere)
{
    using T = TypeParam;
    // Five cells of period 8; two of them are flat.
    const List<double> x = {0, 1, 3, 4, 6.5}, y = {1, 1, 1, -2, 3}, slopes = {0, 0.5, -1, 2, 0.25};
    constexpr std::size_t n = 5;
    for (const auto& [order, type, inner] :
         {std::tuple{3, 0, 0}, {4, 0, 0}, {4, 3, 1}, {4, 4, 0}, {4, 5, 0}, {4, 9, 0}}) {
        List<T> first;
        for (std::size_t begin = 0; begin < n; ++begin) {
            List<T> points, values;
            List<double> given;
            for (std::size_t i = begin; i <= begin + n; ++i) {
                points.push_back(static_cast<T>(x[i % n] + (i < n ? 0 : 8)));
                values.push_back(static_cast<T>(y[i % n]));
                if (i > begin && i < begin + n && inner != 0)
                    given.push_back(slopes[i % n]);
            }
            Fitted<T> spline(points, values);
            ASSERT_EQ(spline.make({order, type, 0x40, {}, inner, given}), 0);
            EXPECT_NEAR(spline.at(points.front(), 1), spline.at(points.back(), 1), 1e-5);
            List<T> all;
            for (double site = 0; site < 8; site += 0.25)
                all.push_back(spline.at(site < static_cast<double>(points.front()) ? site + 8 : site));
            if (begin == 0)
                first = all;
            for (std::size_t i = 0; i < all.size() && inner == 0; ++i)
                EXPECT_NEAR(all[i], first[i], sizeof(T) == 4 ? 2e-5 : 1e-13) << type << ' ' << begin;
        }
    }
}

/// Ascending points, and values.
template <class T>
std::pair<List<T>, List<T>> data(std::size_t n, unsigned seed, bool monotone = false)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> width(0.25, 2), value(-1, 1);
    List<T> x(n), y(n);
    for (std::size_t i = 0; i < n; ++i) {
        x[i] = static_cast<T>(i == 0 ? -3 : static_cast<double>(x[i - 1]) + width(random));
        const double next = value(random);
        y[i] = static_cast<T>(monotone && i > 0 ? y[i - 1] + T(std::max(0.0, next)) : T(next));
    }
    return {x, y};
}

TYPED_TEST(Fitting, HymanIsMonotoneWhereDataAre)
{
    using T = TypeParam;
    const T slack = 16 * std::numeric_limits<T>::epsilon();
    for (const Int ends : {0, 1, 2, 12})
        for (const bool monotone : {false, true}) {
            const auto [x, y] = data<T>(40, 1, monotone);
            Fitted<T> spline(x, y);
            ASSERT_EQ(spline.make({4, hyman, ends, {-1, 9}}), 0);
            for (std::size_t i = 0; i + 1 < x.size(); ++i)
                for (int k = 0; k < 32; ++k) {
                    const T w = (x[i + 1] - x[i]) / 32, s = x[i] + w * static_cast<T>(k);
                    const T step = spline.at(s + w) - spline.at(s);
                    EXPECT_GE(y[i + 1] >= y[i] ? step : -step, -slack) << i << ' ' << k;
                }
        }
}

// Two chords and two others: between them the slope is their mean. Beyond the ends chords go on as a
// parabola's.
TYPED_TEST(Fitting, AkimaHalvesACornerAndGoesOn)
{
    Fitted<TypeParam> spline({-2, -1, 0, 1, 2}, {4, 3, 2, 5, 8});
    ASSERT_EQ(spline.make({4, akima, 0}), 0);
    EXPECT_EQ(spline.at(-1, 1), -1);
    EXPECT_EQ(spline.at(0, 1), 1);
    Fitted<TypeParam> parabola({-2, -1, 0, 1, 2}, {4, 1, 0, 1, 4});
    ASSERT_EQ(parabola.make({4, akima, 0}), 0);
    for (const double x : {-2, -1, 0, 1, 2})
        EXPECT_EQ(parabola.at(x, 1), 2 * x);
}

TYPED_TEST(Fitting, QuadraticPiecesMeetSmoothlyAtKnots)
{
    using T = TypeParam;
    const auto [x, y] = data<T>(9, 3);
    Fitted<T> spline(x, y);
    List<double> middles = {x[0]}, others = {x[0]};
    for (std::size_t i = 0; i + 1 < x.size(); ++i) {
        middles.push_back(x[i] + (x[i + 1] - x[i]) / 2);
        others.push_back(x[i] + (x[i + 1] - x[i]) / 4);
    }
    others.push_back(x.back());
    for (std::size_t k = 0; k < 2 * x.size(); ++k) {
        const bool given = k >= x.size();
        const std::size_t i = k % x.size();
        ASSERT_EQ(spline.make({3, subbotin, 0, {}, given ? inner_knots : no_inner, others}), 0);
        EXPECT_EQ(spline.at(x[i]), y[i]);
        if (i == 0)
            continue;
        const T knot = static_cast<T>((given ? others : middles)[i]), before = std::nextafter(knot, x[i - 1]);
        const T most = 256 * std::numeric_limits<T>::epsilon();
        EXPECT_NE(spline.at(before, 2), spline.at(knot, 2));
        EXPECT_NEAR(spline.at(before, 1), spline.at(knot, 1), most);
        EXPECT_NEAR(spline.at(before), spline.at(knot), most);
    }
}

const Wanted all_types[] = {
    {2, 0, 0},
    {3, 0, 0},
    {3, subbotin, 0},
    {4, natural, 0},
    {4, akima, 0},
    {1, steps_closed_left, 0},
    {1, steps_closed_right, 0},
};

TYPED_TEST(Fitting, IntegralsAreThoseOfValues)
{
    using T = TypeParam;
    const auto [x, y] = data<T>(7, 5);
    for (const Wanted& wanted : all_types) {
        Fitted<T> spline(x, y);
        ASSERT_EQ(spline.make(wanted), 0);
        // Gauss's rule of two points, exact in each piece, does not touch ends.
        std::set<double> borders = {-5, 9};
        for (std::size_t i = 0; i < x.size(); ++i) {
            borders.insert(x[i]);
            if (i > 0)
                borders.insert((x[i - 1] + x[i]) / 2);
        }
        double sum = 0, last = -5;
        for (const double border : borders) {
            const double middle = (border + last) / 2, half = (border - last) / 2,
                         off = half / std::sqrt(3.0);
            sum += half * static_cast<double>(spline.at(middle - off) + spline.at(middle + off));
            last = border;
            const double most = (sizeof(T) == 4 ? 1e-4 : 1e-11);
            EXPECT_NEAR(spline.integral(-5, border), sum, most) << wanted.type << ' ' << border;
            EXPECT_NEAR(spline.integral(border, -5), -sum, most);
        }
        EXPECT_TRUE(std::isnan(spline.integral(x[5], NAN)));
        EXPECT_TRUE(std::isnan(spline.integral(NAN, x[5])));
    }
}

TYPED_TEST(Fitting, StepsAndTables)
{
    using T = TypeParam;
    Fitted<T> spline({0, 1, 2}, {10, 11, 12});
    const List<T> sites = {-1, 0, T(0.5), 1, T(1.5), 2, 3};
    const auto values = [&](Int type) {
        EXPECT_EQ(spline.make({1, type, 0}), 0);
        List<T> r(sites.size());
        EXPECT_EQ(spline.interpolate(sites, {1}, r), 0);
        return r;
    };
    EXPECT_THAT(values(steps_closed_left), ElementsAre(10, 10, 10, 11, 11, 12, 12));
    EXPECT_THAT(values(steps_closed_right), ElementsAre(10, 10, 11, 11, 12, 12, 12));
    EXPECT_EQ(spline.at(0.5, 1), 0);
    const List<T> table = values(look_up);
    for (const std::size_t i : {0, 2, 4, 6})
        EXPECT_TRUE(std::isnan(table[i]));
    EXPECT_THAT((List<T>{table[1], table[3], table[5]}), ElementsAre(10, 11, 12));
    List<T> r(1);
    EXPECT_EQ(spline.integrate({0}, {1}, r), bad_type);
}

// Runs parts backwards; tells one status below 0 if there is one.
Int divided = 0;
int backwards(Int count, int (*body)(Int, void*), void* data)
{
    divided += count;
    int status = 0;
    for (Int k = count; k-- > 0;)
        if (const int of_part = body(k, data); of_part < 0)
            status = of_part;
    return count > 1 ? status : -99;
}

TYPED_TEST(Fitting, CellsAreFoundInEveryWay)
{
    using T = TypeParam;
    for (const std::size_t n : {2U, 3U, 17U, 1000U})
        for (const Int hint : {Int{non_uniform}, Int{quasi_uniform}, Int{uniform}}) {
            List<T> x = data<T>(n, 7).first;
            const auto count = static_cast<Int>(n);
            const Points<T> even(List<T>{T(-1), T(2.7)}.data(), count, uniform);
            if (hint == uniform)
                for (Int i = 0; i < count; ++i)
                    x[static_cast<std::size_t>(i)] = even[i];
            const Fitted<T> task(hint == uniform ? List<T>{T(-1), T(2.7)} : x, {}, 0, hint, no_hint, count);
            List<T> sites = {-HUGE_VALF, HUGE_VALF, x.front() - 1, x.back() + 1};
            for (const T point : x)
                for (const T site : {point, std::nextafter(point, T(-9e9)), std::nextafter(point, T(9e9))})
                    sites.push_back(site);
            std::mt19937 random(9);
            std::uniform_real_distribution<T> any(x.front() - 1, x.back() + 1);
            while (sites.size() < 20000)
                sites.push_back(any(random));
            const auto expected = [&](T site) {
                const auto right = std::upper_bound(x.begin(), x.end(), site) - x.begin();
                return site == x.back() ? count - 1 : static_cast<Int>(right);
            };
            const auto expect = [&](const List<T>& all, const List<std::int32_t>& found) {
                for (std::size_t i = 0; i < found.size(); ++i)
                    ASSERT_EQ(found[i], expected(all[i])) << all[i] << " of " << n << ", hint " << hint;
            };
            divided = 0;
            expect(sites, task.cells(sites, non_uniform, Int(sites.size()), {}, backwards));
            EXPECT_EQ(divided, 3);
            expect(sites, task.cells(sites, sorted, Int(sites.size()))); // a wrong hint costs time only
            std::sort(sites.begin(), sites.end());
            expect(sites, task.cells(sites, sorted, Int(sites.size())));
            for (const bool falling : {false, true}) {
                const List<T> ends = {falling ? T(5) : T(-4), falling ? T(-4) : T(5)};
                const Points<T> listed(ends.data(), 3000, uniform);
                List<T> all;
                for (Int i = 0; i < 3000; ++i)
                    all.push_back(listed[i]);
                expect(all, task.cells(ends, uniform, 3000));
            }
            for (const Int way : {Int{non_uniform}, Int{sorted}})
                EXPECT_THAT(task.cells({x[1], T(NAN), x[1]}, way, 3),
                            ElementsAre(expected(x[1]), 0, expected(x[1])));
        }
}

// Neighbours in one cell are evaluated together, to the same bits as each alone.
TYPED_TEST(Fitting, SitesThatShareACell)
{
    using T = TypeParam;
    const auto [x, y] = data<T>(6, 5);
    List<T> sites;
    for (std::size_t stranger = 0; stranger < 24; ++stranger)
        for (std::size_t i = 0; i < 9; ++i) // at every place of a group
            sites.push_back(x[i == stranger % 9 ? stranger / 9 : 3] + (x[4] - x[3]) * static_cast<T>(i) / 10);
    const Orders orders = {1, 1, 1, 1};
    for (const Wanted& wanted : {Wanted{2, 0, 0}, Wanted{3, subbotin, 2}, Wanted{4, natural, 2}}) {
        Fitted<T> spline(x, y);
        ASSERT_EQ(spline.make(wanted), 0);
        const std::size_t n = sites.size();
        List<T> rows(4 * n), columns(4 * n), alone(4);
        ASSERT_EQ(spline.interpolate(sites, orders, rows), 0);
        ASSERT_EQ(spline.interpolate(sites, orders, columns, sorted, by_columns), 0);
        for (std::size_t i = 0; i < n; ++i) {
            ASSERT_EQ(spline.interpolate({sites[i]}, orders, alone), 0);
            for (std::size_t k = 0; k < 4; ++k) {
                ASSERT_EQ(rows[4 * i + k], alone[k]) << i << ", derivative " << k;
                ASSERT_EQ(columns[k * n + i], alone[k]) << i << ", derivative " << k;
            }
        }
    }
}

TYPED_TEST(Fitting, LayoutsOfManyFunctions)
{
    using T = TypeParam;
    constexpr std::size_t n = 20000, functions = 3;
    const auto [x, y] = data<T>(50, 11);
    List<T> rows, columns;
    for (std::size_t j = 0; j < functions; ++j)
        for (const T value : y)
            rows.push_back(value * static_cast<T>(1 << j));
    for (const T value : y)
        for (std::size_t j = 0; j < functions; ++j)
            columns.push_back(value * static_cast<T>(1 << j));
    const Wanted wanted{4, natural, 0};
    Fitted<T> one(x, y), by_row(x, rows, functions, no_hint, by_rows),
        by_column(x, columns, functions, no_hint, by_columns);
    for (Fitted<T>* const spline : {&one, &by_row, &by_column})
        ASSERT_EQ(spline->make(wanted), 0);
    EXPECT_EQ(
        std::equal(one.coefficients.begin(), one.coefficients.begin() + 49 * 4, by_row.coefficients.begin()),
        true);
    EXPECT_EQ(std::equal(by_column.coefficients.begin(), by_column.coefficients.begin() + 3 * 49 * 4,
                         by_row.coefficients.begin()),
              true);

    std::mt19937 random(3);
    std::uniform_real_distribution<T> any(-4, 60);
    List<T> sites(n);
    std::generate(sites.begin(), sites.end(), [&] { return any(random); });
    const Orders orders = {1, 0, 1}; // values and second derivatives
    List<T> first(2 * n), r(2 * n * functions), turned(r.size());
    List<std::int32_t> cells(n);
    divided = 0;
    ASSERT_EQ(one.interpolate(sites, orders, first), 0);
    ASSERT_EQ(by_row.interpolate(sites, orders, r, no_hint, by_rows, cells.data(), 3, {}, backwards), 0);
    ASSERT_EQ(by_column.interpolate(sites, orders, turned, no_hint, by_columns, cells.data(), 4), 0);
    EXPECT_EQ(cells, one.cells(sites, no_hint, n));
    for (std::size_t j = 0; j < functions; ++j)
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t k = 0; k < 2; ++k) {
                const T value = r[(j * n + i) * 2 + k];
                ASSERT_EQ(turned[(j * 2 + k) * n + i], value);
                ASSERT_EQ(value, first[i * 2 + k] * static_cast<T>(1 << j));
            }
    // Many points: each function may have a thread.
    const auto [points, values] = data<T>(20000, 12);
    Fitted<T> alone(points, values, 2, no_hint, first_only), threaded(points, values, 2, no_hint, first_only);
    for (Fitted<T>* const spline : {&alone, &threaded}) {
        ASSERT_EQ(call(spline->name("EditIdxPtr"), spline->task, Int{2}, Int{1}, spline->y.data()), 0);
        ASSERT_EQ(spline->make(wanted, spline == &threaded ? backwards : nullptr), 0);
    }
    EXPECT_EQ(List<T>(alone.coefficients.begin(), alone.coefficients.begin() + 2 * 19999 * 4),
              List<T>(threaded.coefficients.begin(), threaded.coefficients.begin() + 2 * 19999 * 4));
    EXPECT_EQ(divided, 3 + 2);
    // In other cells their polynomials go on.
    std::fill(cells.begin(), cells.end(), 1);
    ASSERT_EQ(one.interpolate(sites, {1}, first, no_hint, by_rows, cells.data(), 4), 0);
    EXPECT_NE(first[0], r[0]);
    EXPECT_EQ(cells[0], 1);

    List<T> sums(2 * functions), sums_turned(sums.size());
    ASSERT_EQ(by_row.integrate({0, 1}, {2, 9}, sums), 0);
    ASSERT_EQ(by_column.integrate({0, 1}, {2, 9}, sums_turned, by_columns), 0);
    for (std::size_t j = 0; j < functions; ++j)
        EXPECT_THAT((List<T>{sums_turned[j], sums_turned[functions + j]}),
                    ElementsAre(sums[2 * j], sums[2 * j + 1]));
}

TYPED_TEST(Fitting, CallbacksOutsideInsideAndForCells)
{
    using T = TypeParam;
    Fitted<T> spline({0, 1, 2}, {0, 1, 2});
    ASSERT_EQ(spline.make({2, 0, 0}), 0);
    Told told[4], parts[3];
    for (Told& part : parts)
        part.results = 1;
    const List<T> sites = {-1, T(0.5), 2, 3};
    List<T> r(8);
    Outside outside;
    outside.left = reinterpret_cast<const void*>(estimate<T>);
    outside.left_told = told;
    ASSERT_EQ(spline.interpolate(sites, {1, 1}, r, no_hint, by_columns, nullptr, 1, outside), 0);
    EXPECT_THAT(r, ElementsAre(1000, 0.5, 2, 3, 2000, 1, 1, 1));
    outside.right = outside.inner = outside.left;
    outside.right_told = told + 1;
    outside.inner_told = told + 2;
    ASSERT_EQ(spline.interpolate(sites, {1, 1}, r, no_hint, by_rows, nullptr, 1, outside), 0);
    EXPECT_THAT(r, ElementsAre(1000, 2000, 1000, 2000, 1000, 2000, 1000, 2000));
    EXPECT_THAT(told[0].numbers, ElementsAre(-1, -1));
    EXPECT_THAT(told[0].cells, ElementsAre(0, 0));
    EXPECT_THAT(told[1].numbers, ElementsAre(3));
    EXPECT_THAT(told[1].cells, ElementsAre(3));
    EXPECT_THAT(told[2].cells, ElementsAre(1, 2));
    told[1].status = -7;
    EXPECT_EQ(spline.interpolate(sites, {1, 1}, r, no_hint, by_rows, nullptr, 1, outside), -7);

    Outside cells;
    cells.search = reinterpret_cast<const void*>(search<T>);
    cells.search_told = told + 3;
    told[3].cells = {1, 3, 4, -1, -2, 0}; // of cells 0 to 3
    EXPECT_THAT(spline.cells({-1, T(0.5), 2, 3, 1, 1}, no_hint, 6, cells), ElementsAre(1, 3, 2, 3, 2, 0));
    // Whoever is called back may not be ready for several threads.
    r.resize(20000);
    divided = 0;
    told[0].numbers.clear();
    EXPECT_EQ(
        spline.interpolate(List<T>(r.size(), 1), {1}, r, no_hint, no_hint, nullptr, 1, outside, backwards),
        0);
    spline.cells(r, no_hint, 20000, cells, backwards);
    EXPECT_EQ(divided, 0);
    told[3].status = -8;
    EXPECT_EQ(spline.interpolate(sites, {1, 1}, r, no_hint, by_rows, nullptr, 1, cells), -8);

    const void* const function = reinterpret_cast<const void*>(integral<T>);
    const Outside integrals{function, parts, function, parts + 1, function, parts + 2, nullptr, nullptr};
    r.resize(4);
    ASSERT_EQ(spline.integrate({-1, 3, 0, 1}, {3, -1, 2, 1}, r, by_rows, integrals), 0);
    EXPECT_THAT(r, ElementsAre(3000, -3000, 1000, 1000));
    EXPECT_THAT(parts[0].numbers, ElementsAre(-1, 0, -1, 0));
    EXPECT_THAT(parts[1].numbers, ElementsAre(2, 3, 2, 3));
    EXPECT_THAT(parts[1].cells, ElementsAre(3, 3, 3, 3));
    EXPECT_THAT(parts[2].numbers, ElementsAre(0, 2, 0, 2, 0, 2, 1, 1));
    EXPECT_THAT(parts[2].cells, ElementsAre(1, 2, 1, 2, 1, 2, 2, 2));
    Fitted<T> both({0, 1}, {0, 1, 2, 3}, 2);
    ASSERT_EQ(both.make({2, 0, 0}), 0);
    told[0] = {{}, {}, 0, 4};
    List<T> many(8);
    outside = {};
    outside.left = reinterpret_cast<const void*>(estimate<T>);
    outside.left_told = told;
    ASSERT_EQ(both.interpolate({-1, 1}, {1, 1}, many, no_hint, by_rows, nullptr, 1, outside), 0);
    EXPECT_THAT(many, ElementsAre(1000, 2000, 1, 1, 3000, 4000, 3, 1));
    parts[2].status = -9;
    EXPECT_EQ(spline.integrate({-1}, {3}, r, by_rows, integrals), -9);
}

TEST(FittingTasks, EditsAndQueries)
{
    Fitted<double> spline({0, 1, 2}, {0, 1, 2, 3, 4, 5}, 2);
    Task* const task = spline.task;
    double arrays[4][12];
    ASSERT_EQ(call("dEditPPSpline1D", task, Int{4}, Int{5}, Int{2}, arrays[0], Int{1}, arrays[1], arrays[2],
                   Int{0}),
              0);
    const auto number = [&](Int attribute) {
        std::int32_t value = -1;
        EXPECT_EQ(call("iQueryVal", task, attribute, &value), 0);
        return value;
    };
    const auto pointer = [&](Int attribute) {
        void* found = nullptr;
        EXPECT_EQ(call("dQueryPtr", task, attribute, &found), 0);
        return found;
    };
    const auto of = [&](Int attribute, Int index) {
        void* found = nullptr;
        EXPECT_EQ(call("dQueryIdxPtr", task, attribute, index, &found), 0);
        return found;
    };
    const Int numbers[] = {3, 0, 2, 0, 4, 5, 1, 2, 0, 0};
    for (Int k = 0; k < 10; ++k)
        EXPECT_EQ(number(14 + k), numbers[k]) << 14 + k;
    const void* const pointers[] = {spline.x.data(), spline.y.data(), arrays[1], arrays[0], arrays[2]};
    for (Int k = 0; k < 5; ++k)
        EXPECT_EQ(pointer(k + 1), pointers[k]) << k + 1;
    EXPECT_EQ(of(2, 1), spline.y.data() + 3);
    EXPECT_EQ(of(5, 1), arrays[2] + 2 * 4);
    EXPECT_EQ(call("dEditIdxPtr", task, Int{5}, Int{0}, arrays[3]), 0);
    EXPECT_EQ(task->coefficients[0], arrays[3]);
    EXPECT_EQ(task->coefficients[1], arrays[2] + 2 * 4);
    for (const Int attribute : {3, 4, 2}) {
        EXPECT_EQ(call("dEditPtr", task, attribute, arrays[0]), 0);
        EXPECT_EQ(call("dEditIdxPtr", task, attribute, Int{1}, arrays[3]), 0);
        EXPECT_EQ(of(attribute, 0), arrays[0]);
        EXPECT_EQ(of(attribute, 1), arrays[3]);
    }

    const auto edit = [&](Int attribute, Int value) { return call("iEditVal", task, attribute, value); };
    EXPECT_EQ(call("dEditPtr", task, Int{2}, spline.y.data()), 0);
    EXPECT_EQ(edit(14, 2), 0); // of fewer points
    EXPECT_EQ(of(2, 1), spline.y.data() + 2);
    EXPECT_EQ(of(5, 1), arrays[2] + 1 * 4);
    struct Edit {
        Int attribute, value;
        int status;
    };
    for (const auto& [attribute, value, status] :
         {Edit{14, 2, 0}, Edit{15, 4, 0}, Edit{16, 5, 0}, Edit{17, 0x20, 0}, Edit{18, 3, 0}, Edit{19, 1, 0},
          Edit{20, 8, 0}, Edit{21, 4, 0}, Edit{22, 0x80, 0}, Edit{23, 1, 0}, Edit{14, 1, bad_point_count},
          Edit{15, 3, bad_point_hint}, Edit{16, 0, bad_function_count}, Edit{17, 0x40, bad_function_hint},
          Edit{22, 0x20, bad_coefficient_hint}, Edit{24, 0, bad_attribute}, Edit{1, 0, bad_attribute}}) {
        const Int before = status == 0 ? value : attribute >= 14 && attribute <= 23 ? number(attribute) : 0;
        EXPECT_EQ(edit(attribute, value), status) << attribute;
        if (attribute >= 14 && attribute <= 23) {
            EXPECT_EQ(number(attribute), before) << attribute;
        }
    }
    EXPECT_EQ(task->array(values_of, 1), spline.y.data() + 1); // by columns
    EXPECT_EQ(of(5, 0), arrays[2]);
    EXPECT_EQ(of(5, 4), nullptr); // only the first function's is given
    EXPECT_EQ(call("dEditIdxPtr", task, Int{2}, Int{0}, arrays[0]), bad_function_hint);
    EXPECT_EQ(call("dEditIdxPtr", task, Int{5}, Int{5}, arrays[0]), bad_index);
    EXPECT_EQ(call("dEditIdxPtr", task, Int{1}, Int{0}, arrays[0]), bad_attribute);
    EXPECT_EQ(call("dEditPtr", task, Int{14}, arrays[0]), bad_attribute);
    EXPECT_EQ(call("dEditPtr", task, Int{1}, nullptr), null_points);
    EXPECT_EQ(call("dQueryPtr", task, Int{6}, arrays[0]), bad_attribute);
    EXPECT_EQ(call("dQueryPtr", task, Int{1}, nullptr), null_answer);
    EXPECT_EQ(call("iQueryVal", task, Int{14}, nullptr), null_answer);
    EXPECT_EQ(call("iQueryVal", nullptr, Int{14}, nullptr), null_task);
}

TEST(FittingTasks, WhatTheyRefuse)
{
    const double x[] = {0, 1, 2}, y[] = {0, 1, 0};
    const auto make = [&](Int nx, const double* points, Int hint, Int ny, const double* values, Int y_hint) {
        Task* task = reinterpret_cast<Task*>(8);
        const int status = call("dNewTask1D", &task, nx, points, hint, ny, values, y_hint);
        EXPECT_EQ(task, nullptr);
        return status;
    };
    EXPECT_EQ(make(1, x, 0, 1, y, 0), bad_point_count);
    EXPECT_EQ(make(3, nullptr, 0, 1, y, 0), null_points);
    EXPECT_EQ(make(3, x, 0x10, 1, y, 0), bad_point_hint);
    EXPECT_EQ(make(3, x, 0, 0, y, 0), bad_function_count);
    EXPECT_EQ(make(3, x, 0, 1, y, 4), bad_function_hint);
    EXPECT_EQ(call("DeleteTask", nullptr), null_task);

    struct Row {
        int status;
        Wanted wanted;
    };

    for (const auto& [status, wanted] : {
             Row{bad_inner_type, {2, 0, 0, {}, 1, {1}}},
             Row{bad_inner_type, {4, 3, 0, {}, 0, {1}}},
             Row{bad_inner_type, {4, 0, 0, {}, 8, {1}}},
             Row{bad_inner_type, {3, 1, 0, {}, 1, {1}}},
             Row{null_inner, {4, 3, 0, {}, 1, {}}},
             Row{null_inner, {4, 0, 0, {}, 2, {}}},
             Row{null_inner, {3, 1, 0, {}, 8, {}}},
             Row{null_ends, {4, 0, 4}},
             Row{null_ends, {3, 0, 0x80}},
             Row{bad_end_type, {4, 0, 0x14, {1, 1}}}, // two of one end
             Row{bad_end_type, {4, 0, 0x44, {1, 1}}}, // a period has no ends
             Row{bad_end_type, {4, 0, 0x80, {1, 1}}},
             Row{bad_end_type, {4, 0, 3}},
             Row{bad_end_type, {3, 0, 12, {1, 1}}}, // there is one to choose
             Row{bad_end_type, {3, 0, 0x40}},       // of two cells
             Row{bad_end_type, {3, 1, 1}},
         }) {
        Fitted<double> spline({0, 1, 2}, {0, 1, 0});
        EXPECT_EQ(spline.make(wanted), status) << wanted.type << ' ' << wanted.end_type;
    }
    Fitted<double> spline({0, 1, 2}, {0, 1, 0});
    List<double> r(1);
    ASSERT_EQ(spline.make({4, 0, 0}), 0);
    EXPECT_EQ(call("dDFDefaultCubicSpline1D", spline.task, Int{0}, Int{1}, nullptr), bad_method);
    EXPECT_EQ(spline.interpolate({1}, {1}, r, no_hint, 0x40), bad_result_hint);
    EXPECT_EQ(spline.integrate({1}, {1}, r, 0x40), bad_result_hint);
    spline.task->order = 5;
    EXPECT_EQ(spline.interpolate({1}, {1}, r), bad_order);
}

TEST(FittingTasks, EachAllocationFailsOnce)
{
    Fitted<double> spline({0, 1}, {0, 1});
    ASSERT_EQ(spline.make({2, 0, 0}), 0);
    for (const int before : {0, 1}) {
        Task* task = reinterpret_cast<Task*>(8);
        granted = before;
        EXPECT_EQ(call("dNewTask1D", &task, Int{2}, spline.x.data(), Int{0}, Int{1}, spline.y.data(), Int{0}),
                  out_of_memory);
        EXPECT_EQ(granted, -1);
        EXPECT_EQ(task, nullptr);
    }
    const Told told;
    List<double> r(1, 5);
    Outside outside;
    granted = 0;
    EXPECT_EQ(call("iEditVal", spline.task, Int{16}, Int{2}), out_of_memory);
    EXPECT_EQ(spline.task->ny, 1);
    granted = 0;
    outside.left = reinterpret_cast<const void*>(estimate<double>);
    EXPECT_EQ(spline.interpolate({0}, {1}, r, no_hint, by_rows, nullptr, 1, outside), out_of_memory);
    granted = 0;
    outside.left = reinterpret_cast<const void*>(integral<double>);
    EXPECT_EQ(spline.integrate({0}, {1}, r, by_rows, outside), out_of_memory);
    EXPECT_EQ(r[0], 5);
    EXPECT_EQ(granted, -1);
}

} // namespace
