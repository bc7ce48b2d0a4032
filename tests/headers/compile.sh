# compile.sh CC CXX FOLDER [HEADER...]: each header that there is alone, in the oldest standard of each language; in the others the
# two that have all the rest between them. With complex types of the language and of the program's own. Other people's headers stand ahead of ours and behind.
cc=$1 cxx=$2 failed=0
cd "$3"
shift 3
own='struct pair8 { float re, im; }; struct pair16 { double re, im; };
#define QNM_COMPLEX8 struct pair8
#define QNM_COMPLEX16 struct pair16
#define LAPACK_COMPLEX_CUSTOM
#define lapack_complex_float struct pair8
#define lapack_complex_double struct pair16'
[ "$(ls qnm/*.h | wc -l)" -ge 9 ] && [ "$(ls qnm/core/*.h | wc -l)" -ge 9 ] || failed=1
for standard in c99 c11 c17 c++11 c++14 c++17 c++20; do
    case $standard in c++*) compiler="$cxx -x c++" ;; *) compiler="$cc -x c" ;; esac
    case $standard in c99 | c++11) headers=$(ls qnm/*.h qnm/core/*.h) ;; *) headers="qnm/qnm.h qnm/lapacke.h" ;; esac
    for header in $headers; do
        for types in "" "$own"; do
            printf '%s\n#include <%s>\n' "$types" "$header" |
                $compiler -std=$standard -Wall -Wextra -pedantic -Werror -fsyntax-only -I. - ||
                { echo "FAILED: $header as $standard"; failed=1; }
        done
    done
done
for theirs in "$@"; do
    for compiler in "$cc -x c -std=c99" "$cxx -x c++ -std=c++11"; do
        for pair in "<qnm/qnm.h> \"$theirs\"" "\"$theirs\" <qnm/qnm.h>"; do
            printf '#include %s\n' $pair |
                $compiler -DQNM_NO_LAPACK -DQNM_NO_CBLAS -fsyntax-only -I. - ||
                { echo "FAILED: $pair, $compiler"; failed=1; }
        done
    done
done
# All that a core may include is one program's.
for compiler in "$cc -x c -std=c99" "$cxx -x c++ -std=c++11"; do
    printf '#include <%s>\n' qnm/core/*.h | $compiler -Wall -Wextra -pedantic -Werror -fsyntax-only -I. - || failed=1
done
exit $failed
