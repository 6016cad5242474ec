"""Pipelines of gst-launch-1.0 give the tool's bytes, and what docs/gstreamer.md shows runs. VANTOR is the tool, and the
tracer of leaks watches."""

import os
import pathlib
import re
import shutil
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[3]
CALIBRATION = ROOT / "tests/geometry/calibrations/five.yml"
PAGES = (ROOT / "docs/gstreamer.md").read_text() + (ROOT / "README.md").read_text()
TOOL = os.environ["VANTOR"]
pytestmark = pytest.mark.skipif(not shutil.which("gst-launch-1.0"), reason="gstreamer1.0-tools is not installed")


@pytest.fixture(autouse=True)
def directory(monkeypatch, tmp_path):
    monkeypatch.chdir(tmp_path)


def run(*words, status=0):
    result = subprocess.run(list(map(str, words)), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    assert result.returncode == status and "Leaks detected" not in result.stdout, result.stdout[-2000:]
    return result.stdout


def shape(format, width, height, pad):
    """(stride, bytes, rows) of each plane; `pad` makes a stride of a row's bytes."""
    chroma = {"nv12": [2], "nv21": [2], "i420": [1, 1], "gray": []}[format]
    return [(pad(width), width, height), *((pad(width // 2 * n), width // 2 * n, height // 2) for n in chroma)]


def samples(name, planes):
    with open(name, "rb") as file:
        return b"".join(file.read(stride)[:count] for stride, count, rows in planes for _ in range(rows))


@pytest.mark.parametrize("format", ["nv12", "nv21", "i420", "gray"])
@pytest.mark.parametrize("size, element, options", [
    ("1080x1920", "vantorscale add-borders=false ! video/x-raw,width=542,height=966", "scale --size 542x966"),
    ("98x66", "vantorscale threads=0 ! video/x-raw,width=196,height=132", "scale --size 196x132"),
    ("1080x1920", "vantorwarp lens=-0.2,0.03", "warp --lens=-0.2,0.03"),
    ("98x66", "vantorwarp matrix=4000,30,64,-30,4000,-64", "warp --matrix 4000,30,64,-30,4000,-64"),
    ("106x70", "vantorwarp grid=turn.txt threads=3", "warp --grid turn.txt"),
    ("1920x1080", f"vantorwarp calibration={CALIBRATION}", f"warp --calibration {CALIBRATION}")])
def test_bytes_are_those_of_the_tool(format, size, element, options):
    width, height = map(int, size.split("x"))
    run(TOOL, "grid", "--rotate", 3, "--size", "640x480", "-o", "turn.txt")
    planes = shape(format, width, height, lambda count: count + 2 * width - count % width)  # in a row of twice as many
    with open("in.raw", "wb") as file:
        file.write(os.urandom(sum(stride * rows for stride, _, rows in planes)))
    with open(f"in_{size}.{format}", "wb") as file:
        file.write(samples("in.raw", planes))
    to = re.search("[0-9]+x[0-9]+$", options)
    subcommand, *rest = options.split()
    run(TOOL, subcommand, f"in_{size}.{format}", "-o", f"tool.{format}", *rest)
    offsets = [sum(stride * rows for stride, _, rows in planes[:i]) for i in range(len(planes))]
    parse = ["rawvideoparse", f"format={'gray8' if format == 'gray' else format}", f"width={width}", f"height={height}",
             "plane-strides=<" + ",".join(str(stride) for stride, _, _ in planes) + ">",
             "plane-offsets=<" + ",".join(map(str, offsets)) + ">"]
    run("gst-launch-1.0", "-q", "filesrc", "location=in.raw", "!", *parse, "!", *element.split(), "!", "filesink",
        "location=gst.raw")
    made = map(int, (to.group() if to else size).split("x"))
    assert samples("gst.raw", shape(format, *made, lambda count: (count + 3) // 4 * 4)) == \
        open(f"tool.{format}", "rb").read()


@pytest.mark.parametrize("element, text", [
    ("vantorwarp grid=/nowhere.grid", "/nowhere.grid: No such file or directory"),
    ("vantorwarp calibration=\x1b[31m.yml", r"\x1b[31m.yml: No such file"),
    (f"vantorwarp calibration={CALIBRATION.with_name('stereo.yml')}", "--camera chooses one (an option of vantor grid"),
    ("vantorscale ! video/x-raw,format=I420", "could not link"),
    ("vantorscale ! video/x-raw,width=20000", "expected 1x1 to 16384x16384")])
def test_refusals_name_the_cause(element, text):
    assert text in run("gst-launch-1.0", *"videotestsrc num-buffers=1 ! video/x-raw,format=NV12".split(), "!",
                       *element.split(), "!", "fakesink", status=1)


def test_the_commands_of_the_pages():
    run("bash", "-ec", f"""
        cp {CALIBRATION} camera.yml
        {TOOL} chart -o photo.png
        {TOOL} scale photo.png -o photo.jpg --size 100%
        {TOOL} scale photo.png -o clip.y4m --size 100%
        {TOOL} scale photo.png -o clip_1920x1080_nv12.yuv --size 1920x1080""")
    lines = re.sub(r"\\\n *", "", PAGES)
    commands = re.findall(r"^(?:gst-|cmp |vantor .*turn\.grid).*", lines, re.MULTILINE)
    assert len(commands) >= 8
    run("bash", "-ec", f"vantor() {{ {TOOL} \"$@\"; }}\n" + "\n".join(commands))


def test_what_measures_runs():
    if "fisheye" not in run("gst-inspect-1.0"):
        pytest.skip("gstreamer1.0-plugins-bad is not installed")
    assert run(ROOT / "bench/gstreamer.py", "--quick").count("| `vantor") == 11
