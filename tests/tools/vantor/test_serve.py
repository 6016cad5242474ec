"""vantor serve: its socket, who may connect, what it says, and how it ends."""

import contextlib
import json
import os
import pathlib
import shutil
import signal
import socket
import stat
import subprocess

import pytest
from conftest import ROOT, read, write

SOCKET = "s.sock"


WRONG = """
#include <vantor/vantor_backend.h>
static int scale(void *state, const vantor_backend_picture *dst, const vantor_backend_picture *src) {
    int status = vantor_scale(0, &dst->image, &src->image);
    dst->image.plane[0][7 * dst->image.stride[0] + 5] ^= 1;
    return status;
}
static int warp(void *state, const vantor_backend_picture *dst, const vantor_backend_picture *src, const vantor_grid *grid) {
    return vantor_warp(0, &dst->image, &src->image, grid);
}
const vantor_backend_table vantor_backend = {sizeof(vantor_backend_table), VANTOR_BACKEND_ABI, scale, warp, 0, 0};
"""


@contextlib.contextmanager
def serving(vantor, arguments=f"--socket {SOCKET}", under=(), **options):
    """Serves; the process, whose standard error is read up to its first line."""
    words = [*under, *vantor.words(f"serve {arguments}")]
    with subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **options) as service:
        try:
            service.first = service.stderr.readline()
            yield service
        finally:
            service.kill()


def test_requests_are_told_and_the_end_is_clean(vantor, chart):
    with serving(vantor, f"--socket {SOCKET} --json") as service:
        assert service.first == f"vantor: serving on {SOCKET} by model\n"
        vantor(f"scale chart.png -o a.png --size 50% --service {SOCKET}", text="on the hardware backend")
        vantor(f"--service {SOCKET} warp chart.png -o b.png --rotate 2", text="on the hardware backend")
        service.send_signal(signal.SIGTERM)
        out, errors = service.communicate()
        assert service.returncode == 0 and errors == "vantor: served 2 requests, of which 0 failed\n"
    scaled, warped = map(json.loads, out.splitlines())
    assert scaled["schema"] == 1
    assert (scaled["request"], scaled["dst"]["size"], scaled["status"]) == ("runCSC", [160, 90], 0)
    assert (warped["request"], warped["src"]["region"], warped["delivered"]) == ("runGDC", [0, 0, 319, 179], True)
    assert not {SOCKET, SOCKET + ".lock"} & set(os.listdir())
    vantor("scale chart.png -o c.png --size 50%")
    assert read("a.png") == read("c.png")


def test_a_stale_socket_is_replaced_and_a_live_one_refused(vantor):
    with serving(vantor, "--verbose", env={**os.environ, "XDG_RUNTIME_DIR": os.getcwd()}) as service:
        assert service.first.endswith("/vantor.sock by model\n")
        vantor("serve --socket vantor.sock", 2, "vantor.sock: a service listens there already")
    with serving(vantor, "--socket vantor.sock --allow-group") as service:  # that one was killed
        assert stat.S_IMODE(os.stat("vantor.sock").st_mode) == 0o660
    with serving(vantor, "--socket vantor.sock"):
        assert stat.S_IMODE(os.stat("vantor.sock").st_mode) == 0o600


@pytest.mark.parametrize("path, text", [
    ("file", "file: exists and is not a socket"),
    ("missing/s", "missing/s.lock: No such file or directory"),
    ("x" * 108, "108 bytes, expected a path of at most 107 for a socket"),
    (None, "XDG_RUNTIME_DIR is not set"),
])
def test_paths_that_do_not_do(vantor, path, text):
    write("file", b"mine")
    vantor("serve" + (f" --socket {path}" if path else ""), 2, text, env={"XDG_RUNTIME_DIR": ""})
    assert read("file") == b"mine"


def test_an_inherited_socket_stays(vantor, chart):
    with socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET) as listener:
        listener.bind(SOCKET)
        listener.listen()
        start = f'exec 3<&{listener.fileno()}; LISTEN_PID=$$ LISTEN_FDS=1 exec "$@"'
        with serving(vantor, "", ["bash", "-c", start, "-"], pass_fds=[listener.fileno()]) as service:
            assert service.first == "vantor: serving on the inherited socket by model\n"
            vantor(f"crosscheck chart.png --rotate 2 --service {SOCKET}", text="identical")
            service.terminate()
        assert os.path.exists(SOCKET)


def test_other_users_are_refused(vantor, chart, directory):
    directory.chmod(0o777)
    nobody = "setpriv --reuid 65534 --regid 65534 --clear-groups"
    if vantor.run("--version", under=nobody).status:
        pytest.skip("the tool cannot be run as another user")
    with serving(vantor, f"--socket {SOCKET} --allow-group") as service:
        os.chmod(SOCKET, 0o777)
        vantor(f"scale chart.png -o x.png --size 50% --service {SOCKET}", 2, "closed the connection", under=nobody)
        assert "of user 65534, expected user 0 or one of group 0" in service.stderr.readline()


def test_one_wrong_sample_of_a_back_end_is_found(vantor, chart, not_sanitized):
    library = pathlib.Path(vantor.path).parents[1] / "lib"
    if not shutil.which("cc") or not (library / "libvantor.so").exists():
        pytest.skip("there is no compiler, or no library for this machine")
    write("wrong.c", WRONG.encode())
    words = f"cc -std=c99 -shared -fPIC -I{ROOT}/bindings/c wrong.c -o wrong.so -L{library} -lvantor -Wl,-rpath,{library}"
    subprocess.run(words.split(), check=True)
    with serving(vantor, f"--socket {SOCKET} --backend ./wrong.so") as service:
        assert service.first.endswith(" by ./wrong.so\n")
        vantor(f"crosscheck chart.png --size 50% --service {SOCKET}", 1, "1 of 14400 samples differ, first at (5, 7)")
        vantor(f"crosscheck chart.png --rotate 2 --service {SOCKET}", text="identical")
