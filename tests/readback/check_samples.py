#!/usr/bin/python3
"""Compares the converted sample states with expected.py, attribute by attribute, as pydicom reads them.

usage: check_samples.py OUTDIR

The objects that state NAME became lie in OUTDIR/NAME/, files called PR. and their SOP Instance UID, nothing else.
Prints one line for each thing that is missing, too much or different. Exit status: 0 all is as expected, 1 it is not,
2 wrong usage.
"""

import pathlib
import struct
import sys

import pydicom

from expected import Floats, OUTPUTS


def bits(number):
    """The four bytes of a single precision number: 0 and -0 differ."""
    return struct.pack(">f", number).hex()


def plain_value(element):
    """An element's value in the form that expected.py describes."""
    if element.VR == "SQ":
        return [plain(item) for item in element.value]
    if element.value is None:
        return ""
    values = list(element.value) if element.VM > 1 else [element.value]
    if element.VR == "FL":
        return Floats(values)
    texts = tuple(value.decode("latin-1").rstrip("\0 ") if isinstance(value, bytes) else str(value) for value in values)
    return texts if len(texts) > 1 else texts[0]


def plain(dataset):
    return {element.keyword or "(%04x,%04x)" % (element.tag.group, element.tag.element): plain_value(element)
            for element in dataset}


def read(path):
    """The dataset and what the file meta header says of it."""
    dataset = pydicom.dcmread(path)
    meta = plain(dataset.file_meta)
    told = ("TransferSyntaxUID", "MediaStorageSOPClassUID", "MediaStorageSOPInstanceUID")
    return {**plain(dataset), **{keyword: meta.get(keyword) for keyword in told}}


def differences(where, found, wanted):
    """One line for each difference; `where` is the path to the value."""
    if isinstance(wanted, dict) and isinstance(found, dict):
        for key in sorted(wanted.keys() - found.keys()):
            yield f"{where}{key}: missing"
        for key in sorted(found.keys() - wanted.keys()):
            yield f"{where}{key}: not expected, is {found[key]!r}"
        for key in sorted(wanted.keys() & found.keys()):
            yield from differences(f"{where}{key}", found[key], wanted[key])
    elif isinstance(wanted, list) and isinstance(found, list):
        if len(found) != len(wanted):
            yield f"{where}: {len(found)} items, expected {len(wanted)}"
        for number, (found_item, wanted_item) in enumerate(zip(found, wanted), 1):
            yield from differences(f"{where}[{number}].", found_item, wanted_item)
    elif isinstance(wanted, Floats) and isinstance(found, Floats):
        if [bits(value) for value in found] != [bits(value) for value in wanted]:
            yield f"{where}: {tuple(found)}, expected {tuple(wanted)}"
    elif type(found) is not type(wanted) or found != wanted:
        yield f"{where}: {found!r}, expected {wanted!r}"


def check_state(folder, wanted_outputs):
    wanted = {"PR." + output["SOPInstanceUID"]: output for output in wanted_outputs}
    there = {path.name for path in folder.iterdir()} if folder.is_dir() else set()
    yield from (f"{name}: missing" for name in sorted(wanted.keys() - there))
    yield from (f"{name}: not expected" for name in sorted(there - wanted.keys()))
    for name in sorted(wanted.keys() & there):
        yield from differences(name + ": ", read(folder / name), wanted[name])


def main(arguments):
    if len(arguments) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    folder = pathlib.Path(arguments[0])
    problems = [f"{path.name}: not expected" for path in sorted(folder.glob("*")) if path.name not in OUTPUTS]
    for state, outputs in OUTPUTS.items():
        problems += [f"{state}/{problem}" for problem in check_state(folder / state, outputs)]
    print(*problems, sep="\n", end="\n" if problems else "")
    count = sum(len(outputs) for outputs in OUTPUTS.values())
    print(f"{len(problems)} differences in {count} objects of {len(OUTPUTS)} states")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
