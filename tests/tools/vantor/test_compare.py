"""vantor compare: pictures, padded dumps and clips, and what clips and raw files can be wrong in."""

import json
import math
import pathlib
import random
import resource

import pytest

WIDTH, HEIGHT = 24, 16


def flat(value, *changes):
    """An I420 frame of one value, but for changes: (byte, value)."""
    frame = bytearray([value]) * (WIDTH * HEIGHT * 3 // 2)
    for at, other in changes:
        frame[at] = other
    return bytes(frame)


def y4m(name, *frames, size=(WIDTH, HEIGHT), tags=""):
    header = f"YUV4MPEG2 W{size[0]} H{size[1]} C420jpeg{tags}\n".encode()
    pathlib.Path(name).write_bytes(header + b"".join(b"FRAME\n" + frame for frame in frames))


@pytest.fixture
def clips(directory):
    """Of three frames, of which the second differs by 3 at (7, 5)."""
    y4m("a.y4m", flat(10), flat(20), flat(30))
    y4m("b.y4m", flat(10), flat(20, (5 * WIDTH + 7, 23)), flat(30))


def test_clips_are_compared_frame_by_frame(vantor, clips):
    psnr = 10 * math.log10(255**2 * WIDTH * HEIGHT / 9)
    lines = vantor("compare a.y4m b.y4m", 1).text.splitlines()
    assert lines[0] == "frame 0: Y equal, U equal, V equal"
    assert lines[1] == f"frame 1: Y {psnr:.2f} dB, U equal, V equal"
    whole = psnr + 10 * math.log10(3)
    assert lines[3] == (
        "Y: 1 of 1152 samples differ, first in frame 1 at (7, 5): 20 and 23; largest difference 3, "
        f"PSNR {whole:.2f} dB"
    )
    assert lines[-1] == "different"

    report = json.loads(vantor("compare a.y4m b.y4m --json --skip 1", 1).text)
    assert [frame["frame"] for frame in report["frames"]] == [1, 2]
    luma = report["frames"][0]["components"][0]
    assert luma["differing"] == 1 and luma["psnr"] == pytest.approx(psnr)
    assert report["components"][0]["first"] == {"frame": 1, "x": 7, "y": 5, "a": 20, "b": 23}
    assert report["frame_counts"] == {"a": 2, "b": 2}

    only = vantor("compare a.y4m b.y4m --skip 1 --limit 1", 1, "differ, first at (7, 5): 20 and 23").text
    assert "frame" not in only
    y4m("c.y4m", flat(10), flat(20, (5 * WIDTH + 7, 23)), flat(31))
    vantor("compare a.y4m c.y4m", 1, "first in frame 1 at (7, 5)")
    vantor("compare a.y4m b.y4m --skip 2", text="\nidentical\n")
    vantor("compare a.y4m b.y4m --skip 4", 2, "--skip 4: a.y4m has 3 frames")


@pytest.mark.parametrize("tolerance, status, verdict", [(3, 0, "within"), (2, 1, "beyond")])
def test_tolerance_in_text_and_json(vantor, clips, tolerance, status, verdict):
    arguments = f"compare a.y4m b.y4m --tolerance {tolerance}"
    vantor(arguments, status, f"\ndifferent, {verdict} the tolerance of {tolerance}\n")
    report = json.loads(vantor(arguments + " --json", status).text)
    assert (report["identical"], report["within_tolerance"]) == (False, verdict == "within")
    assert report["components"][0]["differing"] == 1


def test_numbers_of_frames_that_differ_are_a_difference(vantor, clips):
    y4m("short.y4m", flat(10))
    vantor("compare a.y4m short.y4m --tolerance 255", 1, "frames: 3 of a.y4m, 1 of short.y4m\ndifferent, beyond")
    vantor("compare short.y4m a.y4m", 1, "frames: 1 of short.y4m, 3 of a.y4m")
    report = json.loads(vantor("compare short.y4m a.y4m --json --limit 2", 1).text)
    assert report["frame_counts"] == {"a": 1, "b": 2}
    assert (report["identical"], report["within_tolerance"]) == (False, False)
    vantor("compare a.y4m short.y4m --limit 1", text="identical")
    vantor("compare a.y4m short.y4m --skip 1", 2, "short.y4m: no frame to compare")


def test_long_clips_take_the_memory_of_a_frame(vantor, is_sanitized):
    if is_sanitized:
        pytest.skip("sanitizers map terabytes")
    for name in "a_1024x1024.gray", "b_1024x1024.gray":
        with open(name, "wb") as file:
            file.truncate(100 << 20)
    limit = 64 << 20
    vantor(
        "compare a_1024x1024.gray b_1024x1024.gray",
        text="frame 99: Y equal",
        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)),
    )


def test_the_heat_map_is_of_the_frame_that_differs_most(vantor, clips):
    vantor("compare a.y4m b.y4m --heatmap all.png", 1)
    vantor("compare a.y4m b.y4m --heatmap two.png --skip 1", 1)
    vantor("compare a.y4m b.y4m --heatmap first.png --limit 1")
    all_frames, two, first = (pathlib.Path(name).read_bytes() for name in ("all.png", "two.png", "first.png"))
    assert all_frames == two != first


PADDED = "stride 384 --{0}-slice-height 192"


@pytest.mark.parametrize(
    "files, options",
    [
        ("a.nv12 a.i420", "--input-size 320x180"),
        ("a.y4m a.nv12", "--input-size 320x180"),
        ("a.nv12 a.y4m", "--input-size 320x180"),
        ("padded.nv21 padded.i420", "--input-size 320x180 --input-" + PADDED.format("input")),
        ("a.nv12 padded.nv21", "--input-size 320x180 --other-" + PADDED.format("other")),
        ("a.nv12 copy.bin", "--input-size 320x180 --other-format nv21 --other-" + PADDED.format("other")),
        ("padded.i420 copy.bin", f"--input-size 320x180 --input-{PADDED.format('input')} --other-format nv21"),
        ("wrong_8x8.nv12 a.i420", "--input-format nv12 --input-size 320x180 --other-format i420"),
        (
            "padded.nv21 a.nv12",
            f"--input-size 320x180 --input-{PADDED.format('input')} --other-stride 320 --other-slice-height 180",
        ),
    ],
)
def test_each_file_has_raw_options(vantor, chart, files, options):
    for name in "a.nv12", "a.i420", "a.y4m":
        vantor(f"scale chart.png -o {name} --size 100%")
    for name in "padded.nv21", "padded.i420":
        vantor(f"scale chart.png -o {name} --size 100% --output-{PADDED.format('output')}")
    pathlib.Path("copy.bin").symlink_to("padded.nv21")
    pathlib.Path("wrong_8x8.nv12").symlink_to("a.nv12")
    vantor(f"compare {files} {options}", text="V: equal (14400 samples)\nidentical")


def test_options_and_names_that_do_not_fit_are_refused(vantor, clips):
    vantor("compare a.y4m b.y4m --other-stride 50", 2, "--other-stride 50: b.y4m is a Y4M file")
    pathlib.Path("b.nv12").write_bytes(b"")
    vantor("compare a.y4m b.nv12", 2, "b.nv12: size unknown")
    vantor("compare - -", 2, "two pictures from standard input")
    vantor("view a.y4m -o x.html --other-size 8x8", 2, "--other options describe a second picture: expected B")
    vantor("compare a.y4m b.y4m --heatmap h.jpg", 2, "--heatmap h.jpg: expected a name ending in .png")
    vantor("grid --rotate 1 --plot mesh", 2, "--plot mesh: expected a name ending in .png")


@pytest.mark.parametrize(
    "name, length, expected",
    [
        ("d_1920x1080.nv12", 3261696, "3261696 = 1984 x 1096 x 3/2, as with --input-stride 1984 --input-slice-height 1096"),
        ("d_1920x1080.i420", 6684672, "6684672 = 2 x 2048 x 1088 x 3/2, as with --input-stride 2048"),
        ("d_1000x99.gray", 1024 * 99, "= 1024 x 99, as with --input-stride 1024 --input-slice-height 99"),
        ("d_1920x1080.nv12", 3261698, "a frame is 1920 x 1080 x 3/2; the file has 3261698 bytes"),
        ("d_24x16.nv12 --input-stride 25 --input-slice-height 17", 500, "a frame is 25 x 17 + 2 x 13 x 9; the file"),
    ],
)
def test_wrong_geometry_is_explained_by_its_sum(vantor, name, length, expected):
    pathlib.Path(name.split()[0]).write_bytes(bytes(length))
    vantor("info " + name, 2, expected)


def test_every_frame_of_a_clip_counts(vantor):
    y4m("five.y4m", *[flat(1)] * 5)
    vantor("info five.y4m", text="24x16 i420, 5 frames")
    pathlib.Path("five_24x16.i420").write_bytes(flat(1) * 5)
    assert json.loads(vantor("info five_24x16.i420 --json").text)["frames"] == 5


@pytest.mark.parametrize("name", ["clip.y4m", "clip_24x16.i420"])
def test_a_clip_without_its_last_byte_is_cut(vantor, name):
    pathlib.Path("clip_24x16.i420").write_bytes(flat(1) * 2)
    y4m("clip.y4m", flat(1), flat(1))
    path = pathlib.Path(name)
    path.write_bytes(path.read_bytes()[:-1])
    vantor(f"scale {name} -o x.y4m --size 50%", 2, "frame 1 (24x16 i420) is truncated: 575 of 576 bytes")


@pytest.mark.parametrize("command", ["crosscheck {} --size 50%", "explain {} 0 0 --rotate 1", "view {} -o x.html"])
def test_where_one_frame_is_expected_two_are_refused(vantor, command):
    y4m("two.y4m", flat(1), flat(1))
    vantor(command.format("two.y4m"), 2, "two.y4m: more than one frame, expected one")


def test_the_last_chroma_row_of_odd_heights(vantor):
    size = (101, 77)
    pixels, chroma = 101 * 77, 51 * 39
    frame = random.Random(1).randbytes(pixels + 2 * chroma)
    y4m("a.y4m", frame, size=size)
    y4m("b.y4m", frame[:-1] + bytes([frame[-1] ^ 1]), size=size)
    vantor("compare a.y4m b.y4m", 1, f"V: 1 of {chroma} samples differ, first at (50, 38)")
    vantor("warp a.y4m -o warped.y4m --zoom 1")
    vantor("compare a.y4m warped.y4m", text="identical")
    vantor("scale a.y4m -o even_102x78.i420 --size 100%")
    assert pathlib.Path("even_102x78.i420").read_bytes()[102 * 78 :] == frame[pixels:]
