# Pages of the programs, and qnm-run's completion: they have what the programs themselves tell.
# usage: manual.sh QNM_RUN CORE_CHECK QNM_RUN.1 CORE_CHECK.1 COMPLETION
. "${0%/*}/common.sh"
qnm_run=$1 core_check=$2 page=$3 core_page=$4 completion=$5

# Pages of a system are not known here.
mandoc -Tlint "$page" "$core_page" > lint 2>&1 || grep -v 'referenced manual not found\|mandoc.db' lint && fail "pages are not clean"

# The page has the text of --help, in lines of its own.
mandoc -Tascii "$page" | col -b | tr -s ' \n\t' ' ' > page
"$qnm_run" --help | sed -n 's/^  \(-.*[^ ]\)   *\(.*\)/\1\t\2/p' > options
[ "$(wc -l < options)" -gt 10 ] || fail "few options: $(cat options)"
while IFS=$'\t' read -r option help; do
    grep -qF -e " $option ${help^}." page || fail "the page lacks $option: $help"
done < options
"$core_check" > usage 2>&1 || true
mandoc -Tascii "$core_page" | col -b > page
for option in $(grep -o -e ' \[*--[a-z-]*' usage | tr -d ' [') FILE.so; do
    grep -qF -e "$option" page || fail "the page of qnm-core-check lacks $option"
done

# What bash offers for the last of these words, which it splits at `=`.
mkdir folder
touch here.html "with blank" folder/inner.html folder/program
chmod +x folder/program
offered() {
    COMP_WORDS=(qnm-run "$@") COMP_CWORD=$# COMPREPLY=()
    _qnm_run || true
    local IFS=,
    found=${COMPREPLY[*]-}
}
expect() { # WANTED WORD...
    offered "${@:2}"
    [ "$found" = "$1" ] || fail "for '${*:2}' bash offers $found: expected $1"
}
. "$completion"
offered -
for option in $(sed -E 's/\t.*//; s/, / /; s/\[.*| [A-Z]+$//; s/=.*/=/' options) --report= --trace=; do
    [[ ,$found, = *,$option,* ]] || fail "bash does not offer $option: $found"
done
expect "--page=" --pa
expect "--report,--report=" --rep
expect "here.html" --page = he
expect "--page=here.html" --page=he
expect "32,64" --integers =
expect "64" --check --integers = 6
expect "" --every = 1
expect "" --explain d
expect "./folder/program" --trace ./folder/pro
expect "with blank" ./program wi
expect "here.html" --check he
expect "here.html" -- ./program he
_command_offset() { COMPREPLY=("from $1"); }
expect "from 1" ./pro
expect "from 4" --page = x ./program --op
expect "from 3" --report -- ./program
expect "here.html" --check he
echo "all as expected"
