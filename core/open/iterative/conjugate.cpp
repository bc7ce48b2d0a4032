// Conjugate gradients of Hestenes and Stiefel, of one system or of several one after the other.
#include "parameters.hpp"

#include <qnm/core/solvers.h>

namespace qnm::core::iterative {
namespace {

enum Stage : core_int { begin = 1, begun, stepped, tested, prepared };

struct Conjugate {
    core_int n;
    double* x;
    const double* b;
    Parameters p;
    double* tmp;

    double* direction() const { return tmp; }
    double* image() const { return tmp + n; }
    double* left() const { return tmp + 2 * n; }
    double* improved() const { return p[preconditioned] != 0 ? tmp + 3 * n : left(); }

    Request next() const
    {
        switch (p[stage]) {
        case begin:
            if (p.is_endless())
                return endless;
            p[iterations] = 0;
            std::copy_n(x, n, direction());
            return p.ask(multiply, begun);
        case begun:
            for (core_int i = 0; i < n; ++i)
                left()[i] = b[i] - image()[i];
            if (const Request verdict = p.judge(norm_of(n, left()), true); verdict != multiply)
                return verdict;
            return iterate();
        case stepped:
            return step();
        case tested:
            return iterate();
        case prepared:
            return turn();
        default:
            return endless;
        }
    }

private:
    Request iterate() const
    {
        if (p.is_exhausted())
            return p.end(too_many);
        return p[preconditioned] != 0 ? p.ask(precondition, prepared) : turn();
    }
    /// The next direction.
    Request turn() const
    {
        const double* const z = improved();
        const double now = dot(n, left(), z);
        p[beta] = 0;
        if (p[iterations] != 0) {
            if (p[rho] == 0)
                return p.end(zero_division);
            p[beta] = now / p[rho];
        }
        p[rho] = now;
        double* const d = direction();
        if (p[iterations] == 0)
            std::copy_n(z, n, d); // what stands there may not be finite
        else
            for (core_int i = 0; i < n; ++i)
                d[i] = z[i] + p[beta] * d[i];
        return p.ask(multiply, stepped);
    }
    Request step() const
    {
        const double curvature = dot(n, direction(), image());
        if (curvature == 0)
            return p.end(zero_division);
        p[alpha] = p[rho] / curvature;
        add(n, p[alpha], direction(), x);
        add(n, -p[alpha], image(), left());
        ++p[iterations];
        if (const Request verdict = p.judge(norm_of(n, left()), false); verdict != multiply)
            return verdict;
        return p[asks_user] != 0 ? p.ask(test, tested) : iterate();
    }
};

/// A system that fails does not keep the others from being solved; the first failure is told at the end.
Request next_of_many(core_int n, double* x, core_int count, const double* b, const Parameters& p, double* tmp)
{
    core_int* const made = p.ipar + words;
    core_int* const outcome = made + count;
    for (core_int& k = p[system]; k >= 0 && k < count;) {
        const Request request = Conjugate{n, x + k * n, b + k * n, p, tmp}.next();
        if (request > done || request == endless)
            return request;
        made[k] = p[iterations];
        outcome[k] = request;
        if (++k == count) {
            k = 0;
            const auto* const failed =
                std::find_if(outcome, outcome + count, [](core_int r) { return r != done; });
            return failed != outcome + count ? static_cast<Request>(*failed) : done;
        }
    }
    return count == 0 ? done : endless;
}

} // namespace
} // namespace qnm::core::iterative

using qnm::core::core_int;
using namespace qnm::core::iterative;

QNM_CORE void qnm_iss_dcg_init(const core_int* n, double*, const double*, core_int* rci_request,
                               core_int* ipar, double* dpar, double*)
{
    *rci_request = set_defaults(*n, {ipar, dpar}, false);
}
QNM_CORE void qnm_iss_dcg_check(const core_int* n, double*, const double*, core_int* rci_request,
                                core_int* ipar, double* dpar, double*)
{
    *rci_request = check(*n, {ipar, dpar}, false);
}
QNM_CORE void qnm_iss_dcg(const core_int* n, double* x, const double* b, core_int* rci_request,
                          core_int* ipar, double* dpar, double* tmp)
{
    *rci_request = Conjugate{*n, x, b, {ipar, dpar}, tmp}.next();
}
QNM_CORE void qnm_iss_dcg_get(const core_int*, double*, const double*, core_int*, core_int* ipar, double*,
                              double*, core_int* itercount)
{
    *itercount = ipar[iterations];
}

// There is one method.
QNM_CORE void qnm_iss_dcgmrhs_init(const core_int* n, double*, const core_int* nrhs, const double*,
                                   const core_int*, core_int* rci_request, core_int* ipar, double* dpar,
                                   double*)
{
    *rci_request = *nrhs < 0 ? no_size : set_defaults(*n, {ipar, dpar}, false);
    if (*rci_request == done)
        std::fill_n(ipar + words, 2 * *nrhs, 0);
}
QNM_CORE void qnm_iss_dcgmrhs_check(const core_int* n, double*, const core_int* nrhs, const double*,
                                    core_int* rci_request, core_int* ipar, double* dpar, double*)
{
    *rci_request = *nrhs < 0 ? refused : check(*n, {ipar, dpar}, false);
}
QNM_CORE void qnm_iss_dcgmrhs(const core_int* n, double* x, const core_int* nrhs, const double* b,
                              core_int* rci_request, core_int* ipar, double* dpar, double* tmp)
{
    *rci_request = next_of_many(*n, x, *nrhs, b, {ipar, dpar}, tmp);
}
QNM_CORE void qnm_iss_dcgmrhs_get(const core_int*, double*, const core_int*, const double*, core_int*,
                                  core_int* ipar, double*, double*, core_int* itercount)
{
    *itercount = ipar[iterations];
}
