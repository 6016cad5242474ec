"""The page's workbench in Node, against the tool: hashes, pixels, files, calibrations, the command lines it shows."""

import base64
import json
import os
import pathlib
import shutil
import zlib

import pytest
from conftest import CALIBRATIONS, FUZZED, hash_in, png, y4m

PROFILE = b"made\0\0" + zlib.compress(b"profile" * 20)
PICTURES = {
    "rgb.png": lambda rng: png(rng, 130, 75, 2, chunks=[(b"gAMA", b"\0\0\xb1\x8f"), (b"iCCP", PROFILE)]),
    "alpha.png": lambda rng: png(rng, 96, 64, 6, is_interlaced=True, chunks=[(b"gAMA", b"\0\1\x86\xa0")]),
    "gray-alpha.png": lambda rng: png(rng, 97, 65, 4, is_interlaced=True),
    "gray.png": lambda rng: png(rng, 113, 77, 0, chunks=[(b"tRNS", b"\0\7")]),
    "bits-1.png": lambda rng: png(rng, 101, 70, 0, depth=1),
    "bits-4.png": lambda rng: png(rng, 101, 70, 0, depth=4, is_interlaced=True),
    "palette.png": lambda rng: png(rng, 98, 66, 3, chunks=[(b"tRNS", rng.randbytes(256))]),
    "palette-2.png": lambda rng: png(rng, 99, 67, 3, depth=2, is_interlaced=True),
    "clip.y4m": lambda rng: y4m(rng, 112, 64, "C420jpeg XCOLORRANGE=FULL"),
    "odd.y4m": lambda rng: y4m(rng, 111, 65, "Ip C420mpeg2"),
    "mono.y4m": lambda rng: y4m(rng, 97, 71, "Cmono", is_gray=True),
    "raw_128x70.nv12": lambda rng: rng.randbytes(128 * 70 * 3 // 2),
    "raw_128x72_nv21.yuv": lambda rng: rng.randbytes(128 * 72 * 3 // 2),
    "raw-100x64.i420": lambda rng: rng.randbytes(100 * 64 * 3 // 2),
    "raw.99x67.gray": lambda rng: rng.randbytes(99 * 67),
}


def parts(rotate=0, zoom=1, shear=(0, 0), shift=(0, 0), lens=(0, 0, 0, 0, 0)):
    return {"rotate": [rotate], "zoom": [zoom], "shear": shear, "shift": shift, "lens": lens}


def warp(**numbers):
    return {"kind": "parts", "parts": parts(**numbers)}


def make(name, rng):
    pathlib.Path(name).write_bytes(PICTURES[name](rng))
    return {"name": name, "options": ["--limit=1"] if name.endswith("y4m") else []}


def test_the_published_pictures(workbench):
    found = workbench("selftest")
    assert found["right"] == found["pictures"] > 30


@pytest.mark.parametrize("name", PICTURES)
def test_files_have_the_tools_hashes(workbench, vantor, rng, name):
    picture = make(name, rng)
    opened = workbench("open", name)
    described = warp(rotate=4, lens=[-0.1, 0.02, 0, 0.01, 0])
    is_odd = opened["kind"] != "gray" and (opened["width"] % 2 or opened["height"] % 2)
    raw = f"out_{opened['width']}x{opened['height']}.{'gray' if opened['kind'] == 'gray' else 'nv12'}"
    for form, output in ("raw", raw), ("png", "out.png"):
        if form == "raw" and is_odd:
            with pytest.raises(ValueError, match="must be even"):
                workbench("warp", described, form)
            continue
        shown = workbench("warp", described, form)["hash"]
        printed = vantor(shell=workbench("command", picture, described, "x.grid", output))
        assert shown == hash_in(printed)
        # What the page saves is what the tool writes: samples, and the chunks about them.
        workbench("save", form, f"saved_{output}")
        if form == "raw":
            assert pathlib.Path(f"saved_{output}").read_bytes() == pathlib.Path(output).read_bytes()
        else:
            saved, own = workbench("pixels", f"saved_{output}"), workbench("pixels", output)
            assert saved == own
            kept = workbench("open", output)["chunks"]
            assert workbench("open", f"saved_{output}")["chunks"] == kept
            assert name != "rgb.png" or set(kept) == {"gAMA", "iCCP"}


def rgba_of(image, part):
    """A part of a decoded PNG, as a canvas takes it."""
    pixels, channels = base64.b64decode(image["pixels"]), image["channels"]
    firsts = [(y * image["width"] + x) * channels for y in range(part["y"], part["y"] + part["height"])
              for x in range(part["x"], part["x"] + part["width"])]
    return b"".join(pixels[at:at + 3] + b"\xff" if channels == 3 else pixels[at:at + 1] * 3 + b"\xff" for at in firsts)


@pytest.mark.parametrize("name", ["rgb.png", "clip.y4m", "raw-100x64.i420"])
def test_what_is_shown_is_what_is_saved(workbench, rng, name):
    make(name, rng)
    opened = workbench("open", name)
    workbench("warp", warp(rotate=-3), "png")
    workbench("save", "png", "saved.png")
    saved = workbench("pixels", "saved.png")
    for _ in range(10):
        part = {"x": 2 * rng.randrange(20), "y": 2 * rng.randrange(10)}
        part["width"] = rng.randint(1, opened["width"] - part["x"])
        part["height"] = rng.randint(1, opened["height"] - part["y"])
        assert base64.b64decode(workbench("part", part)) == rgba_of(saved, part), part


def test_files_that_are_refused(workbench, rng):
    good = png(rng, 100, 70, 2)
    deep = good[:24] + b"\x10" + good[25:]
    refused = {"cut.png": (good[:-20], "truncated"), "crc.png": (good[:50] + b"?" + good[51:], "CRC"),
               "deep.png": (deep, "CRC"), "no.png": (b"plain text", "not a PNG"),
               "huge.y4m": (b"YUV4MPEG2 W9000 H64\nFRAME\n", "9000x64: expected 96x64"),
               "late.y4m": (y4m(rng, 96, 64)[:80], "frame 0 of the Y4M stream is truncated"),
               "sixteen.y4m": (y4m(rng, 96, 64, "C420p10"), "C420p10"),
               "odd_97x64.nv12": (bytes(42), "must be even"),
               "short_96x64.nv12": (bytes(9215), "multiple of 9216")}
    for name, (content, text) in refused.items():
        pathlib.Path(name).write_bytes(content)
        with pytest.raises(ValueError, match=text):
            workbench("open", name)


def test_the_command_line_reproduces_the_controls(workbench, vantor, rng):
    names = ["it's <b>&\"x\".png", "-dash.png", "clip.y4m", "raw_128x70.nv12"]
    pathlib.Path(names[0]).write_bytes(png(rng, 144, 80, 2))
    pathlib.Path(names[1]).write_bytes(png(rng, 112, 70, 6))
    for name in names[2:]:
        make(name, rng)
    shutil.copy(CALIBRATIONS / "stereo.yml", "a 'pair'.yml")
    vantor("grid", "--rotate", 3, "--size", "128x80", "-o", "own.txt")
    for i in range(int(os.environ.get("VANTOR_STATES", 10))):
        name = names[i % len(names)]
        workbench("open", f"./{name}")
        described = random_warp(workbench, rng)
        try:
            shown_hash = workbench("warp", described, "png", "live-made.grid")["hash"]
        except ValueError:  # such as an alpha that the lens does not allow
            shown_hash = None
        picture = {"name": name, "options": ["--limit=1"] if name.endswith("y4m") else []}
        shown = workbench("command", picture, described, "live-made.grid", f"made{i}.png")
        if shown_hash:
            assert hash_in(vantor(shell=shown)) == shown_hash, shown
        else:
            with pytest.raises(ValueError):
                vantor(shell=f"rm -f *.grid; {shown}")


def random_warp(workbench, rng):
    kind = rng.choice(["parts", "calibration", "grid"])

    def some(size, count):
        return [rng.choice([0, round(rng.uniform(-size, size), 4)]) for _ in range(count)]

    zoom = rng.choice([1, rng.uniform(0.5, 2)])
    described = {"kind": kind, "parts": parts(some(40, 1)[0], zoom, some(0.4, 2), some(30, 2), some(0.3, 5))}
    if kind == "calibration":
        camera = rng.choice(["left", "right"])
        numbers = workbench("calibration", "a 'pair'.yml", camera)
        numbers["isFisheye"] = False
        described["calibration"] = {"name": "a 'pair'.yml", "camera": camera, "numbers": numbers, "declared": False}
        described["alpha"] = rng.choice([None, 0, 0.3, 1])
    if kind == "grid":
        described["grid"] = {"name": "own.txt"}
    if rng.random() < 0.4:
        described["edits"] = [rng.choice([0, 0, rng.randrange(-200000, 200000)]) for _ in range(2178)]
    return described


def test_the_grid_report_is_the_tools(workbench, vantor, rng):
    make("rgb.png", rng)
    workbench("open", "rgb.png")
    found = workbench("warp", warp(zoom=0.5, rotate=10, lens=[3, 0, 0, 0, 0]), "png", "made.txt")
    options = ["--size", "130x75", "--zoom", 0.5, "--rotate", 10, "--lens", 3, "-o", "own.txt"]
    own = json.loads(vantor("grid", "-q", "--json", *options))
    report = found["report"]
    assert [report[name] for name in ("beyondRange", "folded", "outside", "least", "largest")] == [
        own[name] for name in ("nodes_beyond_range", "folded_cells", "outside", "least_move", "largest_move")]
    assert [found["error"][name] for name in ("largest", "at", "rms")] == [
        own["error"][name] for name in ("largest", "at", "rms")]
    lines = [pathlib.Path(name).read_text().split("\n")[1:] for name in ("made.txt", "own.txt")]
    assert [line for line in lines[0] if line[:1] != "#"] == [line for line in lines[1] if line[:1] != "#"]


def test_pixels_are_explained_as_by_the_tool(workbench, vantor, rng):
    make("rgb.png", rng)
    workbench("open", "rgb.png")
    workbench("warp", warp(rotate=-12, zoom=0.9), "png")
    whole = base64.b64decode(workbench("part", {"x": 0, "y": 0, "width": 130, "height": 75}))
    count = int(os.environ.get("VANTOR_PIXELS", 12))
    pixels = [(rng.randrange(130), rng.randrange(75)) for _ in range(count)]
    for (x, y), explained in zip(pixels, workbench("explain", pixels)):
        own = json.loads(vantor("explain", "-q", "rgb.png", x, y, "--rotate=-12", "--zoom=0.9", "--json"))
        assert explained == {name: value for name, value in own.items() if name not in ("schema", "warp")}
        # A part that is warped alone, as for the loupe, has the samples of the whole.
        left, top = x // 2 * 2, y // 2 * 2
        part = base64.b64decode(workbench("part", {"x": left, "y": top, "width": 1, "height": 1}))
        assert part == whole[4 * (top * 130 + left):][:4]


def camera_options(camera):
    return ["--camera", camera] if camera else []


def same_or_refused(workbench, vantor, file, camera):
    """Whether both readers make one grid of a calibration; False where both refuse it."""
    try:
        vantor("grid", "--calibration", file, *camera_options(camera), "--size", "320x180", "-o", "own.grid")
    except ValueError:
        with pytest.raises(ValueError):
            read_by_page(workbench, file, camera)
        return False
    read_by_page(workbench, file, camera)
    assert pathlib.Path("page.grid").read_bytes() == pathlib.Path("own.grid").read_bytes(), f"{file} {camera}"
    return True


def read_by_page(workbench, file, camera):
    numbers = workbench("calibration", str(file), camera)
    described = {"kind": "calibration", "parts": parts(), "calibration": {"name": str(file), "numbers": numbers}}
    workbench("warp", described, "png", "page.grid")


def test_calibrations_are_read_as_by_the_tool(workbench, vantor, rng):
    pathlib.Path("frame.png").write_bytes(png(rng, 320, 180, 0))
    workbench("open", "frame.png")
    cameras = {"camchain.yml": ["cam0", "cam1"], "stereo.yml": ["left", "right", "1"],
               "cameras.txt": ["1", "2", "3", "4", "5", "6", "17"]}
    read = 0
    for file in sorted(CALIBRATIONS.iterdir()):
        for camera in cameras.get(file.name, [""]):
            if camera != "1" or file.name == "cameras.txt":
                read += same_or_refused(workbench, vantor, file, camera)
    assert read >= 17
    for file in sorted(FUZZED.glob("calibration_*")) + sorted(FUZZED.glob("yaml-*")):
        same_or_refused(workbench, vantor, file, "")


def test_a_picture_of_12_megapixels(workbench, vantor, rng):
    width, height = 4032, 3024
    pathlib.Path("large_4032x3024.nv12").write_bytes(rng.randbytes(width) * (height * 3 // 2))
    workbench("open", "large_4032x3024.nv12")
    assert workbench("divisor") == 4
    described = warp(rotate=1, lens=[-0.05, 0, 0, 0, 0])
    found = workbench("warp", described, "raw")
    memory = workbench("memory")
    shown = workbench("command", {"name": "large_4032x3024.nv12"}, described, "", f"out_{width}x{height}.nv12")
    assert hash_in(vantor(shell=shown)) == found["hash"]
    for i in range(20):
        workbench("part", None if i % 2 else {"x": 2 * i, "y": 40, "width": 640, "height": 480})
    assert workbench("memory") == memory


def test_the_brush_falls_off(workbench):
    weights = workbench("brush", 16 * 33 + 16, 100, [640, 320])
    assert weights[16 * 33 + 16] == 1 and weights[16 * 33 + 21] == 0
    assert weights[16 * 33 + 18] == weights[20 * 33 + 16] == (1 - 0.16) ** 2
    assert [weight for weight in workbench("brush", 5, 0, [640, 320]) if weight] == [1]
