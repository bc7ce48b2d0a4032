// What a call through the layer costs over the same call without it.
//   qnm_bench_cost count FOLDER
//       for callgrind: makes the calls, part by part, and prints where the layer lies in memory
//   qnm_bench_cost table FOLDER COUNTS LINKAGE SIZE
//       prints the table: the counts of that run, the times of this one
// FOLDER holds the layer and the open core; LINKAGE and SIZE (hexadecimal) say where .plt was while counting.
#include "cases.hpp"
#include "counts.hpp"
#include "library.hpp"
#include "timing.hpp"

#include <cstring>
#include <fstream>
#include <valgrind/callgrind.h>

namespace qnm::bench {
namespace {

Road road(const Libraries& in, const Case& what, bool wide)
{
    return {wide ? what.wide : what.narrow,
            in.layer.function(std::string(what.routine) + (wide ? "_64" : ""))};
}

void count_calls(const Libraries& in)
{
    std::printf("0x%llx\n", in.layer.base());
    for (const Case& what : cases())
        for (const bool wide : {false, true}) {
            if (wide && what.wide == nullptr)
                continue;
            const std::string part = label(what, wide);
            const Road layer = road(in, what, wide);
            layer.loop(layer.function, 1); // binds the names and the verbose cell
            CALLGRIND_TOGGLE_COLLECT;
            layer.loop(layer.function, counted_calls);
            CALLGRIND_TOGGLE_COLLECT;
            CALLGRIND_DUMP_STATS_AT(part.c_str());
        }
}

void print_aim(const Aim& aim, bool wide)
{
    if (const int instructions = wide ? aim.wide : aim.narrow; instructions != 0)
        std::printf("%5d%-2s", instructions, aim.plus_decision ? "+d" : "");
    else
        std::printf("%7s", "");
}

void print_times(const Times& times, const Aim& aim)
{
    std::printf(" |");
    if (times.engine > 0)
        std::printf(" %9.1f", times.engine);
    else
        std::printf(" %9s", "-");
    std::printf(" %8.1f %8.1f %+7.1f %7.3f", times.direct, times.layer, times.added, times.ratio);
    if (aim.ratio > 0)
        std::printf(" %5.2f", aim.ratio);
    std::printf("\n");
}

Times time_case(const Libraries& in, const Case& what, const Road& layer)
{
    const Road direct{what.direct, in.core.function(what.core)};
    const bool has_engine = what.engine != nullptr && in.engine;
    return measure(direct, layer,
                   {what.engine_loop != nullptr ? what.engine_loop : what.direct,
                    has_engine ? in.engine.function(what.engine) : nullptr});
}

// The direct call against itself: what these times can tell apart.
void print_control(const Libraries& in, const Case& what)
{
    const Road direct{what.direct, in.core.function(what.core)};
    std::printf("%-14s %-9s %6s %4s %7s", "(control)", what.size, "", "", "");
    print_times(time_case(in, what, direct), {});
}

const Count& counted(const Counts& counts, const std::string& part)
{
    const auto found = counts.find(part);
    if (found == counts.end())
        fail("no counts of " + part);
    return found->second;
}

void print_table(const Libraries& in, const Counts& counts)
{
    std::printf("%-24s | instructions/call | nanoseconds/call\n", "");
    std::printf("%-14s %-9s %6s %4s %-7s | %9s %8s %8s %7s %7s %5s\n", "entry", "size", "own", "plt",
                "   aim", "engine.so", "direct", "layer", "added", "ratio", "aim");
    for (const Case& what : cases())
        for (const bool wide : {false, true}) {
            if (wide && what.wide == nullptr)
                continue;
            const Count& count = counted(counts, label(what, wide));
            const Road layer = road(in, what, wide);
            std::printf("%-14s %-9s %6.1f %4.0f ", (std::string(what.routine) + (wide ? "_64" : "")).c_str(),
                        what.size, count.own, count.linkage);
            print_aim(what.aim, wide);
            print_times(time_case(in, what, layer), what.aim);
            if (count.binding != 0)
                std::printf("  names were bound while counting: %.1f instructions/call\n", count.binding);
        }
    for (const Case& what : cases())
        if (what.aim.ratio > 0 || &what == &cases().front())
            print_control(in, what);
    std::puts("own        in the layer's code; +d: and the decision between two kernels\n"
              "plt        jumps of its linkage table\n"
              "direct     the core's function without the layer: the same machine code of the engine\n"
              "engine.so  the engine's own shared library, called by its published name\n"
              "added      layer less direct; (control) is the direct call measured against itself");
}

int usage()
{
    std::fputs("usage: qnm_bench_cost count FOLDER | table FOLDER COUNTS LINKAGE SIZE\n", stderr);
    return 2;
}

} // namespace
} // namespace qnm::bench

int main(int argc, char** argv)
{
    using namespace qnm::bench;
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "count" && argc == 3) {
        count_calls(Libraries(argv[2]));
        return 0;
    }
    if (mode != "table" || argc != 6)
        return usage();
    std::ifstream counts(argv[3]);
    if (!counts)
        fail(std::string(argv[3]) + ": " + std::strerror(errno));
    const auto begin = std::stoull(argv[4], nullptr, 16), size = std::stoull(argv[5], nullptr, 16);
    print_table(Libraries(argv[2]), read_counts(counts, {begin, begin + size}));
}
