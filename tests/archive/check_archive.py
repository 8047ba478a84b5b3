"""check_archive.py BUILD [--mysql] [SEED] [SCENARIO...]: annomend-archive over made archives, whole, interrupted and attacked.

Each scenario prints a line. A skipped one says why, and is no success. With --mysql the database is a MariaDB server of
its own, and the scenarios are those that a database has a part in.
"""
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

from archives import *
from hostile_files import deflated

SCENARIOS = []


class Skipped(Exception):
    pass


def scenario(*databases):
    def add(function):
        SCENARIOS.append((function, databases or ("sqlite",)))
        return function
    return add


def outcomes(found):
    counts = {}
    for record in found.values():
        counts[record["outcome"]] = counts.get(record["outcome"], 0) + 1
    return counts


def codes(record):
    return [reason["code"] for reason in record["reasons"]]


def put(path, content):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)
    return str(path)


def children(process):
    """The search for inputs, then the workers, oldest first."""
    try:
        return [int(pid) for pid in pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()]
    except FileNotFoundError:
        return []


def send(pid, number):
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


def finish(process, status, timeout=40):
    try:
        said, _ = process.communicate(timeout=timeout)
    except subprocess.TimeoutExpired:
        for pid in [*children(process), process.pid]:
            send(pid, signal.SIGKILL)
        raise AssertionError(f"the run did not end: {process.communicate()[0][-300:]}")
    expect(process.returncode == status, f"status {process.returncode}, not {status}: {said.decode()}")
    return said.decode()


@scenario("sqlite", "mysql")
def same_bytes_and_sums(archive, folder, chance):
    inputs = archive.tree(folder / "in", 1500)
    inputs += [put(folder / "in/samples" / name, content) for name, content in archive.samples.items()]
    inputs += [put(folder / "in/odd" / name.replace("/", "_"), content) for name, content in odd_states(1).items()]
    archive.convert(folder / "out", folder / "in", status=1)
    found = archive.verify(folder / "out", inputs)
    expect(outcomes(found).keys() == {"converted", "partly", "nothing", "refused", "failed"}, outcomes(found))
    odd = found[str(folder / "in/odd/odd lines")]
    expect(sorted(codes(odd)) == ["kind-unknown"] * 3 + ["line-unknown"], codes(odd))
    unasked = archive.convert(folder / "unasked", "-N", folder / "in/odd", status=1)
    archive.verify(folder / "unasked", [path for path in inputs if "/odd/" in path], options=["-N"])
    folders = {path.name for path in (folder / "unasked").iterdir()}
    expect(folders == {STUDY.decode(), UNKNOWN_STUDY.decode(), "other", "journal"}, f"folders {folders}")
    before = (folder / "out/journal/1-of-1.jsonl").read_bytes()
    archive.convert(folder / "out", folder / "in", status=1)
    expect((folder / "out/journal/1-of-1.jsonl").read_bytes() == before, "a second run wrote records")
    report = json.loads(archive.run("report", folder / "out", "--format", "json")[1])
    expect(report["outcomes"] == {**dict.fromkeys(report["outcomes"], 0), **outcomes(found)}, report)
    _, dry, _ = archive.run("convert", "--dry-run", "-o", folder / "dry", folder / "in")
    dry = {record["input"]: record for record in map(json.loads, dry.splitlines())}
    for path, record in found.items():
        expect({**dry[path], "ms": 0} == {**record, "ms": 0}, f"dry run: {dry[path]}")
    expect(not (folder / "dry").exists(), "a dry run made its folder")


@scenario()
def any_tree(archive, folder, chance):
    root = folder / "in"
    inputs = archive.tree(root, 60)
    content = list(archive.copies(4))
    inputs += [put(root / "a blank and\na line feed" / " x.dcm", content[0]),
               put(root / os.fsdecode(b"no \xff\xfe utf-8"), content[1]), put(root / "\x1b[2J", content[2])]
    outside = put(folder / "outside/x.dcm", content[3])
    put(folder / "named/y.dcm", next(archive.copies(1)))
    image = next((archive.folder / "archive/images").rglob("CT.*"))
    shutil.copy(image, root / "image")
    for name, text in {"text": b"notes\n" * 900, "empty": b"", "zeros": bytes(5000)}.items():
        put(root / name, text)
    os.mkfifo(root / "fifo")
    os.mkfifo(folder / "list")
    reader = os.open(folder / "list", os.O_RDONLY | os.O_NONBLOCK)
    status, _, said = archive.run("find", root / "0", "-o", folder / "list")
    expect(status == 0 and os.read(reader, 9) == b'{"input":', f"an inventory into a FIFO: {status} {said}")
    expect(archive.run("find", root / "0", "-o", folder)[0] == 2, "an inventory in place of a folder")
    socket.socket(socket.AF_UNIX).bind(str(root / "socket"))
    for link, target in {"loop": "loop", "up": "..", "dangling": "nowhere", "file link": outside,
                         "folder link": folder / "outside", "named link": folder / "named"}.items():
        (root / link).symlink_to(target)
    inputs += [str(root / "file link"), str(root / "named link/y.dcm")]
    out = root / "out"
    arguments = [root, f"{root}/", root / "0", root / "named link", inputs[0], root / "0/../0"]
    archive.convert(out, *arguments, status=3)
    archive.verify(out, inputs)
    archive.convert(out, *arguments, status=3)
    archive.verify(out, inputs)
    outputs = [str(path) for path in out.glob("[1o]*/PR.*")]
    found = archive.convert(folder / "of outputs", *out.glob("[1o]*"))
    expect(outcomes(found) == {"nothing": len(outputs)}, outcomes(found))
    status, _, said = archive.run("convert", "-o", out, out)
    expect(status != 0 and str(out) in said, f"OUT as PATH: {status} {said}")
    _, text, _ = archive.run("report", out)
    expect("\x1b" not in text, "a report writes control characters of names")


@scenario()
def names_from_lists(archive, folder, chance):
    inputs = archive.tree(folder / "in", 20)
    odd = put(folder / "in/a\nb", next(archive.copies(1)))
    gone = str(folder / "in/gone.dcm")
    lists = "\n".join([*inputs, "", gone, inputs[0], os.path.relpath(inputs[1], folder)])
    (folder / "loop").symlink_to("loop")
    long = f"{folder}/" + "x" * 100_000
    found = archive.convert(folder / "lines", "--files-from", "-", input=lists, status=1, cwd=folder)
    expect(found.keys() == {*inputs, gone} and codes(found[gone]) == ["missing"], found.get(gone))
    found = archive.convert(folder / "nul", "--null", "--files-from", put(folder / "l", "\0".join([*inputs, odd]).encode()),
                            status=3)
    expect(found.keys() == {*inputs, odd}, found.keys())
    looping = f"{folder}/loop/../x"
    done = archive.run("convert", "-o", folder / "odd", "--files-from", "-", input=f"{long}\n{looping}\n{inputs[0]}")
    expect(done[0] == 1 and inputs[0] in records(folder / "odd"), f"odd names: {done[0]} {done[1]}{done[2][-300:]}")
    status, _, said = archive.run("convert", "-o", folder / "un", "--files-from", folder / "l")
    expect(status == 2 and "NUL" in said, f"NULs without --null: {status} {said[:200]}")
    later = put(folder / "later.dcm", odd_states(2)["nothing"])
    archive.run("find", later, "-o", folder / "before")
    put(folder / "later.dcm", archive.samples["several-images.dcm"])
    found = archive.convert(folder / "since", "--inventory", folder / "before")
    expect(found[later]["outcome"] == "converted", "a state that changed after the survey has nothing to convert")
    for arguments in ([], ["--files-from", folder / "none"], ["--null", folder], ["--shard", "3/2", folder],
                      ["--retry", "--redo", folder], ["--inventory", put(folder / "bad", b"{}\n")]):
        status, _, said = archive.run("convert", "-o", folder / "usage", *arguments)
        expect(status == 2 and said.startswith("annomend-archive: "), f"{arguments}: {status} {said}")


@scenario()
def resumed(archive, folder, chance):
    inputs = archive.tree(folder / "in", 40)
    whole = put(folder / "in/whole.dcm", archive.samples["several-images.dcm"])
    small = archive.samples["annotations-all-kinds.dcm"].replace(b"20.1\0", b"20.2\0")  # the UID of `whole`
    out = folder / "out"
    expect(small != archive.samples["annotations-all-kinds.dcm"], "no other state of the same UID")
    archive.convert(out, folder / "in", status=3)
    before = snapshot(out)
    put(folder / "in/whole.dcm", small)
    archive.convert(out, folder / "in", status=3)
    found = archive.verify(out, [*inputs, whole])
    expect(len(found[whole]["outputs"]) == 1, "outputs of the earlier version stay")
    after = snapshot(out)
    expect(all(before[name] == after[name] for name in after if ".20.2" not in name), "others were touched")
    archive.convert(out, folder / "in", "--retry", status=3)
    expect(snapshot(out) == after, "--retry touched what was converted")
    victim = out / found[whole]["outputs"][0]["file"]
    victim.write_bytes(bytes(victim.stat().st_size))
    os.unlink(out / found[inputs[0]]["outputs"][0]["file"])
    stranger = put(out / STUDY.decode() / "PR.9.9", b"")
    status, said, _ = archive.run("check", "--journal", out)
    expect(status == 1 and sorted(line.split(": ")[1] for line in said.splitlines()) ==
           ["output-changed", "output-missing", "output-unknown"], said)
    os.unlink(stranger)
    before = snapshot(out)
    archive.convert(out, folder / "in", "--redo", status=3)
    archive.verify(out, [*inputs, whole])
    after = snapshot(out)
    expect([name for name in before if before[name] != after[name]] == [str(victim.relative_to(out))],
           "--redo touched outputs that were as they should be")
    os.unlink(whole)
    archive.convert(out, "--files-from", "-", input=whole, status=1)
    expect(records(out)[whole]["outputs"], "a missing input's outputs are gone")


@scenario()
def copies_and_taken_names(archive, folder, chance):
    root, out = folder / "in", folder / "out"
    content = archive.samples["several-images.dcm"]
    copies = [put(root / f"{name}.dcm", content) for name in "abc"]
    other = archive.samples["annotations-all-kinds.dcm"].replace(b"20.1\0", b"20.2\0")
    rest = archive.tree(root / "rest", 30)
    def run():
        found = archive.convert(out, "-j1", "--files-from", "-", input="\n".join([*copies, *rest]), status=3)
        archive.verify(out, [*copies, *rest])
        for path in copies:
            for output in found[path]["outputs"]:
                owners = [p for p in copies for o in found[p]["outputs"]
                          if o["file"] == output["file"] and not o.get("duplicate")]
                expect(len(owners) == 1, f"{output['file']} has the owners {owners}")
        return found
    run()
    for changed in ("c", "a"), ("b",), ("c", "b", "a"), ("a",):
        for name in changed:
            old = (root / f"{name}.dcm").read_bytes()
            put(root / f"{name}.dcm", other if old == content else content)
        run()
    names = [put(folder / "names" / name, bytes) for name, bytes in (("1", content), ("2", other))]
    found = archive.convert(folder / "taken", "-j1", *names, status=3)
    reason, = found[names[1]]["reasons"]
    expect(reason["code"] == "name-taken" and reason["detail"] == names[0], reason)
    archive.verify(folder / "taken", names)


@scenario()
def what_others_placed_in_out(archive, folder, chance):
    out, study = folder / "out", STUDY.decode()
    inputs = [put(folder / "in" / name, archive.samples[name]) for name in ("several-images.dcm", "view-only.dcm")]
    names = list(archive.reference(inputs[0])[2])
    put(out / study / names[0], b"unknown")
    put(folder / "victim", b"mine")
    (out / study / names[1]).symlink_to(folder / "victim")
    archive.convert(out, folder / "in")
    archive.verify(out, inputs)
    expect((folder / "victim").read_bytes() == b"mine", "a link in OUT was followed")
    modes = {oct(path.stat().st_mode & 0o777) for path in out.rglob("*") if "PR." in path.name or "jsonl" in path.name}
    expect(modes <= {"0o640", "0o600"}, f"modes {modes}")
    linked = folder / "linked"
    linked.mkdir()
    (folder / "elsewhere").mkdir()
    (linked / study).symlink_to(folder / "elsewhere")
    found = archive.convert(linked, folder / "in", status=1)
    expect(all(codes(found[path])[0] == "output-not-saved" for path in inputs), found[inputs[0]]["reasons"])
    expect(not list((folder / "elsewhere").iterdir()), "it wrote through a link")
    if os.geteuid() == 0:
        os.unlink(linked / study)
        (linked / study).mkdir()
        os.chown(linked / study, 65534, 65534)
        archive.convert(linked, folder / "in", "--retry", status=1)
        expect(not list((linked / study).iterdir()), "it wrote into another account's folder")
        os.chown(linked / study, 0, 0)
        archive.convert(linked, folder / "in", "--retry")
        archive.verify(linked, inputs)
    inside = folder / "inside" / study
    path = put(inside / names[0], archive.samples["several-images.dcm"])
    found = archive.convert(folder / "inside", path, status=1)
    expect((inside / names[0]).read_bytes() == archive.samples["several-images.dcm"], "the input was replaced")
    expect(codes(found[path]) == ["output-not-saved"], found[path]["reasons"])


@scenario()
def unreadable_as_another_account(archive, folder, chance):
    if os.geteuid() != 0:
        raise Skipped("needs root, to become another account")
    inputs = archive.tree(folder / "in", 45)
    os.chmod(folder / "in/1", 0)
    os.chmod(inputs[0], 0)
    (folder / "out").mkdir()
    copy = folder / "archive"
    shutil.copytree(archive.folder / "archive", copy)
    for path in [copy, *copy.rglob("*"), folder / "out"]:
        os.chown(path, 65534, 65534)
    env = {name: value.replace(str(archive.folder / "archive"), str(copy)) for name, value in archive.env.items()}
    done = subprocess.run(["annomend-archive", "convert", "-o", folder / "out", folder / "in"], env=env, user=65534,
                          group=65534, extra_groups=[], capture_output=True, text=True)
    found = records(folder / "out")
    expect(done.returncode == 1 and f"{folder}/in/1 cannot be read: Permission denied" in done.stderr, done)
    expect(found.keys() == set(inputs[:40]) and codes(found[inputs[0]]) == ["unreadable"], found.get(inputs[0]))
    os.chmod(folder / "in/1", 0o755)
    os.chmod(inputs[0], 0o644)
    for path in [folder / "out", *(folder / "out").rglob("*")]:
        os.chown(path, 0, 0)
    archive.convert(folder / "out", folder / "in", "--retry", status=3)
    archive.verify(folder / "out", inputs)


@scenario("sqlite", "mysql")
def shards(archive, folder, chance):
    inputs = archive.tree(folder / "in", 150)
    odd = [put(folder / "in/odd" / name.replace("/", "_"), content) for name, content in odd_states(2).items()]
    gone = str(folder / "in/gone.dcm")
    archive.run("find", folder / "in", "-o", folder / "list")
    whole = archive.convert(folder / "whole", folder / "in", status=1)
    lines = (folder / "list").read_text().splitlines()
    expect({json.loads(line)["input"] for line in lines} == set(whole), "the inventory differs")
    put(folder / "list", "\n".join([*lines, json.dumps({**json.loads(lines[0]), "input": gone})]).encode())
    for out, source, more in ("walked", [folder / "in"], []), ("listed", ["--inventory", folder / "list"], [gone]):
        for shard in (1, 2, 3):
            archive.run("convert", "-o", folder / out, "--shard", f"{shard}/3", *source)
        unopened = [path for path in odd if path.endswith("/nothing")]
        found = archive.verify(folder / out, [*inputs, *odd, *more], kept=[*more, *unopened])
        where = {}
        for shard in (1, 2, 3):
            for line in (folder / out / f"journal/{shard}-of-3.jsonl").read_text().splitlines()[1:]:
                record = json.loads(line)
                expect(where.setdefault(record["input"], shard) == shard, f"{record['input']} is in two shards")
                expect(not record["study"] or where.setdefault(record["study"], shard) == shard, "a study was split")
        for path in whole:
            same = [{key: record[key] for key in ("outcome", "annotations", "outputs")}
                    for record in (whole[path], found[path])]
            expect(same[0] == same[1], f"{out}: {same}")
    for arguments in (["--shard", "1/4"], []):
        status, _, said = archive.run("convert", "-o", folder / "walked", *arguments, folder / "in")
        expect(status == 2 and "shards" in said, f"{arguments}: {status} {said}")
    header = folder / "walked/journal/2-of-3.jsonl"
    header.write_text(header.read_text().replace('"plain"', '"conformant"', 1))
    status, _, said = archive.run("convert", "-o", folder / "walked", "--shard", "1/3", folder / "in")
    expect(status == 2 and "conformant" in said, f"another form: {status} {said}")


@scenario("sqlite", "mysql")
def two_runs_and_no_database(archive, folder, chance):
    inputs = archive.tree(folder / "in", 30)
    first = archive.start(folder / "out", "--files-from", "-", stdin=subprocess.PIPE)
    wait_for(lambda: (folder / "out/journal/1-of-1.work").exists(), "a run")
    status, _, said = archive.run("convert", "-o", folder / "out", folder / "in")
    expect(status == 2 and "in use" in said, f"a second run: {status} {said}")
    first.stdin.write("\n".join(inputs).encode())
    finish(first, 3)
    archive.verify(folder / "out", inputs)
    url = archive.env["TARN_DB_URL"]
    archive.env["TARN_DB_URL"] = f"sqlite:{folder}/none.db" if "sqlite" in url else url.replace("/s", "/none")
    archive.convert(folder / "out", folder / "in", status=75)
    archive.env["TARN_DB_URL"] = url
    for table in "OBJECTTBL", "QXOBJCACHETBL":
        name, archive.env[table] = archive.env[table], "no_such_table"
        archive.convert(folder / "no table", folder / "in", status=75)
        archive.env[table] = name
    expect(not (folder / "no table").exists(), "a run without a table began")


@scenario()
def studies_of_the_table(archive, folder, chance):

    copy = folder / "archive"
    shutil.copytree(archive.folder / "archive", copy)
    env, archive.env = archive.env, {name: value.replace(str(archive.folder / "archive"), str(copy))
                                     for name, value in archive.env.items()}
    try:
        inputs = []
        for study in STUDIES:
            content = next(archive.copies(1))
            dataset = pydicom.dcmread(put(folder / "state", content))
            study = next(study for study in STUDIES if study in content).decode()
            inputs.append(put(copy / "images" / study / f"PR.{dataset.SOPInstanceUID}", content))
        subprocess.run(["tarnctl", "add-study", *(copy / "images").iterdir()], env=archive.env, check=True,
                       capture_output=True)
        gone = inputs.pop()
        os.unlink(gone)
        listed = "\n".join(study.decode() for study in STUDIES)
        archive.convert(folder / "named", "--studies-from", "-", input=listed, status=1)
        expect(records(folder / "named").keys() == {*inputs, gone}, "not the states of the studies")
        status, _, said = archive.run("convert", "-N", "-o", folder / "unknown", "--studies-from", "-", input="1.2.3")
        expect(status == 1 and "1.2.3 is not in the object table" in said, f"an unknown study: {status} {said}")
        for out, arguments in ("all", [["--all-studies"]]), ("sharded", [["--all-studies", "--shard", f"{i}/3"] for i in (1, 2, 3)]):
            for each in arguments:
                archive.run("convert", "-o", folder / out, *each)
            found = archive.verify(folder / out, [*inputs, gone], kept=[gone])
            expect(codes(found[gone]) == ["missing"], found[gone]["reasons"])
    finally:
        archive.env = env


def at_work(process, path):
    """The worker that has the file open."""
    for pid in children(process)[1:]:
        try:
            for descriptor in os.scandir(f"/proc/{pid}/fd"):
                if os.readlink(descriptor.path) == path:
                    return pid
        except OSError:
            pass
    return None


def slow_state(megabytes):
    """A state that takes long, and that much memory."""
    value = element(0xF215, 0x10A0, "OB", b"", megabytes << 20)
    return deflated(state(study=STUDY.decode(), plugin_state=f"label{figure('CT.' + STUDY.decode() + '.1.1', RULER)}",
                          behind=value), bytes(1 << 20), megabytes)


@scenario()
def workers_that_die(archive, folder, chance):
    slow = put(folder / "slow/slow.dcm", slow_state(400))
    inputs = archive.tree(folder / "in", 120)
    def run(out, arguments, blows, **options):
        process = archive.start(folder / out, "-j2", *arguments, folder / "slow", folder / "in", **options)
        for blow in blows:
            pid = wait_for(lambda: at_work(process, slow), "a worker at the slow state")
            send(pid, blow)
            if blow == signal.SIGKILL:
                wait_for(lambda: not os.path.exists(f"/proc/{pid}/fd") or not os.listdir(f"/proc/{pid}/fd"), "its end")
        return process
    for out, arguments, blows, outcome, code in (
            ("crash", [], [signal.SIGSEGV], "crashed", "crashed"),
            ("hang", ["--timeout", "2"], [signal.SIGSTOP], "timeout", "timeout"),
            ("killed once", [], [signal.SIGKILL], "converted", None),
            ("killed twice", [], [signal.SIGKILL, signal.SIGKILL], "crashed", "killed"),
            ("memory", ["--memory", "60M"], [], "crashed", "out-of-memory")):
        finish(run(out, arguments, blows), 3 if code is None else 1)
        found = archive.verify(folder / out, [slow, *inputs], kept=[slow])
        expect(found[slow]["outcome"] == outcome and codes(found[slow]) == ([code] if code else []),
               f"{out}: {found[slow]['outcome']} {found[slow]['reasons']}")
    archive.convert(folder / "crash", "--retry", folder / "slow", folder / "in", status=3)
    archive.verify(folder / "crash", [slow, *inputs])


@scenario()
def workers_that_stop_between_jobs(archive, folder, chance):
    inputs = archive.tree(folder / "in", 160)
    process = archive.start(folder / "out", "-j2", "--timeout", "2", "--files-from", "-", stdin=subprocess.PIPE)
    def feed(names):
        process.stdin.write("".join(f"{name}\n" for name in names).encode())
        process.stdin.flush()
    def workers():
        found = children(process)[1:]
        return found if len(found) == 2 else None
    def recorded(count):
        return wait_for(lambda: len(records(folder / "out")) == count, f"{count} records")
    for index, last_blow in enumerate((signal.SIGKILL, signal.SIGKILL, None)):
        stopped = wait_for(workers, "two workers")
        for pid in stopped:
            send(pid, signal.SIGSTOP)
        feed(inputs[50 * index:50 * (index + 1)])
        time.sleep(0.3)
        for pid in stopped if last_blow else []:
            send(pid, last_blow)
        recorded(50 * (index + 1))
        before = children(process)
        for pid in before[1:]:
            send(pid, signal.SIGKILL)
        wait_for(lambda: (found := workers()) and not set(found) & set(before), "new workers")
        time.sleep(0.1)
    feed(inputs[150:])
    finish(process, 3)
    archive.verify(folder / "out", inputs)


@scenario()
def workers_that_cannot_begin(archive, folder, chance):
    archive.tree(folder / "in", 3)
    stopped = ["--memory", "1", folder / "in"]
    finish(archive.start(folder / "out", *stopped), 75, 20)
    with open("/dev/full", "w") as full:
        ended = subprocess.run(["annomend-archive", "convert", "-o", folder / "out", *stopped], env=archive.env,
                               stdout=full, stderr=subprocess.DEVNULL)
    expect(ended.returncode == 75, f"status {ended.returncode} where the summary cannot be written")
    process = archive.start(folder / "killed", "-j2", "--files-from", "-", stdin=subprocess.PIPE)
    for _ in range(2000):
        for pid in children(process)[1:]:
            send(pid, signal.SIGKILL)
        if process.poll() is not None:
            break
        time.sleep(0.005)
    finish(process, 75)


def changed(archive, inputs, chance):
    """Every fifth input becomes another state."""
    for path in chance.sample(inputs, len(inputs) // 5):
        put(pathlib.Path(path), next(archive.copies(1)))


@scenario("sqlite", "mysql")
def kills(archive, folder, chance):
    inputs = archive.tree(folder / "in", 150)
    begin = time.monotonic()
    archive.convert(folder / "timed", folder / "in", status=3)
    seconds = time.monotonic() - begin
    hits = 0
    for number in range(40):
        out, shape = folder / f"out{number}", ""
        if number % 2:
            archive.convert(out, folder / "in", status=3)
            changed(archive, inputs, chance)
        for victim in chance.choices(["run", "worker", "source", "INT", "TERM"], k=chance.randrange(1, 4)):
            before = snapshot(out) if (out / "journal").exists() else {}
            complete = {path: record["outputs"] for path, record in records(out).items()
                        if not os.path.exists(path) or record["size"] == os.stat(path).st_size and
                        int(record["mtime"][-10:-1] or 0) == os.stat(path).st_mtime_ns % 10**9}
            process = archive.start(out, folder / "in")
            time.sleep(chance.uniform(0, 0.4 * seconds))  # runs that go on are shorter
            shape += f" {victim}"
            if victim == "run":
                process.kill()
            elif victim in ("INT", "TERM"):
                send(process.pid, signal.Signals[f"SIG{victim}"])
            elif pids := children(process):
                send(pids[0] if victim == "source" else chance.choice(pids[1:] or pids), signal.SIGKILL)
            process.communicate(timeout=30)
            wanted = {"run": (-9, 3), "INT": (130, 3, -2), "TERM": (143, 3, -15), "source": (75, 3), "worker": (3, 75)}
            expect(process.returncode in wanted[victim], f"round {number},{shape}: status {process.returncode}")
            hits += process.returncode != 3
            after = snapshot(out) if (out / "journal").exists() else {}
            for path, outputs in complete.items():
                expect(all(after.get(o["file"]) == before[o["file"]] for o in outputs),
                       f"round {number},{shape}: outputs of {path} were touched")
        archive.convert(out, folder / "in", status=3)
        archive.verify(out, inputs)
        shutil.rmtree(out)
    expect(hits > 20, f"only {hits} runs were hit")


@scenario("mysql")
def the_server_is_killed(archive, folder, chance):
    inputs = archive.tree(folder / "in", 250)
    out, hits = folder / "out", 0
    for number in range(6):
        process = archive.start(out, "--redo", folder / "in")
        time.sleep(chance.uniform(0.05, 0.3))
        archive.server.kill()
        process.communicate(timeout=40)
        expect(process.returncode in (75, 3), f"status {process.returncode}")
        hits += process.returncode == 75
        bad = {path: record for path, record in records(out).items() if record["outcome"] in ("failed", "crashed")}
        interrupted = {path for path, record in bad.items() if codes(record) == ["interrupted"]}
        expect(bad.keys() == interrupted, f"round {number}: without its server {list(bad.values())[:1]}")
        archive.convert(out, folder / "in", status=75)
        archive.server.start()
        archive.convert(out, folder / "in", status=3)
        archive.verify(out, inputs)
    expect(hits > 2, f"only {hits} of the runs lost the server")


@scenario()
def a_full_disk(archive, folder, chance):
    disk = folder / "disk"
    disk.mkdir()
    if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=400k", "tmpfs", disk], capture_output=True).returncode:
        raise Skipped("no file system can be mounted here")
    try:
        inputs = archive.tree(folder / "in", 300)
        for _ in range(2):
            finish(archive.start(disk / "out", folder / "in"), 75)
            found = records(disk / "out")
            expect(outcomes(found).keys() <= {"converted", "partly"}, outcomes(found))
        kept = snapshot(disk / "out")
        subprocess.run(["mount", "-o", "remount,size=64m", disk], check=True)
        archive.convert(disk / "out", folder / "in", status=3)
        archive.verify(disk / "out", inputs)
        expect(kept.items() <= snapshot(disk / "out").items(), "what was complete was touched")
    finally:
        subprocess.run(["umount", disk])


@scenario()
def a_file_size_limit(archive, folder, chance):
    archive.tree(folder / "in", 30)
    process = archive.start(folder / "out", folder / "in", preexec_fn=lambda: resource.setrlimit(
        resource.RLIMIT_FSIZE, (1000, resource.RLIM_INFINITY)))
    finish(process, 75)
    expect(outcomes(records(folder / "out")).keys() <= {"converted", "partly"}, outcomes(records(folder / "out")))
    archive.convert(folder / "out", folder / "in", status=3)


@scenario()
def damaged_journals(archive, folder, chance):
    inputs, out = archive.tree(folder / "in", 30), folder / "out"
    archive.convert(out, folder / "in", status=3)
    journal = out / "journal/1-of-1.jsonl"
    whole = journal.read_bytes()
    for tail in (b'{"input":"/x', b"\0" * 9000, b'{"input":\0\0\n' + whole.splitlines()[5] + b"\n", b"\0\n\0\n"):
        journal.write_bytes(whole[:-700] + tail)
        archive.convert(out, folder / "in", status=3)
        archive.verify(out, inputs)
    journal.write_bytes(whole.replace(b'"outcome":"converted"', b'"outcome":"c#nverted"', 3))
    damaged = journal.read_bytes()
    status, _, said = archive.run("convert", "-o", out, folder / "in")
    expect(status != 0 and "damaged at byte" in said and journal.read_bytes() == damaged, f"damage: {status} {said}")


@scenario()
def what_is_synced_when(archive, folder, chance):
    if not shutil.which("strace"):
        raise Skipped("there is no strace")
    inputs, out, log = archive.tree(folder / "in", 120), folder / "out", folder / "calls"
    tracer = ["strace", "-y", "-s", "4000000", "-o", log, "-e",
              "trace=rename,renameat,renameat2,syncfs,fdatasync,write,pwrite64,unlinkat"]
    for again in False, True:
        if again:
            changed(archive, inputs, chance)
        done = subprocess.run([*tracer, "annomend-archive", "convert", "-o", out, folder / "in"], env=archive.env,
                              capture_output=True)
        expect(done.returncode == 3, done)
        renamed, unsynced, committed = set(), set(), not again
        recorded, marked = {}, set()
        for line in log.read_text(errors="replace").splitlines():
            call, changes = line.split("(")[0], re.search(r'"(PR\.[0-9.]+)"', line)
            if call.startswith("rename") and changes:
                name = changes[1]
                expect(committed is not False or not renamed, f"{name} placed before the journal was on the disk")
                expect(not again or name not in before_names or name in marked, f"{name} replaced, its record stands")
                renamed.add(name)
                unsynced.add(name)
            elif call == "unlinkat" and changes:
                expect(changes[1] in marked, f"{changes[1]} removed, its record stands")
            elif call == "syncfs":
                unsynced.clear()
            elif call in ("write", "pwrite64") and ".jsonl>" in line:
                committed, pending = False, line
                spoken = set(re.findall(r"PR\.[0-9.]+[0-9]", line))
                expect(not spoken & unsynced, f"the journal speaks of {spoken & unsynced} before they are on the disk")
            elif call == "fdatasync" and ".jsonl>" in line:
                if not committed and "interrupted" in pending:
                    for each in re.findall(r"\{.*?interrupted.*?\\n", pending):
                        marked |= set(re.findall(r"PR\.[0-9.]+[0-9]", each))
                committed = True
        expect(renamed and not unsynced and committed, f"{len(renamed)} renamed, not synced {unsynced}")
        before_names = {pathlib.Path(output["file"]).name for record in records(out).values() for output in record["outputs"]}
    archive.verify(out, inputs)


class Server:
    def __init__(self, folder):
        self.folder, self.url = folder, f"mysql://root@localhost/archive?socket={folder}/s"
        folder.mkdir()
        self.start()
        subprocess.run(["mariadb", "--no-defaults", "--user=root", f"--socket={folder}/s", "-e",
                        "CREATE DATABASE archive"], check=True)

    def start(self):
        subprocess.run([TESTS / "support/start-server.sh", str(os.getpid()), self.folder], check=True)

    def kill(self):
        os.kill(int((self.folder / "pid").read_text()), signal.SIGKILL)


def main():
    build, *rest = [os.path.realpath(sys.argv[1]), *sys.argv[2:]]
    database = "mysql" if "--mysql" in rest else "sqlite"
    numbers = [int(word) for word in rest if word.isdigit()]
    names = [word for word in rest if word.isidentifier()]
    seed = numbers[0] if numbers else time.time_ns() % 1_000_000
    print(f"seed {seed}", flush=True)
    failures = 0
    with tempfile.TemporaryDirectory(prefix="annomend-", ignore_cleanup_errors=True) as temporary:
        top = pathlib.Path(temporary).resolve()
        os.chmod(top, 0o755)
        server = Server(top / "server") if database == "mysql" else None
        archive = Archive(build, top, server and server.url)
        archive.server = server
        for function, databases in SCENARIOS:
            if database not in databases or names and function.__name__ not in names:
                continue
            folder = top / function.__name__
            folder.mkdir()
            begin, result = time.monotonic(), "ok"
            try:
                function(archive, folder, random.Random(f"{seed} {function.__name__}"))
            except Skipped as reason:
                result = f"SKIPPED, {reason}"
            except (AssertionError, KeyError, subprocess.SubprocessError, OSError) as problem:
                failures, result = failures + 1, f"FAILED: {type(problem).__name__} {problem}"
            print(f"{function.__name__.replace('_', ' ')} ({time.monotonic() - begin:.1f}s): {result}", flush=True)
        if server:
            server.kill()
    return 1 if failures else 0


sys.exit(main())
