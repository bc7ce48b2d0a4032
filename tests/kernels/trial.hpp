// A promise on trial: points, their exact values, and what each instruction set and level makes of them.
#pragma once

#include "kernels/contract.hpp"
#include "promises.hpp"

#include <bit>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <dlfcn.h>
#include <random>
#include <vector>

namespace qnm::witness {

template <class T>
T symbol(const std::string& name)
{
    static void* const library = dlopen(QNM_KERNELS_FILE, RTLD_NOW | RTLD_LOCAL);
    return library == nullptr ? nullptr
                              : reinterpret_cast<T>(dlsym(library, ("qnm_vml_kernel_" + name).c_str()));
}

/// An instruction set, by the processor type that asks for it.
struct Set {
    const char* name;
    int type;
    bool fma;

    int table() const { return symbol<int (*)(int)>("GetTTableIndex")(type); }
};
inline constexpr Set sets[] = {{"SSE2", 0, false}, {"AVX2", 6, true}, {"AVX-512", 7, true}};

/// Edges, and points of a range: half of them even in size, half in exponent, some at its multiples.
template <class T>
std::vector<T> points(const Range& range, std::size_t count, unsigned seed, bool edges = true)
{
    using Limits = std::numeric_limits<T>;
    constexpr bool single = std::is_same_v<T, float>;
    std::vector<T> made;
    for (const T edge : {T(0), Limits::denorm_min(), Limits::min(), Limits::epsilon(), T(0.5), T(1), T(2),
                         T(100), Limits::max(), Limits::infinity(), Limits::quiet_NaN()})
        for (const T x : {edge, -edge, std::nextafter(edge, T(0)), std::nextafter(-edge, T(0))})
            if (edges && range.edges)
                made.push_back(x);
    std::mt19937_64 random(seed);
    const double most{Limits::max()};
    const T first = static_cast<T>(std::max(single ? range.low_s : range.low, -most));
    const T last = static_cast<T>(std::min(single ? range.high_s : range.high, most));
    std::uniform_real_distribution<double> part(0, 1),
        exponent(Limits::min_exponent - 3, Limits::max_exponent);
    while (made.size() < count) {
        const T even = static_cast<T>(first * (1 - part(random)) + last * part(random));
        const T sized =
            static_cast<T>(std::ldexp(part(random) < 0.5 ? -1.5 : 1.25, static_cast<int>(exponent(random))) *
                           (1 + part(random)));
        const auto keep = [&](T x) {
            if (x >= first && x <= last)
                made.push_back(range.whole ? std::rint(x) : x);
        };
        keep(even);
        keep(sized);
        if (range.every != 0) {
            const double multiple = std::floor(std::exp2(20 * part(random))) * (part(random) < 0.5 ? -1 : 1);
            const T there = static_cast<T>(range.every * multiple);
            for (const T x : {there, std::nextafter(there, T(0)), std::nextafter(there, 2 * there)})
                keep(x);
        }
    }
    made.resize(count);
    return made;
}

/// Points by a seed; or all numbers of single precision from a place on, by their bits.
struct Sample {
    std::size_t count;
    std::uint32_t seed = 1;
    bool all_floats = false;
    bool edges = true;
};

template <class T>
struct PartOf {
    using Type = T;
};
template <class T>
struct PartOf<std::complex<T>> {
    using Type = T;
};

template <class In>
std::vector<In> arguments(const Range& range, const Sample& sample)
{
    using T = typename PartOf<In>::Type;
    if constexpr (std::is_same_v<In, float>)
        if (sample.all_floats) {
            std::vector<In> made;
            for (std::uint32_t i = 0; i < sample.count; ++i)
                made.push_back(std::bit_cast<float>(sample.seed + i));
            return made;
        }
    std::vector<T> real = points<T>(range, sample.count, sample.seed, sample.edges);
    if constexpr (std::is_same_v<In, T>)
        return real;
    else {
        std::vector<T> imaginary = points<T>(range, sample.count, ~sample.seed, sample.edges);
        std::shuffle(imaginary.begin(), imaginary.end(), std::mt19937_64(sample.seed));
        std::vector<In> made;
        for (std::size_t i = 0; i < sample.count; ++i)
            made.emplace_back(real[i], imaginary[i]);
        return made;
    }
}

/// The greatest error that a set and level showed, and where.
struct Greatest {
    double error = 0;
    std::string where;
};

template <class In, class Out>
class Trial {
public:
    Trial(const Promise& promise, char letter, const Sample& sample)
        : promise_(promise),
          letter_(letter),
          a_(arguments<In>(promise.range[0], sample)),
          b_(a_),
          width_(is_complex || promise.form.outputs == 2 ? 2 : 1),
          exact_(sample.count * width_)
    {
        if (promise.form.inputs + promise.form.scalars > 1)
            b_ = arguments<In>(promise.range[1],
                               {sample.count, sample.seed ^ 0x5A5A5A5AU, false, sample.edges});
        const auto operands =
            static_cast<std::size_t>(promise.form.inputs) + static_cast<std::size_t>(promise.form.scalars);
        std::vector<Number> x(operands), y(2), size(2);
        for (std::size_t i = 0; i < sample.count; ++i) {
            x[0].set(a_[i]);
            for (std::size_t k = 1; k < operands; ++k)
                x[k].set(k < static_cast<std::size_t>(promise.form.inputs) ? b_[i] : scalar(i, k));
            promise.exact(y.data(), x.data());
            if (promise.size != nullptr)
                promise.size(size.data(), x.data());
            const auto keep = [&](std::size_t part, mpfr_srcptr value, const Number& against) {
                exact_[i * width_ + part] = Exact(value, promise.size != nullptr ? against.real() : nullptr);
            };
            keep(0, y[0].real(), size[0]);
            if (width_ == 2)
                keep(1, is_complex ? y[0].imaginary() : y[1].real(), is_complex ? size[0] : size[1]);
        }
    }

    Greatest greatest(const Set& set, std::uint32_t level) const
    {
        std::vector<Out> y(a_.size()), z(a_.size());
        run_all(set, level, y.data(), z.data());
        Greatest found;
        for (std::size_t i = 0; i < a_.size(); ++i) {
            double error;
            if constexpr (is_complex)
                error = Exact::ulps(y[i], exact_[i * width_], exact_[i * width_ + 1]);
            else
                error = std::max(exact_[i * width_].ulps(y[i]),
                                 promise_.form.outputs == 2 ? exact_[i * width_ + 1].ulps(z[i]) : 0);
            if (error > found.error)
                found = {error, text(a_[i]) + (promise_.form.inputs == 2 ? ", " + text(b_[i]) : "") +
                                    (promise_.form.scalars != 0 ? ", " + text(scalar(i, 1)) : "")};
        }
        return found;
    }

    /// Of an element, of the best of several runs.
    double nanoseconds(const Set& set, std::uint32_t level) const
    {
        double best = HUGE_VAL;
        std::vector<Out> y(a_.size()), z(a_.size());
        for (int k = 0; k < 20; ++k) {
            const auto start = std::chrono::steady_clock::now();
            run_all(set, level, y.data(), z.data());
            best = std::min(
                best,
                std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count());
        }
        return best / static_cast<double>(a_.size());
    }

private:
    static constexpr bool is_complex = !std::is_floating_point_v<Out>;
    static constexpr std::size_t width = 2;  // exact values of an element
    static constexpr std::size_t piece = 61; // elements that a call's scalars last

    In scalar(std::size_t i, std::size_t place) const { return b_[(i / piece + place) % b_.size()]; }

    template <class T>
    static std::string text(T x)
    {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "%.*g", std::numeric_limits<T>::max_digits10,
                      static_cast<double>(x));
        return buffer;
    }
    template <class T>
    static std::string text(std::complex<T> x)
    {
        return text(x.real()) + " + " + text(x.imag()) + "i";
    }

    template <std::size_t inputs, std::size_t scalars, std::size_t outputs>
    using Kernel = typename vml::Shape<In, inputs, scalars, Out, outputs>::Kernel*;

    void run_all(const Set& set, std::uint32_t level, Out* y, Out* z) const
    {
        const auto kernel = symbol<void (**)()>(letter_ + promise_.root + "_ttab")[set.table()];
        vml::Call call{level, vml::ok, 0, nullptr, 0};
        const std::size_t step = promise_.form.scalars != 0 ? piece : a_.size();
        for (std::size_t i = 0; i < a_.size(); i += step)
            run(kernel, i, static_cast<std::int64_t>(std::min(step, a_.size() - i)), y + i, z + i, &call);
    }

    void run(void (*kernel)(), std::size_t i, std::int64_t n, Out* to, Out* to_second, vml::Call* call) const
    {
        const vml::Vector<const In> a{a_.data() + i, 1}, b{b_.data() + i, 1};
        const vml::Vector<Out> y{to, 1}, z{to_second, 1};
        const auto& [inputs, scalars, outputs, in, out] = promise_.form;
        if (scalars == 4)
            reinterpret_cast<Kernel<2, 4, 1>>(kernel)(n, a, b, scalar(i, 2), scalar(i, 3), scalar(i, 4),
                                                      scalar(i, 5), y, call);
        else if (scalars == 1)
            reinterpret_cast<Kernel<1, 1, 1>>(kernel)(n, a, scalar(i, 1), y, call);
        else if (inputs == 2)
            reinterpret_cast<Kernel<2, 0, 1>>(kernel)(n, a, b, y, call);
        else if (outputs == 2)
            reinterpret_cast<Kernel<1, 0, 2>>(kernel)(n, a, y, z, call);
        else
            reinterpret_cast<Kernel<1, 0, 1>>(kernel)(n, a, y, call);
    }

    const Promise& promise_;
    char letter_;
    std::vector<In> a_, b_;
    std::size_t width_; // exact values of an element
    std::vector<Exact> exact_;
};

/// Calls what is given with the promise's trial, of the types that its letter has.
template <class Do>
void with_trial(const Promise& promise, char letter, const Sample& sample, Do&& then)
{
    const auto of = [&]<class T>(T) {
        using Complex = std::complex<T>;
        if (promise.form.complex_in && promise.form.complex_out)
            then(Trial<Complex, Complex>(promise, letter, sample));
        else if (promise.form.complex_in)
            then(Trial<Complex, T>(promise, letter, sample));
        else if (promise.form.complex_out)
            then(Trial<T, Complex>(promise, letter, sample));
        else
            then(Trial<T, T>(promise, letter, sample));
    };
    if (letter == 's' || letter == 'c')
        of(float{});
    else
        of(double{});
}

} // namespace qnm::witness
