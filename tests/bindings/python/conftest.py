"""What the tests of the Python package share. Each runs in an empty directory of its own."""

import pathlib
import random
import os
import subprocess
import time

import numpy
import pytest

import vantor

ROOT = pathlib.Path(__file__).parents[3]
CALIBRATIONS = ROOT / "tests/geometry/calibrations"


def pytest_addoption(parser):
    parser.addoption("--tool", help="the command-line tool; without, tests that compare with it are skipped")


@pytest.fixture(autouse=True)
def directory(monkeypatch, tmp_path):
    monkeypatch.chdir(tmp_path)
    return tmp_path


@pytest.fixture(scope="session")
def tool(request):
    """Runs the tool and returns what it printed, or raises what it failed with."""
    path = request.config.getoption("--tool")
    if not path:
        pytest.skip("no --tool")
    path = os.path.abspath(path)

    def run(*words):
        result = subprocess.run([path, *map(str, words)], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if result.returncode:
            raise ValueError(result.stdout)
        return result.stdout

    return run


@pytest.fixture(scope="session")
def chart(tool, tmp_path_factory):
    path = tmp_path_factory.mktemp("chart") / "chart_320x180.nv12"
    tool("chart", "-o", path, "--size", "320x180")
    return path


@pytest.fixture
def rng():
    seed = int(os.environ.get("VANTOR_SEED", time.time() // 86400))
    print(f"VANTOR_SEED={seed}")
    return random.Random(seed)


def noise(size, format="nv12", seed=1):
    image = vantor.Image.empty(size, format)
    image.array[...] = numpy.random.default_rng(seed).integers(0, 256, image.array.shape, numpy.uint8)
    return image
