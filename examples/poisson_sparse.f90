! Poisson's equation on the unit square by conjugate gradients, as poisson_sparse.c tells, with the same digits. The
! matrix counts from 1. Products go through a handle; its names are in capitals, which is what bind(c) is for. The
! preconditioner's solves are classic routines, on the same three arrays.
!
!     poisson_sparse_fortran
module handles
  use, intrinsic :: iso_c_binding
  implicit none

  type, bind(c) :: descr_t
    integer(c_int) :: type, mode, diag
  end type
  type(descr_t), parameter :: general = descr_t(20, 42, 50)
  integer(c_int), parameter :: plain = 10, from_one = 1

  interface
    integer(c_int) function create_csr(a, indexing, rows, cols, rows_start, rows_end, col_indx, values) &
        bind(c, name='QNM_SPARSE_D_CREATE_CSR')
      import
      type(c_ptr) :: a
      integer(c_int) :: indexing, rows, cols, rows_start(*), rows_end(*), col_indx(*)
      real(c_double) :: values(*)
    end function
    integer(c_int) function set_mv_hint(a, operation, descr, expected_calls) bind(c, name='QNM_SPARSE_SET_MV_HINT')
      import
      type(c_ptr) :: a
      integer(c_int) :: operation, expected_calls
      type(descr_t) :: descr
    end function
    integer(c_int) function optimize(a) bind(c, name='QNM_SPARSE_OPTIMIZE')
      import
      type(c_ptr) :: a
    end function
    integer(c_int) function mv(operation, alpha, a, descr, x, beta, y) bind(c, name='QNM_SPARSE_D_MV')
      import
      integer(c_int) :: operation
      real(c_double) :: alpha, x(*), beta, y(*)
      type(c_ptr) :: a
      type(descr_t) :: descr
    end function
    integer(c_int) function destroy(a) bind(c, name='QNM_SPARSE_DESTROY')
      import
      type(c_ptr) :: a
    end function
  end interface
end module

program poisson_sparse
  use handles
  implicit none
  integer, parameter :: finest = 400, most_steps = 2000
  type(c_ptr) :: a
  integer :: side, n, i, steps
  integer(c_int), allocatable :: start(:), column(:)
  real(c_double), allocatable :: value(:), b(:), u(:), exact(:), r(:), z(:), p(:), q(:)
  real(c_double) :: h, x, y, worst, alpha, rho, before, enough
  logical :: good = .true.

  print '(a)', '      grid  steps  largest error'
  side = finest / 8
  do while (side <= finest)
    n = side**2
    allocate (start(n + 1), column(5 * n), value(5 * n), b(n), u(n), exact(n), r(n), z(n), p(n), q(n))
    call five_points
    h = 1d0 / (side + 1)
    do i = 0, n - 1
      x = h * (mod(i, side) + 1)
      y = h * (i / side + 1)
      exact(i + 1) = x * (1 - x) * (y * (1 - y))
      b(i + 1) = h * h * (2 * (x * (1 - x) + y * (1 - y)))
    end do

    call must(create_csr(a, from_one, n, n, start, start(2:), column, value))
    call must(set_mv_hint(a, plain, general, most_steps))
    call must(optimize(a))
    u = 0
    r = b
    call precondition
    p = z
    rho = dot_product(r, z)
    enough = 1d-12 * sqrt(dot_product(b, b))
    do steps = 0, most_steps - 1
      if (sqrt(dot_product(r, r)) <= enough) exit
      call must(mv(plain, 1d0, a, general, p, 0d0, q))
      alpha = rho / dot_product(p, q)
      u = u + alpha * p
      r = r - alpha * q
      call precondition
      before = rho
      rho = dot_product(r, z)
      p = z + rho / before * p
    end do
    call must(destroy(a))

    worst = maxval(abs(u - exact))
    print '(i4, a, i3, i7, es15.2)', side, ' x ', side, steps, worst
    good = good .and. worst < 1d-11
    deallocate (start, column, value, b, u, exact, r, z, p, q)
    side = 2 * side
  end do
  print '(2a)', 'No point is further away than 1e-11: ', merge('yes', 'no ', good)
  if (.not. good) stop 1, quiet=.true.

contains

  subroutine must(status)
    integer, intent(in) :: status
    if (status == 0) return
    print '(a, i0)', 'poisson_sparse: status ', status
    error stop
  end subroutine

  ! The matrix of a grid of side by side points, by rows.
  subroutine five_points
    integer :: point, k, count, away(5)
    logical :: neighbour(5)
    away = [-side, -1, 0, 1, side]
    count = 1
    do point = 1, n
      neighbour = [point > side, mod(point, side) /= 1, .true., mod(point, side) /= 0, point <= n - side]
      start(point) = count
      do k = 1, 5
        if (.not. neighbour(k)) cycle
        column(count) = point + away(k)
        value(count) = merge(4d0, -1d0, away(k) == 0)
        count = count + 1
      end do
    end do
    start(n + 1) = count
  end subroutine

  ! z := inv((D + L) inv(D) (D + U)) r, where D is 4
  subroutine precondition
    external :: qnm_dcsrtrsv
    call qnm_dcsrtrsv('L', 'N', 'N', n, value, start, column, r, q)
    q = 4 * q
    call qnm_dcsrtrsv('U', 'N', 'N', n, value, start, column, q, z)
  end subroutine

end program
