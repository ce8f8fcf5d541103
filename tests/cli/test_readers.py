"""The layouts as their readers take them: XML parsers, mactime of the Sleuth Kit, strict CSV, the program of another system."""
import calendar
import csv
import os
import re
import time
import xml.etree.ElementTree

import pytest

from conftest import FAILED, WINDOWS
from journal import decoded, page, record
from test_failures import HEADER

HOSTILE = ["a<b&c>\"d'.txt", "]]>&lt;--", "tab\tcr\rlf\ncrlf\r\n", " blanks ", "\u00e9\U0001F600", "%41|,;", "\ud800x\udc41",
           "\0\x01\x1f\x7f\x85\ufffe\uffff"]
PATH = "A & B's \u00e9" if WINDOWS else "A & B's \u00e9 <--\"\t\n>"
SLOTS = {"m": 0x11, "a": 0x22, "c": 0x1FFE44, "b": 0x200100}
FORBIDDEN = re.compile("[\0-\x08\x0b\x0c\x0e-\x1f\ud800-\udfff\ufffe\uffff]")


def test_xml_escape_keeps_hostile_names_and_paths(lorq):
    def document(*arguments):
        """The root element, once xmllint has accepted the file too."""
        assert lorq(*arguments, "-xml", "-xml_escape", "-out", "x").code == 0
        lorq.tool("xmllint", "--noout", "x")
        return xml.etree.ElementTree.parse(lorq.path("x")).getroot()
    invalid = "" if WINDOWS else os.fsdecode(b"\xff")
    lorq.write(PATH + invalid, page(*(record(name, usn=8 + at) for at, name in enumerate(HOSTILE))))
    root = document("-file", PATH + invalid, "-username", "a--b---\x01")
    assert root.get("filename") == FORBIDDEN.sub("\ufffd", PATH + invalid)
    assert [name.text for name in root.iter("name")] == [FORBIDDEN.sub("\ufffd", name) for name in HOSTILE]


def test_xml_document_is_whole_or_not_begun(lorq):
    lorq.write("zero", bytes(4096))
    done = lorq("-file", "zero", "-xml")
    assert done.code == FAILED
    assert HEADER.sub("#", done.out) == ('<?xml version="1.0" encoding="utf-8"?>\n\n<!--\n#-->\n'
                                         '<logdata filename="zero" version="lorq ver: 1.49">\n</logdata>\n')
    for arguments in ["-a"], ["-file", ""], ["-file", "j", "-include_vss_clusters"], ["-image", "missing"]:
        assert lorq(*arguments, "-xml")[:2] == (FAILED, ""), arguments
    assert HEADER.fullmatch(lorq("-file", "j", "-xml", "-sqlite", "x").out)


def test_mactime_lists_what_was_recorded(lorq):
    assert lorq("-file", lorq.make("--records", "10000"), "-bodyfile", "-out", "x").code == 0
    table = csv.reader(lorq.tool("mactime", "-b", "x", "-d", "-y").decode().splitlines()[1:])
    listed = {(calendar.timegm(time.strptime(row[0], "%Y-%m-%dT%H:%M:%SZ")), row[7], int(row[6]), letter)
              for row in table if not row[0].startswith("0000")
              for letter in row[2].replace(".", "")}
    assert listed == {(one["ticks"] // 10_000_000 - 11_644_473_600, one["filename"].decode("utf-16-le"),
                       int(one["file_reference"].split("-")[0]), letter)
                      for one in decoded(lorq.path("made").read_bytes())
                      for letter, reasons in SLOTS.items() if one["update_reason_flags"] & reasons}


@pytest.mark.parametrize("layout, fields", [(["-csv", "-a"], 10), (["-csvl2t"], 17), (["-csvl2t", "-pair_datetime"], 16)])
def test_csv_readers_find_every_record_in_order(lorq, layout, fields):
    made = lorq.make("--records", "10000", "--shuffle", "--mean-name", "90", "--sparse-lead", "1073741824")
    assert lorq("-file", made, *layout, "-out", "x").code == 0
    with open(lorq.path("x"), encoding="utf-8", newline="") as table:
        rows = list(csv.reader(list(table)[3:], strict=True))
    with open(lorq.path(made), "rb") as journal:
        journal.seek(1 << 30)
        expected = sorted(decoded(journal.read()), key=lambda one: one["ticks"])
    wanted, column = (~0, "filename") if "-csv" in layout else (sum(SLOTS.values()), "short")
    assert {len(row) for row in rows} == {fields}
    assert [row[rows[0].index(column)] for row in rows[1:]] == [
        one["filename"].decode("utf-16-le") for one in expected if one["update_reason_flags"] & wanted]


@pytest.mark.skipif(not os.path.exists(os.environ.get("LORQ_TWIN", "")), reason="no program of another system to compare with")
@pytest.mark.parametrize("options", [
    [], ["-csv", "-a"], ["-csvgen"], ["-multiline"], ["-no_whitespace", "-base10"], ["-pair_datetime", "-show_offset"],
    ["-csv_separator", "tab", "-a"], ["-xml", "-a"], ["-xml", "-xml_escape"], ["-bodyfile"], ["-csvl2t"]])
def test_both_systems_write_the_same(lorq, options):
    def behind_header(content):  # in XML without the whole beginning of the document
        return content[content.index(b"<logdata"):] if content.startswith(b"<?xml") else content.split(b"\r\n", 3)[3]
    arguments = ["-file", lorq.make("--records", "3000", "--versions", "2,3,4", "--damage", "100"), "-out", "x.txt", *options]
    assert lorq(*arguments).code == 0
    here = behind_header(lorq.path("x.txt").read_bytes())
    lorq.tool(os.environ["LORQ_TWIN"], *arguments)
    assert len(here) > 100_000 and here == behind_header(lorq.path("x.txt").read_bytes())
