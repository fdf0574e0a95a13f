# orca_provider_test.sh FOLDER [FILE...] -- FIHOST WORD...
# Makes the folder anew, copies the files into it, and there runs the host with a state and an
# install root of its own.
set -eu
folder=$1
shift
rm -rf "$folder"
mkdir -p "$folder"
while [ "$1" != -- ]; do
  cp -R "$1" "$folder"
  shift
done
shift
cd "$folder"
fihost=$1
shift
export ORCA_INSTALL_ROOT="${ORCA_INSTALL_ROOT:-$folder}"
exec "$fihost" --state "$folder/state" "$@"
