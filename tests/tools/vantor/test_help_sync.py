"""The manual page and the completions know what --help knows."""

import os
import pty
import re
import select
import shlex
import shutil
import subprocess

import pytest
from conftest import ROOT, subcommands, write

MANUAL = ROOT / "docs/vantor.1"
COMPLETION = ROOT / "tools/vantor/completion"
BASH = """source $0/vantor.bash
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
_vantor
printf '%s\n' "${COMPREPLY[@]}"
"""
ZSH = """fpath=($COMPLETION $fpath)
autoload -Uz compinit; compinit -u -D
compadd() {
    if [[ ${@[1,(i)(-|--)]} == *-(O|A|D)\\ * ]] { builtin compadd "$@"; return }
    local -a hits; builtin compadd -A hits "$@"; print -rl -- "<"${^hits}">"
}
finish() { print "<end>" }
zle -N finish
bindkey "^X" finish
PROMPT="ready>"
"""


def completed(vantor, line):
    """What bash's completion offers for the last word of a line."""
    words = shlex.split(line.replace("=", " = ")) + [""] * (line[-1:] in " ")
    words = ["bash", "-c", BASH, COMPLETION, vantor.path, *words]
    return subprocess.run(words, stdout=subprocess.PIPE, check=True, text=True).stdout.split()


def completed_by_fish(vantor, line):
    command = f"source {COMPLETION}/vantor.fish; complete -C '{vantor.path} {line}'"
    words = ["fish", "--no-config", "-c", command]
    text = subprocess.run(words, stdout=subprocess.PIPE, check=True, text=True).stdout
    return [offer.split("\t")[0] for offer in text.splitlines()]


def completed_by_zsh(vantor, line):
    write(".zshrc", ZSH.encode())
    process, terminal = pty.fork()
    if process == 0:
        os.execvpe("zsh", ["zsh", "-i"], {**os.environ, "ZDOTDIR": os.getcwd(), "COMPLETION": str(COMPLETION)})

    def shown_until(mark):
        text = b""
        while mark not in text:
            assert select.select([terminal], [], [], 60)[0], text
            text += os.read(terminal, 4096)
        return text.decode().partition(mark.decode())[0]

    shown_until(b"ready>")
    os.write(terminal, f"{vantor.path} {line}\t\x18".encode())
    offers = re.findall("<([^>]+)>", shown_until(b"<end>"))
    os.close(terminal)
    os.waitpid(process, 0)
    return offers


def test_the_manual_page_is_what_the_tool_writes(vantor):
    assert vantor("--manual").text == MANUAL.read_text(), "vantor --manual >docs/vantor.1 renews it"


def test_subcommands_are_completed_and_named_where_one_is_expected(vantor):
    commands = subcommands(vantor.path)
    assert completed(vantor, "") == ["-h", "--help", "--version", "--service", "-q", "--quiet", *commands]
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


@pytest.mark.parametrize("shell", ["bash", "fish", "zsh"])
@pytest.mark.parametrize("line, expected", [
    ("record bug.vrec wa", "warp"),
    ("record bug.vrec warp photo.png --rot", "--rotate"),
    ("warp photo.png --backend ", "hardware software"),
    ("serve --backend ", "faulty model pipe trace"),
    ("scale photo.png --yuv-range=f", "--yuv-range=full"),
    ("--service s.sock record bug.vrec sc", "scale"),
    ("warp pho", "photo.png"),
    ("warp photo.png --grid=pho", "--grid=photo.png"),
])
def test_words_and_file_names_are_completed(vantor, shell, line, expected):
    if not shutil.which(shell):
        pytest.skip(f"{shell} is not installed")
    write("photo.png", b"")
    offers = {"bash": completed, "fish": completed_by_fish, "zsh": completed_by_zsh}[shell](vantor, line)
    if shell == "bash":  # leaves file names to its default, and takes "=" as a word
        expected = "" if "photo.png" in expected else expected.rpartition("=")[2]
    if shell == "zsh" and "grid" in expected:
        expected = "photo.png"  # completed behind "="
    assert sorted(offers) == expected.split()
