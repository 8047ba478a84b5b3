"""What the checks have in common."""
import pathlib
import shutil
import sqlite3
import tempfile


def conclude(problems, summary):
    """Prints a line for each problem, and the summary; the exit status."""
    print(*problems, summary, sep="\n")
    return 1 if problems else 0


def rows_of_copy(file, sql):
    """What a query gives of a copy of a SQLite database: of a log that was left beside it, the next run makes use."""
    with tempfile.TemporaryDirectory() as aside:
        for part in pathlib.Path(file).parent.glob(f"{pathlib.Path(file).name}*"):
            shutil.copy(part, aside)
        database = sqlite3.connect(f"{aside}/{pathlib.Path(file).name}")
        rows = database.execute(sql).fetchall()
        database.close()
        return rows
