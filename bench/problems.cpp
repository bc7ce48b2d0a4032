// Poisson problems, beside real transforms of their size.
#include "transforms.hpp"

#include <complex>
#include <qnm/poisson.h>

namespace qnm::bench {
namespace {

/// A problem on n by n steps, whose ends are 1 where they are given: solved again and again it does not fade.
class Problem {
public:
    Problem(const Library& layer, int n, const char* sides)
        : solve_(entry<decltype(d_helmholtz_2d)>(layer, "d_helmholtz_2d")),
          f_(static_cast<std::size_t>((n + 1) * (n + 1)), 1.0),
          ends_(static_cast<std::size_t>(n + 1), 1.0)
    {
        const double from = 0, to = 1, q = 0;
        entry<decltype(d_init_helmholtz_2d)>(layer, "d_init_helmholtz_2d")(&from, &to, &from, &to, &n, &n,
                                                                           sides, &q, ipar_, par_, &stat_);
        run(entry<decltype(d_commit_helmholtz_2d)>(layer, "d_commit_helmholtz_2d"));
        run(solve_);
    }
    Problem(const Problem&) = delete;
    Problem& operator=(const Problem&) = delete;

    void solve() { call(solve_); }

private:
    template <class Step>
    void call(Step* step)
    {
        const double* const ends = ends_.data();
        step(f_.data(), ends, ends, ends, ends, &handle_, ipar_, par_, &stat_);
    }
    template <class Step>
    void run(Step* step)
    {
        call(step);
        if (stat_ != QNM_PDE_OK)
            fail("a Poisson problem has status " + std::to_string(stat_));
    }

    decltype(d_helmholtz_2d)* solve_;
    std::vector<double> f_, ends_;
    double par_[128] = {};
    int ipar_[128] = {}, stat_ = 0;
    qnm_dft_handle handle_ = nullptr;
};

} // namespace

std::unique_ptr<Work> problem(const Library& layer, int n, const char* sides)
{
    return work([=, x = std::make_shared<Problem>(layer, n, sides)] { x->solve(); });
}

std::unique_ptr<Work> real_pair(const Library& layer, int n)
{
    const auto lines = static_cast<std::size_t>(n);
    std::vector<double> x(lines * lines, 1.0);
    std::vector<std::complex<double>> y(lines * (lines / 2 + 1));
    auto* const out = reinterpret_cast<fftw_complex*>(y.data());
    const fftw_plan there = entry<decltype(fftw_plan_dft_r2c_2d)>(layer, "fftw_plan_dft_r2c_2d")(
        n, n, x.data(), out, FFTW_ESTIMATE);
    // Not into x: it would grow.
    std::vector<double> z(x.size());
    const fftw_plan back = entry<decltype(fftw_plan_dft_c2r_2d)>(layer, "fftw_plan_dft_c2r_2d")(
        n, n, out, z.data(), FFTW_ESTIMATE);
    auto* const execute = entry<decltype(fftw_execute)>(layer, "fftw_execute");
    return work([=, x = std::move(x), y = std::move(y), z = std::move(z)] {
        execute(there);
        execute(back);
    });
}

} // namespace qnm::bench
