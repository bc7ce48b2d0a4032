// Random words of 32 bits on standard output, until nobody reads them: for batteries of tests.
//     words SOURCE        a generator's, or those that a distribution's variates become by its own function
//     words               names the sources
#include <qnm/vsl.h>

#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/gamma.hpp>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr int n = 4096;
using Words = std::array<std::uint32_t, n>;
using Numbers = std::array<double, n>;
using Fill = std::function<int(void* stream, Words& words)>;

int bits(void* stream, Words& words)
{
    return viRngUniformBits32(0, stream, n, words.data());
}

/// Of variates by the chance to be below.
template <class Draw, class Below>
Fill from(Draw draw, Below below)
{
    return [=](void* stream, Words& words) {
        Numbers x;
        const int status = draw(stream, x.data());
        for (std::size_t i = 0; i < n; ++i)
            words[i] = static_cast<std::uint32_t>(std::min(below(x[i]) * 0x1p32, 0x1p32 - 1));
        return status;
    };
}

Fill gaussian(int method)
{
    return from([=](void* stream, double* r) { return vdRngGaussian(method, stream, n, r, 1, 2); },
                [](double x) { return 0.5 * std::erfc((1 - x) / (2 * std::sqrt(2))); });
}
Fill gamma(double alpha)
{
    return from([=](void* stream, double* r) { return vdRngGamma(0, stream, n, r, alpha, 0, 1); },
                [=](double x) { return boost::math::gamma_p(alpha, x); });
}
Fill beta(double p, double q)
{
    return from([=](void* stream, double* r) { return vdRngBeta(0, stream, n, r, p, q, 0, 1); },
                [=](double x) { return boost::math::ibeta(p, q, x); });
}

struct Source {
    const char* name;
    int generator;
    Fill fill;
};

const std::vector<Source>& sources()
{
    const Fill uniform = from([](void* stream, double* r) { return vdRngUniform(0, stream, n, r, 0, 1); },
                              [](double u) { return u; });
    static const std::vector<Source> all = {{"MCG31", VSL_BRNG_MCG31, uniform},
                                            {"R250", VSL_BRNG_R250, bits},
                                            {"MRG32K3A", VSL_BRNG_MRG32K3A, uniform},
                                            {"MCG59", VSL_BRNG_MCG59, uniform},
                                            {"WH", VSL_BRNG_WH, uniform},
                                            {"MT19937", VSL_BRNG_MT19937, bits},
                                            {"MT2203", VSL_BRNG_MT2203, bits},
                                            {"SFMT19937", VSL_BRNG_SFMT19937, bits},
                                            {"ARS5", VSL_BRNG_ARS5, bits},
                                            {"PHILOX4X32X10", VSL_BRNG_PHILOX4X32X10, bits},
                                            {"NONDETERM", VSL_BRNG_NONDETERM, bits},
                                            {"Gaussian-0", VSL_BRNG_SFMT19937, gaussian(0)},
                                            {"Gaussian-1", VSL_BRNG_SFMT19937, gaussian(1)},
                                            {"Gaussian-2", VSL_BRNG_SFMT19937, gaussian(2)},
                                            {"Gamma-0.5", VSL_BRNG_SFMT19937, gamma(0.5)},
                                            {"Gamma-3", VSL_BRNG_SFMT19937, gamma(3)},
                                            {"Beta-0.4-0.3", VSL_BRNG_SFMT19937, beta(0.4, 0.3)},
                                            {"Beta-0.7-2", VSL_BRNG_SFMT19937, beta(0.7, 2)},
                                            {"Beta-2-5", VSL_BRNG_SFMT19937, beta(2, 5)}};
    return all;
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 2) {
        for (const Source& source : sources())
            std::puts(source.name);
        return 0;
    }
    for (const Source& source : sources()) {
        if (source.name != std::string(arguments[1]))
            continue;
        void* stream = nullptr;
        int status = vslNewStream(&stream, source.generator, 20110815);
        Words words;
        while (status == 0 && (status = source.fill(stream, words)) == 0)
            if (std::fwrite(words.data(), sizeof words[0], n, stdout) != n)
                return 0;
        std::fprintf(stderr, "%s: status %d\n", source.name, status);
        return 1;
    }
    std::fprintf(stderr, "no source %s\n", arguments[1]);
    return 2;
}
