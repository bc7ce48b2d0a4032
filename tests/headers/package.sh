# package.sh BUILD SOURCE SCRATCH VERSION: makes a program of C, and where there is the compiler one of GNU Fortran, in
# each of the ways that README tells: by its own lines over the build, then over an installation of it elsewhere by
# find_package, and by pkg-config where there is one.
set -e
build=$1 source=$2 scratch=$3 version=$4
major=${version%%.*} minor=${version#*.} minor=${minor%%.*}
flags="-DQNM_MAJOR=$major -DQNM_MINOR=$minor"
rm -rf "$scratch"
mkdir -p "$scratch/consumer"
cmake --install "$build" --prefix "$scratch/usr" >"$scratch/install.log"

echo '#include <qnm/core/dft.h>' |
  ${CC:-cc} -std=c99 -Wall -Wextra -Wpedantic -Werror -I"$scratch/usr/include" -fsyntax-only -x c -
echo "for who writes a core: stands in C"

languages=C
! command -v gfortran >/dev/null || languages="C Fortran"
ways() { echo "$1: $languages built and ran"; }
run() { "$@" -o "$scratch/program" && "$scratch/program"; }

readme() { # COMPILER SOURCE FLAGS
  local line=$(sed -n "s/^    $1 program[^ ]* //p" "$source/../../README.md")
  test -n "$line"
  LD_LIBRARY_PATH=$build/lib run $1 $3 "$2" ${line//build\/release/$build}
}
readme cc "$source/program.c" "$flags"
[ "$languages" = C ] || readme gfortran "$source/complex_function.f90"
ways README

cat >"$scratch/consumer/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(consumer $languages)
find_package(qnm $major REQUIRED)
add_executable(consumer_C $source/program.c)
target_link_libraries(consumer_C PRIVATE qnm::layer qnm::core)
if("$languages" MATCHES Fortran)
  add_executable(consumer_Fortran $source/complex_function.f90)
  target_link_libraries(consumer_Fortran PRIVATE qnm::gnu qnm::layer qnm::core)
endif()
END
cmake -S "$scratch/consumer" -B "$scratch/consumer/build" -DCMAKE_PREFIX_PATH="$scratch/usr" \
  -DCMAKE_C_FLAGS="$flags" >"$scratch/configure.log"
cmake --build "$scratch/consumer/build" >"$scratch/build.log"
for language in $languages; do "$scratch/consumer/build/consumer_$language"; done
ways find_package

command -v pkg-config >/dev/null || { echo "pkg-config: not here, left out"; exit 0; }
description=$(find "$scratch/usr" -name qnm.pc)
export PKG_CONFIG_PATH=${description%/*}
test "$(pkg-config --modversion qnm)" = "$version"
export LD_LIBRARY_PATH=$(pkg-config --variable=libdir qnm)
run ${CC:-cc} $flags $(pkg-config --cflags qnm) "$source/program.c" $(pkg-config --libs qnm) -lqnm_core
for program in "$source/complex_function.f90" \
  "$(pkg-config --variable=includedir qnm)/qnm/qnm_dfti.f90 $source/../open/module_program.F90"; do
  [ "$languages" = C ] || run gfortran -J "$scratch" $program $(pkg-config --libs qnm-gnu) -lqnm_core
done
ways pkg-config
