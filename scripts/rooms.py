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
bindings/gstreamer
verification/dpi
bindings/web
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
verification
bindings/c
geometry
gdc_model
scaler
processor
platform/linux
published
""".split()
TOOL = "tools/vantor"
MAX_ARROWS_OF_TOOL = 25
LEAVING = ' [style=dashed color="#7f9fc0"]'


def is_of_tool(room):
    return room.startswith(TOOL)


def room_of(file):
    """The deepest room that holds a file: `path` relative to the root."""
    return max((room for room in FLOORS if file.startswith(room + "/")), key=len, default=None)


def included(file):
    """The files of this tree, relative to the root, that a file includes."""
    for name in re.findall(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', (ROOT / file).read_text(), re.M):
        for directory in "", "bindings/c/", "platform/linux/include/", "platform/linux/include/generated/":
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


def label(room):
    return "main.cpp" if room == TOOL else room.removeprefix(TOOL + "/")


def graph(found):
    """In Graphviz's language. The tool's rooms stand in one frame; arrows that leave it are dashed."""
    rooms = [f'"{room}" [label="{label(room)}"]' for room in FLOORS]
    of_tool = [line for room, line in zip(FLOORS, rooms) if is_of_tool(room)]
    return "\n".join([
        "digraph rooms {",
        'graph [ranksep=0.55 nodesep=0.35 newrank=true bgcolor=white fontname="sans-serif"]',
        'node [shape=box style="rounded,filled" fillcolor=white fontname="sans-serif"]',
        'edge [color="#404040" arrowsize=0.7]',
        f'subgraph cluster_tool {{ label="{TOOL}" labeljust=l style="rounded,filled"',
        'fillcolor="#eef3fa" color="#7f9fc0"',
        *of_tool,
        "}",
        *[line for line in rooms if line not in of_tool],
        *[f'"{a}" -> "{b}"{"" if is_of_tool(a) == is_of_tool(b) else LEAVING}' for a, b in sorted(found)],
        "}",
    ])


def draw(found):
    subprocess.run([ROOT / "scripts/setup.sh", "--rooms"], check=True)
    dot = subprocess.run(["dot", "-Tsvg"], input=graph(found), check=True, capture_output=True, text=True)
    DRAWING.write_text(dot.stdout)


def drawn():
    text = DRAWING.read_text().replace("&#45;", "-").replace("&gt;", ">")
    return set(re.findall(r"<title>(\S+)->(\S+)</title>", text))


def check(found):
    faults = []
    for (a, b), includes in found.items():
        if FLOORS.index(a) > FLOORS.index(b):
            faults += [f"points up: {text}" for text in includes]
    of_tool = [ends for ends in found if all(map(is_of_tool, ends))]
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
