"""The C library: where it is, its functions, and its errors as exceptions."""

from __future__ import annotations

import ctypes
import importlib
import os
import pathlib
import re
import reprlib
from typing import Any, Dict, Optional, Tuple

NO_MEMORY = -2
FORMATS = ("gray", "nv12", "nv21", "i420")
ENCODINGS = ("bt601", "bt709", "bt601-full", "bt709-full")
NODES = 33
NAME = "libvantor.so.1"


class ImageView(ctypes.Structure):
    _fields_ = [("format", ctypes.c_int32), ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                *((f"plane{i}", ctypes.c_void_p) for i in range(3)),  # arrays take longer to fill
                *((f"stride{i}", ctypes.c_ssize_t) for i in range(3))]


class RgbView(ctypes.Structure):
    _fields_ = [("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("pixels", ctypes.c_void_p), ("stride", ctypes.c_ssize_t)]


class Rect(ctypes.Structure):
    _fields_ = [("x", ctypes.c_int32), ("y", ctypes.c_int32),
                ("width", ctypes.c_int32), ("height", ctypes.c_int32)]


class Transform(ctypes.Structure):
    _fields_ = [("rotate", ctypes.c_double), ("zoom", ctypes.c_double), ("shear_x", ctypes.c_double),
                ("shear_y", ctypes.c_double), ("shift_x", ctypes.c_double), ("shift_y", ctypes.c_double),
                ("lens", ctypes.c_double * 5), ("center_x", ctypes.c_double), ("center_y", ctypes.c_double),
                ("has_center", ctypes.c_int32)]


class CalibrationNumbers(ctypes.Structure):
    _fields_ = [("camera_matrix", ctypes.c_double * 9), ("coefficients", ctypes.c_double * 14),
                ("coefficient_count", ctypes.c_int32), ("is_fisheye", ctypes.c_int32),
                ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("has_alpha", ctypes.c_int32), ("alpha", ctypes.c_double)]


class Hash(ctypes.Structure):
    _fields_ = [("lanes", ctypes.c_uint64 * 4), ("length", ctypes.c_uint64), ("rest", ctypes.c_uint8 * 32)]


class DifferenceNumbers(ctypes.Structure):
    _fields_ = [("samples", ctypes.c_uint64), ("differing", ctypes.c_uint64), ("largest", ctypes.c_int32),
                ("first_x", ctypes.c_int32), ("first_y", ctypes.c_int32), ("first_a", ctypes.c_int32),
                ("first_b", ctypes.c_int32), ("squares", ctypes.c_double), ("psnr", ctypes.c_double),
                ("histogram", ctypes.c_uint64 * 256)]


def _open() -> ctypes.CDLL:
    """The library that VANTOR_LIBRARY names, else the one beside this file, else the system's."""
    beside = pathlib.Path(__file__).with_name(NAME)
    path = os.environ.get("VANTOR_LIBRARY") or (str(beside) if beside.exists() else NAME)
    try:
        return ctypes.CDLL(path)
    except OSError as error:
        raise ImportError(f"vantor needs the C library {NAME}: {error}; install the Debian package libvantor1, or set "
                          "VANTOR_LIBRARY to the library's path") from error


library = _open()


def _declare() -> None:
    pointer, number, real, text = ctypes.c_void_p, ctypes.c_int, ctypes.c_double, ctypes.c_char_p
    size, integer = ctypes.c_size_t, ctypes.c_int32
    image, sizes = ctypes.POINTER(ImageView), ctypes.POINTER(size)
    reals, integers = ctypes.POINTER(real), ctypes.POINTER(integer)
    functions: Dict[str, Any] = {
        "engine_new": (pointer, number),
        "engine_free": (None, pointer),
        "engine_threads": (number, pointer),
        "scale": (number, pointer, image, image),
        "warp": (number, pointer, image, image, pointer),
        "warp_part": (number, pointer, image, image, pointer, ctypes.POINTER(Rect)),
        "grid_from_matrix": (number, pointer, ctypes.POINTER(ctypes.c_int16), number, number),
        "grid_from_map": (number, pointer, pointer, pointer, number, number),
        "grid_from_transform": (number, pointer, ctypes.POINTER(Transform), number, number),
        "grid_from_calibration": (number, pointer, ctypes.POINTER(CalibrationNumbers), number, number, reals),
        "grid_from_rectification": (number, pointer, ctypes.POINTER(CalibrationNumbers), reals, reals, number, number,
                                    reals),
        "grid_positions": (number, pointer, number, number, pointer, pointer),
        "grid_error": (number, pointer, pointer, pointer, number, number, reals, reals, integers, integers),
        "grid_parse": (number, pointer, text, size),
        "grid_format": (number, pointer, number, text, pointer, size, sizes),
        "from_rgb": (number, image, ctypes.POINTER(RgbView), number),
        "to_rgb": (number, ctypes.POINTER(RgbView), image, number),
        "hash_begin": (number, ctypes.POINTER(Hash)),
        "hash_bytes": (number, ctypes.POINTER(Hash), pointer, size),
        "hash_image": (number, ctypes.POINTER(Hash), image),
        "hash_value": (ctypes.c_uint64, ctypes.POINTER(Hash)),
        "compare": (number, image, image, ctypes.POINTER(DifferenceNumbers)),
        "explain": (number, image, pointer, number, number, pointer, size, sizes),
        "selftest": (number, pointer, integers),
        "message": (text, pointer),
        "version": (text,),
    }
    for name, (result, *arguments) in functions.items():
        function = getattr(library, "vantor_" + name)
        function.restype, function.argtypes = result, arguments


_declare()


def failure(status: int, names: Dict[str, str], engine: Optional[int] = None) -> Exception:
    """What the last call failed with; `names` has the names here of arguments in C."""
    text = library.vantor_message(engine).decode("ascii")
    for name, here in names.items():
        text = re.sub(rf"\b{name}\b", here, text)
    return MemoryError(text) if status == NO_MEMORY else ValueError(text)


def check(status: int, **names: str) -> None:
    """Raises what a call without an engine failed with, if it did."""
    if status < 0:
        raise failure(status, names)


def shown(text: object) -> str:
    """A text in which nothing controls a terminal."""
    return "".join(c if c.isprintable() else f"\\x{ord(c):02x}" for c in str(text))


def short(value: object) -> str:
    """A value in at most a line, as errors show it."""
    return shown(reprlib.repr(value))


def kind(value: object) -> str:
    """The type of a value, as errors name it."""
    return "None" if value is None else f"of type {type(value).__name__}"


def choice(name: str, value: str, choices: Tuple[str, ...]) -> int:
    """The place of a word among those that an argument may have."""
    try:
        return choices.index(value)
    except ValueError:
        raise ValueError(f"{name}: {short(value)}, expected {', '.join(choices[:-1])} or {choices[-1]}") from None


def optional(module: str, package: str, purpose: str) -> Any:
    """A module that only some functions need."""
    try:
        return importlib.import_module(module)
    except ImportError as error:
        raise ImportError(f"{purpose} needs {module}: install the Debian package {package}") from error
