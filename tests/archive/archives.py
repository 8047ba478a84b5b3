"""An archive to convert: the sample study under several UIDs, states by the hundred, and what `annomend` makes of each."""
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys

import pydicom

TESTS = pathlib.Path(__file__).parents[1]
sys.path += [str(TESTS), str(TESTS / "corpus")]
from checking import rows_of_copy
from hostile_files import DEFLATED, element, figure, file, state

STUDY, ROOT = b"1.2.826.0.1.7770001.2.11.1.20", "1.2.826.0.1.7770001.2.11.4.20."
STUDIES = [STUDY[:-2] + b"%d" % number for number in range(20, 26)]
UNKNOWN_STUDY = STUDY[:-2] + b"99"
PLACE = "55555555"
RULER = "ruler_x 1 yellow 60 118 0 1 60 118 80 90 0|100 118 50.0%2Bmm 1"


def expect(holds, what):
    if not holds:
        raise AssertionError(what)


def shown(text):
    """As a journal shows it: a byte that is no UTF-8 is \\xNN."""
    return re.sub("[\udc80-\udcff]", lambda byte: f"\\x{ord(byte[0]) - 0xDC00:02X}", os.fsdecode(text))


def odd_states(number):
    """States that end in every way, by name; `number` makes their UIDs their own."""
    uid, study = f"{ROOT}7.{number}", STUDY.decode()
    known = f"CT.{study}.1.1"
    whole = file(state(uid=uid + "1", study=study, plugin_state=f"label{figure(known)}"))
    return {
        "nothing": file(state(uid=uid + "2", study=study).split(element(0xF215, 0x10, "LO", "PB group A"))[0]),
        "foreign": file(state(uid=f"1.2.3.{number}", study=study)),
        "cut": whole[:-40],
        "no study": file(state(uid=uid + "3", study="")),
        "two figures, one bad": file(state(uid=uid + "4", study=study, plugin_state="label" +
                                           figure(known, f"{RULER}\n") + figure(known, f"{RULER}\nruler_x 1"))),
        "no figure": file(state(uid=uid + "5", study=study, plugin_state="label")),
        "empty state": file(state(uid=uid + "6", study=study, plugin_state="")),
        "odd lines": file(state(uid=uid + "7", study=study, plugin_state="label" +
                                figure(known, f"{RULER}\nsmile_x 1\nwave 2\n\xff\x1b_x 3\n\\xFF\x1b_x 3\n{RULER}"))),
        "odd image": file(state(uid=uid + "0", study=study, plugin_state=f"label{figure(chr(255) + chr(39), RULER)}")),
        "unknown study": file(state(uid=uid + "8", study=UNKNOWN_STUDY.decode())),
        **{f"study {study!r:.9}": file(state(uid=f"{uid}9{index}", study=study))
           for index, study in enumerate(["../../x", "1" * 70, ".", "..", "/etc", "1.2/3"])},
    }


class Archive:
    """The database, images and settings, below `folder`. `tree()` makes states to convert."""

    def __init__(self, build, folder, url=None):
        self.folder, self.serial = folder, 0
        script = ('source scripts/sample-archive.sh; use_sample_archive "$1" "$2"; [ -z "$3" ] || export TARN_DB_URL="$3";'
                  'make_sample_archive "$2" >/dev/null 2>&1; env -0')
        environment = subprocess.check_output(["bash", "-ec", script, "bash", build, folder / "archive", url or ""],
                                              cwd=TESTS.parent)
        self.env = dict(item.split("=", 1) for item in environment.decode().split("\0") if item)
        images = folder / "archive/images"
        for study in STUDIES[1:]:
            (images / study.decode()).mkdir()
            for image in (images / STUDY.decode()).iterdir():
                copy = images / study.decode() / image.name.replace(STUDY.decode(), study.decode())
                copy.write_bytes(image.read_bytes().replace(STUDY, study))
        subprocess.run(["tarnctl", "add-study", *sorted(images.iterdir())], env=self.env, check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.samples = {path.name: path.read_bytes() for path in sorted((folder / "archive/states").iterdir())}
        self.templates = [self.template(path) for path in sorted((folder / "archive/states").iterdir())]
        self.templates = [bytes for bytes in self.templates if bytes]
        self.references = {}

    def template(self, path):
        """The bytes of a state whose UIDs can be exchanged for others of their length; None where they are packed."""
        dataset = pydicom.dcmread(path)
        if dataset.file_meta.TransferSyntaxUID == DEFLATED:
            return None
        dataset.SOPInstanceUID = dataset.file_meta.MediaStorageSOPInstanceUID = ROOT + PLACE
        copy = self.folder / "template"
        dataset.save_as(copy)
        return copy.read_bytes()

    def copies(self, count):
        """That many states, no two of one UID."""
        for _ in range(count):
            self.serial += 1
            template = self.templates[self.serial % len(self.templates)]
            study = STUDIES[self.serial // 7 % len(STUDIES)]
            yield template.replace(STUDY, study).replace(PLACE.encode(), b"%08d" % self.serial)

    def tree(self, folder, count):
        """Makes states in folders of 40 each; their paths."""
        paths = []
        for index, content in enumerate(self.copies(count)):
            path = folder / str(index // 40) / f"{index}.dcm"
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)
            paths.append(str(path))
        return paths

    def run(self, *arguments, timeout=60, **options):
        """annomend-archive: status, standard output, standard error."""
        done = subprocess.run(["annomend-archive", *map(str, arguments)], env=self.env, capture_output=True,
                              timeout=timeout, errors="surrogateescape", **options)
        return done.returncode, done.stdout, done.stderr

    def convert(self, out, *arguments, status=0, **options):
        """A run that ends with `status`; its records."""
        done = self.run("convert", "--progress", "none", "-o", out, *arguments, **options)
        expect(done[0] == status, f"status {done[0]}, not {status}: {done[1]}{done[2]}")
        return records(out)

    def start(self, out, *arguments, **options):
        command = ["annomend-archive", "convert", "--progress", "none", "-o", out, *map(str, arguments)]
        return subprocess.Popen(command, env=self.env, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)

    def reference(self, path, *options):
        """What annomend makes of the file: status, lines, outputs by name. Once for each file and content."""
        key = path, options, pathlib.Path(os.fsencode(path).decode(errors="surrogateescape")).read_bytes()
        if key not in self.references:
            out = self.folder / "reference" / f"{len(self.references)}-{os.urandom(4).hex()}"
            out.mkdir(parents=True)
            done = subprocess.run(["annomend", *options, "-f", path, "-o", f"{out}/"], env=self.env, capture_output=True)
            made = {name.name: name.read_bytes() for name in out.iterdir()}
            self.references[key] = done.returncode, shown(done.stderr).splitlines(), made
        return self.references[key]

    def verify(self, out, inputs, kept=(), options=()):
        """Each input has one record, and each record and output is what annomend makes of it; `check` finds nothing.
        Inputs in `kept` are looked at for their sums alone."""
        found = records(out)
        expect(found.keys() == set(inputs), f"records {sorted(found.keys() ^ set(inputs))[:3]} too many or missing")
        compared = [path for path in inputs if path not in kept]
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            references = dict(zip(compared, pool.map(lambda path: self.reference(path, *options), compared)))
        for path, record in found.items():
            check_sums(record)
            if path in references:
                check_record(out, record, *references[path])
        status, said, _ = self.run("check", "--journal", out)
        expect(status == 0 and not said, f"check: {status} {said[:300]}")
        return found


def records(out):
    """The last record of each input, in all journals of the folder."""
    found = {}
    for journal in sorted(pathlib.Path(out).glob("journal/*.jsonl")):
        lines = journal.read_bytes().split(b"\n")
        for line in map(json.loads, lines[1:-1]):
            path = bytes.fromhex(line["input_hex"]) if "input_hex" in line else line["input"].encode()
            found[os.fsdecode(path)] = line
    return found


def check_sums(record):
    name, tallies = record["input"], record["annotations"]
    lost = sum(tally["read"] - tally["written"] for tally in tallies.values())
    told = sum(reason["count"] for reason in record["reasons"] if reason["code"] != "line-unknown")
    expect(lost == told, f"{name}: {lost} lines lost, reasons for {told}")
    for kind, tally in tallies.items():
        written = sum(output.get("annotations", {}).get(kind, 0) for output in record["outputs"])
        expect(tally["written"] == written <= tally["read"], f"{name}: {kind} {tally}, in outputs {written}")


def check_record(out, record, status, lines, made):
    name, outcome = record["input"], record["outcome"]
    expect(record["messages"] == lines, f"{name}: {record['messages']}, not {lines}")
    expect((status != 0) <= (outcome in ("failed", "refused", "nothing")), f"{name}: {outcome}, annomend {status}")
    expect(outcome != "converted" or status == 0, f"{name}: converted, annomend {status}")
    taken = [reason for reason in record["reasons"] if reason["code"] == "name-taken"]
    names = {pathlib.Path(output["file"]).name: out / output["file"] for output in record["outputs"]}
    expect(len(names) + len(taken) == len(made), f"{name}: outputs {sorted(names)}, annomend {sorted(made)}")
    for output, path in names.items():
        expect(path.read_bytes() == made[output], f"{name}: {output} has other bytes")


def snapshot(out):
    """Inode and time of each output that a record holds; an interrupted record may hold more than there is."""
    files = {output["file"] for record in records(out).values() for output in record["outputs"]}
    looks = {name: os.lstat(out / name) for name in files if (out / name).exists()}
    return {name: (look.st_ino, look.st_mtime_ns) for name, look in looks.items()}
