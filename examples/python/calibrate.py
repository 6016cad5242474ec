#!/usr/bin/python3
"""calibrate.py OUT [PHOTOGRAPH...]: calibrates a camera by OpenCV from photographs of a chessboard with 9 x 6 inner
corners, by default those of Debian's opencv-doc, and undistorts them with a grid. The directory OUT gets the
calibration, the grid, the pictures and a plot of what the grid cannot hold; the numbers go to standard output as
JSON."""

import argparse
import json
import pathlib
import sys

import cv2
import numpy as np

import vantor

DEBIAN = pathlib.Path("/usr/share/doc/opencv-doc/examples/data")
BOARD = (9, 6)  # inner corners across and down


def corners_of(gray):
    """Where the inner corners of the board are, (54, 1, 2), or None."""
    found, corners = cv2.findChessboardCorners(gray, BOARD)
    if not found:
        return None
    until = (cv2.TERM_CRITERIA_EPS + cv2.TERM_CRITERIA_COUNT, 30, 1e-3)
    return cv2.cornerSubPix(gray, corners, (5, 5), (-1, -1), until)


def bend(corners):
    """The RMS distance of the corners from the straight lines through their rows, in pixels."""
    rows = corners.reshape(BOARD[1], BOARD[0], 2)
    rows = rows - rows.mean(axis=1, keepdims=True)
    return float(np.sqrt(np.mean(np.linalg.svd(rows)[1][:, 1] ** 2 / BOARD[0])))


def calibrate(photographs):
    """Camera matrix, coefficients, size and the error that OpenCV states."""
    board = np.zeros((BOARD[0] * BOARD[1], 3), np.float32)
    board[:, :2] = np.mgrid[:BOARD[0], :BOARD[1]].T.reshape(-1, 2)
    seen = [corners for corners in map(corners_of, photographs) if corners is not None]
    if not seen:
        sys.exit(f"calibrate: no photograph shows {BOARD[0]} x {BOARD[1]} inner corners")
    size = photographs[0].shape[::-1]
    error, K, D, *_ = cv2.calibrateCamera([board] * len(seen), seen, size, None, None)
    return K, D, size, error


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("photographs", type=pathlib.Path, nargs="*", default=sorted(DEBIAN.glob("left[0-9]*.jpg")))
    arguments = parser.parse_args()
    out, files = arguments.out, arguments.photographs
    if not files:
        parser.error(f"no photographs in {DEBIAN}: install the Debian package opencv-doc, or name others")
    out.mkdir(parents=True, exist_ok=True)
    photographs = [cv2.imread(str(file), cv2.IMREAD_GRAYSCALE) for file in files]
    K, D, size, error = calibrate(photographs)
    (out / "camera.json").write_text(json.dumps({"K": K.tolist(), "D": D.ravel().tolist(), "image_size": size}))

    grid = vantor.Grid.from_calibration(K, D, size, alpha=0)
    grid.save(out / "camera.grid")
    maps = cv2.initUndistortRectifyMap(K, D, None, grid.camera_matrix, size, cv2.CV_32FC1)
    bends, psnr = [], []
    for file, photograph in zip(files, photographs):
        straight = vantor.warp(vantor.Image(photograph), grid)
        vantor.write(out / f"{file.stem}.png", straight)
        remapped = vantor.Image(cv2.remap(photograph, *maps, cv2.INTER_CUBIC, borderMode=cv2.BORDER_REPLICATE))
        psnr.append(vantor.compare(straight, remapped).y.psnr)
        before, after = corners_of(photograph), corners_of(straight.y)
        if before is not None and after is not None:
            bends.append((bend(before), bend(after)))
    grid.plot(maps=maps).figure.savefig(out / "error.png")
    before, after = np.mean(bends, axis=0)
    print(json.dumps({"photographs": len(files), "calibration_rms": round(error, 4),
                      "grid_error": grid.error(*maps)._asdict(), "bend_before": round(before, 4),
                      "bend_after": round(after, 4), "psnr_against_remap": round(min(psnr), 2)}, indent=1))


if __name__ == "__main__":
    main()
