# installed.sh PREFIX VERSION SCRATCH: of an installation programs of C, C++ and, where there is the compiler, GNU Fortran are
# made as a stranger would: by find_package, by opening the libraries, by README's lines with each linker. They start as
# they are.
set -e
shopt -s extglob
prefix=$1 version=$2 scratch=$3
source=$(cd "${0%/*}" && pwd) root=$(cd "${0%/*}/../.." && pwd)
major=${version%%.*} minor=${version#*.} minor=${minor%%.*}
flags="-DQNM_MAJOR=$major -DQNM_MINOR=$minor"
description=$(find "$prefix" -name qnm.pc)
libraries=${description%/pkgconfig/*}
mkdir -p "$scratch/consumer"
cd "$scratch"
unset LD_LIBRARY_PATH LD_PRELOAD
fail() {
  echo "FAILED: $*"
  exit 1
}

echo '#include <qnm/core/dft.h>' |
  ${CC:-cc} -std=c99 -Wall -Wextra -Wpedantic -Werror -I"$prefix/include" -fsyntax-only -x c -
"$prefix/bin/qnm-core-check" "$libraries/libqnm_core.so" blas/level1 >check.log || fail "the core: $(<check.log)"
grep -Eq '^blas/level1 +xzcblat1 +(passed|left out: )' check.log || fail "the list is not found: $(<check.log)"
echo "for who writes a core: stands in C, and the core is checked by published programs"

languages="C CXX"
! command -v gfortran >/dev/null || languages="C CXX Fortran"
ways() { echo "$1: $languages built and ran"; }

cat >consumer/CMakeLists.txt <<END
cmake_minimum_required(VERSION 3.25)
project(consumer $languages)
find_package(qnm $major REQUIRED)
set(programs)
function(program name source)
  add_executable(\${name} \${source})
  target_link_libraries(\${name} PRIVATE \${ARGN})
  set(programs \${programs} \${name} PARENT_SCOPE)
endfunction()
program(of_C $source/program.c QNM::qnm)
program(own_core $source/program.c QNM::layer QNM::core)
program(of_CXX $source/program.cpp QNM::qnm)
# A library within a library, of which the program does not know.
add_library(inner STATIC $source/gnu_complex.c)
target_link_libraries(inner PRIVATE QNM::gfortran)
file(TOUCH empty.c)
program(through_inner empty.c inner)
if("$languages" MATCHES Fortran)
  program(of_Fortran $source/complex_function.f90 QNM::gfortran)
  program(wide $source/default_integers.f90 QNM::gfortran QNM::ilp64)
  target_compile_options(wide PRIVATE -fdefault-integer-8)
endif()
install(TARGETS \${programs})
program(lower $source/program.c qnm::layer qnm::core) # runs where it was built, as CMake has it
find_package(qnm $major QUIET COMPONENTS static)
if(qnm_FOUND)
  message(FATAL_ERROR "a static library was found")
endif()
END
cmake -S consumer -B consumer/build -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_FLAGS="$flags" >configure.log
cmake --build consumer/build >build.log
cmake --install consumer/build --prefix "$scratch/consumed" >>build.log
for program in consumed/bin/* consumer/build/lower; do $program || fail "${program##*/}: status $?"; done
! readelf -d consumed/bin/* | grep -E 'RUNPATH.*(\[:|::|:\])' || fail "an empty folder is looked into: the working one"
ways find_package

# One after the other in processes of their own, without names for all.
if command -v python3 >/dev/null; then
  for library in libqnm libqnm_gfortran; do
    python3 -c "import ctypes; ctypes.CDLL('$libraries/$library.so.2').cblas_dnrm2" || fail "$library cannot be opened"
  done
fi

# Another core, whose names are all but one: the linker tells, and so does the loader if it is asked at the start.
layer=$libraries/libqnm_orvan_lp64.so.2
nm -D --undefined-only "$layer" | sed -n 's/^ *U \(qnm_[A-Za-z0-9_]*\)$/\1/p' | grep -vx qnm_blas_dgemm |
  sed 's/.*/.globl &\n&: ret/' >core.s
mkdir lacking
${CC:-cc} -shared -nostdlib -Wl,-soname,libqnm_core.so.2 core.s -o lacking/libqnm_core.so.2
! ${CC:-cc} $flags -I"$prefix/include" "$source/program.c" "$layer" lacking/libqnm_core.so.2 -lm -o program 2>link.log &&
  grep -q 'undefined reference to .qnm_blas_dgemm' link.log || fail "a core that lacks a name is linked"
! LD_LIBRARY_PATH=lacking LD_BIND_NOW=1 consumed/bin/of_C 2>start.log &&
  grep -q 'undefined symbol: qnm_blas_dgemm' start.log || fail "a core that lacks a name is started"

if command -v pkg-config >/dev/null; then
  export PKG_CONFIG_PATH=${description%/*}
  test "$(pkg-config --modversion qnm)" = "$version"
  made() { # COMPILER WORDS...: in words, as a shell reads them
    eval "$*" -o program && ./program || fail "$*: status $?"
  }
  lines=$(sed -n 's/^    \(\(cc\|gfortran\) .*\$(pkg-config.*\)/\1/p' "$root/README.md")
  [ "$(wc -l <<<"$lines")" = 3 ] || fail "README has other lines: $lines"
  for linker in bfd gold lld; do
    command -v ld.$linker >/dev/null || { echo "ld.$linker: not here, left out"; continue; }
    while read -r compiler words; do
      case $compiler-$words in
      cc-*) program="$flags $source/program.c" ;;
      *integer-8*) program=$source/default_integers.f90 ;;
      *) program=$source/complex_function.f90 ;;
      esac
      [ $compiler = cc ] || [ "$languages" != "C CXX" ] || continue
      made $compiler -fuse-ld=$linker -Wl,--as-needed "${words/program.[cf]*([90])/$program}"
    done <<<"$lines"
  done
  made ${CC:-cc} $flags '$(pkg-config --cflags qnm-layer)' "$source/program.c" '$(pkg-config --libs qnm-layer)' \
    -Wl,--no-as-needed -lqnm_core -Wl,-rpath,"$libraries"
  [ "$languages" = "C CXX" ] ||
    made gfortran -J "$scratch" "$prefix/include/qnm/qnm_dfti.f90" "$source/../open/module_program.F90" \
      '$(pkg-config --libs qnm-gfortran)'
  ways pkg-config
fi
