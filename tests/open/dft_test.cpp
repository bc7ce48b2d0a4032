// Fourier transforms of the core, by its own functions: numbers of any rank and layout against sums, what is
// left alone, and what is refused.
#include "core.hpp"
#include "open/dft/descriptor.hpp"

#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>
#include <thread>

// Plans are linked into the tests, too: those of all instruction sets, with as many threads as a test says.
namespace qnm::core {
static int threads_of_test = 1;
int transform_threads()
{
    return threads_of_test;
}
} // namespace qnm::core

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

Spectrum transformed(Spectrum x, const Integers& lengths, bool forward)
{
    const auto all = static_cast<core_int>(x.size());
    core_int step = 1;
    for (const core_int n : lengths) {
        Spectrum root(static_cast<std::size_t>(n)), line(root);
        for (core_int k = 0; k < n; ++k)
            root[static_cast<std::size_t>(k)] =
                std::polar<Exact>(1, (forward ? -2 : 2) * std::numbers::pi_v<Exact> * static_cast<Exact>(k) /
                                         static_cast<Exact>(n));
        for (core_int first = 0; first < all; ++first) {
            if (first / step % n != 0)
                continue;
            const auto at = [&](core_int i) -> auto&
            {
                return x[static_cast<std::size_t>(first + i * step)];
            };
            for (core_int k = 0; k < n; ++k) {
                auto& sum = line[static_cast<std::size_t>(k)] = 0;
                for (core_int i = 0, turn = 0; i < n; ++i, turn = (turn + k) % n)
                    sum += at(i) * root[static_cast<std::size_t>(turn)];
            }
            for (core_int k = 0; k < n; ++k)
                at(k) = line[static_cast<std::size_t>(k)];
        }
        step *= n;
    }
    return x;
}

// ---- layouts

// As a program sets it: in elements of the side, the offset in front of the strides.
struct Side {
    Integers strides;
    core_int distance;
};

enum class Way { tight, gaps, backwards, interleaved, reversed };
constexpr Way ways[] = {Way::tight, Way::gaps, Way::backwards, Way::interleaved, Way::reversed};

Side side(Way way, Integers extents, core_int transforms)
{
    const std::size_t rank = extents.size();
    Side made{Integers(rank + 1), 0};
    core_int step = way == Way::gaps ? 2 : way == Way::interleaved ? transforms : 1;
    for (std::size_t i = 0; i < rank; ++i) {
        const std::size_t k = way == Way::reversed ? rank - 1 - i : i;
        made.strides[k + 1] = way == Way::backwards ? -step : step;
        step = step * extents[k] + (way == Way::gaps ? 3 : 0);
    }
    made.strides[0] = way == Way::gaps ? 5 : 0;
    made.distance = way == Way::interleaved ? 1 : step;
    return made;
}

// Where the parts of the elements of one line stand, counted in strides; -1: nowhere, since it is zero.
using Parts = std::pair<core_int, core_int>;
std::vector<Parts> line_of(Kind kind, core_int n)
{
    std::vector<Parts> line;
    if (kind == Kind::complex || kind == Kind::split || kind == Kind::real) {
        for (core_int i = 0; i < n; ++i)
            line.emplace_back(i, kind == Kind::real ? -1 : i);
        return line;
    }
    core_int next = 0;
    const bool even = n % 2 == 0, zeros = kind == Kind::pairs || kind == Kind::ccs;
    for (core_int k = 0; k <= n / 2; ++k) {
        const bool alone = !zeros && (k == 0 || 2 * k == n);
        if (kind == Kind::pairs)
            next = k;
        line.emplace_back(next, alone ? -1 : kind == Kind::pairs ? next : next + 1);
        next += alone ? 1 : 2;
        if (kind == Kind::perm && even && k == 0)
            ++next;
    }
    if (kind == Kind::perm && even)
        line.back().first = 1;
    return line;
}

// The arrays of a side, as a program has them: one or two in one block, with room on all sides.
template <class R>
struct Memory {
    struct Place {
        std::size_t element; // of the naive array
        std::size_t re, im;  // in `data`; none
    };
    static constexpr std::size_t none = SIZE_MAX;
    static constexpr core_int room = 7;

    std::vector<R> data;
    std::vector<Place> places;
    std::size_t first, second; // of the arrays

    Memory(Kind kind, const Side& side, const Integers& lengths, core_int transforms, std::size_t size = 0)
    {
        const auto line = line_of(kind, lengths[0]);
        const core_int width = kind == Kind::complex || kind == Kind::pairs ? 2 : 1, all = product(lengths);
        std::vector<std::array<core_int, 3>> found;
        core_int low = 0, high = 0;
        for (core_int t = 0; t < transforms; ++t)
            for (core_int e = 0; e < all; ++e) {
                const auto k = static_cast<std::size_t>(e % lengths[0]);
                if (k >= line.size())
                    continue;
                core_int at = side.strides[0] + t * side.distance, rest = e / lengths[0];
                for (std::size_t i = 1; i < lengths.size(); rest /= lengths[i++])
                    at += rest % lengths[i] * side.strides[i + 1];
                const core_int re = width * (at + line[k].first * side.strides[1]);
                const core_int im = line[k].second < 0
                                        ? INT64_MIN
                                        : width * (at + line[k].second * side.strides[1]) + width - 1;
                found.push_back({t * all + e, re, im});
                low = std::min({low, re, im == INT64_MIN ? re : im});
                high = std::max({high, re, im});
            }
        const auto extent = static_cast<std::size_t>(high - low + 1 + 2 * room);
        first = static_cast<std::size_t>(room - low);
        second = kind == Kind::split ? first + extent : first;
        data.resize(std::max(size, kind == Kind::split ? 2 * extent : extent));
        for (std::size_t i = 0; i < data.size(); ++i)
            data[i] = static_cast<R>(1000 + i % 100); // no result
        for (const auto& [e, re, im] : found)
            places.push_back({static_cast<std::size_t>(e), first + static_cast<std::size_t>(re),
                              im == INT64_MIN ? none : second + static_cast<std::size_t>(im)});
    }
    void take(const Spectrum& x)
    {
        for (const Place& place : places) {
            data[place.re] = static_cast<R>(x[place.element].real());
            if (place.im != none)
                data[place.im] = static_cast<R>(x[place.element].imag());
        }
    }
    void* array(bool imaginary) { return data.data() + (imaginary ? second : first); }
};

// ---- descriptors, configured as the layer does it

struct Configuration {
    bool real = false;
    Integers lengths{};
    core_int transforms = 1;
    Kind kind = Kind::complex, half = Kind::pairs;
    bool in_place = true;
    Side in{}, out{};
    double forward_scale = 1, backward_scale = 1;
};

struct Release {
    void operator()(dft_descriptor* d) const { d->ops->release(d); }
};
using Handle = std::unique_ptr<dft_descriptor, Release>;

template <class R>
Handle created(const Configuration& c)
{
    constexpr bool single = sizeof(R) == 4;
    dft_handle made = nullptr;
    const auto create = c.real ? (single ? qnm_dft_dfti_create_srmd : qnm_dft_dfti_create_drmd)
                               : (single ? qnm_dft_dfti_create_scmd : qnm_dft_dfti_create_dcmd);
    EXPECT_EQ(create(&made, static_cast<core_int>(c.lengths.size()), c.lengths.data(), 0), done);
    made->placement = c.in_place ? core::dft::in_place : not_in_place;
    if (c.kind == Kind::split)
        made->complex_storage = real_real;
    made->conjugate_even_storage = c.half == Kind::pairs ? complex_complex : complex_real;
    made->packed_format = c.half == Kind::pairs  ? cce_format
                          : c.half == Kind::ccs  ? ccs_format
                          : c.half == Kind::pack ? pack_format
                                                 : perm_format;
    const dft_ops& does = *made->ops;
    does.set_input_strides(made, c.in.strides.data());
    does.set_output_strides(made, c.out.strides.data());
    does.set_input_distance(made, c.in.distance);
    does.set_output_distance(made, c.out.distance);
    does.set_number_of_transforms(made, c.transforms);
    does.set_scale(made, forward_scale_code, c.forward_scale);
    does.set_scale(made, backward_scale_code, c.backward_scale);
    return Handle(made);
}

template <class R>
std::int64_t compute(dft_descriptor* d, bool forward, Memory<R>& in, Memory<R>& out)
{
    const auto run = forward ? d->forward : d->backward;
    const bool split = in.first != in.second;
    void* const arrays[] = {in.array(false), in.array(true), out.array(false), out.array(true)};
    return d->placement == core::dft::in_place
               ? run(d, arrays[0], split ? arrays[1] : nullptr, nullptr, nullptr, nullptr)
           : split ? run(d, arrays[0], arrays[1], arrays[2], arrays[3], nullptr)
                   : run(d, arrays[0], arrays[2], nullptr, nullptr, nullptr);
}

// Random numbers, and what becomes of them. Real data has them on the side of the domain.
struct Problem {
    Spectrum from, to;
};

Problem problem(const Configuration& c, bool forward)
{
    Problem made;
    for (core_int t = 0; t < c.transforms; ++t) {
        Spectrum x(static_cast<std::size_t>(product(c.lengths)));
        for (auto& value : x)
            value = {random_integer(-999, 999) / Exact(1024),
                     c.real ? 0 : random_integer(-999, 999) / Exact(1024)};
        if (c.real && !forward)
            x = transformed(x, c.lengths, true);
        Spectrum y = transformed(x, c.lengths, forward);
        for (auto& value : y)
            value *= forward ? c.forward_scale : c.backward_scale;
        made.from.insert(made.from.end(), x.begin(), x.end());
        made.to.insert(made.to.end(), y.begin(), y.end());
    }
    return made;
}

template <class R>
void expect_transform(const Configuration& c, dft_descriptor* d, bool forward, const Problem& expected)
{
    const Kind near = forward || !c.real ? (c.real ? Kind::real : c.kind) : c.half;
    const Kind far = !c.real ? c.kind : forward ? c.half : Kind::real;
    const Side& out_side = c.in_place && !c.real ? c.in : c.out;
    Memory<R> in(near, c.in, c.lengths, c.transforms), out(far, out_side, c.lengths, c.transforms);
    in.take(expected.from);
    if (c.in_place) { // both sides begin in one place
        const std::size_t start = std::max(in.first, out.first),
                          size = start + std::max(in.data.size(), out.data.size());
        if (near != Kind::split) {
            for (Memory<R>* side : {&in, &out}) {
                const std::size_t moved = start - side->first;
                for (auto& place : side->places) {
                    place.re += moved;
                    place.im += place.im == Memory<R>::none ? 0 : moved;
                }
                side->first = side->second = start;
                side->data.assign(size, R(1001));
            }
            in.take(expected.from);
        }
    }
    const std::vector<R> before = in.data, out_before = c.in_place ? in.data : out.data;
    ASSERT_EQ(compute(d, forward, in, c.in_place ? in : out), done);
    const std::vector<R>& found = c.in_place ? in.data : out.data;
    EXPECT_TRUE(c.in_place || in.data == before) << "input";

    Exact error = 0, size = 0;
    std::vector<bool> written(found.size());
    for (const auto& place : out.places) {
        const auto& y = expected.to[place.element];
        const Exact im = place.im == Memory<R>::none ? y.imag() : Exact(found[place.im]);
        error = std::max(error, std::abs(std::complex<Exact>(found[place.re], im) - y));
        size += std::norm(y);
        written[place.re] = true;
        if (place.im != Memory<R>::none)
            written[place.im] = true;
    }
    const auto count = static_cast<Exact>(out.places.size());
    const Exact bound = 6 * std::numeric_limits<R>::epsilon() *
                        std::log2(static_cast<Exact>(2 * product(c.lengths))) * std::sqrt(size / count);
    EXPECT_LE(error, bound) << "of a bound, " << error / bound;
    if (c.in_place)
        for (const auto& place : in.places) { // may be left as anything
            written[place.re] = true;
            if (place.im != Memory<R>::none)
                written[place.im] = true;
        }
    for (std::size_t i = 0; i < found.size(); ++i)
        ASSERT_TRUE(written[i] || found[i] == out_before[i]) << "between the results, at " << i;
}

// Those that this processor can run; the last is the core's choice.
std::vector<Engine*> engines()
{
    std::vector<Engine*> all{engine_sse2};
    if (__builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0)
        all.push_back(engine_avx2);
    if (__builtin_cpu_supports("avx512f") != 0)
        all.push_back(engine_avx512);
    return all;
}

template <class R>
void expect_transforms(const Configuration& c, const std::vector<bool>& directions = {true, false})
{
    SCOPED_TRACE("lengths " + testing::PrintToString(c.lengths) + ", transforms " +
                 std::to_string(c.transforms) + (c.in_place ? ", in place" : "") + ", kinds " +
                 std::to_string(static_cast<int>(c.kind)) + " " + std::to_string(static_cast<int>(c.half)) +
                 ", strides " + testing::PrintToString(c.in.strides) + testing::PrintToString(c.out.strides));
    const Handle d = created<R>(c);
    for (const bool forward : directions) {
        const Problem expected = problem(c, forward);
        for (Engine* engine : engines()) {
            ASSERT_EQ(commit(static_cast<Descriptor&>(*d), *engine), done);
            expect_transform<R>(c, d.get(), forward, expected);
        }
    }
}

Integers some_lengths()
{
    Integers all(64);
    std::iota(all.begin(), all.end(), 1);
    for (const core_int n : {67, 128, 101, 243, 256, 343, 625, 1000, 1009, 1024, 2310})
        all.push_back(n);
    return all;
}
const std::vector<Integers> shapes{{1},
                                   {12},
                                   {8, 3},
                                   {5, 16},
                                   {4, 3, 5},
                                   {2, 3, 2, 4},
                                   {3, 1, 2, 2, 5},
                                   {2, 3, 2, 3, 2, 2},
                                   {2, 3, 2, 2, 3, 2, 2}};

QNM_TYPED_OF(Dft, ComplexLinesOfAnyLength, float, double)
{
    for (const core_int n : some_lengths())
        for (const bool in_place : {true, false}) {
            const Side tight = side(Way::tight, {n}, 1);
            expect_transforms<T>({.lengths = {n}, .in_place = in_place, .in = tight, .out = tight});
        }
}

QNM_TYPED_OF(Dft, ComplexLayouts, float, double)
{
    for (const Integers& lengths : shapes)
        for (const core_int transforms : {1, 3, 19})
            for (const Way in : ways)
                for (const Way out : ways)
                    for (const Kind kind : {Kind::complex, Kind::split})
                        for (const bool in_place : {true, false})
                            expect_transforms<T>({.lengths = lengths,
                                                  .transforms = transforms,
                                                  .kind = kind,
                                                  .in_place = in_place,
                                                  .in = side(in, lengths, transforms),
                                                  .out = side(out, lengths, transforms),
                                                  .forward_scale = 0.5,
                                                  .backward_scale = -1.25});
}

constexpr Kind halves[] = {Kind::pairs, Kind::ccs, Kind::pack, Kind::perm};

QNM_TYPED_OF(Dft, RealLinesOfAnyLength, float, double)
{
    for (const core_int n : some_lengths())
        for (const Kind half : halves)
            for (const bool in_place : {true, false}) {
                const Side tight = side(Way::tight, {n}, 1);
                expect_transforms<T>({.real = true,
                                      .lengths = {n},
                                      .half = half,
                                      .in_place = in_place,
                                      .in = tight,
                                      .out = tight});
            }
}

// A side as those lay it out who know its direction. In place, rows of reals have room for their half.
Side real_side(Way way, Kind kind, Integers lengths, core_int transforms, bool in_place)
{
    core_int& n = lengths[0];
    if (kind == Kind::pairs)
        n = n / 2 + 1;
    else if (kind == Kind::ccs || (kind == Kind::real && in_place))
        n = n / 2 * 2 + 2;
    return side(way, lengths, transforms);
}

QNM_TYPED_OF(Dft, RealLayouts, float, double)
{
    std::vector<Integers> all = shapes;
    all.insert(all.end(), {{2}, {3}, {13}, {9, 4}});
    for (const Integers& lengths : all)
        for (const core_int transforms : {1, 3, 19})
            for (const Way in : ways)
                for (const Way out : ways)
                    for (const Kind half : halves)
                        for (const bool in_place : {true, false})
                            for (const bool forward : {true, false}) {
                                if (half != Kind::pairs && lengths.size() > 1)
                                    continue;
                                const auto of = [&](Way way, bool near) {
                                    return real_side(way, near == forward ? Kind::real : half, lengths,
                                                     transforms, in_place);
                                };
                                expect_transforms<T>({.real = true,
                                                      .lengths = lengths,
                                                      .transforms = transforms,
                                                      .half = half,
                                                      .in_place = in_place,
                                                      .in = of(in, true),
                                                      .out = of(out, false),
                                                      .forward_scale = 3,
                                                      .backward_scale = -0.25},
                                                     {forward});
                            }
}

// ---- configuration

// Of a descriptor's operations.
template <class Operation>
Integers got(dft_descriptor* d, Operation operation, std::size_t count = 1)
{
    Integers values(count + 1, -77);
    EXPECT_EQ(operation(d, values.data()), done);
    EXPECT_EQ(values.back(), -77);
    values.pop_back();
    return values;
}

// As created: what a program gets that sets nothing.
TEST(Dft, Defaults)
{
    const core_int lengths[] = {4, 3, 5};
    for (const auto& [create, create_line, precision, domain] :
         {std::tuple{&qnm_dft_dfti_create_dcmd, &qnm_dft_dfti_create_dc1d, of_double, of_complex},
          {&qnm_dft_dfti_create_scmd, &qnm_dft_dfti_create_sc1d, of_single, of_complex},
          {&qnm_dft_dfti_create_drmd, &qnm_dft_dfti_create_dr1d, of_double, of_real},
          {&qnm_dft_dfti_create_srmd, &qnm_dft_dfti_create_sr1d, of_single, of_real}})
        for (const int rank : {0, 1, 2, 3}) { // 0: by the function of one length
            dft_handle made = nullptr;
            EXPECT_EQ(rank == 0 ? create_line(&made, 4, 0) : create(&made, rank, lengths, 0), done);
            const Handle d(made);
            qnm_dft_bless_node_thr(made);
            const auto n = static_cast<std::size_t>(std::max(rank, 1));
            const bool formatted = domain == of_real && n == 1;
            const Integers strides{0, 1, 4, 12},
                tight(strides.begin(), strides.begin() + 1 + static_cast<int>(n));
            const Integers codes{d->magic,         d->rank,
                                 d->commit_status, d->domain,
                                 d->precision,     d->complex_storage,
                                 d->real_storage,  d->conjugate_even_storage,
                                 d->packed_format, d->placement,
                                 d->workspace,     d->ordering,
                                 d->transpose,     d->user_threads,
                                 d->options};
            EXPECT_EQ(codes, Integers({0x544644, static_cast<core_int>(n), 31, domain, precision, 39, 42,
                                       formatted ? 40 : 39, formatted ? 54 : 57, 43, 51, 48, 53, 1, 0}));
            EXPECT_EQ(d->forward_scale + d->backward_scale, 2);
            EXPECT_TRUE(d->forward == nullptr && d->backward == nullptr && d->next == nullptr &&
                        d->free != nullptr);
            const dft_ops& does = *d->ops;
            EXPECT_EQ(got(made, does.get_lengths, n), Integers(lengths, lengths + n));
            for (const auto get : {does.get_input_strides, does.get_output_strides, does.get_forward_strides,
                                   does.get_backward_strides})
                EXPECT_EQ(got(made, get, n + 1), tight);
            for (const auto& [get, value] : {std::pair{does.get_input_distance, 0},
                                             {does.get_output_distance, 0},
                                             {does.get_forward_distance, 0},
                                             {does.get_backward_distance, 0},
                                             {does.get_number_of_transforms, 1},
                                             {does.get_thread_limit, 0},
                                             {does.get_rank, static_cast<int>(n)}})
                EXPECT_EQ(got(made, get), Integers{value});
        }
    for (const core_int rank : {-1, 0, 8}) {
        dft_handle made = reinterpret_cast<dft_handle>(8);
        EXPECT_EQ(qnm_dft_dfti_create_dcmd(&made, rank, lengths, 0), invalid);
        EXPECT_EQ(made, nullptr);
    }
    char text[300];
    std::fill(std::begin(text), std::end(text), '#');
    qnm_dft_dfti_get_version_string(text, 12);
    EXPECT_EQ(std::string(text, 14), "QNM open cor##");
}

TEST(Dft, WhatIsSetIsGotAndUncommits)
{
    const Integers lengths{4, 3}, strides{7, 2, 9}, more{1, 4, 20};
    const Side tight = side(Way::tight, lengths, 1);
    const Handle d = created<double>({.lengths = lengths, .in = tight, .out = tight});
    const dft_ops& does = *d->ops;
    const std::vector<std::pair<const char*, std::function<std::int64_t()>>> sets{
        {"input strides", [&] { return does.set_input_strides(d.get(), strides.data()); }},
        {"output strides", [&] { return does.set_output_strides(d.get(), more.data()); }},
        {"input distance", [&] { return does.set_input_distance(d.get(), 50); }},
        {"output distance", [&] { return does.set_output_distance(d.get(), 60); }},
        {"transforms", [&] { return does.set_number_of_transforms(d.get(), 2); }},
        {"thread limit", [&] { return does.set_thread_limit(d.get(), 3); }},
        {"forward scale", [&] { return does.set_scale(d.get(), 4, 0.5); }},
        {"backward scale", [&] { return does.set_scale(d.get(), 5, 0.25); }}};
    for (const auto& [what, set] : sets) {
        SCOPED_TRACE(what);
        ASSERT_EQ(does.commit(d.get()), done);
        EXPECT_TRUE(d->commit_status == committed && d->forward != nullptr && d->backward != nullptr);
        d->state = 3;
        EXPECT_EQ(set(), done);
        EXPECT_TRUE(d->commit_status == uncommitted && d->forward == nullptr && d->backward == nullptr);
        EXPECT_EQ(d->state, 2);
    }
    for (const auto& [get, expected] : {std::pair{does.get_input_strides, strides},
                                        {does.get_output_strides, more},
                                        {does.get_forward_strides, strides},
                                        {does.get_backward_strides, more}})
        EXPECT_EQ(got(d.get(), get, 3), expected);
    for (const auto& [get, expected] : {std::pair{does.get_input_distance, 50},
                                        {does.get_forward_distance, 50},
                                        {does.get_output_distance, 60},
                                        {does.get_backward_distance, 60},
                                        {does.get_number_of_transforms, 2},
                                        {does.get_thread_limit, 3}})
        EXPECT_EQ(got(d.get(), get), Integers{expected});
    double scale = 0;
    EXPECT_EQ(does.get_scale(d.get(), &scale, 5), done);
    EXPECT_TRUE(scale == 0.25 && d->forward_scale == 0.5 && d->backward_scale == 0.25);
    EXPECT_EQ(does.get_scale(d.get(), &scale, 6), inconsistent);
    EXPECT_EQ(does.set_scale(d.get(), 6, 1), inconsistent);
    EXPECT_EQ(does.set_thread_limit(d.get(), -1), inconsistent);

    // C gets the end of its text back, Fortran its blanks; nothing is written beyond the caller's length.
    for (const auto& [name, length, pad, room, expected] : {std::tuple{"", 0, 0, 4, std::string("\0###", 4)},
                                                            {"name", 4, 0, 8, std::string("name\0###", 8)},
                                                            {"name", 4, ' ', 8, "name    "},
                                                            {"a longer one", 12, 0, 8, "a longer"}}) {
        std::string text(8, '#');
        EXPECT_EQ(does.set_name(d.get(), name, length, pad), done);
        EXPECT_EQ(does.get_name(d.get(), text.data(), room), done);
        EXPECT_EQ(text.substr(0, expected.size()), expected);
    }
}

TEST(Dft, CommitRefuses)
{
    constexpr core_int huge = core_int{1} << 40;
    const Integers lengths{4, 3};
    const Side tight = side(Way::tight, lengths, 1), line = side(Way::tight, {4}, 1);
    const Configuration plane{.lengths = lengths, .in = tight, .out = tight};
    const auto with = [](Configuration c, auto change) {
        change(c);
        return c;
    };
    const std::tuple<const char*, Status, Configuration> cases[] = {
        {"plane", done, plane},
        {"length", invalid, with(plane, [](auto& c) { c.lengths[1] = -3; })},
        {"count", invalid, with(plane, [](auto& c) { c.transforms = -1; })},
        {"no transform", done, with(plane, [](auto& c) { c.transforms = 0; })},
        {"one place", unable,
         with(plane,
              [](auto& c) {
                  c.transforms = 2;
                  c.in.distance = 0;
              })},
        {"one column", unable, with(plane, [](auto& c) { c.in.strides[2] = 0; })},
        {"unread", done, with(plane, [](auto& c) { c.out.strides[2] = 0; })},
        {"out of place", unable,
         with(plane,
              [](auto& c) {
                  c.out.strides[2] = 0;
                  c.in_place = false;
              })},
        {"spread", done,
         with(plane,
              [](auto& c) {
                  c.in.strides[2] = 0;
                  c.in_place = false;
              })},
        {"real in place", unable,
         with(plane,
              [](auto& c) {
                  c.out.strides[2] = 0;
                  c.real = true;
              })},
        {"too far", unable, with(plane, [](auto& c) { c.in.strides[2] = INT64_MAX / 2; })},
        {"behind all", unable, with(plane, [](auto& c) { c.in.strides[0] = INT64_MIN; })},
        {"memory", no_memory,
         with(plane,
              [](auto& c) {
                  c.lengths = {huge, huge};
              })},
        {"transforms", unable,
         with(plane,
              [](auto& c) {
                  c.transforms = INT64_MAX;
                  c.in.distance = 1;
              })},
        {"format", unable, {.real = true, .lengths = lengths, .half = Kind::ccs, .in = tight, .out = tight}},
        {"line", done, {.real = true, .lengths = {4}, .half = Kind::perm, .in = line, .out = line}}};
    for (const auto& [what, status, c] : cases) {
        SCOPED_TRACE(what);
        const Handle d = created<double>(c);
        EXPECT_EQ(d->ops->commit(d.get()), status);
        EXPECT_EQ(d->commit_status, status == done ? committed : uncommitted);
        EXPECT_EQ(d->forward != nullptr, status == done);
        cdouble x[16] = {};
        if (status == done) {
            EXPECT_EQ(d->forward(d.get(), x, x, nullptr, nullptr, nullptr), done);
        }
    }
    const Handle d =
        created<double>({.lengths = {4}, .kind = Kind::split, .in_place = false, .in = line, .out = line});
    EXPECT_EQ(d->ops->commit(d.get()), done);
    double x[4];
    for (int missing = 0; missing < 4; ++missing) {
        const auto array = [&](int i) { return i == missing ? nullptr : static_cast<void*>(x); };
        EXPECT_EQ(d->forward(d.get(), array(0), array(1), array(2), array(3), nullptr), inconsistent);
    }
}

TEST(Dft, EngineOfTheProcessor)
{
    EXPECT_EQ(engine(), engines().back());
}

// Enough for several threads, which find the same as one, wherever the work is divided.
TEST(Dft, ThreadsOfACall)
{
    for (const auto& [lengths, transforms, real] : {std::tuple{Integers{64, 64, 64}, 1, false},
                                                    {Integers{1000}, 150, false},
                                                    {Integers{30, 40}, 101, true},
                                                    {Integers{300, 400}, 2, true},
                                                    {Integers{300, 400}, 2, false}})
        for (const bool in_place : {false, true}) {
            const Kind half = real ? Kind::pairs : Kind::complex;
            const auto of = [&](Kind kind) {
                return real_side(Way::tight, kind, lengths, transforms, false);
            };
            Configuration c{.real = real, .lengths = lengths, .transforms = transforms, .in_place = in_place};
            for (const bool forward : {true, false}) {
                const Kind near = !real ? Kind::complex : forward ? Kind::real : half;
                const Kind far = !real ? Kind::complex : forward ? half : Kind::real;
                c.in = of(near);
                c.out = of(far);
                const Handle d = created<double>(c);
                ASSERT_EQ(commit(static_cast<Descriptor&>(*d), engine()), done);
                Spectrum x(static_cast<std::size_t>(product(lengths) * transforms));
                for (auto& value : x)
                    value = {random_integer(-9, 9) / Exact(8), random_integer(-9, 9) / Exact(8)};
                std::vector<std::vector<double>> found;
                for (const int threads : {1, 3, 7}) {
                    core::threads_of_test = threads;
                    Memory<double> in(near, c.in, lengths, transforms, 2000000),
                        out(far, c.out, lengths, transforms);
                    in.take(x);
                    ASSERT_EQ(compute(d.get(), forward, in, out), done);
                    found.push_back(in_place ? in.data : out.data);
                }
                core::threads_of_test = 1;
                EXPECT_TRUE(found[0] == found[1] && found[0] == found[2]) << testing::PrintToString(lengths);
            }
        }
    // Never more than are asked for.
    core::threads_of_test = 5;
    for (const auto& [elements, limit, expected] : {std::tuple{core_int{1} << 30, 0, 5},
                                                    {core_int{1} << 30, 2, 2},
                                                    {core_int{1} << 30, 9, 5},
                                                    {core_int{1} << 10, 0, 1}})
        EXPECT_EQ(threads_for(elements, limit), expected);
    core::threads_of_test = 1;
}

// Several threads on one committed descriptor, which the core's own operation committed.
TEST(Dft, ComputesOnlyRead)
{
    const Integers lengths{30, 12};
    const Side near = real_side(Way::tight, Kind::real, lengths, 3, false),
               far = real_side(Way::tight, Kind::pairs, lengths, 3, false);
    const Configuration c{
        .real = true, .lengths = lengths, .transforms = 3, .in_place = false, .in = near, .out = far};
    const Handle d = created<double>(c);
    ASSERT_EQ(d->ops->commit(d.get()), done);
    const Problem expected = problem(c, true);
    std::vector<std::thread> threads;
    for (int k = 0; k < 8; ++k)
        threads.emplace_back([&] {
            for (int repeat = 0; repeat < 20; ++repeat)
                expect_transform<double>(c, d.get(), true, expected);
        });
    for (auto& thread : threads)
        thread.join();
}

// A copy has all of the configuration and no plan, and lives longer than what it was made of.
TEST(Dft, Copies)
{
    const Integers lengths{5, 4};
    const Side near = side(Way::gaps, lengths, 2), far = side(Way::backwards, lengths, 2);
    const Configuration c{.lengths = lengths,
                          .transforms = 2,
                          .kind = Kind::split,
                          .in_place = false,
                          .in = near,
                          .out = far,
                          .forward_scale = 2};
    Handle d = created<float>(c);
    d->ops->set_name(d.get(), "twin", 4, 0);
    d->ops->set_thread_limit(d.get(), 6);
    ASSERT_EQ(d->ops->commit(d.get()), done);
    dft_handle made = nullptr;
    ASSERT_EQ(d->ops->copy(d.get(), &made), done);
    const Handle copy(made);
    EXPECT_TRUE(copy->commit_status == uncommitted && copy->forward == nullptr && copy->magic == DFT_MAGIC);
    EXPECT_EQ(d->commit_status, committed);
    d.reset();
    ASSERT_EQ(copy->ops->commit(made), done);
    expect_transform<float>(c, made, true, problem(c, true));
    char name[8] = {};
    copy->ops->get_name(made, name, 8);
    EXPECT_STREQ(name, "twin");
    EXPECT_EQ(got(made, copy->ops->get_thread_limit), Integers{6});
    dft_handle second = nullptr;
    ASSERT_EQ(copy->ops->copy(made, &second), done);
    second->free(second); // the way of copies that no commit takes
}

// How many arrays a compute takes is known from the commit on.
TEST(Dft, CountsArrays)
{
    const Side line = side(Way::tight, {4}, 1);
    for (const auto& [kind, in_place, real, count] : {std::tuple{Kind::complex, true, false, 1},
                                                      {Kind::complex, false, false, 2},
                                                      {Kind::split, true, false, 2},
                                                      {Kind::split, false, false, 4},
                                                      {Kind::split, true, true, 1},
                                                      {Kind::split, false, true, 2}}) {
        const Handle d = created<float>(
            {.real = real, .lengths = {4}, .kind = kind, .in_place = in_place, .in = line, .out = line});
        EXPECT_EQ(d->ops->commit(d.get()), done);
        EXPECT_EQ(d->array_count, count);
    }
}

} // namespace
} // namespace qnm::test
