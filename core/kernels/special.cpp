// Functions of probability and their kin.
#include "function.hpp"

namespace qnm::vml::QNM_NAMESPACE {

QNM_FUNCTION(Erf, erf, u10, magnitude(x), {1e-290, most, 1e-30F, most_s})
QNM_FUNCTION(Erfc, erfc, u15, x, {-most, 26, -most_s, 9})

} // namespace qnm::vml::QNM_NAMESPACE

QNM_REAL(Erf, Erf, 1, 0, 1, 3.0F)
QNM_REAL(Erfc, Erfc, 1, 0, 1, 4.0F)
