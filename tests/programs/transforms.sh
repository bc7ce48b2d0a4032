# The examples of Fourier transforms: the sun's period of 11 years, the same digits from both languages and a picture of
# them; a picture that is blurred, and one that is not.
# usage: transforms.sh QNM_RUN EXAMPLES IMAGE_FILTER SUNSPOTS...
. "${0%/*}/common.sh"
qnm_run=$1 examples=$2 image_filter=$3
shift 3
for program in "$@"; do
    "$qnm_run" --report "$program" "$examples/sunspots.txt" spectrum.svg > digits 2> report
    [ "$(awk 'NR == 3 { print $1, $2 }' digits)" = "26 11.08" ] || fail "no period of 11 years: $(cat digits)"
    grep -Eq '^FFT drfo +1 .* 288$' report || fail "no transform of 288 years: $(cat report)"
    [ ! -e first ] || cmp first digits
    cp digits first
done
[ "$(grep -o 'L[0-9]' spectrum.svg | wc -l)" = 144 ] || fail "no picture of the spectrum"
grep -q '</svg>' spectrum.svg && ! grep -Eiq 'nan|inf' spectrum.svg || fail "a broken picture"

for columns in 45 32; do
    awk -v n=$columns 'BEGIN { print "P2", n, "27", "250"; for (i = 0; i < 27 * n; ++i) print i * i % 251 }' > before.pgm
    for width in 0 1.5 20; do
        "$image_filter" $width before.pgm after$width.pgm # compares its result with sums
    done
    sed 1d before.pgm > expected
    tail -c $((27 * columns)) after0.pgm | od -An -v -tu1 -w1 | tr -d ' ' | cmp expected -
    "$qnm_run" --report "$image_filter" 0 after0.pgm again.pgm 2> report
    cmp after0.pgm again.pgm
    grep -Eq "^FFT drfo +2 .* 27 $columns$" report && grep -Eq "^FFT drbo +1 .* 27 $columns$" report || fail "$(cat report)"
    cmp -s after0.pgm after1.5.pgm && fail "nothing was blurred"
done
echo "all as expected"
