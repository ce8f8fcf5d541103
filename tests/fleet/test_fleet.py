"""One data set of many hosts, as examples/fleet makes it. scripts/fleet names the programs in the environment."""
import hashlib
import json
import os
import pathlib
import struct
import subprocess
import time

import pytest

from journal import CLOSE, FIRST, PAGE, record

FLEET = pathlib.Path(__file__).parents[2] / "examples/fleet"
LORQ, JOURNAL_MAKER, STORY_MAKER = (os.path.abspath(os.environ[name]) for name in ("LORQ", "LORQ_MAKER", "LORQ_STORY"))
OPTIONS = ["-jsonl", "-a", "-complete", "-path_history", "-quiet"]
WRITE, CREATE, DELETE = 2, 0x100, 0x200
SOURCES = {("desk%201", "disk.dd@0x100000"): ["-image", "images/desk 1/disk.dd", "-offset", "0x100000"],
           ("desk%201", "disk.dd@0x4106000"): ["-image", "images/desk 1/disk.dd", "-offset", "0x4106000"],
           ("torn", "disk.dd"): ["-image", "images/torn/disk.dd"], ("made", "J.bin"): ["-file", "images/made/J.bin"],
           ("a", "%24J"): ["-file", "images/a/$J", "-mftfile", "images/a/$MFT"], ("b", "J.bin"): ["-file", "images/b/J.bin"]}
HYPARQUET = """
import { asyncBufferFromFile, parquetReadObjects } from 'hyparquet';
import { compressors } from 'hyparquet-compressors';
for (const row of await parquetReadObjects({ file: await asyncBufferFromFile(process.argv[1]), compressors }))
    console.log(JSON.stringify(row, (key, value) => value === null ? undefined : typeof value === 'bigint' ? Number(value) : value));
"""
# Is lorq; of the first partition it waits while `hold` is there, and is killed while `die` is.
WRAPPER = f"""#!/bin/bash
case "$*" in *0x100000*) while [ -e hold ]; do sleep 0.1; done; [ ! -e die ] || kill -9 $$ ;; esac
exec '{LORQ}' "$@"
"""


def part(table, host, source):
    return f"{table}/case_id=c/host={host}/source_id={source}/part-0.parquet"


def laid_out(*records):
    """Each of (seconds behind FIRST, entry, name, reason) where the one before ends; without a reason a hole of its size."""
    content = b""
    for seconds, entry, name, reason in records:
        fields = {"name": name, "reason": reason, "filetime": FIRST + round(seconds * 10_000_000), "file": entry | 3 << 48}
        size = len(record(**fields))
        content += bytes(-len(content) % PAGE if len(content) % PAGE + size > PAGE else 0)
        content += record(**fields, usn=len(content)) if reason else bytes(size)
    return content + bytes(-len(content) % PAGE)


class Case:
    def __init__(self, folder):
        self.folder = folder
        story = folder / "story"
        subprocess.run([STORY_MAKER, story, folder / "list", "6"], check=True)
        size = story.stat().st_size // 512
        table = b"".join(struct.pack("<B3xB3xII", 0, 7, begin, size) for begin in (2048, 2048 + size))
        self.put("desk 1/disk.dd", (bytes(446) + table + bytes(32) + b"\x55\xaa").ljust(2048 * 512, b"\0") + 2 * story.read_bytes())
        self.put("torn/disk.dd", bytes(range(256)) * 400)
        subprocess.run([JOURNAL_MAKER, "--records", "125000", "--versions", "2:5,3,4", self.put("made/J.bin", b"")], check=True)
        self.put("a/$MFT", subprocess.run(["icat", story, "0"], check=True, stdout=subprocess.PIPE).stdout)
        self.put("a/$J", laid_out(  # FIRST is 03:04:05.678
            (0, 50, "evil.pdf", CREATE), (10, 50, "evil.pdf", CREATE | WRITE), (300, 50, "evil.pdf", CLOSE | DELETE),
            (301, 51, "moved.txt", CREATE), (601.000001, 51, "moved.txt", CLOSE | DELETE), (-9, 52, "a\0\"\\\n\ud800", CLOSE)))
        # Of 112 bytes each: they leave room at the end of a page. Were the first character one unit they would be of 104.
        filler = [(60 + place, 60 + place, "\U0001F600" + "x" * 21, CREATE | CLOSE) for place in range(45)]
        self.put("b/J.bin", laid_out((-5, 53, "x.txt.PDF", CLOSE | CREATE), (0, 54, "Moved.TXT", WRITE), *filler,
                                     (200, 55, "gone", 0), (300, 56, "behind the gap", CLOSE)))
        (folder / "lorq").write_text(WRAPPER)
        (folder / "lorq").chmod(0o755)

    def put(self, name, content):
        path = self.folder / "images" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return path

    def start(self):
        return subprocess.Popen([FLEET / "run", self.folder, "--cores", "2", "--config", "case_id=c", f"lorq={self.folder}/lorq"],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, start_new_session=True)

    def run(self):
        process = self.start()
        said = process.communicate(timeout=300)[0]
        return process.returncode, said

    def parts(self):
        """Every file in the data set, and what tells whether it was written again."""
        return {str(path.relative_to(self.folder / "dataset")): (path.stat().st_ino, path.stat().st_mtime_ns)
                for path in self.folder.glob("dataset/*/*/*/*/*")}

    def ask(self, *asked):
        answer = subprocess.run(["node", FLEET / "ask.js", "--json", *asked], cwd=self.folder, check=True, stdout=subprocess.PIPE)
        return list(map(json.loads, answer.stdout.splitlines()))


@pytest.fixture(name="case", scope="module")
def made_case(tmp_path_factory):
    """Made by a run that was killed while one of its jobs goes on, and one that took up from there."""
    case = Case(tmp_path_factory.mktemp("case"))
    (case.folder / "hold").touch()
    killed = case.start()
    for _ in range(1200):
        time.sleep(0.1 if len(case.parts()) < 4 else 0)
    subprocess.run(["pkill", "-KILL", "-g", str(killed.pid), "-x", "snakemake"], check=True)
    killed.wait()
    before = {name: when for name, when in case.parts().items() if name.endswith(".parquet")}
    again = case.start()
    (case.folder / "hold").unlink()
    said = again.communicate(timeout=300)[0]
    after = case.parts()
    assert (again.returncode, set(after)) == (0, {part(table, *source) for source in SOURCES for table in ("records", "runs")}), said
    assert sum(after[name] == when for name, when in before.items()) >= 2
    return case


def test_every_record_is_a_row_that_another_engine_reads(case):
    for source, arguments in SOURCES.items():
        done = subprocess.run([LORQ, *arguments, *OPTIONS], cwd=case.folder, check=False, capture_output=True)
        told = sorted(map(json.loads, done.stdout.splitlines()), key=lambda line: line["update_sequence_number"])
        for line in told:
            line |= {"datetime_text": line["datetime"], "datetime": line["datetime"][:23] + "Z", "source_path": line.pop("source")}
        rows, (run,) = ([json.loads(line) for line in subprocess.run(
            ["node", "--input-type=module", "-e", HYPARQUET, case.folder / "dataset" / part(table, *source)],
            cwd=FLEET, check=True, stdout=subprocess.PIPE).stdout.splitlines()] for table in ("records", "runs"))
        assert len(rows) == len(told) and [row for row, line in zip(rows, told) if row != line] == []
        content = (case.folder / arguments[1]).read_bytes()
        expected = {"exit_code": done.returncode, "records": len(told), "from_journal": len(told), "source_size": len(content),
                    "source_sha256": hashlib.sha256(content).hexdigest(), "arguments": arguments + OPTIONS, "lost_bytes": 0}
        assert {key: run[key] for key in expected} == expected and (done.returncode == 255) == (source[0] == "torn")
        assert run["messages"][-1] in done.stderr.decode()


def test_all_parts_have_one_schema(case):
    for table in ("records", "runs"):
        parts = f"'dataset/{table}/*/*/*/*.parquet'"
        schemas, form = case.ask(
            f"SELECT count(*) FROM (SELECT list((name, type, converted_type, logical_type)) AS columns"
            f" FROM parquet_schema({parts}) GROUP BY file_name) GROUP BY columns",
            f"SELECT DISTINCT compression, row_group_num_rows > 122880 FROM parquet_metadata({parts})")
        assert (schemas, form) == ([[str(len(SOURCES))]], [["ZSTD", False]])
    assert case.ask("SELECT DISTINCT typeof(datetime), typeof(update_reason), bool_and(epoch_us(datetime) = timestamp)"
                    " FROM 'dataset/records/*/*/*/*.parquet' GROUP BY ALL") == [[["TIMESTAMP WITH TIME ZONE", "VARCHAR[]", True]]]


def test_queries_answer_what_is_counted_by_hand(case):
    def answers(name):
        return [row for row in case.ask(FLEET / "queries" / name)[0] if row[0] in "ab" or row[1] in "ab"]

    day = "2024-01-02 "
    assert answers("name.sql") == [["b", "J.bin", "\\", "1", day + "03:04:05.678+00", day + "03:04:05.678+00"],
                                   ["a", "$J", "\\", "2", day + "03:09:06.678+00", day + "03:14:06.678001+00"]]
    assert answers("extension.sql") == [[day + "03:04:00.678+00", "b", "J.bin", "\\x.txt.PDF", "exact"],
                                        [day + "03:04:05.678+00", "a", "$J", "\\evil.pdf", "exact"]]
    assert answers("busiest.sql") == [["a", day + "03:04:00+00", "2", "1"], ["b", day + "03:05:00+00", "45", "45"]]
    assert answers("short_lived.sql") == [["a", "$J", day + "03:04:05.678+00", "00:05:00", "\\evil.pdf"]]
    assert case.ask(FLEET / "queries/gaps.sql") == [[["b", "J.bin", "1", "72", day + "03:05:49.678+00", day + "03:09:05.678+00"]]]


def test_only_what_is_missing_is_made_again(case):
    before = case.parts()
    code, said = case.run()
    assert code == 0 and "Nothing to be done" in said and "couldn't find any partitions on disk" in said
    assert case.parts() == before
    lost = {part(table, "desk%201", "disk.dd@0x100000") for table in ("records", "runs")}
    (case.folder / "dataset" / min(lost)).unlink()
    (case.folder / "die").touch()
    assert case.run()[0] != 0 and set(case.parts()) == set(before) - lost
    (case.folder / "die").unlink()
    assert case.run()[0] == 0
    after = case.parts()
    assert set(after) == set(before) and {name for name in after if after[name] != before[name]} == lost
