// Transforms through the layer beside their engines called directly, Poisson problems beside transforms of
// their size, and what the layer adds itself.
//   qnm_bench_transforms time FOLDER WISDOM
//       prints nanoseconds, a line for each transform and engine; WISDOM keeps FFTW's measured plans
//   qnm_bench_transforms count FOLDER WISDOM
//       for callgrind: makes the transforms and the calls, part by part, and prints where the layer lies in
//       memory
//   qnm_bench_transforms table COUNTS LINKAGE SIZE TIMES PLUGGED_COUNTS PLUGGED_TIMES
//       prints the table; LINKAGE and SIZE (hexadecimal) say where .plt was while counting
// Where QNM_FFT_ENGINE is set the core transforms by that engine, and nothing else is looked at.
#include "transforms.hpp"

#include "counts.hpp"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <valgrind/callgrind.h>

namespace qnm::bench {
namespace {

std::string label(const Transform& what, const std::string& engine)
{
    return what.name + "|" + engine;
}

/// Those that are compared are made together, and gone before the next.
template <class Use>
void each_rivals(const Libraries& in, const std::vector<Engine>& engines, const Use& use)
{
    for (const Transform& what : transforms) {
        Rivals rivals;
        for (const Engine& engine : engines)
            if (auto part = engine.ready(what))
                rivals.push_back({label(what, engine.name), std::move(part), what.counted()});
        use(rivals);
    }
    if (is_plugged(in)) // solvers have one engine
        return;
    Rivals rivals;
    for (const char* const sides : problems)
        rivals.push_back({sides, problem(in.layer, steps, sides), 1});
    rivals.push_back({pair, real_pair(in.layer, steps), 1});
    use(rivals);
}

// ---- modes

void counted(Work& part, long times, const std::string& name)
{
    part.repeat(1); // binds the names and the verbose cell
    CALLGRIND_TOGGLE_COLLECT;
    part.repeat(times);
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

void count_all(const Libraries& in, const std::vector<Engine>& engines)
{
    std::printf("0x%llx\n", in.layer.base());
    each_rivals(in, engines, [](const Rivals& rivals) {
        for (const Part& part : rivals)
            counted(*part.work, part.counted, part.name);
    });
    for (const Call& call : layer_calls)
        counted(*call.ready(in.layer), counted_calls, call.name);
}

double nanoseconds(Work& part, long times)
{
    const auto start = std::chrono::steady_clock::now();
    part.repeat(times);
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count() / static_cast<double>(times);
}

// They take turns, so that a neighbour's load meets them all.
void in_turns(const Rivals& rivals)
{
    constexpr double batch = 2e5;
    struct Timed {
        const Part& part;
        long times = 1;
        std::vector<double> taken{};
    };
    std::vector<Timed> all;
    double slowest = 0;
    for (const Part& part : rivals) {
        Timed& one = all.emplace_back(Timed{part});
        part.work->repeat(1);
        while (nanoseconds(*part.work, one.times) * static_cast<double>(one.times) < batch)
            one.times *= 2;
        slowest = std::max(slowest, nanoseconds(*part.work, one.times) * static_cast<double>(one.times));
    }
    const int rounds = std::clamp(static_cast<int>(1e8 / slowest), 7, 101);
    for (int round = 0; round < rounds; ++round)
        for (Timed& one : all)
            one.taken.push_back(nanoseconds(*one.part.work, one.times));
    for (Timed& one : all) {
        std::nth_element(one.taken.begin(), one.taken.begin() + rounds / 2, one.taken.end());
        std::printf("%s\t%.1f\n", one.part.name.c_str(), one.taken[static_cast<std::size_t>(rounds / 2)]);
    }
}

void time_all(const Libraries& in, const std::vector<Engine>& engines)
{
    each_rivals(in, engines, in_turns);
}

std::map<std::string, double> times_of(const char* file)
{
    std::map<std::string, double> times;
    std::ifstream lines(file);
    for (std::string name; std::getline(lines, name, '\t');) {
        std::string value;
        std::getline(lines, value);
        times[name] = std::stod(value);
    }
    return times;
}

void print_ratio(double value, double of)
{
    if (value > 0)
        std::printf(" %6.2f", value / of);
    else
        std::printf(" %6s", "");
}

void print_aim(double aim)
{
    if (aim > 0)
        std::printf(" %5.2f", aim);
    else
        std::printf(" %5s", "");
}

void table(Counts counts, Counts plugged_counts, std::map<std::string, double> times,
           const std::map<std::string, double>& plugged_times)
{
    counts.merge(plugged_counts);
    times.insert(plugged_times.begin(), plugged_times.end());
    std::printf("%-12s | %11s by those of FFTW's estimated plan; plan: by fftw_execute of the layer | %9s by "
                "that of it\n"
                "%-12s | %11s %5s %6s %6s %5s %6s %6s %6s %6s | %11s %6s %6s %6s %6s %6s %6s\n",
                "", "instructions", "nanoseconds", "", "estimated", "aim", "core", "plan", "aim", "plug",
                "plan", "meas.", "Kiss", "estimated", "core", "plan", "plug", "plan", "meas.", "Kiss");
    const auto whole = [&](const std::string& name, long counted) {
        return counts[name].all * counted_calls / static_cast<double>(counted);
    };
    for (const Transform& what : transforms) {
        const auto instructions = [&](const char* engine) {
            return whole(label(what, engine), what.counted());
        };
        const auto time = [&](const char* engine) { return times[label(what, engine)]; };
        const double all = instructions("estimate"), taken = time("estimate");
        std::printf("%-12s | %11.0f", what.name.c_str(), all);
        print_aim(what.aims.own);
        for (const char* engine : {own, own_plan})
            print_ratio(instructions(engine), all);
        print_aim(what.aims.plugged);
        for (const char* engine : {plugged, plugged_plan, "measure", "kiss"})
            print_ratio(instructions(engine), all);
        std::printf(" | %11.0f", taken);
        for (const char* engine : {own, own_plan, plugged, plugged_plan, "measure", "kiss"})
            print_ratio(time(engine), taken);
        std::puts("");
    }
    const double all = whole(pair, 1), taken = times[pair];
    std::printf("\n%-32s %12s %11s (aim of the ratio: %.0f)\n", "Poisson problems of 1024x1024",
                "instructions", "nanoseconds", solve_aim);
    std::printf("%-32s %12.0f %11.0f\n", "a real transform there and back", all, taken);
    for (const char* const sides : problems) {
        std::printf("%-32s", sides);
        for (const double ratio : {whole(sides, 1) / all, times[sides] / taken})
            std::printf(" %12.2f", ratio);
        std::puts("");
    }
    std::printf("\n%-32s %12s %5s\n", "the layer's own instructions", "with jumps", "aim");
    for (const Call& call : layer_calls) {
        const Count& count = counts[call.name];
        std::printf("%-32s %12.1f %5d\n", call.name, count.own + count.linkage, call.aim);
    }
}

Counts counts_of(const char* file, const char* begin, const char* size)
{
    std::ifstream counts(file);
    const auto from = std::stoull(begin, nullptr, 16);
    return counts ? read_counts(counts, {from, from + std::stoull(size, nullptr, 16)}) : Counts();
}

} // namespace
} // namespace qnm::bench

int main(int argc, char** argv)
{
    using namespace qnm::bench;
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "table" && argc == 8) {
        table(counts_of(argv[2], argv[3], argv[4]), counts_of(argv[6], argv[3], argv[4]), times_of(argv[5]),
              times_of(argv[7]));
        return 0;
    }
    if ((mode != "time" && mode != "count") || argc != 4) {
        std::fputs(
            "usage: qnm_bench_transforms time|count FOLDER WISDOM\n"
            "       qnm_bench_transforms table COUNTS LINKAGE SIZE TIMES PLUGGED_COUNTS PLUGGED_TIMES\n",
            stderr);
        return 2;
    }
    const Libraries in(argv[2]);
    // Its references are not led to the layer, which has the same names.
    const Library direct("libfftw3.so.3", RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    (mode == "time" ? time_all : count_all)(in, engines(in, direct, argv[3]));
}
