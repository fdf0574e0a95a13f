#!/bin/sh
# check_sample.sh FIHOST BUILD filesnap|arraysnap|btrfssnap [OPTION...]
#
# Runs `fihost check` on a sample provider, or on SAMPLE_PLUGIN in its place, in a temporary folder with
# two nodes, an install root and, for arraysnap, a disk array, for btrfssnap a file system. All must be
# kept, and none skipped but those that cannot apply.
set -eu
fihost=$1 examples=$2/examples sample=$3
shift 3
work=$(mktemp -d)
trap '[ "$sample" != btrfssnap ] || umount "$work/data" 2>/dev/null || :; rm -rf "$work"' EXIT
export ORCA_INSTALL_ROOT="$work/root"
mkdir -p "$work/root/resources" "$work/root/lib/orca/configfiles" "$work/data"
ln -s "$examples/$sample/resources/lib$sample" "$work/root/resources/"

if [ "$sample" = filesnap ]; then
  for name in a.img b.img; do
    head -c 100000 /dev/urandom >"$work/data/$name"
  done
  content='if [ -d "$1" ]; then cat "$1/data"; else cat "$1"; fi'
  inapplicable='node.marker node.front node.groups resources.import_again resources.deport_again
    resources.numbers faults.commands faults.delays kills.import kills.deport'
  set -- "$work/data/a.img" "$work/data/b.img" --content "$content" --destructive "$@"
elif [ "$sample" = btrfssnap ]; then
  # In a mount namespace of this run's own: file system and loop device go with its last process.
  "$(dirname "$0")/../script/btrfs_volume" /mnt/image "$work/data" || exit 77
  for name in a b; do
    btrfs -q subvolume create "$work/data/$name"
    mkdir "$work/data/$name/folder"
    head -c 100000 /dev/urandom >"$work/data/$name/folder/file"
  done
  inapplicable='node.marker node.front node.groups config.take_choices config.other_choices
    resources.numbers snapshot.damaged faults.commands faults.delays'
  set -- "$work/data/a" "$work/data/b" --content 'tar --sort=name --mtime=@0 -cf - -C "$1" .' --destructive "$@"
else
  tool=$examples/arraysnap/fiarray/fiarray
  export FIARRAY_STATE="$work/array"
  printf 'admin\nsecret\n' >"$work/login"
  array() { "$tool" "$@" <"$work/login" >>"$work/log"; }
  array init --files-only
  array add-enclosure E1
  for device in D0 D1 D2 D3; do
    array add-device E1 $device 1M
  done
  cat >"$work/root/lib/orca/configfiles/arraysnap_array.conf" <<EOF
[ARRAYSNAP]
"TOOL"="$tool"
"STATE"="$FIARRAY_STATE"
"TIMEOUT"=dword:00000005
[CREDENTIALS]
[CREDENTIALS\\main]
"HOSTNAME"="array1"
"USERNAME"="admin"
"PASSWORD"="secret"
EOF
  chmod 600 "$work/login" "$work/root/lib/orca/configfiles/arraysnap_array.conf"
  path_of="\"$tool\" list E1 \"\${1##*##}\" <\"$work/login\" | sed -n 's/^.*path=\\([^ ]*\\).*\$/\\1/p'"
  for device in D0 D2; do
    head -c 1M /dev/urandom | dd of="$(sh -c "set -- $device; $path_of")" conv=notrunc status=none
  done
  node='<arraysnap>UDID##FIARRAY##DISK##E1##'
  inapplicable='config.take_bounds config.past_bounds config.wrong_type snapshot.differ snapshot.source
    snapshot.restore snapshot.damaged snapshot.absent faults.commands faults.delays
    kills.restore'
  set -- "${node}D0" "${node}D2" --content "cat \"\$($path_of)\"" \
    --set 'snapshot_resource_spec=[E1##D0;D1][E1##D2;D3]' "$@"
fi
plugin=${SAMPLE_PLUGIN:-$examples/$sample/$sample.so}
"$fihost" --state "$work/state" check --plugin "$plugin" "$@" >"$work/out" 2>&1 || failed=1
cat "$work/out"
for id in $(sed -n -e '/with a sanitizer/d' -e 's/^skipped  \([^ ]*\).*/\1/p' "$work/out"); do
  case " $(echo $inapplicable) " in *" $id "*) ;; *) echo "$id applies, and was skipped"; failed=1 ;; esac
done
exit "${failed:-0}"
