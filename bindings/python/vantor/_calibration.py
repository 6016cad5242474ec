"""Calibrations in files, as OpenCV and others write them: YAML, XML or JSON."""

from __future__ import annotations

import json
import math
import os
import re
import warnings
import xml.etree.ElementTree
from typing import Any, Dict, List, NamedTuple, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _files
from ._arguments import Size, size_of
from ._library import optional, shown

_CAMERA = ("camera_matrix", "K", "M", "mtx", "intrinsic_matrix", "intrinsics")
_DISTORTION = ("distortion_coefficients", "dist_coeffs", "dist_coeff", "D", "dist", "distortion")
_WIDTH = ("image_width", "width")
_HEIGHT = ("image_height", "height")
_SIZE = ("image_size", "img_size", "resolution")
_FISHEYE = ("fisheye_model", "fisheye")
_MODEL = ("distortion_model",)
_RECTIFICATION = ("rectification_matrix",)
_PROJECTION = ("projection_matrix",)
_FISHEYE_MODELS = ("equidistant", "fisheye")
_OTHER_MODELS = ("plumbbob", "rationalpolynomial", "radtan")
_NUMBER = re.compile(r"-?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?")
_MOST_ELEMENTS = 100
_LARGEST_SIDE = 1000000

Entries = Dict[str, List[str]]


class Calibration(NamedTuple):
    """A camera's calibration, as Grid.from_calibration() takes it."""

    K: npt.NDArray[np.float64]  #: the camera matrix, (3, 3)
    D: npt.NDArray[np.float64]  #: the distortion coefficients
    size: Size  #: width and height of the pictures that it was made with
    fisheye: bool


class _Alias:
    """What stands for another value in YAML."""


def load_calibration(path: Union[str, "os.PathLike[str]"], *, fisheye: bool = False,
                     calibrated_size: Optional[Size] = None) -> Calibration:
    """Reads a calibration as ``vantor grid --calibration`` does: YAML (with PyYAML), XML or JSON.

    `fisheye` and `calibrated_size` take precedence over what the file says. Raises ValueError for what is no
    calibration, or one with a rectification or projection that a grid would not apply.
    """
    text = _Text(path, _entries(shown(path), _files.read_text(path)))
    camera = text.numbers(_CAMERA)
    if len(camera) != 9:
        raise text.failure(f"has {len(camera)} elements, expected 3 x 3", _CAMERA)
    K = np.array(camera).reshape(3, 3)
    text.expect(_RECTIFICATION, np.eye(3), "the identity")
    text.expect(_PROJECTION, np.hstack([K, np.zeros((3, 1))]), "camera_matrix with a column of zeros")
    D = np.array(text.numbers(_DISTORTION))
    if len(D) == 4 and not fisheye and text.find(_MODEL) is None and text.find(_FISHEYE) is None:
        warnings.warn(f"{text.path}: four distortion coefficients, taken as k1, k2, p1, p2; if they are a fisheye's, "
                      "use fisheye=True", stacklevel=2)
    size = text.size() if calibrated_size is None else size_of("calibrated_size", calibrated_size, (_LARGEST_SIDE,) * 2)
    return Calibration(K, D, size, bool(fisheye) or text.is_fisheye())


class _Text:
    """The entries of one file by their usual names."""

    def __init__(self, path: object, entries: Entries) -> None:
        self.path = shown(path)
        self._entries = entries

    def find(self, names: Tuple[str, ...]) -> Optional[List[str]]:
        return next((self._entries[name] for name in map(_plain, names) if name in self._entries), None)

    def numbers(self, names: Tuple[str, ...]) -> List[float]:
        words = self.find(names)
        if words is None:
            raise self.failure("is missing", names)
        for word in words:
            if not _NUMBER.fullmatch(word) or not math.isfinite(float(word)):
                raise self.failure(f"has '{shown(word[:40])}', expected a number", names)
        return [float(word) for word in words]

    def failure(self, problem: str, names: Tuple[str, ...]) -> ValueError:
        others = f" (or {', '.join(names[1:])})" if len(names) > 1 else ""
        return ValueError(f"{self.path}: {names[0]}{others} {problem}")

    def expect(self, names: Tuple[str, ...], expected: npt.NDArray[np.float64], what: str) -> None:
        """A straight picture has the calibration's own camera: another view would be ignored."""
        if self.find(names) is None:
            return
        values, wanted = self.numbers(names), expected.ravel().tolist()
        is_same = len(values) == len(wanted) and all(
            abs(value - number) <= 1e-6 * max(1.0, abs(number)) for value, number in zip(values, wanted))
        if not is_same:
            raise self.failure(f"is not {what}, and vantor does not apply it; without this entry, pictures are "
                               "straightened by camera_matrix or alpha", names)

    def is_fisheye(self) -> bool:
        model = self.find(_MODEL)
        if model is not None:
            name = _plain(model[0]) if len(model) == 1 else ""
            if name in _FISHEYE_MODELS:
                return True
            if name not in _OTHER_MODELS:
                raise self.failure(f"is '{shown(model[0]) if model else ''}', expected plumb_bob, rational_polynomial, "
                                   "radtan, equidistant or fisheye", _MODEL)
        return self.find(_FISHEYE) not in (None, ["0"], ["false"])

    def size(self) -> Size:
        if self.find(_SIZE) is not None:
            sides = self.numbers(_SIZE)
            if len(sides) != 2:
                raise self.failure(f"has {len(sides)} elements, expected 2", _SIZE)
        else:
            sides = [self._side(names) for names in (_WIDTH, _HEIGHT)]
        if any(side != int(side) or not 1 <= side <= _LARGEST_SIDE for side in sides):
            raise ValueError(f"{self.path}: picture size of {sides[0]:g} by {sides[1]:g}: expected integers from 1 to "
                             f"{_LARGEST_SIDE}")
        return int(sides[0]), int(sides[1])

    def _side(self, names: Tuple[str, ...]) -> float:
        if self.find(names) is None:
            raise self.failure("is missing; calibrated_size=(width, height) can replace it", names)
        side = self.numbers(names)
        if len(side) != 1:
            raise self.failure(f"has {len(side)} elements, expected 1", names)
        return side[0]


def _plain(name: str) -> str:
    """Names are compared without case and punctuation."""
    return re.sub("[^a-z0-9]", "", name.lower())


_USUAL = {_plain(name) for names in (_CAMERA, _DISTORTION, _WIDTH, _HEIGHT, _SIZE, _FISHEYE, _MODEL, _RECTIFICATION,
                                     _PROJECTION) for name in names}


def _entries(path: str, content: bytes) -> Entries:
    try:
        text = content.decode("utf-8-sig")
        pairs = _xml_pairs(text) if text.lstrip(" \t\r\n").startswith("<") else _tree_pairs(text)
        return {_plain(name): _words(name, value) for name, value in pairs if _plain(name) in _USUAL}
    except (ValueError, xml.etree.ElementTree.ParseError, RecursionError) as error:
        raise ValueError(f"{path}: not a calibration in YAML, XML or JSON: {shown(error)}") from None


def _xml_pairs(text: str) -> List[Tuple[str, Any]]:
    pairs = []
    for entry in xml.etree.ElementTree.fromstring(text):
        data = entry.find("data")
        pairs.append((entry.tag, ((entry if data is None else data).text or "").split()))
    return pairs


def _tree_pairs(text: str) -> List[Tuple[str, Any]]:
    """JSON, or else YAML, which begins with the same brace."""
    if text.lstrip().startswith("{"):
        try:
            tree = json.loads(text, parse_float=str, parse_int=str, parse_constant=str)
            return list(tree.items())
        except ValueError:
            pass
    tree = _yaml_tree(text)
    return list(tree.items()) if isinstance(tree, dict) else []


def _yaml_tree(text: str) -> Any:
    """The first document as maps, lists and words, whatever the tags. OpenCV writes %YAML:1.0, which is not YAML."""
    yaml = optional("yaml", "python3-yaml", "a calibration in YAML")
    text = re.sub(r"\A%YAML:[0-9.]*", "", text)
    levels: List[List[Any]] = [[]]
    try:
        for event in yaml.parse(text, Loader=yaml.SafeLoader):
            if isinstance(event, (yaml.SequenceStartEvent, yaml.MappingStartEvent)):
                levels.append([])
            elif isinstance(event, yaml.SequenceEndEvent):
                levels[-2].append(levels.pop())
            elif isinstance(event, yaml.MappingEndEvent):
                keys = [key if isinstance(key, str) else "" for key in levels[-1][::2]]
                levels[-2].append(dict(zip(keys, levels.pop()[1::2])))
            elif isinstance(event, yaml.ScalarEvent):
                levels[-1].append(event.value)
            elif isinstance(event, yaml.AliasEvent):
                levels[-1].append(_Alias())
            elif isinstance(event, yaml.DocumentEndEvent):
                break
    except yaml.YAMLError as error:
        raise ValueError(" ".join(str(error).split())) from None
    return levels[0][0] if levels[0] else None


def _words(name: str, value: Any) -> List[str]:
    """The words of an entry: a scalar is one, a matrix one per element, in its "data" or in lists."""
    if isinstance(value, dict):
        value = value.get("data", [])
    words = []
    for row in value if isinstance(value, list) else [value]:
        for element in row if isinstance(row, list) else [row]:
            if isinstance(element, _Alias):
                raise ValueError(f"{name} contains an alias, expected its value")
            if isinstance(element, (str, bool)):
                words.append(str(element).lower() if isinstance(element, bool) else element)
    if len(words) > _MOST_ELEMENTS:
        raise ValueError(f"{name} has more than {_MOST_ELEMENTS} elements")
    return words
