"""An image in a container gives what the raw image gives; what cannot be read of one is told, and nothing is made up."""
import os
import shutil
import zlib

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
    **{f"E01 {level}": ("libewf", f"ewfacquire -u -t c -c deflate:{level} -S 2097152 v.raw", "c.E01")
       for level in ("none", "fast", "best")},
    **{name: (library, f"qemu-img convert {options} v.raw c", "c") for name, library, options in [
        ("VMDK", "libvmdk", "-O vmdk"), ("stream", "libvmdk", "-O vmdk -o subformat=streamOptimized"),
        ("split", "libvmdk", "-O vmdk -o subformat=twoGbMaxExtentSparse"), ("VHDX", "libvhdi", "-O vhdx"),
        ("VHD", "libvhdi", "-O vpc"), ("VHD forced", "libvhdi", "-O vpc -o force_size=on"),
        ("QCOW2", "libqcow", "-O qcow2"), ("QCOW2 packed", "libqcow", "-c -O qcow2")]}}
EVERYTHING = ["-quiet", "-a", "-csv", "-show_offset", "-show_dir_path", "-include_unalloc_clusters", "-include_slack_space"]
RECORDS = ["-quiet", "-a", "-csv"]  # without what depends on other places than their own


@pytest.fixture(name="made")
def made_container(lorq):
    """Makes a container of the volume `v` behind `lead` bytes; its name."""
    def make(kind, lead=0):
        library, command, name = MADE[kind]
        if library not in READ:
            pytest.skip(f"this build is without {library}")
        if shutil.which(command.split()[0]) is None:
            pytest.skip(f"{command.split()[0]} is not installed")
        if not os.path.exists(VOLUME_MAKER):
            pytest.skip("no volume can be made")
        lorq.make_volume("--size 8M --fragments 5", records=3000)
        lorq.write("v.raw", bytes(lead) + lorq.path("v").read_bytes())
        lorq.tool(*command.split())
        return name
    return make


def rows(done):
    return done.out.splitlines()[3:]


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
    lead = 0x10200  # no multiple of anything
    name = made(kind, lead)
    for options in EVERYTHING, ["-quiet", "-rebuild_mft", "-csv"]:
        raw, read = (lorq("-image", image, "-offset", str(lead), *options) for image in ("v.raw", name))
        assert (read.code, rows(read), said(read)) == (0, rows(raw), said(raw))
        assert len(rows(raw)) > 1000
    raw, read = (lorq("-image", image, "-offset", "x7fffffff") for image in ("v.raw", name))
    assert (read.code, said(read)) == (raw.code, said(raw))


@pytest.mark.parametrize("kind", ["E01 none", "E01 best", "stream", "VHDX", "VHD", "QCOW2", "QCOW2 packed"])
def test_damage_is_told_and_nothing_is_made_up(lorq, made, kind):
    name = made(kind)
    good = set(rows(lorq("-image", "v.raw", *RECORDS)))
    content = lorq.path(name).read_bytes()
    for cut in range(1, 8):
        lorq.write(name, content[:len(content) * cut // 8])
        done = lorq("-image", name, *RECORDS)
        assert done.code in (0, FAILED) and set(rows(done)) <= good
        assert set(rows(done)) == good or "prob " in done.err, cut
    for n in range(16):  # checksums tell only of compressed bytes, and of all in an E01
        at = zlib.crc32(bytes([n])) % len(content)
        lorq.write(name, content[:at] + bytes([content[at] ^ 0x10]) + content[at + 1:])
        done = lorq("-image", name, *RECORDS)
        assert done.code in (0, FAILED)
        if kind.startswith("E01"):
            assert set(rows(done)) <= good
            assert set(rows(done)) == good or "prob " in done.err, at


def test_a_missing_segment_ends_the_medium_and_is_named(lorq, made):
    options = ["-offset", "0xa0000", *RECORDS]  # so that the journal lies across the end of the first segment
    name = made("E01 none", 0xA0000)
    raw = rows(lorq("-image", "v.raw", *options))
    lorq.path("c.E02").rename(lorq.path("c.e02"))  # the other case is found
    assert rows(lorq("-image", name, *options)) == raw
    lorq.path("c.e02").unlink()
    done = lorq("-image", name, *options)
    assert "prob c.E01 is E01 that cannot be read whole: c.E02 is missing, what it would hold and all behind is lost\n" in said(done)
    assert set(rows(done)) < set(raw)
    for segment in "c.E01", "c.E04":  # also behind the one that is missing
        before = lorq.path(segment).read_bytes()
        done = lorq("-image", name, "-out", segment)
        assert done.code == FAILED and lorq.path(segment).read_bytes() == before


def test_other_files_of_an_image_lie_beside_it(lorq, made):
    name = made("split")
    text = lorq.path(name).read_text()
    extent = "c-s001.vmdk" if "c-s001.vmdk" in text else "c-s001"
    assert lorq("-image", name, "-out", extent).code == FAILED
    os.mkdir(lorq.path("sub"))
    shutil.copy(lorq.path(name), lorq.path("sub/c"))
    done = lorq("-image", "sub/c")
    assert done.code == FAILED and "prob sub/c is VMDK that cannot be read: sub/" + extent + " is missing\n" in done.err
    lorq.path("sub/c").write_text(text.replace(f'"{extent}', f'"../{extent}'))
    done = lorq("-image", "sub/c")
    assert done.code == FAILED and f"its extent ../{extent} does not lie beside it\n" in done.err


@pytest.mark.parametrize("kind", ["QCOW2", "VMDK"])
def test_an_image_over_another_reads_through_it(lorq, made, kind):
    name = made(kind)
    form = {"QCOW2": "qcow2", "VMDK": "vmdk"}[kind]
    lorq.tool(*f"qemu-img create -f {form} -b {name} -F {form} child".split())
    raw, read = (lorq("-image", image, *EVERYTHING) for image in ("v.raw", "child"))
    assert (read.code, rows(read)) == (0, rows(raw))
    assert lorq("-image", "child", "-out", name).code == FAILED
    lorq.path(name).rename(lorq.path("away"))
    assert lorq("-image", "child").code == FAILED
