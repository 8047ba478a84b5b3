#!/usr/bin/python3
"""check_samples.py OUTDIR: compares what the sample states became with expected.py, as pydicom reads it.

The objects that state NAME became lie in OUTDIR/NAME/, files called PR. and their SOP Instance UID, nothing else.
Prints one line for each value that is missing, too much or different. Exit status: 0 all is as expected, 1 it is not.
"""
import pathlib
import sys

import pydicom

from expected import OUTPUTS

sys.path.append(str(pathlib.Path(__file__).parents[1]))
from checking import conclude


def plain(dataset):
    """A dataset in the form that expected.py describes."""
    return {element.keyword or "(%04x,%04x)" % (element.tag.group, element.tag.element): plain_value(element)
            for element in dataset}


def plain_value(element):
    if element.VR == "SQ":
        return [plain(item) for item in element.value]
    values = element.value if element.VM > 1 else ["" if element.value is None else element.value]
    return tuple(value if element.VR == "FL" else value.decode("latin-1").rstrip("\0 ") if isinstance(value, bytes)
                 else str(value) for value in values)


def read(path):
    """The dataset and what the file meta header says of it."""
    dataset = pydicom.dcmread(path)
    meta = plain(dataset.file_meta)
    told = ("TransferSyntaxUID", "MediaStorageSOPClassUID", "MediaStorageSOPInstanceUID")
    return {**plain(dataset), **{keyword: meta.get(keyword, "") for keyword in told}}


def flat(value, path):
    """The path to each value and the value as a text, in which 0 and -0 differ; for a sequence its number of items."""
    if isinstance(value, dict):
        for key, part in value.items():
            yield from flat(part, f"{path}{key}")
    elif isinstance(value, list):
        yield path, f"{len(value)} items"
        for number, item in enumerate(value, 1):
            yield from flat(item, f"{path}[{number}].")
    else:
        values = value if isinstance(value, tuple) else (value,)
        yield path, ", ".join(repr(part if isinstance(part, str) else float(part)) for part in values)


def main():
    folder = pathlib.Path(sys.argv[1])
    wanted, found = {}, {}
    for state, outputs in OUTPUTS.items():
        wanted[state] = f"{len(outputs)} objects"
        for output in outputs:
            wanted.update(flat(output, f"{state}/PR.{output['SOPInstanceUID']}: "))
    for state in folder.iterdir():
        found[state.name] = f"{len(list(state.iterdir()))} objects"
        for path in state.iterdir():
            found.update(flat(read(path), f"{state.name}/{path.name}: "))
    problems = [f"{path} is {found.get(path, 'missing')}, expected {wanted.get(path, 'nothing')}"
                for path in sorted({*wanted, *found}) if wanted.get(path) != found.get(path)]
    return conclude(problems, f"{len(problems)} differences in {sum(map(len, OUTPUTS.values()))} objects of "
                    f"{len(OUTPUTS)} states")


sys.exit(main())
