// Transforms by FFTW, whose archives are linked in. Its allocator is ours, since its own ends the program
// where there is no memory; and its threads are the core's, which end with the call, so that a fork finds
// none.
#include "open/dft/plugin.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fftw3.h>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

namespace {

const dft_plugin_host* host;

// ---- memory

// What a run takes is the core's, and is given back if the run fails: FFTW's own functions do not clear up
// behind them. What the planner takes is the process's, and comes back to the planner.
struct alignas(64) Head {
    Head *next, **at; // of this thread's run
};
thread_local Head* mine;
thread_local bool planning;

void* allocate(std::size_t bytes)
{
    const std::size_t whole = (bytes / sizeof(Head) + 1) * sizeof(Head);
    void* const block =
        planning ? std::aligned_alloc(alignof(Head), whole) : host->allocate(sizeof(Head) + whole);
    if (block == nullptr)
        throw std::bad_alloc();
    if (planning)
        return block;
    auto* const head = static_cast<Head*>(block);
    *head = {mine, &mine};
    if (mine != nullptr)
        mine->at = &head->next;
    mine = head;
    return head + 1;
}

void release(void* block)
{
    if (planning) {
        std::free(block);
        return;
    }
    Head* const head = static_cast<Head*>(block) - 1;
    *head->at = head->next;
    if (head->next != nullptr)
        head->next->at = head->at;
    host->release(head);
}

/// A run or a part of one, which leaves no more than was there before it.
template <class Work>
std::int64_t guarded(Head* before, const Work& work) noexcept
{
    try {
        work();
        return DFT_PLUGIN_DONE;
    } catch (const std::bad_alloc&) {
        while (mine != before)
            release(mine + 1);
        return DFT_PLUGIN_NO_MEMORY;
    }
}

// ---- threads

struct Loop {
    void* (*work)(char*);
    char* data;
    std::size_t size;
};

std::int64_t part(void* loop, std::int64_t item)
{
    const auto& [work, data, size] = *static_cast<const Loop*>(loop);
    return guarded(mine, [&, at = data + size * static_cast<std::size_t>(item)] { work(at); });
}

void divide(void* (*work)(char*), char* data, std::size_t size, int items, void*)
{
    Loop loop{work, data, size};
    if (host->divide(part, &loop, items) != DFT_PLUGIN_DONE)
        throw std::bad_alloc();
}

// ---- both precisions under one name

template <class R>
struct Fftw;
#define QNM_FFTW(R, x)                                                                                       \
    template <>                                                                                              \
    struct Fftw<R> {                                                                                         \
        using Plan = x##_plan;                                                                               \
        using Dimension = x##_iodim64;                                                                       \
        static constexpr auto plan_complex = x##_plan_guru64_split_dft;                                      \
        static constexpr auto plan_forward = x##_plan_guru64_split_dft_r2c;                                  \
        static constexpr auto plan_backward = x##_plan_guru64_split_dft_c2r;                                 \
        static constexpr auto run_complex = x##_execute_split_dft;                                           \
        static constexpr auto run_forward = x##_execute_split_dft_r2c;                                       \
        static constexpr auto run_backward = x##_execute_split_dft_c2r;                                      \
        static constexpr auto destroy = x##_destroy_plan;                                                    \
        static constexpr auto set_threads = x##_plan_with_nthreads;                                          \
        static constexpr auto set_loop = x##_threads_set_callback;                                           \
        static constexpr auto start = x##_init_threads;                                                      \
        static constexpr auto clean_up = x##_cleanup_threads;                                                \
    };
QNM_FFTW(double, fftw)
QNM_FFTW(float, fftwf)

} // namespace

#define QNM_ALLOCATOR(x)                                                                                     \
    extern "C" void* x##_kernel_malloc(std::size_t bytes)                                                    \
    {                                                                                                        \
        return allocate(bytes);                                                                              \
    }                                                                                                        \
    extern "C" void x##_kernel_free(void* block)                                                             \
    {                                                                                                        \
        release(block);                                                                                      \
    }
QNM_ALLOCATOR(fftw)
QNM_ALLOCATOR(fftwf)

// ---- plans

struct dft_plugin_plan {
    virtual ~dft_plugin_plan() = default;
    virtual std::int64_t run(void* in, void* out) const noexcept = 0;
};

namespace {

/// All that changes what plans share: one thread at a time.
class Planner {
public:
    Planner() { planning = true; }
    ~Planner() { planning = false; }
    Planner(const Planner&) = delete;
    Planner& operator=(const Planner&) = delete;

private:
    static inline std::mutex all_;
    std::lock_guard<std::mutex> lock_{all_};
};

template <class R>
class Transform final : public dft_plugin_plan {
    using F = Fftw<R>;
    using Plan = typename F::Plan;

public:
    explicit Transform(const dft_plugin_problem& problem)
        : real_(problem.real != 0),
          forward_(problem.forward != 0),
          in_apart_(problem.in_apart),
          out_apart_(problem.out_apart)
    {
    }
    Transform(const Transform&) = delete;
    Transform& operator=(const Transform&) = delete;
    ~Transform() override
    {
        const Planner planner;
        F::destroy(aligned_); // null is none
        F::destroy(any_);
    }

    std::int64_t plan(const dft_plugin_problem& problem)
    {
        const Scratch scratch(problem);
        if (problem.measure != 0 && scratch.block == nullptr)
            return DFT_PLUGIN_NO_MEMORY;
        const Planner planner;
        try {
            if (!started) {
                F::set_loop(divide, nullptr);
                started = F::start() != 0;
            }
            F::set_threads(problem.threads);
            aligned_ = made(problem, scratch, 0);
            any_ = made(problem, scratch, FFTW_UNALIGNED);
            return aligned_ != nullptr && any_ != nullptr ? DFT_PLUGIN_DONE : DFT_PLUGIN_UNABLE;
        } catch (const std::bad_alloc&) {
            // What the planner was at is lost, and it begins anew. Plans that stand need nothing of it.
            F::clean_up();
            started = false;
            return DFT_PLUGIN_NO_MEMORY;
        }
    }

    std::int64_t run(void* in, void* out) const noexcept override
    {
        const auto places = reinterpret_cast<std::uintptr_t>(in) | reinterpret_cast<std::uintptr_t>(out);
        const Plan plan = places % alignment == 0 ? aligned_ : any_;
        auto *x = static_cast<R*>(in), *y = static_cast<R*>(out);
        return guarded(nullptr, [&] {
            if (real_ && forward_)
                F::run_forward(plan, x, y, y + out_apart_);
            else if (real_)
                F::run_backward(plan, x, x + in_apart_, y);
            else if (forward_)
                F::run_complex(plan, x, x + in_apart_, y, y + out_apart_);
            else // the same with parts exchanged
                F::run_complex(plan, x + in_apart_, x, y + out_apart_, y);
        });
    }

private:
    static constexpr std::uintptr_t alignment = 16;
    static inline bool started;

    /// What a plan is made on. Without measuring nobody looks there, but at the addresses: whether arrays are
    /// the same, and how they are aligned.
    struct Scratch {
        R *in, *out;
        void* block = nullptr;

        explicit Scratch(const dft_plugin_problem& problem)
        {
            const Span span(problem);
            const std::size_t sides = problem.in_place != 0 ? 1 : 2;
            std::uintptr_t size = std::uintptr_t{1} << 60, first = size; // no addresses of a program's
            if (problem.measure != 0) {
                size = span.bytes();
                block = host->allocate(size * sides);
                first = reinterpret_cast<std::uintptr_t>(block);
            }
            in = reinterpret_cast<R*>(first + span.before());
            out = reinterpret_cast<R*>(first + span.before() + size * (sides - 1));
        }
        ~Scratch() { host->release(block); }
        Scratch(const Scratch&) = delete;
        Scratch& operator=(const Scratch&) = delete;
    };

    /// How far arrays reach from their first elements, in bytes of whole lines of cache.
    class Span {
    public:
        explicit Span(const dft_plugin_problem& problem)
        {
            for (const auto& [step, apart] : {std::pair{&dft_plugin_dimension::in, problem.in_apart},
                                              {&dft_plugin_dimension::out, problem.out_apart}}) {
                std::int64_t least = 0, most = 0;
                const auto reach = [&](std::int64_t further) { (further < 0 ? least : most) += further; };
                reach(apart);
                for (int k = 0; k < problem.rank; ++k)
                    reach((problem.dimension[k].count - 1) * problem.dimension[k].*step);
                for (int k = 0; k < problem.batch_rank; ++k)
                    reach((problem.batch[k].count - 1) * problem.batch[k].*step);
                before_ = std::max(before_, -least);
                behind_ = std::max(behind_, most);
            }
        }
        std::size_t before() const { return lines(before_); }
        std::size_t bytes() const { return lines(before_) + lines(behind_ + 1); }

    private:
        static std::size_t lines(std::int64_t reals)
        {
            return (static_cast<std::size_t>(reals) * sizeof(R) + 63) / 64 * 64;
        }
        std::int64_t before_ = 0, behind_ = 0;
    };

    static Plan made(const dft_plugin_problem& problem, const Scratch& on, unsigned flags)
    {
        flags |= problem.measure != 0 ? FFTW_MEASURE : FFTW_ESTIMATE;
        flags |=
            problem.in_place != 0 || problem.spoils_input != 0 ? FFTW_DESTROY_INPUT : FFTW_PRESERVE_INPUT;
        typename F::Dimension dimension[7], batch[8];
        const auto told = [](const dft_plugin_dimension& d) {
            return typename F::Dimension{d.count, d.in, d.out};
        };
        std::transform(problem.dimension, problem.dimension + problem.rank, dimension, told);
        std::transform(problem.batch, problem.batch + problem.batch_rank, batch, told);
        const auto plan = [&](auto function, auto... arrays) {
            return function(problem.rank, dimension, problem.batch_rank, batch, arrays..., flags);
        };
        R *const in_im = on.in + problem.in_apart, *const out_im = on.out + problem.out_apart;
        if (problem.real != 0)
            return problem.forward != 0 ? plan(F::plan_forward, on.in, on.out, out_im)
                                        : plan(F::plan_backward, on.in, in_im, on.out);
        return problem.forward != 0 ? plan(F::plan_complex, on.in, in_im, on.out, out_im)
                                    : plan(F::plan_complex, in_im, on.in, out_im, on.out);
    }

    bool real_, forward_;
    std::int64_t in_apart_, out_apart_;
    Plan aligned_ = nullptr, any_ = nullptr;
};

template <class R>
std::int64_t made(const dft_plugin_problem& problem, dft_plugin_plan** plan)
{
    std::unique_ptr<Transform<R>> transform(new (std::nothrow) Transform<R>(problem));
    if (transform == nullptr)
        return DFT_PLUGIN_NO_MEMORY;
    const std::int64_t status = transform->plan(problem);
    if (status == DFT_PLUGIN_DONE)
        *plan = transform.release();
    return status;
}

constexpr dft_plugin engine{
    .version = fftw_version,
    .plan =
        [](const dft_plugin_problem* problem, dft_plugin_plan** plan) {
            return problem->single != 0 ? made<float>(*problem, plan) : made<double>(*problem, plan);
        },
    .run = [](const dft_plugin_plan* plan, void* in, void* out) { return plan->run(in, out); },
    .free = [](dft_plugin_plan* plan) { delete plan; }};

} // namespace

extern "C" [[gnu::visibility("default")]] const dft_plugin* qnm_core_plugin(int edition,
                                                                            const dft_plugin_host* lent)
{
    host = lent;
    return edition == DFT_PLUGIN_EDITION ? &engine : nullptr;
}
