! For integers of 64 bits under plain names: solves, looks at every bit of what comes back, and multiplies.
program default_integers
    complex(8), external :: zdotc
    complex(8) :: z(2) = (1, 2)
    real(8) :: a(2, 2) = reshape([2, 1, 1, 3], [2, 2]), b(2) = [3, 5]
    integer :: pivots(2) = -1, info = -1
    call dgesv(2, 1, a, 2, pivots, b, 2, info)
    if (info /= 0 .or. any(pivots /= [1, 2]) .or. maxval(abs(b - [0.8d0, 1.4d0])) > 1d-15) stop 1
    if (zdotc(2, z, 1, z, -1) /= (10, 0)) stop 2
end program
