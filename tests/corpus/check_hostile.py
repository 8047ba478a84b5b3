"""check_hostile.py BUILD: converts files that were made to do harm with the program of the folder BUILD.

Each row of the tables says what a file must do: the exit status, the lines on standard error (as regular expressions),
and what lies among the outputs. No file may cost more than a minute or, without sanitizers, two gigabytes; none may
touch what is not its own.
"""
import os
import pathlib
import re
import socket
import struct
import subprocess
import sys
import tempfile
import time

from hostile_files import *

sys.path.append(str(pathlib.Path(__file__).parents[1]))
from checking import conclude

BUILD = pathlib.Path(sys.argv[1]).resolve()
SANITIZED = "asan" in BUILD.name
OUTPUT, COPY = "PR.1.2.826.0.1.7770001.2.11.7.1.5", "in"
MISSING_IMAGE = r"File CT\.1\.2\.3\.4 was not found in the database - checking referenced series sequence"


def said(*lines, status=0, outputs=()):
    return status, lines, set(outputs)


def refused(text):
    return said(f"IN could not be loaded: {text}")


def failed(*lines):
    return said(*lines, "PSConverter returned error", status=1)


GOOD = said(MISSING_IMAGE, outputs=[OUTPUT, COPY])
ENDED = refused("I/O suspension or premature end of stream")
TOO_DEEP = refused("Sequences are nested too deeply")
TOO_MANY = refused("The file holds more elements than the 1000000 of TARN_MAX_ELEMENTS")
INFLATED = refused("The data set inflates to more than the 536870912 bytes of TARN_MAX_INFLATED_BYTES")
NO_FILE = refused("Not a regular file")
MEBI = 1 << 20


def not_ours(uid):
    return failed("SOP Instance UID of the original Presentation State object was not issued by QX: " +
                  re.escape(uid))


def unknown(name):
    name = re.escape(name)
    return said(f"File {name} was not found in the database - checking referenced series sequence",
                f"Could not get SOP class UID for {name} referenced in annotations - excluding from output",
                outputs=[COPY])


def descending(count):
    return b"".join(struct.pack("<HH2sH", tag >> 16, tag & 0xFFFF, b"LO", 0)
                    for tag in range(0x00200000 + 2 * count, 0x00200000, -2))


CONTENTS = {
    "an honest file": (lambda: file(state()), GOOD),
    "20,000 sequences in one another": (lambda: file(nested(20000) + state()), TOO_DEEP),
    "300 sequences in one another": (lambda: file(state(before=nested(300))), GOOD),
    "4 GiB announced by a value": (lambda: file(element(0xF215, 0x1094, "OB", b"abcd", 0xFFFFFFFE)), ENDED),
    "4 GiB announced by a value, deflated": (lambda: deflated(element(0xF215, 0x1094, "OB", b"abcd", 0xFFFFFFFE)),
                                            refused("Invalid stream")),
    "4 GiB announced by a sequence": (lambda: file(element(8, 0x1115, "SQ", EMPTY_ITEM * 9, 0xFFFFFFFE)),
                                      refused("Sequence Delimitation Item missing")),
    "4 GiB announced by an item": (
        lambda: file(element(8, 0x1115, "SQ", struct.pack("<HHI", 0xFFFE, 0xE000, 0xFFFFFFFE) + b"abcd", UNDEFINED)),
        ENDED),
    "a bomb of one value": (
        lambda: deflated(state(behind=element(0xF215, 0x10A0, "OB", b"", 0xFFFFFFF0)), bytes(MEBI), 4000), INFLATED),
    "a bomb of values": (
        lambda: deflated(state() + element(0xF215, 0x1100, "SQ", b"", UNDEFINED),
                         ITEM + element(8, 8, "OB", bytes(MEBI)) + ITEM_END, 4000), INFLATED),
    "400 million elements": (
        lambda: deflated(state() + element(0xF215, 0x1100, "SQ", b"", UNDEFINED),
                         ITEM + element(9, 0x1000, "LO") * 131000 + ITEM_END, 3000), TOO_MANY),
    "a million elements in descending order": (
        lambda: file(descending(999000)), refused("Reading the file takes more than 5 seconds of processor time")),
    "a sparse file of 2 GiB": (
        lambda: (file(state()), 2048 * MEBI),
        refused("The file has 2147483648 bytes, and TARN_MAX_FILE_BYTES allows 536870912")),
    "a plug-in state of 400 MiB without text": (
        lambda: (file(state("")[:-4] + struct.pack("<I", 400 * MEBI)), len(file(state(""))) + 400 * MEBI),
        failed("Plugin State contains no figure")),
    "ten million lines": (lambda: file(state("label" + figure(lines="") + "x%0A" * 10000000)), GOOD),
    "a UID that is a path": (lambda: file(state(uid=STATE + "/../../evil")), not_ours(STATE + "/../../evil")),
    "a UID that forges a line": (lambda: file(state(uid=STATE + "\n\x1b[1m")), not_ours(STATE + "\\x0A\\x1B[1m")),
    "a class that is a path": (lambda: file(state(sop_class=GSPS + "/../x")), GOOD),
    "an image that is a path": (lambda: file(state("label" + figure("CT./../../x"))), unknown("CT./../../x")),
    "an image that forges a line": (
        lambda: file(state("label" + figure("CT.1\r\x07\x7f"))), unknown("CT.1\\x0D\\x07\\x7F")),
}



def bind(path):
    socket.socket(socket.AF_UNIX).bind(str(path))


# What stands at the input's path: made by the function.
INPUTS = {
    "nothing": (lambda path: None, refused("No such file or directory")),
    "a FIFO": (os.mkfifo, NO_FILE),
    "a directory": (os.mkdir, NO_FILE),
    "a device": (lambda path: path.symlink_to("/dev/zero"), NO_FILE),
    "a socket": (bind, refused("No such device or address")),
    "a link that leads to itself": (lambda path: path.symlink_to(path), refused("Too many levels of symbolic links")),
}


def not_saved(reason):
    return failed(MISSING_IMAGE, f"Presentation State file {OUTPUT} could not be saved: {reason}",
                  "parseFigure returns false", r"parsePluginState returns false \(parseFigure\)")


# What stands where an output and the copy go.
TARGETS = {
    "FIFOs": (os.mkfifo, GOOD),
    "links to a file of somebody else": (lambda path: path.symlink_to("../victim"), GOOD),
    "links to nothing": (lambda path: path.symlink_to("../nothing"), GOOD),
    "links to the input": (lambda path: path.symlink_to("../in"), GOOD),
    "links to a folder": (lambda path: path.symlink_to("/tmp"), GOOD),
    "sockets": (bind, not_saved("Not a regular file")),
    "folders": (os.mkdir, not_saved("Is a directory")),
}

# With the object cache: a study's UID goes into a lock's name and, as a name, to the repository handler.
STUDIES = {"../../evil": "../../evil", "/etc": "/etc", ".": ".", "..\n": "..\\x0A"}

OPTIONS = {
    "TARN_MAX_FILE_BYTES=1G": said("annomend: TARN_MAX_FILE_BYTES is no whole number above 0: 1G", status=1),
    "TARN_MAX_FILE_BYTES=100": refused("The file has [0-9]+ bytes, and TARN_MAX_FILE_BYTES allows 100"),
    "DCMDICTPATH=/dev/zero": said("Data dictionary /dev/zero could not be read: File too large", status=1),
    "TARN_MAX_ELEMENTS=5": refused("The file holds more elements than the 5 of TARN_MAX_ELEMENTS"),
}


def put(work, recipe=lambda: file(state())):
    made = recipe()
    content, size = made if isinstance(made, tuple) else (made, len(made))
    (work / "in").write_bytes(content)
    os.truncate(work / "in", size)


def put_with_targets(work, make):
    put(work)
    make(work / "out" / OUTPUT)
    make(work / "out" / COPY)


def cases():
    """Name, expected outcome, arguments, environment, what prepares the folder."""
    for name, (recipe, expected) in CONTENTS.items():
        yield name, expected, ["-N"], "", lambda work: put(work, recipe)
    for name, (make, expected) in INPUTS.items():
        yield f"{name} as the input", expected, ["-N"], "", lambda work: make(work / "in")
    for name, (make, expected) in TARGETS.items():
        yield f"{name} where outputs go", expected, ["-N"], "", lambda work: put_with_targets(work, make)
    for study, shown in STUDIES.items():
        expected = said(f"Checking/re-mapping object cache failed for study {re.escape(shown)}: .*")
        yield f"the study {study!r}", expected, [], "", lambda work: put(work, lambda: file(state(study=study)))
    for option, expected in OPTIONS.items():
        yield option, expected, ["-N"], option, put


def convert(work, arguments, option):
    """Exit status, lines, seconds, mebibytes."""
    environment = [f"PATH={os.environ['PATH']}", "TARN_LOG=none", "TARN_DB_URL=sqlite::memory:", "OBJECTTBL=objects",
                   "QXOBJCACHETBL=object_cache", f"REPOSITORYHANDLER_HOME={BUILD}", f"REPOSITORY_META={work}/meta",
                   f"REPOSITORY_TEMPMETA={work}/meta", f"REPOSITORY_DICOM_DATA={work}/meta", *filter(None, [option])]
    start = time.monotonic()
    process = subprocess.Popen(["timeout", "-s", "KILL", "70", "env", "-i", *environment, BUILD / "bin/annomend",
                                *arguments, "-i", "-x", "-f", work / "in", "-o", f"{work}/out/"],
                               stderr=subprocess.PIPE, stdout=subprocess.DEVNULL, text=True, errors="surrogateescape")
    lines = process.stderr.read().splitlines()
    _, status, usage = os.wait4(process.pid, 0)
    return os.waitstatus_to_exitcode(status), lines, time.monotonic() - start, usage.ru_maxrss / 1024


def faults(work, outcome, expected):
    """What is wrong with a run, as sentences."""
    status, lines, seconds, mebibytes = outcome
    wanted_status, wanted_lines, wanted_outputs = expected
    pattern = "".join(re.sub("^IN ", re.escape(f"{work}/in "), line) + "\n" for line in wanted_lines)
    if status != wanted_status or not re.fullmatch(pattern, "".join(line + "\n" for line in lines)):
        yield f"status {status}, said {[line[:300] for line in lines]}, not {wanted_status}, {wanted_lines}"
    outputs = {path.name for path in (work / "out").iterdir() if path.is_file() and not path.is_symlink()}
    if outputs != wanted_outputs or not all((work / "out" / name).stat().st_size > 500 for name in outputs):
        yield f"wrote {outputs}, not {wanted_outputs}"
    if (work / "victim").read_text() != "untouched" or any((work / "meta").iterdir()):
        yield "touched what is not its own"
    if {path.name for path in work.iterdir()} - {"in"} != {"victim", "meta", "out"}:
        yield "left something behind"
    if seconds > 60 or mebibytes > 2048 and not SANITIZED:
        yield f"took {seconds:.0f} s and {mebibytes:.0f} MiB"


def main():
    problems, count = [], 0
    for name, expected, arguments, option, prepare in cases():
        count += 1
        with tempfile.TemporaryDirectory() as folder:
            work = pathlib.Path(folder)
            for part in ("meta", "out"):
                (work / part).mkdir()
            (work / "victim").write_text("untouched")
            prepare(work)
            problems += [f"{name}: {fault}" for fault in faults(work, convert(work, arguments, option), expected)]
    return conclude(problems, f"hostile files: {count}, faults: {len(problems)}")


sys.exit(main())
