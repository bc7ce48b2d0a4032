! Heat spreads in a rod whose ends let none out: u_t = u_xx on 0 <= x <= 1, u_x = 0 at both ends. By the library's
! trigonometric transforms: cosines are what the equation leaves in shape, so each of them just fades. What is solved, and
! how the solution is known, heat.c tells, which prints the same digits.
!
!     heat_fortran
program heat
  use, intrinsic :: iso_fortran_env, only: int64, real64
  implicit none
  integer, parameter :: n = 64, cosine = 1
  real(real64), parameter :: pi = acos(-1d0), hot = 0.3d0, begin = 0.002d0, times(4) = [0.01d0, 0.02d0, 0.05d0, 0.2d0]
  real(real64) :: waves(0:n), u(0:n), par(5 * n / 2 + 2), worst
  integer :: ipar(0:14), stat, k, line
  integer(int64) :: handle

  u = [(exact(real(k, real64) / n, begin), k = 0, n)]
  ipar = 0 ! no messages
  call d_init_trig_transform(n, cosine, ipar, par, stat)
  call done
  call d_commit_trig_transform(u, handle, ipar, par, stat)
  call done
  call d_forward_trig_transform(u, handle, ipar, par, stat)
  call done
  waves = u

  worst = 0
  print '(a)', '    time     at 0         at 1/4       at 1/2       at 3/4       at 1'
  do line = 1, size(times)
    u = [(waves(k) * exp(-(pi * k)**2 * (times(line) - begin)), k = 0, n)]
    call d_backward_trig_transform(u, handle, ipar, par, stat)
    call done
    print '(f8.3, 5f13.9)', times(line), u(::n / 4)
    worst = max(worst, maxval(abs(u - [(exact(real(k, real64) / n, times(line)), k = 0, n)])))
  end do
  call free_trig_transform(handle, ipar, stat)
  call done
  print '(2a)', 'The exact solution is nowhere further away than 1e-12: ', merge('yes', 'no ', worst < 1d-12)
  if (worst >= 1d-12) stop 1, quiet=.true.

contains

  real(real64) pure function exact(x, t)
    real(real64), intent(in) :: x, t
    integer :: image
    exact = 0
    do image = -5, 5
      exact = exact + exp(-(x - hot - 2 * image)**2 / (4 * t)) + exp(-(x + hot - 2 * image)**2 / (4 * t))
    end do
    exact = exact / sqrt(4 * pi * t)
  end function

  subroutine done
    if (stat == 0) return
    print '(a, i0)', 'heat: status ', stat
    error stop
  end subroutine

end program
