"""One data set of many hosts, as examples/fleet makes it. scripts/fleet names the programs in the environment."""
import hashlib
import json
import os
import pathlib
import signal
import struct
import subprocess
import time

import pytest

from journal import CLOSE, FIRST, PAGE, page, record

FLEET = pathlib.Path(__file__).parents[2] / "examples/fleet"
LORQ, JOURNAL_MAKER, STORY_MAKER = (os.path.abspath(os.environ[name]) for name in ("LORQ", "LORQ_MAKER", "LORQ_STORY"))
OPTIONS = ["-jsonl", "-a", "-complete", "-path_history", "-quiet"]
WRITE, CREATE, DELETE = 2, 0x100, 0x200
HYPARQUET = """
import { asyncBufferFromFile, parquetReadObjects } from 'hyparquet';
import { compressors } from 'hyparquet-compressors';
const rows = await parquetReadObjects({ file: await asyncBufferFromFile(process.argv[1]), compressors });
for (const row of rows) console.log(JSON.stringify(row, (key, value) => typeof value === 'bigint' ? Number(value) : value));
"""
# Runs lorq; of the disk it waits for ever while `hold` is there, and is killed while `die` is.
WRAPPER = f"""#!/bin/bash
case "$*" in *-offset*) [ ! -e hold ] || sleep 1000; [ ! -e die ] || kill -9 $$ ;; esac
exec '{LORQ}' "$@"
"""


def laid_out(*records):
    """Each of (seconds behind FIRST, entry, name, reason) where the one before ends; a reason of 0 leaves a hole of its size."""
    content = b""
    for seconds, entry, name, reason in records:
        made = record(name, reason, 0, FIRST + round(seconds * 10_000_000), entry=entry | 3 << 48)
        content += bytes(-len(content) % PAGE if len(content) % PAGE + len(made) > PAGE else 0)
        content += record(name, reason, len(content), FIRST + round(seconds * 10_000_000), entry=entry | 3 << 48) if reason else bytes(len(made))
    return content + bytes(-len(content) % PAGE)


class Case:
    def __init__(self, folder):
        self.folder = folder
        story = folder / "story"
        subprocess.run([STORY_MAKER, story, folder / "list", "6"], check=True)
        size = story.stat().st_size // 512
        table = b"".join(struct.pack("<B3xB3xII", 0, 7, begin, size) for begin in (2048, 2048 + size))
        self.put("desk 1/disk.dd", bytes(446) + table + bytes(32) + b"\x55\xaa" + bytes((2048 - 1) * 512) + 2 * story.read_bytes())
        self.put("torn/disk.dd", bytes(range(256)) * 400)
        subprocess.run([JOURNAL_MAKER, "--records", "125000", "--versions", "2:5,3,4", self.put("made/J.bin", b"")], check=True)
        mft = subprocess.run(["icat", story, "0"], check=True, stdout=subprocess.PIPE).stdout
        self.put("a/$MFT", mft)
        self.put("a/$J", laid_out(  # 03:04:05.678 and so many seconds
            (0, 50, "evil.pdf", CREATE), (10, 50, "evil.pdf", CREATE | WRITE), (300, 50, "evil.pdf", CLOSE | DELETE),
            (301, 51, "moved.txt", CREATE), (601.000001, 51, "moved.txt", CLOSE | DELETE), (-9, 52, "a\0\"\\\n\ud800", CLOSE)))
        # 100 bytes are 17 characters of one unit or 16 with one of two; 40 such records leave room for no further one.
        filler = [(60 + place, 60 + place, "\U0001F600" + "x" * 18, CREATE | CLOSE) for place in range(40)]
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
        """What tells whether a part was written again."""
        return {str(path.relative_to(self.folder / "dataset")): (path.stat().st_ino, path.stat().st_mtime_ns)
                for path in self.folder.glob("dataset/*/*/*/*/*")}

    def ask(self, *asked):
        answer = subprocess.run(["node", FLEET / "ask.js", "--json", *asked], cwd=self.folder, check=True, stdout=subprocess.PIPE)
        return list(map(json.loads, answer.stdout.splitlines()))


def part(table, host, source):
    return f"{table}/case_id=c/host={host}/source_id={source}/part-0.parquet"


SOURCES = {("desk%201", "disk.dd@0x100000"): ["-image", "images/desk 1/disk.dd", "-offset", "0x100000"],
           ("desk%201", "disk.dd@0x4106000"): ["-image", "images/desk 1/disk.dd", "-offset", "0x4106000"],
           ("torn", "disk.dd"): ["-image", "images/torn/disk.dd"], ("made", "J.bin"): ["-file", "images/made/J.bin"],
           ("a", "%24J"): ["-file", "images/a/$J", "-mftfile", "images/a/$MFT"], ("b", "J.bin"): ["-file", "images/b/J.bin"]}


@pytest.fixture(name="case", scope="module")
def made_case(tmp_path_factory):
    """Made by a run that was killed with some of its parts done, and one that went on from there."""
    case = Case(tmp_path_factory.mktemp("case"))
    (case.folder / "hold").touch()
    killed = case.start()
    while len(case.parts()) < 4 and killed.poll() is None:
        time.sleep(0.1)
    os.killpg(killed.pid, signal.SIGKILL)
    killed.wait()
    (case.folder / "hold").unlink()
    before = {name: when for name, when in case.parts().items() if name.endswith("/part-0.parquet")}
    code, said = case.run()
    assert code == 0 and len(before) >= 2, said
    after = case.parts()
    assert set(after) == {part(table, *source) for source in SOURCES for table in ("records", "runs")}
    assert sum(after[name] == when for name, when in before.items()) >= 2
    return case


def test_every_record_is_a_row_that_another_engine_reads(case):
    files = [f"images/{name}" for name in ("desk 1/disk.dd", "torn/disk.dd", "made/J.bin", "a/$J", "b/J.bin")]
    for source, arguments in SOURCES.items():
        done = subprocess.run([LORQ, *arguments, *OPTIONS], cwd=case.folder, check=False, capture_output=True)
        told = sorted(map(json.loads, done.stdout.splitlines()), key=lambda line: line["update_sequence_number"])
        rows, runs = ([json.loads(line) for line in subprocess.run(
            ["node", "--input-type=module", "-e", HYPARQUET, case.folder / "dataset" / part(table, *source)],
            cwd=FLEET, check=True, stdout=subprocess.PIPE).stdout.splitlines()] for table in ("records", "runs"))
        for row, line in zip(rows, told):
            line |= {"datetime_text": line["datetime"], "datetime": line["datetime"][:23] + "Z", "source_path": line.pop("source")}
            assert {key: value for key, value in row.items() if value is not None} == line
        content = (case.folder / arguments[1]).read_bytes()
        expected = {"exit_code": done.returncode, "records": len(told), "from_journal": len(told), "source_size": len(content),
                    "source_sha256": hashlib.sha256(content).hexdigest(), "arguments": arguments + OPTIONS, "lost_bytes": 0}
        assert len(rows) == len(told) and [{key: run[key] for key in expected} for run in runs] == [expected]
        assert runs[0]["messages"][-1] in done.stderr.decode() and (done.returncode == 255) == (source[0] == "torn")
    assert all((case.folder / name).exists() for name in files)


def test_all_parts_have_one_schema(case):
    for table, columns in (("records", 42), ("runs", 15)):
        parts = f"'dataset/{table}/*/*/*/*.parquet'"
        schemas, form = case.ask(
            f"SELECT len(columns), count(*) FROM (SELECT list((name, type, converted_type, logical_type)) AS columns"
            f" FROM parquet_schema({parts}) GROUP BY file_name) GROUP BY columns",
            f"SELECT DISTINCT compression, row_group_num_rows > 122880 FROM parquet_metadata({parts})")
        assert len(schemas) == 1 and schemas[0][1] == str(len(SOURCES)) and form == [["ZSTD", False]]
        assert int(schemas[0][0]) > columns, schemas
    kinds = "SELECT DISTINCT typeof(datetime), typeof(update_reason), bool_and(epoch_us(datetime) = timestamp), typeof(host)"
    assert case.ask(f"{kinds} FROM read_parquet('dataset/records/*/*/*/*.parquet', hive_partitioning = true) GROUP BY ALL") == [
        [["TIMESTAMP WITH TIME ZONE", "VARCHAR[]", True, "VARCHAR"]]]


def test_queries_answer_what_is_counted_by_hand(case):
    def answers(name):
        return [row for row in case.ask(FLEET / "queries" / name)[0] if row[0] in "ab" or row[1] in "ab"]

    assert answers("name.sql") == [["b", "J.bin", "\\", "1", "2024-01-02 03:04:05.678+00", "2024-01-02 03:04:05.678+00"],
                                   ["a", "$J", "\\", "2", "2024-01-02 03:09:06.678+00", "2024-01-02 03:14:06.678001+00"]]
    assert answers("extension.sql") == [["2024-01-02 03:04:00.678+00", "b", "J.bin", "\\x.txt.PDF", "exact"],
                                        ["2024-01-02 03:04:05.678+00", "a", "$J", "\\evil.pdf", "exact"]]
    assert case.ask(FLEET / "queries/gaps.sql") == [[["b", "J.bin", "1", "72", "2024-01-02 03:05:44.678+00", "2024-01-02 03:09:05.678+00"]]]
    assert answers("busiest.sql") == [["a", "2024-01-02 03:04:00+00", "2", "1"], ["b", "2024-01-02 03:05:00+00", "40", "40"]]
    assert answers("short_lived.sql") == [["a", "$J", "2024-01-02 03:04:05.678+00", "00:05:00", "\\evil.pdf"]]


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
