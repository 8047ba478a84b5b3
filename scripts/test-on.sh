#!/usr/bin/env bash
# test-on.sh SUITE [--keep]: makes a fresh minimal Debian of the release SUITE (bookworm, trixie) in build/systems/SUITE,
# copies this clone in, runs the demonstration and the tests there, and compares what the programs built there make of
# the sample archive with what build/release makes of it, byte by byte. Needs root and debootstrap. --keep leaves the
# system there, for a look; a second run with --keep goes on with it.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/fresh-system.sh
source scripts/sample-archive.sh

suite=$1 keep=${2:-} system=$PWD/build/systems/$1
require_systems "$suite"
[[ -n $keep ]] || trap 'remove_system "$system"' EXIT
[[ -n $keep && -d $system/root/annomend ]] || make_system "$suite" "$system"
copy_clone "$system/root/annomend"

# Demonstration and tests, as a user would type them.
in_system "$system" bash -ec '
  cd /root/annomend
  scripts/install-deps.sh build demo tests
  quietly() { "$@" >/tmp/shown 2>&1 || { tail -n 200 /tmp/shown; exit 1; }; }
  quietly scripts/demo.sh
  quietly cmake --build --preset release -- --quiet
  ctest --preset release -j "$(nproc)" --quiet || { ctest --preset release --rerun-failed; exit 1; }'
echo "$suite: the demonstration and the tests pass"

# The same archive, converted here and there.
work=$system/tmp/compared
rm -rf "$work"
mkdir "$work"
cat >"$work/convert.sh" <<'END'
source scripts/sample-archive.sh
use_sample_archive "$PWD/build/release" "$1/archive"
[[ -d $1/archive ]] || make_sample_archive "$1/archive" >/dev/null
convert_samples "$1/archive" "$1/$2" -i -x -d >"$1/$2.shown"
annomend-archive convert --form conformant --progress none -o "$1/$2/conformant" "$1/archive/states" &>/dev/null || [[ $? -eq 3 ]]
rm -r "$1/$2/conformant/journal"
# The dump prints numbers as the toolkit's version does.
sed -i -E '/^ *\([0-9a-f]{4},[0-9a-f]{4}\) F[LD] /d' "$1/$2.shown"
END
bash -e "$work/convert.sh" "$work" here
in_system "$system" bash -ec 'cd /root/annomend; bash -e /tmp/compared/convert.sh /tmp/compared there'
for made in "" .log .shown; do
  diff -r "$work/here$made" "$work/there$made"
done
echo "$suite: $(find "$work/there" -name 'PR.*' | wc -l) outputs, the same bytes as here"
