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
for program in "$prefix"/bin/*; do
    [ -s "$prefix/share/man/man1/${program##*/}.1" ] || fail "$program has no page"
done
[ -s "$prefix/share/bash-completion/completions/qnm-run" ] || fail "no completion"
for file in $(grep -rlaF "$root/" "$prefix/lib" "$prefix/bin"); do # this prefix is itself in the build's folder
    ! sed "s|$prefix||g" "$file" | grep -qaF "$root/" || fail "$file has a folder of the build"
done

! cmake -S "$root" -B refused -DBUILD_SHARED_LIBS=OFF >refused.log 2>&1 && grep -q "no static library" refused.log ||
  fail "a static layer"
bash "$source/installed.sh" "$prefix" "$version" "$scratch"

# Behind a link, as the system's administrator chooses one among cores, a core finds what lies beside its file.
if command -v python3 >/dev/null; then
  mkdir "$prefix/lib/one"
  mv "$prefix"/lib/libqnm_{core.so.2,kernels.so} "$prefix/lib/one"
  ln -s one/libqnm_core.so.2 "$prefix/lib"
  python3 - "$prefix/lib/libqnm.so.2" <<'END' || fail "a core behind a link"
import ctypes, math, sys
values = (ctypes.c_double * 1)(1)
ctypes.CDLL(sys.argv[1]).vdExp(1, values, values)
assert math.isclose(values[0], math.e, rel_tol=1e-15), values[0]
END
  mv "$prefix"/lib/one/* "$prefix/lib"
  rmdir "$prefix/lib/one"
fi

"$root/tools/uninstall" "$build" "$prefix"
[ ! -e "$prefix" ] || fail "left behind: $(find "$prefix" | head)"
