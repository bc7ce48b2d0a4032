/* A program of C99 that knows the library by its headers alone. */
#include <qnm/qnm.h>

#include <complex.h>
#include <stdio.h>
#include <string.h>

static int failures;

static void expect(int good, const char* what)
{
    if (!good) {
        printf("wrong: %s\n", what);
        ++failures;
    }
}

static int reported;

static void remember(const char* srname, const int* info, int len)
{
    reported = len == 6 && memcmp(srname, "DGEMM ", 6) == 0 ? *info : -1;
}

static int mend(qnm_vml_error_t* error)
{
    expect(error->code == QNM_VML_DOMAIN && error->index == 1 && error->argument[0] == -1.0,
           "the error's record");
    expect(error->length == 4 && strcmp(error->name, "vdLn") == 0, "the error's name");
    error->result[0] = 7.0;
    return 0;
}

int main(void)
{
    const int n = 2, one = 1, zero = 0, alignment = 256;
    const qnm_int64 n8 = 2, one8 = 1, bytes = 1000;
    const double x[2] = {3.0, 4.0}, logarithms[2] = {1.0, -1.0}, unit = 1.0, nothing = 0.0, two = 2.0;
    const qnm_complex16 z[2] = {1.0 + 2.0 * I, 3.0};
    qnm_complex16 product = 0;
    double c[2] = {3.0, 4.0}, thrice = 0.0;
    struct {
        qnm_version_t version;
        char behind[16];
    } room;
    void *block, *jitter = NULL;

    expect(DNRM2_64(&n8, x, &one8) == 5.0, "DNRM2_64");
    zdotc(&product, &n, z, &one, z, &one);
    expect(product == 14.0, "zdotc"); /* |1+2i|^2 + |3|^2 */
    expect(qnm_set_xerbla(remember) == NULL, "no handler before");
    dgemm_("n", "n", &n, &n, &n, &unit, x, &zero, x, &n, &nothing, c, &n);
    expect(reported == 8 && qnm_set_xerbla_(NULL) == remember, "the handler");

    memset(&room, 'x', sizeof room);
    QNM_Get_Version(&room.version);
    expect(room.version.major == QNM_MAJOR && room.version.minor == QNM_MINOR, "version");
    expect(memcmp(room.behind, "xxxxxxxxxxxxxxxx", sizeof room.behind) == 0, "the end of qnm_version_t");
    block = qnm_malloc_(&bytes, &alignment);
    expect((size_t)block % 256 == 0, "qnm_malloc_");
    qnm_free_(&block);

    qnm_jit_create_dgemm(&jitter, "N", "N", &one, &one, &one, &two, &one, &one, &nothing, &one);
    qnm_jit_get_dgemm_ptr(jitter)(jitter, c, c + 1, &thrice);
    expect(thrice == 24.0, "the kernel");
    expect(qnm_jit_destroy(jitter) == QNM_JIT_DONE, "qnm_jit_destroy");

    expect(vmlSetMode(QNM_VML_HIGH | QNM_VML_CALLBACK) == QNM_VML_DEFAULT, "the mode");
    vmlSetErrorCallBack(mend);
    vdLn_64(2, logarithms, c);
    expect(c[0] == 0.0 && c[1] == 7.0 && vmlGetErrStatus() == QNM_VML_DOMAIN, "vdLn_64");
    return failures != 0;
}
