#!/usr/bin/env bash
# build.sh PRESET [TARGET...]: configures and builds a preset of CMakePresets.json.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset "$1" >/dev/null
ninja -C "build/$1" --quiet "${@:2}"
