#!/usr/bin/env bash
# check-faults.sh BUILD: every system call of whole conversions by the program of the folder BUILD fails once.
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/sample-archive.sh
begin_with_samples "$1"
/usr/bin/python3 tests/faults/check_faults.py "$work/archive"
