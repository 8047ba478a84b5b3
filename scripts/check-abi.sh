#!/usr/bin/env bash
# check-abi.sh BUILD [--write]: the library that the folder BUILD installs has the symbols of debian/libannomend1.symbols,
# and the types that programs share with it have the layout and the virtual operations of packaging/abi/libannomend.abi.
# --write makes that second file anew, for a change that is meant.
set -euo pipefail
cd "$(dirname "$0")/.."

# The types of another standard library and compiler read otherwise.
[[ "$(. /etc/os-release && echo "$VERSION_CODENAME")" == bookworm ]] ||
  { echo "check-abi: skipped, the file was made on Debian 12" >&2; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work" >/dev/null
headers=$work/include/annomend

dpkg-gensymbols -plibannomend1 -v"$(dpkg-parsechangelog -S Version)" -Idebian/libannomend1.symbols -c4 -O/dev/null \
  -e"$(find "$work" -name 'libannomend.so.*.*.*')" || { echo "check-abi: the symbols differ, or are new" >&2; exit 1; }

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
  echo "the symbols of libannomend, and the types that programs share with it, are as they were"
fi
