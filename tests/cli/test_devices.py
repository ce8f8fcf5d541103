"""Live volumes and shadow copies: by their Windows names on Linux, through a device folder; the system's calls on Windows."""
import os
import re

import pytest

from conftest import FAILED, WINDOWS, as_root, linux_only


@linux_only
@as_root
def test_a_volume_is_read_under_each_of_its_names(lorq):
    folder = os.environ["LORQ_DEVICE_FOLDER"]
    if folder == "/dev":
        pytest.skip("devices are made in a folder for that; the presets have one")
    os.makedirs(folder, exist_ok=True)
    lorq.make_volume(records=500)
    nodes = [os.path.join(folder, name) for name in ("w:", "HarddiskVolumeShadowCopy96")]
    for node in nodes:
        os.symlink(lorq.path("v"), node)
    try:
        expected = lorq.table("-file", "made", "-a")
        for source in (["-partition", "w"], ["-partition", "w:\\"], ["-partition", "\\\\.\\w:"], ["-vss", "96"],
                       ["-file", "w:\\$extend\\$USNjrnl:$j"], ["-partition", "./v"]):
            assert lorq.table(*source, "-a") == expected, source
        done = lorq("-vss", "96", "-a", "-show_dir_path")
        assert done.err.startswith("analyzing: normal USNJRNL data...\n")
        with lorq.loop_device() as node:
            assert lorq.table("-partition", node, "-a") == expected
    finally:
        for node in nodes:
            os.remove(node)


@pytest.mark.skipif(not WINDOWS, reason="calls of that system")
def test_how_a_drive_letter_is_opened_and_asked(lorq):
    opened = r'CreateFileW L"\\\\\\\\\.\\\\c:" GENERIC_READ FILE_SHARE_READ FILE_SHARE_WRITE +creation 3 attributes 0x80\n(?s:(.*))'
    for _ in range(3):  # on a busy machine Wine's trace was seen without its calls
        done = lorq("-partition", "c", env={**os.environ, "WINEDEBUG": "+file,+ntdll"})
        assert done.code == FAILED
        assert "prob validating volume c as a NTFS partition, aborting...\n" in done.err
        after = re.search(opened, done.err)
        asked = after and re.findall(r"NtDeviceIoControlFile .*?,0x000(7\w{4}),", after[1])
        if asked:
            break
    assert asked == ["700a0", "74004", "70048"]  # geometry, partition, and partition in its other form, which Wine lacks
