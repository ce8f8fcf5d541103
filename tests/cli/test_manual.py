"""The manual page and the completion have exactly the options that the program takes, the manual page and the README every key
of its JSON; the README shows its output."""
import pathlib
import re

ROOT = pathlib.Path(__file__).parents[2]


def taken_options():
    """Every text of the parser's sources that is as a whole the name of an option, and those that take a value."""
    lines = [line for source in (ROOT / "src/app").glob("*.*") for line in source.read_text().splitlines()]
    named = {line: re.findall(r'"(--?[a-z]\w*|/\?)"', line) for line in lines}
    valued = {name for line in lines if re.search(r"\b(valued|option_value)\(|> source_options{", line) for name in named[line]}
    # The last is no option: a message has that name for another.
    return {name for names in named.values() for name in names} - {"-include_mft_slack_space"}, valued


def manual_options():
    items = re.findall(r"^\.It ((?:Fl|Li) .*)", (ROOT / "docs/lorq.1").read_text(), re.MULTILINE)
    spellings = [re.fullmatch(r"(?:Fl (\S+)|Li (/\?))( Ar \w+)?", part) for item in items for part in item.split(" , ")]
    spellings = [match for match in spellings if match]  # the others are the words of the MFT status
    names = ["-" + match[1] if match[1] else match[2] for match in spellings]
    assert len(names) == len(set(names))
    return set(names), {name for name, match in zip(names, spellings) if match[3]}


def test_manual_and_completion(lorq):
    assert manual_options() == taken_options()
    script = f"source '{ROOT}/docs/lorq.bash-completion'; COMP_WORDS=(lorq ''); COMP_CWORD=1; _lorq; echo ${{COMPREPLY[@]}}"
    assert set(lorq.tool("bash", "-c", script).decode().split()) == taken_options()[0]


def test_readers_of_json_are_told_every_key():
    sources = "".join(source.read_text() for source in (ROOT / "src/output").glob("json_*.cpp"))
    written = set(re.findall(r'\\"(\w+)\\":', sources))
    section = re.search(r"(?s)\.Sh JSON LINES\n(.*?)\.Sh ", (ROOT / "docs/lorq.1").read_text())[1]
    assert {key for item in re.findall(r"\.It Li (.*)", section) for key in item.split(" , ")} == written
    columns = re.search(r"(?s)columns = {(.*?)}", (ROOT / "README.md").read_text())[1]
    assert set(re.findall(r"(\w+)\"?: '", columns)) == written


def test_readme_shows_what_the_program_writes(lorq):
    lorq.path(lorq.make("--records", "2000")).rename(lorq.path("J.bin"))
    shown = re.findall(r"^    \$ lorq -file J\.bin(.*)\n((?:    .+\n)+)", (ROOT / "README.md").read_text(), re.MULTILINE)
    assert len(shown) == 8
    for options, lines in shown:
        rows = [line[4:] for line in lines.splitlines() if not re.match('    (lorq|run|"cmd)', line)]
        written = [line.rstrip() for line in lorq("-file", "J.bin", *options.split()).out.splitlines()]
        assert "\n".join(rows) in "\n".join(written)
