"""What the tests of the live page share. Each runs in an empty directory of its own."""

import json
import os
import pathlib
import random
import re
import shutil
import struct
import subprocess
import time
import zlib

import pytest

ROOT = pathlib.Path(__file__).parents[3]
CALIBRATIONS = ROOT / "tests/geometry/calibrations"
FUZZED = ROOT / "fuzz/corpus/readers"


def pytest_addoption(parser):
    parser.addoption("--vantor", required=True, help="the tool")
    parser.addoption("--web", required=True, help="the directory that scripts/web.sh builds into")


@pytest.fixture(autouse=True)
def directory(monkeypatch, tmp_path):
    monkeypatch.chdir(tmp_path)
    return tmp_path


@pytest.fixture
def rng():
    seed = int(os.environ.get("VANTOR_SEED", time.time() // 86400))
    print(f"VANTOR_SEED={seed}")
    return random.Random(seed)


@pytest.fixture(scope="session")
def web(request):
    tool = [request.config.getoption("--vantor"), "live", "-", "-o", "-"]
    if b"no engine for browsers" in subprocess.run(tool, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE).stderr:
        pytest.skip("the tool is built without the live page")
    return pathlib.Path(request.config.getoption("--web")).resolve()


@pytest.fixture(scope="session")
def vantor(request):
    path = os.path.abspath(request.config.getoption("--vantor"))

    def run(*words, shell=None):
        """What the tool printed, or the ValueError of what it failed with; `shell` is a command line for it instead."""
        words = ["sh", "-c", f'vantor() {{ "{path}" "$@"; }}; {shell}'] if shell else [path, *map(str, words)]
        result = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        text = result.stdout.decode(errors="replace")
        if result.returncode:
            raise ValueError(text)
        return text

    return run


def hash_in(text):
    return re.search("hash ([0-9a-f]{16})", text)[1]


class Workbench:
    """The page's workbench in Node: its calls are those of workbench.mjs."""

    def __init__(self, module):
        script = pathlib.Path(__file__).with_name("workbench.mjs")
        pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "text": True}
        self.process = subprocess.Popen(["node", script, ROOT / "bindings/web", module], **pipes)

    def __call__(self, name, *parts):
        self.process.stdin.write(json.dumps({"directory": os.getcwd(), "name": name, "parts": parts}) + "\n")
        self.process.stdin.flush()
        answer = json.loads(self.process.stdout.readline())
        if "problem" in answer:
            raise ValueError(answer["problem"])
        return answer.get("made")


@pytest.fixture(scope="session", params=["vantor", "vantor-simd"])
def workbench(request, web):
    module = web / f"{request.param}.wasm"
    if not module.exists():
        pytest.skip("no kernels for vectors of WebAssembly")
    if not shutil.which("node"):
        pytest.skip("nodejs is not installed")
    workbench = Workbench(module)
    yield workbench
    workbench.process.stdin.close()
    workbench.process.wait()


def chunk(name, content):
    return struct.pack(">I", len(content)) + name + content + struct.pack(">I", zlib.crc32(name + content))


def rows_of(width, height, bits, rng):
    """Random samples as a PNG stores them, with all filters in turn."""
    row = (width * bits + 7) // 8
    return b"".join(bytes([y % 5]) + rng.randbytes(row) for y in range(height)) if width and height else b""


ADAM7 = ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2))


def png(rng, width, height, kind, depth=8, is_interlaced=False, chunks=()):
    """A PNG file of random samples. With random filters too, all values are valid."""
    bits = depth * {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[kind]
    passes = ADAM7 if is_interlaced else ((0, 0, 1, 1),)
    data = b"".join(rows_of(-(-(width - x) // across), -(-(height - y) // down), bits, rng)
                    for x, y, across, down in passes)
    header = struct.pack(">IIBBBBB", width, height, depth, kind, 0, 0, is_interlaced)
    palette = chunk(b"PLTE", rng.randbytes(3 << depth)) if kind == 3 else b""
    return b"".join([b"\x89PNG\r\n\x1a\n", chunk(b"IHDR", header),
                     *(chunk(name, content) for name, content in chunks if name != b"tRNS"), palette,
                     *(chunk(name, content) for name, content in chunks if name == b"tRNS"),
                     chunk(b"IDAT", zlib.compress(data)), chunk(b"IEND", b"")])


def y4m(rng, width, height, tags="", is_gray=False):
    chroma = 0 if is_gray else 2 * -(-width // 2) * -(-height // 2)
    frames = (b"FRAME\n" + rng.randbytes(width * height + chroma) for _ in range(2))
    return f"YUV4MPEG2 W{width} H{height} {tags}\n".encode() + b"".join(frames)
