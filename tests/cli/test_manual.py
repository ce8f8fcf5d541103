"""The manual page and the completion have exactly the options that the program takes, with a value or without."""
import pathlib
import re
import subprocess

ROOT = pathlib.Path(__file__).parents[2]
COMPLETION = ROOT / "docs/lorq.bash-completion"


def taken_options():
    """Every text of the parser's sources that is as a whole the name of an option, and those that take a value."""
    lines = [line for source in (ROOT / "src/app").glob("*.cpp") for line in source.read_text().splitlines()]
    named = {line: re.findall(r'"(--?[a-z]\w*|/\?)"', line) for line in lines}
    valued = {name for line in lines if re.search(r"\b(valued|option_value)\(", line) for name in named[line]}
    # The last is no option: a message has that name for another.
    return {name for names in named.values() for name in names} - {"-include_mft_slack_space"}, valued


def manual_options():
    items = re.findall(r"^\.It ((?:Fl|Li) .*)", (ROOT / "docs/lorq.1").read_text(), re.MULTILINE)
    spellings = [re.fullmatch(r"(?:Fl (\S+)|Li (/\?))( Ar \w+)?", part) for item in items for part in item.split(" , ")]
    spellings = [match for match in spellings if match]  # the others are the words of the MFT status
    names = ["-" + match[1] if match[1] else match[2] for match in spellings]
    assert len(names) == len(set(names))
    return set(names), {name for name, match in zip(names, spellings) if match[3]}


def complete(*words, folder=ROOT):
    """What the completion offers for the last word."""
    script = 'source "$0"; COMP_WORDS=(lorq "$@"); COMP_CWORD=$#; _lorq; printf "%s\\n" "${COMPREPLY[@]}"'
    done = subprocess.run(["bash", "-c", script, str(COMPLETION), *words], cwd=folder, check=True, capture_output=True)
    return set(done.stdout.decode().split())


def test_manual():
    assert manual_options() == taken_options()


def test_completion(tmp_path):
    names, valued = taken_options()
    assert complete("") == names
    assert complete("-xml", "-show_") == {"-show_offset", "-show_dir_path"}
    (tmp_path / "J.bin").touch()
    with_files = {name for name in names if "J.bin" in complete(name, "J", folder=tmp_path)}
    assert with_files == {"-file", "-image", "-partition", "-mftfile", "-out", "-outfile", "-diags"}
    assert {name for name in names if "-xml" not in complete(name, "-xml", folder=tmp_path)} == valued


def test_readme_shows_what_the_program_writes(lorq, make):
    make("--records", "2000")
    shown = re.findall(r"^    \$ lorq -file J\.bin(.*)\n((?:    .+\n)+)", (ROOT / "README.md").read_text(), re.MULTILINE)
    assert len(shown) == 7
    for options, lines in shown:
        rows = [line[4:] for line in lines.splitlines() if not re.match('    (lorq|run|"cmd)', line)]
        written = [line.rstrip() for line in lorq("-file", "made", *options.split()).out.splitlines()]
        assert "\n".join(rows) in "\n".join(written)
