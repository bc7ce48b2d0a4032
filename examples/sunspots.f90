! The spectrum of the yearly sunspot numbers: which waves are in them, and how high. The same program in C is
! sunspots.c, and prints the same digits.
!
!     sunspots_fortran sunspots.txt
program sunspots
  use, intrinsic :: iso_fortran_env, only: real64
  use qnm_dfti
  implicit none
  integer, parameter :: years = 288, told = 5
  type(DFTI_DESCRIPTOR), pointer :: handle
  real(real64) :: number(years), mean, height(years / 2)
  complex(real64) :: spectrum(0:years / 2)
  integer :: i, k

  call read_numbers
  ! Without the mean, which would be the highest of all and is no wave.
  mean = sum(number) / years
  number = number - mean

  ! The scale makes a number of each wave's height.
  call done(DftiCreateDescriptor(handle, DFTI_DOUBLE, DFTI_REAL, 1, years))
  call done(DftiSetValue(handle, DFTI_PLACEMENT, DFTI_NOT_INPLACE))
  call done(DftiSetValue(handle, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX))
  call done(DftiSetValue(handle, DFTI_FORWARD_SCALE, 2d0 / years))
  call done(DftiCommitDescriptor(handle))
  call done(DftiComputeForward(handle, number, spectrum))
  call done(DftiFreeDescriptor(handle))

  height = abs(spectrum(1:))
  print '(i0, a, f0.12)', years, ' yearly means, 1700 to 1987, less their mean of ', mean
  print '(a)', '   k   years               height'
  do i = 1, told
    k = maxloc(height, 1)
    print '(i4, f8.2, f21.13)', k, real(years, real64) / k, height(k)
    height(k) = 0
  end do

contains

  subroutine done(status)
    integer, intent(in) :: status
    if (status == DFTI_NO_ERROR) return
    print '(2a)', 'sunspots: ', trim(DftiErrorMessage(status))
    error stop
  end subroutine

  ! Lines that begin with two numbers: the year, and its mean.
  subroutine read_numbers
    character(200) :: line
    integer :: unit, year, status, count
    call get_command_argument(1, line)
    open (newunit=unit, file=line, status='old', action='read')
    count = 0
    do while (count < years)
      read (unit, '(a)') line
      read (line, *, iostat=status) year, number(count + 1)
      if (status == 0) count = count + 1
    end do
    close (unit)
  end subroutine

end program
