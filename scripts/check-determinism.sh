#!/usr/bin/env bash
# check-determinism.sh BUILD ASAN: the same input gives the same bytes with GCC and clang, fully and hardly optimized.
# Compares what the programs of the folder BUILD (GCC, -O3) make of the sample states with what those of the folder ASAN
# (the preset asan: GCC, -O0) make of them, and those of clang with -O3. Another version of GCC: scripts/test-on.sh.
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
source scripts/sample-archive.sh

# compare BUILD WHAT
compare() {
  (export PATH="$(realpath "$1")/bin:$PATH"; convert_samples "$work/archive" "$work/other")
  diff -r "$work/reference" "$work/other"
  echo "$2: the same bytes"
}

use_sample_archive "$(realpath "$1")" "$work/archive"
make_sample_archive "$work/archive"
convert_samples "$work/archive" "$work/reference"

compare "$2" "GCC, -O0"
cmake -S . -B build/clang -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Release -DANNOMEND_BUILD_TESTS=OFF \
  -DANNOMEND_BUILD_BENCHMARKS=OFF >/dev/null
ninja -C build/clang --quiet annomend
compare build/clang "clang, -O3"
