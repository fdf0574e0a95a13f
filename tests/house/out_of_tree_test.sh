#!/usr/bin/env bash
# out_of_tree_test.sh BUILD_FOLDER: installs the build into a fresh prefix and there builds the
# samples and the guide's provider with nothing but what was installed; then runs them.
set -euo pipefail
build=$1
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
fihost=$prefix/bin/fihost
export LD_LIBRARY_PATH=
export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name orca_pdk.pc)")
plugins=$(pkg-config --define-variable=prefix="$prefix" --variable=plugindir orca_pdk)

build_against_install() { # SOURCE NAME
  cp -r "$1" "$work/$2"
  cmake -S "$work/$2" -B "$work/$2/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_BUILD_TYPE=Debug >"$work/$2.log" 2>&1 &&
    cmake --build "$work/$2/build" >>"$work/$2.log" 2>&1 &&
    cmake --install "$work/$2/build" >>"$work/$2.log" 2>&1 || { cat "$work/$2.log"; exit 1; }
}

for sample in "$root"/examples/*/; do
  name=$(basename "$sample")
  build_against_install "$sample" "$name"
  if readelf -d "$plugins/$name.so" | grep -q RUNPATH.*"$build"; then
    echo "$name.so remembers the build folder"; exit 1
  fi
  "$fihost" --state "$work/state" probe --plugin "$plugins/$name.so" | tee "$work/probe.txt"
  grep -q 4.4 "$work/probe.txt"
done

# The host works in the root that it is installed in.
[ -d "$prefix/lib/orca/cachefiles" ]
env -u ORCA_INSTALL_ROOT "$fihost" --state "$work/state" params --plugin "$plugins/filesnap.so" \
  "$work/probe.txt" | grep "Number of snapshots of a file that are kept"

# The guide's first provider is exactly what its code blocks say.
python3 "$root/tests/house/guide_blocks.py" "$root/docs/provider-guide.md" "$work/guide"
build_against_install "$work/guide" guide_build
"$fihost" --state "$work/state" probe --plugin "$plugins/firstsnap.so"
echo "built and loaded against the install"
