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
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_UNITY_BUILD=ON >"$work/$2.log" 2>&1 &&
    cmake --build "$work/$2/build" >>"$work/$2.log" 2>&1 &&
    cmake --install "$work/$2/build" >>"$work/$2.log" 2>&1 || { cat "$work/$2.log"; exit 1; }
}

cp -r "$root/examples/common" "$work"
for sample in "$root"/examples/*/CMakeLists.txt; do
  sample=$(dirname "$sample")
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

# Every block of the guides is built or run: here what stands in files and pieces, in
# new_project_test.sh what begins a project.
guide=$work/guide
python3 "$root/tests/house/guide_blocks.py" "$root/docs/array-guide.md" "$work/array_guide" >"$work/blocks"
python3 "$root/tests/house/guide_blocks.py" "$root/docs/provider-guide.md" "$guide" >>"$work/blocks"
diff - "$work/blocks" <<EOF
from_an_arrays_tool_to_a_provider.sh
fragments.cpp
recording-tool
playing-tool
try.sh
the_first_ten_minutes.sh
CMakeLists.txt
firstsnap.cpp
root.txt
from_an_empty_folder_to_a_running_provider.sh
treesnap/CMakeLists.txt
treesnap/treesnap.cpp
treesnap/root.txt
treesnap/de.txt
a_provider_with_all_that_users_expect.sh
while_you_work_on_it.sh
fragments.cpp
a_regression_test_is_a_file.sh
a_regression_test_is_a_file.cmake
EOF
for pieces in "$guide" "$work/array_guide"; do
  g++ -std=c++20 -fsyntax-only $(pkg-config --cflags orca_pdk) "$pieces/fragments.cpp"
done
commands() { # SECTION FOLDER: runs the commands of a section there
  sed "s|/tmp|$work|g; s|\bPREFIX\b|$prefix|g" "$guide/$1.sh" >"$work/commands"
  (cd "$2" && PATH=$prefix/bin:$PATH XDG_STATE_HOME=$work/state bash -euxo pipefail "$work/commands") \
    >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
}
commands from_an_empty_folder_to_a_running_provider "$guide"
cmp "$work/data.img" "$work/data.img.snap"
commands a_provider_with_all_that_users_expect "$guide"
for id in config.values_stay errors.languages snapshot.content snapshot.restore snapshot.damaged kills.make kills.restore; do
  grep -q "^passed   $id$" "$work/log" || { cat "$work/log"; echo "treesnap: $id was not tried"; exit 1; }
done

# A recorded session is a test of CTest, green twice and then, changed by one expectation, red.
tests=$work/tests
mkdir -p "$tests/testdata" "$tests/build"
cp "$plugins/filesnap.so" "$tests/build/mine.so"
printf 'content' >"$tests/testdata/db.img"
commands a_regression_test_is_a_file "$tests"
cat - "$guide/a_regression_test_is_a_file.cmake" >"$tests/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(sessions LANGUAGES CXX)
find_package(orca_pdk 4.4 REQUIRED)
add_library(mine MODULE IMPORTED)
set_target_properties(mine PROPERTIES IMPORTED_LOCATION "$plugins/filesnap.so")
orca_add_message_catalog(mine_catalog NAME filesnap
  SOURCES "$root/examples/filesnap/messages/root.txt" "$root/examples/filesnap/messages/de.txt")
EOF
cmake -S "$tests" -B "$tests/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$tests/build" >/dev/null
ctest --test-dir "$tests/build" --output-on-failure | tail -20
ctest --test-dir "$tests/build" -R keeps_three --output-on-failure | tail -20
sed -i 's/status ready/status absent/' "$tests/keeps_three.session"
if ctest --test-dir "$tests/build" -R keeps_three -V >"$work/red.txt"; then
  echo "a session with a wrong expectation passes"; exit 1
fi
grep -q "keeps_three.session:[0-9]*: getStatus .*db.img: expected status absent, got ready" "$work/red.txt"

# What the array guide says of recordings.
recorded=$work/array_guide
(cd "$recorded" && PATH=$prefix/bin:$PATH sh -ex try.sh >try.txt 2>&1) || { cat "$recorded/try.txt"; exit 1; }
grep -q 'not recorded: \["list","E2"\]; all calls were played; nearest is call 3' "$recorded/try.txt"
grep -q 'status 124' "$recorded/try.txt"
if grep -q -e secret -e "$work" "$recorded/session"; then echo "a secret is recorded"; exit 1; fi
echo "built and loaded against the install"
