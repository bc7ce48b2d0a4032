# published.sh PRELOADED PROGRAM [INPUT]: a published test program with these libraries in front of its own, and the core
# that is checked behind them. Each of its verdicts has to be a good one.
set -eu
preloaded=$1:$QNM_CHECKED/libqnm_core.so program=$2
input=$(realpath "${3:-/dev/null}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
LD_PRELOAD=$preloaded "$program" < "$input" > output
# The summary is the file that the program writes, or its output.
cat -- * > verdicts
good=$(grep -cE -e '-- PASS --|PASSED THE' verdicts)
if grep -E 'FAIL|\*{7}' verdicts; then exit 1; fi
[ "$good" -gt 5 ]
