"""-complete as a user sees it: the account, texts that cannot forge a row, the line that speaks of it without it."""
import json
import os
import re
import xml.etree.ElementTree

import pytest

from conftest import FAILED, linux_only
from journal import CLOSE, PAGE, decoded, page, record
from test_failures import said

# Line feed, carriage return, escape, separators of every layout, direction, surrogates, and what looks like their marks.
HOSTILE = ["a\nb", "a\rb", "a\r\nb", "\x1b[2J", "a,b|c;d\te", "\u202egnp.exe", "\u2028", "\x9b31m", "\ud800", "[LF]", "[U+000A]", "n" * 255]
CONTROLS = re.compile("[\0-\x08\x0b-\x1f\x7f-\x9f\u2028-\u202e\u2066-\u2069]")


def hostile_journal(lorq):
    """Of these names all but the last are closed; one more has no time, and bytes stand behind it."""
    records = [record(name, CLOSE | 0x102, usn) for usn, name in enumerate(HOSTILE)]
    records[-1] = record(HOSTILE[-1], 0x100, 0)
    lorq.write("j", page(*records, record(filetime=0), b"junk"))
    return len(HOSTILE)


def test_every_record_is_a_row_and_every_row_a_record(lorq):
    """Also where the program's own words hold the separator."""
    names = hostile_journal(lorq)
    rest = "1 not sound; 4 bytes were no records"
    separated = [f"-no_whitespace -csv_separator {separator}" for separator in (";", ":", "-", "::", "tab")]
    for layout in "-csv", "-csvgen", "-csvl2t", "-bodyfile", "-xml", "-multiline", "", *separated:
        done = lorq("-file", "j", "-complete", "-quiet", *layout.split())
        closed_only = layout not in ("-csvl2t", "-bodyfile")
        written = names - closed_only
        account = f"read {names + 1} records: {written} written, {'1 not closed, ' * closed_only}{rest}"
        assert (done.code, done.err) == (0, account + "\n")
        assert not CONTROLS.search(done.out)
        body = "\n".join(done.out.split("\n")[3:])
        if layout == "-xml":
            found = [entry.find("name").text for entry in xml.etree.ElementTree.fromstring(done.out).iter("data_entry")]
            assert found == [name.replace("\x1b", "[U+001B]").replace("\ud800", "[U+D800]").replace("[U+000A]", "[U+005B]U+000A]")
                             for name in HOSTILE[:-1]]
            assert done.out.endswith(f"<!-- {account} -->\n</logdata>\n")
        elif layout == "-multiline":
            assert [line.count(":") > 0 for line in body.split("\n")] == ([True] * 9 + [False]) * written + [False]
        else:
            own = layout.split()[-1] if layout in separated else {"-bodyfile": "|", "": " | "}.get(layout, ",")
            rows = [line.split("\t" if own == "tab" else own) for line in body.split("\n")[:-1]]
            rows = rows if layout == "-bodyfile" else rows[1:]
            assert len(rows) == written and {len(row) for row in rows} == {{"-bodyfile": 11, "-csvl2t": 17}.get(layout, 10)}
            column = {"-bodyfile": 1, "-csvl2t": 9}.get(layout, 8)
            assert len({row[column] for row in rows}) == written


@linux_only
def test_a_terminal_is_told_what_is_left_out(lorq):
    hostile_journal(lorq)
    told = "2 records are left out or have a name cut short, -complete keeps them whole\n"  # USN 0 twice
    assert said(lorq.watched("-file", "j", "-a")) == told
    for arguments in ["-quiet"], ["-complete"]:
        assert "keeps them whole" not in lorq.watched("-file", "j", "-a", *arguments).err
    assert "keeps them whole" not in lorq("-file", "j", "-a").err
    lorq.write("zero", bytes(PAGE))
    done = lorq("-file", "zero", "-complete", "-quiet")
    assert done.code == FAILED and done.err.endswith("read 0 records\n")


@pytest.mark.parametrize("cluster", [512, 1024, 65536])
def test_what_was_deleted_is_found_whole_in_free_clusters(lorq, cluster):
    """Both versions, names of 255 units, files of a cloud, sequence and entry numbers beyond the MFT of today."""
    odd = [record("n" * 255, usn=PAGE, attributes=0x501620), record(usn=PAGE + 576, file=40 | 0xF001 << 48),
           record(usn=PAGE + 648, file=1 << 40 | 1 << 48), record(usn=PAGE + 720, reason=CLOSE | 0x01C00000)]
    lorq.make("--records", "3000", "--versions", "2:5,3")
    content = page(*odd) + lorq.path("made").read_bytes()
    lorq.write("deleted", page(record("first", usn=0)) + content)
    lorq.make_volume(f"--cluster {cluster} --size 32M", journal="j")
    with open(lorq.path("v"), "r+b") as image:
        os.pwrite(image.fileno(), content, 24 << 20)
    expected = list(decoded(content))
    done = lorq("-image", "v", "-include_unalloc_clusters", "-complete", "-a", "-jsonl", "-quiet")
    found = [json.loads(line) for line in done.out.splitlines()]
    number = len(expected) + 1
    assert (done.code, done.err) == (0, f"read {number} records: {number} written\n")
    keys = ["file_reference", "update_sequence_number", "usn_version"]
    assert sorted([[line[key] for key in keys] for line in found if line["record_origin"] == "unallocated"]) == sorted(
        [one[key] for key in keys] for one in expected)
    assert max(len(line["filename"]) for line in found) == 255
    assert {line["foreign"] for line in found if line["mft_entry"] == 1 << 40} == {True}
    assert lorq("-file", "deleted", "-complete", "-a", "-quiet").err == f"read {number} records: {number} written\n"
