"""Pictures: views of NumPy arrays."""

from __future__ import annotations

import ctypes
from typing import Any, Optional, Tuple

import numpy as np
import numpy.typing as npt

from . import _library as c
from ._arguments import UINT8, Size, array_of, row_stride, size_of, writable

Plane = npt.NDArray[np.uint8]
_CHROMA = {"nv12": ("uv",), "nv21": ("vu",), "i420": ("u", "v"), "gray": ()}
_FORMATS = {chroma: format for format, chroma in _CHROMA.items()}


class Image:
    """A view of a picture of 8-bit samples, whose arrays are those that it was made of: nothing is copied.

    ``Image(y)`` is gray, ``Image(y, uv)`` NV12, ``Image(y, vu=vu)`` NV21 and ``Image(y, u=u, v=v)`` I420.

    All planes are arrays of uint8 with rows in order and without gaps between samples; between rows there may be any
    gap, so that slices such as ``frame[8:488, 16:656]`` are fine. `y` has the shape (height, width), `uv` and `vu`
    (height // 2, width) or (height // 2, width // 2, 2), `u` and `v` (height // 2, width // 2). With chroma, width and
    height are even. Sizes are from 1 x 1 (2 x 2 with chroma) to 16384 x 16384.

    Raises ValueError for arrays of another dtype, shape or order, and TypeError for what is no array.
    """

    __slots__ = ("_format", "_planes", "_array", "view", "__weakref__")

    def __init__(self, y: Plane, uv: Optional[Plane] = None, *, vu: Optional[Plane] = None,
                 u: Optional[Plane] = None, v: Optional[Plane] = None) -> None:
        given = {name: plane for name, plane in (("uv", uv), ("vu", vu), ("u", u), ("v", v)) if plane is not None}
        format = _FORMATS.get(tuple(given))
        if format is None:
            raise ValueError(f"chroma: {' and '.join(given)}, expected none, uv, vu, or u and v")
        if array_of("y", y, UINT8, "(height, width)").ndim != 2:
            raise ValueError(f"y: shape {y.shape}, expected (height, width)")
        height, width = y.shape
        _check_size("y", (width, height), format)
        for name, plane in given.items():
            _check_chroma(name, plane, height, width)
        planes = {"y": y, **given}
        addresses = [plane.ctypes.data for plane in planes.values()]
        strides = [row_stride(name, plane) for name, plane in planes.items()]
        none = [0] * (3 - len(planes))
        self._format = format
        self._planes: Optional[Tuple[Plane, ...]] = tuple(planes.values())
        self._array = None if given else y
        self.view = c.ImageView(c.FORMATS.index(format), width, height, *addresses, *none, *strides)

    @classmethod
    def from_array(cls, array: Plane, format: str) -> Image:
        """The view of one array that holds all planes below each other, as OpenCV has them.

        `array` has the shape (3 * height // 2, width) for "nv12", "nv21" and "i420", or (height, width) for "gray".
        I420 wants rows without gaps, as two rows of its U fill one of the array.
        """
        c.choice("format", format, c.FORMATS)
        if format == "gray":
            return cls(array)
        array_of("array", array, UINT8, "(3 * height // 2, width)")
        if array.ndim != 2 or array.shape[0] % 3 or array.shape[1] % 2 or not array.size:
            raise ValueError(f"array: shape {array.shape}, expected (3 * height // 2, width) for {format}, "
                             "with an even height and width")
        if format == "i420" and not array.flags.c_contiguous:
            raise ValueError(f"array: strides {array.strides}, expected rows without gaps for i420; "
                             "numpy.ascontiguousarray() copies")
        y, *chroma = _split(array, format)
        image = cls(y, **dict(zip(_CHROMA[format], chroma)))
        image._array = array
        return image

    @classmethod
    def empty(cls, size: Size, format: str = "nv12") -> Image:
        """A new picture of `size` (width, height), whose samples are not set, in one array without gaps."""
        c.choice("format", format, c.FORMATS)
        return cls._made(*_check_size("size", size, format), format)

    @classmethod
    def _made(cls, width: int, height: int, format: str) -> Image:
        array = np.empty((height if format == "gray" else height // 2 * 3, width), UINT8)
        address = ctypes.addressof(ctypes.c_char.from_buffer(array.data))  # array.ctypes.data takes long
        chroma = address + height * width
        image = cls.__new__(cls)
        image._format, image._planes, image._array = format, None, array
        code = c.FORMATS.index(format)
        if format == "gray":
            image.view = c.ImageView(code, width, height, address, 0, 0, width)
        elif format == "i420":
            half = width // 2
            second = chroma + height // 2 * half
            image.view = c.ImageView(code, width, height, address, chroma, second, width, half, half)
        else:
            image.view = c.ImageView(code, width, height, address, chroma, 0, width, width)
        return image

    def empty_like(self) -> Image:
        """A new picture of the same size and layout, whose samples are not set."""
        return self._made(self.view.width, self.view.height, self._format)

    @classmethod
    def from_rgb(cls, rgb: Plane, format: str = "nv12", encoding: str = "bt601") -> Image:
        """A new picture of an array (height, width, 3) of R, G and B.

        `encoding` is "bt601", "bt709" (both in limited range), "bt601-full" or "bt709-full". With chroma an odd width
        or height is rounded up to an even one: the last column or row is repeated.
        """
        code = c.choice("encoding", encoding, c.ENCODINGS)
        c.choice("format", format, c.FORMATS)
        view = _rgb_view("rgb", rgb)
        step = 1 if format == "gray" else 2
        image = cls.empty((-(-view.width // step) * step, -(-view.height // step) * step), format)
        c.check(c.library.vantor_from_rgb(image.view, view, code), src="rgb")
        return image

    def to_rgb(self, encoding: str = "bt601", *, out: Optional[Plane] = None) -> Plane:
        """An array (height, width, 3) of R, G and B; `encoding` is that of from_rgb()."""
        code = c.choice("encoding", encoding, c.ENCODINGS)
        rgb: Plane = np.empty((self.height, self.width, 3), np.uint8) if out is None else out
        view = _rgb_view("out", rgb)
        writable("out", rgb)
        c.check(c.library.vantor_to_rgb(view, self.view, code), src="image", dst="out")
        return rgb

    def copy(self, format: Optional[str] = None) -> Image:
        """The same samples in a new array without gaps; with `format`, in another order of chroma."""
        image = Image.empty(self.size, self.format if format is None else format)
        if (image.format == "gray") != (self.format == "gray"):
            raise ValueError(f"format: {format!r}, expected "
                             f"{'gray, as the picture has no' if self.format == 'gray' else 'one with'} chroma")
        for to, samples in zip(image._components(), self._components()):
            to[...] = samples
        return image

    def _components(self) -> Tuple[Plane, ...]:
        """Luma, U and V, whatever their order."""
        if self._format in ("gray", "i420"):
            return self.planes
        y, pairs = self.planes
        first, second = (pairs[..., 0], pairs[..., 1]) if pairs.ndim == 3 else (pairs[:, ::2], pairs[:, 1::2])
        return (y, first, second) if self._format == "nv12" else (y, second, first)

    @property
    def format(self) -> str:
        """The layout: "gray", "nv12", "nv21" or "i420"."""
        return self._format

    @property
    def width(self) -> int:
        """In luma samples."""
        width: int = self.view.width
        return width

    @property
    def height(self) -> int:
        """In luma samples."""
        height: int = self.view.height
        return height

    @property
    def size(self) -> Size:
        """Width and height, in luma samples."""
        return self.width, self.height

    @property
    def planes(self) -> Tuple[Plane, ...]:
        """All planes, in the order of the layout."""
        if self._planes is None:
            assert self._array is not None
            self._planes = _split(self._array, self._format)
        return self._planes

    @property
    def y(self) -> Plane:
        """The plane of luma."""
        return self.planes[0]

    @property
    def uv(self) -> Plane:
        """The plane of U and V of an NV12 picture."""
        return self._plane("uv")

    @property
    def vu(self) -> Plane:
        """The plane of V and U of an NV21 picture."""
        return self._plane("vu")

    @property
    def u(self) -> Plane:
        """The plane of U of an I420 picture."""
        return self._plane("u")

    @property
    def v(self) -> Plane:
        """The plane of V of an I420 picture."""
        return self._plane("v")

    def _plane(self, name: str) -> Plane:
        if name not in _CHROMA[self._format]:
            raise AttributeError(f"{name}: not in {self._format} pictures, which have {', '.join(self._names())}")
        return self.planes[1 + _CHROMA[self._format].index(name)]

    def _names(self) -> Tuple[str, ...]:
        return ("y", *_CHROMA[self._format])

    @property
    def array(self) -> Plane:
        """The one array that all planes are views of, as from_array() takes it, such as OpenCV wants it.

        Raises ValueError if the picture was made of separate planes: ``image.copy().array`` copies them.
        """
        if self._array is None:
            raise ValueError("image: made of separate planes, expected one of a single array; image.copy() makes one")
        return self._array

    def expect_writable(self, name: str) -> None:
        """Refuses to be what a result is written to, if an array is read-only."""
        for plane_name, plane in zip(self._names(), self.planes):
            if not plane.flags.writeable:
                writable(f"{name}: {plane_name}", plane)

    def __reduce__(self) -> Tuple[Any, ...]:
        whole = self if self._array is not None and self._array.flags.c_contiguous else self.copy()
        return Image.from_array, (whole.array, self._format)

    def __repr__(self) -> str:
        return f"<vantor.Image {self._format} {self.width}x{self.height}>"


def _split(array: Plane, format: str) -> Tuple[Plane, ...]:
    """The planes of an array that holds them below each other."""
    if format == "gray":
        return (array,)
    height, width = array.shape[0] // 3 * 2, array.shape[1]
    if format == "i420":
        u, v = array[height:].reshape(2, height // 2, width // 2)
        return array[:height], u, v
    return array[:height], array[height:]


def _check_size(name: str, size: Any, format: str) -> Size:
    width, height = size_of(name, size)
    if format != "gray" and (width % 2 or height % 2):
        raise ValueError(f"{name}: {width} x {height}, expected an even width and height, as chroma has half of them")
    return width, height


def _check_chroma(name: str, plane: Any, height: int, width: int) -> None:
    half = height // 2, width // 2
    shapes: Tuple[Tuple[int, ...], ...] = (half,) if name in ("u", "v") else ((half[0], width), (*half, 2))
    if array_of(name, plane, UINT8, "half as high as y").shape not in shapes:
        raise ValueError(f"{name}: shape {plane.shape}, expected {' or '.join(map(str, shapes))} for y of shape "
                         f"{(height, width)}")


def expect_image(name: str, image: Any) -> Image:
    """An argument that has to be a picture."""
    if not isinstance(image, Image):
        raise TypeError(f"{name}: {c.kind(image)}, expected a vantor.Image")
    return image


def _rgb_view(name: str, rgb: Any) -> c.RgbView:
    array = array_of(name, rgb, UINT8, "(height, width, 3)")
    if array.ndim != 3 or array.shape[2] != 3 or not array.size:
        raise ValueError(f"{name}: shape {array.shape}, expected (height, width, 3)")
    stride = row_stride(name, array)
    return c.RgbView(array.shape[1], array.shape[0], ctypes.c_void_p(array.ctypes.data), stride)
