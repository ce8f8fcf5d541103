"""Volumes made by lorq-make-story, which keeps a list of what became of every file: status, path and times must be those of
the list, from the volume, from an exported $MFT, and from a volume whose $MFT is lost."""
import collections
import csv
import datetime
import os
import struct
import subprocess

import pytest

from conftest import FAILED

MAKER = os.environ.get("LORQ_STORY_MAKER", "")
pytestmark = pytest.mark.skipif(not os.path.exists(MAKER), reason="volumes are made by a Linux program")
RECORD = 1024
EXPORTED = ("-file", "j", "-mftfile", "mft")


def told(lorq, big):
    """Makes the volume `v` with its list; (status, path, creation time or "") of every record."""
    subprocess.run([MAKER, "v", "list", str(big)], cwd=lorq.folder, check=True)
    return [tuple(line.split("\t")) for line in lorq.path("list").read_text("utf-8").splitlines()]


def rows(lorq, *arguments):
    lines = lorq.table(*arguments, "-a", "-csv", "-quiet", "-pair_datetime")[1:]
    return [[cell.strip() for cell in row] for row in csv.reader(lines)]


def found(lorq, *arguments):
    """(status, path) of every record."""
    return [(row[9], row[10]) for row in rows(lorq, *arguments)]


def export_all(lorq):
    """$MFT and the journal, through the Sleuth Kit."""
    def tool(*command):
        return subprocess.run(command, cwd=lorq.folder, check=True, capture_output=True).stdout
    entry = tool("ifind", "-n", "/$Extend/$UsnJrnl", "v").decode().strip()
    stream = next(line for line in tool("istat", "v", entry).decode().splitlines() if "Name: $J" in line)
    lorq.write("mft", tool("icat", "v", "0"))
    lorq.write("j", tool("icat", "v", f"{entry}-{stream.split('(')[1].split(')')[0]}"))


@pytest.mark.parametrize("big", [50, 100_000])
def test_every_file_is_where_it_was_left(lorq, big):
    expected = [(status, path) for status, path, _ in told(lorq, big)]
    assert {status for status, _ in expected} == {"valid", "del/entry", "del/parent"}
    assert found(lorq, "-image", "v", "-show_dir_path") == expected
    export_all(lorq)
    # The one directory whose name says something else than the index that holds it.
    beside = ("valid", "[root]\\upper"), ("del/entry", "[root]\\upper")
    assert {both for both in zip(expected, found(lorq, *EXPORTED)) if both[0] != both[1]} <= {beside}


def index_entries(image):
    """By (reference, parent): FILETIMEs of the last change of the record, in the index entries of files, in use or not."""
    out = bytearray(image)
    for at in range(0, len(image), RECORD):
        if image[at:at + 4] in (b"FILE", b"INDX"):  # they get back what their update sequence keeps
            array, count = struct.unpack_from("<HH", image, at + 4)
            for i in range(1, count):
                out[at + 512 * i - 2:at + 512 * i] = image[at + array + 2 * i:at + array + 2 * i + 2]
    words = memoryview(bytes(out)).cast("Q")
    entries = collections.defaultdict(set)
    for at, reference in enumerate(words[:-5]):
        if reference >> 48:
            entries[reference, words[at + 2]].add(words[at + 5])
    return entries


def text_of(filetime):
    time = datetime.datetime(1601, 1, 1) + datetime.timedelta(microseconds=filetime // 10)
    return f"{time:%Y/%m/%d %H:%M:%S}.{time.microsecond // 1000:03}"


def test_times_are_those_of_the_index_entry(lorq):
    expected = told(lorq, 300)
    entries = index_entries(lorq.path("v").read_bytes())
    export_all(lorq)
    remnants = 0
    for source in [("-image", "v", "-show_dir_path"), EXPORTED]:
        for (status, path, created), row in zip(expected, rows(lorq, *source, "-pulltimes", "-dateformat", "yyyy/mm/dd")):
            got = row[9]
            changed = entries.get(tuple(int(row[a], 16) | int(row[a + 1], 16) << 48 for a in (1, 3)), ())
            if got == "del/wisp":  # the entry of the file is still there somewhere
                assert status == "del/entry" and source != EXPORTED and changed
                remnants += 1
            elif (got, status, row[14]) != ("del/entry", "valid", "[root]\\upper"):
                assert (got, row[14]) == (status, path)
            if got in ("del/entry", "del/parent"):
                assert row[10:14] == [""] * 4
            elif created:
                assert [row[10], row[11], row[13]] == [text_of(int(created) + 1_000_000 * i) for i in (1, 3, 0)]
                # The library sets this one itself.
                assert source == EXPORTED or row[12] in map(text_of, changed)
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
