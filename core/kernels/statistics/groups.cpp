// Covariance by groups, and what is made of covariances.
#include "matrices.hpp"
#include "moments.hpp"

#include <algorithm>
#include <limits>

namespace qnm::vsl::statistics {
namespace {

constexpr Mask pooled_cov = 0x4000, group_cov = 0x8000, pooled_mean = Mask{1} << 35,
               group_mean = Mask{1} << 36, partial_cov = 0x100000, partial_cor = 0x200000,
               parametrized = 0x800000;

/// Observations by their groups, whose numbers begin with 0.
struct Groups {
    std::int64_t count = 0;
    Room<std::int64_t> first, rows; // rows of group g: first[g] up to first[g + 1]

    int open(const Task& task, std::int64_t n)
    {
        for (std::int64_t i = 0; i < n; ++i) {
            const std::int64_t group = integer(task, of_groups, i);
            if (group < 0 || group >= n)
                return unfit(of_groups);
            count = std::max(count, group + 1);
        }
        first = Room<std::int64_t>(count + 2);
        rows = Room<std::int64_t>(n);
        if (!first || !rows)
            return out_of_memory;
        for (std::int64_t i = 0; i < n; ++i)
            ++first[integer(task, of_groups, i) + 2];
        for (std::int64_t g = 2; g < count + 2; ++g)
            first[g] += first[g - 1];
        for (std::int64_t i = 0; i < n; ++i)
            rows[first[integer(task, of_groups, i) + 1]++] = i;
        return ok;
    }
};

template <class T>
int pool(Task& task, Mask asked, std::int64_t, Threader* threader)
{
    const Mask of_some = group_cov | group_mean;
    const Asked results[] = {{pooled_cov, of_pooled_cov},    {pooled_mean, of_pooled_mean},
                             {group_cov, of_group_cov},      {group_mean, of_group_means},
                             {of_some, of_requested_groups}, {~Mask{}, of_groups}};
    Sample<T> sample;
    Groups groups;
    Matrix<T> pooled, of_group;
    int status = tested(task, asked, results);
    if (status < 0 || (status = sample.open(task)) < 0 || (status = groups.open(task, sample.n)) < 0 ||
        (status = open_matrix(task, of_pooled_cov, of_pooled_cov_storage, sample.p, (asked & pooled_cov) != 0,
                              pooled)) < 0 ||
        (status = open_matrix(task, of_group_cov, of_group_cov_storage, sample.p, (asked & group_cov) != 0,
                              of_group)) < 0)
        return status;
    const std::int64_t columns = sample.chosen;
    const Room<double> products(columns * columns), means(columns), of_groups_means(groups.count * columns),
        of_groups_products(groups.count * columns * columns);
    const Room<Weight> weights(groups.count);
    if (!products || !means || !of_groups_means || !of_groups_products || !weights)
        return out_of_memory;
    double weight = 0, freedom = 0;
    for (std::int64_t g = 0; g < groups.count; ++g) {
        weights[g] = {};
        sample.rows = groups.rows.get() + groups.first[g];
        sample.count = groups.first[g + 1] - groups.first[g];
        if (sample.count == 0)
            continue;
        Moments moments;
        if ((status = find_moments(sample, 1, true, threader, moments)) < 0)
            return status;
        weights[g] = moments.weight;
        weight += moments.weight.sum;
        freedom += moments.weight.freedom();
        for (std::int64_t k = 0; k < columns; ++k) {
            of_groups_means[g * columns + k] = moments.central[k].mean;
            means[k] += moments.weight.sum * moments.central[k].mean;
        }
        for (std::int64_t k = 0; k < columns * columns; ++k) {
            of_groups_products[g * columns * columns + k] = moments.products[k];
            products[k] += moments.products[k];
        }
    }
    const auto put = [&](const Matrix<T>& to, const double* from, double divisor) {
        for (std::int64_t i = 0; to && i < columns; ++i)
            for (std::int64_t j = 0; j <= i; ++j)
                to.set(sample.component[i], sample.component[j], from[i * columns + j] / divisor);
    };
    put(pooled, products.get(), freedom);
    for (std::int64_t k = 0; (asked & pooled_mean) != 0 && k < columns; ++k)
        array<T>(task, of_pooled_mean)[sample.component[k]] = static_cast<T>(means[k] / weight);
    // Groups that are asked for follow each other.
    std::int64_t place = 0;
    for (std::int64_t g = 0; (asked & of_some) != 0 && g < groups.count; ++g) {
        if (integer(task, of_requested_groups, g) == 0)
            continue;
        for (std::int64_t k = 0; (asked & group_mean) != 0 && weights[g].sum > 0 && k < columns; ++k)
            array<T>(task, of_group_means)[place * sample.p + sample.component[k]] =
                static_cast<T>(of_groups_means[g * columns + k]);
        Matrix<T> to = of_group;
        if (to && weights[g].sum > 0) {
            to.to += place * to.numbers();
            put(to, of_groups_products.get() + g * columns * columns, weights[g].freedom());
        }
        ++place;
    }
    return ok;
}

/// What is left of the components marked 1 when those marked -1 are known; 0: left out.
template <class T>
int partial(Task& task, Mask asked, std::int64_t, Threader*)
{
    const Asked results[] = {{partial_cov, of_partial_cov},
                             {partial_cor, of_partial_cor},
                             {~Mask{}, of_partial_indices},
                             {~Mask{}, address(task, of_cov) != nullptr ? of_cov : of_cor}};
    int status = tested(task, asked, results);
    if (status < 0)
        return status;
    const std::int64_t p = integer(task, of_dimension);
    const Room<std::int64_t> order(p);
    const Room<double> a(p * p);
    if (!order || !a)
        return out_of_memory;
    std::int64_t known = 0, all = 0;
    for (const int kind : {-1, 1}) {
        for (std::int64_t i = 0; i < p; ++i) {
            const std::int64_t index = integer(task, of_partial_indices, i);
            if (index < -1 || index > 1)
                return unfit(of_partial_indices);
            if (index == kind)
                order[all++] = i;
        }
        known = kind == -1 ? all : known;
    }
    const std::int64_t left = all - known;
    Matrix<T> from, cov, cor;
    const bool by_cov = address(task, of_cov) != nullptr;
    if (left == 0)
        return unfit(of_partial_indices);
    if ((status = open_matrix(task, by_cov ? of_cov : of_cor, by_cov ? of_cov_storage : of_cor_storage, p,
                              true, from)) < 0 ||
        (status = open_matrix(task, of_partial_cov, of_partial_cov_storage, left, (asked & partial_cov) != 0,
                              cov)) < 0 ||
        (status = open_matrix(task, of_partial_cor, of_partial_cor_storage, left, (asked & partial_cor) != 0,
                              cor)) < 0)
        return status;
    for (std::int64_t i = 0; i < all; ++i)
        for (std::int64_t j = 0; j <= i; ++j)
            a[i * all + j] = from.get(order[i], order[j]);
    // Schur's complement: elimination as far as the known ones go.
    for (std::int64_t k = 0; k < known; ++k) {
        const double pivot = a[k * all + k];
        if (!(pivot > 1e-13 * from.get(order[k], order[k])))
            return unfit(by_cov ? of_cov : of_cor);
        for (std::int64_t i = k + 1; i < all; ++i)
            for (std::int64_t j = k + 1; j <= i; ++j)
                a[i * all + j] -= a[i * all + k] * a[j * all + k] / pivot;
    }
    for (std::int64_t i = 0; i < left; ++i)
        for (std::int64_t j = 0; j <= i; ++j) {
            const auto value = [&](std::int64_t row, std::int64_t column) {
                return a[(known + row) * all + known + column];
            };
            if (cov)
                cov.set(i, j, value(i, j));
            if (cor)
                cor.set(i, j, i == j ? 1 : value(i, j) / std::sqrt(value(i, i) * value(j, j)));
        }
    return ok;
}

/// Rebonato and Jäckel 2000: eigenvalues that are too low are raised, then the diagonal is made 1 again.
template <class T>
int parametrize(Task& task, Mask asked, std::int64_t, Threader*)
{
    constexpr Asked results[] = {{parametrized, of_cor}, {parametrized, of_parametrized}};
    int status = tested(task, asked, results);
    if (status < 0)
        return status;
    const std::int64_t p = integer(task, of_dimension);
    Matrix<T> from, to;
    if ((status = open_matrix(task, of_cor, of_cor_storage, p, true, from)) < 0 ||
        (status = open_matrix(task, of_parametrized, of_parametrized_storage, p, true, to)) < 0)
        return status;
    const Room<double> a(p * p), v(p * p), b(p * p);
    if (!a || !v || !b)
        return out_of_memory;
    for (std::int64_t i = 0; i < p; ++i)
        for (std::int64_t j = 0; j < p; ++j)
            a[i * p + j] = i == j ? 1 : from.get(i > j ? i : j, i > j ? j : i);
    find_eigenvalues(p, a.get(), v.get());
    double greatest = 0;
    for (std::int64_t k = 0; k < p; ++k)
        greatest = std::max(greatest, a[k * p + k]);
    // High enough for Cholesky's factorisation of the rounded result.
    const double least =
        4 * static_cast<double>(p) * static_cast<double>(std::numeric_limits<T>::epsilon()) * greatest;
    for (std::int64_t i = 0; i < p; ++i) {
        double norm = 0;
        for (std::int64_t k = 0; k < p; ++k) {
            const double x = v[i * p + k] * std::sqrt(std::max(a[k * p + k], least));
            b[i * p + k] = x;
            norm += x * x;
        }
        for (std::int64_t k = 0; k < p; ++k)
            b[i * p + k] /= std::sqrt(norm);
    }
    for (std::int64_t i = 0; i < p; ++i)
        for (std::int64_t j = 0; j <= i; ++j) {
            double sum = 0;
            for (std::int64_t k = 0; k < p; ++k)
                sum += b[i * p + k] * b[j * p + k];
            to.set(i, j, i == j ? 1 : sum);
        }
    return ok;
}

} // namespace
} // namespace qnm::vsl::statistics

QNM_STAGE(SSPooledCovariance, qnm::vsl::statistics::pool)
QNM_STAGE(SSPartialCovariance, qnm::vsl::statistics::partial)
QNM_STAGE(SSCorParametrization, qnm::vsl::statistics::parametrize)
