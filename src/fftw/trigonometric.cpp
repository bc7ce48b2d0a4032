// Plans that are trigonometric transforms: real to real, along one contiguous line.
#include "fftw/planner.hpp"

#include <algorithm>
#include <iterator>

#include "fftw/exported.hpp"

extern "C" {
void d_init_trig_transform(const int* n, const int* type, int* ipar, double* par, int* stat);
void s_init_trig_transform(const int* n, const int* type, int* ipar, float* par, int* stat);
void d_commit_trig_transform(double* f, dft_handle* handle, int* ipar, double* par, int* stat);
void s_commit_trig_transform(float* f, dft_handle* handle, int* ipar, float* par, int* stat);
void d_forward_trig_transform(double* f, dft_handle* handle, int* ipar, double* par, int* stat);
void s_forward_trig_transform(float* f, dft_handle* handle, int* ipar, float* par, int* stat);
void d_backward_trig_transform(double* f, dft_handle* handle, int* ipar, double* par, int* stat);
void s_backward_trig_transform(float* f, dft_handle* handle, int* ipar, float* par, int* stat);
}

namespace qnm::fftw {

namespace {

template <class R>
struct Transform;
template <>
struct Transform<double> {
    static constexpr auto* init = d_init_trig_transform;
    static constexpr auto* commit = d_commit_trig_transform;
    static constexpr auto* forward = d_forward_trig_transform;
    static constexpr auto* backward = d_backward_trig_transform;
    static constexpr auto parameters = &Plan::doubles;
};
template <>
struct Transform<float> {
    static constexpr auto* init = s_init_trig_transform;
    static constexpr auto* commit = s_commit_trig_transform;
    static constexpr auto* forward = s_forward_trig_transform;
    static constexpr auto* backward = s_backward_trig_transform;
    static constexpr auto parameters = &Plan::floats;
};

/// What the integers of a plan are.
enum Slot {
    size = 0,
    tells_errors = 1,
    tells_warnings = 2,
    type = 5,
    threads = 9,
    mode = 10,
    length = 14,
    direct = 15
};
constexpr std::size_t bytes_of_integers = 512;

constexpr int sine = 0;

/// A transform for each kind: its type, how much longer than the array it is, and its direction.
struct Road {
    int type = -1; // none
    int longer = 0;
    bool forward = false;
    bool direct = false; // the array has the zero in front that a sine transform wants
};

constexpr Road road_of(Kind kind)
{
    constexpr Road roads[]{{}, {}, {}, {1, -1}, {2, 0, true}, {2}, {4}, {sine, 1}, {3, 0, true}, {3}, {5}};
    constexpr unsigned direct_sine = 413;
    const auto number = static_cast<unsigned>(kind);
    if (number == direct_sine)
        return {sine, 1, false, true};
    return number < std::size(roads) ? roads[number] : Road{};
}

template <class R>
R* array(const Plan* plan, int i)
{
    return static_cast<R*>(plan->arrays[i]);
}

/// In place on the output, as all of these transforms are.
template <class R, bool forward>
void run(Plan* plan)
{
    R *const in = array<R>(plan, 0), *const out = array<R>(plan, 1);
    if (in != out && plan->integers[length] > 0)
        std::copy_n(in, plan->integers[length], out);
    int status = 0;
    (forward ? Transform<R>::forward : Transform<R>::backward)(out, &plan->descriptor, plan->integers,
                                                               plan->*Transform<R>::parameters, &status);
}

/// Behind what a transform reads of its numbers there is room for the array with a zero in front: it makes
/// two of such a plan at once impossible.
template <class R>
void run_backward(Plan* plan)
{
    if (plan->integers[type] != sine || plan->integers[direct] != 0)
        return run<R, false>(plan);
    const int n = plan->integers[size];
    if (n < 1)
        return;
    R* const numbers = plan->*Transform<R>::parameters;
    R* const work = numbers + n / 2 + 2;
    work[0] = 0;
    std::copy_n(array<R>(plan, 0), n - 1, work + 1);
    int status = 0;
    Transform<R>::backward(work, &plan->descriptor, plan->integers, numbers, &status);
    std::copy_n(work + 1, n - 1, array<R>(plan, 1));
}

/// The numbers of a transform: as many whatever the precision.
template <class R>
std::size_t bytes_of_numbers(std::int64_t n)
{
    return static_cast<std::size_t>(5 * n / 2 + 2) * sizeof(R);
}

/// All but the arrays and what runs the plan.
template <class R>
bool is_made(Plan* plan, const Road& road, int n, int elements, R* out)
{
    R*& numbers = plan->*Transform<R>::parameters;
    numbers = static_cast<R*>(fftw_malloc(bytes_of_numbers<R>(n)));
    plan->integers = static_cast<int*>(fftw_malloc(bytes_of_integers));
    int* const integers = plan->integers;
    if (numbers == nullptr || integers == nullptr)
        return false;
    integers[tells_errors] = integers[tells_warnings] = fftw3_qnm.verbose != 0 ? 1 : 0;
    integers[threads] = fftw3_qnm.threads;
    int status = 0;
    Transform<R>::init(&n, &road.type, integers, numbers, &status);
    if (status != 0)
        return false;
    integers[mode] = 1;
    integers[length] = elements;
    integers[direct] = road.direct ? 1 : 0;
    Transform<R>::commit(out, &plan->descriptor, integers, numbers, &status);
    return status == 0;
}

bool fits(std::int64_t value)
{
    return value == static_cast<int>(value);
}

} // namespace

template <class R>
Plan* plan_of(const Lists& lists, R* in, R* out, const Kind* kind)
{
    if (lists.dims == nullptr || kind == nullptr || lists.rank != 1 || lists.howmany_rank != 0)
        return nullptr;
    const Dimension& line = *lists.dims;
    const Road road = road_of(*kind);
    if (line.is != 1 || line.os != 1 || !fits(line.n) || road.type < 0 || !fits(line.n + road.longer))
        return nullptr;
    Plan* const plan = fresh_plan();
    if (plan == nullptr)
        return nullptr;
    if (!is_made(plan, road, static_cast<int>(line.n + road.longer), static_cast<int>(line.n), out))
        return given_up(plan);
    plan->arrays[0] = in;
    plan->arrays[1] = out;
    plan->execute = road.forward ? run<R, true> : run_backward<R>;
    return plan;
}
template Plan* plan_of<double>(const Lists&, double*, double*, const Kind*);
template Plan* plan_of<float>(const Lists&, float*, float*, const Kind*);

} // namespace qnm::fftw
