// Flexible GMRES with restarts, after Saad (1993).
#include "parameters.hpp"

#include <qnm/core/solvers.h>

namespace qnm::core::iterative {
namespace {

enum Stage : core_int { begin = 1, begun, begun_again, prepared, expanded, tested, norm_tested };

/// `tmp` has m + 1 vectors of the basis, m preconditioned ones, the triangle that rotations leave of the
/// small matrix, the rotations, the small right-hand side that they turn, and the small solution.
struct Flexible {
    core_int n;
    double* x;
    const double* b;
    Parameters p;
    double* tmp;

    core_int most() const { return p[restart]; }
    double* vector(core_int j) const { return tmp + j * n; }
    double* improved(core_int j) const { return p[preconditioned] != 0 ? vector(most() + 1 + j) : vector(j); }
    double* column(core_int j) const { return vector(2 * most() + 1) + j * (j + 1) / 2; }
    double* cosines() const { return column(most()); }
    double* sines() const { return cosines() + most(); }
    double* turned() const { return sines() + most(); }
    double* solution() const { return turned() + most() + 1; }

    Request next() const
    {
        switch (p[stage]) {
        case begin:
            if (p.is_endless() || most() < 1)
                return endless;
            p[iterations] = p[inner] = 0;
            return multiply_approximation(begun);
        case begun:
        case begun_again:
            return start();
        case prepared:
            return ask(multiply, improved(p[inner]), vector(p[inner] + 1), expanded);
        case expanded:
            return expand();
        case tested:
            return test_new_vector();
        case norm_tested:
            return go_on();
        default:
            return endless;
        }
    }

    /// to := x + what the steps since the start or the last update have found.
    void update(double* to) const
    {
        double* const y = solution();
        for (core_int j = p[inner]; j-- > 0;)
            y[j] = turned()[j];
        for (core_int j = p[inner]; j-- > 0;) {
            const double* const r = column(j);
            y[j] /= r[j];
            for (core_int i = 0; i < j; ++i)
                y[i] -= r[i] * y[j];
        }
        if (to != x)
            std::copy_n(x, n, to);
        for (core_int j = 0; j < p[inner]; ++j)
            add(n, y[j], improved(j), to);
        if (to == x) // later steps add to this
            std::fill_n(turned(), p[inner], 0.0);
    }

private:
    Request ask(Request request, const double* from, const double* to, Stage then) const
    {
        p[source] = from - tmp + 1;
        p[product] = to - tmp + 1;
        return p.ask(request, then);
    }
    Request multiply_approximation(Stage then) const
    {
        std::copy_n(x, n, vector(1));
        return ask(multiply, vector(1), vector(0), then);
    }
    Request start() const
    {
        double* const left = vector(0);
        for (core_int i = 0; i < n; ++i)
            left[i] = b[i] - left[i];
        turned()[0] = norm_of(n, left);
        if (const Request verdict = p.judge(turned()[0], p[stage] == begun); verdict != multiply)
            return verdict;
        if (p.is_exhausted())
            return p.end(too_many);
        return take_in(turned()[0]);
    }
    /// Makes the newest vector one of the basis.
    Request take_in(double length) const
    {
        const core_int j = p[inner];
        double* const v = vector(j);
        for (core_int i = 0; i < n; ++i)
            v[i] /= length;
        return p[preconditioned] != 0 ? ask(precondition, v, improved(j), prepared)
                                      : ask(multiply, v, vector(j + 1), expanded);
    }
    Request expand() const
    {
        const core_int j = p[inner];
        double *const v = vector(j + 1), *const r = column(j), *const c = cosines(), *const s = sines();
        for (core_int i = 0; i <= j; ++i) {
            r[i] = dot(n, v, vector(i));
            add(n, -r[i], vector(i), v);
        }
        p[norm] = norm_of(n, v);
        for (core_int i = 0; i < j; ++i) {
            const double upper = r[i];
            r[i] = c[i] * upper + s[i] * r[i + 1];
            r[i + 1] = c[i] * r[i + 1] - s[i] * upper;
        }
        const double length = std::hypot(r[j], p[norm]);
        if (length == 0)
            return p.end(zero_division);
        c[j] = r[j] / length;
        s[j] = p[norm] / length;
        r[j] = length;
        turned()[j + 1] = -s[j] * turned()[j];
        turned()[j] *= c[j];
        ++p[iterations];
        ++p[inner];
        if (const Request verdict = p.judge(std::abs(turned()[j + 1]), false); verdict != multiply)
            return verdict;
        return p[asks_user] != 0 ? p.ask(test, tested) : test_new_vector();
    }
    Request test_new_vector() const
    {
        if (p[stops_by_norm] == 0)
            return p.ask(test_norm, norm_tested);
        return p[norm] <= p[least_norm] ? p.end(done) : go_on();
    }
    Request go_on() const
    {
        if (p.is_exhausted())
            return p.end(too_many);
        if (p[norm] == 0)
            return p.end(zero_division);
        if (p[inner] < most())
            return take_in(p[norm]);
        update(x);
        p[inner] = 0;
        return multiply_approximation(begun_again);
    }
};

} // namespace
} // namespace qnm::core::iterative

using qnm::core::core_int;
using namespace qnm::core::iterative;

QNM_CORE void qnm_iss_dfgmres_init(const core_int* n, double*, const double*, core_int* rci_request,
                                   core_int* ipar, double* dpar, double*)
{
    *rci_request = set_defaults(*n, {ipar, dpar}, true);
}
QNM_CORE void qnm_iss_dfgmres_check(const core_int* n, double*, const double*, core_int* rci_request,
                                    core_int* ipar, double* dpar, double*)
{
    *rci_request = check(*n, {ipar, dpar}, true);
}
QNM_CORE void qnm_iss_dfgmres(const core_int* n, double* x, const double* b, core_int* rci_request,
                              core_int* ipar, double* dpar, double* tmp)
{
    *rci_request = Flexible{*n, x, b, {ipar, dpar}, tmp}.next();
}
QNM_CORE void qnm_iss_dfgmres_get(const core_int* n, double* x, double* b, core_int* rci_request,
                                  core_int* ipar, double* dpar, double* tmp, core_int* itercount)
{
    *itercount = ipar[iterations];
    *rci_request = done;
    if (ipar[destination] >= 0)
        Flexible{*n, x, b, {ipar, dpar}, tmp}.update(ipar[destination] == 0 ? x : b);
}
