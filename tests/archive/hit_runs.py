"""Scenarios of runs that lose a worker, their database, the disk or themselves."""
import os
import re
import shutil
import signal
import subprocess
import time

from archives import *
from scenarios import *


@scenario("sqlite", "mysql")
def two_runs_and_no_database(archive, folder, chance):
    out, inputs = folder / "out", archive.tree(folder / "in", 30)
    first = archive.start(out, "--files-from", "-", stdin=subprocess.PIPE)
    wait_for((out / "journal/1-of-1.work/0").exists, "a run")
    archive.refuses(2, "is in use by another run", "convert", "-o", out, folder / "in")
    first.stdin.write("\n".join(inputs).encode())
    finish(first, 3)
    archive.verify(out, inputs)
    url = archive.env["TARN_DB_URL"].replace("/s", "/none").replace("archive.db", "none.db")
    archive.refuses(75, "cannot open database", "convert", "-o", out, folder / "in",
                    env={**archive.env, "TARN_DB_URL": url})
    for table in "OBJECTTBL", "QXOBJCACHETBL":
        archive.refuses(75, "no_such_table", "convert", "-o", folder / table, folder / "in",
                        env={**archive.env, table: "no_such_table"})
        expect(not records(folder / table), f"inputs are blamed for the {table} that is missing")


def at_work(process, path):
    """The worker that has the file open."""
    for pid in children(process)[1:]:
        try:
            if path in (os.readlink(descriptor.path) for descriptor in os.scandir(f"/proc/{pid}/fd")):
                return pid
        except OSError:
            pass
    return None


@scenario("sqlite")
def workers_that_die(archive, folder, chance):
    slow, = put_all(folder / "slow", {"slow": slow_state(400)})
    inputs = archive.tree(folder / "in", 120)
    for name, arguments, blows, outcome, code in (
            ("crash", [], [signal.SIGSEGV], "crashed", ["crashed"]),
            ("hang", ["--timeout", "2"], [signal.SIGSTOP], "timeout", ["timeout"]),
            ("killed once", [], [signal.SIGKILL], "converted", []),
            ("killed twice", [], [signal.SIGKILL, signal.SIGKILL], "crashed", ["killed"]),
            ("memory", ["--memory", "60M"], [], "crashed", ["out-of-memory"])):
        process, hit = archive.start(folder / name, "-j2", *arguments, folder / "slow", folder / "in"), None
        for blow in blows:
            hit = wait_for(lambda: (pid := at_work(process, slow)) != hit and pid, "a worker at the slow state")
            send(blow, hit)
        finish(process, 1 if code else 3)
        record = archive.verify(folder / name, [slow, *inputs], unlike=[slow])[slow]
        expect((record["outcome"], codes(record)) == (outcome, code), f"{name}: {record['outcome']} {codes(record)}")
    archive.convert(folder / "crash", "--retry", folder / "slow", folder / "in", status=3, inputs=[slow, *inputs])


@scenario("sqlite")
def workers_that_stop_between_jobs(archive, folder, chance):
    out, inputs = folder / "out", archive.tree(folder / "in", 150)
    process = archive.start(out, "-j2", "--timeout", "2", "--files-from", "-", stdin=subprocess.PIPE)
    gone = []

    def workers():
        found = children(process)[1:]
        return found if len(found) == 2 and not set(found) & set(gone) else None

    for count, are_killed in (50, True), (100, True), (150, False):
        stopped = wait_for(workers, "two workers")
        time.sleep(0.1)
        send(signal.SIGSTOP, *stopped)
        process.stdin.write("".join(f"{name}\n" for name in inputs[count - 50:count]).encode())
        process.stdin.flush()
        time.sleep(0.3)
        send(signal.SIGKILL, *stopped if are_killed else [])
        wait_for(lambda: len(records(out)) == count, f"{count} records")
        gone = children(process)[1:]
        send(signal.SIGKILL, *gone)
    finish(process, 3)
    archive.verify(out, inputs)


@scenario("sqlite")
def workers_that_cannot_begin(archive, folder, chance):
    archive.tree(folder / "in", 3)
    for shell in "exec \"$@\"", "exec \"$@\" >/dev/full", "exec \"$@\" >&-":  # the summary can be written; it cannot
        command = ["annomend-archive", "convert", "-o", folder / "out", "--memory", "1", folder / "in"]
        done = subprocess.run(["bash", "-c", shell, "bash", *command], env=archive.env, capture_output=True, timeout=60)
        expect(done.returncode == 75, f"{shell}: {done}")
    process = archive.start(folder / "killed", "-j2", "--files-from", "-", stdin=subprocess.PIPE)
    wait_for(lambda: send(signal.SIGKILL, *children(process)[1:]) or process.poll() is not None, "the end of the run")
    finish(process, 75)


@scenario("sqlite", "mysql")
def kills(archive, folder, chance):
    inputs, hits = archive.tree(folder / "in", 150), 0
    begin = time.monotonic()
    archive.convert(folder / "timed", folder / "in", status=3)
    seconds = time.monotonic() - begin
    wanted = {"run": (-9, 3), "INT": (130, 3, -2), "TERM": (143, 3, -15), "source": (75, 3), "worker": (3, 75)}
    for number in range(20 if archive.server else 40):
        out, shape = folder / f"out{number}", f"round {number}:"
        if number % 2:
            archive.convert(out, folder / "in", status=3)
            archive.change(inputs, chance)
        for victim in chance.choices(list(wanted), k=chance.randrange(1, 4)):
            before, complete = snapshot(out), [record for record in records(out).values() if is_current(record)]
            process, shape = archive.start(out, folder / "in"), f"{shape} {victim}"
            time.sleep(seconds * chance.random() ** 2)
            source, *workers = children(process) or [process.pid]
            number_of = {"INT": signal.SIGINT, "TERM": signal.SIGTERM}.get(victim, signal.SIGKILL)
            send(number_of, {"source": source, "worker": chance.choice(workers or [source])}.get(victim, process.pid))
            process.communicate(timeout=30)
            expect(process.returncode in wanted[victim] + ((-9,) if source == process.pid else ()),
                   f"{shape}: status {process.returncode}")
            hits += process.returncode != 3
            after = snapshot(out)
            expect(all(after.get(output["file"]) == before[output["file"]] for record in complete
                       for output in record["outputs"]), f"{shape}: what was complete was touched")
        archive.convert(out, folder / "in", status=3, inputs=inputs)
        shutil.rmtree(out)
    expect(hits > 6, f"only {hits} runs were hit")


@scenario("mysql")
def the_server_is_killed(archive, folder, chance):
    out, inputs, hits = folder / "out", archive.tree(folder / "in", 600), 0
    archive.convert(out, folder / "in", status=3, inputs=inputs)
    begun = time.monotonic()
    archive.convert(out, "--redo", folder / "in", status=3)
    seconds = time.monotonic() - begun
    for number in range(6):
        process = archive.start(out, "--redo", folder / "in")
        time.sleep(chance.uniform(0.1, 0.6) * seconds)
        archive.server.kill()
        process.communicate(timeout=40)
        expect(process.returncode in (75, 3), f"status {process.returncode}")
        hits += process.returncode == 75
        blamed = [record for record in records(out).values() if record["outcome"] not in ("converted", "partly")]
        expect(all(codes(record) == ["interrupted"] for record in blamed), f"without its server {blamed[:1]}")
        archive.convert(out, folder / "in", status=75)
        archive.server.start()
        archive.convert(out, folder / "in", status=3, inputs=inputs)
    expect(hits > 2, f"only {hits} of the runs lost the server")


@scenario("sqlite")
def a_full_disk(archive, folder, chance):
    disk, inputs = folder / "disk", archive.tree(folder / "in", 300)
    disk.mkdir()
    if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=400k", "tmpfs", disk], capture_output=True).returncode:
        raise Skipped("no file system can be mounted here")
    try:
        for _ in range(2):
            found = archive.convert(disk / "out", folder / "in", status=75)
            expect(outcomes(found).keys() <= {"converted", "partly"}, outcomes(found))
        kept = snapshot(disk / "out")
        subprocess.run(["mount", "-o", "remount,size=64m", disk], check=True)
        archive.convert(disk / "out", folder / "in", status=3, inputs=inputs)
        expect(kept.items() <= snapshot(disk / "out").items(), "what was complete was touched")
    finally:
        subprocess.run(["umount", disk])


@scenario("sqlite")
def a_working_folder_that_goes(archive, folder, chance):
    out, inputs = folder / "out", archive.tree(folder / "in", 30)
    process = archive.start(out, "-j1", "--files-from", "-", stdin=subprocess.PIPE)
    wait_for((out / "journal/1-of-1.work/0").exists, "a working folder")
    shutil.rmtree(out / "journal/1-of-1.work")
    process.stdin.write("\n".join(inputs).encode())
    finish(process, 75)
    expect(outcomes(records(out)).keys() <= {"partly"}, outcomes(records(out)))  # states without outputs
    archive.convert(out, folder / "in", status=3, inputs=inputs)


@scenario("sqlite")
def what_is_synced_when(archive, folder, chance):
    if not shutil.which("strace"):
        raise Skipped("there is no strace")
    inputs, out, log = archive.tree(folder / "in", 120), folder / "out", folder / "calls"
    names_in = re.compile(r"PR\.[0-9.]+[0-9]").findall
    held = set()  # names of outputs that a record on the disk has
    for _ in range(2):
        calls = "rename,renameat,renameat2,unlinkat,syncfs,fdatasync,write,pwrite64"
        done = subprocess.run(["strace", "-y", "-s", "4000000", "-o", log, "-e", f"trace={calls}", "annomend-archive",
                               "convert", "-o", out, folder / "in"], env=archive.env, capture_output=True)
        expect(done.returncode == 3, done)
        placed, unsynced, marked, written = 0, set(), set(), ""
        for line in log.read_text(errors="replace").splitlines():
            call, names = line.split("(")[0], names_in(line)
            if call.startswith(("rename", "unlink")) and names:
                expect(not written, f"{names} changed while the journal was not on the disk")
                expect(names[0] not in held or names[0] in marked, f"{names} changed, its record stands")
                placed += 1
                unsynced |= set(names)
            elif call == "syncfs":
                unsynced.clear()
            elif "write" in call and ".jsonl>" in line:
                expect(not set(names) & unsynced, f"the journal speaks of {names}, which are not on the disk")
                written += line
            elif call == "fdatasync" and ".jsonl>" in line:
                for record in re.findall(r"\{\\\"input\\\".*?\\n", written):
                    marked |= set(names_in(record)) if "interrupted" in record else set()
                written = ""
        expect(placed > 20 and not unsynced and not written, f"{placed} placed, not synced {unsynced}")
        held = {name for record in records(out).values() for output in record["outputs"]
                for name in names_in(output["file"])}
        archive.change(inputs, chance)
    archive.convert(out, folder / "in", status=3, inputs=inputs)
