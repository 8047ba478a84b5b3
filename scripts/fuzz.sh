#!/usr/bin/env bash
# fuzz.sh [SECONDS [TARGET...]]: runs each fuzz target for so many seconds (60 unless said), two at a time, under the
# sanitizers, from the sample states, from fuzz/corpus and from what earlier runs found. What fails is left in
# build/fuzz/findings, what a target said in build/fuzz/TARGET.log.
set -euo pipefail
cd "$(dirname "$0")/.."

declare -A longest=([plugin_state]=16384 [private_block]=4096 [object_meta]=4096 [converter]=16384 [conformance]=16384 [picture]=16384) # bytes
targets=("${@:2}")
[[ ${#targets[@]} -gt 0 ]] || targets=("${!longest[@]}")

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "${targets[@]/%/_fuzzer}" -- --quiet

scratch=$(mktemp -d -p /dev/shm)
trap 'rm -rf "$scratch"' EXIT
export TMPDIR=$scratch ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1

# The toolkit reserves, and never touches, what elements of a deflated data set announce: up to 4 GiB.
fuzz() {
  local seconds=$1 target=$2 max_len=$3 log=build/fuzz/$2.log options=() kept=() folder
  [[ -f fuzz/$target.dict ]] && options+=("-dict=fuzz/$target.dict")
  for folder in fuzz/corpus/$target build/fuzz/fuzz/seeds/"${target/conformance/converter}"; do
    [[ -d $folder ]] && kept+=("$folder")
  done
  mkdir -p "build/fuzz/corpus/$target" "build/fuzz/findings/$target"
  if ! "build/fuzz/bin/${target}_fuzzer" -max_total_time="$seconds" -max_len="$max_len" -timeout=30 -rss_limit_mb=2048 \
      -malloc_limit_mb=5120 -print_final_stats=1 "${options[@]}" -artifact_prefix="build/fuzz/findings/$target/" \
      "build/fuzz/corpus/$target" "${kept[@]}" >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    return 1
  fi
  printf '%s: %s\n' "$target" "$(sed -nE 's/^#([0-9]+)\tDONE +(cov: [0-9]+).*/\1 runs, \2/p' "$log")"
}
export -f fuzz

for target in "${targets[@]}"; do
  printf '%s %s\n' "$target" "${longest[$target]}"
done | xargs -P 2 -L 1 bash -c 'fuzz "$@"' fuzz "${1:-60}"
