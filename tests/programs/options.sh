# Options priced by vector functions, beside prices certified to 20 digits: made anew where MPFR is, and the same errors from
# narrow and wide entries.
# usage: options.sh QNM_RUN EXAMPLES PROGRAM_NARROW PROGRAM_WIDE ULP_HIGH ULP_LOW [MAKER]
. "${0%/*}/common.sh"
examples=$2 high=$5 low=$6
if [ $# -gt 6 ]; then
    "$7" | diff "$examples/options.txt" - || fail "other prices than those of options.txt"
fi
# Rows end with both errors and the time, which differs.
"$3" "$examples/options.txt" > narrow || fail "an error status: $(cat narrow)"
"$4" "$examples/options.txt" > wide || fail "an error status: $(cat wide)"
for file in narrow wide; do
    sed -nE '/^(loop|vectors)/s/ +[0-9]+$//p' $file > $file-errors
    awk -v high="$high" -v low="$low" '
        /^vectors/ { most = $2 == "high" ? high : low; ++rows; wrong += !($3 <= most && $4 <= most && $3 + $4 > 0) }
        END { exit rows != 2 || wrong > 0 }' $file-errors || fail "$(cat $file)"
done
cmp narrow-errors wide-errors
grep -q 'entries with 64-bit' wide || fail "not wide: $(cat wide)"
echo "all as expected"
