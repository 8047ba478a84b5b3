"""check_killed.py BUILD [SEED]: runs of `annomend -i -x` over the sample archive that are killed, and database servers that are.

On either database 150 runs are killed: two of three at a random moment, the third as it enters a random one of the
system calls that change something. On MariaDB, 20 servers are killed under a run as well. Half of the runs import the
study, half of those from the data repository; half find the outputs of a run before them. After each kill, what stands
under an output's name is whole, nothing that was there is gone, and the next run, with whatever was left behind, gives
the reference's bytes and messages and a database without doubles or errors.
"""
import collections
import os
import pathlib
import random
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time

KILLS, SERVER_KILLS, ROWS = 150, 20, 2000
CHANGING_CALLS = ("write,pwrite64,sendto,fsync,fdatasync,ftruncate,rename,unlink,mkdir,rmdir,flock,fcntl,fchmod,"
                  "copy_file_range,sendfile")
LONGEST_SECONDS = 10  # a lock that stays would hold the next run for 30
COUNTS = ("SELECT (SELECT COUNT(*) FROM objects), (SELECT COUNT(*) FROM object_cache),"
          " (SELECT COUNT(*) FROM object_cache WHERE STATUS=0 AND ERROR=0), (SELECT COUNT(*) FROM object_references)")
LOADED = (ROWS, 1, 1, 0)


class Sqlite:
    name = "SQLite"

    def __init__(self, folder):
        self.file = folder / "archive.db"
        self.url = f"sqlite:{self.file}"

    def query(self, sql):
        connection = sqlite3.connect(self.file)
        rows = connection.execute(sql).fetchall()
        connection.commit()
        connection.close()
        return rows

    def counts_after_kill(self):
        """Of a copy: the log that the killed run left is for the next run to recover."""
        with tempfile.TemporaryDirectory() as scratch:
            for suffix in "", "-wal":
                if os.path.exists(f"{self.file}{suffix}"):
                    shutil.copy(f"{self.file}{suffix}", f"{scratch}/copy.db{suffix}")
            copy = sqlite3.connect(f"{scratch}/copy.db")
            counts = copy.execute(COUNTS).fetchone()
            copy.close()
        return counts

    def check(self):
        expect(self.query("PRAGMA integrity_check") == [("ok",)], "SQLite's integrity check")

    def stop(self):
        pass


class MariaDb:
    name = "MariaDB"

    def __init__(self, folder):
        self.folder = folder / "server"
        self.folder.mkdir()
        self.socket = self.folder / "s"
        self.url = f"mysql://root@localhost/archive?socket={self.socket}"
        self.common = ["--no-defaults", f"--datadir={self.folder}/data"]
        if os.geteuid() == 0:
            shutil.chown(self.folder, "mysql")
            folder.chmod(0o755)
            self.common.append("--user=mysql")
        subprocess.run(["mariadb-install-db", *self.common, "--auth-root-authentication-method=normal", "--skip-test-db",
                        "--skip-name-resolve"], check=True, capture_output=True)
        self.start()
        self.query("CREATE DATABASE archive", database="mysql")

    def start(self):
        with open(self.folder / "log", "ab") as log:
            self.process = subprocess.Popen(
                ["mariadbd", *self.common, f"--socket={self.socket}", f"--pid-file={self.folder}/pid", "--skip-networking",
                 "--innodb-buffer-pool-size=32M", "--innodb-log-file-size=8M"], stdout=log, stderr=log)
        for _ in range(600):
            if self.client("SELECT 1", "mysql").returncode == 0:
                return
            time.sleep(0.05)
        expect(False, f"the server starts; see {self.folder}/log")

    def stop(self):
        self.process.kill()
        self.process.wait()

    def client(self, sql, database):
        return subprocess.run(["mariadb", "--no-defaults", "--user=root", f"--socket={self.socket}", "-NB", "-e", sql,
                               database], capture_output=True, text=True)

    def query(self, sql, database="archive"):
        answer = self.client(sql, database)
        expect(answer.returncode == 0, f"{sql}: {answer.stderr}")
        return [tuple(int(value) if value.isdigit() else value for value in line.split("\t"))
                for line in answer.stdout.splitlines()]

    def counts_after_kill(self):
        return self.query(COUNTS)[0]

    def check(self):
        for _, _, _, verdict in self.query("CHECK TABLE objects, object_cache, object_references"):
            expect(verdict == "OK", f"CHECK TABLE says {verdict}")


def expect(holds, what):
    if not holds:
        raise SystemExit(f"check_killed: {what}")


class Archive:
    """The sample archive in `folder`, its study with ROWS rows in its object meta file, on one database."""

    def __init__(self, build, folder, make_database):
        self.out = folder / "out"
        self.out.mkdir()
        self.database = make_database(folder)
        script = ('source scripts/sample-archive.sh; use_sample_archive "$1" "$2"; export TARN_DB_URL="$3";'
                  'make_sample_archive "$2" >&2; env -0')
        self.env = dict(item.split("=", 1) for item in subprocess.run(
            ["bash", "-ec", script, "bash", build, folder / "archive", self.database.url], check=True, text=True,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.split("\0") if item)
        self.states = sorted((folder / "archive/states").iterdir())
        self.meta, = (folder / "archive/meta").iterdir()
        self.legacy = folder / "archive/images" / self.meta.name
        self.fill_meta_file()

    def fill_meta_file(self):
        """The rows that are added name no file; so much the longer the import. The data repository gets the files too."""
        lines = (self.meta / "objectdb.meta").read_text().splitlines()
        more = [lines[3].replace("\tCT.", f"\tXX.{number}.") for number in range(ROWS - int(lines[0]))]
        expect(lines[3] not in more, "the added rows are new ones")
        (self.meta / "objectdb.meta").write_text("\n".join([str(ROWS), *lines[1:], *more]) + "\n")
        self.database.query(f"UPDATE studies SET OBJECTCOUNT={ROWS}")
        for name in "objectdb.meta", "storestate.rec":
            shutil.copy(self.meta / name, self.legacy / name)

    def reset(self, importing, legacy, keep_outputs):
        if importing:
            for table in "objects", "object_cache":
                self.database.query(f"DELETE FROM {table}")
        if legacy:
            shutil.rmtree(self.meta)
        if not keep_outputs:
            shutil.rmtree(self.out)
            self.out.mkdir()

    def start(self, state, *tracer):
        return subprocess.Popen([*tracer, "annomend", "-i", "-x", "-f", state, "-o", f"{self.out}/"], env=self.env,
                                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)

    def run(self, state, *tracer):
        """A run that is left alone: exit status, messages, seconds."""
        begin = time.monotonic()
        process = self.start(state, *tracer)
        try:
            _, messages = process.communicate(timeout=LONGEST_SECONDS)
        except subprocess.TimeoutExpired:
            process.kill()
            raise SystemExit(f"check_killed: a run after a kill hangs: {state}") from None
        return process.returncode, messages, time.monotonic() - begin

    def outputs(self):
        return {path.name: path.read_bytes() for path in self.out.iterdir() if path.name[0] != "."}

    def inodes(self):
        return {path.name: path.stat().st_ino for path in self.out.iterdir() if path.name[0] != "."}

    def strays(self):
        return [path for folder in (self.out, self.meta.parent) for path in folder.iterdir()
                if path.name[0] == "." and not path.name.endswith(".part")]


class Killer:
    def __init__(self, archive, references, chance):
        self.archive, self.references, self.chance = archive, references, chance
        self.phases = collections.Counter()
        self.seconds = {}
        self.longest = 0.0
        for importing in False, True:
            times = []
            for state in archive.states:
                archive.reset(importing, False, True)
                times.append(archive.run(state)[2])
            self.seconds[importing] = min(times)

    def set_up(self, share_importing=0.5):
        """What the next run finds; its state, whether it imports, and what stands in the output folder."""
        chance = self.chance
        state = chance.choice(self.archive.states)
        importing = chance.random() < share_importing
        legacy = importing and chance.random() < 0.5
        keep = chance.random() < 0.5
        self.archive.reset(importing, legacy, keep)
        if keep:
            for name, content in self.references[state.name][0].items():
                (self.archive.out / name).write_bytes(content)
        self.shape = f"{state.name}, importing {importing}, legacy {legacy}, outputs there {keep}"
        return state, importing, lambda: self.archive.reset(importing, legacy, keep)

    def kill(self, victim):
        """Kills a run at a random "moment" or "call", or the "server" under it; then looks at what is left."""
        state, importing, again = self.set_up(0.8 if victim == "server" else 0.5)
        tracer = self.tracer(state, again) if victim == "call" else ()
        before = self.archive.inodes()
        process = self.archive.start(state, *tracer)
        if victim != "call":
            time.sleep(self.chance.uniform(0, self.seconds[importing]))
            process.kill() if victim == "moment" else self.archive.database.stop()
        _, messages = process.communicate()
        if victim == "server":
            complete = self.references[state.name][0].items() <= self.archive.outputs().items()
            expect(complete or process.returncode == 1 and messages or "object cache failed" in messages,
                   f"{self.shape}: status {process.returncode} without its server, messages: {messages}")
            self.archive.database.start()
        self.judge(state, importing, before, ended=process.returncode == 0 and "object cache failed" not in messages)

    def tracer(self, state, again):
        """What kills a run as it enters a random one of those calls that the same run, left alone, has made."""
        trace = self.archive.out.parent / "calls"
        self.archive.run(state, "strace", "-f", "-qq", "-o", trace, "-e", f"trace={CHANGING_CALLS}")
        calls = [line.split(maxsplit=1)[1].split("(")[0] for line in trace.read_text().splitlines() if "(" in line]
        again()
        position = self.chance.randrange(len(calls))
        name, number = calls[position], calls[:position + 1].count(calls[position])
        self.shape += f", at {name} {number}"
        return ("strace", "-f", "-qq", "-o", "/dev/null", "-e", f"trace={name}", "-e",
                f"inject={name}:signal=SIGKILL:when={number}")

    def judge(self, state, importing, before, ended):
        archive, (expected, said) = self.archive, self.references[state.name]
        for name, content in archive.outputs().items():
            expect(content == expected.get(name, content if name in before else None), f"{self.shape}: {name} is not whole")
        after = archive.inodes()
        expect(before.keys() <= after.keys(), f"{self.shape}: gone: {before.keys() - after.keys()}")
        changed = sum(before.get(name) != inode for name, inode in after.items())
        rows, entries, valid, references = archive.database.counts_after_kill()
        expect(rows <= ROWS and entries == valid <= 1 and references == 0 and (rows == ROWS or not valid),
               f"{self.shape}: {rows} rows, {entries} entries, {references} references after the kill")
        self.phases["after its end" if ended else "in the saves" if changed else "before the saves" if valid else
                    "in the import" if rows else "before the import"] += 1

        status, messages, seconds = archive.run(state)
        self.longest = max(self.longest, seconds)
        expect((status, messages) == (0, said), f"{self.shape}: then {status}: {messages}")
        expect(expected.items() <= archive.outputs().items(), f"{self.shape}: then other outputs")
        counts = archive.database.query(COUNTS)[0]
        expect(counts == LOADED, f"{self.shape}: then {counts} rows, entries, valid ones, references")
        for name in "objectdb.meta", "storestate.rec":
            expect((archive.meta / name).read_bytes() == (archive.legacy / name).read_bytes(), f"{self.shape}: {name}")
        expect(not archive.strays(), f"{self.shape}: {archive.strays()}")

    def report(self, what):
        print(f"  {what}: " + ", ".join(f"{count} {phase}" for phase, count in sorted(self.phases.items())) +
              f"; the next run took {self.longest:.2f} s at most")
        self.phases.clear()
        self.longest = 0.0


def references_of(archive):
    """What a run that is left alone makes of each state, by the state's name: files and messages."""
    references = {}
    for state in archive.states:
        archive.reset(True, False, False)
        status, messages, _ = archive.run(state)
        expect(status == 0, f"{state}: {messages}")
        references[state.name] = archive.outputs(), messages
    return references


def main():
    build = os.path.realpath(sys.argv[1])
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else time.time_ns() % 1_000_000
    chance = random.Random(seed)
    print(f"seed {seed}", flush=True)
    references = None
    for make_database in Sqlite, MariaDb:
        with tempfile.TemporaryDirectory(prefix="annomend-") as folder:
            archive = Archive(build, pathlib.Path(folder), make_database)
            database = archive.database
            try:
                references = references or references_of(archive)
                killer = Killer(archive, references, chance)
                for number in range(KILLS):
                    killer.kill("call" if number % 3 == 2 else "moment")
                killer.report(f"{KILLS} runs killed on {database.name}")
                if make_database is MariaDb:
                    for _ in range(SERVER_KILLS):
                        killer.kill("server")
                    killer.report(f"{SERVER_KILLS} servers killed")
                database.check()
            finally:
                database.stop()


main()
