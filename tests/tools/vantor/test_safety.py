"""Hostile files, names and values do no harm: what they make the tool print, write, compute and replace."""

import json
import os
import re
import shutil
import stat

import pytest

from conftest import CALIBRATIONS

# A title, a newline and a line that looks like the tool's own; DEL, C1, invalid UTF-8, a surrogate; and a harmless é.
HOSTILE = b"\x1b]0;a\x07\x7f\xc2\x9b1m\nvantor:b\xff\xed\xa0\x80\xc0\x8a\xf5\xe2\x82\xc3\xa9"
SHOWN = r"\x1b]0;a\x07\x7f\xc2\x9b1m\x0avantor:b\xff\xed\xa0\x80\xc0\x8a\xf5\xe2\x82é"
NAME = os.fsdecode(HOSTILE)
WORD = HOSTILE.replace(b"\n", b"")  # where line ends separate
SHOWN_WORD = SHOWN.replace(r"\x0a", "")
K = "K: [300, 0, 160, 0, 300, 90, 0, 0, 1]\n"
SIZE = "image_size: [320, 180]\n"
LIMIT = 524288


def expect_harmless(result):
    assert not re.search("[\x00-\x09\x0b-\x1f\x7f-\x9f]", result.bytes.decode()), result.bytes


@pytest.mark.parametrize("mode, owner, expected", [
    (0o6751, None, 0o751), (0o1640, None, 0o640), (0o4755, 65534, None), (0o600, 65534, None)])  # fmt: skip
def test_a_replaced_file_gives_its_permissions_to_its_owner_only(vantor, chart, mode, owner, expected):
    shutil.copy(chart, "old.png")
    if owner:
        if os.geteuid() != 0:
            pytest.skip("only root gives files away")
        os.chown("old.png", owner, owner)
    os.chmod("old.png", mode)
    vantor("scale chart.png -o old.png --size 8x8")
    mask = os.umask(0)
    os.umask(mask)
    found = os.stat("old.png")
    assert found.st_uid == os.geteuid()
    assert stat.S_IMODE(found.st_mode) == (0o666 & ~mask if expected is None else expected)
