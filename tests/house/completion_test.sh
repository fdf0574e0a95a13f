#!/usr/bin/env bash
# completion_test.sh COMPLETION FIHOST FILESNAP: what bash offers for fihost's command line, word for word. The
# words are given as readline breaks them; the last one is completed.
set -uo pipefail
source "$1"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export ORCA_INSTALL_ROOT=$work/root ORCA_PLUGIN_DIR=$work/plugins XDG_STATE_HOME=$work
mkdir -p "$work/root" "$work/plugins"
cp "$3" "$work/plugins/filesnap.so"
node="$work/a b:c=d\"e\\"
echo content >"$node"
"$2" snapshot --plugin filesnap "$node" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
snapshot=$(basename "$work"/.filesnap/a*)
id=${snapshot##*\\}
rm "$work/plugins/filesnap.so" # names are known without it
touch "$work/plugins/"{first,second}.so
cp -r "$work/fihost" "$work/other state"
failed=0

offers() { # EXPECTED WORD...
  local expected=$1
  shift
  COMP_WORDS=("$fihost" "$@") COMP_CWORD=$#
  COMP_LINE=${COMP_WORDS[*]} COMP_POINT=${#COMP_LINE}
  _fihost "$fihost" "${*: -1}"
  [[ "${COMPREPLY[*]}" == "$expected" ]] && return
  printf 'fihost %s: expected %s, got %s\n' "$*" "$expected" "${COMPREPLY[*]}"
  failed=1
}

fihost=$2
verbs=$("$fihost" --help | sed -n '/^Subcommands/,$s/^  \([a-z]*\)  .*/\1/p' | tr '\n' ' ')
offers "${verbs% }" ''
offers restore re
offers restore --timeout 5 --record list re
offers '--timeout --trace' --t
offers '--timeout --trace' list --t
offers '--only' check --on
offers 'disable enable' access ''
offers '' access enable ''
offers 'first second' probe --plugin ''
offers 'second' probe --plugin = s
offers '' probe --plugin first --state ''
plain=$work/.filesnap/a\\\ b:c=d\\\"e\\\\$id
offers "$plain" restore ''
offers "$plain" status "$work/"
offers "$plain" --state "'$work/other state'" restore ''
offers "$plain" --state = "$work/other\\ state" restore ''
offers '' --state "$work/none" restore ''
offers "c=d\\\"e\\\\$id" dispose "$work/.filesnap/a\\ b" :
offers "c=d\\\"e\\\\$id" dispose "$work/.filesnap/a\\ b" : c
offers "d\\\"e\\\\$id" dispose "$work/.filesnap/a\\ b" : c =
offers "$work/.filesnap/a b:c=d\\\"e\\\\$id" dispose "\"$work/.filesnap/a b:c"
offers "$work/.filesnap/a b:c=d\"e\\$id" adopt "'$work/.filesnap/a b:"
offers '' dispose "$work/.filesnap/a\\ b" : x
offers '' restore '$(touch "'"$work/run"'")'
fihost=$(realpath --relative-to="$PWD" "$2")
offers restore res
[ ! -e "$work/run" ] || { echo "what was typed was run"; failed=1; }
exit $failed
