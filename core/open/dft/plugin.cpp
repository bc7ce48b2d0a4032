// Engines that are opened at run time: where they are found, and how a task is told to one.
#include "plugin.h"
#include "plan.hpp"

#include "../beside.hpp"
#include "../services.hpp"
#include "qnm/core/dft.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <unistd.h>

namespace qnm::core::dft {
namespace {

// ---- what is lent

void* allocate(std::size_t bytes)
{
    return qnm_serv_malloc(bytes, 64);
}

std::int64_t divide_items(std::int64_t (*part)(void*, std::int64_t), void* work, std::int64_t items)
{
    struct Parts final : Divisible {
        std::int64_t (*part_of)(void*, std::int64_t);
        void* work_of;
        Status part(core_int first, core_int last) const noexcept override
        {
            Status told = done;
            for (; first < last; ++first)
                if (const std::int64_t status = part_of(work_of, first); status != done)
                    told = static_cast<Status>(status);
            return told;
        }
    } parts;
    parts.part_of = part;
    parts.work_of = work;
    return divide(parts, items, static_cast<int>(items));
}

constexpr dft_plugin_host host{.allocate = allocate, .release = qnm_serv_free, .divide = divide_items};

// ---- the library

const dft_plugin* opened(std::string& why)
{
    auto* const open =
        reinterpret_cast<dft_plugin_open*>(opened_beside("libqnm_core_fftw.so", "qnm_core_plugin", why));
    const dft_plugin* const found = open != nullptr ? open(DFT_PLUGIN_EDITION, &host) : nullptr;
    if (open != nullptr && found == nullptr)
        why = "libqnm_core_fftw.so: of another edition";
    return found;
}

// Where there is no memory to look for one, there is none.
const dft_plugin* asked_for() noexcept
{
    const char* const name = secure_getenv("QNM_FFT_ENGINE");
    if (name == nullptr || *name == '\0')
        return nullptr;
    const auto without = [name](const char* why) -> const dft_plugin* {
        print_to(STDERR_FILENO,
                 "QNM ERROR: QNM_FFT_ENGINE=%.64s: %.512s. Transforms are made by the core's own engine.\n",
                 name, why);
        return nullptr;
    };
    if (std::string_view(name) != "fftw")
        return without("no such engine is known");
    try {
        std::string why;
        const dft_plugin* const found = opened(why);
        return found != nullptr ? found : without(why.c_str());
    } catch (const std::bad_alloc&) {
        return without("no memory");
    }
}

// ---- a task

struct Release {
    const dft_plugin* plugin;
    void operator()(dft_plugin_plan* plan) const { plugin->free(plan); }
};
using Planned = std::unique_ptr<dft_plugin_plan, Release>;

/// A layout in the terms of a problem: the real part of an element and its imaginary one have the same step.
struct Side {
    core_int step[most_dimensions], distance, apart;

    explicit Side(const Layout& layout) : distance(layout.distance), apart(0)
    {
        std::copy_n(layout.stride, most_dimensions, step);
        if (layout.kind == Kind::complex || layout.kind == Kind::pairs)
            apart = 1;
        if (layout.kind == Kind::ccs) {
            apart = step[0];
            step[0] *= 2;
        }
    }
};

// Parts in two arrays have no fixed distance, and what has no place for a zero part is no array of pairs.
bool is_known(Kind kind)
{
    return kind != Kind::split && kind != Kind::pack && kind != Kind::perm;
}

/// Numbers of a result, as they lie in one array.
class Numbers {
public:
    void add(core_int count, core_int step)
    {
        if (count == 1)
            return;
        int at = dimensions_++;
        for (; at > 0 && std::abs(of_[at - 1].step) > std::abs(step); --at)
            of_[at] = of_[at - 1];
        of_[at] = {count, step};
    }
    /// Those that follow each other without a gap become one dimension.
    void join()
    {
        int last = 0;
        for (int k = 1; k < dimensions_; ++k)
            if (of_[k].step == of_[last].count * of_[last].step)
                of_[last].count *= of_[k].count;
            else
                of_[++last] = of_[k];
        slowest_ = last;
    }
    core_int slowest() const { return of_[slowest_].count; }
    /// Those of the slowest dimension from `first` on.
    template <class R>
    void scale(R* x, R by, core_int first, core_int last) const
    {
        along(x, by, slowest_, first, last);
    }

private:
    template <class R>
    void along(R* x, R by, int k, core_int first, core_int last) const
    {
        const core_int step = of_[k].step;
        if (k > 0)
            for (core_int i = first; i < last; ++i)
                along(x + i * step, by, k - 1, 0, of_[k - 1].count);
        else if (step == 1)
            for (core_int i = first; i < last; ++i)
                x[i] *= by;
        else
            for (core_int i = first; i < last; ++i)
                x[i * step] *= by;
    }

    struct {
        core_int count, step;
    } of_[most_dimensions + 2]{{1, 1}};
    int dimensions_ = 0, slowest_ = 0;
};

template <class R>
struct Scaling final : Divisible {
    const Numbers& numbers;
    R *x, by;

    Scaling(const Numbers& of, void* array, double factor)
        : numbers(of), x(static_cast<R*>(array)), by(static_cast<R>(factor))
    {
    }
    Status part(core_int first, core_int last) const noexcept override
    {
        numbers.scale(x, by, first, last);
        return done;
    }
};

/// One direction of a task. What an engine cannot do without spoiling its input, the way from half a spectrum
/// of more than one dimension, is done in two: all dimensions but that of the half, into room of the core's;
/// then that one.
class Way {
public:
    Status plan(const dft_plugin& plugin, const Task& task, bool forward)
    {
        const Direction& way = forward ? task.forward : task.backward;
        const Layout &from = way.in, &to = way.out;
        if (!is_known(from.kind) || !is_known(to.kind) || task.transforms == 0 ||
            (task.real && task.in_place && !task.keeps_places(way)))
            return unable;
        const core_int real = task.single ? sizeof(float) : sizeof(double);
        const Side in(from), out(to);
        in_at_ = real * from.offset;
        out_at_ = real * to.offset;
        plugin_ = &plugin;
        threads_ = threads_for(task.elements(), task.thread_limit);
        scale_ = way.scale;
        single_ = task.single;
        settle_numbers(task, to.kind, out);

        const bool in_two = task.real && !forward && task.rank > 1 && !task.in_place && !task.spoils_input;
        if (!in_two)
            return plan(plan_, {task, forward, in, out, 0, task.rank, true});
        const Layout tight = task.tight(Kind::pairs);
        const Side room(tight);
        transforms_ = task.transforms;
        in_distance_ = real * in.distance;
        out_distance_ = real * out.distance;
        room_ = static_cast<std::size_t>(real * tight.distance);
        const Status status = plan(first_, {task, forward, in, room, 1, task.rank, false});
        return status != done ? status : plan(plan_, {task, forward, room, out, 0, 1, false});
    }
    bool is_planned() const { return plan_ != nullptr; }

    Status run(const Arrays& arrays) const
    {
        char* const in = static_cast<char*>(arrays.in[0]) + in_at_;
        char* const out = static_cast<char*>(arrays.out[0]) + out_at_;
        const Status status = first_ == nullptr ? run(plan_, in, out) : run_in_two(in, out);
        if (scale_ != 1 && status == done)
            scale(out);
        return status;
    }

private:
    struct Part {
        const Task& task;
        bool forward;
        const Side &in, &out;
        int begin, end; // dimensions that are transformed
        bool all;       // transforms, not one
    };

    Status plan(Planned& made, const Part& part) const
    {
        const Task& task = part.task;
        const char* const effort = secure_getenv("QNM_FFT_EFFORT");
        dft_plugin_problem problem{.single = task.single,
                                   .real = task.real && part.begin == 0,
                                   .forward = part.forward,
                                   .in_place = task.in_place,
                                   .spoils_input = task.spoils_input || !part.all,
                                   .measure = effort != nullptr && std::string_view(effort) == "measure",
                                   .threads = threads_,
                                   .rank = 0,
                                   .batch_rank = 0,
                                   .dimension = {},
                                   .batch = {},
                                   .in_apart = part.in.apart,
                                   .out_apart = part.out.apart};
        const Extents extents = task.extents(task.real && problem.real == 0 ? Kind::pairs : Kind::real);
        if (part.all && task.transforms != 1)
            problem.batch[problem.batch_rank++] = {task.transforms, part.in.distance, part.out.distance};
        for (int k = task.rank - 1; k >= 0; --k)
            (part.begin <= k && k < part.end
                 ? problem.dimension[problem.rank++]
                 : problem.batch[problem.batch_rank++]) = {extents.of[k], part.in.step[k], part.out.step[k]};
        dft_plugin_plan* planned = nullptr;
        const std::int64_t status = plugin_->plan(&problem, &planned);
        made = Planned(planned, {plugin_});
        return static_cast<Status>(status);
    }

    void settle_numbers(const Task& task, Kind kind, const Side& out)
    {
        if (out.apart != 0)
            numbers_.add(2, out.apart);
        const Extents extents = task.extents(kind);
        for (int k = 0; k < task.rank; ++k)
            numbers_.add(extents.of[k], out.step[k]);
        numbers_.add(task.transforms, out.distance);
        numbers_.join();
    }

    Status run(const Planned& plan, void* in, void* out) const
    {
        return static_cast<Status>(plugin_->run(plan.get(), in, out));
    }

    Status run_in_two(char* in, char* out) const
    {
        void* const room = allocate(room_);
        Status status = room == nullptr ? no_memory : done;
        for (core_int t = 0; t < transforms_ && status == done; ++t) {
            status = run(first_, in, room);
            if (status == done)
                status = run(plan_, room, out);
            in += in_distance_;
            out += out_distance_;
        }
        qnm_serv_free(room);
        return status;
    }

    void scale(void* x) const
    {
        if (single_)
            divide(Scaling<float>(numbers_, x, scale_), numbers_.slowest(), threads_);
        else
            divide(Scaling<double>(numbers_, x, scale_), numbers_.slowest(), threads_);
    }

    const dft_plugin* plugin_ = nullptr;
    Planned first_{nullptr, {nullptr}}, plan_{nullptr, {nullptr}};
    core_int in_at_ = 0, out_at_ = 0, in_distance_ = 0, out_distance_ = 0; // bytes
    std::size_t room_ = 0;
    core_int transforms_ = 1;
    double scale_ = 1;
    int threads_ = 1;
    bool single_ = false;
    Numbers numbers_;
};

class Plugged final : public Plan {
public:
    Status plan(const dft_plugin& plugin, Engine& otherwise, const Task& task)
    {
        bool all = true;
        for (const bool forward : {true, false}) {
            const Status status = ways_[forward].plan(plugin, task, forward);
            if (status != done && status != unable)
                return status;
            all = all && status == done;
        }
        Plan* other = nullptr;
        const Status status = all ? done : otherwise(task, &other);
        other_.reset(other);
        return status;
    }

    Status run(bool forward, const Arrays& arrays) const noexcept override
    {
        const Way& way = ways_[forward];
        return way.is_planned() ? way.run(arrays) : other_->run(forward, arrays);
    }

private:
    Way ways_[2]; // backward, forward
    std::unique_ptr<Plan> other_;
};

} // namespace

const dft_plugin* plugin()
{
    static const dft_plugin* const found = []() noexcept -> const dft_plugin* {
        try {
            return asked_for();
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }();
    return found;
}

Status plan_by(const dft_plugin& plugin, Engine& otherwise, const Task& task, Plan** made)
{
    try {
        auto plan = std::make_unique<Plugged>();
        const Status status = plan->plan(plugin, otherwise, task);
        if (status == done)
            *made = plan.release();
        return status;
    } catch (const std::bad_alloc&) {
        return no_memory;
    }
}

Status engine_plugged(const Task& task, Plan** made) noexcept
{
    return plan_by(*plugin(), built_in(), task, made);
}

} // namespace qnm::core::dft
