// What a commit settles with all processes, and what a compute does.
#include "descriptor.hpp"

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

namespace qnm::cdft {
namespace {

constexpr std::size_t alignment = 64;

/// Memory of the core for the time of a call.
class Room {
public:
    Room() = default;
    ~Room()
    {
        if (block_ != nullptr)
            qnm_serv_free(block_);
    }
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;
    void* take(std::size_t bytes) { return block_ = qnm_serv_malloc(bytes, int{alignment}); }

private:
    void* block_ = nullptr;
};

/// The engine's own lengths: of real data it stores half of the last dimension, in complex numbers.
void stored_lengths(const Descriptor& d, std::ptrdiff_t (&stored)[most_dimensions])
{
    std::copy_n(d.length, d.rank, stored);
    if (d.is_real())
        stored[d.rank - 1] = stored[d.rank - 1] / 2 + 1;
}

std::size_t real_bytes(const Descriptor& d)
{
    return d.is_single() ? sizeof(float) : sizeof(double);
}

/// Of one array; what follows it is aligned again.
std::size_t array_bytes(const Descriptor& d)
{
    return (static_cast<std::size_t>(d.slabs.size) * 2 * real_bytes(d) + alignment - 1) & ~(alignment - 1);
}

enum class Side { in, out };

/// Real numbers of this process' slab, ahead of a forward transform or behind it; padding counts.
std::size_t reals(const Descriptor& d, Side side)
{
    std::ptrdiff_t stored[most_dimensions];
    stored_lengths(d, stored);
    stored[side == Side::out && d.is_transposed() ? 1 : 0] =
        side == Side::in ? d.slabs.rows : d.slabs.rows_out;
    std::ptrdiff_t count = 2;
    for (int i = 0; i < d.rank; ++i)
        count *= stored[i];
    return static_cast<std::size_t>(count);
}

/// Where a transform begins, and where it ends.
Side begin_of(Way way)
{
    return way == Way::forward ? Side::in : Side::out;
}
Side end_of(Way way)
{
    return way == Way::forward ? Side::out : Side::in;
}

int index_of(Way way)
{
    return way == Way::forward ? 0 : 1;
}

bool measured()
{
    char effort[16];
    qnm_serv_getenv("QNM_FFT_EFFORT", effort, sizeof effort);
    return std::strcmp(effort, "measure") == 0;
}

template <class T>
T* at(void* array)
{
    return static_cast<T*>(array);
}

fftw_plan plan_of(const Descriptor& d, Way way, void* in, void* out, unsigned flags)
{
    std::ptrdiff_t n[most_dimensions];
    std::copy_n(d.length, d.rank, n);
    if (d.is_transposed())
        flags |= way == Way::forward ? FFTW_MPI_TRANSPOSED_OUT : FFTW_MPI_TRANSPOSED_IN;
    constexpr std::ptrdiff_t one = 1, block = FFTW_MPI_DEFAULT_BLOCK;
    if (!d.is_real())
        return d.engine->mpi_plan_many_dft(d.rank, n, one, block, block, at<fftw_complex>(in),
                                           at<fftw_complex>(out), d.comm,
                                           way == Way::forward ? FFTW_FORWARD : FFTW_BACKWARD, flags);
    if (way == Way::forward)
        return d.engine->mpi_plan_many_dft_r2c(d.rank, n, one, block, block, at<double>(in),
                                               at<fftw_complex>(out), d.comm, flags);
    return d.engine->mpi_plan_many_dft_c2r(d.rank, n, one, block, block, at<fftw_complex>(in),
                                           at<double>(out), d.comm, flags);
}

void execute(const Descriptor& d, Way way, void* in, void* out)
{
    fftw_plan plan = d.plans[index_of(way)];
    if (!d.is_real())
        d.engine->mpi_execute_dft(plan, at<fftw_complex>(in), at<fftw_complex>(out));
    else if (way == Way::forward)
        d.engine->mpi_execute_dft_r2c(plan, at<double>(in), at<fftw_complex>(out));
    else
        d.engine->mpi_execute_dft_c2r(plan, at<fftw_complex>(in), at<double>(out));
}

template <class T>
void scale(void* array, std::size_t count, double factor)
{
    if (factor != 1)
        std::transform(at<T>(array), at<T>(array) + count, at<T>(array),
                       [by = static_cast<T>(factor)](T x) { return x * by; });
}

/// What this process alone finds to refuse. The engine counts what it sends in ints.
Status judge(const Descriptor& d, int processes)
{
    return processes > 1 && d.slabs.size > INT_MAX / 2 ? DFTI_UNIMPLEMENTED : DFTI_NO_ERROR;
}

/// The worst status of all processes; and they measure if one wants to.
Status agree(const Descriptor& d, Status status, bool& measure)
{
    int words[] = {static_cast<int>(status), measure ? 1 : 0};
    if (MPI_Allreduce(MPI_IN_PLACE, words, 2, MPI_INT, MPI_MAX, d.comm) != MPI_SUCCESS)
        return DFTI_INTERNAL_ERROR;
    measure = words[1] != 0;
    return words[0];
}

} // namespace

Slabs slabs_of(const Descriptor& d)
{
    std::ptrdiff_t n[most_dimensions];
    stored_lengths(d, n);
    Slabs s{};
    if (d.rank == 1) {
        // What comes back goes where it came from, so one direction tells the rows of both.
        std::ptrdiff_t unused[4];
        s.size = d.engine->mpi_local_size_many_1d(n[0], 1, d.comm, FFTW_FORWARD, 0, &s.rows, &s.first,
                                                  &s.rows_out, &s.first_out);
        s.size =
            std::max(s.size, d.engine->mpi_local_size_many_1d(n[0], 1, d.comm, FFTW_BACKWARD, 0, &unused[0],
                                                              &unused[1], &unused[2], &unused[3]));
        return s;
    }
    constexpr std::ptrdiff_t one = 1, block = FFTW_MPI_DEFAULT_BLOCK;
    if (d.is_transposed()) {
        s.size = d.engine->mpi_local_size_many_transposed(d.rank, n, one, block, block, d.comm, &s.rows,
                                                          &s.first, &s.rows_out, &s.first_out);
    } else {
        s.size = d.engine->mpi_local_size_many(d.rank, n, one, block, d.comm, &s.rows, &s.first);
        s.rows_out = s.rows;
        s.first_out = s.first;
    }
    return s;
}

void release_plans(Descriptor& d)
{
    for (fftw_plan& plan : d.plans)
        if (plan != nullptr)
            d.engine->destroy_plan(std::exchange(plan, nullptr));
}

// Whatever fails on one process fails on all, ahead of the first call that waits for the others.
Status commit(Descriptor& d)
{
    int processes = 1;
    if (MPI_Comm_size(d.comm, &processes) != MPI_SUCCESS)
        return DFTI_INTERNAL_ERROR;
    d.commit_status = DFTI_UNCOMMITTED;
    release_plans(d);
    d.slabs = slabs_of(d);
    Status status = judge(d, processes);
    Room room;
    void* scratch = nullptr; // not touched, unless the engine measures
    if (status == DFTI_NO_ERROR) {
        scratch = room.take(array_bytes(d) * (d.two_arrays() ? 2 : 1));
        if (scratch == nullptr)
            status = no_memory;
    }
    bool measure = measured();
    status = agree(d, status, measure);
    if (status != DFTI_NO_ERROR)
        return status;
    void* const other = d.two_arrays() ? at<char>(scratch) + array_bytes(d) : scratch;
    const unsigned flags =
        (measure ? FFTW_MEASURE : FFTW_ESTIMATE) | (d.two_arrays() ? FFTW_PRESERVE_INPUT : 0);
    for (const Way way : {Way::forward, Way::backward})
        d.plans[index_of(way)] = plan_of(d, way, scratch, other, flags);
    if (std::find(d.plans, d.plans + 2, nullptr) != d.plans + 2) {
        release_plans(d);
        return DFTI_UNIMPLEMENTED;
    }
    d.commit_status = DFTI_COMMITTED;
    return DFTI_NO_ERROR;
}

// A process whose memory fails here leaves the others waiting; with a workspace, or arrays as malloc gives
// them, there is nothing to fail.
Status compute(const Descriptor& d, Way way, void* in, void* out)
{
    void* workspace = d.given_workspace;
    Room room_in, room_out;
    const auto aligned = [&](void* array, Room& room) {
        const auto is_aligned = [&](void* a) { return d.engine->alignment_of(at<double>(a)) == 0; };
        if (is_aligned(array))
            return array;
        if (workspace != nullptr && is_aligned(workspace))
            return std::exchange(workspace, nullptr);
        return room.take(array_bytes(d));
    };
    void* const to = aligned(out, room_out);
    void* const from = d.two_arrays() ? aligned(in, room_in) : to;
    if (to == nullptr || from == nullptr)
        return no_memory;
    if (from != in)
        std::memcpy(from, in, reals(d, begin_of(way)) * real_bytes(d));
    execute(d, way, from, to);
    const double factor = way == Way::forward ? d.forward_scale : d.backward_scale;
    const std::size_t count = reals(d, end_of(way));
    if (d.is_single())
        scale<float>(to, count, factor);
    else
        scale<double>(to, count, factor);
    if (to != out)
        std::memcpy(out, to, count * real_bytes(d));
    return DFTI_NO_ERROR;
}

} // namespace qnm::cdft
