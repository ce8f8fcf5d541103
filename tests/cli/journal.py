"""Change records as bytes, just enough of them to run the program on."""
import datetime
import struct

CLOSE = 0x80000000
FIRST = datetime.datetime(2024, 1, 2, 3, 4, 5, 678000)
PAGE = 4096


def filetime(moment):
    since = moment - datetime.datetime(1601, 1, 1)
    return (since.days * 86400 + since.seconds) * 10_000_000 + since.microseconds * 10


def record(name="a.txt", reason=CLOSE | 0x102, usn=0x1000, moment=FIRST, file=(40, 3), parent=(5, 5), version=2):
    """One record; references are (entry, sequence)."""
    reference, folder = (entry | sequence << 48 for entry, sequence in (file, parent))
    text = name.encode("utf-16-le", "surrogatepass")
    references = struct.pack("<QQ", reference, folder) if version == 2 else struct.pack("<QQQQ", reference, 0, folder, 0)
    fixed = 60 if version == 2 else 76
    tail = references + struct.pack("<qQIIIIHH", usn, filetime(moment), reason, 0, 0x107, 0x20, len(text), fixed) + text
    tail += bytes(-len(tail) % 8)
    return struct.pack("<IHH", 8 + len(tail), version, 0) + tail


def changes(content):
    """(FILETIME, reason, entry, name) of each record of an undamaged journal of version 2."""
    for begin in range(0, len(content), PAGE):
        at = begin
        while at < begin + PAGE and (length := struct.unpack_from("<I", content, at)[0]):
            entry, filetime, reason, size = struct.unpack_from("<Q16xQI12xH", content, at + 8)
            yield filetime, reason, entry & 0xFFFFFFFFFFFF, content[at + 60:at + 60 + size].decode("utf-16-le")
            at += length


def page(*records):
    return b"".join(records).ljust(PAGE, b"\0")
