/* Names of BLAS and LAPACK: a program calls them if it is told to, a library has them. */
#if defined(LIBRARY) || defined(OWN)
#define BODY                                                                                                 \
    {                                                                                                        \
    }
#else
#define BODY ;
#endif

void dgemm_(void);
void xerbla_(void);
void dgemm_(void) BODY void xerbla_(void) BODY
#ifndef OWN
    void dlasd4_(void);
void dlasd4_(void) BODY void zdotc_(void);
void zdotc_(void) BODY void dgemm_64_(void);
void dgemm_64_(void) BODY void rival_solve(void);
void rival_solve(void) BODY
#endif

#ifndef LIBRARY
    int main(int count, char** words)
{
    (void)words;
    if (count > 1) {
        dgemm_();
        xerbla_();
#ifndef OWN
        dlasd4_();
        zdotc_();
        dgemm_64_();
        rival_solve();
#endif
    }
    return 0;
}
#endif
