#!/usr/bin/env bash
# lint.sh [deep]: formatting and static analysis of all sources, with the profiles of the repository (.clang-format,
# .cppcheck-suppressions, .clang-tidy). Deep, the analysis of paths goes into more of what is called, in twice the time.
set -euo pipefail
cd "$(dirname "$0")/.."

[[ -f build/debug/compile_commands.json ]] || cmake --preset debug >/dev/null
git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror
# Generated headers have to be there before a source that includes them can be read.
ninja -C build/debug annomend_dicom >/dev/null
# The generated table of attributes is one text of half a million bytes, over which cppcheck takes minutes; the page of the
# report is no code.
/usr/bin/python3 -c 'import json, sys
json.dump([entry for entry in json.load(sys.stdin) if not entry["file"].endswith(("/attributeTable.cpp", "/pageFiles.cpp"))], sys.stdout)' \
  <build/debug/compile_commands.json >build/debug/cppcheck.json
cppcheck --project=build/debug/cppcheck.json --std=c++17 --library=googletest,posix --inline-suppr -j "$(nproc)" \
  --enable=warning,style,performance,portability --suppressions-list=.cppcheck-suppressions --error-exitcode=1 --quiet
[[ ${1:-} == deep ]] && mode=deep || mode=shallow
options=(--quiet -p build/debug --extra-arg=-Xclang --extra-arg=-analyzer-config --extra-arg=-Xclang "--extra-arg=mode=$mode")
git ls-files -z '*.cpp' ':!fuzz' ':!bench' ':!tests/package' ':!packaging/abi' |
  xargs -0 -n 1 -P "$(nproc)" clang-tidy "${options[@]}" 2>/dev/null
