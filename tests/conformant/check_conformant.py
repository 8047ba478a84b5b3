#!/usr/bin/python3
"""check_conformant.py BUILD [INPUTS [SEED]]: judges the conformant form by readers that are not ours.

Converts the sample states and INPUTS random ones with the programs of the folder BUILD, in both forms. Each conformant
output has to pass dcmpschk and to have no error by dciodvfy; its texts and coordinates are those of the plain output,
read with pydicom. `annomend-archive check` finds no error in it. Prints a line for each problem.
"""
import json
import math
import os
import pathlib
import random
import re
import struct
import subprocess
import sys
import tempfile
import warnings
from collections import Counter

import pydicom

TESTS = pathlib.Path(__file__).parents[1]
sys.path.append(str(TESTS))
from checking import conclude

STUDY = "1.2.826.0.1.7770001.2.11.1.20"
ROOT = "1.2.826.0.1.7770001.2.11.4.20.8."
IMAGES = [f"CT.{STUDY}.1.{number}" for number in range(1, 6)] + [f"MR.{STUDY}.2.1", f"CT.{STUDY}.1.6"]
LABELS = [b"12.5 mm", b"45\xb0", "45°".encode(), "Größe ő".encode(), b"two\nlines\n", b"a\ttab", b"\x1b[1mred", b" ",
          b"word " * 300, b"x" * 2500, "ß".encode() * 700, b"\xff\xfe", b"a\\b", b"end\0hidden"]
warnings.simplefilter("ignore")


def quoted(label):
    return "".join(f"%{byte:02X}" if not chr(byte).isalnum() else chr(byte) for byte in label)


class RandomState:
    """Lines of one state. Some things that a view or an annotation needs are left out, or are nonsense."""

    def __init__(self, chance):
        self.chance = chance

    def numbers(self, count, low=-60, high=600):
        return " ".join(str(self.chance.randint(low, high)) for _ in range(count))

    def view(self):
        lines = [f"light {self.chance.choice([400, 1, 0, -7])} {self.chance.randint(-500, 500)} {self.chance.randint(0, 1)} 1",
                 f"sized {self.chance.choice(['512 512', '256 128', '0 0'])} {self.chance.randint(0, 3)} {self.chance.randint(0, 7)}",
                 f"pixel {self.chance.choice(['1.25 1.25', '0 1.25', 'nan 2', '-1 1', '0.5 0.7'])}",
                 f"clip {self.chance.choice(['1.5', '0', '2'])} 0 0 256 256"]
        return [line for line in lines if self.chance.random() < 0.75]

    def annotation(self, index):
        label, numbers = quoted(self.chance.choice(LABELS)), self.numbers
        count = self.chance.choice([1, 2, 5, 5, 5, 9000 if self.chance.random() < 0.1 else 5])
        specific = {
            "ruler_x": f"{numbers(2)} {label} 1", "angle_x": f"{numbers(4)} {label}{self.chance.choice(['', ' ex'])}",
            "cobangle_x": f"{numbers(6)} {label}", "oval_x": f"{numbers(2)} {label} 1",
            "skewoval_x": f"{numbers(2)} {label} {self.chance.choice(['30', 'nan', '0', '-45.5'])} 0",
            "houns_x": f"{numbers(2)} {label} -800 0 1", "skewhouns_x": f"{numbers(2)} {label} 12.5 3.25 90 1",
            "free_x": f"{count} {numbers(2 * count)} {label}", "freepointer_x": numbers(2), "text_x": f"0 {label}",
            "spinelabel_x": f"0 0 {numbers(2)} {label} 0"}
        word = self.chance.choice(list(specific))
        return f"{word} {index} yellow {numbers(2)} {self.chance.randint(0, 1)} 1 {numbers(4)} 0|{specific[word]}"

    def text(self):
        figures = ["label"]
        for _ in range(self.chance.randint(1, 4)):
            lines = [f"ID 1/{self.chance.choice(IMAGES)}_{self.chance.choice(['1', '1', '0', 'x'])}", *self.view()]
            lines += [self.annotation(index) for index in range(self.chance.randint(0, 6))]
            figures.append("ID+" + "\n".join(lines)[3:].replace("%", "%25").replace("\n", "%0A").replace(" ", "+"))
        return "\\".join(figures).encode()


def make_states(samples, folder, count, chance):
    """Random plug-in states in copies of the samples, whose headers and syntaxes differ."""
    for number in range(count):
        state = pydicom.dcmread(chance.choice(samples))
        block = state.private_block(0xF215, "PB group A") if (0xF215, 0x10) in state or (0xF215, 0x11) in state else None
        if block is None or 0x94 not in block:
            continue
        block[0x94].value = RandomState(chance).text()
        state.SOPInstanceUID = state.file_meta.MediaStorageSOPInstanceUID = f"{ROOT}{number}"
        for keyword in ("PresentationCreationDate", "ContentLabel", "Manufacturer", "Laterality"):
            if chance.random() < 0.2 and keyword in state:
                del state[keyword]
        state.save_as(folder / f"{number}.dcm")


def read_records(out):
    lines = (out / "journal" / "1-of-1.jsonl").read_text().splitlines()[1:]
    return {record["input"]: record for record in map(json.loads, lines)}


def remarks_of(path, scratch):
    """What the strict readers hold against a file. dciodvfy reads no deflated files; dcmpschk takes some letters of UTF-8 for
    none, and is shown the file with "x" for each letter beyond ASCII."""
    subprocess.run(["dcmconv", "+te", path, scratch], check=True)
    said = subprocess.run(["dciodvfy", scratch], capture_output=True, text=True, errors="replace", check=False).stderr
    problems = [line for line in said.splitlines() if line.startswith("Error")]
    state = pydicom.dcmread(scratch)
    if state.get("SpecificCharacterSet") == "ISO_IR 192":
        state.walk(lambda _, element: setattr(element, "value", re.sub("[^\x00-\x7f]", "x", element.value))
                   if isinstance(element.value, str) else None)
        state.save_as(scratch)
    said = subprocess.run(["dcmpschk", scratch], capture_output=True, text=True, errors="replace", check=False)
    said = said.stdout + said.stderr
    return problems if "Test passed" in said else problems + [f"dcmpschk: {said[-300:]!r}"]


def decoded(raw, declared):
    """By the declared set; else as UTF-8, else as Latin-1. C1 bytes are no letters of any set here."""
    codec = {"ISO_IR 100": "latin-1", "ISO_IR 192": "utf-8"}.get(declared, "ascii")
    has_c1 = any(0x80 <= byte < 0xA0 for byte in raw)
    for name in (codec, "utf-8"):
        try:
            if name != "latin-1" or not has_c1:
                return raw.decode(name)
        except UnicodeDecodeError:
            pass
    return bytes(byte for byte in raw if not 0x80 <= byte < 0xA0).decode("latin-1")


def drawn(path):
    """All letters of the texts, in their order, and the points; what is not finite is drawn by nobody."""
    data = pydicom.dcmread(path)
    declared = data.get("SpecificCharacterSet", "")
    letters, points = "", []
    for item in data.get("GraphicAnnotationSequence", []):
        for text in item.get("TextObjectSequence", []):
            raw = text.get_item("UnformattedTextValue").value or b""  # an empty one is no bytes
            letters += decoded(raw, declared)
        for graphic in item.get("GraphicObjectSequence", []):
            raw = graphic.get_item("GraphicData").value
            order = "<" if data.is_little_endian else ">"
            values = struct.unpack(f"{order}{len(raw) // 4}f", raw)
            pairs = list(zip(values[::2], values[1::2]))
            if all(map(math.isfinite, values)):
                points += sorted(pairs) if graphic.GraphicType == "ELLIPSE" else pairs
    # Pieces of an outline share a point.
    points = [pair for index, pair in enumerate(points) if index == 0 or pair != points[index - 1]]
    return "".join(letter for letter in letters if letter > " " and letter != "\x7f"), points


def judge(plain, record, out, scratch):
    """The conformant outputs of an input beside its plain ones."""
    problems = []
    for output in record["outputs"]:
        path = out / output["file"]
        problems += [f"{path.name}: {line}" for line in remarks_of(path, scratch)]
        if drawn(path) != drawn(plain / output["file"]):
            problems.append(f"{path.name}: texts or points are not those of the plain form")
    return problems


def convert(out, form, states):
    subprocess.run(["annomend-archive", "convert", "-o", out, "--form", form, "--progress", "none", *states],
                   stdout=subprocess.DEVNULL, check=False)
    return read_records(out)


def main():
    build, count = pathlib.Path(sys.argv[1]).resolve(), int(sys.argv[2]) if len(sys.argv) > 2 else 25
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else 20261122
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        script = ('source scripts/sample-archive.sh; use_sample_archive "$1" "$2"; make_sample_archive "$2" >/dev/null; env -0')
        said = subprocess.check_output(["bash", "-ec", script, "bash", build, folder / "archive"], cwd=TESTS.parent)
        os.environ.update(item.split("=", 1) for item in said.decode().split("\0") if item)
        samples = sorted((folder / "archive" / "states").iterdir())
        (folder / "random").mkdir()
        make_states(samples, folder / "random", count, random.Random(seed))
        states = [folder / "archive" / "states", folder / "random"]
        convert(folder / "plain", "plain", states)
        records = convert(folder / "out", "conformant", states)
        problems = []
        for record in records.values():
            problems += judge(folder / "plain", record, folder / "out", folder / "scratch.dcm")
        outputs = sum(len(record["outputs"]) for record in records.values())
        refused = Counter(reason["code"] for record in records.values() for reason in record["reasons"])
        checked = subprocess.run(["annomend-archive", "check", folder / "out"], capture_output=True, text=True, check=False)
        problems += [line for line in checked.stdout.splitlines() if ": note: " not in line]
        checked = subprocess.run(["annomend-archive", "check", "--images", folder / "archive" / "images", folder / "out"],
                                 capture_output=True, text=True, check=False)
        if checked.returncode or ": coordinate-outside-image: note: " not in checked.stdout:
            problems.append("what lies outside the images is not noted")
        again = convert(folder / "again", "conformant", states)
        if {name: record["outputs"] for name, record in again.items()} != {
                name: record["outputs"] for name, record in records.items()}:
            problems.append("a second run gives other bytes")
        rules = subprocess.run(["annomend-archive", "check", "--rules"], capture_output=True, text=True, check=True).stdout
        if rules not in (TESTS.parent / "docs" / "conformance.md").read_text():
            problems.append("docs/conformance.md has another table of rules than `annomend-archive check --rules`")
        summary = f"{outputs} conformant outputs of {len(records)} inputs, {len(problems)} problems; reasons: {dict(refused)}"
        return conclude(problems, summary + f" (seed {seed})")


if __name__ == "__main__":
    sys.exit(main())
