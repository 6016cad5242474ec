"""vantor scale: sizes, layouts and kinds of files."""

import pytest
from conftest import flat, png, read, write


@pytest.mark.parametrize("size", ["24x16", "48x32", "96x80", "20x64"])
def test_a_flat_picture_stays_flat_in_every_layout(vantor, size):
    write("flat_48x32_i420.yuv", flat("48x32", 100, 50, 200))
    for layout in "nv12", "i420", "gray":
        vantor(f"scale flat_48x32_i420.yuv -o out.{layout} --size {size}", text=f"to out.{layout} {size} {layout}")
    assert read("out.i420") == flat(size, 100, 50, 200)
    assert read("out.gray") == flat(size, 100)
    vantor(f"compare out.nv12 out.i420 --input-size {size}", text="V: equal")


def test_pngs_lose_their_alpha_and_are_padded_for_the_chroma(vantor):
    write("rgba.png", png(5, 4, 6, [200, 100, 50, 128]))
    write("rgb.png", png(5, 4, 2, [200, 100, 50]))
    text = vantor("compare rgba.png rgb.png", text="rgba.png: alpha dropped").text
    assert "G: equal (20 samples)" in text
    vantor("scale rgb.png -o out.png --size 12x8", text="last column or row is repeated (6x4)")


def test_gray_may_have_odd_sizes(vantor):
    write("flat_20x64.gray", flat("20x64", 100))
    write("expected.png", png(31, 17, 0, [100]))
    vantor("scale flat_20x64.gray -o out.png --size 31x17", text="gray to out.png 31x17 gray")
    vantor("compare out.png expected.png", text="Y: equal (527 samples)")
    vantor("chart -o odd.y4m --size 31x17", 2, "--size 31x17: width and height of a colour picture must be even")


def test_rgb_becomes_the_same_nv12_and_i420_and_survives(vantor, chart):
    vantor("scale chart.png -o chart.nv12 --size 320x180", text="rgb to chart.nv12 320x180 nv12: copied")
    vantor("scale chart.png -o chart_320x180.i420 --size 320x180", text="i420: copied")
    vantor("compare chart.nv12 chart_320x180.i420 --input-size 320x180", text="V: equal (14400 samples)")
    vantor("scale chart.nv12 --input-size 320x180 -o BACK.PNG --size 100%")
    components = vantor("compare chart.png BACK.PNG --json", 1).json()["components"]
    assert min(component["psnr"] for component in components) > 24  # for rounding and the half size of chroma


@pytest.mark.parametrize("options, color, samples", [
    ("", "BT.601, limited range", (82, 90, 239)),
    ("--yuv-matrix 709 --yuv-range limited", "BT.709, limited range", (63, 102, 240)),
    ("--yuv-matrix 601 --yuv-range full", "BT.601, full range", (76, 85, 255)),
    ("--yuv-matrix 709 --yuv-range full", "BT.709, full range", (54, 99, 255)),
])
def test_red_is_as_the_standards_give_it_and_comes_back(vantor, options, color, samples):
    write("red.png", png(4, 4, 2, [255, 0, 0]))
    vantor(f"scale red.png -o red.i420 --size 4x4 {options}", text=f"by {color}")
    assert read("red.i420") == flat("4x4", *samples)
    vantor(f"scale red.i420 --input-size 4x4 -o back.png --size 4x4 {options}")
    vantor("compare back.png red.png --tolerance 3")


def test_chroma_is_that_of_the_mean_of_four_pixels(vantor):
    write("rows.png", png(4, 4, 2, [255, 0, 0], [0, 0, 255]))
    vantor("scale rows.png -o x.i420 --size 4x4 --yuv-matrix 709 --yuv-range full")
    assert read("x.i420") == (b"\x36" * 4 + b"\x12" * 4) * 2 + bytes([177] * 4 + [186] * 4)


def test_reductions_and_enlargements_name_their_filters(vantor, chart):
    vantor("scale chart.png -o half.png --size 160x90", text="reduced (bicubic")
    vantor("scale half.png -o chart_320x180.i420 --size 320x180", text="enlarged (four-tap")
    vantor("scale half.png -o high.png --size 80x180", text="enlarged (four-tap")
    vantor("scale chart.png -o odd.nv12 --size 33%", text="to odd.nv12 106x60 nv12")


@pytest.mark.parametrize("arguments, text", [
    ("chart.png --size 12y8", "--size 12y8: expected WIDTHxHEIGHT, such as 1280x720"),
    ("chart.png --size -50%", "--size -50%: expected a positive percentage"),
    ("chart.png --size 3x8", "--size 3x8: width and height must be from 4 to 16384"),
    ("chart.png --size 15x8", "--size 15x8: width and height of a colour picture must be even"),
    ("6x4.gray --size 8x8 --input-size 6x8", "6x4.gray: frame 0 (6x8 gray) is truncated: 24 of 48 bytes"),
    ("6x4.gray --size 8x8 --input-size 4x4", "6x4.gray: frame 1 (4x4 gray) is truncated: 8 of 16 bytes"),
    ("6x4.gray --size 8x8 --input-size 6x4x", "--input-size 6x4x: expected WIDTHxHEIGHT, such as 1280x720"),
    ("a_gray_nv12.yuv --size 8x8", "a_gray_nv12.yuv: several layouts in the name"),
    (". --input-format gray --input-size 8x8 --size 8x8", ".: a directory, expected a file"),
    ("6x4.gray --size 8x8 --input-format nv16", "--input-format nv16: expected nv12, nv21, i420, gray, p010 or y4m"),
    ("clip.yuv --size 8x8", "clip.yuv: format unknown: expected a name ending in"),
    ("clip.nv12 --size 8x8", "clip.nv12: size unknown"),
    ("clip_5x4.nv12 --size 8x8", "clip_5x4.nv12 5x4: width and height of a picture in nv12 must be even"),
    ("none.png --size 8x8", "none.png: No such file or directory"),
    ("cut.png --size 8x8", "cut.png: truncated PNG file"),
    ("deep.png --size 8x8", "deep.png: 16 bits per sample: at most 8 expected"),
    ("chart.png --size 8x8 --input-size 4x4", "--input-size 4x4: chart.png is a PNG file"),
    ("chart.png --size 8x8 --sise 8x8", "--sise (see vantor scale --help)"),
])
def test_refusals_say_what_was_wrong_and_what_was_expected(refuse, chart, arguments, text):
    write("6x4.gray", flat("6x4", 0))
    write("cut.png", read("chart.png")[:100])
    write("deep.png", png(4, 4, 0, [1, 0], depth=16))
    for name in "a_gray_nv12.yuv", "clip.yuv", "clip.nv12", "clip_5x4.nv12":
        write(name, b"")
    refuse(f"scale {arguments}", text)


def test_a_size_in_the_outputs_name_holds(refuse, chart):
    refuse("scale chart.png --size 8x8", "--size 8x8: the output's name gives 16x8", output="out_16x8.nv12")
