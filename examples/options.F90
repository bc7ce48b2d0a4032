! 10,000 European options priced by Black and Scholes, with vector functions at high and at low accuracy and with a
! loop over Fortran's own. 24 of the prices are compared with certified ones (options_prices.c tells how). Compiled with
! WIDE, the program uses the entries with 64-bit integers. The same program in C is options.c; this one
! takes probabilities from erf, as an old program would, and pays for it in digits where they are small.
!
!     options_fortran_narrow options.txt
#ifdef WIDE
#define vdln vdln_64
#define vdexp vdexp_64
#define vdsqrt vdsqrt_64
#define vddiv vddiv_64
#define vderf vderf_64
#define vmlsetmode vmlsetmode_64
#endif
program main
    use, intrinsic :: iso_fortran_env, only: int32, int64, real64, real128
    implicit none
#ifdef WIDE
    integer, parameter :: ip = int64
#else
    integer, parameter :: ip = int32
#endif
    integer, parameter :: options = 10000, certified = 24
    integer(ip), parameter :: n = options, high = int(z'202'), low = int(z'201') ! and errors to errno
    real(real64), parameter :: rate = 1d0 / 32, half = 0.5d0
    real(real64), dimension(options) :: spot, strike, years, volatility, call_, put
    real(real128) :: exact(2, certified)
    integer :: place(certified), i
    integer(ip) :: before
    integer(ip), external :: vmlsetmode
    external :: vdln, vdexp, vdsqrt, vddiv, vderf

    call read_prices
    ! As options.h has it.
    do i = 0, options - 1
        spot(i + 1) = 80 + mod(37 * i, 641) / 16d0
        strike(i + 1) = 90 + mod(101 * i, 321) / 16d0
        years(i + 1) = 0.25d0 + mod(53 * i, 45) / 16d0
        volatility(i + 1) = (10 + mod(29 * i, 23)) / 64d0
    end do

    print '(i0, a, i0, a)', options, ' options, Fortran, entries with ', bit_size(n), '-bit integers'
    print '(a)', '                      greatest error, ulp    ns for both'
    print '(a)', '                         call      put         prices'
    call show("loop over Fortran's", by_loop)
    before = vmlsetmode(high)
    call show('vectors, high', by_vectors)
    before = vmlsetmode(low)
    call show('vectors, low', by_vectors)

contains

    subroutine read_prices
        character(200) :: line
        integer :: unit, k, status
        call get_command_argument(1, line)
        open (newunit=unit, file=line, status='old', action='read')
        k = 0
        do while (k < certified)
            read (unit, '(a)') line
            read (line, *, iostat=status) place(k + 1), exact(:, k + 1)
            if (status == 0) k = k + 1
        end do
        close (unit)
    end subroutine

    subroutine by_loop
        real(real64) :: spread, far, near, paid
        integer :: k
        do k = 1, options
            spread = volatility(k) * sqrt(years(k))
            far = (log(spot(k) / strike(k)) + rate * years(k)) / spread + spread / 2
            near = far - spread
            paid = strike(k) * exp(-rate * years(k))
            far = erf(far * sqrt(half))
            near = erf(near * sqrt(half))
            call_(k) = spot(k) * (half + half * far) - paid * (half + half * near)
            put(k) = paid * (half - half * near) - spot(k) * (half - half * far)
        end do
    end subroutine

    subroutine by_vectors
        real(real64), save, dimension(options) :: spread, far, near, paid
        call vddiv(n, spot, strike, far)
        call vdln(n, far, far)
        call vdsqrt(n, years, spread)
        spread = spread * volatility
        paid = -rate * years
        far = far - paid
        call vddiv(n, far, spread, far)
        call vdexp(n, paid, paid)
        paid = paid * strike
        far = far + spread / 2
        near = (far - spread) * sqrt(half)
        far = far * sqrt(half)
        call vderf(n, far, far)
        call vderf(n, near, near)
        call_ = spot * (half + half * far) - paid * (half + half * near)
        put = paid * (half - half * near) - spot * (half - half * far)
    end subroutine

    subroutine show(name, priced)
        character(*), intent(in) :: name
        interface
            subroutine priced
            end subroutine
        end interface
        integer(int64) :: begin, end_, best, ticks
        integer :: round
        best = huge(best)
        do round = 1, 20
            call system_clock(begin, ticks)
            call priced
            call system_clock(end_)
            best = min(best, end_ - begin)
        end do
        print '(a22, 2f9.1, i14)', name // repeat(' ', 22), error_of(call_, 1), error_of(put, 2), &
            nint(best * (1d9 / ticks) / options)
    end subroutine

    ! The greatest, in units of the last place of the certified price.
    real(real64) function error_of(price, which)
        real(real64), intent(in) :: price(options)
        integer, intent(in) :: which
        error_of = real(maxval(abs(price(place + 1) - exact(which, :)) / spacing(real(exact(which, :), real64))), real64)
    end function

end program
