"""Looking at results: hashes, differences, single pixels."""

from __future__ import annotations

import ctypes
import json
from typing import Any, Dict, NamedTuple, Optional, Tuple

import numpy as np
import numpy.typing as npt

from . import _library as c
from ._arguments import integers
from ._engine import Engine, engine_for
from ._grid import Grid, expect_grid
from ._image import Image, expect_image


class Difference(NamedTuple):
    """How two pictures differ in one component."""

    samples: int
    differing: int  #: samples that differ at all
    largest: int  #: difference, not negative
    first: Optional[Tuple[int, int]]  #: x and y, in samples of the component, in the order of rows; None if equal
    values: Optional[Tuple[int, int]]  #: the samples of both pictures there
    squares: float  #: the sum of all squared differences
    psnr: float  #: in decibels; infinite if equal
    histogram: npt.NDArray[np.uint64]  #: (256,): how many samples differ by 0, 1, ...


class Comparison(NamedTuple):
    """How two pictures differ; gray ones have luma alone."""

    y: Difference
    u: Optional[Difference]
    v: Optional[Difference]

    @property
    def identical(self) -> bool:
        """Whether no sample differs."""
        return not any(part.differing for part in self if part is not None)


class SelfTest(NamedTuple):
    """Pictures whose bytes are published, and how many of them are right here."""

    right: int
    pictures: int


def compare(a: Image, b: Image) -> Comparison:
    """Compares two pictures of one size, whatever the order of their chroma; a gray one only with a gray one."""
    first, second = expect_image("a", a), expect_image("b", b)
    parts = (c.DifferenceNumbers * 3)()
    c.check(c.library.vantor_compare(first.view, second.view, parts))
    y, u, v = map(_difference, parts)
    return Comparison(y, None, None) if first.format == "gray" else Comparison(y, u, v)


def _difference(numbers: Any) -> Difference:
    differs = bool(numbers.differing)
    return Difference(
        numbers.samples, numbers.differing, numbers.largest, (numbers.first_x, numbers.first_y) if differs else None,
        (numbers.first_a, numbers.first_b) if differs else None, numbers.squares, numbers.psnr,
        np.array(numbers.histogram, np.uint64))


def explain(image: Image, x: int, y: int, grid: Grid) -> Dict[str, Any]:
    """Every step with which the engine computes pixel x, y of a warp, as ``vantor explain --json`` names them."""
    source, nodes = expect_image("image", image), expect_grid("grid", grid)
    position = integers("x, y", (x, y), 2, "two integers")
    needed = ctypes.c_size_t()
    arguments = (source.view, nodes.address, *position)
    c.check(c.library.vantor_explain(*arguments, None, 0, needed), src="image")
    text = ctypes.create_string_buffer(needed.value)
    c.check(c.library.vantor_explain(*arguments, text, needed.value, needed), src="image")
    steps: Dict[str, Any] = json.loads(text.value)
    return steps


def selftest(engine: Optional[Engine] = None) -> SelfTest:
    """Computes pictures whose bytes are published, and counts how many are right."""
    pictures = ctypes.c_int32()
    right = engine_for(engine).run(c.library.vantor_selftest, (pictures,), {})
    return SelfTest(right, pictures.value)


def hash(*pictures: Any) -> str:
    """XXH64 of the samples of pictures, as 16 hexadecimal digits: what ``--hash`` prints for a file of them.

    Several pictures are the frames of a clip. An array of uint8 without gaps, such as that of Image.to_rgb(), counts as
    its bytes.
    """
    state = c.Hash()
    c.check(c.library.vantor_hash_begin(state))
    for picture in pictures:
        if isinstance(picture, Image):
            c.check(c.library.vantor_hash_image(state, picture.view))
            continue
        if not isinstance(picture, np.ndarray):
            raise TypeError(f"pictures: {c.kind(picture)}, expected a vantor.Image or a NumPy array of uint8")
        if picture.dtype != np.uint8 or not picture.flags.c_contiguous:
            raise ValueError(f"pictures: {picture.dtype} with strides {picture.strides}, expected uint8 without gaps")
        c.check(c.library.vantor_hash_bytes(state, picture.ctypes.data, picture.nbytes))
    return f"{c.library.vantor_hash_value(state):016x}"
