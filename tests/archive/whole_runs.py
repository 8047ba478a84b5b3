"""Scenarios of runs that nobody hits: what is found, what becomes of each input, and what a second run does."""
import json
import os
import pathlib
import re
import shutil
import socket
import subprocess

from archives import *
from scenarios import *


@scenario("sqlite", "mysql")
def same_bytes_and_sums(archive, folder, chance):
    out, odd = folder / "out", put_all(folder / "in/odd", odd_states(1))
    inputs = archive.tree(folder / "in", 1500) + put_all(folder / "in/samples", archive.samples) + odd
    found = archive.convert(out, folder / "in", status=1, inputs=inputs)
    expect(outcomes(found).keys() == {"converted", "partly", "nothing", "refused", "failed"}, outcomes(found))
    expect(all(map(is_current, found.values())), "sizes or times are not those of the inputs")
    unknown = codes(found[str(folder / "in/odd/odd lines")])
    expect(sorted(unknown) == ["kind-unknown"] * 3 + ["line-unknown"], unknown)
    before = (out / "journal/1-of-1.jsonl").read_bytes()
    archive.convert(out, folder / "in", status=1)
    expect((out / "journal/1-of-1.jsonl").read_bytes() == before, "a second run wrote records")
    report = json.loads(archive.run("report", out, "--format", "json")[1])
    expect({name: count for name, count in report["outcomes"].items() if count} == outcomes(found), report)
    lines = archive.run("convert", "--dry-run", "-o", folder / "dry", folder / "in")[1].splitlines()
    dry = {record["input"]: record for record in map(json.loads, lines)}
    for path, record in found.items():
        expect({**dry[path], "ms": 0} == {**record, "ms": 0}, f"dry run: {dry[path]}")
    expect(not (folder / "dry").exists(), "a dry run made its folder")
    archive.convert(folder / "unasked", "-N", folder / "in/odd", status=1, inputs=odd, options=["-N"])
    folders = {path.name for path in (folder / "unasked").iterdir()}
    expect(folders == {STUDY.decode(), UNKNOWN_STUDY.decode(), "other", "journal"}, f"folders {folders}")


@scenario("sqlite")
def any_tree(archive, folder, chance):
    root, out = folder / "in", folder / "in/out"
    *states, beside, named = archive.copies(5)
    names = ["a blank and\na line feed/ x.dcm", os.fsdecode(b"no \xff\xfe utf-8"), "\x1b[2J"]
    inputs = archive.tree(root, 60) + put_all(root, dict(zip(names, states)))
    put_all(folder, {"beside/x.dcm": beside, "named/y.dcm": named})
    put_all(root, {"text": b"notes\n" * 900, "empty": b"", "zeros": bytes(5000)})
    shutil.copy(next((archive.folder / "archive/images").rglob("CT.*")), root / "image")
    os.mkfifo(root / "fifo")
    os.mkfifo(folder / "list")
    for place in folder / "list", folder:  # a FIFO that nobody reads, a folder
        status, _, said = archive.run("find", root / "0", "-o", place)
        expect(status == 2 and re.fullmatch(f".*{place} cannot be written: .+\n", said), f"{place}: {status} {said}")
    reader = os.open(folder / "list", os.O_RDONLY | os.O_NONBLOCK)
    status, _, said = archive.run("find", root / "0", "-o", folder / "list")
    expect(status == 0 and os.read(reader, 9) == b'{"input":', f"an inventory into a FIFO: {status} {said}")
    socket.socket(socket.AF_UNIX).bind(str(root / "socket"))
    for link, target in {"loop": "loop", "up": "..", "dangling": "nowhere", "file link": folder / "beside/x.dcm",
                         "folder link": folder / "beside", "named link": folder / "named"}.items():
        (root / link).symlink_to(target)
    inputs += [str(root / "file link"), str(root / "named link/y.dcm")]
    for _ in range(2):
        archive.convert(out, root, f"{root}/", root / "0", root / "named link", inputs[0], root / "0/../0", status=3,
                        inputs=inputs)
    found = archive.convert(folder / "of outputs", *out.glob("[1o]*"))
    expect(outcomes(found) == {"nothing": len(list(out.glob("[1o]*/PR.*")))}, outcomes(found))
    archive.refuses(1, f"{out} is the output folder", "convert", "-o", out, out)
    expect("\x1b" not in archive.run("report", out)[1], "a report writes control characters of names")


@scenario("sqlite")
def names_from_lists(archive, folder, chance):
    inputs = archive.tree(folder / "in", 20)
    odd, = put_all(folder / "in", {"a\nb": next(archive.copies(1))})
    gone, listed, bad = str(folder / "in/gone.dcm"), folder / "listed", folder / "bad"
    lines = "\n".join([*inputs, "", gone, inputs[0], os.path.relpath(inputs[1], folder)])
    found = archive.convert(folder / "lines", "--files-from", "-", input=lines, status=1, cwd=folder)
    expect(found.keys() == {*inputs, gone} and codes(found[gone]) == ["missing"], found.get(gone))
    put_all(folder, {"listed": "\0".join([*inputs, odd]).encode(), "bad": b"{}\n"})
    archive.convert(folder / "nul", "--null", "--files-from", listed, status=3, inputs=[*inputs, odd])
    (folder / "loop").symlink_to("loop")
    names = f"{folder}/{'x' * 100_000}\n{folder}/loop/../x\n{inputs[0]}"
    found = archive.convert(folder / "odd", "--files-from", "-", input=names, status=1)
    expect(inputs[0] in found and len(found) == 2, f"odd names: {found.keys()}")
    plain, inventory = put_all(folder, {"plain": odd_states(3)["nothing"], "inventory": b""})
    archive.run("find", plain, "-o", inventory)
    expect(b'"private":false' in pathlib.Path(inventory).read_bytes(), "the state has something to convert")
    put_all(folder, {"plain": archive.samples[SEVERAL]})  # since the survey
    archive.convert(folder / "changed", "--inventory", inventory, inputs=[plain])
    for arguments, why in (([], "PATH"), (["--files-from", folder / "none"], "none cannot be read"),
                           (["--null", folder], "--null"), (["--shard", "3/2", folder], "--shard"),
                           (["--retry", "--redo", folder], "--redo"), (["--inventory", bad], "inventory"),
                           (["--files-from", listed], "--null is missing")):
        archive.refuses(2, why, "convert", "-o", folder / "usage", *arguments)


@scenario("sqlite")
def resumed(archive, folder, chance):
    out, root = folder / "out", folder / "in"
    whole, = put_all(root, {"whole": archive.samples[SEVERAL]})
    inputs = archive.tree(root, 40) + [whole]
    archive.convert(out, root, status=3)
    before = snapshot(out)
    put_all(root, {"whole": archive.samples[ALL_KINDS].replace(b"20.1\0", b"20.2\0")})  # the UID of the state before
    found = archive.convert(out, root, status=3, inputs=inputs)
    expect(len(found[whole]["outputs"]) == 1, "outputs of the earlier version stay")
    after = snapshot(out)
    expect(all(before[name] == after[name] for name in after if ".20.2" not in name), "others were touched")
    archive.convert(out, root, "--retry", status=3)
    expect(snapshot(out) == after, "--retry touched what was converted")
    changed = out / found[whole]["outputs"][0]["file"]
    changed.write_bytes(bytes(changed.stat().st_size))
    missing = found[inputs[0]]["outputs"][0]["file"]
    os.unlink(out / missing)
    stranger, = put_all(out / STUDY.decode(), {"PR.9.9": b""})
    status, said, _ = archive.run("check", "--journal", out)
    expect(status == 1 and sorted(line.split(": ")[1] for line in said.splitlines()) ==
           ["output-changed", "output-missing", "output-unknown"], said)
    os.unlink(stranger)
    before = snapshot(out)
    archive.convert(out, root, "--redo", status=3, inputs=inputs)
    after = snapshot(out)
    expect({name for name in after if after[name] != before.get(name)} == {str(changed.relative_to(out)), missing},
           "--redo touched outputs that were as they should be, or left others")
    os.unlink(whole)
    found = archive.convert(out, "--files-from", "-", input=whole, status=1)
    expect(found[whole]["outputs"] and changed.exists(), "a missing input's outputs are gone")


@scenario("sqlite")
def copies_and_taken_names(archive, folder, chance):
    one, other = archive.samples[SEVERAL], archive.samples[ALL_KINDS].replace(b"20.1\0", b"20.2\0")
    rest, state = archive.tree(folder / "in/rest", 30), dict.fromkeys("abcd", one)
    copies = put_all(folder / "in", state)
    for changed, order in [("", copies), ("ab", copies)] + [
            (chance.sample("abcd", chance.randrange(1, 5)), chance.sample(copies, 4)) for _ in range(12)]:
        state.update({name: other if state[name] == one else one for name in changed})
        put_all(folder / "in", {name: state[name] for name in changed})
        found = archive.convert(folder / "out", "-j1", "--files-from", "-", input="\n".join(order + rest), status=3,
                                inputs=[*copies, *rest])
        owners = {output["file"]: [] for path in copies for output in found[path]["outputs"]}
        for path in copies:
            for output in found[path]["outputs"]:
                owners[output["file"]] += [path] * ("duplicate" not in output)
        expect(all(len(paths) == 1 for paths in owners.values()), f"after {changed} changed: {owners}")
    first, = put_all(folder / "in/rest", {"first": one})
    second, = put_all(folder / "in/rest", {"second": other})
    found = archive.convert(folder / "taken", "-j1", first, second, status=3, inputs=[first, second])
    reason, = found[second]["reasons"]
    expect((reason["code"], reason["detail"]) == ("name-taken", first), reason)


@scenario("sqlite")
def what_others_placed_in_out(archive, folder, chance):
    out, linked, study, root = folder / "out", folder / "linked", STUDY.decode(), folder / "in"
    inputs = put_all(root, {SEVERAL: archive.samples[SEVERAL], ALL_KINDS: archive.samples[ALL_KINDS]})
    unknown, link, *_ = archive.reference(inputs[0])[2]
    put_all(folder, {f"out/{study}/{unknown}": b"unknown", "victim": b"mine", "elsewhere/x": b""})
    (out / study / link).symlink_to(folder / "victim")
    archive.convert(out, root, inputs=inputs)
    expect((folder / "victim").read_bytes() == b"mine", "a link in OUT was followed")
    modes = {path.stat().st_mode & 0o777 for path in out.rglob("*") if path.is_file()}
    expect(modes <= {0o640, 0o600}, f"modes {modes}")
    linked.mkdir()
    (linked / study).symlink_to(folder / "elsewhere")
    found = archive.convert(linked, root, status=1)
    expect(all(codes(found[path])[0] == "output-not-saved" for path in inputs), found[inputs[0]]["reasons"])
    expect(len(list((folder / "elsewhere").iterdir())) == 1, "it wrote through a link")
    own, = put_all(folder / "inside" / study, {unknown: archive.samples[SEVERAL]})
    found = archive.convert(folder / "inside", own, status=1)
    expect(pathlib.Path(own).read_bytes() == archive.samples[SEVERAL], "the input was replaced")
    expect(codes(found[own]) == ["output-not-saved"], found[own]["reasons"])
    if os.geteuid() != 0:
        raise Skipped("another account's folder needs root")
    os.unlink(linked / study)
    (linked / study).mkdir()
    os.chown(linked / study, NOBODY, NOBODY)
    archive.convert(linked, root, "--retry", status=1)
    expect(not list((linked / study).iterdir()), "it wrote into another account's folder")
    os.chown(linked / study, 0, 0)
    archive.convert(linked, root, "--retry", inputs=inputs)


@scenario("sqlite")
def unreadable_as_another_account(archive, folder, chance):
    if os.geteuid() != 0:
        raise Skipped("needs root, to become another account")
    out, inputs, closed = folder / "out", archive.tree(folder / "in", 45), folder / "in/1"
    out.mkdir()
    own = archive.copy(folder / "archive")
    for path in [own.folder, *own.folder.rglob("*"), out]:
        os.chown(path, NOBODY, NOBODY)
    closed.chmod(0)
    os.chmod(inputs[0], 0)
    status, _, said = own.run("convert", "-o", out, folder / "in", user=NOBODY, group=NOBODY, extra_groups=[])
    found = records(out)
    expect(status == 1 and f"{closed} cannot be read: Permission denied" in said, f"{status} {said}")
    expect(found.keys() == set(inputs[:40]) and codes(found[inputs[0]]) == ["unreadable"], found.get(inputs[0]))
    closed.chmod(0o755)
    os.chmod(inputs[0], 0o644)
    for path in [out, *out.rglob("*")]:
        os.chown(path, 0, 0)
    archive.convert(out, folder / "in", "--retry", status=3, inputs=inputs)


@scenario("sqlite", "mysql")
def shards(archive, folder, chance):
    inputs = archive.tree(folder / "in", 150) + put_all(folder / "in/odd", odd_states(2))
    gone, listed, unopened = str(folder / "in/gone.dcm"), folder / "list", str(folder / "in/odd/nothing")
    archive.run("find", folder / "in", "-o", listed)
    whole = archive.convert(folder / "whole", folder / "in", status=1)
    lines = listed.read_text().splitlines()
    expect({json.loads(line)["input"] for line in lines} == set(whole), "the inventory differs")
    listed.write_text("\n".join([*lines, json.dumps({**json.loads(lines[0]), "input": gone})]))
    for out, source, more in (folder / "walked", [folder / "in"], []), (folder / "told", ["--inventory", listed], [gone]):
        for shard in "123":
            archive.run("convert", "-o", out, "--shard", f"{shard}/3", *source)
        found = archive.verify(out, inputs + more, unlike=[gone, unopened])
        where = {}
        for journal in out.glob("journal/*.jsonl"):
            for record in map(json.loads, journal.read_text().splitlines()[1:]):
                for key in filter(None, (record["input"], record["study"])):
                    expect(where.setdefault(key, journal) == journal, f"{key} is in two shards")
        for path, record in whole.items():
            expect(all(record[key] == found[path][key] for key in ("outcome", "annotations", "outputs")), found[path])
    for arguments in ["--shard", "1/4"], []:
        archive.refuses(2, "is one of 3 shards", "convert", "-o", folder / "walked", *arguments, folder / "in")
    journal = folder / "walked/journal/2-of-3.jsonl"
    journal.write_text(journal.read_text().replace('"plain"', '"conformant"', 1))
    archive.refuses(2, "is of the form", "convert", "-o", folder / "walked", "--shard", "1/3", folder / "in")


@scenario("sqlite")
def studies_of_the_table(archive, folder, chance):
    own, states = archive.copy(folder / "archive"), {}
    for content, number in zip(archive.copies(len(STUDIES) * 7), range(1000)):
        study = next(study for study in STUDIES if study in content)
        uid = re.search(ROOT.encode() + rb"\d{8}", content)[0].decode()
        states.setdefault(study, (f"{study.decode()}/PR.{uid}", content))
    *inputs, gone = put_all(own.folder / "archive/images", dict(states.values()))
    own.add_studies()
    os.unlink(gone)
    listed = b"\n".join(STUDIES).decode()
    own.convert(folder / "named", "--studies-from", "-", input=listed, status=1, inputs=[*inputs, gone], unlike=[gone])
    for shard in "123":
        own.run("convert", "-o", folder / "all", "--all-studies", "--shard", f"{shard}/3")
    found = own.verify(folder / "all", [*inputs, gone], unlike=[gone])
    expect(codes(found[gone]) == ["missing"], found[gone]["reasons"])
    status, _, said = own.run("convert", "-N", "-o", folder / "unknown", "--studies-from", "-", input="1.2.3")
    expect(status == 1 and "1.2.3" in said, f"an unknown study: {status} {said}")
