"""Pictures and clips in files: raw, Y4M and PNG."""

from __future__ import annotations

import collections.abc
import contextlib
import os
import pathlib
import re
import tempfile
import warnings
from typing import Any, BinaryIO, Iterable, Iterator, List, Optional, Tuple, Union

import numpy as np

from . import _library as c
from ._arguments import Size, size_of
from ._image import Image, Plane, expect_image

Path = Union[str, "os.PathLike[str]"]
_MOST_TEXT = 512 * 1024
_MOST_LINE = 4096
_MAGIC = b"YUV4MPEG2"
_COLOR = ("C420", "C420jpeg", "C420mpeg2", "C420paldv")
_GRAY = "Cmono"
_BIT_DEPTH_AT = 24


def read_text(path: Path) -> bytes:
    """The content of a small file."""
    with open(os.fspath(path), "rb") as file:
        content = file.read(_MOST_TEXT + 1)
    if len(content) > _MOST_TEXT:
        raise ValueError(f"{c.shown(path)}: more than {_MOST_TEXT} bytes, expected a grid or a calibration")
    return content


def write_whole(path: Path, parts: Iterable[Any]) -> None:
    """Writes a file atomically: it has all parts, or what it had before."""
    target = pathlib.Path(path)
    if target.exists() and not target.is_file():  # such as /dev/null or a pipe
        with open(target, "wb") as file:
            file.writelines(parts)
        return
    target = pathlib.Path(os.path.realpath(target))
    descriptor, name = tempfile.mkstemp(prefix=".vantor-", dir=target.parent)
    try:
        with open(descriptor, "wb") as file:
            file.writelines(parts)
        os.chmod(name, target.stat().st_mode if target.exists() else 0o666 & ~_umask())
        os.replace(name, target)
    except BaseException:
        with contextlib.suppress(OSError):
            os.unlink(name)
        raise


def _umask() -> int:
    mask = os.umask(0o077)
    os.umask(mask)
    return mask


class Clip:
    """The frames of a raw or Y4M file, which are read one by one, as new pictures, by iterating over this.

    `tags` are those of the Y4M header, such as "F30:1", which write() takes.
    """

    def __init__(self, path: Path, size: Optional[Size] = None, format: Optional[str] = None) -> None:
        self._path = path
        self.tags: List[str] = []
        if _ending(path) == "y4m":
            self._refuse(size=size, format=format)
            with open(path, "rb") as file:
                (width, height), self.format, self.tags = self._header(file)
            self.size: Size = width, height
        else:
            self.format, self.size = _raw_layout(path, size, format)

    def _refuse(self, **given: Any) -> None:
        for name, value in given.items():
            if value is not None:
                raise ValueError(f"{name}: {c.short(value)}, expected None: {c.shown(self._path)} has its own")

    def __iter__(self) -> Iterator[Image]:
        with open(self._path, "rb") as file:
            is_y4m = _ending(self._path) == "y4m"
            if is_y4m:
                self._header(file)
            number = 0
            while not is_y4m or self._frame_line(file, number):
                frame = self._frame(file, number, not is_y4m)
                if frame is None:
                    return
                yield frame
                number += 1

    def _header(self, file: BinaryIO) -> Tuple[Size, str, List[str]]:
        words = self._line(file, "the Y4M header").split()
        if not words or words[0] != _MAGIC.decode():
            raise ValueError(f"{c.shown(self._path)}: not a Y4M stream, expected it to begin with {_MAGIC.decode()}")
        tags = words[1:]
        color = ([tag for tag in tags if tag[0] == "C"] or [_COLOR[0]])[-1]
        if color not in (*_COLOR, _GRAY):
            raise ValueError(f"{c.shown(self._path)}: Y4M sample format {c.shown(color)}, expected 8-bit 4:2:0 "
                             f"({', '.join(_COLOR)}) or gray ({_GRAY})")
        sides = [([tag[1:] for tag in tags if tag[0] == side] or ["0"])[-1] for side in "WH"]
        if not all(re.fullmatch("[0-9]{1,9}", side) for side in sides):
            raise ValueError(f"{c.shown(self._path)}: Y4M tags W{c.shown(sides[0])} H{c.shown(sides[1])}, "
                             "expected numbers of pixels")
        size = size_of(f"{c.shown(self._path)}: Y4M", [int(side) for side in sides])
        return size, "gray" if color == _GRAY else "i420", [tag for tag in tags if tag[0] not in "WHC"]

    def _line(self, file: BinaryIO, what: str) -> str:
        line = file.readline(_MOST_LINE)
        if not line.endswith(b"\n"):
            start = c.shown(line[:9].decode("latin-1"))
            problem = "too long" if len(line) == _MOST_LINE else "truncated"
            raise ValueError(f"{c.shown(self._path)}: {what} is {problem}; it begins with '{start}'")
        return line.decode("latin-1")

    def _frame_line(self, file: BinaryIO, number: int) -> bool:
        line = file.readline(_MOST_LINE)
        if line and (line[:5] != b"FRAME" or line[5:6] not in (b"\n", b" ") or not line.endswith(b"\n")):
            raise ValueError(f"{c.shown(self._path)}: frame {number} does not begin with the word FRAME")
        return bool(line)

    def _frame(self, file: BinaryIO, number: int, may_end: bool) -> Optional[Image]:
        width, height = self.size
        if self.format == "i420" and (width % 2 or height % 2):
            return self._odd_frame(file, number)
        image = Image.empty(self.size, self.format)
        return image if self._fill(file, image.array, number, may_end) else None

    def _odd_frame(self, file: BinaryIO, number: int) -> Image:
        """Chroma has half of it rounded up; luma's last column or row is repeated."""
        width, height = self.size
        half = -(-height // 2), -(-width // 2)
        image = Image.empty((2 * half[1], 2 * half[0]), self.format)
        luma = np.empty((height, width), np.uint8)
        for plane in (luma, image.u, image.v):
            self._fill(file, plane, number, False)
        image.y[...] = np.pad(luma, ((0, height % 2), (0, width % 2)), "edge")
        return image

    def _fill(self, file: Any, array: Plane, number: int, may_end: bool) -> bool:
        count = file.readinto(array.data)
        if count == 0 and may_end:
            return False
        if count < array.nbytes:
            raise ValueError(f"{c.shown(self._path)}: frame {number} ({self.size[0]}x{self.size[1]} {self.format}) is "
                             f"truncated: {count} of {array.nbytes} bytes")
        return True


def read(path: Path, size: Optional[Size] = None, format: Optional[str] = None, *,
         encoding: str = "bt601") -> Image:
    """Reads a picture: PNG (with Pillow), Y4M, or raw.

    The size (width, height) and the format ("gray", "nv12", "nv21" or "i420") of a raw file are given here or by its
    name, as in photo_640x480.nv12. Y4M pictures are I420 or gray. PNG pictures of colour become NV12 by `encoding` as
    for Image.from_rgb(), without alpha; gray ones stay gray.

    Raises ValueError for what is no such file, and for clips of more frames; ``vantor.Clip(path)`` has them all.
    """
    if _ending(path) == "png":
        return _read_png(path, encoding)
    frames = iter(Clip(path, size, format))
    image = next(frames, None)
    if image is None:
        raise ValueError(f"{c.shown(path)}: no frames, expected a picture")
    if next(frames, None) is not None:
        raise ValueError(f"{c.shown(path)}: more than one frame, expected one; vantor.Clip(path) has them all")
    return image


def _read_png(path: Path, encoding: str) -> Image:
    pillow = c.optional("PIL.Image", "python3-pil", "a PNG file")
    with open(path, "rb") as file:
        header = file.read(_BIT_DEPTH_AT + 1)
        if header[:8] != b"\x89PNG\r\n\x1a\n":
            raise ValueError(f"{c.shown(path)}: not a PNG file")
        if header[_BIT_DEPTH_AT:] > b"\x08":
            raise ValueError(f"{c.shown(path)}: {header[_BIT_DEPTH_AT]} bits per sample, expected at most 8")
        file.seek(0)
        try:
            with pillow.open(file, formats=["PNG"]) as png:
                is_gray = png.mode in ("1", "L", "LA")
                if "A" in png.mode or "transparency" in png.info:
                    warnings.warn(f"{c.shown(path)}: alpha dropped", stacklevel=3)
                samples = np.array(_without_alpha(png, "L" if is_gray else "RGB"))
        except (OSError, SyntaxError, pillow.DecompressionBombError) as error:
            raise ValueError(f"{c.shown(path)}: not a valid PNG file: {c.shown(error)}") from None
    if is_gray:
        return Image(samples)
    height, width = samples.shape[:2]
    if width % 2 or height % 2:
        warnings.warn(f"{c.shown(path)}: {width} x {height}: chroma needs even sizes, so the last column or row is "
                      "repeated", stacklevel=3)
    return Image.from_rgb(samples, encoding=encoding)


def _without_alpha(png: Any, mode: str) -> Any:
    png.load()
    png.info.pop("transparency", None)
    return png.convert(mode)


def write(path: Path, images: Union[Image, Iterable[Image]], *, encoding: str = "bt601",
          tags: Iterable[str] = ("F0:0", "Ip", "A0:0")) -> None:
    """Writes a picture, or the frames of a clip, to a PNG (with Pillow), Y4M or raw file, atomically.

    The name's ending, .png, .y4m, .nv12, .nv21, .i420 or .gray, or a word in it, decides. The order of chroma may be
    another than the pictures', which have one size. In PNG files, colour becomes RGB by `encoding` as for
    Image.to_rgb(). `tags` go to the header of Y4M files, such as those of a vantor.Clip.
    """
    if not isinstance(images, (Image, collections.abc.Iterable)):
        raise TypeError(f"images: {c.kind(images)}, expected a vantor.Image or several")
    frames = iter([images] if isinstance(images, Image) else images)
    first = expect_image("images", next(frames, None))
    if _ending(path) == "png":
        if next(frames, None) is not None:
            raise ValueError(f"images: several, expected one for {c.shown(path)}")
        return _write_png(path, first, encoding)
    is_y4m = _ending(path) == "y4m"
    layout = ("gray" if first.format == "gray" else "i420") if is_y4m else _raw_format(path)
    header = []
    if is_y4m:
        color = _GRAY if layout == "gray" else "C420jpeg"
        line = " ".join([_MAGIC.decode(), f"W{first.width} H{first.height}", *tags, color])
        if not (line.isascii() and line.isprintable()):
            raise ValueError(f"tags: {c.short(list(tags))}, expected printable words such as F30:1")
        header = [line.encode() + b"\n"]
    write_whole(path, _samples(first, frames, layout, header, b"FRAME\n" if is_y4m else b""))


def _samples(first: Image, frames: Iterator[Image], layout: str, header: List[bytes], mark: bytes) -> Iterator[Any]:
    yield from header
    image: Optional[Image] = first
    while image is not None:
        if expect_image("images", image).size != first.size:
            raise ValueError(f"images: {image.width} x {image.height}, expected the first one's size, "
                             f"{first.width} x {first.height}")
        yield mark
        for plane in (image if image.format == layout else image.copy(layout)).planes:
            yield np.ascontiguousarray(plane).data
        image = next(frames, None)


def _write_png(path: Path, image: Image, encoding: str) -> None:
    pillow = c.optional("PIL.Image", "python3-pil", "a PNG file")
    io = c.optional("io", "python3", "a PNG file")
    content = io.BytesIO()
    samples = image.y if image.format == "gray" else image.to_rgb(encoding)
    pillow.fromarray(samples).save(content, "PNG")
    write_whole(path, [content.getbuffer()])


def _name_words(path: Path) -> List[str]:
    return re.split(r"[_\-. ]", os.path.basename(os.fsdecode(path)).lower())


def _ending(path: Path) -> str:
    words = _name_words(path)
    return words[-1] if len(words) > 1 else ""


def _only(path: Path, found: List[Any], what: str) -> Any:
    if len(set(found)) > 1:
        raise ValueError(f"{c.shown(path)}: several {what} in the name, expected one, or an argument that decides")
    return found[0] if found else None


def _raw_format(path: Path) -> str:
    words = _name_words(path)
    found = words[-1] if words[-1] in c.FORMATS else _only(path, [w for w in words if w in c.FORMATS], "formats")
    if found is None:
        raise ValueError(f"{c.shown(path)}: format unknown, expected a name ending in .png, .y4m, .nv12, .nv21, .i420 "
                         "or .gray, or with one of these words as in clip_1280x720_nv12.yuv")
    return str(found)


def _raw_layout(path: Path, size: Optional[Size], format: Optional[str]) -> Tuple[str, Size]:
    if format is None:
        format = _raw_format(path)
    else:
        c.choice("format", format, c.FORMATS)
    if size is None:
        sizes = [tuple(map(int, word.split("x"))) for word in _name_words(path)
                 if re.fullmatch("[0-9]{1,9}x[0-9]{1,9}", word)]
        size = _only(path, sizes, "sizes")
    if size is None:
        raise ValueError(f"{c.shown(path)}: size unknown, expected it in the name, as in clip_1280x720_nv12.yuv, or "
                         "size=(width, height)")
    return format, size_of("size", size)
