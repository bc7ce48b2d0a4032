#!/usr/bin/env bash
# debian.sh SOURCE VERSION: what packages say twice: what a build needs, and which version it is.
set -euo pipefail
cd "$1"
wanted() { awk '/^\[/ { on = $0 == "[lib]" || $0 == "[doc]"; next } on && !/^#/ && NF && $1 != "g++" { print $1 }' packages.txt; }
asked() { sed -n '/^Build-Depends:/,/^[^ ]*:/{ s/^ \([^ ,]*\),$/\1/p }' debian/control; }
diff <(wanted | sort) <(asked | sort) || { echo "build dependencies: < of packages.txt, > of debian/control"; exit 1; }
[ "$(sed -n '1s/.*(\(.*\)).*/\1/p' debian/changelog)" = "$2" ] || { echo "debian/changelog has another version than $2"; exit 1; }
