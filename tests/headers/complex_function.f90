! A complex function as GNU Fortran calls it: the value is expected in registers.
program complex_function
    complex(8), external :: zdotc
    complex(8) :: x(1) = (1, 2)
    if (zdotc(1, x, 1, x, 1) /= (5, 0)) stop 1
end program
