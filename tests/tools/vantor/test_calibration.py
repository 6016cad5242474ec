"""Calibrations of cameras, as vantor grid and vantor warp take them."""

import pytest
from conftest import CALIBRATIONS, read, write

FIVE = CALIBRATIONS / "five.yml"


def test_json_tells_the_camera_and_what_the_grid_cannot_hold(vantor):
    document = vantor(f"grid --calibration {CALIBRATIONS}/twelve.xml --alpha 0 --size 320x180 --json").json()
    assert len(document["camera_matrix"]) == 3 and document["size"] == [320, 180]
    assert document["error"]["largest"] < 0.1 and document["outside"] == 0


def test_a_calibration_does_what_its_grid_does(vantor, chart):
    text = "camera of the straight picture: fx 1402.5, fy 1399.75, cx 967.25, cy 531.5"
    vantor(f"grid --calibration {FIVE} -o lens.grid", text=text)
    vantor(f"warp chart.png -o by_calibration.png --calibration {FIVE}", text="warped (calibration")
    vantor("warp chart.png -o by_grid.png --grid lens.grid")
    assert read("by_calibration.png") == read("by_grid.png") != read("chart.png")


def test_another_shape_than_the_calibrated_one_is_noted(vantor, chart):
    arguments = f"warp chart.png -o x.png --calibration {FIVE} --calibrated-size 640x640"
    vantor(arguments, text="taken as stretched, not cropped")


@pytest.mark.parametrize("file, old, new, options, text", [
    ("five.yml", "camera_matrix", "x", "", "changed.yml: camera_matrix (or K, M, mtx"),
    ("five.yml", "image_width", "x", "", "changed.yml: image_width (or width) is missing; --calibrated-size"),
    ("five.yml", "1.4025000000000000e+03", ".Nan", "", "has '.Nan', expected a number"),
    ("five.yml", "1. ]", "2. ]", "", "camera_matrix (or K, M, mtx, intrinsic_matrix, intrinsics) is not a camera matrix"),
    ("five.yml", "", "", "--fisheye", "has 5 elements, expected 4 for a fisheye"),
    ("five.yml", "camera", "distortion_model: kb9\ncamera", "", "distortion_model is 'kb9', expected plumb_bob"),
    ("five.yml", "!!opencv-matrix", "[", "", "not a calibration in YAML or XML: "),
    ("five.yml", "", "", "--rotate 2", "several warps: expected one of a grid file"),
    ("five.yml", "", "", "--alpha 1.5", "--alpha 1.500000: expected a number from 0 to 1"),
    ("five.yml", "", "", "--alpha=-0.5", "--alpha -0.500000: expected a number from 0 to 1"),
    ("fisheye.yml", "", "", "--alpha 1", "lens cannot be straightened as far as the picture's corners; expected alpha 0"),
    ("fisheye.yml", "[ 700.", "[ 500.", "--alpha 0", "lens cannot be straightened as far as the picture's sides"),
])
def test_refused_calibrations(refuse, file, old, new, options, text):
    content = (CALIBRATIONS / file).read_text()
    assert old in content
    write("changed.yml", (content.replace(old, new) if old else content).encode())
    refuse(f"grid --calibration changed.yml {options}", text, output="never.grid")


def test_options_of_calibrations_want_one(vantor):
    vantor("grid --alpha 1", 2, "--alpha requires --calibration")
