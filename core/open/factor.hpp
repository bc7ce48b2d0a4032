// LU factors without pivots, over the engine's level 3.
#pragma once

#include "engine.hpp"
#include "services.hpp"

namespace qnm::core {

// The first `factors` steps: A = L U in their rows and columns, what is left of A in the others. Returns the
// one-based index of the first pivot that is zero, or 0.
template <class T>
core_int factor(core_int m, core_int n, core_int factors, T* a, core_int lda)
{
    constexpr core_int panel = 32;
    const T one = 1, minus_one = -1;
    core_int singular = 0;
    for (core_int first = 0; first < factors; first += panel) {
        const core_int width = std::min(panel, factors - first), last = first + width;
        for (core_int j = first; j < last; ++j) {
            T* column = a + j * lda;
            if (column[j] == T{}) {
                singular = singular != 0 ? singular : j + 1;
                continue;
            }
            for (core_int i = j + 1; i < m; ++i)
                column[i] /= column[j];
            for (core_int k = j + 1; k < last; ++k)
                for (core_int i = j + 1; i < m; ++i)
                    a[i + k * lda] -= column[i] * a[j + k * lda];
        }
        const core_int below = m - last, right = n - last;
        if (right > 0) {
            T* across = a + first + last * lda;
            Engine<T>::trsm("L", "L", "N", "U", &width, &right, &one, a + first + first * lda, &lda, across,
                            &lda);
            if (below > 0)
                Engine<T>::gemm("N", "N", &below, &right, &width, &minus_one, a + last + first * lda, &lda,
                                across, &lda, &one, across + width, &lda);
        }
    }
    return singular;
}

// op(A) X = B with these factors.
template <class T>
void solve(const char* trans, core_int n, core_int nrhs, const T* a, core_int lda, T* b, core_int ldb)
{
    const T one = 1;
    const bool plain = is_letter(trans, 'N');
    for (int step = 0; step < 2; ++step) {
        const bool lower = plain == (step == 0);
        Engine<T>::trsm("L", lower ? "L" : "U", trans, lower ? "U" : "N", &n, &nrhs, &one, a, &lda, b, &ldb);
    }
}

// A X = B with a tridiagonal A that needs no exchanges: L, of which dl gets the multipliers, and U, d with
// du. Returns the one-based index of the first pivot that is zero, or 0; B is left alone then.
template <class T>
core_int solve_dominant(core_int n, core_int nrhs, T* dl, T* d, const T* du, T* b, core_int ldb)
{
    for (core_int i = 0; i < n; ++i) {
        if (d[i] == T{})
            return i + 1;
        if (i + 1 < n) {
            dl[i] /= d[i];
            d[i + 1] -= dl[i] * du[i];
        }
    }
    for (T* x = b; n > 0 && x != b + nrhs * ldb; x += ldb) {
        for (core_int i = 1; i < n; ++i)
            x[i] -= dl[i - 1] * x[i - 1];
        x[n - 1] /= d[n - 1];
        for (core_int i = n - 1; i-- > 0;)
            x[i] = (x[i] - du[i] * x[i + 1]) / d[i];
    }
    return 0;
}

// inv(A) from these factors; `pivots` has room for n integers.
template <class T>
core_int invert(core_int n, T* a, core_int lda, core_int* pivots, T* work, core_int lwork)
{
    for (core_int i = 0; i < n; ++i)
        pivots[i] = i + 1;
    core_int info = 0;
    Engine<T>::getri(&n, a, &lda, pivots, work, &lwork, &info);
    return info;
}

} // namespace qnm::core
