"""check_orthanc.py BUILD: sends what a run converted to an archive, an Orthanc that the test starts on this host.

Each instance is asked back: its data set is equal to the one that was sent, element by element, and its UID leads
through the journal to the state that it was converted from.
"""
import contextlib
import io
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.request

import pydicom

sys.path.append(str(pathlib.Path(__file__).parents[1]))
from checking import conclude, free_port, sample_archive

STUDIES, LONGEST_SECONDS = 2, 30


class Archive:
    def __init__(self):
        self.dicom_port, self.http_port = free_port(), free_port()

    @contextlib.contextmanager
    def running(self, folder):
        folder.mkdir()
        (folder / "orthanc.json").write_text(json.dumps({
            "StorageDirectory": f"{folder}/files", "IndexDirectory": f"{folder}/files", "Plugins": [],
            "DicomPort": self.dicom_port, "HttpPort": self.http_port, "RemoteAccessAllowed": False,
            "DicomAlwaysAllowStore": True, "OverwriteInstances": False}))
        command = ["setpriv", "--pdeathsig", "KILL", "Orthanc", folder / "orthanc.json"]
        with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as process:
            try:
                self.wait()
                yield
            finally:
                process.kill()

    def wait(self):
        end = time.monotonic() + LONGEST_SECONDS
        while True:
            with contextlib.suppress(OSError):
                return self.ask("system")
            if time.monotonic() > end:
                raise SystemExit("check_orthanc: the archive does not answer")
            time.sleep(0.1)

    def ask(self, path, body=None):
        with urllib.request.urlopen(f"http://127.0.0.1:{self.http_port}/{path}", body, LONGEST_SECONDS) as answer:
            return answer.read()

    def instance(self, uid):
        """The object with the UID, of which there is one."""
        found, = json.loads(self.ask("tools/lookup", uid.encode()))
        return pydicom.dcmread(io.BytesIO(self.ask(f"instances/{found['ID']}/file")))


def problems_of(uid, sent, kept, record):
    if sent.SOPInstanceUID != uid or kept != sent:
        yield f"{uid} came back as another data set"
    if kept.file_meta.MediaStorageSOPInstanceUID != uid or kept.file_meta.TransferSyntaxUID.is_compressed:
        yield f"{uid} came back with another file meta header"
    state = pydicom.dcmread(record["input"])
    if (state.SOPInstanceUID, state.StudyInstanceUID) != (record["instance"], kept.StudyInstanceUID):
        yield f"{uid} leads to {record['input']}, which is not its state"


def problems_of_sending(folder):
    out, archive = folder / "out", Archive()
    environment = sample_archive(sys.argv[1], folder / "archive", STUDIES)
    subprocess.run(["annomend-archive", "convert", "-o", out, folder / "archive/states"], env=environment,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    records = map(json.loads, (out / "journal/1-of-1.jsonl").read_text().splitlines()[1:])
    made = [(output, record) for record in records for output in record["outputs"]]
    with archive.running(folder / "orthanc"):
        subprocess.run(["dcmsend", "+sd", "+r", "+sp", "PR.*", "127.0.0.1", str(archive.dicom_port), out], check=True)
        if (kept := len(json.loads(archive.ask("instances")))) != len(made) or not made:
            yield f"the archive has {kept} instances, the journal {len(made)}"
        for output, record in made:
            uid = output["instance"]
            yield from problems_of(uid, pydicom.dcmread(out / output["file"]), archive.instance(uid), record)


def main():
    if missing := [program for program in ("Orthanc", "dcmsend") if not shutil.which(program)]:
        print(f"check_orthanc: skipped, not installed: {', '.join(missing)}")
        return 0
    with tempfile.TemporaryDirectory() as folder:
        problems = list(problems_of_sending(pathlib.Path(folder)))
    return conclude(problems, f"{len(problems)} differences in what an archive keeps of {STUDIES} studies")


sys.exit(main())
