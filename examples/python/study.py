#!/usr/bin/python3
"""study.py OUT.png [CALIBRATION]: 500 grids around a calibration, in two coefficients. How far is each from the true
map, and how straight does it leave lines? Drawn as OUT.png; the best and the worst go to standard output as JSON."""

import argparse
import concurrent.futures
import itertools
import json
import pathlib

import cv2
import matplotlib
import numpy as np

import vantor

CALIBRATION = pathlib.Path(__file__).resolve().parents[2] / "tests/geometry/calibrations/five.yml"
SIZE = (640, 360)
K1, K2 = np.linspace(-0.04, 0.04, 25), np.linspace(-0.03, 0.03, 20)  # added to the calibration's


def bend(grid, K, D):
    """The RMS distance from straight lines, in pixels, of what becomes rows and columns of the grid's result."""
    x, y = grid.positions(SIZE)
    source = np.stack([x, y], axis=-1) / 256
    lines = [source[row] for row in range(0, SIZE[1], 45)] + [source[:, column] for column in range(0, SIZE[0], 80)]
    squares, count = 0.0, 0
    for line in lines:
        seen = cv2.undistortPoints(line.reshape(-1, 1, 2), K, D, P=K).reshape(-1, 2)
        squares += np.linalg.svd(seen - seen.mean(axis=0), compute_uv=False)[1] ** 2
        count += len(seen)
    return float(np.sqrt(squares / count))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("out", metavar="OUT.png")
    parser.add_argument("calibration", nargs="?", default=CALIBRATION)
    arguments = parser.parse_args()
    camera = vantor.load_calibration(arguments.calibration)
    if camera.fisheye:
        parser.error(f"{arguments.calibration}: of a fisheye, expected another lens")
    scale = np.diag([SIZE[0] / camera.size[0], SIZE[1] / camera.size[1], 1])
    K = scale @ camera.K
    maps = cv2.initUndistortRectifyMap(K, camera.D, None, K, SIZE, cv2.CV_32FC1)

    def study(changes):
        results = []
        for k1, k2 in changes:
            D = camera.D.copy()
            D[:2] += k1, k2
            grid = vantor.Grid.from_calibration(K, D, SIZE)
            results.append((k1, k2, grid.error(*maps).rms, bend(grid, K, camera.D)))
        return results

    with concurrent.futures.ThreadPoolExecutor() as pool:
        chunks = pool.map(study, vantor.chunks(itertools.product(K1, K2), 20))
        results = np.array(list(itertools.chain.from_iterable(chunks)))

    matplotlib.use("Agg")
    from matplotlib import pyplot
    figure, axes = pyplot.subplots(1, 2, figsize=(11, 4.5), constrained_layout=True)
    names = ("RMS error against the true map, pixels", "RMS bend of straight lines, pixels")
    for i, (axis, name) in enumerate(zip(axes, names)):
        levels = results[:, 2 + i].reshape(len(K1), len(K2)).T
        figure.colorbar(axis.contourf(K1, K2, levels, 24), ax=axis, label=name)
        axis.plot(0, 0, "r+", label="the calibration")
        axis.legend()
        axis.set_xlabel("k1, added")
        axis.set_ylabel("k2, added")
    figure.savefig(arguments.out)
    keys = ("k1", "k2", "error", "bend")
    best, worst = results[results[:, 2].argmin()], results[results[:, 2].argmax()]
    print(json.dumps({"grids": len(results), "best": dict(zip(keys, best)), "worst": dict(zip(keys, worst))}, indent=1))


if __name__ == "__main__":
    main()
