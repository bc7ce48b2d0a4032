// Jacobians by central differences.
#include "status.hpp"

#include <cmath>

namespace qnm::core::trust {
namespace {

enum Request : core_int { finished = 0, ahead = 1, behind = 2 };

template <class T>
class Differences {
public:
    Differences(core_int n, core_int m, T* x, T* fjac, T eps) : n_(n), m_(m), x_(x), fjac_(fjac), eps_(eps) {}

    static bool is_good(core_int n, core_int m, T eps)
    {
        return n >= 1 && m >= 1 && eps > 0 && std::isfinite(eps);
    }

    /// Asks for the functions at x ahead and behind, a variable after the other.
    Request next(const T* f1, const T* f2)
    {
        if (asked_ == ahead) {
            x_[variable_] = middle_ - step_;
            behind_ = x_[variable_];
            return asked_ = behind;
        }
        if (asked_ == behind) {
            x_[variable_] = middle_;
            for (core_int i = 0; i < m_; ++i)
                fjac_[i + variable_ * m_] = (f1[i] - f2[i]) / (ahead_ - behind_);
            ++variable_;
        }
        if (variable_ == n_) {
            variable_ = 0;
            return asked_ = finished;
        }
        middle_ = x_[variable_];
        step_ = eps_ * (middle_ != 0 ? std::abs(middle_) : T(1));
        ahead_ = x_[variable_] = middle_ + step_;
        return asked_ = ahead;
    }

private:
    core_int n_, m_;
    T *x_, *fjac_;
    T eps_;
    core_int variable_ = 0;
    Request asked_ = finished;
    T middle_ = 0, step_ = 0, ahead_ = 0, behind_ = 0;
};

/// function(m, n, x, f)
template <class T, class Function>
Status differentiate(core_int n, core_int m, T* fjac, const T* x, T eps, const Function& function)
{
    if (!Differences<T>::is_good(n, m, eps))
        return invalid;
    return guarded<no_memory, invalid>([&] {
        const Array<T> at(n), f1(m), f2(m);
        std::copy_n(x, n, at.get());
        Differences<T> differences(n, m, at.get(), fjac, eps);
        while (const Request request = differences.next(f1.get(), f2.get())) {
            core_int rows = m, columns = n; // which the function is free to change
            function(&rows, &columns, at.get(), request == ahead ? f1.get() : f2.get());
        }
        return success;
    });
}

} // namespace
} // namespace qnm::core::trust

using qnm::core::core_int;
using namespace qnm::core::trust;

#define QNM_JACOBI(l, L, T)                                                                                  \
    QNM_CORE int qnm_trs_##l##jacobi_init(void** handle, const core_int* n, const core_int* m, T* x,         \
                                          T* fjac, const T* eps)                                             \
    {                                                                                                        \
        if (handle == nullptr || x == nullptr || fjac == nullptr || eps == nullptr ||                        \
            !Differences<T>::is_good(*n, *m, *eps))                                                          \
            return invalid;                                                                                  \
        return hold(handle, [&] { return new Differences<T>(*n, *m, x, fjac, *eps); });                      \
    }                                                                                                        \
    QNM_CORE int qnm_trs_##l##jacobi_solve(void** handle, const T* f1, const T* f2, core_int* rci_request)   \
    {                                                                                                        \
        return with<Differences<T>>(handle, [&](auto& differences) {                                         \
            *rci_request = differences.next(f1, f2);                                                         \
            return success;                                                                                  \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE int qnm_trs_##l##jacobi_delete(void** handle)                                                   \
    {                                                                                                        \
        return release<Differences<T>>(handle);                                                              \
    }                                                                                                        \
    QNM_CORE int qnm_trs_##l##jacobi(void (*fcn)(core_int*, core_int*, T*, T*), const core_int* n,           \
                                     const core_int* m, T* fjac, const T* x, const T* eps)                   \
    {                                                                                                        \
        return differentiate<T>(*n, *m, fjac, x, *eps, fcn);                                                 \
    }                                                                                                        \
    QNM_CORE int qnm_trs_##l##jacobix(void (*fcn)(core_int*, core_int*, T*, T*, void*), const core_int* n,   \
                                      const core_int* m, T* fjac, const T* x, const T* eps, void* user_data) \
    {                                                                                                        \
        return differentiate<T>(*n, *m, fjac, x, *eps, [&](core_int* rows, core_int* columns, T* at, T* f) { \
            fcn(rows, columns, at, f, user_data);                                                            \
        });                                                                                                  \
    }
QNM_REAL_LETTERS(QNM_JACOBI)
