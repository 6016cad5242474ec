"""Clips: all frames in order, through files and pipes and several workers, and padded dumps."""

import itertools
import os
import pty
import random
import re
import signal
import subprocess

import pytest
from conftest import FRAMES, flat, read, write, y4m

TAGS = "F30000:1001 Ip A4:3 C420mpeg2 Q7 XYSCSS=420MPEG2 XCOLORRANGE=FULL"


@pytest.fixture(autouse=True)
def clip(directory):
    write("clip.y4m", y4m("48x32", TAGS))


@pytest.mark.parametrize("jobs", [1, 2, 8])
def test_tags_and_frames_go_through_a_pipe(vantor, jobs):
    result = vantor(f"scale - -o - --size 24x32 --jobs {jobs}", input=read("clip.y4m"), stderr=subprocess.PIPE)
    assert result.bytes == y4m("24x32", TAGS.replace("A4:3", "A8:3"))
    assert "\r" not in result.text, "progress outside a terminal"
    assert "interlaced" not in result.text


def test_progress_is_shown_in_a_terminal(vantor):
    script = f"(cat clip.y4m; sleep 0.4; tail -c 2310 clip.y4m) | '{vantor.path}' scale - -o x.y4m --size 24x32"
    shown = []
    try:
        status = pty.spawn(["sh", "-c", script], lambda terminal: shown.append(os.read(terminal, 4096)) or shown[-1])
    except OSError as error:
        pytest.skip(f"no pseudo-terminal: {error}")
    assert status == 0 and re.search(rb"vantor: 4 frames, .* a second", b"".join(shown))


def test_any_number_of_workers_gives_the_same_hash_on_both_paths(vantor, chart):
    vantor("scale chart.png -o chart.nv12 --size 100%")
    frames = [read("chart.nv12")[: i * 10000].ljust(86400, b"\x80") for i in range(1, 9)]
    write("chart_320x180_8.nv12", b"".join(frames))
    arguments = "warp chart_320x180_8.nv12 -o model.nv12 --rotate 9 --jobs 1 --hash --times times.txt"
    text = vantor(arguments, text=", 8 frames, ").text
    each = sum(map(float, read("times.txt").split()[1::3])) / 8
    assert float(re.search(r"each (\S+) ms", text)[1]) == pytest.approx(each, abs=0.006)  # as both are rounded
    arguments = "warp chart_320x180_8.nv12 -o hw.nv12 --rotate 9 --jobs 4 --backend hardware --verify"
    result = vantor(f"{arguments} {text.split('hash ')[1]}", text="service) in")
    assert "note: --jobs 4: the library's client takes one request at a time" in result.text
    assert read("hw.nv12") == read("model.nv12")


def test_frames_are_left_out_counted_and_hashed(vantor):
    arguments = "scale clip.y4m -o two_48x32.i420 --size 100% --skip 1 --times times.txt --hash"
    vantor(arguments, text="hash dcc542aad836410b")  # as xxh64sum says
    assert read("two_48x32.i420") == b"".join(flat("48x32", *frame) for frame in FRAMES[1:])
    assert re.fullmatch(rb"1 \d+\.\d{3} [0-9a-f]{16}\n2 \d+\.\d{3} [0-9a-f]{16}\n", read("times.txt"))
    text = "--verify 0123456789abcdef: the result has dcc542aad836410b"
    vantor("scale two_48x32.i420 -o x.y4m --size 100% --verify 0123456789abcdef", 1, text)


def dump(layout, stride, slice_height, padding):
    """Two equal frames of 24x16 random samples, whose rows and planes go on with padding."""
    y, u, v = (random.Random(plane).randbytes(384 if plane == 0 else 96) for plane in range(3))
    first, second = (v, u) if layout == "nv21" else (u, v)
    pairs = bytes(itertools.chain(*zip(first, second)))
    frame = b""
    for plane, width in ((y, 24), (u, 12), (v, 12)) if layout == "i420" else ((y, 24), (pairs, 24)):
        row = stride * width // 24
        rows = [plane[i : i + width].ljust(row, padding) for i in range(0, len(plane), width)]
        frame += b"".join(rows).ljust(row * (slice_height if plane is y else slice_height // 2), padding)
    return frame * 2


@pytest.mark.parametrize("source, result", itertools.product(("nv12", "nv21", "i420"), repeat=2))
def test_padding_is_left_out_and_written_as_zeros(vantor, source, result):
    # The last padding may be missing.
    write(f"padded_24x16.{source}", dump(source, 32, 20, b"c")[: -9 if source == "i420" else -72])
    write(f"packed_24x16.{source}", dump(source, 24, 16, b"\0"))
    for form, side, stride, slice_height in ("padded", "input", 24, 16), ("packed", "output", 32, 20):
        options = f"--{side}-stride 32 --{side}-slice-height 20"
        vantor(f"scale {form}_24x16.{source} -o x.{result} --size 100% {options}", text=f"{result}: copied")
        assert read(f"x.{result}") == dump(result, stride, slice_height, b"\0")


@pytest.mark.parametrize("command", ["scale --size 200x140", "scale --size 640x200", "warp --rotate 9",
                                     "warp --matrix 4034,-711,201,711,4034,-251"])
@pytest.mark.parametrize("layout", ["nv12", "nv21", "i420", "gray", "y4m"])
def test_frames_that_lie_anyhow_give_the_bytes_of_the_client(vantor, layout, command):
    size = "107x71" if layout == "y4m" else "320x180"  # odd, and in colour
    write("seed_320x180.nv12", random.Random(2).randbytes(86400))
    vantor(f"scale seed_320x180.nv12 -o seed.png --size {size if layout != 'y4m' else '108x72'}")
    read_as, written_as = ("" if layout == "y4m" else f"--{side}-stride 705 --{side}-slice-height 211"
                           for side in ("input", "output"))
    vantor(f"scale seed.png -o in_{size}.{layout} --size 100% {written_as}")
    command = f"{command} in_{size}.{layout} {read_as}"
    text = vantor(f"{command} -o packed.{layout} --backend hardware --hash", text="hardware backend (").text
    for jobs in 1, 3:
        vantor(f"{command} -o x.{layout} {written_as} --jobs {jobs} --verify {text.split('hash ')[1]}")


@pytest.mark.parametrize("tags, arguments, output, text", [
    ("F25:1", "cut.y4m", "x.y4m", "cut.y4m: frame 2 (48x32 i420) is truncated: 2204 of 2304 bytes"),
    ("C422p11", "cut.y4m", "x.y4m", "Y4M sample format C422p11: expected 4:2:0, 4:2:2, 4:4:4 or gray of 8 to 16 bits"),
    ("H99999", "cut.y4m", "x.y4m", "cut.y4m: Y4M 48x99999: width and height must be from 4 to 16384"),
    ("It", "cut.y4m", "x.y4m", "cut.y4m: interlaced; frames are processed as if progressive"),
    ("", "cut.y4m", "x.png", "x.png: a PNG file holds one frame, and there are more: expected --limit 1"),
    ("", "cut.y4m --yuv-range full", "x.y4m", "--yuv-range full: neither cut.y4m nor x.y4m is RGB"),
    ("", "cut.y4m --yuv-matrix 709", "x.y4m", "--yuv-matrix 709: neither cut.y4m nor x.y4m is RGB"),
    ("", "cut.y4m --input-stride 50", "x.y4m", "--input-stride 50: cut.y4m is a Y4M file; the option is for raw files"),
    ("", "cut.y4m --output-stride 23", "x.nv12", "--output-stride 23: a 24x16 nv12 picture has 24 bytes a row"),
    ("", "clip.y4m --skip=-1", "x.y4m", "--skip: -1: expected a number of frames, 0 or more"),
    ("", "clip.y4m --limit 0", "x.y4m", "--limit: 0: expected a number of frames, 1 or more"),
    ("", "clip.y4m --skip 4", "x.y4m", "--skip 4: clip.y4m has 3 frames"),
    ("", "clip.y4m --skip 3", "x.y4m", "clip.y4m: no frame behind the first 3"),
    ("", "clip.y4m --verify 0123", "x.y4m", "--verify 0123: expected 16 hexadecimal digits"),
])
def test_refused_clips(refuse, tags, arguments, output, text):
    write("cut.y4m", y4m("48x32", tags)[:-100])
    refuse(f"scale {arguments} --size 24x16", text, output=output)


def test_the_whole_frames_of_a_cut_clip_go_out_through_a_pipe(vantor):
    write("cut.y4m", y4m("48x32", "I?")[:-100])
    result = vantor("scale cut.y4m -o - --size 24x32 --jobs 2", 2, stderr=subprocess.PIPE)
    assert result.bytes == y4m("24x32", "I?")[:-1158] and "interlaced" not in result.text


def test_frames_of_odd_heights_stay_apart(vantor):
    write("a_96x77.gray", random.Random(1).randbytes(8 * 96 * 77))
    vantor("warp a_96x77.gray -o b_96x77.gray --zoom 1 --jobs 2")
    assert read("b_96x77.gray") == read("a_96x77.gray")


def test_a_write_that_is_broken_off_goes_on(vantor):
    vantor("scale clip.y4m -o x.y4m --size 4800x320")
    tool = vantor.start("scale clip.y4m -o - --size 4800x320")
    start = tool.stdout.read(1)  # of a frame larger than a pipe
    tool.send_signal(signal.SIGSTOP)
    os.waitpid(tool.pid, os.WUNTRACED)
    tool.send_signal(signal.SIGCONT)
    assert start + tool.stdout.read() == read("x.y4m") and tool.wait() == 0


def test_a_reader_that_goes_is_an_error(vantor):
    tool = vantor.start("scale clip.y4m -o - --size 4800x3200")
    tool.stdout.read(1)
    tool.stdout.close()
    assert b"standard output: cannot write: Broken pipe" in tool.stderr.read() and tool.wait() == 2
