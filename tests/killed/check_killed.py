"""check_killed.py BUILD [SEED]: runs of `annomend -i -x` over the sample archive are killed, and database servers.

On either database 150 runs are killed: two of three at a random moment, the third as it enters a random one of the
system calls that change something. On MariaDB, 20 servers are killed under a run as well. Half of the runs import the
study, half of those from the data repository; half find the outputs of a run before them. After each kill, what stands
under an output's name is whole, nothing that was there is gone, and the next run, with whatever was left behind, gives
the reference's bytes and messages and a database without doubles or errors.
"""
import os
import pathlib
import random
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time

TESTS = pathlib.Path(__file__).parents[1]
sys.path.append(str(TESTS))
from checking import rows_of_copy, sample_archive

KILLS, SERVER_KILLS, ROWS = 150, 20, 2000
CHANGING_CALLS = ("write,pwrite64,sendto,fsync,fdatasync,ftruncate,rename,unlink,mkdir,rmdir,flock,fcntl,fchmod,"
                  "copy_file_range,sendfile")
LONGEST_SECONDS = 10  # a lock that stays would hold the next run for 30
COUNTS = ("SELECT (SELECT COUNT(*) FROM objects), (SELECT COUNT(*) FROM object_cache),"
          " (SELECT COUNT(*) FROM object_cache WHERE STATUS=0 AND ERROR=0), (SELECT COUNT(*) FROM object_references)")
LOADED = (ROWS, 1, 1, 0)


def expect(holds, what):
    if not holds:
        raise SystemExit(f"check_killed: {what}")


class SQLite:
    def __init__(self, folder):
        self.file = folder / "archive.db"
        self.url = f"sqlite:{self.file}"

    def query(self, sql):
        with sqlite3.connect(self.file) as connection:
            rows = connection.execute(sql).fetchall()
        connection.close()
        return rows

    def counts_after_kill(self):
        return rows_of_copy(self.file, COUNTS)[0]

    def check(self):
        expect(self.query("PRAGMA integrity_check") == [("ok",)], "SQLite's integrity check")

    def stop(self):
        pass


class MariaDB:
    def __init__(self, folder):
        self.folder = folder
        self.url = f"mysql://root@localhost/archive?socket={folder}/s"
        self.start()
        self.query("CREATE DATABASE archive", "mysql")

    def start(self):
        started = subprocess.run([TESTS / "support/start-server.sh", str(os.getpid()), self.folder])
        expect(started.returncode == 0, "no server: " + (self.folder / "log").read_text())

    def stop(self):
        os.kill(int((self.folder / "pid").read_text()), signal.SIGKILL)

    def client(self, sql, database):
        command = ["mariadb", "--no-defaults", "--user=root", f"--socket={self.folder}/s", "-NB", "-e", sql, database]
        return subprocess.run(command, capture_output=True, text=True)

    def query(self, sql, database="archive"):
        answer = self.client(sql, database)
        expect(answer.returncode == 0, f"{sql}: {answer.stderr}")
        rows = [line.split("\t") for line in answer.stdout.splitlines()]
        return [tuple(int(value) if value.isdigit() else value for value in row) for row in rows]

    def counts_after_kill(self):
        return self.query(COUNTS)[0]

    def check(self):
        for _, _, _, verdict in self.query("CHECK TABLE objects, object_cache, object_references"):
            expect(verdict == "OK", f"CHECK TABLE says {verdict}")


class Archive:
    """The sample archive in `folder`, its study with ROWS rows in its object meta file, on one database."""

    def __init__(self, build, folder, make_database):
        self.out = folder / "out"
        self.out.mkdir()
        self.trace = folder / "calls"
        self.database = make_database(folder)
        self.env = sample_archive(build, folder / "archive", database=self.database.url)
        self.states = sorted((folder / "archive/states").iterdir())
        self.meta, = (folder / "archive/meta").iterdir()
        self.legacy = folder / "archive/images" / self.meta.name
        self.fill_meta_file()

    def fill_meta_file(self):
        """Adds rows that name no file: so much the longer the import. The data repository gets the meta files too."""
        lines = (self.meta / "objectdb.meta").read_text().splitlines()
        more = [lines[3].replace("\tCT.", f"\tXX.{number}.") for number in range(ROWS - int(lines[0]))]
        (self.meta / "objectdb.meta").write_text("\n".join([str(ROWS), *lines[1:], *more]) + "\n")
        self.database.query(f"UPDATE studies SET OBJECTCOUNT={ROWS}")
        for name in "objectdb.meta", "storestate.rec":
            shutil.copy(self.meta / name, self.legacy / name)

    def reset(self, importing, legacy, outputs):
        """For the next run: whether it imports, and from where; None, or outputs that are there among earlier ones."""
        if importing:
            for table in "objects", "object_cache":
                self.database.query(f"DELETE FROM {table}")
        if legacy:
            shutil.rmtree(self.meta)
        if outputs is None:
            shutil.rmtree(self.out)
            self.out.mkdir()
        for name, content in (outputs or {}).items():
            (self.out / name).write_bytes(content)

    def command(self, state, *tracer):
        return [*tracer, "annomend", "-i", "-x", "-f", state, "-o", f"{self.out}/"]

    def run(self, state, *tracer):
        """A run that is left alone, and does not take long: exit status and messages."""
        done = subprocess.run(self.command(state, *tracer), env=self.env, capture_output=True, text=True,
                              timeout=LONGEST_SECONDS)
        return done.returncode, done.stderr

    def outputs(self, look=pathlib.Path.read_bytes):
        """What a look at each shows, by their names. A save that was killed may leave its part."""
        return {path.name: look(path) for path in self.out.iterdir() if not path.name.endswith(".part")}

    def inodes(self):
        return self.outputs(lambda path: path.stat().st_ino)


class Killer:
    """`references` is what runs that are left alone make of each state, by the state's name: files and messages."""

    def __init__(self, archive, chance, references):
        self.archive, self.chance, self.references = archive, chance, references
        self.seconds = {True: LONGEST_SECONDS, False: LONGEST_SECONDS}
        for importing in self.seconds:
            for state in archive.states:
                archive.reset(importing, False, None if importing else {})
                begin = time.monotonic()
                status, messages = archive.run(state)
                self.seconds[importing] = min(time.monotonic() - begin, self.seconds[importing])
                if importing:
                    made = archive.outputs(), messages
                    expect(status == 0 and references.setdefault(state.name, made) == made, f"{state}: {messages}")

    def kill(self, victim):
        """Kills a run at a random "moment" or "call", or the "server" under it; then looks at what is left."""
        archive, chance = self.archive, self.chance
        state = chance.choice(archive.states)
        expected = self.references[state.name][0]
        importing = chance.random() < (0.8 if victim == "server" else 0.5)
        legacy = importing and chance.random() < 0.5
        found = importing, legacy, expected if chance.random() < 0.5 else None
        self.shape = f"{state.name}, importing {importing}, legacy {legacy}, outputs there {bool(found[2])}"
        archive.reset(*found)
        tracer = self.killing(state, found) if victim == "call" else ()
        before = archive.inodes()
        process = subprocess.Popen(archive.command(state, *tracer), env=archive.env, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.PIPE, text=True)
        if victim != "call":
            time.sleep(chance.uniform(0, self.seconds[importing]))
            process.kill() if victim == "moment" else archive.database.stop()
        _, messages = process.communicate(timeout=60)
        expect(victim != "call" or process.returncode < 0, f"{self.shape}: status {process.returncode}, not killed")
        if victim == "server":
            complete = expected.items() <= archive.outputs().items()
            expect(complete or process.returncode == 1 and messages or "object cache failed" in messages,
                   f"{self.shape}: status {process.returncode} without its server, messages: {messages}")
            archive.database.start()
        self.look(expected, before)
        self.run_again(state)

    def killing(self, state, found):
        """What kills a run as it enters a random one of those calls that the same run, left alone, has made."""
        tracer = ("strace", "-f", "-qq", "-o")
        self.archive.run(state, *tracer, self.archive.trace, "-e", f"trace={CHANGING_CALLS}")
        calls = [line.split()[1].split("(")[0] for line in self.archive.trace.read_text().splitlines() if "(" in line]
        self.archive.reset(*found)
        position = self.chance.randrange(len(calls))
        name, number = calls[position], calls[:position + 1].count(calls[position])
        self.shape += f", at {name} {number}"
        return *tracer, "/dev/null", "-e", f"trace={name}", "-e", f"inject={name}:signal=SIGKILL:when={number}"

    def look(self, expected, before):
        """What the killed run left: whole outputs, all that was there, a study that is imported or is not."""
        for name, content in self.archive.outputs().items():
            wanted = expected.get(name, content if name in before else None)
            expect(content == wanted, f"{self.shape}: {name} is not whole")
        after = self.archive.inodes()
        expect(before.keys() <= after.keys(), f"{self.shape}: gone: {before.keys() - after.keys()}")
        rows, entries, valid, references = self.archive.database.counts_after_kill()
        expect(rows <= ROWS and entries == valid <= 1 and references == 0 and (rows == ROWS or not valid),
               f"{self.shape}: {rows} rows, {entries} entries, {references} references after the kill")

    def run_again(self, state):
        archive, (expected, said) = self.archive, self.references[state.name]
        again = archive.run(state)
        expect(again == (0, said), f"{self.shape}: then {again}")
        expect(expected.items() <= archive.outputs().items(), f"{self.shape}: then other outputs")
        counts = archive.database.query(COUNTS)[0]
        expect(counts == LOADED, f"{self.shape}: then {counts} rows, entries, valid ones, references")
        for name in "objectdb.meta", "storestate.rec":
            expect((archive.meta / name).read_bytes() == (archive.legacy / name).read_bytes(), f"{self.shape}: {name}")


def main():
    build = os.path.realpath(sys.argv[1])
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else time.time_ns() % 1_000_000
    chance = random.Random(seed)
    print(f"seed {seed}", flush=True)
    references = {}
    for make_database in SQLite, MariaDB:
        with tempfile.TemporaryDirectory(prefix="annomend-") as folder:
            archive = Archive(build, pathlib.Path(folder), make_database)
            try:
                killer = Killer(archive, chance, references)
                for number in range(KILLS):
                    killer.kill("call" if number % 3 == 2 else "moment")
                for _ in range(SERVER_KILLS if make_database is MariaDB else 0):
                    killer.kill("server")
                archive.database.check()
                print(f"{make_database.__name__}: nothing lost", flush=True)
            finally:
                archive.database.stop()


main()
