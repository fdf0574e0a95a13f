#!/bin/sh
# private_usr.sh COMMAND [ARGUMENT...]
#
# Runs a command in a mount namespace of its own whose /usr is an overlay with a temporary upper
# folder, so that what the command writes below /usr/tarn vanishes with it. Ends with 77 and the
# reason where the system allows no such namespace.
set -eu
if [ "${ORCA_PRIVATE_USR:-}" != inside ]; then
  flags=-m
  [ "$(id -u)" -eq 0 ] || flags=-rm
  if ! unshare $flags true 2>/dev/null; then
    echo "skipped: no private mount namespace (unshare $flags) for this user"
    exit 77
  fi
  ORCA_PRIVATE_USR=inside exec unshare $flags "$0" "$@"
fi
# The folder is only a mount point: what is mounted on it is seen in this namespace alone.
stage=/mnt
mount -t tmpfs tmpfs "$stage"
mkdir "$stage/upper" "$stage/work"
if ! mount -t overlay overlay -o "lowerdir=/usr,upperdir=$stage/upper,workdir=$stage/work" /usr; then
  echo "skipped: no overlay over /usr for this user"
  exit 77
fi
rm -rf /usr/tarn
mkdir /usr/tarn
unset ORCA_PRIVATE_USR
exec "$@"
