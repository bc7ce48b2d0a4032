! Each complex function that GNU Fortran expects in registers, called on data whose result is known exactly. Built for
! each precision and width: the names of the functions and the kinds come as definitions.
program complex_functions
    implicit none
    integer, parameter :: ip = INTEGER_BYTES, rp = REAL_BYTES
    integer(ip), parameter :: n = 3, one = 1, two = 2
    complex(rp), parameter :: i = (0, 1)
    complex(rp), parameter :: x(3) = [(1, 2), (3, -1), (-2, 4)], y(6) = [(5, 1), (2, 2), (-1, 3), (7, 0), (4, -4), (0, 1)]
    integer(ip), parameter :: indx(3) = [6, 1, 4], seed(4) = [1, 20, 300, 4001]
    complex(rp), external :: dotc, dotu, dotci, dotui, ladiv, larnd, latm2, latm3
    real(rp), external :: laran
    complex(rp) :: d(3), grade(3)
    real(rp) :: re, im
    integer(ip) :: state(4), isub, jsub, pivots(3)
    integer :: failures = 0

    call expect('dotc', dotc(n, x, one, y, two), sum(conjg(x) * y(1::2)))
    call expect('dotu', dotu(n, x, one, y, two), sum(x * y(1::2)))
    call expect('dotci', dotci(n, x, indx, y), sum(conjg(x) * y(indx)))
    call expect('dotui', dotui(n, x, indx, y), sum(x * y(indx)))
    call expect('ladiv', ladiv((3._rp, 4._rp), 2 * i), (2._rp, -1.5_rp))

    ! Distribution 1: two uniform numbers, from the generator of the real ones.
    state = seed
    re = laran(state)
    im = laran(state)
    state = seed
    call expect('larnd', larnd(one, state), cmplx(re, im, rp))

    ! On the diagonal: the element of D, times those of the grades from the left and from the right.
    d = [2 + i, 3 - i, 4 * i]
    grade = [1 + i, 1 - 2 * i, 2 + 2 * i]
    pivots = [2, 3, 1]
    state = seed
    call expect('latm2', latm2(n, n, two, two, n, n, one, state, d, 3_ip, grade, x, 0_ip, pivots, 0._rp), &
        d(2) * grade(2) * x(2))
    state = seed
    call expect('latm3', latm3(n, n, two, two, isub, jsub, n, n, one, state, d, 3_ip, grade, x, 3_ip, pivots, 0._rp), &
        d(2) * grade(2) * x(2))
    call expect('subscripts of latm3', cmplx(isub, jsub, rp), (3._rp, 3._rp))

    if (failures /= 0) stop 1
    print '(a)', 'all as expected'

contains

    subroutine expect(what, found, wanted)
        character(*), intent(in) :: what
        complex(rp), intent(in) :: found, wanted
        if (abs(found - wanted) <= 0) return
        print *, 'FAILED: ', what, ', expected ', wanted, ', found ', found
        failures = failures + 1
    end subroutine
end program
