"""Files of other programs, directories, and files that are not there or not whole: what each message calls them."""

import shutil
import subprocess

import pytest

PIPE = "-f yuv4mpegpipe -pix_fmt yuv420p - | vantor COMMAND - ..."


def to_png(command, name):
    return f"; this converts it: {command} {name} {name.rsplit('.')[0]}.png"


@pytest.mark.parametrize(
    "name, start, kind",
    [
        ("a", b"\xff\xd8\xff\xe1", "a JPEG picture; its name should end in .jpg"),
        ("a.webp", b"RIFF\x24\0\0\0WEBPVP8 ", "a WebP picture" + to_png("ffmpeg -i", "a.webp")),
        ("a.tif", b"MM\0*\0\0\0\x08", "a TIFF picture" + to_png("ffmpeg -i", "a.tif")),
        ("a.heic", b"\0\0\0\x24ftypheic", "a HEIC picture" + to_png("heif-convert", "a.heic")),
        ("a.gif", b"GIF89a", "a GIF picture" + to_png("ffmpeg -i", "a.gif")),
        ("a b.mp4", b"\0\0\0\x20ftypisom", f"an MP4 or MOV clip; this converts it: ffmpeg -i 'a b.mp4' {PIPE}"),
        ("it's.mov", b"\0\0\0\x08wide\0\0", f"a MOV clip; this converts it: ffmpeg -i 'it'\\''s.mov' {PIPE}"),
        ("a.mkv", b"\x1a\x45\xdf\xa3", f"a Matroska or WebM clip; this converts it: ffmpeg -i a.mkv {PIPE}"),
        ("a.avi", b"RIFF\x24\0\0\0AVI LIST", f"an AVI clip; this converts it: ffmpeg -i a.avi {PIPE}"),
        ("a", b"\x89PNG\r\n\x1a\n", "a PNG picture; its name should end in .png"),
    ],
)
def test_foreign_files_are_called_what_they_are(vantor, directory, name, start, kind):
    (directory / name).write_bytes(start + bytes(20))
    for command in (["info", name], ["compare", name, name]):
        vantor(command, 2, f"vantor: {name}: {kind}\n")
    (directory / name).rename("named.png")
    if b"PNG" not in start:
        text = vantor("info named.png", 2, "named.png: not a PNG file, but " + kind.split(";")[0]).text
        assert ("named.png named.converted.png" in text) == ("this converts it" in kind and "picture" in kind)
        vantor("info -", 2, "standard input: not a Y4M stream, but " + kind.split(";")[0], input=start + bytes(20))


def test_whether_a_file_is_there_comes_first(vantor, directory, chart):
    (directory / "shots").mkdir()
    (directory / "plain.dat").write_bytes(b"anything")
    for name in "none", "none.png", "none.nv12", "none_5x4_nv12.yuv", "none.mp4":
        vantor(["info", name], 2, f"vantor: {name}: No such file or directory\n")
        vantor(["compare", "chart.png", name], 2, f"vantor: {name}: No such file or directory\n")
    vantor("info shots", 2, f"shots: a directory, expected a file; this makes a clip of its PNG files: "
           f"ffmpeg -pattern_type glob -i 'shots/*.png' {PIPE}")
    vantor("warp chart.png -o x.png --grid shots", 2, "shots: a directory: expected a regular file")
    vantor("info plain.dat", 2, "plain.dat: format unknown: expected a name ending in .png")
    vantor("scale chart.png -o none.dat --size 50%", 2, "none.dat: format unknown")


def test_what_ends_too_early_is_called_truncated(vantor, directory, chart):
    whole = chart.read_bytes()
    vantor("scale chart.png -o clip.y4m --size 8x8")
    vantor("record bug.vrec scale chart.png -o x.png --size 8x8")
    clip, record = (directory / "clip.y4m").read_bytes(), (directory / "bug.vrec").read_bytes()
    vantor("grid --rotate 1 -o whole.txt")
    grid = (directory / "whole.txt").read_bytes()
    for name, content, arguments, expected in [
        ("cut.png", whole[:4000], "info", "cut.png: truncated PNG file"),
        ("cut.png", b"", "info", "cut.png: not a PNG file: it is empty"),
        ("cut.png", b"text, and more of it", "info", "cut.png: not a PNG file\n"),
        ("cut.png", whole[:20] + b"!" + whole[21:], "info", "cut.png: not a valid PNG file: IHDR: CRC error"),
        ("cut.y4m", clip[:20], "info", "cut.y4m: the Y4M header is truncated"),
        ("cut.y4m", clip[: clip.index(b"FRAME")] + b"FRAME Ip", "info", "the header of a frame is truncated"),
        ("cut.y4m", clip.replace(b"FRAME", b"FRAMES"), "info", "frame 0 does not begin with the word FRAME"),
        ("cut.y4m", clip[:-9], "info", "frame 0 (8x8 i420) is truncated: 87 of 96 bytes\n"),
        ("cut.vrec", record[:600], "replay", "cut.vrec: not a valid record: the header ends after 558 of"),
        ("cut.vrec", record[:-1], "replay", ": truncated\n"),
        ("cut.txt", grid[:1000], "grid", "cut.txt: not a grid file: line "),
        ("cut.txt", grid[:1000].rsplit(maxsplit=1)[0], "grid", "truncated, expected a number"),
    ]:
        (directory / name).write_bytes(content)
        vantor([arguments, name], 2, expected)


def test_clips_of_other_samples_are_told_the_remedy(vantor, directory):
    (directory / "a.y4m").write_bytes(b"YUV4MPEG2 W8 H8 F25:1 C411 XYSCSS=411\nFRAME\n" + bytes(192))
    vantor("info a.y4m", 2, "sample format C411: expected 4:2:0, 4:2:2, 4:4:4 or gray of 8 to 16 bits")
    vantor("info a.y4m", 2, "ffmpeg converts by -pix_fmt yuv420p")


@pytest.mark.skipif(not shutil.which("ffmpeg"), reason="ffmpeg is not installed")
@pytest.mark.parametrize("samples", ["yuv420p", "yuv420p10le", "yuv444p"])
def test_the_pipe_keeps_sound_and_colour_tags(vantor, samples):
    color = "-colorspace bt709 -color_primaries bt709 -color_trc bt709"
    run = f"""set -o pipefail; ffmpeg() {{ command ffmpeg -nostdin -loglevel error "$@"; }}
        ffmpeg -f lavfi -i testsrc2=size=96x64:duration=0.2 -f lavfi -i sine=duration=0.2 \
            -pix_fmt {samples} {color} clip.mp4
        ffmpeg -i clip.mp4 -f yuv4mpegpipe -pix_fmt yuv420p - | {vantor.path} warp - -o - --lens=-0.15,0.02 |
            ffmpeg -i - -i clip.mp4 -map 0:v -map '1:a?' -c:a copy {color} straight.mp4
        ffprobe -loglevel error -of compact=p=0:nk=1 -show_entries \
            stream=codec_type,pix_fmt,color_space,color_transfer,color_primaries,nb_frames straight.mp4"""
    result = subprocess.run(["bash", "-c", run], stdout=subprocess.PIPE, check=True, text=True).stdout.split()
    assert result[0] == "video|yuv420p|bt709|bt709|bt709|5" and result[1].startswith("audio|"), result
