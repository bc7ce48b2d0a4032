! The module of the transforms, as a program of Fortran uses it: how descriptors are made, what is set and got, and
! each kind of arrays against sums. Compiled with SINGLE, in single precision.
program module_program
  use, intrinsic :: iso_fortran_env, only: real32, real64
  use qnm_dfti
  implicit none
#ifdef SINGLE
  integer, parameter :: k = real32, precision = DFTI_SINGLE
#else
  integer, parameter :: k = real64, precision = DFTI_DOUBLE
#endif
  real(k), parameter :: tag = precision
  integer, parameter :: n = 6, m = 5, half = n / 2 + 1
  type(DFTI_DESCRIPTOR), pointer :: handle, copy
  complex(k) :: given(n, m), spectrum(n, m), x(n, m), y(n, m), z(half, m)
  real(k) :: re(n, m), im(n, m), re_out(n, m), im_out(n, m), padded(2 * half)
  integer :: i, j, failures = 0

  do j = 1, m
    do i = 1, n
      given(i, j) = cmplx(mod(7 * i * i + 3 * j, 11), mod(5 * i * j, 7), k)
    end do
  end do
  spectrum = transformed(given)

  call creation
  call configuration
  call complex_data
  call real_data
  if (failures > 0) error stop
  print '(a)', 'all as expected'

contains

  subroutine expect(good, what)
    logical, intent(in) :: good
    character(*), intent(in) :: what
    if (good) return
    print '(2a)', 'wrong: ', what
    failures = failures + 1
  end subroutine

  subroutine done(status, what)
    integer, intent(in) :: status
    character(*), intent(in) :: what
    call expect(status == DFTI_NO_ERROR, what // ': ' // DftiErrorMessage(status))
  end subroutine

  subroutine near(found, expected, what)
    complex(k), intent(in) :: found(:, :), expected(:, :)
    character(*), intent(in) :: what
    call expect(maxval(abs(found - expected)) < 20 * epsilon(1._k) * maxval(abs(expected)), what)
  end subroutine

  pure function roots(length) result(w)
    integer, intent(in) :: length
    complex(real64) :: w(length, length)
    real(real64), parameter :: turn = 2 * acos(-1._real64)
    integer :: a, b
    do b = 1, length
      do a = 1, length
        w(a, b) = exp(cmplx(0, -turn * mod((a - 1) * (b - 1), length) / length, real64))
      end do
    end do
  end function

  pure function transformed(from) result(to)
    complex(k), intent(in) :: from(:, :)
    complex(k) :: to(size(from, 1), size(from, 2))
    to = cmplx(matmul(matmul(roots(size(from, 1)), from), roots(size(from, 2))), kind=k)
  end function

  ! Codes, each with its value.
  subroutine settle(pairs)
    integer, intent(in) :: pairs(:)
    integer :: p
    do p = 1, size(pairs), 2
      call done(DftiSetValue(handle, pairs(p), pairs(p + 1)), 'an integer')
    end do
    call done(DftiCommitDescriptor(handle), 'commit')
  end subroutine

  subroutine make(domain, lengths, pairs)
    integer, intent(in) :: domain, lengths(:), pairs(:)
    call done(DftiCreateDescriptor(handle, precision, domain, size(lengths), lengths), 'creation')
    call settle(pairs)
  end subroutine

  subroutine free
    call done(DftiFreeDescriptor(handle), 'freeing')
    call expect(.not. associated(handle), 'a handle that is freed')
  end subroutine

  subroutine made(status, lengths)
    integer, intent(in) :: status, lengths(:)
    integer :: found(size(lengths)), number
    call done(status, 'creation')
    call done(DftiGetValue(handle, DFTI_LENGTHS, found), 'lengths')
    call done(DftiGetValue(handle, DFTI_PRECISION, number), 'precision')
    call expect(all(found == lengths) .and. number == precision, 'lengths and precision')
    call free
  end subroutine

  subroutine creation
    call made(DftiCreateDescriptor(handle, precision, DFTI_COMPLEX, 1, n), [n])
    call made(DftiCreateDescriptor(handle, tag, DFTI_REAL, 1, n), [n])
    call made(DftiCreateDescriptor(handle, precision, DFTI_REAL, 2, [n, m]), [n, m])
    call made(DftiCreateDescriptor(handle, tag, DFTI_COMPLEX, 3, [n, m, n]), [n, m, n])
    call expect(DftiErrorClass(DftiCreateDescriptor(handle, tag, DFTI_SINGLE, 1, n), DFTI_INVALID_CONFIGURATION), &
      'a domain that is none')
    call expect(.not. associated(handle), 'the handle of a failed creation')
    call expect(DftiCommitDescriptor(handle) == DFTI_BAD_DESCRIPTOR, 'no descriptor')
    call expect(DftiErrorMessage(DFTI_UNIMPLEMENTED) /= DftiErrorMessage(DFTI_BAD_DESCRIPTOR), 'messages')
  end subroutine

  subroutine configuration
    integer :: number, strides(3)
    real(real32) :: single
    real(real64) :: double
    character(20) :: name
    character(DFTI_VERSION_LENGTH) :: version = ''
    call make(DFTI_COMPLEX, [n, m], [DFTI_NUMBER_OF_TRANSFORMS, 3, DFTI_INPUT_DISTANCE, n * m])
    call done(DftiSetValue(handle, DFTI_OUTPUT_STRIDES, [5, 2, 14]), 'strides')
    call done(DftiSetValue(handle, DFTI_FORWARD_SCALE, 0.5), 'a scale')
    call done(DftiSetValue(handle, DFTI_BACKWARD_SCALE, 0.1d0), 'a scale')
    call done(DftiSetValue(handle, DFTI_DESCRIPTOR_NAME, 'of the program'), 'a name')
    call done(DftiGetValue(handle, DFTI_NUMBER_OF_TRANSFORMS, number), 'an integer')
    call done(DftiGetValue(handle, DFTI_OUTPUT_STRIDES, strides), 'strides')
    call done(DftiGetValue(handle, DFTI_FORWARD_SCALE, double), 'a scale')
    call done(DftiGetValue(handle, DFTI_BACKWARD_SCALE, single), 'a scale')
    call done(DftiGetValue(handle, DFTI_DESCRIPTOR_NAME, name), 'a name')
    call expect(number == 3 .and. all(strides == [5, 2, 14]), 'integers')
    call expect(double == 0.5d0 .and. single == 0.1, 'scales')
    call expect(name == 'of the program', 'a name')
    call free
    call done(DftiGetValue(handle, DFTI_VERSION, version), 'the version, of no descriptor')
    call expect(version /= '', 'the version')
  end subroutine

  subroutine complex_data
    call make(DFTI_COMPLEX, [n, m], [DFTI_PLACEMENT, DFTI_INPLACE])
    x = given
    call done(DftiComputeForward(handle, x), 'in place')
    call near(x, spectrum, 'in place')
    call done(DftiCopyDescriptor(handle, copy), 'a copy')
    call free
    handle => copy
    call done(DftiComputeBackward(handle, x), 'by a copy')
    call near(x / (n * m), given, 'by a copy, and back')
    call expect(DftiComputeForward(handle, x, y) == DFTI_INCONSISTENT_CONFIGURATION, 'too many arrays')

    call settle([DFTI_COMPLEX_STORAGE, DFTI_REAL_REAL])
    re = real(given, k)
    im = aimag(given)
    call done(DftiComputeForward(handle, re, im), 'split')
    call near(cmplx(re, im, k), spectrum, 'split')
    call settle([DFTI_PLACEMENT, DFTI_NOT_INPLACE])
    call done(DftiComputeBackward(handle, re, im, re_out, im_out), 'split, out of place')
    call near(cmplx(re_out, im_out, k) / (n * m), given, 'split, out of place')
    call free

    call make(DFTI_COMPLEX, [n], [DFTI_PLACEMENT, DFTI_NOT_INPLACE]) ! columns, arrays of rank 1
    y = 0
    call done(DftiComputeForward(handle, given(:, 2), y(:, 3)), 'out of place')
    call near(y(:, 3:3), transformed(given(:, 2:2)), 'out of place')
    call expect(all(y(:, :2) == 0) .and. all(y(:, 4:) == 0), 'columns beside the result')
    call done(DftiComputeBackward(handle, y(:, 3), x(:, 1)), 'out of place')
    call near(x(:, :1) / n, given(:, 2:2), 'out of place, and back')
    call free
  end subroutine

  subroutine real_data
    re = real(given, k)
    x = transformed(cmplx(re, kind=k))
    call make(DFTI_REAL, [n, m], [DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX])
    call done(DftiSetValue(handle, DFTI_OUTPUT_STRIDES, [0, 1, half]), 'strides')
    call settle([DFTI_PLACEMENT, DFTI_NOT_INPLACE])
    call done(DftiComputeForward(handle, re, z), 'real data')
    call near(z, x(:half, :), 'real data')
    call done(DftiSetValue(handle, DFTI_INPUT_STRIDES, [0, 1, half]), 'strides')
    call done(DftiSetValue(handle, DFTI_OUTPUT_STRIDES, [0, 1, n]), 'strides')
    call settle([integer ::])
    call done(DftiComputeBackward(handle, z, re_out), 'real data')
    call near(cmplx(re_out / (n * m), kind=k), cmplx(re, kind=k), 'real data, and back')
    call free

    x(:, :1) = transformed(cmplx(re(:, :1), kind=k))
    call make(DFTI_REAL, [n], [DFTI_PACKED_FORMAT, DFTI_CCS_FORMAT, DFTI_PLACEMENT, DFTI_INPLACE])
    padded(:n) = re(:, 1)
    call done(DftiComputeForward(handle, padded), 'real data in place')
    call near(reshape(cmplx(padded(1::2), padded(2::2), k), [half, 1]), x(:half, :1), 'real data in place')
    call done(DftiComputeBackward(handle, padded), 'real data in place')
    call near(cmplx(reshape(padded(:n) / n, [n, 1]), kind=k), cmplx(re(:, :1), kind=k), 'real data in place, and back')
    call free
  end subroutine

end program
