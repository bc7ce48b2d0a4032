// Complex roots: sums and products in loops, the rest by elements in long double.
#include "function.hpp"

namespace qnm::vml::QNM_NAMESPACE::of_complex {

/// a * b - c * d, without cancellation where the processor fuses.
template <class T>
T difference(T a, T b, T c, T d)
{
    const T product = c * d;
    return exact::fma(a, b, -product) + exact::fma(-c, d, product);
}

#define QNM_EACH_2(name, re, im)                                                                             \
    struct name {                                                                                            \
        template <class T>                                                                                   \
        static std::complex<T> of(std::complex<T> x, std::complex<T> y)                                      \
        {                                                                                                    \
            const T a = x.real(), b = x.imag(), c = y.real(), d = y.imag();                                  \
            return {re, im};                                                                                 \
        }                                                                                                    \
    };
QNM_EACH_2(Add, a + c, b + d)
QNM_EACH_2(Sub, a - c, b - d)
QNM_EACH_2(Mul, difference(a, c, b, d), difference(a, d, -b, c))
QNM_EACH_2(MulByConj, difference(a, c, -b, d), difference(b, c, a, d))
struct Conj {
    template <class T>
    static std::complex<T> of(std::complex<T> x)
    {
        return {x.real(), -x.imag()};
    }
};
struct CIS {
    template <class T>
    static std::complex<T> exact(T x)
    {
        return {exact::cos(x), exact::sin(x)};
    }
};
QNM_ONLY_EXACT(Exp, exp)
QNM_ONLY_EXACT(Ln, log)
QNM_ONLY_EXACT(Log10, log10)
QNM_ONLY_EXACT(Sqrt, sqrt)
QNM_ONLY_EXACT(Sin, sin)
QNM_ONLY_EXACT(Cos, cos)
QNM_ONLY_EXACT(Tan, tan)
QNM_ONLY_EXACT(Asin, asin)
QNM_ONLY_EXACT(Acos, acos)
QNM_ONLY_EXACT(Atan, atan)
QNM_ONLY_EXACT(Sinh, sinh)
QNM_ONLY_EXACT(Cosh, cosh)
QNM_ONLY_EXACT(Tanh, tanh)
QNM_ONLY_EXACT(Asinh, asinh)
QNM_ONLY_EXACT(Acosh, acosh)
QNM_ONLY_EXACT(Atanh, atanh)
QNM_ONLY_EXACT(Pow, pow)
QNM_ONLY_EXACT(Div, div)
QNM_ONLY_EXACT(Abs, abs)
QNM_ONLY_EXACT(Arg, arg)

} // namespace qnm::vml::QNM_NAMESPACE::of_complex

QNM_COMPLEX(Exp, of_complex::Exp, 1, 0, 1, 300.0F)
QNM_COMPLEX(Ln, of_complex::Ln, 1, 0, 1, 300.0F)
QNM_COMPLEX(Log10, of_complex::Log10, 1, 0, 1, 300.0F)
QNM_COMPLEX(Sqrt, of_complex::Sqrt, 1, 0, 1, 300.0F)
QNM_COMPLEX(Sin, of_complex::Sin, 1, 0, 1, 300.0F)
QNM_COMPLEX(Cos, of_complex::Cos, 1, 0, 1, 300.0F)
QNM_COMPLEX(Tan, of_complex::Tan, 1, 0, 1, 300.0F)
QNM_COMPLEX(Asin, of_complex::Asin, 1, 0, 1, 300.0F)
QNM_COMPLEX(Acos, of_complex::Acos, 1, 0, 1, 300.0F)
QNM_COMPLEX(Atan, of_complex::Atan, 1, 0, 1, 300.0F)
QNM_COMPLEX(Sinh, of_complex::Sinh, 1, 0, 1, 300.0F)
QNM_COMPLEX(Cosh, of_complex::Cosh, 1, 0, 1, 300.0F)
QNM_COMPLEX(Tanh, of_complex::Tanh, 1, 0, 1, 300.0F)
QNM_COMPLEX(Asinh, of_complex::Asinh, 1, 0, 1, 300.0F)
QNM_COMPLEX(Acosh, of_complex::Acosh, 1, 0, 1, 300.0F)
QNM_COMPLEX(Atanh, of_complex::Atanh, 1, 0, 1, 300.0F)
QNM_COMPLEX(Conj, of_complex::Conj, 1, 0, 1, 1.0F)
QNM_COMPLEX(Add, of_complex::Add, 2, 0, 1, 1.0F)
QNM_COMPLEX(Sub, of_complex::Sub, 2, 0, 1, 1.0F)
QNM_COMPLEX(Mul, of_complex::Mul, 2, 0, 1, 1.0F)
QNM_COMPLEX(MulByConj, of_complex::MulByConj, 2, 0, 1, 1.0F)
QNM_COMPLEX(Div, of_complex::Div, 2, 0, 1, 80.0F)
QNM_COMPLEX(Pow, of_complex::Pow, 2, 0, 1, 500.0F)
QNM_COMPLEX(Powx, of_complex::Pow, 1, 1, 1, 500.0F)

#define QNM_MODULUS(root)                                                                                    \
    QNM_KERNEL(c, root, of_complex::root, std::complex<float>, 1, 0, float, 1, 60.0F)                        \
    QNM_KERNEL(z, root, of_complex::root, std::complex<double>, 1, 0, double, 1, 60.0F)
QNM_MODULUS(Abs)
QNM_MODULUS(Arg)
QNM_KERNEL(c, CIS, OfDomain<of_complex::CIS>, float, 1, 0, std::complex<float>, 1, 80.0F)
QNM_KERNEL(z, CIS, OfDomain<of_complex::CIS>, double, 1, 0, std::complex<double>, 1, 80.0F)
