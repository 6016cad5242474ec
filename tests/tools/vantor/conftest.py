"""What the tool's tests share. Each test runs in an empty directory of its own."""

import os
import pathlib
import shlex
import shutil
import subprocess

import pytest

TESTS = pathlib.Path(__file__).parent
ROOT = TESTS.parents[2]
CALIBRATIONS = TESTS / "calibrations"


def pytest_addoption(parser):
    parser.addoption("--vantor", required=True, help="the tool")
    parser.addoption("--failing-calls", help="the library that makes calls of the C library fail")


class Result:
    """What a run of the tool ended with; `text` is both streams as they were printed."""

    def __init__(self, process):
        self.status = process.returncode
        self.bytes = process.stdout
        self.text = process.stdout.decode(errors="surrogateescape")


class Vantor:
    def __init__(self, path):
        self.path = path

    def words(self, arguments):
        return [self.path, *(shlex.split(arguments) if isinstance(arguments, str) else map(str, arguments))]

    def __call__(self, arguments, status=0, text="", **options):
        """Runs the tool and expects an exit status and a text on either stream. `arguments` is a list, or a line as
        for a shell; `env` adds to the environment; other options are those of subprocess.run()."""
        options["env"] = {**os.environ, **options.get("env", {})}
        options.setdefault("stderr", subprocess.STDOUT)
        if "input" not in options:
            options.setdefault("stdin", subprocess.DEVNULL)
        result = Result(subprocess.run(self.words(arguments), stdout=subprocess.PIPE, timeout=300, **options))
        assert result.status == status, f"vantor {arguments}: status {result.status}: {result.text}"
        assert text in result.text, f"vantor {arguments}: expected {text!r} in: {result.text}"
        return result


@pytest.fixture(scope="session")
def vantor(request):
    return Vantor(os.path.abspath(request.config.getoption("--vantor")))


@pytest.fixture(scope="session")
def failing_calls(request):
    return os.path.abspath(request.config.getoption("--failing-calls"))


@pytest.fixture(autouse=True)
def directory(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    return tmp_path


@pytest.fixture(scope="session")
def shared_chart(vantor, tmp_path_factory):
    path = tmp_path_factory.mktemp("chart") / "chart.png"
    vantor(["chart", "-o", path, "--size", "320x180"])
    return path


@pytest.fixture
def chart(shared_chart, directory):
    """chart.png, the test chart of 320x180, in the test's directory."""
    return shutil.copy(shared_chart, directory / "chart.png")


@pytest.fixture(scope="session")
def is_sanitized():
    """Sanitizers have memory calls and descriptors of their own."""
    return bool(os.environ.get("SANITIZED"))
