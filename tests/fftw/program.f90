! A program for FFTW's Fortran 2003 interface, and for the older one, with either library.
program transforms
  use, intrinsic :: iso_c_binding
  implicit none
  include 'fftw3.f03'
  type(c_ptr) :: modern
  integer(8) :: plan
  complex(c_double_complex) :: x(4, 3), y(4, 3), z(4, 3)
  integer :: i, dims(2) = [4, 3]
  x = reshape([(cmplx(i, -i * i, c_double_complex), i = 1, 12)], [4, 3])
  modern = fftw_plan_dft_2d(3, 4, x, y, FFTW_FORWARD, FFTW_ESTIMATE)
  call fftw_execute_dft(modern, x, y)
  call fftw_destroy_plan(modern)
  call dfftw_plan_dft(plan, 2, dims, x, z, FFTW_FORWARD, FFTW_ESTIMATE)
  call dfftw_execute_dft(plan, x, z)
  call dfftw_destroy_plan(plan)
  if (any(y /= z) .or. abs(y(1, 1) - sum(x)) > 1e-12) stop 1
  call dfftw_plan_dft_2d(plan, 4, 3, z, z, FFTW_BACKWARD, FFTW_ESTIMATE)
  call dfftw_execute(plan)
  call dfftw_destroy_plan(plan)
  if (any(abs(z / 12 - x) > 1e-13)) stop 2
end program
