"""Times lorq on made-up journals and writes the table bench/results.md. Called by scripts/bench.

Each command runs several times on one core with its output on /dev/null; the best time counts, and the highest memory.
"""
import argparse
import os
import pathlib
import platform
import re
import shutil
import subprocess
import time

HOUSE = pathlib.Path(__file__).resolve().parent.parent
FOLDER = HOUSE / "build" / "bench"
LORQ = HOUSE / "build" / "release" / "lorq"
MAKER = HOUSE / "build" / "release" / "lorq-make-journal"
STORY = HOUSE / "build" / "release" / "lorq-make-story"
READ_EWF = HOUSE / "build" / "release" / "lorq-read-ewf"
VOLUME_MAKER = HOUSE / "build" / "release" / "lorq-make-volume"
LEAD = 65536
STORY_SIZES = (20_000, 200_000, 2_000_000)  # directories, files, records
LAYOUTS = ["", "-csv", "-csvgen", "-multiline", "-no_whitespace", "-pair_datetime", "-base10 -show_offset", "-csv_separator tab",
           "-xml", "-bodyfile", "-csvl2t", "-jsonl", "-complete", "-find no-such-name"]


def make(name, records, *options):
    path = FOLDER / name
    subprocess.run([MAKER, "--records", str(records), "--closed", "100", *options, path], check=True)
    return path


def run(command, times, codes=(0,), pause=0):
    """(best seconds, highest resident bytes) of a command line; paths of the project are cut from what is shown."""
    best, memory = float("inf"), 0
    for _ in range(times):
        time.sleep(pause)
        before = time.monotonic()
        with open(os.devnull, "wb") as nothing:
            child = subprocess.Popen(["taskset", "-c", "1" if os.cpu_count() > 1 else "0", *map(str, command)],
                                     stdout=nothing, stderr=nothing)
            _, status, usage = os.wait4(child.pid, 0)
            child.returncode = os.waitstatus_to_exitcode(status)
        best = min(best, time.monotonic() - before)
        memory = max(memory, usage.ru_maxrss * 1024)
        if child.returncode not in codes:
            raise SystemExit(f"{command} ended with {child.returncode}")
    return best, memory


def shown(command):
    return " ".join(map(str, command)).replace(str(FOLDER) + "/", "").replace(str(LORQ.parent) + "/", "")


def row(what, command, records, times=5, pause=0):
    seconds, memory = run(command, times, pause=pause)
    line = f"| {what} | `{shown(command)}` | {seconds:.2f} | {records / seconds / 1e6:.2f} | {memory / 2**20:.0f} |"
    print(line, flush=True)
    return line, seconds, memory


def volume_with(journal):
    """A journal as a file of an NTFS volume, made without mounting anything; (image, MFT entry of the file)."""
    image = FOLDER / "volume.img"
    with open(image, "wb") as out:
        out.truncate(journal.stat().st_size * 5 // 4 + 2**26)
    quiet = {"check": True, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    subprocess.run(["mkntfs", "-F", "-Q", "-q", image], **quiet)
    subprocess.run(["ntfscp", image, journal, "journal"], **quiet)
    found = subprocess.run(["ifind", "-n", "/journal", image], check=True, capture_output=True, text=True).stdout
    return image, found.strip()


def layouts(records):
    journal = make("journal.bin", records)
    rows = {layout: row(layout or "default table", [LORQ, "-file", journal, *layout.split()], records) for layout in LAYOUTS}
    _, default, peak = rows[""]
    rows["page"] = row("-csv and the page", [LORQ, "-file", journal, "-csv", "-report", FOLDER / "page.html"], records)
    image, entry = volume_with(journal)
    line, other, _ = row("Sleuth Kit, the same journal in a volume", ["usnjls", image, entry], records, 3)
    image.unlink()
    bytes_of_records = journal.stat().st_size - LEAD
    return [*(made for made, _, _ in rows.values()), line], [
        f"- The default table is written at {other / default:.1f} times the rate of `usnjls`.",
        f"- Its peak resident memory is {peak / bytes_of_records:.2f} times the bytes of the records "
        f"({bytes_of_records / 2**20:.0f} MiB).",
        f"- XML takes {rows['-xml'][1] / default:.2f} times as long, JSON Lines {rows['-jsonl'][1] / default:.2f}, `-complete` "
        f"{rows['-complete'][1] / default:.2f}, a `-find` that matches nothing {rows['-find no-such-name'][1] / default:.2f}.",
        f"- A page of `-report` adds {(rows['page'][1] - rows['-csv'][1]) / default:.0%} of the time of the default table."]


def repeats(count):
    """A journal of a volume, and the same twice again in its free clusters, which carving finds."""
    page, times = 4096, 3
    journal, image = make("repeats.bin", count // times), FOLDER / "repeats.img"
    size = (times + 1) * journal.stat().st_size // 2**20 + 64
    subprocess.run([VOLUME_MAKER, "--size", f"{size}M", "--journal", journal, image], check=True, stdout=subprocess.DEVNULL)
    bitmap = subprocess.run(["ntfscat", "-i", "6", image], check=True, capture_output=True).stdout
    free = (at for at in range(size * 2**20 // page - 1) if not bitmap[at // 8] >> at % 8 & 1)
    with open(image, "r+b") as volume, open(journal, "rb") as records:  # a child's memory is at least what this program has
        for _ in range(times - 1):
            records.seek(LEAD)
            while content := records.read(page):
                os.pwrite(volume.fileno(), content, next(free) * page)
    command = [LORQ, "-image", image, "-include_unalloc_clusters", "-complete"]  # which needs no such entries in the MFT
    found = count // times * times
    line, seconds, memory = row("carved, each record three times", command, found)
    once, longer, larger = row("carved, each record once", [*command, "-unique"], found)
    image.unlink()
    return [line, once], (f"- `-unique` takes {longer / seconds:.2f} times as long over carved repeats, and "
                          f"{(larger - memory) / found:.1f} bytes a record.")


def carving():
    """Random bytes in the free clusters of a volume, against a program that only reads them."""
    image, size = FOLDER / "random.img", 2 * 2**30
    subprocess.run([VOLUME_MAKER, "--size", str(size), image], check=True, stdout=subprocess.DEVNULL)
    with open(image, "r+b") as volume, open("/dev/urandom", "rb") as random:
        volume.seek(size // 8)  # behind what mkntfs writes but for the middle, where its copy of the MFT's beginning is
        for _ in range(size // 4 // 2**20):
            volume.write(random.read(2**20))
        volume.seek(size * 5 // 8)
        for _ in range(size // 4 // 2**20):
            volume.write(random.read(2**20))
    lines, seconds = [], []
    for what, command in [("cat", ["cat", image]),
                          ("carved", [LORQ, "-image", image, "-include_unalloc_clusters"]),
                          ("carved, -complete", [LORQ, "-image", image, "-include_unalloc_clusters", "-complete"])]:
        best, memory = run(command, 5, codes=(0, 255))  # a volume without records
        lines.append(f"| 2 GiB, half of it random, {what} | `{shown(command)}` | {best:.2f} | | {memory / 2**20:.0f} |")
        seconds.append(best)
    image.unlink()
    return lines, (f"- Carving reads free clusters at {seconds[0] / seconds[1]:.0%} of the speed of `cat`, with `-complete` at "
                   f"{seconds[0] / seconds[2]:.0%}.")


def lead():
    journal = make("lead.bin", 1000, "--sparse-lead", str(20 * 2**30))
    line, seconds, _ = row("1000 records behind a hole of 20 GiB", [LORQ, "-file", journal], 1000)
    return line, f"- A hole of 20 GiB before the records costs {seconds:.3f} s."


def filled_volume(name, size, begin, length):
    """A volume of a journal and, where `length` bytes behind `begin` are zeros, of the program's own bytes instead."""
    piece, filling, image = 2**20, LORQ.read_bytes(), FOLDER / name
    journal = make("filled.bin", 300_000, "--sparse-lead", str(LEAD))
    subprocess.run([VOLUME_MAKER, "--size", size, "--files", "4000", "--journal", journal, image], check=True, stdout=subprocess.DEVNULL)
    filling = (filling * (piece // len(filling) + 2))[:2 * piece - 1]
    with open(image, "r+b") as out:
        for at in range(begin, begin + length, piece):
            if not any(os.pread(out.fileno(), piece, at)):
                turn = at // piece * 4099 % (piece - 1)
                os.pwrite(out.fileno(), filling[turn:turn + piece], at)
    return image


def containers():
    """Carving whole disks in containers."""
    carving = ["-quiet", "-csv", "-include_unalloc_clusters"]
    image = filled_volume("v.dd", "1536M", 0, 1536 * 2**20)
    subprocess.run(["ewfacquire", "-u", "-t", FOLDER / "v", "-c", "deflate:fast", "-S", "1900MiB", image], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    segment = FOLDER / "v.E01"
    plain, least, _ = row("1.5 GiB in an E01, its bytes alone", [READ_EWF, segment], 0, 3)
    lines, carved = [plain], row("1.5 GiB in an E01, carved", [LORQ, "-image", segment, *carving], 300_000, 3)
    image.unlink()
    sparse = filled_volume("sparse.dd", "1048576M", 700 * 2**30, 2**31)
    disk = FOLDER / "sparse.vhdx"
    subprocess.run(["qemu-img", "convert", "-O", "vhdx", sparse, disk], check=True)
    sparse.unlink()
    line, seconds, _ = row("2 GiB in a VHDX of 1 TiB, carved", [LORQ, "-image", disk, *carving], 300_000, 3)
    return [*lines, carved[0], line], (f"- Carving an E01 takes {carved[1] / least:.2f} times as long as reading its bytes with libewf; "
                                       f"2 GiB in a sparse VHDX of 1 TiB take {seconds:.1f} s.")


def growth(name, *options, arguments=()):
    """Each run begins after a pause. A virtual machine gives freed memory back to its host within seconds and gets it
    back at some cost: without the pause a short run finds the memory of the one before, a long one never does."""
    lines, seconds = [], []
    for records, times in [(1_000_000, 5), (20_000_000, 3)]:
        journal = make(f"{name}.bin", records, *options)
        line, best, _ = row(f"{records // 1_000_000} million, {name}", [LORQ, "-file", journal, *arguments], records, times,
                            pause=8)
        journal.unlink()
        lines.append(line)
        seconds.append(best)
    return lines, f"- 20 million records, {name}, take {seconds[1] / seconds[0]:.1f} times as long as 1 million."


def exported(image, stream, name):
    """A stream of a volume as a file, through the Sleuth Kit."""
    path = FOLDER / name
    with open(path, "wb") as out:
        subprocess.run(["icat", image, stream], stdout=out, check=True)
    return path


def paths():
    """The same records with and without paths: from a volume, and from its journal and MFT as files."""
    image = FOLDER / "story.img"
    subprocess.run([STORY, image, FOLDER / "list", "0", *map(str, STORY_SIZES)], check=True)
    entry = subprocess.run(["ifind", "-n", "/$Extend/$UsnJrnl", image], check=True, capture_output=True, text=True).stdout.strip()
    about = subprocess.run(["istat", image, entry], check=True, capture_output=True, text=True).stdout
    stream = re.search(r"\((\d+-\d+)\)\s+Name: \$J", about)[1]
    journal, mft = exported(image, f"{entry}-{stream}", "story.j"), exported(image, "0", "story.mft")
    directories, files, records = STORY_SIZES
    lines, added, past = [], [], []
    for source, more in [(["-image", image], ["-show_dir_path"]), (["-file", journal], ["-mftfile", mft])]:
        alone, seconds, memory = row(f"{records // 1_000_000} million, {source[0]}", [LORQ, *source], records, 7)
        line, longer, larger = row(f"{records // 1_000_000} million, {source[0]}, paths", [LORQ, *source, *more], records, 7)
        as_they_were, longest, largest = row(f"{records // 1_000_000} million, {source[0]}, paths as they were",
                                             [LORQ, *source, *more, "-path_history"], records, 7)
        lines += [alone, line, as_they_were]
        added.append((longer / seconds - 1, larger - memory))
        past.append((longest / longer, (largest - larger) / records))
    for name in ["story.img", "story.j", "story.mft", "list"]:
        (FOLDER / name).unlink()
    return lines, (f"- Paths and status of {records:,} records of {files:,} files in {directories:,} directories add "
                   f"{added[0][0]:.0%} to the time of a volume and {added[1][0]:.0%} to that of an extracted journal with its MFT, "
                   f"and {max(more for _, more in added) / 2**20:.0f} MiB to the memory.\n"
                   f"- Paths as they were, a tenth of the records of directories, of which {directories // 10:,} were renamed, take "
                   f"{past[0][0]:.2f} times as long and {past[0][1]:.1f} bytes a record more than paths alone from a volume, "
                   f"{past[1][0]:.2f} times and {past[1][1]:.1f} bytes from files.")


def machine():
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8"))
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    compiler = subprocess.run(["g++", "--version"], check=True, capture_output=True, text=True).stdout.splitlines()[0]
    return (f"{model[1] if model else platform.machine()}, {os.cpu_count()} cores, {memory:.0f} GiB, "
            f"Linux {platform.release()}, {compiler}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--records", type=int, default=5_000_000)
    records = parser.parse_args().records
    FOLDER.mkdir(parents=True, exist_ok=True)
    try:
        lines, findings = layouts(records)
        for part in [lambda: repeats(records), carving, paths, containers]:
            more, other = part()
            lines, findings = [*lines, *more], [*findings, other]
        line, finding = lead()
        for name, options, arguments in [("sorted", [], []), ("shuffled", ["--shuffle"], []),
                                         ("with-paths-as-they-were", [], ["-path_history"])]:
            more, other = growth(name, *options, arguments=arguments)
            lines, findings = [*lines, *more], [*findings, other]
    finally:
        shutil.rmtree(FOLDER)
    (HOUSE / "bench" / "results.md").write_text("\n".join([
        "# Speed and memory",
        "",
        f"Written by `scripts/bench`. Machine: {machine()}; each command on one core, output to /dev/null, journals in the "
        "page cache, best time of several runs.",
        f"Journals: `lorq-make-journal --records {records} --closed 100`; names of 20 units on average, all records closed.",
        "",
        "| what | command | seconds | million records/s | peak MiB |",
        "|---|---|---:|---:|---:|",
        *lines, line, "", *findings, finding, ""]), encoding="utf-8")
    print("bench/results.md is written")


main()
