#!/usr/bin/python3
"""The report to look at, written and opened: report_page.py BUILD [ROWS...]

Makes a journal of so many records (10,000, 100,000 and 1,000,000 when not given), writes its report without pictures, and
opens that in headless Chromium: medians of 5 rounds, from the navigation to the rows, in a page without anything loaded.
"""
import json
import os
import pathlib
import random
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.append(str(pathlib.Path(__file__).parents[1] / "tests/html"))
from browser import Browser

ROUNDS = 5
ROOT = "1.2.826.0.1.7770001.2.11"
REASONS = {"partly": "image-unknown", "refused": "not-loaded", "failed": "conversion-error"}
KINDS = ["ruler", "angle", "oval", "text", "free", "houns"]
VIEWS = {"first page": "", "one outcome": "#outcome=converted", "one kind": "#kind=ruler", "text": "#text=no+such+text"}


def record(number, chance):
    outcome, = chance.choices(["converted", "partly", "nothing", "refused", "failed"], [85, 9, 3, 1, 2])
    study, instance, hasLines = f"{ROOT}.1.{number // 50}", f"{ROOT}.4.9.{number}", outcome in ("converted", "partly")
    lost = 0 if outcome == "converted" else 1
    kinds = {kind: {"read": lines, "written": lines - lost} for kind in chance.sample(KINDS, 2 * hasLines)
             for lines in [chance.randint(1, 5)]}
    output = {"file": f"{study}/PR.{instance}.1", "instance": f"{instance}.1", "image": f"{study}.1.1",
              "class": "1.2.840.10008.5.1.4.1.1.2", "frame": "1", "bytes": 1632, "sha256": "ab" * 32}
    reasons = [{"code": REASONS[outcome], "detail": f"CT.{study}.9", "count": lost * len(kinds)}] if outcome in REASONS else []
    return {"input": f"/archive/states/{number // 1000:04}/PR.{instance}.dcm", "size": 5122,
            "mtime": "2026-01-02T03:04:05.123456789Z", "study": study, "instance": instance, "outcome": outcome,
            "annotations": kinds, "reasons": reasons, "outputs": [output] * hasLines,
            "messages": [f"Could not get SOP class UID for CT.{study}.9 referenced in annotations - excluding from output"] * len(reasons),
            "ms": 0.4}


def make_journal(folder, rows):
    chance = random.Random(1)
    (folder / "journal").mkdir(parents=True)
    with (folder / "journal/1-of-1.jsonl").open("w") as journal:
        journal.write('{"journal":1,"form":"plain","shard":[1,1],"program":"0.1.0"}\n')
        journal.writelines(json.dumps(record(number, chance), separators=(",", ":")) + "\n" for number in range(rows))


def write(program, out, folder):
    """Seconds, and megabytes of memory."""
    begin = time.monotonic()
    process = subprocess.Popen([program, "report", out, "--html", folder, "--pictures", "none"], stdout=subprocess.DEVNULL)
    _, status, used = os.wait4(process.pid, 0)
    assert status == 0
    return time.monotonic() - begin, used.ru_maxrss / 1000


def milliseconds(browser, folder, filters):
    def once():
        browser.open(folder, filters)
        return browser.ask("return Number(document.body.dataset.shownAt)")
    return statistics.median(once() for _ in range(ROUNDS))


def main():
    program = pathlib.Path(sys.argv[1]).resolve() / "bin/annomend-archive"
    print("| rows | written in | memory |", *(f" {name} |" for name in VIEWS), sep="")
    print("|---" * (3 + len(VIEWS)) + "|")
    for rows in map(int, sys.argv[2:] or (10_000, 100_000, 1_000_000)):
        with tempfile.TemporaryDirectory() as name, Browser() as browser:
            folder = pathlib.Path(name)
            make_journal(folder / "out", rows)
            seconds, megabytes = write(program, folder / "out", folder / "report")
            views = [milliseconds(browser, folder / "report", filters) for filters in VIEWS.values()]
        print(f"| {rows:,} | {seconds:.1f} s | {megabytes:.0f} MB |", *(f" {view:,.0f} ms |" for view in views), sep="", flush=True)


main()
