/* Transforms on several processes beside those on one: mpirun -n N distributed. Each process has the whole
 * array, lets the layer transform it, and compares with its own rows of what all of them make together. */
#include <malloc.h>
#include <math.h>
#include <mpi.h>
#include <qnm/dfti.h>
#include <qnm/services.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* What a library under FFTW's names, ahead of FFTW in the process, would be asked for: FFTW must not see it.
 */
#define TAKEN(name)                                                                                          \
    __attribute__((visibility("default"))) void name(void);                                                  \
    void name(void)                                                                                          \
    {                                                                                                        \
        fprintf(stderr, "FAILED: " #name " was called\n");                                                   \
        abort();                                                                                             \
    }
TAKEN(fftw_malloc)
TAKEN(fftw_free)
TAKEN(fftw_destroy_plan)
TAKEN(fftw_execute_dft)
TAKEN(fftw_execute_r2r)
TAKEN(fftwf_malloc)
TAKEN(fftwf_free)
TAKEN(fftwf_execute_r2r)

/* Fortran's, which take addresses. */
int dfticreatedescriptordm1_internal_(const int*, void*, const int*, const int*, const int*, const int*);
int dfticreatedescriptordmn_internal_(const int*, void*, const int*, const int*, const int*, const int*);
int dfticommitdescriptordm_internal_(void* const*);
int dftifreedescriptordm_internal_(void*);
int dfticomputeforwarddmi_internal_(void* const*, void*);
int dfticomputeforwarddmo_internal_(void* const*, void*, void*);
int dfticomputebackwarddmi_internal_(void* const*, void*);
int dfticomputebackwarddmo_internal_(void* const*, void*, void*);
int dftigetvaluedm_internal_(void* const*, const int*, void*);
int dftisetvaluedmd_internal_(void* const*, const int*, const double*);
int dftisetvaluedmf_internal_(void* const*, const int*, const float*);
int dftisetvaluedmi_internal_(void* const*, const int*, const int*);
int dftisetvaluedmp_internal_(void* const*, const int*, void*);

enum { most = 7, no_memory = 1 };
static const double pi_scale = 0.3125, back_scale = 0.75; /* exact in both precisions */

static int failures, processes, me;
static char told[200]; /* the case at hand */
static MPI_Comm comm;

static void check(int right, const char* what)
{
    if (right)
        return;
    fprintf(stderr, "FAILED on %d of %d: %s: %s\n", me, processes, told, what);
    ++failures;
}

/* ---- one case, from C or from Fortran */

typedef struct {
    int rank;
    qnm_int64 n[most]; /* slowest first */
    int real, single, two_arrays, transposed;
    int fortran;
    int unaligned, workspace;
    void* handle;
} Case;

static qnm_int64 create(Case* c)
{
    const int precision = c->single ? DFTI_SINGLE : DFTI_DOUBLE, domain = c->real ? DFTI_REAL : DFTI_COMPLEX;
    if (!c->fortran)
        return c->rank == 1
                   ? DftiCreateDescriptorDM((qnm_int64)comm, &c->handle, precision, domain, c->rank, c->n[0])
                   : DftiCreateDescriptorDM((qnm_int64)comm, &c->handle, precision, domain, c->rank, c->n);
    const int f = MPI_Comm_c2f(comm);
    int lengths[most];
    for (int i = 0; i < c->rank; ++i)
        lengths[i] = (int)c->n[c->rank - 1 - i];
    return (c->rank == 1 ? dfticreatedescriptordm1_internal_ : dfticreatedescriptordmn_internal_)(
        &f, &c->handle, &precision, &domain, &c->rank, lengths);
}
static qnm_int64 set(Case* c, int code, int value)
{
    return c->fortran ? dftisetvaluedmi_internal_(&c->handle, &code, &value)
                      : DftiSetValueDM(c->handle, code, value);
}
static qnm_int64 set_scale(Case* c, int code, double value)
{
    const float narrow = (float)value;
    return !c->fortran ? DftiSetValueDM(c->handle, code, value)
           : c->single ? dftisetvaluedmf_internal_(&c->handle, &code, &narrow)
                       : dftisetvaluedmd_internal_(&c->handle, &code, &value);
}
static qnm_int64 set_workspace(Case* c, void* room)
{
    const int code = DFTI_DM_WORKSPACE;
    return c->fortran ? dftisetvaluedmp_internal_(&c->handle, &code, room)
                      : DftiSetValueDM(c->handle, code, room);
}
/* Rows are counted from 1 in Fortran. */
static qnm_int64 get(Case* c, int code)
{
    qnm_int64 wide = -1;
    int narrow = -1;
    check((c->fortran ? dftigetvaluedm_internal_(&c->handle, &code, &narrow)
                      : DftiGetValueDM(c->handle, code, &wide)) == 0,
          "a value");
    return !c->fortran                                                  ? wide
           : code == DFTI_DM_FIRST_ROW || code == DFTI_DM_FIRST_ROW_OUT ? narrow - 1
                                                                        : narrow;
}
static qnm_int64 commit(Case* c)
{
    return c->fortran ? dfticommitdescriptordm_internal_(&c->handle) : DftiCommitDescriptorDM(c->handle);
}
static qnm_int64 compute(Case* c, int forward, void* a, void* b)
{
    if (!c->fortran)
        return forward ? DftiComputeForwardDM(c->handle, a, b) : DftiComputeBackwardDM(c->handle, a, b);
    if (c->two_arrays)
        return (forward ? dfticomputeforwarddmo_internal_ : dfticomputebackwarddmo_internal_)(&c->handle, a,
                                                                                              b);
    return (forward ? dfticomputeforwarddmi_internal_ : dfticomputebackwarddmi_internal_)(&c->handle, a);
}
static qnm_int64 release(Case* c)
{
    return c->fortran ? dftifreedescriptordm_internal_(&c->handle) : DftiFreeDescriptorDM(&c->handle);
}

/* ---- rows of an array that is whole elsewhere */

typedef struct {
    int rank, parts;                     /* reals of an element */
    int order[most];                     /* of the dimensions, slowest first */
    qnm_int64 stored[most], valid[most]; /* elements, in that order; what is stored beyond is padding */
    qnm_int64 first;                     /* of the rows here */
} Rows;

static Rows rows_of(Case* c, int spectrum)
{
    Rows r = {.rank = c->rank, .parts = c->real && !spectrum ? 1 : 2};
    for (int i = 0; i < c->rank; ++i) {
        r.order[i] = i;
        r.stored[i] = r.valid[i] = c->n[i];
    }
    if (c->real) {
        const qnm_int64 half = c->n[c->rank - 1] / 2 + 1;
        r.stored[c->rank - 1] = spectrum ? half : 2 * half;
        if (spectrum)
            r.valid[c->rank - 1] = half;
    }
    if (spectrum && c->transposed && c->rank > 1) {
        r.order[0] = 1;
        r.order[1] = 0;
        r.stored[0] = r.valid[0] = r.stored[1];
        r.stored[1] = r.valid[1] = c->n[0];
    }
    r.first = get(c, spectrum ? DFTI_DM_FIRST_ROW_OUT : DFTI_DM_FIRST_ROW);
    const qnm_int64 here = get(c, spectrum ? DFTI_DM_ROWS_OUT : DFTI_DM_ROWS);
    qnm_int64 all = 0;
    MPI_Allreduce(&here, &all, 1, MPI_INT64_T, MPI_SUM, comm);
    check(all == r.stored[0], "rows of all processes");
    r.stored[0] = r.valid[0] = here;
    return r;
}

static double at(const Case* c, const void* local, qnm_int64 i)
{
    return c->single ? ((const float*)local)[i] : ((const double*)local)[i];
}
static void put(const Case* c, void* local, qnm_int64 i, double value)
{
    if (c->single)
        ((float*)local)[i] = (float)value;
    else
        ((double*)local)[i] = value;
}

/* Puts the rows here, or gives their worst difference. */
static double walk(const Case* c, const Rows* r, double* whole, double scale, void* local, int write)
{
    qnm_int64 count = 1, place[most];
    double worst = 0;
    for (int i = 0; i < r->rank; ++i)
        count *= r->stored[i];
    for (qnm_int64 element = 0; element < count; ++element) {
        qnm_int64 rest = element, from = 0;
        int padding = 0;
        for (int i = r->rank - 1; i >= 0; --i) {
            place[r->order[i]] = rest % r->stored[i] + (i == 0 ? r->first : 0);
            padding |= rest % r->stored[i] >= r->valid[i];
            rest /= r->stored[i];
        }
        for (int i = 0; i < r->rank; ++i)
            from = from * c->n[i] + place[i];
        for (int part = 0; part < r->parts && !padding; ++part) {
            const double value = scale * whole[2 * from + part];
            if (write)
                put(c, local, r->parts * element + part, value);
            else if (!(fabs(at(c, local, r->parts * element + part) - value) <= worst))
                worst = fabs(at(c, local, r->parts * element + part) - value); /* NaN is the worst of all */
        }
    }
    return worst;
}

/* ---- the whole, and the comparison */

static double noise(qnm_int64 i)
{
    return (double)((unsigned)(i * 2654435761u + 12345u) * 1664525u >> 8) / (1 << 24) - 0.5;
}

/* One direction: the arrays are full of NaN but for the rows here, and have a mark behind their end. */
static void transform(Case* c, int forward, double* from, double* to, double scale, double tolerance)
{
    const size_t real = c->single ? sizeof(float) : sizeof(double);
    const size_t bytes = (size_t)get(c, DFTI_DM_LOCAL_SIZE) * real * (c->real ? 1 : 2), mark = 8;
    const Rows in = rows_of(c, !forward), out = rows_of(c, forward);
    char* arrays[3];
    for (int i = 0; i < 3; ++i) {
        arrays[i] = (char*)malloc(bytes + 2 * mark) + (c->unaligned ? mark : 0);
        memset(arrays[i], 0xff, bytes + mark);
    }
    char *const a = arrays[0], *const b = c->two_arrays ? arrays[1] : a, *const copy = arrays[2];
    walk(c, &in, from, 1, a, 1);
    memcpy(copy, a, bytes);
    check(compute(c, forward, a, b) == 0, "a transform");
    const double worst = walk(c, &out, to, scale, b, 0);
    if (!(worst <= tolerance))
        fprintf(stderr, "%g is more than %g\n", worst, tolerance);
    check(worst <= tolerance, forward ? "forward" : "backward");
    check(!c->two_arrays || memcmp(copy, a, bytes) == 0, "the input stays");
    for (int i = 0; i < 3; ++i) {
        for (size_t k = 0; k < mark && i < 2; ++k)
            check(arrays[i][bytes + k] == (char)0xff, "beyond an array");
        free(arrays[i] - (c->unaligned ? mark : 0));
    }
}

static void run(Case* c)
{
    snprintf(told, sizeof told,
             "rank %d, %d x %d, real %d, single %d, two arrays %d, transposed %d, fortran %d, "
             "unaligned %d, workspace %d",
             c->rank, (int)c->n[0], (int)c->n[1], c->real, c->single, c->two_arrays, c->transposed,
             c->fortran, c->unaligned, c->workspace);
    qnm_int64 count = 1;
    for (int i = 0; i < c->rank; ++i)
        count *= c->n[i];
    double *const data = malloc(16 * (size_t)count), *const spectrum = malloc(16 * (size_t)count);
    double square = 0;
    for (qnm_int64 i = 0; i < 2 * count; ++i) {
        data[i] = c->real && i % 2 == 1 ? 0 : (double)(float)noise(i);
        square += data[i] * data[i];
    }
    qnm_dft_handle whole;
    check((c->rank == 1 ? DftiCreateDescriptor_d_1d(&whole, DFTI_COMPLEX, c->n[0])
                        : DftiCreateDescriptor_d_md(&whole, DFTI_COMPLEX, c->rank, c->n)) == 0 &&
              DftiSetValue(whole, DFTI_PLACEMENT, DFTI_NOT_INPLACE) == 0 &&
              DftiCommitDescriptor(whole) == 0 && DftiComputeForward(whole, data, spectrum) == 0 &&
              DftiFreeDescriptor(&whole) == 0,
          "the whole");

    check(create(c) == 0, "creation");
    check(set(c, DFTI_PLACEMENT, c->two_arrays ? DFTI_NOT_INPLACE : DFTI_INPLACE) == 0 &&
              set(c, DFTI_TRANSPOSE, c->transposed ? DFTI_ALLOW : DFTI_NONE) == 0 &&
              set_scale(c, DFTI_FORWARD_SCALE, pi_scale) == 0 &&
              set_scale(c, DFTI_BACKWARD_SCALE, back_scale) == 0,
          "setting");
    void* const workspace = malloc((size_t)get(c, DFTI_DM_LOCAL_SIZE) * 16);
    check(!c->workspace || set_workspace(c, workspace) == 0, "a workspace");
    check(commit(c) == 0, "commit");
    /* an error of the mean element, times what the transform makes of it */
    const double eps = (c->single ? 6e-8 : 1.2e-16) * 8 * log2(2 + (double)count);
    transform(c, 1, data, spectrum, pi_scale, eps * pi_scale * sqrt(square));
    transform(c, 0, spectrum, data, back_scale * (double)count,
              eps * back_scale * sqrt((double)count * square));
    check(release(c) == 0 && c->handle == NULL, "release");
    free(workspace);
    free(data);
    free(spectrum);
}

/* ---- what is refused */

static void refused(void)
{
    const struct {
        int precision, domain;
        qnm_int64 rank, n[2];
        qnm_int64 status;
    } creations[] = {
        {DFTI_DOUBLE, DFTI_REAL, 1, {8}, DFTI_UNIMPLEMENTED},
        {DFTI_DOUBLE, DFTI_COMPLEX, 1, {1}, DFTI_UNIMPLEMENTED},
        {DFTI_DOUBLE, DFTI_COMPLEX, 2, {1, 12}, DFTI_UNIMPLEMENTED},
        {DFTI_DOUBLE, DFTI_COMPLEX, 2, {12, 1}, DFTI_UNIMPLEMENTED},
        {DFTI_SINGLE, DFTI_COMPLEX, 2, {8, 0}, DFTI_INVALID_CONFIGURATION},
        {DFTI_SINGLE, DFTI_COMPLEX, 1, {-1}, DFTI_INVALID_CONFIGURATION},
        {DFTI_DOUBLE, 34, 1, {8}, DFTI_INCONSISTENT_CONFIGURATION},
        {37, DFTI_COMPLEX, 1, {8}, DFTI_INCONSISTENT_CONFIGURATION},
        {DFTI_DOUBLE, DFTI_COMPLEX, 2, {1L << 30, 1L << 30}, no_memory},
    };
    for (size_t i = 0; i < sizeof creations / sizeof *creations; ++i) {
        snprintf(told, sizeof told, "creation %d", (int)i);
        void* handle = &handle;
        const qnm_int64 got =
            creations[i].rank == 1
                ? DftiCreateDescriptorDM((qnm_int64)comm, &handle, creations[i].precision,
                                         creations[i].domain, creations[i].rank, creations[i].n[0])
                : DftiCreateDescriptorDM((qnm_int64)comm, &handle, creations[i].precision,
                                         creations[i].domain, creations[i].rank, creations[i].n);
        check(got == creations[i].status && handle == NULL, "status");
    }

    Case c = {.rank = 2, .n = {4, 6}, .real = 1, .two_arrays = 1};
    strcpy(told, "life");
    check(create(&c) == 0, "creation");
    const struct {
        int code, value;
        qnm_int64 status;
    } settings[] = {
        {DFTI_FORWARD_DOMAIN, DFTI_COMPLEX, DFTI_INCONSISTENT_CONFIGURATION},
        {DFTI_NUMBER_OF_TRANSFORMS, 2, DFTI_UNIMPLEMENTED},
        {DFTI_COMPLEX_STORAGE, DFTI_REAL_REAL, DFTI_UNIMPLEMENTED},
        {DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_REAL, DFTI_UNIMPLEMENTED},
        {DFTI_PLACEMENT, DFTI_ALLOW, DFTI_INCONSISTENT_CONFIGURATION},
        {DFTI_PLACEMENT, 0, DFTI_INCONSISTENT_CONFIGURATION},
        {DFTI_INPUT_DISTANCE, 8, DFTI_UNIMPLEMENTED},
        {DFTI_ORDERING, DFTI_BACKWARD_SCRAMBLED, DFTI_UNIMPLEMENTED}, /* of real data */
        {DFTI_PACKED_FORMAT, DFTI_PERM_FORMAT, DFTI_UNIMPLEMENTED},
        {DFTI_DM_LOCAL_SIZE, 8, DFTI_INCONSISTENT_CONFIGURATION},
        {6, 0, DFTI_INCONSISTENT_CONFIGURATION},
        {DFTI_PLACEMENT, DFTI_NOT_INPLACE, DFTI_NO_ERROR},
    };
    for (size_t i = 0; i < sizeof settings / sizeof *settings; ++i) {
        snprintf(told, sizeof told, "code %d value %d", settings[i].code, settings[i].value);
        check(DftiSetValueDM(c.handle, settings[i].code, settings[i].value) == settings[i].status, "status");
    }

    strcpy(told, "life");
    const size_t bytes = (size_t)get(&c, DFTI_DM_LOCAL_SIZE) * sizeof(double);
    double *const a = calloc(1, bytes), *const b = calloc(1, bytes);
    check(compute(&c, 1, a, b) == DFTI_INVALID_CONFIGURATION, "ahead of the commit");
    if (me == processes - 1) /* one without memory, and none commits */
        QNM_Set_Memory_Limit(1, 1);
    check(commit(&c) == no_memory, "a commit without memory");
    QNM_Set_Memory_Limit(1, 0);
    check(commit(&c) == 0 && compute(&c, 1, a, b) == 0, "a commit with memory");
    check(compute(&c, 1, NULL, b) == DFTI_INCONSISTENT_CONFIGURATION, "no input");
    check(compute(&c, 1, a, NULL) == DFTI_INCONSISTENT_CONFIGURATION, "no output");
    check(compute(&c, 1, a, a) == DFTI_INCONSISTENT_CONFIGURATION, "one array for two");
    free(a);
    free(b);

    int status = 0;
    qnm_int64 lengths[2] = {0};
    MPI_Comm found = MPI_COMM_NULL;
    float scale = 0;
    check(DftiGetValueDM(c.handle, DFTI_COMMIT_STATUS, &status) == 0 && status == DFTI_COMMITTED,
          "commit status");
    check(DftiGetValueDM(c.handle, DFTI_LENGTHS, lengths) == 0 && lengths[0] == 4 && lengths[1] == 6,
          "lengths");
    check(DftiGetValueDM(c.handle, DFTI_DM_COMMUNICATOR, &found) == 0 && found == comm, "communicator in C");
    c.fortran = 1;
    check(MPI_Comm_f2c((int)get(&c, DFTI_DM_COMMUNICATOR)) == comm, "communicator in Fortran");
    c.fortran = 0;
    check(set(&c, DFTI_WORKSPACE, DFTI_AVOID) == 0 &&
              compute(&c, 1, told, told) == DFTI_INVALID_CONFIGURATION,
          "behind a change");

    /* Handles of one kind are none of the other, nor are those that were freed. */
    check(DftiCommitDescriptor(c.handle) == DFTI_BAD_DESCRIPTOR, "a distributed one");
    check(release(&c) == 0, "release");
    check(release(&c) == DFTI_BAD_DESCRIPTOR, "released twice");
    qnm_dft_handle whole;
    check(DftiCreateDescriptor_s_1d(&whole, DFTI_COMPLEX, 8) == 0 &&
              DftiCommitDescriptorDM(whole) == DFTI_BAD_DESCRIPTOR && DftiFreeDescriptor(&whole) == 0,
          "one that is not");

    if (processes > 1 && processes < 5) { /* more than the engine can send */
        Case large = {.rank = 2, .n = {70000, 70000}, .single = 1};
        strcpy(told, "70000 by 70000");
        check(create(&large) == 0 && commit(&large) == DFTI_UNIMPLEMENTED && release(&large) == 0, "status");
        large.single = 1;
        check(create(&large) == 0 && DftiGetValueDM(large.handle, DFTI_FORWARD_SCALE, &scale) == 0 &&
                  scale == 1 && release(&large) == 0,
              "a scale in its precision");
    }
}

int main(int argc, char** argv)
{
    void* handle = NULL;
    strcpy(told, "ahead of MPI");
    check(DftiCreateDescriptorDM(8, &handle, DFTI_DOUBLE, DFTI_COMPLEX, 1, (qnm_int64)8) ==
              DFTI_INCONSISTENT_CONFIGURATION,
          "status");
    MPI_Init(&argc, &argv);
    MPI_Comm_size(MPI_COMM_WORLD, &processes);
    MPI_Comm_rank(MPI_COMM_WORLD, &me);
    MPI_Comm_split(MPI_COMM_WORLD, 0, -me, &comm); /* rows are those of the communicator's order */

    const struct {
        int rank;
        qnm_int64 n[most];
    } shapes[] = {
        {1, {64}},         {1, {97}},
        {1, {60}},         {2, {8, 6}},
        {2, {7, 9}},       {2, {2, 5}},
        {2, {64, 96}},     {3, {5, 4, 6}},
        {3, {4, 5, 1}},    {2, {1, 12}},
        {2, {12, 1}},      {2, {1, 1}},
        {4, {3, 4, 2, 5}}, {7, {2, 3, 2, 2, 1, 2, 3}},
    };
    qnm_int64 before = 0, number = 0;
    int blocks = 0;
    size_t heap = 0;
    for (int turn = 0; turn < 2; ++turn) { /* what the first turn leaves behind is there to stay */
        if (turn == 1)
            before = QNM_Mem_Stat(&blocks), heap = mallinfo2().uordblks;
        for (size_t s = 0; s < sizeof shapes / sizeof *shapes; ++s)
            for (int bits = 0; bits < 16; ++bits, ++number) {
                Case c = {.rank = shapes[s].rank,
                          .real = bits & 1,
                          .single = bits >> 1 & 1,
                          .two_arrays = bits >> 2 & 1,
                          .transposed = bits >> 3,
                          .fortran = turn,
                          .unaligned = number % 3 != 0,
                          .workspace = number % 3 == 1};
                memcpy(c.n, shapes[s].n, sizeof c.n);
                if (c.real ? c.rank > 1 : c.n[0] > 1 && (c.rank == 1 || c.n[1] > 1))
                    run(&c);
            }
        refused();
    }
    strcpy(told, "memory");
    check(QNM_Mem_Stat(&blocks) == before, "all is released");
    check(mallinfo2().uordblks < heap + 200000, "the plans of the engine are released");

    Case late = {.rank = 2, .n = {4, 4}};
    check(create(&late) == 0 && commit(&late) == 0, "for after the end");
    MPI_Comm_free(&comm);
    MPI_Finalize();
    check(release(&late) == 0, "behind MPI");
    return failures != 0;
}
