#!/usr/bin/env bash
# test.sh [STEP...]: installs what is missing, builds, and runs every check, or only the steps that are named; two steps
# at a time, since most of them keep one core busy. What a step said is in build/checks/STEP.log. FUZZ_SECONDS is the time
# for each fuzz target, 15 when not set.
set -uo pipefail
cd "$(dirname "$0")/.."

here=$(. /etc/os-release && echo "$VERSION_CODENAME")
other=$([[ $here == trixie ]] && echo bookworm || echo trixie)

# What is installed, and what makes the samples. The tests themselves run in the builds of the presets asan and, on the
# other system, release.
programs=(annomend annomend-archive tarnctl annomend-samples libannomend annomend_repository_handler annomend_db_mysql
  annomend_picture_render)

# One after another, since a build takes all cores:
first=(
  "packages     scripts/install-deps.sh"
  "build-asan   scripts/build.sh asan"
  "build        scripts/build.sh release ${programs[*]} convert_test pluginstate_test"
)
# Then these, longest first (the attacks mostly wait): those that share no folder and no port with another one.
beside=(
  "system       scripts/test-on.sh $other"
  "lint         scripts/lint.sh"
  "attacks      /usr/bin/python3 tests/attacks/check_attacks.py build/release"
  "fuzz         scripts/fuzz.sh ${FUZZ_SECONDS:-15}"
  "tests        ctest --preset asan -j 2"
  "determinism  scripts/check-determinism.sh build/release build/asan"
  "archive      /usr/bin/python3 tests/archive/check_archive.py build/release"
  "archive-sql  /usr/bin/python3 tests/archive/check_archive.py build/release --mysql"
  "faults       scripts/check-faults.sh build/release"
  "leaks        scripts/check-leaks.sh build/release"
  "killed       /usr/bin/python3 tests/killed/check_killed.py build/release"
  "hostile      /usr/bin/python3 tests/corpus/check_hostile.py build/release"
  "hostile-asan /usr/bin/python3 tests/corpus/check_hostile.py build/asan"
  "conformant   /usr/bin/python3 tests/conformant/check_conformant.py build/release 40"
  "pictures     /usr/bin/python3 tests/picture/check_picture.py build/release 60"
  "report       /usr/bin/python3 tests/html/check_html.py build/release"
  "rights       /usr/bin/python3 tests/rights/check_rights.py build/release"
  "slurm        /usr/bin/python3 tests/slurm/check_slurm.py build/release"
  "lastmile     /usr/bin/python3 tests/lastmile/check_orthanc.py build/release"
  "outputs      scripts/check-outputs.sh build/release"
  "installed    scripts/check-package.sh build/release"
  "abi          scripts/check-abi.sh build/release"
  "hardening    scripts/check-hardening.sh build/release"
)
# Only those of these that are named, before a release: each of the first three builds the packages, and the last takes
# twice the time of its like.
named=(
  "deb          scripts/check-deb.sh $here"
  "deb-other    scripts/check-deb.sh $other"
  "reproducible scripts/check-reproducible.sh"
  "lint-deep    scripts/lint.sh deep"
)
export ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1

# run STEP COMMAND...: one line when it passes, or cannot be tried on this host (status 77); when it fails, the end of
# what it said, and how to run it by itself.
run() {
  local name=$1 began=$SECONDS log=build/checks/$1.log status=0 result
  shift
  "$@" >"$log" 2>&1 </dev/null || status=$?
  case $status in
    0) result=passed ;;
    77) result=SKIPPED; echo "$name" >>build/checks/skipped ;;
    *)
      printf '\nFAILED  %-12s %4s s; the end of %s:\n%s\nBy itself: %s\n\n' \
        "$name" "$((SECONDS - began))" "$log" "$(tail -n 60 "$log")" "$*"
      return 1
      ;;
  esac
  printf '%-7s %-12s %4s s  %s\n' "$result" "$name" "$((SECONDS - began))" "$(tail -n 1 "$log" | cut -c -80)"
}
export -f run

# steps LIST...: the lines of the list that were asked for.
asked=("$@")
steps() {
  local line
  for line in "$@"; do
    [[ ${#asked[@]} -gt 0 && " ${asked[*]} " != *" ${line%% *} "* ]] || echo "$line"
  done
}
for name in "${asked[@]}"; do
  printf '%s\n' "${first[@]}" "${beside[@]}" "${named[@]}" | grep -q "^$name " || { echo "test.sh: no step $name" >&2; exit 2; }
done

[[ ${#asked[@]} -eq 0 ]] || beside+=("${named[@]}")

mkdir -p build/checks
: >build/checks/skipped
echo "One after another, then two at a time:"
steps "${first[@]}" "${beside[@]}"
echo
while read -r name command; do
  # shellcheck disable=SC2086
  run "$name" $command || exit 1
done < <(steps "${first[@]}")
steps "${beside[@]}" | xargs -r -P 2 -L 1 bash -c 'run "$@"' run
status=$?
[[ $status -eq 0 ]] && end="Passed" || end="Something failed"
[[ ! -s build/checks/skipped ]] || end+=", not tried here: $(paste -sd ' ' build/checks/skipped),"
echo "$end in $SECONDS s"
exit $((status != 0))
