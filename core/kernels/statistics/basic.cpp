// Extremes, moments, sums, covariance. A task with accumulated weights goes on from the results that are
// there.
#include "matrices.hpp"
#include "moments.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qnm::vsl::statistics {
namespace {

constexpr Mask mean = 0x1, skewness = 0x100, kurtosis = 0x80, variation = 0x200, least = 0x400,
               greatest = 0x800, covariance = 0x1000, correlation = 0x2000, sum = 0x2000000,
               cross_product = Mask{1} << 32, of_this_stage = 0x1fe0033ff, caller_mean = 0x100;
constexpr Mask raw_moment(int power)
{
    return Mask{1} << (power - 1);
}
constexpr Mask central_moment(int power)
{
    return Mask{8} << (power - 1);
}
constexpr Mask raw_sum(int power)
{
    return Mask{0x2000000} << (power - 1);
}
constexpr Mask central_sum(int power)
{
    return Mask{0x10000000} << (power - 1);
}

constexpr Asked extremes_asked[] = {{least, of_min}, {greatest, of_max}};
constexpr Asked basic_asked[] = {
    {mean, of_mean},
    {raw_moment(2), of_raw_moments},
    {raw_moment(3), of_raw_moments + 1},
    {raw_moment(4), of_raw_moments + 2},
    {central_moment(2), of_central_moments},
    {central_moment(3), of_central_moments + 1},
    {central_moment(4), of_central_moments + 2},
    {kurtosis, of_kurtosis},
    {skewness, of_skewness},
    {variation, of_variation},
    {covariance, of_cov},
    {correlation, of_cor},
    {sum, of_sum},
    {raw_sum(2), of_raw_sums},
    {raw_sum(3), of_raw_sums + 1},
    {raw_sum(4), of_raw_sums + 2},
    {central_sum(2), of_central_sums},
    {central_sum(3), of_central_sums + 1},
    {central_sum(4), of_central_sums + 2},
    {cross_product, of_cp},
};

/// What is there of earlier blocks.
template <class T>
struct Before {
    T* accumulated;
    Weight weight;

    explicit Before(const Task& task) : accumulated(array<T>(task, of_accumulated_weight))
    {
        if (accumulated != nullptr && accumulated[0] > 0)
            weight = {static_cast<double>(accumulated[0]), static_cast<double>(accumulated[1])};
    }
    bool any() const { return weight.sum > 0; }
    void add(Weight more)
    {
        if (accumulated == nullptr)
            return;
        weight += more;
        accumulated[0] = static_cast<T>(weight.sum);
        accumulated[1] = static_cast<T>(weight.squares);
    }
};

template <class T>
int minmax(Task& task, Mask asked, std::int64_t, Threader* threader)
{
    int status = tested(task, asked, extremes_asked);
    Sample<T> sample;
    if (status == ok)
        status = sample.open(task);
    if (status < 0)
        return status;
    const Room<double> low(sample.chosen), high(sample.chosen);
    if (!low || !high)
        return out_of_memory;
    Before<T> before(task);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    T* const results[] = {(asked & least) != 0 ? array<T>(task, of_min) : nullptr,
                          (asked & greatest) != 0 ? array<T>(task, of_max) : nullptr};
    const double none[] = {infinity, -infinity};
    double* const found[] = {low.get(), high.get()};
    for (int which = 0; which < 2; ++which)
        for (std::int64_t k = 0; k < sample.chosen; ++k)
            found[which][k] = results[which] != nullptr && before.any()
                                  ? static_cast<double>(results[which][sample.component[k]])
                                  : none[which];
    Weight weight;
    status = find_extremes(sample, threader, low.get(), high.get(), weight);
    if (status < 0)
        return status;
    for (int which = 0; which < 2; ++which)
        for (std::int64_t k = 0; results[which] != nullptr && k < sample.chosen; ++k)
            results[which][sample.component[k]] = static_cast<T>(found[which][k]);
    if ((asked & of_this_stage) == 0)
        before.add(weight); // else the next stage counts the block
    return ok;
}

/// What two arrays may hold: the sum of something, and the sum by a divisor.
template <class T>
struct Held {
    T *quotient = nullptr, *whole = nullptr;

    void open(const Task& task, Mask asked, Mask bit, int parameter, Mask whole_bit, int whole_parameter)
    {
        quotient = (asked & bit) != 0 ? array<T>(task, parameter) : nullptr;
        whole = (asked & whole_bit) != 0 ? array<T>(task, whole_parameter) : nullptr;
    }
    double get(std::int64_t i, bool any, double divisor) const
    {
        return any && whole != nullptr              ? static_cast<double>(whole[i])
               : divisor > 0 && quotient != nullptr ? static_cast<double>(quotient[i]) * divisor
                                                    : 0;
    }
    void set(std::int64_t i, double value, double divisor) const
    {
        if (whole != nullptr)
            whole[i] = static_cast<T>(value);
        if (quotient != nullptr)
            quotient[i] = static_cast<T>(value / divisor);
    }
};

/// A thing that two results show: with one of them, later blocks can go on.
struct Shown {
    Mask bits[2];
    int parameters[2];
    Mask needed_by;
};
constexpr Mask fourth_power = central_moment(4) | central_sum(4) | kurtosis;
constexpr Mask third_power = fourth_power | central_moment(3) | central_sum(3) | skewness;
constexpr Mask second_power = third_power | central_moment(2) | central_sum(2) | variation;
constexpr Mask products = covariance | correlation | cross_product;
constexpr Shown shown[] = {
    {{mean, sum}, {of_mean, of_sum}, second_power | products | mean | sum},
    {{central_moment(2), central_sum(2)}, {of_central_moments, of_central_sums}, second_power},
    {{central_moment(3), central_sum(3)}, {of_central_moments + 1, of_central_sums + 1}, third_power},
    {{central_moment(4), central_sum(4)}, {of_central_moments + 2, of_central_sums + 2}, fourth_power},
    {{covariance, cross_product}, {of_cov, of_cp}, products},
};

/// With accumulated weights, all that a later block has to know is a result too.
int add_needed(const Task& task, bool going_on, Mask& asked)
{
    Mask more = 0;
    for (const Shown& one : shown) {
        if ((asked & one.needed_by) == 0)
            continue;
        bool any = false;
        for (int i = 0; i < 2; ++i)
            if (address(task, one.parameters[i]) != nullptr) {
                more |= one.bits[i];
                any = true;
            }
        if (going_on && !any)
            return missing(one.parameters[0]);
    }
    asked |= more;
    return ok;
}

/// About another centre.
Central moved(const Central& of, double weight, double centre)
{
    const double d = of.mean - centre;
    return {centre, of.second + weight * d * d, of.third + d * (3 * of.second + weight * d * d),
            of.fourth + d * (4 * of.third + d * (6 * of.second + weight * d * d))};
}

template <class T>
int basic(Task& task, Mask asked, std::int64_t method, Threader* threader)
{
    const bool about_caller_mean = (method & caller_mean) != 0;
    if (about_caller_mean && address(task, of_mean) == nullptr)
        return missing(of_mean);
    Before<T> before(task);
    int status = tested(task, asked, basic_asked);
    if (status == ok && before.accumulated != nullptr)
        status = add_needed(task, before.any(), asked);
    Sample<T> sample;
    if (status == ok)
        status = sample.open(task);
    if (status < 0)
        return status;
    Matrix<T> cov, cor, cp;
    if ((status = open_matrix(task, of_cov, of_cov_storage, sample.p, (asked & covariance) != 0, cov)) < 0 ||
        (status = open_matrix(task, of_cor, of_cor_storage, sample.p, (asked & correlation) != 0, cor)) < 0 ||
        (status = open_matrix(task, of_cp, of_cp_storage, sample.p, (asked & cross_product) != 0, cp)) < 0)
        return status;
    const int degree = (asked & (fourth_power | raw_moment(4) | raw_sum(4))) != 0   ? 4
                       : (asked & (third_power | raw_moment(3) | raw_sum(3))) != 0  ? 3
                       : (asked & (second_power | raw_moment(2) | raw_sum(2))) != 0 ? 2
                                                                                    : 1;
    Moments found;
    const std::int64_t columns = sample.chosen;
    const Room<double> far(columns);
    status = far ? find_moments(sample, degree, (asked & products) != 0, threader, found) : out_of_memory;
    if (status < 0)
        return status;

    // From here on nothing fails.
    const double old = before.weight.sum, here = found.weight.sum, all = old + here;
    const double old_freedom = before.any() ? before.weight.freedom() : 0;
    Weight weight = before.weight;
    weight += found.weight;
    const double freedom = weight.freedom(), both = old * here / all;
    T* const means = array<T>(task, of_mean);
    Held<T> first, raw[5], central[5];
    first.open(task, asked, mean, of_mean, sum, of_sum);
    for (int power = 2; power <= 4; ++power) {
        raw[power].open(task, asked, raw_moment(power), of_raw_moments + power - 2, raw_sum(power),
                        of_raw_sums + power - 2);
        central[power].open(task, asked, central_moment(power), of_central_moments + power - 2,
                            central_sum(power), of_central_sums + power - 2);
    }
    const auto result = [&](Mask bit, int parameter) {
        return (asked & bit) != 0 ? array<T>(task, parameter) : nullptr;
    };
    T *const skewnesses = result(skewness, of_skewness), *const kurtoses = result(kurtosis, of_kurtosis),
             *const variations = result(variation, of_variation);
    for (std::int64_t k = 0; k < columns; ++k) {
        const std::int64_t at = sample.component[k];
        Central block = found.central[k];
        const Central about_zero = moved(block, here, 0);
        const double of_raw[] = {0, 0, about_zero.second, about_zero.third, about_zero.fourth};
        for (int power = 2; power <= 4; ++power) {
            // Each continues what itself holds.
            Held<T> moment{raw[power].quotient, nullptr}, total{nullptr, raw[power].whole};
            for (const Held<T>& one : {moment, total})
                one.set(at, one.get(at, before.any(), old) + of_raw[power], all);
        }
        const double before_sum = first.get(at, before.any(), old);
        const double block_sum = here * block.mean;
        Central earlier{before.any() ? before_sum / old : 0, central[2].get(at, before.any(), old_freedom),
                        central[3].get(at, before.any(), old), central[4].get(at, before.any(), old)};
        if (about_caller_mean) {
            const double centre = static_cast<double>(means[at]);
            far[k] = block.mean - centre;
            block = moved(block, here, centre);
            earlier.mean = centre;
            if (first.whole != nullptr)
                first.whole[at] =
                    static_cast<T>((before.any() ? static_cast<double>(first.whole[at]) : 0) + block_sum);
        } else {
            far[k] = block.mean - earlier.mean;
        }
        const Central total = joined(old, earlier, here, block);
        if (!about_caller_mean) {
            if (first.whole != nullptr)
                first.whole[at] = static_cast<T>(before_sum + block_sum);
            if (first.quotient != nullptr)
                first.quotient[at] = static_cast<T>(total.mean);
        }
        const double square = total.second / freedom;
        central[2].set(at, total.second, freedom);
        central[3].set(at, total.third, all);
        central[4].set(at, total.fourth, all);
        if (skewnesses != nullptr)
            skewnesses[at] = static_cast<T>(total.third / all / (square * std::sqrt(square)));
        if (kurtoses != nullptr)
            kurtoses[at] = static_cast<T>(total.fourth / all / (square * square) - 3);
        if (variations != nullptr)
            variations[at] = static_cast<T>(std::sqrt(square) / total.mean);
    }
    if ((asked & products) != 0) {
        double* const product = found.products.get();
        const double weight_of_far = about_caller_mean ? here : both;
        for (std::int64_t i = 0; i < columns; ++i)
            for (std::int64_t j = 0; j <= i; ++j) {
                const std::int64_t row = sample.component[i], column = sample.component[j];
                double& sum_here = product[i * columns + j];
                if (about_caller_mean || before.any())
                    sum_here += far[i] * far[j] * weight_of_far;
                if (before.any())
                    sum_here += cp                ? cp.get(row, column)
                                : old_freedom > 0 ? cov.get(row, column) * old_freedom
                                                  : 0;
            }
        for (std::int64_t i = 0; i < columns; ++i)
            for (std::int64_t j = 0; j <= i; ++j) {
                const std::int64_t row = sample.component[i], column = sample.component[j];
                const double value = product[i * columns + j];
                if (cov)
                    cov.set(row, column, value / freedom);
                if (cp)
                    cp.set(row, column, value);
                if (cor)
                    cor.set(row, column,
                            i == j ? 1
                                   : value / (std::sqrt(product[i * columns + i]) *
                                              std::sqrt(product[j * columns + j])));
            }
    }
    before.add(found.weight);
    return ok;
}

} // namespace
} // namespace qnm::vsl::statistics

QNM_STAGE(SSMinmax, qnm::vsl::statistics::minmax)
QNM_STAGE(SSBasic, qnm::vsl::statistics::basic)
