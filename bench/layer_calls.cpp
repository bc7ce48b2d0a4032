// Calls whose instructions within the layer are counted.
#include "transforms.hpp"

#include <qnm/df.h>
#include <qnm/poisson.h>
#include <qnm/solvers.h>
#include <qnm/sparse_types.h>
#include <qnm/vsl.h>

// A core's plug-ins may be missing, or ask for several processes: the calls of these end here.
extern "C" {
[[gnu::visibility("default")]] void qnm_pds_lp64_pardiso() {}
[[gnu::visibility("default")]] void qnm_pds_lp64_cluster_sparse_solver() {}
}

namespace qnm::bench {
namespace {

template <class... P>
std::unique_ptr<Work> calls(const Library& layer, const char* name, P... arguments)
{
    auto* const entry = reinterpret_cast<Entry<P...>*>(layer.function(name));
    return work([=] { entry(arguments...); });
}

double line[4][8];

void* small(const Library& layer, bool out_of_place, bool split = false)
{
    void* const d = descriptor(layer, {2}, false);
    if (out_of_place)
        set(layer, d, placement, not_in_place);
    if (split)
        set(layer, d, complex_storage, real_real);
    call(layer, "DftiCommitDescriptor", d);
    return d;
}

void* const* small_at(const Library& layer)
{
    static void* handle;
    handle = small(layer, false);
    return &handle;
}

fftw_plan small_plan(const Library& layer, int in, int out)
{
    // Looked for once: what is counted is the planner.
    static auto* const make = entry<decltype(fftw_plan_dft_1d)>(layer, "fftw_plan_dft_1d");
    return make(4, reinterpret_cast<fftw_complex*>(line[in]), reinterpret_cast<fftw_complex*>(line[out]),
                FFTW_FORWARD, FFTW_ESTIMATE);
}

std::unique_ptr<Work> by_cosine(const Library& layer)
{
    static qnm_dft_handle handle;
    static int ipar[15], stat;
    static double par[128];
    const int n = 4, cosine = 1;
    entry<decltype(d_init_trig_transform)>(layer, "d_init_trig_transform")(&n, &cosine, ipar, par, &stat);
    entry<decltype(d_commit_trig_transform)>(layer, "d_commit_trig_transform")(line[0], &handle, ipar, par,
                                                                               &stat);
    if (stat != QNM_PDE_OK)
        fail("d_commit_trig_transform refuses");
    return calls(layer, "d_forward_trig_transform", line[0], &handle, ipar, par, &stat);
}

void* stream(const Library& layer)
{
    void* made = nullptr;
    call(layer, "vslNewStream", &made, VSL_BRNG_MCG59, 1);
    return made;
}

double data[] = {1, 3, 2, 7}, found[16];

/// A task of summary statistics that knows where least numbers go.
void* estimates(const Library& layer)
{
    static const int p = 1, n = 4, storage = VSL_SS_MATRIX_STORAGE_ROWS;
    void* task = nullptr;
    call(layer, "vsldSSNewTask", &task, &p, &n, &storage, data, nullptr, nullptr);
    call(layer, "vsldSSEditTask", task, VSL_SS_EDIT_MIN, found);
    return task;
}

std::unique_ptr<Work> by_line(const Library& layer)
{
    static double points[] = {0, 1, 2, 3}, site[] = {1.5};
    static const int value = 1;
    void* task = nullptr;
    call(layer, "dfdNewTask1D", &task, 4, points, DF_NON_UNIFORM_PARTITION, 1, data, DF_NO_HINT);
    call(layer, "dfdEditPPSpline1D", task, DF_PP_LINEAR, DF_PP_DEFAULT, DF_NO_BC, nullptr, DF_NO_IC, nullptr,
         found, DF_NO_HINT);
    call(layer, "dfdConstruct1D", task, DF_PP_SPLINE, DF_METHOD_STD);
    return calls(layer, "dfdInterpolate1D", task, DF_INTERP, DF_METHOD_PP, 1, site, DF_NO_HINT, 1, &value,
                 nullptr, line[0], DF_NO_HINT, nullptr);
}

std::unique_ptr<Work> by_products(const Library& layer)
{
    static float x[] = {1, 2}, y[] = {3, 4}, z[3];
    static const int shape = 2, products = 3, stride = 1;
    void* task = nullptr;
    call(layer, "vslsConvNewTask", &task, VSL_CONV_MODE_DIRECT, 1, &shape, &shape, &products);
    return calls(layer, "vslsConvExec", task, x, &stride, y, &stride, z, &stride);
}

std::unique_ptr<Work> by_gradients(const Library& layer)
{
    static const int n = 1;
    static int request, ipar[128];
    static double x[n], b[n] = {1}, dpar[128], tmp[4 * n];
    entry<decltype(dcg_init)>(layer, "dcg_init")(&n, x, b, &request, ipar, dpar, tmp);
    return calls(layer, "dcg", &n, x, b, &request, ipar, dpar, tmp);
}

// A core gives these back at once: there is no handle, and no element.
constexpr qnm_sparse_matrix_t nothing = nullptr;
constexpr qnm_sparse_descr_t general{};
constexpr double one = 1;
constexpr int plain = QNM_SPARSE_OPERATION_NON_TRANSPOSE, zero = 0;

} // namespace

const std::vector<Call> layer_calls = {
    {"DftiComputeForward, 1 array", 38,
     [](const Library& l) { return calls(l, "DftiComputeForward", small(l, false), line[0]); }},
    {"DftiComputeForward, 2 arrays", 39,
     [](const Library& l) { return calls(l, "DftiComputeForward", small(l, true), line[0], line[1]); }},
    {"DftiComputeForward, 4 arrays", 43,
     [](const Library& l) {
         return calls(l, "DftiComputeForward", small(l, true, true), line[0], line[1], line[2], line[3]);
     }},
    {"DftiComputeInPlaceForward", 29,
     [](const Library& l) { return calls(l, "DftiComputeInPlaceForward", small(l, false), line[0]); }},
    {"DftiComputeOutOfPlaceForward", 36,
     [](const Library& l) {
         return calls(l, "DftiComputeOutOfPlaceForward", small(l, true), line[0], line[1]);
     }},
    {"qnm_dft_dfti_compute_forward_z", 37,
     [](const Library& l) { return calls(l, "qnm_dft_dfti_compute_forward_z", small_at(l), line[0]); }},
    {"dfti_compute_forward_z_", 39,
     [](const Library& l) { return calls(l, "dfti_compute_forward_z_", small_at(l), line[0]); }},
    {"DftiSetValue, an integer", 60,
     [](const Library& l) {
         return calls(l, "DftiSetValue", small(l, false), static_cast<int>(placement), not_in_place);
     }},
    {"fftw_execute, out of place", 50,
     [](const Library& l) { return calls(l, "fftw_execute", small_plan(l, 0, 1)); }},
    {"fftw_execute, in place", 48,
     [](const Library& l) { return calls(l, "fftw_execute", small_plan(l, 0, 0)); }},
    {"fftw_execute_dft", 74,
     [](const Library& l) { return calls(l, "fftw_execute_dft", small_plan(l, 0, 1), line[2], line[3]); }},
    {"dfftw_execute_", 55,
     [](const Library& l) {
         static fftw_plan plan;
         plan = small_plan(l, 0, 1);
         return calls(l, "dfftw_execute_", &plan);
     }},
    {"a plan made and destroyed", 600,
     [](const Library& l) {
         auto* const destroy = entry<decltype(fftw_destroy_plan)>(l, "fftw_destroy_plan");
         return work([=, &l] { destroy(small_plan(l, 0, 1)); });
     }},
    {"d_forward_trig_transform", 85, by_cosine},
    {"d_helmholtz_2d", 430, [](const Library& l) { return problem(l, 4, "DDDD"); }},
    {"vdRngUniform, one number", 45,
     [](const Library& l) { return calls(l, "vdRngUniform", 0, stream(l), 1, line[0], 0.0, 1.0); }},
    {"vdRngUniform_64, one number", 55,
     [](const Library& l) {
         return calls(l, "vdRngUniform_64", std::int64_t{0}, stream(l), std::int64_t{1}, line[0], 0.0, 1.0);
     }},
    {"vslSkipAheadStream", 18,
     [](const Library& l) { return calls(l, "vslSkipAheadStream", stream(l), std::int64_t{5}); }},
    {"vsldSSEditTask", 4,
     [](const Library& l) { return calls(l, "vsldSSEditTask", estimates(l), VSL_SS_EDIT_MIN, found); }},
    {"vsldSSCompute, one stage", 80,
     [](const Library& l) {
         return calls(l, "vsldSSCompute", estimates(l), std::int64_t{VSL_SS_MIN},
                      std::int64_t{VSL_SS_METHOD_FAST});
     }},
    {"dfdInterpolate1D", 95, by_line},
    {"vslsConvExec", 1, by_products},
    {"qnm_sparse_d_mv", 2,
     [](const Library& l) {
         return calls(l, "qnm_sparse_d_mv", plain, one, nothing, general, line[0], one, line[1]);
     }},
    {"QNM_SPARSE_D_MV", 12,
     [](const Library& l) {
         return calls(l, "QNM_SPARSE_D_MV", &plain, &one, &nothing, &general, line[0], &one, line[1]);
     }},
    {"QNM_SPARSE_D_CREATE_CSR", 5,
     [](const Library& l) {
         return calls(l, "QNM_SPARSE_D_CREATE_CSR", nullptr, &zero, &zero, &zero, nullptr, nullptr, nullptr,
                      nullptr);
     }},
    {"QNM_SPARSE_D_GV", 25,
     [](const Library& l) {
         return calls(l, "QNM_SPARSE_D_GV", "S", nullptr, &nothing, &general, &nothing, &general, &zero,
                      nullptr, nullptr, nullptr, nullptr);
     }},
    {"QNM_DCSRMV", 50,
     [](const Library& l) {
         static double x = 0;
         static int row = 1;
         return calls(l, "QNM_DCSRMV", "N", &zero, &zero, &one, "GLNF", &x, &row, &row, &row, &x, &one, &x);
     }},
    {"pardiso", 27, [](const Library& l) { return calls(l, "pardiso"); }},
    {"cluster_sparse_solver", 19, [](const Library& l) { return calls(l, "cluster_sparse_solver"); }},
    {"dtrnlsp_delete", 2,
     [](const Library& l) {
         static void* handle;
         return calls(l, "dtrnlsp_delete", &handle);
     }},
    {"dcg", 620, by_gradients}};

} // namespace qnm::bench
