#!/usr/bin/env bash
# Installs what is missing, builds, and runs every check: the tests under the sanitizers, the sample archive judged by
# independent readers, system calls that fail, the same bytes from both compilers, runs and servers that are killed,
# archives that are converted and interrupted, pictures and the report in a browser, other users of the host, a cluster, an
# archive that takes what is sent, a minute of fuzzing for each target, formatting and lint.
set -euo pipefail
cd "$(dirname "$0")/.."

step() { printf '\n== %s (%ss)\n' "$1" "$SECONDS"; }

step "Packages"
scripts/install-deps.sh

step "Build with sanitizers"
cmake --preset asan >/dev/null
cmake --build --preset asan -- --quiet

step "Build for release"
cmake --preset release >/dev/null
cmake --build --preset release -- --quiet

step "Sample archive, judged by other readers"
scripts/check-outputs.sh build/release

step "The conformant form, judged by other readers"
/usr/bin/python3 tests/conformant/check_conformant.py build/release 40

step "Pictures, judged by another drawing"
/usr/bin/python3 tests/picture/check_picture.py build/release 60

step "Hostile files"
/usr/bin/python3 tests/corpus/check_hostile.py build/release
/usr/bin/python3 tests/corpus/check_hostile.py build/asan

step "Every system call fails once, no leak"
scripts/check-faults.sh build/release
scripts/check-leaks.sh build/release

step "Installed library"
scripts/check-package.sh build/release

step "Hardening of what is installed"
scripts/check-hardening.sh build/release

step "The same bytes from every compiler"
scripts/check-determinism.sh build/release

step "Killed runs and servers"
/usr/bin/python3 tests/killed/check_killed.py build/release

step "Archives, converted, interrupted and attacked"
/usr/bin/python3 tests/archive/check_archive.py build/release
/usr/bin/python3 tests/archive/check_archive.py build/release --mysql

step "The report in a browser"
/usr/bin/python3 tests/html/check_html.py build/release

step "Other users of the host, and the network"
/usr/bin/python3 tests/attacks/check_attacks.py build/release
/usr/bin/python3 tests/rights/check_rights.py build/release

step "A cluster, and an archive that takes what is sent"
/usr/bin/python3 tests/slurm/check_slurm.py build/release
/usr/bin/python3 tests/lastmile/check_orthanc.py build/release

step "Fuzzing"
scripts/fuzz.sh "${FUZZ_SECONDS:-60}"

step "Formatting and lint"
scripts/lint.sh

step "Tests"
export ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1
ctest --preset asan
step "Done"
