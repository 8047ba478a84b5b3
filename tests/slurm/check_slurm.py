"""check_slurm.py BUILD: converts a generated archive in six shards through a Slurm that the test starts on this host.

All tasks begin without the database, and requeue themselves until it is there. In three shards the lock of a study is
then held, so that they stop in the middle: of one the run is killed and the task requeued, one is cancelled and
submitted again, one gets the signal that comes before a time limit, and requeues itself and no other. In the end each
input has one record, in the journal of its shard, and the outputs are those of `annomend`.
"""
import collections
import contextlib
import ctypes
import fcntl
import hashlib
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).parents[2]
sys.path.append(str(ROOT / "tests"))
from checking import conclude, free_port, sample_archive

SHARDS, STUDIES, LONGEST_SECONDS = 6, 36, 40
KILLED, CANCELLED, ASKED = 1, 2, SHARDS  # the task whose SLURM_JOB_ID is the array's is the last
CONFIGURATION = """ClusterName=check
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
AuthInfo=socket={folder}/munge.socket,cred_expire=5
StateSaveLocation={folder}
SlurmdSpoolDir={folder}
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SchedulerParameters=sched_interval=1
SlurmdParameters=config_overrides
KillWait=2
NodeName={host} NodeAddr=127.0.0.1 CPUs=12
PartitionName=check Nodes=ALL Default=YES
"""


class Skipped(Exception):
    pass


def wait_for(what, holds, error=AssertionError):
    end = time.monotonic() + LONGEST_SECONDS
    while not holds():
        if time.monotonic() > end:
            raise error(f"not within {LONGEST_SECONDS} s: {what}")
        time.sleep(0.1)


class Check:
    def __init__(self, folder):
        self.folder, self.out, self.inventory = folder, folder / "out", folder / "inventory"
        (folder / "munge.key").touch(mode=0o600)
        (folder / "munge.key").write_bytes(os.urandom(1024))
        (folder / "slurm.conf").write_text(CONFIGURATION.format(
            folder=folder, host=socket.gethostname().split(".")[0], ports=(free_port(), free_port())))
        self.environment = {**sample_archive(sys.argv[1], folder / "archive", STUDIES),
                            "SLURM_CONF": f"{folder}/slurm.conf"}
        self.states = sorted((folder / "archive/states").glob("*/*"))
        self.ask("annomend-archive", "find", folder / "archive/states", "-o", self.inventory)
        for shard in range(1, SHARDS + 1):
            (folder / f"inventory.{shard}").write_text("".join(sorted(self.inventory.open())))

    def ask(self, *command, **variables):
        return subprocess.run(command, env={**self.environment, **variables}, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True).stdout

    def start(self, *command):
        with open(self.folder / f"{command[0]}.said", "wb") as said:
            subprocess.Popen(["setpriv", "--pdeathsig", "KILL", *command], stdout=said, stderr=said,
                             env=self.environment)

    @contextlib.contextmanager
    def daemons(self):
        """What they start becomes a child of this process, at the latest when its own parent has gone."""
        ctypes.CDLL(None).prctl(36, 1, 0, 0, 0)  # PR_SET_CHILD_SUBREAPER
        socket_file = self.folder / "munge.socket"
        try:
            self.start("munged", "-F", "--force", f"--socket={socket_file}",
                       *(f"--{kind}-file={self.folder}/munge.{kind}" for kind in ("key", "pid", "log", "seed")))
            wait_for("munged", socket_file.exists, Skipped)
            self.start("slurmctld", "-D")
            self.start("slurmd", "-D")
            wait_for("slurmctld and slurmd", lambda: self.ask("sinfo", "-h", "-o", "%t") == "idle\n", Skipped)
            yield
        finally:
            while children := pathlib.Path(f"/proc/self/task/{os.getpid()}/children").read_text().split():
                for child in map(int, children):
                    os.kill(child, signal.SIGKILL)
                    os.waitpid(child, 0)

    def submit(self, array, **variables):
        return self.ask("sbatch", "--parsable", f"--array={array}", "--cpus-per-task=2",
                        f"--output={self.folder}/task-%a", ROOT / "packaging/slurm/annomend-archive.sbatch", self.out,
                        "--inventory", f"{self.inventory}.%a", **variables).strip()

    def tasks(self, job, field):
        """A field of each task that has begun, by the task's number."""
        lines = self.ask("scontrol", "-o", "show", "job", job).splitlines()
        tasks = [dict(item.split("=", 1) for item in line.split() if "=" in item) for line in lines]
        return {int(task["ArrayTaskId"]): task[field] for task in tasks if task["ArrayTaskId"].isdigit()}

    def journal(self, shard):
        return self.out / f"journal/{shard}-of-{SHARDS}.jsonl"

    def records(self, shard):
        lines = self.journal(shard).read_text().splitlines() if self.journal(shard).exists() else []
        return [json.loads(line) for line in lines[1:]]

    def process_of(self, shard):
        """The process that holds the lock of the shard's journal."""
        inode = self.journal(shard).stat().st_ino
        locks = map(str.split, pathlib.Path("/proc/locks").read_text().splitlines())
        return next(int(lock[4]) for lock in locks if lock[1] == "FLOCK" and lock[5].endswith(f":{inode}"))

    def convert(self):
        """How the tasks ended, and how often they were started again from the middle on."""
        database = pathlib.Path(self.environment["TARN_DB_URL"].removeprefix("sqlite:"))
        last = {shard_of(state.parent.name): state.parent.name for state in self.states}
        database.rename(absent := database.with_suffix(".absent"))
        job = self.submit(f"1-{SHARDS}")
        restarts = lambda: {shard: int(count) for shard, count in self.tasks(job, "Restarts").items()}
        wait_for("requeued for want of the database", lambda: [*map(bool, restarts().values())] == [True] * SHARDS)
        with open(f"{database}-lock", "r+b") as locks:
            for shard in (KILLED, CANCELLED, ASKED):
                lock_study(locks, last[shard])
            absent.rename(database)
            wait_for("three in the middle", lambda: all(map(self.records, (KILLED, CANCELLED, ASKED))))
            wait_for("three at the end", lambda: [*self.tasks(job, "JobState").values()].count("FAILED") == SHARDS - 3)
            before = restarts()
            os.kill(self.process_of(KILLED), signal.SIGKILL)
            self.ask("scancel", f"{job}_{CANCELLED}")
            self.ask("scancel", "--batch", "--signal=TERM", f"{job}_{ASKED}")
            wait_for("killed", lambda: self.tasks(job, "ExitCode")[KILLED] == "137:0")
            wait_for("cancelled", lambda: self.tasks(job, "JobState")[CANCELLED] == "CANCELLED")
        self.ask("scontrol", "requeue", f"{job}_{KILLED}")
        wait_for("requeued at the signal", lambda: restarts()[ASKED] > before[ASKED])
        again = self.submit(CANCELLED, ANNOMEND_SHARDS=str(SHARDS))
        wait_for("the end", lambda: not self.ask("squeue", "-h"))
        ends = {**self.tasks(job, "ExitCode"), **self.tasks(again, "ExitCode")}
        return {shard: (ends[shard], count - before[shard]) for shard, count in restarts().items()}

    def problems(self):
        for shard, ended in self.convert().items():
            if ended != ("3:0", 1 if shard in (KILLED, ASKED) else 0):  # each study has an image that nothing knows
                yield f"shard {shard}: exit status and restarts {ended}: {(self.folder / f'task-{shard}').read_text()}"
        yield from self.ask("annomend-archive", "check", "--journal", self.out).splitlines()
        recorded = collections.Counter((record["input"], shard_of(record["study"]) == shard)
                                       for shard in range(1, SHARDS + 1) for record in self.records(shard))
        if recorded != {(str(state), True): 1 for state in self.states}:
            yield f"the journals do not hold each input once, in its shard: {recorded}"
        for state in self.states:
            (target := self.folder / "reference" / state.parent.name).mkdir(parents=True, exist_ok=True)
            self.ask("annomend", "-f", state, "-o", f"{target}/")
        made, expected = ({path.relative_to(root): path.read_bytes() for path in root.glob("*/PR.*")}
                          for root in (self.out, self.folder / "reference"))
        yield from (f"{name} is not what annomend writes" for name in {*made, *expected}
                    if made.get(name) != expected.get(name))


def shard_of(study):
    return int.from_bytes(hashlib.sha256(study.encode()).digest()[:8], "big") % SHARDS + 1


def lock_study(file, study):
    """Holds the lock under which `study` is imported: a byte beside the database, by its name's FNV-1a hash."""
    place = 0xCBF29CE484222325
    for byte in f"OBJCACHE_{study}".encode():
        place = (place ^ byte) * 0x100000001B3 % 2**64
    fcntl.lockf(file, fcntl.LOCK_EX, 1, place >> 2)


def main():
    missing = [daemon for daemon in ("munged", "slurmctld", "slurmd") if not shutil.which(daemon)]
    if os.geteuid() != 0 or missing:
        raise Skipped(f"{', '.join(missing)} not installed" if missing else "the daemons of Slurm need root")
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    with tempfile.TemporaryDirectory() as name:
        check = Check(pathlib.Path(name))
        with check.daemons():
            problems = list(check.problems())
    return conclude(problems, f"{len(problems)} differences in {len(check.states)} states of {SHARDS} shards")


try:
    sys.exit(main())
except Skipped as reason:
    print(f"check_slurm: skipped, {reason}")
