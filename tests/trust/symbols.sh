#!/usr/bin/env bash
# symbols.sh GENERATE PROMISES LIBRARY: Debian's tool finds in the library the names that were promised, and no other.
set -euo pipefail
generate=$1 promises=$2 library=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$generate" symbols "$promises" "$folder/symbols"
package=$(awk '$1 == "library" { print $3 }' "$promises")
compare() { # symbols
    dpkg-gensymbols -p"$package" -v9 -P"$folder" -e"$library" -I"$1" -c4 -O/dev/null 2>&1
}
cd "$folder" # it looks for debian/ beside
compare symbols
# A name that is not there is told.
sed '$ a\ never_promised@Base 2.0.0' symbols > lost
if compare lost > told; then
    echo "a lost name passed: $(tail -n 5 told)"
    exit 1
fi
