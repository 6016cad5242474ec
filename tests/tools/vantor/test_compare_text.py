"""What vantor compare says, as text, as JSON and as a picture."""

import re

import pytest
from conftest import flat, read, write

COMPARE = "compare a_6x4.gray b_6x4.gray"
LINE = "Y: 1 of 24 samples differ, first at (4, 1): 0 and 3; largest difference 3, PSNR 52.39 dB"


@pytest.fixture(autouse=True)
def pictures(directory):
    write("a_6x4.gray", flat("6x4", 0))
    write("b_6x4.gray", bytes(10) + b"\3" + bytes(13))


def test_a_difference_is_told_and_may_be_tolerated(vantor):
    vantor("compare a_6x4.gray a_6x4.gray", text="Y: equal (24 samples)")
    vantor(COMPARE, 1, LINE)
    vantor(f"{COMPARE} --tolerance 2", 1, LINE)
    vantor(f"{COMPARE} --tolerance 3", 0, LINE)


def test_json_says_what_the_text_says(vantor):
    document = vantor(f"{COMPARE} --json", 1).json()
    component = document["components"][0]
    assert document["schema"] == 1 and document["identical"] is False and component["differing"] == 1 and component["largest"] == 3
    assert component["first"] == {"x": 4, "y": 1, "a": 0, "b": 3} and abs(component["psnr"] - 52.39) < 0.01


def test_a_heatmap_colours_the_differences_beyond_the_tolerance(vantor):
    vantor(f"{COMPARE} --heatmap heat.png", 1, LINE)
    vantor(f"{COMPARE} --heatmap black.png --tolerance 3", 0, LINE)
    text = vantor("compare heat.png black.png", 1).text
    assert re.search(r"^G: 3.* first at \(4, 1\): 121 and 0;", text, re.MULTILINE), text
    vantor("scale heat.png -o heat.i420 --size 100%")
    assert read("heat.i420")[718 * 56 + 9 * 359 + 46] > 160  # U of the legend's blue
    for name, v in ("a_6x4.i420", 0), ("b_6x4.i420", 3):
        write(name, flat("6x4", 0, 0, v))
    vantor("compare a_6x4.i420 b_6x4.i420 --heatmap heat.png", 1)
    vantor("compare heat.png black.png", 1, "first at (0, 0): 121 and 0;")


def test_pictures_of_other_layouts_cannot_be_compared(vantor, chart):
    vantor("compare a_6x4.gray chart.png", 2, "cannot compare: a_6x4.gray is 6x4 gray, chart.png is 320x180 rgb")
    write("c_6x4.nv12", flat("6x4", 0, 0, 0))
    vantor("compare c_6x4.nv12 a_6x4.gray", 2, "cannot compare: c_6x4.nv12 is 6x4 nv12, a_6x4.gray is 6x4 gray")
