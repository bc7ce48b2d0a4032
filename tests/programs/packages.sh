# What tools/install-packages asks of the package manager: commands of that name stand in for it. INSTALLED and ABSENT
# are packages that are there already, and that nobody has.
# usage: packages.sh SOURCE
set -eu
source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat > "$work/dpkg-query" <<'END'
#!/bin/sh
for name; do :; done
case " $INSTALLED " in *" $name "* | " all ") echo install ok installed ;; esac
END
cat > "$work/apt-get" <<'END'
#!/bin/sh
[ "$1" != update ] || exit 0
for name; do case " $ABSENT " in *" $name "*) exit 100 ;; esac; done
echo "$*" | sed 's/.*recommends //' >> "$LOG"
END
printf '#!/bin/sh\necho 0\n' > "$work/id"
chmod +x "$work"/*
cat > "$work/list" <<'END'
# of the test
[lib]
compiler
builder
[check]
tests
theirs optional
others optional
END

# What is got, by one line for each call; what is said of what is left out; and the status.
expect() { # WANTED INSTALLED ABSENT LIST GROUP...
    local wanted=$1 status=0
    : > "$work/log"
    INSTALLED=$2 ABSENT=$3 LOG=$work/log PATH=$work:$PATH "$source/tools/install-packages" "${@:4}" > "$work/out" 2>&1 || status=$?
    local found="$(paste -sd';' "$work/log")|$(grep '^Left out' "$work/out" || true)|$status"
    [ "$found" = "$wanted" ] || { echo "FAILED: ${*:2}: expected $wanted, found $found"; cat "$work/out"; exit 1; }
}
expect "builder||0" compiler "" "$work/list" lib
expect "||0" "compiler builder" "" "$work/list" lib
expect "builder tests;theirs others||0" compiler "" "$work/list" lib check
expect "tests;others|Left out: theirs, and what needs it|0" "" theirs "$work/list" check
expect "||100" "" tests "$work/list" check
expect "||2" "" "" "$work/list" no-such-group
for target in lib demo check sanitizers bench; do # whose groups are there
    groups=$(make -C "$source" -n "$target" | sed -n 's/^tools.install-packages packages.txt //p')
    [[ "$groups " == "lib "* ]] || { echo "FAILED: make $target installs '$groups'"; exit 1; }
    expect "||0" all "" "$source/packages.txt" $groups
done
[ "$(make -C "$source" -n lib | grep -c 'packages.txt lib$')" = 1 ] || { echo "FAILED: make lib is not light"; exit 1; }
echo "all as expected"
