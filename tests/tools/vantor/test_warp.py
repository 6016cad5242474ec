"""vantor warp, what explain says of one of its pixels, and the page of view."""

import re

import pytest
from conftest import read


def test_warps_of_a_colour_picture(vantor, chart):
    vantor("warp chart.png -o x.png --rotate 90", text="warped (rotation 90) as nv12")
    vantor("warp chart.png -o x.png --matrix 4096,0,0,0,4096,0", text="matrix 4096,0,0,0,4096,0")


def test_odd_gray_pictures_are_padded(vantor):
    vantor("chart -o odd_101x77.gray --size 101x77")
    text = "warped as 112x78, its last column and row repeated"
    vantor("warp odd_101x77.gray -o x.gray --zoom 1.5", text=text)
    vantor("warp odd_101x77.gray -o x.png --shift 5,5", text="as gray in the software model")
    vantor("info x.png", text="101x77 gray")
    vantor("warp odd_101x77.gray -o x.y4m --zoom 2", text="gray to x.y4m 101x77 gray")
    vantor("info x.y4m", text="101x77 gray, 1 frame")


def test_a_grid_does_what_the_options_do_that_made_it(vantor, chart):
    vantor("grid --rotate 2 --size 320x180 -o turn.txt")
    vantor("warp chart.png -o by_options.png --rotate 2")
    vantor("warp chart.png -o by_grid.png --grid turn.txt")
    assert read("by_options.png") == read("by_grid.png") != read("chart.png")


def test_the_librarys_log_is_shown_on_request(vantor, chart):
    line = "I VANTOR_CLIENT: vantor_client.cpp:runGDCGrid():1132 Process WARPING"
    vantor("record x.vrec warp chart.png -o x.png --zoom 2", text=line, env={"VANTOR_LOG": "info"})
    assert "VANTOR_CLIENT" not in vantor("warp chart.png -o x.png --zoom 2").text


@pytest.mark.parametrize("arguments, text", [
    ("", "expected one of --matrix, --grid, --grids, --calibration, --map, or a"),
    ("--rotate 2 --matrix 1,2,3,4,5,6", "several warps: expected one of a grid file, a sequence of grids, --matrix, "),
    ("--matrix 1,2,3", "--matrix 1,2,3: expected 6 comma-separated numbers"),
    ("--matrix 40000,0,0,0,0,0", "--matrix 40000,0,0,0,0,0: expected integers from -32768 to 32767"),
    ("--matrix 1.5,0,0,0,0,0", "--matrix 1.5,0,0,0,0,0: expected integers from -32768 to 32767"),
    ("--shift 1,2,", "--shift 1,2,: expected 2 comma-separated numbers"),
    ("--lens 1,2,3,4", "--lens 1,2,3,4: expected K1[,K2[,K3[,P1,P2]]]"),
])
def test_refused_warps(refuse, chart, arguments, text):
    refuse(f"warp chart.png {arguments}", text)


def test_pictures_too_small_to_warp_are_refused(vantor, refuse):
    vantor("chart -o small_31x17.gray --size 31x17")
    refuse("warp small_31x17.gray --zoom 2", "small_31x17.gray: 31x17 picture: warps take 96x64 to 8192x6144")


@pytest.mark.parametrize("warp", ["--rotate 10", "--matrix 5000,0,90,0,5000,7"])
def test_explain_comes_to_the_librarys_values(vantor, chart, warp):
    text = vantor(f"explain chart.png 160 90 {warp}").text
    values = ", ".join(re.findall(r"([YUV] = \d+)$", text, re.MULTILINE)).replace(" =", "")
    assert values.startswith("Y ") and f"the library's picture has {values} there" in text
    vantor(f"explain chart.png 161 91 {warp}", text="chroma: that of pixel (160, 90)")
    document = vantor(f"explain chart.png 160 90 {warp} --json").json()
    assert document["library"] == [document[part]["value"] for part in ("luma", "u", "v")]


def test_explain_takes_pixels_of_the_picture(vantor, chart):
    vantor("explain chart.png 320 0 --rotate 10", 2, "X Y 320 0: expected 0 0 to 319 179")


def test_a_page_is_of_pictures_of_one_size_and_needs_nothing_else(vantor, chart, refuse):
    vantor("grid --rotate 2 --size 320x180 -o turn.txt")
    vantor("view chart.png chart.png --grid turn.txt -o page.html", text="HTML viewer")
    assert not re.search(b"https?://", read("page.html"))
    vantor("scale chart.png -o half.png --size 50%")
    text = "expected pictures of one size: chart.png is 320x180, half.png is 160x90"
    refuse("view chart.png half.png", text, output="page.html")
