# Options priced by vector functions, beside prices certified to 20 digits: made anew where MPFR is, and the same errors from
# narrow and wide entries.
# usage: options.sh QNM_RUN EXAMPLES C_NARROW C_WIDE [FORTRAN_NARROW FORTRAN_WIDE] [MAKER]
. "${0%/*}/common.sh"
prices=$2/options.txt
shift 2
# The worst price is the difference of terms some 20 times as large; erf, in Fortran, loses digits where it is near 1.
for high_and_low in "32 64" "256 256"; do
    [ $# -ge 2 ] || break
    # Rows end with both errors and the time, which differs.
    for width in narrow wide; do
        "$1" "$prices" > $width || fail "an error status: $(cat $width)"
        sed -nE '/^(loop|vectors)/s/ +[0-9]+$//p' $width > $width-errors
        shift
    done
    awk -v bounds="$high_and_low" '
        BEGIN { split(bounds, most) }
        /^vectors/ { good += $3 <= most[++rows] && $4 <= most[rows] && $3 + $4 > 0 }
        END { exit !(rows == 2 && good == 2) }' narrow-errors || fail "$(cat narrow)"
    cmp narrow-errors wide-errors
    grep -q 'entries with 64-bit' wide || fail "not wide: $(cat wide)"
done
if [ $# = 1 ]; then
    "$1" | diff "$prices" - || fail "other prices than those of options.txt"
else
    echo "MPFR is missing: prices are not made anew"
fi
echo "all as expected"
