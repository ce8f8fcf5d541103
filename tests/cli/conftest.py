"""Runs the built program as a user does. LORQ names it, LORQ_RUNNER what starts it (Wine), see tests/CMakeLists.txt."""
import collections
import os
import pathlib
import shutil
import subprocess
import tempfile

import pytest

from journal import page, record

PROGRAM = os.environ["LORQ"]
WINDOWS = PROGRAM.endswith(".exe")
RUNNER = [word for word in [os.environ.get("LORQ_RUNNER")] if word]
FAILED = 255  # what a shell sees of an exit code of -1
NOBODY = 65534

linux_only = pytest.mark.skipif(WINDOWS, reason="Wine gives it no meaning")
as_root = pytest.mark.skipif(os.geteuid() != 0, reason="must become another user")

Result = collections.namedtuple("Result", "code out err")


class Lorq:
    """Calls the program in a folder of its own that holds a one-record journal `j`. Texts come back with \\n line ends."""

    def __init__(self, folder):
        self.folder = folder
        self.command = [*RUNNER, PROGRAM]
        self.write("j", page(record()))

    def path(self, name):
        return self.folder / name

    def write(self, name, content):
        self.path(name).write_bytes(content)
        return name

    def __call__(self, *arguments, **options):
        options = {"stdout": subprocess.PIPE, "cwd": self.folder, "stdin": subprocess.DEVNULL, **options}
        done = subprocess.run([*self.command, *arguments], stderr=subprocess.PIPE, timeout=120, check=False, **options)
        return Result(done.returncode, text_of(done.stdout), text_of(done.stderr))

    def table(self, *arguments):
        """The lines behind the run header of a run that must work."""
        done = self(*arguments)
        assert done.code == 0, done
        return done.out.splitlines()[3:]


def text_of(output):
    return (output or b"").replace(b"\r\n", b"\n").decode()


@pytest.fixture
def lorq(tmp_path):
    return Lorq(tmp_path)


@pytest.fixture
def lorq_as_nobody():
    """The same for a user without rights, in a folder that this user can reach."""
    with tempfile.TemporaryDirectory() as folder:
        os.chmod(folder, 0o777)
        caller = Lorq(pathlib.Path(folder))
        program = shutil.copy(PROGRAM, folder)
        caller.command = ["setpriv", f"--reuid={NOBODY}", "--clear-groups", program]
        yield caller


@pytest.fixture
def make(lorq):
    """Makes a journal `made` with the generator."""
    def make_journal(*arguments):
        subprocess.run([*RUNNER, os.environ["LORQ_MAKER"], *arguments, "made"], cwd=lorq.folder, check=True)
        return "made"
    return make_journal
