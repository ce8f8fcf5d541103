"""Sources and results when disks fail, when the program is killed, and under every option: what could be read is
written, what is missing is told, and no run touches its source."""
import hashlib
import os
import pathlib
import re
import subprocess

import pytest

from conftest import FAILED, WINDOWS, as_root, linux_only
from journal import PAGE, page, record
from test_failures import said
from test_volumes import MIB

FAULTS = os.environ.get("LORQ_FAULTS", "")
LAYOUTS = [[], ["-csv"], ["-csvgen"], ["-xml"], ["-bodyfile"], ["-csvl2t"], ["-multiline"]]
OPTION_TABLE = pathlib.Path(__file__).parents[2] / "src/app/option_table.cpp"
OPTIONS = re.findall(r'(flag|valued)\("(-\w+)"', OPTION_TABLE.read_text())
VALUES = {"-out": "results", "-report": "page", "-diags": "log", "-mftfile": "m", "-alias": "a|b", "-aliaspath": "a|b",
          "-cmd_start_time": "2001-01-01", "-cmd_stop_time": "2039-01-01", "-from": "2001-01-01", "-to": "2039-01-01"}
CARVED = "-include_unalloc_clusters"

with_faults = pytest.mark.skipif(not FAULTS, reason="faults are preloaded, which sanitizers and Wine do not like")


def failing(**faults):
    return {"env": {**os.environ, "LD_PRELOAD": FAULTS, **faults}}


@with_faults
@as_root
def test_what_cannot_be_read_is_told_once_and_costs_no_more_than_itself(lorq):
    journal = lorq.make_volume("--size 64M", records=200)[0][1] * PAGE
    bad = [journal + PAGE, 50 * MIB]
    with open(lorq.path("v"), "r+b") as volume:
        for name, at in ("kept", 49 * MIB), ("lost", 50 * MIB):
            os.pwrite(volume.fileno(), page(record(name=name)), at)
    content = bytearray(lorq.path("v").read_bytes())
    for at in bad:
        content[at:at + PAGE] = bytes(PAGE)
    lorq.write("zeroed", content)
    made = bytearray(lorq.path("made").read_bytes())
    begin = 65536 + PAGE
    made[begin:begin + PAGE] = bytes(PAGE)
    lorq.write("made zeroed", made)
    for source, good, places in [(["-file", "made"], ["-file", "made zeroed"], [begin]),
                                 (["-image", "v", CARVED], ["-image", "zeroed", CARVED], bad),
                                 (["-partition", "./v", CARVED], ["-image", "zeroed", CARVED], bad)]:
        faults = failing(LORQ_BAD_READ=" ".join(f"{at + 100} {at + 612}" for at in places))
        line = f"prob reading {len(places) * PAGE} bytes of {source[1]}, records may be missing\n"
        done = lorq(*source, "-a", "-quiet", **faults)
        assert (done.code, said(done)) == (0, line)
        assert done.out.splitlines()[3:] == lorq.table(*good, "-a")
        assert lorq(*source, "-a", **faults).err.count(line) == 1
    done = lorq("-file", "j", **failing(LORQ_BAD_READ="0 1"))
    assert (done.code, said(done)) == (FAILED, "prob reading 4096 bytes of j, records may be missing\n")


def whole_and_part(lorq, run, **faults):
    """The results of a run that nothing disturbs, how a disturbed run ended, and its results."""
    def results():
        content = lorq.path("sub/x").read_bytes() if lorq.path("sub").exists() else b""
        return re.sub(rb"run time: [^;]*", b"", content)
    lorq.path("sub").mkdir(exist_ok=True)
    assert lorq(*run).code == 0
    whole = results()
    done = lorq(*run, **failing(**faults))
    return whole, (done.code, said(done)), results()


@linux_only
@pytest.mark.parametrize("layout", LAYOUTS)
def test_failing_outputs_and_a_killed_run_leave_the_beginning_and_no_good_exit_code(lorq, layout):
    run = ["-quiet", "-file", lorq.make("--records", "9000"), "-a", *layout]

    def fails(message, *arguments, **options):
        done = lorq(*run, *arguments, **options)
        assert (done.code, said(done)) == (FAILED, message)
    fails("prob writing results file: \\dev\\full\n", "-out", "/dev/full")
    with open("/dev/full", "wb") as full:
        fails("prob writing to standard output\n", stdout=full)
    fails("prob writing to standard output\n", stdout=None, preexec_fn=lambda: os.close(1))
    direct = lorq.command
    lorq.command = ["bash", "-c", '"$@" | head -c 99 >&2; exit ${PIPESTATUS[0]}', "-", *direct]
    done = lorq(*run)
    assert (done.code, len(said(done))) == (FAILED, 99 + len("prob writing to standard output, its reader closed it\n"))
    lorq.command = direct

    run += ["-out", "sub\\x"]
    told = (FAILED, "prob writing results file: sub\\x\n")
    killed = "kill -9 $PPID"
    for at, what, ending in [(1, "short", (0, "")), (1, "full", told), (3, "full", told), (2, killed, (-9, "")),
                             (3, killed, (-9, "")), (3, "rm -r sub", told)] if FAULTS else []:
        whole, end, part = whole_and_part(lorq, run, LORQ_AT_WRITE=f"{at} {what}")
        assert end == ending, what
        assert whole.startswith(part) and (part == whole) == (what == "short")
        assert what == "short" or bool(part) == (what != "rm -r sub" and at > 1), what


@linux_only
def test_a_log_that_cannot_grow_is_told_once(lorq):
    done = lorq("-quiet", "-file", "j", "-diags", "/dev/full")
    assert (done.code, said(done)) == (0, "prob writing file /dev/full, log is off\n")


@pytest.mark.parametrize("caller", ["lorq", pytest.param("lorq_as_nobody", marks=[linux_only, as_root])])
def test_no_option_touches_a_source(request, caller):
    """Nobody has no right to write to them, nor to keep the time of the last access."""
    lorq = request.getfixturevalue(caller)
    lorq.make_volume("--size 4M", records=200)
    lorq.write("m", lorq.tool("icat", "v", "0"))
    sources = [lorq.path(name) for name in ("made", "v", "m")]
    before = [hashlib.sha256(path.read_bytes()).digest() for path in sources]
    for path in sources:
        os.chmod(path, 0o444)
        os.utime(path, ns=(10**18, 10**18 + 1))

    def stand():
        return [(at.st_mtime_ns, at.st_ctime_ns, at.st_size, at.st_mode, WINDOWS or caller != "lorq" or at.st_atime_ns)
                for at in map(os.stat, sources)]
    untouched = stand()
    options = [[name, VALUES.get(name, "1")] if kind == "valued" else [name] for kind, name in OPTIONS]
    assert len(options) > 50
    together = [word for option in options if "sqlite" not in option[0] for word in option]
    for option in [together] + (options if caller == "lorq" and not WINDOWS else []):
        for source in ["-file", "made"], ["-image", "v"], ["-partition", "./v"]:
            done = lorq(*source, *option, "-a", "-append")
            assert stand() == untouched, (source, option)
            assert done.code == 0 or source != ["-image", "v"] or "-sqlite" in option[0]
    assert [hashlib.sha256(path.read_bytes()).digest() for path in sources] == before


@linux_only
@as_root
def test_no_output_goes_to_a_device_or_to_the_image_behind_one(lorq):
    lorq.make_volume("--size 4M", records=200)
    before = lorq.path("v").read_bytes()
    commands = [lorq.command]
    if subprocess.run(["unshare", "--mount", "umount", "--lazy", "/sys"], check=False).returncode == 0:  # not in a chroot
        commands.append(["unshare", "--mount", "sh", "-c", 'umount --lazy /sys; "$@"', "sh", *lorq.command])
    with lorq.loop_device() as node:
        for lorq.command in commands:
            for arguments in ["-partition", node, "-out", "v"], ["-image", "v", "-out", node, "-append"]:
                done = lorq("-quiet", *arguments)
                assert done.code == FAILED and said(done).startswith("prob opening file ")
                assert lorq.path("v").read_bytes() == before
