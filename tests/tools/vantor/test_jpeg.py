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


def planes(content, width, height):
    values = numpy.frombuffer(content, "uint8").astype(int)
    y, u, v = numpy.split(values, [width * height, width * height * 5 // 4])
    return y.reshape(height, width), u.reshape(height // 2, -1), v.reshape(height // 2, -1)


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


@pytest.mark.parametrize("subsampling, rule", [("4:2:2", "2 rows"), ("4:4:4", "2 x 2")])
def test_more_chroma_is_averaged_and_said(vantor, subsampling, rule):
    write("a.jpg", photo(98, 75, subsampling=subsampling))
    text = f"a.jpg: {subsampling} converted to 4:2:0: each chroma sample is the mean of {rule}, rounded to nearest"
    vantor("scale a.jpg -o a.i420 --size 98x76", text=text)
    source = numpy.pad(decoded("a.jpg"), ((0, 0), (0, 1), (0, 0)), "edge")
    y, *chroma = planes(read("a.i420"), 98, 76)
    assert (y == source[0]).all()
    if subsampling == "4:4:4":
        assert (chroma == (source[1:].reshape(2, 38, 2, 49, 2).sum((2, 4)) + 2) >> 2).all()


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
    for options in f"scale {raw} -o c.jpg --yuv-matrix 709", "scale a.jpg -o c.png --size 100% --yuv-range limited":
        assert vantor.run(options).is_error()
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
    (lambda c: scans(flat_photo(64, 48, progressive=True)), "not a valid JPEG file: more than 100 scans"),
])
def test_refused_files(refuse, damage, text):
    write("bad.jpg", damage(photo(64, 48)))
    refuse("scale bad.jpg --size 50%", f"bad.jpg: {text}" if text[0] != "6" else text)


def flat_photo(width, height, **options):
    file = io.BytesIO()
    Image.new("L", (width, height), 99).save(file, "JPEG", **options)
    return file.getvalue()


def test_restart_markers_are_followed(vantor):
    content = restart_interval(flat_photo(8, 8), 1)
    samples = content.index(b"\xff\xda") + 10
    content = content[:-2] + b"\xff\xd0" + content[samples:]  # another block below, with the same difference to none
    write("a.jpg", content.replace(b"\xff\xc0\0\x0b\x08\0\x08", b"\xff\xc0\0\x0b\x08\0\x10"))
    vantor("scale a.jpg -o a.gray --size 8x16")
    assert read("a.gray") == bytes([99]) * 128


def scans(content):
    """A flat progressive file with its second scan a hundred times, of all bits of the coefficients."""
    start = content.index(b"\xff\xda", content.index(b"\xff\xda") + 2)
    scan = content[start : content.index(b"\xff\xc4", start)]
    return content[:start] + (scan[:9] + b"\0" + scan[10:]) * 100 + content[-2:]


def test_a_bad_profile_is_dropped_with_a_note(vantor):
    write("a.jpg", photo(64, 48, icc_profile=PROFILE).replace(b"ICC_PROFILE\0\2\2", b"ICC_PROFILE\0\1\2"))
    vantor("scale a.jpg -o b.jpg --size 50%", text="note: a.jpg: Corrupt JPEG data: bad ICC marker")
    assert "icc_profile" not in Image.open("b.jpg").info


def reduced(values, bits, columns, rows):
    """The mean of boxes, as 8 bits, rounded once; edges are repeated."""
    values = numpy.pad(values, [(0, -values.shape[0] % rows), (0, -values.shape[1] % columns)], "edge")
    sums = values.reshape(values.shape[0] // rows, rows, -1, columns).sum((1, 3))
    divisor = columns * rows << (bits - 8)
    return ((2 * sums + divisor) // (2 * divisor)).clip(0, 255).astype("u1").tobytes()


@pytest.mark.parametrize("tag, bits, columns, rows, result", [
    ("C420p10", 10, 1, 1, "C420mpeg2"), ("C422", 8, 1, 2, "C420mpeg2"), ("C422p12", 12, 1, 2, "C420mpeg2"),
    ("C444p10", 10, 2, 2, "C420jpeg"), ("Cmono16", 16, 0, 0, "Cmono"),
])
def test_other_y4m_samples_are_rounded_once(vantor, tag, bits, columns, rows, result):
    shapes = [(10, 14)] + [(5 * rows, 7 * columns)] * 2 if rows else [(10, 14)]
    values = [RANDOM.integers(0, 1 << bits, shape) for shape in shapes]
    samples = b"".join(plane.astype("<u2" if bits > 8 else "u1").tobytes() for plane in values)
    write("a.y4m", f"YUV4MPEG2 W14 H10 F25:1 {tag} XYSCSS=X\nFRAME\n".encode() + samples + b"FRAME\n" + samples[:-1])
    expected = reduced(values[0], bits, 1, 1) + b"".join(reduced(plane, bits, columns, rows) for plane in values[1:])
    vantor("scale a.y4m -o b.y4m --size 100% --limit 1", text=f"Y4M sample format {tag} converted to {result}: ")
    assert read("b.y4m") == f"YUV4MPEG2 W14 H10 F25:1 {result}\nFRAME\n".encode() + expected
    vantor("info a.y4m", 2, f"is truncated: {len(samples) - 1} of {len(samples)} bytes")


def test_padded_p010_is_rounded_to_nv12(vantor):
    dump = RANDOM.integers(0, 1024, (15, 20))  # a picture of 16x8: 10 rows of luma and 5 of chroma, each with padding
    write("dump.bin", (dump << 6).astype("<u2").tobytes())
    options = "--input-format p010 --input-size 16x8 --input-stride 40 --input-slice-height 10"
    vantor(f"scale dump.bin {options} -o a.nv12 --size 100%", text="P010 converted to NV12: values are divided by 4, ")
    assert read("a.nv12") == reduced(numpy.concatenate([dump[:8], dump[10:14]])[:, :16], 10, 1, 1)
    vantor("scale dump.bin --input-format p010 --input-size 20x8 -o a.nv12 --size 100%", 2,
           "(20x8 nv12) is truncated: 120 of 480 bytes: a frame is 40 x 8 x 3/2")
    vantor("scale a.nv12 --input-size 16x8 -o a.p010 --size 100%", 2, "a.p010: P010 is only read")
