"""The layouts as their readers take them: XML parsers, the program of another system."""
import os
import re
import struct
import subprocess
import xml.etree.ElementTree

import pytest

from conftest import FAILED, WINDOWS
from journal import page, record
from test_failures import HEADER

HOSTILE = ["a<b&c>\"d'.txt", "]]>&lt;--", "tab\tcr\rlf\ncrlf\r\n", " blanks ", "\u00e9\U0001F600", "%41|,;", "\ud800x\udc41",
           "\0\x01\x1f\x7f\x85\ufffe\uffff"]
PATH = "A & B's \u00e9" if WINDOWS else "A & B's \u00e9 <--\"\t\n>"
FORBIDDEN = re.compile("[\0-\x08\x0b\x0c\x0e-\x1f\ud800-\udfff\ufffe\uffff]")


def test_xml_escape_keeps_hostile_names_and_paths(lorq):
    def document(*arguments, code=0):
        """The root element, once xmllint has accepted the file too."""
        assert lorq(*arguments, "-xml", "-xml_escape", "-out", "x").code == code
        subprocess.run(["xmllint", "--noout", "x"], cwd=lorq.folder, check=True)
        return xml.etree.ElementTree.parse(lorq.path("x")).getroot()
    invalid = "" if WINDOWS else os.fsdecode(b"\xff")
    lorq.write(PATH + invalid, page(*(record(name, usn=8 + at) for at, name in enumerate(HOSTILE))))
    root = document("-file", PATH + invalid, "-username", "a--b---\x01")
    assert root.get("filename") == FORBIDDEN.sub("\ufffd", PATH + invalid)
    assert [name.text for name in root.iter("name")] == [FORBIDDEN.sub("\ufffd", name) for name in HOSTILE]
    # A boot sector is enough of an image to begin the document.
    boot = struct.pack("<3s8sHB7xB18xQQQI", b"\xeb\x52\x90", b"NTFS    ", 512, 8, 0xF8, 2047, 4, 2, 0xF6)
    lorq.write(PATH, boot.ljust(510, b"\0") + b"\x55\xaa" + bytes(2047 * 512))
    assert document("-image", PATH, code=FAILED).get("umounted_image") == PATH


def test_xml_document_is_whole_or_not_begun(lorq):
    lorq.write("zero", bytes(4096))
    done = lorq("-file", "zero", "-xml")
    assert done.code == FAILED
    assert HEADER.sub("#", done.out) == ('<?xml version="1.0" encoding="utf-8"?>\n\n<!--\n#-->\n'
                                         '<logdata filename="zero" version="lorq ver: 1.49">\n</logdata>\n')
    for arguments in ["-a"], ["-file", ""], ["-file", "j", "-include_vss_clusters"], ["-image", "missing"]:
        assert lorq(*arguments, "-xml")[:2] == (FAILED, ""), arguments
    assert HEADER.fullmatch(lorq("-file", "j", "-xml", "-sqlite", "x").out)


@pytest.mark.skipif(not os.path.exists(os.environ.get("LORQ_TWIN", "")), reason="no program of another system to compare with")
@pytest.mark.parametrize("options", [
    [], ["-csv", "-a"], ["-csvgen"], ["-multiline"], ["-no_whitespace", "-base10"], ["-pair_datetime", "-show_offset"],
    ["-csv_separator", "tab", "-a"], ["-xml", "-a"], ["-xml", "-xml_escape"], ["-bodyfile"], ["-csvl2t"]])
def test_both_systems_write_the_same(lorq, make, options):
    def behind_header(content):  # in XML without the whole beginning of the document
        return content[content.index(b"<logdata"):] if content.startswith(b"<?xml") else content.split(b"\r\n", 3)[3]
    arguments = ["-file", make("--records", "3000", "--versions", "2,3,4", "--damage", "100"), "-out", "x.txt", *options]
    assert lorq(*arguments).code == 0
    here = behind_header(lorq.path("x.txt").read_bytes())
    subprocess.run([os.environ["LORQ_TWIN"], *arguments], cwd=lorq.folder, check=True, stderr=subprocess.DEVNULL)
    assert len(here) > 100_000 and here == behind_header(lorq.path("x.txt").read_bytes())
