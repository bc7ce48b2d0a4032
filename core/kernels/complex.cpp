// Complex roots. Of single precision, lanes compute in double precision and round once; of double precision,
// lanes compute in twice the precision where that is cheap, and for low accuracy else.
#include "complex_elements.hpp"
#include "function.hpp"
#include "twofold.hpp"

namespace qnm::vml::QNM_NAMESPACE::of_complex {

// ---- lanes

template <class L>
L smaller(L x, L y)
{
    return x < y ? x : y;
}
template <class L>
L larger(L x, L y)
{
    return x > y ? x : y;
}

/// a * b + c * d
inline Twofold products(Doubles a, Doubles b, Doubles c, Doubles d)
{
    const auto x = product(a, b), y = product(c, d);
    const auto total = exact_sum(x.high, y.high);
    return {total.high, total.low + (x.low + y.low)};
}

using OfDoubles = Parts<double>;
using OfFloats = Parts<float>;

inline Doubles greatest(OfDoubles x)
{
    return larger(magnitude(x.re), magnitude(x.im));
}
inline auto is_finite(OfDoubles x)
{
    return (x.re - x.re == 0) & (x.im - x.im == 0);
}

// ---- single precision by double precision

using QNM_NAMESPACE::narrowed;

inline Doubles widened(Floats x, int half)
{
    return half != 0 ? upper(x) : lower(x);
}
inline OfDoubles widened(OfFloats x, int half)
{
    return {widened(x.re, half), widened(x.im, half)};
}
inline OfFloats narrowed(OfDoubles lower, OfDoubles upper)
{
    return {narrowed(lower.re, upper.re), narrowed(lower.im, upper.im)};
}
template <class M>
auto narrowed_mask(M lower, M upper)
{
    using Flags = std::int32_t __attribute__((vector_size(bytes / 2)));
    const auto flags = [](M mask) { return __builtin_convertvector(mask, Flags); };
    return [&]<int... k>(std::integer_sequence<int, k...>)
    {
        return __builtin_shufflevector(flags(lower), flags(upper), k...);
    }
    (std::make_integer_sequence<int, LanesOf<float>::count>());
}

// A kernel has lanes in double precision and the range in which they hold. Where these compensate what their
// roundings leave, quick does not.
template <class K>
auto quick_lanes(auto... x)
{
    if constexpr (requires { K::quick(x...); })
        return K::quick(x...);
    else
        return K::lanes(x...);
}

/// Of single precision.
template <class K>
struct InDouble : K {
    static auto high(auto... x)
    {
        return narrowed(quick_lanes<K>(widened(x, 0)...), quick_lanes<K>(widened(x, 1)...));
    }
    static auto holds(auto... x)
    {
        return narrowed_mask(K::template range<float>(widened(x, 0)...),
                             K::template range<float>(widened(x, 1)...));
    }
};
/// Of double precision: compensated for high accuracy, or not accurate enough for that.
template <class K>
struct Compensated : K {
    static auto high(auto... x) { return K::lanes(x...); }
    static auto low(auto... x) { return quick_lanes<K>(x...); }
    static auto holds(auto... x) { return K::template range<double>(x...); }
};
template <class K>
struct ForLow : K {
    static auto low(auto... x) { return quick_lanes<K>(x...); }
    static auto holds(auto... x) { return K::template range<double>(x...); }
};

// ---- arithmetic

/// Whether products and their errors are normal, of sizes from 0 up or from above 0.
template <class T>
auto is_usual(Doubles size)
{
    constexpr bool single = std::is_same_v<T, float>;
    return (size >= (single ? 1e-18 : 1e-140)) & (size <= (single ? 1e18 : 1e140));
}

struct Add {
    template <class T>
    static std::complex<T> of(std::complex<T> x, std::complex<T> y)
    {
        return {x.real() + y.real(), x.imag() + y.imag()};
    }
};
struct Sub {
    template <class T>
    static std::complex<T> of(std::complex<T> x, std::complex<T> y)
    {
        return {x.real() - y.real(), x.imag() - y.imag()};
    }
};
struct Conj {
    template <class T>
    static std::complex<T> of(std::complex<T> x)
    {
        return {x.real(), -x.imag()};
    }
};

// Infinities are those of C's Annex G, by the elements.
struct Factors {
    static constexpr unsigned codes = 0;

    template <class T>
    static auto range(OfDoubles x, OfDoubles y)
    {
        const Doubles a = greatest(x), b = greatest(y);
        return is_finite(x) & is_finite(y) &
               (std::is_same_v<T, float> | ((is_usual<T>(a) | (a == 0)) & (is_usual<T>(b) | (b == 0))));
    }
};
struct Mul : Factors {
    static OfDoubles quick(OfDoubles x, OfDoubles y)
    {
        return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
    }
    static OfDoubles lanes(OfDoubles x, OfDoubles y)
    {
        const auto re = products(x.re, y.re, -x.im, y.im), im = products(x.re, y.im, x.im, y.re);
        return {re.high + re.low, im.high + im.low};
    }
    static auto exact(auto x, auto y) { return element::mul(x, y); }
};
struct MulByConj : Factors {
    static OfDoubles quick(OfDoubles x, OfDoubles y) { return Mul::quick(x, {y.re, -y.im}); }
    static OfDoubles lanes(OfDoubles x, OfDoubles y) { return Mul::lanes(x, {y.re, -y.im}); }
    static auto exact(auto x, auto y) { return element::mul_by_conj(x, y); }
};
struct Div {
    static OfDoubles quick(OfDoubles x, OfDoubles y)
    {
        const Doubles by = 1 / (y.re * y.re + y.im * y.im);
        const auto product = MulByConj::quick(x, y);
        return {product.re * by, product.im * by};
    }
    static OfDoubles lanes(OfDoubles x, OfDoubles y)
    {
        const auto by = products(y.re, y.re, y.im, y.im);
        const auto re = products(x.re, y.re, x.im, y.im), im = products(x.im, y.re, -x.re, y.im);
        const Doubles inverse = 1 / by.high;
        const auto quotient = [&](Twofold of) {
            const Doubles first = of.high * inverse;
            const auto back = product(first, by.high);
            return first + ((of.high - back.high) - back.low + (of.low - first * by.low)) * inverse;
        };
        return {quotient(re), quotient(im)};
    }
    template <class T>
    static auto range(OfDoubles x, OfDoubles y)
    {
        return is_usual<T>(greatest(x)) & is_usual<T>(greatest(y)) & is_finite(x) & is_finite(y);
    }
    static auto exact(auto x, auto y) { return element::div(x, y); }
};

// ---- size and angle

struct Abs {
    static constexpr unsigned codes = 1U << overflow | 1U << underflow;
    static Doubles lanes(OfDoubles x) { return hypot_u05(x.re, x.im); }
    template <class T>
    static auto range(OfDoubles x)
    {
        const Doubles size = greatest(x);
        constexpr bool single = std::is_same_v<T, float>;
        return (size >= (single ? least_s : 1e-150)) & (size <= (single ? 2e38 : 1e150)) & is_finite(x);
    }
    static auto exact(auto x) { return element::abs(x); }
};
struct Arg {
    static constexpr unsigned codes = 0;
    static Doubles lanes(OfDoubles x) { return atan2_u10(x.im, x.re); }
    template <class T>
    static auto range(OfDoubles x)
    {
        const auto usual = [](Doubles part) {
            return (part == 0) | ((part >= (std::is_same_v<T, float> ? least_s : 1e-150)) & (part <= 1e150));
        };
        return usual(magnitude(x.re)) & usual(magnitude(x.im)) & (greatest(x) != 0);
    }
    static auto exact(auto x) { return element::arg(x); }
};
struct CIS {
    static constexpr unsigned codes = domain_only;
    template <class T>
    static auto high(Lanes<T> x)
    {
        const auto both = sincos_u10(x);
        return Parts<T>{both.y, both.x};
    }
    static auto high(Doubles x) { return high<double>(x); }
    static auto high(Floats x) { return high<float>(x); }
    static auto holds(auto x) { return within(x, all_finite); }
    template <class T>
    static std::complex<T> exact(T x)
    {
        return {exact::cos(x), exact::sin(x)};
    }
};

/// The size's logarithm, near 1 too.
inline Doubles log_of_size(OfDoubles x)
{
    const Doubles a = magnitude(x.re), b = magnitude(x.im);
    const Doubles m = larger(a, b), n = smaller(a, b);
    const Doubles size = hypot_u05(a, b);
    const auto near = (size > 0.5) & (size < 2);
    const auto square = products(near ? m - 1 : Doubles{}, m + 1, near ? n : Doubles{}, n);
    return near ? 0.5 * log1p_u10(square.high + square.low) : log_u10(near ? Doubles{} + 1 : size);
}
struct Ln {
    static OfDoubles lanes(OfDoubles x) { return {log_of_size(x), Arg::lanes(x)}; }
    template <class T>
    static auto range(OfDoubles x)
    {
        return Arg::range<T>(x);
    }
    static auto exact(auto x) { return element::log(x); }
};
struct Log10 : Ln {
    static OfDoubles lanes(OfDoubles x)
    {
        constexpr double by = 0.43429448190325182765;
        return {log_of_size(x) * by, Arg::lanes(x) * by};
    }
    static auto exact(auto x) { return element::log10(x); }
};

/// The root of the half of size and real part, and what its rounding left.
struct Sqrt {
    static OfDoubles quick(OfDoubles x)
    {
        const Doubles root =
            QNM_NAMESPACE::root(0.5 * (magnitude(x.re) + QNM_NAMESPACE::root(x.re * x.re + x.im * x.im)));
        return turned(x, root, x.im / (2 * root));
    }
    static OfDoubles lanes(OfDoubles x)
    {
        const Doubles a = magnitude(x.re);
        const auto square = products(x.re, x.re, x.im, x.im);
        const Doubles size = QNM_NAMESPACE::root(square.high);
        const auto back = product(size, size);
        const auto total = exact_sum(a, size);
        const Doubles rest = total.low + ((square.high - back.high) - back.low + square.low) / (2 * size);
        const Doubles root = QNM_NAMESPACE::root(0.5 * total.high);
        const auto again = product(root, root);
        const Doubles left = ((0.5 * total.high - again.high) - again.low + 0.5 * rest) / (2 * root);
        const Doubles part = x.im / (2 * root);
        const auto whole = product(part, 2 * root);
        const Doubles other = part + ((x.im - whole.high) - whole.low - 2 * part * left) / (2 * root);
        return turned(x, root + left, other);
    }
    template <class T>
    static auto range(OfDoubles x)
    {
        const Doubles size = greatest(x);
        return is_usual<T>(size) & is_finite(x);
    }
    static auto exact(auto x) { return element::sqrt(x); }

private:
    /// By the root of a number that lies to the right.
    static OfDoubles turned(OfDoubles x, Doubles re, Doubles im)
    {
        constexpr auto sign = std::numeric_limits<std::int64_t>::min();
        using Bits = Lanes<std::int64_t>;
        const auto left = x.re < 0;
        return {left ? magnitude(im) : re, left ? (Doubles)((Bits)re | ((Bits)x.im & sign)) : im};
    }
};

// ---- exponentials and their kin

/// Where the exponential of a real part is normal and the imaginary part has a sine.
template <class T>
auto is_moderate(Doubles re, Doubles im)
{
    constexpr double most_exponent = std::is_same_v<T, float> ? 87 : 708;
    return (magnitude(re) <= most_exponent) & (magnitude(im) <= 1e9);
}
struct Exp {
    static OfDoubles lanes(OfDoubles x)
    {
        const Doubles size = exp_u10(x.re);
        const auto angle = sincos_u10(x.im);
        return {size * angle.y, size * angle.x};
    }
    template <class T>
    static auto range(OfDoubles x)
    {
        return is_moderate<T>(x.re, x.im);
    }
    static auto exact(auto x) { return element::exp(x); }
};

struct Hyperbolic {
    template <class T>
    static auto range(OfDoubles x)
    {
        return is_moderate<T>(x.re, x.im);
    }
};
struct Sinh : Hyperbolic {
    static OfDoubles lanes(OfDoubles x)
    {
        const auto angle = sincos_u10(x.im);
        return {sinh_u10(x.re) * angle.y, cosh_u10(x.re) * angle.x};
    }
    static auto exact(auto x) { return element::sinh(x); }
};
struct Cosh : Hyperbolic {
    static OfDoubles lanes(OfDoubles x)
    {
        const auto angle = sincos_u10(x.im);
        return {cosh_u10(x.re) * angle.y, sinh_u10(x.re) * angle.x};
    }
    static auto exact(auto x) { return element::cosh(x); }
};
struct Tanh : Hyperbolic {
    static OfDoubles lanes(OfDoubles x)
    {
        const auto angle = sincos_u10(x.im);
        const Doubles s = sinh_u10(x.re), c = cosh_u10(x.re);
        const Doubles by = s * s + angle.y * angle.y;
        return {s * c / by, angle.x * angle.y / by};
    }
    template <class T>
    static auto range(OfDoubles x)
    {
        return is_moderate<float>(x.re, x.im);
    }
    static auto exact(auto x) { return element::tanh(x); }
};

/// f(x) by the hyperbolic function of ix: -i f(ix), or f(ix) where that is even.
template <class Of, bool even>
struct Turned : Of {
    static OfDoubles lanes(OfDoubles x)
    {
        const auto y = Of::lanes({-x.im, x.re});
        return even ? y : OfDoubles{y.im, -y.re};
    }
    template <class T>
    static auto range(OfDoubles x)
    {
        return Of::template range<T>({-x.im, x.re});
    }
};
struct Sin : Turned<Sinh, false> {
    static auto exact(auto x) { return element::sin(x); }
};
struct Cos : Turned<Cosh, true> {
    static auto exact(auto x) { return element::cos(x); }
};
struct Tan : Turned<Tanh, false> {
    static auto exact(auto x) { return element::tan(x); }
};

struct Pow {
    static OfDoubles lanes(OfDoubles x, OfDoubles y)
    {
        const auto log = Ln::lanes(x);
        return Exp::lanes({log.re * y.re - log.im * y.im, log.re * y.im + log.im * y.re});
    }
    static auto exact(auto x, auto y) { return element::pow(x, y); }
};

/// Of single precision: the result tells that no product left the exponential's range.
struct PowInDouble : Pow {
    static auto high(OfFloats x, OfFloats y) { return InDouble<Pow>::high(x, y); }
    static auto holds_of(OfFloats result, OfFloats x, OfFloats y)
    {
        const auto usual = [](Floats a, Floats b, float low, float high) {
            const Floats size = larger(magnitude(a), magnitude(b));
            return (size >= low) & (size <= high);
        };
        return usual(result.re, result.im, 1e-30F, 1e38F) & usual(x.re, x.re, least_s, 1e38F) &
               usual(x.im, x.im, least_s, 1e38F) & usual(y.re, y.im, 0, 1e4F) & (y.re - y.re == 0) &
               (y.im - y.im == 0);
    }
};

#define QNM_ONLY_COMPLEX(root, name)                                                                         \
    struct root {                                                                                            \
        static auto exact(auto x) { return element::name(x); }                                               \
    };
QNM_ONLY_COMPLEX(Asin, asin)
QNM_ONLY_COMPLEX(Acos, acos)
QNM_ONLY_COMPLEX(Atan, atan)
QNM_ONLY_COMPLEX(Asinh, asinh)
QNM_ONLY_COMPLEX(Acosh, acosh)
QNM_ONLY_COMPLEX(Atanh, atanh)

} // namespace qnm::vml::QNM_NAMESPACE::of_complex

// Nanoseconds of high accuracy with AVX2, to one digit.
// Of each type its object, inputs, scalars, outputs, nanoseconds an element.
#define QNM_OF_COMPLEX(root, single, single_cost, twice, twice_cost, inputs, scalars)                        \
    QNM_KERNEL(c, root, of_complex::single, std::complex<float>, inputs, scalars, std::complex<float>, 1,    \
               single_cost)                                                                                  \
    QNM_KERNEL(z, root, of_complex::twice, std::complex<double>, inputs, scalars, std::complex<double>, 1,   \
               twice_cost)
QNM_OF_COMPLEX(Add, Add, 0.1F, Add, 0.2F, 2, 0)
QNM_OF_COMPLEX(Sub, Sub, 0.1F, Sub, 0.2F, 2, 0)
QNM_OF_COMPLEX(Conj, Conj, 0.1F, Conj, 0.2F, 1, 0)
QNM_OF_COMPLEX(Mul, InDouble<of_complex::Mul>, 2.0F, Compensated<of_complex::Mul>, 1.0F, 2, 0)
QNM_OF_COMPLEX(MulByConj, InDouble<of_complex::MulByConj>, 2.0F, Compensated<of_complex::MulByConj>, 1.0F, 2,
               0)
QNM_OF_COMPLEX(Div, InDouble<of_complex::Div>, 2.0F, Compensated<of_complex::Div>, 2.0F, 2, 0)
QNM_OF_COMPLEX(Sqrt, InDouble<of_complex::Sqrt>, 2.0F, Compensated<of_complex::Sqrt>, 3.0F, 1, 0)
QNM_OF_COMPLEX(Exp, InDouble<of_complex::Exp>, 4.0F, ForLow<of_complex::Exp>, 200.0F, 1, 0)
QNM_OF_COMPLEX(Ln, InDouble<of_complex::Ln>, 20.0F, ForLow<of_complex::Ln>, 100.0F, 1, 0)
QNM_OF_COMPLEX(Log10, InDouble<of_complex::Log10>, 20.0F, ForLow<of_complex::Log10>, 100.0F, 1, 0)
QNM_OF_COMPLEX(Sin, InDouble<of_complex::Sin>, 9.0F, ForLow<of_complex::Sin>, 300.0F, 1, 0)
QNM_OF_COMPLEX(Cos, InDouble<of_complex::Cos>, 9.0F, ForLow<of_complex::Cos>, 300.0F, 1, 0)
QNM_OF_COMPLEX(Tan, InDouble<of_complex::Tan>, 9.0F, ForLow<of_complex::Tan>, 300.0F, 1, 0)
QNM_OF_COMPLEX(Sinh, InDouble<of_complex::Sinh>, 9.0F, ForLow<of_complex::Sinh>, 300.0F, 1, 0)
QNM_OF_COMPLEX(Cosh, InDouble<of_complex::Cosh>, 9.0F, ForLow<of_complex::Cosh>, 300.0F, 1, 0)
QNM_OF_COMPLEX(Tanh, InDouble<of_complex::Tanh>, 9.0F, ForLow<of_complex::Tanh>, 200.0F, 1, 0)
QNM_OF_COMPLEX(Asin, Asin, 100.0F, Asin, 200.0F, 1, 0)
QNM_OF_COMPLEX(Acos, Acos, 100.0F, Acos, 200.0F, 1, 0)
QNM_OF_COMPLEX(Atan, Atan, 60.0F, Atan, 100.0F, 1, 0)
QNM_OF_COMPLEX(Asinh, Asinh, 100.0F, Asinh, 200.0F, 1, 0)
QNM_OF_COMPLEX(Acosh, Acosh, 90.0F, Acosh, 200.0F, 1, 0)
QNM_OF_COMPLEX(Atanh, Atanh, 70.0F, Atanh, 100.0F, 1, 0)
QNM_OF_COMPLEX(Pow, PowInDouble, 30.0F, Pow, 400.0F, 2, 0)
QNM_OF_COMPLEX(Powx, PowInDouble, 30.0F, Pow, 300.0F, 1, 1)

QNM_KERNEL(c, Abs, of_complex::InDouble<of_complex::Abs>, std::complex<float>, 1, 0, float, 1, 4.0F)
QNM_KERNEL(z, Abs, of_complex::Compensated<of_complex::Abs>, std::complex<double>, 1, 0, double, 1, 3.0F)
QNM_KERNEL(c, Arg, of_complex::InDouble<of_complex::Arg>, std::complex<float>, 1, 0, float, 1, 5.0F)
QNM_KERNEL(z, Arg, of_complex::Compensated<of_complex::Arg>, std::complex<double>, 1, 0, double, 1, 4.0F)
QNM_KERNEL(c, CIS, of_complex::CIS, float, 1, 0, std::complex<float>, 1, 1.0F)
QNM_KERNEL(z, CIS, of_complex::CIS, double, 1, 0, std::complex<double>, 1, 2.0F)
