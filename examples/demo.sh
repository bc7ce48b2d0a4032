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
