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
#include "counts.hpp"
#include "library.hpp"

#include <algorithm>
#include <chrono>
#include <complex>
#include <cstdint>
#include <cstring>
#include <fftw3.h>
#include <fstream>
#include <functional>
#include <kissfft.hh>
#include <memory>
#include <qnm/poisson.h>
#include <valgrind/callgrind.h>
#include <vector>

namespace qnm::bench {
namespace {

using Complex = std::complex<double>;

// ---- what is transformed: forward, in double precision, out of place

struct Aims {
    double own = 0, plugged = 0; // instructions by those of FFTW's estimated plan
};

constexpr int no_kind = -1;

struct Transform {
    std::string name;
    std::vector<int> lengths; // slowest first
    int many;
    bool real;
    Aims aims{};
    int kind = no_kind; // of real to real

    int elements() const
    {
        int product = many;
        for (const int length : lengths)
            product *= length;
        return product;
    }
    long counted() const { return elements() <= 5000 ? 100 : 1; }
};

std::vector<Transform> all_transforms()
{
    std::vector<Transform> all{{"8", {8}, 1, false, {5, 1.6}},
                               {"64", {64}, 1, false, {4, 1.15}},
                               {"1024", {1024}, 1, false, {4, 1.03}},
                               {"4096", {4096}, 1, false, {4, 1.03}},
                               {"2^20", {1 << 20}, 1, false, {2, 1.03}},
                               {"1000", {1000}, 1, false, {2, 1.03}},
                               {"1009", {1009}, 1, false, {1.5, 1.03}},
                               {"256x256", {256, 256}, 1, false, {2.5, 1.03}},
                               {"64x64x64", {64, 64, 64}, 1, false, {4, 1.03}},
                               {"real 1024", {1024}, 1, true, {4, 1.03}},
                               {"1000 x 64", {1000}, 64, false, {4, 1.03}}};
    const char* const kinds[] = {"REDFT00", "REDFT01", "REDFT10", "REDFT11",
                                 "RODFT00", "RODFT01", "RODFT10", "RODFT11"};
    int kind = FFTW_REDFT00;
    for (const char* const name : kinds) {
        for (const int length : {64, 1000})
            all.push_back({name + (" " + std::to_string(length)), {length}, 1, true, {}, kind});
        ++kind;
    }
    return all;
}

const std::vector<Transform> transforms = all_transforms();

/// Some transform by some engine, ready to run.
class Work {
public:
    virtual ~Work() = default;
    virtual void repeat(long times) = 0;
};

template <class Call>
class Of final : public Work {
public:
    explicit Of(Call call) : call_(std::move(call)) {}
    void repeat(long times) override
    {
        for (; times > 0; --times)
            call_();
    }

private:
    Call call_;
};

template <class Call>
std::unique_ptr<Work> work(Call call)
{
    return std::make_unique<Of<Call>>(std::move(call));
}

struct Arrays {
    explicit Arrays(const Transform& what) : in(size(what)), out(size(what))
    {
        for (std::size_t i = 0; i < in.size(); ++i)
            in[i] = {static_cast<double>(i % 7), static_cast<double>(i % 5)};
    }
    static std::size_t size(const Transform& what) { return static_cast<std::size_t>(what.elements()) + 2; }
    double* reals() { return reinterpret_cast<double*>(in.data()); }
    std::vector<Complex> in, out;
};

// ---- engines

template <class... P>
using Entry = std::int64_t(P...);

template <class... P>
void call(const Library& layer, const char* name, P... arguments)
{
    if (reinterpret_cast<Entry<P...>*>(layer.function(name))(arguments...) != 0)
        fail(std::string(name) + " refuses");
}

enum Code {
    transforms_code = 7,
    complex_storage = 8,
    even_storage = 10,
    placement = 11,
    in_distance = 14,
    out_distance = 15
};
constexpr std::int64_t complex_complex = 39, real_real = 42, not_in_place = 44;

void* descriptor(const Library& layer, const std::vector<int>& lengths, bool real)
{
    const std::vector<std::int64_t> wide(lengths.begin(), lengths.end());
    void* made = nullptr;
    call(layer, "DftiCreateDescriptor_d_md", &made, real ? 33 : 32, static_cast<std::int64_t>(wide.size()),
         wide.data());
    return made;
}

void set(const Library& layer, void* d, Code code, std::int64_t value)
{
    call(layer, "DftiSetValue", d, static_cast<int>(code), value);
}

std::unique_ptr<Work> by_descriptor(const Library& layer, const Transform& what)
{
    if (what.kind != no_kind)
        return nullptr;
    void* const d = descriptor(layer, what.lengths, what.real);
    set(layer, d, placement, not_in_place);
    if (what.real)
        set(layer, d, even_storage, complex_complex);
    if (what.many > 1) {
        set(layer, d, transforms_code, what.many);
        set(layer, d, in_distance, what.lengths[0]);
        set(layer, d, out_distance, what.lengths[0]);
    }
    call(layer, "DftiCommitDescriptor", d);
    auto* const compute = reinterpret_cast<Entry<void*, void*, void*>*>(layer.function("DftiComputeForward"));
    return work([=, x = Arrays(what)]() mutable { compute(d, x.in.data(), x.out.data()); });
}

template <class F>
F* entry(const Library& library, const char* name)
{
    return reinterpret_cast<F*>(library.function(name));
}

/// Plans of FFTW's interface, whoever has it.
class Plans {
public:
    explicit Plans(const Library& library, std::string wisdom = {})
        : library_(library), wisdom_(std::move(wisdom))
    {
    }

    // What was measured is kept, and forgotten by other plans: those that are estimated would follow it.
    std::unique_ptr<Work> planned(const Transform& what, unsigned effort) const
    {
        if (effort != FFTW_ESTIMATE)
            find<decltype(fftw_import_wisdom_from_filename)>("fftw_import_wisdom_from_filename")(
                wisdom_.c_str());
        Arrays x(what);
        auto* const in = reinterpret_cast<fftw_complex*>(x.in.data());
        auto* const out = reinterpret_cast<fftw_complex*>(x.out.data());
        const int rank = static_cast<int>(what.lengths.size()), length = what.lengths[0];
        const fftw_plan plan =
            what.kind != no_kind ? find<decltype(fftw_plan_r2r_1d)>("fftw_plan_r2r_1d")(
                                       length, x.reals(), reinterpret_cast<double*>(x.out.data()),
                                       static_cast<fftw_r2r_kind>(what.kind), effort)
            : what.real ? find<decltype(fftw_plan_dft_r2c)>("fftw_plan_dft_r2c")(rank, what.lengths.data(),
                                                                                 x.reals(), out, effort)
                        : find<decltype(fftw_plan_many_dft)>("fftw_plan_many_dft")(
                              rank, what.lengths.data(), what.many, in, nullptr, 1, length, out, nullptr, 1,
                              length, FFTW_FORWARD, effort);
        if (effort != FFTW_ESTIMATE)
            find<decltype(fftw_export_wisdom_to_filename)>("fftw_export_wisdom_to_filename")(wisdom_.c_str());
        find<decltype(fftw_forget_wisdom)>("fftw_forget_wisdom")();
        if (plan == nullptr)
            fail("no plan for " + what.name);
        auto* const execute = find<decltype(fftw_execute)>("fftw_execute");
        return work([=, kept = std::move(x)] { execute(plan); });
    }

private:
    template <class F>
    F* find(const char* name) const
    {
        return entry<F>(library_, name);
    }
    const Library& library_;
    std::string wisdom_;
};

/// One line at a time, of a length that has small factors.
std::unique_ptr<Work> by_kiss(const Transform& what)
{
    if (what.lengths.size() > 1 || what.lengths[0] == 1009 || what.kind != no_kind)
        return nullptr;
    const auto n = static_cast<std::size_t>(what.lengths[0]);
    using Kiss = kissfft<double>;
    if (what.real)
        return work([kiss = std::make_shared<Kiss>(n / 2, false), x = Arrays(what)]() mutable {
            kiss->transform_real(x.reals(), x.out.data());
        });
    return work([=, kiss = std::make_shared<Kiss>(n, false), x = Arrays(what)]() mutable {
        for (std::size_t line = 0; line < static_cast<std::size_t>(what.many); ++line)
            kiss->transform(&x.in[n * line], &x.out[n * line]);
    });
}

const char* const own = "own";
const char* const own_plan = "own plan";
const char* const plugged = "plugged";
const char* const plugged_plan = "plugged plan";

struct Engine {
    const char* name;
    std::function<std::unique_ptr<Work>(const Transform&)> ready; // null: it does not know this one
};

bool is_plugged(const Libraries& in)
{
    if (std::getenv("QNM_FFT_ENGINE") == nullptr)
        return false;
    char text[128] = {};
    entry<void(char*, std::int64_t)>(in.core, "qnm_dft_dfti_get_version_string")(text, sizeof text);
    if (std::strstr(text, "fftw") == nullptr)
        fail(std::string("not by the engine that is to be measured: ") + text);
    return true;
}

std::vector<Engine> engines(const Libraries& in, const Plans& fftw)
{
    const auto descriptor = [&](const Transform& what) { return by_descriptor(in.layer, what); };
    const auto plan = [&](const Transform& what) { return Plans(in.layer).planned(what, FFTW_ESTIMATE); };
    if (is_plugged(in))
        return {{plugged, descriptor}, {plugged_plan, plan}};
    return {{own, descriptor},
            {own_plan, plan},
            {"estimate", [&](const Transform& what) { return fftw.planned(what, FFTW_ESTIMATE); }},
            {"measure", [&](const Transform& what) { return fftw.planned(what, FFTW_MEASURE); }},
            {"kiss", by_kiss}};
}

std::string label(const Transform& what, const std::string& engine)
{
    return what.name + "|" + engine;
}

// ---- Poisson problems

/// A problem on n by n steps, whose ends are 1 where they are given: solved again and again it does not fade.
class Problem {
public:
    Problem(const Library& layer, int n, const char* sides)
        : solve_(entry<decltype(d_helmholtz_2d)>(layer, "d_helmholtz_2d")),
          f_(static_cast<std::size_t>((n + 1) * (n + 1)), 1.0),
          ends_(static_cast<std::size_t>(n + 1), 1.0)
    {
        const double from = 0, to = 1, q = 0;
        entry<decltype(d_init_helmholtz_2d)>(layer, "d_init_helmholtz_2d")(&from, &to, &from, &to, &n, &n,
                                                                           sides, &q, ipar_, par_, &stat_);
        run(entry<decltype(d_commit_helmholtz_2d)>(layer, "d_commit_helmholtz_2d"));
        run(solve_);
    }
    Problem(const Problem&) = delete;
    Problem& operator=(const Problem&) = delete;

    void solve() { call(solve_); }

private:
    template <class Step>
    void call(Step* step)
    {
        const double* const ends = ends_.data();
        step(f_.data(), ends, ends, ends, ends, &handle_, ipar_, par_, &stat_);
    }
    template <class Step>
    void run(Step* step)
    {
        call(step);
        if (stat_ != QNM_PDE_OK)
            fail("a Poisson problem has status " + std::to_string(stat_));
    }

    decltype(d_helmholtz_2d)* solve_;
    std::vector<double> f_, ends_;
    double par_[128] = {};
    int ipar_[128] = {}, stat_ = 0;
    qnm_dft_handle handle_ = nullptr;
};

std::unique_ptr<Work> problem(const Library& layer, int n, const char* sides)
{
    return work([=, x = std::make_shared<Problem>(layer, n, sides)] { x->solve(); });
}

constexpr int steps = 1024;
constexpr double solve_aim = 4;
const char* const problems[] = {"DDDD", "PPDD"};
const char* const pair = "there and back";

std::unique_ptr<Work> real_pair(const Library& layer)
{
    std::vector<double> x(steps * steps, 1.0);
    std::vector<Complex> y(steps * (steps / 2 + 1));
    auto* const out = reinterpret_cast<fftw_complex*>(y.data());
    const fftw_plan there = entry<decltype(fftw_plan_dft_r2c_2d)>(layer, "fftw_plan_dft_r2c_2d")(
        steps, steps, x.data(), out, FFTW_ESTIMATE);
    // Not into x: it would grow.
    std::vector<double> z(x.size());
    const fftw_plan back = entry<decltype(fftw_plan_dft_c2r_2d)>(layer, "fftw_plan_dft_c2r_2d")(
        steps, steps, out, z.data(), FFTW_ESTIMATE);
    auto* const execute = entry<decltype(fftw_execute)>(layer, "fftw_execute");
    return work([=, x = std::move(x), y = std::move(y), z = std::move(z)] {
        execute(there);
        execute(back);
    });
}

// ---- all that is measured

struct Part {
    std::string name;
    std::unique_ptr<Work> work;
    long counted;
};
using Rivals = std::vector<Part>;

/// Those that are compared are made together, and gone before the next.
template <class Use>
void each_rivals(const Libraries& in, const Plans& fftw, const Use& use)
{
    for (const Transform& what : transforms) {
        Rivals rivals;
        for (const Engine& engine : engines(in, fftw))
            if (auto part = engine.ready(what))
                rivals.push_back({label(what, engine.name), std::move(part), what.counted()});
        use(rivals);
    }
    if (is_plugged(in)) // solvers have one engine
        return;
    Rivals rivals;
    for (const char* const sides : problems)
        rivals.push_back({sides, problem(in.layer, steps, sides), 1});
    rivals.push_back({pair, real_pair(in.layer), 1});
    use(rivals);
}

// ---- the layer's own part

struct Call {
    const char* name;
    int aim;
    std::function<std::unique_ptr<Work>(const Library&)> ready;
};

template <class... P>
std::unique_ptr<Work> calls(const Library& layer, const char* name, P... arguments)
{
    auto* const entry = reinterpret_cast<Entry<P...>*>(layer.function(name));
    return work([=] { entry(arguments...); });
}

double line[4][8];

void* small(const Library& layer, bool out_of_place, bool split = false)
{
    void* const d = descriptor(layer, {2}, false);
    if (out_of_place)
        set(layer, d, placement, not_in_place);
    if (split)
        set(layer, d, complex_storage, real_real);
    call(layer, "DftiCommitDescriptor", d);
    return d;
}

void* const* small_at(const Library& layer)
{
    static void* handle;
    handle = small(layer, false);
    return &handle;
}

fftw_plan small_plan(const Library& layer, int in, int out)
{
    // Looked for once: what is counted is the planner.
    static auto* const make = entry<decltype(fftw_plan_dft_1d)>(layer, "fftw_plan_dft_1d");
    return make(4, reinterpret_cast<fftw_complex*>(line[in]), reinterpret_cast<fftw_complex*>(line[out]),
                FFTW_FORWARD, FFTW_ESTIMATE);
}

std::unique_ptr<Work> by_cosine(const Library& layer)
{
    static qnm_dft_handle handle;
    static int ipar[15], stat;
    static double par[128];
    const int n = 4, cosine = 1;
    entry<decltype(d_init_trig_transform)>(layer, "d_init_trig_transform")(&n, &cosine, ipar, par, &stat);
    entry<decltype(d_commit_trig_transform)>(layer, "d_commit_trig_transform")(line[0], &handle, ipar, par,
                                                                               &stat);
    if (stat != QNM_PDE_OK)
        fail("d_commit_trig_transform refuses");
    return calls(layer, "d_forward_trig_transform", line[0], &handle, ipar, par, &stat);
}

const Call layer_calls[] = {
    {"DftiComputeForward, 1 array", 38,
     [](const Library& l) { return calls(l, "DftiComputeForward", small(l, false), line[0]); }},
    {"DftiComputeForward, 2 arrays", 39,
     [](const Library& l) { return calls(l, "DftiComputeForward", small(l, true), line[0], line[1]); }},
    {"DftiComputeForward, 4 arrays", 43,
     [](const Library& l) {
         return calls(l, "DftiComputeForward", small(l, true, true), line[0], line[1], line[2], line[3]);
     }},
    {"DftiComputeInPlaceForward", 29,
     [](const Library& l) { return calls(l, "DftiComputeInPlaceForward", small(l, false), line[0]); }},
    {"DftiComputeOutOfPlaceForward", 36,
     [](const Library& l) {
         return calls(l, "DftiComputeOutOfPlaceForward", small(l, true), line[0], line[1]);
     }},
    {"qnm_dft_dfti_compute_forward_z", 37,
     [](const Library& l) { return calls(l, "qnm_dft_dfti_compute_forward_z", small_at(l), line[0]); }},
    {"dfti_compute_forward_z_", 39,
     [](const Library& l) { return calls(l, "dfti_compute_forward_z_", small_at(l), line[0]); }},
    {"DftiSetValue, an integer", 60,
     [](const Library& l) {
         return calls(l, "DftiSetValue", small(l, false), static_cast<int>(placement), not_in_place);
     }},
    {"fftw_execute, out of place", 50,
     [](const Library& l) { return calls(l, "fftw_execute", small_plan(l, 0, 1)); }},
    {"fftw_execute, in place", 48,
     [](const Library& l) { return calls(l, "fftw_execute", small_plan(l, 0, 0)); }},
    {"fftw_execute_dft", 74,
     [](const Library& l) { return calls(l, "fftw_execute_dft", small_plan(l, 0, 1), line[2], line[3]); }},
    {"dfftw_execute_", 55,
     [](const Library& l) {
         static fftw_plan plan;
         plan = small_plan(l, 0, 1);
         return calls(l, "dfftw_execute_", &plan);
     }},
    {"a plan made and destroyed", 600,
     [](const Library& l) {
         auto* const destroy = entry<decltype(fftw_destroy_plan)>(l, "fftw_destroy_plan");
         return work([=, &l] { destroy(small_plan(l, 0, 1)); });
     }},
    {"d_forward_trig_transform", 85, by_cosine},
    {"d_helmholtz_2d", 430, [](const Library& l) { return problem(l, 4, "DDDD"); }}};

// ---- modes

void counted(Work& part, long times, const std::string& name)
{
    part.repeat(1); // binds the names and the verbose cell
    CALLGRIND_TOGGLE_COLLECT;
    part.repeat(times);
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

void count_all(const Libraries& in, const Plans& fftw)
{
    std::printf("0x%llx\n", in.layer.base());
    each_rivals(in, fftw, [](const Rivals& rivals) {
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

void time_all(const Libraries& in, const Plans& fftw)
{
    each_rivals(in, fftw, in_turns);
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
    const Plans fftw(direct, argv[3]);
    (mode == "time" ? time_all : count_all)(in, fftw);
}
