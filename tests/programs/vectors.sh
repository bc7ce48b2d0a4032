# Vector functions, and convolution, from Python and R, each beside the language's own, from a program of another library, and from any
# folder, wherever the libraries lie.
# usage: vectors.sh QNM_RUN EXAMPLES PYTHON OLD_PROGRAM
. "${0%/*}/common.sh"
qnm_run=$1 examples=$2 python=$3 old_program=$4
mkdir "a folder"
cp "${1%/bin/*}"/lib/{libqnm{,_core,_orvan_lp64}.so.2,libqnm_kernels.so} "a folder"
if "$python" -I -c 'import scipy.special' 2> errors; then
    "$python" -I "$examples/vectors.py" "a folder" > differences || fail "$(cat differences)"
    [ "$(grep -c allowed differences)" = 45 ] || fail "not all functions: $(cat differences)"
    "$python" -I "${0%/*}/convolution.py" "a folder" > differences || fail "$(cat differences)"
    [ "$(cat differences)" = "144 of 144 as SciPy's" ] || fail "$(cat differences)"
else
    echo "python3 with SciPy is missing: left out"
fi
if command -v Rscript > path; then
    Rscript "$examples/vectors.R" "a folder" > differences || fail "$(cat differences)"
else
    echo "R is missing: left out"
fi

# The other library turns signs round.
[ "$("$old_program")" = "-1.000000000 -2.000000000" ] || fail "not linked with the other library"
[ "$("$qnm_run" --report "$old_program" 2> report)" = "2.718281828 7.389056099" ] || fail "not ours: $(cat report)"
[ "$(counted VDEXP)" = 0 ] || fail "these calls are not traced: $(cat report)"

# Kernels are those beside the core, whatever a variable holds ready under their name.
mkdir other
touch other/libqnm_kernels.so
[ "$(LD_LIBRARY_PATH=$work/other "$qnm_run" "$old_program")" = "2.718281828 7.389056099" ] || fail "kernels by a variable"

# The layer asks where it is while it is loaded; a program cannot begin in a folder that is gone.
mkdir gone
(cd gone && rmdir ../gone && "$qnm_run" "$old_program" > ../out 2> ../err && fail "began in no folder") || status=$?
[ "$status" = 2 ] && grep -q '^QNM ERROR: .*folder' err && [ ! -s out ] || fail "status $status: $(cat out err)"
echo "all as expected"
