"""Volumes made by lorq-make-story, which keeps a list of what became of every file: status, path and times must be those of
the list, from the volume, from an exported $MFT, and from a volume whose $MFT is lost."""
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


def runs_of_mft(image):
    """(LCN, length) pairs of $MFT and the cluster size of a volume that mkntfs made."""
    image.seek(0)
    boot = image.read(512)
    cluster = struct.unpack_from("<H", boot, 11)[0] * boot[13]
    image.seek(struct.unpack_from("<Q", boot, 48)[0] * cluster)
    record = image.read(RECORD)
    at = struct.unpack_from("<H", record, 20)[0]
    while struct.unpack_from("<I", record, at)[0] != 0x80:
        at += struct.unpack_from("<I", record, at + 4)[0]
    at += struct.unpack_from("<H", record, at + 32)[0]
    lcn, runs = 0, []
    while record[at]:
        low, high = record[at] & 15, record[at] >> 4
        length = int.from_bytes(record[at + 1:at + 1 + low], "little")
        lcn += int.from_bytes(record[at + 1 + low:at + 1 + low + high], "little", signed=True)
        runs.append((lcn, length))
        at += 1 + low + high
    return runs, cluster


def export(lorq, name, stream):
    """A stream of the volume through the Sleuth Kit."""
    with open(lorq.path(name), "wb") as out:
        subprocess.run(["icat", "v", stream], cwd=lorq.folder, stdout=out, check=True)


def export_all(lorq):
    export(lorq, "mft", "0")
    entry = subprocess.run(["ifind", "-n", "/$Extend/$UsnJrnl", "v"], cwd=lorq.folder, capture_output=True, check=True, text=True)
    about = subprocess.run(["istat", "v", entry.stdout.strip()], cwd=lorq.folder, capture_output=True, check=True, text=True)
    stream = next(line for line in about.stdout.splitlines() if "Name: $J" in line).split("(")[1].split(")")[0]
    export(lorq, "j", f"{entry.stdout.strip()}-{stream}")


@pytest.mark.parametrize("big", [50, 3000])
def test_every_file_is_where_it_was_left(lorq, big):
    expected = [(status, path) for status, path, _ in told(lorq, big)]
    assert {status for status, _ in expected} == {"valid", "del/entry", "del/parent"}
    assert found(lorq, "-image", "v", "-show_dir_path") == expected
    export_all(lorq)
    # The one directory whose name says something else than the index that holds it.
    beside = {("valid", "[root]\\upper")}
    exported = found(lorq, "-file", "j", "-mftfile", "mft")
    assert {(a, b) for a, b in zip(expected, exported) if a != b} <= {(one, ("del/entry", one[1])) for one in beside}


def restored(image):
    """An image whose records and index blocks have back what their update sequence keeps."""
    out = bytearray(image)
    for at in range(0, len(image), RECORD):
        if image[at:at + 4] in (b"FILE", b"INDX"):
            array, count = struct.unpack_from("<HH", image, at + 4)
            for i in range(1, count):
                out[at + 512 * i - 2:at + 512 * i] = image[at + array + 2 * i:at + array + 2 * i + 2]
    return bytes(out)


def entries_of(image, reference, parent):
    """Where index entries of a file stand, in use or not."""
    at = image.find(reference)
    while at >= 0:
        if image[at + 16:at + 24] == parent:
            yield at
        at = image.find(reference, at + 1)


def text_of(filetime):
    time = datetime.datetime(1601, 1, 1) + datetime.timedelta(microseconds=filetime // 10)
    return f"{time:%Y/%m/%d %H:%M:%S}.{time.microsecond // 1000:03}"


def test_times_are_those_of_the_index_entry(lorq):
    expected = told(lorq, 300)
    image = restored(lorq.path("v").read_bytes())
    export_all(lorq)
    remnants = 0
    for source in [("-image", "v", "-show_dir_path"), ("-file", "j", "-mftfile", "mft")]:
        for (status, path, created), row in zip(expected, rows(lorq, *source, "-pulltimes", "-dateformat", "yyyy/mm/dd")):
            got = row[9]
            reference, parent = (struct.pack("<Q", int(row[a], 16) | int(row[a + 1], 16) << 48) for a in (1, 3))
            if got == "del/wisp":  # the entry of the file is still there somewhere
                assert status == "del/entry" and source[0] == "-image"
                assert any(True for _ in entries_of(image, reference, parent))
                remnants += 1
            elif (got, status, row[14]) != ("del/entry", "valid", "[root]\\upper"):
                assert (got, row[14]) == (status, path)
            if got in ("del/entry", "del/parent"):
                assert row[10:14] == [""] * 4
            elif created:
                times = [text_of(int(created) + 1_000_000 * i) for i in (1, 3, 0)]
                assert [row[10], row[11], row[13]] == times
                if source[0] == "-image":  # the library sets this one itself
                    assert row[12] in [text_of(struct.unpack_from("<Q", image, at + 40)[0])
                                       for at in entries_of(image, reference, parent)]
    assert remnants > 20


def test_lost_mft(lorq):
    expected = [(status, path) for status, path, _ in told(lorq, 200)]
    with open(lorq.path("v"), "r+b") as image:
        runs, cluster = runs_of_mft(image)
        for at in [runs[0][0] * cluster, *[place for place in range(0, os.fstat(image.fileno()).st_size, RECORD)
                                           if place != runs[0][0] * cluster and is_record(image, place, 0)]]:
            image.seek(at)
            image.write(bytes(RECORD))
    lost = lorq("-image", "v", "-a")
    assert lost.code == FAILED and lost.err.count("prob $MFT damaged, -rebuild_mft may help\n") == 1
    assert found(lorq, "-image", "v", "-show_dir_path", "-rebuild_mft") == expected


def is_record(image, place, number):
    image.seek(place)
    header = image.read(48)
    return header[:4] == b"FILE" and struct.unpack_from("<I", header, 44)[0] == number
