#!/usr/bin/env bash
# check-abi.sh FOLDER [--write]: compares what the packages in FOLDER (of Debian 12) promise to programs that link
# libannomend with packaging/libannomend1.abi; --write makes that file anew, for a change that is meant.
set -euo pipefail
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for package in libannomend1 libannomend1-dbgsym libannomend-dev; do
  dpkg-deb -x "$1/$package"_[0-9]*.deb "$work"
done
abidw --debug-info-dir "$work/usr/lib/debug" --headers-dir "$work/usr/include/annomend" --drop-private-types \
  --no-corpus-path --no-comp-dir-path --no-show-locs "$work"/usr/lib/*/libannomend.so.1 >"$work/abi"
if [[ ${2:-} == --write ]]; then
  mv "$work/abi" packaging/libannomend1.abi
else
  abidiff packaging/libannomend1.abi "$work/abi"
  echo "the ABI of $(basename "$(readlink "$work"/usr/lib/*/libannomend.so.1)") is as it was"
fi
