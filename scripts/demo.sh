#!/usr/bin/env bash
# Builds the programs, makes a sample archive with the embedded database, converts its presentation states, and shows
# what came out and the report, which ends with the page to open in a browser. Installs what is missing first.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh build demo
log=$(mktemp)
trap 'rm -f "$log"' EXIT
[[ -f build/release/build.ninja ]] || cmake --preset release >"$log" || { cat "$log" >&2; exit 1; }
if ! ninja -C build/release annomend-archive annomend-samples tarnctl annomend_repository_handler >"$log"; then
  cat "$log" >&2
  exit 1
fi

source scripts/sample-archive.sh
archive=$PWD/build/demo
use_sample_archive "$PWD/build/release" "$archive"
make_sample_archive "$archive"
# Status 3: the samples hold an image that nothing knows and a kind of annotation that no converter knows.
annomend-archive convert -o "$archive/converted" "$archive/states" --progress none >"$log" || [[ $? -eq 3 ]] ||
  { cat "$log" >&2; exit 1; }

/usr/bin/python3 scripts/show_results.py "$archive/converted"
echo
annomend-archive report "$archive/converted"
echo
annomend-archive report "$archive/converted" --html "$archive/report" --pictures all
