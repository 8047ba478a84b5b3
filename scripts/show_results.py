#!/usr/bin/python3
"""Shows the presentation states that annomend-archive wrote as a table.

usage: show_results.py OUTDIR

Exit status: 0 shown, 1 there is nothing to show, 2 wrong usage.
"""

import collections
import json
import os
import pathlib
import sys

import pydicom

TEXT_WIDTH = 44


def items(dataset, *sequences):
    """The items that a path of sequences leads to, one after another."""
    found = [dataset]
    for sequence in sequences:
        found = [item for parent in found for item in parent.get(sequence) or []]
    return found


def counted(names):
    return ", ".join(f"{count} {name}" for name, count in collections.Counter(names).items()) or "-"


def graphic_name(graphic):
    return ("dashed " if "LineStyleSequence" in graphic else "") + str(graphic.get("GraphicType", "?")).lower()


def sample_of(texts):
    """The first few texts, as many as fit."""
    lines = [" / ".join(str(text).split("\n")) for text in texts]
    quoted = ['"%s"' % "".join(letter if letter.isprintable() else "?" for letter in line) for line in lines]
    shown = []
    while len(shown) < len(quoted) and len(", ".join(shown + [quoted[len(shown)]])) <= TEXT_WIDTH:
        shown.append(quoted[len(shown)])
    if quoted and not shown:
        shown.append(quoted[0][: TEXT_WIDTH - 1] + "~")
    more = len(quoted) - len(shown)
    return ", ".join(shown) + (f" +{more}" if more else "") or "-"


def image_name(reference):
    """Kind and UID of a referenced image, such as `CT 1.2.3`."""
    kind = pydicom.uid.UID(reference.get("ReferencedSOPClassUID", "?")).name.split()[0]
    return f"{kind} {reference.get('ReferencedSOPInstanceUID', '?')}"


def inputs_of(folder):
    """What each output below the folder was made of, by its path there."""
    inputs = {}
    for journal in sorted(folder.glob("journal/*.jsonl")):
        for record in map(json.loads, journal.read_text(encoding="utf-8").splitlines()):
            inputs.update((output["file"], pathlib.Path(record["input"]).stem) for output in record.get("outputs", []))
    return inputs


def row_of(path, made_of):
    dataset = pydicom.dcmread(path)
    images = items(dataset, "ReferencedSeriesSequence", "ReferencedImageSequence")
    graphics = [graphic_name(item) for item in items(dataset, "GraphicAnnotationSequence", "GraphicObjectSequence")]
    objects = items(dataset, "GraphicAnnotationSequence", "TextObjectSequence")
    texts = [item.get("UnformattedTextValue", "") for item in objects]
    layers = [str(item.get("GraphicLayer", "?")) for item in items(dataset, "GraphicLayerSequence")]
    cells = [
        made_of,
        path.name,
        ", ".join(map(image_name, images)) or "-",
        ", ".join(str(image.get("ReferencedFrameNumber", "-")) for image in images) or "-",
        ", ".join(layers) or "-",
        counted(graphics),
        sample_of(texts),
        str(path.stat().st_size),
    ]
    return cells, graphics, texts


def shorten(rows):
    """Replaces what all UIDs begin with by a star; returns it."""
    words = [word for row in rows for cell in row[1:3] for word in cell.replace("PR.", "").split() if "." in word]
    common = os.path.commonprefix([word.split(".") for word in words])
    root = ".".join(common)
    if len(common) < 3:
        return ""
    for row in rows:
        row[1:3] = [cell.replace(root + ".", "*.") for cell in row[1:3]]
    return root


def print_table(heading, rows):
    widths = [max(map(len, column)) for column in zip(heading, *rows)]
    for row in [heading, ["-" * width for width in widths], *rows]:
        cells = [cell.ljust(width) for cell, width in zip(row[:-1], widths)]
        print("  ".join([*cells, row[-1].rjust(widths[-1])]))


def main(arguments):
    if len(arguments) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    sys.stdout.reconfigure(errors="replace")  # texts of any language, whatever the terminal shows
    folder = pathlib.Path(arguments[0])
    inputs = inputs_of(folder)
    outputs = sorted(folder.rglob("PR.*"), key=lambda path: (inputs.get(str(path.relative_to(folder)), ""), path))
    read = [row_of(path, inputs.get(str(path.relative_to(folder)), "-")) for path in outputs]
    if not read:
        print(f"show_results: no presentation states below {folder}", file=sys.stderr)
        return 1
    rows = [cells for cells, _, _ in read]
    size = sum(int(cells[-1]) for cells in rows)
    root = shorten(rows)
    print_table(["state", "file", "image", "frame", "layer", "graphics", "texts", "bytes"], rows)
    graphics = [name for _, names, _ in read for name in names]
    texts = sum(len(texts) for _, _, texts in read)
    print(f"\n{len(read)} presentation states, {size} bytes: {counted(graphics)}, {texts} texts")
    print(f"in {folder.resolve()}" + (f"; * is {root}" if root else ""))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
