#!/bin/bash
# bench/run.sh [--build] BUILD: prints what the layer of that build folder costs. docs/speed.md reads the numbers.
# --build also builds the layer anew, in a folder of its own, and takes the time.
set -euo pipefail

clean_build=no
if [ "${1-}" = --build ]; then
    clean_build=yes
    shift
fi
if [ $# -ne 1 ] || [ ! -x "$1/bin/qnm_bench_cost" ]; then
    echo "usage: $0 [--build] BUILD    (a build folder with the target bench)" >&2
    exit 2
fi
build=$(cd "$1" && pwd)
source=$(cd "$(dirname "$0")/.." && pwd)
layer=$build/lib/libqnm_orvan_lp64.so.2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One thread, no trace, lazy binding: for the layer and for the direct call alike.
export OPENBLAS_NUM_THREADS=1 LC_ALL=C
unset LD_BIND_NOW LD_PRELOAD QNM_VERBOSE QNM_VERBOSE_OUTPUT_FILE QNM_FFT_ENGINE QNM_FFT_EFFORT

section()
{
    readelf -SW "$layer" | sed 's/^ *\[ *[0-9]*\]//' | awk -v name="$1" '$1 == name { print $3, $5 }'
}

counted() # FILE PROGRAM ARGUMENT...: what it prints, with counts in FILE
{
    local file=$1
    shift
    valgrind --tool=callgrind --callgrind-out-file="$file" --log-file="$work/log" --collect-atstart=no \
        --combine-dumps=yes --skip-plt=no --dump-instr=yes --compress-strings=no --compress-pos=no "$@" ||
        { cat "$work/log" >&2; return 1; }
}

calls()
{
    echo "== Calls"
    local base plt size
    read -r plt size < <(section .plt)
    # Whatever kernels the times are taken with: what the layer executes is the same with all, and valgrind does not know
    # the newest instructions.
    base=$(OPENBLAS_CORETYPE=Nehalem counted "$work/counts" "$build/bin/qnm_bench_cost" count "$build/lib")
    "$build/bin/qnm_bench_cost" table "$build/lib" "$work/counts" "$(printf %x $((base + 0x$plt)))" "$size"
}

# Instructions are those of AVX2, which is what valgrind knows; times are taken with all that the processor has.
transforms()
{
    echo "== Transforms: double, forward, out of place, one thread"
    local program=$build/bin/qnm_bench_transforms base plt size
    export OPENBLAS_CORETYPE=${OPENBLAS_CORETYPE-Nehalem}
    read -r plt size < <(section .plt)
    "$program" time "$build/lib" "$work/wisdom" >"$work/times"
    base=$(counted "$work/counts" "$program" count "$build/lib" "$work/wisdom")
    export QNM_FFT_ENGINE=fftw
    "$program" time "$build/lib" "$work/wisdom" >"$work/plugged.times"
    counted "$work/plugged.counts" "$program" count "$build/lib" "$work/wisdom" >/dev/null
    "$program" table "$work/counts" "$(printf %x $((base + 0x$plt)))" "$size" "$work/times" "$work/plugged.counts" \
        "$work/plugged.times"
}

# With the best kernels of this processor, and threads of their own where that is said.
vectors()
{
    echo "== Vector functions: nanoseconds for an element; ratios (aims in docs/speed.md)"
    "$build/bin/qnm_bench_vectors"
    objcopy --strip-all "$build/lib/libqnm_kernels.so" "$work/kernels"
    echo "libqnm_kernels.so      $(stat -c %s "$work/kernels") bytes stripped (aim: below 6000000)"
    find "$build" -path '*qnm_layer.dir*' -name 'vml-*.o' -exec size -t {} + | awk 'END {
        printf "entries in the layer   %d bytes of code, tables and data before linking (aim: at most 600 KB)\n", $4 }'
}

statistics()
{
    echo "== Streams, statistics, splines, convolution: nanoseconds for an element; ratios (aims in docs/speed.md)"
    "$build/bin/qnm_bench_statistics"
    # The system's Python, whose packages these are.
    if /usr/bin/python3 -Ic 'import numpy' 2>/dev/null; then
        OMP_NUM_THREADS=1 /usr/bin/python3 -IB "$source/bench/statistics.py" "$build/lib"
    else
        echo "Left out: NumPy and SciPy"
    fi
}

sparse()
{
    echo "== Sparse matrices: five points of a grid of 1000 by 1000, nanoseconds for a row; ratios (aims in docs/speed.md)"
    "$build/bin/qnm_bench_sparse"
}

solvers()
{
    echo "== Solvers beside SciPy: milliseconds (aims in docs/speed.md)"
    if /usr/bin/python3 -Ic 'import scipy' 2>/dev/null; then
        OMP_NUM_THREADS=1 /usr/bin/python3 -IB "$source/bench/solvers.py" "$build/lib"
    else
        echo "Left out: SciPy"
    fi
}

direct()
{
    echo "== Direct solvers beside MUMPS called directly: nanoseconds for a row; ratios (aims in docs/speed.md)"
    if [ -x "$build/bin/qnm_bench_direct" ]; then
        "$build/bin/qnm_bench_direct"
    else
        echo "Left out: MUMPS"
    fi
}

# Nanoseconds for a call of DSCAL with three elements, each line's median of five runs.
tracing()
{
    echo "== Traced calls"
    local program=$build/bin/qnm_bench_trace run=$build/bin/qnm-run
    ways()
    {
        local label=$1
        shift
        for _ in 1 2 3 4 5; do "$@" "$program" calls 1000000 2>/dev/null; done | sort -n |
            awk -v label="$label" 'NR == 3 { printf "%-30s %8.1f ns\n", label, $1 }'
    }
    ways "linked, untraced"
    ways "qnm-run" "$run"
    ways "qnm-run --report" "$run" --report
    ways "qnm-run --trace=FILE" "$run" --trace="$work/lines"
    ways "QNM_VERBOSE_OUTPUT_FILE" env QNM_VERBOSE=1 QNM_VERBOSE_OUTPUT_FILE="$work/own"
    counted "$work/counts" "$program" count
    "$program" table "$work/counts"
}

loading()
{
    echo "== Loading the layer beside a core, lazily, in 201 fresh processes (aim: median below 1000 us)"
    for _ in $(seq 201); do
        "$build/bin/qnm_bench_load" "$build/lib/libqnm_core.so" "$layer"
    done | sort -n | awk '{ t[NR] = $1 } END {
        printf "median %.0f us, quickest %.0f, slowest %.0f\n", t[int((NR + 1) / 2)], t[1], t[NR] }'
}

relocations()
{
    echo "== Relocations"
    readelf -rW "$layer" | awk '
        /^Relocation section .*relr/ { match($0, /contains [0-9]+/); words = substr($0, RSTART + 9, RLENGTH - 9); packed = 1; next }
        /^Relocation section/ { packed = 0 }
        !packed && $3 ~ /^R_/ { count[$3]++ }
        packed && $1 ~ /^[0-9a-f]+$/ && NF == 1 { relative++ }
        END {
            for (kind in count)
                printf "%-22s %6d%s\n", kind, count[kind], kind ~ /JUMP_SLO/ ? "  bound at the first call" : "" | "sort"
            close("sort")
            printf "%-22s %6d  packed, in %d words\n", "relative", relative, words
        }'
    echo "== Size"
    echo "exported names         $(nm -D --defined-only "$layer" | wc -l)"
    objcopy --strip-all "$layer" "$work/stripped"
    size "$work/stripped" | awk 'NR == 2 { printf "text and tables        %d bytes\ndata                   %d bytes\n", $1, $2 + $3 }'
    echo "file                   $(stat -Lc %s "$layer") bytes, stripped $(stat -c %s "$work/stripped")"
}

# Of each output the latest step; steps that ran side by side are added up.
build_steps()
{
    echo "== Build of the layer, from the log of this folder"
    awk -F'\t' '$4 ~ /qnm_layer\.dir|libqnm_orvan_lp64\.so|src\/generated|qnm_(generate|catalogue)\.dir|bin\/generate|libqnm_catalogue/ {
            took[$4] = $2 - $1 }
        END { for (output in took) { sum += took[output]; if (took[output] > most) { most = took[output]; slowest = output } }
            sub(/.*\//, "", slowest)
            printf "%.1f s, all steps added up; the longest took %.1f s (%s)\n", sum / 1000, most / 1000, slowest }' "$build/.ninja_log"
}

build_anew()
{
    echo "== Clean build of the layer, generator included, on $(nproc) cores"
    (cd "$source" && cmake --preset release -DQNM_TESTS=OFF -B "$work/build") >"$work/configure.log" ||
        { cat "$work/configure.log" >&2; return 1; }
    local taken TIMEFORMAT="%1R s elapsed, %1U s of processor time"
    taken=$({ time cmake --build "$work/build" --target qnm_layer >"$work/build.log" 2>&1; } 2>&1) ||
        { cat "$work/build.log" >&2; return 1; }
    echo "$taken"
}

features=$(grep -m 1 '^flags' /proc/cpuinfo | grep -owE 'sse4_2|avx|avx2|fma|avx512f|avx512dq|avx512bw|avx512vl' | paste -sd' ' || true)
echo "== $(nproc) cores with $features, kernels ${OPENBLAS_CORETYPE:-as the engine chooses}, build type $(
    sed -n "s/^CMAKE_BUILD_TYPE:[A-Z]*=//p" "$build/CMakeCache.txt")"
calls
echo "== Changes of layout and NaN checks beside plain work on the same bytes; row-major beside column-major"
"$build/bin/qnm_bench_copies"
(transforms)
vectors
statistics
sparse
solvers
direct
tracing
loading
relocations
if [ $clean_build = yes ]; then
    build_anew
else
    build_steps
fi
