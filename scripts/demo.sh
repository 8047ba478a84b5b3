#!/usr/bin/env bash
# Builds the programs, makes a sample archive with the embedded database, converts its presentation states and shows
# what came out. Installs what is missing first.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
log=$(mktemp)
trap 'rm -f "$log"' EXIT
[[ -f build/release/build.ninja ]] || cmake --preset release >"$log" || { cat "$log" >&2; exit 1; }
if ! ninja -C build/release annomend annomend-samples tarnctl annomend_repository_handler >"$log"; then
  cat "$log" >&2
  exit 1
fi

source scripts/sample-archive.sh
archive=$PWD/build/demo
use_sample_archive "$PWD/build/release" "$archive"
make_sample_archive "$archive"
convert_samples "$archive" "$archive/converted"

/usr/bin/python3 scripts/show_results.py "$archive/converted"
echo
echo "Messages of the converter:"
sed 's/^/  /' "$archive/converted.log"
