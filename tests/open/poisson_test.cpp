// Trigonometric transforms and Poisson problems as a C program has them: against sums, against solutions that
// were chosen first, and what is left alone or refused.
#include "core.hpp"
#include "open/poisson/lines.hpp"

#include <qnm/qnm.h>

#include <array>
#include <cmath>
#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <numbers>

namespace qnm::test {
namespace {

using Exact = long double;
constexpr Exact pi = std::numbers::pi_v<Exact>;
using Letters = std::string;
using Point = std::array<int, 3>;

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
#define BOTH(name, ...) (std::is_same_v<R, float> ? call(s_##name, __VA_ARGS__) : call(d_##name, __VA_ARGS__))

/// Numbers with others around them, which nobody may touch.
template <class R>
class Guarded {
public:
    explicit Guarded(std::size_t size) : all_(size + 2 * margin, mark) {}
    R* data() { return all_.data() + margin; }
    R& operator[](std::size_t i) { return all_[i + margin]; }
    bool is_whole(std::size_t used) const
    {
        std::size_t marks = 0;
        for (std::size_t i = 0; i < all_.size(); ++i)
            marks += (i < margin || i >= margin + used) && all_[i] == mark ? 1 : 0;
        return marks == all_.size() - used;
    }

private:
    static constexpr std::size_t margin = 16;
    static constexpr R mark = 12345;
    std::vector<R> all_;
};

// ---- transforms

/// The published sums of a type: its points, the terms of the forward one, and what a point counts.
struct Sums {
    int type, n;
    std::vector<Exact> cosines; ///< of a whole turn, in steps of pi/4n

    Sums(int of_type, int steps) : type(of_type), n(steps), cosines(8 * steps)
    {
        for (std::size_t m = 0; m < cosines.size(); ++m)
            cosines[m] = std::cos(static_cast<Exact>(m) * pi / (4 * n));
    }
    int first() const { return type == 0 || type == 3 ? 1 : 0; }
    int last() const { return type == 1 || type == 3 ? n : n - 1; }
    Exact term(core_int k, core_int i) const
    {
        const core_int twice = (2 * k + 1) * (2 * i + 1);
        const core_int angles[] = {4 * k * i, 4 * k * i, (4 * k + 2) * i, (4 * k - 2) * i, twice, twice};
        const bool sine = type == 0 || type == 3 || type == 5;
        return cosines[(angles[type] + (sine ? 6 * n : 0)) % (8 * n)];
    }
    Exact weight(int i, bool forward) const
    {
        const bool half = type == 1   ? i == 0 || i == n
                          : type == 2 ? forward && i == 0
                                      : type == 3 && forward && i == n;
        return half ? 0.5L : 1;
    }
    /// Backward sums change the roles of k and i.
    std::vector<Exact> of(const std::vector<Exact>& f, bool forward, bool as_fftw) const
    {
        std::vector<Exact> to = f;
        for (int k = first(); k <= last(); ++k) {
            to[k] = 0;
            for (int i = first(); i <= last(); ++i)
                to[k] += f[i] * (forward ? term(k, i) : term(i, k)) * weight(i, forward);
            to[k] *= as_fftw ? 2 : forward ? Exact(2) / n : 1;
        }
        return to;
    }
};

/// A transform of numbers by chance; as FFTW has it, type 3 begins with its first point.
template <class R>
void expect_sums(const Sums& sums, bool forward, bool as_fftw)
{
    const std::size_t points = sums.n + (sums.type < 4 ? 1 : 0), ahead = as_fftw && sums.type == 3 ? 1 : 0;
    Guarded<R> f(points), par(8);
    std::vector<Exact> from(points);
    for (std::size_t i = 0; i < points; ++i) {
        from[i] = random_integer(-99, 99) / 64.0L;
        if (i >= ahead)
            f[i - ahead] = static_cast<R>(from[i]);
    }
    std::array<int, 15> ipar{};
    auto handle = reinterpret_cast<qnm_dft_handle>(&par); // and nobody looks at that
    ASSERT_EQ(BOTH(init_trig_transform, &sums.n, &sums.type, ipar.data(), par.data()), 0);
    EXPECT_THAT((std::array{ipar[0], ipar[5], ipar[6], ipar[10]}),
                ::testing::ElementsAre(sums.n, sums.type, 0, 0));
    ipar[10] = as_fftw ? 1 : 0;
    ASSERT_EQ(BOTH(commit_trig_transform, f.data(), &handle, ipar.data(), par.data()), 0);
    const int stat = forward ? BOTH(forward_trig_transform, f.data(), &handle, ipar.data(), par.data())
                             : BOTH(backward_trig_transform, f.data(), &handle, ipar.data(), par.data());
    ASSERT_EQ(stat, 0);
    const std::vector<Exact> expected = sums.of(from, forward, as_fftw);
    const Exact size = std::abs(*std::ranges::max_element(expected, {}, [](Exact x) { return std::abs(x); }));
    for (std::size_t i = ahead; i < points; ++i)
        ASSERT_LE(std::abs(Exact(f[i - ahead]) - expected[i]),
                  8 * std::numeric_limits<R>::epsilon() * std::max(size, Exact(1)))
            << "at " << i;
    EXPECT_TRUE(f.is_whole(points - ahead));
    EXPECT_TRUE(par.is_whole(0)); // it is the caller's to work in
    EXPECT_EQ(DftiFreeDescriptor(&handle), DFTI_NO_ERROR);
}

QNM_TYPED_OF(Trigonometric, SumsOfAllTypesBothWays, float, double)
{
    for (int n = 1; n <= 104; ++n)
        for (int type = 0; type < 6; ++type) {
            const Sums sums(type, n > 100 ? std::array{127, 251, 509, 1009}[n - 101] : n);
            SCOPED_TRACE("type " + std::to_string(type) + " n " + std::to_string(sums.n));
            for (const bool forward : {true, false})
                for (const bool as_fftw : {true, false})
                    expect_sums<T>(sums, forward, as_fftw);
        }
}

// Lines side by side, apart, and fewer than a vector has lanes.
QNM_TYPED_OF(Trigonometric, LinesOfAllInstructionSetsAreThoseOfOne, float, double)
{
    using namespace core::poisson;
    std::vector<const Engine*> engines{&engine_sse2};
    if (__builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0)
        engines.push_back(&engine_avx2);
    if (__builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0)
        engines.push_back(&engine_avx512);
    for (const Engine* engine : engines)
        for (int type = 0; type <= 6; ++type)
            for (const auto& [along, step] : {std::pair{core_int{60}, core_int{1}}, {1, 40}, {70, 3}}) {
                Transform<T>* made = nullptr;
                if constexpr (std::is_same_v<T, float>)
                    engine->single.transform(static_cast<Basis>(type), 12, &made);
                else
                    engine->full.transform(static_cast<Basis>(type), 12, &made);
                const std::unique_ptr<Transform<T>> transform(made);
                std::vector<T> all(1000);
                for (T& x : all)
                    x = static_cast<T>(random_integer(-9, 9));
                std::vector<T> singly = all;
                const auto lines = [&, along = along](std::vector<T>& of, core_int first,
                                                      const Places& places) {
                    ASSERT_EQ(transform->lines(true, of.data() + first, along, places, T(0.5), 2),
                              core::dft::done);
                };
                lines(all, 0, {7, step, 3, 8 * step});
                for (core_int line = 0; line < 21; ++line)
                    lines(singly, line % 7 * step + line / 7 * 8 * step, {1, 0, 1, 0});
                for (std::size_t i = 0; i < all.size(); ++i)
                    ASSERT_LE(std::abs(all[i] - singly[i]), 100 * std::numeric_limits<T>::epsilon());
            }
}

TEST(Trigonometric, Statuses)
{
    using R = double;
    std::array<int, 15> ipar{};
    std::array<double, 9> f{};
    qnm_dft_handle handle = nullptr;
    const auto init = [&](int n, int type) {
        return BOTH(init_trig_transform, &n, &type, ipar.data(), f.data());
    };
    const auto commit = [&] { return BOTH(commit_trig_transform, f.data(), &handle, ipar.data(), f.data()); };
    const auto forward = [&] {
        return BOTH(forward_trig_transform, f.data(), &handle, ipar.data(), f.data());
    };
    for (const auto& [n, type] : {std::pair{0, 1}, {-1, 1}, {8, 6}, {8, -1}}) {
        EXPECT_EQ(init(n, type), QNM_PDE_BAD_ARGUMENT);
        EXPECT_EQ(ipar[6], QNM_PDE_BAD_ARGUMENT);
        EXPECT_EQ(commit(), QNM_PDE_NOT_INITIALISED);
    }
    EXPECT_EQ(forward(), QNM_PDE_NOT_INITIALISED);
    ipar[9] = 3; // settings that stood before stay
    EXPECT_EQ(init(8, 0), QNM_PDE_OK);
    EXPECT_EQ(ipar[9], 3);
    ipar[5] = 6;
    EXPECT_EQ(commit(), QNM_PDE_PARAMETERS_ALTERED);
    EXPECT_EQ(handle, nullptr);
    ipar[5] = 0;
    EXPECT_EQ(commit(), QNM_PDE_OK);
    EXPECT_EQ(forward(), QNM_PDE_OK);
    ++ipar[0];
    for (ipar[1] = 0; ipar[1] < 2; ++ipar[1]) { // lines are written if they are asked for
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(forward(), QNM_PDE_PARAMETERS_ALTERED);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(),
                  ipar[1] != 0 ? "QNM ERROR: D_FORWARD_TRIG_TRANSFORM: status -100\n" : "");
    }
    --ipar[0];
    ipar[1] = 0;
    // A descriptor to whoever has the handle; what it computes as such is its own transform.
    qnm_int64 length = 0;
    EXPECT_EQ(DftiGetValue(handle, DFTI_LENGTHS, &length), DFTI_NO_ERROR);
    EXPECT_EQ(length, 8);
    EXPECT_NE(DftiComputeForward(handle, f.data()), DFTI_NO_ERROR);
    EXPECT_EQ(DftiCommitDescriptor(handle), DFTI_NO_ERROR);
    EXPECT_EQ(forward(), QNM_PDE_NOT_INITIALISED);
    EXPECT_EQ(call(free_trig_transform, &handle, ipar.data()), QNM_PDE_OK);
    EXPECT_EQ(handle, nullptr);
}

// ---- a rectangle, a box

/// A problem with all its arrays, from 0 to `to`; `letters` has two for each direction, n is 0 for one that
/// is not.
template <class R>
struct Box {
    Letters letters;
    Point n;
    R q, zero = 0, to[3] = {R(1), R(1.25), R(0.75)};
    int step[3], rank;
    std::size_t count;
    Guarded<R> f, par{64};
    std::vector<R> side[6]; ///< values or derivatives; none of periodic ones
    std::array<int, 128> ipar{};
    qnm_dft_handle handle[2]{};

    Box(const Letters& of, Point steps, R constant)
        : letters(of),
          n(steps),
          q(constant),
          step{1, n[0] + 1, (n[0] + 1) * (n[1] + 1)},
          rank(of.size() > 4 ? 3 : 2),
          count(step[2] * (n[2] + 1)),
          f(count)
    {
    }
    bool is_singular() const { return q == 0 && letters.find('D') == Letters::npos; }
    Exact h(int k) const { return Exact(to[k]) / n[k]; }

    template <class Visit>
    void each(const Visit& visit) const
    {
        std::size_t at = 0;
        for (Point i{}; i[2] <= n[2]; ++i[2])
            for (i[1] = 0; i[1] <= n[1]; ++i[1])
                for (i[0] = 0; i[0] <= n[0]; ++i[0])
                    visit(at++, i);
    }
    /// What is given of a point on a side.
    R& given(int s, const Point& i)
    {
        std::size_t place = 0, line = 1;
        for (int k = 0; k < 3; ++k)
            if (k != s / 2) {
                place += line * i[k];
                line *= n[k] + 1;
            }
        side[s].resize(line);
        return side[s][place];
    }
    template <class Value>
    void give_sides(const Value& value)
    {
        each([&](std::size_t at, const Point& i) {
            for (int s = 0; s < 2 * rank; ++s)
                if (letters[s] != 'P' && i[s / 2] == (s % 2 == 0 ? 0 : n[s / 2]))
                    given(s, i) = static_cast<R>(value(s, at, i));
        });
    }
    R* on(int s) { return side[s].empty() ? nullptr : side[s].data(); }

    int init()
    {
        return rank == 2 ? BOTH(init_Helmholtz_2D, &zero, to, &zero, to + 1, &n[0], &n[1], letters.c_str(),
                                &q, ipar.data(), par.data())
                         : BOTH(init_Helmholtz_3D, &zero, to, &zero, to + 1, &zero, to + 2, &n[0], &n[1],
                                &n[2], letters.c_str(), &q, ipar.data(), par.data());
    }
    int commit()
    {
        return rank == 2 ? BOTH(commit_Helmholtz_2D, f.data(), on(0), on(1), on(2), on(3), handle,
                                ipar.data(), par.data())
                         : BOTH(commit_Helmholtz_3D, f.data(), on(0), on(1), on(2), on(3), on(4), on(5),
                                handle, handle + 1, ipar.data(), par.data());
    }
    int compute()
    {
        return rank == 2
                   ? BOTH(Helmholtz_2D, f.data(), on(0), on(1), on(2), on(3), handle, ipar.data(), par.data())
                   : BOTH(Helmholtz_3D, f.data(), on(0), on(1), on(2), on(3), on(4), on(5), handle,
                          handle + 1, ipar.data(), par.data());
    }
    int free()
    {
        return rank == 2 ? call(free_Helmholtz_2D, handle, ipar.data())
                         : call(free_Helmholtz_3D, handle, handle + 1, ipar.data());
    }
    /// The whole of it, and the largest distance from a solution; the mean aside where nothing is known of
    /// it.
    Exact error(const std::vector<Exact>& u)
    {
        EXPECT_EQ(init(), QNM_PDE_OK);
        EXPECT_EQ(commit(), QNM_PDE_OK);
        EXPECT_EQ(compute(), is_singular() ? QNM_PDE_WARNED : QNM_PDE_OK);
        EXPECT_EQ(free(), QNM_PDE_OK);
        EXPECT_TRUE(handle[0] == nullptr && handle[1] == nullptr);
        EXPECT_TRUE(f.is_whole(count));
        EXPECT_TRUE(par.is_whole(8));
        Exact low = INFINITY, high = -INFINITY;
        for (std::size_t i = 0; i < count; ++i) {
            low = std::min(low, Exact(f[i]) - u[i]);
            high = std::max(high, Exact(f[i]) - u[i]);
        }
        return is_singular() ? (high - low) / 2 : std::max(-low, high);
    }
};

const Letters all_pairs[] = {"DD", "DN", "ND", "NN", "PP"};

/// Of values by chance on all points, and the right side that they have in the equations of second order.
Exact error_of_equations(const Letters& letters, Point n, double q)
{
    Box<double> box(letters, n, q);
    std::vector<Exact> u(box.count);
    box.each([&](std::size_t at, const Point& i) {
        std::size_t same = at; // of points that are one
        for (int k = 0; k < box.rank; ++k)
            same -= letters[2 * k] == 'P' && i[k] == n[k] ? n[k] * box.step[k] : 0;
        u[at] = same < at ? u[same] : random_integer(-64, 64) / 64.0L;
    });
    box.give_sides([&](int s, std::size_t at, const Point&) {
        return letters[s] == 'D' ? u[at] : Exact(random_integer(-8, 8));
    });
    box.each([&](std::size_t at, const Point& i) {
        Exact f = q * u[at];
        for (int k = 0; k < box.rank; ++k)
            for (const int way : {-1, 1}) {
                const int s = 2 * k + (way > 0 ? 1 : 0);
                const bool end = i[k] == (way > 0 ? n[k] : 0);
                const int steps = !end ? way : letters[s] == 'P' ? way * (1 - n[k]) : -way; // or mirrored
                const Exact flow = end && letters[s] == 'N' ? 2 * box.h(k) * Exact(box.given(s, i)) : 0;
                f += (u[at] - u[at + steps * box.step[k]] - flow) / (box.h(k) * box.h(k));
            }
        box.f[at] = static_cast<double>(f);
    });
    return box.error(u);
}

TEST(Poisson, SolvesItsEquations)
{
    for (const Letters& x : all_pairs)
        for (const Letters& y : all_pairs)
            for (const Point& n : {Point{1, 4}, {5, 1}, {2, 2}, {7, 5}, {8, 16}, {33, 60}, {150, 9}})
                for (const double q : {0.0, 1.5, 1e-6, -30.0}) {
                    SCOPED_TRACE(x + y + " " + std::to_string(n[0]) + " " + std::to_string(q));
                    EXPECT_LT(error_of_equations(x + y, n, q), q == 1e-6 ? 1e-6 : 1e-10);
                }
    for (const Letters letters :
         {"DDDDDD", "NNDNPP", "PPNDDD", "PPPPPP", "NNNNNN", "DNPPND", "NDNNDD", "PPNNPP"})
        for (const Point& n : {Point{1, 3, 4}, {9, 6, 11}, {20, 33, 5}, {40, 47, 39}}) // the last in threads
            for (const double q : {0.0, 2.0, -25.0}) {
                SCOPED_TRACE(letters + " " + std::to_string(n[0]) + " " + std::to_string(q));
                EXPECT_LT(error_of_equations(letters, n, q), 1e-10);
            }
}

/// A function of one variable: itself and its derivatives, a wave or of growing values.
Exact function(bool is_wave, Exact period, int order, Exact x)
{
    if (!is_wave)
        return std::exp(x / 2) / std::pow(2.0L, order) + (order == 0 ? x * x : order == 1 ? 2 * x : 2);
    const Exact w = 2 * pi / period;
    return std::pow(w, order) * std::sin(w * x + 0.3L + order * pi / 2) + (order == 0 ? 2 : 0);
}

/// Of a smooth solution on a mesh of so many steps.
template <class R>
Exact error_of_solution(const Letters& letters, int steps, R q)
{
    Box<R> box(letters, {steps, steps + steps / 2, letters.size() > 4 ? steps / 2 : 0}, q);
    const auto value = [&](const Point& i, int along, int order) { // the derivative of that order
        Exact product = 1;
        for (int k = 0; k < box.rank; ++k)
            product *= function(letters[2 * k] == 'P', box.to[k], k == along ? order : 0, box.h(k) * i[k]);
        return product;
    };
    std::vector<Exact> u(box.count);
    box.each([&](std::size_t at, const Point& i) {
        u[at] = value(i, 0, 0);
        Exact f = Exact(q) * u[at];
        for (int k = 0; k < box.rank; ++k)
            f -= value(i, k, 2);
        box.f[at] = static_cast<R>(f);
    });
    box.give_sides([&](int s, std::size_t at, const Point& i) {
        return letters[s] == 'D' ? u[at] : (s % 2 == 0 ? -1 : 1) * value(i, s / 2, 1);
    });
    return box.error(u);
}

template <class Error>
void expect_second_order(const Error& error)
{
    const Exact coarse = error(24), fine = error(48);
    EXPECT_LT(fine, 0.05);
    EXPECT_GT(coarse / fine, 3.5);
    EXPECT_LT(coarse / fine, 4.5);
}

TEST(Poisson, ErrorsFallToAQuarterOnTwiceAsFineAMesh)
{
    std::vector<Letters> all{"DDDDDD", "NDPPDN", "PPNNNN"};
    for (const Letters& x : all_pairs)
        for (const Letters& y : all_pairs)
            all.push_back(x + y);
    for (const Letters& letters : all)
        for (const double q : {0.0, 3.0, -1.0}) {
            SCOPED_TRACE(letters + " " + std::to_string(q));
            expect_second_order([&](int n) { return error_of_solution<double>(letters, n, q); });
            const Exact full = error_of_solution<double>(letters, 24, q),
                        single = error_of_solution<float>(letters, 24, static_cast<float>(q));
            EXPECT_LT(std::abs(single - full), 2e-3);
        }
}

// ---- the sphere

/// A function of longitude and colatitude, and minus its Laplacian.
struct Spherical {
    std::function<Exact(Exact, Exact)> value, laplacian;
};

template <class R>
struct Domain {
    bool whole;
    R ap, bp, at, bt;
    Spherical u;

    Exact error(int np, R q) const
    {
        const int nt = np / 2 + 1, width = np + 1;
        const std::size_t count = width * (nt + 1);
        Guarded<R> f(count), par(64);
        std::array<int, 128> ipar{};
        qnm_dft_handle handle[2]{};
        const auto on = [&](const auto& of, std::size_t place) {
            return of(ap + (Exact(bp) - ap) * static_cast<int>(place % width) / np,
                      at + (Exact(bt) - at) * static_cast<int>(place / width) / nt);
        };
        for (std::size_t i = 0; i < count; ++i)
            f[i] = static_cast<R>(on(u.laplacian, i) + Exact(q) * on(u.value, i));
        const int stat = whole && q == 0 && at == 0 && bt > R(3.14159) ? QNM_PDE_WARNED : QNM_PDE_OK;
        if (whole) {
            EXPECT_EQ(BOTH(init_sph_p, &ap, &bp, &at, &bt, &np, &nt, &q, ipar.data(), par.data()), 0);
            EXPECT_EQ(BOTH(commit_sph_p, f.data(), handle, handle + 1, ipar.data(), par.data()), 0);
            EXPECT_EQ(BOTH(sph_p, f.data(), handle, handle + 1, ipar.data(), par.data()), stat);
            EXPECT_EQ(call(free_sph_p, handle, handle + 1, ipar.data()), 0);
        } else {
            EXPECT_EQ(BOTH(init_sph_np, &ap, &bp, &at, &bt, &np, &nt, &q, ipar.data(), par.data()), 0);
            EXPECT_EQ(BOTH(commit_sph_np, f.data(), handle, ipar.data(), par.data()), 0);
            EXPECT_EQ(BOTH(sph_np, f.data(), handle, ipar.data(), par.data()), stat);
            EXPECT_EQ(call(free_sph_np, handle, ipar.data()), 0);
        }
        EXPECT_TRUE(f.is_whole(count) && par.is_whole(8));
        Exact worst = 0;
        for (std::size_t i = 0; i < count; ++i) {
            worst = std::max(worst, std::abs(Exact(f[i]) - on(u.value, i)));
            if (i % width > 0 && (i / width == 0 || i / width == count / width - 1)) {
                EXPECT_EQ(f[i], f[i - 1]); // a pole is one point, a parallel given
            }
        }
        return worst;
    }
};

QNM_TYPED_OF(Sphere, ErrorsFallToAQuarterOnAllDomains, float, double)
{
    // Harmonics of mean 0; 0 on a parallel; waves between parallels, and so between meridians.
    const Spherical harmonics{[](Exact p, Exact t) {
                                  return std::cos(t) * (1 + std::sin(t) * std::cos(p)) +
                                         std::sin(t) * std::sin(p);
                              },
                              [](Exact p, Exact t) {
                                  return 2 * std::cos(t) + 6 * std::cos(t) * std::sin(t) * std::cos(p) +
                                         2 * std::sin(t) * std::sin(p);
                              }};
    const auto cap = [](Exact t0) {
        return Spherical{
            [=](Exact p, Exact t) { return (std::cos(t) - std::cos(t0)) * (1 + std::sin(t) * std::cos(p)); },
            [=](Exact p, Exact t) {
                return 2 * std::cos(t) + std::sin(t) * std::cos(p) * (6 * std::cos(t) - 2 * std::cos(t0));
            }};
    };
    const auto band = [](Exact t0, Exact w, Exact p0, Exact k, Exact mean) {
        return Spherical{
            [=](Exact p, Exact t) { return std::sin(w * (t - t0)) * (mean + std::sin(k * (p - p0))); },
            [=](Exact p, Exact t) {
                const Exact s = std::sin(w * (t - t0)), wave = std::sin(k * (p - p0));
                return (w * w * s - w * std::cos(w * (t - t0)) * std::cos(t) / std::sin(t)) * (mean + wave) +
                       s * k * k * wave / (std::sin(t) * std::sin(t));
            }};
    };
    const T turn = 2 * std::numbers::pi_v<T>, south = std::numbers::pi_v<T>;
    const Domain<T> domains[] = {{true, 0, turn, 0, south, harmonics},
                                 {true, T(0.5), T(0.5) + turn, 0, 2, cap(2)},
                                 {true, 0, turn, 1, south, cap(1)},
                                 {true, 0, turn, 1, 2, band(1, pi, 0, 1, 2)},
                                 {false, T(0.5), T(2.5), T(0.5), 2, band(0.5L, pi / 1.5L, 0.5L, pi / 2, 0)}};
    for (const Domain<T>& domain : domains)
        for (const T q : {T(0), T(2.5), T(-4)}) {
            SCOPED_TRACE(std::to_string(&domain - domains) + " " + std::to_string(q));
            expect_second_order([&](int n) { return domain.error(n, q); });
        }
}

// ---- refusals

TEST(Poisson, Statuses)
{
    Box<double> box("DDNN", {4, 6}, 0);
    EXPECT_EQ(box.commit(), QNM_PDE_NOT_INITIALISED);
    Box<double> bad[] = {{"DDNX", {4, 6}, 0}, {"PDDD", {4, 6}, 0}, {"ODDD", {4, 6}, 0}, {"DDNN", {4, 0}, 0}};
    for (Box<double>& each : bad) {
        EXPECT_EQ(each.init(), QNM_PDE_BAD_ARGUMENT) << each.letters;
        EXPECT_EQ(each.commit(), QNM_PDE_NOT_INITIALISED);
    }
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
    const double root = 8 * std::sin(std::numbers::pi / 8);
    Box<double> resonant("ddnn", {4, 6}, -root * root);
    EXPECT_EQ(resonant.init(), QNM_PDE_OK);
    EXPECT_EQ(resonant.commit(), QNM_PDE_OK);
    EXPECT_EQ(resonant.compute(), QNM_PDE_DIVISION_BY_ZERO);
    EXPECT_EQ(resonant.free(), QNM_PDE_OK);

    ::testing::internal::CaptureStderr(); // steps of any size are not carried
    EXPECT_EQ(call(s_Helmholtz_nonuniform_3D, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                   nullptr, nullptr, box.ipar.data(), nullptr),
              QNM_PDE_BAD_ARGUMENT);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "QNM ERROR: S_HELMHOLTZ_NONUNIFORM_3D is not carried by this core.\n");
}

// The limit of memory is lifted step by step, so that each block fails once, and nothing is lost.
TEST(Poisson, MemoryThatFails)
{
    const auto failures = [](const auto& work) {
        for (int limit = 1, count = 0;; limit += 128, ++count) {
            const Use use = in_use();
            QNM_Set_Memory_Limit(1, use.first + limit);
            const int stat = work();
            QNM_Set_Memory_Limit(1, 0);
            if (stat == QNM_PDE_OK)
                return count;
            EXPECT_EQ(stat, QNM_PDE_NO_MEMORY);
            EXPECT_EQ(in_use(), use);
        }
    };
    Box<double> boxes[] = {{"DDNN", {40, 30}, -1}, {"PPNDDN", {9, 8, 11}, -1}};
    for (Box<double>& box : boxes) {
        EXPECT_EQ(box.init(), QNM_PDE_OK);
        EXPECT_GT(failures([&] { return box.commit(); }), 3);
        EXPECT_GT(failures([&] { return box.compute(); }), 3);
        EXPECT_EQ(box.free(), QNM_PDE_OK);
    }
}

} // namespace
} // namespace qnm::test
