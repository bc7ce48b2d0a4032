// Convolution and correlation: tasks, and their runs by sums of products or by transforms. A correlation is
// the convolution with the conjugated x, read from its end: z(t) = sum x'(j) y(t + shape - 1 - j).
#include "../dft/plan.hpp"
#include "../dft/room.hpp"
#include "../guarded.hpp"
#include "../processor.hpp"
#include "../services.hpp"
#include "lines.hpp"

#include <qnm/core/vsl.h>

#include <cmath>
#include <memory>

extern "C" int qnm_vsl_serv_threader_for(std::int64_t count, int (*body)(std::int64_t k, void* data),
                                         void* data);

namespace qnm::core::convolution {
namespace {

enum Status : int {
    ok = 0,
    no_memory = -2001,
    failed = -2000,
    null_task = -2110,
    bad_kind = -2111,
    bad_family = -2112,
    bad_mode = -2113,
    bad_field = -2114,
    bad_precision = -2115,
    bad_parameter = -2116,
    bad_inside = -2117,
    bad_dims = -2301,
    bad_start = -2302,
    bad_step = -2303,
    bad_shape = -2304,  // of x; those of y and z follow
    bad_stride = -2307, // alike
    bad_array = -2310,  // alike
};
enum Operand { of_x, of_y, of_z };
Status with(Status bad, Operand operand)
{
    return static_cast<Status>(static_cast<int>(bad) - static_cast<int>(operand));
}

enum Mode { automatic, direct, by_transform };
constexpr int most_dimensions = dft::most_dimensions;
using Places = core_int[most_dimensions];

core_int product(const core_int* shape, int dims)
{
    core_int all = 1;
    for (int i = 0; i < dims; ++i)
        if (__builtin_mul_overflow(all, shape[i], &all))
            throw std::bad_alloc();
    return all;
}

struct Task {
    bool correlates, complex, single, inside_single;
    int mode, dims;
    Places shape[3], start, step;
    void* fixed; // the x that stays, without gaps; null: none

    static void* operator new(std::size_t bytes) noexcept { return qnm_serv_malloc(bytes, 64); }
    static void operator delete(void* block) noexcept { qnm_serv_free(block); }
    ~Task() { qnm_serv_free(fixed); }

    std::size_t element() const { return (single ? sizeof(float) : sizeof(double)) * (complex ? 2 : 1); }
    /// Where the first result would be in a convolution of x as it is read.
    core_int first(int i) const { return start[i] + (correlates ? shape[of_x][i] - 1 : 0); }
};

/// An array of the caller's, whose first element is at the address whatever the strides' signs.
template <class T>
struct Operands {
    T* at;
    Places stride;

    T& operator[](const core_int* place) const { return at[offset(place, 0)]; }
    core_int offset(const core_int* place, int dims) const
    {
        core_int sum = 0;
        for (int i = 0; i < dims; ++i)
            sum += place[i] * stride[i];
        return sum;
    }
};

/// Each place of the dimensions behind the first within [from, to], with its number.
template <class Work>
void over_lines(const core_int* from, const core_int* to, int dims, const Work& work)
{
    Places place;
    place[0] = 0;
    for (int i = 1; i < dims; ++i) {
        if (from[i] > to[i])
            return;
        place[i] = from[i];
    }
    for (core_int line = 0;; ++line) {
        work(line, place);
        int i = 1;
        for (; i < dims && place[i] == to[i]; ++i)
            place[i] = from[i];
        if (i >= dims)
            return;
        ++place[i];
    }
}
template <class Work>
void over_lines(const core_int* shape, int dims, const Work& work)
{
    Places none{}, last;
    for (int i = 0; i < dims; ++i)
        last[i] = shape[i] - 1;
    over_lines(none, last, dims, work);
}

/// Number of a line among those of a shape.
core_int line_of(const core_int* place, const core_int* shape, int dims)
{
    core_int line = 0;
    for (int i = dims - 1; i > 0; --i)
        line = line * shape[i] + place[i];
    return line;
}

/// The numbers of x or y in the order in which they are convolved: store(line, place in it, number).
template <class T, class Store>
void read(const Task& task, Operand operand, const Operands<const T>& from, const Store& store)
{
    const core_int* const shape = task.shape[operand];
    const bool turned = operand == of_x && task.correlates;
    over_lines(shape, task.dims, [&](core_int line, core_int* place) {
        Places source{};
        for (int i = 0; i < task.dims; ++i)
            source[i] = turned ? shape[i] - 1 - place[i] : place[i];
        const T* at = from.at + from.offset(source, task.dims);
        const core_int step = turned ? -from.stride[0] : from.stride[0];
        for (core_int i = 0; i < shape[0]; ++i, at += step)
            store(line, i, turned ? conjugate(*at) : *at);
    });
}

const Engine& engine()
{
    static const Engine& best = best_of(engine_sse2, engine_avx2, engine_avx512);
    return best;
}

// ---- sums of products

template <class R>
class Gathered {
public:
    template <class T>
    Gathered(const Task& task, Operand operand, const Operands<const T>& from, core_int step)
        : count_(task.shape[operand][0]),
          phase_((count_ + step - 1) / step),
          room_(phase_ * step),
          imaginary_(is_complex<T> ? room_ * product(task.shape[operand] + 1, task.dims - 1) : 0),
          numbers_(room_ * product(task.shape[operand] + 1, task.dims - 1) * (is_complex<T> ? 2 : 1))
    {
        R* const at = numbers_.get();
        read<T>(task, operand, from, [&](core_int line, core_int i, T number) {
            R* const to = at + line * room_ + (step == 1 ? i : i % step * phase_ + i / step);
            if constexpr (is_complex<T>) {
                *to = static_cast<R>(number.real());
                to[imaginary_] = static_cast<R>(number.imag());
            } else {
                *to = static_cast<R>(number);
            }
        });
    }
    Line<R> line(core_int k) const { return {numbers_.get() + k * room_, count_, imaginary_}; }

private:
    core_int count_, phase_, room_, imaginary_;
    dft::Room<R> numbers_;
};

template <class T, class R>
void run_direct(const Task& task, const Operands<const T>& x, const Operands<const T>& y,
                const Operands<T>& z)
{
    const Gathered<R> xs(task, of_x, x, 1), ys(task, of_y, y, task.step[0]);
    Add<R>& add = engine().add<R>(task.complex);
    const int dims = task.dims;
    const core_int* const shape = task.shape[of_z];
    const core_int blocks = (shape[0] + block - 1) / block;
    const auto one = [&](core_int item) {
        Places place{}, t, from, to;
        core_int line = item / blocks;
        bool any = true;
        for (int i = 1; i < dims; ++i) {
            place[i] = line % shape[i];
            line /= shape[i];
            t[i] = task.first(i) + place[i] * task.step[i];
            from[i] = std::max<core_int>(0, t[i] - (task.shape[of_y][i] - 1));
            to[i] = std::min(task.shape[of_x][i] - 1, t[i]);
            any = any && from[i] <= to[i];
        }
        const core_int first = item % blocks * block, count = std::min(block, shape[0] - first);
        Block<R> sums{};
        if (any)
            over_lines(from, to, dims, [&](core_int, const core_int* j) {
                Places behind{};
                for (int i = 1; i < dims; ++i)
                    behind[i] = t[i] - j[i];
                add(sums, count, xs.line(line_of(j, task.shape[of_x], dims)),
                    ys.line(line_of(behind, task.shape[of_y], dims)), task.first(0) + first * task.step[0],
                    task.step[0]);
            });
        place[0] = first;
        T* at = z.at + z.offset(place, dims);
        for (core_int k = 0; k < count; ++k, at += z.stride[0]) {
            if constexpr (is_complex<T>)
                *at = T(static_cast<real_t<T>>(sums.re[k]), static_cast<real_t<T>>(sums.im[k]));
            else
                *at = static_cast<T>(sums.re[k]);
        }
    };
    const core_int items = product(shape, dims) / shape[0] * blocks;
    using Item = decltype(one);
    const auto body = [](core_int k, void* all) {
        (*static_cast<const Item*>(all))(k);
        return 0;
    };
    double terms = 1;
    for (int i = 0; i < dims; ++i)
        terms *= static_cast<double>(shape[i]) *
                 static_cast<double>(std::min(task.shape[of_x][i], task.shape[of_y][i]));
    constexpr double enough = 1 << 17; // for a second thread to be worth its beginning
    if (terms >= enough)
        qnm_vsl_serv_threader_for(items, body, const_cast<void*>(static_cast<const void*>(&one)));
    else
        for (core_int k = 0; k < items; ++k)
            one(k);
}

// ---- by transforms

/// The least number from n on that has no prime factor above 7.
core_int good_length(core_int n)
{
    for (;; ++n) {
        core_int rest = n;
        for (const core_int prime : {2, 3, 5, 7})
            while (rest % prime == 0)
                rest /= prime;
        if (rest == 1)
            return n;
    }
}

/// Lengths of the transforms that hold all of a convolution.
void lengths(const Task& task, core_int* length)
{
    for (int i = 0; i < task.dims; ++i)
        length[i] = good_length(task.shape[of_x][i] + task.shape[of_y][i] - 1);
}

Status told(dft::Status status)
{
    return status == dft::done ? ok : status == dft::no_memory ? no_memory : failed;
}

template <class T, class R>
Status run_by_transform(const Task& task, const Operands<const T>& x, const Operands<const T>& y,
                        const Operands<T>& z)
{
    constexpr bool complex = is_complex<T>;
    using Number = std::conditional_t<complex, std::complex<R>, R>;
    dft::Task transform{};
    transform.single = std::is_same_v<R, float>;
    transform.real = !complex;
    transform.spoils_input = true;
    transform.rank = task.dims;
    transform.transforms = 1;
    lengths(task, transform.length);
    const dft::Layout places = transform.tight(complex ? dft::Kind::complex : dft::Kind::real);
    const dft::Layout spectrum = transform.tight(complex ? dft::Kind::complex : dft::Kind::pairs);
    dft::Layout numbers = places;
    if (complex) { // whose steps are counted in reals
        for (core_int& stride : numbers.stride)
            stride *= 2;
        numbers.distance *= 2;
    }
    dft::Layout frequencies = complex ? numbers : spectrum;
    const core_int all = product(transform.length, task.dims);
    transform.forward = {numbers, frequencies, 1};
    transform.backward = {frequencies, numbers, 1 / static_cast<double>(all)};
    dft::Plan* made = nullptr;
    if (const Status status = told(dft::engine()(transform, &made)); status != ok)
        return status;
    const std::unique_ptr<dft::Plan> plan(made);

    const dft::Room<R> room(numbers.distance), room_x(frequencies.distance), room_y(frequencies.distance);
    auto* const line = reinterpret_cast<Number*>(room.get());
    const auto line_at = [&](const core_int* place) {
        return line + line_of(place, transform.length, task.dims) * transform.length[0];
    };
    const auto forward = [&](Operand operand, const Operands<const T>& from, R* to) {
        std::fill_n(line, all, Number(0));
        const core_int* const shape = task.shape[operand];
        Places starts{};
        core_int of_line = -1;
        Number* at = line;
        read<T>(task, operand, from, [&](core_int k, core_int i, T number) {
            if (k != of_line) {
                of_line = k;
                for (int d = 1; d < task.dims; ++d) {
                    starts[d] = k % shape[d];
                    k /= shape[d];
                }
                at = line_at(starts);
            }
            at[i] = static_cast<Number>(number);
        });
        return told(plan->run(true, {{line, nullptr}, {to, nullptr}}));
    };
    Status status = forward(of_x, x, room_x.get());
    if (status == ok)
        status = forward(of_y, y, room_y.get());
    if (status != ok)
        return status;
    R *const a = room_x.get(), *const b = room_y.get();
    for (core_int i = 0; i < frequencies.distance; i += 2) {
        const R re = a[i] * b[i] - a[i + 1] * b[i + 1], im = a[i] * b[i + 1] + a[i + 1] * b[i];
        a[i] = re;
        a[i + 1] = im;
    }
    status = told(plan->run(false, {{a, nullptr}, {line, nullptr}}));
    if (status != ok)
        return status;
    over_lines(task.shape[of_z], task.dims, [&](core_int, core_int* place) {
        Places t{};
        const auto inside = [&](int i) {
            return t[i] >= 0 && t[i] < task.shape[of_x][i] + task.shape[of_y][i] - 1;
        };
        bool any = true;
        for (int i = 1; i < task.dims; ++i) {
            t[i] = task.first(i) + place[i] * task.step[i];
            any = any && inside(i);
        }
        const Number* const from = any ? line_at(t) : nullptr;
        T* at = z.at + z.offset(place, task.dims);
        for (core_int k = 0; k < task.shape[of_z][0]; ++k, at += z.stride[0]) {
            t[0] = task.first(0) + k * task.step[0];
            *at = any && inside(0) ? static_cast<T>(from[t[0]]) : T(0);
        }
    });
    return ok;
}

/// Which way takes less time, counted in products of numbers that are not vectors.
bool transforms_are_cheaper(const Task& task)
{
    constexpr double of_each_step = 1.5, of_each_call = 4000;
    double products = task.complex ? 4 : 1, length = 1;
    Places all;
    lengths(task, all);
    for (int i = 0; i < task.dims; ++i) {
        products *= static_cast<double>(task.shape[of_z][i]) *
                    static_cast<double>(std::min(task.shape[of_x][i], task.shape[of_y][i]));
        length *= static_cast<double>(all[i]);
    }
    const double steps = 3 * (task.complex ? 2 : 1) * length * std::log2(length);
    return of_each_step * steps + of_each_call < products / 8;
}

// ---- calls

template <class Work>
int guarded(const Work& work) noexcept
{
    return core::guarded<no_memory, failed>(work);
}

/// Work for the type of a task's numbers, and for that of its sums.
template <class Work>
int by_type(const Task& task, const Work& work)
{
    const auto of = [&](auto number) {
        return task.inside_single ? work(number, float{}) : work(number, double{});
    };
    return task.complex ? (task.single ? of(cfloat{}) : of(cdouble{}))
                        : (task.single ? of(float{}) : of(double{}));
}

/// Bad strides: none, or several elements in one place.
template <class T>
Status take(const Task& task, Operand operand, T* at, const int* stride, Operands<T>& operands)
{
    if (at == nullptr)
        return with(bad_array, operand);
    if (stride == nullptr)
        return with(bad_stride, operand);
    operands.at = at;
    for (int i = 0; i < task.dims; ++i) {
        if (stride[i] == 0 && task.shape[operand][i] > 1)
            return with(bad_stride, operand);
        operands.stride[i] = stride[i];
    }
    return ok;
}

/// Of the x that stays.
template <class T>
Operands<T> fixed_of(const Task& task)
{
    Operands<T> x{static_cast<T*>(task.fixed), {}};
    core_int step = 1;
    for (int i = 0; i < task.dims; ++i) {
        x.stride[i] = step;
        step *= task.shape[of_x][i];
    }
    return x;
}

int run(const Task& task, const void* x, const int* xstride, const void* y, const int* ystride, void* z,
        const int* zstride, bool with_fixed)
{
    return by_type(task, [&](auto number, auto inside) -> int {
        using T = decltype(number);
        using R = decltype(inside);
        Operands<const T> of_task[2];
        Operands<T> result;
        Status status = ok;
        if (!with_fixed)
            status = take(task, of_x, static_cast<const T*>(x), xstride, of_task[0]);
        else if (task.fixed == nullptr)
            status = with(bad_array, of_x);
        else
            of_task[0] = fixed_of<const T>(task);
        if (status == ok)
            status = take(task, of_y, static_cast<const T*>(y), ystride, of_task[1]);
        if (status == ok)
            status = take(task, of_z, static_cast<T*>(z), zstride, result);
        if (status != ok)
            return status;
        if (task.mode == by_transform || (task.mode == automatic && transforms_are_cheaper(task)))
            return run_by_transform<T, R>(task, of_task[0], of_task[1], result);
        run_direct<T, R>(task, of_task[0], of_task[1], result);
        return ok;
    });
}

bool is_one_of(core_int value, int low, int high)
{
    return value >= low && value <= high;
}

int make(void** slot, core_int kind, core_int family, int mode, core_int field, core_int precision, int dims,
         const int* const (&shapes)[3], std::unique_ptr<Task>& task)
{
    if (slot == nullptr)
        return null_task;
    *slot = nullptr;
    if (!is_one_of(kind, 1, 2))
        return bad_kind;
    if (family != 1)
        return bad_family;
    if (!is_one_of(mode, automatic, by_transform))
        return bad_mode;
    if (!is_one_of(field, 1, 2))
        return bad_field;
    if (!is_one_of(precision, 1, 2))
        return bad_precision;
    if (!is_one_of(dims, 1, most_dimensions))
        return bad_dims;
    for (const Operand operand : {of_x, of_y, of_z})
        for (int i = 0; i < dims; ++i)
            if (shapes[operand] == nullptr || shapes[operand][i] < 1)
                return with(bad_shape, operand);
    const bool single = precision == 1;
    task.reset(new Task{.correlates = kind == 2,
                        .complex = field == 2,
                        .single = single,
                        .inside_single = single,
                        .mode = mode,
                        .dims = dims,
                        .shape = {},
                        .start = {},
                        .step = {},
                        .fixed = nullptr});
    if (!task)
        return no_memory;
    for (int i = 0; i < dims; ++i) {
        for (const Operand operand : {of_x, of_y, of_z})
            task->shape[operand][i] = shapes[operand][i];
        task->start[i] = task->correlates ? 1 - task->shape[of_x][i] : 0;
        task->step[i] = 1;
    }
    return ok;
}

void* room_for_fixed(const Task& task)
{
    core_int bytes = 0;
    if (__builtin_mul_overflow(product(task.shape[of_x], task.dims), static_cast<core_int>(task.element()),
                               &bytes))
        throw std::bad_alloc();
    void* const room = qnm_serv_malloc(static_cast<std::size_t>(bytes), 64);
    if (room == nullptr)
        throw std::bad_alloc();
    return room;
}

int edit(Task& task, core_int parameter, const int* value)
{
    enum { mode = 3, start = 5, step = 6, inside = 9 };
    switch (parameter) {
    case mode:
        if (value == nullptr || !is_one_of(*value, automatic, by_transform))
            return bad_mode;
        task.mode = *value;
        return ok;
    case inside:
        if (value == nullptr || !is_one_of(*value, 1, 2))
            return bad_inside;
        task.inside_single = *value == 1;
        return ok;
    case start:
        if (value == nullptr)
            return bad_start;
        std::copy_n(value, task.dims, task.start);
        return ok;
    case step:
        if (value == nullptr || std::any_of(value, value + task.dims, [](int each) { return each < 1; }))
            return bad_step;
        std::copy_n(value, task.dims, task.step);
        return ok;
    default:
        return bad_parameter;
    }
}

Task& task_of(void* handle)
{
    return *static_cast<Task*>(handle);
}

} // namespace
} // namespace qnm::core::convolution

using qnm::core::core_int;
using namespace qnm::core::convolution;

QNM_CORE int qnm_conv_newtask(void** slot, core_int kind, core_int family, int mode, core_int field,
                              core_int precision, int dims, const int* xshape, const int* yshape,
                              const int* zshape)
{
    std::unique_ptr<Task> task;
    const int status = make(slot, kind, family, mode, field, precision, dims, {xshape, yshape, zshape}, task);
    if (status == ok)
        *slot = task.release();
    return status;
}

QNM_CORE int qnm_conv_newtaskx(void** slot, core_int kind, core_int family, int mode, core_int field,
                               core_int precision, int dims, const int* xshape, const int* yshape,
                               const int* zshape, const void* x, const int* xstride)
{
    return guarded([&] {
        std::unique_ptr<Task> task;
        int status = make(slot, kind, family, mode, field, precision, dims, {xshape, yshape, zshape}, task);
        if (status != ok)
            return status;
        status = by_type(*task, [&](auto number, auto) -> int {
            using T = decltype(number);
            Operands<const T> from;
            const Status taken = take(*task, of_x, static_cast<const T*>(x), xstride, from);
            if (taken != ok)
                return taken;
            task->fixed = room_for_fixed(*task);
            T* to = static_cast<T*>(task->fixed);
            over_lines(task->shape[of_x], task->dims, [&](core_int, const core_int* place) {
                const T* at = from.at + from.offset(place, task->dims);
                for (core_int i = 0; i < task->shape[of_x][0]; ++i, at += from.stride[0])
                    *to++ = *at;
            });
            return ok;
        });
        if (status == ok)
            *slot = task.release();
        return status;
    });
}

QNM_CORE int qnm_conv_exec(void* task, const void* x, const int* xstride, const void* y, const int* ystride,
                           void* z, const int* zstride)
{
    return task == nullptr
               ? null_task
               : guarded([&] { return run(task_of(task), x, xstride, y, ystride, z, zstride, false); });
}

QNM_CORE int qnm_conv_execx(void* task, const void* y, const int* ystride, void* z, const int* zstride)
{
    return task == nullptr
               ? null_task
               : guarded([&] { return run(task_of(task), nullptr, nullptr, y, ystride, z, zstride, true); });
}

QNM_CORE int qnm_conv_edittask(void* task, core_int parameter, const int* value)
{
    return task == nullptr ? null_task : edit(task_of(task), parameter, value);
}

QNM_CORE int qnm_conv_copytask(void** slot, void* source)
{
    if (slot == nullptr || source == nullptr)
        return null_task;
    return guarded([&] {
        *slot = nullptr;
        const Task& model = task_of(source);
        std::unique_ptr<Task> task(new Task(model));
        if (!task)
            return no_memory;
        task->fixed = nullptr;
        if (model.fixed != nullptr) {
            task->fixed = room_for_fixed(*task);
            const auto elements = static_cast<std::size_t>(product(task->shape[of_x], task->dims));
            std::copy_n(static_cast<const char*>(model.fixed), elements * task->element(),
                        static_cast<char*>(task->fixed));
        }
        *slot = task.release();
        return ok;
    });
}

QNM_CORE int qnm_conv_deletetask(void** slot)
{
    if (slot == nullptr || *slot == nullptr)
        return null_task;
    delete &task_of(*slot);
    *slot = nullptr;
    return ok;
}
