"""JPEG in and out, against Pillow's decoder; and inputs of more chroma or more bits than the tool works on."""

import io
import struct

import numpy
import pytest
from conftest import read, write
from PIL import Image

RANDOM = numpy.random.default_rng(1)
EXIF = b"Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0"
PROFILE = bytes(range(256)) * 300  # in two markers


def photo(width, height, **options):
    """The JPEG of a smooth coloured picture with some noise."""
    x, y = numpy.meshgrid(numpy.arange(width), numpy.arange(height))
    pixels = numpy.stack([x * 3 % 256, y * 5 % 256, (x + y) % 256], -1) + RANDOM.integers(0, 30, (height, width, 3))
    file = io.BytesIO()
    picture = Image.fromarray(pixels.clip(0, 255).astype("uint8"))
    picture.convert(options.pop("mode", "RGB")).save(file, "JPEG", **options)
    return file.getvalue()


def planes(content, width, height, chroma=None):
    shapes = [(height, width)] + [chroma or ((height + 1) // 2, (width + 1) // 2)] * 2
    values, at = numpy.frombuffer(content, "uint8").astype(int), 0
    for shape in shapes:
        yield values[at : at + shape[0] * shape[1]].reshape(shape)
        at += shape[0] * shape[1]


def smooth(plane, axis):
    """Twice as many rows or columns, without division, as libjpeg makes them of chroma."""
    near = numpy.moveaxis(plane, axis, 0)
    before, after = (numpy.concatenate(rows) for rows in ((near[:1], near[:-1]), (near[1:], near[-1:])))
    return numpy.moveaxis(numpy.stack([3 * near + before, 3 * near + after], 1).reshape(-1, *near.shape[1:]), 0, axis)


def decoded(name):
    """Pillow's Y, Cb, Cr in full size."""
    picture = Image.open(name)
    picture.draft("YCbCr", picture.size)
    return numpy.moveaxis(numpy.asarray(picture).astype(int), 2, 0)


@pytest.mark.parametrize("size, options", [
    ((64, 48), {}), ((97, 75), {"progressive": True}), ((33, 17), {"quality": 100}), ((95, 66), {"optimize": True})
])
def test_planes_are_the_decoders(vantor, size, options):
    width, height = size
    write("a.jpeg", photo(*size, subsampling="4:2:0", **options))
    result = vantor(f"scale a.jpeg -o a.y4m --size {(width + 1) & ~1}x{(height + 1) & ~1}", text="full range, as JPEG")
    assert "4:2:0" not in result.text
    header, content = read("a.y4m").split(b"\nFRAME\n")
    assert b"C420jpeg XCOLORRANGE=FULL" in header
    y, *chroma = planes(content, (width + 1) & ~1, (height + 1) & ~1)
    expected = decoded("a.jpeg")
    assert (y[:height, :width] == expected[0]).all()
    for plane, full in zip(chroma, expected[1:]):
        columns = smooth(smooth(plane, 0), 1)
        rounded = (columns + numpy.where(numpy.arange(columns.shape[1]) % 2, 7, 8)) >> 4
        assert (rounded[:height, :width] == full).all()


@pytest.mark.parametrize("subsampling, box, rule", [("4:2:2", (2, 1), "2 rows"), ("4:4:4", (2, 2), "2 x 2")])
def test_more_chroma_is_averaged_and_said(vantor, subsampling, box, rule):
    write("a.jpg", photo(98, 75, subsampling=subsampling))
    text = f"a.jpg: {subsampling} converted to 4:2:0: each chroma sample is the mean of {rule}, rounded to nearest"
    vantor("scale a.jpg -o a.i420 --size 98x76", text=text)
    source = numpy.pad(decoded("a.jpg"), ((0, 0), (0, 1), (0, 0)), "edge")
    if subsampling == "4:4:4":
        means = (source[1:].reshape(2, 38, 2, 49, 2).sum((2, 4)) + 2) >> 2
        assert all((plane == mean).all() for plane, mean in zip(list(planes(read("a.i420"), 98, 76))[1:], means))
    assert (next(planes(read("a.i420"), 98, 76)) == source[0]).all()


def test_gray_and_what_a_jpeg_says_of_itself(vantor):
    write("a.jpg", photo(47, 31, mode="L", exif=EXIF, icc_profile=PROFILE))
    vantor("scale a.jpg -o a.gray --size 100%", text="a.jpg: Exif, ICC profile dropped: a.gray cannot hold it")
    assert read("a.gray") == Image.open("a.jpg").tobytes()
    vantor("scale a.jpg -o a.png --size 100%")
    vantor("scale a.png -o b.jpeg --size 50% --quality 100")
    vantor("scale b.jpeg -o c.png --size 100%")
    for name in "a.png", "b.jpeg", "c.png":
        picture = Image.open(name)
        assert picture.mode == "L" and picture.info["icc_profile"] == PROFILE, name
        assert picture.info["exif"].removeprefix(b"Exif\0\0") == EXIF[6:] or name.endswith("png"), name
        assert picture.getexif()[0x112] == 6, name


@pytest.mark.parametrize("size", ["98x74", "64x48", "130x6"])
def test_planes_go_into_a_jpeg_in_full_range(vantor, size):
    vantor(f"chart -o a.jpg --size {size} --quality 100")
    vantor("scale a.jpg -o b.jpg --size 100% --quality 100")
    vantor("compare a.jpg b.jpg --tolerance 1")
    vantor("scale a.jpg -o a.nv12 --size 100%")
    raw = f"a.nv12 --input-size {size} --size 100%"
    vantor(f"scale {raw} -o c.jpg --quality 100", text="a.nv12: range unknown: samples are kept")
    assert read("c.jpg") == read("b.jpg")
    vantor(f"scale {raw} -o c.jpg --yuv-range limited", text="a.nv12: limited range converted to full range")
    assert len(read("c.jpg")) < len(read("b.jpg"))
    luma = numpy.asarray(Image.open("a.jpg").convert("L")).astype(float)
    wider = numpy.asarray(Image.open("c.jpg").convert("L"))
    assert abs(((luma - 16) * 255 / 219).clip(0, 255) - wider).mean() < 4
    vantor("scale a.jpg -o a.png --size 100%", text="RGB by BT.601, full range")
    assert abs(numpy.asarray(Image.open("a.png")).astype(int) - numpy.asarray(Image.open("a.jpg"))).mean() < 8


def restart_interval(content, interval):
    return content[:2] + struct.pack(">2sHH", b"\xff\xdd", 4, interval) + content[2:]


@pytest.mark.parametrize("damage, text", [
    (lambda c: c[: len(c) // 2], "truncated JPEG file"),
    (lambda c: c[:-2], "truncated JPEG file"),
    (lambda c: c[:3], "truncated JPEG file"),
    (lambda c: b"", "not a JPEG file: it is empty"),
    (lambda c: b"GIF89a" + c, "not a JPEG file, but a GIF picture; this converts it: ffmpeg -i bad.jpg bad.png"),
    (lambda c: c.replace(b"\xff\xc0\0\x11\x08\0\x30\0\x40", b"\xff\xc0\0\x11\x08\xff\xff\xff\xff"), "not a valid JPEG"),
    (lambda c: c.replace(b"\xff\xc0\0\x11\x08\0\x30\0\x40", b"\xff\xc0\0\x11\x08\x40\x01\0\x40"),
     "64x16385: width and height must be from 4 to 16384"),
    (lambda c: c.replace(b"\xff\xc0", b"\xff\xc9"), "arithmetic coding: expected Huffman coding"),
    (lambda c: c.replace(b"\1\x22\0\2\x11\1\3\x11\1", b"\1\x41\0\2\x11\1\3\x11\1"), "sampling factors 4x1, 1x1, 1x1"),
    (lambda c: restart_interval(c, 3), "not a valid JPEG file: Corrupt JPEG data"),
    (lambda c: photo(64, 48, mode="CMYK"), "samples are CMYK or YCCK: expected YCbCr or gray"),
    (lambda c: scans(flat_photo()), "not a valid JPEG file: more than 100 scans"),
])
def test_refused_files(refuse, damage, text):
    write("bad.jpg", damage(photo(64, 48)))
    refuse("scale bad.jpg --size 50%", f"bad.jpg: {text}" if text[0] != "6" else text)


def flat_photo():
    file = io.BytesIO()
    Image.new("L", (64, 48), 99).save(file, "JPEG", progressive=True)
    return file.getvalue()


def scans(content):
    """A flat progressive file with its second scan a hundred times, of all bits of the coefficients."""
    start = content.index(b"\xff\xda", content.index(b"\xff\xda") + 2)
    scan = content[start : content.index(b"\xff\xc4", start)]
    return content[:start] + (scan[:9] + b"\0" + scan[10:]) * 100 + content[-2:]


def test_a_bad_profile_is_dropped_with_a_note(vantor):
    write("a.jpg", photo(64, 48, icc_profile=PROFILE).replace(b"ICC_PROFILE\0\2\2", b"ICC_PROFILE\0\1\2"))
    vantor("scale a.jpg -o b.jpg --size 50%", text="note: a.jpg: Corrupt JPEG data: bad ICC marker")
    assert "icc_profile" not in Image.open("b.jpg").info


@pytest.mark.parametrize("tag, bits, columns, rows, result", [
    ("C420p10", 10, 2, 2, "C420mpeg2"), ("C422", 8, 2, 1, "C420mpeg2"), ("C422p12", 12, 2, 1, "C420mpeg2"),
    ("C444p10", 10, 1, 1, "C420jpeg"), ("Cmono16", 16, 0, 0, "Cmono"),
])
def test_other_y4m_samples_are_rounded_once(vantor, tag, bits, columns, rows, result):
    width, height = 13, 7
    shapes = [(height, width)] + [(-(-height // rows), -(-width // columns))] * 2 if rows else [(height, width)]
    values = [RANDOM.integers(0, 1 << bits, shape) for shape in shapes]
    samples = b"".join(plane.astype("<u2" if bits > 8 else "u1").tobytes() for plane in values)
    head = f"YUV4MPEG2 W13 H7 F25:1 {tag} XYSCSS=X\n"
    write("a.y4m", (head + "FRAME\n").encode() + samples + b"FRAME\n" + samples[:-1])
    text = vantor("scale a.y4m -o - --size 13x7 --limit 1" if not rows else "compare a.y4m a.y4m --limit 1").text
    assert f"Y4M sample format {tag} converted to {result}: " in text
    vantor("info a.y4m", 2, f"is truncated: {len(samples) - 1} of {len(samples)} bytes")
