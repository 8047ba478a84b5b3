#!/usr/bin/python3
"""many_studies.py ARCHIVE STUDIES: makes many studies of the one that annomend-samples wrote to the folder ARCHIVE.

Each has the images, without their pixels, and all states but the deflated one, under UIDs of its own; the originals go.
States lie in ARCHIVE/states/STUDYUID.
"""
import io
import pathlib
import shutil
import sys

import pydicom

OWN = ".20", ".20000000"  # the part of the sample's UIDs that differs between studies: as it is, and to be filled in
ROOT = "1.2.826.0.1.7770001.2.11"


def widened(value):
    if isinstance(value, bytes):
        return widened(value.decode("latin-1")).encode("latin-1")
    if isinstance(value, pydicom.multival.MultiValue):
        return [widened(part) for part in value]
    if not isinstance(value, str):
        return value
    for kind in "1", "4":
        value = value.replace(f"{ROOT}.{kind}{OWN[0]}", f"{ROOT}.{kind}{OWN[1]}")
    return value


def widen(_, element):
    if element.VR != "SQ":
        element.value = widened(element.value)


def template(path):
    """The bytes of the object, with room for a number in its UIDs; none of one in which they are not seen."""
    dataset = pydicom.dcmread(path)
    if dataset.file_meta.TransferSyntaxUID == pydicom.uid.DeflatedExplicitVRLittleEndian:
        return b""
    if "PixelData" in dataset:
        del dataset.PixelData
    dataset.file_meta.walk(widen)
    dataset.walk(widen)
    dataset.save_as(content := io.BytesIO())
    return content.getvalue()


def main():
    archive, studies = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    templates = {path: template(path) for path in sorted(archive.glob("images/*/*")) + sorted(archive.glob("states/*"))}
    for folder in "images", "states":
        shutil.rmtree(archive / folder)
    for number in range(1, studies + 1):
        own = f".2{number:07}"
        for path, content in templates.items():
            if content:
                name = path.name.replace(f"{ROOT}.1{OWN[0]}", f"{ROOT}.1{own}")
                target = archive / path.relative_to(archive).parts[0] / f"{ROOT}.1{own}" / name
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_bytes(content.replace(OWN[1].encode(), own.encode()))


main()
