"""Runs that work: run header, table, results file, progress, log; and the sources, which no run may change."""
import os
import re

import pytest

from conftest import FAILED, NOBODY, WINDOWS, as_root, linux_only
from journal import page, record
from test_failures import CLEAR, HEADER, USAGE, said

A_TXT = ("2024-01-02 |  03:04:05.678 | 0x000000000028 | 0x00000003 | 0x000000000005 | 0x00000005 | 0x000000001000 | "
         "archive                       | a.txt                                         | "
         "data_appended; file_created; file_closed")


def test_standard_output_and_results_file_hold_the_same(lorq):
    lorq.path("sub").mkdir()
    table = lorq.table("-file", "j")
    assert table[1:] == [A_TXT]
    done = lorq("-file", "j", "-out", "sub\\x.txt")
    assert (done.code, done.out) == (0, "")
    lines = lorq.path("sub/x.txt").read_bytes().decode().split("\r\n")
    assert lines[3:] == [*table, ""] and not any("\n" in line for line in lines)
    assert HEADER.fullmatch("\n".join(lines[:3]) + "\n")


@as_root
def test_a_read_only_results_file_is_replaced(request):
    lorq = request.getfixturevalue("lorq" if WINDOWS else "lorq_as_nobody")  # nothing is read-only for root
    old = lorq.path(lorq.write("x.txt", b"old" * 1000))
    if not WINDOWS:
        os.chown(old, NOBODY, NOBODY)
    os.chmod(old, 0o444)
    assert lorq("-file", "%LORQ_TEST%", "-out", "x.txt", env={**os.environ, "LORQ_TEST": "j"}).code == 0
    assert old.read_bytes().startswith(b"lorq ver") and b"oldold" not in old.read_bytes()


@linux_only
def test_results_file_permissions_and_link(lorq):
    lorq.write("target.txt", b"old")
    os.symlink("target.txt", lorq.path("link.txt"))
    assert lorq("-file", "j", "-out", "link.txt").code == 0
    assert lorq.path("link.txt").is_symlink() and b"a.txt" in lorq.path("target.txt").read_bytes()
    assert lorq("-file", "j", "-out", "new.txt", umask=0o027).code == 0
    assert lorq.path("new.txt").stat().st_mode & 0o777 == 0o640
    # No results file takes the place of a standard error that is closed.
    assert lorq("-file", "j", "-out", "new.txt", preexec_fn=lambda: os.close(2)).code == 0
    assert CLEAR.encode() not in lorq.path("new.txt").read_bytes()


@pytest.mark.parametrize("arguments, pattern", [
    ([], f"({re.escape(CLEAR)})+"),
    (["-quiet"], ""),
    (["-quiet", "-profile"], r"->[\d.e-]+ secs\n->read: [\d.e-]+ secs, 1 records, 4096 bytes\n(->.*\n){5}"),
    (["-quiet", "-profile", "-path_history"], r"(->.*\n){7}->history: [\d.e-]+ secs, 1 records, 4096 bytes\n"),
    (["-quiet", "-show_dir_path"], re.escape(CLEAR) + r"prob no usable \$MFT, paths not resolved\n"),
])
def test_standard_error(lorq, arguments, pattern):
    assert re.fullmatch(pattern, lorq("-file", "j", *arguments).err)


@linux_only
def test_progress_on_a_terminal(lorq):
    journal = lorq.make("--records", "500000", "--closed", "100")
    shown = lorq.watched("-file", journal, "-xml", "-out", "x").err
    assert re.search(re.escape(CLEAR) + r"writing: \d+ of 500000 records\r", shown)
    assert shown.endswith(CLEAR + CLEAR)


@linux_only
def test_hints_and_help_go_where_somebody_looks(lorq):
    done = lorq.watched("-file", "j", "stray", "-append")
    assert (done.code, done.out.splitlines()[4:]) == (0, [A_TXT])
    assert said(done) == "hint: stray is taken by no option\nhint: -append has no effect, nothing is ever appended\n"
    assert (said(lorq.watched("-file", "j", "stray", "-quiet")), said(lorq("-file", "j", "stray"))) == ("", "")
    assert lorq.watched("--help") == (0, USAGE, "")
    assert lorq.watched("--help", "-a") == lorq.watched() == (0, "", USAGE)


def test_diagnostic_log(lorq):
    assert lorq("-file", "j", "-diags", "log", "-hostname", "two words").code == 0
    log = lorq.path("log").read_bytes().decode().replace("\r\n", "\n")
    assert re.fullmatch(r'->\S*lorq(\.exe)? -file j -diags log -hostname "two words"\n(->.*\n)*->[\d.e-]+ secs\n', log)


@pytest.mark.parametrize("arguments, code, output", [
    (["-file", "x", "-out", "x"], FAILED, "x"),
    (["-file", "soft", "-out", "hard"], FAILED, "hard"),
    (["-outfile", "x", "-file", "-quiet", "x"], FAILED, "x"),
    (["-file", "j", "-mftfile", "x", "-out", "x"], FAILED, "x"),
    (["-image", "x", "-out", "soft"], FAILED, "soft"),
    (["-file", "-a", "x", "-diags", "x"], 0, "x"),
])
def test_no_output_goes_over_a_source(lorq, arguments, code, output):
    source = lorq.path(lorq.write("x", page(record())))
    os.link(source, lorq.path("hard"))
    os.symlink("x", lorq.path("soft"))
    before = source.stat()
    done = lorq(*arguments)
    after = source.stat()
    consequence = "aborting" if code else "log is off"
    assert (done.code, said(done)) == (code, f"prob opening file {output} for output, {consequence}\n")
    assert source.read_bytes() == page(record())
    assert (after.st_mtime_ns, after.st_ctime_ns, after.st_nlink) == (before.st_mtime_ns, before.st_ctime_ns, 2)
    assert lorq.path("soft").is_symlink()
