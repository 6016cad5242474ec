"""Grids: where a warp takes each pixel from."""

from __future__ import annotations

import ctypes
import os
import pathlib
from typing import Any, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _calibration, _files
from . import _library as c
from ._arguments import FLOAT32, Size, array_of, integers, optional_pair, real, reals, row_stride, size_of

Nodes = npt.NDArray[np.int32]
Map = npt.NDArray[np.float32]
Path = Union[str, "os.PathLike[str]"]
Reals = Union[Sequence[Any], npt.NDArray[Any]]
_LARGEST = (8192, 6144)
_TEXT_FORM = 1


class GridError(NamedTuple):
    """How far the engine's positions are from those of a map, over the pixels that the map takes from inside the
    picture, in pixels; all 0 if there is no such pixel."""

    largest: float
    rms: float
    x: int  #: of the first pixel where it is largest
    y: int


class Grid:
    """The displacements of 33 x 33 nodes, which span the picture.

    A node's source lies half of `dx` to the right of it and half of `dy` down, in 1/256 sample of a virtual picture
    of 8192 x 6144 into which the picture is stretched; ``Grid()``, all zeros, copies the picture exactly. `dx` and
    `dy` are arrays of 33 x 33 integers in the range of int32, row by row, which are copied. The attributes of these
    names are int32 arrays whose elements may be changed.

    Functions that make grids want the `size` (width, height) of the pictures, up to 8192 x 6144.
    """

    __slots__ = ("_nodes", "address", "_camera_matrix", "__weakref__")
    __hash__ = None  # type: ignore[assignment]

    def __init__(self, dx: Optional[npt.ArrayLike] = None, dy: Optional[npt.ArrayLike] = None) -> None:
        self._nodes = np.zeros((2, c.NODES, c.NODES), np.int32)
        self.address = self._nodes.ctypes.data
        self._camera_matrix: Optional[npt.NDArray[np.float64]] = None
        for name, nodes, values in (("dx", self._nodes[0], dx), ("dy", self._nodes[1], dy)):
            if values is not None:
                nodes[...] = _checked_nodes(name, values)

    @classmethod
    def from_matrix(cls, matrix: Reals, size: Size) -> Grid:
        """The grid with which the device warps by `matrix`, six integers a, b, c, d, e, f of 16 bits.

        Pixel x, y of the result comes from a x + b y + c, d x + e y + f, with a, b, d and e in 1/4096 and c and f in
        1/32 pixel. Nodes that it leads out of the picture are moved to its border.
        """
        what = "six integers from -32768 to 32767: a, b, c, d, e, f"
        try:
            flat = [number for row in matrix for number in (row if np.ndim(row) else [row])]
        except TypeError:
            flat = []
        numbers = integers("matrix", flat, 6, what)
        if not all(-2**15 <= number < 2**15 for number in numbers):
            raise ValueError(f"matrix: {list(numbers)}, expected {what}")
        return cls()._made("grid_from_matrix", (ctypes.c_int16 * 6)(*numbers), *_checked_size(size))

    @classmethod
    def from_map(cls, map_x: Map, map_y: Map) -> Grid:
        """The grid of a dense map, such as ``cv2.initUndistortRectifyMap(..., cv2.CV_32FC1)`` gives.

        `map_x` and `map_y` are float32 arrays (height, width) without gaps: for each pixel of the result the position
        in the source that it comes from, the centre of the first pixel being at 0, 0. Nodes are displaced as the map
        is there; what happens between them error() tells.
        """
        return cls()._made("grid_from_map", *_checked_maps(map_x, map_y))

    @classmethod
    def transform(cls, size: Size, *, rotate: float = 0, zoom: float = 1, shear: Reals = (0, 0),
                  shift: Reals = (0, 0), lens: Reals = (), center: Optional[Reals] = None) -> Grid:
        """The grid that ``vantor grid`` makes of options of these names.

        Rotation in degrees, counter-clockwise as seen; zoom above 0, above 1 enlarges; shear in pixels to the right per
        pixel down, and down per pixel to the right; shift in pixels to the right and down; lens as for lens(). All
        around `center`, in pixels from the picture's left and upper edge; by default the picture's centre.
        """
        coefficients = reals("lens", lens, (0, 1, 2, 3, 5), "k1, k2, k3, p1, p2, or the first one to three of them")
        middle = optional_pair("center", center)
        values = c.Transform(
            real("rotate", rotate), real("zoom", zoom), *reals("shear", shear, (2,), "two numbers: x and y"),
            *reals("shift", shift, (2,), "two numbers: x and y"),
            (ctypes.c_double * 5)(*coefficients), *(middle or (0, 0)), middle is not None)
        return cls()._made("grid_from_transform", ctypes.byref(values), *_checked_size(size))

    @classmethod
    def rotation(cls, degrees: float, size: Size, *, zoom: float = 1, center: Optional[Reals] = None) -> Grid:
        """The grid that rotates counter-clockwise as seen, around the picture's centre or `center`."""
        return cls.transform(size, rotate=real("degrees", degrees), zoom=zoom, center=center)

    @classmethod
    def lens(cls, coefficients: Reals, size: Size, *, center: Optional[Reals] = None) -> Grid:
        """The grid that takes out the distortion of a lens.

        `coefficients` are k1, k2, k3, p1, p2 of the usual polynomial, or the first one to three of them, for radii in
        units of half the picture's diagonal.
        """
        return cls.transform(size, lens=coefficients, center=center)

    @classmethod
    def from_calibration(cls, K: Reals, D: Reals, size: Size, *, alpha: Optional[float] = None, fisheye: bool = False,
                         calibrated_size: Optional[Size] = None, R: Optional[Reals] = None,
                         P: Optional[Reals] = None) -> Grid:
        """The grid that straightens pictures of a camera, calibrated by OpenCV.

        `K` is the camera matrix (3, 3) and `D` are 4, 5, 8, 12 or 14 distortion coefficients of
        ``cv2.calibrateCamera``, or with `fisheye` the four of ``cv2.fisheye.calibrate``, for pictures of
        `calibrated_size`, by default `size`. Pictures of another size are taken as scaled. The result has the camera
        matrix of the calibration; with `alpha` 0 it shows only what the source has, with 1 all that it has, and between
        a blend of both. `R` (3, 3) and `P` (3, 4) or (3, 3) are what ``cv2.initUndistortRectifyMap`` takes: a rotation,
        and without `alpha` the camera matrix of the result. The attribute `camera_matrix` is that of the result.
        """
        width, height = _checked_size(size)
        made_with = size_of("calibrated_size", size if calibrated_size is None else calibrated_size, (1000000, 1000000))
        matrix = reals("K", K, (9,), "3 x 3")
        counts = (4,) if fisheye else (4, 5, 8, 12, 14)
        coefficients = reals("D", D, counts, f"{' or '.join(map(str, counts))}{' for a fisheye' if fisheye else ''}")
        numbers = c.CalibrationNumbers(
            (ctypes.c_double * 9)(*matrix), (ctypes.c_double * 14)(*coefficients), len(coefficients), bool(fisheye),
            *made_with, alpha is not None, 0 if alpha is None else real("alpha", alpha))
        rotation = None if R is None else (ctypes.c_double * 9)(*reals("R", R, (9,), "3 x 3"))
        projection = None
        if P is not None:
            rows = np.zeros((3, 4))
            given = np.reshape(reals("P", P, (9, 12), "3 x 4"), (3, -1))
            rows[:, :given.shape[1]] = given
            projection = (ctypes.c_double * 12)(*rows.ravel())
        straight = np.empty((3, 3), np.float64)
        matrix_at = straight.ctypes.data_as(ctypes.POINTER(ctypes.c_double))
        grid = cls()._made("grid_from_rectification", ctypes.byref(numbers), rotation, projection, width, height,
                           matrix_at)
        grid._camera_matrix = straight
        return grid

    @classmethod
    def from_calibration_file(cls, path: Path, size: Optional[Size] = None, *, alpha: Optional[float] = None,
                              fisheye: bool = False, calibrated_size: Optional[Size] = None,
                              camera: Optional[Union[int, str]] = None, extrinsics: Optional[Path] = None) -> Grid:
        """The same from a file in YAML (with PyYAML), XML or JSON, or COLMAP's, as load_calibration() reads it.

        `size` is by default that of the pictures of the calibration; the others are those of load_calibration().
        """
        found = _calibration.load_calibration(path, fisheye=fisheye, calibrated_size=calibrated_size, camera=camera,
                                              extrinsics=extrinsics)
        try:
            return cls.from_calibration(found.K, found.D, found.size if size is None else size, alpha=alpha,
                                        fisheye=found.fisheye, calibrated_size=found.size, R=found.R, P=found.P)
        except ValueError as error:
            raise ValueError(f"{c.shown(path)}: {error}") from None

    @classmethod
    def load(cls, path: Path) -> Grid:
        """Reads a grid file of either form."""
        content = _files.read_text(path)
        try:
            return cls._parsed(content)
        except ValueError as error:
            raise ValueError(f"{c.shown(path)}: {error}") from None

    @classmethod
    def _parsed(cls, content: bytes) -> Grid:
        return cls()._made("grid_parse", content, len(content))

    def save(self, path: Path, comment: Optional[str] = None) -> None:
        """Writes a grid file atomically: text if its name ends in .txt, else binary.

        `comment` is a line of printable ASCII, for the text form.
        """
        if not isinstance(comment, (str, type(None))):
            raise TypeError(f"comment: {c.kind(comment)}, expected text")
        form = _TEXT_FORM if pathlib.Path(path).suffix == ".txt" else 0
        _files.write_whole(path, [self._formatted(form, comment)])

    def _formatted(self, form: int, comment: Optional[str] = None) -> bytes:
        needed = ctypes.c_size_t()
        line = None if comment is None else comment.encode()
        c.check(c.library.vantor_grid_format(self.address, form, line, None, 0, needed))
        content = ctypes.create_string_buffer(needed.value)
        c.check(c.library.vantor_grid_format(self.address, form, line, content, needed.value, needed))
        return content.raw

    def _made(self, function: str, *arguments: Any) -> Grid:
        c.check(getattr(c.library, "vantor_" + function)(self.address, *arguments),
                camera_matrix="K", coefficients="D", calibration="calibrated_size", rotation="R",
                projection="P")
        return self

    @property
    def dx(self) -> Nodes:
        """The displacements to the right, (33, 33)."""
        nodes: Nodes = self._nodes[0]
        return nodes

    @property
    def dy(self) -> Nodes:
        """The displacements down, (33, 33)."""
        nodes: Nodes = self._nodes[1]
        return nodes

    @property
    def camera_matrix(self) -> Optional[npt.NDArray[np.float64]]:
        """Of the straight picture, (3, 3), if the grid was made of a calibration."""
        return self._camera_matrix

    def positions(self, size: Size) -> Tuple[Nodes, Nodes]:
        """Where the engine takes each pixel of a picture from, exactly: x and y as int32 arrays (height, width).

        In 1/256 pixel, the centre of the first pixel being at 0, 0.
        """
        width, height = _checked_size(size)
        x, y = np.empty((height, width), np.int32), np.empty((height, width), np.int32)
        c.check(c.library.vantor_grid_positions(self.address, width, height, x.ctypes.data, y.ctypes.data))
        return x, y

    def error(self, map_x: Map, map_y: Map) -> GridError:
        """How far the engine's positions are from those of a map as for from_map(), in pixels."""
        rms, largest = ctypes.c_double(), ctypes.c_double()
        x, y = ctypes.c_int32(), ctypes.c_int32()
        maps = _checked_maps(map_x, map_y)
        c.check(c.library.vantor_grid_error(self.address, *maps, rms, largest, x, y))
        return GridError(largest.value, rms.value, x.value, y.value)

    def plot(self, size: Optional[Size] = None, *, maps: Optional[Tuple[Map, Map]] = None, axes: Any = None) -> Any:
        """Draws by matplotlib and returns the axes, new ones by default.

        With `size` (width, height): the lines that become the rows and columns of nodes of a straight picture, in the
        source. With `maps` (map_x, map_y), as for from_map(): the distance of the engine's positions from them.
        """
        if (size is None) == (maps is None):
            raise ValueError("size: expected size or maps, and not both")
        if maps is not None:
            _checked_maps(*maps)
        width, height = _checked_size(size) if maps is None else maps[0].shape[::-1]
        x, y = (position / 256 for position in self.positions((width, height)))
        if axes is None:
            axes = c.optional("matplotlib.pyplot", "python3-matplotlib", "plot()").figure().add_subplot()
        if maps is not None:
            drawn = axes.imshow(np.hypot(x - maps[0], y - maps[1]), cmap="magma")
            axes.figure.colorbar(drawn, ax=axes, label="distance from the map, pixels", pad=0.04,
                                 fraction=0.046 * height / width)  # as high as the picture
        else:
            for row in np.linspace(0, height - 1, c.NODES).astype(int):
                axes.plot(x[row], y[row], color="tab:blue", linewidth=0.7)
            for column in np.linspace(0, width - 1, c.NODES).astype(int):
                axes.plot(x[:, column], y[:, column], color="tab:blue", linewidth=0.7)
            axes.plot([-.5, width - .5, width - .5, -.5, -.5], [-.5, -.5, height - .5, height - .5, -.5], "k")
            axes.set_aspect("equal")
            if not axes.yaxis_inverted():
                axes.invert_yaxis()
        axes.set_xlabel("x, pixels")
        axes.set_ylabel("y, pixels")
        return axes

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Grid) and np.array_equal(self._nodes, other._nodes)

    def __reduce__(self) -> Tuple[Any, ...]:
        return _unpickled, (self._formatted(0), self._camera_matrix)

    def __repr__(self) -> str:
        farthest = [max(int(nodes.max()), -int(nodes.min())) for nodes in self._nodes]
        return f"<vantor.Grid dx to {farthest[0]}, dy to {farthest[1]}>"


def _unpickled(content: bytes, camera_matrix: Optional[npt.NDArray[np.float64]]) -> Grid:
    grid = Grid._parsed(content)
    grid._camera_matrix = camera_matrix
    return grid


def expect_grid(name: str, grid: Any) -> Grid:
    """An argument that has to be a grid."""
    if not isinstance(grid, Grid):
        raise TypeError(f"{name}: {c.kind(grid)}, expected a vantor.Grid")
    return grid


def _checked_nodes(name: str, values: Any) -> npt.NDArray[Any]:
    shape = (c.NODES, c.NODES)
    try:
        nodes = np.asarray(values)
    except ValueError:
        raise ValueError(f"{name}: rows of different lengths, expected integers of shape {shape}") from None
    if nodes.shape != shape or nodes.dtype.kind not in "iu":
        raise ValueError(f"{name}: {nodes.dtype} of shape {nodes.shape}, expected integers of shape {shape}")
    low, high = int(nodes.min()), int(nodes.max())
    if low < -2**31 or high >= 2**31:
        raise ValueError(f"{name}: {low} to {high}, expected values in the range of int32")
    return nodes


def _checked_size(size: Any) -> Size:
    return size_of("size", size, _LARGEST)


def _checked_maps(map_x: Any, map_y: Any) -> Tuple[int, int, int, int]:
    """Addresses, width and height."""
    for name, array in (("map_x", map_x), ("map_y", map_y)):
        array_of(name, array, FLOAT32, "(height, width)")
        if array.ndim != 2 or not array.size:
            raise ValueError(f"{name}: shape {array.shape}, expected (height, width)")
        if array.shape != map_x.shape:
            raise ValueError(f"{name}: shape {array.shape}, expected that of map_x, {map_x.shape}")
        if row_stride(name, array) != array.shape[1] * array.itemsize:
            raise ValueError(f"{name}: strides {array.strides}, expected rows without gaps; "
                             "numpy.ascontiguousarray() copies")
    return map_x.ctypes.data, map_y.ctypes.data, map_x.shape[1], map_x.shape[0]
