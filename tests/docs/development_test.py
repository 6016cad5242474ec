#!/usr/bin/env python3
"""development_test.py BUILD: the additions that docs/development.md walks through fit this tree.

The blocks of code under a heading are laid over the tree: of C++, a new file, which its first line names; of a diff,
lines of one that is there. The build's own flags compile each C++ file among them; the sub-command joins the tool, and
is run."""

import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(sys.argv[1])
PAGE = (ROOT / "docs/development.md").read_text()
COMMANDS = {entry["file"]: entry["command"] for entry in json.loads((BUILD / "compile_commands.json").read_text())}


def run(words, **more):
    return subprocess.run(words, check=True, stdout=subprocess.PIPE, text=True, **more).stdout


def patched(text, diff):
    for hunk in diff.split("\n@@\n"):
        lines = hunk.splitlines()
        old, new = ("".join(f"\n{line[1:]}" for line in lines if line[:1] != sign) for sign in "+-")
        assert text.count(old + "\n") == 1, f"expected to find once:{old}"
        text = text.replace(old + "\n", new + "\n")
    return text


def lay_over(overlay, section):
    for language, block in re.findall(r"^```(cpp|diff)\n(.*?)^```$", section, re.MULTILINE | re.DOTALL):
        path, rest = re.match(r"(?:// |--- )(\S+)\n(.*)", block, re.DOTALL).groups()
        assert (ROOT / path).exists() == (language == "diff"), path
        (overlay / path).parent.mkdir(parents=True, exist_ok=True)
        (overlay / path).write_text(block if language == "cpp" else patched((ROOT / path).read_text(), rest))


def compiled(overlay, source, output):
    """`source` as it would be built, as far as `output` goes; new files as their neighbours are."""
    like = ROOT / source
    if str(like) not in COMMANDS:
        like = min(file for file in COMMANDS if pathlib.Path(file).parent == like.parent)
    words = shlex.split(COMMANDS[str(like)])
    first = next(i for i, word in enumerate(words) if word.startswith("-"))
    del words[words.index("-o"):]
    run([*words[:first], "-I", overlay, *words[first:], *output, "-c", overlay / source], cwd=BUILD)


def try_subcommand(overlay, sources):
    objects = [str(overlay / source) + ".o" for source in sources]
    for source, file in zip(sources, objects):
        compiled(overlay, source, ["-O0", "-o", file])
    link = run(["ninja", "-t", "commands", "bin/vantor"], cwd=BUILD).splitlines()[-1]
    main = "tools/vantor/CMakeFiles/vantor.dir/main.cpp.o"
    assert main in link
    tool = overlay / "vantor"
    run(link.replace(main, " ".join(objects)).replace("-o bin/vantor", f"-o {tool}"), shell=True, cwd=BUILD)
    env = {**os.environ, "LD_LIBRARY_PATH": str(BUILD / "lib")}
    run([tool, "chart", "-q", "-o", overlay / "chart.png", "--size", "64x48"], env=env)
    assert run([tool, "size", overlay / "chart.png"], env=env) == "64x48 rgb\n"


additions = re.findall(r"^### (.*?)\n(.*?)(?=^##)", PAGE.partition("\n## Adding")[2], re.MULTILINE | re.DOTALL)
assert [title for title, _ in additions] == ["A kernel", "A sub-command", "A file format", "A source of grids"]
for title, section in additions:
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        lay_over(folder, section)
        sources = sorted(str(file.relative_to(folder)) for file in folder.rglob("*.cpp"))
        if title == "A sub-command":
            try_subcommand(folder, sources)
        else:
            for source in sources:
                compiled(folder, source, ["-fsyntax-only"])
        print(f"{title}: {', '.join(sources)}")
