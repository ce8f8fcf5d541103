"""Long journals from the generator: every record comes out, damage costs little, both systems write the same bytes."""
import os
import subprocess

import pytest


@pytest.mark.parametrize("plan", [["--versions", "2,3"], ["--shuffle", "--mean-name", "90", "--sparse-lead", "1073741824"]])
def test_every_record_comes_out_once_and_in_order(lorq, make, plan):
    rows = [row.split(",") for row in lorq.table("-file", make("--records", "20000", *plan), "-a", "-csv")[1:]]
    assert len({row[6] for row in rows}) == len(rows) == 20000
    assert rows == sorted(rows, key=lambda row: row[:2])
    assert sum("file_closed" in row[9] for row in rows) == pytest.approx(10000, rel=0.05)


def test_damage_costs_what_is_damaged(lorq, make):
    journal = make("--records", "20000", "--damage", "200")
    assert 16000 < len(lorq.table("-file", journal, "-a")) < 20000


@pytest.mark.skipif(not os.path.exists(os.environ.get("LORQ_TWIN", "")), reason="no program of another system to compare with")
@pytest.mark.parametrize("options", [
    [], ["-csv", "-a"], ["-csvgen"], ["-multiline"], ["-no_whitespace", "-base10"], ["-pair_datetime", "-show_offset"],
    ["-csv_separator", "tab", "-a"], ["-xml", "-a"], ["-xml", "-xml_escape"], ["-bodyfile"], ["-csvl2t"]])
def test_both_systems_write_the_same(lorq, make, options):
    arguments = ["-file", make("--records", "3000", "--versions", "2,3,4", "--damage", "100"), "-out", "x.txt", *options]
    assert lorq(*arguments).code == 0
    here = behind_header(lorq.path("x.txt").read_bytes())
    subprocess.run([os.environ["LORQ_TWIN"], *arguments], cwd=lorq.folder, check=True, stderr=subprocess.DEVNULL)
    assert len(here) > 100_000 and here == behind_header(lorq.path("x.txt").read_bytes())


def behind_header(content):
    """Without the run header, in XML without the whole beginning of the document."""
    return content[content.index(b"<logdata"):] if content.startswith(b"<?xml") else content.split(b"\r\n", 3)[3]
