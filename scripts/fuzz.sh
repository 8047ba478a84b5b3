#!/usr/bin/env bash
# Feeds the converter plug-in states that grow out of the samples', under the sanitizers, for so many seconds (60
# unless said). What fails is left in build/fuzz/findings.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target plugin_state_fuzzer -- --quiet
mkdir -p build/fuzz/corpus build/fuzz/findings
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 build/fuzz/bin/plugin_state_fuzzer \
  -max_total_time="$seconds" -max_len=16384 -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
  -dict=fuzz/plugin_state.dict -artifact_prefix=build/fuzz/findings/ build/fuzz/corpus build/fuzz/fuzz/seeds
