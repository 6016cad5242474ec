"""Options that several sub-commands share: sizes, names of colours, notes and how to silence them, hints."""

import pathlib
import struct

import pytest

from conftest import CALIBRATIONS
from test_compare import flat, y4m

HALF = "rounded to even sizes"


@pytest.mark.parametrize(
    "size, expected, note",
    [
        ("640x", "640x360", ""),
        ("x60", "106x60", "--size x60: 106.6667 x 60 " + HALF + ", 106x60"),
        ("50%x25%", "160x46", "--size 50%x25%: 160 x 45 " + HALF + ", 160x46"),
        ("150%x", "480x270", ""),
        ("200x150%", "200x270", ""),
        ("33.1%", "106x60", ""),
        ("33%", "106x60", "--size 33%: 105.6 x 59.4 " + HALF),
    ],
)
def test_sizes(vantor, chart, size, expected, note):
    text = vantor(f"scale chart.png -o x.png -s {size}", text=f"to x.png {expected} rgb").text
    assert note in text and (HALF in text) == bool(note)
    vantor(f"crosscheck chart.png --size {size}", text=f"Y: equal ({eval(expected.replace('x', '*'))} samples)")


def test_gray_keeps_odd_sizes(vantor, chart):
    vantor("scale chart.png -o x.gray --size 33%", text="to x.gray 106x59 gray")


@pytest.mark.parametrize(
    "size, expected",
    [("x", "expected WIDTHxHEIGHT"), ("640X480", "expected WIDTHxHEIGHT"), ("50%%", "expected WIDTHxHEIGHT"),
     ("nan%", "expected a positive percentage"), ("0%x", "expected a positive percentage"),
     ("5x", "5x2: width and height must be from 4 to 16384"), ("999999999x", "width and height must be at most 16384"),
     ("101x", "101x56: width and height of a colour picture must be even")],
)  # fmt: skip
@pytest.mark.parametrize("command", ["scale chart.png -o x.png", "crosscheck chart.png"])
def test_sizes_that_are_refused(vantor, chart, command, size, expected):
    vantor(f"{command} --size {size}", 2, f"--size {size}: {expected}")


def test_strong_reductions_are_said_to_alias_once(vantor, chart):
    y4m("clip.y4m", *[flat(9)] * 3)
    assert vantor("scale clip.y4m -o x.y4m -s 10x8").text.count("expect aliasing") == 1
    assert "aliasing" not in vantor("scale clip.y4m -o x.y4m -s 50%").text
    assert "aliasing" in vantor("scale clip.y4m -o x.y4m -s 24x6").text


def test_quiet_leaves_errors_and_what_was_asked_for(vantor, chart):
    for command in "chart -o x.png", "scale chart.png -o x.png -s 10%", "warp chart.png -o x.png --rotate 1", \
                   "view chart.png -o x.html", "record x.vrec scale chart.png -o x.png --size 33%":  # fmt: skip
        assert vantor(command).text != "" == vantor(command + " --quiet").text
    assert vantor("-q chart -o x.png").text == ""
    assert vantor("scale chart.png -o x.png -s 50% -q --hash").text.startswith("vantor: hash ")
    vantor("scale none.png -o x.png -s 50% -q", 2, "none.png: No such file")
    vantor("scale chart.png -o x.png -s 50% -q --verify 0123456789abcdef", 1, "--verify 0123456789abcdef: the result")
    assert vantor("crosscheck chart.png -s 33% -q").text.startswith("hardware backend")


def test_other_names_of_matrices_and_ranges(vantor, chart):
    def converted(options):
        vantor("scale chart.png -o x.nv12 -s 100% " + options, text="RGB by")
        return pathlib.Path("x.nv12").read_bytes()

    plain = converted("")
    assert converted("--yuv-matrix bt601 --yuv-range tv") == plain
    assert converted("--yuv-matrix bt709") == converted("--yuv-matrix 709") != plain
    assert converted("--yuv-range pc") == converted("--yuv-range full") != plain
    vantor("scale chart.png -o x.nv12 -s 50% --yuv-range jpeg", 2, "jpeg: expected one of full, limited, pc, tv")


def test_the_range_tag_of_a_clip_is_heeded(vantor):
    def decoded(tag, options=""):
        y4m("clip.y4m", flat(200), tags=tag)
        vantor("scale clip.y4m -o x.png -s 100% " + options)
        return pathlib.Path("x.png").read_bytes()

    full, limited = decoded(" XCOLORRANGE=FULL"), decoded(" XCOLORRANGE=LIMITED")
    assert full == decoded("", "--yuv-range full") != limited
    vantor("scale x.png -o x.y4m -s 100% --yuv-range full")
    assert b" XCOLORRANGE=FULL" in pathlib.Path("x.y4m").read_bytes()
    assert limited == decoded("") == decoded(" XCOLORRANGE=FULL", "--yuv-range limited")


@pytest.mark.parametrize(
    "command", ["warp chart.png -o x.png", "view chart.png -o x.html", "grid", "explain chart.png 0 0",
                "crosscheck chart.png --size 50%", "record x.vrec warp chart.png -o x.png"]
)  # fmt: skip
def test_errors_in_options_name_the_help_that_tells(vantor, chart, command):
    words = command.split()
    hint = f"(see vantor {words[2] if words[0] == 'record' else words[0]} --help)"
    for option, text in ("--alpha 1", "--alpha requires --calibration"), ("--fisheye", "--fisheye requires"), \
                        ("--sise", "not expected: --sise"):  # fmt: skip
        assert hint in vantor(f"{command} {option}", 2, text).text
    vantor(f"grid --calibration {CALIBRATIONS / 'five.yml'} --alpha 0.5", text="alpha 0.5")


@pytest.mark.parametrize("command", ["grid", "warp chart.png -o x.png --grid"])
def test_grids_of_the_other_byte_order_are_noted(vantor, chart, command):
    vantor("grid --rotate 3 --size 320x180 -o good.grid")
    values = struct.unpack("<2178i", pathlib.Path("good.grid").read_bytes())
    pathlib.Path("swapped.grid").write_bytes(struct.pack(">2178i", *values))
    vantor(f"{command} swapped.grid", text="beyond the engine's range; with the bytes of each value in reverse")
    assert "note" not in vantor(f"{command} good.grid").text
    pathlib.Path("few.grid").write_bytes(struct.pack("<2178i", *[0x7F00007F] * 500, *[0] * 1678))
    assert "note" not in vantor(f"{command} few.grid").text
    pathlib.Path("far.grid").write_bytes(struct.pack("<2178i", *[0x7F00007F] * 1089, *[-0x7F00007F] * 1089))
    text = vantor(f"{command} far.grid", text="1089 of 1089 nodes are beyond the engine's range").text
    assert "reverse" not in text
