"""The back ends of vantor serve: what they answer, and what is wrong with those that do not."""

import contextlib
import os
import pathlib
import re
import signal
import subprocess

import pytest
from conftest import ROOT, write

BOARD = ROOT / "examples/board.c"
SCALING, WARP = "crosscheck chart.png --size 70%", "crosscheck chart.png --rotate 2"
FALLBACK = "nothing to compare: the hardware backend fell back to the CPU"


@pytest.fixture
def serve(vantor, chart, monkeypatch):
    """A service until the end of a `with`; gives its process, whose standard error can be read after the end."""
    env = {**os.environ, "PATH": f"{os.path.dirname(vantor.path)}:{os.environ['PATH']}"}
    monkeypatch.setenv("VANTOR_SERVICE", "unix:./socket")
    monkeypatch.setenv("ASAN_OPTIONS", "detect_leaks=0")  # clients whose requests fail keep their handles

    @contextlib.contextmanager
    def service(arguments):
        process = vantor.start(f"serve --socket ./socket {arguments}", env=env)
        try:
            assert b"serving on ./socket" in process.stderr.readline()
            yield process
            process.send_signal(signal.SIGTERM)
            process.text = process.communicate(timeout=60)[1].decode()
            assert process.returncode == 0
        finally:
            process.kill()

    return service


def build(source, *options):
    words = ["cc", "-std=c99", "-shared", "-fPIC", *options, "-x", "c", "-", "-o", "board.so", f"-I{ROOT}/bindings/c"]
    subprocess.run(words, input=source.encode(), check=True)


def test_a_shared_object_answers(vantor, serve):
    build(BOARD.read_text(), "-Wall", "-Wextra", "-Wconversion", "-pedantic", "-Werror")
    with serve("--backend board.so --engines 2") as process:
        vantor(SCALING, 1, "first at (27, 0): 218 and 219")
        vantor(WARP, 2, "runGDC failed: back end's status -38")
    assert process.text.count("board: ") == 2 and "2 requests, of which 1 failed" in process.text


@pytest.mark.parametrize("change, text", [
    (("VANTOR_BACKEND_ABI, scale", "7, scale"), "./board.so: back end of ABI 7, expected 1"),
    (("sizeof(vantor_backend_table), ", "24, "), "./board.so: table of 24 bytes, expected at least 40"),
    (("ABI, scale, warp", "ABI, scale, 0"), "./board.so: warp is null, expected a function"),
    (("vantor_backend = {", "other = {"), "./board.so: no symbol vantor_backend"),
    (("options %s: expected none", "%.0s\\033]0;owned\\007"), "./board.so: ?]0;owned?\n"),
    (('snprintf(message, size, "options %s: expected none", options)', "memset(message, 'x', size)"), "x" * 256 + "\n"),
    (None, "./board.so: file too short"),
    ((), "./board.so: not a regular file"),
])
def test_shared_objects_that_cannot_be_seated(vantor, change, text):
    if change is None:
        write("board.so", b"no ELF")
    elif not change:
        os.mkfifo("board.so")
    else:
        assert BOARD.read_text().count(change[0]) == 1
        build(BOARD.read_text().replace(*change))
    vantor("serve --socket ./socket --backend ./board.so --backend-options x", 2, text)


def test_a_board_with_a_shell_answers(vantor, serve):
    with serve(f"--backend pipe --command {ROOT}/examples/board/request.sh"):
        for request in SCALING, WARP, "crosscheck chart.png --size 640x480":
            vantor(request, text="and software backend: identical")


@pytest.mark.parametrize("command, text", [
    ("head -c 1000", "the command wrote 1000 of 42336 bytes"),
    ("cat; sleep 60", "the command wrote more than 42336 bytes"),
    ("head -c 42336 /dev/zero", "the command did not read its 86422 bytes of input"),
    ("sleep 60 & exec 0<&- 1>&-; wait", "the command took longer than 1000 ms"),
    ("sleep 60 & exec sleep 60", "the command took longer than 1000 ms"),
    ("setsid sleep 4 & wait", "the command took longer than 1000 ms"),
    ("exit 3", "the command exited with status 3"),
    ("kill -9 $PPID", "the command was ended by signal 9"),
    ("ls -l /proc/self/fd >&2", "the command wrote 0 of 42336 bytes"),
    ("printf '\\033[2J' >&2; yes >&2", "the command took longer than 1000 ms"),
])
def test_commands_that_fail(vantor, serve, command, text):
    pathlib.Path("command").write_text(command)
    with serve('--backend pipe --timeout 1 --command "sh ./command"') as process:
        vantor(SCALING, 2, f"{FALLBACK} (runCSC failed: {text})")
        vantor(SCALING, 2, f"{FALLBACK} (runCSC failed: {text})")
        children = subprocess.run(["ps", "--ppid", str(process.pid)], stdout=subprocess.PIPE, text=True).stdout
        assert len(children.splitlines()) == 1, children
    assert "\033" not in process.text and process.text.count("\n") < 2100
    assert (" 2 -> pipe" in process.text) == command.startswith("ls")
    assert not re.search(r" [3-9] -> (socket|pipe|/m)", process.text), "descriptors of the service"


def test_a_trace_is_replayed(vantor, serve):
    for _ in range(2):
        with serve("--backend trace --record records"):
            vantor(SCALING)
            vantor(WARP)
    with serve("--backend trace --record records --answer pipe --command false"):
        vantor(SCALING, 2, FALLBACK)
    del os.environ["VANTOR_SERVICE"]
    for number in range(1, 5):
        vantor(f"replay records/request-00000{number}.vrec", text="same")
    vantor("replay records/request-000005.vrec", 1, "recorded: the request did not complete")


def test_a_corrupted_row_is_found(vantor, serve):
    write("script", b"# one row\n\nscale 2: corrupt-rows 5-5 # inverted\nany *: delay 0.01\n")
    with serve("--backend faulty --script script"):
        vantor(SCALING, text="identical")
        vantor(SCALING, 1, "224 of 28224 samples differ, first at (0, 5)")
        vantor(SCALING, text="identical")


@pytest.mark.parametrize("arguments, text", [
    ("--backend modle", "--backend modle: expected model, pipe, trace, faulty or a shared object, such as ./board.so"),
    ("--backend trace --record x --answer faulty", "--answer faulty: expected model, pipe or a shared object"),
    ("--backend trace", "--backend trace: expected --record"),
    ("--backend trace --record chart.png", "--record chart.png: cannot make the directory: "),
    ("--backend pipe", "--backend pipe: expected --command"),
    ("--backend faulty", "--backend faulty: expected --script or --fault"),
    ("--fault 'any 1: hang'", "--fault: only with --backend faulty"),
    ("--timeout 3", "--timeout: only with --backend pipe"),
    ("--backend-options x", "--backend-options: only with a shared object as the back end"),
    ("--backend faulty --script script", "script:2: any 0: hang: expected a count as N, N-M or *"),
    ("--backend faulty --fault 'warp 3 hang'", "--fault: warp 3 hang: expected OPERATION COUNT: ACTION"),
    ("--backend faulty --fault 'wrap 3: hang'", "--fault: wrap 3: hang: expected scale, warp or any"),
    ("--backend faulty --fault 'warp 3-2: hang'", "expected a count as N, N-M or *"),
    ("--backend faulty --fault 'warp 3: hangs'", "expected one of these actions: status N, delay SECONDS"),
    ("--backend faulty --fault 'warp 3: hang 1'", "expected hang, which never answers"),
    ("--backend faulty --fault 'warp 3: delay 3601'", "expected delay SECONDS, which waits before the work, up to"),
    ("--backend faulty --fault 'warp 3: wrong-reply x'", "expected wrong-reply WHAT, which replies with a wrong"),
])
def test_options_that_do_not_do(vantor, chart, arguments, text):
    write("script", b"any 1: hang\nany 0: hang\n")
    vantor(f"serve --socket ./socket {arguments}", 2, text)
    assert not os.path.exists("socket")
