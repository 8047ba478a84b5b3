#!/usr/bin/env python3
"""One-shot runs, side by side: startup.py BUILD [ROUNDS]

Each round runs, one after the other, `annomend -N` and `dcmconv` (load and save) on the same small state, with outputs
that are new and with outputs that replace those of the round before. The embedded database exists, nothing is logged.
Prints the medians of each, process creation included, and annomend's as a multiple of dcmconv's: wall-clock time, and
the time of the processor, which other programs on the machine disturb less.
"""
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time


def main():
    programs = pathlib.Path(sys.argv[1]).resolve() / "bin"
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 200
    with tempfile.TemporaryDirectory() as folder:
        measure(programs, pathlib.Path(folder), rounds)


def measure(programs, folder, rounds):
    for variable in [name for name in os.environ if name.startswith("TARN_")] + ["DCMDICTPATH"]:
        os.environ.pop(variable, None)
    os.environ.update(TARN_DB_URL=f"sqlite:{folder}/archive.db", TARN_LOG="none")
    subprocess.run([programs / "annomend-samples", folder], check=True, stdout=subprocess.DEVNULL)
    subprocess.run([programs / "tarnctl", "init"], check=True, stdout=subprocess.DEVNULL)
    state = folder / "states" / "view-only.dcm"
    ours, theirs = folder / "ours", folder / "theirs"
    commands = {
        "annomend": [programs / "annomend", "-N", "-f", state, "-o", f"{ours}/"],
        "dcmconv": ["/usr/bin/dcmconv", state, theirs / "x.dcm"],
    }
    times = {(name, case): [] for case in ("new", "replaced") for name in commands}
    for _ in range(rounds):
        for directory in (ours, theirs):
            empty(directory)
        for name, case in times:
            times[name, case].append(run(commands[name]))
    for case in ("new", "replaced"):
        for clock, measured in enumerate(("wall", "cpu")):
            mine, other = (1000 * statistics.median(pair[clock] for pair in times[name, case]) for name in commands)
            print(f"{case:8} outputs, {measured:4}: annomend {mine:5.2f} ms, dcmconv {other:5.2f} ms, "
                  f"ratio {mine / other:.3f}")


def empty(directory):
    directory.mkdir(exist_ok=True)
    for file in directory.iterdir():
        file.unlink()


def run(command):
    """Seconds on the wall's clock and of the processor."""
    quiet = [(os.POSIX_SPAWN_OPEN, fd, os.devnull, os.O_WRONLY, 0) for fd in (1, 2)]
    start = time.perf_counter()
    process = os.posix_spawn(command[0], command, os.environ, file_actions=quiet)
    _, status, usage = os.wait4(process, 0)
    elapsed = time.perf_counter() - start
    if status != 0:
        sys.exit(f"{command} ended with status {status}")
    return elapsed, usage.ru_utime + usage.ru_stime


if __name__ == "__main__":
    main()
