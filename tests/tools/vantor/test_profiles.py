"""What PNG files say of their samples, and how to hold them, on the way through the tool."""

import base64
import struct
import zlib

import pytest

SIGNATURE = b"\x89PNG\r\n\x1a\n"
PROFILE = b"iCCP", b"camera\0\0" + zlib.compress(bytes(range(256)) * 3)
EXIF = b"eXIf", b"II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0"
GAMMA = b"gAMA", struct.pack(">I", 100000)
PRIMARIES = b"cHRM", struct.pack(">8I", 31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000)
SRGB = b"sRGB", b"\0"
CICP = b"cICP", b"\x09\x10\0\1"
DENSITY = b"pHYs", struct.pack(">IIB", 2835, 2835, 1)
TEXT = b"tEXt", b"Comment\0seen"


def chunk(name, content, flip=0):
    return struct.pack(">I", len(content)) + name + content + struct.pack(">I", zlib.crc32(name + content) ^ flip)


def png(*before, after=(), color=2, flip=0):
    """A PNG of 8x8 pixels with chunks before and behind its samples."""
    samples = zlib.compress((b"\0" + bytes(8 * (3 if color == 2 else 1))) * 8)
    parts = [chunk(b"IHDR", struct.pack(">2I5B", 8, 8, 8, color, 0, 0, 0))]
    parts += [chunk(*part, flip) for part in before] + [chunk(b"IDAT", samples)]
    return SIGNATURE + b"".join(parts + [chunk(*part) for part in after] + [chunk(b"IEND", b"")])


def chunks(content):
    """Those of a PNG file that are not the picture itself."""
    found, at = [], len(SIGNATURE)
    assert content.startswith(SIGNATURE)
    while at < len(content):
        (length,) = struct.unpack_from(">I", content, at)
        found.append((content[at + 4 : at + 8], content[at + 8 : at + 8 + length]))
        at += 12 + length
    return [part for part in found if part[0] not in (b"IHDR", b"IDAT", b"IEND")]


@pytest.mark.parametrize(
    "said, kept",
    [
        ((PROFILE, EXIF, DENSITY, TEXT), [PROFILE, EXIF]),
        ((GAMMA, PRIMARIES), [GAMMA, PRIMARIES]),
        ((CICP, SRGB), [CICP, SRGB]),
        ((), []),
        ((PROFILE, (b"iCCP", b"second")), [PROFILE]),
    ],
)
@pytest.mark.parametrize("color", [0, 2])
def test_a_png_of_a_png_says_what_that_said_and_nothing_else(vantor, directory, said, kept, color):
    (directory / "a.png").write_bytes(png(*said, color=color))
    assert "note" not in vantor("scale a.png -o b.png --size 4x4").text
    assert chunks((directory / "b.png").read_bytes()) == kept


def test_transparency_is_dropped_with_a_note(vantor, directory):
    (directory / "a.png").write_bytes(png((b"tRNS", bytes(6))))
    vantor("scale a.png -o b.png --size 4x4", text="note: a.png: alpha dropped")


def test_exif_may_follow_the_samples_and_profiles_may_not(vantor, directory):
    (directory / "a.png").write_bytes(png(after=(EXIF, PROFILE)))
    vantor("scale a.png -o b.png --size 4x4")
    assert chunks((directory / "b.png").read_bytes()) == [EXIF]


@pytest.mark.parametrize(
    "said, names", [((PROFILE, EXIF), "ICC profile, Exif"), ((GAMMA, PRIMARIES), "gAMA, cHRM"), ((SRGB, GAMMA, PRIMARIES), "")]
)
def test_what_other_files_cannot_hold_is_named(vantor, directory, said, names):
    (directory / "a.png").write_bytes(png(*said))
    text = vantor("scale a.png -o b.nv12 --size 4x4").text
    assert (f"note: a.png: {names} dropped" in text) if names else ("note" not in text)


def test_a_damaged_or_endless_profile_is_dropped_with_a_note(vantor, directory):
    (directory / "a.png").write_bytes(png(PROFILE, flip=1))
    vantor("scale a.png -o b.png --size 4x4", text="note: a.png: iCCP: CRC error: chunk dropped")
    assert chunks((directory / "b.png").read_bytes()) == []
    (directory / "a.png").write_bytes(png((b"iCCP", bytes(8_000_001)), EXIF))
    vantor("scale a.png -o b.png --size 4x4", text="note: a.png: iCCP: chunk data is too large: chunk dropped")
    assert chunks((directory / "b.png").read_bytes()) == [EXIF]
    (directory / "a.png").write_bytes(png()[:33] + struct.pack(">I", 1 << 30) + b"iCCP" + bytes(99))
    vantor("scale a.png -o b.png --size 4x4", 2, "a.png: truncated PNG file")


def test_other_pictures_and_pages_claim_no_colours(vantor, directory):
    vantor("chart -o chart.y4m --size 96x64")
    vantor("scale chart.y4m -o made.png --size 50%")
    assert chunks((directory / "made.png").read_bytes()) == []
    (directory / "a.png").write_bytes(png(PROFILE))
    vantor("view a.png -o page.html")
    shown = (directory / "page.html").read_text().split('"png":"data:image/png;base64,')[1].split('"')[0]
    assert chunks(base64.b64decode(shown)) == []
