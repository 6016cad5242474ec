"""A grid per frame: files of grids, what is told of them, interpolated, and applied."""

import os
import random
import re
import struct
from fractions import Fraction
from math import floor

import pytest
from conftest import read, write

SIZE = "96x64"
FRAME = 96 * 64 * 3 // 2


@pytest.fixture(autouse=True)
def sequence(vantor, directory):
    """k0.grid to k4.grid, one of them as text too; five.grids of all; index.txt and keys.txt; a clip of five frames."""
    for k in range(5):
        vantor(f"grid --rotate {k} --size {SIZE} -o k{k}.grid")
    vantor("grid k3.grid -o k3.txt")
    write("five.grids", b"".join(read(f"k{k}.grid") for k in range(5)))
    os.mkdir("lists")
    lines = b"".join(b"%d ../k%d.grid\r\n" % (k, k) for k in range(3))
    write("lists/index.txt", b"# frame file\n%s\n 3 \t ../k3.txt \n4 %s/k4.grid" % (lines, os.fsencode(directory)))
    write("keys.txt", b"0 k0.grid\n4 k4.grid\n")
    write(f"clip_{SIZE}.nv12", random.Random(1).randbytes(5 * FRAME))


@pytest.mark.parametrize("grids", ["five.grids", "lists/index.txt"])
@pytest.mark.parametrize("jobs", [1, 3])
def test_each_frame_is_that_of_its_grid_alone(vantor, grids, jobs):
    clip = f"clip_{SIZE}.nv12"
    vantor(f"warp {clip} -o x.nv12 --grids {grids} --jobs {jobs} --hash --times times.txt", text=f"(grids of {grids})")
    hashes = re.findall(r"^\d \d+\.\d{3} ([0-9a-f]{16})$", read("times.txt").decode(), re.MULTILINE)
    assert len(hashes) == 5
    for k in range(5):
        vantor(f"warp {clip} -o one.nv12 --grid k{k}.grid --skip {k} --limit 1 --verify {hashes[k]}")
        assert read("x.nv12")[k * FRAME : (k + 1) * FRAME] == read("one.nv12")
        vantor(f"warp {clip} -o part.nv12 --grids {grids} --skip {k} --limit 1 --backend hardware --verify {hashes[k]}")


def test_nodes_between_numbered_frames_are_rounded_to_nearest(vantor):
    ends = [random.Random(seed).choices([-(2**31), 2**31 - 1, -3, 0, 1, 6], k=2178) for seed in (1, 2)]
    for k, values in zip((0, 7), ends):
        write(f"k{k}.grid", struct.pack("<2178i", *values))
    write("keys.txt", b"0 k0.grid\n7 k7.grid\n8 k2.grid\n")
    vantor(f"grid --sequence keys.txt --interpolate --size {SIZE} -o made.grids")
    for frame in range(8):
        values = struct.unpack_from("<2178i", read("made.grids"), 8712 * frame)
        assert list(values) == [floor(a + Fraction(b - a) * frame / 7 + Fraction(1, 2)) for a, b in zip(*ends)]
    assert read("made.grids")[8712 * 8 :] == read("k2.grid")


def test_a_sequence_is_shown_and_checked(vantor):
    vantor(f"grid --sequence five.grids --size {SIZE} --check", text="five.grids: 5 grids, for pictures of 96x64")
    document = vantor(f"grid --sequence lists/index.txt --size {SIZE} --json").json()
    assert [row["frame"] for row in document["grids"]] == list(range(5)) and "change" not in document["grids"][0]
    one = vantor(f"grid --rotate 4 --size {SIZE} --json").json()
    assert document["largest_displacement"]["frame"] == 4
    assert document["largest_displacement"]["pixels"] >= one["largest_move"][0] > 2
    write("far.grids", read("k0.grid") + struct.pack("<i", 9000000) + read("k0.grid")[4:])
    text = vantor(f"grid --sequence far.grids --size {SIZE} --check", 1, "beyond the engine's range: 1").text
    assert re.search(r"^ +1 +205\.99 +205\.99 +[1-4] +1$", text, re.MULTILINE)  # 9000000 / 256 / 16384 x 96


@pytest.mark.parametrize("index, arguments, text", [
    ("", "--grids five.grids --limit 2", "five.grids: grids for 5 frames, clip_96x64.nv12 has 4"),
    ("1 k1.grid", "--grids list.txt", "list.txt: line 1: frame 1, expected frame 0, the first"),
    ("0 k0.grid\n3 k1.grid", "--grids list.txt", "frame 3, expected frame 1: every frame has a grid, or --inter"),
    ("0 k0.grid\n0 k1.grid", "--grids list.txt", "list.txt: line 2: frame 0, expected frame 1 or a later one"),
    ("0 k0.grid\n1 k9.grid", "--grids list.txt", "list.txt: line 2: k9.grid: No such file"),
    ("0 k0.grid\n1 .", "--grids list.txt", "list.txt: line 2: .: a directory: expected a regular file"),
    ("# nothing", "--grids list.txt", "list.txt: no grid: expected lines of a frame's number and a grid file"),
    ("10000000 k0.grid", "--grids list.txt", "line 1: '10000000 k0.grid', expected a frame's number, 0 to 9999999,"),
    ("0k0.grid", "--grids list.txt", "line 1: '0k0.grid', expected a frame's number"),
    ("", "--grids k3.txt", "k3.txt: line 3: 'dX', expected a frame's number"),
    ("", "--grids clip_96x64.nv12", "not a sequence of grids: 36864 bytes that are not text, expected a multiple of "),
    ("", "--grids five.grids --rotate 2", "several warps: expected one of a grid file, a sequence of grids, --matrix"),
    ("", "--interpolate --rotate 2", "--interpolate requires --grids"),
])
def test_refused_sequences(refuse, index, arguments, text):
    write("list.txt", index.encode())
    write(f"clip_{SIZE}.nv12", bytes(4 * FRAME))
    refuse(f"warp clip_{SIZE}.nv12 {arguments}", text, output="kept.nv12")


@pytest.mark.parametrize("frames, text", [(6, "grids for 5 frames, and the clip has more"),
                                          (4, "grids for 5 frames, - has 4")])
def test_the_frames_of_a_pipe_are_counted_as_they_come(vantor, refuse, frames, text):
    refuse(f"warp - --input-size {SIZE} --input-format nv12 --grids five.grids", text, output="kept.nv12",
           input=bytes(frames * FRAME))


def test_no_grid_of_a_sequence_is_overwritten(vantor):
    for command in f"warp clip_{SIZE}.nv12 --grids", "grid --sequence":
        vantor(f"{command} keys.txt --interpolate -o k4.grid", 2, "expected another file than k4.grid")
    vantor("grid --sequence five.grids -o made.txt", 2, "made.txt: a sequence is written in binary form")


def test_grids_are_read_when_they_are_due(vantor, not_sanitized):
    for name, frame in ("long.grids", 8712), (f"long_{SIZE}.gray", 96 * 64):
        write(name, b"")
        os.truncate(name, 8000 * frame)
    arguments = f"warp long_{SIZE}.gray -o x.gray --grids long.grids --jobs 2"
    vantor(arguments, under="prlimit --data=50000000", text="8000 frames")
