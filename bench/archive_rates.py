#!/usr/bin/python3
"""Rates of annomend-archive: archive_rates.py BUILD STUDIES FOLDER...

Makes an archive of so many copies of the sample study in each FOLDER (on the file systems to be compared), and prints
what was measured there: conversion by one and two workers, with and without the import of the studies, a second run
that finds everything done, walks; bytes of journal and outputs; and for a journal of 10,000 and one of 1,000,000
records, memory and time of a run that only reads it.
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).parents[1]
sys.path.append(str(ROOT / "tests"))
from checking import sample_archive

OTHERS = 100000


class Bench:
    def __init__(self, build, studies, folder):
        self.folder, self.archive, self.out = folder, folder / "archive", folder / "out"
        self.environment = sample_archive(build, self.archive, studies)
        self.database = self.archive / "archive.db"
        shutil.copy(self.database, folder / "empty.db")
        self.states = self.archive / "states"
        self.count = len(list(self.states.glob("*/*")))

    def forget_imports(self):
        for rest in self.archive.glob("archive.db*"):
            rest.unlink()
        shutil.copy(self.folder / "empty.db", self.database)

    def run(self, *arguments):
        """Seconds, and peak memory of the largest process in MB."""
        os.sync()  # the run syncs the whole file system
        begin = time.perf_counter()
        process = subprocess.Popen(["annomend-archive", *arguments], env=self.environment, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        _, _, usage = os.wait4(process.pid, 0)
        return time.perf_counter() - begin, usage.ru_maxrss / 1024

    def convert(self, workers):
        shutil.rmtree(self.out, ignore_errors=True)
        return self.run("convert", "-j", str(workers), "-o", self.out, self.states)[0]

    def rate(self, what, count, seconds):
        print(f"  {what:52} {1000 * seconds / count:8.4f} ms each  {count / seconds:9.0f} a second")

    def conversions(self):
        self.forget_imports()
        self.rate("converted by 1 worker, studies imported", self.count, self.convert(1))
        for workers in 1, 2:
            seconds = sorted(self.convert(workers) for _ in range(3))[1]
            self.rate(f"converted by {workers} worker{'s' * (workers - 1)}", self.count, seconds)
        self.rate("done before", self.count, self.run("convert", "-j2", "-o", self.out, self.states)[0])
        self.rate("checked", self.count, self.run("check", "--journal", self.out)[0])

    def walks(self):
        self.rate("found (find)", self.count, self.run("find", self.states, "-o", "/dev/null")[0])
        others = self.folder / "others"
        others.mkdir()
        image = next(self.archive.glob("images/*/*")).read_bytes()
        for number in range(OTHERS):
            if number % 1000 == 0:
                (others / str(number)).mkdir()
            (others / str(number // 1000 * 1000) / str(number)).write_bytes(image[:2048])
        self.run("find", others, "-o", "/dev/null")
        self.rate("passed over by 1 process (find)", OTHERS, self.run("find", others, "-o", "/dev/null")[0])
        self.rate("passed over by 2 workers (convert)", OTHERS,
                  self.run("convert", "-j2", "-o", self.folder / "none", others)[0])

    def sizes(self):
        journal = self.out / "journal/1-of-1.jsonl"
        outputs = [path.stat().st_size for path in self.out.glob("*/PR.*")]
        print(f"  an input: {journal.stat().st_size / self.count:.0f} bytes of journal, "
              f"{len(outputs) / self.count:.2f} outputs of {sum(outputs) / len(outputs):.0f} bytes")

    def journals(self):
        """The records again and again, under other names."""
        header, *lines = (self.out / "journal/1-of-1.jsonl").read_text().splitlines()
        memory = {}
        for count in 10000, 1000000:
            out = self.folder / f"journal-{count}"
            (out / "journal").mkdir(parents=True)
            with open(out / "journal/1-of-1.jsonl", "w") as journal:
                journal.write(header + "\n")
                for number in range(count):
                    line = lines[number % len(lines)]
                    line = line.replace("20000", f"2{number // len(lines)}.").replace("/states/", f"/{number}/")
                    journal.write(line + "\n")
            nothing = self.folder / "nothing"
            nothing.touch()
            seconds, memory[count] = self.run("convert", "-j1", "-o", out, "--files-from", nothing)
            self.rate(f"read of a journal of {count} records", count, seconds)
        outputs = sum(len(json.loads(line)["outputs"]) for line in lines) / len(lines)
        each = (memory[1000000] - memory[10000]) * 2**20 / 990000
        print(f"  a record with {outputs:.2f} outputs: {each:.0f} bytes of memory ("
              f"{memory[10000]:.0f} MB at 10000 records, {memory[1000000]:.0f} MB at 1000000)")


def main():
    for parent in sys.argv[3:]:
        with tempfile.TemporaryDirectory(dir=parent) as folder:
            bench = Bench(sys.argv[1], sys.argv[2], pathlib.Path(folder))
            print(f"{parent}: {bench.count} states of {sys.argv[2]} studies")
            bench.conversions()
            bench.walks()
            bench.sizes()
            bench.journals()


main()
