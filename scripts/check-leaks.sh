#!/usr/bin/env bash
# check-leaks.sh BUILD: conversions by the programs of the folder BUILD, good ones and failures, lose no memory and read
# none that was not written, as valgrind sees it.
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/sample-archive.sh
begin_with_samples "$1"
archive=$work/archive

# checked STATUS COMMAND...: runs the command, which is to end with STATUS.
checked() {
  local expected=$1 status=0
  shift
  valgrind -q --leak-check=full --errors-for-leak-kinds=definite,indirect,possible \
    --show-leak-kinds=definite,indirect,possible --error-exitcode=99 --log-file="$work/faults" \
    "$@" >"$work/shown" 2>&1 || status=$?
  [[ $status -eq $expected && ! -s $work/faults ]] && return
  echo "check-leaks: status $status, not $expected: $*" >&2
  cat "$work/shown" "$work/faults" >&2
  exit 1
}

state=$archive/states/several-images.dcm
touch "$work/empty.dic"

# The command: an import that fails, one that works, each way to fail before and after the conversion.
REPOSITORYHANDLER_HOME=/absent checked 0 annomend -f "$state" -o "$work/"
tarnctl clear-error 1.2.826.0.1.7770001.2.11.1.20 >/dev/null
checked 0 annomend -i -x -d -f "$state" -o "$work/"
checked 0 annomend -N -f "$archive/states/deflated-syntax.dcm" -o "$work/"
checked 0 annomend -N -f "$work/absent"
checked 1 annomend -N -f "$state" -o "$work/no/folder/"
checked 1 annomend -N -f
TARN_DB_URL=sqlite:$work/absent.db checked 1 annomend -N -f "$state" -o "$work/"
DCMDICTPATH=$work/empty.dic checked 0 annomend -N -f "$state" -o "$work/"
DCMDICTPATH=$work/absent checked 1 annomend -N -f "$state" -o "$work/"
# The pass itself: what it refuses, what it cannot save, and the objects of library callers.
checked 0 "$build/bin/convert_test"
checked 0 "$build/bin/pluginstate_test"
echo "no leak"
