// Exact values, to more digits than any type here has, and how far results are from them.
#pragma once

#include <algorithm>
#include <climits>
#include <cmath>
#include <complex>
#include <limits>
#include <mpc.h>
#include <mpfr.h>
#include <utility>

namespace qnm::witness {

/// A number; real ones use the real part.
class Number {
public:
    Number()
    {
        mpc_init2(value_, 160);
        mpc_set_ui(value_, 0, MPC_RNDNN);
    }
    explicit Number(double x) : Number() { set(x); }
    ~Number() { mpc_clear(value_); }
    Number(const Number&) = delete;
    Number& operator=(const Number&) = delete;

    mpc_ptr whole() { return value_; }
    mpc_srcptr whole() const { return value_; }
    mpfr_ptr real() { return mpc_realref(value_); }
    mpfr_srcptr real() const { return mpc_realref(value_); }
    mpfr_ptr imaginary() { return mpc_imagref(value_); }
    mpfr_srcptr imaginary() const { return mpc_imagref(value_); }

    template <class T>
    void set(T x)
    {
        mpfr_set_d(real(), static_cast<double>(x), MPFR_RNDN);
    }
    template <class T>
    void set(std::complex<T> x)
    {
        mpc_set_d_d(value_, static_cast<double>(x.real()), static_cast<double>(x.imag()), MPC_RNDNN);
    }

private:
    mpc_t value_;
};

/// An exact value kept small: what long double leaves of it, twice, and the exponent of its last place's
/// measure, which is the value itself or a greater size.
class Exact {
public:
    Exact() = default;
    explicit Exact(mpfr_srcptr value, mpfr_srcptr size = nullptr)
        : high_(mpfr_get_ld(value, MPFR_RNDN)), exponent_(exponent_of(value))
    {
        if (std::isfinite(high_)) {
            Number rest;
            mpfr_set_ld(rest.real(), high_, MPFR_RNDN);
            mpfr_sub(rest.real(), value, rest.real(), MPFR_RNDN);
            low_ = mpfr_get_ld(rest.real(), MPFR_RNDN);
        }
        zero_ = mpfr_zero_p(value) != 0;
        if (size != nullptr)
            exponent_ = std::max(exponent_, exponent_of(size));
    }

    /// Whether a type has no finite number next to the value, or the value is none.
    template <class T>
    bool special() const
    {
        return !(std::fabs(high_) <= limit<T> * (1 + std::numeric_limits<T>::epsilon()));
    }
    /// Distance of a result in units of the last place that T has there: a zero must have its sign, and what
    /// is no number must be what it is.
    template <class T>
    double ulps(T result) const
    {
        return zero_ && !(result == 0 && std::signbit(result) == std::signbit(high_))
                   ? HUGE_VAL
                   : ulps(result, exponent_);
    }
    /// For both parts of a complex value in units of the larger.
    template <class T>
    static double ulps(std::complex<T> result, const Exact& real, const Exact& imaginary)
    {
        if (std::isnan(real.high_) || std::isnan(imaginary.high_)) // what has no value is promised nothing
            return 0;
        const int exponent = std::max(real.exponent_, imaginary.exponent_);
        // Beside a part that overflows, one below its last place cannot be measured.
        const auto part = [&](const Exact& exact, const Exact& other, T found) {
            const bool lost =
                other.special<T>() && exact.exponent_ < other.exponent_ - std::numeric_limits<T>::digits;
            return lost ? 0 : exact.ulps(found, exponent);
        };
        return std::max(part(real, imaginary, result.real()), part(imaginary, real, result.imag()));
    }

private:
    // The first number that T does not have, where infinity stands.
    template <class T>
    static constexpr long double limit = 2.0L * (std::numeric_limits<T>::max() / 2 +
                                                 static_cast<long double>(std::numeric_limits<T>::max()) *
                                                     std::numeric_limits<T>::epsilon() / 4);

    static int exponent_of(mpfr_srcptr value)
    {
        return mpfr_regular_p(value) != 0 ? static_cast<int>(mpfr_get_exp(value)) : INT_MIN / 2;
    }

    template <class T>
    double ulps(T result, int exponent) const
    {
        using Limits = std::numeric_limits<T>;
        if (std::isnan(high_) || std::isnan(result))
            return std::isnan(high_) && std::isnan(result) ? 0 : HUGE_VAL;
        if (special<T>())
            return std::isinf(result) && std::signbit(result) == std::signbit(high_) ? 0 : HUGE_VAL;
        const long double found = std::isinf(result)
                                      ? std::copysign(limit<T>, static_cast<long double>(result))
                                      : static_cast<long double>(result);
        const int place = std::max(exponent, Limits::min_exponent) - Limits::digits;
        return static_cast<double>(std::ldexp(std::fabs((high_ - found) + low_), -place));
    }

    long double high_ = 0, low_ = 0;
    int exponent_ = 0;
    bool zero_ = true;
};

} // namespace qnm::witness
