"""Many files in one run: what they become, what is refused, and what one that fails leaves of the others."""

import glob
import os
import shutil

import pytest
from conftest import read, write


@pytest.fixture(autouse=True)
def files(chart, small_files):
    """in/a.png to in/c.png of different sizes, in/bad.png, and directories out and heat."""
    for name in "in", "out", "heat":
        os.mkdir(name)
    for name, file in zip("abc", ("chart.png", "turned.png", "chart.png")):
        shutil.copy(file, f"in/{name}.png")
    write("in/bad.png", b"bad")


@pytest.mark.parametrize("jobs", [1, 3])
@pytest.mark.parametrize("command", ["scale --size 50%", "warp --rotate 3"])
def test_one_that_fails_leaves_the_others_as_single_runs_make_them(vantor, command, jobs):
    command += f" --jobs {jobs}"
    text = vantor(f"{command} in/a.png in/bad.png in/b.png in/c.png -o out/", 1, "3 done, 0 skipped, 1 failed").text
    assert "vantor: in/bad.png: not a PNG file\n" in text
    vantor(f"{command} in/a.png in/b.png -o out/%%%02dx.png --png-level 0", text="2 done")
    assert sorted(os.listdir("out")) == ["%01x.png", "%02x.png", "a.png", "b.png", "c.png"]
    for name, files in ("a", ("a", "%01x")), ("b", ("b", "%02x")), ("c", ("c",)):
        vantor(f"{command} in/{name}.png -o single.png")
        for file in files:
            vantor(f"compare single.png out/{file}.png")
    assert os.path.getsize("out/%02x.png") > os.path.getsize("out/b.png")
    write("out/b.png", b"kept")
    os.remove("out/c.png")
    report = vantor(f"{command} in/a.png in/b.png in/c.png -o out --skip-existing --json --hash").json()
    assert [file["status"] for file in report["files"]] == ["skipped", "skipped", "done"]
    assert report["done"] == 1 and len(report["files"][2]["hash"]) == 16 and read("out/b.png") == b"kept"


def test_many_are_compared_with_a_directory_or_a_pattern(vantor):
    vantor("scale in/a.png in/b.png -o out/%d.png --size 100%")
    vantor("compare in/a.png in/b.png in/", text="2 identical, 0 different")
    shutil.copy("in/a.png", "out/2.png")
    shutil.copy("out/1.png", "in/a.png")
    text = vantor("compare in/a.png in/c.png in/bad.png out/%d.png -o heat/", 1, "1 failed").text
    assert "in/a.png and out/1.png: R equal, G equal, B equal; identical\n" in text
    assert sorted(os.listdir("heat")) == ["a.png", "c.png"]
    report = vantor("compare in/a.png in/bad.png out/%d.png --json", 1, stderr=None).bytes
    assert b'"error": "in/bad.png: not a PNG file"' in report


@pytest.mark.parametrize("arguments, text", [
    ("in/a.png in/b.png -o out/x.png", "--output out/x.png: 2 inputs: expected a directory, such as DIR"),
    ("in/a.png in/b.png -o -", "--output -: 2 inputs: expected a directory"),
    ("in/a.png in/b.png -o chart.png/", "--output chart.png: cannot make the directory: "),
    ("in/a.png chart.png -o out/%d_%02d.png", "several numbers in the pattern, expected one, such as %03d"),
    ("in/a.png -o out/%0999d.png", "%0999d: expected at most 99 digits"),
    ("in/a.png ./in/../in/a.png -o out/", "out/a.png: in/a.png and ./in/../in/a.png would both be written to it"),
    ("in/a.png in/b.png -o ./in/", "--output ./in/a.png: is an input, too; --overwrite-input replaces it"),
    ("chart.png 1.png -o %d.png --overwrite-input", "--output 1.png: is an input, too\n"),
    ("in/a.png clip.y4m -o out/", "in/a.png is a picture, clip.y4m a clip: expected either pictures or clips"),
    ("in/a.png - -o out/", "standard input has no name"),
    ("in/a.png -o out/ --verify 0123456789abcdef", "--verify: is for a single result"),
    ("in/a.png -o out/ --times t.txt", "--times: is for a single result"),
])
def test_what_is_refused_before_any_work(vantor, arguments, text):
    vantor(f"scale --size 50% {arguments}", 2, text)
    assert not os.listdir("out")


def test_inputs_may_be_replaced_one_by_one_and_files_stay_whole(vantor, failing_calls, is_sanitized):
    shutil.copy("in/b.png", "old.png")
    env = {} if is_sanitized else {"FAIL_TMPFILE": "1", "LD_PRELOAD": failing_calls}
    vantor("warp in/a.png in/b.png in/bad.png -o in --overwrite-input --rotate 2 --jobs 2", 1, "2 done", env=env)
    vantor("compare in/b.png old.png", 1)
    assert read("in/bad.png") == b"bad" and not glob.glob("in/.vantor*")


def test_png_levels_change_nothing_but_the_size(vantor):
    sizes = {}
    for level in "", "--png-level 0", "--png-level 6":
        vantor(f"scale in/a.png -o 'x{level}.png' --size 100% {level}")
        sizes[level] = os.path.getsize(f"x{level}.png")
        vantor(f"compare x.png 'x{level}.png'")
    assert sizes[""] < 1.1 * sizes["--png-level 6"] < sizes["--png-level 0"]
    vantor("scale in/a.png -o x.png --size 8x8 --png-level 10", 2, "--png-level: ")
