# What README lists is what there is: make's targets, and the variables of the environment that something reads.
# usage: readme.sh SOURCE CORE
. "${0%/*}/common.sh"
export LC_ALL=C
source=$1 core=$2
sed -n 's/^    make \([a-z]*\) .*# .*/\1/p' "$source/README.md" | sort > told
sed -n 's/^## \([a-z]*\): .*/\1/p' "$source/Makefile" | sort > there
diff told there || fail "README tells other targets than the Makefile"

# Names in calls, and those of tables in files that call with a variable.
readers=$(grep -rlE --include=*.c --include=*.cpp --include=*.hpp --include=*.in 'getenv\(' "$source"/{core,src,tools})
grep -hoE 'getenv\(\s*"[^"]+"|"[A-Z]+(_[A-Z0-9]+)+"' $readers | cut -d'"' -f2 | sort -u > read
[ "$(wc -l < read)" -ge 15 ] || fail "few variables are found: $(<read)"
sed -n '/^## Environment/,/^## Errors/p' "$source/README.md" | grep '^| `' | cut -d'|' -f2 | grep -o '`[^`]*`' | tr -d '`' |
    sort > told
comm -23 read told > untold
[ ! -s untold ] || fail "README does not tell of: $(<untold)"
for name in $(comm -23 told read); do # the core's engine has variables of its own
    grep -qaF "$name" "$core" || fail "nobody reads $name"
done
echo "all as expected"
