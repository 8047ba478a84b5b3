#!/usr/bin/env bash
# check-faults.sh BUILD [-v]: every system call of whole conversions by the program of the folder BUILD fails once.
set -euo pipefail
cd "$(dirname "$0")/.."

build=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
source scripts/sample-archive.sh
use_sample_archive "$build" "$work/archive"
make_sample_archive "$work/archive" >/dev/null
/usr/bin/python3 tests/faults/check_faults.py "$work/archive" "${@:2}"
