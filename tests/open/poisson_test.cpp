// Trigonometric transforms and Poisson problems as a C program has them: against sums, against solutions that
// were chosen first, and what is left alone or refused.
#include "core.hpp"
#include "open/poisson/lines.hpp"

#include <qnm/qnm.h>

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <numbers>

namespace qnm::test {
namespace {

using Exact = long double;
constexpr Exact pi = std::numbers::pi_v<Exact>;
using Letters = std::string;

template <class R>
constexpr bool is_single = sizeof(R) == sizeof(float);
/// Both precisions of an entry.
#define BOTH(name, ...) (is_single<R> ? call(s_##name, __VA_ARGS__) : call(d_##name, __VA_ARGS__))

/// An address for an entry of either precision: the arrays of the other one are never passed.
struct Any {
    const void* address;
    template <class T>
    operator T*() const
    {
        return static_cast<T*>(const_cast<void*>(address));
    }
};

template <class Entry, class... A>
int call(Entry* entry, A... arguments)
{
    int stat = 77;
    entry(Any{arguments}..., &stat);
    return stat;
}

/// Numbers with others around them, which nobody may touch.
template <class R>
class Guarded {
public:
    explicit Guarded(std::size_t size) : all_(size + 2 * margin, mark) {}
    R* data() { return all_.data() + margin; }
    R& operator[](core_int i) { return all_[static_cast<std::size_t>(i) + margin]; }
    bool is_whole(std::size_t used) const
    {
        const auto untouched = [](R x) { return x == mark; };
        return std::all_of(all_.begin(), all_.begin() + margin, untouched) &&
               std::all_of(all_.begin() + margin + static_cast<std::ptrdiff_t>(used), all_.end(), untouched);
    }

private:
    static constexpr std::size_t margin = 16;
    static constexpr R mark = 12345;
    std::vector<R> all_;
};

/// The published sums of a type: its points, the terms of the forward one, and what a point counts.
struct Sums {
    int type, n;
    std::vector<Exact> cosines; ///< of a whole turn, in steps of pi/4n

    Sums(int of_type, int steps) : type(of_type), n(steps), cosines(static_cast<std::size_t>(8 * steps))
    {
        for (std::size_t m = 0; m < cosines.size(); ++m)
            cosines[m] = std::cos(static_cast<Exact>(m) * pi / (4 * n));
    }
    int first() const { return type == 0 || type == 3 ? 1 : 0; }
    int last() const { return type == 1 || type == 3 ? n : n - 1; }
    Exact term(core_int k, core_int i) const
    {
        const core_int angles[] = {4 * k * i,
                                   4 * k * i,
                                   2 * (2 * k + 1) * i,
                                   2 * (2 * k - 1) * i,
                                   (2 * k + 1) * (2 * i + 1),
                                   (2 * k + 1) * (2 * i + 1)};
        const bool sine = type == 0 || type == 3 || type == 5;
        const core_int angle = angles[type] + (sine ? 6 * n : 0);
        return cosines[static_cast<std::size_t>(angle % (8 * n))];
    }
    Exact weight(int i, bool forward) const
    {
        const bool half = type == 1   ? i == 0 || i == n
                          : type == 2 ? forward && i == 0
                                      : type == 3 && forward && i == n;
        return half ? 0.5L : 1;
    }
};

/// Backward sums change the roles of k and i.
std::vector<Exact> transformed(const Sums& sums, bool forward, bool as_fftw, const std::vector<Exact>& f)
{
    std::vector<Exact> to = f;
    const Exact scale = as_fftw ? 2 : forward ? Exact(2) / sums.n : 1;
    for (int k = sums.first(); k <= sums.last(); ++k) {
        Exact all = 0;
        for (int i = sums.first(); i <= sums.last(); ++i)
            all += f[static_cast<std::size_t>(i)] * (forward ? sums.term(k, i) : sums.term(i, k)) *
                   sums.weight(i, forward);
        to[static_cast<std::size_t>(k)] = all * scale;
    }
    return to;
}

template <class R>
void expect_near(Guarded<R>& found, core_int from, const std::vector<Exact>& expected, Exact error)
{
    Exact size = 1;
    for (const Exact x : expected)
        size = std::max(size, std::abs(x));
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_NEAR(static_cast<double>(found[static_cast<core_int>(i) - from]),
                    static_cast<double>(expected[i]), static_cast<double>(error * size))
            << "at " << i;
}

QNM_TYPED_OF(Trigonometric, SumsOfAllTypesBothWays, float, double)
{
    std::vector<int> sizes{1, 101, 127, 251, 509};
    for (int n = 2; n <= 100; ++n)
        sizes.push_back(n);
    for (const int n : sizes)
        for (int type = 0; type < 6; ++type) {
            const Sums sums(type, n);
            for (const bool as_fftw : {false, true})
                for (const bool forward : {true, false}) {
                    SCOPED_TRACE("type " + std::to_string(type) + " n " + std::to_string(n));
                    const std::size_t points = static_cast<std::size_t>(n) + (type < 4 ? 1 : 0);
                    const core_int ahead = as_fftw && type == 3 ? 1 : 0; // its first point stands first
                    Guarded<T> f(points);
                    std::vector<Exact> from(points);
                    for (std::size_t i = 0; i < points; ++i) {
                        const T value = static_cast<T>(random_integer(-99, 99)) / 64;
                        from[i] = value;
                        if (static_cast<core_int>(i) >= ahead)
                            f[static_cast<core_int>(i) - ahead] = value;
                    }
                    using R = T;
                    std::array<int, 15> ipar{};
                    Guarded<T> par(8);
                    auto handle = reinterpret_cast<qnm_dft_handle>(&par); // and nobody looks at that
                    ASSERT_EQ(BOTH(init_trig_transform, &n, &type, ipar.data(), par.data()), 0);
                    EXPECT_THAT((std::array{ipar[0], ipar[5], ipar[6], ipar[10]}),
                                ::testing::ElementsAre(n, type, 0, 0));
                    ipar[10] = as_fftw ? 1 : 0;
                    ASSERT_EQ(BOTH(commit_trig_transform, f.data(), &handle, ipar.data(), par.data()), 0);
                    ASSERT_EQ(forward
                                  ? BOTH(forward_trig_transform, f.data(), &handle, ipar.data(), par.data())
                                  : BOTH(backward_trig_transform, f.data(), &handle, ipar.data(), par.data()),
                              0);
                    auto expected = transformed(sums, forward, as_fftw, from);
                    if (ahead != 0)
                        expected.erase(expected.begin());
                    expect_near(f, 0, expected, 8 * std::numeric_limits<T>::epsilon());
                    EXPECT_TRUE(f.is_whole(expected.size()));
                    EXPECT_TRUE(par.is_whole(0)); // it is the caller's to work in
                    EXPECT_EQ(DftiFreeDescriptor(&handle), DFTI_NO_ERROR);
                }
        }
}

// Of each instruction set, lines side by side, apart, and fewer than a vector has lanes.
QNM_TYPED_OF(Trigonometric, LinesOfAllInstructionSetsAreThoseOfOne, float, double)
{
    using namespace core::poisson;
    std::vector<const Engine*> engines{&engine_sse2};
    if (__builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0)
        engines.push_back(&engine_avx2);
    if (__builtin_cpu_supports("avx512f") != 0)
        engines.push_back(&engine_avx512);
    for (const Engine* engine : engines)
        for (int type = 0; type <= 6; ++type)
            for (const auto& [along, step] : {std::pair{core_int{60}, core_int{1}}, {1, 40}, {70, 3}}) {
                constexpr core_int n = 12, lines = 21;
                const Kernels<T>& kernels = [&]() -> const Kernels<T>& {
                    if constexpr (is_single<T>)
                        return engine->single;
                    else
                        return engine->full;
                }();
                Transform<T>* made = nullptr;
                ASSERT_EQ(kernels.transform(static_cast<Basis>(type), n, &made), core::dft::done);
                const std::unique_ptr<Transform<T>> transform(made);
                std::vector<T> all(1000);
                for (T& x : all)
                    x = static_cast<T>(random_integer(-9, 9));
                std::vector<T> singly = all;
                const Places places{7, step, lines / 7, 8 * step};
                ASSERT_EQ(transform->lines(true, all.data(), along, places, T(0.5), 2), core::dft::done);
                for (core_int line = 0; line < lines; ++line)
                    ASSERT_EQ(transform->lines(true, singly.data() + line % 7 * step + line / 7 * 8 * step,
                                               along, {1, 0, 1, 0}, T(0.5), 1),
                              core::dft::done);
                for (std::size_t i = 0; i < all.size(); ++i)
                    ASSERT_NEAR(static_cast<double>(all[i]), static_cast<double>(singly[i]),
                                100 * std::numeric_limits<T>::epsilon());
            }
}

TEST(Trigonometric, Statuses)
{
    using R = double;
    int n = 8, type = 0, stat = 0;
    std::array<int, 15> ipar{};
    std::array<double, 9> f{};
    qnm_dft_handle handle = nullptr;
    const auto init = [&](int size, int of_type) {
        return BOTH(init_trig_transform, &size, &of_type, ipar.data(), f.data());
    };
    const auto commit = [&] { return BOTH(commit_trig_transform, f.data(), &handle, ipar.data(), f.data()); };
    const auto forward = [&] {
        return BOTH(forward_trig_transform, f.data(), &handle, ipar.data(), f.data());
    };
    for (const auto& [size, of_type] : {std::pair{0, 1}, {-1, 1}, {8, 6}, {8, -1}}) {
        EXPECT_EQ(init(size, of_type), QNM_PDE_BAD_ARGUMENT);
        EXPECT_EQ(ipar[6], QNM_PDE_BAD_ARGUMENT);
        EXPECT_EQ(commit(), QNM_PDE_NOT_INITIALISED);
    }
    EXPECT_EQ(forward(), QNM_PDE_NOT_INITIALISED);
    ipar[9] = 3; // settings that stood before stay
    EXPECT_EQ(init(n, type), QNM_PDE_OK);
    EXPECT_EQ(ipar[9], 3);
    ipar[5] = 6;
    EXPECT_EQ(commit(), QNM_PDE_PARAMETERS_ALTERED);
    EXPECT_EQ(handle, nullptr);
    ipar[5] = 0;
    EXPECT_EQ(commit(), QNM_PDE_OK);
    EXPECT_EQ(forward(), QNM_PDE_OK);
    ++ipar[0];
    EXPECT_EQ(forward(), QNM_PDE_PARAMETERS_ALTERED);
    // Lines are written if they are asked for.
    ::testing::internal::CaptureStderr();
    ipar[1] = 1;
    forward();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "QNM ERROR: D_FORWARD_TRIG_TRANSFORM: status -100\n");
    --ipar[0];
    // A descriptor to whoever has the handle; what it computes as such is its own transform.
    qnm_int64 length = 0;
    EXPECT_EQ(DftiGetValue(handle, DFTI_LENGTHS, &length), DFTI_NO_ERROR);
    EXPECT_EQ(length, 8);
    EXPECT_NE(DftiComputeForward(handle, f.data()), DFTI_NO_ERROR);
    EXPECT_EQ(DftiCommitDescriptor(handle), DFTI_NO_ERROR);
    ipar[1] = 0;
    EXPECT_EQ(forward(), QNM_PDE_NOT_INITIALISED);
    free_trig_transform(&handle, ipar.data(), &stat);
    EXPECT_EQ(stat, QNM_PDE_OK);
    EXPECT_EQ(handle, nullptr);
}

// ---- problems

/// A function of one variable, with its first two derivatives.
struct Function {
    std::function<Exact(Exact)> value, first, second;
};
Function wave(Exact period)
{
    const Exact w = 2 * pi / period;
    return {[=](Exact x) { return std::sin(w * x + 0.3L) + 2; },
            [=](Exact x) { return w * std::cos(w * x + 0.3L); },
            [=](Exact x) { return -w * w * std::sin(w * x + 0.3L); }};
}
Function growth()
{
    return {[](Exact x) { return std::exp(x / 2) + x * x; },
            [](Exact x) { return std::exp(x / 2) / 2 + 2 * x; },
            [](Exact x) { return std::exp(x / 2) / 4 + 2; }};
}

/// A problem on a rectangle or a box, with all arrays; `letters` has two for each direction.
template <class R>
struct Box {
    Letters letters;
    std::vector<int> n;
    R q;
    std::vector<R> to;                // from 0
    std::vector<std::vector<R>> side; // values or derivatives; none of periodic ones
    Guarded<R> f{0};
    std::array<int, 128> ipar{};
    Guarded<R> par{64};
    qnm_dft_handle handle[2]{};

    Box(Letters of, std::vector<int> sizes, R constant)
        : letters(std::move(of)),
          n(std::move(sizes)),
          q(constant),
          to{R(1), R(1.25), R(0.75)},
          side(6),
          f(count())
    {
    }
    int rank() const { return static_cast<int>(n.size()); }
    std::size_t count() const
    {
        std::size_t product = 1;
        for (const int size : n)
            product *= static_cast<std::size_t>(size) + 1;
        return product;
    }
    bool is_singular() const { return q == 0 && letters.find('D') == Letters::npos; }
    Exact at(int k, int i) const
    {
        return Exact(to[static_cast<std::size_t>(k)]) * i / n[static_cast<std::size_t>(k)];
    }

    /// Visits all points with their coordinates.
    void each(const std::function<void(core_int at, const std::array<int, 3>& i)>& visit) const
    {
        std::array<int, 3> i{};
        for (core_int at = 0; at < static_cast<core_int>(count()); ++at) {
            visit(at, i);
            for (int k = 0; k < rank() && ++i[static_cast<std::size_t>(k)] > n[static_cast<std::size_t>(k)];
                 ++k)
                i[static_cast<std::size_t>(k)] = 0;
        }
    }
    /// Where a point stands on a side of direction k.
    std::size_t on_side(int k, const std::array<int, 3>& i) const
    {
        std::size_t place = 0, step = 1;
        for (int d = 0; d < rank(); ++d)
            if (d != k) {
                place += step * static_cast<std::size_t>(i[static_cast<std::size_t>(d)]);
                step *= static_cast<std::size_t>(n[static_cast<std::size_t>(d)]) + 1;
            }
        return place;
    }
    /// A value for each point of the sides that have one: of (side, its place, the point).
    void give_sides(const std::function<Exact(int, const std::array<int, 3>&)>& value)
    {
        for (int s = 0; s < 2 * rank(); ++s) {
            const std::size_t k = static_cast<std::size_t>(s / 2);
            if (letters[static_cast<std::size_t>(s)] == 'P')
                continue;
            side[static_cast<std::size_t>(s)].assign(count() / (static_cast<std::size_t>(n[k]) + 1), 0);
            each([&](core_int, const std::array<int, 3>& i) {
                if (i[k] == (s % 2 == 0 ? 0 : n[k]))
                    side[static_cast<std::size_t>(s)][on_side(s / 2, i)] = static_cast<R>(value(s, i));
            });
        }
    }
    R* sides(std::size_t s) { return side[s].empty() ? nullptr : side[s].data(); }

    int init()
    {
        const R zero = 0;
        return rank() == 2 ? BOTH(init_Helmholtz_2D, &zero, &to[0], &zero, &to[1], &n[0], &n[1],
                                  letters.c_str(), &q, ipar.data(), par.data())
                           : BOTH(init_Helmholtz_3D, &zero, &to[0], &zero, &to[1], &zero, &to[2], &n[0],
                                  &n[1], &n[2], letters.c_str(), &q, ipar.data(), par.data());
    }
    int commit()
    {
        return rank() == 2 ? BOTH(commit_Helmholtz_2D, f.data(), sides(0), sides(1), sides(2), sides(3),
                                  handle, ipar.data(), par.data())
                           : BOTH(commit_Helmholtz_3D, f.data(), sides(0), sides(1), sides(2), sides(3),
                                  sides(4), sides(5), handle, handle + 1, ipar.data(), par.data());
    }
    int compute()
    {
        return rank() == 2 ? BOTH(Helmholtz_2D, f.data(), sides(0), sides(1), sides(2), sides(3), handle,
                                  ipar.data(), par.data())
                           : BOTH(Helmholtz_3D, f.data(), sides(0), sides(1), sides(2), sides(3), sides(4),
                                  sides(5), handle, handle + 1, ipar.data(), par.data());
    }
    int free()
    {
        return rank() == 2 ? call(free_Helmholtz_2D, handle, ipar.data())
                           : call(free_Helmholtz_3D, handle, handle + 1, ipar.data());
    }
    /// The whole of it, of good parameters.
    void solve()
    {
        const auto given = side;
        EXPECT_EQ(init(), QNM_PDE_OK);
        EXPECT_EQ(commit(), QNM_PDE_OK);
        EXPECT_EQ(compute(), is_singular() ? QNM_PDE_WARNED : QNM_PDE_OK);
        EXPECT_EQ(free(), QNM_PDE_OK);
        EXPECT_EQ(handle[0], nullptr);
        EXPECT_EQ(given, side);
        EXPECT_TRUE(f.is_whole(count()));
        EXPECT_TRUE(par.is_whole(8));
    }
    /// The largest distance from these values, the mean aside where nothing is known of it.
    Exact error(const std::vector<Exact>& expected)
    {
        Exact low = INFINITY, high = -INFINITY;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const Exact d = Exact(f[static_cast<core_int>(i)]) - expected[i];
            low = std::min(low, d);
            high = std::max(high, d);
        }
        return is_singular() ? (high - low) / 2 : std::max(std::abs(low), std::abs(high));
    }
};

const Letters all_pairs[] = {"DD", "DN", "ND", "NN", "PP"};

/// Values by chance on all points, and the right side of the equations of second order with mirrored points
/// that they solve.
template <class R>
Exact error_of_scheme(const Letters& letters, const std::vector<int>& n, R q)
{
    Box<R> box(letters, n, q);
    std::vector<Exact> u(box.count());
    box.each([&](core_int at, const std::array<int, 3>& i) {
        core_int same = at, step = 1; // points that are one
        for (std::size_t k = 0; k < n.size(); ++k) {
            if (letters[2 * k] == 'P' && i[k] == n[k])
                same -= n[k] * step;
            step *= n[k] + 1;
        }
        u[static_cast<std::size_t>(at)] =
            same < at ? u[static_cast<std::size_t>(same)] : Exact(random_integer(-64, 64)) / 64;
    });
    core_int step[3] = {1, n[0] + 1, (n[0] + 1) * core_int{n[1] + 1}};
    box.give_sides([&](int s, const std::array<int, 3>& i) {
        const core_int at = i[0] + i[1] * step[1] + (n.size() > 2 ? i[2] * step[2] : 0);
        return letters[static_cast<std::size_t>(s)] == 'D' ? u[static_cast<std::size_t>(at)]
                                                           : Exact(random_integer(-8, 8));
    });
    box.each([&](core_int at, const std::array<int, 3>& i) {
        Exact f = Exact(q) * u[static_cast<std::size_t>(at)];
        for (std::size_t k = 0; k < n.size(); ++k) {
            const Exact h = Exact(box.to[k]) / n[k];
            Exact neighbours = 0;
            for (const int way : {-1, 1}) {
                const std::size_t s = 2 * k + (way > 0 ? 1 : 0);
                const bool at_end = i[k] == (way > 0 ? n[k] : 0);
                core_int to = at + way * step[k];
                if (at_end && letters[s] == 'P')
                    to = at + (1 - n[k]) * way * step[k];
                else if (at_end) // mirrored
                    to = at - way * step[k];
                neighbours += u[static_cast<std::size_t>(to)];
                if (at_end && letters[s] == 'N')
                    neighbours += 2 * h * Exact(box.side[s][box.on_side(static_cast<int>(k), i)]);
            }
            f += (2 * u[static_cast<std::size_t>(at)] - neighbours) / (h * h);
        }
        box.f[at] = static_cast<R>(f);
    });
    box.solve();
    return box.error(u);
}

TEST(Poisson, SolvesItsEquationsForAllPairsOfSides)
{
    for (const Letters& x : all_pairs)
        for (const Letters& y : all_pairs)
            for (const std::vector<int>& n :
                 {std::vector{1, 4}, {5, 1}, {2, 2}, {7, 5}, {8, 16}, {33, 60}, {150, 9}})
                for (const double q : {0.0, 1.5, 1e-6, -30.0}) {
                    SCOPED_TRACE(x + y + " " + std::to_string(n[0]) + " " + std::to_string(n[1]) + " " +
                                 std::to_string(q));
                    EXPECT_LT(error_of_scheme<double>(x + y, n, q), q == 1e-6 ? 1e-6 : 1e-10);
                }
}

TEST(Poisson, SolvesItsEquationsInABox)
{
    for (const Letters letters :
         {"DDDDDD", "NNDNPP", "PPNDDD", "PPPPPP", "NNNNNN", "DNPPND", "NDNNDD", "PPNNPP"})
        for (const std::vector<int>& n :
             {std::vector{1, 3, 4}, {9, 6, 11}, {20, 33, 5}, {40, 47, 39}}) // the last in threads
            for (const double q : {0.0, 2.0, -25.0}) {
                SCOPED_TRACE(letters + " " + std::to_string(n[0]) + " " + std::to_string(q));
                EXPECT_LT(error_of_scheme<double>(letters, n, q), 1e-10);
            }
}

/// The error of a smooth solution on a mesh of so many steps.
template <class R>
Exact error_of_solution(const Letters& letters, int steps, R q, std::vector<R>* found = nullptr)
{
    Box<R> box(letters,
               letters.size() == 4 ? std::vector{steps, steps + steps / 2}
                                   : std::vector{steps, steps / 2, steps},
               q);
    std::vector<Function> along;
    for (std::size_t k = 0; k < box.n.size(); ++k)
        along.push_back(letters[2 * k] == 'P' ? wave(box.to[k]) : growth());
    std::vector<Exact> u(box.count());
    const auto value = [&](const std::array<int, 3>& i, std::size_t k, int order) { // differentiated along k
        Exact product = 1;
        for (std::size_t d = 0; d < box.n.size(); ++d) {
            const Exact x = box.at(static_cast<int>(d), i[d]);
            product *= d != k || order == 0 ? along[d].value(x)
                       : order == 1         ? along[d].first(x)
                                            : along[d].second(x);
        }
        return product;
    };
    box.each([&](core_int at, const std::array<int, 3>& i) {
        u[static_cast<std::size_t>(at)] = value(i, 0, 0);
        Exact f = Exact(q) * u[static_cast<std::size_t>(at)];
        for (std::size_t k = 0; k < box.n.size(); ++k)
            f -= value(i, k, 2);
        box.f[at] = static_cast<R>(f);
    });
    box.give_sides([&](int s, const std::array<int, 3>& i) {
        const std::size_t k = static_cast<std::size_t>(s / 2);
        return letters[static_cast<std::size_t>(s)] == 'D' ? value(i, k, 0)
                                                           : (s % 2 == 0 ? -1 : 1) * value(i, k, 1);
    });
    box.solve();
    if (found != nullptr)
        found->assign(box.f.data(), box.f.data() + box.count());
    return box.error(u);
}

void expect_second_order(const std::function<Exact(int)>& error)
{
    const Exact coarse = error(24), fine = error(48);
    EXPECT_LT(fine, 0.05);
    EXPECT_GT(coarse / fine, 3.5);
    EXPECT_LT(coarse / fine, 4.5);
}

TEST(Poisson, ErrorsFallToAQuarterOnTwiceAsFineAMesh)
{
    for (const Letters& x : all_pairs)
        for (const Letters& y : all_pairs)
            for (const double q : {0.0, 3.0, -1.0}) {
                SCOPED_TRACE(x + y + " " + std::to_string(q));
                expect_second_order([&](int n) { return error_of_solution<double>(x + y, n, q); });
            }
    for (const Letters letters : {"DDDDDD", "NDPPDN", "PPNNNN"})
        expect_second_order([&](int n) { return error_of_solution<double>(letters, n, 0.0); });
}

TEST(Poisson, SinglePrecisionIsDoubleButForItsDigits)
{
    for (const Letters letters : {"DDDD", "NDPP", "PPDN", "NNNN", "DNNDPP"})
        for (const float q : {0.0F, 2.0F}) {
            std::vector<float> single;
            std::vector<double> full;
            error_of_solution<float>(letters, 32, q, &single);
            error_of_solution<double>(letters, 32, static_cast<double>(q), &full);
            for (std::size_t i = 0; i < full.size(); ++i)
                ASSERT_NEAR(single[i], full[i], 2e-3) << letters;
        }
}

// ---- the sphere

/// A function of longitude and colatitude, and minus its Laplacian.
struct Spherical {
    std::function<Exact(Exact, Exact)> value, laplacian;
};

template <class R>
Exact error_on_sphere(bool whole, R ap, R bp, R at, R bt, int np, R q, const Spherical& u)
{
    const int nt = np / 2 + 1;
    const auto width = static_cast<core_int>(np) + 1;
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(nt + 1);
    Guarded<R> f(count), par(64);
    std::array<int, 128> ipar{};
    qnm_dft_handle handle[2]{};
    const auto each = [&](const auto& visit) {
        for (int j = 0; j <= nt; ++j)
            for (int i = 0; i <= np; ++i)
                visit(i + j * width, ap + (Exact(bp) - ap) * i / np, at + (Exact(bt) - at) * j / nt);
    };
    each([&](core_int place, Exact phi, Exact theta) {
        f[place] = static_cast<R>(u.laplacian(phi, theta) + Exact(q) * u.value(phi, theta));
    });
    const bool singular = whole && q == 0 && at == 0 && bt > R(3.14159);
    if (whole) {
        EXPECT_EQ(BOTH(init_sph_p, &ap, &bp, &at, &bt, &np, &nt, &q, ipar.data(), par.data()), 0);
        EXPECT_EQ(BOTH(commit_sph_p, f.data(), handle, handle + 1, ipar.data(), par.data()), 0);
        EXPECT_EQ(BOTH(sph_p, f.data(), handle, handle + 1, ipar.data(), par.data()), singular ? 1 : 0);
        EXPECT_EQ(call(free_sph_p, handle, handle + 1, ipar.data()), 0);
    } else {
        EXPECT_EQ(BOTH(init_sph_np, &ap, &bp, &at, &bt, &np, &nt, &q, ipar.data(), par.data()), 0);
        EXPECT_EQ(BOTH(commit_sph_np, f.data(), handle, ipar.data(), par.data()), 0);
        EXPECT_EQ(BOTH(sph_np, f.data(), handle, ipar.data(), par.data()), 0);
        EXPECT_EQ(call(free_sph_np, handle, ipar.data()), 0);
    }
    EXPECT_TRUE(f.is_whole(count) && par.is_whole(8));
    Exact worst = 0;
    each([&](core_int place, Exact phi, Exact theta) {
        worst = std::max(worst, std::abs(Exact(f[place]) - u.value(phi, theta)));
    });
    for (int i = 0; i <= np && whole; ++i) { // a pole is one point, a parallel given
        EXPECT_EQ(f[i], f[0]);
        EXPECT_EQ(f[nt * width + i], f[nt * width]);
    }
    return worst;
}

QNM_TYPED_OF(Sphere, ErrorsFallToAQuarterOnThreeDomains, float, double)
{
    const T turn = 2 * std::numbers::pi_v<T>, south = std::numbers::pi_v<T>;
    // Both poles: harmonics of the first three degrees, of mean 0.
    const Spherical harmonics{[](Exact p, Exact t) {
                                  return std::cos(t) * (1 + std::sin(t) * std::cos(p)) +
                                         std::sin(t) * std::sin(p);
                              },
                              [](Exact p, Exact t) {
                                  return 2 * std::cos(t) + 6 * std::cos(t) * std::sin(t) * std::cos(p) +
                                         2 * std::sin(t) * std::sin(p);
                              }};
    // One pole: 0 on a parallel.
    const auto cap = [](Exact c) {
        return Spherical{
            [=](Exact p, Exact t) { return (std::cos(t) - c) * (1 + std::sin(t) * std::cos(p)); },
            [=](Exact p, Exact t) {
                return 2 * std::cos(t) + std::sin(t) * std::cos(p) * (6 * std::cos(t) - 2 * c);
            }};
    };
    // None: waves between parallels, and between meridians (k half waves a radian).
    const auto band = [](Exact from, Exact w, Exact start, Exact k) {
        const auto around = [=](Exact p) { return k == 0 ? 2 + std::cos(p) : std::sin(k * (p - start)); };
        return Spherical{
            [=](Exact p, Exact t) { return std::sin(w * (t - from)) * around(p); },
            [=](Exact p, Exact t) {
                const Exact s = std::sin(w * (t - from)), bent = k == 0 ? -std::cos(p) : -k * k * around(p);
                return (w * w * s - w * std::cos(w * (t - from)) * std::cos(t) / std::sin(t)) * around(p) -
                       s * bent / (std::sin(t) * std::sin(t));
            }};
    };
    for (const T q : {T(0), T(2.5), T(-4)}) {
        SCOPED_TRACE(q);
        expect_second_order(
            [&](int n) { return error_on_sphere<T>(true, 0, turn, 0, south, n, q, harmonics); });
        expect_second_order([&](int n) {
            return error_on_sphere<T>(true, T(0.5), T(0.5) + turn, 0, T(2), n, q, cap(std::cos(Exact(T(2)))));
        });
        expect_second_order([&](int n) {
            return error_on_sphere<T>(true, 0, turn, T(1), south, n, q, cap(std::cos(Exact(T(1)))));
        });
        expect_second_order(
            [&](int n) { return error_on_sphere<T>(true, 0, turn, T(1), T(2), n, q, band(1, pi, 0, 0)); });
        expect_second_order([&](int n) {
            return error_on_sphere<T>(false, T(0.5), T(2.5), T(0.5), T(2), n, q,
                                      band(0.5L, pi / 1.5L, 0.5L, pi / 2));
        });
    }
}

// ---- refusals

TEST(Poisson, Statuses)
{
    Box<double> box("DDNN", {4, 6}, 0);
    EXPECT_EQ(box.commit(), QNM_PDE_NOT_INITIALISED);
    for (const char* letters : {"DDNX", "PDDD", "ODDD"}) {
        Box<double> bad(letters, {4, 6}, 0);
        EXPECT_EQ(bad.init(), QNM_PDE_BAD_ARGUMENT) << letters;
        EXPECT_EQ(bad.commit(), QNM_PDE_NOT_INITIALISED);
    }
    Box<double> none("DDNN", {4, 0}, 0), turned("DDNN", {4, 4}, 0);
    EXPECT_EQ(none.init(), QNM_PDE_BAD_ARGUMENT);
    turned.to[0] = -1;
    EXPECT_EQ(turned.init(), QNM_PDE_BAD_ARGUMENT);

    EXPECT_EQ(box.init(), QNM_PDE_OK);
    EXPECT_EQ(box.compute(), QNM_PDE_NOT_INITIALISED);
    EXPECT_EQ(box.commit(), QNM_PDE_OK);
    box.ipar[3] = 5; // of the sizes
    EXPECT_EQ(box.compute(), QNM_PDE_PARAMETERS_ALTERED);
    EXPECT_EQ(box.ipar[6], QNM_PDE_PARAMETERS_ALTERED);
    box.ipar[3] = 4;
    EXPECT_EQ(box.compute(), QNM_PDE_OK);
    EXPECT_EQ(box.free(), QNM_PDE_OK);

    // Letters in lower case; q on an eigenvalue of the equations.
    const double h = 0.25, root = 2 / h * std::sin(std::numbers::pi / 8);
    Box<double> resonant("ddnn", {4, 6}, -root * root);
    resonant.letters = "ddnn";
    EXPECT_EQ(resonant.init(), QNM_PDE_OK);
    EXPECT_EQ(resonant.commit(), QNM_PDE_OK);
    EXPECT_EQ(resonant.compute(), QNM_PDE_DIVISION_BY_ZERO);
    EXPECT_EQ(resonant.free(), QNM_PDE_OK);

    // Steps of any size are not carried.
    std::array<int, 128> ipar{};
    int stat = 0, n = 4;
    float x = 0;
    ::testing::internal::CaptureStderr();
    s_init_Helmholtz_nonuniform_3D(&x, &x, &x, &x, &x, &x, &n, &n, &n, "DDDDDD", &x, ipar.data(), &x, &stat);
    EXPECT_EQ(stat, QNM_PDE_BAD_ARGUMENT);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "QNM ERROR: S_INIT_HELMHOLTZ_NONUNIFORM_3D is not carried by this core.\n");
}

// The limit of memory is lifted step by step, so that each block fails once.
TEST(Poisson, MemoryThatFails)
{
    const auto lifted = [](const std::function<int()>& work, const std::function<void()>& undone) {
        int failures = 0, blocks = 0;
        for (int limit = 1;; limit += 128, ++failures) {
            const auto used = static_cast<std::size_t>(QNM_Mem_Stat(&blocks));
            QNM_Set_Memory_Limit(1, static_cast<qnm_int64>(used) + limit);
            const int stat = work();
            QNM_Set_Memory_Limit(1, 0);
            if (stat == QNM_PDE_OK)
                return failures;
            EXPECT_EQ(stat, QNM_PDE_NO_MEMORY);
            undone();
            EXPECT_EQ(static_cast<std::size_t>(QNM_Mem_Stat(&blocks)), used);
        }
    };
    for (const Letters letters : {"DDNN", "PPNDDN"}) {
        Box<double> box(letters, letters.size() == 4 ? std::vector{40, 30} : std::vector{9, 8, 11}, -1);
        box.give_sides([](int, const std::array<int, 3>&) { return Exact(1); });
        EXPECT_EQ(box.init(), QNM_PDE_OK);
        EXPECT_GT(lifted([&] { return box.commit(); }, [&] { EXPECT_EQ(box.handle[0], nullptr); }), 3);
        EXPECT_GT(lifted([&] { return box.compute(); }, [] {}), 3);
        EXPECT_EQ(box.free(), QNM_PDE_OK);
    }
}

} // namespace
} // namespace qnm::test
