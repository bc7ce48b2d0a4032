// Exponentials and logarithms. The ranges end where the results are no longer normal.
#include "function.hpp"

namespace qnm::vml::QNM_NAMESPACE {

// Of the functions that short calls are made of most: where nothing underflows on the way.
template <class Of>
struct QuietExp : Of {
    static auto quiet(auto x) { return within(magnitude(x), {1e-30, 708, 1e-6F, 87}); }
};

QNM_FUNCTION(Exp, exp, u10, x, {-708, 709, -87, 88})
QNM_FUNCTION(Exp2, exp2, u10, x, {-1022, 1023, -126, 127})
QNM_FUNCTION(Exp10, exp10, u10, x, {-307, 308, -37, 38})
QNM_FUNCTION(Expm1, expm1, u10, x, {-708, 709, -87, 88})
QNM_FUNCTION(Ln, log, u10, x, normal_above_zero)
QNM_FUNCTION(Log2, log2, u10, x, normal_above_zero)
QNM_FUNCTION(Log10, log10, u10, x, normal_above_zero)
QNM_FUNCTION(Log1p, log1p, u10, x, {-0.99999, 1e307, -0.999F, 1e38F})

} // namespace qnm::vml::QNM_NAMESPACE

QNM_REAL(Exp, QuietExp<Exp>, 1, 0, 1, 1.0F)
QNM_REAL(Exp2, Exp2, 1, 0, 1, 0.9F)
QNM_REAL(Exp10, Exp10, 1, 0, 1, 1.0F)
QNM_REAL(Expm1, Expm1, 1, 0, 1, 3.0F)
QNM_REAL(Ln, Quiet<Ln>, 1, 0, 1, 3.0F)
QNM_REAL(Log2, Log2, 1, 0, 1, 3.0F)
QNM_REAL(Log10, Log10, 1, 0, 1, 2.0F)
QNM_REAL(Log1p, Log1p, 1, 0, 1, 3.0F)
