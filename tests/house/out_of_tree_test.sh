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
plugins=$(pkg-config --variable=plugindir orca_pdk)

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

# A session of the guide's kind is a test of CTest, green and then, changed by one expectation, red.
mkdir "$work/sessions"
cat >"$work/sessions/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(sessions LANGUAGES CXX)
find_package(orca_pdk 4.4 REQUIRED)
enable_testing()
add_library(copier MODULE IMPORTED)
set_target_properties(copier PROPERTIES IMPORTED_LOCATION "$plugins/filesnap.so")
orca_add_provider_test(copies SESSION copies.session PLUGIN copier FILES db.img)
EOF
printf 'content' >"$work/sessions/db.img"
printf '%s\n' init 'initNode db.img' 'prepare db.img' 'make db.img' 'expect count snapshots 1' \
  'getStatus db.img $snapshot1' 'expect status ready' 'deInitNode db.img' fini \
  >"$work/sessions/copies.session"
cmake -S "$work/sessions" -B "$work/sessions/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
for round in 1 2; do ctest --test-dir "$work/sessions/build" --output-on-failure | tail -20; done
sed -i 's/status ready/status absent/' "$work/sessions/copies.session"
if ctest --test-dir "$work/sessions/build" -V >"$work/red.txt"; then
  echo "a session with a wrong expectation passes"; exit 1
fi
grep -q "copies.session:7: getStatus .*db.img: expected status absent, got ready" "$work/red.txt"

# The guide's first provider is exactly what its code blocks say.
python3 "$root/tests/house/guide_blocks.py" "$root/docs/provider-guide.md" "$work/guide"
build_against_install "$work/guide" guide_build
"$fihost" --state "$work/state" probe --plugin "$plugins/firstsnap.so"
echo "built and loaded against the install"
