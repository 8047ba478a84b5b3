"""An archive whose converter runs under one account of the host, and an attacker who has another."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

TESTS = pathlib.Path(__file__).parents[1]
sys.path += [str(TESTS), str(TESTS / "corpus")]
from checking import sample_archive

CONVERTER, ATTACKER = 20001, 20002  # accounts and their groups; they need no names
STUDY = "1.2.826.0.1.7770001.2.11.1.20"
ATTACKS = {}


def attack(function):
    """Adds to the attacks what gives facts, and whether they hold."""
    ATTACKS[function.__name__] = function
    return function


class Stage:
    """The sample archive in a folder of its own, all of the converter's; `out` is a folder that both may write."""

    def __init__(self, build):
        self.build = pathlib.Path(build).resolve()
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="annomend.", dir="/tmp"))
        self.folder.chmod(0o755)
        self.env = sample_archive(self.build, self.folder / "archive")
        self.env |= {"HOME": str(self.make_folder("home")), "XDG_STATE_HOME": str(self.folder / "home")}
        self.state = self.folder / "archive/states/several-images.dcm"
        self.log = self.folder / "archive/archive.log"
        subprocess.run(["chown", "-R", f"{CONVERTER}:{CONVERTER}", self.folder], check=True)
        self.out = self.make_folder("out", mode=0o777)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.folder, ignore_errors=True)

    def make_folder(self, name, account=CONVERTER, mode=0o755):
        folder = self.folder / name
        folder.mkdir(parents=True)
        self.give(folder, account, mode)
        return folder

    def put(self, name, content=b"", account=CONVERTER, mode=0o644):
        """A file of that account; its path. `name` may be a path of its own."""
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        self.give(path, account, mode)
        return path

    def fifo(self, path):
        pathlib.Path(path).unlink(missing_ok=True)
        os.mkfifo(path, 0o666)
        self.give(path, ATTACKER, 0o666)

    @staticmethod
    def give(path, account, mode):
        os.chown(path, account, account)
        os.chmod(path, mode)  # a new owner takes set-id bits away

    def run(self, *words, account=CONVERTER, groups=(), umask=0o022, seconds=20, cwd=None, **env):
        """Runs a program as an account; its status, -1 where it hangs, and what it says."""
        as_account = ["setpriv", f"--reuid={account}", f"--regid={account}",
                      f"--groups={','.join(map(str, groups))}" if groups else "--clear-groups"]
        environment = {name: str(value) for name, value in (self.env | env).items() if value is not None}
        with subprocess.Popen([*as_account, *map(str, words)], env=environment, umask=umask, cwd=cwd or self.folder,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True) as process:
            try:
                said, _ = process.communicate(timeout=seconds)
                return process.returncode, said.decode(errors="surrogateescape")
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, 9)
                return -1, process.communicate()[0].decode(errors="surrogateescape")

    def convert(self, *words, **options):
        """annomend of the sample state with several images."""
        return self.run("annomend", *words, "-f", self.state, "-o", f"{self.out}/", **options)

    def logged(self):
        return self.log.read_text(errors="surrogateescape") if self.log.exists() else ""


def mode(path):
    return os.stat(path, follow_symlinks=False).st_mode & 0o7777
