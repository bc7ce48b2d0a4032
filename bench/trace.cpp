// What tracing costs.
//   qnm_bench_trace calls N
//       makes N short calls and prints how many nanoseconds each took: run.sh traces them in several ways
//   qnm_bench_trace count
//       for callgrind: hands records of different lengths to the core, which has a reader
//   qnm_bench_trace table COUNTS
//       prints the counts of that run
#include "counts.hpp"
#include "library.hpp"
#include "services/core.hpp"
#include "table.hpp"
#include "trace_ring.hpp"

#include <cstring>
#include <fstream>
#include <string>
#include <valgrind/callgrind.h>

#include <qnm/blas.h>

namespace qnm::bench {
namespace {

struct Length {
    int characters;
    const char* label; // lives as long as the counts are taken
};
constexpr Length lengths[] = {
    {30, "a line of 30 characters"}, {100, "a line of 100 characters"}, {400, "a line of 400 characters"}};

void time_calls(int count)
{
    const int n = 3, one = 1;
    const double alpha = 1;
    double x[n] = {1, 2, 3};
    const auto call = [&] { dscal_(&n, &alpha, x, &one); };
    call(); // binds the name
    std::printf("%.1f\n", nanoseconds(call, count));
}

void count_records()
{
    const run::TraceRing ring;
    setenv("QNM_VERBOSE", "1", 1);
    setenv("QNM_VERBOSE_RING", ring.path().c_str(), 1);
    static_assert(std::size(lengths) * counted_calls < trace::slot_count);
    for (const auto& [characters, label] : lengths) {
        const std::string line(static_cast<std::size_t>(characters), 'x');
        qnm_serv_print_verbose_info(1, line.c_str(), 1e-6); // maps the ring
        CALLGRIND_TOGGLE_COLLECT;
        for (long call = 0; call < counted_calls; ++call)
            qnm_serv_print_verbose_info(1, line.c_str(), 1e-6);
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_DUMP_STATS_AT(label);
    }
}

void print_counts(const char* file)
{
    std::ifstream input(file);
    const Counts counts = read_counts(input, {});
    for (const auto& [characters, label] : lengths) {
        const auto found = counts.find(label);
        if (found == counts.end())
            fail(std::string("no counts of ") + label);
        std::printf("%-30s %6.0f instructions in the core (aim: below 400)\n", label, found->second.all);
    }
}

} // namespace
} // namespace qnm::bench

int main(int argc, char** argv)
{
    using namespace qnm::bench;
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "calls" && argc == 3)
        time_calls(std::atoi(argv[2]));
    else if (mode == "count" && argc == 2)
        count_records();
    else if (mode == "table" && argc == 3)
        print_counts(argv[2]);
    else
        return std::fputs("usage: qnm_bench_trace calls N | count | table COUNTS\n", stderr), 2;
}
