#!/usr/bin/env bash
# package_test.sh BUILD_FOLDER: makes the Debian packages of a build, unpacks them into an empty folder, and
# there builds the guide's provider with nothing else of the kit, and drives it and a sample.
set -euo pipefail
build=$(realpath "$1")
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$root/script/package" "$build" "$work/packages"
lintian --allow-root --fail-on error "$work"/packages/*.deb
for package in "$work"/packages/*.deb; do
  dpkg-deb -x "$package" "$work/unpacked"
  if dpkg-deb -I "$package" conffiles >"$work/conffiles" 2>&1; then
    echo "$package has files of settings:"; cat "$work/conffiles"; exit 1
  fi
done

# Everything that is installed is in a package, and nothing else but changelogs and copyrights.
listed() { (cd "$1" && find . ! -path './usr/share/doc*' | sed 's/\.gz$//' | sort); }
DESTDIR=$work/installed cmake --install "$build" --prefix /usr >/dev/null
diff <(listed "$work/installed") <(listed "$work/unpacked")

needs() { # PACKAGE NEEDED...
  local needed depends
  depends=", $(dpkg-deb -f "$work"/packages/"$1"_*.deb Depends),"
  for needed in "${@:2}"; do
    [[ $depends == *", $needed"[,\ ]* ]] || { echo "$1 does not depend on $needed but on${depends#,}"; exit 1; }
  done
}
version=$(dpkg-deb -f "$work"/packages/fihost_*.deb Version)
needs liborca-pdk4.4 libace-7.0.8 libicu72 libstdc++6 libxerces-c3.2
needs fihost "liborca-pdk4.4 (= $version)" libsqlite3-0
needs orca-pdk-samples "liborca-pdk4.4 (= $version)"
needs liborca-pdk-dev "liborca-pdk4.4 (= $version)" "fihost (= $version)" libace-dev libicu-dev icu-devtools \
  libxerces-c-dev pkg-config

prefix=$work/unpacked/usr
export LD_LIBRARY_PATH=$prefix/lib
python3 "$root/tests/house/guide_blocks.py" "$root/docs/provider-guide.md" "$work/guide" >/dev/null
{ cmake -S "$work/guide" -B "$work/built" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" &&
  cmake --build "$work/built"; } >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
echo content >"$work/data.img"
"$prefix/bin/fihost" --state "$work/state" snapshot --plugin "$work/built/firstsnap.so" "$work/data.img"
cmp "$work/data.img" "$work/data.img.snap"
"$prefix/bin/fihost" --state "$work/state" snapshot --plugin filesnap "$work/data.img"
"$prefix/bin/fihost" --state "$work/state" list | grep "by filesnap"
"$prefix/bin/fiarray" --help >/dev/null
"$prefix/bin/firecord" --to "$work/recording" -- true
