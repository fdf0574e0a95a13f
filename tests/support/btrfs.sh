#!/bin/sh
# btrfs.sh IMAGE FOLDER: mounts a new Btrfs file system of 256 MiB on a folder. The image is gone at
# once, the loop device when the file system is unmounted. Ends with 77 and the reason where that
# cannot be done, and where the mount would not go with the processes that need it: it takes
# private_usr.sh, or another mount namespace and ORCA_MOUNTS_APART.
skip() {
  rm -f "$image"
  echo "skipped: $1"
  exit 77
}
image=$1 folder=$2
[ "$(id -u)" -eq 0 ] || skip "only root can mount a file system"
[ -n "${ORCA_MOUNTS_APART:-}" ] || grep -q ' /usr .* - overlay ' /proc/self/mountinfo ||
  skip "it takes a mount namespace of its own"
command -v mkfs.btrfs >/dev/null || skip "btrfs-progs is not installed"
truncate -s 256M "$image" && mkfs.btrfs -q "$image" >/dev/null 2>&1 || skip "no image can be made"
mount -o loop "$image" "$folder" 2>/dev/null || skip "no loop device, or no Btrfs in this kernel"
rm -f "$image"
