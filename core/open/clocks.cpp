// Timers and processor frequencies. What the system does not tell is 0.
#include "services.hpp"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <x86intrin.h>

namespace {

using Clock = std::chrono::steady_clock;

// The origin is taken ahead of the reading, however long that takes the first time.
double seconds()
{
    static const Clock::time_point since = Clock::now() - std::chrono::microseconds(1);
    return std::chrono::duration<double>(Clock::now() - since).count();
}

// The number behind the first line of a file that starts with `key`; 0 if there is none.
double number_in(const char* path, const char* key)
{
    std::FILE* file = std::fopen(path, "re");
    double value = 0;
    char line[256];
    while (file != nullptr && value == 0 && std::fgets(line, sizeof line, file) != nullptr)
        if (std::strncmp(line, key, std::strlen(key)) == 0)
            value = std::strtod(line + std::strcspn(line, "0123456789"), nullptr);
    if (file != nullptr)
        std::fclose(file);
    return value;
}

// Ticks of the time stamp counter against the clock, over a few milliseconds.
double measured_tick_rate()
{
    const auto t0 = Clock::now();
    const std::uint64_t c0 = __rdtsc();
    Clock::time_point t1;
    do
        t1 = Clock::now();
    while (t1 - t0 < std::chrono::milliseconds(10));
    return static_cast<double>(__rdtsc() - c0) / std::chrono::duration<double>(t1 - t0).count();
}

constexpr double mhz_to_ghz = 1e-3, khz_to_ghz = 1e-6, hz_to_ghz = 1e-9;

} // namespace

// Seconds of a monotonic clock since the core's first reading; never exactly zero.
QNM_CORE double qnm_serv_dsecnd()
{
    return seconds();
}
QNM_CORE float qnm_serv_second()
{
    return static_cast<float>(seconds());
}

QNM_CORE void qnm_serv_get_cpu_clocks(unsigned long long* clocks)
{
    *clocks = __rdtsc();
}

// GHz.
QNM_CORE double qnm_serv_get_cpu_frequency()
{
    return number_in("/proc/cpuinfo", "cpu MHz") * mhz_to_ghz;
}
QNM_CORE double qnm_serv_get_max_cpu_frequency()
{
    return number_in("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq", "") * khz_to_ghz;
}
QNM_CORE double qnm_serv_get_clocks_frequency()
{
    static const double ghz = measured_tick_rate() * hz_to_ghz;
    return ghz;
}
