"""Change records as bytes, just enough of them to run the program on."""
import struct

CLOSE = 0x80000000
FIRST = 133_486_382_456_780_000  # 2024-01-02 03:04:05.678
PAGE = 4096
REASONS = dict(enumerate("DATA_OVERWRITE DATA_EXTEND DATA_TRUNCATION - NAMED_DATA_OVERWRITE NAMED_DATA_EXTEND NAMED_DATA_TRUNCATION"
                         " - FILE_CREATE FILE_DELETE EA_CHANGE SECURITY_CHANGE RENAME_OLD_NAME RENAME_NEW_NAME INDEXABLE_CHANGE"
                         " BASIC_INFO_CHANGE HARD_LINK_CHANGE COMPRESSION_CHANGE ENCRYPTION_CHANGE OBJECT_ID_CHANGE"
                         " REPARSE_POINT_CHANGE STREAM_CHANGE TRANSACTED_CHANGE INTEGRITY_CHANGE"
                         " DESIRED_STORAGE_CLASS_CHANGE - - - - - - CLOSE".split()))
ATTRIBUTES = dict(enumerate("READONLY HIDDEN SYSTEM - DIRECTORY ARCHIVE DEVICE NORMAL TEMPORARY SPARSE_FILE REPARSE_POINT COMPRESSED"
                            " OFFLINE NOT_CONTENT_INDEXED ENCRYPTED INTEGRITY_STREAM VIRTUAL NO_SCRUB_DATA RECALL_ON_OPEN PINNED"
                            " UNPINNED - RECALL_ON_DATA_ACCESS".split()))


def record(name="a.txt", reason=CLOSE | 0x102, usn=0x1000, filetime=FIRST, source=0, security=0x107, attributes=0x20,
           file=40 | 3 << 48, folder=5 | 5 << 48):
    """Of a file in the root."""
    text = name.encode("utf-16-le", "surrogatepass")
    tail = struct.pack("<QQqQIIIIHH", file, folder, usn, filetime, reason, source, security, attributes, len(text), 60)
    tail += text + bytes(-len(tail + text) % 8)
    return struct.pack("<IHH", 8 + len(tail), 2, 0) + tail


def decoded(content):
    """The records of a journal without damage, by the keys that -jsonl has for their fields; `ticks` is the FILETIME."""
    for begin in range(0, len(content), PAGE):
        at = begin
        while at < begin + PAGE and (length := struct.unpack_from("<I", content, at)[0]):
            version = struct.unpack_from("<H", content, at + 4)[0]
            wide = version > 2
            file, parent = ((content[at + 8:at + 24], content[at + 24:at + 40]) if wide else
                            (content[at + 8:at + 16], content[at + 16:at + 24]))
            rest = at + (40 if wide else 24)
            found = {"file_reference": reference(file), "parent_file_reference": reference(parent), "usn_version": version}
            if version == 4:
                usn, reason, source, _, count, _ = struct.unpack_from("<qIIIHH", content, rest)
                found["extents"] = [list(struct.unpack_from("<qq", content, at + 64 + 16 * i)) for i in range(count)]
            else:
                usn, filetime, reason, source, security, attributes, size = struct.unpack_from("<qQIIIIH", content, rest)
                found |= {"filename": content[rest + 36:rest + 36 + size], "ticks": filetime, "security_id": security, "file_attribute_flags": attributes,
                          "file_attributes": names("FILE_ATTRIBUTE_", ATTRIBUTES, attributes)}
            yield found | {"update_sequence_number": usn, "update_reason_flags": reason, "update_source_flags": source,
                           "update_reason": names("USN_REASON_", REASONS, reason)}
            at += length


def reference(field):
    low, high = struct.unpack("<QQ", field.ljust(16, b"\0"))
    return f"{high:016x}{low:016x}" if high else f"{low & 0xFFFFFFFFFFFF}-{low >> 48}"


def names(prefix, table, flags):
    bits = [bit for bit in range(32) if flags >> bit & 1]
    return [prefix + table[bit] if table.get(bit, "-") != "-" else f"0x{1 << bit:08X}" for bit in bits]


def page(*records):
    return b"".join(records).ljust(PAGE, b"\0")
