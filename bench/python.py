#!/usr/bin/python3
"""python.py [--repeat N]: times the Python package on one core, against the C call beneath it and OpenCV, in turns, and
prints the least times, their ratios and the acceptance ratios; then threads against one. Needs python3-opencv. Where
the package is not installed, PYTHONPATH=bindings/python VANTOR_LIBRARY=build/lib/libvantor.so.1 find it."""

import argparse
import concurrent.futures
import os
import random
import time

import cv2
import numpy as np

import vantor
from vantor import _library as c


def noise(size):
    image = vantor.Image.empty(size)
    samples = np.random.default_rng(1).integers(0, 256, image.array.shape, np.uint8)
    image.array[...] = cv2.GaussianBlur(samples, (5, 5), 0)
    return image


def pairs(image):
    """Chroma as OpenCV takes it: pixels of two channels."""
    return image.uv.reshape(image.height // 2, image.width // 2, 2)


def least(calls, repeat):
    """The least seconds of each call, taken in turns, and in any order as each leaves its data in the caches."""
    times = {call: [] for call in calls}
    for _ in range(repeat):
        for call in random.sample(calls, len(calls)):
            start = time.perf_counter()
            call()
            times[call].append(time.perf_counter() - start)
    return [min(taken) for taken in times.values()]


def report(name, ours, theirs, limit):
    print(f"{name:44} {ours * 1e6:9.1f} {theirs * 1e6:9.1f} us  {ours / theirs:6.3f}  {limit:.2f}"
          f"{'  missed' if ours > limit * theirs else ''}")


def scaling(repeat):
    engine, image, out = vantor.Engine(1), noise((1920, 1080)), vantor.Image.empty((1280, 720))
    handle = engine._current().pointer
    package, native, opencv = least([
        lambda: vantor.scale(image, out=out, engine=engine),
        lambda: c.library.vantor_scale(handle, out.view, image.view),
        lambda: (cv2.resize(image.y, (1280, 720)), cv2.resize(pairs(image), (640, 360)))], repeat)
    report("scale 1080p to 720p, against C", package, native, 1.05)
    report("scale 1080p to 720p, against cv2.resize", package, opencv, 0.45)


def warping(repeat):
    engine, image = vantor.Engine(1), noise((1920, 1080))
    K, D = np.array([[1400, 0, 960], [0, 1400, 540], [0, 0, 1.0]]), np.array([-0.21, 0.06, 0, 0])
    half = np.diag([0.5, 0.5, 1]) @ K
    grid, out = vantor.Grid.from_calibration(K, D, image.size), vantor.Image.empty(image.size)
    luma = cv2.initUndistortRectifyMap(K, D, None, K, image.size, cv2.CV_32FC1)
    chroma = cv2.initUndistortRectifyMap(half, D, None, half, (960, 540), cv2.CV_32FC1)
    package, opencv = least([
        lambda: vantor.warp(image, grid, out=out, engine=engine),
        lambda: [cv2.remap(plane, *maps, cv2.INTER_CUBIC)
                 for plane, maps in ((image.y, luma), (pairs(image), chroma))]], repeat)
    report("warp 1080p, against cv2.remap", package, opencv, 0.16)


def small(repeat):
    image, grid = noise((16, 16)), vantor.Grid.rotation(2, (16, 16))
    out, warped = vantor.Image.empty((12, 12)), vantor.Image.empty((16, 16))
    names = "scale 16x16 to 12x12", "scale 16x16, new array", "warp 16x16", "warp 16x16, new array"
    times = least([
        lambda: vantor.scale(image, out=out), lambda: vantor.scale(image, (12, 12)),
        lambda: vantor.warp(image, grid, out=warped), lambda: vantor.warp(image, grid)], 100 * repeat)
    for name, taken in zip(names, times):
        report(f"{name}, against 10 us", taken, 1e-5, 1)


def threads(repeat):
    image, count, frames = noise((1920, 1080)), len(os.sched_getaffinity(0)), 40

    def work(_):
        engine, out = vantor.Engine(1), vantor.Image.empty((1280, 720))
        for _ in range(frames):
            vantor.scale(image, out=out, engine=engine)

    def run(workers):
        with concurrent.futures.ThreadPoolExecutor(workers) as pool:
            list(pool.map(work, range(workers)))

    alone, together = least([lambda: run(1), lambda: run(count)], max(1, repeat // 10))
    print(f"{count} Python threads do {count * alone / together:.2f} times the work of one")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--repeat", type=int, default=200)
    repeat = parser.parse_args().repeat
    cv2.setNumThreads(1)
    cores = os.sched_getaffinity(0)
    os.sched_setaffinity(0, {min(cores)})
    print(f"{'':44} {'vantor':>9} {'other':>9}      ratio  at most")
    for measure in (scaling, warping, small):
        measure(repeat)
    os.sched_setaffinity(0, cores)
    threads(repeat)


if __name__ == "__main__":
    main()
