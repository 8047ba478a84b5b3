#!/usr/bin/env bash
# check-determinism.sh BUILD: the same input gives the same bytes with GCC and clang, unoptimized and fully optimized.
# Compares what the programs of the folder BUILD (GCC, -O3) make of the sample states with three builds of its own.
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
source scripts/sample-archive.sh

convert_with() {
  local name=$1 compiler=$2 level=$3 build=$PWD/build/determinism/$1
  cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_COMPILER_LAUNCHER="env;CCACHE_BASEDIR=$PWD;CCACHE_NOHASHDIR=1;ccache" \
    -DCMAKE_CXX_FLAGS="$level" -DANNOMEND_BUILD_TESTS=OFF -DANNOMEND_BUILD_BENCHMARKS=OFF >/dev/null
  ninja -C "$build" --quiet annomend
  (export PATH="$build/bin:$PATH"; convert_samples "$work/archive" "$work/$name")
}

use_sample_archive "$(realpath "$1")" "$work/archive"
make_sample_archive "$work/archive"
convert_samples "$work/archive" "$work/reference"
for variant in "gcc-O0 g++ -O0" "clang-O0 clang++ -O0" "clang-O3 clang++ -O3"; do
  read -r name compiler level <<<"$variant"
  convert_with "$name" "$compiler" "$level"
  diff -r "$work/reference" "$work/$name"
  echo "$name: the same bytes as $1"
done
