// Transforms of any rank and layout by the plans of pocketfft for one line. Compiled once for each
// instruction set, which gives ENGINE a name; all else is this file's own.
#include "pocketfft.hpp"

#include <array>
#include <cmath>
#include <cstring>

namespace qnm::core::dft {
namespace {

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

/// Whether complex lines stand side by side in one array.
template <class R, int L>
bool side_by_side(const View<R>& side, const core_int* at)
{
    bool are = L > 1 && side.im == side.re + 1;
    for (int j = 1; j < L; ++j)
        are = are && at[j] == at[0] + 2 * j;
    return are;
}

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
        } else if (side_by_side<R, L>(in, in_at)) {
            for (core_int i = 0; i < length; ++i) {
                const R* __restrict const x = in.re + in_at[0] + i * from;
                R* __restrict const to_re = work + 2 * L * i;
                for (int j = 0; j < L; ++j) {
                    to_re[j] = x[2 * j];
                    to_re[L + j] = x[2 * j + 1];
                }
            }
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
        if (side_by_side<R, L>(out, out_at)) {
            for (core_int i = 0; i < length; ++i) {
                R* __restrict const x = out.re + out_at[0] + i * to;
                const R* __restrict const from_re = work + 2 * L * i;
                for (int j = 0; j < L; ++j) {
                    x[2 * j] = from_re[j];
                    x[2 * j + 1] = from_re[L + j];
                }
            }
            return;
        }
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
Status lines_of(const Lines& lines, const Job& job, core_int first, core_int last)
{
    constexpr int L = lanes<R>;
    const bool vectors = last - first >= L;
    const Room<R> room(vectors ? L * job.room() : job.needs_room() ? job.room() : 0);
    Walk walk(lines, first);
    for (; last - first >= L; first += L) {
        core_int in[L], out[L];
        for (int j = 0; j < L; ++j, walk.next()) {
            in[j] = walk.in;
            out[j] = walk.out;
        }
        job.template operator()<L>(in, out, room.get());
    }
    for (; first < last; ++first, walk.next())
        job.template operator()<1>(&walk.in, &walk.out, room.get());
    return done;
}

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
        one_line_ = task.rank == 1 && task.transforms == 1 && !copies_input(task.forward) &&
                    !copies_input(task.backward);
    }

    Status run(bool forward, const Arrays& arrays) const noexcept override
    {
        return guarded([&] { return transform(forward, arrays); });
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
        // Whole vectors for each thread: what is found does not depend on their number.
        constexpr core_int L = lanes<R>;
        const auto part = [&](core_int from, core_int to) {
            return lines_of<R>(lines, job, from * L, std::min(to * L, lines.count));
        };
        return divide(Items(part), (lines.count + L - 1) / L, pass.threads);
    }

    Status along(const Pass& pass, const core_int* extent, const View<R>& in, const View<R>& out, R scale,
                 bool forward) const
    {
        const int k = pass.along;
        return over(pass, extent,
                    Complex<R>{*along_[k], in, out, extent[k], in.layout.stride[k], out.layout.stride[k],
                               scale, forward});
    }

    Status copy(const View<R>& in, const View<R>& out, int threads) const
    {
        Extents all = task_.extents(in.layout.kind);
        if (in.layout.kind == Kind::ccs)
            all.of[0] *= 2; // of reals
        const int parts = in.layout.kind == Kind::pairs ? 2 : 1;
        return over({0, task_.transforms, threads}, all.of,
                    Copy<R>{in, out, all.of[0], in.layout.stride[0], out.layout.stride[0], parts});
    }

    // Along all dimensions but the first of real data.
    Status complex(const View<R>& in, const View<R>& out, core_int transforms, R scale, bool forward,
                   int threads) const
    {
        const Extents all = task_.extents(in.layout.kind);
        Status status = done;
        bool first = true;
        for (int k = task_.real ? 1 : 0; k < task_.rank && status == done; ++k, first = false)
            status =
                along({k, transforms, threads}, all.of, first ? in : out, out, first ? scale : R(1), forward);
        return status;
    }

    // Some transforms; the further dimensions of real data backward are done in `middle`.
    Status some(const View<R>& in, const View<R>& out, const View<R>& middle, core_int transforms,
                bool forward, int threads) const
    {
        const auto scale = static_cast<R>(forward ? task_.forward.scale : task_.backward.scale);
        if (!task_.real)
            return complex(in, out, transforms, scale, forward, threads);
        const Pass first{0, transforms, threads};
        const core_int n = task_.length[0];
        if (forward) {
            const RealForward<R> lines{*real_, in, out, n, in.layout.stride[0], scale, Half(out.layout, n)};
            const Status status = over(first, task_.length, lines);
            return status != done ? status : complex(out, out, transforms, R(1), true, threads);
        }
        const View<R>& from = task_.rank > 1 ? middle : in;
        const RealBackward<R> lines{*real_, from, out, n, out.layout.stride[0], scale, Half(from.layout, n)};
        const Status status = complex(in, middle, transforms, R(1), false, threads);
        return status != done ? status : over(first, task_.length, lines);
    }

    // As many transforms at once as a cache holds; all, of one dimension. Threads have such blocks of their
    // own, or share those that are too few for them. What must not spoil its input takes room for a block.
    Status batch(const View<R>& in, const View<R>& out, bool forward, bool spoils_input, int threads) const
    {
        constexpr core_int cached = (1 << 18) / sizeof(R);
        const bool apart = task_.real && !forward && task_.rank > 1 && !spoils_input;
        const core_int all = task_.transforms;
        const Layout layout = task_.tight(apart ? Kind::pairs : in.layout.kind);
        const core_int block = task_.rank == 1 ? all : std::clamp<core_int>(cached / layout.distance, 1, all);
        const core_int blocks = (all + block - 1) / block;
        const bool own = blocks >= threads;
        const auto part = [&](core_int first, core_int last) {
            const Room<R> room(apart ? layout.distance * block : 0);
            void* const arrays[] = {room.get(), nullptr};
            Status status = done;
            for (core_int t = first * block; t < std::min(last * block, all) && status == done; t += block)
                status = some(in.from(t), out.from(t), apart ? View<R>(arrays, layout) : in.from(t),
                              std::min(block, all - t), forward, own ? 1 : threads);
            return status;
        };
        return divide(Items(part), blocks, own ? threads : 1);
    }

    // Before lines of one layout are overwritten by those of another.
    bool copies_input(const Direction& way) const
    {
        return task_.real && task_.in_place && !task_.keeps_places(way);
    }

    // The shortest way of the most frequent task.
    Status line(const View<R>& in, const View<R>& out, R scale, bool forward) const
    {
        const core_int n = task_.length[0], from = in.layout.stride[0], to = out.layout.stride[0];
        const auto run = [](const auto& job) {
            const Room<R> room(job.needs_room() ? job.room() : 0);
            const core_int start = 0;
            job.template operator()<1>(&start, &start, room.get());
            return done;
        };
        return !task_.real ? run(Complex<R>{*along_[0], in, out, n, from, to, scale, forward})
               : forward   ? run(RealForward<R>{*real_, in, out, n, from, scale, Half(out.layout, n)})
                           : run(RealBackward<R>{*real_, in, out, n, to, scale, Half(in.layout, n)});
    }

    Status transform(bool forward, const Arrays& arrays) const
    {
        const Direction& way = forward ? task_.forward : task_.backward;
        const View<R> in(arrays.in, way.in), out(arrays.out, way.out);
        if (one_line_)
            return line(in, out, static_cast<R>(way.scale), forward);
        if (task_.transforms == 0)
            return done;
        const int threads = threads_for(task_.elements(), task_.thread_limit);
        if (!copies_input(way))
            return batch(in, out, forward, task_.in_place || task_.spoils_input, threads);
        const Layout layout = task_.tight(way.in.kind);
        const Room<R> room(layout.distance * task_.transforms);
        void* const copied[] = {room.get(), nullptr};
        const View<R> twin(copied, layout);
        const Status status = copy(in, twin, threads);
        return status != done ? status : batch(twin, out, forward, true, threads);
    }

    Task task_;
    bool one_line_;
    std::unique_ptr<fft::pocketfft_r<R>> real_;                     // along the first dimension
    std::unique_ptr<fft::pocketfft_c<R>> complex_[most_dimensions]; // one for each length
    const fft::pocketfft_c<R>* along_[most_dimensions]{};
};

} // namespace

Status ENGINE(const Task& task, Plan** made) noexcept
{
    return guarded([&] {
        *made = task.single ? static_cast<Plan*>(new Transform<float>(task)) : new Transform<double>(task);
        return done;
    });
}

} // namespace qnm::core::dft
