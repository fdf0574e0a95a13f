#!/bin/sh
# private_usr.sh COMMAND [ARGUMENT...]
#
# Runs a command in a mount namespace of its own whose /usr is an overlay with a temporary upper
# folder, so that what the command writes below /usr/tarn vanishes with it. Where the system allows
# no such namespace the command runs as it is, and the tests that need one skip; it ends with 77 and
# the reason where it could then write to a /usr/tarn that is there.
set -eu

run_as_it_is() {
  if [ -w /usr/tarn ]; then
    echo "skipped: /usr/tarn is there, and no private mount namespace for this user"
    exit 77
  fi
  exec "$@"
}

if [ "${ORCA_PRIVATE_USR:-}" != inside ]; then
  flags=-m
  [ "$(id -u)" -eq 0 ] || flags=-rm
  unshare $flags true 2>/dev/null || run_as_it_is "$@"
  ORCA_PRIVATE_USR=inside exec unshare $flags "$0" "$@"
fi
unset ORCA_PRIVATE_USR
# The folder is only a mount point: what is mounted on it is seen in this namespace alone.
stage=/mnt
mount -t tmpfs tmpfs "$stage" && mkdir "$stage/upper" "$stage/work" &&
  mount -t overlay overlay -o "lowerdir=/usr,upperdir=$stage/upper,workdir=$stage/work" /usr ||
  run_as_it_is "$@"
rm -rf /usr/tarn
mkdir /usr/tarn
exec "$@"
