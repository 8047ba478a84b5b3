"""check_html.py BUILD: reports of a made archive, opened in headless Chromium and held against the journal.

Names and labels of the archive are made to break out of a page; what an anonymous report leaves out may stand nowhere in
its folder. Each scenario prints a line.
"""
import base64
import collections
import pathlib
import shutil
import sys
import tempfile
import time
import urllib.parse
import xml.etree.ElementTree

sys.path.append(str(pathlib.Path(__file__).parents[1] / "archive"))
from archives import *
from browser import Browser

HOSTILE = ["</script><script>hacked=1</script>", "\"'><img src=x onerror=hacked=1>", "\u202egnp", "\udcff\udcfe", "a\nline\x1b[2J"]
SHOWN = [*HOSTILE[:2], r"\u202egnp", r"\xFF\xFE", r"a\u000aline\u001b[2J"]
LABEL = "</script><b>Mister\"'\u202e\u05d0\u00e4</b>"
ORDER = ["crashed", "timeout", "failed", "refused", "partly", "nothing", "converted"]
PROBLEMS = ORDER[:5]
SCENARIOS = []
scenario = SCENARIOS.append


class Reports:
    """A converted archive, its records, and reports of it."""

    def __init__(self, folder):
        self.folder, self.out, self.made = folder, folder / "out", 0
        self.archive = Archive(os.path.realpath(sys.argv[1]), folder / "made")
        root, text = folder / "in", f"text_x 1 white 30 30 0 1 30 30 0 0 0|0 {LABEL}".encode().decode("latin-1")
        hostile = dict(study=STUDY.decode(), plugin_state=f"label{figure(IMAGE, text)}")
        self.archive.tree(root, 230)
        put_all(root, {f"{name}.dcm": file(state(uid=f"{ROOT}8.{place}", **hostile)) for place, name in enumerate(HOSTILE)})
        put_all(root / "odd", odd_states(1))
        self.archive.convert(self.out, root, status=1)
        self.records = records(self.out)

    def report(self, *options, status=0, out=None, folder=None):
        self.made += 1
        folder = folder or self.folder / f"report{self.made}"
        done = self.archive.run("report", out or self.out, "--html", folder, *options)
        expect(done[0] == status, f"status {done[0]}, not {status}: {done}")
        return folder

    def where(self, holds):
        return [record for record in self.records.values() if holds(record)]


def rows_of(folder):
    return [json.loads(line) for line in (folder / "rows.jsonl").open()]


def details(folder):
    """What the page shows beside the rows that have pictures, by their numbers."""
    return {int(path.stem): json.loads(re.search("'(.*)'", path.read_text())[1].replace(r"\'", "'").replace(r"\\", "\\"))
            for path in folder.glob("d/*/*.js")}


@scenario
def totals_are_the_journals(reports, browser):
    browser.open(folder := reports.report())
    kinds, reasons = collections.defaultdict(lambda: [0, 0, 0, 0]), collections.defaultdict(lambda: [0, 0])
    for record in reports.records.values():
        for kind, tally in record["annotations"].items():
            numbers = 1, tally["read"], tally["written"], tally["read"] - tally["written"]
            kinds[kind] = [sum(pair) for pair in zip(kinds[kind], numbers)]
        for code in set(codes(record)):
            lines = sum(reason["count"] for reason in record["reasons"] if reason["code"] == code)
            reasons[code] = [reasons[code][0] + 1, reasons[code][1] + lines]
    shown = browser.table("Outcomes")
    expect({name: count for name, (count,) in shown.items() if count} ==
           {**outcomes(reports.records), "All": len(reports.records)}, shown)
    shown = browser.table("Annotation lines")
    read, written, lost = shown.pop("All")
    expect([read, written, lost] == [sum(column) for column in list(zip(*kinds.values()))[1:]], "sums of lines")
    expect(sorted(shown.values()) == sorted(kinds.values()) and shown["ruler"] == kinds["ruler"], shown)
    shown = browser.table("Reasons")
    expect(shown.pop("lost") == [lost] and read == written + lost and shown == reasons, f"{shown}, not {reasons}")
    listed = [row["outcome"] for row in rows_of(folder)]
    group = [0 if outcome in ORDER[:4] else 1 if outcome == "partly" else 2 for outcome in listed]
    expect(group == sorted(group) and len(listed) == len(reports.records), "failures are not first")
    totals = json.loads(reports.archive.run("report", reports.out, "--format", "json")[1])
    expect(totals["reason_inputs"] == {code: inputs for code, (inputs, _) in reasons.items()}, totals)


@scenario
def filters_pages_and_address(reports, browser):
    folder, some, study = reports.report("--pictures", "none"), next(iter(reports.records)), STUDIES[2].decode()
    inputs = {row["row"]: row["input"] for row in rows_of(folder)}
    passes = {"outcome": lambda record, name: record["outcome"] == name, "reason": lambda record, code: code in codes(record),
              "kind": lambda record, kind: kind in record["annotations"],
              "study": lambda record, start: f"{record['study']}.".startswith(f"{start}."),
              "text": lambda record, text: text.lower() in "\n".join([record["input"], *record["messages"]]).lower()}
    cases = [*({"outcome": name} for name in ORDER), {"kind": "ruler"}, {"kind": "smile"}, {"reason": "not-loaded"},
             {"reason": "kind-unknown"}, {"study": study}, {"study": study.rpartition(".")[0]}, {"study": study[:-1]},
             {"text": "ODD/"}, {"text": "no such"}, {"text": some},
             {"outcome": "partly", "kind": "ruler", "reason": "kind-unknown", "study": STUDY.decode(), "text": "odd"}]
    browser.open(folder)
    numbers = lambda: browser.ask("return [...document.querySelectorAll('.row')].map((row) => Number(row.dataset.row))")
    for filters in cases:
        browser.go(**filters)
        holds = lambda record: all(passes[name](record, value) for name, value in filters.items())
        expected, rows = {record["input"] for record in reports.where(holds)}, {inputs[row] for row in numbers()}
        expect(browser.count() == len(expected) and len(rows) == min(100, len(expected)) and rows <= expected, filters)
        for reason, action in zip(browser.texts(".reasons li"), browser.texts(".action")):
            expect(len(reason) > 30 and action.startswith("To do: ") and len(action) > 15, reason)
    second, address = [row["row"] for row in rows_of(folder) if row["outcome"] == "converted"][100:200], "#outcome=converted&page=2"
    for way, act in {"filter": lambda: browser.go(outcome="converted", page=2), "reload": browser.driver.refresh,
                     "back button": lambda: (browser.wait("#outcome=converted", browser.ask, "document.querySelector('[rel=prev]').click()"),
                                             browser.driver.back()),
                     "bookmark": lambda: browser.open(folder, address)}.items():
        browser.wait(address, act)
        expect(numbers() == second, f"other rows after a {way}")
    browser.wait("#outcome=refused&text=odd%2F", browser.ask, """const all = document.getElementById("filters").elements;
        [all.text.value, all.outcome.value] = ["odd/", "refused"]; all.text.dispatchEvent(new Event("change", {bubbles: true}))""")
    for key, holds in {"j": "matches('.row:first-child')", "/": "name === 'text'"}.items():
        browser.ask("document.activeElement.dispatchEvent(new KeyboardEvent('keydown', {key: arguments[0], bubbles: true}))", key)
        expect(browser.ask(f"return document.activeElement.{holds}"), f"key {key}")


@scenario
def texts_stay_texts(reports, browser):
    folder, image = reports.report("--pictures", "all"), "document.querySelector('figure img')"
    browser.requests()
    browser.open(folder)
    for name, shown in zip(HOSTILE, SHOWN):
        browser.go(text=name.replace("\udcff\udcfe", shown))
        expect([path.endswith(f"{shown}.dcm") for path in browser.texts(".row .path")] == [True], browser.texts(".path"))
        browser.until(lambda: browser.texts(".lines li"), "lines")
        lines = browser.texts(".lines li")
        expect(f"/{IMAGE}_1" in lines[0] and lines[1].endswith(LABEL.replace("\u202e", r"\u202e")), lines)
        browser.until(lambda: browser.ask(f"return {image}?.complete && {image}.naturalWidth"), "a picture")
        svg = xml.etree.ElementTree.parse(folder / browser.ask(f"return {image}.getAttribute('src')"))
        expect("<b>Mister\"'" in "".join(svg.getroot().itertext()), "the label is not in the picture")
        expect(browser.ask("return typeof hacked + document.querySelectorAll('b, [onerror]').length") == "undefined0", "markup")
    outside = {url for url in browser.requests() if not url.startswith((folder.as_uri() + "/", "data:", "about:"))}
    expect(not outside and not browser.complaints(), f"asked for {outside}")
    browser.ask("new Image().src = 'https://localhost/picture'; fetch('https://localhost/').catch(() => null)")
    said = []
    browser.until(lambda: {"img-src", "default-src"} <= set(re.findall(r"[a-z]+-src", str(said.extend(browser.complaints()) or said))), "refusals")


@scenario
def looks(reports, browser):
    browser.open(reports.report("--pictures", "all"))
    ground = lambda: browser.ask("return getComputedStyle(document.body).backgroundColor")
    media = lambda **given: browser.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "", "features": [], **given})
    light = ground()
    media(features=[{"name": "prefers-color-scheme", "value": "dark"}])
    expect(ground() != light, "dark is light")
    media(media="print")
    expect(browser.ask("return getComputedStyle(document.getElementById('filters')).display") == "none", "filters on paper")
    media()
    browser.driver.set_window_size(500, 900)  # Chromium's least
    width = browser.ask("return document.documentElement.scrollWidth - document.documentElement.clientWidth")
    browser.driver.set_window_size(1200, 1000)
    expect(width == 0, f"a narrow screen is {width} pixels too narrow")


@scenario
def pictures_that_were_asked_for(reports, browser):
    failures = set(range(1, 1 + len(reports.where(lambda record: record["outcome"] in PROBLEMS))))
    expect(details(reports.report()).keys() == failures and not details(reports.report("--pictures", "none")), "failures, none")
    samples = [details(reports.report("--pictures", "sample:7", "--seed", seed)).keys() for seed in (5, 5, 6)]
    expect(samples[0] == samples[1] != samples[2] and {len(sample) for sample in samples} == {7}, samples)
    browser.open(folder := reports.report("--pictures", "failures,sample:7", "--seed", 5), "#pictures=yes")
    expect(details(folder).keys() == samples[0] | failures and browser.count() == len(samples[0] | failures), "both")
    population = len(reports.where(lambda record: record["outputs"]))
    expect(f"7 of {population} inputs with outputs, drawn with the seed 5." in browser.texts("#about")[0], "the seed")
    everything = reports.report("--pictures", "all")
    for row, shown in zip(rows_of(everything), map(details(everything).get, range(1, 1 + len(reports.records)))):
        parts = [part for part in shown["parts"] if "file" in part]
        expect([part["file"] for part in parts] == [output["file"] for output in row["outputs"]], row["input"])
        for part, output in zip(parts, row["outputs"]):
            expect((everything / part["picture"]).is_file() if "picture" in part else len(part["reason"]) > 10, part)
            expect(f".{output['image']}_" in part["lines"][0], f"lines of another image beside {output}: {part}")
    gone, changed = sorted(samples[0])[-2:]
    os.rename(path := rows_of(folder)[gone - 1]["input"], reports.folder / "gone")
    os.utime(rows_of(folder)[changed - 1]["input"])
    said = details(reports.report("--pictures", "sample:7", "--seed", 5))
    os.rename(reports.folder / "gone", path)
    expect("is gone" in said[gone]["problem"] and "was changed" in said[changed]["problem"], said)
    expect(said[gone]["parts"] and not any(part["lines"] for part in said[gone]["parts"]), said[gone])
    drawing = subprocess.Popen(["annomend-archive", "report", reports.out, "--html", folder, "--pictures", "all"],
                               env=reports.archive.env, stdout=subprocess.DEVNULL)
    while not (child := pathlib.Path(f"/proc/{drawing.pid}/task/{drawing.pid}/children").read_text()):
        time.sleep(0.001)
    os.kill(int(child), signal.SIGKILL)
    expect(drawing.wait() == 0, "a process that draws was killed, and with it the report")
    crashed = [row for row, shown in details(folder).items() if "failed" in shown["problem"]]
    expect(len(crashed) == 1 and len(details(folder)) == len(reports.records), f"{crashed} without pictures")


@scenario
def nothing_is_left_of_patients(reports, browser):
    sample = pydicom.dcmread(next((reports.folder / "made/archive/states").iterdir()), stop_before_pixels=True)
    words = {str(sample.PatientName), sample.PatientID, "Mister", str(reports.folder), "smile", STUDY.decode()}
    for record in reports.records.values():
        words |= {record["input"], pathlib.Path(record["input"]).name, record["study"], record["instance"], record["mtime"],
                  *record["messages"], *(reason["detail"] for reason in record["reasons"])}
        words |= {output[field] for output in record["outputs"] for field in ("file", "instance", "image", "sha256")}
    named, folder = reports.report("--pictures", "all"), reports.report("--pictures", "all", "--anonymous")
    page = b"".join((named / name).read_bytes() for name in ("index.html", "report.js", "elements.js", "report.css"))
    words = {word.encode() for word in words - odd_states(1).keys() if len(word) > 4 and word.encode() not in page}
    files = lambda folder: {path: path.read_bytes() for path in folder.rglob("*") if path.is_file()}
    said = b"".join(files(named).values())
    expect(b"Mister" in said and sum(word in said for word in words) > 500, "the words do not stand in the whole report")
    for path, text in files(folder).items():
        text += b"".join(base64.b64decode(data) for data in re.findall(rb"base64,([^\"]+)", text))
        expect(not (left := [word for word in words if word in text]), f"{path.name} has {left[:3]}")
    browser.open(folder)
    expect(any("burned" in notice for notice in browser.texts(".notice")), "no notice")
    pseudonym, study = rows_of(folder)[-1]["study"], rows_of(named)[-1]["study"]
    expect(pseudonym != rows_of(reports.report("--anonymous"))[-1]["study"], "one name in two reports")
    browser.go(study=pseudonym)
    expect(browser.count() == len(reports.where(lambda record: record["study"] == study)), "a study")


@scenario
def folders(reports, browser):
    os.umask(0)
    folder, mine = reports.report("--pictures", "all"), put_all(reports.folder, {"mine": b"mine"})[0]
    modes = {(path.is_dir(), path.stat().st_mode & 0o777) for path in [folder, *folder.rglob("*")]}
    expect(modes == {(True, 0o700), (False, 0o600)}, modes)
    for name in ("p/000/mine.txt", "data/rows-7.js"):
        (folder / name).symlink_to(mine)
        reports.report(folder=folder, status=2)
        os.unlink(folder / name)
    os.makedirs(folder / ".new/data")  # of a run that was killed
    os.unlink(folder / "index.html")
    reports.report("--pictures", "none", folder=folder)
    expect({path.name for path in folder.iterdir()} == {".annomend-report", "data", "elements.js", "index.html", "report.css",
                                                        "report.js", "rows.csv", "rows.jsonl"}, "an earlier report")
    put_all(reports.folder, {"site/index.html": b"mine", "file": b""})
    (reports.folder / "link").symlink_to(folder)
    (reports.folder / "foreign").mkdir()
    owned = os.geteuid() == 0 and not os.chown(reports.folder / "foreign", 65534, 65534)  # which takes root
    for name in ["site", "file", "link"] + ["foreign"] * owned:
        reports.report(folder=reports.folder / name, status=2)
    expect((reports.folder / "site/index.html").read_text() == "mine" == pathlib.Path(mine).read_text(), "lost")
    reports.report(out=reports.folder / "in", folder=reports.folder / "none", status=2)
    expect(not (reports.folder / "none").exists(), "a folder without a report")


@scenario
def journals_that_are_damaged(reports, browser):
    out, odd = reports.folder / "damaged", b'{"input":"/x","outcome":"converted","reasons":[],"outputs":[]}\n'
    shutil.copytree(reports.out / "journal", out / "journal")
    journal = out / "journal/1-of-1.jsonl"
    lines = journal.read_bytes().splitlines(keepends=True)
    journal.write_bytes(b"".join([*lines[:5], lines[5][:40] + b"\n", odd, *lines[6:], lines[7][:99]]))
    for form in ("text", "csv", "json"):
        status, said, complaint = reports.archive.run("report", out, "--format", form)
        expect(status == 1 and "cannot be read: 2" in complaint, f"{form}: {status} {complaint}")
    expect((json.loads(said)["inputs"], json.loads(said)["damaged_lines"]) == (len(reports.records) - 1, 2), said)
    browser.open(folder := reports.report(out=out, status=1))
    expect(len(rows_of(folder)) == len(reports.records) - 1, "rows")
    expect(any("2 lines that cannot be read" in notice for notice in browser.texts(".notice")), "no notice")
    reports.archive.refuses(2, "is damaged", "check", "--journal", out)
    journal.write_bytes(b"".join(lines[:-1]) + b"\0" * 9 + lines[-1])
    expect(reports.archive.run("report", out)[0] == 0, "what a power cut leaves is no damage")


def main():
    failures = 0
    with tempfile.TemporaryDirectory(prefix="annomend-html-", ignore_cleanup_errors=True) as top, Browser() as browser:
        reports = Reports(pathlib.Path(top).resolve())
        for check in SCENARIOS:
            begin, result = time.monotonic(), "ok"
            try:
                check(reports, browser)
                expect(not (complaints := browser.complaints()), f"the console has {complaints}")
            except Exception as problem:
                failures, result = failures + 1, f"FAILED: {type(problem).__name__} {problem}"
            print(f"{check.__name__} ({time.monotonic() - begin:.1f}s): {result}", flush=True)
    return 1 if failures else 0


sys.exit(main())
