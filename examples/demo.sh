#!/bin/sh
# What the layer is for, on real input: `make demo`.
set -eu
build=$(cd "${1:?usage: demo.sh BUILD}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
reference=$(dirname "$(dpkg -L libblas-test | grep '/xblat3d$')")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

title() { printf '\n== %s\n\n' "$1"; }

title "The reference test program of the double precision level 3 BLAS, unmodified, through the layer"
echo "\$ qnm-run --report xblat3d < dblat3.in"
(cd "$scratch" && "$build/bin/qnm-run" --report "$reference/xblat3d" <"$reference/dblat3.in" && cat dblat3.out 2>/dev/null | grep -E 'PASSED|FAIL' || true)

title "Longley's regression, by BLAS alone: an ordinary program, linked against the system's BLAS, through the layer"
echo "\$ qnm-run --report longley"
"$build/bin/qnm-run" --report "$build/bin/longley"

title "The same regression by LAPACK's least squares driver DGELS: an ordinary program too"
echo "\$ qnm-run --report longley_lapack"
"$build/bin/qnm-run" --report "$build/bin/longley_lapack"

title "Once more from C, row by row, through LAPACKE_dgels"
echo "\$ qnm-run --report longley_lapacke"
"$build/bin/qnm-run" --report "$build/bin/longley_lapacke"

title "A core of one file, checked: level 1 of the BLAS over plain loops"
echo "\$ qnm-core-check libexample_core.so blas/level1"
"$build/bin/qnm-core-check" "$build/lib/libexample_core.so" blas/level1

spectrum() { # PROGRAM [PICTURE]
    "$build/bin/qnm-run" --report "$build/bin/$1" "$here/sunspots.txt" ${2:+"$2"} >"$scratch/$1" 2>"$scratch/report" ||
        { cat "$scratch/report" >&2; exit 1; }
    cat "$scratch/$1" "$scratch/report"
}
title "Waves in 288 years of sunspots, by a Fourier transform: a program in C"
echo "\$ qnm-run --report sunspots sunspots.txt sunspots.svg"
spectrum sunspots "$build/sunspots.svg"
printf '\nThe picture of the spectrum: %s\n' "$build/sunspots.svg"

title "The same in Fortran, by the module qnm_dfti"
echo "\$ qnm-run --report sunspots_fortran sunspots.txt"
spectrum sunspots_fortran
cmp "$scratch/sunspots" "$scratch/sunspots_fortran"
printf '\nThe same digits as from C.\n'

title "Heat in a rod, by FFTW's plans: a program for FFTW, in C, linked with the layer"
echo "\$ heat"
"$build/bin/heat"

title "A loaded membrane, by a Poisson solver, beside the height that was chosen first"
echo "\$ membrane ."
"$build/bin/membrane" "$build"
printf '\nThe membrane and its error: %s %s\n' "$build/membrane.svg" "$build/membrane_error.svg"

title "ImageMagick's spectrum of the membrane: Debian's program, linked with FFTW, through the layer"
# By the name that the package gives it: others may be put ahead.
if convert=$(command -v convert-im6.q16) && "$convert" -version | grep -q '^Delegates.* fftw'; then
    echo "\$ qnm-run --report convert membrane.pgm -define fourier:normalize=forward -fft +delete \\
          -auto-level -evaluate log 10000 membrane_spectrum.png"
    "$build/bin/qnm-run" --report "$convert" "$build/membrane.pgm" -define fourier:normalize=forward -fft +delete \
        -auto-level -evaluate log 10000 "$build/membrane_spectrum.png"
    printf '\nThe picture of the spectrum: %s\n' "$build/membrane_spectrum.png"
else
    echo "left out: there is no ImageMagick with FFTW (package imagemagick)"
fi

title "Poisson's equation by a sparse matrix and conjugate gradients: a program in C, and one with products of Eigen"
echo "\$ poisson_sparse"
"$build/bin/poisson_sparse" | tee "$scratch/poisson"
printf '\n$ poisson_sparse_eigen\n'
"$build/bin/poisson_sparse_eigen"
if [ -x "$build/bin/poisson_sparse_fortran" ]; then
    title "The same in Fortran, its solves by classic routines"
    echo "\$ poisson_sparse_fortran"
    "$build/bin/poisson_sparse_fortran" >"$scratch/poisson_fortran"
    sed 's/ *seconds$//; s/\(E[-+][0-9]*\) .*/\1/' "$scratch/poisson" | cmp - "$scratch/poisson_fortran"
    printf 'The same digits as from C.\n'
fi

title "Poisson's equation on a cube, by PARDISO and by conjugate gradients, and its lowest eigenvalues by FEAST"
if [ -e "$build/lib/libqnm_core_solvers.so" ]; then
    echo "\$ poisson3d_c_narrow"
    "$build/bin/poisson3d_c_narrow" | tee "$scratch/poisson3d"
    echo
    same_digits() {
        echo "\$ $*"
        "$@" >"$scratch/other"
        for each in poisson3d other; do
            sed 's/ *[0-9.]* seconds$//' "$scratch/$each" >"$scratch/$each.digits"
        done
        cmp "$scratch/poisson3d.digits" "$scratch/other.digits"
        printf 'The same digits.\n'
    }
    for program in poisson3d_c_wide poisson3d_fortran_narrow poisson3d_fortran_wide; do
        [ ! -x "$build/bin/$program" ] || (cd "$build/bin" && same_digits "./$program")
    done
    # By its place: others may be put ahead.
    if /usr/bin/python3 -I -c 'import scipy.sparse' 2>/dev/null; then
        (cd "$here" && same_digits /usr/bin/python3 poisson3d.py "$build/lib" wide)
    else
        echo "in Python: left out, there is no SciPy (package python3-scipy)"
    fi
else
    echo "left out: the open core was built without direct solvers (packages libmumps64-seq-dev and libscotch-dev)"
fi

title "10,000 options priced by vector functions; errors of 24 prices that are certified to 20 digits"
for program in options_c_narrow options_c_wide options_fortran_narrow options_fortran_wide; do
    [ -x "$build/bin/$program" ] || continue # no Fortran
    echo "\$ $program options.txt"
    "$build/bin/$program" "$here/options.txt"
    echo
done

title "An option priced by chance, by a pseudo-random stream and by Sobol's points: a program in C"
echo "\$ call_c_narrow call.svg"
"$build/bin/call_c_narrow" "$build/call.svg" | tee "$scratch/call"
printf '\nBoth errors by the number of shares: %s\n' "$build/call.svg"
if [ -x "$build/bin/call_fortran" ]; then
    title "The same in Fortran, by the module qnm_vsl"
    echo "\$ call_fortran"
    "$build/bin/call_fortran" > "$scratch/call_fortran"
    cmp "$scratch/call" "$scratch/call_fortran"
    printf 'The same digits as from C.\n'
fi

title "Digits of the means and deviations that NIST has certified, of a loop and of summary statistics"
echo "\$ digits"
"$build/bin/digits"

if [ -x "$build/bin/longley_fortran" ]; then
    title "Longley's regression in Fortran with integers of 64 bits under plain names (gfortran -fdefault-integer-8)"
    echo "\$ qnm-run --report longley_fortran"
    "$build/bin/qnm-run" --report "$build/bin/longley_fortran"
fi

title "Longley's three regressions once more, under one qnm-run, as a page with pictures"
echo "\$ qnm-run --page=longley.html sh -c 'longley; longley_lapack; longley_lapacke'"
"$build/bin/qnm-run" --page="$build/longley.html" \
    sh -c '"$0/longley"; "$0/longley_lapack"; "$0/longley_lapacke"' "$build/bin" >"$scratch/longley"
printf 'The page, for any browser: %s\n' "$build/longley.html"
