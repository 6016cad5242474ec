"""README's table "What runs where" and this build say the same of this processor."""

import platform
import re

import pytest
from conftest import ROOT

COLUMNS = {"x86_64": 2, "arm": 3, "aarch64": 4, "s390x": 5}


@pytest.mark.parametrize("row, families", [
    ("scaler", ["bicubic luma", "bilinear chroma", "interp4 luma", "interp4 chroma"]), ("warp", ["warp"])
])
def test_the_compiled_kernels_are_those_of_the_table(vantor, row, families):
    machine = re.sub("^armv.*", "arm", platform.machine())
    if machine not in COLUMNS:
        pytest.skip(f"the table has no column for {machine}")
    cells = re.search(rf"^\| {row} \|.*", (ROOT / "README.md").read_text(), re.MULTILINE).group().split("|")
    stated = cells[COLUMNS[machine]].strip().lower().replace("avx-512", "avx512").replace("plain c++", "plain")
    for family in families:
        compiled = re.search(rf"^  {family} +compiled ([^;]*);", vantor("info").text, re.MULTILINE).group(1)
        assert set(compiled.split(", ")) == set(re.split(", | or ", stated)), family
