"""check_slurm.py BUILD: converts a generated archive in six shards through a Slurm that the test starts on this host.

All tasks begin without the database, and requeue themselves until it is there. In three shards the lock of a study is
then held, so that they stop in the middle: of one the run is killed and the task requeued, one is cancelled and
submitted again, one gets the signal that comes before a time limit, and requeues itself and no other. In the end each
input has one record, in the journal of its shard, and the outputs are those of `annomend`.
"""
import collections
import fcntl
import hashlib
import json
import os
import pathlib
import signal
import sys
import tempfile

ROOT = pathlib.Path(__file__).parents[2]
sys.path.append(str(ROOT / "tests"))
from checking import conclude, sample_archive
from cluster import Cluster, Skipped, require_daemons, wait_for

SHARDS, STUDIES = 6, 36
KILLED, CANCELLED, ASKED = 1, 2, SHARDS  # the task whose SLURM_JOB_ID is the array's is the last
class Check:
    def __init__(self, folder):
        environment = sample_archive(sys.argv[1], folder / "archive", STUDIES)
        self.cluster = Cluster(folder, environment, cpus=2 * SHARDS)
        self.ask, self.tasks = self.cluster.ask, self.cluster.tasks
        self.folder, self.out, self.inventory = folder, folder / "out", folder / "inventory"
        self.database = pathlib.Path(environment["TARN_DB_URL"].removeprefix("sqlite:"))
        self.states = sorted((folder / "archive/states").glob("*/*"))
        self.ask("annomend-archive", "find", folder / "archive/states", "-o", self.inventory)
        for shard in range(1, SHARDS + 1):
            (folder / f"inventory.{shard}").write_text("".join(sorted(self.inventory.open())))

    def submit(self, array, **variables):
        return self.ask("sbatch", "--parsable", f"--array={array}", "--cpus-per-task=2",
                        f"--output={self.folder}/task-%a", ROOT / "packaging/slurm/annomend-archive.sbatch", self.out,
                        "--inventory", f"{self.inventory}.%a", **variables).strip()

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
        last = {shard_of(state.parent.name): state.parent.name for state in self.states}
        self.database.rename(absent := self.database.with_suffix(".absent"))
        job = self.submit(f"1-{SHARDS}")
        restarts = lambda: {shard: int(count) for shard, count in self.tasks(job, "Restarts").items()}
        wait_for("requeued for want of the database", lambda: [*map(bool, restarts().values())] == [True] * SHARDS)
        with open(f"{self.database}-lock", "r+b") as locks:
            for shard in (KILLED, CANCELLED, ASKED):
                lock_study(locks, last[shard])
            absent.rename(self.database)
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
    require_daemons()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    with tempfile.TemporaryDirectory() as name:
        check = Check(pathlib.Path(name))
        with check.cluster.daemons():
            problems = list(check.problems())
    return conclude(problems, f"{len(problems)} differences in {len(check.states)} states of {SHARDS} shards")


try:
    sys.exit(main())
except Skipped as reason:
    print(f"check_slurm: skipped, {reason}")
    sys.exit(77)
