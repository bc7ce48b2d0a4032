// Writes docs/accuracy.md: the largest error found of every function, type, level and instruction set, and
// whether it is within what is promised.
//
//   accuracy [POINTS [all-floats] [ROOT...]]     the page
//   accuracy cost [ROOT...]                      nanoseconds an element, for the costs that stand with the
//   kernels
#include "trial.hpp"

#include <atomic>
#include <boost/version.hpp>
#include <chrono>
#include <cstring>
#include <fstream>
#include <gnu/libc-version.h>
#include <map>
#include <mutex>
#include <sleef.h>
#include <thread>

namespace qnm::witness {
namespace {

using namespace qnm::vml;

struct Asked {
    std::size_t points = 1000000;
    bool all_floats = false;
    std::vector<std::string> roots;

    bool has(const std::string& root) const
    {
        return roots.empty() || std::find(roots.begin(), roots.end(), root) != roots.end();
    }
};

constexpr std::uint32_t levels[] = {high_accuracy, low_accuracy};
using Found = Greatest[std::size(sets)][std::size(levels)];

/// A promise, of one type.
struct Row {
    const Promise* promise;
    char letter;
    std::uint64_t points = 0;
    Found found;
};

/// Chunks: their exact values stay within the caches.
void measure(Row& row, const Asked& asked)
{
    constexpr std::size_t chunk = 1U << 15U;
    const bool all =
        asked.all_floats && row.letter == 's' && row.promise->form.inputs + row.promise->form.scalars == 1;
    const std::uint64_t end = all ? std::uint64_t{1} << 32U : asked.points;
    for (std::uint32_t k = 1; row.points < end; ++k) {
        const std::size_t count = std::min<std::uint64_t>(chunk, end - row.points);
        const Sample sample = {count, all ? static_cast<std::uint32_t>(row.points) : k, all};
        with_trial(*row.promise, row.letter, sample, [&](const auto& trial) {
            for (std::size_t s = 0; s < std::size(sets); ++s)
                for (std::size_t l = 0; l < std::size(levels); ++l)
                    if (Greatest there = trial.greatest(sets[s], levels[l]);
                        there.error > row.found[s][l].error)
                        row.found[s][l] = std::move(there);
        });
        row.points += count;
    }
}

std::vector<Row> rows_of(const Asked& asked)
{
    std::vector<Row> rows;
    for (const Promise& promise : promises())
        for (const char* letter = promise.letters(); *letter != '\0'; ++letter)
            if (asked.has(promise.root))
                rows.push_back({&promise, *letter, 0, {}});
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> workers;
    for (unsigned k = 0; k < std::max(1U, std::thread::hardware_concurrency()); ++k)
        workers.emplace_back([&] {
            for (std::size_t i = next++; i < rows.size(); i = next++)
                measure(rows[i], asked);
            mpfr_free_cache();
        });
    for (std::thread& worker : workers)
        worker.join();
    return rows;
}

std::string processor()
{
    std::ifstream info("/proc/cpuinfo");
    std::string line, name = "unknown";
    while (std::getline(info, line))
        if (line.starts_with("model name"))
            name = line.substr(line.find(": ") + 2);
    for (const Set& set : sets)
        if (symbol<void (**)()>("dExp_ttab")[set.table()] == symbol<void (**)()>("dExp_ttab")[2])
            name += std::string(", best set ") + set.name;
    return name;
}

void text_of(char* to, std::size_t size, double error)
{
    if (std::isinf(error))
        std::snprintf(to, size, "wrong");
    else
        std::snprintf(to, size, error >= 99 ? "%.3g" : "%.3f", error);
}

int write_page(const Asked& asked)
{
    const std::vector<Row> rows = rows_of(asked);
    std::size_t missed = 0;
    std::string lines;
    for (const Row& row : rows)
        for (std::size_t l = 0; l < std::size(levels); ++l) {
            const bool low = levels[l] == low_accuracy;
            std::string line =
                std::string("| ") + row.letter + row.promise->root + " | " + (low ? "low" : "high");
            bool kept = true;
            const Greatest* worst = &row.found[0][l];
            char bounds[64], error[32];
            std::snprintf(bounds, sizeof bounds, "%g", row.promise->bounds.of(row.letter, low, true));
            if (row.promise->bounds.more_without_fma != 0)
                std::snprintf(bounds + std::strlen(bounds), 32, " (%g)",
                              row.promise->bounds.of(row.letter, low, false));
            for (std::size_t s = 0; s < std::size(sets); ++s) {
                const Greatest& found = row.found[s][l];
                text_of(error, sizeof error, found.error);
                line += std::string(" | ") + error;
                kept = kept && found.error <= row.promise->bounds.of(row.letter, low, sets[s].fma);
                if (found.error > worst->error)
                    worst = &found;
            }
            missed += !kept;
            lines +=
                line + " | " + worst->where + " | " + bounds + " | " + (kept ? "yes" : "**no**") + " |\n";
        }
    std::printf("# Accuracy of vector mathematics\n\n"
                "Made by `make accuracy`; not written by hand. Errors are distances from the exact value in "
                "units of the last\n"
                "place that the type has there, for complex results in those of the larger part; of Bessel "
                "functions next to a\n"
                "zero in those of the amplitude. Exact values come from MPFR %s and MPC %s.\n\n"
                "Of every function %zu points%s: edges (zeros, denormals, ends, infinities, NaN), points "
                "even in size and in\n"
                "exponent, and multiples of its period. \"wrong\" is a result that is not even near. A bound "
                "in parentheses\n"
                "is that of the set without FMA.\n\n"
                "%s; glibc %s, SLEEF %d.%d.%d, Boost %d.%d.\n\n"
                "%zu promises, %zu of them missed.\n\n"
                "| Function | Level | %s | %s | %s | Largest at | Promised | Kept "
                "|\n|---|---|---|---|---|---|---|---|\n%s",
                mpfr_get_version(), mpc_get_version(), asked.points,
                asked.all_floats ? " (of one single argument, all)" : "", processor().c_str(),
                gnu_get_libc_version(), SLEEF_VERSION_MAJOR, SLEEF_VERSION_MINOR, SLEEF_VERSION_PATCHLEVEL,
                BOOST_VERSION / 100000, BOOST_VERSION / 100 % 1000, rows.size() * 2, missed, sets[0].name,
                sets[1].name, sets[2].name, lines.c_str());
    return missed == 0 ? 0 : 1;
}

/// Of usual arguments, which no element has to mend.
int write_costs(const Asked& asked)
{
    for (Promise promise : promises())
        for (const char* letter = promise.letters(); *letter != '\0' && asked.has(promise.root); ++letter) {
            for (Range& range : promise.range)
                range = {std::max(range.low, 0.25), std::min(range.high, 4.0) * 0.95};
            std::printf("%c%-12s", *letter, promise.root.c_str());
            with_trial(promise, *letter, {4096, 1, false, false}, [&](const auto& trial) {
                for (const std::uint32_t level : levels)
                    for (const Set& set : sets)
                        std::printf(" %8.2f", trial.nanoseconds(set, level));
            });
            std::printf("\n");
        }
    return 0;
}

} // namespace
} // namespace qnm::witness

int main(int count, char** arguments)
{
    using namespace qnm::witness;
    Asked asked;
    bool costs = false;
    for (int i = 1; i < count; ++i) {
        const std::string word = arguments[i];
        if (word == "cost")
            costs = true;
        else if (word == "all-floats")
            asked.all_floats = true;
        else if (word.find_first_not_of("0123456789") == std::string::npos)
            asked.points = std::stoull(word);
        else
            asked.roots.push_back(word);
    }
    return costs ? write_costs(asked) : write_page(asked);
}
