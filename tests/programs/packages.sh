# What tools/install-packages asks of the package manager: commands of that name stand in for it. INSTALLED and ABSENT
# are packages that are there already, and that nobody has.
# usage: packages.sh SOURCE
. "${0%/*}/common.sh"
source=$1
cat > dpkg-query <<'END'
#!/bin/sh
for name; do :; done
case " $INSTALLED " in *" $name "* | " all ") echo install ok installed ;; esac
END
cat > apt-get <<'END'
#!/bin/sh
[ "$1" != update ] || exit 0
for name; do case " $ABSENT " in *" $name "*) exit 100 ;; esac; done
[ "$1" != download ] || touch "${name}_1.deb"
echo "$*" | sed 's/.*recommends //' >> "$LOG"
END
printf '#!/bin/sh\necho 0\n' > id
printf '#!/bin/sh\nmkdir "$3"\n' > dpkg-deb
chmod +x ./*
cat > list <<'END'
# of the test
[lib]
compiler
builder
[check]
tests
theirs optional
others optional
[data]
files unpacked
END

# What is got, by one line for each call; what is said of what is left out; and the status.
expect() { # WANTED INSTALLED ABSENT LIST GROUP...
    local wanted=$1 status=0
    : > log
    INSTALLED=$2 ABSENT=$3 LOG=$work/log PATH=$work:$PATH "$source/tools/install-packages" "${@:4}" > out 2>&1 || status=$?
    local found="$(paste -sd';' log)|$(grep '^Left out' out || true)|$status"
    [ "$found" = "$wanted" ] || fail "${*:2}: expected $wanted, found $found: $(cat out)"
}
expect "builder||0" compiler "" list lib
expect "||0" "compiler builder" "" list lib
expect "builder tests;theirs others||0" compiler "" list lib check
expect "tests;others|Left out: theirs, and what needs it|0" "" theirs list check
expect "||100" "" tests list check
expect "|Left out: files, and what needs it|0" "" files list data
expect "download -qq -o APT::Sandbox::User=root files||0" "" "" list data
[ -d build/data/files ] || fail "nothing is unpacked"
expect "||0" "" "" list data
expect "||2" "" "" list no-such-group
for target in lib doc demo check sanitizers bench; do # whose groups are there
    groups=$(make -C "$source" -n "$target" | sed -n 's/^tools.install-packages packages.txt //p')
    [[ "$groups " == "lib "* ]] || fail "make $target installs '$groups'"
    expect "||0" all "" "$source/packages.txt" $groups
done
[ "$(make -C "$source" -n lib | grep -c 'packages.txt lib$')" = 1 ] || fail "make lib is not light"

# Of configuring only what is left out is told, and how it ended.
printf '#!/bin/sh\nprintf -- "-- Found it\\n-- No engine: not found\\nNo path\\n-- Noted\\n"; [ "$*" = "--preset fast -DX=1" ]\n' > cmake
chmod +x cmake
[ "$(PATH=$work:$PATH "$source/tools/configure" fast -DX=1)" = "No engine: not found" ] || fail "told by configure"
! PATH=$work:$PATH "$source/tools/configure" slow > out || fail "what failed is not told"
for target in lib plugins doc demo bench accuracy dieharder; do
    [ "$(make -C "$source" -n "$target" | grep -c '^tools.configure release ')" = 1 ] || fail "make $target"
done
echo "all as expected"
