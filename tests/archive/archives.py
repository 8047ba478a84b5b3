"""An archive to convert: the sample study under several UIDs, states by the hundred, and what `annomend` makes of each."""
import concurrent.futures
import json
import os
import pathlib
import re
import signal
import subprocess
import sys

import pydicom

TESTS = pathlib.Path(__file__).parents[1]
sys.path.append(str(TESTS / "corpus"))
from hostile_files import DEFLATED, deflated, element, figure, file, state

STUDY, ROOT = b"1.2.826.0.1.7770001.2.11.1.20", "1.2.826.0.1.7770001.2.11.4.20."
STUDIES = [STUDY[:-2] + b"%d" % number for number in range(20, 26)]
UNKNOWN_STUDY = STUDY[:-2] + b"99"
PLACE = "55555555"  # of the digits that tell one copy of a state from another
IMAGE = f"CT.{STUDY.decode()}.1.1"
RULER = "ruler_x 1 yellow 60 118 0 1 60 118 80 90 0|100 118 50.0%2Bmm 1"


def expect(holds, what):
    if not holds:
        raise AssertionError(what)


def odd_states(number):
    """States that end in every way, by name; `number` makes their UIDs their own."""
    def made(last, study=STUDY.decode(), text=f"label{figure(IMAGE, RULER)}"):
        return file(state(uid=f"{ROOT}7.{number}{last}", study=study, plugin_state=text))
    odd_lines = f"{RULER}\nsmile_x 1\nwave 2\n\xff\x1b_x 3\n\\xFF\x1b_x 3\n{RULER}"
    return {
        "nothing": made(2).split(element(0xF215, 0x10, "LO", "PB group A"))[0],
        "foreign": file(state(uid=f"1.2.3.{number}", study=STUDY.decode())),
        "cut": made(1)[:-40],
        "no study": made(3, study=""),
        "two figures, one bad": made(4, text="label" + figure(IMAGE, RULER) + figure(IMAGE, f"{RULER}\nruler_x 1")),
        "no figure": made(5, text="label"),
        "empty state": made(6, text=""),
        "odd lines": made(7, text="label" + figure(IMAGE, odd_lines)),
        "odd image": made(8, text="label" + figure("\xff'", RULER)),
        "unknown study": made(9, study=UNKNOWN_STUDY.decode(), text=f"label{figure()}"),
        **{f"study {index}": made(f"0{index}", study=study, text=f"label{figure()}")
           for index, study in enumerate(["../../x", "1" * 70, ".", "..", "/etc", "1.2/3"])},
    }


def slow_state(megabytes):
    """A state that takes long, and that much memory."""
    value = element(0xF215, 0x10A0, "OB", b"", megabytes << 20)
    text = f"label{figure(IMAGE, RULER)}"
    return deflated(state(study=STUDY.decode(), plugin_state=text, behind=value), bytes(1 << 20), megabytes)


def put_all(folder, files):
    """Makes files of the contents given by name; their paths."""
    for name, content in files.items():
        (folder / name).parent.mkdir(parents=True, exist_ok=True)
        (folder / name).write_bytes(content)
    return [str(folder / name) for name in files]


class Server:
    """A MariaDB server with a database for an archive."""

    def __init__(self, folder):
        self.folder, self.url = folder, f"mysql://root@localhost/archive?socket={folder}/s"
        folder.mkdir()
        self.start()
        subprocess.run(["mariadb", "--no-defaults", "--user=root", f"--socket={folder}/s", "-e",
                        "CREATE DATABASE archive"], check=True)

    def start(self):
        subprocess.run([TESTS / "support/start-server.sh", str(os.getpid()), self.folder], check=True)

    def kill(self):
        os.kill(int((self.folder / "pid").read_text()), signal.SIGKILL)


class Archive:
    """The database, images and settings, in `folder`, and runs over states that tree() makes."""

    def __init__(self, build, folder, server=None):
        self.folder, self.server, self.serial, self.references = folder, server, 0, {}
        script = ('source scripts/sample-archive.sh; use_sample_archive "$1" "$2"; TARN_DB_URL=${3:-$TARN_DB_URL};'
                  'make_sample_archive "$2" >/dev/null 2>&1; env -0')
        environment = subprocess.check_output(["bash", "-ec", script, "bash", build, folder / "archive",
                                               server.url if server else ""], cwd=TESTS.parent)
        self.env = dict(item.split("=", 1) for item in environment.decode().split("\0") if item)
        for study in STUDIES[1:]:
            put_all(folder / "archive/images" / study.decode(), {
                image.name.replace(STUDY.decode(), study.decode()): image.read_bytes().replace(STUDY, study)
                for image in (folder / "archive/images" / STUDY.decode()).iterdir()})
        self.add_studies()
        paths = sorted((folder / "archive/states").iterdir())
        self.samples = {path.name: path.read_bytes() for path in paths}
        self.templates = [content for content in map(self.template, paths) if content]

    def add_studies(self):
        subprocess.run(["tarnctl", "add-study", *(self.folder / "archive/images").iterdir()], env=self.env, check=True,
                       capture_output=True)

    def copy(self, folder):
        """This archive again, with its own database."""
        subprocess.run(["cp", "-r", self.folder, folder], check=True)
        other = object.__new__(Archive)
        other.__dict__ = {**self.__dict__, "folder": folder, "references": {}}
        other.env = {name: value.replace(str(self.folder), str(folder)) for name, value in self.env.items()}
        return other

    def template(self, path):
        """The bytes of a state whose UIDs can be exchanged for others of their length; None where they are packed."""
        dataset = pydicom.dcmread(path)
        if dataset.file_meta.TransferSyntaxUID == DEFLATED:
            return None
        dataset.SOPInstanceUID = dataset.file_meta.MediaStorageSOPInstanceUID = ROOT + PLACE
        dataset.save_as(self.folder / "template")
        return (self.folder / "template").read_bytes()

    def copies(self, count):
        """That many states, no two of one UID."""
        for _ in range(count):
            self.serial += 1
            template = self.templates[self.serial % len(self.templates)]
            study = STUDIES[self.serial // 7 % len(STUDIES)]
            yield template.replace(STUDY, study).replace(PLACE.encode(), b"%08d" % self.serial)

    def tree(self, folder, count):
        """Makes states in folders of 40 each; their paths."""
        return put_all(folder, {f"{index // 40}/{index}": content for index, content in enumerate(self.copies(count))})

    def change(self, inputs, chance):
        """Every fifth input becomes another state."""
        put_all(pathlib.Path("/"), dict(zip(chance.sample(inputs, len(inputs) // 5), self.copies(len(inputs)))))

    def run(self, *arguments, **options):
        """annomend-archive: status, standard output, standard error."""
        done = subprocess.run(["annomend-archive", *map(str, arguments)], capture_output=True, timeout=60,
                              errors="surrogateescape", **{"env": self.env, **options})
        return done.returncode, done.stdout, done.stderr

    def refuses(self, status, why, *arguments, **options):
        done = self.run(*arguments, **options)
        expect(done[0] == status and why in done[2], f"not {status}, '{why}': {done}")

    def convert(self, out, *arguments, status=0, inputs=None, unlike=(), options=(), **process):
        """A run that ends with `status`, and has a record for each of `inputs` if these are given; its records."""
        done = self.run("convert", "--progress", "none", "-o", out, *arguments, **process)
        expect(done[0] == status, f"status {done[0]}, not {status}: {done[1]}{done[2]}")
        return records(out) if inputs is None else self.verify(out, inputs, unlike, options)

    def start(self, out, *arguments, **options):
        return subprocess.Popen(["annomend-archive", "convert", "--progress", "none", "-o", out, *arguments],
                                env=self.env, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)

    def reference(self, path, *options):
        """What annomend makes of the file: status, lines, outputs by name. Once for each file and content."""
        key = path, options, pathlib.Path(path).read_bytes()
        if key not in self.references:
            out = self.folder / "reference" / os.urandom(8).hex()
            out.mkdir(parents=True)
            done = subprocess.run(["annomend", *options, "-f", path, "-o", f"{out}/"], env=self.env, capture_output=True)
            made = {output.name: output.read_bytes() for output in sorted(out.iterdir())}
            self.references[key] = done.returncode, shown(done.stderr).splitlines(), made
        return self.references[key]

    def verify(self, out, inputs, unlike=(), options=()):
        """Each input has one record, and each record and output is what annomend, with these options, makes of it;
        `check` finds nothing. Inputs in `unlike` have records of their own kind, of which the sums close."""
        found = records(out)
        expect(found.keys() == set(inputs), f"records {sorted(found.keys() ^ set(inputs))[:3]} too many or missing")
        compared = [path for path in inputs if path not in unlike]
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            references = dict(zip(compared, pool.map(lambda path: self.reference(path, *options), compared)))
        for path, record in found.items():
            check_sums(record)
            if path in references:
                check_record(out, record, *references[path])
        status, said, _ = self.run("check", "--journal", out)
        expect(status == 0 and not said, f"check: {status} {said[:300]}")
        return found


def shown(text):
    """As a journal shows it: a byte that is no UTF-8 is \\xNN."""
    return re.sub("[\udc80-\udcff]", lambda byte: f"\\x{ord(byte[0]) - 0xDC00:02X}", os.fsdecode(text))


def records(out):
    """The last record of each input, in all journals of the folder."""
    found = {}
    for journal in out.glob("journal/*.jsonl"):
        for record in map(json.loads, journal.read_bytes().split(b"\n")[1:-1]):
            hexadecimal = record.get("input_hex")
            found[os.fsdecode(bytes.fromhex(hexadecimal)) if hexadecimal else record["input"]] = record
    return found


def outcomes(found):
    names = [record["outcome"] for record in found.values()]
    return {name: names.count(name) for name in names}


def codes(record):
    return [reason["code"] for reason in record["reasons"]]


def is_current(record):
    """Whether the input is still the one that the record tells of."""
    look = os.stat(record["input"])
    return (record["size"], record["mtime"][-10:-1]) == (look.st_size, f"{look.st_mtime_ns % 10**9:09d}")


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
    expect(outcome in ("failed", "refused", "nothing") if status else outcome != "failed" or "object-cache" in
           codes(record), f"{name}: {outcome}, annomend {status}")
    names = {pathlib.Path(output["file"]).name: out / output["file"] for output in record["outputs"]}
    expect(len(names) + codes(record).count("name-taken") == len(made), f"{name}: {sorted(names)}, not {sorted(made)}")
    for output, path in names.items():
        expect(path.read_bytes() == made[output], f"{name}: {output} has other bytes")


def snapshot(out):
    """Inode and time of each output that a record holds; an interrupted record may hold more than there is."""
    files = {output["file"] for record in records(out).values() for output in record["outputs"]}
    looks = {name: os.lstat(out / name) for name in files if (out / name).exists()}
    return {name: (look.st_ino, look.st_mtime_ns) for name, look in looks.items()}
