# The examples of R's package stats, as they stand and through qnm-run with a page: the same text and pictures, but for
# addresses, times and dates.
# usage: stats.sh QNM_RUN RSCRIPT
. "${0%/*}/common.sh"
qnm_run=$1 rscript=$2
# Engine and reference libraries as in lapack.sh.
libraries=/usr/lib/$(gcc -print-multiarch)
export OPENBLAS_CORETYPE=Nehalem OPENBLAS_NUM_THREADS=1 LD_LIBRARY_PATH=$libraries/lapack:$libraries/blas
mkdir plain layer
examples() { # FOLDER RUNNER...
    (cd "$1" && shift && "$@" "$rscript" -e 'tools::testInstalledPackage("stats", types = "examples", outDir = ".")') \
        > log 2> report || fail "$(tail -n 20 log report)"
}
examples plain env
examples layer "$qnm_run" --report --page="$work/page.html"
sed -i 's/0x[0-9a-f]*>/ADDRESS>/; s/^Time elapsed: .*//' ./*/stats-Ex.Rout
sed -i 's/^\/\(CreationDate\|ModDate\).*//' ./*/stats-Ex.pdf
diff plain/stats-Ex.Rout layer/stats-Ex.Rout || fail "other texts"
cmp plain/stats-Ex.pdf layer/stats-Ex.pdf || fail "other pictures"
[ "$(counted total)" -gt 100000 ] && [ "$(stat -c %s page.html)" -lt 2000000 ] || fail "$(cat report)"
echo "$(wc -l < layer/stats-Ex.Rout) lines, $(counted total) calls"
