// Transforms of any rank and layout by the plans of pocketfft for one line. Compiled once for each
// instruction set, which gives pocketfft a namespace and ENGINE a name; all else is this file's own, so that
// the linker merges nothing of one set with that of another.
#include "plan.hpp"

#include "../services.hpp"

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

namespace {

void* engine_block(std::size_t alignment, std::size_t bytes)
{
    return qnm_serv_malloc(bytes, static_cast<int>(alignment));
}

} // namespace

// Threads and plans are kept here. Memory is the core's: counted, bounded, quick where it is small.
#define POCKETFFT_NO_MULTITHREADING
#define POCKETFFT_CACHE_SIZE 0
#define aligned_alloc engine_block
#define free qnm_serv_free
#include <pocketfft_hdronly.h>
#undef aligned_alloc
#undef free

namespace qnm::core::dft {
namespace {

namespace fft = pocketfft::detail;

/// Lines that go through one vector each.
template <class R>
constexpr int lanes = static_cast<int>(fft::VLEN<R>::val);
template <class R, int L>
using Number = typename std::conditional_t<L == 1, std::type_identity<R>, fft::VTYPE<R>>::type;

template <class R>
class Room {
public:
    explicit Room(core_int reals) : at_(static_cast<R*>(qnm_serv_malloc(bytes(reals), 64)))
    {
        if (at_ == nullptr)
            throw std::bad_alloc();
    }
    ~Room() { qnm_serv_free(at_); }
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;
    R* get() const { return at_; }

private:
    static std::size_t bytes(core_int reals)
    {
        return sizeof(R) * static_cast<std::size_t>(std::max<core_int>(reals, 1));
    }
    R* at_;
};

/// One side of a call.
template <class R>
struct View {
    R *re, *im; // im of complex numbers only
    Layout layout;

    View(void* const* arrays, const Layout& as) : re(static_cast<R*>(arrays[0]) + as.offset), layout(as)
    {
        im = as.kind == Kind::split ? static_cast<R*>(arrays[1]) + as.offset : re + 1;
    }
    View from(core_int transform) const
    {
        View moved = *this;
        moved.re += transform * layout.distance;
        moved.im += transform * layout.distance;
        return moved;
    }
};

/// Lines along one dimension, and where they begin on either side.
struct Lines {
    struct Across {
        core_int count, in, out;
    };
    Across across[most_dimensions];
    int dimensions = 0;
    core_int count = 1;

    void add(core_int how_many, core_int in, core_int out)
    {
        if (how_many == 1)
            return;
        // Neighbours follow each other: the closest change first.
        int at = dimensions++;
        for (; at > 0 && std::abs(across[at - 1].out) > std::abs(out); --at)
            across[at] = across[at - 1];
        across[at] = {how_many, in, out};
        count *= how_many;
    }
};

class Walk {
public:
    Walk(const Lines& lines, core_int first) : lines_(lines)
    {
        for (int k = 0; k < lines.dimensions; ++k) {
            const Lines::Across& step = lines.across[k];
            at_[k] = first % step.count;
            first /= step.count;
            in += at_[k] * step.in;
            out += at_[k] * step.out;
        }
    }
    void next()
    {
        for (int k = 0; k < lines_.dimensions; ++k) {
            const Lines::Across& step = lines_.across[k];
            in += step.in;
            out += step.out;
            if (++at_[k] < step.count)
                return;
            at_[k] = 0;
            in -= step.count * step.in;
            out -= step.count * step.out;
        }
    }
    core_int in = 0, out = 0;

private:
    const Lines& lines_;
    core_int at_[most_dimensions];
};

// ---- what is done to L lines: they are brought into a row of vectors, transformed, and brought out

/// A line of complex numbers to another.
template <class R>
struct Complex {
    const fft::pocketfft_c<R>& plan;
    View<R> in, out;
    core_int length, from, to; // steps
    R scale;
    bool forward;

    core_int room() const { return 2 * length; }
    bool needs_room() const { return to != 2 || out.im != out.re + 1; }

    template <int L>
    void operator()(const core_int* in_at, const core_int* out_at, R* work) const
    {
        if (L == 1 && !needs_room())
            work = out.re + *out_at;
        if (L == 1 && from == 2 && in.im == in.re + 1) {
            if (work != in.re + *in_at)
                std::memmove(work, in.re + *in_at, sizeof(R) * static_cast<std::size_t>(2 * length));
        } else {
            for (core_int i = 0; i < length; ++i)
                for (int j = 0; j < L; ++j) {
                    work[2 * L * i + j] = in.re[in_at[j] + i * from];
                    work[2 * L * i + L + j] = in.im[in_at[j] + i * from];
                }
        }
        plan.exec(reinterpret_cast<fft::cmplx<Number<R, L>>*>(work), scale, forward);
        if (L == 1 && !needs_room())
            return;
        for (core_int i = 0; i < length; ++i)
            for (int j = 0; j < L; ++j) {
                out.re[out_at[j] + i * to] = work[2 * L * i + j];
                out.im[out_at[j] + i * to] = work[2 * L * i + L + j];
            }
    }
};

/// Where the parts of half a spectrum stand. The engine's own order is that of PACK.
struct Half {
    core_int re, im, step; // of the pairs from the second on
    core_int middle;       // of an even length: a real part alone
    core_int apart;        // places of imaginary parts that are zero, behind the real ones; 0: there are none
    bool dense;            // as the engine has it, but for the first

    Half(const Layout& layout, core_int n)
    {
        const core_int s = layout.stride[0];
        const bool pairs = layout.kind == Kind::pairs, with_zeros = pairs || layout.kind == Kind::ccs;
        const bool second = layout.kind == Kind::perm && n % 2 == 0;
        step = pairs ? s : 2 * s;
        re = with_zeros || second ? step : s;
        im = re + (pairs ? 1 : s);
        middle = with_zeros ? n / 2 * step : second ? s : (n - 1) * s;
        apart = with_zeros ? im - re : 0;
        dense = step == 2 && im == re + 1 && !second;
    }
};

/// A line of reals to half a spectrum.
template <class R>
struct RealForward {
    const fft::pocketfft_r<R>& plan;
    View<R> in, out;
    core_int length, from;
    R scale;
    Half half;

    core_int room() const { return length; }
    bool needs_room() const { return !half.dense; }

    template <int L>
    void operator()(const core_int* in_at, const core_int* out_at, R* work) const
    {
        if (L == 1 && half.dense)
            work = out.re + *out_at + half.re - 1;
        if (L == 1 && from == 1) {
            std::memmove(work, in.re + *in_at, sizeof(R) * static_cast<std::size_t>(length));
        } else {
            for (core_int i = 0; i < length; ++i)
                for (int j = 0; j < L; ++j)
                    work[L * i + j] = in.re[in_at[j] + i * from];
        }
        plan.exec(reinterpret_cast<Number<R, L>*>(work), scale, true);
        const core_int pairs = L == 1 && half.dense ? 0 : (length - 1) / 2;
        for (int j = 0; j < L; ++j)
            out.re[out_at[j]] = work[j];
        for (core_int k = 0; k < pairs; ++k)
            for (int j = 0; j < L; ++j) {
                out.re[out_at[j] + half.re + k * half.step] = work[L * (2 * k + 1) + j];
                out.re[out_at[j] + half.im + k * half.step] = work[L * (2 * k + 2) + j];
            }
        for (int j = 0; j < L; ++j) {
            if (length % 2 == 0)
                out.re[out_at[j] + half.middle] = work[L * (length - 1) + j];
            if (half.apart == 0)
                continue;
            out.re[out_at[j] + half.apart] = 0;
            if (length % 2 == 0)
                out.re[out_at[j] + half.middle + half.apart] = 0;
        }
    }
};

/// Half a spectrum to a line of reals. In place, what is read next lies never before what was written.
template <class R>
struct RealBackward {
    const fft::pocketfft_r<R>& plan;
    View<R> in, out;
    core_int length, to;
    R scale;
    Half half;

    core_int room() const { return length; }
    bool needs_room() const { return to != 1; }

    template <int L>
    void operator()(const core_int* in_at, const core_int* out_at, R* work) const
    {
        if (L == 1 && to == 1)
            work = out.re + *out_at;
        R middle[L];
        for (int j = 0; j < L; ++j) {
            middle[j] = length % 2 == 0 ? in.re[in_at[j] + half.middle] : R(0);
            work[j] = in.re[in_at[j]];
        }
        for (core_int k = 0; k < (length - 1) / 2; ++k)
            for (int j = 0; j < L; ++j) {
                work[L * (2 * k + 1) + j] = in.re[in_at[j] + half.re + k * half.step];
                work[L * (2 * k + 2) + j] = in.re[in_at[j] + half.im + k * half.step];
            }
        if (length % 2 == 0)
            std::copy_n(middle, L, work + L * (length - 1));
        plan.exec(reinterpret_cast<Number<R, L>*>(work), scale, false);
        if (L == 1 && to == 1)
            return;
        for (core_int i = 0; i < length; ++i)
            for (int j = 0; j < L; ++j)
                out.re[out_at[j] + i * to] = work[L * i + j];
    }
};

/// A line as it is; its elements have one part or two.
template <class R>
struct Copy {
    View<R> in, out;
    core_int length, from, to;
    int parts;

    core_int room() const { return 0; }
    bool needs_room() const { return false; }

    template <int L>
    void operator()(const core_int* in_at, const core_int* out_at, R*) const
    {
        for (int j = 0; j < L; ++j)
            for (core_int i = 0; i < length; ++i)
                for (int part = 0; part < parts; ++part)
                    out.re[out_at[j] + i * to + part] = in.re[in_at[j] + i * from + part];
    }
};

template <class R, class Job>
class LineWork final : public Divisible {
public:
    LineWork(const Lines& lines, const Job& job) : lines_(lines), job_(job) {}

    Status part(core_int first, core_int last) const noexcept override
    {
        try {
            all(first, last);
            return done;
        } catch (const std::bad_alloc&) {
            return no_memory;
        } catch (...) {
            return failed;
        }
    }

private:
    void all(core_int first, core_int last) const
    {
        constexpr int L = lanes<R>;
        const bool vectors = last - first >= L;
        const Room<R> room(vectors ? L * job_.room() : job_.needs_room() ? job_.room() : 0);
        Walk walk(lines_, first);
        for (; last - first >= L; first += L) {
            core_int in[L], out[L];
            for (int j = 0; j < L; ++j, walk.next()) {
                in[j] = walk.in;
                out[j] = walk.out;
            }
            job_.template operator()<L>(in, out, room.get());
        }
        for (; first < last; ++first, walk.next())
            job_.template operator()<1>(&walk.in, &walk.out, room.get());
    }

    const Lines& lines_;
    const Job& job_;
};

// ---- a task

template <class R>
class Transform final : public Plan {
public:
    explicit Transform(const Task& task) : task_(task)
    {
        for (int k = 0; k < task.rank; ++k) {
            const auto n = static_cast<std::size_t>(task.length[k]);
            if (task.real && k == 0) {
                real_ = std::make_unique<fft::pocketfft_r<R>>(n);
                continue;
            }
            for (int known = task.real ? 1 : 0; known < k; ++known)
                if (task.length[known] == task.length[k])
                    along_[k] = along_[known];
            if (along_[k] == nullptr) {
                complex_[k] = std::make_unique<fft::pocketfft_c<R>>(n);
                along_[k] = complex_[k].get();
            }
        }
    }

    Status run(bool forward, const Arrays& arrays) const noexcept override
    {
        try {
            return transform(forward, arrays);
        } catch (const std::bad_alloc&) {
            return no_memory;
        } catch (...) {
            return failed;
        }
    }

private:
    // A pass over some transforms, along one dimension.
    struct Pass {
        int along;
        core_int transforms;
        int threads;
    };

    template <class Job>
    Status over(const Pass& pass, const core_int* extent, const Job& job) const
    {
        Lines lines;
        for (int k = task_.rank - 1; k >= 0; --k)
            if (k != pass.along)
                lines.add(extent[k], job.in.layout.stride[k], job.out.layout.stride[k]);
        lines.add(pass.transforms, job.in.layout.distance, job.out.layout.distance);
        return divide(LineWork<R, Job>(lines, job), lines.count, pass.threads);
    }

    Status along(const Pass& pass, const core_int* extent, const View<R>& in, const View<R>& out, R scale,
                 bool forward) const
    {
        const int k = pass.along;
        return over(pass, extent,
                    Complex<R>{*along_[k], in, out, extent[k], in.layout.stride[k], out.layout.stride[k],
                               scale, forward});
    }

    Status transform(bool forward, const Arrays& arrays) const
    {
        const Direction& way = forward ? task_.forward : task_.backward;
        const View<R> in(arrays.in, way.in), out(arrays.out, way.out);
        const auto scale = static_cast<R>(way.scale);
        const int threads = threads_for(task_.elements(), task_.thread_limit);
        Status status = done;
        for (int k = 0; k < task_.rank && status == done; ++k)
            status = along({k, task_.transforms, threads}, task_.length, k == 0 ? in : out, out,
                           k == 0 ? scale : R(1), forward);
        return status;
    }

    Task task_;
    std::unique_ptr<fft::pocketfft_r<R>> real_;                     // along the first dimension
    std::unique_ptr<fft::pocketfft_c<R>> complex_[most_dimensions]; // one for each length
    const fft::pocketfft_c<R>* along_[most_dimensions]{};
};

} // namespace

Status ENGINE(const Task& task, Plan** made) noexcept
{
    try {
        *made = task.single ? static_cast<Plan*>(new Transform<float>(task)) : new Transform<double>(task);
        return done;
    } catch (const std::bad_alloc&) {
        return no_memory;
    } catch (...) {
        return failed;
    }
}

} // namespace qnm::core::dft
