// Complex numbers.
#pragma once

namespace qnm {

/// A complex number as arrays have it, and as C passes it by value: in vector registers. With as much
/// arithmetic as the layer does.
template <class R>
struct Complex {
    using real = R;
    R re;
    R im;
    Complex operator+(Complex b) const { return {re + b.re, im + b.im}; }
    Complex operator*(Complex b) const { return {re * b.re - im * b.im, re * b.im + im * b.re}; }
    bool operator==(const Complex&) const = default;
};
using qnm_complex8 = Complex<float>;
using qnm_complex16 = Complex<double>;

} // namespace qnm
