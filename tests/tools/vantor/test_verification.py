"""vantor trace, coverage and stimulus, and what explain says of scaled pixels."""

import json
import pathlib
import re

import pytest


def npy(path):
    """The numbers of a file, row after row, and its shape."""
    data = pathlib.Path(path).read_bytes()
    length = int.from_bytes(data[8:10], "little")
    header = eval(data[10:10 + length])
    assert data[:8] == b"\x93NUMPY\1\0" and (10 + length) % 64 == 0
    kind, size = header["descr"][1], int(header["descr"][2])
    body = data[10 + length:]
    numbers = [int.from_bytes(body[i:i + size], "little", signed=kind == "i") for i in range(0, len(body), size)]
    return numbers, header["shape"]


@pytest.mark.parametrize("request_, value", [
    ("--size 160x90", "reduce.luma.down.value"), ("--size 480x200", "enlarge.luma.down.value"),
    ("--rotate 5", "warp.luma.value")])
def test_formats_hold_the_same_numbers_and_the_librarys(vantor, chart, request_, value):
    for form in "npy", "hex", "csv":
        vantor(f"trace chart.png -o {form} {request_} --region 20,30,16,6 --format {form}")
    numbers, shape = npy(f"npy/{value}.npy")
    assert shape == (6, 16)
    name = "scale" if "size" in request_ else "warp"
    vantor(f"{name} chart.png -o x.nv12 {request_}", text="x.nv12")
    width = int(re.search(r"(\d+)x", request_)[1]) if "size" in request_ else 320
    luma = pathlib.Path("x.nv12").read_bytes()
    assert numbers == [luma[(30 + y) * width + 20 + x] for y in range(6) for x in range(16)]
    readme = pathlib.Path("npy/README").read_text()
    for path in pathlib.Path("npy").glob("*.npy"):
        assert path.name in readme
        text = pathlib.Path(f"hex/{path.stem}.hex").read_text().splitlines()
        bits = int(re.search(r"(\d+) bits", text[0])[1])
        assert [number % 2**bits for number in npy(path)[0]] == [int(line, 16) for line in text[1:]], path
    table = [line.split(",") for line in pathlib.Path("csv/pixels.csv").read_text().splitlines()]
    column = table[0].index(value)
    assert [int(line[column]) for line in table[1:]] == numbers


@pytest.mark.parametrize("options, text", [
    ("--size 50%x50% --region 1,0,4,4", "with even X and Y, within 160x90"), ("--size 100%", "the picture is copied"),
    ("--rotate 1 --format wav", "expected npy, hex or csv"), ("", "expected --size, or a warp"),
    ("--size 9000x6000 --format csv", "MB of text, expected 1000 at most: take --format npy, or a part")])
def test_traces_that_make_no_sense_are_refused(vantor, chart, options, text):
    vantor(f"trace chart.png -o vectors {options}", 2, text)


@pytest.mark.parametrize("size", ["160x90", "500x300"])
def test_explain_comes_to_the_librarys_scaled_values(vantor, chart, size):
    document = vantor(f"explain chart.png 40 30 --size {size} --json").json()
    path = "reduce" if size == "160x90" else "enlarge"
    chroma = [instance["value"] for instance in document[f"{path}.chroma.down"]]
    assert document["library"] == [document[f"{path}.luma.down"][0]["value"], *chroma]
    assert f"pixel (40, 30) of {size}" in vantor(f"explain chart.png 40 30 --size {size}").text


def test_stimulus_sees_everything_and_reports_add_up(vantor, chart):
    limits = "--limits 1280x720,reduce=5,enlarge=3"
    vantor(f"stimulus -o stimulus {limits}", text="they see all that can be seen")
    manifest = json.loads(pathlib.Path("stimulus/manifest.json").read_text())
    assert manifest["samples"] <= 1000000
    for request in manifest["requests"]:
        width, height = map(int, re.search(r"_(\d+)x(\d+)", request["result"]).groups())
        sides = map(int, re.search(r"_(\d+)x(\d+)", request["input"]).groups())
        assert all(source <= 5 * target and target <= 3 * source for source, target in zip(sides, (width, height)))
        if "grid" in request and (width < 96 or height < 64):
            continue  # which the device does not take
        how = "--grid stimulus/{grid}" if "grid" in request else "--size {size[0]}x{size[1]}"
        command = "warp" if "grid" in request else "scale"
        vantor(f"{command} stimulus/{request['input']} -o x.nv12 {how.format(**request)}")
        assert pathlib.Path("x.nv12").read_bytes() == pathlib.Path("stimulus", request["result"]).read_bytes()
    vantor(f"coverage stimulus {limits} -o all.json", text="items:")
    items = json.loads(pathlib.Path("all.json").read_text())["items"]
    seen = {item["name"] for item in items if item["seen"]}
    assert not seen & {item["name"] for item in items if "proof" in item}
    example = next(item["example"] for item in items if item["name"] == "warp.column.cell.7")
    vantor(f"explain {example}", text="the library's picture has Y")
    document = vantor(f"coverage chart.png --size 150x80 {limits} --json", 1).json()
    items = [item for item in document["items"] if item["reached"]]
    assert {item["name"] for item in items if item["seen"]} < seen
    assert all(re.fullmatch(r"chart.png --size 150x80 \d+ \d+", item["example"]) for item in items)
    vantor(f"coverage --add all.json {limits}", text="items:")
    pathlib.Path("bad.json").write_text("[]")
    vantor("coverage --add bad.json", 2, "bad.json: not a coverage report")


@pytest.mark.parametrize("limits, step", [
    ("96x64", "u18 8192 to 196608"), ("1920x1080", "u22 8192 to 3932160"), ("1920x1080,reduce=4", "u16 8192 to 32768"),
    ("1922x1080,enlarge=2,reduce=3,256", "u15 8192 to 24576")])
def test_limits_say_what_registers_have_to_hold(vantor, limits, step):
    text = vantor(f"coverage --ranges --limits {limits}").text
    assert step in " ".join(text.split())


@pytest.mark.parametrize("limits", ["10x10", "1920x1080,", "1920x1080,12", "1920x1080,reduce=1", "1920x1080,enlarge=4.5"])
def test_limits_that_make_no_sense_are_refused(vantor, limits):
    vantor(f"coverage --ranges --limits {limits}", 2, f"--limits {limits}: expected 96x64 to 16384x16384")
