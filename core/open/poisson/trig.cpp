// Trigonometric transforms of one line. Nothing is kept in `par`: a caller may work there.
#include "handles.hpp"

#include <qnm/core/solvers.h>

#include <unistd.h>

namespace qnm::core::poisson {
namespace {

/// Where `ipar` has what.
enum Slot {
    steps = 0,
    errors_are_printed = 1,
    warnings_are_printed = 2,
    type = 5,
    last_status = 6,
    mark = 7,
    thread_limit = 9,
    unscaled = 10, ///< as FFTW has them: sums times 2, without room for a point ahead
    elements = 14
};
constexpr core_int initialised = 0x54545049;

/// The end of each call.
void tell(Stat told, const char* routine, core_int* ipar, core_int* stat)
{
    if (told < 0 && ipar[errors_are_printed] != 0)
        print_to(STDERR_FILENO, "QNM ERROR: %s: status %lld\n", routine, static_cast<long long>(told));
    *stat = ipar[last_status] = told;
}

bool is_type(core_int given)
{
    return given >= 0 && given < trigonometric_types;
}

// What a caller set before stays, as far as it is a setting.
Stat init(core_int n, core_int of_type, core_int* ipar)
{
    for (const Slot print : {errors_are_printed, warnings_are_printed})
        if (ipar[print] != 0)
            ipar[print] = 1;
    if (ipar[thread_limit] < 0)
        ipar[thread_limit] = 0;
    ipar[steps] = n;
    ipar[type] = of_type;
    ipar[unscaled] = 0;
    const bool good = n >= 1 && is_type(of_type);
    ipar[mark] = good ? initialised : 0;
    ipar[elements] = n + (of_type < 4 ? 1 : 0);
    return good ? ok : bad_argument;
}

template <class R>
Stat commit(dft_handle* handle, const core_int* ipar)
{
    *handle = nullptr;
    if (ipar[mark] != initialised)
        return not_initialised;
    if (ipar[steps] < 1 || !is_type(ipar[type]))
        return altered;
    Transform<R>* made = nullptr;
    const Status status = kernels<R>().transform(static_cast<Basis>(ipar[type]), ipar[steps], &made);
    return status != dft::done ? stat_of(status) : hold(handle, ipar[steps], std::unique_ptr<Held>(made));
}

template <class R>
Stat compute(bool forward, R* f, const dft_handle* handle, const core_int* ipar)
{
    const auto* const transform = held_as<Transform<R>>(handle);
    if (transform == nullptr)
        return not_initialised;
    if (transform->n != ipar[steps] || static_cast<core_int>(transform->basis) != ipar[type])
        return altered;
    if (f == nullptr)
        return bad_argument;
    const bool as_fftw = ipar[unscaled] == 1;
    // The engine's sums are those of the published ones times 2.
    const R scale = as_fftw ? R(1) : forward ? 1 / static_cast<R>(transform->n) : R(0.5);
    if (!as_fftw || transform->basis == Basis::sine)
        f += points_of(transform->basis, transform->n).first;
    return stat_of(transform->lines(forward, f, 1, {1, 0, 1, 0}, scale, 1));
}

} // namespace
} // namespace qnm::core::poisson

using namespace qnm::core::poisson;

// Each has a twin, with two underscores.
#define TWIN(name, ...)                                                                                      \
    extern "C"                                                                                               \
        [[gnu::alias("qnm_pdett_" #name), gnu::visibility("default")]] void qnm_pdett__##name(__VA_ARGS__);
#define STEP(name, NAME, R, call)                                                                            \
    QNM_CORE void qnm_pdett_##name(R* f, dft_handle* handle, core_int* ipar, R*, core_int* stat)             \
    {                                                                                                        \
        tell(call, NAME, ipar, stat);                                                                        \
    }                                                                                                        \
    TWIN(name, R*, dft_handle*, core_int*, R*, core_int*)
#define MEMBERS(l, L, R)                                                                                     \
    QNM_CORE void qnm_pdett_##l##_init_trig_transform(const core_int* n, const core_int* tt_type,            \
                                                      core_int* ipar, R*, core_int* stat)                    \
    {                                                                                                        \
        tell(init(*n, *tt_type, ipar), #L "_INIT_TRIG_TRANSFORM", ipar, stat);                               \
    }                                                                                                        \
    TWIN(l##_init_trig_transform, const core_int*, const core_int*, core_int*, R*, core_int*)                \
    STEP(l##_commit_trig_transform, #L "_COMMIT_TRIG_TRANSFORM", R,                                          \
         (static_cast<void>(f), commit<R>(handle, ipar)))                                                    \
    STEP(l##_forward_trig_transform, #L "_FORWARD_TRIG_TRANSFORM", R, compute<R>(true, f, handle, ipar))     \
    STEP(l##_backward_trig_transform, #L "_BACKWARD_TRIG_TRANSFORM", R, compute<R>(false, f, handle, ipar))
using qnm::core::core_int;
QNM_REAL_LETTERS(MEMBERS)

QNM_CORE void qnm_pdett_free_trig_transform(dft_handle* handle, core_int* ipar, core_int* stat)
{
    tell(release(handle), "FREE_TRIG_TRANSFORM", ipar, stat);
}
TWIN(free_trig_transform, dft_handle*, core_int*, core_int*)
