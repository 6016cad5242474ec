"""Hostile files, names and values do no harm: what they make the tool print, write, compute and replace."""

import json
import os
import re
import shutil
import stat

import pytest

from conftest import CALIBRATIONS

# A title, a newline and a line that looks like the tool's own; DEL, C1, invalid UTF-8, a surrogate, overlong forms; and
# two harmless characters.
HOSTILE = b"\x1b]0;a\x07\x7f\xc2\x9b1m\nvantor:b\xff\xed\xa0\x80\xc0\x8a\xe0\x82\xa9\xf5\xe2\x82\xc3\xa9\xf0\x9f\x93\xb7"
SHOWN = r"\x1b]0;a\x07\x7f\xc2\x9b1m\x0avantor:b\xff\xed\xa0\x80\xc0\x8a\xe0\x82\xa9\xf5\xe2\x82é📷"
NAME = os.fsdecode(HOSTILE)
WORD = HOSTILE.replace(b"\n", b"")  # where line ends separate
SHOWN_WORD = SHOWN.replace(r"\x0a", "")
K = "K: [300, 0, 160, 0, 300, 90, 0, 0, 1]\n"
SIZE = "image_size: [320, 180]\n"
LIMIT = 524288


def expect_escaped(result):
    assert not re.search("[\x00-\x09\x0b-\x1f\x7f-\x9f]", result.bytes.decode()), result.bytes


@pytest.mark.parametrize(
    "arguments, status, shown",
    [
        ([NAME], 2, SHOWN + ": expected a sub-command"),
        (["info", "--" + NAME], 2, "--" + SHOWN),
        (["info", NAME + ".png"], 2, SHOWN + ".png: No such file"),
        (["scale", "chart.png", "-o", NAME + ".png", "--size", "8x8"], 0, f"to {SHOWN}.png 8x8 rgb: reduced"),
        (["warp", "chart.png", "-o", "x.png", "--lens", NAME], 2, f"--lens {SHOWN}: expected"),
        (["info", "tag.y4m"], 2, f"Y4M sample format C{SHOWN_WORD}: expected"),
        (["grid", "--calibration", "value.yml"], 2, f"has '{SHOWN_WORD}', expected a number"),
        (["grid", "--calibration", "model.xml"], 2, f"distortion_model is '{SHOWN_WORD}', expected plumb_bob"),
        (["grid", "--sequence", "index.txt"], 2, r"index.txt: line 1: \xc2\x9b\xff: No such file"),
        (["grid", "words.grid"], 2, r"line 1: '\xc2\x9b\xff', expected dX"),
        (["grid", NAME + ".grid", "-o", "made.txt"], 0, f"grid of {SHOWN}.grid, for pictures"),
        (["explain", "chart.png", "1", "1", "--grid", NAME + ".grid"], 0, f"warped (grid of {SHOWN}.grid)"),
        (["view", "chart.png", "-o", NAME + ".html"], 0, SHOWN + ".html: HTML viewer"),
        (["grid", NAME + ".grid", "--json"], 0, r'"grid": "grid of \u001b]0;a\u0007\u007f\u009b1m\nvantor:b\ufffd'),
    ],
)
def test_nothing_controls_the_terminal(vantor, chart, arguments, status, shown):
    with open("tag.y4m", "wb") as clip:
        clip.write(b"YUV4MPEG2 W8 H8 C" + WORD + b"\n")
    with open("value.yml", "wb") as calibration:
        calibration.write(b"K: [" + WORD.replace(b"]", b"") + b"]\n")
    with open("model.xml", "wb") as calibration:
        calibration.write(f"<r><K>{K[4:-2].replace(',', ' ')}</K><distortion_model>".encode() + WORD)
        calibration.write(b"</distortion_model></r>")
    with open("index.txt", "wb") as index:
        index.write(b"0 \xc2\x9b\xff")
    with open("words.grid", "wb") as grid:
        grid.write(b"\xc2\x9b\xff")
    vantor(["grid", "--zoom", "1", "--size", "320x180", "-o", NAME + ".grid"])
    result = vantor(arguments, status, shown.replace("]", "") if "value.yml" in arguments else shown)
    expect_escaped(result)
    if os.path.exists("made.txt"):
        assert SHOWN in open("made.txt", encoding="utf-8").read()


def test_environment_and_records_are_escaped(vantor, chart):
    expect_escaped(vantor("info", 2, f"VANTOR_CPU={SHOWN}: expected", env={"VANTOR_CPU": NAME}))
    vantor(["record", "a.vrec", "scale", "chart.png", "-o", NAME + ".png", "--size", "8x8"], text=SHOWN)
    result = vantor("replay a.vrec --json")
    expect_escaped(result)
    assert any("\u009b1m" in word for word in json.loads(result.text)["recorded_by"]["arguments"])


@pytest.mark.parametrize("mode, owner, expected", [
    (0o6751, None, 0o751), (0o1640, None, 0o640), (0o4755, 65534, None), (0o600, 65534, None)])  # fmt: skip
def test_a_replaced_file_gives_its_permissions_to_its_owner_only(vantor, chart, mode, owner, expected):
    shutil.copy(chart, "old.png")
    if owner:
        if os.geteuid() != 0:
            pytest.skip("only root gives files away")
        os.chown("old.png", owner, owner)
    os.chmod("old.png", mode)
    vantor("scale chart.png -o old.png --size 8x8")
    mask = os.umask(0)
    os.umask(mask)
    found = os.stat("old.png")
    assert found.st_uid == os.geteuid()
    assert stat.S_IMODE(found.st_mode) == (0o666 & ~mask if expected is None else expected)


@pytest.mark.parametrize("name, option", [("a.yml", "--calibration"), ("a.xml", "--calibration"), ("a.grid", "--grid")])
def test_long_texts_are_refused(vantor, chart, name, option):
    with open(name, "wb") as text:
        text.truncate(10 << 20)
    vantor(f"warp chart.png -o x.png {option} {name}", 2, f"{name}: 10485760 bytes: expected at most {LIMIT}")


def test_texts_up_to_the_limit_are_read(vantor):
    text = (CALIBRATIONS / "five.yml").read_text()
    for extra in 0, 1:
        with open("long.yml", "w") as calibration:
            calibration.write(text + "#" * (LIMIT - len(text) + extra))
        vantor("grid --calibration long.yml", 2 * extra, f"long.yml: {LIMIT + 1} bytes" if extra else "displacements: ")


@pytest.mark.parametrize("entries, trouble", [
    ("x: &x [1, 2]\nD: *x\n", "D contains an alias"),
    ("D: [" + "0," * 101 + "]\n", "D has more than 100 elements"),
    ("? {D: [1]}\n: {D: [2]}\nx: [{D: [3]}, [K: 1]]\nD: {data: [0, 0, 0, 0], x: [1, data: 2]}\n", ""),
    ("D: [1]\nD: [[0, 0], [0, 0]]\n", ""),
    ("D: [" + "0, " * 12 + "0.1, 0]\n", "tilts the sensor by its last two elements"),
    ("D: [[[1]], 0, 0, 0, 0]\n", "")])  # fmt: skip
def test_entries_of_yaml(vantor, entries, trouble):
    with open("a.yml", "w") as calibration:
        calibration.write(K + SIZE + entries)
    vantor("grid --calibration a.yml", 2 if trouble else 0, trouble or "displacements: 0.00 to 0.00")


@pytest.mark.parametrize("arguments, option", [
    ("scale chart.png -o x.png --size 50% --verify ''", "--verify"),
    ("scale chart.png -o x.png --size 50% --skip ''", "--skip"),
    ("scale chart.png -o '' --size 50%", "--output"),
    ("warp chart.png -o x.png --rotate ''", "--rotate"),
    ("warp chart.png -o x.png --lens ''", "--lens"),
    ("record x.vrec warp chart.png -o x.png --zoom 2 --times ''", "--times"),
    ("grid --calibration ''", "--calibration"),
    ("grid ''", "GRID"),
    ("info ''", "PICTURE")])  # fmt: skip
def test_empty_values_are_refused(vantor, chart, arguments, option):
    vantor(arguments, 2, f"vantor: {option}: expected a value, and it is empty")


@pytest.mark.parametrize("command", ["scale --size 50%", "warp --rotate 1"])
def test_the_input_is_not_replaced_unasked(vantor, chart, command):
    before = open(chart, "rb").read()
    os.symlink("chart.png", "link.png")
    os.link(chart, "hard.png")
    command = command.split()
    for output in "chart.png", "./chart.png", "link.png", "hard.png":
        text = f"--output {output}: expected another file than chart.png; --overwrite-input replaces it"
        vantor([*command, "chart.png", "-o", output], 2, text)
        assert open(chart, "rb").read() == before
    vantor([*command, "chart.png", "-o", "link.png", "--overwrite-input"])
    assert os.path.islink("link.png") and open(chart, "rb").read() != before


def test_other_inputs_are_not_replaced(vantor, chart):
    vantor("scale chart.png -o a.y4m --size 100%")
    vantor("grid --rotate 1 --size 320x180 -o a.grid")
    with open("a.y4m", "rb") as clip:
        vantor("scale - -o a.y4m --size 50%", 2, "--output a.y4m: expected another file than /dev/stdin", stdin=clip)
    vantor("warp chart.png -o a.grid --grid ./a.grid", 2, "--output a.grid: expected another file than ./a.grid")
    vantor("warp chart.png -o x.png --grid a.grid --times ./a.grid", 2, "--times ./a.grid: expected another file than")
    vantor("grid a.grid -o ./a.grid", 2, "--output ./a.grid: expected another file than a.grid")


@pytest.mark.parametrize("arguments", [
    "--rotate 1e308", "--zoom 1e-320", "--shift 1e13,0", "--lens 1e300", "--shear 1,0.9999999999999999",
    "--calibration 1e-300,0", "--calibration 300,1e300"])  # fmt: skip
def test_warps_without_finite_positions_are_refused(vantor, chart, arguments):
    if "--calibration" in arguments:
        focal, k1 = arguments.split()[1].split(",")
        with open("a.yml", "w") as calibration:
            calibration.write(K.replace("300", focal) + SIZE + f"D: [{k1}, 0, 0, 0]\n")
        arguments = "--calibration a.yml"
    for command in "grid --size 320x180", "warp chart.png -o x.png":
        vantor(f"{command} {arguments}", 2, "expected finite positions within 1e+12 pixels")
