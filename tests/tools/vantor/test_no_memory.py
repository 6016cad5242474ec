"""Allocations that fail: the whole result, or an error and the old file. Of those of a run's own work, one in 13
is tried, of those that declare the options, which come first and are most, one in 377. VANTOR_SEED moves both."""

import bisect
import itertools
import os

import pytest
from conftest import CALIBRATIONS, read, whole_or_old, write

SEED = int(os.environ.get("VANTOR_SEED", 0))
CALIBRATION = f"--calibration {CALIBRATIONS}/five.yml"

pytestmark = pytest.mark.usefixtures("not_sanitized", "small_files")


@pytest.fixture(scope="module")
def declared(vantor, failing_calls):
    """How many allocations declare the options."""
    env = {"FAIL_MARK": "/dev/null", "LD_PRELOAD": failing_calls}
    return bisect.bisect_left(range(1 << 16), True, lo=1, key=lambda at: vantor.run(
        "--version", env={**env, "FAIL_AT": str(at)}).status == 0)


@pytest.fixture
def starve(vantor, failing_calls):
    """A run in which an allocation fails (all from there on, where the number is odd), and whether it came so far."""

    def run(arguments, at):
        env = {"FAIL_MARK": "fault", "FAIL_AT": str(at), "LD_PRELOAD": failing_calls}
        env.update({"FAIL_ON": "1"} if at % 2 else {})
        result = vantor.run(arguments, env=env, timeout=20)
        return result, os.path.exists("fault") and os.remove("fault") is None

    return run


@pytest.mark.parametrize("file, arguments", [
    ("x.png", "scale chart.png -o x.png --size 48x32"),
    ("x.y4m", "scale clip.y4m -o x.y4m --size 8x8 --jobs 2"),
    ("x.png", f"warp chart.png -o x.png {CALIBRATION}"),
    ("x.gray", "warp chart.png -o x.gray --rotate 3 --backend hardware"),
    ("x.grid", f"grid -o x.grid {CALIBRATION} --size 96x64"),
    ("x.png", "record x.vrec warp chart.png -o x.png --rotate 3"),
    ("x.html", "view chart.png turned.png -o x.html"),
])
def test_a_run_without_memory_leaves_a_whole_file(vantor, starve, declared, file, arguments):
    vantor(arguments)
    whole = read(file)
    for at in itertools.chain(range(1 + SEED % 13, declared, 377), itertools.count(declared + SEED % 13, 13)):
        write(file, b"old")
        result, has_failed = starve(arguments, at)
        whole_or_old(result, file, whole, f"at {at}", may_be_late=True)  # the report may be what has no memory
        if not has_failed:
            break
    assert at > declared + 13


def test_a_replay_without_memory_ends_with_an_error(vantor, starve, declared):
    vantor("record bug.vrec warp chart.png -o x.png --rotate 3")
    for at in range(declared + SEED % 29, declared + 2000, 29):
        result, _ = starve("replay bug.vrec", at)
        assert result.status == 0 or result.is_error(), f"at {at}: {result.status}: {result.text}"


def test_a_drawing_does_not_begin_without_memory_enough(vantor):
    """cairo cannot go on from a failure, so it should have none."""
    arguments = "compare chart.png turned.png --tolerance 255 --heatmap"
    vantor(f"{arguments} whole.png")
    for size in range(16000, 32000, 1000):
        write("x.png", b"old")
        result = vantor.run(f"{arguments} x.png", under=f"prlimit --as={size}000")
        if result.status != 127:  # what loads programs wants memory as well
            whole_or_old(result, "x.png", read("whole.png"), f"{size} KB")
