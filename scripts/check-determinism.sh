#!/usr/bin/env bash
# The same input gives the same bytes with GCC and clang, unoptimized and fully optimized: builds the converter four
# times and compares what each makes of the sample states.
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
source scripts/sample-archive.sh

convert_with() {
  local name=$1 compiler=$2 level=$3 build=$PWD/build/determinism/$1
  cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache \
    -DCMAKE_CXX_FLAGS="$level" -DANNOMEND_BUILD_TESTS=OFF -DANNOMEND_BUILD_BENCHMARKS=OFF >/dev/null
  ninja -C "$build" --quiet annomend
  (export PATH="$build/bin:$PATH"; convert_samples "$work/archive" "$work/$name")
}

use_sample_archive "$PWD/build/release" "$work/archive"
make_sample_archive "$work/archive"
convert_with gcc-O0 g++ -O0
for variant in "gcc-O3 g++ -O3" "clang-O0 clang++ -O0" "clang-O3 clang++ -O3"; do
  read -r name compiler level <<<"$variant"
  convert_with "$name" "$compiler" "$level"
  diff -r "$work/gcc-O0" "$work/$name"
  echo "$name: the same bytes as gcc-O0"
done
