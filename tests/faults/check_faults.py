"""check_faults.py ARCHIVE: makes each system call of whole conversions fail once, and judges every run.

ARCHIVE is a new sample archive whose programs and variables are in the environment (scripts/check-faults.sh). Calls
fail by strace's injection, which also reaches those of the standard library, SQLite and the dynamic loader. Those
before main() are left alone.
"""

import collections
import concurrent.futures
import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import pydicom

sys.path.append(str(pathlib.Path(__file__).parents[1]))
from checking import rows_of_copy

STUDY = "1.2.826.0.1.7770001.2.11.1.20"
STATE = "several-images.dcm"
SECONDS = 60  # of one run; more is a hang

# What each call can fail with. One that stands in neither table ends the check: somebody is to say which it is.
ERRORS = {
    "openat": ["EACCES", "EMFILE"], "read": ["EIO"], "pread64": ["EIO"], "lseek": ["EIO"],
    "write": ["ENOSPC", "EIO"], "writev": ["ENOSPC"], "pwrite64": ["ENOSPC"], "close": ["EIO"],
    "copy_file_range": ["EIO"], "sendfile": ["ENOSPC"], "fsync": ["EIO"], "fdatasync": ["EIO"],
    "ftruncate": ["ENOSPC"], "rename": ["EACCES"], "unlink": ["EACCES"], "unlinkat": ["EACCES"], "rmdir": ["EACCES"],
    "mkdir": ["ENOSPC"], "newfstatat": ["EIO"], "getdents64": ["EIO"], "access": ["EACCES"],
    "faccessat2": ["EACCES"], "readlink": ["EIO"], "getcwd": ["ENOENT"], "fchmod": ["EPERM"], "fchown": ["EPERM"],
    "flock": ["ENOLCK"], "fcntl": ["EIO", "EACCES"], "memfd_create": ["EMFILE"], "brk": ["ENOMEM"],
    "mmap": ["ENOMEM"], "mprotect": ["ENOMEM"], "prlimit64": ["EPERM"], "getxattr": ["EACCES", "EOPNOTSUPP"],
    "fgetxattr": ["EACCES", "EOPNOTSUPP"], "lgetxattr": ["EACCES", "EOPNOTSUPP"],
}
CANNOT_FAIL = {"clock_gettime", "clock_nanosleep", "exit_group", "fadvise64", "futex", "geteuid", "getpid", "getrandom",
               "ioctl", "munmap", "rt_sigaction", "uname"}
OUTCOMES = {"brk": "retval=0"}  # it answers with where the heap ends, never with an error
REMOVALS = {"unlink", "unlinkat", "rmdir"}

# The lines after which status 0 with outputs missing is right: any of them, or the copy alone.
EXCUSE = re.compile(f"could not be loaded: |^Checking/re-mapping object cache failed for study {STUDY}: ", re.M)
COPY_EXCUSE = f"Presentation State file {STATE} could not be saved: "
LINE = re.compile(r"[!-~]([ -~]*[!-~])?")
NO_REASON = re.compile(r"(:|\b(Success|Normal|not an error|unknown .*))$")

Run = collections.namedtuple("Run", "status said shown files rows", defaults=("", b"", {}, []))
Fault = collections.namedtuple("Fault", "call name tracer")
STRACE = ["strace", "-f", "-y", "-qq", "-o", "../calls"]


def tree(folder):
    return {str(path.relative_to(folder)): (path.stat().st_mode, path.read_bytes()) for path in folder.rglob("*")
            if path.is_file() and path.relative_to(folder).parts[0] != "home"}


def faults_of(calls):
    """Each call from the first one of main() on, its errors in turn; each moment from which memory is all used.

    Only locks are given back without fail: the system refuses that of no whole lock. What lies in memory is read.
    """
    def injected(name, *injections):
        traced = ",".join(injection.split(":")[0] for injection in injections)
        return Fault(call, name, [*STRACE, "--seccomp-bpf", "-e", f"trace={traced}",
                                  *(f"-einject={injection}" for injection in injections), "--"])
    counts = collections.Counter()
    started = False
    for line in calls:
        call = re.sub(r"^\d+ +|[^a-z0-9_].*", "", line)
        counts[call] += 1
        started = started or '"/dev/null", O_RDWR' in line
        if not started or not call or call in CANNOT_FAIL or "F_UNLCK" in line:
            continue
        if call == "read" and "</memfd:" in line:
            continue
        if call not in ERRORS:
            sys.exit(f"nobody has said how {call} can fail: {line}")
        error = ERRORS[call][counts[call] % len(ERRORS[call])]
        outcome = OUTCOMES.get(call, f"error={error}")
        yield injected(f"{call} {counts[call]} {error}", f"{call}:{outcome}:when={counts[call]}")
        if call in ("brk", "mmap"):
            brk, mmap = (counts[request] + (request != call) for request in ("brk", "mmap"))
            yield injected(f"no memory from {call} {counts[call]} on", f"brk:{OUTCOMES['brk']}:when={brk}+",
                           f"mmap:error=ENOMEM:when={mmap}+")


class Scenario:
    """One conversion. Every run of it has a changed copy of the archive in the folder `base`."""

    def __init__(self, name, base, *options, change=lambda folder: None, **variables):
        self.name, self.base, self.options, self.change, self.variables = name, base, options, change, variables
        with self.copy() as folder:
            self.before = tree(folder)
            self.clean = self.run(folder, STRACE)
            self.calls = (folder.parent / "calls").read_text(encoding="latin-1").splitlines()
        self.outputs = [file for file in self.clean.files if file.startswith("out/") and file != "out/foreign"]
        if self.clean.status != 0 or len(self.outputs) != 5:
            sys.exit(f"{name}: the clean run gives {self.clean.status}, {self.outputs}, {self.clean.said}")

    @contextlib.contextmanager
    def copy(self):
        with tempfile.TemporaryDirectory(dir=self.base.parent) as parent:
            folder = pathlib.Path(shutil.copytree(self.base, f"{parent}/archive"))
            (folder / "home/etc/repositories.conf").write_text(
                "".join(f"{name} = {folder}/{name}\n" for name in ("images", "meta", "tempmeta")))
            (folder / "home/lib").symlink_to(f"{os.environ['REPOSITORYHANDLER_HOME']}/lib")
            self.change(folder)
            yield folder

    def environment(self, folder):
        ours = dict(TARN_DB_URL=f"sqlite:{folder}/archive.db", REPOSITORYHANDLER_HOME=f"{folder}/home",
                    REPOSITORY_DICOM_DATA="images", REPOSITORY_META="meta", REPOSITORY_TEMPMETA="tempmeta",
                    CONF=str(folder), TARN_LOG=f"file:{folder}/archive.log")
        return {**os.environ, **ours, **self.variables}

    def run(self, folder, tracer=()):
        done = subprocess.run([*tracer, shutil.which("annomend"), *self.options, "-i", "-x", "-f",
                               folder / "states" / STATE, "-o", f"{folder}/out/"],
                              env=self.environment(folder), cwd=folder, capture_output=True, timeout=SECONDS)
        return Run(done.returncode, done.stderr.decode("latin-1"), done.stdout.replace(bytes(folder), b""),
                   tree(folder), rows_of_copy(folder / "archive.db", "SELECT * FROM objects ORDER BY 1, 2"))

    def judge(self, fault):
        """What was wrong in the run with this fault and in the one after it, and the run."""
        with self.copy() as folder:
            try:
                run = self.run(folder, fault.tracer)
            except subprocess.TimeoutExpired:
                return ["it hangs"], Run(None)
            # Where the heap starts is random: the last request for memory may not be made.
            may_miss = fault.call in ("brk", "mmap", "limit")
            if not may_miss and b"(INJECTED)" not in (folder.parent / "calls").read_bytes():
                return ["the call was not reached"], run
            problems = list(self.problems_of(run, fault.call))
            return problems + [f"afterwards {problem}" for problem in self.problems_afterwards(folder)], run

    def problems_of(self, run, call):
        *lines, rest = run.said.split("\n")
        known = self.clean.said.split("\n")
        news = [line for line in lines if line not in known]
        missing = [file for file in self.outputs if run.files.get(file) != self.clean.files[file]]
        if run.status not in (0, 1):
            yield f"status {run.status}"
        if rest:
            yield f"the line {rest!r} without an end"
        yield from (f"the line {line!r}" for line in lines if not LINE.fullmatch(line) or NO_REASON.search(line))
        if run.said != self.clean.said and not news and call != "write":
            yield "lines are missing"
        yield from self.file_problems(run.files, call in REMOVALS)
        if (missing or run.status or run.shown != self.clean.shown) and not news:
            yield f"silent, status {run.status}, missing: {missing}"
        is_excused = EXCUSE.search(run.said) or missing == [f"out/{STATE}"] and COPY_EXCUSE in run.said
        if missing and run.status == 0 and not is_excused:
            yield f"status 0, missing: {missing}"
        if not missing and run.shown == self.clean.shown and (run.status or news):
            yield f"status {run.status} although nothing is missing"

    def file_problems(self, files, may_stay):
        """Each file is as it was or as the clean run leaves it, but for the database and the log."""
        for name in sorted({*files, *self.before}):
            mine = (self.before.get(name), self.clean.files.get(name))
            if name.startswith("archive.") or files.get(name) in mine:
                continue
            if name not in files or any(mine):
                yield f"{name} " + ("has other bytes" if name in files else "is lost")
            elif not may_stay:
                yield f"{name} is left behind"

    def problems_afterwards(self, folder):
        run = self.run(folder)
        if "The Object Cache entry is in error status" in run.said:
            subprocess.check_output(["tarnctl", "clear-error", STUDY], env=self.environment(folder))
            run = self.run(folder)
        if (run.status, run.said, run.shown) != (self.clean.status, self.clean.said, self.clean.shown):
            yield f"status {run.status}, {run.said!r}"
        yield from (f"{name} differs" for name, content in self.clean.files.items()
                    if not name.startswith("archive.") and run.files.get(name) != content)
        if run.rows != self.clean.rows:
            yield "the object table differs"


def prepare(folder):
    """A plug-in state of 9 KB, which is read when it is asked for; images without pixels; somebody else's file."""
    file = folder / "states" / STATE
    state = pydicom.dcmread(file)
    state[0xF215, 0x1094].value += "".join(
        f"%0Aruler_x+{number}+yellow+60+118+0+1+60+118+80+90+0%7C100+118+50.0%2Bmm+1" for number in range(100))
    state.save_as(file)
    for image in (folder / "images" / STUDY).iterdir():
        image.write_bytes(b"")
    (folder / "home/etc").mkdir(parents=True)
    (folder / "out").mkdir()
    (folder / "out/foreign").write_text("foreign")


def take_over(folder):
    (folder / "meta" / STUDY / "objectdb.meta").rename(folder / "images" / STUDY / "objectdb.meta")
    shutil.rmtree(folder / "meta" / STUDY)


def put_dictionary(folder):
    """Its last line, behind several blocks, changes what is dumped."""
    text = "".join(f"(0011,\"FILLING\",{number:02x})\tLO\tFilling{number}\t1\tPrivateTag\n" for number in range(250))
    (folder / "a.dic").write_text(text + "(2050,0020)\tCS\tOwnName\t1\tDICOM\n")


def main():
    archive = pathlib.Path(sys.argv[1])
    prepare(archive)
    plain = Scenario("-N", archive, "-N")

    def put_older_outputs(folder):
        for file in plain.outputs:
            (folder / file).write_text("older")
            (folder / file).chmod(0o604)

    scenarios = [Scenario("-N over older outputs", archive, "-N", change=put_older_outputs),
                 Scenario("with an import", archive),
                 Scenario("with a meta file to take over", archive, change=take_over)]
    dictionary = Scenario("-N with a dictionary", archive, "-N", "-d", change=put_dictionary, DCMDICTPATH="a.dic")
    before_database = next(number for number, call in enumerate(dictionary.calls) if "archive.db" in call)
    work = [(dictionary, fault) for fault in faults_of(dictionary.calls[:before_database])]
    work += [(scenario, fault) for scenario in scenarios for fault in faults_of(scenario.calls)]
    longest = max(len(plain.clean.files[file][1]) for file in plain.outputs)
    full = Scenario("on a full disk", archive, "-N", TARN_DB_URL="sqlite::memory:")
    work += [(full, Fault("limit", f"files of {size} bytes at most", ["prlimit", f"--fsize={size}"]))
             for size in range(0, longest, longest // 30)]

    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for (scenario, fault), (problems, run) in zip(work, pool.map(lambda each: each[0].judge(each[1]), work)):
            failed += bool(problems)
            if problems:
                print(f"{scenario.name}: {fault.name}: status {run.status}, {run.said!r}", *problems, sep="\n    ")
    print(f"{len(work)} failures, {failed} of them went wrong")
    sys.exit(failed > 0)


main()
