"""What the tool's reports say: JSON as documented, steps that add up, pages that hold any file name."""

import base64
import json
import os
import re
import subprocess

import pytest
from conftest import CALIBRATIONS, ROOT, flat, read, write

REPORTS = [
    "scale chart.png -o half.png --size 50% --hash --json",
    "scale chart.png -o made/ --size 50% --json",
    "compare chart.png made/ --json",
    f"grid --calibration {CALIBRATIONS / 'five.yml'} --json",
    "explain chart.png 160 90 --rotate 2 --json",
    "compare chart.png other.png --json",
    "crosscheck chart.png --size 160x90 --json",
    "info chart.png --json",
    "info --json",
    "replay bug.vrec --json",
    "selftest --json",
]


def members(value):
    if isinstance(value, list):
        return set().union(*map(members, value))
    if not isinstance(value, dict):
        return set()
    named = {"compiled", "in_use"} if "kernels" in value else set()
    return named.union(value, *(members(part) for name, part in value.items() if name != "kernels"))


@pytest.fixture
def files(vantor, chart):
    vantor("warp chart.png -o other.png --rotate 1")
    os.mkdir("made")
    os.link("other.png", "made/chart.png")
    vantor("record bug.vrec scale chart.png -o x.png --size 50%")


@pytest.mark.parametrize("report", REPORTS)
def test_every_member_of_a_report_is_documented(vantor, files, report):
    command = report.split()[0]
    page = (ROOT / "docs/json.md").read_text()
    section = next(part for part in page.split("\n## ") if re.search(rf"\b{command}\b", part.split("\n")[0]))
    if "as in `info`" in section or "what `info` says" in section or "as in `compare`" in section:
        section = page
    output = vantor(report, 1 if command == "compare" else 0, stderr=subprocess.DEVNULL).text
    assert not [name for name in members(json.loads(output)) if f"`{name}`" not in page.split("\n## ")[0] + section]


@pytest.mark.parametrize("position", ["160 90", "0 0", "318 178"])
def test_the_steps_of_a_pixel_add_up(vantor, chart, position):
    lines = vantor(f"explain chart.png {position} --rotate 10").text.splitlines()
    sums = 0
    for line in lines:
        if found := re.match(r"  [xy]: \((\d+) x \(\((\d+) x (\d+)\) >> 7\) \+ 2\^(\d+)\) / 2\^(\d+) = (\d+) of", line):
            position, step, scale, half, bits, result = map(int, found.groups())
            assert (position * (step * scale >> 7) + (1 << half)) >> bits == result, line
            assert bits == half + 1
        elif found := re.match(r".*; \((\d+) x (-?\d+)\) rounded by 13 bits \+ (\d+) x (\d+) = (-?\d+) \((-?[\d.]+) ", line):
            scale, displacement, step, position, result = map(int, found.groups()[:5])
            assert (scale * displacement + 4096 >> 13) + step * position == result, line
            assert f"{result / 256:.4f}" == found[6], line
        elif found := re.match(r"  [UV]: (.*), rounded by 9 bits; . = (\d+)", line):
            assert eval(found[1].replace("x", "*")) + 256 >> 9 == int(found[2]), line
        elif found := re.match(r"  sum (-?\d+), sum of weights (-?\d+),", line):
            rows = [re.findall(r"(-?\d+) x +(-?\d+)", row) for row in lines[lines.index(line) - 4 : lines.index(line)]]
            products = [(int(sample), int(weight)) for row in rows for sample, weight in row]
            assert sum(s * w for s, w in products) == int(found[1]) and sum(w for _, w in products) == int(found[2])
        else:
            continue
        sums += 1
    assert sums == 7, lines


def page_of(vantor, *arguments):
    """What a page knows."""
    vantor(["view", *arguments, "-o", "page.html"])
    data = re.search(b'<script type="application/json" id="data">(.*?)</script>', read("page.html"), re.S)[1]
    assert b"<" not in data
    return json.loads(data)


def test_a_page_holds_any_file_name(vantor, chart, directory):
    name = "<!--<script>alert(1)<.png"
    chart.rename(directory / name)
    assert page_of(vantor, name)["pictures"][0]["name"] == name


def test_a_page_has_each_plane_and_the_mesh(vantor):
    write("a_96x64.i420", flat("96x64", 1, 2, 3))
    page = page_of(vantor, "a_96x64.i420", "--shift", "8,4")
    for plane, value in zip(page["pictures"][0]["planes"], (1, 2, 3)):
        write("plane.png", base64.b64decode(plane["png"].split(",")[1]))
        vantor("scale plane.png -o plane.gray --size 100%")
        assert set(read("plane.gray")) == {value}
    assert page["mesh"].startswith("M-8.00,-4.00 ") and page["cells"].startswith("M0.00,0.00 ")
