"""Calibrations of cameras, as vantor grid and vantor warp take them."""

import struct

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


def test_warp_writes_the_camera_that_grid_writes(vantor, chart):
    options = f"--calibration {FIVE} --alpha 0 --new-camera"
    vantor(f"grid --size 320x180 {options} grid.json")
    vantor(f"warp chart.png -o x.png {options} warp.json")
    assert read("grid.json") == read("warp.json")
    vantor("chart -o other.png --size 400x180")
    text = "--new-camera: a picture of 400x180 among others of 320x180: expected one size"
    vantor(f"warp chart.png other.png -o '%d.png' --jobs 1 {options} many.json", 1, text)
    assert read("many.json") == read("warp.json")
    for file in "chart.png", "y.png", FIVE:
        vantor(f"warp chart.png -o y.png {options} {file}", 2, f"--new-camera {file}: expected another file than")


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
    ("camchain.yml", "", "", "", "has cameras cam0, cam1; --camera chooses one"),
    ("camchain.yml", "pinhole", "omni", "--camera 0", "camera cam0: camera_model is 'omni', expected pinhole"),
    ("five.yml", "", "", "--camera 1", "--camera 1: changed.yml has one camera, without a name"),
    ("stereo.yml", "P2", "Q", "--camera right", "projection_matrix (or P) is missing, but the other matrix"),
    ("five.yml", "", "", "--extrinsics changed.yml", "with changed.yml: rectification_matrix (or R) is missing"),
    ("cameras.txt", "", "", "--camera left", "--camera left: changed.yml has cameras 1, 2, 3, 4, 5, 6, 17"),
    ("cameras.txt", "OPENCV_F", "THIN_PRISM_F", "--camera 6", "6: model 'THIN_PRISM_FISHEYE', expected one"),
    ("cameras.txt", "0.0004 ", "", "--camera 17", "model FULL_OPENCV with 13 numbers, expected width"),
    ("cameras.txt", "-0.21", "nan", "--camera 3", "has 'nan', expected a number"),
    ("fisheye.yml", "", "", "--alpha 1", "lens cannot be straightened as far as the picture's corners; expected alpha 0"),
    ("fisheye.yml", "[ 700.", "[ 500.", "--alpha 0", "lens cannot be straightened as far as the picture's sides"),
])
def test_refused_calibrations(refuse, file, old, new, options, text):
    content = (CALIBRATIONS / file).read_text()
    assert old in content
    write("changed.yml", (content.replace(old, new) if old else content).encode())
    refuse(f"grid --calibration changed.yml {options}", text, output="never.grid")


def test_a_pair_of_cameras_in_two_files_is_that_of_one(vantor):
    lines = (CALIBRATIONS / "stereo.yml").read_text().splitlines(True)
    for name, letters in ("intrinsics.yml", "MD"), ("extrinsics.yml", "RTP"):
        write(name, "".join(line for line in lines if line[0] in letters).encode())
    vantor(f"grid --calibration {CALIBRATIONS}/stereo.yml --camera 2 -o one.grid")
    pair = "grid --calibration intrinsics.yml --camera right --calibrated-size 1920x1080 -o two.grid"
    vantor(pair, text="note: intrinsics.yml: camera right: no rectification")
    assert read("one.grid") != read("two.grid")
    vantor(f"{pair} --extrinsics extrinsics.yml --new-camera new.json")
    assert read("one.grid") == read("two.grid")
    vantor("grid --calibration new.json", text="for pictures of 1920x1080\ndisplacements: 0.00 to 0.00")
    storage = pytest.importorskip("cv2").FileStorage("new.json", 0)
    assert storage.getNode("camera_matrix").mat().tolist() == [[1300, 0, 900], [0, 1310, 560], [0, 0, 1]]


SHIFTED = [(x - 3, y + 2) for y in range(64) for x in range(96)]


def npy(values, shape, version=1, order="<"):
    header = f"{{'descr': '{order}f4', 'fortran_order': False, 'shape': {shape}, }}".encode()
    start = b"\x93NUMPY" + bytes([version, 0]) + struct.pack("<H" if version == 1 else "<I", len(header))
    return start + header + struct.pack(f"{order}{len(values)}f", *values)


@pytest.mark.parametrize("version, order", [(1, "<"), (2, ">")])
def test_maps_do_what_their_formula_does(vantor, version, order):
    write("map.npy", npy(sum(SHIFTED, ()), (64, 96, 2), version, order))
    for i, name in enumerate("xy"):
        write(f"{name}.npy", npy([p[i] for p in SHIFTED], (64, 96), version, order))
    vantor("grid --shift=3,-2 --size 96x64 -o shift.grid")
    for options in "--map map.npy", "--map-x x.npy --map-y y.npy":
        vantor(f"grid {options} -o map.grid", text="96x64\ndisplacements: -3.00 to -3.00 pixels across, 2.00 to 2.00")
        assert read("map.grid") == read("shift.grid")


@pytest.mark.parametrize("old, new, options, text", [
    (b"\x93NUMPY", b"\x93NUMBY", "", "map.npy: not a NumPy file"),
    (b"Y\1", b"Y\4", "", "map.npy: NumPy's format version 4, expected 1 to 3"),
    (b"<f4", b"<f8", "", "map.npy: elements of type '<f8', expected float32"),
    (b"False", b"True ", "", "map.npy: columns behind each other, expected rows"),
    (b"shape", b"shade", "", "map.npy: not a NumPy file: its header has no shape"),
    (b"(64, 96, 2)", b"(64, -6, 2)", "", "map.npy: shape (64,-6,2), expected integers"),
    (b"(64, 96, 2)", b"(64, 96 * 2", "", "map.npy: shape (64,96*2,}), expected integers"),
    (b"(64, 96, 2)", b"(64, 96, 3)", "", "map.npy: shape (64, 96, 3), expected (height, width, 2)"),
    (b"(64, 96, 2)", b"(99999,9,2)", "", "map.npy: shape (99999, 9, 2), expected sides from 1 to 16384"),
    (b"(64, 96, 2)", b"(64, 97, 2)", "", "map.npy: 49152 bytes after the header, expected 49664 for shape (64, 97, 2)"),
    (struct.pack("<f", 95 - 3), struct.pack("<f", float("nan")), "", "no finite position for pixel (95, "),
    (b"", b"", "--size 100x64", "map.npy: a map for pictures of 96x64, expected 100x64"),
    (b"", b"", "--rotate 2", "several warps: "),
])
def test_refused_maps(refuse, old, new, options, text):
    content = npy(sum(SHIFTED, ()), (64, 96, 2))
    assert old in content
    write("map.npy", content.replace(old, new) if old else content)
    refuse(f"grid --map map.npy {options}", text, output="never.grid")


def test_options_of_calibrations_want_one(vantor):
    vantor("grid --alpha 1", 2, "--alpha requires --calibration")
