// The plans of pocketfft for lines of reals, and the elimination along chains of equations. Compiled once for
// each instruction set, which gives ENGINE a name; all else is this file's own.
#include "lines.hpp"

#include "../dft/pocketfft.hpp"

#include <cmath>

namespace qnm::core::poisson {
namespace {

namespace fft = pocketfft::detail;
using dft::done;
using dft::guarded;
using dft::lanes;
using dft::Number;
using dft::Room;

/// Transforms by one of the engine's plans, of as many lines at once as a vector has lanes.
template <class R, class Plan>
class Lines final : public Transform<R> {
    using Transform<R>::basis;

public:
    Lines(Basis of, core_int steps)
        : Transform<R>(of, steps),
          points_(points_of(of, steps).count),
          plan_(static_cast<std::size_t>(std::max<core_int>(points_, 1)))
    {
    }

    Status lines(bool forward, R* x, core_int along, const Places& places, R scale,
                 int threads) const noexcept override
    {
        constexpr core_int L = lanes<R>;
        const core_int all = places.count * places.rows;
        const auto part = [&](core_int first, core_int last) {
            return some(forward, x, along, places, scale, first * L, std::min(last * L, all));
        };
        return points_ == 0 ? done : dft::divide(dft::Items(part), (all + L - 1) / L, threads);
    }

private:
    Status some(bool forward, R* x, core_int along, const Places& places, R scale, core_int first,
                core_int last) const
    {
        constexpr int L = lanes<R>;
        const bool vectors = last - first >= L;
        // The plans take six times the line at most, but for lengths with large primes.
        const core_int spare = vectors ? L * (6 * points_ + 64) : 0;
        const Room<R> room(spare + (vectors ? L * points_ : along != 1 ? points_ : 0));
        const pocketfft::Piece piece(room.get(), sizeof(R) * static_cast<std::size_t>(spare));
        R* const work = room.get() + spare;
        const auto place = [&](core_int line) {
            return x + line % places.count * places.step + line / places.count * places.row_step;
        };
        for (; last - first >= L; first += L) {
            R* at[L];
            for (int j = 0; j < L; ++j)
                at[j] = place(first + j);
            if (places.step == 1 && at[L - 1] == at[0] + L - 1)
                beside<L>(forward, at[0], along, work, scale);
            else
                apart<L>(forward, at, along, work, scale);
        }
        for (; first < last; ++first) {
            R* const at[] = {place(first)};
            if (along == 1)
                exec(forward, at[0], scale);
            else
                apart<1>(forward, at, along, work, scale);
        }
        return done;
    }

    /// Lines side by side.
    template <int L>
    void beside(bool forward, R* x, core_int along, R* __restrict work, R scale) const
    {
        for (core_int i = 0; i < points_; ++i)
            for (int j = 0; j < L; ++j)
                work[L * i + j] = x[i * along + j];
        exec(forward, reinterpret_cast<Number<R, L>*>(work), scale);
        for (core_int i = 0; i < points_; ++i)
            for (int j = 0; j < L; ++j)
                x[i * along + j] = work[L * i + j];
    }

    template <int L>
    void apart(bool forward, R* const* at, core_int along, R* __restrict work, R scale) const
    {
        for (core_int i = 0; i < points_; ++i)
            for (int j = 0; j < L; ++j)
                work[L * i + j] = at[j][i * along];
        exec(forward, reinterpret_cast<Number<R, L>*>(work), scale);
        for (core_int i = 0; i < points_; ++i)
            for (int j = 0; j < L; ++j)
                at[j][i * along] = work[L * i + j];
    }

    /// Analysis of half steps is the transform of type 3, synthesis that of type 2.
    template <class T>
    void exec(bool forward, T* x, R scale) const
    {
        if constexpr (std::is_same_v<Plan, fft::pocketfft_r<R>>)
            plan_.exec(x, scale, forward);
        else
            plan_.exec(x, scale, false, forward ? 3 : 2,
                       basis == Basis::cosine_half || basis == Basis::cosine_quarter);
    }

    core_int points_;
    Plan plan_;
};

template <class R>
Status transform(Basis basis, core_int n, Transform<R>** made) noexcept
{
    return guarded([&] {
        const auto by = [&](auto plan) {
            *made = new Lines<R, typename decltype(plan)::type>(basis, n);
            return done;
        };
        switch (basis) {
        case Basis::sine:
            return by(std::type_identity<fft::T_dst1<R>>());
        case Basis::cosine:
            return by(std::type_identity<fft::T_dct1<R>>());
        case Basis::cosine_half:
        case Basis::sine_half:
            return by(std::type_identity<fft::T_dcst23<R>>());
        case Basis::cosine_quarter:
        case Basis::sine_quarter:
            return by(std::type_identity<fft::T_dcst4<R>>());
        default:
            return by(std::type_identity<fft::pocketfft_r<R>>());
        }
    });
}

// ---- chains, as many side by side as two lines of a cache hold

template <class R>
constexpr core_int block = 128 / sizeof(R);

template <class R>
core_int room(const Chain<R>& chain)
{
    return chain.closed ? 0 : chain.count * block<R>;
}

/// Elimination without pivots, as the equations are dominated by their diagonals.
template <class R, class Width>
void solve_open(const Chain<R>& chain, const Columns<R>& columns, core_int from, Width width,
                R* __restrict ratio)
{
    R* __restrict row = columns.x + from;
    R d[block<R>], c[block<R>]{}, u[block<R>]{};
    std::copy_n(columns.d + from, static_cast<core_int>(width), d);
    for (core_int i = 0; i < chain.count; ++i, row += columns.along, ratio += block<R>) {
        const R back = i > 0 ? chain.off[i - 1] : 0, off = chain.off[i], base = chain.base[i],
                slope = chain.slope[i], weight = chain.weight[i];
        for (core_int l = 0; l < width; ++l) {
            const R inverse = 1 / (base + slope * d[l] - back * c[l]);
            ratio[l] = c[l] = off * inverse;
            row[l] = u[l] = (weight * row[l] + back * u[l]) * inverse;
        }
    }
    row -= columns.along;
    for (core_int i = chain.count - 1; i > 0; --i) {
        row -= columns.along;
        ratio -= block<R>;
        for (core_int l = 0; l < width; ++l)
            row[l] = u[l] = row[l] + (ratio - block<R>)[l] * u[l];
    }
}

/// 2 + hd less the neighbours is (1 - r S)(1 - r/S)/r, S the shift around the chain and r + 1/r = 2 + hd, r <
/// 1: two recurrences, each of which begins where it ends.
template <class R, class Width>
void solve_closed(const Chain<R>& chain, const Columns<R>& columns, core_int from, Width width)
{
    constexpr core_int W = block<R>;
    R r[W], gain[W], around[W], sum[W], power[W], last[W];
    const R weight = chain.weight[0];
    R* const x = columns.x + from;
    for (core_int l = 0; l < width; ++l) {
        const R half = chain.slope[0] * columns.d[from + l] / 2;
        r[l] = 1 / (1 + half + std::sqrt(half * (2 + half)));
        gain[l] = weight * r[l];
        sum[l] = 0;
        power[l] = 1;
    }
    for (core_int i = 0; i < chain.count; ++i)
        for (core_int l = 0; l < width; ++l) {
            sum[l] = r[l] * sum[l] + gain[l] * x[i * columns.along + l];
            power[l] *= r[l];
        }
    for (core_int l = 0; l < width; ++l) {
        around[l] = 1 / (1 - power[l]);
        last[l] = sum[l] * around[l];
        sum[l] = 0;
        power[l] = 1;
    }
    for (core_int i = 0; i < chain.count; ++i) {
        R* __restrict const row = x + i * columns.along;
        for (core_int l = 0; l < width; ++l) {
            last[l] = r[l] * last[l] + gain[l] * row[l];
            row[l] = last[l];
            sum[l] += power[l] * last[l];
            power[l] *= r[l];
        }
    }
    for (core_int l = 0; l < width; ++l)
        last[l] = sum[l] * around[l]; // the first of the second one
    for (core_int i = chain.count - 1; i >= 0; --i) {
        R* __restrict const row = x + i * columns.along;
        for (core_int l = 0; l < width; ++l) {
            last[l] = r[l] * last[l] + row[l];
            row[l] = last[l];
        }
    }
}

template <class R>
void solve(const Chain<R>& chain, const Columns<R>& columns, R* room)
{
    constexpr core_int W = block<R>;
    const auto width_of = [&](core_int from, auto width) {
        chain.closed ? solve_closed(chain, columns, from, width)
                     : solve_open(chain, columns, from, width, room);
    };
    core_int from = 0;
    for (; from + W <= columns.count; from += W)
        width_of(from, std::integral_constant<core_int, W>{});
    if (from < columns.count)
        width_of(from, columns.count - from);
}

template <class R>
constexpr Kernels<R> all{transform<R>, room<R>, solve<R>};

} // namespace

const Engine ENGINE{all<float>, all<double>};

} // namespace qnm::core::poisson
