"""Change records as bytes, just enough of them to run the program on."""
import struct

CLOSE = 0x80000000
FIRST = 133_486_382_456_780_000  # 2024-01-02 03:04:05.678
PAGE = 4096


def record(name="a.txt", reason=CLOSE | 0x102, usn=0x1000, filetime=FIRST, source=0, security=0x107, attributes=0x20):
    """Of entry 40, sequence number 3, in the root."""
    text = name.encode("utf-16-le", "surrogatepass")
    tail = struct.pack("<QQqQIIIIHH", 40 | 3 << 48, 5 | 5 << 48, usn, filetime, reason, source, security, attributes, len(text), 60)
    tail += text + bytes(-len(tail + text) % 8)
    return struct.pack("<IHH", 8 + len(tail), 2, 0) + tail


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
