"""check_rights.py BUILD: the tables of least rights in docs/operations.md say what each command needs, and nothing more.

Runs as root. Each row of the tables is a command under an account that has the rights of its row alone: it works with all
of them, and not, or not wholly, without any single one. On a MariaDB server of its own, and on an embedded database.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

TESTS = pathlib.Path(__file__).parents[1]
sys.path += [str(TESTS), str(TESTS / "attacks")]
from checking import sample_archive
from stage import CONVERTER, STUDY, Stage

TABLES = ["objects", "object_cache", "studies", "object_references", "forward_targets", "forward_services"]
BITS = {"read": 4, "write": 2, "search": 1}
DATABASE, FILES = "Least rights on a server", "Least rights on files"


def rows_of(document, heading):
    """Command -> [(thing, right)], in the order of the table below the heading."""
    section = document.split(f"{heading}\n", 1)[1].split("\n#", 1)[0]
    rows = {}
    for command, cell in re.findall(r"^\| (`.*?) \| (.*) \|$", section, re.M):
        pairs = [part.split(": ") for part in cell.split("; ") if part != "none"]
        rows[command.replace("`", "")] = [(thing.strip("`"), right) for thing, rights in pairs for right in rights.split(", ")]
    return rows


class Host(Stage):
    """The sample archive on a server, its files root's: other accounts have what is given to all."""

    def __init__(self, build):
        super().__init__(build)
        self.server = self.folder / "server"
        self.server.mkdir()
        subprocess.run([TESTS / "support/start-server.sh", str(os.getpid()), self.server], check=True)
        self.sql("CREATE DATABASE archive; CREATE DATABASE saved; CREATE USER plain@localhost")
        shutil.rmtree(self.folder / "archive")
        self.env |= sample_archive(build, self.folder / "archive", database=self.url("root"))
        self.env |= {"TARN_LOG": "stderr", "TARN_LOG_LEVEL": "error", "CONF": str(self.folder / "archive/conf")}
        self.place = {"input": self.state, "output folder": self.folder / "out"}
        archive = self.folder / "archive"
        home = archive / "handler"
        for name in "lib", "etc":
            (home / name).mkdir(parents=True)
        shutil.copy(self.build / "lib/RepositoryHandler.so", home / "lib")
        (home / "etc/repositories.conf").write_text("".join(
            f"{name} = {archive}/{name}\n" for name in ("images", "meta", "tempmeta")))
        (archive / "conf").mkdir()
        (archive / "conf/self.rec").write_text("ProcessMode = Store\n")
        self.env |= {"REPOSITORYHANDLER_HOME": str(home), "REPOSITORY_DICOM_DATA": "images", "REPOSITORY_META": "meta",
                     "REPOSITORY_TEMPMETA": "tempmeta"}
        self.place |= {"handler": home / "lib/RepositoryHandler.so", "repositories.conf": home / "etc/repositories.conf",
                       "self.rec": archive / "conf/self.rec", "meta mount": archive / "meta",
                       "temporary mount": archive / "tempmeta", "data mount": archive / "images",
                       "meta directory": archive / "meta" / STUDY, "objectdb.meta": archive / f"meta/{STUDY}/objectdb.meta",
                       "storestate.rec": archive / f"meta/{STUDY}/storestate.rec",
                       "objects": archive / "images" / STUDY, "database": archive / "small/archive.db",
                       "database's folder": archive / "small", "OUT": self.folder / "made",
                       "input folder": archive / "alone", "each input": archive / "alone/state",
                       "journal folder": self.folder / "made/journal",
                       "journal": self.folder / "made/journal/1-of-1.jsonl", "study's folder": self.folder / "made" / STUDY,
                       "output": self.folder / "made" / STUDY / "PR.1.2.826.0.1.7770001.2.11.7.1.20.14"}
        (archive / "alone").mkdir()
        shutil.copy(archive / "states/view-only.dcm", archive / "alone/state")
        self.sql("".join(f"CREATE TABLE saved.{table} LIKE archive.{table}; INSERT INTO saved.{table} SELECT * FROM "
                         f"archive.{table};" for table in TABLES))
        (archive / "small").mkdir()
        env = {**self.env, "TARN_DB_URL": f"sqlite:{archive}/small/archive.db"}
        for words in ("init",), ("add-study", archive / "images"):
            subprocess.run(["tarnctl", *words], env=env, check=True, capture_output=True)
        (archive / "small/archive.db-lock").unlink()  # made anew, with the rights of the database
        shutil.copytree(archive, self.folder / "saved", symlinks=True)

    def url(self, user):
        return f"mysql://{user}@localhost/archive?socket={self.server}/s"

    def sql(self, text):
        done = subprocess.run(["mariadb", "--no-defaults", "--user=root", f"--socket={self.server}/s", "-NB"],
                              input=text, text=True, capture_output=True)
        if done.returncode != 0:
            raise SystemExit(f"check_rights: {text}: {done.stderr}")
        return done.stdout

    def reset(self, command):
        """All as it was before the command."""
        shutil.rmtree(self.folder / "archive")
        shutil.copytree(self.folder / "saved", self.folder / "archive", symlinks=True)
        for name in "out", "made":
            shutil.rmtree(self.folder / name, ignore_errors=True)
            (self.folder / name).mkdir()
            (self.folder / name).chmod(0o777)
        self.sql("".join(f"CREATE TABLE IF NOT EXISTS archive.{table} LIKE saved.{table}; DELETE FROM archive.{table};"
                         f"INSERT INTO archive.{table} SELECT * FROM saved.{table};" for table in TABLES))
        COMMANDS[command][1](self)

    def grant(self, pairs):
        self.sql("DROP USER plain@localhost; CREATE USER plain@localhost;" + "".join(
            f"GRANT {right} ON archive.{'*' if thing == 'all tables' else thing} TO plain@localhost;"
            for thing, right in pairs))

    def permit(self, pairs):
        """Others have these rights on the places of a table, and none else; all on what no row speaks of."""
        for thing in {thing for rows in FILE_ROWS.values() for thing, _ in rows}:
            if self.place[thing].exists():
                bits = sum(BITS[right] for given, right in pairs if given == thing)
                self.place[thing].chmod(0o700 | bits)

    def outcome(self, command):
        """What can be seen of a run: status, messages, files, rows."""
        status, said = self.run(*(str(word).format(self=self) for word in COMMANDS[command][0]))
        said = re.sub(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d[.\d]*|\d+/\w*\.?\d* s|\.\d+(-\d+)?\.part", "", said)
        made = sorted(path.name for name in ("out", "made") for path in (self.folder / name).rglob("PR.*"))
        kept = sorted(str(path.relative_to(self.folder)) for path in (self.folder / "archive").rglob("*")
                      if path.is_file() and not path.name.startswith("archive.db"))
        state = (self.folder / f"archive/meta/{STUDY}/storestate.rec")
        texts = state.read_text() if state.exists() else ""
        rows = self.sql("SELECT COUNT(*) FROM information_schema.TABLES WHERE TABLE_SCHEMA='archive'")
        if int(rows) == len(TABLES):
            rows += self.sql("".join(f"SELECT COUNT(*) FROM archive.{table};" for table in TABLES))
        return status, said, made, kept, texts, rows


def nothing(_):
    pass


def not_imported(host):
    host.sql("DELETE FROM archive.objects; DELETE FROM archive.object_cache")


def imported(host):
    subprocess.run(["annomend", "-f", host.state, "-o", f"{host.folder}/"], env=host.env, check=True, capture_output=True)
    for output in host.folder.glob("PR.*"):
        output.unlink()


def failing(host):
    not_imported(host)
    host.place["objectdb.meta"].write_text("no number\n")


def failed(host):
    """An import failed; the object meta file has been mended since."""
    failing(host)
    imported(host)
    host.sql("INSERT INTO archive.objects SELECT * FROM saved.objects")
    shutil.copy(host.folder / "saved/meta" / STUDY / "objectdb.meta", host.place["objectdb.meta"])


def elsewhere(host):
    """The meta files stand beside the objects, as in the legacy layout."""
    not_imported(host)
    host.place["objectdb.meta"].rename(host.place["objects"] / "objectdb.meta")
    shutil.rmtree(host.place["meta directory"])


def converted(host):
    """An output folder of another account, with one output."""
    subprocess.run([str(word).format(self=host) for word in (*RUN, "-N", VIEW)], env=host.env, check=True,
                   capture_output=True)


def no_tables(host):
    host.sql("".join(f"DROP TABLE archive.{table};" for table in TABLES))


def unknown(host):
    """The study is new."""
    host.sql("".join(f"DELETE FROM archive.{table};" for table in TABLES))
    shutil.rmtree(host.place["meta directory"])


CONVERT = ("-f", "{self.state}", "-o", "{self.folder}/out/")
RUN = ("annomend-archive", "convert", "--progress", "none", "-j", "1", "-o", "{self.folder}/made")
VIEW = "{self.folder}/archive/states/view-only.dcm"
STATES = "{self.folder}/archive/states/several-images.dcm"
COMMANDS = {  # what is run, and what is done before
    "annomend -N": (("annomend", "-N", *CONVERT), imported),
    "annomend": (("annomend", *CONVERT), imported),
    "annomend, importing": (("annomend", *CONVERT), not_imported),
    "annomend, import fails": (("annomend", *CONVERT), failing),
    "annomend, taking over": (("annomend", *CONVERT), elsewhere),
    "tarnctl init": (("tarnctl", "init"), no_tables),
    "tarnctl add-study": (("tarnctl", "add-study", "{self.folder}/archive/images"), failed),
    "tarnctl add-study, new": (("tarnctl", "add-study", "{self.folder}/archive/images"), unknown),
    "tarnctl status": (("tarnctl", "status"), failed),
    "tarnctl clear-error": (("tarnctl", "clear-error", STUDY), failed),
    "tarnctl remove-study": (("tarnctl", "remove-study", STUDY), failed),
    "annomend-archive convert -N": ((*RUN, "-N", STATES), imported),
    "annomend-archive convert": ((*RUN, STATES), not_imported),
    "annomend-archive find": (("annomend-archive", "find", "{self.folder}/archive/alone"), nothing),
    "annomend-archive check": (("annomend-archive", "check", STATES), nothing),
    "annomend-archive check --journal": (("annomend-archive", "check", "--journal", "{self.folder}/made"), converted),
    "annomend-archive report": (("annomend-archive", "report", "{self.folder}/made"), converted),
    "annomend-archive convert --all-studies": ((*RUN, "--all-studies"), imported),
}
FILE_ROWS = {}
EMBEDDED = ", embedded database"


def trial(host, command, kind, pairs, environment):
    host.reset(command.removesuffix(EMBEDDED))
    if kind == DATABASE:
        host.grant(pairs)
        subprocess.run(["chmod", "-R", "777", host.folder / "archive"], check=True)
        host.env["TARN_DB_URL"] = host.url("plain")
    else:
        host.env["TARN_DB_URL"] = host.url("root")
        if command.endswith(EMBEDDED):
            host.env["TARN_DB_URL"] = f"sqlite:{host.place['database']}"
        host.permit(pairs)
    seen = host.outcome(command.removesuffix(EMBEDDED))
    host.env["TARN_DB_URL"] = environment
    return seen


def judge(host, kind, command, pairs, everything):
    """Problems of one row: it does not do what all rights do, or does it without one of its rights."""
    if kind == DATABASE:
        everything = [("all tables", right) for _, right in everything]
    reference = trial(host, command, kind, everything, host.url("root"))
    seen = trial(host, command, kind, pairs, host.url("root"))
    if seen != reference:
        return [f"{command} does not work with its rights: {seen}, not {reference}"]
    return [f"{command} does the same without {right} on {thing}" for thing, right in pairs
            if trial(host, command, kind, [pair for pair in pairs if pair != (thing, right)], host.url("root")) == reference]


def main():
    if os.geteuid() != 0:
        print("skipped: only root gives files and accounts away")
        return 77
    document = (TESTS.parent / "docs/operations.md").read_text()
    problems, count = [], 0
    with Host(sys.argv[1]) as host:
        for kind in DATABASE, FILES:
            rows = rows_of(document, kind)
            if kind == FILES:
                FILE_ROWS.update(rows)
            things = sorted({thing for pairs in rows.values() for thing, _ in pairs})
            for command, pairs in rows.items():
                if sys.argv[2:] and command not in sys.argv[2:]:
                    continue
                count += len(pairs)
                rights = ["SELECT", "INSERT", "UPDATE", "DELETE", "CREATE"] if kind == DATABASE else list(BITS)
                found = judge(host, kind, command, pairs, [(thing, right) for thing in things for right in rights])
                problems += [f"{kind}: {problem}" for problem in found]
    print(*problems, f"{count} rights, {len(problems)} problems", sep="\n")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
