#!/usr/bin/env bash
# check-abi.sh BUILD [--write]: the types that programs share with libannomend, as the folder BUILD installs them, have the
# layout and the virtual operations of packaging/abi/libannomend.abi. --write makes that file anew, for a change that is
# meant. The library's symbols are held against debian/libannomend1.symbols when the packages are built.
set -euo pipefail
cd "$(dirname "$0")/.."

# The types of another standard library and compiler read otherwise.
[[ "$(. /etc/os-release && echo "$VERSION_CODENAME")" == bookworm ]] ||
  { echo "check-abi: skipped, the file was made on Debian 12" >&2; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work" >/dev/null
headers=$work/include/annomend

# The toolkit's types have an ABI of their own: here they have names alone.
mkdir -p "$work/toolkit/dcmtk"/{config,dcmdata}
: >"$work/toolkit/dcmtk/config/osconfig.h"
echo 'class DcmDataset; class DcmFileFormat;' >"$work/toolkit/dcmtk/dcmdata/dctk.h"
g++ -std=c++17 -g -femit-class-debug-always -shared -fPIC -I "$work/toolkit" -I "$headers" packaging/abi/types.cpp \
  -o "$work/types.so"
abidw --headers-dir "$headers" --drop-private-types --no-corpus-path --no-comp-dir-path --no-show-locs --no-architecture \
  --no-elf-needed --no-parameter-names "$work/types.so" >"$work/abi"
if [[ ${2:-} == --write ]]; then
  mv "$work/abi" packaging/abi/libannomend.abi
else
  abidiff packaging/abi/libannomend.abi "$work/abi"
  echo "the types that programs share with libannomend are as they were"
fi
