# package.sh BUILD SOURCE SCRATCH VERSION: installs the build elsewhere, then makes a program of the installation
# by find_package, and another by pkg-config where there is one.
set -e
build=$1 source=$2 scratch=$3 version=$4
major=${version%%.*} minor=${version#*.} minor=${minor%%.*}
flags="-DQNM_MAJOR=$major -DQNM_MINOR=$minor"
rm -rf "$scratch"
mkdir -p "$scratch/consumer"
cmake --install "$build" --prefix "$scratch/usr" >"$scratch/install.log"

cat >"$scratch/consumer/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(consumer C)
find_package(qnm $major REQUIRED)
add_executable(consumer $source/program.c)
target_link_libraries(consumer PRIVATE qnm::layer qnm::core)
END
cmake -S "$scratch/consumer" -B "$scratch/consumer/build" -DCMAKE_PREFIX_PATH="$scratch/usr" \
  -DCMAKE_C_FLAGS="$flags" >"$scratch/configure.log"
cmake --build "$scratch/consumer/build" >"$scratch/build.log"
"$scratch/consumer/build/consumer"
echo "find_package: built and ran"

if ! command -v pkg-config >/dev/null; then
  echo "pkg-config: not here, left out"
  exit 0
fi
description=$(find "$scratch/usr" -name qnm.pc)
export PKG_CONFIG_PATH=${description%/*}
ask() { pkg-config "$@" qnm; }
test "$(ask --modversion)" = "$version"
${CC:-cc} $flags $(ask --cflags) "$source/program.c" -o "$scratch/program" $(ask --libs) -lqnm_core
LD_LIBRARY_PATH=$(ask --variable=libdir) "$scratch/program"
echo "pkg-config: built and ran"
