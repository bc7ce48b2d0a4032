#!/usr/bin/env bash
# hardened.sh SOURCE LAYER FILE...: the files are hardened and the layer is not, which has no instruction to spare and
# binds the core's functions as they are called. No folder of the build stands in any of them.
set -eu # a reader that stops early is no failure
source=$1 layer=$2
shift 2
status=0
wrong() {
    echo "$1: $2"
    status=1
}
now() { readelf -dW "$1" | grep -qE '\((FLAGS|FLAGS_1|BIND_NOW)\).*NOW|BIND_NOW'; }
for file in "$@"; do
    now "$file" || wrong "$file" "binds lazily"
    readelf -lW "$file" | grep -q GNU_RELRO || wrong "$file" "no read-only relocations"
    readelf -lW "$file" | grep GNU_STACK | grep -q 'RWE' && wrong "$file" "an executable stack"
    if [[ ${file##*/} == qnm-run || ${file##*/} == *core* ]]; then # what has arrays and texts
        nm -D "$file" | grep -q ' __stack_chk_fail' || wrong "$file" "no stack protector"
        nm -D "$file" | grep -qE ' __[a-z]+_chk' || wrong "$file" "no checked functions of the C library"
    fi
    if [[ $file == *qnm-run ]]; then
        readelf -hW "$file" | grep -q 'DYN (Position-Independent' || wrong "$file" "stands at one address"
    fi
done
now "$layer" && wrong "$layer" "binds when it is loaded"
nm -D "$layer" | grep -E ' __(stack_chk_fail|[a-z]+_chk)' && wrong "$layer" "is hardened"
for file in "$layer" "$@"; do
    ! grep -qaF "$source" "$file" || wrong "$file" "holds $source"
done
exit $status
