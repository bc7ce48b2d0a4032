! A European call option priced by chance: the share a year from now, by normal variates of a pseudo-random stream, and
! by points of Sobol's sequence, which leave smaller gaps. The price is known, and so are the errors. The same program in
! C is call.c, which draws them too, and prints the same digits.
!
!     call_fortran
program call_option
    use, intrinsic :: iso_fortran_env, only: int32, real64
    use qnm_vsl
    implicit none
    integer, parameter :: runs = 16, block = 4096, sizes = 7
    real(real64), parameter :: spot = 100, strike = 100, rate = 0.05d0, volatility = 0.2d0
    real(real64), parameter :: exact = 10.450583572185565d0 ! by the formula of Black and Scholes
    type(c_ptr) :: random, points
    real(real64) :: error(sizes, 2), shift(runs), first(2), sums(2), paid(2), deviation, unused
    integer :: n(sizes), k, run
    external :: vdcdfnorminv, vdexp

    call done(vslNewStream(random, VSL_BRNG_MT19937, 777))
    call done(vdRngUniform(0, random, runs, shift, 0d0, 1d0))
    print '(a, i0, a, i0, a, i0, a, i0, a, f0.12)', 'A call: share ', nint(spot), ', strike ', nint(strike), ', ', &
        nint(100 * rate), ' % interest, ', nint(100 * volatility), ' % volatility, one year: ', exact
    print '(a, i0, a)', '      n  pseudo-random price        error of ', runs, " runs    by Sobol's points        error"
    do k = 1, sizes
        n(k) = 64 * 4**(k - 1)
        sums = 0
        do run = 1, runs
            paid(1) = price(random, n(k), unused)
            if (run == 1) deviation = unused
            call done(vslNewStream(points, VSL_BRNG_SOBOL, 1))
            paid(2) = price(points, n(k), unused, shift(run))
            call done(vslDeleteStream(points))
            if (run == 1) first = paid
            sums = sums + (paid - exact) * (paid - exact)
        end do
        error(k, :) = sqrt(sums / runs)
        print '(i7, f14.8, a, f10.8, es16.4e2, f21.8, es13.4e2)', n(k), first(1), ' +- ', deviation, error(k, 1), first(2), &
            error(k, 2)
    end do
    call done(vslDeleteStream(random))
    print '(a, f42.2, f34.2)', 'slope', slope(error(:, 1)), slope(error(:, 2))

contains

    subroutine done(status)
        integer(int32), intent(in) :: status
        if (status == VSL_STATUS_OK) return
        print '(a, i0)', 'call: status ', status
        error stop
    end subroutine

    ! With a shift the sequence, moved round: each run has points of its own, as regular as the others'.
    subroutine normals(stream, count, normal, shift)
        type(c_ptr), intent(in) :: stream
        integer, intent(in) :: count
        real(real64), intent(out) :: normal(count)
        real(real64), intent(in), optional :: shift
        if (.not. present(shift)) then
            call done(vdRngGaussian(VSL_RNG_METHOD_GAUSSIAN_ICDF, stream, count, normal, 0d0, 1d0))
            return
        end if
        call done(vdRngUniform(0, stream, count, normal, 0d0, 1d0))
        normal = normal + shift
        where (normal >= 1) normal = normal - 1
        call vdcdfnorminv(count, normal, normal)
    end subroutine

    ! The mean of what the option pays for n shares, and its standard error.
    function price(stream, n, deviation, shift) result(today)
        type(c_ptr), intent(in) :: stream
        integer, intent(in) :: n
        real(real64), intent(out) :: deviation
        real(real64), intent(in), optional :: shift
        real(real64) :: today, share(block), total, squares, mean, paid
        integer :: left, count, i
        total = 0
        squares = 0
        left = n
        do while (left > 0)
            count = min(left, block)
            call normals(stream, count, share, shift)
            share = volatility * share + (rate - volatility * volatility / 2)
            call vdexp(count, share, share)
            do i = 1, count
                paid = max(spot * share(i) - strike, 0d0)
                total = total + paid
                squares = squares + paid * paid
            end do
            left = left - block
        end do
        mean = total / n
        deviation = exp(-rate) * sqrt((squares / n - mean * mean) / (n - 1))
        today = exp(-rate) * mean
    end function

    ! Of a line through logarithms.
    function slope(error)
        real(real64), intent(in) :: error(sizes)
        real(real64) :: slope, u(sizes), v(sizes)
        u = log(real(n, real64))
        v = log(error)
        slope = (sizes * sum(u * v) - sum(u) * sum(v)) / (sizes * sum(u * u) - sum(u)**2)
    end function
end program
