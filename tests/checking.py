"""What the checks have in common."""
import pathlib
import shutil
import socket
import sqlite3
import subprocess
import tempfile

MAKE_ARCHIVE = """
source scripts/sample-archive.sh
use_sample_archive "$1" "$2"
export TARN_DB_URL="${4:-$TARN_DB_URL}"
make_sample_archive "$2" $3 >/dev/null 2>&1
env -0
"""


def conclude(problems, summary):
    """Prints a line for each problem, and the summary; the exit status."""
    print(*problems, summary, sep="\n")
    return 1 if problems else 0


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return server.getsockname()[1]


def rows_of_copy(file, sql):
    """What a query gives of a copy of a SQLite database: of a log that was left beside it, the next run makes use."""
    with tempfile.TemporaryDirectory() as aside:
        for part in pathlib.Path(file).parent.glob(f"{pathlib.Path(file).name}*"):
            shutil.copy(part, aside)
        database = sqlite3.connect(f"{aside}/{pathlib.Path(file).name}")
        rows = database.execute(sql).fetchall()
        database.close()
        return rows


def sample_archive(build, folder, studies="", database=""):
    """Makes the sample archive in `folder`, of one study or of so many, on a database; the programs' environment."""
    environment = subprocess.check_output(["bash", "-ec", MAKE_ARCHIVE, "bash", pathlib.Path(build).resolve(),
                                           folder, str(studies), database],
                                          text=True, cwd=pathlib.Path(__file__).parents[1])
    return dict(item.split("=", 1) for item in environment.split("\0") if item)
