# The examples of differential equations, in C, in Fortran and, where it is, in R: digits of the exact solutions, which were
# computed elsewhere, the same ones from each language, and pictures of them.
# usage: equations.sh QNM_RUN EXAMPLES HEAT MEMBRANE [HEAT_FORTRAN MEMBRANE_FORTRAN]
. "${0%/*}/common.sh"
qnm_run=$1 examples=$2 libraries=${1%/bin/*}/lib
shift 2
same() { # EXPECTED PROGRAM...
    local expected=$1
    shift
    "$qnm_run" --report "$@" > digits 2> report || fail "$*: $(cat digits report)"
    diff "$expected" digits || fail "$*"
}
# Heat at a time: 1 + 2 sum of cos(0.3 k pi) cos(k pi x) exp(-k^2 pi^2 t), in twice the digits.
cat > heat <<'DIGITS'
    time     at 0         at 1/4       at 1/2       at 3/4       at 1
   0.010  0.594651446  2.651501017  1.037769061  0.017855798  0.000026997
   0.020  1.295175957  1.978808397  1.210522804  0.158725471  0.008726830
   0.050  1.608821664  1.523925862  1.085249300  0.477279079  0.218269854
   0.200  1.163069671  1.115470444  1.000230123  0.884529556  0.836470082
The exact solution is nowhere further away than 1e-12: yes
DIGITS
# Errors of the five-point scheme, solved by elimination.
cat > membrane <<'DIGITS'
   n        error   falls by
   8   1.7001e-02
  16   4.2525e-03      3.998
  32   1.0633e-03      3.999
  64   2.6583e-04      4.000
 128   6.6458e-05      4.000
 256   1.6614e-05      4.000
DIGITS
while [ $# -gt 0 ]; do
    same heat "$1"
    same membrane "$2" .
    shift 2
done
if Rscript -e 'library(fftw)' > /dev/null 2>&1; then
    same heat Rscript "$examples/heat.R"
    grep -Eq '^FFT dcfo +1 .* 128$' report && grep -Eq '^FFT dcbo +4 .* 128$' report || fail "not by the layer: $(cat report)"
    Rscript "$examples/membrane.R" "$libraries" | diff membrane - || fail "membrane.R"
else
    echo "R or its package fftw is missing: left out"
fi

[ "$(grep -c '<path.*hsl' membrane.svg)" = 1024 ] && [ "$(grep -c '<circle' membrane_error.svg)" = 6 ] || fail "no pictures"
for picture in membrane.svg membrane_error.svg; do
    tail -1 $picture | grep -q '</svg>' && ! grep -Eiq 'nan|inf' $picture || fail "a broken picture: $picture"
done
[ "$(wc -w < membrane.pgm)" = $((256 * 256 + 4)) ] || fail "no grey picture"
echo "all as expected"
