#!/usr/bin/python3
"""opencv_calibrations.py DIRECTORY: has OpenCV write calibrations, and where its maps lead, for undistort_map_test.

maps.txt has one line per position: file, picture width and height, alpha (none: -1), output x and y, source x and y.
"""
import os
import sys

try:
    import cv2
    import numpy
except ImportError:
    print("skipped: python3-opencv is not installed")
    sys.exit(77)

CAMERA = numpy.array([[1402.5, 0, 967.25], [0, 1399.75, 531.5], [0, 0, 1]])
FISHEYE = numpy.array([[700.0, 0, 958], [0, 701, 541.5], [0, 0, 1]])
WIDE = [-0.21, 0.06, 0.0011, -0.0007, -0.01]
# name, camera matrix, coefficients, picture size, alpha
CASES = [
    ("four.xml", CAMERA, WIDE[:4], (1920, 1080), None),
    ("five.yml", CAMERA, WIDE, (1920, 1080), None),
    ("five.yml", CAMERA, WIDE, (1280, 720), 0),
    ("five.yml", CAMERA, WIDE, (1920, 1080), 0.3),
    ("five.yml", CAMERA, WIDE, (4096, 3072), 1.0),
    ("eight.yml", CAMERA, [4.1, 2.2, 0.0004, 0.0003, 0.15, 4.4, 3.4, 0.7], (1920, 1080), None),
    ("twelve.xml", CAMERA, WIDE + [0.01, -0.02, 0.005, 0.002, -0.001, 0.003, 0.0005], (1920, 1080), None),
    ("fisheye.yml", FISHEYE, [0.021, -0.011, 0.004, -0.0012], (1920, 1080), None),
]


def write_calibration(path, camera, coefficients):
    storage = cv2.FileStorage(path, cv2.FILE_STORAGE_WRITE)
    storage.write("image_width", 1920)
    storage.write("image_height", 1080)
    storage.write("camera_matrix", camera)
    storage.write("distortion_coefficients", numpy.array(coefficients).reshape(-1, 1))
    storage.write("fisheye_model", int("fisheye" in path))
    storage.release()


def source_map(name, camera, coefficients, size, alpha):
    camera = camera.copy()
    for axis, scale in enumerate((size[0] / 1920, size[1] / 1080)):
        camera[axis, axis] *= scale
        camera[axis, 2] = (camera[axis, 2] + 0.5) * scale - 0.5  # the first pixel's centre is at 0
    straight, coefficients = camera, numpy.array(coefficients)
    if alpha is not None:
        # Some versions look at one pixel beyond the picture, and so even change the camera of a perfect lens.
        plain, _ = cv2.getOptimalNewCameraMatrix(camera, numpy.zeros(5), size, 0)
        seen = size if numpy.allclose(plain, camera, atol=0.1) else (size[0] - 1, size[1] - 1)
        straight, _ = cv2.getOptimalNewCameraMatrix(camera, coefficients, seen, alpha, size)
    module = cv2.fisheye if name == "fisheye.yml" else cv2
    return module.initUndistortRectifyMap(camera, coefficients, numpy.eye(3), straight, size, cv2.CV_32FC1)


directory = sys.argv[1]
with open(os.path.join(directory, "maps.txt"), "w") as lines:
    for name, camera, coefficients, (width, height), alpha in CASES:
        write_calibration(os.path.join(directory, name), camera, coefficients)
        across, down = source_map(name, camera, coefficients, (width, height), alpha)
        for y in (0, height // 3, height - 1):
            for x in (0, width // 5, width // 2, width - 1):
                print(name, width, height, -1 if alpha is None else alpha, x, y,
                      "%.4f %.4f" % (across[y, x], down[y, x]), file=lines)
