#!/usr/bin/env bash
# debian.sh SOURCE VERSION: what packages say twice: what a build needs, and which version it is.
set -euo pipefail
cd "$1"
# Everybody has g++, and man-db is for readers.
wanted() { awk '/^\[/ { on = $0 == "[lib]" || $0 == "[doc]"; next } on && !/^#/ && NF && $1 !~ /^(g\+\+|man-db)$/ { print $1 }' packages.txt; }
asked() { sed -n '/^Build-Depends:/,/^[^ ]*:/{ s/^ \([^ ,]*\),$/\1/p }' debian/control; }
diff <(wanted | sort) <(asked | sort) || { echo "build dependencies: < of packages.txt, > of debian/control"; exit 1; }
[ "$(sed -n '1s/.*(\(.*\)).*/\1/p' debian/changelog)" = "$2" ] || { echo "debian/changelog has another version than $2"; exit 1; }
