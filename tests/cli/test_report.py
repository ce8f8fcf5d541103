"""The page of -report, read by an HTML parser: each figure of a journal that was made for it, as counted by hand."""
import html.parser
import os
import pathlib
import struct

from conftest import FAILED, linux_only
from journal import CLOSE, FIRST, PAGE, page, record
from test_failures import said

TEN = 133_486_632_000_000_000  # 2024-01-02 10:00 UTC
BEGIN = 1 << 20  # the USN of the first record
OLD, NEW, CREATE, DATA, DELETE = 0x1000, 0x2000, 0x100, 0x2, 0x200
BROWSER = pathlib.Path(__file__).parents[1] / "browser"
HOSTILE = {'"><script>alert(1)</script>': None, "&#x202e;": None, "</td></table>": None, "\u202egpj.exe": "U+202Egpj.exe",
           "a\u2066b\u2069": "aU+2066bU+2069", "\ufdfd" * 255: None, "\u0001\n\u0085": "U+0001U+000AU+0085",
           "\ud800x": "U+D800x", "\uffff\U000e0041": "U+FFFFU+E0041"}


class Read(html.parser.HTMLParser):
    """Texts by the id of what they stand in: of paragraphs of figures, of list items, of the cells of each row of a table."""

    def __init__(self, text):
        super().__init__()
        self.texts, self.rows, self.tags, self.inside, self.into = {}, {}, set(), "", [""]
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.tags.add(tag)
        if tag in ("section", "article", "table", "h3") and "id" in attributes:
            self.inside = attributes["id"]
        if tag == "tr":
            self.rows.setdefault(self.inside, []).append([])
        if tag in ("td", "th"):
            self.into = self.rows[self.inside][-1]
        elif tag in ("dd", "li") or tag == "p" and attributes.get("class") == "fig":
            self.into = self.texts.setdefault(self.inside, [])
        if tag in ("td", "th", "dd", "li", "p"):
            self.into.append("")

    def handle_data(self, data):
        self.into[-1] += data

    def handle_endtag(self, tag):
        if tag in ("td", "th", "dd", "li", "p"):
            self.into = [""]


def read(lorq, name="page.html"):
    content = lorq.path(name).read_bytes()
    assert len(content) < 2_000_000
    lorq.tool("xmllint", "--noout", name)
    if os.environ.get("LORQ_BROWSER"):
        lorq.tool("node", BROWSER / "look.js", name)
        lorq.tool("node", BROWSER / "node_modules/html-validate/bin/html-validate.mjs", "--config", BROWSER / ".htmlvalidate.json",
                  name)
    found = Read(content.decode())
    assert "script" not in found.tags
    return found


class Journal:
    """Records of one length, 88 bytes: their names have 12 characters."""

    def __init__(self):
        self.content = bytearray()

    def add(self, seconds, file, name, *reasons, folder=50):
        for reason in reasons:
            if len(self.content) % PAGE > PAGE - 88:
                self.skip(PAGE)
            assert len(name) == 12
            self.content += record(name, reason, BEGIN + len(self.content), TEN + round(seconds * 10**7), file=file | 1 << 48,
                                   folder=folder | 1 << 48)

    def skip(self, to):
        self.content += bytes(-len(self.content) % to)

    def rename(self, seconds, file, old, new, folder=50):
        self.add(seconds, file, old, OLD, folder=folder)
        self.add(seconds, file, new, NEW, NEW | CLOSE, folder=folder)


def story():
    """A day with all that the page looks for, 805 records: 15 created, 10 data, 255 renamed, 5 deleted, 520 other."""
    made = Journal()
    for i in range(10):  # 10 quiet minutes: 10 created, 10 data, 10 renamed, 30 other
        made.add(60 * i, 100 + i, f"quiet{i:03}.txt", CREATE, CREATE | DATA, CREATE | DATA | CLOSE)
        made.rename(60 * i + 1, 100 + i, f"quiet{i:03}.txt", f"calm{i:04}.txt")
    for i in range(100):  # from 8 extensions in 4 directories, all in one minute
        made.rename(1200 + i * 0.3, 200 + i, f"name{i:04}.e{i % 8:02}", f"name{i:04}.lck", folder=50 + i % 4)
    for i in range(120):  # from 10 extensions in 3 directories, over the end of a minute, with 60 in each
        made.rename(2430 + i * 0.5, 400 + i, f"name{i:04}.e{i % 10:02}", f"name{i:04}.ENC", folder=50 + i % 3)
    for start, file, renames, step in [(3000, 600, 6, 1), (3100, 601, 4, 1), (3200, 602, 5, 15.1), (4200, 603, 5, 1),
                                       (4220, 604, 5, 1)]:
        names = ["secret01.doc"] + [chr(65 + i) * 12 for i in range(renames)]
        for i in range(renames):
            made.rename(start + i * step, file, names[i], names[i + 1])
        made.add(start + renames * step, file, names[-1], DELETE | CLOSE)
    made.skip(PAGE)
    made.content += bytes(PAGE)  # the gap
    made.add(5400, 700, "beforeit.txt", CREATE | CLOSE)
    for i, file in enumerate([701, 702, 703, 704]):  # the clock was set back by an hour
        made.add(1800 + i, file, f"madeit{i:02}.txt", CREATE | CLOSE)
    made.skip(PAGE)
    return bytes(made.content)


def mft(*entries):
    """An exported MFT of records with $STANDARD_INFORMATION alone: entry, FILETIME of creation, last USN."""
    content = bytearray(1024 * 1024)
    for entry, created, usn in [(0, 0, 0), *entries]:
        head = struct.pack("<4sHHQHHHHIIQHHI", b"FILE", 48, 3, 0, 1, 1, 56, 1, 160, 1024, 0, 0, 0, entry)
        value = struct.pack("<QQQQ", created, 0, 0, 0).ljust(64, b"\0") + struct.pack("<Q", usn)
        about = struct.pack("<IIBBHHHIHH", 0x10, 96, 0, 0, 0, 0, 0, 72, 24, 0) + value
        one = head + bytes(8) + about + b"\xff" * 4
        content[entry * 1024:entry * 1024 + len(one)] = one
    return content


def test_figures_of_a_known_day(lorq):
    gap, last = BEGIN + 18 * PAGE, BEGIN + 19 * PAGE + 4 * 88  # 800 records take 17 pages of 46 and 18 records more
    month = 30 * 864_000_000_000
    lorq.write("m", mft((700, TEN + 5400 * 10**7, 0), (701, TEN - month, BEGIN), (702, TEN - 2 * month, gap + 8),
                        (703, TEN - 3 * month, last + 96), (704, TEN + 2 * 3600 * 10**7, last)))
    lorq.write("lead", bytes(BEGIN) + story())
    lorq.make_volume("--size 16M --lowest 1048576", journal="lead")
    done = lorq("-quiet", "-image", "v", "-mftfile", "m", "-report", "page.html", "-from", "2024-01-03", "-a")
    assert (done.code, done.out, said(done)) == (0, "", "")
    found = read(lorq)
    what = found.texts["what"]
    assert what[:6] == ["805records, each once", "1 h 30 minfrom the first to the last time of the journal",
                        "1gaps between USNs", "1steps back of the clock", "3bursts",
                        "4marked patterns of renames"]
    assert "deleted 5, renamed 255, created 15, data 10, other 520" in what[9]
    assert what[10:12] == ["1048576 at 2024-01-02 10:00:00.0000000", "1126752 at 2024-01-02 10:30:03.0000000"]
    facts = {name: texts[0] for name, texts in found.texts.items()}
    assert facts["gaps"] == "1 gap, 6.5 KiB (6,608 bytes)"
    assert found.rows["gaps"][1][:5] == ["1119704", "1126400", "6,608", "2024-01-02 11:10:25.000", "2024-01-02 11:30:00.000"]
    assert facts["clock"] == "1 step back from one record to the next, the largest by 1 h"
    assert found.rows["clock"][1:] == [["1126488", "1 h", "2024-01-02 11:30:00.000", "2024-01-02 10:30:00.000"]]
    assert facts["begin"] == ("young: the records begin at USN 1048576, 76.4 KiB (78,264 bytes) before their end; by $Max they "
                              "would begin at 1048576, as they do")
    assert facts["anew"] == "1048576, not 0: this is not the first journal of the volume"
    assert facts["last-usns"] == "1 where the journal has no record, 1 behind its end, of 4 in 6 MFT entries"
    assert [row[:2] for row in found.rows["last-usns"][1::2]] == [["702-1", str(gap + 8)], ["703-1", str(last + 96)]]
    assert facts["carved"] == "nothing was carved: not looked at"
    assert facts["creations"] == "3 of 5 created files have a time in the MFT that is more than a day off"
    assert [(row[0], row[1], row[3]) for row in found.rows["creations"][1:]] == [
        (f"2024-01-02 10:30:0{i}", f"{day} 10:00:00", f"madeit0{i}.txt")
        for i, day in enumerate(["2023-12-03", "2023-11-03", "2023-10-04"])]
    assert [row[:4] + row[5:6] for row in found.rows["minutes"][1:]] == [
        ["2024-01-02 10:20", "1 min", "renamed", "100", ".lck 100"],
        ["2024-01-02 10:20", "1 min", "other", "200", ".lck 100, .e00 13, .e01 13, .e02 13, .e03 13, other 48"],
        ["2024-01-02 10:40", "2 min", "other", "240", ".enc 120, .e00 12, .e01 12, .e02 12, .e03 12, other 72"]]
    day = "2024-01-02 "
    assert [row[:6] for row in found.rows["one-extension"][1:]] == [
        [day + "10:20:00.000", day + "10:20:29.700", ".lck", "100", "8", "4"],
        [day + "10:40:30.000", day + "10:41:29.500", ".enc", "120", "10", "3"]]
    assert [row[:4] for row in found.rows["wiped"][1:]] == [[day + "10:50:00.000", day + "10:50:06.000", "1", "6"],
                                                            [day + "11:10:00.000", day + "11:10:25.000", "2", "10"]]
    assert [row[3] for row in found.rows["r-wiping-2"][1:]] == ["secret01.doc in [50-1]", "EEEEEEEEEEEE in [50-1]"] * 2
    assert [row[:7] for row in found.rows["directories"][1:]] == [
        ["[50-1]", "340", "5", "100", "15", "10", "210"], ["[51-1]", "195", "0", "65", "0", "0", "130"],
        ["[52-1]", "195", "0", "65", "0", "0", "130"], ["[53-1]", "75", "0", "25", "0", "0", "50"]]
    assert found.rows["extensions"][1][:7] == [".enc", "240", "0", "120", "0", "0", "120"]
    assert found.rows["files"][1][:2] == ["FFFFFFFFFFFF  in [50-1]", "19"]
    assert "-from, -a" in lorq.path("page.html").read_text()


def test_hostile_names_stay_letters(lorq):
    lorq.write("hostile", b"".join(page(record(name, usn=8 + PAGE * at, file=at + 50 | 1 << 48)) for at, name in enumerate(HOSTILE)))
    assert lorq("-file", "hostile", "-complete", "-report", "page.html").code == 0
    found = read(lorq)
    assert {row[0].split("  in ")[0] for row in found.rows["files"][1:]} == {shown or name for name, shown in HOSTILE.items()}
    assert [found.texts[one][0] for one in ("anew", "last-usns", "creations")] == [
        "no volume, so no $Max: not looked at", "no MFT: not looked at", "no MFT: not looked at"]
    lorq.write("folder", page(record("v1.0_none", usn=0x1000, attributes=0x10), record("a.TXT", usn=0x1048, file=41 | 1 << 48)))
    assert lorq("-file", "folder", "-report", "page.html").code == 0
    assert [row[:2] for row in read(lorq).rows["extensions"][1:]] == [[".txt", "1"]]


def test_page_beside_results(lorq):
    assert lorq.table("-file", "j", "-report", "page.html", "-csv") == lorq.table("-file", "j", "-csv")
    assert lorq("-file", "j", "-report", "page.html", "-out", "x").code == 0
    assert lorq.path("x").exists()
    read(lorq)
    one_file = "prob -report and -out name one file, {}, aborting\n"
    refused = "prob opening file {} for output, aborting\n"
    for arguments, message in [(["-report", "x", "-out", "x"], one_file.format("x")),
                               (["-out", "sub/../x", "-report", "./x"], one_file.format(r".\x")),
                               (["-report", "j"], refused.format("j")), (["-report", "no/such"], refused.format(r"no\such"))]:
        lorq.path("sub").mkdir(exist_ok=True)
        done = lorq("-file", "j", *arguments)
        assert (done.code, said(done)) == (FAILED, message)


@linux_only
def test_page_that_cannot_be_written(lorq):
    done = lorq("-file", "j", "-report", "/dev/full")
    assert (done.code, done.out, said(done)) == (FAILED, "", "prob writing results file: \\dev\\full\n")
