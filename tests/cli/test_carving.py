"""Records planted by hand in volumes made by lorq-make-volume: the carving options find those, as what they are and where
they stand, and no others."""
import collections
import csv
import os
import re
import struct
import subprocess

import pytest

from conftest import RUNNER
from journal import PAGE, record
from test_volumes import MAKER, MIB, boot_record, copy_into, pytestmark  # noqa: F401

ALL = ["-include_unalloc_clusters", "-include_vss_clusters", "-include_slack_space"]


class Planted:
    """The image `v` with files in it; `expected` holds (type, offset) of each planted record that must be found."""

    def __init__(self, lorq, cluster, options):
        self.cluster, self.expected = cluster, {}
        subprocess.run([*RUNNER, os.environ["LORQ_MAKER"], "--records", "4000", "--sparse-lead", "65536", "made"], cwd=lorq.folder, check=True)
        unit = max(cluster, PAGE)
        os.truncate(lorq.path("made"), (os.path.getsize(lorq.path("made")) // unit - 1) * unit + 120)
        done = subprocess.run([MAKER, *f"--cluster {cluster} --journal made v {options}".split()], cwd=lorq.folder, check=True,
                              stdout=subprocess.PIPE)
        self.journal_runs = [tuple(map(int, line.split())) for line in done.stdout.splitlines()]
        self.folder = lorq.folder
        self.image = open(lorq.path("v"), "r+b")

    def tool(self, *command):
        return subprocess.run(command, cwd=self.folder, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout

    def copy_in(self, name, size):
        """A file; the clusters of its data, none when it is resident."""
        self.folder.joinpath(name).write_bytes(b"d" * size)
        self.tool("ntfscp", "v", name, name)
        entry = self.tool("ifind", "-n", "/" + name, "v").decode().strip()
        shown = self.tool("istat", "v", entry).decode()
        return int(entry), [int(word) for word in re.findall(r"\d+", shown.split("$DATA")[-1].split("\n", 1)[1])]

    def plant(self, kind, at, *names, **fields):
        """A chain of records at byte `at`; `kind` None: none of them may be found."""
        for name in names:
            content = record(name=name, **fields)
            os.pwrite(self.image.fileno(), content, at)
            if kind:
                self.expected[name] = (kind, at)
            at += len(content)
        return at

    def free_clusters(self):
        bits = self.tool("ntfscat", "-i", "6", "v")
        return [n for n in range(len(bits) * 8) if not bits[n // 8] >> n % 8 & 1]

    def clear_in_use(self, entry):
        start, = struct.unpack("<Q", os.pread(self.image.fileno(), 8, 0x30))
        os.pwrite(self.image.fileno(), b"\0", start * self.cluster + entry * 1024 + 0x16)


def plant_free(on):
    cluster, free = on.cluster, on.free_clusters()[-999:]
    starts = iter([n * cluster for n in free if {n + 1, n + 2} <= set(free)][::3])
    bound = int(re.search(r"\$DATA.*?Allocated size:\s*(\d+)", on.tool("ntfsinfo", "-v", "-i", "0", "v").decode(), re.S)[1]) // 1024
    on.plant("unalloc", next(starts), "chain 1", "chain 2", "chain 3")
    on.plant(None, next(starts) + 96, "in the middle")
    on.plant(None, next(starts), "version 3", version=3)
    on.plant("unalloc", next(starts), "highest entry", file=(bound - 1, 1), parent=(bound - 1, 1))
    on.plant(None, next(starts), "entry at the bound", file=(bound, 1))
    on.plant(None, next(starts), "parent at the bound", parent=(bound, 1))
    at = begin = next(starts)
    while begin + cluster - at >= 104:
        at = on.plant("unalloc", at, f"one of many {at}")
    if at < begin + cluster:
        on.plant(None, at, "over the end of a cluster".ljust(50))
    if cluster > PAGE:
        begin = next(starts)
        on.plant("unalloc", begin + PAGE, "behind zeros")
        on.plant(None, begin + 2 * PAGE, "version 3", version=3)
        on.plant("unalloc", begin + 3 * PAGE, "behind damage")
        begin = next(starts)
        os.pwrite(on.image.fileno(), b"\xFF" * 4, begin)
        on.plant(None, begin + PAGE, "behind a length that does not fit")
    last = free[-1]
    on.plant("unalloc", last * cluster, "in the last cluster")


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
    on = Planted(lorq, cluster, "--fragments 300" if cluster == 512 else "--fragments 3")
    sizes = {"resident": 100, "small": 1700, "large": 5 * cluster + 9, "full": 4 * cluster, "deleted": 2 * cluster + 41}
    for name, size in sizes.items():
        entry, clusters = on.copy_in(name, size)
        assert bool(clusters) == (name != "resident")
        at = clusters[-1] * cluster + (size % cluster + 7) // 8 * 8 if clusters else 0
        if name in ("large", "deleted", "small") and size % cluster:
            on.plant("slack", at, f"behind {name} 1", f"behind {name} 2")
            on.plant(None, at - at % cluster + cluster - 72, "end")
        if name == "deleted":
            on.clear_in_use(entry)
    vcn, lcn, length = on.journal_runs[-1]
    on.plant("slack", (lcn + length - 1) * cluster + 120, "behind $J")
    plant_free(on)
    assert len(on.expected) > 10

    by_name, said = found(lorq, *ALL)
    assert by_name == on.expected
    for text in "normal USNJRNL data", "unalloc clusters", "vss clusters", "slack space":
        assert said.count(f"analyzing: {text}...\n") == 1
    assert said.count("analyzing results - formatting output") == 2
    for option, kind in [(ALL[0], "unalloc"), (ALL[1], "no"), (ALL[2], "slack")]:
        assert found(lorq, option, "-quiet")[0] == {name: at for name, at in on.expected.items() if at[0] == kind}
    names = re.compile("|".join(map(re.escape, sorted(on.expected, reverse=True))))
    for layout in [], ["-xml"], ["-bodyfile"], ["-csvl2t"]:
        lines = lorq.table("-image", "v", "-a", *ALL, "-show_dir_path", "-pulltimes", *layout)
        shown = collections.Counter(name for line in lines for name in set(names.findall(line)))
        assert shown == collections.Counter(on.expected.keys()), layout

    with open(lorq.path("disk"), "wb") as disk:
        copy_into(disk, MIB, lorq.path("v"))
        os.pwrite(disk.fileno(), boot_record((7, 2048, os.path.getsize(lorq.path("v")) // 512)), 0)
    os.replace(lorq.path("disk"), lorq.path("v"))
    shifted = {name: (kind, at + MIB) for name, (kind, at) in on.expected.items()}
    assert found(lorq, *ALL, "-offset", "0x100000")[0] == shifted
