// Fast solvers: sums of the functions that suit the ends take the place of all directions but the last, where
// one chain of equations remains for each wave number (Buzbee, Golub, Nielson: On direct methods for solving
// Poisson's equations, 1970; Swarztrauber: The methods of cyclic reduction, Fourier analysis and the FACR
// algorithm, 1977; on the sphere Swarztrauber: The direct solution of the discrete Poisson equation on the
// surface of a sphere, 1974). Five or seven points, with mirrored ones where the derivative is given: second
// order.
#include "problem.hpp"

#include "../dft/room.hpp"

#include <cmath>
#include <limits>
#include <numbers>

extern "C" {
void sgtsv_(const std::int64_t* n, const std::int64_t* nrhs, float* dl, float* d, float* du, float* b,
            const std::int64_t* ldb, std::int64_t* info);
void dgtsv_(const std::int64_t* n, const std::int64_t* nrhs, double* dl, double* d, double* du, double* b,
            const std::int64_t* ldb, std::int64_t* info);
}

namespace qnm::core::poisson {

template <class R>
Solver<R>::~Solver() = default;
template class Solver<float>;
template class Solver<double>;

namespace {

using dft::done;
using dft::Room;

void gtsv(core_int n, float* dl, float* d, float* du, float* b, core_int* info)
{
    const core_int one = 1;
    sgtsv_(&n, &one, dl, d, du, b, &n, info);
}
void gtsv(core_int n, double* dl, double* d, double* du, double* b, core_int* info)
{
    const core_int one = 1;
    dgtsv_(&n, &one, dl, d, du, b, &n, info);
}

void check(Status status)
{
    if (status == dft::no_memory)
        throw std::bad_alloc();
    if (status != done)
        throw status;
}

template <class R>
class Fast final : public Solver<R> {
    using Solver<R>::problem;

public:
    explicit Fast(const Problem& of)
        : Solver<R>(of),
          last_(of.rank() - 1),
          tables_(4 * points(last_).count),
          waves_(points(0).count + points(1).count + points(2).count)
    {
        core_int stride = 1;
        double* wave = waves_.get();
        for (int k = 0; k <= last_; ++k) {
            stride_[k] = stride;
            stride *= axis(k).n + 1;
            of_axis_[k] = wave;
            for (core_int i = 0; i < points(k).count; ++i) {
                const double half_turn =
                    half_waves(axis(k).basis(), i) / (2.0 * static_cast<double>(axis(k).n));
                const double root = 2 / axis(k).step() * std::sin(std::numbers::pi * half_turn);
                *wave++ = root * root;
            }
            origin_ += points(k).first * stride_[k];
        }
        chain_ = {points(last_).count, axis(last_).ends[0] == 'P', row(0), row(1), row(2), row(3)};
        if (chain_.count > 0)
            problem.is_sphere() ? meridian() : straight();
        for (int k = 0; k < last_ + (problem.is_sphere() ? 0 : 1); ++k)
            if (k < last_ || (chain_.count > 0 && weak(0, 0))) {
                Transform<R>* made = nullptr;
                check(kernels<R>().transform(axis(k).basis(), axis(k).n, &made));
                along_[k].reset(made);
            }
    }

    Status solve(R* f, const R* const* sides) const noexcept override
    {
        return dft::guarded([&] {
            const int threads = dft::threads_for(points(0).count * points(1).count * points(2).count, 0);
            Status status = done;
            if (points(0).count > 0 && points(1).count > 0 && points(2).count > 0) {
                for (int side = 0; side < 2 * problem.rank(); ++side)
                    if (sides[side] != nullptr)
                        move_over(f, side, sides[side]);
                for (int k = 0; k < last_ && status == done; ++k)
                    status = transform(k, true, f, threads);
                status = status == done ? chains(f, threads) : status;
                for (int k = last_ - 1; k >= 0 && status == done; --k)
                    status = transform(k, false, f, threads);
            }
            if (status == done)
                fill(f, sides);
            return status;
        });
    }

private:
    const Axis& axis(int k) const { return problem.axis[k]; }
    Points points(int k) const { return k < problem.rank() ? axis(k).points() : Points{0, 1}; }
    R* row(int table) const { return tables_.get() + table * points(last_).count; }

    // ---- the chains

    void straight()
    {
        const R h2 = static_cast<R>(axis(last_).step() * axis(last_).step());
        for (core_int i = 0; i < chain_.count; ++i) {
            const bool end[] = {i == 0, i == chain_.count - 1};
            R part = 1; // an end that is mirrored has half a step
            for (int k = 0; k < 2; ++k)
                if (end[k] && axis(last_).ends[k] == 'N')
                    part /= 2;
            row(0)[i] = 1;
            row(1)[i] = 2 * part;
            row(2)[i] = row(3)[i] = h2 * part;
        }
    }

    void meridian()
    {
        const Axis& down = axis(last_);
        const double h = down.step(), q = problem.q;
        constexpr double no_wave =
            1 / (std::numeric_limits<R>::epsilon() * std::numeric_limits<R>::epsilon());
        for (core_int i = 0; i < chain_.count; ++i) {
            const core_int point = points(last_).first + i;
            const double angle = down.from + h * static_cast<double>(point);
            const bool pole = (point == 0 && down.ends[0] == 'O') || (point == down.n && down.ends[1] == 'O');
            // A pole has the cap of half a step, and no wave reaches it.
            const double before = point == 0 ? 0 : std::sin(angle - h / 2),
                         behind = point == down.n ? 0 : std::sin(angle + h / 2),
                         area = pole ? 2 * h * std::sin(h / 4) * std::sin(h / 4) : h * h * std::sin(angle);
            row(0)[i] = static_cast<R>(behind);
            row(1)[i] = static_cast<R>(before + behind + q * area);
            row(2)[i] = static_cast<R>(pole ? no_wave : h * h / std::sin(angle));
            row(3)[i] = static_cast<R>(area);
        }
    }

    /// The number of a chain: what the other directions add to q.
    double number(core_int i, core_int j) const
    {
        return of_axis_[0][i] + (last_ == 2 ? of_axis_[1][j] : 0) + (problem.is_sphere() ? 0 : problem.q);
    }

    /// Whether a chain's diagonal does not dominate well enough.
    bool weak(core_int i, core_int j) const
    {
        if (problem.is_sphere())
            return number(i, j) < -problem.q || (problem.is_singular() && i == 0);
        const double length = axis(last_).to - axis(last_).from;
        return number(i, j) * length * length < 1.0 / 1024;
    }

    /// Rows of neighbouring chains. Weak ones are the first of a row, as wave numbers grow.
    Status chains(R* f, int threads) const
    {
        constexpr core_int width = 512 / sizeof(R);
        const core_int count = points(0).count, blocks = (count + width - 1) / width,
                       rows = last_ == 2 ? points(1).count : 1;
        const auto part = [&](core_int first, core_int last) {
            const Room<R> room(kernels<R>().room(chain_) + width);
            Status status = done;
            for (core_int item = first; item < last && status == done; ++item) {
                const core_int j = item / blocks, to = std::min((item % blocks + 1) * width, count);
                core_int i = item % blocks * width;
                R* const x = f + origin_ + (last_ == 2 ? j * stride_[1] : 0);
                for (; i < to && weak(i, j) && status == done; ++i)
                    status = problem.is_sphere() ? pivoted(x + i, i) : in_waves(x + i, i, j);
                R* const numbers = room.get();
                for (core_int k = i; k < to; ++k)
                    numbers[k - i] = static_cast<R>(number(k, j));
                if (status == done)
                    kernels<R>().solve(chain_, {x + i, numbers, to - i, stride_[last_]}, numbers + width);
            }
            return status;
        };
        return dft::divide(dft::Items(part), blocks * rows, threads);
    }

    /// A chain that may have eigenvalues of either sign: by all of them.
    Status in_waves(R* x, core_int i, core_int j) const
    {
        const double d = number(i, j), least = 8 * std::numeric_limits<double>::epsilon();
        const core_int step = stride_[last_];
        const Places place{1, 0, 1, 0};
        Status status = along_[last_]->lines(true, x, step, place, scale(last_, true), 1);
        for (core_int k = 0; k < chain_.count && status == done; ++k) {
            const double wave = of_axis_[last_][k], all = d + wave;
            if (problem.is_singular() && i + j + k == 0)
                x[0] = 0;
            else if (std::abs(all) <= least * (wave + std::abs(d) + std::abs(problem.q)))
                status = no_pivot;
            else
                x[k * step] = static_cast<R>(x[k * step] / all);
        }
        return status != done ? status : along_[last_]->lines(false, x, step, place, scale(last_, false), 1);
    }

    /// The same on a meridian: with pivots. Of a singular one the mean is taken off, before and after, and
    /// the last value is anything.
    Status pivoted(R* x, core_int i) const
    {
        const core_int n = chain_.count, step = stride_[last_];
        const bool singular = problem.is_singular();
        const core_int unknown = singular ? n - 1 : n;
        const Room<R> room(4 * n);
        R *const u = room.get(), *const d = u + n, *const lower = d + n, *const upper = lower + n;
        const R *const off = chain_.off, *const base = chain_.base, *const slope = chain_.slope,
                       *const weight = chain_.weight;
        const auto remove_mean = [&] {
            double sum = 0, area = 0;
            for (core_int k = 0; k < n; ++k) {
                sum += static_cast<double>(weight[k]) * static_cast<double>(u[k]);
                area += static_cast<double>(weight[k]);
            }
            for (core_int k = 0; k < n && singular; ++k)
                u[k] -= static_cast<R>(sum / area);
        };
        for (core_int k = 0; k < n; ++k)
            u[k] = x[k * step];
        remove_mean();
        for (core_int k = 0; k < n; ++k) {
            u[k] *= weight[k];
            d[k] = base[k] + slope[k] * static_cast<R>(number(i, 0));
            lower[k] = upper[k] = -off[k];
        }
        core_int info = 0;
        gtsv(unknown, lower, d, upper, u, &info);
        if (singular)
            u[n - 1] = 0;
        remove_mean();
        for (core_int k = 0; k < n; ++k)
            x[k * step] = u[k];
        return info == 0 ? done : no_pivot;
    }

    // ---- the other directions

    R scale(int k, bool forward) const
    {
        return forward ? 1 / static_cast<R>(axis(k).n) : axis(k).basis() == Basis::circle ? R(1) : R(0.5);
    }

    Status transform(int k, bool forward, R* f, int threads) const
    {
        const int next = k == 0 ? 1 : 0, far = 3 - k - next;
        const Places places{points(next).count, stride_[next], points(far).count, stride_[far]};
        return along_[k]->lines(forward, f + origin_, stride_[k], places, scale(k, forward), threads);
    }

    // ---- sides: two of each direction, points of the directions that remain

    template <class Each>
    void on_side(int side, bool all_points, const Each& each) const
    {
        const int k = side / 2, next = k == 0 ? 1 : 0, far = 3 - k - next;
        const core_int line = axis(next).n + 1;
        const Points p = all_points ? Points{0, line} : points(next);
        const Points r = all_points && far <= last_ ? Points{0, axis(far).n + 1} : points(far);
        for (core_int j = r.first; j < r.first + r.count; ++j)
            for (core_int i = p.first; i < p.first + p.count; ++i)
                each(i * stride_[next] + j * stride_[far], j * line + i);
    }

    /// What is given on a side goes to the right side.
    void move_over(R* f, int side, const R* given) const
    {
        const Axis& a = axis(side / 2);
        const bool end = side % 2 != 0;
        const char letter = a.ends[side % 2];
        const double h = a.step();
        if (letter != 'D' && letter != 'N')
            return;
        // A neighbour that is mirrored has the value on both sides.
        const bool twice = letter == 'D' && a.n == 1 && a.ends[1 - side % 2] == 'N';
        const R factor = static_cast<R>(letter == 'N' ? 2 / h : (twice ? 2 : 1) / (h * h));
        const core_int inner = letter == 'D' ? 1 : 0;
        R* const plane = f + (end ? a.n - inner : inner) * stride_[side / 2];
        on_side(side, false, [&](core_int at, core_int of_side) { plane[at] += factor * given[of_side]; });
    }

    /// Points that are not solved for.
    void fill(R* f, const R* const* sides) const
    {
        for (int side = 2 * problem.rank() - 1; side >= 0; --side) {
            R* const plane = f + (side % 2 != 0 ? axis(side / 2).n * stride_[side / 2] : 0);
            const char letter = axis(side / 2).ends[side % 2];
            const R* const given = sides[side];
            if (letter == 'D')
                on_side(side, true, [&](core_int at, core_int of_side) {
                    plane[at] = given != nullptr ? given[of_side] : R(0);
                });
            else if (letter == 'O')
                on_side(side, true, [&](core_int at, core_int) { plane[at] = plane[0]; });
        }
        for (int k = 0; k <= last_; ++k)
            if (axis(k).ends[0] == 'P') {
                R* const plane = f + axis(k).n * stride_[k];
                on_side(2 * k, true, [&](core_int at, core_int) { plane[at] = f[at]; });
            }
    }

    int last_; // direction of the chains
    Room<R> tables_;
    Room<double> waves_;
    double* of_axis_[most_axes]{};
    core_int stride_[most_axes]{}, origin_ = 0;
    Chain<R> chain_;
    std::unique_ptr<Transform<R>> along_[most_axes];
};

} // namespace

template <class R>
Status make_solver(const Problem& problem, std::unique_ptr<Held>& made) noexcept
{
    return dft::guarded([&] {
        made = std::make_unique<Fast<R>>(problem);
        return done;
    });
}
template Status make_solver<float>(const Problem& problem, std::unique_ptr<Held>& made) noexcept;
template Status make_solver<double>(const Problem& problem, std::unique_ptr<Held>& made) noexcept;

} // namespace qnm::core::poisson
