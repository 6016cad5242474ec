"""Signals at any time: no process and no file is left."""

import glob
import os
import pathlib
import signal
import subprocess
import time

import pytest
from conftest import write


def processes_of(directory):
    """Those whose command names the directory."""
    files = glob.glob("/proc/[0-9]*/cmdline")
    found = subprocess.run(["grep", "-lsF", directory, *files], stdout=subprocess.PIPE, text=True).stdout
    return [int(file.split("/")[2]) for file in found.split()]


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGKILL])
def test_a_run_that_waits_for_input_ends(vantor, directory, number):
    os.mkfifo("feed")
    form = "--input-size 48x32 --input-format gray --output-format gray --size 24x16 --jobs 2"
    tool = vantor.start(f"scale {directory}/feed -o - {form}", stdin=subprocess.DEVNULL)
    with open("feed", "wb", buffering=0) as stream:
        stream.write(bytes(3 * 1536))
        assert len(tool.stdout.read(3 * 384)) == 3 * 384  # although more may come
        blocked = [pathlib.Path(task, "status").read_text() for task in glob.glob(f"/proc/{tool.pid}/task/*")]
        assert len(blocked) >= 3 and sum("SigBlk:\t0000000000000000" in text for text in blocked) == 1
        tool.send_signal(number)
        assert tool.wait(timeout=60) == -number
    assert not processes_of(directory) and os.listdir() == ["feed"]


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
        assert not processes_of(directory)
