"""Signals at any time, and workers that are killed: no process and no file is left."""

import glob
import os
import signal
import subprocess
import time

import pytest
from conftest import write


def processes_of(directory):
    """Those whose command names the directory: a run of the tool and its workers."""
    files = glob.glob("/proc/[0-9]*/cmdline")
    found = subprocess.run(["grep", "-lsF", directory, *files], stdout=subprocess.PIPE, text=True).stdout
    return [int(file.split("/")[2]) for file in found.split()]


def expect_processes(directory, count):
    for _ in range(100):
        if len(processes_of(directory)) == count:
            return
        time.sleep(0.05)
    raise AssertionError(f"{processes_of(directory)}: expected {count} processes")


@pytest.fixture
def feed(vantor, directory):
    """A run whose input goes on, the processes of its two workers, and that input."""
    os.mkfifo("feed")
    stream = os.fdopen(os.open("feed", os.O_RDWR), "wb", buffering=0)
    form = "--input-size 48x32 --input-format gray --size 24x16 --jobs 2"
    tool = vantor.start(f"scale {directory}/feed -o never.gray {form}", stdin=subprocess.DEVNULL)
    stream.write(bytes(1536))
    expect_processes(directory, 3)
    yield tool, [process for process in processes_of(directory) if process != tool.pid], stream
    for process in processes_of(directory):
        os.kill(process, signal.SIGKILL)


def test_a_killed_worker_ends_the_run(feed, directory):
    tool, workers, stream = feed
    os.kill(workers[0], signal.SIGKILL)
    stream.write(bytes(3072))
    assert f"worker process {workers[0]} ended by signal 9 (Killed)" in tool.communicate(timeout=60)[1].decode()
    assert tool.returncode == 2 and not processes_of(directory) and os.listdir() == ["feed"]


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGKILL])
def test_workers_end_with_the_tool_whatever_they_do(feed, directory, number):
    tool, workers, _ = feed
    for worker in workers:
        os.kill(worker, signal.SIGSTOP)
    tool.send_signal(number)
    assert tool.wait(timeout=60) == -number
    expect_processes(directory, 0)
    assert os.listdir() == ["feed"]


@pytest.mark.parametrize("has_names", [False, True], ids=["nameless", "named"])
@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGKILL])
def test_a_signal_leaves_a_whole_file(vantor, failing_calls, directory, is_sanitized, number, has_names):
    if is_sanitized and has_names:
        pytest.skip("sanitizers have memory calls of their own")
    write("long_320x180.gray", bytes(150 * 320 * 180))
    env = {**os.environ, **({"FAIL_TMPFILE": "1", "LD_PRELOAD": failing_calls} if has_names else {})}
    arguments = f"scale {directory}/long_320x180.gray -o never.gray --size 640x360 --jobs 2"
    for moment in 0, 0.02, 0.04, 0.07, 0.11, 0.16:
        write("never.gray", b"old")
        tool = vantor.start(arguments, env=env, stdin=subprocess.DEVNULL)
        time.sleep(moment)
        tool.send_signal(number)
        text = tool.communicate(timeout=60)[1]
        left = os.path.getsize("never.gray")
        assert (tool.returncode, left) in ((0, 34560000), (-number, 34560000), (-number, 3)), f"{moment}: {text}"
        temporary = glob.glob(".vantor*")
        assert not temporary or (has_names and number == signal.SIGKILL)
        for name in temporary:
            os.remove(name)
        expect_processes(directory, 0)
