// Rows of work beside other work that gives the same. In turns, so that a neighbour's load meets both; told
// are the quickest of many rounds.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace qnm::bench {

using Work = std::function<void()>;

inline double nanoseconds(const Work& work, int calls)
{
    using clock = std::chrono::steady_clock;
    const auto start = clock::now();
    for (int call = 0; call < calls; ++call)
        work();
    return std::chrono::duration<double, std::nano>(clock::now() - start).count() / calls;
}

inline void done(int status)
{
    if (status == 0)
        return;
    std::fprintf(stderr, "status %d\n", status);
    std::exit(1);
}

class Table {
public:
    Table(int count, char** words) : wanted_(words + 1, words + count)
    {
        std::printf("%-30s%-34s%10s%10s%8s%8s\n", "", "beside", "it, ns", "ours, ns", "ratio", "aim");
    }
    bool wants(const std::string& name) const
    {
        return wanted_.empty() || std::ranges::any_of(wanted_, [&](const std::string& word) {
                   return name.rfind(word, 0) == 0;
               });
    }
    /// Nanoseconds for one of n elements.
    void row(const char* name, const char* beside, double n, double aim, const Work& theirs,
             const Work& ours) const
    {
        constexpr double batch = 5e4, whole = 1e9;
        const double once = std::max(nanoseconds(theirs, 2), nanoseconds(ours, 2));
        const int calls = static_cast<int>(std::max(1.0, batch / once));
        const int rounds = static_cast<int>(std::clamp(whole / (2 * once * calls), 5.0, 2001.0));
        double best_theirs = std::numeric_limits<double>::infinity(), best_ours = best_theirs;
        for (int round = 0; round < rounds; ++round) {
            best_theirs = std::min(best_theirs, nanoseconds(theirs, calls));
            best_ours = std::min(best_ours, nanoseconds(ours, calls));
        }
        std::printf("%-30s%-34s%10.3f%10.3f%8.2f%8.2f\n", name, beside, best_theirs / n, best_ours / n,
                    best_ours / best_theirs, aim);
        std::fflush(stdout);
    }

private:
    std::vector<std::string> wanted_;
};

} // namespace qnm::bench
