"""All commands that README.md, docs/ and --help show are run, page by page, with the files they name."""

import os
import re
import shutil
import subprocess
import warnings

import pytest
from conftest import CALIBRATIONS, ROOT, write

PAGES = [ROOT / "README.md", *sorted(ROOT.glob("docs/*.md"))]
TOOL = """#!/bin/sh
[ "$1" = serve ] && exec "{0}" "$@"
"{0}" "$@"
status=$?
[ "$1$status" = compare1 ] || exit $status # pictures may differ
"""
FILES = f"""
cp {CALIBRATIONS}/five.yml camera.yml
cp {CALIBRATIONS}/camchain.yml .
npy() {{ printf "\\223NUMPY\\1\\0P\\0%-80s" "{{'descr': '<f4', 'fortran_order': False, 'shape': ($2)}}" >$1; }}
npy map.npy "1080, 1920, 2"
truncate -s $((90 + 1080 * 1920 * 8)) map.npy
for name in map_x map_y; do npy $name.npy "1080, 1920"; truncate -s $((90 + 1080 * 1920 * 4)) $name.npy; done
vantor chart -o photo.png
vantor warp photo.png -o straight.png --rotate 1
vantor scale photo.png -o photo.jpg --size 100%
ln -s photo.png a.png
mkdir made heat
for number in 1 2 3; do ln -s photo.png frame_$number.png; cp straight.png made/frame_$number.png; done
ln -s straight.png b.png
ln -s {ROOT}/examples {ROOT}/bindings .
vantor scale photo.png -o frame.nv12 --size 100%
vantor scale straight.png -o frame.i420 --size 100%
for name in warp lens; do vantor grid --rotate 2 --size 1280x720 -o $name.grid; done
vantor record bug.vrec scale photo.png -o x.png --size 50%
vantor record --hashes-only hashes.vrec scale photo.png -o x.png --size 50%
truncate -s $((24 * 1920 * 1080 * 3 / 2)) clip_1920x1080_nv12.yuv
truncate -s $((102 * 320 * 180 * 3 / 2)) small_320x180.nv12
vantor scale small_320x180.nv12 -o clip.y4m --size 100%
printf '0 warp.grid\\n101 lens.grid\\n' >keys.txt
vantor grid --sequence keys.txt --interpolate -o steady.grids
[ -z "$(type -p ffmpeg)" ] || ffmpeg -i clip.y4m clip.mp4
"""


@pytest.fixture(scope="module")
def run_shown(vantor, tmp_path_factory):
    """Runs commands in the test's directory, with the files they name, and with `vantor` among the programs."""
    programs, files = tmp_path_factory.mktemp("bin"), tmp_path_factory.mktemp("files")
    write(programs / "vantor", TOOL.format(vantor.path).encode())
    if ffmpeg := shutil.which("ffmpeg"):
        write(programs / "ffmpeg", f'#!/bin/sh\nexec {ffmpeg} -y -loglevel error "$@"\n'.encode())
    for program in programs.iterdir():
        program.chmod(0o755)
    env = {**os.environ, "PATH": f"{programs}:{os.environ['PATH']}"}
    streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.STDOUT}

    def shell(commands, directory):
        words = ["bash", "-exu", "-o", "pipefail", "-c", commands]
        result = subprocess.run(words, cwd=directory, env=env, text=True, **streams)
        assert result.returncode == 0, result.stdout[-1000:]

    def run(commands, dump):
        """`dump` has the bytes of dump.bin."""
        commands = re.sub(r"\\\n *", " ", commands)
        missing = [program for program in ("ffmpeg", "xxh64sum") if not shutil.which(program)]
        if "no engine for browsers" in vantor.run("live photo.png -o live.html").text:
            missing.append("vantor live")
        for program in missing:
            lines = re.compile(rf"(.*\b{program}\b.*\n)")
            if lines.search(commands):
                warnings.warn(f"{program} is not installed; not run: {lines.findall(commands)}")
                commands = lines.sub("", commands)
        shell(f"cp -r {files}/. .; truncate -s {dump} dump.bin\n{commands}", ".")

    shell(FILES, files)
    return run


def shown(page):
    blocks = re.split(r"^```.*\n", page.read_text(), flags=re.MULTILINE)[1::2]
    return "".join(block for block in blocks if re.match("vantor |VANTOR_|ffmpeg |cat >|cc ", block))


@pytest.mark.parametrize("page", [page for page in PAGES if shown(page)], ids=lambda page: page.name)
def test_the_commands_of_a_page(run_shown, page):
    run_shown(shown(page), dump=2 * 1920 * 1080 * 3 // 2)  # two packed frames


def test_the_examples_of_a_help(vantor, run_shown, subcommand):
    text = vantor(f"{subcommand} --help").text.split("Examples:\n")[1]
    assert text.count(f"vantor {subcommand}") >= 2
    commands = re.sub("^  ", "", text, flags=re.MULTILINE)
    commands = re.sub("^(vantor serve .*)$", r"\1 & sleep 1; kill $!; wait $!", commands, flags=re.MULTILINE)
    run_shown(commands, dump=2048 * 1088 * 3 // 2)  # a padded frame
