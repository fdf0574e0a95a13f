# orca_provider_test.sh FOLDER [FILE | --catalog FOLDER | --settings FILE]... -- FIHOST WORD...
# Makes the folder anew, copies the files into it, and there runs the host with a state of its own.
# The folder is the install root, too, where it got a catalog or settings, or no other is set.
set -eu
folder=$1
shift
rm -rf "$folder"
mkdir -p "$folder"
into() { # FOLDER FILE: copies it into the install root
  export ORCA_INSTALL_ROOT="$folder"
  mkdir -p "$folder/$1"
  cp -R "$2" "$folder/$1"
}
while [ "$1" != -- ]; do
  case $1 in
    --catalog) into resources "$2"; shift ;;
    --settings) into lib/orca/configfiles "$2"; shift ;;
    *) cp -R "$1" "$folder" ;;
  esac
  shift
done
shift
cd "$folder"
fihost=$1
shift
export ORCA_INSTALL_ROOT="${ORCA_INSTALL_ROOT:-$folder}"
exec "$fihost" --state "$folder/state" "$@"
