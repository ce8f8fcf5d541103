"""Change records as bytes, just enough of them to run the program on."""
import struct

CLOSE = 0x80000000
FIRST = 133_486_382_456_780_000  # 2024-01-02 03:04:05.678
PAGE = 4096


def record(name="a.txt", reason=CLOSE | 0x102, usn=0x1000):
    """Of entry 40, sequence number 3, in the root."""
    text = name.encode("utf-16-le", "surrogatepass")
    tail = struct.pack("<QQqQIIIIHH", 40 | 3 << 48, 5 | 5 << 48, usn, FIRST, reason, 0, 0x107, 0x20, len(text), 60) + text
    tail += bytes(-len(tail) % 8)
    return struct.pack("<IHH", 8 + len(tail), 2, 0) + tail


def page(*records):
    return b"".join(records).ljust(PAGE, b"\0")
