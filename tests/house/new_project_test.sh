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

commands() { # FILE FOLDER: runs them there
  sed "s|/tmp|$work|g; s|\bPREFIX\b|$work/prefix|g" "$1" >"$work/commands"
  (cd "$2" && bash -euxo pipefail "$work/commands") >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
}
try() { # NAME GUIDE SECTION REQUIREMENT...: those must apply
  local name=$1 guide=$work/$2 section=$3 project=$work/$1
  shift 3
  python3 "$root/tests/house/guide_blocks.py" "$root/docs/${guide##*/}.md" "$guide" >/dev/null
  commands "$guide/$section.sh" "$work"
  for id in "$@"; do
    grep -q "^passed   $id$" "$project/build/Testing/Temporary/LastTest.log" ||
      { cat "$work/log"; echo "$name: $id was not tried"; exit 1; }
  done
  python3 "$root/tests/house/guide_blocks.py" "$project/README.md" "$work/readme" >/dev/null
  sed "s|SNAPSHOT|\"\$(fihost list \| sed 's/  of .*//')\"|" "$work/readme/driving_it.sh" >"$work/drive"
  commands "$work/drive" "$project"
  grep -q "^disposed " "$work/log"
  cmake --install "$project/build" --prefix "$work/prefix" >/dev/null
  fihost probe --plugin "$name" | grep "^provider  $name$"
}
try demo provider-guide the_first_ten_minutes config.labels errors.languages snapshot.content snapshot.restore \
  snapshot.damaged faults.ids kills.make kills.restore
commands "$work/provider-guide/while_you_work_on_it.sh" "$work/demo"
try demoarray array-guide from_an_arrays_tool_to_a_provider node.front config.labels snapshot.content snapshot.all_or_none \
  faults.commands faults.delays kills.make kills.dispose
