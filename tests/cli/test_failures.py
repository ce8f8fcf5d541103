"""What the program says when it cannot do what it was asked for: text, stream and exit code."""
import os
import pathlib
import re

import pytest

from conftest import FAILED, as_root, linux_only
from journal import page, record

USAGE = pathlib.Path(__file__).parent.parent.joinpath("golden/usage.txt").read_bytes().decode()
CLEAR = "\x1b[2K\r    \r"
HEADER = re.compile(r'lorq ver: 1\.49\nrun time: \d\d/\d\d/\d{4} \d\d:\d\d:\d\d; [^;\n]+; [^;\n]+; [^\n]+\n"cmdline: [^\n]*"\n')


def said(done):
    """Standard error without the sequences that clear the status line."""
    return done.err.replace(CLEAR, "")


@pytest.mark.parametrize("arguments", [[], ["-h"], ["-HELP"], ["/?"], ["-file", "j", "--help"], ["-out", "-h"]])
def test_usage_is_no_failure(lorq, arguments):
    assert lorq(*arguments) == (0, "", USAGE)
    assert lorq("-file", "j", "-Version") == (0, "lorq ver: 1.49\n", "")


VALID = "prob validating volume {} as a NTFS partition, aborting...\n"
NOT_WITH_FILE = " cannot be used with -file option\n"


@pytest.mark.parametrize("arguments, message", [
    # Options that are refused.
    (["-file", "j", "-out", "no/such/x", "-append", "-sqlite", "x"], "prob opening file no\\such\\x for output, aborting\n"),
    (["-file", "j", "-out", "."], "prob opening file . for output, aborting\n"),
    (["-file", "j", "-sqlite", "x", "-timeformat", "x"],
     "invalid x, using default format\nThis option is not offered in this build\n"),
    (["-file", "j", "-alias", "a|b|c", "-sqlite", "x"], "imbalanced alias to true pathfiles, aborting\n"),
    (["-file", "j", "-cmd_start_time", "20240102"], "prob date 20240102 is not year-month-day, aborting\n"),
    (["-file", "j", "-cmd_stop_time", "2024"], "prob date 2024 is not year-month-day, aborting\n"),
    # Sources that give nothing.
    (["-a"], USAGE),
    (["-file", "j", "-include_vss_clusters"], "-include_vss_clusters" + NOT_WITH_FILE),
    (["-file", "j", "-include_slack_space"], "-include_mft_slack_space" + NOT_WITH_FILE),
    (["-file", "j", "-include_slack_space", "-include_vss_clusters", "-include_unalloc_clusters"],
     "-include_unalloc_clusters" + NOT_WITH_FILE),
    (["-file", "missing"], "prob reading missing\n"),
    (["-image", "zero"], "couldn't find any partitions on disk\n\n"),
    pytest.param(["-file", "j", "-partition", "zz"], VALID.format("zz"), marks=as_root),
    pytest.param(["-file", "j", "-vss", "97"], VALID.format(r"\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy97"), marks=as_root),
    (["-file", "zero"], "prob no change records in zero\n"),
    (["-file", "empty"], "prob no change records in empty\n"),
    pytest.param(["-file", "/dev/stdin"], "prob no change records in /dev/stdin, which is no file\n", marks=linux_only),
    (["-file", ""], "prob -file names no file\n"),
])
def test_failures_leave_only_the_run_header(lorq, arguments, message):
    lorq.write("zero", bytes(3 * 4096))
    lorq.write("empty", b"")
    done = lorq(*arguments)
    assert (done.code, said(done)) == (FAILED, message)
    assert HEADER.fullmatch(done.out)


@pytest.mark.parametrize("arguments, message", [
    (["-cmd_start_time", "2024-13-02"], "invalid start time, ignoring\n"),
    (["-diags", "no/such/x"], ""),
    (["-show_dir_path"], "prob no usable $MFT, paths not resolved\n"),
    (["-mftfile", "no-mft"], "prob opening mft file: no-mft, paths not resolved\n"),
    (["stray", "-hh", "help", "?"], ""),
])
def test_lesser_problems_change_nothing_in_the_table(lorq, arguments, message):
    done = lorq("-file", "j", *arguments)
    assert (done.code, said(done)) == (0, message)
    assert done.out.splitlines()[3:] == lorq.table("-file", "j")


@pytest.mark.parametrize("arguments, message", [
    (["-pulltimes"], ""),
    (["-mftfile", "no-mft"], "prob opening mft file: no-mft, paths are told by the journal alone\n"),
])
def test_paths_as_they_were_need_no_mft(lorq, arguments, message):
    done = lorq("-file", "j", "-path_history", "-csvgen", "-quiet", *arguments)
    assert (done.code, said(done)) == (0, message)
    header, row = (dict(enumerate(line.split(","))) for line in done.out.splitlines()[3:])
    cells = {name: row[at] for at, name in header.items()}
    assert (cells["MFT status"], cells["Path"], cells["path basis"], cells["Path now"]) == ("", r"[root]\a.txt", "exact", "")


@linux_only
@as_root
def test_volumes_need_rights(lorq_as_nobody):
    restart = 'need to restart cmd prompt using "Run As Administrator" option...\n'
    done = lorq_as_nobody("-partition", "c")
    assert (done.code, said(done)) == (FAILED, "prob opening c, admin privileges needed\n")
    assert HEADER.sub("", done.out) == "command prompt not running w/ admin privileges...\n" + restart
    done = lorq_as_nobody("-vss", "1")
    assert (done.code, said(done)) == (FAILED, "This option requires admin privileges...\n" + restart)
    assert HEADER.fullmatch(done.out)


def test_closed_pipe_as_results(lorq):
    reader, writer = os.pipe()
    os.close(reader)
    done = lorq("-file", "j", stdout=writer)
    os.close(writer)
    assert (done.code, said(done)) == (FAILED, "prob writing to standard output, its reader closed it\n")


def test_unclosed_records_count_as_found(lorq):
    lorq.write("open", page(record(reason=0x102)))
    assert (len(lorq.table("-file", "open")), len(lorq.table("-file", "open", "-a"))) == (1, 2)
