"""Volumes made by lorq-make-volume: an image gives the records of the stream that another tool extracts, each of them stands
where -show_offset says, carved records are told apart, and the volume is found in a partition table."""
import csv
import os
import struct

import pytest

from conftest import FAILED
from journal import PAGE, record
from test_failures import said

MIB = 1 << 20


def rows(lorq, *arguments):
    """Rows of the table, offset first."""
    lines = csv.reader(lorq.table(*arguments, "-a", "-csv", "-show_offset")[1:])
    return [(int(row[7], 16), *row[:7], *row[8:]) for row in lines]


@pytest.mark.parametrize("options, more", [
    ("--cluster 512", {"holes": [(3 * 512, 40 * 512), (100 * PAGE, 8 * PAGE)]}),
    ("--cluster 512 --fragments 300 --moved 1", {}),
    ("--cluster 512 --fragments 4000", {"records": 20000}),
    ("--cluster 1024 --fragments 600 --moved 1", {}),
    ("--cluster 4096", {"holes": [(3 * PAGE, 20 * PAGE), (80 * PAGE, 7 * PAGE)]}),
    ("--cluster 4096 --fragments 30 --size 12G", {"lead": 5 << 30}),
    ("--cluster 4096 --record 4096 --sector 4096", {}),
    ("--cluster 65536 --record 4096", {"holes": [(3 * 65536 + PAGE, 2 * 65536), (7 * 65536, 65536)], "lead": 0}),
    ("--cluster 2M --size 512M --fragments 2", {"records": 40000}),
])
def test_an_image_gives_the_extracted_records_where_they_stand(lorq, options, more):
    runs = lorq.make_volume(options, **more)
    lorq.tool("bash", "-c", "ntfscat -f -a 0x80 -n '$J' v '$Extend/$UsnJrnl' | cp --sparse=always /dev/stdin extracted")
    # In one run every record stands where its offset says; in more, those of a chunk's first run do, with -complete all.
    # Behind the end of a run a record goes on elsewhere.
    cluster = {"2M": 2 * MIB}.get(size := options.split()[1]) or int(size)
    for option, of in ([], 20 if len(runs) > 1 else 1), (["-complete"], 1):
        expected = rows(lorq, "-file", "extracted", *option)
        found = rows(lorq, "-image", "v", *option)
        assert len(expected) > 1000
        assert [row[1:] for row in found] == [row[1:] for row in expected]
        right = 0
        with open(lorq.path("v"), "rb") as image, open(lorq.path("extracted"), "rb") as stream:
            for (offset, *row), (usn, *_) in zip(found, expected):
                length = min(60 + 2 * len(row[8]), cluster - usn % cluster)
                right += os.pread(image.fileno(), length, offset) == os.pread(stream.fileno(), length, usn)
        assert right >= len(found) // of


def test_a_resident_journal(lorq):
    lorq.write("j", b"".join(record(name=f"{n}.txt", usn=n * 72) for n in range(1, 5)))
    assert lorq.make_volume("", journal="j") == []
    assert [row[9] for row in rows(lorq, "-image", "v")] == ["1.txt", "2.txt", "3.txt", "4.txt"]


def test_what_lies_behind_the_end_of_an_image_is_lost_and_said_once(lorq):
    runs = lorq.make_volume("--fragments 4")
    expected = [int(row[7], 16) for row in rows(lorq, "-file", "made")]
    vcn, lcn, clusters = max(runs, key=lambda run: run[1])
    os.truncate(lorq.path("v"), (lcn + 3) * PAGE)
    gone = range((vcn + 3) * PAGE, (vcn + clusters) * PAGE)
    assert [int(row[7], 16) for row in rows(lorq, "-image", "v")] == [usn for usn in expected if usn not in gone]
    done = lorq("-image", "v")
    assert done.err.count(f"prob reading {len(gone)} bytes of v, records may be missing\n") == 1
    assert "volume offset" not in done.err
    kept = sum(usn not in gone for usn in expected)
    assert said(lorq("-image", "v", "-complete", "-a", "-quiet")).endswith(
        f"read {kept} records: {kept} written; {len(gone)} bytes unreadable\n")


@pytest.mark.parametrize("cluster", [512, 65536])
def test_carved_records_are_told_apart(lorq, cluster):
    lorq.make_volume(f"--cluster {cluster} --size 64M")
    unit = max(cluster, PAGE)
    os.truncate(lorq.path("made"), (os.path.getsize(lorq.path("made")) // unit - 1) * unit + 120)
    _, lcn, clusters = lorq.make_volume(f"--cluster {cluster} --size 64M", journal="./made")[-1]
    bitmap = lorq.tool("ntfscat", "-i", "6", "v")
    last = max(n for n in range(64 * MIB // cluster - 1) if not bitmap[n // 8] >> n % 8 & 1)
    planted = [("behind $J", "slack", (lcn + clusters - 1) * cluster + 120), ("free", "unalloc", last * cluster)]
    with open(lorq.path("v"), "r+b") as image:
        for name, _, at in planted:
            os.pwrite(image.fileno(), record(name=name), at)
    options = ["-include_unalloc_clusters", "-include_slack_space", "-include_vss_clusters"]
    for chosen, types in (options, ["slack", "unalloc"]), (options[:1], ["unalloc"]), (options[1:2], ["slack"]):
        done = lorq("-image", "v", "-a", "-csv", "-show_offset", *chosen)
        found = [(row["filename"], row["type"], int(row["offset"], 16))
                 for row in csv.DictReader(done.out.splitlines()[3:]) if row["type"] != "$J"]
        assert sorted(found) == [plant for plant in planted if plant[1] in types]
    # A journal that was deleted is a reason to carve.
    lorq.write("v", lorq.path("v").read_bytes().replace("$UsnJrnl".encode("utf-16-le"), "$UsnJrnx".encode("utf-16-le")))
    for chosen, code in (options, 0), ([], FAILED):
        done = lorq("-image", "v", "-csv", "-show_offset", *chosen)
        found = [(row["filename"], row["type"], int(row["offset"], 16)) for row in csv.DictReader(done.out.splitlines()[3:])]
        assert (done.code, sorted(found)) == (code, planted if chosen else [])
        assert said(done).startswith("prob reading file $Extend\\$UsnJrnl:$J in unmounted image v\n")


def boot_record(*entries):
    return bytes(446) + b"".join(struct.pack("<4xB3xII", *entry) for entry in entries).ljust(64, b"\0") + b"\x55\xaa"


def test_volumes_in_a_partition_table(lorq):
    lorq.make_volume("--size 4M", records=200)
    content = lorq.path("v").read_bytes()
    parts = {0: boot_record((0x0C, 16, 48), (0x05, 64, 40000)), 64 * 512: boot_record((7, 63, 8192), (5, 20000, 8255)),
             0xFE00: content, 20064 * 512: boot_record((7, 63, 8192)), 0x9D3E00: content[:-512]}
    with open(lorq.path("disk"), "wb") as disk:
        for at, part in parts.items():
            disk.seek(at)
            disk.write(part)
    first, last = [[(offset + at, *row) for offset, *row in rows(lorq, "-image", "v")] for at in (0xFE00, 0x9D3E00)]
    listed = ("volume offset [ 0x2000 ] : fat32\nvolume offset [ 0x8000 ] : exten\nvolume offset [ 0xfe00 ] : ntfs or exfat\n"
              "volume offset [ 0x9cc000 ] : exten\nvolume offset [ 0x9d3e00 ] : ntfs or exfat\nuse option [-offset 0x9d3e00]\n")
    cut = "volume offset 0x9d3e00 is a NTFS partition, however image size does not encapsulate entire volume\n"
    for options, told in ([], listed), (["-offset", "0x4600"], listed), (["-offset", "0x9d3e00"], cut):
        done = lorq("-image", "disk", *options)
        assert done.code == FAILED and told in done.err
    assert rows(lorq, "-image", "disk", "-offset", "0xfe00") == first
    assert rows(lorq, "-image", "disk", "-offset", "0x9d3e00", "-ignore_image_size") == last


def test_a_volume_is_read_where_the_user_says_whatever_the_table_says(lorq):
    lorq.make_volume("--size 4M", records=200)
    content = lorq.path("v").read_bytes()
    expected = [(0xFE00 + offset, *row) for offset, *row in rows(lorq, "-image", "v")]
    place = ["-quiet", "-image", "disk", "-offset", "0xfe00"]
    told = "volume offset 0xfe00 is not listed as a NTFS partition, but a NTFS volume begins there\n"
    for table in b"", boot_record((6, 63, 8192)):  # none, and one that is found by a scan and has another type there
        lorq.write("disk", (bytes(0x8000) + table).ljust(0xFE00, b"\0") + content)
        assert rows(lorq, *place) == expected
        assert said(lorq(*place)) == told
    os.truncate(lorq.path("disk"), 0xFE00 + len(content) - 1024)
    cut = "volume offset 0xfe00 is a NTFS partition, however image size does not encapsulate entire volume\n"
    assert said(lorq(*place)).endswith("prob detecting ntfs partition\n" + cut)
    assert rows(lorq, *place, "-ignore_image_size") == expected
    lorq.write("disk", bytes(0xFE00) + content.replace(b"FILE", b"BAAD", 1))
    assert said(lorq(*place)).endswith("couldn't find any partitions on disk\nprob $MFT damaged, -rebuild_mft may help\n")
    assert rows(lorq, *place, "-rebuild_mft") == expected
