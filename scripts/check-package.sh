#!/usr/bin/env bash
# check-package.sh BUILD: installs the folder BUILD into a scratch prefix, and builds and runs a program against what
# was installed, found once by CMake and once by pkg-config.
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work/prefix" >/dev/null
"$1/bin/annomend-samples" "$work/archive"
export TARN_DB_URL=sqlite::memory: TARN_LOG=none

expected=$'text: 1 of 1, 1 frame number removed, 2 objects, messages: File CT.1.2.826.0.1.7770001.2.11.1.20.1.6 was not found in the database - checking referenced series sequence'
check() {
  local said
  said=$("$1" "$work/archive/states/image-elsewhere.dcm")
  [[ "$said" == "$expected" ]] || { echo "$1 said: $said" >&2; return 1; }
}

cmake -S tests/package -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
check "$work/cmake/consumer"

libdir=$(dirname "$(find "$work/prefix" -name libannomend.so)")
export PKG_CONFIG_PATH="$libdir/pkgconfig" LD_LIBRARY_PATH="$libdir"
# shellcheck disable=SC2046
c++ -std=c++17 tests/package/consumer.cpp -o "$work/consumer" \
  $(pkg-config --define-prefix --cflags --libs annomend) -loflog
check "$work/consumer"

# The MySQL backend is a module: found wherever the working directory is, and missed with one line.
export TARN_DB_URL='mysql://nobody@localhost/archive?socket=/nowhere'
refused() {
  local said
  said=$(cd "$work" && "$@" 2>&1) && { echo "$1 did without a database" >&2; return 1; }
  [[ "$said" == *"cannot open database $TARN_DB_URL: $reason"* ]] || { echo "$1 said: $said" >&2; return 1; }
}
both_refused() {
  reason=$1
  refused "$work/prefix/bin/annomend" -N -f "$work/archive/states/image-elsewhere.dcm"
  LD_LIBRARY_PATH='' refused "$work/cmake/consumer" "$work/archive/states/image-elsewhere.dcm"
}
both_refused "cannot connect: Can't connect to local server through socket '/nowhere'"
module=$(find "$work/prefix" -name 'libannomend-mysql-*.so')
mv "$module" "$work"
both_refused "the MySQL backend cannot be loaded: "
