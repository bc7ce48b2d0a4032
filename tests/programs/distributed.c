/* Transforms on several processes beside those on one: mpirun -n N distributed. Each process has the whole
 * array, lets the layer transform it, and compares with its own rows of what all of them make together, by
 * the entries of Fortran. Those of C show what is refused. */
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
        abort();                                                                                             \
    }
TAKEN(fftw_malloc)
TAKEN(fftw_execute_r2r)
TAKEN(fftwf_malloc)
TAKEN(fftwf_execute_r2r)

int dfticreatedescriptordm1_internal_(), dfticreatedescriptordmn_internal_(),
    dfticommitdescriptordm_internal_();
int dftifreedescriptordm_internal_(), dfticomputeforwarddmi_internal_(), dfticomputeforwarddmo_internal_();
int dfticomputebackwarddmi_internal_(), dfticomputebackwarddmo_internal_(), dftigetvaluedm_internal_();
int dftisetvaluedmd_internal_(), dftisetvaluedmf_internal_(), dftisetvaluedmi_internal_(),
    dftisetvaluedmp_internal_();

enum { most = 7, no_memory = 1 };
typedef struct {
    int rank;
    qnm_int64 n[most]; /* slowest first */
    int real, single, two_arrays, transposed, unaligned, workspace;
    void* handle;
} Case;
#define OF(dimensions, ...)                                                                                  \
    {                                                                                                        \
        .rank = dimensions, .n = { __VA_ARGS__ }                                                             \
    }

static int failures, processes, me;
static char told[200]; /* the case at hand */
static MPI_Comm comm;

static void check(int right, const char* what)
{
    if (!right && ++failures < 20)
        fprintf(stderr, "FAILED on %d of %d: %s: %s\n", me, processes, told, what);
}

static int get(Case* c, int code)
{
    int value = -1;
    check(dftigetvaluedm_internal_(&c->handle, &code, &value) == 0, "a value");
    return value;
}

static size_t real_bytes(const Case* c)
{
    return c->single ? sizeof(float) : sizeof(double);
}

/* Puts the rows that are here of the data, or of their spectrum, or gives their worst difference. */
static double walk(Case* c, int spectrum, const double* whole, double scale, char* local, int write)
{
    const int last = c->rank - 1, split = spectrum && c->transposed && c->rank > 1;
    const int parts = c->real && !spectrum ? 1 : 2;
    const qnm_int64 first = get(c, spectrum ? DFTI_DM_FIRST_ROW_OUT : DFTI_DM_FIRST_ROW) - 1;
    const qnm_int64 rows = get(c, spectrum ? DFTI_DM_ROWS_OUT : DFTI_DM_ROWS);
    qnm_int64 stored[most] = {0}, place[most], count = 1, all;
    double worst = 0;
    for (int i = 0; i <= last; count *= c->n[i++])
        stored[i] = c->n[i];
    if (c->real)
        stored[last] = (c->n[last] / 2 + 1) * (spectrum ? 1 : 2);
    MPI_Allreduce(&rows, &all, 1, MPI_INT64_T, MPI_SUM, comm);
    check(all == stored[split], "rows of all processes");
    for (qnm_int64 element = 0; element < count; ++element) {
        qnm_int64 rest = element;
        for (int i = last; i >= 0; rest /= c->n[i--])
            place[i] = rest % c->n[i];
        if (place[split] < first || place[split] >= first + rows || place[last] >= stored[last])
            continue;
        qnm_int64 at = place[split] - first;
        for (int i = 0; i <= last; ++i)
            at = i == split ? at : at * stored[i] + place[i];
        for (int part = 0; part < parts; ++part) {
            const double value = scale * whole[2 * element + part];
            double* const wide = (double*)local + (parts * at + part);
            float* const narrow = (float*)local + (parts * at + part);
            if (write && c->single)
                *narrow = (float)value;
            else if (write)
                *wide = value;
            else if (!(fabs((c->single ? *narrow : *wide) - value) <= worst)) /* NaN is the worst of all */
                worst = fabs((c->single ? *narrow : *wide) - value);
        }
    }
    return worst;
}

/* The arrays are full of NaN but for the rows here, and have a mark behind their end. */
static void transform(Case* c, int forward, const double* from, const double* to, double scale,
                      double tolerance)
{
    const size_t bytes = (size_t)get(c, DFTI_DM_LOCAL_SIZE) * real_bytes(c) * (c->real ? 1 : 2);
    const size_t mark = 8, begin = c->unaligned ? mark : 0;
    char* arrays[3];
    for (int i = 0; i < 3; ++i)
        arrays[i] = (char*)memset(malloc(bytes + 2 * mark), 0xff, bytes + 2 * mark) + begin;
    char *const a = arrays[0], *const b = c->two_arrays ? arrays[1] : a, *const before = arrays[2];
    walk(c, !forward, from, 1, a, 1);
    memcpy(before, a, bytes);
    check((c->two_arrays ? (forward ? dfticomputeforwarddmo_internal_
                                    : dfticomputebackwarddmo_internal_)(&c->handle, a, b)
                         : (forward ? dfticomputeforwarddmi_internal_
                                    : dfticomputebackwarddmi_internal_)(&c->handle, a)) == 0,
          "a transform");
    check(walk(c, forward, to, scale, b, 0) <= tolerance, forward ? "forward" : "backward");
    check(!c->two_arrays || memcmp(before, a, bytes) == 0, "the input stays");
    check(memcmp(a + bytes, before + bytes, mark) == 0 && memcmp(b + bytes, before + bytes, mark) == 0,
          "the mark");
    for (int i = 0; i < 3; ++i)
        free(arrays[i] - begin);
}

static void run(Case* c)
{
    snprintf(
        told, sizeof told,
        "rank %d, %d by %d, real %d, single %d, two arrays %d, transposed %d, unaligned %d, workspace %d",
        c->rank, (int)c->n[0], (int)c->n[1], c->real, c->single, c->two_arrays, c->transposed, c->unaligned,
        c->workspace);
    qnm_int64 count = 1;
    int lengths[most];
    for (int i = 0; i < c->rank; count *= c->n[i++])
        lengths[c->rank - 1 - i] = (int)c->n[i];
    double *const data = malloc(16 * (size_t)count), *const spectrum = malloc(16 * (size_t)count), square = 0;
    for (qnm_int64 i = 0; i < 2 * count; square += data[i] * data[i], ++i)
        data[i] = c->real && i % 2 == 1 ? 0 : (float)((i * 2654435761 + 12345) % 1000003) / 1000003 - 0.5F;
    qnm_dft_handle whole;
    check((c->rank == 1 ? DftiCreateDescriptor_d_1d(&whole, DFTI_COMPLEX, c->n[0])
                        : DftiCreateDescriptor_d_md(&whole, DFTI_COMPLEX, c->rank, c->n)) == 0 &&
              DftiSetValue(whole, DFTI_PLACEMENT, DFTI_NOT_INPLACE) == 0 &&
              DftiCommitDescriptor(whole) == 0 && DftiComputeForward(whole, data, spectrum) == 0 &&
              DftiFreeDescriptor(&whole) == 0,
          "the whole");

    const double scale = 0.3125, back_scale = 0.75;
    const float narrow_scale = 0.3125F;
    const int fcomm = MPI_Comm_c2f(comm), precision = c->single ? DFTI_SINGLE : DFTI_DOUBLE;
    const int domain = c->real ? DFTI_REAL : DFTI_COMPLEX,
              placement = c->two_arrays ? DFTI_NOT_INPLACE : DFTI_INPLACE;
    const int transpose = c->transposed ? DFTI_ALLOW : DFTI_NONE;
    const int codes[] = {DFTI_FORWARD_SCALE, DFTI_BACKWARD_SCALE, DFTI_PLACEMENT, DFTI_TRANSPOSE,
                         DFTI_DM_WORKSPACE};
    check((c->rank == 1 ? dfticreatedescriptordm1_internal_ : dfticreatedescriptordmn_internal_)(
              &fcomm, &c->handle, &precision, &domain, &c->rank, lengths) == 0,
          "creation");
    check((c->single ? dftisetvaluedmf_internal_(&c->handle, &codes[0], &narrow_scale)
                     : dftisetvaluedmd_internal_(&c->handle, &codes[0], &scale)) == 0 &&
              dftisetvaluedmd_internal_(&c->handle, &codes[1], &back_scale) == 0 &&
              dftisetvaluedmi_internal_(&c->handle, &codes[2], &placement) == 0 &&
              dftisetvaluedmi_internal_(&c->handle, &codes[3], &transpose) == 0,
          "setting");
    void* const workspace = malloc((size_t)get(c, DFTI_DM_LOCAL_SIZE) * 16);
    check(!c->workspace || dftisetvaluedmp_internal_(&c->handle, &codes[4], workspace) == 0, "a workspace");
    check(dfticommitdescriptordm_internal_(&c->handle) == 0, "commit");
    const double eps = (c->single ? 6e-8 : 1.2e-16) * 8 * log2(2 + (double)count);
    transform(c, 1, data, spectrum, scale, eps * scale * sqrt(square));
    transform(c, 0, spectrum, data, back_scale * (double)count,
              eps * back_scale * sqrt((double)count * square));
    check(dftifreedescriptordm_internal_(&c->handle) == 0 && c->handle == NULL, "release");
    free(workspace);
    free(data);
    free(spectrum);
}

static qnm_int64 create(Case* c, int precision, int domain)
{
    c->handle = c;
    return c->rank == 1
               ? DftiCreateDescriptorDM((qnm_int64)comm, &c->handle, precision, domain, 1L, c->n[0])
               : DftiCreateDescriptorDM((qnm_int64)comm, &c->handle, precision, domain, c->rank, c->n);
}

static void refused(void)
{
    enum {
        wrong = DFTI_INCONSISTENT_CONFIGURATION,
        missing = DFTI_UNIMPLEMENTED,
        bad = DFTI_INVALID_CONFIGURATION
    };
    struct {
        int precision, domain, status;
        Case c;
    } creations[] = {
        {DFTI_DOUBLE, DFTI_REAL, missing, OF(1, 8)},
        {DFTI_DOUBLE, DFTI_COMPLEX, missing, OF(1, 1)},
        {DFTI_DOUBLE, DFTI_COMPLEX, missing, OF(2, 1, 12)},
        {DFTI_DOUBLE, DFTI_COMPLEX, missing, OF(2, 12, 1)},
        {DFTI_SINGLE, DFTI_COMPLEX, bad, OF(2, 8, 0)},
        {DFTI_SINGLE, DFTI_COMPLEX, bad, OF(1, -1)},
        {DFTI_DOUBLE, 34, wrong, OF(1, 8)},
        {37, DFTI_COMPLEX, wrong, OF(1, 8)},
        {DFTI_DOUBLE, DFTI_REAL, no_memory, OF(2, 1L << 30, 1L << 30)},
    };
    for (size_t i = 0; i < sizeof creations / sizeof *creations; ++i) {
        snprintf(told, sizeof told, "creation %d", (int)i);
        check(create(&creations[i].c, creations[i].precision, creations[i].domain) == creations[i].status &&
                  creations[i].c.handle == NULL,
              "status");
    }

    Case c = {.rank = 2, .n = {4, 6}};
    strcpy(told, "life");
    check(create(&c, DFTI_SINGLE, DFTI_REAL) == 0, "creation");
    const int settings[][3] = {
        {DFTI_FORWARD_DOMAIN, DFTI_COMPLEX, wrong},
        {DFTI_NUMBER_OF_TRANSFORMS, 2, missing},
        {DFTI_COMPLEX_STORAGE, DFTI_REAL_REAL, missing},
        {DFTI_PLACEMENT, DFTI_ALLOW, wrong},
        {DFTI_PLACEMENT, 0, wrong},
        {DFTI_INPUT_DISTANCE, 8, missing},
        {DFTI_PACKED_FORMAT, DFTI_PERM_FORMAT, missing},
        {DFTI_ORDERING, DFTI_BACKWARD_SCRAMBLED, missing},
        {DFTI_DM_LOCAL_SIZE, 8, wrong},
        {6, 0, wrong},
        {DFTI_PLACEMENT, DFTI_NOT_INPLACE, 0},
    };
    for (size_t i = 0; i < sizeof settings / sizeof *settings; ++i) {
        snprintf(told, sizeof told, "code %d value %d", settings[i][0], settings[i][1]);
        check(DftiSetValueDM(c.handle, settings[i][0], settings[i][1]) == settings[i][2], "status");
    }

    strcpy(told, "life");
    double a[100] = {0}, b[100];
    check(DftiComputeForwardDM(c.handle, a, b) == bad, "ahead of the commit");
    if (me == processes - 1) /* one without memory, and none commits */
        QNM_Set_Memory_Limit(1, 1);
    check(DftiCommitDescriptorDM(c.handle) == no_memory, "a commit without memory");
    QNM_Set_Memory_Limit(1, 0);
    check(DftiCommitDescriptorDM(c.handle) == 0 && DftiComputeForwardDM(c.handle, a, b) == 0, "with memory");
    check(DftiComputeForwardDM(c.handle, NULL, b) == wrong &&
              DftiComputeBackwardDM(c.handle, a, NULL) == wrong &&
              DftiComputeForwardDM(c.handle, a, a) == wrong,
          "arrays");

    int status = 0;
    qnm_int64 lengths[2] = {0};
    MPI_Comm found = MPI_COMM_NULL;
    float scale = 0;
    check(DftiGetValueDM(c.handle, DFTI_COMMIT_STATUS, &status) == 0 && status == DFTI_COMMITTED &&
              DftiGetValueDM(c.handle, DFTI_LENGTHS, lengths) == 0 && lengths[0] == 4 && lengths[1] == 6 &&
              DftiGetValueDM(c.handle, DFTI_FORWARD_SCALE, &scale) == 0 && scale == 1 &&
              DftiGetValueDM(c.handle, DFTI_DM_COMMUNICATOR, &found) == 0 && found == comm &&
              MPI_Comm_f2c(get(&c, DFTI_DM_COMMUNICATOR)) == comm,
          "what is asked for");
    check(DftiSetValueDM(c.handle, DFTI_WORKSPACE, DFTI_AVOID) == 0 &&
              DftiComputeForwardDM(c.handle, a, b) == bad,
          "behind a change");
    qnm_dft_handle whole; /* handles of one kind are none of the other */
    check(DftiCreateDescriptor_s_1d(&whole, DFTI_COMPLEX, 8) == 0 &&
              DftiCommitDescriptorDM(whole) == DFTI_BAD_DESCRIPTOR && DftiFreeDescriptor(&whole) == 0 &&
              DftiCommitDescriptor(c.handle) == DFTI_BAD_DESCRIPTOR && DftiFreeDescriptorDM(&c.handle) == 0 &&
              DftiFreeDescriptorDM(&c.handle) == DFTI_BAD_DESCRIPTOR,
          "handles");

    Case large = {.rank = 2, .n = {70000, 70000}};
    if (processes > 1 && processes < 4) /* more than the engine can send */
        check(create(&large, DFTI_SINGLE, DFTI_COMPLEX) == 0 &&
                  DftiCommitDescriptorDM(large.handle) == missing && DftiFreeDescriptorDM(&large.handle) == 0,
              "70000 by 70000");
}

int main(int argc, char** argv)
{
    Case late = {.rank = 2, .n = {4, 4}};
    strcpy(told, "MPI");
    check(create(&late, DFTI_DOUBLE, DFTI_COMPLEX) == DFTI_INCONSISTENT_CONFIGURATION, "ahead of it");
    MPI_Init(&argc, &argv);
    MPI_Comm_size(MPI_COMM_WORLD, &processes);
    MPI_Comm_rank(MPI_COMM_WORLD, &me);
    MPI_Comm_split(MPI_COMM_WORLD, 0, -me, &comm); /* rows are in the communicator's order */

    const Case shapes[] = {
        OF(1, 64),      OF(1, 97),      OF(1, 60),         OF(2, 8, 6),
        OF(2, 7, 9),    OF(2, 2, 5),    OF(2, 1, 1),       OF(2, 64, 96),
        OF(3, 5, 4, 6), OF(3, 4, 5, 1), OF(4, 3, 4, 2, 5), OF(7, 2, 3, 2, 2, 1, 2, 3),
    };
    qnm_int64 before = 0;
    size_t heap = 0;
    int number = 0, blocks;
    for (int turn = 0; turn < 2; ++turn) { /* what the first turn leaves behind is there to stay */
        before = QNM_Mem_Stat(&blocks);
        heap = mallinfo2().uordblks;
        for (size_t s = 0; s < sizeof shapes / sizeof *shapes; ++s)
            for (int bits = 0; bits < 16; ++bits, ++number) {
                Case c = shapes[s];
                c.real = bits & 1, c.single = bits >> 1 & 1, c.two_arrays = bits >> 2 & 1,
                c.transposed = bits >> 3;
                c.unaligned = number % 3 != 0, c.workspace = number % 3 == 1;
                if (c.real ? c.rank > 1 : c.n[0] > 1)
                    run(&c);
            }
        refused();
    }
    strcpy(told, "the end");
    check(QNM_Mem_Stat(&blocks) == before && mallinfo2().uordblks < heap + 200000, "all is released");
    check(create(&late, DFTI_DOUBLE, DFTI_COMPLEX) == 0 && DftiCommitDescriptorDM(late.handle) == 0,
          "commit");
    MPI_Comm_free(&comm);
    MPI_Finalize();
    check(DftiFreeDescriptorDM(&late.handle) == 0, "release behind it");
    return failures != 0;
}
