#!/usr/bin/env python3
"""rooms.py [--check]: draws the includes between the directories of the product, the rooms, as docs/images/rooms.svg (by
Graphviz). With --check it draws nothing, and fails where an include points up or stays hidden: FLOORS lists the rooms
from the top down, and a file includes files of its own room and of rooms below only. So there is no circle either."""

import collections
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
DRAWING = ROOT / "docs/images/rooms.svg"
FLOORS = """
tools/vantor
tools/vantor/commands
tools/vantor/clip
tools/vantor/drawing
tools/vantor/library
tools/vantor/io
tools/vantor/picture
tools/vantor/base
tools/selftest
service
hardware/vantorClient
geometry
gdc_model
scaler
processor
platform/linux
""".split()
MAX_ARROWS_OF_TOOL = 25


def room_of(file):
    """The deepest room that holds a file: `path` relative to the root."""
    return max((room for room in FLOORS if file.startswith(room + "/")), key=len, default=None)


def included(file):
    """The files of this tree, relative to the root, that a file includes."""
    for name in re.findall(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', (ROOT / file).read_text(), re.M):
        for directory in "", "platform/linux/include/", "platform/linux/include/generated/":
            if (ROOT / directory / name).is_file():
                yield directory + name


def arrows():
    """Of each pair of rooms (from, to): the includes between them."""
    found = collections.defaultdict(list)
    files = subprocess.run(["git", "ls-files", "*.h", "*.cpp"], cwd=ROOT, check=True, capture_output=True, text=True)
    for file in files.stdout.split():
        for other in included(file):
            ends = room_of(file), room_of(other)
            if None not in ends and ends[0] != ends[1]:
                found[ends].append(f"{file} includes {other}")
    return found


def draw(found):
    lines = ["digraph rooms {", 'node [shape=box style=rounded fontname="sans-serif"]']
    lines += [f'"{room}"' for room in FLOORS]
    lines += [f'"{a}" -> "{b}"' for a, b in sorted(found)]
    dot = subprocess.run(["dot", "-Tsvg"], input="\n".join([*lines, "}"]), check=True, capture_output=True, text=True)
    DRAWING.write_text(dot.stdout)


def drawn():
    text = DRAWING.read_text().replace("&#45;", "-").replace("&gt;", ">")
    return set(re.findall(r"<title>(\S+)->(\S+)</title>", text))


def check(found):
    faults = []
    for (a, b), includes in found.items():
        if FLOORS.index(a) > FLOORS.index(b):
            faults += [f"points up: {text}" for text in includes]
    of_tool = [ends for ends in found if all(room.startswith("tools/vantor") for room in ends)]
    if len(of_tool) > MAX_ARROWS_OF_TOOL:
        faults.append(f"{len(of_tool)} arrows between the tool's rooms: expected at most {MAX_ARROWS_OF_TOOL}")
    if drawn() != set(found):
        faults.append("docs/images/rooms.svg is out of date: scripts/rooms.py renews it")
    return faults


if __name__ == "__main__":
    if sys.argv[1:] == ["--check"]:
        faults = check(arrows())
        print("\n".join(faults) or f"rooms: {len(FLOORS)} rooms, {len(arrows())} arrows, all down")
        sys.exit(bool(faults))
    draw(arrows())
