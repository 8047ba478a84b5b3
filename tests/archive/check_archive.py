"""check_archive.py BUILD [--mysql] [SEED] [SCENARIO...]: annomend-archive over made archives, whole and interrupted.

Each scenario prints a line; a skipped one says why, and is no success. With --mysql the database is a MariaDB server of
its own, and the scenarios are those in which a database has a part.
"""
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import time

import hit_runs
import measurements
import whole_runs
from archives import Archive, Server
from scenarios import SCENARIOS, Skipped


def main():
    build, *rest = sys.argv[1:]
    database = "mysql" if "--mysql" in rest else "sqlite"
    seed = next((int(word) for word in rest if word.isdigit()), time.time_ns() % 1_000_000)
    named = {word for word in rest if word in SCENARIOS} or SCENARIOS.keys()
    print(f"seed {seed}", flush=True)
    failures = 0
    with tempfile.TemporaryDirectory(prefix="annomend-", ignore_cleanup_errors=True) as top:
        os.chmod(top, 0o755)
        server = Server(pathlib.Path(top) / "server") if database == "mysql" else None
        archive = Archive(os.path.realpath(build), pathlib.Path(top).resolve() / "made", server)
        for name in (name for name in SCENARIOS if name in named and database in SCENARIOS[name][1]):
            folder, begin, result = pathlib.Path(top).resolve() / name, time.monotonic(), "ok"
            folder.mkdir()
            try:
                SCENARIOS[name][0](archive, folder, random.Random(f"{seed} {name}"))
            except Skipped as reason:
                result = f"SKIPPED, {reason}"
            except (AssertionError, LookupError, ValueError, OSError, subprocess.SubprocessError) as problem:
                failures, result = failures + 1, f"FAILED: {type(problem).__name__} {problem}"
            print(f"{name} ({time.monotonic() - begin:.1f}s): {result}", flush=True)
        if server:
            server.kill()
    return 1 if failures else 0


sys.exit(main())
