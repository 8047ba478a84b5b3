#!/usr/bin/env bash
# check-outputs.sh BUILD: converts the sample states with the programs of the folder BUILD and has the outputs judged
# by readers that are not ours: values by pydicom against a typed table and against docs/conformance.md, conformance by
# dcmpschk and dciodvfy.
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/sample-archive.sh
begin_with_samples "$1"
convert_samples "$work/archive" "$work/out"

/usr/bin/python3 tests/readback/check_samples.py "$work/out"
convert_samples "$work/archive" "$work/copies" -i -x
/usr/bin/python3 tests/readback/check_conformance.py docs/conformance.md "$work/archive/states" "$work/out" "$work/copies"

# What dciodvfy always remarks on a faithful conversion: the viewer knows frames of single-frame images, dashed lines
# without thickness or shadow, exchanged corners for rotations, and a magnification ratio in true size.
known='^GrayscaleSoftcopyPresentationState$'
known+='|Referenced SOP Class that is not multi-frame - attribute <ReferencedFrameNumber>'
known+='|Element=<(LineThickness|Shadow[A-Za-z]*)> Module=<LineStyleSequenceMacro>'
known+='|DisplayedAreaSelectionSequence is internally inconsistent - DisplayedArea.*after rotation of'
known+='|Element=<PresentationPixelMagnificationRatio> Module=<DisplayedArea>'
known+='|^\(0xf215,0x1001\).*Unrecognized tag - assuming explicit value representation OK$'

faults=0
while IFS= read -r -d '' output; do
  dcmpschk "$output" 2>&1 | grep -q 'Test passed' || { echo "dcmpschk does not pass $output" >&2; faults=1; }
  # dciodvfy does not read deflated files.
  dcmconv +te "$output" "$work/plain.dcm"
  if dciodvfy "$work/plain.dcm" 2>&1 | grep -Ev "$known" >"$work/remarks"; then
    echo "dciodvfy on $output:" >&2
    cat "$work/remarks" >&2
    faults=1
  fi
done < <(find "$work/out" -name 'PR.*' -print0)
exit $faults
