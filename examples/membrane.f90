! A loaded membrane, fixed at two ends and free at two: what is solved, and how its error is known, membrane.c tells, which
! prints the same digits.
!
!     membrane_fortran
program membrane
  use, intrinsic :: iso_fortran_env, only: int64, real64
  implicit none
  integer, parameter :: coarsest = 8, meshes = 6
  real(real64) :: error(meshes)
  integer :: m, n

  print '(a)', '   n        error   falls by'
  do m = 1, meshes
    n = coarsest * 2**(m - 1)
    error(m) = error_of(n)
    if (m == 1) print '(i4, a)', n, exponential(error(m))
    if (m > 1) print '(i4, a, f11.3)', n, exponential(error(m)), error(m - 1) / error(m)
  end do

contains

  ! Heights, or loads, over a mesh of x and y.
  elemental real(real64) function height(x, y)
    real(real64), intent(in) :: x, y
    height = (1 - (1 - x / 2)**4) * (1 - y**4) + x * y / 4
  end function

  elemental real(real64) function load(x, y)
    real(real64), intent(in) :: x, y
    load = 3 * (1 - x / 2)**2 * (1 - y**4) + 12 * y**2 * (1 - (1 - x / 2)**4)
  end function

  real(real64) function error_of(n)
    integer, intent(in) :: n
    real(real64) :: x(0:n), y(0:n), par(128)
    real(real64), allocatable :: u(:, :), xs(:, :), ys(:, :)
    integer :: ipar(128), stat, i
    integer(int64) :: handle

    x = [(2 * real(i, real64) / n, i = 0, n)]
    y = x / 2
    xs = spread(x, 2, n + 1)
    ys = spread(y, 1, n + 1)
    u = load(xs, ys)
    ! Left, right, lower, upper: D has the height, N the outward slope.
    call d_init_helmholtz_2d(0d0, 2d0, 0d0, 1d0, n, n, 'DNND', 0d0, ipar, par, stat)
    call done(stat)
    call d_commit_helmholtz_2d(u, 0 * y, y / 4, -x / 4, x / 4, handle, ipar, par, stat)
    call done(stat)
    call d_helmholtz_2d(u, 0 * y, y / 4, -x / 4, x / 4, handle, ipar, par, stat)
    call done(stat)
    call free_helmholtz_2d(handle, ipar, stat)
    call done(stat)
    error_of = maxval(abs(u - height(xs, ys)))
  end function

  ! As C and R write it: 1.2345e-06.
  character(13) function exponential(value)
    real(real64), intent(in) :: value
    write (exponential, '(es13.4e2)') value
    exponential(10:10) = 'e'
  end function

  subroutine done(stat)
    integer, intent(in) :: stat
    if (stat == 0) return
    print '(a, i0)', 'membrane: status ', stat
    error stop
  end subroutine

end program
