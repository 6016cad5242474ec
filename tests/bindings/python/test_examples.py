"""The examples, and the README's lines."""

import json
import os
import re
import subprocess
import sys

import numpy as np
import pytest
from conftest import ROOT, noise

import vantor

DEBIAN = "/usr/share/doc/opencv-doc/examples/data"


def run(name, *arguments):
    words = [sys.executable, "-B", ROOT / "examples/python" / name, *arguments]
    return subprocess.run(list(map(str, words)), env={**os.environ, "MPLBACKEND": "Agg"}, check=True,
                          stdout=subprocess.PIPE, text=True).stdout


@pytest.mark.skipif(not os.path.isdir(DEBIAN), reason="opencv-doc is not installed")
def test_photographs_calibrate_a_camera_and_become_straight():
    for module in ("cv2", "matplotlib"):
        pytest.importorskip(module)
    numbers = json.loads(run("calibrate.py", "out"))
    assert numbers["photographs"] == 13 and numbers["calibration_rms"] < 0.3
    assert numbers["bend_after"] < 0.2 * numbers["bend_before"] and numbers["psnr_against_remap"] > 40
    assert numbers["grid_error"]["largest"] < 0.1 and os.path.getsize("out/error.png") > 10000
    assert vantor.Grid.load("out/camera.grid") == vantor.Grid.from_calibration_file("out/camera.json", alpha=0)


def test_a_study_finds_the_calibration():
    for module in ("cv2", "matplotlib"):
        pytest.importorskip(module)
    found = json.loads(run("study.py", "study.png"))
    assert found["grids"] == 500 and abs(found["best"]["k1"]) < 0.004 and found["best"]["error"] < 0.1
    assert found["best"]["bend"] < 0.05 < 0.5 < found["worst"]["bend"] and os.path.getsize("study.png") > 10000


def test_a_data_set_is_the_same_in_every_run_and_on_a_cluster(tool):
    for module in ("cv2", "PIL.Image", "distributed"):
        pytest.importorskip(module)
    os.mkdir("in")
    for i in range(20):
        vantor.write(f"in/{i:02}.png", vantor.scale(noise((20, 12), seed=i), (320, 180)))
    assert run("dataset.py", "in", "a") == run("dataset.py", "in", "b")
    labels = open("a/labels.jsonl").read()
    assert labels == open("b/labels.jsonl").read()
    parsed = [json.loads(line) for line in labels.splitlines()]
    assert len({label["distorted"] for label in parsed}) == len(parsed) == 20
    assert np.median([label["psnr"] for label in parsed]) > 25
    assert "identical" in tool("compare", "a/straight/07.png", "b/straight/07.png")
    names = sorted(f"in/{name}" for name in os.listdir("in"))
    expected = "".join(f"{vantor.hash(vantor.scale(vantor.read(name), (160, 90)))} {name}\n" for name in names)
    assert run("cluster.py", "160x90", *names) == expected


def test_the_readme_and_the_guide_say_what_works(chart):
    pytest.importorskip("cv2")
    pytest.importorskip("matplotlib").use("Agg")
    os.symlink(ROOT / "tests/geometry/calibrations/five.yml", "camera.yml")
    vantor.write("photo.png", vantor.scale(vantor.read(chart), (1920, 1080)))
    for page in ("README.md", "docs/python.md"):
        names = {}
        for block in re.findall(r"```python\n(.*?)```", (ROOT / page).read_text(), re.DOTALL):
            exec(compile(block, page, "exec"), names)
        assert names["grid" if page == "README.md" else "dense"].error(*names["maps"]).largest < 0.1
