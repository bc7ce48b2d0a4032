! Prints the results of some BLAS calls on fixed data as bits, one number a line. The same calls stand
! in samebits.c; compiled with WIDE, each program uses the entries with 64-bit integers. All four must
! print the same lines.
#ifdef WIDE
#define ddot ddot_64
#define dnrm2 dnrm2_64
#define sasum sasum_64
#define idamax idamax_64
#define daxpy daxpy_64
#define drot drot_64
#define zdotc zdotc_64
#define cdotu cdotu_64
#define dgemv dgemv_64
#define zhemv zhemv_64
#define dtrsv dtrsv_64
#define sgemm sgemm_64
#define dgemm dgemm_64
#define zherk zherk_64
#define dtrsm dtrsm_64
#endif
program samebits
    use, intrinsic :: iso_fortran_env, only: int32, int64, real32, real64
    implicit none
#ifdef WIDE
    integer, parameter :: ip = int64
#else
    integer, parameter :: ip = int32
#endif
    integer(ip), parameter :: n = 13, one = 1, two = 2, half = 6
    integer, parameter :: size_ = int(n), area = size_ * size_
    real(real64), parameter :: alpha = 0.3_real64, beta = 0.7_real64
    real(real32), parameter :: alphas = 0.3_real32, betas = 0.7_real32
    complex(real64), parameter :: zalpha = (0.3_real64, 0.1_real64), zbeta = (0.7_real64, -0.2_real64)
    real(real64) :: x(2*size_), y(2*size_), a(2*area), b(area), c(2*area)
    real(real32) :: xs(2*size_), ys(2*size_), as(area), bs(area), cs(area)
    complex(real64) :: zx(size_), zy(size_), za(area), zc(area)
    complex(real32) :: cx(size_), cy(size_)

    real(real64), external :: ddot, dnrm2
    real(real32), external :: sasum
    integer, external :: idamax ! 32 bits at both widths
    complex(real64), external :: zdotc
    complex(real32), external :: cdotu
    external :: daxpy, drot, dgemv, zhemv, dtrsv, sgemm, dgemm, zherk, dtrsm

    call fill(x, 1)
    call fill(y, 2)
    call fill(a, 3)
    call fill(b, 4)
    xs = real(x, real32)
    ys = real(y, real32)
    as = real(a(:area), real32)
    bs = real(b, real32)

    call show('ddot', [ddot(n, x, one, y, two)])
    call show('dnrm2', [dnrm2(n, x, one)])
    call show_single('sasum', [sasum(n, xs, two)])
    call show('idamax', [real(idamax(n, x, one), real64)])
    call daxpy(n, alpha, x, one, y, two)
    call show('daxpy', y)
    call drot(half, x, one, y, one, alpha, beta)
    call show('drot', x(:size_))
    zx = transfer(x, zx)
    zy = transfer(y, zy)
    call show('zdotc', transfer(zdotc(n, zx, one, zy, one), x, 2))
    cx = transfer(xs, cx)
    cy = transfer(ys, cy)
    call show_single('cdotu', transfer(cdotu(n, cx, one, cy, one), xs, 2))

    call dgemv('T', n, n, alpha, a, n, x, one, beta, y, one)
    call show('dgemv', y(:size_))
    za = transfer(a, za)
    zy = transfer(y, zy)
    call zhemv('U', n, zalpha, za, n, zx, one, zbeta, zy, one)
    y = transfer(zy, y)
    call show('zhemv', y)
    call dtrsv('L', 'N', 'U', half, b, n, y, two)
    call show('dtrsv', y)

    call fill(c, 5)
    cs = real(c(:area), real32)
    call sgemm('N', 'T', n, half, n, alphas, as, n, bs, n, betas, cs, n)
    call show_single('sgemm', cs)
    call dgemm('T', 'N', n, n, n, alpha, a, n, b, n, beta, c, n)
    call show('dgemm', c(:area))
    zc = transfer(c, zc)
    call zherk('L', 'C', n, n, alpha, za, n, beta, zc, n)
    call show('zherk', transfer(zc, c))
    call dtrsm('R', 'U', 'T', 'U', n, half, alpha, a, n, b, n)
    call show('dtrsm', b)

contains

    ! Numbers of no short binary form, so that another order of summation shows.
    subroutine fill(values, seed)
        real(real64), intent(out) :: values(:)
        integer, intent(in) :: seed
        integer :: i
        values = [((mod(i * 37, 101) + seed - 50) / 7.0_real64, i = 1, size(values))]
    end subroutine

    subroutine show(name, values)
        character(*), intent(in) :: name
        real(real64), intent(in) :: values(:)
        character(6) :: label
        integer :: i
        label = name
        do i = 1, size(values)
            print '(a, 1x, z16.16)', label, transfer(values(i), 0_int64)
        end do
    end subroutine

    subroutine show_single(name, values)
        character(*), intent(in) :: name
        real(real32), intent(in) :: values(:)
        character(6) :: label
        integer :: i
        label = name
        do i = 1, size(values)
            print '(a, 1x, z8.8)', label, transfer(values(i), 0_int32)
        end do
    end subroutine

end program
