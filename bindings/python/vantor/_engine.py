"""Engines, and what they do."""

from __future__ import annotations

import ctypes
import os
import threading
from typing import Any, Dict, Optional, Tuple

from . import _library as c
from ._arguments import Size, integers, size_of
from ._grid import Grid, expect_grid
from ._image import Image, expect_image

_NAMES = {"src": "image", "dst": "out"}


class _Handle:
    """An engine of the C library, which serves one call at a time, in one process."""

    def __init__(self, threads: int) -> None:
        self.pid = os.getpid()
        self.lock = threading.Lock()
        self.pointer: Optional[int] = c.library.vantor_engine_new(threads)
        if not self.pointer:
            raise c.failure(c.NO_MEMORY if 0 <= threads <= 256 else 0, {})

    def __del__(self, getpid: Any = os.getpid, free: Any = c.library.vantor_engine_free) -> None:
        """A parent's engine is left alone: it may have been in a call when the process forked."""
        if getattr(self, "pointer", None) and self.pid == getpid():
            free(self.pointer)


class Engine:
    """Threads and working memory, which are kept from call to call.

    `threads` threads work on a picture, one of them the caller's: 1 to 256, or 0 for as many as this process may use
    processors. Results do not depend on it. An engine may be shared by Python's threads, which then wait for each
    other; other threads run while it works. It pickles, as its number of threads, and works in forked processes.

    ``with Engine(2) as engine`` ends its threads at the end of the block; otherwise they end with the object.
    """

    __slots__ = ("_threads", "_handle", "__weakref__")

    def __init__(self, threads: int = 0) -> None:
        self._threads = integers("threads", (threads,), 1, "an integer from 0 to 256")[0]
        self._handle: Optional[_Handle] = _Handle(self._threads)

    def _current(self) -> _Handle:
        handle = self._handle
        if handle is None:
            raise ValueError("engine: closed, expected one in use")
        if handle.pid != os.getpid():
            handle = self._handle = _Handle(self._threads)
        return handle

    def run(self, function: Any, arguments: Tuple[Any, ...], names: Dict[str, str]) -> int:
        """Calls a function of the C library with the engine; an error has the arguments' names here."""
        handle = self._current()
        with handle.lock:
            status: int = function(handle.pointer, *arguments)
            if status < 0:
                raise c.failure(status, names, handle.pointer)
        return status

    @property
    def threads(self) -> int:
        """How many threads work on a picture, at most."""
        threads: int = c.library.vantor_engine_threads(self._current().pointer)
        return threads

    def close(self) -> None:
        """Ends the threads, after a call that is running. The engine is of no use afterwards."""
        self._handle = None

    def __enter__(self) -> Engine:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __reduce__(self) -> Tuple[Any, ...]:
        return Engine, (self._threads,)

    def __repr__(self) -> str:
        return f"vantor.Engine({self._threads})"


_default = threading.local()


def engine_for(engine: Optional[Engine]) -> Engine:
    """The engine that was given, or else this thread's own, which is made when it is first needed."""
    if engine is None:
        try:
            own: Engine = _default.engine
        except AttributeError:
            own = _default.engine = Engine()
        return own
    if not isinstance(engine, Engine):
        raise TypeError(f"engine: {c.kind(engine)}, expected a vantor.Engine or None")
    return engine


def _expect_out(out: Any) -> Image:
    image = expect_image("out", out)
    image.expect_writable("out")
    return image


def scale(image: Image, size: Optional[Size] = None, *, out: Optional[Image] = None,
          engine: Optional[Engine] = None) -> Image:
    """Scales a picture to `size` (width, height) and returns the result, which has the picture's format.

    With `out` the result is written there, and its size is the default. Sizes are from 1 x 1 (2 x 2 with chroma) to
    16384 x 16384, even with chroma. The bytes are those of ``vantor scale``: a copy at the same size, a four-tap
    filter where a side grows, else bicubic luma and bilinear chroma.

    `engine` is by default an engine of the calling thread with all processors.
    """
    source = expect_image("image", image)
    if out is None:
        if size is None:
            raise ValueError("size: None, expected two integers: width and height")
        target = Image.empty(size, source.format)
    else:
        target = _expect_out(out)
        if size is not None and size_of("size", size) != target.size:
            raise ValueError(f"out: {target.width} x {target.height}, expected the size, {size[0]} x {size[1]}")
    engine_for(engine).run(c.library.vantor_scale, (target.view, source.view), _NAMES)
    return target


def warp(image: Image, grid: Grid, *, out: Optional[Image] = None, part: Optional[Tuple[int, int, int, int]] = None,
         engine: Optional[Engine] = None) -> Image:
    """Warps a picture by a grid and returns the result, which has the picture's format and size.

    With `out` the result is written there; with `part` (x, y, width, height, in luma samples, even with chroma) only
    that part of it. Sizes are up to 8192 x 6144. The bytes are those of ``vantor warp``.

    `engine` is by default an engine of the calling thread with all processors.
    """
    source = expect_image("image", image)
    nodes = expect_grid("grid", grid)
    target = source.empty_like() if out is None else _expect_out(out)
    if part is None:
        engine_for(engine).run(c.library.vantor_warp, (target.view, source.view, nodes.address), _NAMES)
        return target
    rect = c.Rect(*integers("part", part, 4, "four integers: x, y, width and height"))
    if out is None:
        raise ValueError("out: None, expected the picture that the part is written to")
    arguments = (target.view, source.view, nodes.address, ctypes.byref(rect))
    engine_for(engine).run(c.library.vantor_warp_part, arguments, _NAMES)
    return target
