"""Checks of arguments that ctypes would not notice."""

from __future__ import annotations

import operator
from typing import Any, Optional, Sequence, Tuple

import numpy as np

from ._library import kind, short

Size = Tuple[int, int]
UINT8 = np.dtype(np.uint8)
FLOAT32 = np.dtype(np.float32)
_LARGEST = (16384, 16384)


def integers(name: str, values: Any, count: int, what: str) -> Tuple[int, ...]:
    """So many integers, of any type that is one, in the range of int32_t."""
    try:
        numbers = tuple(map(operator.index, values))
    except TypeError:
        numbers = ()
    if len(numbers) != count or min(numbers) < -2**31 or max(numbers) >= 2**31:
        raise ValueError(f"{name}: {short(values[0] if count == 1 else values)}, expected {what}")
    return numbers


def size_of(name: str, value: Any, largest: Size = _LARGEST) -> Size:
    """Width and height, up to those of `largest`."""
    try:
        width, height = map(operator.index, value)
    except (TypeError, ValueError):
        raise ValueError(f"{name}: {short(value)}, expected two integers: width and height") from None
    if not (1 <= width <= largest[0] and 1 <= height <= largest[1]):
        raise ValueError(f"{name}: {width} x {height}, expected 1 x 1 to {largest[0]} x {largest[1]}")
    return width, height


def reals(name: str, values: Any, counts: Sequence[int], what: str) -> Tuple[float, ...]:
    """Numbers of an array or a sequence of any shape, as many as one of `counts`."""
    try:
        array = np.asarray(values, dtype=np.float64).ravel()
    except (TypeError, ValueError):
        raise ValueError(f"{name}: {kind(values)}, expected {what}") from None
    if array.size not in counts:
        raise ValueError(f"{name}: {array.size} numbers, expected {what}")
    return tuple(array.tolist())


def real(name: str, value: Any) -> float:
    """One number."""
    return reals(name, value, (1,), "a number")[0]


def array_of(name: str, array: Any, expected: np.dtype[Any], shape: str) -> np.ndarray[Any, Any]:
    """An array of samples of the machine's own byte order, as it is."""
    if not isinstance(array, np.ndarray):
        raise TypeError(f"{name}: {kind(array)}, expected a NumPy array of {expected}, {shape}")
    if array.dtype != expected:
        raise ValueError(f"{name}: dtype {array.dtype}, expected {expected}; array.astype(numpy.{expected}) copies")
    return array


def row_stride(name: str, array: np.ndarray[Any, Any]) -> int:
    """The bytes from one row to the next, of rows that lie in order and do not overlap; the array is not empty."""
    if array.flags.c_contiguous:
        return array.nbytes // len(array)
    row_bytes = array.itemsize
    for count, step in zip(array.shape[:0:-1], array.strides[:0:-1]):
        if count > 1 and step != row_bytes:
            raise ValueError(f"{name}: strides {array.strides}, expected rows without gaps between their samples; "
                             "numpy.ascontiguousarray() copies")
        row_bytes *= count
    if array.shape[0] == 1:
        return row_bytes
    if array.strides[0] < row_bytes:
        raise ValueError(f"{name}: {array.strides[0]} bytes from row to row, expected at least {row_bytes}; "
                         "numpy.ascontiguousarray() copies")
    return array.strides[0]


def writable(name: str, array: np.ndarray[Any, Any]) -> None:
    """Refuses arrays that may not be written."""
    if not array.flags.writeable:
        raise ValueError(f"{name} is read-only, expected a writable array")


def optional_pair(name: str, value: Any) -> Optional[Tuple[float, ...]]:
    """Two numbers, or None."""
    return None if value is None else reals(name, value, (2,), "two numbers: x and y")
