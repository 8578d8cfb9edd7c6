#!/bin/sh
# The package installed the two ways users install it, each copy then imported
# from outside the source tree with nothing pointing at the library: by pip into
# a fresh venv, offline, with Debian's setuptools and wheel; by cmake --install
# under a prefix chosen only at install time, the library beside it in that
# prefix, found through the path recorded then. Either copy's __version__ must be
# the project's.
set -eu
python=$1 cmake=$2 build=$3 library=$4 libdir=$5 pydir=$6 version=$7 source=$8
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

check_version() {
  [ "$2" = "$version" ] && return
  echo "$1: brevant.__version__ is '$2', the project's is $version"
  exit 1
}
import='import brevant; print(brevant.__version__)'

# pip builds in the directory it is given; a copy keeps build/ and *.egg-info
# out of the source tree.
cp -r "$source" "$work/source"
"$python" -m venv --system-site-packages "$work/venv"
"$work/venv/bin/pip" install -q --no-index --no-build-isolation "$work/source"
check_version pip "$(cd / && env -u PYTHONPATH BREVANT_LIBRARY="$library" \
  "$work/venv/bin/python" -c "$import")"

for component in Runtime Python; do
  "$cmake" --install "$build" --prefix "$work/prefix" --component $component >/dev/null
done
check_version "cmake --install" "$(cd / && env -u BREVANT_LIBRARY -u LD_LIBRARY_PATH \
  PYTHONPATH="$work/prefix/$pydir" "$python" -c "$import")"

# Staged the way a Debian package is built, the recorded path has no stage in it.
DESTDIR="$work/stage" "$cmake" --install "$build" --prefix /usr --component Python >/dev/null
recorded=$(grep '^LIBRARY' "$work/stage/usr/$pydir/brevant/_installed.py")
expected="LIBRARY = \"/usr/$libdir/${library##*/}\""
[ "$recorded" = "$expected" ] || { echo "staged install records $recorded, not $expected"; exit 1; }
