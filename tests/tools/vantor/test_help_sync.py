"""The manual page and the completion know what --help knows."""

import re
import shlex
import subprocess

import pytest
from conftest import ROOT, subcommands

MANUAL = ROOT / "docs/vantor.1"
COMPLETION = f"""source '{ROOT}/tools/vantor/completion/vantor.bash'
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
_vantor
echo "${{COMPREPLY[@]}}"
"""


def completed(vantor, line):
    """What the completion offers for the last word of a line."""
    words = ["bash", "-c", COMPLETION, "-", vantor.path, *shlex.split(line)]
    return subprocess.run(words, stdout=subprocess.PIPE, check=True, text=True).stdout.split()


def test_the_manual_page_is_what_the_tool_writes(vantor):
    assert vantor("--manual").text == MANUAL.read_text(), "vantor --manual >docs/vantor.1 renews it"


def test_subcommands_are_completed_and_named_where_one_is_expected(vantor):
    commands = subcommands(vantor.path)
    assert completed(vantor, "''") == ["-h", "--help", "--version", "--service", "-q", "--quiet", *commands]
    text = f"expected a sub-command: {' '.join(commands)}"
    vantor("", 2, text)
    vantor("scael", 2, f"scael: {text}")


def test_options_are_completed_and_in_the_manual(vantor, subcommand):
    listed = re.findall(r"^  (-\S+)", vantor(f"{subcommand} --help").text, re.MULTILINE)
    options = {option for names in listed for option in names.split(",")}
    assert options <= set(completed(vantor, f"{subcommand} -"))
    heading = f".SS vantor {subcommand}\n" if subcommand else ".SH DESCRIPTION\n"
    page = MANUAL.read_text().replace("\\-", "-").partition(heading)[2].split("\n.S")[0]
    for option in options - {"-h", "--help", "--version"}:
        assert re.search(rf"^\.B (.*,)?{option}( |,|$)", page, re.MULTILINE), option


@pytest.mark.parametrize("line, expected", [
    ("record bug.vrec wa", "warp"),
    ("record bug.vrec warp photo.png --rot", "--rotate"),
    ("warp photo.png --backend ''", "software hardware"),
    ("serve --backend ''", "model pipe trace faulty"),
    ("scale photo.png --yuv-range = f", "full"),
    ("--service s.sock record bug.vrec sc", "scale"),
    ("warp pho", ""),  # file names are left to bash
])
def test_values_and_recorded_commands_are_completed(vantor, line, expected):
    assert completed(vantor, line) == expected.split()
