#!/usr/bin/env bash
# new_project_test.sh BUILD_FOLDER: installs the build into a fresh prefix and there begins two providers
# as the guides say, checks them, and drives them as their own READMEs say.
set -euo pipefail
build=$1
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
export PATH=$work/prefix/bin:$PATH LD_LIBRARY_PATH= XDG_STATE_HOME=$work/state
export CMAKE_GENERATOR=Ninja CXXFLAGS="-Wshadow -Werror"
unset ORCA_INSTALL_ROOT ORCA_PLUGIN_DIR

block() { # GUIDE NUMBER: a block of commands
  awk -v wanted="$2" '/^```sh/ { number++; on = 1; next } /^```/ { on = 0 } on && number == wanted' "$1"
}
try() { # NAME GUIDE REQUIREMENT...: those must apply
  local name=$1 guide=$2 log=$work/$1.log project=$work/$1
  shift 2
  (cd "$work" && bash -eux <(block "$root/docs/$guide" 1)) >"$log" 2>&1 || { cat "$log"; exit 1; }
  for id in "$@"; do
    grep -q "^passed   $id$" "$project/build/Testing/Temporary/LastTest.log" ||
      { cat "$log"; echo "$name: $id was not tried"; exit 1; }
  done
  block "$project/README.md" 2 |
    sed "s|/tmp|$work|g; s|SNAPSHOT|\"\$(fihost list \| sed 's/  of .*//')\"|" >"$work/drive"
  (cd "$project" && bash -euxo pipefail "$work/drive") >"$log" 2>&1 || { cat "$log"; exit 1; }
  grep -q "^disposed " "$log"
  cmake --install "$project/build" --prefix "$work/prefix" >/dev/null
  fihost probe --plugin "$name" | grep "^provider  $name$"
}
try demo provider-guide.md config.labels errors.languages snapshot.content snapshot.restore \
  snapshot.damaged faults.ids kills.make kills.restore
try demoarray array-guide.md node.front config.labels snapshot.content snapshot.all_or_none \
  faults.commands faults.delays kills.make kills.dispose
