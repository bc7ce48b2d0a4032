// Handlers that do more than print: one mode for each of their manners.
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <qnm/qnm.h>

namespace {

std::string mode;
std::jmp_buf back;
int depth = 0;

void multiply(int m)
{
    const int one = 1;
    const double zero = 0;
    double c = 0;
    dgemm_("N", "N", &m, &one, &one, &zero, &c, &one, &c, &one, &zero, &c, &one);
}

} // namespace

extern "C" void xerbla_(const char* srname, const int* info, int len)
{
    std::printf("xerbla_ \"%.*s\" %d\n", len, srname, *info);
    if (mode == "exit")
        std::exit(40 + *info);
    if (mode == "longjmp")
        std::longjmp(back, *info);
    if (mode == "callback" && ++depth < 3) {
        multiply(1);
        multiply(-1);
    }
}

extern "C" void cblas_xerbla(const char* name, int info)
{
    std::printf("cblas_xerbla %s %d\n", name, info);
}

int main(int /*argc*/, char** argv)
{
    mode = argv[1];
    static int rounds = 0;
    if (const int code = setjmp(back); code != 0)
        std::printf("back with %d\n", code);
    if (mode == "cblas") {
        cblas_xerbla("own", 1);
        cblas_xerbla_malloc_error("cblas_chpr2");
    } else if (rounds++ < 2) {
        multiply(-1);
    }
    multiply(1);
    std::puts("end");
}
