"""vantor grid: files of grids, what is told of them, and drawings."""

import re
import struct

import pytest
from conftest import read, write


@pytest.fixture
def turn(vantor):
    """turn.grid, and turn.txt made of it."""
    vantor("grid --rotate 2 --size 320x180 -o turn.grid")
    vantor("grid turn.grid -o turn.txt", text="grid of turn.grid")


def test_only_a_faulty_grid_fails_the_check(vantor):
    vantor("grid --rotate 2 --size 320x180 --check", text="folded cells: 0 of 1024")
    vantor("grid --lens=-1 --size 320x180 --check", 1, "folded cells:")
    vantor("grid --shift 9000,0 --size 320x180 --check", 1, "folded cells: 0 of 1024")


def test_the_mesh_is_drawn_and_padded_sizes_are_told(vantor):
    vantor("grid --rotate 2 --size 101x77", text="note: --size: 101x77 picture: warped as 112x78")
    vantor("grid --rotate 2 --size 320x180 --plot mesh.png")
    vantor("info mesh.png", text="1510x968 rgb")
    vantor("grid --rotate 2 --size 320x180 --plot far.png --exaggerate 9")
    text = vantor("compare mesh.png far.png", 1).text
    assert int(re.match(r"R: (\d+) of", text)[1]) > 100000  # in more than the words


def test_the_wire_form_holds_the_numbers_of_the_text(vantor, turn):
    numbers = [int(number) for number in re.findall(rb"-?\d+", read("turn.txt").split(b"dX", 1)[1])]
    vantor("grid turn.txt -o again.grid")
    assert struct.pack("<2178i", *numbers) == read("turn.grid") == read("again.grid")


def test_displacements_are_told_across_and_down(vantor):
    text = "displacements: -8.00 to -8.00 pixels across, 4.00 to 4.00 down"
    vantor("grid --shift 8,-4 --size 320x192", text=text)


def test_text_may_have_as_many_bytes_as_the_wire_form(vantor):
    vantor("grid --zoom 1 --size 320x180 -o long.txt")
    first, _, rest = read("long.txt").split(b"\n", 2)
    write("long.txt", first + b"\n#" + b"x" * (8712 - len(first + rest) - 3) + b"\n" + rest)
    assert len(read("long.txt")) == 8712
    vantor("grid long.txt", text="displacements: 0.00 to 0.00")


def test_what_is_no_grid_is_refused(vantor, chart, turn):
    vantor("grid chart.png", 2, "chart.png: not a grid file: ")
    write("more.txt", read("turn.txt") + b"7\n")
    vantor("grid more.txt", 2, "more.txt: not a grid file: line 71: '7', expected the end")
    write("broken.txt", read("turn.txt").replace(b"dY", b"dZ"))
    vantor("warp chart.png -o x.png --grid broken.txt", 2, "broken.txt: not a grid file: line 37: 'dZ', expected dY")
