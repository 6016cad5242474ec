"""Calibrations as other programs write them, and what is said of their grids."""

import json
import subprocess

import pytest

CAMERA = "image_width: 640\nimage_height: 480\ncamera_matrix: [500, 0, 320, 0, 500, 240, 0, 0, 1]\n"
FOUR = "[0.02, -0.01, 0.004, -0.001]"
NOTE = "note: camera.yml: four distortion coefficients, taken as k1, k2, p1, p2; if they are a fisheye's, use --fisheye"


@pytest.mark.parametrize(
    "lens, options, expected",
    [
        (f"dist_coeff: {FOUR}", "", True),
        (f"D: {FOUR}", "--fisheye", False),
        (f"D: {FOUR}\nfisheye_model: 0", "", False),
        (f"D: {FOUR}\ndistortion_model: plumb_bob", "", False),
        ("D: [0.02, -0.01, 0.004, -0.001, 0]", "", False),
        ("D: [0.02, -0.01, 0.004, -0.001, 0]\nfisheye: false", "", False),
    ],
)
def test_four_coefficients_of_no_stated_model_get_one_note(vantor, directory, chart, lens, options, expected):
    (directory / "camera.yml").write_text(CAMERA + lens)
    for command in "grid", "explain chart.png 9 9":
        assert vantor(f"{command} --calibration camera.yml {options}").text.count(NOTE) == expected


@pytest.mark.parametrize(
    "entry, trouble",
    [
        ("R: [9]", ""),  # alone, it may be anything
        ("R: [0, -1, 0, 1, 0, 0, 0, 0, 1]\nP: [500, 0, 320, 0, 500, 240, 0, 0, 1]", ""),
        ("rectification_matrix: {data: [1, 0.01, 0, 0.01, 1, 0, 0, 0, 1]}", "matrix (or R) is not orthonormal"),
        ("rectification_matrix: {data: [1, 0, 0, 0, 1, 0, 0, 0, -1]}", "matrix (or R) is not orthonormal"),
        ("rectification_matrix: {data: [-1, 0, 0, 0, 1, 0, 0, 0, -1]}", "expected finite positions within"),
        ("projection_matrix: {data: [480, 0, 320, 0, 0, 500, 240, 0, 0, 0, 1, 1]}", "matrix (or P) does not end in 0"),
        ("projection_matrix: {data: [480, 0, 320]}", "matrix (or P) has 3 elements, expected 3 x 4"),
        ("projection_matrix: {data: [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0]}", "matrix (or P) is not a camera m"),
    ],
)
def test_views_that_show_nothing_are_refused(vantor, directory, entry, trouble):
    (directory / "camera.yml").write_text(f"{CAMERA}D: [-0.1, 0.01, 0, 0, 0]\n{entry}\n")
    vantor("grid --calibration camera.yml", 2 if trouble else 0, trouble)


def test_the_camera_is_scaled_with_the_picture(vantor, directory):
    (directory / "camera.yml").write_text(CAMERA.replace("[500, 0", "[500, 3") + f"D: {FOUR}")
    report = vantor("grid --calibration camera.yml --size 1280x480 --json", stderr=subprocess.DEVNULL)
    assert json.loads(report.bytes)["camera_matrix"] == [[1000, 6, 640.5], [0, 500, 240], [0, 0, 1]]


def test_a_grid_of_no_stated_size_is_for_1920x1080(vantor):
    vantor("grid --rotate 2", text="rotation 2, for pictures of 1920x1080\n")
