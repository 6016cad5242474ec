"""--backend, its old spelling, and what crosscheck reports of the hardware backend."""

import contextlib
import json
import os
import pathlib
import socket
import struct
import threading

import pytest

SCALE = "scale chart.png -o x.png --size 50% "
WARP = "warp chart.png -o x.png --rotate 2 "


@pytest.mark.parametrize("command", [SCALE, WARP, "record x.vrec " + SCALE])
@pytest.mark.parametrize(
    "option, backend, path",
    [("", "software", "processor"), ("--backend software", "software", "processor"),
     ("--backend model", "software", "processor"), ("--backend hardware", "hardware", "hardware"),
     ("--path hw", "hardware", "hardware"), ("--path sw", "software", "processor"),
     ("--path model", "software", "processor")],
)  # fmt: skip
def test_one_name_and_the_old_one(vantor, chart, command, option, backend, path):
    vantor(command + option, text="service)" if backend == "hardware" else "in ")
    made = pathlib.Path("x.png").read_bytes()
    vantor(command)
    assert made == pathlib.Path("x.png").read_bytes()
    text = vantor(command + option + " --json").text
    deprecated = f"vantor: note: --path is deprecated: use --backend {backend}\n"
    assert text.startswith(deprecated) == option.startswith("--path")
    report = json.loads(text[text.index("{") : text.rindex("}") + 1])
    assert (report["backend"], report["path"]) == (backend, path)


@pytest.mark.parametrize(
    "options, expected",
    [("--backend fpga", "--backend fpga: expected software or hardware"), ("--backend hw", "--backend hw: expected"),
     ("--backend hardware --path hw", "--path is the old name of --backend")],
)  # fmt: skip
def test_other_values_are_refused(vantor, chart, options, expected):
    vantor(SCALE + options, 2, expected)


def test_crosscheck_tells_what_the_hardware_backend_is(vantor, chart):
    text = "hardware backend (here the software service) and software backend: identical"
    vantor("crosscheck chart.png --rotate 2", text=text)
    vantor("crosscheck --help", text="On a workstation the hardware service is the software service")


@pytest.fixture
def service():
    """A service in another process's place, at "s": says that all is done, and writes nothing."""
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    listener.bind("s")
    listener.listen()

    def answer(connection):
        while True:
            packet, descriptors, _, _ = socket.recv_fds(connection, 16384, 4)
            if not packet:
                return
            magic, version, kind, _, sequence = struct.unpack_from("=IHHII", packet)
            if kind == 1:
                connection.send(struct.pack("=IHHII16s96s", magic, version, 2, 128, sequence, b"9", b"dark\x1b"))
                continue
            connection.send(struct.pack("=IHHIIi236x", magic, version, 5, 256, sequence, 0))
            for descriptor in descriptors:
                os.close(descriptor)

    def accept():
        with contextlib.suppress(OSError):
            while True:
                answer(listener.accept()[0])

    thread = threading.Thread(target=accept)
    thread.start()
    yield "service at unix:s: dark?, release 9"
    listener.shutdown(socket.SHUT_RDWR)
    thread.join()


def test_a_service_of_another_process_is_the_hardware_backend(vantor, chart, service):
    vantor("record x.vrec " + SCALE)
    for command in f"--service s {SCALE}", f"{WARP} --service unix:s", f"record --service s y.vrec {SCALE} --service s":
        vantor(command, text=f"on the hardware backend ({service})")
    vantor(SCALE + "--backend hardware", env={"VANTOR_SERVICE": "unix:s"}, text=service)
    vantor("replay x.vrec --service s", 1, text="first at (0, 0): 218 and 0;")
    text = vantor("--service s crosscheck chart.png -s 50%", 1).text
    assert f"hardware backend (here the {service}) and software backend: different\nY: " in text
    assert vantor("crosscheck chart.png -s 50% --service s --json", 1).json()["service"] == service


@pytest.mark.parametrize("arguments, expected", [
    (SCALE + "--service s --backend software", "--backend software: expected hardware, for --service"),
    ("--service s " + SCALE + "--service t", "--service unix:s and unix:t: expected one"),
    ("--service s info", "--service: vantor info makes no requests to a service"),
    (SCALE + "--service s", "no hardware service: unix:s: nobody listens (No such file or directory)"),
])  # fmt: skip
def test_a_service_that_cannot_be(vantor, chart, arguments, expected):
    vantor(arguments, 2, expected)
