# package.sh BUILD SOURCE SCRATCH VERSION: installs a build elsewhere, has programs made of it, and takes it back.
set -e
build=$1 source=$2 scratch=$3 version=$4
root=$(cd "$source/../.." && pwd)
rm -rf "$scratch"
mkdir -p "$scratch"
cd "$scratch"
fail() {
  echo "FAILED: $*"
  exit 1
}

# By way of a folder that is not the one of use, as packages are made.
prefix=$scratch/usr
DESTDIR=$scratch/staged cmake --install "$build" --prefix "$prefix" >install.log
mv "$scratch/staged$prefix" "$prefix"
[ -s "$prefix/share/doc/qnm/LICENSE" ] && [ -s "$prefix/share/doc/qnm/docs/design.md" ] || fail "licence or pages"
for file in $(grep -rlaF "$root/" "$prefix/lib" "$prefix/bin"); do # this prefix is itself in the build's folder
    ! sed "s|$prefix||g" "$file" | grep -qaF "$root/" || fail "$file has a folder of the build"
done

! cmake -S "$root" -B refused -DBUILD_SHARED_LIBS=OFF >refused.log 2>&1 && grep -q "no static library" refused.log ||
  fail "a static layer"
bash "$source/installed.sh" "$prefix" "$version" "$scratch"

"$root/tools/uninstall" "$build" "$prefix"
[ ! -e "$prefix" ] || fail "left behind: $(find "$prefix" | head)"
