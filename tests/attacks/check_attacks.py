"""check_attacks.py BUILD [NAME...]: what other users of the host, the network and a file's maker try, and what becomes of it.

Runs as root: the converter has one account, the attacker another (stage.py).
"""
import concurrent.futures
import os
import re
import shutil
import sqlite3
import struct
import subprocess
import sys
import tempfile
import time

import network_attacks  # adds its own
from stage import ATTACKER, ATTACKS, CONVERTER, STUDY, Stage, attack, mode
from hostile_files import figure, file, state

OUTPUT = "PR.1.2.826.0.1.7770001.2.11.7.1.20.2"


@attack
def set_id_file_in_the_output_folder(stage):
    """An attacker's file hands no bit down, and a state's preamble is no program of the copy."""
    program = b"#!/bin/sh\nid\n".ljust(128, b"\n") + stage.state.read_bytes()[128:]
    stage.state = stage.put("in/program", program, ATTACKER)
    for bits in 0o4777, 0o2777, 0o666:
        for name in OUTPUT, "program":
            stage.put(f"out/{name}", b"", ATTACKER, bits)
        status, said = stage.convert("-N", "-i")
        yield f"the conversion goes on: {said}", status == 0
        for name in OUTPUT, "program":
            made = os.stat(stage.out / name)
            yield f"{name} over {bits:o} has the mode {mode(stage.out / name):o}", mode(stage.out / name) == 0o644
            yield f"{name} belongs to the converter", made.st_uid == CONVERTER
        copy = (stage.out / "program").read_bytes()
        yield "the copy's preamble is zeros", copy[:132] == bytes(128) + b"DICM"
    (stage.out / OUTPUT).chmod(0o640)
    good = (stage.out / OUTPUT).read_bytes()
    stage.put(f"out/{OUTPUT}", good, ATTACKER, 0o666)
    stage.convert("-N")
    yield "the same bytes in the attacker's file are not taken for the output", (stage.out / OUTPUT).stat().st_uid == CONVERTER


@attack
def file_whose_rights_somebody_chose(stage):
    """Rights come neither from another account's file nor from one of our own that somebody links or widens."""
    shared, output = stage.put("shared", mode=0o664), stage.out / OUTPUT
    output.hardlink_to(shared)
    stage.convert("-N", umask=0o077)
    yield f"a link to a wider file widens no output: {mode(output):o}", mode(output) == 0o600
    meta, legacy = stage.folder / f"archive/meta/{STUDY}/objectdb.meta", stage.folder / f"archive/images/{STUDY}/objectdb.meta"
    for bits in 0o666, 0o4777:
        stage.give(meta, ATTACKER, bits)
        status, said = stage.run("tarnctl", "add-study", stage.folder / "archive/images")
        yield f"replaced over {bits:o} it has the mode {mode(meta):o}: {said}", status == 0 and mode(meta) == 0o644
    meta.rename(legacy)
    shutil.rmtree(meta.parent)
    stage.give(legacy, ATTACKER, 0o4777)
    stage.convert()
    yield f"taken over from the data repository: {mode(meta):o}", mode(meta) == 0o644
    inventory = stage.put("inventory", mode=0o600)
    stage.run("annomend-archive", "find", "-o", inventory, stage.state)
    yield f"an inventory keeps its mode: {mode(inventory):o}", mode(inventory) == 0o600 and inventory.stat().st_size > 0


def access_list(named, bits, group=0, mask=7):
    """A list that gives an account those bits (acl(5))."""
    none = 0xFFFFFFFF
    entries = (1, 6, none), (2, bits, named), (4, group, none), (16, mask, none), (32, 0, none)
    return struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *entry) for entry in entries)


@attack
def access_lists(stage):
    """What a list gives one account, a copy or a later output gives no group, and what a folder adds no copy has."""
    access, copy, output = "system.posix_acl_access", stage.out / stage.state.name, stage.out / OUTPUT
    def gives(path):
        return oct(mode(path)), os.getxattr(path, access) if access in os.listxattr(path) else None
    stage.state.chmod(0o600)
    os.setxattr(stage.state, access, access_list(ATTACKER, 4, mask=4))
    stage.convert("-N", "-i")
    yield f"the mask is not the group's: {gives(copy)}", gives(copy) == ("0o600", None)
    os.removexattr(stage.state, access)
    stage.state.chmod(0o640)
    os.setxattr(copy, access, access_list(ATTACKER, 4, group=4, mask=4))
    stage.convert("-N", "-i")
    yield f"the same bytes with a list are not left: {gives(copy)}", gives(copy) == ("0o640", None)
    kept = access_list(ATTACKER, 6, mask=6)
    output.unlink()
    stage.put(output)
    os.setxattr(output, access, kept)
    stage.convert("-N")
    yield f"an output keeps its list: {gives(output)}", gives(output) == ("0o660", kept)
    for old in copy, output:
        old.unlink()
    stage.put(output, mode=0o640)
    os.setxattr(stage.out, "system.posix_acl_default", access_list(ATTACKER, 7, group=7))
    stage.convert("-N", "-i")
    yield f"a folder's list adds nothing to a copy: {gives(copy)}", gives(copy) == ("0o640", None)
    yield f"nor to a file that had none: {gives(output)}", gives(output) == ("0o640", None)


@attack
def reading_what_is_private(stage):
    """Nothing is readable for longer, or for more, than it is to be."""
    stage.state.chmod(0o600)
    stage.convert("-N", "-i")
    yield "a copy is not wider than a private input", mode(stage.out / stage.state.name) == 0o600
    calls = stage.folder / "home/calls"
    stage.run("strace", "-f", "-e", "trace=openat", "-o", calls, "annomend", "-N", "-f", stage.state, "-o", f"{stage.out}/a-")
    made = [line for line in calls.read_text().splitlines() if ".part" in line and "O_CREAT" in line]
    yield "part files are made for their owner alone", made and all("0600" in line for line in made)
    meta = stage.folder / f"archive/meta/{STUDY}/objectdb.meta"
    stage.give(meta, CONVERTER, 0o600)
    status, said = stage.run("tarnctl", "add-study", stage.folder / "archive/images")
    yield f"objectdb.meta keeps its mode: {said}", status == 0 and mode(meta) == 0o600


@attack
def lock_of_a_mount(stage):
    """Whoever may read a mount may lock it: who wants it waits for half a minute, and says so."""
    images = stage.folder / "archive/images"
    image = next((images / STUDY).iterdir()).read_bytes().replace(STUDY.encode(), STUDY[:-2].encode() + b"21")
    other = stage.put("archive/other/image", image)
    mount = stage.folder / "archive/meta"
    with concurrent.futures.ThreadPoolExecutor() as pool:
        pool.submit(stage.run, "flock", mount, "sleep", 2, account=ATTACKER)
        time.sleep(0.5)
        status, said = stage.run("tarnctl", "add-study", other)
        yield f"a short one is waited for: {said}", status == 0
        holding = pool.submit(stage.run, "flock", mount, "sleep", 45, account=ATTACKER, seconds=60)
        time.sleep(0.5)
        shutil.rmtree(mount / (STUDY[:-2] + "21"))
        runs = [pool.submit(stage.run, "tarnctl", *words, seconds=40)
                for words in (("add-study", other), ("remove-study", STUDY))]
        for run in runs:
            status, said = run.result()
            yield f"a long one is given up: {status} {said}", status == 1 and "see the log" in said
        holding.result()
    for line in ("creating resource 1.2.826.0.1.7770001.2.11.1.21 failed. Status code: 64",
                 f"removing resource {STUDY} failed. Status code: 64"):
        yield f"the log says '{line}': {stage.logged()}", line in stage.logged()


HOLD = """import fcntl, sys, time
files = [open(name) for name in sys.argv[1:]]
for file in files:
    fcntl.lockf(file, fcntl.LOCK_SH, 8, 120)  # those of writers, of the log's copying and of readers
print("held", flush=True)
time.sleep(120)"""


@attack
def lock_of_an_embedded_database(stage):
    """Whoever may read the log's index keeps writers out: each gives up after half a minute, and blames no study."""
    image = next((stage.folder / "archive/images" / STUDY).iterdir()).read_bytes()
    other = stage.put("archive/other/image", image.replace(STUDY.encode(), STUDY[:-2].encode() + b"21"))
    convert, run = ("annomend", "-f", stage.state, "-o", f"{stage.out}/"), stage.folder / "home/run"
    cases = {  # what runs, the entry that is there, the status, what is said, the seconds that are enough
        "import": (convert, [], 0, "Could not get lock to check/update Object Cache entry for", 45),
        "error": (convert, [(2, 1)], 0, "The Object Cache entry is in error status for", 45),
        "whole run": (("annomend-archive", "convert", "--progress", "none", "-j1", "-o", run, stage.state), [], 75,
                    "database is locked", 75),
        "register": (("tarnctl", "add-study", other, stage.folder / "archive/images"), [], 1, "database is locked", 45)}
    open_databases = {}
    for name, (_, entries, *_) in cases.items():
        file = shutil.copy(stage.folder / "archive/archive.db", stage.make_folder(name))
        stage.give(file, CONVERTER, 0o644)
        open_databases[name] = sqlite3.connect(file, isolation_level=None)
        for entry in entries:
            open_databases[name].execute("INSERT INTO object_cache VALUES (?,?,?,'2024-01-31 23:59:59')", (STUDY, *entry))
        open_databases[name].execute("SELECT * FROM studies").fetchall()
    url = {name: {"TARN_DB_URL": f"sqlite:{stage.folder}/{name}/archive.db"} for name in cases}
    with subprocess.Popen(["setpriv", f"--reuid={ATTACKER}", "--clear-groups", sys.executable, "-c", HOLD,
                           *(stage.folder / name / "archive.db-shm" for name in cases)], stdout=subprocess.PIPE) as holder:
        yield "the attacker has the locks", holder.stdout.readline() == b"held\n"
        with concurrent.futures.ThreadPoolExecutor() as pool:
            runs = {name: pool.submit(stage.run, *words, seconds=seconds, **url[name])
                    for name, (words, _, _, _, seconds) in cases.items()}
        holder.kill()
    for name, (_, entries, wanted, text, _) in cases.items():
        status, said = runs[name].result()
        yield f"{name} ends: {status} {said}", status == wanted and text in said
        found = [open_databases[name].execute(f"SELECT {columns}").fetchall()
                 for columns in ("STATUS,ERROR FROM object_cache", "NAME FROM object_references")]
        yield f"{name} leaves the study as it was: {found}", found == [entries, []]
    yield "no input has a record", '"input"' not in (run / "journal/1-of-1.jsonl").read_text()
    yield "the log says why", "database is locked" in stage.logged()
    status, said = stage.run(*convert, **url["import"])
    yield f"the next run converts: {said}", status == 0 and (stage.out / OUTPUT).exists()


@attack
def power_cut_after_a_move(stage):
    """What moves to another file system is on the disk before the original goes."""
    with tempfile.TemporaryDirectory(dir="/dev/shm") as elsewhere:
        stage.give(elsewhere, CONVERTER, 0o755)
        stage.put(f"archive/meta/{STUDY}/order", "an order")
        calls = stage.folder / "home/calls"
        stage.run("strace", "-y", "-e", "trace=fsync,rename,unlink,unlinkat", "-o", calls, "tarnctl", "remove-study",
                  STUDY, REPOSITORY_TEMPMETA=elsewhere)
        made = calls.read_text()
        steps = [re.search(step, made) for step in (r"fsync\(\d+<[^>]*/order.temp>\) += 0", r'rename\("[^"]*/order.temp"',
                                                    rf"fsync\(\d+<{elsewhere}/{STUDY}>\) += 0", r'unlink\("[^"]*/order"')]
        places = [step.start() if step else -1 for step in steps]
        yield f"the steps come in order: {places} {made}", -1 not in places and places == sorted(places)


@attack
def file_under_the_name_of_the_lock(stage):
    """What stands under the lock's name of an embedded database is given to nobody, and refused unless it is a lock."""
    lock, secret = stage.folder / "archive/archive.db-lock", stage.folder / "secret"
    stage.give(stage.folder / "archive/archive.db", ATTACKER, 0o666)
    def placed(kind):
        secret.unlink(missing_ok=True)
        stage.put("secret", "" if kind == "another name of an empty file" else "shadow", 0, 0o600)
        lock.unlink(missing_ok=True)
        if kind == "a link":
            lock.symlink_to(secret)
        elif kind == "another name of an empty file":
            lock.hardlink_to(secret)
        elif kind == "a FIFO":
            stage.fifo(lock)
        else:
            secret.rename(lock)
            return lock
        return secret
    for kind in "a link", "another name of an empty file", "a file that was moved", "a FIFO":
        target = placed(kind)
        status, said = stage.run("tarnctl", "clear-error", STUDY, account=0)
        kept = os.stat(target)
        yield f"{kind} is refused: {said}", status == 1 and f"cannot lock {lock}: " in said
        yield f"{kind} gives nothing away", (kept.st_uid, kept.st_mode & 0o777) == (0, 0o600)
    lock.unlink()
    status, said = stage.run("tarnctl", "clear-error", STUDY, account=0)
    yield f"a lock that was made has the rights of the database: {said}", (
        status == 0 and (os.stat(lock).st_uid, mode(lock)) == (ATTACKER, 0o666))


READ_ONLY = """mount --bind "$1" "$1" && mount -o remount,ro,bind "$1" && shift && exec "$@" """


@attack
def reading_the_database_alone(stage):
    """Who may only read an embedded database converts with it, whatever its journal mode, and never with half of it."""
    file = stage.folder / "archive/archive.db"
    outputs = []
    def converts(fact, words=("-N",), good=True, **options):
        for left in stage.out.iterdir():
            left.unlink()
        status, said = stage.convert(*words, account=ATTACKER, TARN_LOG="none", seconds=20, **options)
        made = [(path.name, path.read_bytes()) for path in sorted(stage.out.glob("PR.*"))]
        outputs.append(made)
        return f"{fact}: {status} {said}", (status == 0 and made == outputs[0] and "not found" not in said if good
                                           else status != 0 or "may only be read" in said)
    stage.convert()  # imports
    yield converts("closed, in a folder that may not be written")
    writer = sqlite3.connect(file)
    writer.execute("CREATE TABLE log_is_needed (a)")
    writer.commit()
    yield converts("while another has it open")
    copy = stage.make_folder("copy")
    for part in file.parent.glob("archive.db*"):
        shutil.copy(part, copy)
    writer.close()
    yield converts("without -N, where the study is there", ())
    url = {"TARN_DB_URL": f"sqlite:{copy}/archive.db"}
    yield converts("left behind by a killed process", **url)
    (copy / "archive.db-shm").unlink()
    yield converts("a log that cannot be read is not passed over", good=False, **url)
    connection = sqlite3.connect(file)
    connection.execute("DELETE FROM object_cache")
    connection.commit()
    connection.close()
    start = time.monotonic()
    yield converts("without -N and without the study it ends with a line", (), good=False)
    yield "and at once", time.monotonic() - start < 5
    words = ["unshare", "-m", "sh", "-c", READ_ONLY, "sh", str(file.parent), "setpriv", f"--reuid={CONVERTER}", "annomend"]
    for journal in "wal", "delete":
        connection = sqlite3.connect(file)
        connection.execute(f"PRAGMA journal_mode={journal}")
        connection.close()
        yield converts(f"journal mode {journal}")
        for left in stage.out.iterdir():
            left.unlink()
        status, said = stage.run(*words, "-N", "-f", stage.state, "-o", f"{stage.out}/", account=0, TARN_LOG="none")
        made = [(path.name, path.read_bytes()) for path in sorted(stage.out.glob("PR.*"))]
        yield f"on a read-only file system, {journal}: {said}", status == 0 and made == outputs[0]


def own_handler(stage):
    """A folder as REPOSITORYHANDLER_HOME whose files may be exchanged."""
    home = stage.folder / "handler"
    for name in "lib/RepositoryHandler.so", "etc/repositories.conf":
        (home / name).parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(stage.build / "lib/RepositoryHandler.so", home / "lib")
    names = "".join(f"{name} = {stage.folder}/archive/{name}\n" for name in ("images", "meta", "tempmeta"))
    (home / "etc/repositories.conf").write_text(names)
    stage.env |= {"REPOSITORYHANDLER_HOME": str(home), "REPOSITORY_DICOM_DATA": "images", "REPOSITORY_META": "meta",
                  "REPOSITORY_TEMPMETA": "tempmeta", "CONF": str(stage.make_folder("conf"))}
    return home


@attack
def fifo_where_a_file_is_expected(stage):
    """Nothing waits for a FIFO, whatever reads or writes under its name."""
    home, archive, meta = own_handler(stage), stage.folder / "archive", stage.folder / f"archive/meta/{STUDY}"
    stage.make_folder("fifos")
    fifo, server = stage.folder / "fifos/fifo", "mysql://u@127.0.0.1:1/d"
    add, convert = ("tarnctl", "add-study", archive / "images"), ("annomend", "-f", stage.state, "-o", f"{stage.out}/")
    rows = [  # the FIFO, what is run, its variables
        (home / "etc/repositories.conf", add, {}), (home / "lib/RepositoryHandler.so", add, {}),
        (stage.folder / "conf/self.rec", add, {}), (archive / f"meta/.{STUDY}.lock", add, {}),
        (meta / "objectdb.meta", add, {}), (archive / "archive.db-lock", add, {}), (archive / "archive.db", add, {}),
        (archive / "archive.db-wal", add, {}), (archive / "archive.db-shm", add, {}),
        (archive / "images" / STUDY / "fifo", add, {}), (archive / "images" / STUDY / "objectdb.meta", add, {}),
        (fifo, convert, {"TARN_LOG": f"file:{fifo}"}), (fifo, convert, {"DCMDICTPATH": fifo}),
        (fifo, convert, {"TARN_DB_URL": server, "TARN_DB_PASSWORD_FILE": fifo}),
        (fifo, convert, {"TARN_DB_URL": f"{server}?ssl-ca={fifo}"}), (fifo, convert, {"TARN_DB_URL": f"sqlite:{fifo}"}),
        (stage.folder / "home/.my.cnf", convert, {"TARN_DB_URL": server}), (stage.out / OUTPUT, convert, {}),
        (fifo, ("annomend", "-f", fifo), {}), (fifo, ("annomend-archive", "check", fifo), {})]
    for path, words, variables in rows:
        shutil.rmtree(meta, ignore_errors=True)  # it is to be made
        if path.parent == meta:
            stage.make_folder(meta)
        aside = stage.folder / "aside"
        if existed := path.exists():
            shutil.copy2(path, aside)
        stage.fifo(path)
        status, said = stage.run(*words, seconds=20, **variables)
        yield f"{' '.join(map(str, words[:2]))} ends with a FIFO at {path.name} {variables}", status >= 0
        path.unlink(missing_ok=True)
        if existed:
            shutil.copy2(aside, path)
            stage.give(path, CONVERTER, 0o644)


@attack
def file_that_is_exchanged_in_time(stage):
    """A FIFO that takes a file's place between the look at it and its opening is not waited for."""
    own_handler(stage)
    objects = shutil.copytree(stage.folder / "archive/images", stage.folder / "objects")
    legacy = stage.folder / f"archive/images/{STUDY}/objectdb.meta"
    (stage.folder / f"archive/meta/{STUDY}/objectdb.meta").rename(legacy)
    shutil.rmtree(stage.folder / f"archive/meta/{STUDY}")
    log = stage.put("home/log")
    for path, words, wanted in (legacy, ("tarnctl", "add-study", objects), 1), (log, ("tarnctl", "add-study", stage.state), 0):
        with concurrent.futures.ThreadPoolExecutor() as pool:
            calls = stage.folder / "home/calls"
            run = pool.submit(stage.run, "strace", "-o", calls, "-P", path, "-e", "trace=openat", "-e",
                              "inject=openat:delay_enter=2000000", *words, **({"TARN_LOG": f"file:{log}"} if path == log else {}))
            time.sleep(1)
            stage.fifo(path)
            status, said = run.result()
        yield f"the run ends: {status} {said} {stage.logged()}", status == wanted
        yield f"{path.name} was opened", "openat" in calls.read_text()
    yield "the log says why", "Not a regular file" in stage.logged()


PLANTED = '__attribute__((constructor)) static void planted(void) { fclose(fopen("%s", "w")); }'


@attack
def code_from_the_environment(stage):
    """Neither a set-id program nor one that is started in an attacker's folder loads his library."""
    planted = stage.make_folder("marks", ATTACKER, 0o777) / "planted"
    lib = stage.make_folder("attacker/lib", ATTACKER)
    subprocess.run(["cc", "-shared", "-fPIC", "-include", "stdio.h", "-x", "c", "-", "-o", lib / "RepositoryHandler.so"],
                   input=(PLANTED % planted).encode(), check=True)
    set_id = stage.make_folder("programs") / "annomend"
    shutil.copy(stage.build / "bin/annomend", set_id)
    stage.give(set_id, CONVERTER, 0o4755)
    start = ("-f", stage.state, "-o", f"{stage.out}/")
    stage.run(set_id, *start, account=ATTACKER, TARN_DB_URL=None, REPOSITORYHANDLER_HOME=lib.parent)
    yield "a set-id program takes no library from who starts it", not planted.exists()
    (stage.folder / "archive/archive.db").unlink()
    stage.run("tarnctl", "init")
    for words in ("annomend", *start), ("tarnctl", "add-study", stage.folder / "archive/images"):
        stage.run(*words, cwd=lib.parent, REPOSITORYHANDLER_HOME=".")
        yield f"{words[0]} does not look in the working directory", not planted.exists()
    stage.run("tarnctl", "status", STUDY, REPOSITORYHANDLER_HOME=lib.parent)
    yield "the library leaves its mark where it is loaded", planted.exists()


HARM = {"an escape": b"\x1b]0;title\x07", "a deletion": b"\x7f", "a line end": "\u2028".encode(), "C1": "\x9b31m".encode(), "a single byte of C1": b"\x9b31m",
        "an override": "\u202e".encode(), "an isolate": "\u2066".encode(), "a mark": "\u200f\u061c".encode()}


@attack
def text_that_acts_on_a_terminal(stage):
    """Neither messages nor the log nor what -d and the archive's programs print hold a character that does."""
    for fact, harm in HARM.items():
        text = harm.decode("latin-1")
        ruler = f"ruler_x 1 yellow 60 118 0 1 60 118 80 90 0|100 118 {text} 1"
        state_file = stage.put(f"in/{fact}", file(state(study=STUDY, plugin_state=f"{text}{figure(f'CT.{text}.1', ruler)}")))
        listed = stage.put(f"list/{fact}", file(state(study=f"1.2{text}", plugin_state=f"label{figure()}")))
        stage.log.unlink(missing_ok=True)
        archive = ("annomend-archive", "convert", "-N", "--dry-run", "--progress", "none", "-o", stage.folder / "none")
        run_out, survey = stage.make_folder(f"out {text}"), stage.put(f"survey/{fact}", f"{text}\x7f is no entry\n")
        said = [stage.run(*words)[1].encode(errors="surrogateescape") for words in (
            ("annomend", "-d", "-f", state_file, "-o", f"{stage.out}/"), (*archive, state_file, listed),
            ("annomend-archive", "find", listed.parent), ("annomend-archive", "check", "--format", "json", state_file),
            ("tarnctl", "add-study", state_file),
            ("annomend-archive", "convert", "-N", "--progress", "none", "-o", run_out, "--inventory", survey),
            ("annomend-archive", "convert", "-N", "--progress", "none", "-o", run_out, state_file),
            ("annomend-archive", "report", run_out, "--html", run_out / "page"))]
        yield f"{fact} is shown", all(harm not in part for part in (*said, stage.logged().encode(errors="surrogateescape")))
        yield f"{fact}: -d prints what it read: {said[0]}", b"ruler_x 1 yellow" in said[0]


def main():
    if os.geteuid() != 0:
        print("skipped: only root has the accounts of attacker and converter")
        return 77
    problems = 0
    for name in sys.argv[2:] or ATTACKS:
        with Stage(sys.argv[1]) as stage:
            for fact, holds in ATTACKS[name](stage):
                problems += not holds
                if not holds:
                    print(f"{name}: it does not hold that {fact}".rstrip())
    print(f"{len(sys.argv[2:] or ATTACKS)} attacks, {problems} succeed")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
