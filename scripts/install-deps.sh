#!/usr/bin/env bash
# install-deps.sh [GROUP...]: installs what building, testing and the demonstration need, from the packages of Debian 12
# and 13; of all groups unless some are named. Does nothing when all of it is there.
set -euo pipefail

build=(
  build-essential cmake ninja-build pkg-config ccache git ca-certificates
  libdcmtk-dev dcmtk libmariadb-dev libsqlite3-dev libspdlog-dev libfmt-dev libcli11-dev nlohmann-json3-dev libcereal-dev libsimdjson-dev rapidjson-dev libssl-dev libopenjp2-7-dev
  libtiff-dev libpng-dev libjpeg-dev # the toolkit's libraries for images name them, which its package does not always bring
)
# Shows what the demonstration converted. Debian's modules belong to /usr/bin/python3, which the scripts name because
# another python3 in the PATH does not find them.
demo=(python3 python3-pydicom python3-numpy)
tests=(
  libgtest-dev libgmock-dev libbenchmark-dev mariadb-server mariadb-client procps openssl
)
checks=(
  # system calls that fail, runs that are killed, leaks
  strace valgrind
  # a cluster of one node, and an archive that takes what is sent
  slurm-wlm munge orthanc
  # independent readers of what the converter writes, and of what pictures show
  dicom3tools python3-pil librsvg2-bin libopenjp2-tools
  # a browser that opens the report
  chromium chromium-driver python3-selenium
  # second compiler, fuzzing, style
  clang libclang-rt-dev clang-format clang-tidy cppcheck
  # how the binaries were built (43 packages of Perl modules, 3 MB to fetch)
  devscripts
)
# Debian packages, what they promise to programs that link them, and fresh systems to try them in.
packages=(debhelper fakeroot lintian abigail-tools debootstrap)

[[ $# -gt 0 ]] || set -- build demo tests checks packages
wanted=()
for group in "$@"; do
  declare -n members=$group
  wanted+=("${members[@]}")
done

missing=()
for package in "${wanted[@]}"; do
  [[ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)" == installed ]] || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

as_root=()
if [[ $EUID -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "install-deps: run as root, or install sudo; missing: ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi

echo "Installing: ${missing[*]}"
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive RUNLEVEL=1 apt-get -qq update
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive RUNLEVEL=1 \
  apt-get -qq install -y --no-install-recommends "${missing[@]}" >/dev/null
