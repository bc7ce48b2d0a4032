// Nonlinear least squares in a trust region: steps of Levenberg and Marquardt as Moré (1978) finds them, kept
// within bounds by the reflections of Coleman and Li (1996). Without bounds their scaling and their
// reflections vanish.
#include "../engine.hpp"
#include "status.hpp"

#include <cmath>
#include <limits>

extern "C" {
#define QNM_DECLARE(l, L, T)                                                                                 \
    void l##gesdd_(const char* jobz, const std::int64_t* m, const std::int64_t* n, T* a,                     \
                   const std::int64_t* lda, T* s, T* u, const std::int64_t* ldu, T* vt,                      \
                   const std::int64_t* ldvt, T* work, const std::int64_t* lwork, std::int64_t* iwork,        \
                   std::int64_t* info);
QNM_REAL_LETTERS(QNM_DECLARE)
#undef QNM_DECLARE
}

namespace qnm::core::trust {
namespace {

constexpr auto gesdd(float)
{
    return sgesdd_;
}
constexpr auto gesdd(double)
{
    return dgesdd_;
}

enum Request : core_int {
    no_request = 0,
    wants_function = 1,
    wants_jacobian = 2,
    too_many = -1,
    small_region = -2,
    small_function = -3,
    singular = -4,
    small_step = -5,
    little_gain = -6
};

/// Places of tolerances: each ends the iteration with a request of its own, but for the last one.
enum Tolerance { of_region, of_function, of_columns, of_step, of_gain, of_trial, tolerances };

template <class T>
struct Vector : Array<T> {
    core_int n;
    explicit Vector(core_int size, T value = 0) : Array<T>(size), n(size)
    {
        std::fill_n(this->get(), n, value);
    }
    T* begin() const { return this->get(); }
    T* end() const { return this->get() + n; }
};

template <class T>
T sum_of_squares(core_int n, const T* x)
{
    T sum = 0;
    for (core_int i = 0; i < n; ++i)
        sum += x[i] * x[i];
    return sum;
}
template <class T>
T norm_of(core_int n, const T* x)
{
    return std::sqrt(sum_of_squares(n, x));
}

constexpr core_int one = 1;

template <class T>
class Region {
public:
    Region(core_int n, core_int m, T* x, const T* lower, const T* upper, const T* eps, core_int most,
           core_int most_inner, T factor)
        : n_(n),
          m_(m),
          most_(most),
          most_inner_(most_inner),
          factor_(factor > 0 ? factor : 100),
          // Rows for the bounds, and where the Jacobian has too few of its own.
          rows_(lower != nullptr || m < n ? m + n : m),
          x_(x),
          lower_(n, -infinite),
          upper_(n, infinite),
          best_(n),
          best_f_(m),
          gradient_(n),
          slope_(n),
          length_(n),
          scale_(n),
          bend_(n),
          step_(n),
          move_(n),
          other_(n),
          ray_(n),
          turned_(n),
          turned_ray_(n),
          tau_(n + 1),
          values_(n),
          jacobian_(rows_ * (n + 1)),
          triangle_(n * n),
          left_(n * n),
          right_(n * n),
          words_(8 * n),
          work_(work_size())
    {
        std::copy_n(eps, tolerances, eps_);
        if (!(eps_[of_trial] > 0))
            eps_[of_trial] = static_cast<T>(1e-10);
        if (lower != nullptr) {
            std::copy_n(lower, n, lower_.get());
            std::copy_n(upper, n, upper_.get());
        }
    }

    Status next(T* f, const T* fjac, core_int* request)
    {
        switch (stage_) {
        case begin:
            for (core_int i = 0; i < n_; ++i)
                x_[i] = within(i, x_[i]);
            stage_ = first;
            *request = wants_function;
            return success;
        case first:
            first_norm_ = norm_ = norm_of(m_, f);
            if (!std::isfinite(norm_))
                return invalid;
            keep(f);
            *request = norm_ < eps_[of_function] ? stop(small_function) : ask_for_jacobian();
            return success;
        case differentiated:
            if (!take_in(fjac))
                return invalid;
            *request = has_small_column() ? stop(singular) : try_step();
            return success;
        case tried:
            *request = judge(f);
            return success;
        default:
            *request = stopped_;
            return success;
        }
    }
    void tell(core_int* iterations, core_int* criterion, T* first_residual, T* residual) const
    {
        *iterations = iterations_;
        *criterion = -stopped_;
        *first_residual = first_norm_;
        *residual = norm_;
    }
    void check(const T* f, const T* fjac, core_int* info, bool bounds) const
    {
        core_int* to = info;
        *to++ = 0; // the handle
        *to++ = fault(fjac, m_ * n_);
        *to++ = fault(f, m_);
        if (bounds) {
            *to++ = fault(lower_.get(), n_);
            *to++ = fault(upper_.get(), n_);
        }
        *to = fault(eps_, tolerances);
        if (*to == none && *std::min_element(eps_, eps_ + tolerances) <= 0)
            *to = not_positive;
    }

private:
    static constexpr T infinite = std::numeric_limits<T>::infinity();
    enum Stage { begin, first, differentiated, tried, ended };
    enum Fault : core_int { none = 0, missing = 1, not_a_number = 2, infinity = 3, not_positive = 4 };

    static Fault fault(const T* x, core_int count)
    {
        if (x == nullptr)
            return missing;
        const auto is_nan = [](T v) { return std::isnan(v); };
        const auto is_infinite = [](T v) { return std::isinf(v); };
        return std::any_of(x, x + count, is_nan)        ? not_a_number
               : std::any_of(x, x + count, is_infinite) ? infinity
                                                        : none;
    }
    core_int work_size()
    {
        T factors = 0, singulars = 0;
        core_int info = 0, ask = -1;
        const core_int columns = n_ + 1;
        Engine<T>::geqrf(&rows_, &columns, nullptr, &rows_, nullptr, &factors, &ask, &info);
        gesdd(T())("A", &n_, &n_, nullptr, &n_, nullptr, nullptr, &n_, nullptr, &n_, &singulars, &ask,
                   nullptr, &info);
        return static_cast<core_int>(std::max(factors, singulars)) + 1;
    }

    T within(core_int i, T v) const { return std::min(std::max(v, lower_[i]), upper_[i]); }
    void keep(const T* f)
    {
        std::copy_n(x_, n_, best_.get());
        std::copy_n(f, m_, best_f_.get());
    }
    Request ask_for_jacobian()
    {
        stage_ = differentiated;
        return wants_jacobian;
    }
    Request stop(Request why)
    {
        stage_ = ended;
        return stopped_ = why;
    }
    bool has_small_column() const
    {
        return std::any_of(slope_.begin(), slope_.end(),
                           [this](T length) { return length < eps_[of_columns]; });
    }

    /// The model of a new Jacobian, in variables that are scaled by the lengths of its columns and by the way
    /// that is left to the bounds: its gradient, its curvature by the bounds, its singular values and
    /// vectors.
    bool take_in(const T* fjac)
    {
        T steepest = 0;
        for (core_int j = 0; j < n_; ++j) {
            const T* const column = fjac + j * m_;
            slope_[j] = norm_of(m_, column);
            if (!std::isfinite(slope_[j]))
                return false;
            length_[j] = std::max(length_[j], slope_[j]);
            T inner = 0;
            for (core_int i = 0; i < m_; ++i)
                inner += column[i] * best_f_[i];
            const T unit = length_[j] > 0 ? 1 / length_[j] : T(1);
            const T way = inner < 0 ? upper_[j] - best_[j] : best_[j] - lower_[j];
            const bool bounded = inner != 0 && std::isfinite(way);
            scale_[j] = bounded ? std::sqrt(way * unit) : unit;
            bend_[j] = bounded ? std::abs(inner) * unit : T(0);
            gradient_[j] = scale_[j] * inner;
            steepest = std::max(steepest, std::abs(bounded ? way * inner : inner));
        }
        reach_ = std::max(static_cast<T>(0.995), 1 - steepest);
        if (radius_ == 0) {
            T size = 0;
            for (core_int j = 0; j < n_; ++j)
                size += scale_[j] > 0 ? best_[j] * best_[j] / (scale_[j] * scale_[j]) : T(0);
            radius_ = size > 0 ? factor_ * std::sqrt(size) : factor_;
        }
        return factorize(fjac);
    }
    /// Only the triangle of the factors is looked at, and what becomes of the residuals beside it.
    bool factorize(const T* fjac)
    {
        const core_int columns = n_ + 1;
        std::fill(jacobian_.begin(), jacobian_.end(), T(0));
        for (core_int j = 0; j < n_; ++j) {
            for (core_int i = 0; i < m_; ++i)
                jacobian_[i + j * rows_] = fjac[i + j * m_] * scale_[j];
            if (rows_ == m_ + n_)
                jacobian_[m_ + j + j * rows_] = std::sqrt(bend_[j]);
        }
        std::copy_n(best_f_.get(), m_, jacobian_.get() + n_ * rows_);
        core_int info = 0;
        Engine<T>::geqrf(&rows_, &columns, jacobian_.get(), &rows_, tau_.get(), work_.get(), &work_.n, &info);
        for (core_int j = 0; j < n_; ++j)
            for (core_int i = 0; i < n_; ++i)
                triangle_[i + j * n_] = i <= j ? jacobian_[i + j * rows_] : T(0);
        gesdd(T())("A", &n_, &n_, triangle_.get(), &n_, values_.get(), left_.get(), &n_, right_.get(), &n_,
                   work_.get(), &work_.n, words_.get(), &info);
        return info == 0;
    }

    /// to := V^T s, or V s.
    void turn(const char* trans, const T* s, T* to) const
    {
        const T unit = 1, zero = 0;
        Engine<T>::gemv(trans, &n_, &n_, &unit, right_.get(), &n_, s, &one, &zero, to, &one);
    }
    /// What a step changes half of the sum of squares by, bounds included.
    T model(const T* s)
    {
        turn("N", s, turned_.get());
        T sum = 0;
        for (core_int i = 0; i < n_; ++i)
            sum += gradient_[i] * s[i] + values_[i] * values_[i] * turned_[i] * turned_[i] / 2;
        return sum;
    }
    T bending(const T* s) const
    {
        T sum = 0;
        for (core_int i = 0; i < n_; ++i)
            sum += bend_[i] * s[i] * s[i];
        return sum / 2;
    }

    /// The minimiser of the model within the region, whatever the bounds: Newton's iteration for the
    /// parameter that gives its length, kept between two bounds of it.
    void minimise(T* s)
    {
        T* const target = other_.get(); // of the turned residuals, times the singular values
        const T unit = 1, zero = 0;
        Engine<T>::gemv("T", &n_, &n_, &unit, left_.get(), &n_, jacobian_.get() + n_ * rows_, &one, &zero,
                        target, &one);
        for (core_int i = 0; i < n_; ++i)
            target[i] *= values_[i];
        T* const w = turned_.get();
        // Directions that the Jacobian does not know of are left alone.
        const T noise = std::numeric_limits<T>::epsilon() * static_cast<T>(rows_) * values_[0];
        const auto length_at = [&](T parameter) {
            for (core_int i = 0; i < n_; ++i)
                w[i] = values_[i] > noise ? -target[i] / (values_[i] * values_[i] + parameter) : T(0);
            return norm_of(n_, w);
        };
        const auto slope_at = [&](T parameter, T length) {
            T sum = 0;
            for (core_int i = 0; i < n_; ++i)
                if (w[i] != 0)
                    sum -= w[i] * w[i] / (values_[i] * values_[i] + parameter);
            return sum / length;
        };
        T length = length_at(0);
        if (length > radius_) {
            T high = norm_of(n_, target) / radius_, low = (radius_ - length) / slope_at(0, length),
              parameter = 0;
            for (core_int k = 0; k < most_inner_; ++k) {
                if (!(parameter > low && parameter < high))
                    parameter = std::max(high / 1000, std::sqrt(low * high));
                length = length_at(parameter);
                const T excess = length - radius_, slope = slope_at(parameter, length);
                if (excess < 0)
                    high = parameter;
                low = std::max(low, parameter - excess / slope);
                if (std::abs(excess) <= eps_[of_trial] * radius_)
                    break;
                parameter -= (length / radius_) * (excess / slope);
            }
            if (length > radius_)
                for (core_int i = 0; i < n_; ++i)
                    w[i] *= radius_ / length;
        }
        turn("T", w, s);
    }

    /// How far one can go from x + `from` along `ray`, in scaled variables.
    T way_to_bounds(const T* from, const T* ray) const
    {
        T way = infinite;
        for (core_int i = 0; i < n_; ++i)
            way = std::min(way, way_of(i, from, ray));
        return way;
    }
    T way_of(core_int i, const T* from, const T* ray) const
    {
        const T at = best_[i] + (from != nullptr ? scale_[i] * from[i] : T(0)), speed = scale_[i] * ray[i];
        if (speed == 0)
            return infinite;
        return std::max(T(0), ((speed > 0 ? upper_[i] : lower_[i]) - at) / speed);
    }
    /// And till the region ends.
    T way_to_edge(const T* from, const T* ray) const
    {
        T a = 0, b = 0, c = -radius_ * radius_;
        for (core_int i = 0; i < n_; ++i) {
            a += ray[i] * ray[i];
            b += from[i] * ray[i];
            c += from[i] * from[i];
        }
        const T root = std::sqrt(std::max(T(0), b * b - a * c));
        return a == 0 ? T(0) : std::max(T(0), b > 0 ? -c / (b + root) : (root - b) / a);
    }
    /// The best of from + t ray with t between two bounds; replaces the step if it is better.
    void look_along(const T* from, const T* ray, T low, T high, T* base)
    {
        turn("N", from, turned_.get());
        turn("N", ray, turned_ray_.get());
        T slope = 0, bend = 0;
        for (core_int i = 0; i < n_; ++i) {
            const T square = values_[i] * values_[i];
            slope += gradient_[i] * ray[i] + square * turned_[i] * turned_ray_[i];
            bend += square * turned_ray_[i] * turned_ray_[i];
        }
        const T t = bend > 0 ? std::min(std::max(-slope / bend, low), high) : slope < 0 ? high : low;
        for (core_int i = 0; i < n_; ++i)
            base[i] = from[i] + t * ray[i];
        if (const T value = model(base); value < predicted_) {
            predicted_ = value;
            std::copy_n(base, n_, step_.get());
        }
    }
    /// The step itself if no bound is hit; else the best of what is left of it, of its reflection, and of the
    /// steepest descent.
    void choose()
    {
        T* const full = move_.get();
        minimise(full);
        const T way = way_to_bounds(nullptr, full);
        std::copy_n(full, n_, step_.get());
        predicted_ = model(full);
        if (way >= 1)
            return;
        predicted_ = infinite;
        std::fill_n(other_.get(), n_, T(0));
        look_along(other_.get(), full, 0, reach_ * way, other_.get());
        for (core_int i = 0; i < n_; ++i) {
            ray_[i] = way_of(i, nullptr, full) <= way ? -full[i] : full[i];
            other_[i] = way * full[i];
        }
        const T far =
            std::min(way_to_bounds(other_.get(), ray_.get()), way_to_edge(other_.get(), ray_.get()));
        if (far > 0)
            look_along(other_.get(), ray_.get(), (1 - reach_) * far, reach_ * far, other_.get());
        for (core_int i = 0; i < n_; ++i)
            ray_[i] = -gradient_[i];
        std::fill_n(other_.get(), n_, T(0));
        const T descent =
            std::min(reach_ * way_to_bounds(nullptr, ray_.get()), way_to_edge(other_.get(), ray_.get()));
        look_along(other_.get(), ray_.get(), 0, descent, other_.get());
    }
    Request try_step()
    {
        if (iterations_ >= most_)
            return stop(too_many);
        choose();
        ++iterations_;
        for (core_int i = 0; i < n_; ++i)
            x_[i] = within(i, best_[i] + scale_[i] * step_[i]);
        stage_ = tried;
        return wants_function;
    }
    Request judge(T* f)
    {
        const T found = norm_of(m_, f), bent = bending(step_.get()), length = norm_of(n_, step_.get());
        // What the linear model promises, to be compared with what it holds.
        const T promised = predicted_ - bent;
        const T left = std::sqrt(std::max(T(0), norm_ * norm_ + 2 * promised));
        const bool no_gain = !(predicted_ < 0) || norm_ - left < eps_[of_gain];
        T change = 0;
        for (core_int i = 0; i < n_; ++i)
            change += (x_[i] - best_[i]) * (x_[i] - best_[i]);
        // As a difference of squares it would overflow and cancel.
        const T gained = std::isfinite(found) ? (norm_ - found) * (norm_ + found) / 2 : -infinite;
        const T ratio = predicted_ < 0 ? (gained - bent) / -predicted_ : T(0);
        if (!(ratio >= T(0.25)))
            radius_ = length / 4;
        else if (ratio > T(0.75) && length > T(0.95) * radius_)
            radius_ *= 2;
        const bool better = found < norm_;
        if (better) {
            norm_ = found;
            keep(f);
        } else {
            std::copy_n(best_.get(), n_, x_);
            std::copy_n(best_f_.get(), m_, f);
        }
        if (norm_ < eps_[of_function])
            return stop(small_function);
        if (std::sqrt(change) < eps_[of_step])
            return stop(small_step);
        if (no_gain)
            return stop(little_gain);
        if (radius_ < eps_[of_region])
            return stop(small_region);
        return better ? ask_for_jacobian() : try_step();
    }

    core_int n_, m_, most_, most_inner_;
    T factor_;
    core_int rows_;
    T* x_;
    T eps_[tolerances];
    Vector<T> lower_, upper_, best_, best_f_;
    Vector<T> gradient_, slope_, length_, scale_, bend_;
    Vector<T> step_, move_, other_, ray_, turned_, turned_ray_, tau_, values_;
    Vector<T> jacobian_, triangle_, left_, right_;
    Vector<core_int> words_;
    Vector<T> work_;
    Stage stage_ = begin;
    Request stopped_ = no_request;
    core_int iterations_ = 0;
    T radius_ = 0, reach_ = 0, predicted_ = 0, norm_ = 0, first_norm_ = 0;
};

template <class T>
Status init(void** handle, core_int n, core_int m, T* x, const T* lower, const T* upper, const T* eps,
            core_int most, core_int most_inner, T factor, bool bounds)
{
    if (handle == nullptr || x == nullptr || eps == nullptr || n < 1 || m < 1 || most < 1 || most_inner < 1 ||
        !(factor >= 0))
        return invalid;
    if (bounds) {
        if (lower == nullptr || upper == nullptr)
            return invalid;
        for (core_int i = 0; i < n; ++i)
            if (!(lower[i] <= upper[i]))
                return invalid;
    }
    return hold(handle, [&] { return new Region<T>(n, m, x, lower, upper, eps, most, most_inner, factor); });
}

} // namespace
} // namespace qnm::core::trust

using qnm::core::core_int;
using namespace qnm::core::trust;

// What both forms have, with bounds and without.
#define QNM_FORM(l, T, form, bounds, ...)                                                                    \
    QNM_CORE int qnm_trs_##l##form##_check(void** handle, const core_int*, const core_int*, const T* fjac,   \
                                           const T* fvec, __VA_ARGS__ const T*, core_int* info)              \
    {                                                                                                        \
        return with<Region<T>>(handle, [&](auto& region) {                                                   \
            region.check(fvec, fjac, info, bounds);                                                          \
            return success;                                                                                  \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE int qnm_trs_##l##form##_solve(void** handle, T* fvec, const T* fjac, core_int* rci_request)     \
    {                                                                                                        \
        return with<Region<T>>(handle, [&](auto& region) { return region.next(fvec, fjac, rci_request); });  \
    }                                                                                                        \
    QNM_CORE int qnm_trs_##l##form##_get(void** handle, core_int* iter, core_int* st_cr, T* r1, T* r2)       \
    {                                                                                                        \
        return with<Region<T>>(handle, [&](auto& region) {                                                   \
            region.tell(iter, st_cr, r1, r2);                                                                \
            return success;                                                                                  \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE int qnm_trs_##l##form##_delete(void** handle)                                                   \
    {                                                                                                        \
        return release<Region<T>>(handle);                                                                   \
    }
#define QNM_COMMA ,
#define QNM_REGION(l, L, T)                                                                                  \
    QNM_FORM(l, T, trnlsp, false, )                                                                          \
    QNM_FORM(l, T, trnlspbc, true, const T* QNM_COMMA const T* QNM_COMMA)                                    \
    QNM_CORE int qnm_trs_##l##trnlsp_init(void** handle, const core_int* n, const core_int* m, T* x,         \
                                          const T* eps, const core_int* iter1, const core_int* iter2,        \
                                          const T* rs)                                                       \
    {                                                                                                        \
        return init<T>(handle, *n, *m, x, nullptr, nullptr, eps, *iter1, *iter2, *rs, false);                \
    }                                                                                                        \
    QNM_CORE int qnm_trs_##l##trnlspbc_init(void** handle, const core_int* n, const core_int* m, T* x,       \
                                            const T* lw, const T* up, const T* eps, const core_int* iter1,   \
                                            const core_int* iter2, const T* rs)                              \
    {                                                                                                        \
        return init<T>(handle, *n, *m, x, lw, up, eps, *iter1, *iter2, *rs, true);                           \
    }
QNM_REAL_LETTERS(QNM_REGION)
