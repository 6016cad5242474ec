"""Scaling and warping of 8-bit pictures in NumPy arrays, with the bytes of the device's engine.

    image = vantor.Image(y, uv)                  # a view of NumPy arrays; or vantor.read("photo.png")
    small = vantor.scale(image, (1280, 720))
    grid = vantor.Grid.from_calibration(K, D, image.size, alpha=0)
    straight = vantor.warp(image, grid)

Sizes are (width, height), in luma samples; arrays are (height, width). Wrong arguments raise ValueError, or TypeError
where the type is another altogether, and name the argument, what it is and what was expected; nothing is copied
silently. All functions may be called from several threads, and other threads run while the library works.
"""

from __future__ import annotations

from typing import Iterable, Iterator, List, TypeVar

from ._arguments import integers as _integers
from ._calibration import Calibration, load_calibration
from ._engine import Engine, scale, warp
from ._files import Clip, read, write
from ._grid import Grid, GridError
from ._image import Image
from ._library import library as _c_library
from ._look import Comparison, Difference, SelfTest, compare, explain, hash, selftest

__all__ = ["Calibration", "Clip", "Comparison", "Difference", "Engine", "Grid", "GridError", "Image", "SelfTest",
           "chunks", "compare", "explain", "hash", "load_calibration", "read", "scale", "selftest", "warp", "write"]
__version__: str = _c_library.vantor_version().decode()

_Item = TypeVar("_Item")


def chunks(items: Iterable[_Item], count: int) -> Iterator[List[_Item]]:
    """Lists of `count` items each, the last of fewer: work in pieces for the `map` of an executor.

    ``executor.map(work, vantor.chunks(paths, 16))`` does it on threads, processes or a cluster.
    """
    (length,) = _integers("count", (count,), 1, "an integer above 0")
    if length < 1:
        raise ValueError(f"count: {length}, expected an integer above 0")
    chunk: List[_Item] = []
    for item in items:
        chunk.append(item)
        if len(chunk) == length:
            yield chunk
            chunk = []
    if chunk:
        yield chunk
