"""Volumes made by lorq-make-story, which keeps a list of what became of every file: status, path and times must be those of
the list, from the volume, from an exported $MFT, and from a volume whose $MFT is lost."""
import csv
import datetime
import os

import pytest

from conftest import FAILED, WITHOUT_MAKERS

MAKER = os.environ.get("LORQ_STORY_MAKER", "")
pytestmark = pytest.mark.skipif(not os.path.exists(MAKER), reason=WITHOUT_MAKERS)
RECORD = 1024


def told(lorq, big):
    """Makes the volume `v` with its list; (status, path, creation time or "") of every record."""
    lorq.tool(MAKER, "v", "list", str(big))
    return [tuple(line.split("\t")) for line in lorq.path("list").read_text("utf-8").splitlines()]


def rows(lorq, *arguments):
    lines = lorq.table(*arguments, "-a", "-csv", "-quiet", "-pair_datetime")[1:]
    return [[cell.strip() for cell in row] for row in csv.reader(lines)]


def found(lorq, *arguments):
    """(status, path) of every record."""
    return [(row[9], row[10]) for row in rows(lorq, *arguments)]


def export_all(lorq):
    """$MFT and the journal, through the Sleuth Kit."""
    entry = lorq.tool("ifind", "-n", "/$Extend/$UsnJrnl", "v").decode().strip()
    stream = next(line for line in lorq.tool("istat", "v", entry).decode().splitlines() if "Name: $J" in line)
    lorq.write("mft", lorq.tool("icat", "v", "0"))
    lorq.write("j", lorq.tool("icat", "v", f"{entry}-{stream.split('(')[1].split(')')[0]}"))


@pytest.mark.parametrize("big", [50, 40_000])
def test_every_file_is_where_it_was_left(lorq, big):
    expected = [(status, path) for status, path, _ in told(lorq, big)]
    assert {status for status, _ in expected} == {"valid", "del/entry", "del/parent"}
    assert found(lorq, "-image", "v", "-show_dir_path") == expected
    export_all(lorq)
    # The one directory whose name says something else than the index that holds it.
    beside = ("valid", "[root]\\upper"), ("del/entry", "[root]\\upper")
    assert {both for both in zip(expected, found(lorq, "-file", "j", "-mftfile", "mft")) if both[0] != both[1]} <= {beside}


def test_times_are_those_of_the_index_entry(lorq):
    remnants = 0
    expected = told(lorq, 300)
    for (status, path, created), row in zip(expected, rows(lorq, "-image", "v", "-show_dir_path", "-pulltimes")):
        if row[9] == "del/wisp":  # the entry of a deleted file is still there somewhere
            assert status == "del/entry" and all(row[10:14])
            remnants += 1
        else:
            assert (row[9], row[14]) == (status, path)
            assert any(row[10:14]) == (status == "valid")
        if created and row[10]:  # row[12] is set by the library itself
            times = [datetime.datetime(1601, 1, 1) + datetime.timedelta(microseconds=int(created) // 10 + 100_000 * i)
                     for i in (1, 3, 0)]
            assert [row[10], row[11], row[13]] == [time.isoformat(" ", "milliseconds") for time in times]
    assert remnants > 20


def test_lost_mft(lorq):
    expected = [(status, path) for status, path, _ in told(lorq, 200)]
    image = bytearray(lorq.path("v").read_bytes())
    for at in range(0, len(image), RECORD):
        if image[at:at + 4] == b"FILE" and image[at + 44:at + 48] == bytes(4):  # $MFT's own record and its copy
            image[at:at + RECORD] = bytes(RECORD)
    lorq.write("v", image)
    lost = lorq("-image", "v", "-a")
    assert lost.code == FAILED and lost.err.count("prob $MFT damaged, -rebuild_mft may help\n") == 1
    assert found(lorq, "-image", "v", "-show_dir_path", "-rebuild_mft") == expected
