"""--backend, its old spelling, and what crosscheck reports of the hardware backend."""

import json
import pathlib

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
