"""What the tool's tests share. Each test runs in an empty directory of its own."""

import glob
import json
import os
import pathlib
import re
import shlex
import shutil
import struct
import subprocess
import tempfile
import zlib

import pytest

TESTS = pathlib.Path(__file__).parent
ROOT = TESTS.parents[2]
CALIBRATIONS = ROOT / "tests/geometry/calibrations"


def pytest_addoption(parser):
    parser.addoption("--vantor", required=True, help="the tool")
    parser.addoption("--failing-calls", help="the library that makes calls of the C library fail")


def pytest_generate_tests(metafunc):
    if "subcommand" in metafunc.fixturenames:
        commands = subcommands(metafunc.config.getoption("--vantor"))
        metafunc.parametrize("subcommand", ["", *commands], ids=["vantor", *commands])


def subcommands(vantor):
    text = subprocess.run([vantor, "--help"], stdout=subprocess.PIPE, check=True, text=True).stdout
    return re.findall(r"^  ([a-z]+) ", text.split("\nSubcommands:")[1].split("\n\n")[0], re.MULTILINE)


class Result:
    """What a run of the tool ended with; `text` is both streams as they were printed, or standard error alone where it
    was a pipe of its own."""

    def __init__(self, process):
        self.status = process.returncode
        self.bytes = process.stdout
        self.text = (self.bytes if process.stderr is None else process.stderr).decode(errors="surrogateescape")

    def json(self):
        return json.loads(self.text)

    def is_error(self):
        return self.status == 2 and bool(re.search("^vantor: ", self.text, re.MULTILINE))


class Vantor:
    def __init__(self, path):
        self.path = path

    def words(self, arguments):
        return [self.path, *(shlex.split(arguments) if isinstance(arguments, str) else map(str, arguments))]

    def run(self, arguments, under="", **options):
        """Runs the tool, by the command `under` if there is one. `arguments` is a list, or a line as for a shell; `env`
        adds to the environment; other options are those of subprocess.run()."""
        options["env"] = {**os.environ, **options.get("env", {})}
        if "input" not in options:
            options.setdefault("stdin", subprocess.DEVNULL)
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.STDOUT, "timeout": 300, **options}
        before = shlex.split(under)
        if before and not shutil.which(before[0]):
            pytest.skip(f"{before[0]} is not installed")
        return Result(subprocess.run(before + self.words(arguments), **options))

    def __call__(self, arguments, status=0, text="", **options):
        """Runs the tool and expects an exit status and a text on either stream."""
        result = self.run(arguments, **options)
        assert result.status == status, f"vantor {arguments}: status {result.status}: {result.text}"
        assert text in result.text, f"vantor {arguments}: expected {text!r} in: {result.text}"
        return result

    def start(self, arguments, **options):
        """Starts the tool, with pipes."""
        pipes = dict.fromkeys(("stdin", "stdout", "stderr"), subprocess.PIPE)
        return subprocess.Popen(self.words(arguments), **{**pipes, **options})


@pytest.fixture(scope="session")
def vantor(request):
    return Vantor(os.path.abspath(request.config.getoption("--vantor")))


@pytest.fixture(scope="session")
def failing_calls(request):
    return os.path.abspath(request.config.getoption("--failing-calls"))


@pytest.fixture(autouse=True)
def directory(monkeypatch):
    with tempfile.TemporaryDirectory() as path:
        monkeypatch.chdir(path)
        yield pathlib.Path(path)


@pytest.fixture(scope="session")
def shared_chart(vantor, tmp_path_factory):
    path = tmp_path_factory.mktemp("chart") / "chart.png"
    vantor(["chart", "-o", path, "--size", "320x180"], text="test chart of 320x180")
    return path


@pytest.fixture
def chart(shared_chart, directory):
    """chart.png, the test chart of 320x180, in the test's directory."""
    return shutil.copy(shared_chart, directory / "chart.png")


@pytest.fixture
def small_files(vantor, directory):
    """chart.png and turned.png of 96x64, and clip.y4m of 16x8."""
    vantor("chart -o chart.png --size 96x64")
    vantor("warp chart.png -o turned.png --rotate 3")
    write("clip.y4m", y4m("16x8"))


@pytest.fixture(scope="session")
def is_sanitized():
    """Sanitizers have memory calls and descriptors of their own."""
    return bool(os.environ.get("SANITIZED"))


@pytest.fixture
def not_sanitized(is_sanitized):
    if is_sanitized:
        pytest.skip("sanitizers have memory calls and descriptors of their own")


@pytest.fixture
def refuse(vantor, directory):
    """Runs what is to be refused with a text; its output keeps what it had, and no other file is left."""

    def expect_refusal(arguments, text, output="kept.png", **options):
        (directory / output).write_bytes(b"old")
        files = os.listdir()
        vantor(f"{arguments} -o {output}", 2, text, **options)
        assert (directory / output).read_bytes() == b"old" and sorted(os.listdir()) == sorted(files)

    return expect_refusal


def write(name, content):
    pathlib.Path(name).write_bytes(content)


def read(name):
    return pathlib.Path(name).read_bytes()


def flat(size, *samples):
    """A gray or I420 picture of equal samples."""
    width, height = map(int, size.split("x"))
    return b"".join(bytes([sample]) * (width * height // (4 if i else 1)) for i, sample in enumerate(samples))


FRAMES = ((16, 64, 128), (48, 72, 136), (100, 80, 144))


def y4m(size, tags=""):
    """A clip of three flat frames; the second has tags too."""
    width, height = size.split("x")
    marks = (b"FRAME\n", b"FRAME Ip XNOTE\n", b"FRAME\n")
    frames = b"".join(mark + flat(size, *samples) for mark, samples in zip(marks, FRAMES))
    return f"YUV4MPEG2 W{width} H{height} {tags}\n".encode() + frames


def png(width, height, color_type, *pixels, depth=8):
    """A PNG file with rows of these pixels in turn."""

    def chunk(name, content):
        return struct.pack(">I", len(content)) + name + content + struct.pack(">I", zlib.crc32(name + content))

    header = struct.pack(">IIBBBBB", width, height, depth, color_type, 0, 0, 0)
    rows = zlib.compress(b"".join(b"\0" + bytes(pixels[y % len(pixels)]) * width for y in range(height)))
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", rows) + chunk(b"IEND", b"")


def whole_or_old(result, file, whole, what, may_be_late=False):
    """Expects of a run that ended early the old file, and of any other the whole one, which a late failure leaves."""
    assert result.status == 0 or result.is_error(), f"{what}: status {result.status}: {result.text}"
    allowed = [whole] if result.status == 0 else [b"old", whole if may_be_late else b"old"]
    assert read(file) in allowed and not glob.glob(".vantor*"), f"{what}: not a whole file: {result.text}"
