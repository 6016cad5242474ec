"""Where results go: never over an input, through links, and to what is no file."""

import os
import stat

import pytest
from conftest import flat, read, write


@pytest.mark.parametrize("option, file, other, arguments", [
    ("--heatmap", "chart.png", "chart.png", "compare back.png chart.png --heatmap chart.png"),
    ("--heatmap", "same.png", "chart.png", "compare back.png chart.png --heatmap same.png"),
    ("--heatmap", "-", "standard output", "compare back.png chart.png --heatmap -"),
    ("--times", "./x.gray", "x.gray", "scale a_6x4.gray -o x.gray --size 50% --times ./x.gray"),
    ("--times", "a_6x4.gray", "a_6x4.gray", "scale a_6x4.gray -o x.gray --size 50% --times a_6x4.gray"),
    ("--times", "-", "standard output", "scale a_6x4.gray -o x.gray --size 50% --times - --json"),
    ("--output", "-", "standard output", "scale chart.png -o - --size 50% --json"),
    ("--output", "-", "standard output", "grid --rotate 1 -o -"),
    ("--plot", "./a.png", "a.png", "grid --rotate 1 --plot ./a.png -o a.png"),
    ("--output", "./chart.png", "chart.png", "view chart.png -o ./chart.png"),
    ("FILE", "./chart.png", "chart.png", "record ./chart.png scale chart.png -o x.png --size 50%"),
    ("FILE", "-", "", "record - scale chart.png -o x.png --size 50%"),
    ("FILE", "./t.txt", "t.txt", "record ./t.txt scale chart.png -o x.png --size 50% --times=t.txt"),
])
def test_what_is_written_is_another_file_than_all_else(vantor, chart, option, file, other, arguments):
    write("a_6x4.gray", flat("6x4", 0))
    write("back.png", read("chart.png"))
    os.symlink("chart.png", "same.png")
    files = sorted(os.listdir())
    vantor(arguments, 2, f"{option} {file}: expected a{'nother file than ' + other if other else ' file'}")
    assert sorted(os.listdir()) == files and read("chart.png") == read("back.png")


def test_a_new_file_has_usual_permissions_and_a_replaced_one_keeps_its_own(vantor, chart):
    vantor("scale chart.png -o half.png --size 50%", umask=0o27)
    assert stat.S_IMODE(os.stat("half.png").st_mode) == 0o640
    os.chmod("half.png", 0o600)
    vantor("scale chart.png -o half.png --size 50%", umask=0o27)
    assert stat.S_IMODE(os.stat("half.png").st_mode) == 0o600


def test_links_are_followed(vantor, chart):
    write("old.png", b"old")
    os.symlink("old.png", "link.png")
    os.symlink("made.png", "dangling.png")
    for link, file in ("link.png", "old.png"), ("dangling.png", "made.png"):
        vantor(f"scale chart.png -o {link} --size 8x8", text=f"to {link}")
        assert os.path.islink(link) and not os.path.islink(file)
        vantor(f"compare {link} {file}", text="R: equal")


@pytest.mark.parametrize("file, reason", [
    ("/dev/full", "No space left on device"),
    ("nowhere/x.gray", "No such file or directory"),
    ("chart.png/x.gray", "Not a directory"),
    ("loop.gray", "Too many levels of symbolic links"),
])
def test_what_cannot_be_written_is_told_and_stays(vantor, chart, file, reason):
    os.symlink("loop.gray", "loop.gray")
    vantor(f"scale chart.png -o {file} --output-format gray --size 8x8", 2, f"{file}: cannot write: {reason}")
    assert os.readlink("loop.gray") == "loop.gray"


def test_a_device_is_not_replaced(vantor, chart):
    vantor("scale chart.png -o /dev/null --output-format gray --size 8x8", text="to /dev/null")
    assert stat.S_ISCHR(os.stat("/dev/null").st_mode)
