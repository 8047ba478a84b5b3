#!/usr/bin/env bash
# check-deb.sh SUITE [FOLDER]: builds the packages in a fresh minimal Debian of the release SUITE (bookworm, trixie), or
# takes those in FOLDER, and tries them in another one: installed by itself the converter needs no client of a server;
# it converts the sample archive to the bytes that build/release makes; an upgrade keeps database and configuration;
# a purge leaves nothing but what is the user's; debian/copyright names what is compiled in and linked. Needs root and
# debootstrap.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/fresh-system.sh
source scripts/sample-archive.sh

suite=$1 packages=${2:-$PWD/build/packages/$1} system=$PWD/build/systems/$1-deb
require_systems "$suite"
trap 'remove_system "$system"; remove_system "$system-build"' EXIT

if [[ -z ${2:-} ]]; then
  make_system "$suite" "$system-build"
  copy_clone "$system-build/root/annomend"
  in_system "$system-build" bash -ec '
    cd /root/annomend
    export DEBIAN_FRONTEND=noninteractive
    apt-get -qq update
    apt-get -qq install -y --no-install-recommends build-essential lintian >/dev/null
    apt-get -qq build-dep -y --no-install-recommends ./ >/dev/null
    dpkg-buildpackage -us -uc >/tmp/shown 2>&1 || { tail -n 50 /tmp/shown; exit 1; }
    lintian --allow-root --fail-on error,warning ../annomend_*.changes'
  rm -rf "$packages"
  mkdir -p "$packages"
  cp "$system-build"/root/*annomend*_* "$packages"
  remove_system "$system-build"
fi
scripts/make_sbom.py "$packages" >"$packages/annomend.spdx.json"

# What is to come out, made here.
make_system "$suite" "$system"
work=$system/srv
use_sample_archive "$PWD/build/release" "$work/archive"
make_sample_archive "$work/archive" >/dev/null
annomend-archive convert -N --progress none -o "$work/expected" "$work/archive/states" >/dev/null || [[ $? -eq 3 ]]
rm -r "$work"/archive/{archive.db*,meta,tempmeta} "$work/expected/journal"

# The same packages under an earlier version, to upgrade from.
mkdir "$work/earlier" "$work/packages"
for name in annomend annomend-mysql; do
  cp "$packages/${name}_"*.deb "$work/packages/$name.deb"
  dpkg-deb -R "$work/packages/$name.deb" "$work/unpacked"
  sed -i -E 's/^Version: .*/Version: 0.9/; /^Breaks:/s/[0-9][^ )]*/0.9/g' "$work/unpacked/DEBIAN/control"
  dpkg-deb --build --root-owner-group "$work/unpacked" "$work/earlier/$name.deb" >/dev/null
  rm -r "$work/unpacked"
done
cp packaging/check-installed.sh "$work"
in_system "$system" bash /srv/check-installed.sh
echo "$suite: the packages install, convert, upgrade and go without a trace"
