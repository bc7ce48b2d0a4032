# Sparse matrices: the same digits from C and Fortran, and SciPy's numbers, of real matrices too.
# usage: sparse.sh QNM_RUN EXAMPLES PYTHON DATA PROGRAM...; packages are unpacked in DATA, unless they are installed
. "${0%/*}/common.sh"
lib=${1%/bin/*}/lib examples=$2 python=$3 data=$4
shift 4
for program in "$@"; do
    "$program" > digits || fail "$program: $(cat digits)"
    sed -i 's/ *seconds$//; s/\(E[-+][0-9]*\) .*/\1/' digits
    [ ! -e first ] || cmp first digits
    cp digits first
done
awk '/ x / { good += $4 == 65 && $1 == 50 || $4 < 2 * steps && $4 > 1.7 * steps; steps = $4 }
     END { exit good != 4 }' first || fail "$(cat first)"
files=()
for file in r-cran-matrix/usr/lib/R/library/Matrix/external/{lund_a.mtx,pores_1.mtx,utm300.rua} \
    libsuperlu-doc/usr/share/doc/libsuperlu-dev/examples/g20.rua; do
    for path in "$data/$file" "/${file#*/}"; do
        [ ! -e "$path" ] || { files+=("$path") && break; }
    done
done
[ ${#files[@]} = 4 ] || echo "${#files[@]} of 4 real matrices: r-cran-matrix and libsuperlu-doc have them"
if "$python" -I -c 'import scipy.sparse' 2> errors; then
    "$python" -I "$examples/sparse.py" "$lib" "${files[@]}" > differences || fail "$(cat differences)"
    [ "$(grep -c allowed differences)" = $((24 + 9 * ${#files[@]})) ] || fail "not all of them: $(cat differences)"
else
    echo "python3 with SciPy is missing: left out"
fi
echo "all as expected"
