#!/usr/bin/env bash
# check-reproducible.sh [FOLDER]: builds the packages in two folders of different names, at different times, under
# different locales, time zones and umasks, and compares them byte by byte; or once, and with those in FOLDER that were
# built on this system.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/fresh-system.sh

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
build() {
  copy_clone "$work/$1/annomend"
  (cd "$work/$1/annomend" && dpkg-buildpackage -us -uc -b >"$work/shown" 2>&1) || { tail -n 50 "$work/shown" >&2; exit 1; }
}

first=${1:-$work/a}
[[ -n ${1:-} ]] || build a
(export TZ=Pacific/Kiritimati LC_ALL=C.UTF-8; umask 027; build a-longer/name)
compared=0 different=()
for package in "$work"/a-longer/name/*.deb; do
  cmp -s "$first/$(basename "$package")" "$package" || different+=("$package")
  compared=$((compared + 1))
done
if [[ ${#different[@]} -gt 0 ]]; then
  trap - EXIT
  printf 'check-reproducible: not the same in both builds: %s\n' "${different[@]}" >&2
  exit 1
fi
[[ $compared -ge 4 ]] || { echo "check-reproducible: only $compared packages" >&2; exit 1; }
echo "$compared packages, the same bytes from both builds"
