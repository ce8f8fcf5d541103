"""Records planted by hand in volumes made by lorq-make-volume: the carving options find those, as what they are and where
they stand, and no others."""
import csv
import os
import re
import struct
import subprocess

import pytest

from conftest import RUNNER
from journal import PAGE, record
from test_volumes import MAKER, MIB, boot_record, disk_around, pytestmark  # noqa: F401

ALL = ["-include_unalloc_clusters", "-include_vss_clusters", "-include_slack_space"]


class Planted:
    """The image `v` with a journal; `expected` holds (type, offset) of each planted record that must be found."""

    def __init__(self, lorq, cluster):
        self.cluster, self.expected, self.folder = cluster, {}, lorq.folder
        self.tool(*RUNNER, os.environ["LORQ_MAKER"], "--records", "4000", "--sparse-lead", "65536", "made")
        unit = max(cluster, PAGE)
        os.truncate(lorq.path("made"), (os.path.getsize(lorq.path("made")) // unit - 1) * unit + 120)
        runs = self.tool(MAKER, *f"--cluster {cluster} --fragments {300 if cluster == 512 else 3} --journal made v".split())
        self.image = os.open(lorq.path("v"), os.O_RDWR)
        _, lcn, length = map(int, runs.splitlines()[-1].split())
        self.plant("slack", (lcn + length - 1) * cluster + 120, "behind $J")

    def tool(self, *command):
        return subprocess.run(command, cwd=self.folder, check=True, capture_output=True).stdout.decode("latin-1")

    def plant(self, kind, at, *names, **fields):
        """A chain of records at byte `at`; `kind` None: none of them may be found."""
        for name in names:
            content = record(name=name, **fields)
            os.pwrite(self.image, content, at)
            if kind:
                self.expected[name] = (kind, at)
            at += len(content)
        return at

    def plant_behind(self, name, size):
        """In the slack of a new file."""
        self.folder.joinpath(name).write_bytes(b"d" * size)
        self.tool("ntfscp", "v", name, name)
        entry = self.tool("ifind", "-n", "/" + name, "v").strip()
        clusters = re.findall(r"\d+", self.tool("istat", "v", entry).split("$DATA")[-1].split("\n", 1)[1])
        assert bool(clusters) == (name != "resident")
        if clusters and size % self.cluster:
            at = int(clusters[-1]) * self.cluster
            self.plant("slack", at + (size % self.cluster + 7) // 8 * 8, f"behind {name} 1", f"behind {name} 2")
            self.plant(None, at + self.cluster - 72, "end")
        if name == "deleted":
            mft, = struct.unpack("<Q", os.pread(self.image, 8, 0x30))
            os.pwrite(self.image, b"\0", mft * self.cluster + int(entry) * 1024 + 0x16)

    def plant_in_free_clusters(self):
        cluster, bits = self.cluster, self.tool("ntfscat", "-i", "6", "v").encode("latin-1")
        free = [n for n in range(len(bits) * 8) if not bits[n // 8] >> n % 8 & 1][-999:]
        starts = iter([n * cluster for n in free if {n + 1, n + 2} <= set(free)][::3])
        mft = self.tool("ntfsinfo", "-v", "-i", "0", "v")
        bound = int(re.search(r"\$DATA.*?Allocated size:\s*(\d+)", mft, re.S)[1]) // 1024
        self.plant("unalloc", next(starts), "chain 1", "chain 2", "chain 3")
        self.plant(None, next(starts) + 96, "in the middle")
        self.plant(None, next(starts), "version 3", version=3)
        self.plant("unalloc", next(starts), "highest entry", file=(bound - 1, 1), parent=(bound - 1, 1))
        self.plant(None, next(starts), "entry at the bound", file=(bound, 1))
        self.plant(None, next(starts), "parent at the bound", parent=(bound, 1))
        at = begin = next(starts)
        while begin + cluster - at >= 104:
            at = self.plant("unalloc", at, f"one of many {at}")
        self.plant(None, at, "over the end of a cluster".ljust(50))
        if cluster > PAGE:
            begin = next(starts)
            self.plant("unalloc", begin + PAGE, "behind zeros")
            self.plant(None, begin + 2 * PAGE, "version 3", version=3)
            self.plant("unalloc", begin + 3 * PAGE, "behind damage")
            os.pwrite(self.image, b"\xFF" * 4, begin := next(starts))
            self.plant(None, begin + PAGE, "behind a length that does not fit")
        self.plant("unalloc", free[-1] * cluster, "in the last cluster")


def found(lorq, *arguments):
    done = lorq("-image", "v", "-a", "-csv", "-show_offset", *arguments)
    assert done.code == 0, done
    rows = list(csv.DictReader(done.out.splitlines()[3:]))
    assert sum(row["type"] == "$J" for row in rows) > 100
    carved = [row for row in rows if row["type"] != "$J"]
    by_name = {row["filename"]: (row["type"], int(row["offset"], 16)) for row in carved}
    assert len(by_name) == len(carved)
    return by_name, done.err


@pytest.mark.parametrize("cluster", [512, 4096, 65536])
def test_records_in_free_clusters_and_slack(lorq, cluster):
    on = Planted(lorq, cluster)
    sizes = {"resident": 100, "small": 1700, "large": 5 * cluster + 9, "full": 4 * cluster, "deleted": 2 * cluster + 41}
    for name, size in sizes.items():
        on.plant_behind(name, size)
    on.plant_in_free_clusters()
    by_name, said = found(lorq, *ALL)
    assert by_name == on.expected
    for text in "normal USNJRNL data", "unalloc clusters", "vss clusters", "slack space":
        assert said.count(f"analyzing: {text}...\n") == 1
    assert said.count("analyzing results - formatting output") == 2
    for option, kind in [(ALL[0], "unalloc"), (ALL[1], "no"), (ALL[2], "slack")]:
        assert found(lorq, option, "-quiet")[0] == {name: at for name, at in on.expected.items() if at[0] == kind}
    disk_around(lorq, [MIB], {0: boot_record((7, 2048, os.path.getsize(lorq.path("v")) // 512))})
    os.replace(lorq.path("disk"), lorq.path("v"))
    shifted = {name: (kind, at + MIB) for name, (kind, at) in on.expected.items()}
    assert found(lorq, *ALL, "-offset", "0x100000")[0] == shifted
