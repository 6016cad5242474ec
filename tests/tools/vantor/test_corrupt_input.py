"""Small files cut off, or with a byte changed, at every place: a result or an error, and nothing half-written.
VANTOR_STEP=1 damages every byte of the longer files too."""

import os

import pytest
from conftest import CALIBRATIONS, read, write


@pytest.mark.parametrize("step, made_by, used_by", [
    (1, "scale chart.png -o small.png --size 8x8", "scale bad.png -o never.gray --size 4x4"),
    (1, "scale chart.png -o small.jpg --size 8x8", "scale bad.jpg -o never.gray --size 4x4"),
    (1, "scale chart.png -o small.y4m --size 8x8", "scale bad.y4m -o never.y4m --size 4x4"),
    (9, "record --hashes-only small.vrec scale chart.png -o x.y4m --size 8x8", "replay bad.vrec --source chart.png"),
    (199, "grid --rotate 3 --size 96x64 -o small.txt", "warp chart.png -o never.png --grid bad.txt"),
    (61, None, "grid --calibration bad.yml --size 96x64 -o never.txt"),
], ids=["PNG", "JPEG", "Y4M", "record", "grid", "calibration"])
@pytest.mark.parametrize("damage", ["cut", "changed"])
def test_damaged_files_are_read_or_refused(vantor, small_files, step, made_by, used_by, damage):
    bad = next(word for word in used_by.split() if word.startswith("bad."))
    if made_by:
        vantor(made_by)
    content = read(bad.replace("bad", "small") if made_by else CALIBRATIONS / "five.yml")
    write(bad, b"")
    files = set(os.listdir())
    for at in range(0, len(content), int(os.environ.get("VANTOR_STEP", step))):
        write(bad, content[:at] + (b"" if damage == "cut" else b"\xa5" + content[at + 1 :]))
        result = vantor.run(used_by)
        made = set(os.listdir()) - files
        assert result.status in (0, 1) or (result.is_error() and not made), f"{damage} at {at}: {made}: {result.text}"
        for name in made:
            os.remove(name)
