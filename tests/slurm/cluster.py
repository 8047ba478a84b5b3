"""A Slurm of one node, of daemons that end with this process."""
import contextlib
import ctypes
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import time

from checking import free_port

LONGEST_SECONDS = 40
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
NodeName={host} NodeAddr=127.0.0.1 CPUs={cpus}
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


def require_daemons():
    if missing := [daemon for daemon in ("munged", "slurmctld", "slurmd") if not shutil.which(daemon)]:
        raise Skipped(f"not installed: {', '.join(missing)}")
    if os.geteuid() != 0:
        raise Skipped("the daemons of Slurm need root")


class Cluster:
    """Its files are in `folder`, and its jobs have the environment."""

    def __init__(self, folder, environment, cpus):
        self.folder, self.environment = folder, {**environment, "SLURM_CONF": f"{folder}/slurm.conf"}
        (folder / "munge.key").touch(mode=0o600)
        (folder / "munge.key").write_bytes(os.urandom(1024))
        (folder / "slurm.conf").write_text(CONFIGURATION.format(
            folder=folder, host=socket.gethostname().split(".")[0], ports=(free_port(), free_port()), cpus=cpus))

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

    def tasks(self, job, field):
        """A field of each task that has begun, by the task's number."""
        lines = self.ask("scontrol", "-o", "show", "job", job).splitlines()
        tasks = [dict(item.split("=", 1) for item in line.split() if "=" in item) for line in lines]
        return {int(task["ArrayTaskId"]): task[field] for task in tasks if task["ArrayTaskId"].isdigit()}
