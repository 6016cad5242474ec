"""What vantor info says of this build, of pictures and of the environment."""

import json
import re
import subprocess

import pytest


def test_kernels_in_use_follow_the_limit(vantor):
    plain = {"VANTOR_CPU": "plain"}
    vantor("info", text="in use plain", env=plain)
    document = vantor("info --json", text='"in_use": "plain"', env=plain).json()
    assert document["schema"] == 1 and document["limits"] == {"smallest_side": 4, "largest_side": 16384}


DOCUMENTS = {
    "scale": "chart.png -o x.png --size 8x8", "warp": "chart.png -o x.png --rotate 2", "grid": "--rotate 2",
    "explain": "chart.png 1 1 --rotate 2", "coverage": "chart.png --rotate 2", "crosscheck": "chart.png --rotate 2",
    "compare": "chart.png chart.png", "info": "chart.png", "replay": "bug.vrec", "selftest": "",
}


def test_every_document_begins_with_its_schema(vantor, chart, subcommand):
    if "--json" not in vantor(f"{subcommand} --help").text.replace("with -o or --json", "") or subcommand == "serve":
        return  # its lines: test_serve.py
    vantor("record bug.vrec scale chart.png -o x.png --size 8x8")
    document = vantor.run(f"{subcommand} {DOCUMENTS[subcommand]} --json", stderr=subprocess.DEVNULL).bytes
    assert next(iter(json.loads(document).items())) == ("schema", 1)


def test_the_selftest_says_one_hash_over_all(vantor):
    text = vantor("selftest", text="in use plain", env={"VANTOR_CPU": "plain"}).text
    document = vantor("selftest --json").json()
    assert document["c_library"]["identical"] == document["c_library"]["pictures"] > 30
    assert re.search(r"^all  *([0-9a-f]{8}) ok$", text, re.MULTILINE).group(1) == document["all"]["hash"]
    assert '"identical": false' not in json.dumps(document)


def test_a_picture(vantor, chart):
    vantor("info chart.png", text="320x180 rgb")
    assert json.loads(vantor("info chart.png --json").text)["frames"] == 1


@pytest.mark.parametrize("name, value, expected", [
    ("VANTOR_CPU", "sse9", "plain, avx2 or avx512"),
    ("VANTOR_LOG", "loud", "off, error or info"),
])
def test_unknown_values_of_the_environment_are_refused(vantor, name, value, expected):
    vantor("info", 2, f"{name}={value}: expected {expected}", env={name: value})
