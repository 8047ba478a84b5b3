#!/usr/bin/env python3
"""Whole archives, side by side: archive.py BUILD [STATES [ROUNDS]]

Makes STATES copies of the sample states, each an instance of its own, in the folder of temporary files (TMPDIR), with the
embedded database. Each round converts them all by the plainest loop in one process (convert_loop), by annomend-archive
with one worker and with two, and some of them by xargs -P2 with one annomend each; figures are medians, files a second.
Then it passes over files that are no presentation states, and compares the run's memory with 10,000 and 1,000,000 names
and records of a journal that it goes on with.
"""
import json
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import pydicom

ENVIRONMENT = dict(OBJECTTBL="objects", QXOBJCACHETBL="object_cache", TARN_LOG="none")


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 6000
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 5
    os.environ["PATH"] = f"{build}/bin:" + os.environ["PATH"]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        names = make_archive(build, folder, count)
        compare_loops(folder, names, rounds)
        check(folder, names)
        pass_over(folder, 200000)
        go_on(folder, names)


def make_archive(build, folder, count):
    archive = folder / "archive"
    os.environ.update(ENVIRONMENT, TARN_DB_URL=f"sqlite:{folder}/archive.db", REPOSITORYHANDLER_HOME=str(build),
                      REPOSITORY_DICOM_DATA=f"{archive}/images", REPOSITORY_META=f"{archive}/meta",
                      REPOSITORY_TEMPMETA=f"{archive}/tempmeta", CONF=str(archive))
    for path in (archive / "meta", archive / "tempmeta", folder / "states"):
        path.mkdir(parents=True)
    run("annomend-samples", archive)
    run("tarnctl", "init")
    run("tarnctl", "add-study", *(archive / "images").iterdir())
    samples = [pydicom.dcmread(path) for path in sorted((archive / "states").glob("*.dcm"))]
    names = []
    for number in range(count):
        state = samples[number % len(samples)]
        state.SOPInstanceUID = state.file_meta.MediaStorageSOPInstanceUID = f"1.2.826.0.1.7770001.2.11.4.9.{number}"
        names.append(str(folder / "states" / f"{number:07d}.dcm"))
        state.save_as(names[-1])
    return names


def run(*command, **options):
    return subprocess.run(command, check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)


def rate(names, out, command, **options):
    """Files a second; the run starts with an empty output folder."""
    shutil.rmtree(out, ignore_errors=True)
    out.mkdir()
    start = time.monotonic()
    run(*command, input="\n".join(names).encode() + b"\n", **options)
    return len(names) / (time.monotonic() - start)


def archive_command(out, workers):
    return "annomend-archive", "convert", f"-j{workers}", "-o", out, "--files-from", "-", "--progress", "none"


def compare_loops(folder, names, rounds):
    out = folder / "out"
    ways = {"one process, plain loop": (names, ("convert_loop", out)),
            "annomend-archive -j1": (names, archive_command(out, 1)),
            "annomend-archive -j2": (names, archive_command(out, 2)),
            "-j1 --form conformant": (names, (*archive_command(out, 1), "--form", "conformant")),
            "xargs -P2 annomend": (names[:1000], ("xargs", "-P2", "-n1", "annomend", "-o", f"{out}/", "-f"))}
    rates = {way: [] for way in ways}
    for _ in range(rounds):
        for way, (some, command) in ways.items():
            rates[way].append(rate(some, out, command))
    for way, values in rates.items():
        print(f"{way:26} {statistics.median(values):8.0f} files/s")
    loop, one, two, conformant, xargs = (rates[way] for way in ways)
    for text, above, below in (("-j1 / loop", one, loop), ("-j2 / -j1", two, one), ("-j2 / xargs -P2", two, xargs),
                               ("conformant / plain", conformant, one)):
        print(f"{text:26} {statistics.median(a / b for a, b in zip(above, below)):8.2f}")


def check(folder, names):
    """The rules of conformance over the outputs of all states, in one process."""
    run(*archive_command(folder / "checked", 2), input="\n".join(names).encode())
    count = sum(1 for _ in (folder / "checked").rglob("PR.*"))
    start = time.monotonic()
    run("annomend-archive", "check", folder / "checked")
    print(f"{'check':26} {count / (time.monotonic() - start):8.0f} files/s")


def pass_over(folder, count):
    images = [path.read_bytes() for path in (folder / "archive" / "images").glob("*/*")]
    others = folder / "others"
    others.mkdir()
    for number in range(count):
        (others / f"{number}").write_bytes(images[number % len(images)] if number % 4 else b"a text")
    command = ("annomend-archive", "convert", "-j1", "-o", folder / "none", others, "--progress", "none")
    start = time.monotonic()
    run(*command)
    print(f"{'passed over, -j1':26} {count / (time.monotonic() - start):8.0f} files/s")
    shutil.rmtree(others)


def go_on(folder, names):
    """Journals of records of states that went, so that each name costs a look-up and nothing else."""
    run(*archive_command(folder / "kept", 1), input="\n".join(names[:15]).encode())
    lines = (folder / "kept" / "journal" / "1-of-1.jsonl").read_text().splitlines()
    records = [json.loads(line) for line in lines[1:]]
    memory = {}
    for count in (10000, 1000000):
        out, names_file = folder / f"journal{count}", folder / f"names{count}"
        (out / "journal").mkdir(parents=True)
        with open(out / "journal" / "1-of-1.jsonl", "w") as journal, open(names_file, "w") as listed:
            journal.write(lines[0] + "\n")
            for number in range(count):
                record = dict(records[number % len(records)], input=f"{folder}/gone/{number:07d}.dcm", size=0, mtime="")
                record["outputs"] = [dict(output, file=f"1.2/PR.1.{place}.{number}")
                                     for place, output in enumerate(record["outputs"])]
                journal.write(json.dumps(record, separators=(",", ":")) + "\n")
                listed.write(record["input"] + "\n")
        command = ["annomend-archive", "convert", "-j1", "-o", out, "--progress", "none", "--files-from"]
        start = time.monotonic()
        run(*command, "/dev/null")
        begins = time.monotonic() - start
        start = time.monotonic()
        memory[count] = peak([*command, names_file])
        print(f"{count:8} records: begins after {begins:.1f} s, done after {time.monotonic() - start:.1f} s, "
              f"peak {memory[count] / 1024:.1f} MB")
    print(f"{'names beyond 10,000 cost':26} {(memory[1000000] - memory[10000]) / 1024:8.1f} MB")


def peak(command):
    """Resident memory of the run process in KB, as long as it could be read."""
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    most = 0
    while child.poll() is None:
        with open(f"/proc/{child.pid}/status") as status:
            most = max([most] + [int(line.split()[1]) for line in status if line.startswith("VmHWM")])
        time.sleep(0.02)
    return most


if __name__ == "__main__":
    main()
