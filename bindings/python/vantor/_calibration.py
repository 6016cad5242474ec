"""Calibrations in files, as OpenCV, ROS and Kalibr write them (YAML, XML or JSON), and COLMAP's cameras.txt."""

from __future__ import annotations

import json
import math
import os
import re
import warnings
import xml.etree.ElementTree
from typing import Any, Dict, List, NamedTuple, Optional, Set, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _files
from ._arguments import Size, size_of
from ._library import optional, shown

_CAMERA = ("camera_matrix", "K", "M", "mtx", "intrinsic_matrix", "intrinsics")
_DISTORTION = ("distortion_coefficients", "dist_coeffs", "dist_coeff", "distortion_coeffs", "D", "dist", "distortion")
_WIDTH = ("image_width", "width")
_HEIGHT = ("image_height", "height")
_SIZE = ("image_size", "img_size", "resolution")
_FISHEYE = ("fisheye_model", "fisheye")
_MODEL = ("distortion_model",)
_CAMERA_MODEL = ("camera_model",)
_RECTIFICATION = ("rectification_matrix", "R")
_PROJECTION = ("projection_matrix", "P")
_FISHEYE_MODELS = ("equidistant", "fisheye")
_OTHER_MODELS = ("plumbbob", "rationalpolynomial", "radtan", "radialtangential")
_NUMBER = re.compile(r"-?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?")
_MOST_ELEMENTS = 100
_LARGEST_SIDE = 1000000
_SIDES = {"1": "left", "2": "right", "left": "left", "right": "right"}
_COLMAP_LINE = "colmap"  #: an entry: model, width, height, parameters
#: How many focal lengths and coefficients, in OpenCV's order.
_COLMAP_MODELS = {"SIMPLE_PINHOLE": (1, 0), "PINHOLE": (2, 0), "SIMPLE_RADIAL": (1, 1), "RADIAL": (1, 2),
                  "OPENCV": (2, 4), "OPENCV_FISHEYE": (2, 4), "FULL_OPENCV": (2, 8)}

Path = Union[str, "os.PathLike[str]"]
Entries = Dict[str, List[str]]
Cameras = Dict[str, Entries]  #: by the cameras' names; what belongs to none by name is at ""


class Calibration(NamedTuple):
    """A camera's calibration, as Grid.from_calibration() takes it."""

    K: npt.NDArray[np.float64]  #: the camera matrix, (3, 3)
    D: npt.NDArray[np.float64]  #: the distortion coefficients
    size: Size  #: width and height of the pictures that it was made with
    fisheye: bool
    R: Optional[npt.NDArray[np.float64]] = None  #: the rectification, (3, 3), if the file has one
    P: Optional[npt.NDArray[np.float64]] = None  #: the projection matrix, (3, 4), if the file has one


class _Alias:
    """What stands for another value in YAML."""


def load_calibration(path: Path, *, fisheye: bool = False, calibrated_size: Optional[Size] = None,
                     camera: Optional[Union[int, str]] = None, extrinsics: Optional[Path] = None) -> Calibration:
    """Reads a calibration as ``vantor grid --calibration`` does: YAML (with PyYAML), XML or JSON, or COLMAP's text.

    `fisheye` and `calibrated_size` take precedence over what the file says. `camera` is which one of several: 1 or
    "left", 2 or "right", "cam0" of a camchain, or COLMAP's number; `extrinsics` is the second file of OpenCV's stereo
    calibration. Raises ValueError for what is no calibration.
    """
    text = _Text(path, extrinsics, "" if camera is None else str(camera))
    model = text.find(_CAMERA_MODEL)
    if model not in (None, ["pinhole"]):
        raise text.failure(f"is '{shown(model[0]) if model else ''}', expected pinhole", _CAMERA_MODEL)
    K = text.camera()
    D = np.array(text.numbers(_DISTORTION))
    if len(D) == 4 and not fisheye and text.find(_MODEL) is None and text.find(_FISHEYE) is None:
        warnings.warn(f"{text.path}: four distortion coefficients, taken as k1, k2, p1, p2; if they are a fisheye's, "
                      "use fisheye=True", stacklevel=2)
    size = text.size() if calibrated_size is None else size_of("calibrated_size", calibrated_size, (_LARGEST_SIDE,) * 2)
    R, P = text.view(extrinsics is not None)
    return Calibration(K, D, size, bool(fisheye) or text.is_fisheye(), R, P)


class _Text:
    """The entries of one file by their usual names."""

    def __init__(self, path: Path, extrinsics: Optional[Path], camera: str) -> None:
        self.path = shown(path)
        self._first_centre = 0.0
        cameras = _cameras(path)
        if extrinsics is not None:
            self.path += f" with {shown(extrinsics)}"
            for name, entries in _cameras(extrinsics).items():
                cameras[name] = {**entries, **cameras.get(name, {})}
        chosen = _chosen(cameras, camera, self.path)
        self._entries = cameras.get(chosen, {})
        self._is_of_pair = chosen in _SIDES.values()
        if not chosen:
            if not {"r", "p"} <= self._entries.keys():  # alone, short names of a ROS message mean other things
                self._entries = {name: words for name, words in self._entries.items() if name not in ("r", "p")}
            return
        self.path += f": camera {chosen}"
        has_camera = self.find(_CAMERA) is not None
        dropped = _plain_names(_RECTIFICATION, _PROJECTION, *((_CAMERA, _DISTORTION) if has_camera else ()))
        shared = {name: words for name, words in cameras.get("", {}).items() if name not in dropped}
        self._entries = {**shared, **self._entries}
        if _COLMAP_LINE in self._entries:
            self._first_centre = 0.5
            try:
                self._entries = _colmap_entries(self._entries[_COLMAP_LINE])
            except ValueError as error:
                raise ValueError(f"{self.path}: {error}") from None

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

    def camera(self) -> npt.NDArray[np.float64]:
        numbers = self.numbers(_CAMERA)
        if len(numbers) == 4:
            fx, fy, cx, cy = numbers
            numbers = [fx, 0, cx, 0, fy, cy, 0, 0, 1]
        if len(numbers) != 9:
            raise self.failure(f"has {len(numbers)} elements, expected 3 x 3, or fx, fy, cx, cy", _CAMERA)
        K = np.array(numbers, np.float64).reshape(3, 3)
        K[:2, 2] -= self._first_centre
        return K

    def view(self, is_expected: bool) -> Tuple[Optional[npt.NDArray[np.float64]], Optional[npt.NDArray[np.float64]]]:
        """The rectification and the projection matrix."""
        R, P = (None if self.find(names) is None else self.numbers(names) for names in (_RECTIFICATION, _PROJECTION))
        if self._is_of_pair and (R is None) != (P is None):
            raise self.failure("is missing, but the other matrix of a rectified view is there",
                               _PROJECTION if P is None else _RECTIFICATION)
        if R is None and P is None and is_expected:
            raise self.failure("is missing", _RECTIFICATION)
        if R is None and P is None and self._is_of_pair:
            warnings.warn(f"{self.path}: no rectification (R1, P1 or R2, P2): undistorted only; extrinsics=FILE adds "
                          "those of another file", stacklevel=3)
        if R is not None and len(R) != 9:
            raise self.failure(f"has {len(R)} elements, expected 3 x 3", _RECTIFICATION)
        if P is not None and len(P) not in (9, 12):
            raise self.failure(f"has {len(P)} elements, expected 3 x 4", _PROJECTION)
        projection = None if P is None else np.zeros((3, 4))
        if projection is not None:
            projection[:, :len(P or ()) // 3] = np.reshape(P or (), (3, -1))
        return None if R is None else np.reshape(R, (3, 3)), projection

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


def _plain_names(*lists: Tuple[str, ...]) -> Set[str]:
    return {_plain(name) for names in lists for name in names}


_USUAL_IN_PAIRS = _plain_names(_CAMERA, _DISTORTION, _RECTIFICATION, _PROJECTION)
_USUAL = _USUAL_IN_PAIRS | _plain_names(_WIDTH, _HEIGHT, _SIZE, _FISHEYE, _MODEL, _CAMERA_MODEL)


def _cameras(path: Path) -> Cameras:
    content = _files.read_text(path)
    try:
        text = content.decode("utf-8-sig")
        if _is_colmap(text):
            return _colmap_cameras(text)
        cameras: Cameras = {}
        for name, value in _xml_pairs(text) if text.lstrip(" \t\r\n").startswith("<") else _tree_pairs(text):
            if re.fullmatch("cam[0-9]+", name) and isinstance(value, dict):
                entries = {_plain(key): _words(key, value[key]) for key in value if _plain(key) in _USUAL}
                cameras.setdefault(name, {}).update(entries)
            else:
                _place(cameras, name, value)
        return cameras
    except (ValueError, xml.etree.ElementTree.ParseError, RecursionError) as error:
        raise ValueError(f"{shown(path)}: not a calibration in YAML, XML or JSON: {shown(error)}") from None


def _place(cameras: Cameras, name: str, value: Any) -> None:
    """Adds an entry to those of the camera that its name tells: "M1" is the camera matrix of the left one."""
    plain = _plain(name)
    if plain in _USUAL:
        cameras.setdefault("", {})[plain] = _words(name, value)
        return
    for ending, side in _SIDES.items():
        if plain.endswith(ending) and plain[:-len(ending)] in _USUAL_IN_PAIRS:
            cameras.setdefault(side, {})[plain[:-len(ending)]] = _words(name, value)


def _chosen(cameras: Cameras, wanted: str, path: str) -> str:
    """The name under which the camera that the caller wants has its entries."""
    names = sorted((name for name in cameras if name), key=lambda name: (len(name), name))
    listed = shown(", ".join(names[:8] + ["..."] * (len(names) > 8)))
    if wanted:
        for name in (wanted, "cam" + wanted, _SIDES.get(wanted, wanted)):
            if name in names:
                return name
        raise ValueError(f"camera: '{shown(wanted)}', but {path} has "
                         + (f"cameras {listed}" if names else "one camera, without a name"))
    if not names or not _plain_names(_CAMERA).isdisjoint(cameras.get("", {})):
        return ""
    if len(names) > 1:
        raise ValueError(f"{path}: has cameras {listed}; camera= chooses one")
    return names[0]


def _is_colmap(text: str) -> bool:
    first = next((line for line in text.split("\n") if _plain(line) and line[0] != "#"), "")
    return bool(re.match(r"\s*[0-9]+\s+[A-Z]", first))


def _colmap_cameras(text: str) -> Cameras:
    cameras: Cameras = {}
    for words in map(str.split, text.split("\n")):
        if words and words[0][0] != "#":
            if not re.fullmatch("[0-9]+", words[0]):
                raise ValueError(f"camera '{words[0][:40]}', expected a number")
            cameras[words[0]] = {_COLMAP_LINE: _words(f"camera {words[0]}", words[1:])}
    return cameras


def _colmap_entries(line: List[str]) -> Entries:
    """The entries that a line of COLMAP's stands for."""
    model = line[0] if line else ""
    if model not in _COLMAP_MODELS:
        raise ValueError(f"model '{shown(model[:40])}', expected one of {', '.join(_COLMAP_MODELS)}")
    focal, coefficients = _COLMAP_MODELS[model]
    if len(line) != 3 + focal + 2 + coefficients:
        raise ValueError(f"model {model} with {len(line) - 1} numbers, expected width, height and "
                         f"{focal + 2 + coefficients} parameters")
    numbers = line[3:]
    return {_plain(_SIZE[0]): line[1:3], _plain(_CAMERA[0]): [numbers[0], *numbers[focal - 1:focal + 2]],
            _plain(_DISTORTION[0]): numbers[focal + 2:] + ["0"] * (4 - coefficients),
            _plain(_MODEL[0]): ["fisheye" if model == "OPENCV_FISHEYE" else "plumb_bob"]}


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
