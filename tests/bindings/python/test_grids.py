"""Grids: the tool's bytes, OpenCV's maps, files."""

import json
import os
import pickle
import warnings

import numpy as np
import pytest
from conftest import CALIBRATIONS, noise

import vantor


def grid_bytes(tool, *words):
    tool("grid", "-o", "tool.grid", *words)
    return open("tool.grid", "rb").read()


def saved(grid):
    grid.save("here.grid")
    return open("here.grid", "rb").read()


def test_random_grids_are_those_of_the_tool(tool, rng):
    """VANTOR_GRIDS=1000 tries as many."""
    for i in range(int(os.environ.get("VANTOR_GRIDS", 60))):
        size = rng.randint(96, 1600), rng.randint(64, 1200)
        words = ["--size", "%dx%d" % size]
        lens = [round(rng.uniform(-.3, .3), 6) for _ in range(rng.choice([1, 2, 3, 5]))]
        if i % 3 == 0:
            degrees, zoom, center = rng.uniform(-360, 360), rng.uniform(.3, 3), [rng.uniform(0, side) for side in size]
            grid = vantor.Grid.rotation(degrees, size, zoom=zoom, center=center)
            words += [f"--rotate={degrees!r}", f"--zoom={zoom!r}", "--center=%r,%r" % tuple(center)]
        elif i % 3 == 1:
            grid = vantor.Grid.lens(lens, size)
            words += ["--lens=" + ",".join(map(repr, lens))]
        else:
            made_with = rng.randint(200, 4000), rng.randint(200, 3000)
            K = [[made_with[0] * rng.uniform(.6, 1.5), 0, made_with[0] * rng.uniform(.4, .6)],
                 [0, made_with[0] * rng.uniform(.6, 1.5), made_with[1] * rng.uniform(.4, .6)], [0, 0, 1]]
            fisheye = rng.random() < .5
            D = [rng.uniform(-.05, .05) for _ in range(4 if fisheye else rng.choice([4, 5, 8, 12]))]
            json.dump({"K": K, "D": D, "image_size": made_with, "fisheye": fisheye}, open("camera.json", "w"))
            alpha = rng.choice([None, 0, .5])
            words += ["--calibration=camera.json"] + ([] if alpha is None else [f"--alpha={alpha}"])
            try:
                grid = vantor.Grid.from_calibration(K, D, size, alpha=alpha, fisheye=fisheye, calibrated_size=made_with)
                assert grid == vantor.Grid.from_calibration_file("camera.json", size, alpha=alpha)
            except ValueError:
                with pytest.raises(ValueError):
                    grid_bytes(tool, *words)
                continue
        assert saved(grid) == grid_bytes(tool, *words), words


VIEWED = {"stereo.yml": "2", "camchain.yml": "cam1", "cameras.txt": "6"}


@pytest.mark.parametrize("name", sorted(os.listdir(CALIBRATIONS)))
@pytest.mark.parametrize("old, new", [
    ("", ""), ("camera_matrix", "Intrinsic-Matrix"), ("image_width", "x"), ("1919", "1e3"), (".40", ".4_0"),
    ("1. ]", "2. ]"), (" 0.", " .inf"), ("<data>", "<data>+"), ("[", "[ &a"), ("---\n", "---\ndistortion_model: kb9\n"),
    ("---\n", "---\nrectification_matrix: [[1,0,0],[0,1,0],[0,0,1]]\nfisheye: true\n"), ("data:", "rata:"),
    ("---\n", "---\nprojection_matrix: [1402.5, 0, 967.25, 0, 0, 1399.75, 531.5, 0, 0, 0, 1, 1]\n"), (":", ": ["),
    ("</data>", " 1</data>"), ("rows", "<"), ("1080", "1080.5"), ("1080", "0"), ("1920", "[1920, 2]"),
    ("pinhole", "ds"), ("OPENCV", "RADIAL"), ("P2", "P_right"), ("P:", "P1:"), ("1.0, 0.0", "1.0, 9"), (" 542", "")])
def test_calibration_files_are_read_as_by_the_tool(tool, name, old, new):
    if not name.startswith("maps"):
        content = (CALIBRATIONS / name).read_text()
        open(name, "w").write(content.replace(old, new) if old else content)
        try:
            camera = [f"--camera={VIEWED[name]}"] if name in VIEWED else []
            expected = grid_bytes(tool, "--calibration", name, "--size=640x360", *camera)
        except ValueError:
            expected = None
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            try:
                made = saved(vantor.Grid.from_calibration_file(name, (640, 360), camera=VIEWED.get(name)))
            except ValueError as error:
                assert str(error).startswith(f"{name}: ")
                made = None
        assert made == expected


def test_maps_of_opencv_and_what_a_grid_cannot_hold():
    cv2 = pytest.importorskip("cv2")
    found = vantor.load_calibration(CALIBRATIONS / "twelve.xml")
    grid = vantor.Grid.from_calibration(*found[:3])
    maps = cv2.initUndistortRectifyMap(found.K, found.D, None, grid.camera_matrix, found.size, cv2.CV_32FC1)
    dense = vantor.Grid.from_map(*maps)
    assert max(abs(dense.dx - grid.dx).max(), abs(dense.dy - grid.dy).max()) <= 1
    right = vantor.load_calibration(CALIBRATIONS / "stereo.yml", camera=2)
    K, D, size, _, R, P = right
    with pytest.raises(ValueError, match="^R is not orthonormal"):
        vantor.Grid.from_calibration(K, D, size, R=2 * R)
    rectified = vantor.Grid.from_calibration(K, D, size, R=R, P=P[:, :3])
    rays = vantor.Grid.from_map(*cv2.initUndistortRectifyMap(K, D, R, P, size, cv2.CV_32FC1))
    assert max(abs(rays.dx - rectified.dx).max(), abs(rays.dy - rectified.dy).max()) <= 1
    assert np.array_equal(rectified.camera_matrix, P[:, :3])
    error, (x, y) = grid.error(*maps), dense.positions(found.size)
    distance = np.hypot(x / 256 - maps[0], y / 256 - maps[1])
    assert 0 < error.rms < error.largest < .1
    assert vantor.Grid.error(dense, *maps).largest == pytest.approx(distance[dense.error(*maps)[:1:-1]], abs=1e-6)
    moved = vantor.Grid.from_map(maps[0] + np.float32(2), maps[1])
    assert moved.error(*maps).rms == pytest.approx(2, abs=.05)


def test_grids_are_saved_pickled_applied_and_drawn(tool):
    grid = vantor.Grid(np.arange(1089).reshape(33, 33) - 5, np.full((33, 33), -2**31))
    grid.save("a.grid")
    grid.save("a.txt", comment="a comment")
    assert "\n# a comment\ndX\n-5 -4 " in open("a.txt").read() and len(open("a.grid", "rb").read()) == 8712
    for same in (vantor.Grid.load("a.txt"), vantor.Grid.load("a.grid"), pickle.loads(pickle.dumps(grid))):
        assert same == grid != vantor.Grid()
    image = noise((320, 180))
    vantor.write("in_320x180.nv12", image)
    tool("warp", "in_320x180.nv12", "-o", "out_320x180.nv12", "--matrix=4000,90,64,-70,4100,-32")
    warped = vantor.warp(image, vantor.Grid.from_matrix(np.array([[4000, 90, 64], [-70, 4100, -32]]), image.size))
    assert vantor.compare(warped, vantor.read("out_320x180.nv12")).identical
    open("a.txt", "w").write("dX 1")
    with pytest.raises(ValueError, match="a.txt: "):
        vantor.Grid.load("a.txt")
    pytest.importorskip("matplotlib").use("Agg")
    assert len(vantor.Grid.lens([-.2], (320, 180)).plot((320, 180)).lines) == 67
    maps = [np.float32(axis) for axis in np.meshgrid(np.arange(32), np.arange(16))]
    assert vantor.Grid().plot(maps=maps).images[0].get_array().max() == 0
