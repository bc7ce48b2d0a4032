// What a commit settles and a compute does.
#include "descriptor.hpp"

#include "../processor.hpp"
#include "../services.hpp"

#include <array>
#include <atomic>
#include <system_error>
#include <thread>

namespace qnm::core::dft {

Plan::~Plan() = default;

Engine& built_in()
{
    static Engine& best = best_of(engine_sse2, engine_avx2, engine_avx512);
    return best;
}

// ---- layouts of a task

Extents Task::extents(Kind kind) const
{
    Extents all;
    std::copy_n(length, most_dimensions, all.of);
    all.of[0] = kind == Kind::pairs || kind == Kind::ccs ? length[0] / 2 + 1 : length[0];
    return all;
}

Layout Task::tight(Kind kind) const
{
    Layout made{.kind = kind, .offset = 0, .stride = {}, .distance = 0};
    core_int step = kind == Kind::pairs ? 2 : 1;
    for (int k = 0; k < rank; ++k) {
        made.stride[k] = step;
        step *= extents(kind).of[k] * (kind == Kind::ccs ? 2 : 1);
    }
    made.distance = step;
    return made;
}

bool Task::keeps_places(const Direction& way) const
{
    const Layout &in = way.in, &out = way.out;
    const auto [less, more] = std::minmax(in.stride[0], out.stride[0]);
    const bool pairs = in.kind == Kind::pairs || out.kind == Kind::pairs;
    bool same = in.offset == out.offset && (pairs ? less == 1 && more == 2 : less == more);
    for (int k = 1; k < rank; ++k)
        same = same && (in.stride[k] == out.stride[k] || length[k] == 1);
    return same && (in.distance == out.distance || transforms == 1);
}

// ---- threads

int threads_for(core_int elements, core_int limit)
{
    constexpr core_int enough = 1 << 15; // takes longer than a thread's beginning and end
    if (limit == 1 || elements < 2 * enough)
        return 1;
    const core_int all = transform_threads();
    return static_cast<int>(std::min({limit > 0 ? limit : all, all, elements / enough}));
}

// Threads of a call live as long as the call: nothing is left for a fork or an exit to find. One that cannot
// be had leaves its part to the caller.
Status divide(const Divisible& work, core_int items, int threads)
{
    constexpr int most = 256;
    threads = static_cast<int>(std::min<core_int>({threads, items, most}));
    if (threads <= 1)
        return work.part(0, items);
    std::array<std::thread, most> helpers;
    std::atomic<Status> status{done};
    const auto part = [&](int k) {
        const auto from = [&](int i) { return items / threads * i + std::min<core_int>(i, items % threads); };
        const Status told = work.part(from(k), from(k + 1));
        if (told != done)
            status.store(told);
    };
    for (int k = 1; k < threads; ++k) {
        try {
            helpers[static_cast<std::size_t>(k)] = std::thread(part, k);
        } catch (const std::exception&) {
            part(k);
        }
    }
    part(0);
    for (std::thread& helper : helpers)
        if (helper.joinable())
            helper.join();
    return status.load();
}

// ---- what a descriptor says

namespace {

// No array of more reals exists, and no sum of these overflows.
constexpr core_int most_reals = core_int{1} << 46;

Kind half_of(const Descriptor& d)
{
    if (d.conjugate_even_storage == complex_complex)
        return Kind::pairs;
    return d.packed_format == ccs_format    ? Kind::ccs
           : d.packed_format == pack_format ? Kind::pack
                                            : Kind::perm;
}

Layout layout(const Descriptor& d, const core_int* strides, core_int distance, Kind kind)
{
    const core_int reals = kind == Kind::complex || kind == Kind::pairs ? 2 : 1;
    Layout made{.kind = kind, .offset = reals * strides[0], .stride = {}, .distance = reals * distance};
    for (int i = 0; i < d.rank; ++i)
        made.stride[i] = reals * strides[i + 1];
    return made;
}

// Whether all elements lie within what can be addressed.
bool can_be(const Descriptor& d, const core_int* strides, core_int distance)
{
    auto reaches = [left = most_reals](core_int step, core_int count) mutable {
        core_int way = 0;
        if (__builtin_mul_overflow(step, std::max<core_int>(count - 1, 1), &way) || way == INT64_MIN)
            return false;
        left -= std::min(std::abs(way), most_reals);
        return left > 0;
    };
    bool all = reaches(strides[0], 1) && reaches(distance, d.transforms);
    for (int i = 0; i < d.rank; ++i)
        all = all && reaches(strides[i + 1], d.length[i]);
    return all;
}

// Whether a result would have one place for several elements.
bool meets_itself(const Descriptor& d, const core_int* strides, core_int distance)
{
    bool does = distance == 0 && d.transforms > 1;
    for (int i = 0; i < d.rank; ++i)
        does = does || (strides[i + 1] == 0 && d.length[i] > 1);
    return does;
}

Status settle(const Descriptor& d, Task& task)
{
    task = {};
    core_int elements = 2; // counted in reals
    for (int i = 0; i < d.rank; ++i) {
        task.length[i] = d.length[i];
        if (d.length[i] < 1)
            return invalid;
        if (__builtin_mul_overflow(elements, d.length[i], &elements) || elements > most_reals)
            return no_memory;
    }
    if (d.transforms < 0)
        return invalid;
    task.single = d.precision == of_single;
    task.real = d.domain == of_real;
    task.in_place = d.placement == in_place;
    task.spoils_input = (d.options & DFT_DESTROY_INPUT) != 0;
    task.rank = d.rank;
    task.transforms = d.transforms;
    task.thread_limit = d.thread_limit;
    const bool formatted = d.conjugate_even_storage == complex_real;
    if (task.real && (formatted ? d.rank > 1 || d.packed_format == cce_format
                                : d.conjugate_even_storage != complex_complex))
        return unable;
    if (d.transforms > most_reals / elements)
        return unable;

    const bool out_counts = task.real || !task.in_place;
    const core_int* const in = d.input_stride;
    const core_int* const out = out_counts ? d.output_stride : in;
    const core_int out_distance = out_counts ? d.output_distance : d.input_distance;
    if (!can_be(d, in, d.input_distance) || !can_be(d, out, out_distance) ||
        meets_itself(d, out, out_distance))
        return unable;
    const Kind kind = task.real ? Kind::real : d.is_split() ? Kind::split : Kind::complex;
    const Kind half = task.real ? half_of(d) : kind;
    task.forward = {layout(d, in, d.input_distance, kind), layout(d, out, out_distance, half),
                    d.forward_scale};
    task.backward = {layout(d, in, d.input_distance, half), layout(d, out, out_distance, kind),
                     d.backward_scale};
    return done;
}

template <bool forward>
std::int64_t compute(dft_descriptor* head, void* a, void* b, void* c, void* e, void*)
{
    const auto& d = *static_cast<const Descriptor*>(head);
    const bool split = d.is_split(), same = d.placement == in_place;
    const Arrays arrays =
        split ? Arrays{{a, b}, {same ? a : c, same ? b : e}} : Arrays{{a, nullptr}, {same ? a : b, nullptr}};
    // Entries of the layer for a certain count of arrays do not ask whether it is this descriptor's.
    if (arrays.in[0] == nullptr || arrays.out[0] == nullptr ||
        (split && (arrays.in[1] == nullptr || arrays.out[1] == nullptr)))
        return inconsistent;
    return d.plan->run(forward, arrays);
}

} // namespace

Status commit(Descriptor& d, Engine& engine)
{
    d.uncommit();
    delete d.plan;
    d.plan = nullptr;
    Task task;
    Status status = settle(d, task);
    if (status == done)
        status = engine(task, &d.plan);
    if (status != done)
        return status;
    d.array_count = (task.in_place ? 1 : 2) * (d.is_split() ? 2 : 1);
    d.forward = compute<true>;
    d.backward = compute<false>;
    d.commit_status = committed;
    return done;
}

} // namespace qnm::core::dft
