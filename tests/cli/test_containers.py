"""An image in a container gives what the raw image gives; what cannot be read of one is told, and nothing is made up."""
import json
import os
import random
import shutil
import struct
import subprocess
import uuid

import pytest

from conftest import FAILED, VOLUME_MAKER
from test_failures import said

READ = os.environ["LORQ_CONTAINERS"].split()
TOOL = {"libewf": "ewfmount {0} /mnt/e01, then -image /mnt/e01/ewf1"}
BY_QEMU = "qemu-img convert -O raw {0} raw.dd, then -image raw.dd"
STUBS = {"E01": (b"EVF\x09\x0d\x0a\xff\0", "libewf"), "VMDK": (b"KDMV", "libvmdk"), "VHD": (b"conectix", "libvhdi"),
         "VHDX": (b"vhdxfile", "libvhdi"), "QCOW2": (b"QFI\xfb", "libqcow"), "text": (b"# Disk DescriptorFile\n", "libvmdk"),
         "Ex01": (b"EVF2\x0d\x0a\x81\0", ""), "L01": (b"LVF\x09\x0d\x0a\xff\0", ""),
         "AFF4": (b"PK\3\4" + bytes(26) + b"container.description", "")}
MADE = {
    **{f"E01 {level}": ("libewf", f"ewfacquire -u -t böx -c deflate:{level} -S 2097152 v.raw", "böx.E01")
       for level in ("none", "fast", "best")},
    **{name: (library, f"qemu-img convert {options} v.raw böx", "böx") for name, library, options in [
        ("VMDK", "libvmdk", "-O vmdk"), ("stream", "libvmdk", "-O vmdk -o subformat=streamOptimized"),
        ("split", "libvmdk", "-O vmdk -o subformat=twoGbMaxExtentSparse"), ("VHDX", "libvhdi", "-O vhdx"),
        ("VHD", "libvhdi", "-O vpc"), ("VHD forced", "libvhdi", "-O vpc -o force_size=on"),
        ("QCOW2", "libqcow", "-O qcow2"), ("QCOW2 packed", "libqcow", "-c -O qcow2")]}}
LEAD = 0x10200  # no multiple of anything
PASSES = ["-include_unalloc_clusters", "-include_slack_space", "-include_vss_clusters"]
RECORDS = ["-quiet", "-a", "-csv"]  # without what depends on other places than their own
RUNS = [[*RECORDS, "-show_offset", "-show_dir_path", *PASSES], [*RECORDS, "-rebuild_mft"], ["-a", "-complete", "-path_history", *PASSES],
        *([style, *PASSES] for style in ("-xml", "-multiline", "-csvl2t", "-bodyfile", "-jsonl"))]
FLIPS = int(os.environ.get("LORQ_DAMAGE", "4"))  # of each kind; in the long series some hundred
CUTS = 20 if FLIPS > 24 else 6


@pytest.fixture(name="forgetful")
def libraries_that_forget(monkeypatch):
    """Of a damaged image they do not give all memory back. Nothing else is overlooked by the sanitizers."""
    monkeypatch.setenv("ASAN_OPTIONS", "detect_leaks=0")


@pytest.fixture(name="made")
def made_container(lorq):
    """Makes a container of the volume `v` behind `lead` bytes, as the one partition there; its name."""
    def make(kind, lead=0):
        library, command, name = MADE[kind]
        if library not in READ:
            pytest.skip(f"this build is without {library}")
        if shutil.which(command.split()[0]) is None:
            pytest.skip(f"{command.split()[0]} is not installed")
        if not os.path.exists(VOLUME_MAKER):
            pytest.skip("no volume can be made")
        lorq.make_volume("--size 8M --fragments 5", records=3000)
        volume = lorq.path("v").read_bytes()
        table = bytes(446) + struct.pack("<B3xB3xII48x", 0, 7, lead // 512, len(volume) // 512) + b"\x55\xaa"
        lorq.write("v.raw", table.ljust(lead, b"\0") + volume if lead else volume)
        lorq.tool(*command.split())
        return name
    return make


def rows(done):
    return done.out.splitlines()[3:]


def alike(done, name):
    """All that a run wrote, but for its time and the name of its image."""
    lines = (done.out + done.err).replace(name, "v.raw").splitlines()
    return [done.code, *(line for line in lines if "run time: " not in line)]


def child_of(lorq, kind, parent):
    """Makes an image `child` that keeps nothing itself."""
    whole = lorq.path(MADE[kind][2]).read_bytes()
    if kind == "VHD":
        footer, head = bytearray(whole[:512]), bytearray(whole[512:1536])
        head[40:56], head[64:576] = footer[68:84], parent.encode("utf-16-be").ljust(512, b"\0")
        footer[60:64], footer[68:84] = struct.pack(">I", 4), bytes(range(16))
        for part, at in (footer, 64), (head, 36):
            part[at:at + 4] = bytes(4)
            part[at:at + 4] = struct.pack(">I", ~sum(part) & 0xFFFFFFFF)
        lorq.write("child", footer + head + b"\xff" * 512 + footer)
    elif kind == "VHDX":
        copy = bytearray(whole)
        meta = copy.index(b"metadata", 1 << 20)
        table, size = next(region for at in (0x30010, 0x30030) if (region := struct.unpack_from("<QI", copy, at + 16))[0] != meta)
        copy[table:table + size] = bytes(size)
        newest = max((0x10000, 0x20000), key=lambda at: struct.unpack_from("<Q", copy, at + 8))
        keys = [("parent_linkage", "{" + str(uuid.UUID(bytes_le=bytes(copy[newest + 32:newest + 48]))) + "}"),
                ("absolute_win32_path", "C:\\gone\\" + parent), ("relative_path", ".\\" + parent)]
        places, texts = b"", b""
        for pair in keys:
            key, value = (text.encode("utf-16-le") for text in pair)
            at = 20 + 12 * len(keys) + len(texts)
            places += struct.pack("<IIHH", at, at + len(key), len(key), len(value))
            texts += key + value
        item = uuid.UUID("b04aefb7-d19e-4a81-b789-25b8e9445913").bytes_le + struct.pack("<HH", 0, len(keys)) + places + texts
        count = struct.unpack_from("<H", copy, meta + 10)[0]
        copy[meta + 10] = count + 1
        struct.pack_into("<16sIIII", copy, meta + 32 + 32 * count, uuid.UUID("a8d35f2d-b30b-454d-abf7-d3d84834ab0c").bytes_le,
                         0x18000, len(item), 4, 0)
        copy[meta + 0x18000:meta + 0x18000 + len(item)] = item
        parameters = copy.index(uuid.UUID("caa16737-fa36-4d43-b3b6-33f0aa44e76b").bytes_le, meta)
        copy[meta + struct.unpack_from("<I", copy, parameters + 16)[0] + 4] |= 2
        lorq.write("child", copy)
    else:
        form = "qcow2" if "QCOW2" in kind else "vmdk"
        lorq.tool(*f"qemu-img create -f {form} -b {parent} -F {form} child".split())


@pytest.mark.parametrize("name", STUBS)
def test_what_is_not_read_is_refused_by_its_name(lorq, name):
    content, library = STUBS[name]
    lorq.write(name, content.ljust(3 * 4096, b"\0"))
    done = lorq("-image", name, "-offset", "512")
    kind = {"text": "VMDK"}.get(name, name)
    tool = TOOL.get(library, BY_QEMU).format(name)
    told = (f"prob {name} is {kind}, which is not read\n" if not library else f"prob {name} is {kind} that cannot be read: "
            if library in READ else f"prob {name} is {kind}, which this build does not read; to read it: {tool}\n")
    assert done.code == FAILED and said(done).startswith(told)


@pytest.mark.parametrize("kind", MADE)
def test_a_container_gives_what_the_raw_image_gives(lorq, made, kind):
    name = made(kind, LEAD)
    for options in [], *([*run, "-offset", str(LEAD)] for run in RUNS), ["-offset", "x7fffffff"]:
        raw, read = (lorq("-image", image, "-quiet", *options) for image in ("v.raw", name))
        assert alike(read, name) == alike(raw, "v.raw")
        assert len(raw.out.splitlines()) > 1000 or raw.code == FAILED
    name = made(kind)
    raw, read = (lorq("-image", image, *RECORDS) for image in ("v.raw", name))
    assert alike(read, name) == alike(raw, "v.raw")


def kept_as_it_is(lorq, kind, name, file):
    """Where the file keeps bytes of the disk that nothing checks: ranges of the file and the place of the first on the disk."""
    raw = lorq.path("v.raw").read_bytes()
    if kind == "VHDX":  # of which qemu-img tells nothing; one block is all that it has
        begin = lorq.path(file).read_bytes().index(raw[:4096])
        return [(begin, begin + len(raw), 0)]
    if kind.startswith("E01"):
        return []
    kept = json.loads(lorq.tool("qemu-img", "map", "--output=json", name))
    return [(one["offset"], one["offset"] + one["length"], one["start"]) for one in kept if one["data"] and "offset" in one]


@pytest.mark.usefixtures("forgetful")
@pytest.mark.parametrize("kind", [kind for kind in MADE if kind != "VHD forced"])
def test_damage_is_told_and_nothing_is_made_up(lorq, made, kind):
    """A flipped byte of the disk that no checksum covers is one of the disk: the raw image with the same damage gives the
    same. Of all else nothing is made up and what is lost is told."""
    name = made(kind)
    file = "böx-s001" if kind == "split" else name
    good = rows(lorq("-image", "v.raw", *RECORDS))
    content, raw = lorq.path(file).read_bytes(), lorq.path("v.raw").read_bytes()
    kept = kept_as_it_is(lorq, kind, name, file)
    for cut in range(1, CUTS):
        lorq.write(file, content[:len(content) * cut // CUTS])
        done = lorq("-image", name, *RECORDS)
        assert done.code in (0, FAILED) and set(rows(done)) <= set(good)
        assert rows(done) == good or "prob " in done.err, cut
    if FLIPS > 24:
        lorq.command = ["prlimit", f"--as={512 << 20}", *lorq.command]
    chance = random.Random(kind)
    # Half of the places lie where tables and headers do. Without its signature an image is a raw one.
    places = [at for at in range(8, len(content)) if content[at] and not any(begin <= at < end for begin, end, _ in kept)]
    for n in range(FLIPS):
        at, bits = chance.choice(places) if n % 2 else chance.randrange(8, len(content)), chance.choice((1, 16, 128, 255))
        lorq.write(file, content[:at] + bytes([content[at] ^ bits]) + content[at + 1:])
        done = lorq("-image", name, *RECORDS)
        assert done.code in (0, FAILED)
        on_disk = [start + at - begin for begin, end, start in kept if begin <= at < end and start + at - begin < len(raw)]
        if on_disk:
            lorq.write("d.raw", raw[:on_disk[0]] + bytes([raw[on_disk[0]] ^ bits]) + raw[on_disk[0] + 1:])
            assert rows(done) == rows(lorq("-image", "d.raw", *RECORDS)), (at, bits)
            continue
        all_of_it = good
        if kind == "QCOW2 packed" and subprocess.run(["qemu-img", "convert", "-O", "raw", name, "d.raw"], cwd=lorq.folder,
                                                     stderr=subprocess.DEVNULL, check=False).returncode == 0:
            # Nothing tells that a cluster which still inflates became another.
            all_of_it = rows(lorq("-image", "d.raw", *RECORDS))
        assert set(rows(done)) <= set(all_of_it), (at, bits)
        assert rows(done) == all_of_it or "prob " in done.err, (at, bits)


def test_a_missing_segment_ends_the_medium_and_is_named(lorq, made):
    options = ["-offset", "0xa0000", *RECORDS]  # so that the journal lies across the end of the first segment
    name = made("E01 none", 0xA0000)
    raw = rows(lorq("-image", "v.raw", *options))
    lorq.path("böx.E02").rename(lorq.path("böx.e02"))  # the other case is found
    assert rows(lorq("-image", name, *options)) == raw
    lorq.path("böx.e02").unlink()
    done = lorq("-image", name, *options)
    assert "prob böx.E01 is E01 that cannot be read whole: böx.E02 is missing, what it would hold and all behind is lost\n" in said(done)
    assert set(rows(done)) < set(raw)
    for segment in "böx.E01", "böx.E04":  # also behind the one that is missing
        before = lorq.path(segment).read_bytes()
        done = lorq("-image", name, "-out", segment)
        assert done.code == FAILED and lorq.path(segment).read_bytes() == before


def test_other_files_of_an_image_lie_beside_it(lorq, made):
    name = made("split")
    text = lorq.path(name).read_text()
    extent = "böx-s001"
    assert lorq("-image", name, "-out", extent).code == FAILED
    os.mkdir(lorq.path("sub"))
    shutil.copy(lorq.path(name), lorq.path("sub/box"))
    done = lorq("-image", "sub/box")
    assert done.code == FAILED and "prob sub/box is VMDK that cannot be read: sub/" + extent + " is missing\n" in said(done)
    lorq.path("sub/box").write_text(text.replace(f'"{extent}', f'"../{extent}'))
    done = lorq("-image", "sub/box")
    assert done.code == FAILED and f"its extent ../{extent} does not lie beside it\n" in said(done)


@pytest.mark.usefixtures("forgetful")
@pytest.mark.parametrize("kind", ["QCOW2", "QCOW2 packed", "VMDK", "stream", "VHD", "VHDX"])
def test_an_image_over_another_reads_through_it(lorq, made, kind):
    """And gives the same although no holes are known of it."""
    name = made(kind)
    child_of(lorq, kind, name)
    for options in RUNS[:2]:
        raw, read = (lorq("-image", image, *options) for image in ("v.raw", "child"))
        assert alike(read, "child") == alike(raw, "v.raw")
    assert lorq("-image", "child", "-out", name).code == FAILED
    whole = lorq.path(name).read_bytes()
    lorq.write(name, whole[:len(whole) * 3 // 4])
    done = lorq("-image", "child", *RECORDS)
    assert "prob child is " in done.err and (rows(done) == rows(raw)) <= (done.code == 0)
    lorq.path(name).rename(lorq.path("away"))
    assert lorq("-image", "child").code == FAILED
    lorq.path("away").rename(lorq.path(name))
    child_of(lorq, kind, f"../{lorq.folder.name}/{name}")
    done = lorq("-image", "child", *RECORDS)
    assert done.code == FAILED and "does not lie beside it\n" in done.err
