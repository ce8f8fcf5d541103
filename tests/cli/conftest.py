"""Runs the built program as a user does. LORQ names it, LORQ_RUNNER what starts it (Wine), see tests/CMakeLists.txt."""
import collections
import contextlib
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
VOLUME_MAKER = os.environ.get("LORQ_VOLUME_MAKER", "")
WITHOUT_MAKERS = "volumes are made by a Linux build that found libntfs-3g; for Windows it is the one of the preset dev"
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

    def tool(self, *command):
        """What another program writes that is run there."""
        done = run(command, cwd=self.folder, stdout=subprocess.PIPE)
        done.check_returncode()
        return done.stdout

    def make(self, *options):
        """Makes a journal `made`."""
        self.tool(*RUNNER, os.environ["LORQ_MAKER"], *options, "made")
        return "made"

    def make_volume(self, options="", journal="made", records=6000, lead=65536, holes=()):
        """Makes a volume `v` that holds a journal, by default one that is made for it; its runs as (VCN, LCN, length)."""
        if not os.path.exists(VOLUME_MAKER):
            pytest.skip(WITHOUT_MAKERS)
        if journal == "made":
            self.make("--records", str(records), "--versions", "2:5,3", "--sparse-lead", str(lead))
        with open(self.path(journal), "r+b") as file:
            for at, length in holes:
                os.pwrite(file.fileno(), bytes(length), lead + at)
        runs = self.tool(VOLUME_MAKER, *options.split(), "--files", "40", "--journal", journal, "v")
        return [tuple(map(int, line.split())) for line in runs.splitlines()]

    @contextlib.contextmanager
    def loop_device(self):
        """That of the volume `v`."""
        made = subprocess.run(["losetup", "--find", "--show", "v"], cwd=self.folder, stdout=subprocess.PIPE, check=False)
        if made.returncode != 0:
            pytest.skip("not every machine has loop devices")
        node = made.stdout.decode().strip()
        try:
            yield node
        finally:
            self.tool("losetup", "--detach", node)

    def __call__(self, *arguments, **options):
        options = {"stdout": subprocess.PIPE, "cwd": self.folder, "stdin": subprocess.DEVNULL, **options}
        done = run([*self.command, *arguments], stderr=subprocess.PIPE, timeout=120, **options)
        return Result(done.returncode, text_of(done.stdout), text_of(done.stderr))

    def watched(self, *arguments):
        """The same with a terminal for standard error."""
        try:
            ours, theirs = os.openpty()
        except OSError:
            pytest.skip("a machine without pseudo-terminals")
        with open(ours, "rb", buffering=0) as screen, subprocess.Popen(
                [*self.command, *arguments], cwd=self.folder, stdout=subprocess.PIPE, stderr=theirs) as process:
            os.close(theirs)
            shown = b""
            with contextlib.suppress(OSError):  # which is how a terminal that nobody writes to ends
                while piece := screen.read(4096):
                    shown += piece
            out = process.stdout.read()
        return Result(process.returncode, text_of(out), text_of(shown))

    def table(self, *arguments):
        """The lines behind the run header of a run that must work."""
        done = self(*arguments)
        assert done.code == 0, done
        return done.out.splitlines()[3:]


def run(command, **options):
    """Again when Wine ends with 1 and without a word, as it does once in thousands of times; lorq never does."""
    done = subprocess.run(command, check=False, **options)
    unstarted = WINDOWS and done.returncode == 1 and not done.stdout and not done.stderr
    return subprocess.run(command, check=False, **options) if unstarted else done


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
