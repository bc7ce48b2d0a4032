# What the scripts of this folder begin with: they work in a folder that goes with them, and end at the first failure.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "FAILED: $*"
    exit 1
}
left_out() {
    echo "left out: $*"
    exit 77
}
# What qnm-run has to be told of programs that lie in this folder, and of a core that is checked.
options_for() {
    [ "${1%64}" = "$1" ] || echo --integers=64
    [ -z "${QNM_CHECKED:-}" ] || echo "--core=$QNM_CHECKED/libqnm_core.so"
}
# Whether this holds of what qnm-run was told of calls; a core that is checked need not tell it.
traced() { [ -n "${QNM_CHECKED:-}" ] || "$@"; }
# What qnm-run counted of a routine, in either width, over all reports: calls, or those that were refused.
counted() { # ROUTINE [refused]
    cat report* | awk -v name="$1" -v column="${2:+4}" '($1 == name || $1 == name "_64") && $7 ~ /%$/ {
        sum += $(column == "" ? 2 : column) } END { print sum + 0 }'
}
