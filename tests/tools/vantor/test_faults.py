"""Disks, permissions, descriptors and processes that are missing, and many runs at once: the whole result, or an error
and the old file."""

import glob
import os
import pathlib
import shutil
import subprocess

import pytest
from conftest import read, whole_or_old, write

AS_NOBODY = "setpriv --reuid 65534 --regid 65534 --clear-groups"
MOUNTED = "unshare -m bash -c 'mount {} && exec \"$@\"' -"
REDIRECTED = "bash -c 'exec \"$@\" {}' -"
SCALE = "scale chart.png --size 100% -o"

pytestmark = pytest.mark.usefixtures("small_files")


@pytest.fixture
def nobody(vantor, directory):
    """A user who may read all files of the test."""
    for path in directory, *directory.iterdir():
        path.chmod(0o755)
    if vantor.run("--version", under=AS_NOBODY).status:
        pytest.skip("the tool cannot be run as another user")


@pytest.fixture
def disk(vantor):
    """A directory to mount to."""
    os.mkdir("disk")
    if vantor.run("--version", under=MOUNTED.format("-t tmpfs none disk")).status:
        pytest.skip("nothing can be mounted")


def not_written(vantor, text, file, under, **options):
    write(file, b"old")
    vantor(f"{SCALE} {file}", 2, f"vantor: {file}: cannot write: {text}", under=under, **options)
    assert read(file) == b"old" and not glob.glob("**/.vantor*", recursive=True)


@pytest.mark.parametrize("restore_signals", [True, False], ids=["SIGXFSZ", "no signal"])
def test_a_limit_of_file_sizes(vantor, restore_signals):
    not_written(vantor, "File too large", "x.gray", "prlimit --fsize=1024", restore_signals=restore_signals)


@pytest.mark.parametrize("of_directory, of_file", [(0o777, 0o444), (0o755, 0o666)])
def test_a_protected_file_or_directory(vantor, nobody, of_directory, of_file):
    os.mkdir("other")
    write("other/x.gray", b"old")
    os.chmod("other/x.gray", of_file)
    os.chmod("other", of_directory)
    not_written(vantor, "Permission denied", "other/x.gray", AS_NOBODY)


def test_a_full_disk(vantor, disk):
    text = "vantor: disk/x.gray: cannot write: No space left"
    vantor(f"{SCALE} disk/x.gray", 2, text, under=MOUNTED.format("-t tmpfs -o size=4k none disk"))


def test_a_mounted_file_cannot_be_replaced(vantor, disk):
    write("x.gray", b"old")
    not_written(vantor, "Device or resource busy", "x.gray", MOUNTED.format("--bind x.gray x.gray"))


@pytest.mark.parametrize("arguments", ["info", "--help", "compare chart.png chart.png --json"])
def test_text_that_cannot_be_written(vantor, arguments):
    for stream, reason in (">/dev/full", "No space left on device"), (">&-", "Bad file descriptor"):
        text = f"vantor: standard output: cannot write: {reason}"
        vantor(arguments, 2, text, under=REDIRECTED.format(stream))


def test_without_standard_streams_the_result_is_whole(vantor):
    vantor(f"{SCALE} whole.gray")
    vantor(f"{SCALE} x.gray", under=REDIRECTED.format("<&- >&- 2>&-"))
    assert read("x.gray") == read("whole.gray")


def test_no_process_for_a_worker(vantor, nobody):
    # Every account has so many processes; the first may be another's.
    text = "cannot start a worker: Resource temporarily unavailable"
    env = {"ASAN_OPTIONS": "detect_leaks=0"}  # which would take a process
    vantor("scale clip.y4m -o - --size 8x8 --jobs 2", 2, text, under=f"{AS_NOBODY} prlimit --nproc=1", env=env)


@pytest.mark.parametrize("limit", [f"nofile={n}" for n in range(4, 11)] + [f"as={n}0000000" for n in (3, 5, 10)])
def test_limits_of_a_process(vantor, not_sanitized, limit):
    vantor("scale clip.y4m --size 8x8 --jobs 3 -o whole.y4m")
    write("x.y4m", b"old")
    result = vantor.run("scale clip.y4m --size 8x8 --jobs 3 -o x.y4m", under=f"prlimit --{limit}")
    if result.status != 127:  # what loads programs has limits as well
        whole_or_old(result, "x.y4m", read("whole.y4m"), limit)


RUNS = [
    "scale ../chart.png -o a.png --size 48x32",
    "scale ../clip.y4m -o b.y4m --size 8x8 --jobs 3",
    "warp ../chart.png -o c.png --rotate 3",
    "warp ../many_96x64.gray -o d.gray --rotate 9 --backend hardware --jobs 2 --limit 50",
    "warp ../many_96x64.gray -o e.gray --rotate 5 --jobs 2",
    "scale ../chart.png -o f.png --size 60x40 --backend hardware",
    "record g.vrec warp ../chart.png -o same.png --rotate 3",
    "compare ../chart.png ../turned.png --tolerance 255 --heatmap h.png",
]


def test_eight_at_once_in_one_directory_give_what_each_gives_alone(vantor):
    write("many_96x64.gray", bytes(300 * 96 * 64))
    alone = {}
    for _ in range(4):
        os.mkdir("runs")
        tools = []
        for arguments in RUNS:
            tools.append(vantor.start(arguments, cwd="runs", stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
            if not alone:
                tools[-1].wait()
        assert [tool.wait() for tool in tools] == [0] * 8
        results = {path.name: path.read_bytes() for path in pathlib.Path("runs").iterdir()}
        alone = alone or results
        assert results == alone and len(results) == 9
        shutil.rmtree("runs")
