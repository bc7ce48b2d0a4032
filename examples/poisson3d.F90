! Poisson's equation on the unit cube by PARDISO, by conjugate gradients with ILU(0), and analysed by FEAST, as poisson3d.c
! tells, with the same digits. Compiled with WIDE, PARDISO gets 64-bit integers.
!
!     poisson3d_fortran_narrow [SIDE]      SIDE points in each direction, 10 to 40
#ifdef WIDE
#define pardiso pardiso_64
#endif
module problem
  use, intrinsic :: iso_fortran_env, only: int32, int64, real64
  implicit none
#ifdef WIDE
  integer, parameter :: ip = int64
#else
  integer, parameter :: ip = int32
#endif
  integer, parameter :: room = 30
  real(real64), parameter :: lowest = 0, highest = 150 ! 17 eigenvalues, a gap behind them
  integer :: side = 12, n
  integer, allocatable :: start(:), column(:)
  real(real64), allocatable :: value(:), exact(:), b(:)

contains

  subroutine must(what, status)
    character(*), intent(in) :: what
    integer, intent(in) :: status
    if (status == 0) return
    print '(3a, i0)', 'poisson3d: ', what, ': ', status
    error stop
  end subroutine

  subroutine make_problem
    integer :: i, k, x, y, z, count, scale, away(7)
    logical :: neighbour(7)
    real(real64) :: h, px, py, pz
    n = side**3
    allocate (start(n + 1), column(7 * n), value(7 * n), exact(n), b(n))
    away = [-side**2, -side, -1, 0, 1, side, side**2]
    scale = (side + 1)**2
    h = 1d0 / (side + 1)
    count = 1
    do i = 1, n
      x = mod(i - 1, side)
      y = mod((i - 1) / side, side)
      z = (i - 1) / side**2
      neighbour = [z > 0, y > 0, x > 0, .true., x < side - 1, y < side - 1, z < side - 1]
      start(i) = count
      do k = 1, 7
        if (.not. neighbour(k)) cycle
        column(count) = i + away(k)
        value(count) = merge(6 * scale, -scale, away(k) == 0)
        count = count + 1
      end do
      px = h * (x + 1) * (1 - h * (x + 1))
      py = h * (y + 1) * (1 - h * (y + 1))
      pz = h * (z + 1) * (1 - h * (z + 1))
      exact(i) = px * py * pz
      b(i) = 2 * (px * py + py * pz + pz * px)
    end do
    start(n + 1) = count
  end subroutine

  subroutine solve_directly(u)
    real(real64), intent(out) :: u(n)
    external :: pardiso
    integer(ip), parameter :: one = 1, positive_definite = 2, all_steps = 13, release = -1, silent = 0
    integer(int64) :: pt(64)
    integer(ip) :: iparm(64), error, rows, starts(n + 1), nothing(1)
    integer(ip), allocatable :: columns(:)
    real(real64), allocatable :: values(:)
    integer :: i, k, count
    ! Of a symmetric matrix the upper triangle.
    allocate (columns(start(n + 1)), values(start(n + 1)))
    count = 1
    do i = 1, n
      starts(i) = count
      do k = start(i), start(i + 1) - 1
        if (column(k) < i) cycle
        columns(count) = column(k)
        values(count) = value(k)
        count = count + 1
      end do
    end do
    starts(n + 1) = count
    pt = 0
    iparm = 0 ! defaults
    rows = n
    call pardiso(pt, one, one, positive_definite, all_steps, rows, values, starts, columns, nothing, one, iparm, silent, &
        b, u, error)
    call must('pardiso', int(error))
    call pardiso(pt, one, one, positive_definite, release, rows, values, starts, columns, nothing, one, iparm, silent, &
        b, u, error)
    call must('pardiso', int(error))
  end subroutine

  subroutine solve_by_steps(u, steps)
    real(real64), intent(inout) :: u(n)
    integer, intent(out) :: steps
    external :: dcg_init, dcg_check, dcg, dcg_get, dcsrilu0, qnm_dcsrgemv, qnm_dcsrtrsv
    real(real64) :: dpar(128)
    real(real64), allocatable :: factors(:), tmp(:, :), between(:)
    integer :: ipar(128), request, status
    allocate (factors(start(n + 1) - 1), tmp(n, 4), between(n))
    call dcg_init(n, u, b, request, ipar, dpar, tmp)
    call must('dcg_init', request)
    ipar(9) = 1 ! it ends when the residual is small,
    ipar(10) = 0 ! and does not ask us
    ipar(11) = 1 ! there is a preconditioner
    dpar(1) = 1d-11
    call dcg_check(n, u, b, request, ipar, dpar, tmp)
    call must('dcg_check', request)
    call dcsrilu0(n, value, start, column, factors, ipar, dpar, status)
    call must('dcsrilu0', status)
    do
      call dcg(n, u, b, request, ipar, dpar, tmp)
      if (request == 1) then
        call qnm_dcsrgemv('N', n, value, start, column, tmp(:, 1), tmp(:, 2))
      else if (request == 3) then
        call qnm_dcsrtrsv('L', 'N', 'U', n, factors, start, column, tmp(:, 3), between)
        call qnm_dcsrtrsv('U', 'N', 'N', n, factors, start, column, between, tmp(:, 4))
      else
        exit
      end if
    end do
    call must('dcg', request)
    call dcg_get(n, u, b, request, ipar, dpar, tmp, steps)
  end subroutine

  subroutine find_eigenvalues(eigenvalue, found, contours)
    real(real64), intent(out) :: eigenvalue(room)
    integer, intent(out) :: found, contours
    external :: feastinit, dfeast_scsrev
    real(real64) :: accuracy, residual(room)
    real(real64), allocatable :: vectors(:, :)
    integer :: fpm(128), columns, info
    allocate (vectors(n, room))
    columns = room
    call feastinit(fpm)
    call dfeast_scsrev('F', n, value, start, column, fpm, accuracy, contours, lowest, highest, columns, eigenvalue, &
        vectors, found, residual, info)
    call must('dfeast_scsrev', info)
    call sort(eigenvalue(:found))
  end subroutine

  ! Eigenvalues of the differences are sums of those along the three axes.
  subroutine tell_formula(formula, count)
    real(real64), intent(out) :: formula(room)
    integer, intent(out) :: count
    real(real64) :: along(0:side - 1), sum
    integer :: i
    along = [(sin(acos(-1d0) * (i + 1) / (2 * (side + 1)))**2, i = 0, side - 1)]
    along = 4 * (side + 1)**2 * along
    count = 0
    do i = 0, n - 1
      sum = along(mod(i, side)) + along(mod(i / side, side)) + along(i / side**2)
      if (sum >= highest .or. count == room) cycle
      count = count + 1
      formula(count) = sum
    end do
    call sort(formula(:count))
  end subroutine

  pure subroutine sort(x)
    real(real64), intent(inout) :: x(:)
    real(real64) :: moved
    integer :: i, k
    do i = 2, size(x)
      k = minloc(x(i - 1:), 1) + i - 2
      moved = x(k)
      x(k) = x(i - 1)
      x(i - 1) = moved
    end do
  end subroutine

  ! Prints a row, and tells whether the solution is right.
  subroutine tell_solution(name, u, first_eigenvalue, seconds, good)
    character(*), intent(in) :: name
    real(real64), intent(in) :: u(n), first_eigenvalue, seconds
    logical, intent(inout) :: good
    external :: qnm_dcsrgemv
    real(real64) :: product(n), worst, bound, sum
    integer :: i
    call qnm_dcsrgemv('N', n, value, start, column, u, product)
    sum = 0
    do i = 1, n ! one after the other, as in C
      sum = sum + (b(i) - product(i))**2
    end do
    worst = maxval(abs(u - exact))
    bound = sqrt(sum) / first_eigenvalue
    print '(a20, 2es10.1e2, f10.3, a)', name // repeat(' ', 20), worst, bound, seconds, ' seconds'
    good = good .and. worst < bound .and. bound < 1d-10
  end subroutine

end module

program poisson3d
  use problem
  implicit none
  real(real64), external :: dsecnd
  real(real64), allocatable :: direct(:), iterated(:)
  real(real64) :: eigenvalue(room), formula(room), times(4)
  integer :: steps, found, contours, expected, i, next
  character(20) :: name
  logical :: good = .true.

  if (command_argument_count() > 0) then
    call get_command_argument(1, name)
    read (name, *) side
  end if
  if (side < 10 .or. side > 40) stop 2, quiet=.true.
  call make_problem
  allocate (direct(n), iterated(n))
  iterated = 0
  formula = 0
  times(1) = dsecnd() ! the clock may need a moment at first
  times(1) = dsecnd()
  call solve_directly(direct)
  times(2) = dsecnd()
  call solve_by_steps(iterated, steps)
  times(3) = dsecnd()
  call find_eigenvalues(eigenvalue, found, contours)
  times(4) = dsecnd()

  print '(i0, a, i0, a)', n, ' points, ', start(n + 1) - 1, ' elements'
  print '(a)', '                         error   at most'
  call tell_solution('PARDISO', direct, eigenvalue(1), times(2) - times(1), good)
  write (name, '(a, i0, a)') 'DCG, ', steps, ' steps'
  call tell_solution(name, iterated, eigenvalue(1), times(3) - times(2), good)
  call tell_formula(formula, expected)
  good = good .and. found == expected
  write (name, '(a, i0, a)') 'FEAST, ', contours, ' contours'
  print '(a20, f30.3, a)', name, times(4) - times(3), ' seconds'
  print '(a)', '    eigenvalue  by the formula  times'
  i = 1
  do while (i <= found)
    do next = i, found
      if (formula(next) - formula(i) >= 1d-6) exit
      good = good .and. abs(eigenvalue(next) / formula(next) - 1) < 1d-12
    end do
    print '(f14.9, f16.9, i7)', eigenvalue(i), formula(i), next - i
    i = next
  end do
  print '(a, i0, a, i0, 2a)', 'All within their bounds, and ', found, ' eigenvalues below ', nint(highest), ': ', &
      merge('yes', 'no ', good)
  if (.not. good) stop 1, quiet=.true.
end program
