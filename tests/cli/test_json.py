"""JSON Lines as their readers take them."""
import datetime
import json
import pathlib
import re
import struct

import pytest

from conftest import FAILED, WINDOWS
from journal import FIRST, decoded, page, record

ODD_NAMES = ["\"quoted\\\"", "".join(map(chr, range(32))), "\x7f\x85\u2028\u2029\ufeff\ufffe\uffff", "\ud800x\udc41\udc00\ud800.\udfff",
             "\U0001F600\U0010FFFF.\U00010400", "\0", ".", "..", "", ".X", "a.B\u00c9\"", "2024-01-02", "null", "n" * 255, "\u4e2d" * 253 + ".x"]
PROJECT = pathlib.Path(__file__).parents[2]
DUCKDB = PROJECT / "examples/fleet"


def told(line):
    """What `decoded` gives of a record, from its line."""
    keys = ["file_reference", "parent_file_reference", "usn_version", "extents", "security_id", "file_attribute_flags",
            "file_attributes", "update_sequence_number", "update_reason_flags", "update_source_flags", "update_reason"]
    found = {key: line[key] for key in keys if key in line}
    if line["usn_version"] == 4:
        assert (line["message"], line["timestamp"], line["time_missing"]) == ("range change", 0, True)
        return found
    units = bytes.fromhex(line["filename_utf16"]) if "filename_utf16" in line else line["filename"].encode("utf-16-be")
    day = datetime.date.fromisoformat(line["datetime"][:10]) - datetime.date(1601, 1, 1)
    hours, minutes, seconds, fraction = map(int, re.fullmatch(r"T(..):(..):(..)\.(.{7})\+00:00", line["datetime"][10:]).groups())
    ticks = (((day.days * 24 + hours) * 60 + minutes) * 60 + seconds) * 10_000_000 + fraction
    assert line["timestamp"] == (ticks - 116_444_736_000_000_000) // 10
    return found | {"filename": struct.pack(f"<{len(units) // 2}H", *struct.unpack(f">{len(units) // 2}H", units)), "ticks": ticks}


@pytest.mark.parametrize("made", ["odd", "2:5,3,4"])
def test_every_line_gives_back_its_record(lorq, made):
    if made == "odd":
        records = [record(name, usn=at) for at, name in enumerate(ODD_NAMES)]
        records += [record(usn=-1 - at, reason=1 << at, source=at, security=~at & 0xFFFFFFFF, attributes=1 << at, filetime=filetime)
                    for at, filetime in enumerate([1, FIRST, 116_444_735_999_999_999, 2_650_467_743_999_999_999] * 8)]
        lorq.write("odd", b"".join(map(page, records)))
    else:
        made = lorq.make("--records", "5000", "--versions", made)
    arguments = ["-file", made, "-jsonl", "-a", "-complete", "-show_offset"]
    assert lorq(*arguments, "-out", "x.jsonl", "-base10", "-csv_separator", ";", "-no_whitespace", "-dateformat", "mm/dd/yyyy").code == 0
    content = lorq.path("x.jsonl").read_bytes()
    assert b"\r" not in content and content.endswith(b"}\n")
    assert lorq.tool(*lorq.command, *arguments) == content
    lines = [json.loads(line) for line in content.splitlines()]
    rounded = [json.loads(line, parse_int=float) for line in content.splitlines()]  # as numbers are to jq
    assert [json.loads(line, parse_int=float) for line in lorq.tool("jq", "-c", ".", "x.jsonl").splitlines()] == rounded
    order = lambda one: repr(sorted(one.items(), key=lambda item: item[0]))
    assert sorted(map(told, lines), key=order) == sorted(decoded(lorq.path(made).read_bytes().lstrip(b"\0")), key=order)


def test_runs_that_fail_write_no_line(lorq):
    lorq.write("zero", bytes(4096))
    for arguments in ["-file", "zero"], ["-file", "missing"], ["-sqlite", "x"], []:
        assert lorq("-jsonl", *arguments)[:2] == (FAILED, ""), arguments
    source = "\u00e9" if WINDOWS else "\udcff\""
    lorq.write(source, lorq.path("j").read_bytes())
    assert json.loads(lorq("-jsonl", "-file", source).out)["source"] == source.replace("\udcff", "\ufffd")


@pytest.mark.parametrize("layout", ["-csv", "-multiline", "-csvl2t", "-bodyfile", "-xml", "-jsonl"])
def test_only_what_was_asked_for_is_written(lorq, layout):
    lorq.write("some", page(*(record(name, usn=8 + at, filetime=FIRST + at) for at, name in enumerate("abcd"))))
    chosen = lorq("-file", "some", layout, "-from", "2024-01-02T03:04:05.6780001", "-to", "2024-01-02T03:04:05.6780003", "-find", "[",
                  "-find", "?")
    lorq.write("less", page(*(record(name, usn=9 + at, filetime=FIRST + 1 + at) for at, name in enumerate("bc"))))
    less = lorq("-file", "less", layout)
    body = lambda done: re.sub(r"(?s)^lorq.*?cmdline[^\n]*\n|^<\?xml.*?<logdata[^>]*>|some|less", "", done.out)
    assert (chosen.code, body(chosen)) == (0, body(less))


@pytest.mark.parametrize("arguments, said", [
    (["-from", "yesterday"], "prob -from yesterday is no time, give one like 2022-03-10 or"),
    (["-find", "\\Users\\*"], "-show_dir_path"), (["-find", ""], "*.docx")])
def test_a_choice_that_cannot_be_read_ends_the_run_before_it_touches_anything(lorq, arguments, said):
    lorq.write("old", b"old")
    done = lorq("-jsonl", "-file", "j", "-diags", "log", "-out", "old", *arguments)
    assert (done.code, done.out, lorq.path("old").read_bytes()) == (FAILED, "", b"old") and said in done.err
    assert not lorq.path("log").exists()


def test_unique_tells_what_it_left_out(lorq):
    lorq.write("twice", page(record(), record(), record(usn=9)))
    done = lorq("-file", "twice", "-jsonl", "-unique")
    assert [json.loads(line).get("also_in") for line in done.out.splitlines()] == [["journal"], None]
    assert done.code == 0 and "records found again and left out: 1\n" in done.err


@pytest.mark.skipif(not (DUCKDB / "node_modules").exists(), reason="needs npm install --no-package-lock --prefix examples/fleet")
def test_duckdb_reads_what_the_readme_says(lorq):
    """With names that look like dates as far as it guesses types, and a key that first comes behind that."""
    names = ["2024-01-02"] * 24_999 + ["\ud800\"\\", "b.txt"]
    pages = [names[at:at + 40] for at in range(0, len(names), 40)]
    lorq.write("J.bin", b"".join(page(*(record(name, usn=1 + place * 40 + at, filetime=FIRST + place * 40 + at)
                                        for at, name in enumerate(some))) for place, some in enumerate(pages)))
    statements = re.search(r"<<'END'\n(.*?)\n    END", (PROJECT / "README.md").read_text(), re.DOTALL)[1].split(";\n")
    assert lorq("-file", "J.bin", "-a", "-jsonl", "-out", "J.jsonl").code == 0
    asked = ["SELECT filename, filename_utf16, datetime, typeof(datetime), file_reference, update_reason, timestamp"
             " FROM journal ORDER BY update_sequence_number DESC LIMIT 2", "SELECT count(*), count(filename_utf16) FROM journal"]
    answers = list(map(json.loads, lorq.tool("node", DUCKDB / "ask.js", "--json", *statements, *asked).splitlines()))
    reasons = ["USN_REASON_DATA_EXTEND", "USN_REASON_FILE_CREATE", "USN_REASON_CLOSE"]
    assert answers[-2:] == [
        [["b.txt", None, "2024-01-02 03:04:05.6805+00", "TIMESTAMP WITH TIME ZONE", "40-3", reasons, "1704164645680500"],
         ["\ufffd\"\\", "d8000022005c", "2024-01-02 03:04:05.680499+00", "TIMESTAMP WITH TIME ZONE", "40-3", reasons,
          "1704164645680499"]], [["25001", "1"]]]
