#!/usr/bin/env bash
# check-hardening.sh BUILD: every program and shared library that the folder BUILD (a release) installs is hardened as
# the distribution's packages are: position independent, stack protected, checked library calls, relocations read-only
# from the start, assertions of the standard library.
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work" >/dev/null

checked=0
while IFS= read -r -d '' file; do
  readelf -h "$file" >/dev/null 2>&1 || continue
  # The distribution's start-up objects are not marked for control flow protection, so no program here can be.
  options=(--quiet --nocfprotection)
  # All library calls of the modules are within bounds that the compiler knows: none is left to be checked at run time.
  [[ "$(basename "$file")" =~ ^(RepositoryHandler|libannomend-(mysql|render)-.*)\.so$ ]] && options+=(--nofortify)
  hardening-check "${options[@]}" "$file"
  # The standard library is asked for more than its contract: an access out of bounds ends the program.
  [[ $(nm -D --undefined-only "$file") == *glibcxx_assert_fail* ]] || { echo "$file has no assertions" >&2; exit 1; }
  checked=$((checked + 1))
done < <(find "$work" -type f -print0)
[[ $checked -ge 6 ]] || { echo "check-hardening: only $checked files to look at" >&2; exit 1; }
echo "$checked files are hardened"
