! Longley's regression by LAPACK in Fortran, as an old program has it: no interface, no kind, and compiled with
! -fdefault-integer-8, so that each integer has 64 bits under the plain names dgels and dnrm2.
program longley
  use, intrinsic :: iso_c_binding, only: c_double, c_int
  use, intrinsic :: iso_fortran_env, only: output_unit
  implicit none

  interface
    subroutine longley_observation(number, row) bind(c)
      import :: c_double, c_int
      integer(c_int), value :: number
      real(c_double), intent(out) :: row(*)
    end subroutine
    integer(c_int) function longley_judge(estimates, residual_norm) bind(c)
      import :: c_double, c_int
      real(c_double), intent(in) :: estimates(*)
      real(c_double), value :: residual_norm
    end function
  end interface
  external :: dgels
  double precision, external :: dnrm2
  integer, parameter :: rows = 16, terms = 7
  integer :: i, j, info, lwork
  double precision :: row(terms), x(rows, terms), y(rows), scales(terms), asked(1)
  double precision, allocatable :: work(:)

  do i = 1, rows
    call longley_observation(int(i, c_int), row)
    y(i) = row(1)
    x(i, 1) = 1
    x(i, 2:) = row(2:)
  end do
  do j = 1, terms ! columns of one length
    scales(j) = 1 / dnrm2(rows, x(1, j), 1)
    x(:, j) = x(:, j) * scales(j)
  end do

  info = -huge(info) ! half a word that is written leaves the other
  call dgels('N', rows, terms, 1, x, rows, y, rows, asked, -1, info)
  if (info == 0) then
    lwork = int(asked(1))
    allocate (work(lwork))
    info = -huge(info)
    call dgels('N', rows, terms, 1, x, rows, y, rows, work, lwork, info)
  end if
  print '(a, i0, a, i0)', 'integers of ', storage_size(info), ' bits, dgels gave info = ', info
  flush (output_unit)
  if (info /= 0) error stop
  y(:terms) = y(:terms) * scales
  if (longley_judge(y, dnrm2(rows - terms, y(terms + 1), 1)) /= 0) error stop
end program longley
