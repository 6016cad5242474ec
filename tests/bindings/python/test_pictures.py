"""Pictures as views and in files, and what is done with them."""

import math
import pickle
import re

import numpy as np
import pytest
from conftest import noise

import vantor

GRID = vantor.Grid.rotation(3, (320, 180))


@pytest.mark.parametrize("name", ["chart_320x180.nv12", "c_320x180.nv21", "c_320x180_i420.yuv", "c_320x180.gray",
                                  "c.y4m", "c.png", "gray.png", "odd.png"])
def test_files_and_hashes_are_those_of_the_tool(tool, chart, name):
    to_rgb = ["--yuv-matrix", "709", "--yuv-range", "full"] if name == "c.png" else []
    size = {"odd.png": "161x91"}.get(name, "320x180")
    gray = "gray" in name
    if gray:
        tool("scale", chart, "-o", "plain_320x180.i420", "--size", "320x180")
        vantor.Image(vantor.read("plain_320x180.i420").y.copy()).y.tofile("in_320x180.gray")
    made = "in_320x180.gray" if gray else chart
    if name == "odd.png":
        rgb = vantor.read(chart).to_rgb()[:91, :161]
        pytest.importorskip("PIL.Image").fromarray(rgb).save(name)
    else:
        tool("scale", made, "-o", name, "--size", size, *to_rgb)
    image = vantor.read(name, encoding="bt709-full") if to_rgb else vantor.read(name)
    suffix = "gray" if image.format == "gray" else "y4m" if name == "c.y4m" else image.format
    printed = tool("scale", name, "-o", "small." + suffix, "--size", "200x120", "--hash", *to_rgb)
    small = vantor.scale(image, (200, 120))
    assert re.search("[0-9a-f]{16}", printed).group() == vantor.hash(small)
    vantor.write("again." + suffix, small)
    assert open("again." + suffix, "rb").read() == open("small." + suffix, "rb").read()
    tool("scale", name, "-o", "small.png", "--size", "200x120", *to_rgb)
    vantor.write("again.png", small, encoding="bt709-full" if to_rgb else "bt601")
    assert "identical" in tool("compare", "small.png", "again.png")


def test_layouts_and_strides_change_no_sample():
    packed = noise((64, 36))
    y, u, v = packed.copy("i420").planes
    wide = np.full((60, 100), 7, np.uint8)
    wide[5:41, 9:73], wide[41:59, 9:73] = packed.planes
    images = [
        packed, packed.copy("nv21"), packed.copy("i420"), vantor.Image(wide[5:41, 9:73], wide[41:59, 9:73]),
        vantor.Image(packed.y, packed.uv.reshape(18, 32, 2)), vantor.Image(y, u=u, v=v),
        vantor.Image.from_array(wide[5:59, 9:73], "nv12"), pickle.loads(pickle.dumps(packed.copy("nv21")))]
    for image in images:
        for result in (vantor.scale(image, (80, 24)), vantor.warp(image, GRID)):
            reference = vantor.scale(packed, (80, 24)) if result.size == (80, 24) else vantor.warp(packed, GRID)
            assert result.format == image.format and vantor.compare(result, reference).identical, image
    gray = vantor.Image(packed.y)
    assert np.array_equal(vantor.warp(gray, GRID).y, vantor.warp(packed, GRID).y) and gray.array is packed.y
    before = wide.copy()
    out = vantor.Image(wide[5:29, 9:89])
    assert vantor.scale(gray, out=out) is out and out.y.base is wide
    wide[5:29, 9:89] = before[5:29, 9:89]
    assert np.array_equal(wide, before)


def test_a_part_is_what_the_whole_has_there():
    image, out = noise((320, 180)), noise((320, 180), seed=2)
    before, whole = out.copy(), vantor.warp(image, GRID)
    vantor.warp(image, GRID, out=out, part=(32, 20, 64, 40))
    assert np.array_equal(out.y[20:60, 32:96], whole.y[20:60, 32:96])
    out.y[20:60, 32:96], out.uv[10:30, 32:96] = before.y[20:60, 32:96], before.uv[10:30, 32:96]
    assert vantor.compare(out, before).identical


def test_clips_keep_their_frames_and_tags(tool):
    frames = [noise((34, 18), "i420", seed) for seed in range(3)]
    vantor.write("in.y4m", iter(frames), tags=["F30:1", "XNOTE"])
    clip = vantor.Clip("in.y4m")
    assert (clip.size, clip.format, clip.tags) == ((34, 18), "i420", ["F30:1", "XNOTE"])
    assert vantor.hash(*clip) in tool("scale", "in.y4m", "-o", "same.y4m", "--size", "100%", "--hash")
    vantor.write("in_34x18.nv12", clip)
    assert vantor.hash(*(frame.copy("nv12") for frame in frames)) == vantor.hash(*vantor.Clip("in_34x18.nv12"))
    open("odd.y4m", "wb").write(b"YUV4MPEG2 W3 H3\nFRAME\n" + bytes(range(17)))
    odd = vantor.read("odd.y4m")
    assert odd.y.tolist()[1:] == [[3, 4, 5, 5], [6, 7, 8, 8], [6, 7, 8, 8]] and odd.v.tolist() == [[13, 14], [15, 16]]


def test_differences_steps_and_published_hashes(tool, chart):
    image = vantor.read(chart)
    other = image.copy("i420")
    other.y[7, 3] ^= 255
    other.v[5, 9] += 2
    y, u, v = vantor.compare(image, other)
    assert (y.first, y.values, y.differing) == ((3, 7), (image.y[7, 3], other.y[7, 3]), 1)
    assert (u.first, u.psnr, v.first, v.largest, v.histogram[2]) == (None, math.inf, (9, 5), 2, 1)
    steps = vantor.explain(image, 17, 40, GRID)
    warped = vantor.warp(image, GRID)
    assert steps["pixel"] == [17, 40] and steps["luma"]["value"] == steps["library"][0] == warped.y[40, 17]
    right, pictures = vantor.selftest()
    assert right == pictures > 30


y, uv, rgb = np.zeros((4, 8), np.uint8), np.zeros((2, 8), np.uint8), np.zeros((4, 8, 3), np.uint8)
image, gray, locked = vantor.Image(y, uv), vantor.Image(y), vantor.Image(y.copy(), uv.copy())
locked.uv.flags.writeable = False
zeros, k, d = np.zeros((4, 8), np.float32), [[9., 0, 3], [0, 9, 1], [0, 0, 1]], [.1, 0, 0, 0]
V, I, G = vantor, vantor.Image, vantor.Grid


@pytest.mark.parametrize("call, text", [
    (lambda: I(y.astype(int)), "y: dtype int64, expected uint8"),
    (lambda: I(y.tolist()), "y: of type list, expected a NumPy array of uint8"),
    (lambda: I(y[0]), r"y: shape \(8,\), expected \(height, width\)"),
    (lambda: I(y[:, ::2]), r"y: strides \(8, 2\), expected rows without gaps between their samples"),
    (lambda: I(y[::-1]), "y: -8 bytes from row to row, expected at least 8"),
    (lambda: I(np.broadcast_to(y[0], (4, 8))), "y: 0 bytes from row to row, expected at least 8"),
    (lambda: I(y, uv[:1]), r"uv: shape \(1, 8\), expected \(2, 8\) or \(2, 4, 2\) for y of shape \(4, 8\)"),
    (lambda: I(y, uv, vu=uv), "chroma: uv and vu, expected none, uv, vu, or u and v"),
    (lambda: I(y[:3], uv), "y: 8 x 3, expected an even width and height"),
    (lambda: I.from_array(y, "nv12"), r"array: shape \(4, 8\), expected \(3 \* height // 2, width\) for nv12"),
    (lambda: I.from_array(rgb[..., 0], "yuy2"), "format: 'yuy2', expected gray, nv12, nv21 or i420"),
    (lambda: I.from_array(np.zeros((6, 16), np.uint8)[:, :8], "i420"), r"array: strides \(16, 1\)"),
    (lambda: I.empty((7, 4)), "size: 7 x 4, expected an even"),
    (lambda: I.from_rgb(y), r"rgb: shape \(4, 8\), expected \(height, width, 3\)"),
    (lambda: I.from_rgb(rgb, encoding="bt2020"), "encoding: 'bt2020', expected bt601, bt709, bt601-full or bt709-full"),
    (lambda: image.to_rgb(out=rgb[:2]), "image: 8x4, expected 8x2 for that of out"),
    (lambda: gray.copy("nv12"), "format: 'nv12', expected gray"),
    (lambda: image.array, "image: made of separate planes"),
    (lambda: gray.uv, "uv: not in gray pictures, which have y"),
    (lambda: V.scale(y, (4, 4)), "image: of type ndarray, expected a vantor.Image"),
    (lambda: V.scale(image), "size: None, expected two integers"),
    (lambda: V.scale(image, (4.0, 4)), r"size: \(4.0, 4\), expected two integers"),
    (lambda: V.scale(image, (0, 4)), "size: 0 x 4, expected 1 x 1 to 16384 x 16384"),
    (lambda: V.scale(image, (4, 4), out=image), "out: 8 x 4, expected the size, 4 x 4"),
    (lambda: V.scale(image, out=locked), "out: uv is read-only, expected a writable array"),
    (lambda: V.scale(image, out=image), "out: .*overlaps .*image"),
    (lambda: V.scale(image, (4, 4), engine=2), "engine: of type int, expected a vantor.Engine"),
    (lambda: V.warp(image, None), "grid: None, expected a vantor.Grid"),
    (lambda: V.warp(image, G(), part=(0, 0, 2, 2)), "out: None, expected the picture"),
    (lambda: V.Engine(-1), "threads: -1, expected 0 to 256"),
    (lambda: V.Engine("2"), "threads: '2', expected an integer"),
    (lambda: I.empty(y), r"size: array\(.{,60}expected two integers"),
    (lambda: G().save("x.txt", 3), "comment: of type int, expected text"),
    (lambda: G([1, 2]), r"dx: int64 of shape \(2,\), expected integers of shape \(33, 33\)"),
    (lambda: G(dy=np.full((33, 33), 2**31)), "dy: 2147483648 to 2147483648, expected values in the range of int32"),
    (lambda: G.from_matrix([1, 2, 3], (96, 64)), "matrix: .*expected six integers"),
    (lambda: G.from_map(zeros, zeros.astype(float)), "map_y: dtype float64, expected float32"),
    (lambda: G.from_map(zeros, zeros[:2]), r"map_y: shape \(2, 8\), expected that of map_x"),
    (lambda: G.from_map(zeros[:, :4], zeros[:, :4]), "map_x: strides"),
    (lambda: G.from_map(zeros + np.nan, zeros), "no finite position for pixel .0, 0."),
    (lambda: G.rotation("much", (96, 64)), "degrees: of type str, expected a number"),
    (lambda: G.lens([1, 2, 3, 4], (96, 64)), "lens: 4 numbers, expected k1, k2, k3, p1, p2"),
    (lambda: G.lens([.1], (9000, 64)), "size: 9000 x 64, expected 1 x 1 to 8192 x 6144"),
    (lambda: G.from_calibration(np.zeros((3, 3)), d, (96, 64)), "K is not a camera matrix"),
    (lambda: G.from_calibration(k, d + [0, 0], (96, 64)), "D: 6 numbers, expected 4 or 5 or 8 or 12 or 14"),
    (lambda: G().plot(), "size: expected size or maps"),
    (lambda: V.hash(zeros), "pictures: float32"),
    (lambda: V.read("x.bin"), "x.bin: format unknown"),
    (lambda: V.read("x.nv12"), "x.nv12: size unknown"),
    (lambda: V.write("x.bin", image), "x.bin: format unknown"),
    (lambda: V.write("x.nv12", gray), "format: 'nv12', expected gray"),
    (lambda: V.write("x.y4m", []), "images: None, expected a vantor.Image"),
    (lambda: V.write("x.y4m", image, tags=["\n"]), "tags: "),
    (lambda: list(V.chunks([1], 0)), "count: 0, expected an integer above 0"),
])
def test_wrong_calls_name_argument_value_and_limit(call, text, directory):
    with pytest.raises((ValueError, TypeError, AttributeError), match=text):
        call()
    assert not list(directory.iterdir())


@pytest.mark.parametrize("wrong", [3, "x", b"x", {}, object()])
@pytest.mark.parametrize("argument, call", [
    ("image", lambda wrong: V.scale(wrong, (4, 4))), ("size", lambda wrong: V.scale(image, wrong)),
    ("out", lambda wrong: V.scale(image, out=wrong)), ("engine", lambda wrong: V.scale(image, (4, 4), engine=wrong)),
    ("grid", lambda wrong: V.warp(image, wrong)), ("part", lambda wrong: V.warp(image, G(), part=wrong, out=gray)),
    ("b", lambda wrong: V.compare(image, wrong)), ("image", lambda wrong: V.explain(wrong, 0, 0, G())),
    ("matrix", lambda wrong: G.from_matrix(wrong, (96, 64))), ("map_x", lambda wrong: G.from_map(wrong, zeros)),
    ("K", lambda wrong: G.from_calibration(wrong, d, (96, 64))), ("u", lambda wrong: I(y, u=wrong, v=wrong)),
])
def test_values_of_other_types_are_refused_by_the_arguments_name(argument, call, wrong):
    with pytest.raises((ValueError, TypeError), match=rf"^{argument}\b.*(expected|not)"):
        call(wrong)


@pytest.mark.parametrize("name, content, text", [
    ("x_4x4.gray", b"12345", "frame 0 .4x4 gray. is truncated: 5 of 16 bytes"),
    ("x_1x1.gray", b"12", "more than one frame"),
    ("x.y4m", b"RIFF\n", "not a Y4M stream"),
    ("x.y4m", b"YUV4MPEG2 W2 H-2\n", "H-2, expected numbers"),
    ("x.y4m", b"YUV4MPEG2 W2 H2 C422\x1b\n", r"sample format C422\\x1b, expected 8-bit 4:2:0"),
    ("x.y4m", b"YUV4MPEG2 W2 H2\nFRAMES", "frame 0 does not begin with the word FRAME"),
    ("x.png", b"GIF8", "not a PNG file"),
    ("x.png", b"\x89PNG\r\n\x1a\n" + bytes(16) + b"\x10", "16 bits per sample"),
    ("x.png", b"\x89PNG\r\n\x1a\n" + bytes(30), "not a valid PNG file"),
])
def test_damaged_files_are_named(name, content, text):
    open(name, "wb").write(content)
    with pytest.raises(ValueError, match=f"{name}: .*{text}" if "x" in name else text):
        vantor.read(name)
