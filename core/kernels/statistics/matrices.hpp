// Symmetric matrices: how results store them, and what small ones are asked for.
#pragma once

#include "task.hpp"

#include <cmath>
#include <utility>

namespace qnm::vsl::statistics {

/// Full, the lower triangle by rows, or the upper one by rows.
enum MatrixStorage : std::int64_t { full = 0, lower_packed = 1, upper_packed = 2 };

template <class T>
struct Matrix {
    T* to = nullptr;
    std::int64_t storage = full, size = 0;

    explicit operator bool() const { return to != nullptr; }
    std::int64_t place(std::int64_t i, std::int64_t j) const
    {
        const std::int64_t low = i < j ? i : j, high = i < j ? j : i;
        return storage == full           ? i * size + j
               : storage == lower_packed ? high * (high + 1) / 2 + low
                                         : low * size - low * (low - 1) / 2 + high - low;
    }
    double get(std::int64_t i, std::int64_t j) const { return static_cast<double>(to[place(i, j)]); }
    void set(std::int64_t i, std::int64_t j, double value) const
    {
        to[place(i, j)] = to[place(j, i)] = static_cast<T>(value);
    }
    std::int64_t numbers() const { return storage == full ? size * size : size * (size + 1) / 2; }
};

/// That of two parameters; none if its address is null or nobody wants it.
template <class T>
int open_matrix(const Task& task, int parameter, int storage_parameter, std::int64_t size, bool wanted,
                Matrix<T>& matrix)
{
    matrix = {wanted ? array<T>(task, parameter) : nullptr, integer_or(task, storage_parameter, full), size};
    return !matrix || (matrix.storage >= full && matrix.storage <= upper_packed) ? ok
                                                                                 : unfit(storage_parameter);
}

/// A square by rows, of which the lower triangle counts. Cholesky's factor in its place; false if a pivot is
/// not above `least` times the diagonal that was there.
inline bool factor(std::int64_t n, double* a, double least = 1e-13)
{
    for (std::int64_t j = 0; j < n; ++j) {
        double* const row = a + j * n;
        double pivot = row[j];
        for (std::int64_t k = 0; k < j; ++k)
            pivot -= row[k] * row[k];
        if (!(pivot > least * row[j]))
            return false;
        row[j] = std::sqrt(pivot);
        for (std::int64_t i = j + 1; i < n; ++i) {
            double sum = a[i * n + j];
            for (std::int64_t k = 0; k < j; ++k)
                sum -= a[i * n + k] * row[k];
            a[i * n + j] = sum / row[j];
        }
    }
    return true;
}
/// L^-1 x in the place of x.
inline void solve(std::int64_t n, const double* factor, double* x)
{
    for (std::int64_t i = 0; i < n; ++i) {
        double sum = x[i];
        for (std::int64_t k = 0; k < i; ++k)
            sum -= factor[i * n + k] * x[k];
        x[i] = sum / factor[i * n + i];
    }
}

/// Jacobi's rotations: eigenvalues on the diagonal of the whole square a, vectors in the columns of v.
inline void find_eigenvalues(std::int64_t n, double* a, double* v)
{
    for (std::int64_t i = 0; i < n * n; ++i)
        v[i] = i % (n + 1) == 0 ? 1 : 0;
    const auto rotate = [](double& x, double& y, double sine, double cosine) {
        const double first = x;
        x = cosine * first - sine * y;
        y = sine * first + cosine * y;
    };
    constexpr int most_sweeps = 60;
    for (int sweep = 0; sweep < most_sweeps; ++sweep) {
        bool changed = false;
        for (std::int64_t i = 0; i < n; ++i)
            for (std::int64_t j = i + 1; j < n; ++j) {
                const double off = a[i * n + j];
                if (!(off * off > 1e-34 * std::abs(a[i * n + i] * a[j * n + j]) && std::abs(off) > 1e-300))
                    continue;
                changed = true;
                const double theta = (a[j * n + j] - a[i * n + i]) / (2 * off);
                const double tangent = std::copysign(1 / (std::abs(theta) + std::hypot(theta, 1)), theta);
                const double cosine = 1 / std::hypot(tangent, 1), sine = tangent * cosine;
                for (std::int64_t k = 0; k < n; ++k)
                    rotate(a[k * n + i], a[k * n + j], sine, cosine);
                for (std::int64_t k = 0; k < n; ++k)
                    rotate(a[i * n + k], a[j * n + k], sine, cosine);
                for (std::int64_t k = 0; k < n; ++k)
                    rotate(v[k * n + i], v[k * n + j], sine, cosine);
            }
        if (!changed)
            return;
    }
}

} // namespace qnm::vsl::statistics
