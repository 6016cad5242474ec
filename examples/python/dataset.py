#!/usr/bin/python3
"""dataset.py IN OUT: makes a data set for training from PNG pictures of a directory, on all processors: each picture
distorted by a random lens, the same straightened again, and a line of labels.jsonl with the lens, hashes and the PSNR
against the original. The lens depends on the picture's name alone, so that every run gives the same bytes."""

import argparse
import concurrent.futures
import functools
import json
import pathlib
import random

import cv2
import numpy as np

import vantor


def lens_of(name, size):
    """A camera matrix and distortion coefficients."""
    chance = random.Random(name)
    focal = size[0] * chance.uniform(0.7, 1.1)
    K = np.array([[focal, 0, (size[0] - 1) / 2], [0, focal, (size[1] - 1) / 2], [0, 0, 1]])
    return K, np.array([chance.uniform(-0.25, -0.05), chance.uniform(0, 0.05), 0, 0])


def distorting_grid(K, D, size):
    """The grid that makes of a straight picture what the lens would see."""
    pixels = np.stack(np.meshgrid(*map(np.arange, size)), axis=-1).reshape(-1, 1, 2).astype(np.float64)
    x, y = cv2.undistortPoints(pixels, K, D, P=K).astype(np.float32).reshape(size[1], size[0], 2).transpose(2, 0, 1)
    return vantor.Grid.from_map(np.ascontiguousarray(x), np.ascontiguousarray(y))


def make(out, files):
    """What one process does at a time."""
    engine = vantor.Engine(1)  # the processes already are as many as the processors
    labels = []
    for file in files:
        image = vantor.read(file)
        K, D = lens_of(file.name, image.size)
        distorted = vantor.warp(image, distorting_grid(K, D, image.size), engine=engine)
        straight = vantor.warp(distorted, vantor.Grid.from_calibration(K, D, image.size), engine=engine)
        for kind, picture in (("distorted", distorted), ("straight", straight)):
            vantor.write(out / kind / file.name, picture)
        labels.append({"name": file.name, "K": K.tolist(), "D": D.tolist(), "distorted": vantor.hash(distorted),
                       "straight": vantor.hash(straight), "psnr": vantor.compare(image, straight).y.psnr})
    return labels


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("source", metavar="in", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    arguments = parser.parse_args()
    out, files = arguments.out, sorted(arguments.source.glob("*.png"))
    if not files:
        parser.error(f"{arguments.source}: no *.png files")
    for kind in ("distorted", "straight"):
        (out / kind).mkdir(parents=True, exist_ok=True)
    with concurrent.futures.ProcessPoolExecutor() as pool:
        chunks = pool.map(functools.partial(make, out), vantor.chunks(files, 8))
        labels = [label for chunk in chunks for label in chunk]
    (out / "labels.jsonl").write_text("".join(json.dumps(label) + "\n" for label in labels))
    psnr = [label["psnr"] for label in labels]
    print(f"{len(labels)} pictures, {min(psnr):.1f} to {max(psnr):.1f} dB after both ways")


if __name__ == "__main__":
    main()
