"""What scenarios over archives are made of: their list, and how the processes of a run are hit and waited for."""
import os
import pathlib
import signal
import subprocess
import time

from archives import expect

SCENARIOS = {}
NOBODY = 65534
SEVERAL, ALL_KINDS = "several-images.dcm", "annotations-all-kinds.dcm"


class Skipped(Exception):
    pass


def scenario(*databases):
    def add(function):
        SCENARIOS[function.__name__] = function, databases
        return function
    return add


def children(process):
    """The search for inputs, then the workers, oldest first."""
    try:
        return [int(pid) for pid in pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()]
    except FileNotFoundError:
        return []


def send(number, *pids):
    for pid in pids:
        try:
            os.kill(pid, number)
        except ProcessLookupError:
            pass


def wait_for(found, what):
    for _ in range(2000):
        if result := found():
            return result
        time.sleep(0.005)
    raise AssertionError(f"{what}: not within ten seconds")


def finish(process, status):
    try:
        said, _ = process.communicate(timeout=40)
    except subprocess.TimeoutExpired:
        send(signal.SIGKILL, *children(process), process.pid)
        raise AssertionError(f"the run did not end: {process.communicate()[0][-300:]}")
    expect(process.returncode == status, f"status {process.returncode}, not {status}: {said.decode()}")
