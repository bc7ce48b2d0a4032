// Fourier transforms of the core, by its own functions: numbers of any rank and layout against sums, what is
// left alone, and what is refused. Plans are linked into the tests, too: those of all instruction sets, with
// as many threads as a test says, and with memory that fails.
#include "core.hpp"
#include "open/dft/descriptor.hpp"

#include <atomic>
#include <cmath>
#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <numbers>
#include <numeric>
#include <thread>

namespace {
int threads_of_test = 1;
std::atomic<int> left_of_memory = -1; // blocks before one that fails; below 0: none does

bool refuses()
{
    return left_of_memory >= 0 && left_of_memory-- == 0;
}
} // namespace

int qnm::core::transform_threads()
{
    return threads_of_test;
}
extern "C" void* __real_qnm_serv_malloc(std::size_t bytes, int alignment);
QNM_CORE void* __wrap_qnm_serv_malloc(std::size_t bytes, int alignment)
{
    return refuses() ? nullptr : __real_qnm_serv_malloc(bytes, alignment);
}
extern "C" void* __real__Znwm(std::size_t bytes);
QNM_CORE void* __wrap__Znwm(std::size_t bytes)
{
    return refuses() ? throw std::bad_alloc() : __real__Znwm(bytes);
}

namespace qnm::test {
namespace {

using namespace core::dft;
using Integers = std::vector<core_int>;

// ---- the naive transform: sums in a larger type, dimension by dimension

using Exact = long double;
using Spectrum = std::vector<std::complex<Exact>>;

core_int product(const Integers& lengths)
{
    return std::accumulate(lengths.begin(), lengths.end(), core_int{1}, std::multiplies<>());
}

// Of all transforms, one behind the other.
Spectrum transformed(Spectrum x, const Integers& lengths, bool forward)
{
    std::size_t step = 1;
    for (const core_int length : lengths) {
        const auto n = static_cast<std::size_t>(length);
        const Exact turn = (forward ? -2 : 2) * std::numbers::pi_v<Exact> / static_cast<Exact>(n);
        Spectrum root(n), y(x.size());
        for (std::size_t k = 0; k < n; ++k)
            root[k] = std::polar<Exact>(1, turn * static_cast<Exact>(k));
        for (std::size_t at = 0; at < x.size(); ++at) {
            const std::size_t k = at / step % n;
            for (std::size_t i = 0; i < n; ++i)
                y[at] += x[at + i * step - k * step] * root[i * k % n];
        }
        x = std::move(y);
        step *= n;
    }
    return x;
}

// Random numbers, and what becomes of them.
using Problem = std::pair<Spectrum, Spectrum>;
const Problem& problem(const Integers& lengths, core_int transforms, bool real, bool forward)
{
    static std::map<std::tuple<Integers, core_int, bool, bool>, Problem> all;
    const auto [at, is_new] = all.try_emplace({lengths, transforms, real, forward});
    auto& [from, to] = at->second;
    if (!is_new)
        return at->second;
    from.resize(static_cast<std::size_t>(product(lengths) * transforms));
    for (auto& value : from)
        value = {random_integer(-999, 999) / Exact(1024), real ? 0 : random_integer(-999, 999) / Exact(1024)};
    if (real && !forward)
        from = transformed(from, lengths, true);
    to = transformed(from, lengths, forward);
    return at->second;
}

// ---- layouts

// As a program sets it: in elements of the side, the offset in front of the strides.
struct Side {
    Integers strides;
    core_int distance = 0;
};
enum class Way { tight, created, gaps, backwards, interleaved, reversed };
constexpr Kind kinds[] = {Kind::complex, Kind::split, Kind::pairs, Kind::ccs, Kind::pack, Kind::perm};

// In place, rows of reals have room for their half, but as a descriptor is created.
Side side(Way way, Kind kind, Integers extents, core_int transforms, bool in_place = false)
{
    if (kind == Kind::pairs && way != Way::created)
        extents[0] = extents[0] / 2 + 1;
    else if (kind == Kind::ccs || (kind == Kind::real && in_place && way != Way::created))
        extents[0] = extents[0] / 2 * 2 + 2;
    const std::size_t rank = extents.size();
    Side made{Integers(rank + 1), 0};
    core_int step = way == Way::gaps ? 2 : way == Way::interleaved ? transforms : 1;
    for (std::size_t i = 0; i < rank; ++i) {
        const std::size_t k = way == Way::reversed ? rank - 1 - i : i;
        made.strides[k + 1] = way == Way::backwards ? -step : step;
        step = step * extents[k] + (way == Way::gaps ? 3 : 0);
    }
    made.strides[0] = way == Way::gaps ? 5 : way == Way::reversed ? 3 : 0;
    made.distance = way == Way::interleaved ? 1 : way == Way::reversed ? -step : step;
    return made;
}

// Where the parts of the elements of one line stand, counted in strides; -1: nowhere, since they are zero.
std::vector<std::pair<core_int, core_int>> line_of(Kind kind, core_int n)
{
    std::vector<std::pair<core_int, core_int>> line;
    const bool whole = kind < Kind::pairs, two_of_one = kind <= Kind::pairs && kind != Kind::real;
    const bool moves = kind == Kind::perm && n % 2 == 0; // the last one to where the second would stand
    core_int next = 0;
    for (core_int k = 0; k < (whole ? n : n / 2 + 1); ++k) {
        const bool alone = kind == Kind::real || (kind >= Kind::pack && (k == 0 || 2 * k == n));
        line.emplace_back(moves && 2 * k == n ? 1 : next, alone ? -1 : two_of_one ? next : next + 1);
        next += (alone || two_of_one ? 1 : 2) + (moves && k == 0 ? 1 : 0);
    }
    return line;
}

// The arrays of a side, as a program has them, with room around.
template <class R>
struct Memory {
    // An element of the naive array, and its parts in `data`; where the imaginary one is not stored, the
    // same.
    struct Place {
        std::size_t element, re, im;
    };
    std::vector<Place> places;
    std::vector<R> data;
    core_int first, second; // of the arrays

    Memory(Kind kind, const Side& side, const Integers& lengths, core_int transforms, core_int reach)
        : data(static_cast<std::size_t>(4 * reach), R(1000)), // no result
          first(reach),
          second(kind == Kind::split ? 3 * reach : reach)
    {
        const auto line = line_of(kind, lengths[0]);
        const core_int width = kind == Kind::complex || kind == Kind::pairs ? 2 : 1, all = product(lengths);
        for (core_int e = 0; e < all * transforms; ++e) {
            const auto k = static_cast<std::size_t>(e % lengths[0]);
            if (k >= line.size())
                continue;
            core_int at = side.strides[0] + e / all * side.distance, rest = e % all / lengths[0];
            for (std::size_t i = 1; i < lengths.size(); rest /= lengths[i++])
                at += rest % lengths[i] * side.strides[i + 1];
            const core_int re = first + width * (at + line[k].first * side.strides[1]);
            const core_int im = second + width * (at + line[k].second * side.strides[1]) + width - 1;
            places.push_back({static_cast<std::size_t>(e), static_cast<std::size_t>(re),
                              static_cast<std::size_t>(line[k].second < 0 ? re : im)});
        }
    }
    void take(const Spectrum& x)
    {
        for (const auto& [element, re, im] : places) {
            data[im] = static_cast<R>(x[element].imag());
            data[re] = static_cast<R>(x[element].real());
        }
    }
    void* array(bool imaginary) { return &data[static_cast<std::size_t>(imaginary ? second : first)]; }
    void mark(std::vector<bool>& places_of_data) const
    {
        for (const auto& [element, re, im] : places)
            places_of_data[re] = places_of_data[im] = true;
    }
};

// ---- one case: a descriptor configured as the layer does it, and a transform

struct Case {
    Integers lengths;
    core_int transforms = 1;
    Kind kind = Kind::complex; // of real data, that of half a spectrum
    bool in_place = true, forward = true;
    Side in{}, out{};
    double scale = 1;

    bool real() const { return kind >= Kind::pairs; }
    Kind near() const { return real() && forward ? Kind::real : kind; }
    Kind far() const { return real() && !forward ? Kind::real : kind; }
    Case& lay(Way from, Way to)
    {
        in = side(from, near(), lengths, transforms, in_place);
        out = side(to, far(), lengths, transforms, in_place);
        return *this;
    }
};

struct Release {
    void operator()(dft_descriptor* d) const { d->ops->release(d); }
};
using Handle = std::unique_ptr<dft_descriptor, Release>;

template <class R>
Handle created(const Case& c)
{
    constexpr bool single = sizeof(R) == 4;
    dft_handle made = nullptr;
    const auto create = c.real() ? (single ? qnm_dft_dfti_create_srmd : qnm_dft_dfti_create_drmd)
                                 : (single ? qnm_dft_dfti_create_scmd : qnm_dft_dfti_create_dcmd);
    EXPECT_EQ(create(&made, static_cast<core_int>(c.lengths.size()), c.lengths.data(), 0), done);
    constexpr std::uint32_t formats[] = {cce_format, ccs_format, pack_format, perm_format};
    made->placement = c.in_place ? in_place : not_in_place;
    made->complex_storage = c.kind == Kind::split ? real_real : complex_complex;
    made->conjugate_even_storage = c.kind <= Kind::pairs ? complex_complex : complex_real;
    made->packed_format =
        formats[c.kind <= Kind::pairs ? 0 : static_cast<int>(c.kind) - static_cast<int>(Kind::pairs)];
    const dft_ops& does = *made->ops;
    does.set_input_strides(made, c.in.strides.data());
    does.set_output_strides(made, c.out.strides.data());
    does.set_input_distance(made, c.in.distance);
    does.set_output_distance(made, c.out.distance);
    does.set_number_of_transforms(made, c.transforms);
    does.set_scale(made, c.forward ? forward_scale_code : backward_scale_code, c.scale);
    return Handle(made);
}

Descriptor& own(const Handle& d)
{
    return static_cast<Descriptor&>(*d);
}

// The arrays of a case.
template <class R>
struct Blocks {
    const Case& c;
    Memory<R> in, out;

    Blocks(const Case& of, const Spectrum& from)
        : c(of),
          in(c.near(), c.in, c.lengths, c.transforms, reach()),
          out(c.far(), c.in_place && !c.real() ? c.in : c.out, c.lengths, c.transforms, reach())
    {
        in.take(from);
    }
    // The layer hands on as many as the descriptor says.
    std::int64_t compute(const Handle& d)
    {
        std::array<void*, 4> a{in.array(false), in.array(true), result().array(false), result().array(true)};
        if (c.kind != Kind::split)
            a = {a[0], a[2]};
        std::fill(a.begin() + d->array_count, a.end(), nullptr);
        return (c.forward ? d->forward : d->backward)(d.get(), a[0], a[1], a[2], a[3], nullptr);
    }
    Memory<R>& result() { return c.in_place ? in : out; }
    core_int reach() const
    {
        core_int most = 0;
        for (const Side& side : {c.in, c.out}) {
            core_int all = 8 + side.strides[0] + std::abs(side.distance) * c.transforms;
            for (std::size_t i = 0; i < c.lengths.size(); ++i)
                all += std::abs(side.strides[i + 1]) * (c.lengths[i] + 2);
            most = std::max(most, 2 * all);
        }
        return most;
    }
};

template <class R>
void expect_transform(const Case& c, const Handle& d)
{
    const auto& [from, to] = problem(c.lengths, c.transforms, c.real(), c.forward);
    Blocks<R> run(c, from);
    const std::vector<R> untouched = run.in.data;
    ASSERT_EQ(run.compute(d), done);
    const std::vector<R>& found = run.result().data;
    std::vector<bool> results(found.size());
    run.out.mark(results);
    if (c.in_place)
        run.in.mark(results); // may be left as anything
    else
        EXPECT_EQ(run.in.data, untouched);
    for (std::size_t i = 0; i < found.size(); ++i)
        ASSERT_TRUE(results[i] || found[i] == R(1000)) << "between the results, at " << i;
    Exact error = 0, size = 0;
    for (const auto& [element, re, im] : run.out.places) {
        const auto y = to[element] * Exact(c.scale);
        error =
            std::max(error, std::abs(std::complex(Exact(found[re]), im == re ? y.imag() : found[im]) - y));
        size += std::norm(y);
    }
    const auto log = std::log2(static_cast<Exact>(2 * product(c.lengths)));
    const Exact mean = std::sqrt(size / static_cast<Exact>(run.out.places.size()));
    EXPECT_LE(error, 6 * std::numeric_limits<R>::epsilon() * log * mean);
}

// Those that this processor can run; the last is the core's choice.
std::vector<Engine*> engines()
{
    if (plugin() != nullptr)
        return {engine_plugged};
    std::vector<Engine*> all{engine_sse2};
    if (__builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0)
        all.push_back(engine_avx2);
    if (__builtin_cpu_supports("avx512f") != 0)
        all.push_back(engine_avx512);
    return all;
}

// ---- numbers

// How a case is laid out and which engine does it.
using Choice = std::tuple<Way, Way, Engine*>;

std::vector<Choice> by_each_engine(Way in, Way out)
{
    std::vector<Choice> all;
    for (Engine* engine : engines())
        all.emplace_back(in, out, engine);
    return all;
}

// In each form and direction, as `choices` tells anew for each.
template <class R>
void expect_all(const Integers& lengths, core_int transforms, const auto& choices)
{
    for (const Kind kind : kinds)
        for (const bool in_place : {true, false})
            for (const bool forward : {true, false})
                for (const auto& [in, out, engine] : choices()) {
                    if (kind > Kind::pairs && lengths.size() > 1)
                        continue;
                    Case c{lengths, transforms, kind, in_place, forward};
                    c.scale = transforms == 1 ? 1 : -0.75;
                    SCOPED_TRACE(testing::PrintToString(
                        std::tuple(lengths, transforms, kind, in_place, forward, in, out)));
                    const Handle d = created<R>(c.lay(in, out));
                    ASSERT_EQ(commit(own(d), *engine), done);
                    expect_transform<R>(c, d);
                }
}

QNM_TYPED_OF(Dft, LinesOfAnyLength, float, double)
{
    Integers all(64);
    std::iota(all.begin(), all.end(), 1);
    all.insert(all.end(), {67, 101, 128, 243, 256, 343, 625, 1000, 1009, 1024, 2310});
    for (const core_int n : all)
        expect_all<T>({n}, 1, [] { return by_each_engine(Way::tight, Way::tight); });
}

// Each way of an input with one of an output.
QNM_TYPED_OF(Dft, AllLayouts, float, double)
{
    std::mt19937 chance(1);
    const auto some = [&, all = engines()] {
        std::vector<Choice> choices;
        for (unsigned in = 0; in < 12; ++in)
            choices.emplace_back(Way(in % 6), Way(chance() % 6), all[chance() % all.size()]);
        return choices;
    };
    for (const std::string shape :
         {"1", "2", "12", "13", "8 3", "9 4", "5 16", "4 3 5", "2 3 2 4", "3 1 2 2 5", "2 3 2 2 3 2 2"})
        for (const core_int transforms : {1, 3, 19}) {
            std::istringstream in(shape);
            expect_all<T>(Integers(std::istream_iterator<core_int>(in), {}), transforms, some);
        }
    expect_all<T>({30, 40}, 60, [] { return by_each_engine(Way::reversed, Way::gaps); }); // more than a block
}

// ---- configuration

// All that a descriptor and its operations tell, one behind the other: fields as they stand in its head.
std::string all_of(const Handle& d)
{
    const dft_ops& does = *d->ops;
    std::ostringstream all;
    for (const int place : {24, 28, 32, 56, 60, 64, 68, 72, 76, 80, 84, 88, 92, 120, 124})
        all << *reinterpret_cast<const int*>(reinterpret_cast<const char*>(d.get()) + place) << ' ';
    all << d->forward_scale << ' ' << d->backward_scale;
    const auto add = [&](const auto& operations, std::int32_t count) {
        all << ',';
        for (const auto operation : operations) {
            Integers values(static_cast<std::size_t>(count) + 1, -77);
            EXPECT_EQ(operation(d.get(), values.data()), done);
            EXPECT_EQ(values.back(), -77);
            std::for_each_n(values.begin(), count, [&](core_int value) { all << ' ' << value; });
        }
    };
    add(std::array{does.get_lengths}, d->rank);
    add(std::array{does.get_input_strides, does.get_output_strides, does.get_forward_strides,
                   does.get_backward_strides},
        d->rank + 1);
    add(std::array{does.get_rank, does.get_number_of_transforms, does.get_thread_limit,
                   does.get_input_distance, does.get_output_distance, does.get_forward_distance,
                   does.get_backward_distance},
        1);
    return all.str();
}

TEST(Dft, Defaults)
{
    const core_int lengths[] = {4, 3};
    for (const auto& [create, create_line, kind, line] :
         {std::tuple{&qnm_dft_dfti_create_dcmd, &qnm_dft_dfti_create_dc1d, "32 36", "39 43 57"},
          {&qnm_dft_dfti_create_scmd, &qnm_dft_dfti_create_sc1d, "32 35", "39 43 57"},
          {&qnm_dft_dfti_create_drmd, &qnm_dft_dfti_create_dr1d, "33 36", "40 43 54"},
          {&qnm_dft_dfti_create_srmd, &qnm_dft_dfti_create_sr1d, "33 35", "40 43 54"}}) {
        const auto expect = [](dft_handle made, const std::string& all) {
            qnm_dft_bless_node_thr(made);
            EXPECT_EQ(all_of(Handle(made)), "5523012 31 " + all + " 1 0 0 0 0 0");
        };
        const auto expected = [&](const std::string& rank, const std::string& format) {
            return rank + " " + kind + " 39 42 " + format + " 51 48 53 1 0 1 1, ";
        };
        dft_handle made = nullptr;
        EXPECT_EQ(create_line(&made, 4, 0), done);
        expect(made, expected("1", line) + "4, 0 1 0 1 0 1 0 1, 1");
        EXPECT_EQ(create(&made, 1, lengths, 0), done);
        EXPECT_TRUE(made->next == nullptr && made->free != nullptr && made->forward == nullptr &&
                    made->backward == nullptr);
        expect(made, expected("1", line) + "4, 0 1 0 1 0 1 0 1, 1");
        EXPECT_EQ(create(&made, 2, lengths, 0), done);
        expect(made, expected("2", "39 43 57") + "4 3, 0 1 4 0 1 4 0 1 4 0 1 4, 2");
        for (const int rank : {-1, 0, 8}) {
            EXPECT_EQ(create(&made, rank, lengths, 0), invalid);
            EXPECT_EQ(made, nullptr);
            made = reinterpret_cast<dft_handle>(8);
        }
    }
    std::string text(14, '#');
    qnm_dft_dfti_get_version_string(text.data(), 12);
    EXPECT_EQ(text, "QNM open cor##");
}

TEST(Dft, WhatIsSetIsGotCopiedAndUncommits)
{
    Case c{{4, 3}};
    Handle d = created<float>(c.lay(Way::tight, Way::tight));
    const Integers strides{7, 2, 9}, more{1, 4, 20};
    const dft_ops& does = *d->ops;
    const auto expect_uncommitted = [&](auto set, auto... values) {
        EXPECT_EQ(does.commit(d.get()), done);
        EXPECT_TRUE(d->commit_status == committed && d->forward != nullptr && d->backward != nullptr);
        d->state = 3;
        EXPECT_EQ(set(d.get(), values...), done);
        EXPECT_TRUE(d->commit_status == uncommitted && d->forward == nullptr && d->backward == nullptr);
        EXPECT_EQ(d->state, 2);
    };
    expect_uncommitted(does.set_input_strides, strides.data());
    expect_uncommitted(does.set_output_strides, more.data());
    expect_uncommitted(does.set_input_distance, 50);
    expect_uncommitted(does.set_output_distance, 60);
    expect_uncommitted(does.set_number_of_transforms, 2);
    expect_uncommitted(does.set_thread_limit, 3);
    expect_uncommitted(does.set_scale, 4, 0.5);
    expect_uncommitted(does.set_scale, 5, 0.25);
    double scale = 0;
    EXPECT_EQ(does.get_scale(d.get(), &scale, 5), done);
    EXPECT_TRUE(scale == 0.25 && d->forward_scale == 0.5 && d->backward_scale == 0.25);
    EXPECT_EQ(does.get_scale(d.get(), &scale, 6), inconsistent);
    EXPECT_EQ(does.set_scale(d.get(), 6, 1), inconsistent);
    EXPECT_EQ(does.set_thread_limit(d.get(), -1), inconsistent);
    // C gets the end of its text back, Fortran its blanks; nothing is written beyond the caller's length.
    for (const auto& [name, pad, room, expected] : {std::tuple{"", 0, 4, std::string("\0#######", 8)},
                                                    {"name", ' ', 6, "name  ##"},
                                                    {"a longer one", 0, 8, "a longer"},
                                                    {"name", 0, 8, std::string("name\0###", 8)}}) {
        std::string text(8, '#');
        EXPECT_EQ(does.set_name(d.get(), name, static_cast<core_int>(std::string(name).size()), pad), done);
        EXPECT_EQ(does.get_name(d.get(), text.data(), room), done);
        EXPECT_EQ(text, expected);
    }

    // A copy has all of this and no plan, and outlives what it was made of.
    ASSERT_EQ(does.commit(d.get()), done);
    dft_handle made = nullptr;
    ASSERT_EQ(does.copy(d.get(), &made), done);
    made->free(made); // the way of copies that no commit takes
    ASSERT_EQ(does.copy(d.get(), &made), done);
    EXPECT_EQ(d->commit_status, committed);
    const Handle copy(made);
    d.reset();
    EXPECT_EQ(copy->forward, nullptr);
    EXPECT_EQ(all_of(copy),
              "5523012 31 2 32 35 39 42 39 43 57 51 48 53 1 0 0.5 0.25, 4 3, 7 2 9 1 4 20 7 2 9 1 4 20, "
              "2 2 3 50 60 50 60");
    char name[8] = {};
    copy->ops->get_name(made, name, 8);
    EXPECT_STREQ(name, "name");
    ASSERT_EQ(copy->ops->commit(made), done);
    expect_transform<float>({{4, 3}, 2, Kind::complex, true, true, {strides, 50}, {strides, 50}, 0.5}, copy);
}

TEST(Dft, CommitRefuses)
{
    using Change = void (*)(Case&);
    const std::tuple<Status, Kind, Change> cases[] = {
        {done, Kind::complex, [](Case&) {}},
        {invalid, Kind::complex, [](Case& c) { c.lengths[1] = -3; }},
        {invalid, Kind::complex, [](Case& c) { c.transforms = -1; }},
        {done, Kind::complex, [](Case& c) { c.transforms = 0; }},
        {unable, Kind::complex, [](Case& c) { c.transforms = 2; }}, // all in one place
        {unable, Kind::complex, [](Case& c) { c.in.strides[2] = 0; }},
        {done, Kind::complex, [](Case& c) { c.out.strides[2] = 0; }}, // not looked at in place
        {unable, Kind::complex, [](Case& c) { c.out.strides[2] = 0, c.in_place = false; }},
        {done, Kind::complex, [](Case& c) { c.in.strides[2] = 0, c.in_place = false; }},
        {unable, Kind::pairs, [](Case& c) { c.out.strides[2] = 0; }},
        {unable, Kind::complex, [](Case& c) { c.in.strides[2] = INT64_MAX / 2; }},
        {unable, Kind::complex, [](Case& c) { c.in.strides[0] = INT64_MIN; }},
        {unable, Kind::complex, [](Case& c) { c.transforms = 2, c.in.distance = INT64_MAX / 2; }},
        {done, Kind::complex, [](Case& c) { c.lengths[1] = 1, c.in.strides[2] = 0; }},
        {no_memory, Kind::complex, [](Case& c) { c.lengths[0] = core_int{1} << 46; }},
        {no_memory, Kind::complex, [](Case& c) { c.lengths.assign(2, core_int{1} << 40); }},
        {unable, Kind::complex, [](Case& c) { c.transforms = INT64_MAX, c.in.distance = 1; }},
        {unable, Kind::ccs, [](Case&) {}}};
    for (const auto& [status, kind, change] : cases) {
        SCOPED_TRACE(&status - &std::get<0>(cases[0]));
        Case c{{4, 3}, 1, kind};
        c.lay(Way::tight, Way::tight);
        c.in.distance = 0;
        change(c);
        const Handle d = created<double>(c);
        EXPECT_EQ(d->ops->commit(d.get()), status);
        EXPECT_EQ(d->commit_status == committed, status == done);
        EXPECT_EQ(d->forward != nullptr, status == done);
        cdouble x[16] = {};
        EXPECT_TRUE(status != done || d->forward(d.get(), x, x + 1, nullptr, nullptr, nullptr) == done);
    }
    Case c{{4}, 1, Kind::split, false};
    const Handle d = created<double>(c.lay(Way::tight, Way::tight));
    EXPECT_EQ(d->ops->commit(d.get()), done);
    double x[4];
    for (std::size_t missing = 0; missing < 4; ++missing) {
        std::array<void*, 4> a{x, x, x, x};
        a[missing] = nullptr;
        EXPECT_EQ(d->forward(d.get(), a[0], a[1], a[2], a[3], nullptr), inconsistent);
    }
}

// ---- threads and memory

// Enough work for several threads, which find the same as one, wherever it is divided.
TEST(Dft, ThreadsOfACall)
{
    EXPECT_EQ(engine(), *engines().back());
    for (const auto& [lengths, transforms, kind] : {std::tuple{Integers{64, 64, 64}, 1, Kind::complex},
                                                    {Integers{1000}, 150, Kind::complex},
                                                    {Integers{30, 40}, 101, Kind::pairs},
                                                    {Integers{300, 400}, 2, Kind::pairs}})
        for (const bool forward : {true, false}) {
            Case c{lengths, transforms, kind, false, forward};
            const Handle d = created<double>(c.lay(Way::tight, Way::tight));
            ASSERT_EQ(commit(own(d), engine()), done);
            Spectrum x(static_cast<std::size_t>(product(lengths) * transforms));
            for (auto& value : x)
                value = {random_integer(-9, 9) / Exact(8), random_integer(-9, 9) / Exact(8)};
            std::vector<std::vector<double>> found;
            for (const int threads : {1, 3, 7}) {
                threads_of_test = threads;
                Blocks<double> arrays(c, x);
                EXPECT_EQ(arrays.compute(d), done);
                found.push_back(arrays.out.data);
            }
            EXPECT_TRUE(found[0] == found[1] && found[0] == found[2]) << testing::PrintToString(lengths);
        }
    threads_of_test = 5;
    for (const auto& [elements, limit, expected] :
         {std::tuple{1 << 30, 0, 5}, {1 << 30, 2, 2}, {1 << 30, 1, 1}, {1 << 30, 9, 5}, {1 << 15, 0, 1}})
        EXPECT_EQ(threads_for(elements, limit), expected);
    threads_of_test = 1;
}

// Computes only read what the core's own operation committed.
TEST(Dft, ThreadsOnOneDescriptor)
{
    Case c{{30, 12}, 3, Kind::pairs, false, false};
    const Handle d = created<double>(c.lay(Way::tight, Way::gaps));
    ASSERT_EQ(d->ops->commit(d.get()), done);
    expect_transform<double>(c, d);
    const Blocks<double> given(c, problem(c.lengths, c.transforms, true, false).first);
    Blocks<double> alone = given;
    ASSERT_EQ(alone.compute(d), done);
    std::vector<std::thread> threads;
    for (int k = 0; k < 8; ++k)
        threads.emplace_back([&, factor = std::ldexp(1.0, k)] { // exact: each has data of its own
            Blocks<double> mine = given;
            std::vector<double> result = alone.out.data;
            for (double& x : mine.in.data)
                x *= factor;
            for (const auto& place : mine.out.places)
                result[place.re] *= factor;
            for (int repeat = 0; repeat < 1000; ++repeat) {
                std::ranges::fill(mine.out.data, 1000);
                EXPECT_EQ(mine.compute(d), done);
                EXPECT_TRUE(mine.out.data == result);
            }
        });
    for (auto& thread : threads)
        thread.join();
}

// Each block fails once, at the commit or in the transform, and nothing is lost.
TEST(Dft, MemoryThatFails)
{
    const Use use = in_use();
    threads_of_test = 3;
    for (Case c : {Case{{1009}, 1, Kind::complex, false}, Case{{8, 6}, 3, Kind::split},
                   Case{{8, 6}, 9, Kind::pairs, false, false}, Case{{30}, 2, Kind::perm}, Case{{4096}, 16},
                   Case{{74}, 1, Kind::ccs, true, false}}) {
        const Handle d = created<double>(c.lay(Way::gaps, Way::backwards));
        const Spectrum from(static_cast<std::size_t>(product(c.lengths) * c.transforms), 1);
        Blocks<double> arrays(c, from);
        const bool threads =
            product(c.lengths) * c.transforms >= 1 << 16; // one that cannot be had is done without
        const auto fails = [threads](const auto& work) {  // how often
            int count = 0;
            for (int before = 0;; ++before) {
                left_of_memory = before;
                const std::int64_t status = work();
                if (left_of_memory.exchange(-1) >= 0) {
                    EXPECT_EQ(status, done);
                    return count;
                }
                EXPECT_TRUE(status == no_memory || (threads && status == done)) << status;
                count += status == no_memory ? 1 : 0;
            }
        };
        EXPECT_EQ(commit(own(d), engine()), done); // whose plan the next one gives back
        EXPECT_GT(fails([&] { return commit(own(d), engine()); }), 2);
        EXPECT_GT(fails([&] { return arrays.compute(d); }), 0);
        if (!threads)
            expect_transform<double>(c, d);
        // The record is the core's memory.
        dft_handle made = nullptr;
        service("set_memory_limit", 1, static_cast<std::size_t>(in_use().first));
        EXPECT_EQ(d->ops->copy(d.get(), &made), no_memory);
        EXPECT_EQ(qnm_dft_dfti_create_dc1d(&made, 8, 0), no_memory);
        service("set_memory_limit", 1, std::size_t{0});
        EXPECT_EQ(made, nullptr);
    }
    threads_of_test = 1;
    EXPECT_EQ(in_use(), use);
}

} // namespace
} // namespace qnm::test
