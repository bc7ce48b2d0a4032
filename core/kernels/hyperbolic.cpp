// Hyperbolic functions and their inverses: beyond these ranges an engine's own intermediate results overflow.
#include "function.hpp"

namespace qnm::vml::QNM_NAMESPACE {

QNM_FUNCTION(Sinh, sinh, u10, magnitude(x), {0, 709, 0, 88})
QNM_FUNCTION(Cosh, cosh, u10, magnitude(x), {0, 709, 0, 88})
QNM_FUNCTION(Tanh, tanh, u10, magnitude(x), {1e-9, most, 1e-4F, most_s})
QNM_FUNCTION(Asinh, asinh, u10, magnitude(x), {least, 1e154, 1e-6F, 1e18F})
QNM_FUNCTION(Acosh, acosh, u10, x, {1, 1e154, 1, 1e18F})
QNM_FUNCTION(Atanh, atanh, u10, magnitude(x), {least, 0.99999, 1e-6F, 0.999F})

} // namespace qnm::vml::QNM_NAMESPACE

QNM_REAL(Sinh, Sinh, 1, 0, 1, 3.0F)
QNM_REAL(Cosh, Cosh, 1, 0, 1, 3.0F)
QNM_REAL(Tanh, Tanh, 1, 0, 1, 4.0F)
QNM_REAL(Asinh, Asinh, 1, 0, 1, 9.0F)
QNM_REAL(Acosh, Acosh, 1, 0, 1, 10.0F)
QNM_REAL(Atanh, Atanh, 1, 0, 1, 5.0F)
