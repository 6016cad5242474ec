#!/usr/bin/python3
"""opencv_calibrations.py DIRECTORY: has OpenCV write calibrations, and where its maps lead, for undistort_map_test.

maps.txt has one line per position: file, camera (none: -), picture width and height, alpha (none: -1), output x and y,
source x and y.
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
TURN = cv2.Rodrigues(numpy.array([0.02, -0.1, 0.03]))[0]
VIEW = numpy.array([[1300.0, 0, 900, -150], [0, 1310, 560, 0], [0, 0, 1, 0]])
BENT = [0.021, -0.011, 0.004, -0.0012]
EIGHT = [4.1, 2.2, 0.0004, 0.0003, 0.15, 4.4, 3.4, 0.7]
SQUARE = CAMERA * [[1], [1402.5 / 1399.75], [1]] + [[0, 0, 0], [0, 0, 531.5 * (1 - 1402.5 / 1399.75)], [0, 0, 0]]
COLMAP = {  # with the centre of the first pixel at 0.5, 0.5
    "1 SIMPLE_PINHOLE": ("f", SQUARE, []), "2 PINHOLE": ("xy", CAMERA, []), "3 SIMPLE_RADIAL": ("f", SQUARE, [-0.21]),
    "4 RADIAL": ("f", SQUARE, [-0.21, 0.06]), "5 OPENCV": ("xy", CAMERA, WIDE[:4]),
    "6 OPENCV_FISHEYE": ("xy", FISHEYE, BENT), "17 FULL_OPENCV": ("xy", CAMERA, EIGHT)}
# name, camera matrix, coefficients, picture size, alpha; camera, rotation and projection
CASES = [
    ("four.xml", CAMERA, WIDE[:4], (1920, 1080), None),
    ("five.yml", CAMERA, WIDE, (1920, 1080), None),
    ("five.yml", CAMERA, WIDE, (1280, 720), 0),
    ("five.yml", CAMERA, WIDE, (1920, 1080), 0.3),
    ("five.yml", CAMERA, WIDE, (4096, 3072), 1.0),
    ("eight.yml", CAMERA, EIGHT, (1920, 1080), None),
    ("twelve.xml", CAMERA, WIDE + [0.01, -0.02, 0.005, 0.002, -0.001, 0.003, 0.0005], (1920, 1080), None),
    ("fisheye.yml", FISHEYE, BENT, (1920, 1080), None),
    ("ros.yml", CAMERA, WIDE, (1280, 720), None, "-", TURN, VIEW),
    ("message.yml", FISHEYE, BENT, (1920, 1080), None, "-", TURN, VIEW),
    ("stereo.yml", CAMERA, WIDE, (1920, 1080), None, "left", numpy.eye(3), CAMERA),
    ("stereo.yml", FISHEYE, WIDE, (1920, 1080), None, "2", TURN, VIEW),
    ("camchain.yml", CAMERA, WIDE[:4], (1920, 1080), None, "cam0"),
    ("camchain.yml", FISHEYE, BENT, (1920, 1080), None, "1"),
    *(("cameras.txt", K, D + [0] * (4 - len(D)), (1920, 1080), None, name.split()[0])
      for name, (_, K, D) in COLMAP.items()),
]


def flat(matrix):
    return [float(number) for number in numpy.array(matrix).ravel()]


def write_others(directory):
    """As ROS, OpenCV's stereo_calib, Kalibr and COLMAP write them."""
    kalibr = [f"cam{i}:\n  camera_model: pinhole\n  distortion_coeffs: {D}\n  distortion_model: {model}\n"
              f"  intrinsics: {flat([K[0, 0], K[1, 1], K[0, 2], K[1, 2]])}\n  resolution: [1920, 1080]\n"
              f"  T_cn_cnm1:\n  - [1.0, 0.0, 0.0, 0.1]\n  rostopic: /cam{i}/image_raw\n"
              for i, (K, D, model) in enumerate([(CAMERA, WIDE[:4], "radtan"), (FISHEYE, BENT, "equidistant")])]
    colmap = ["# Camera list with one line of data per camera:\n#   CAMERA_ID, MODEL, WIDTH, HEIGHT, PARAMS[]\n"]
    for name, (focal, K, D) in COLMAP.items():
        numbers = [K[0, 0], K[1, 1]][:len(focal)] + [K[0, 2] + .5, K[1, 2] + .5] + D
        colmap.append(f"{name} 1920 1080 {' '.join(map(repr, flat(numbers)))}\n")
    matrix = "{{rows: {}, cols: {}, data: {}}}".format
    ros = [f"image_width: 1920\nimage_height: 1080\ncamera_name: narrow\ncamera_matrix: {matrix(3, 3, flat(CAMERA))}\n",
           f"distortion_model: plumb_bob\ndistortion_coefficients: {matrix(1, 5, WIDE)}\n",
           f"rectification_matrix: {matrix(3, 3, flat(TURN))}\nprojection_matrix: {matrix(3, 4, flat(VIEW))}\n"]
    message = f"""header:\n  seq: 7\nheight: 1080\nwidth: 1920\ndistortion_model: "equidistant"\nD: {BENT}
K: {flat(FISHEYE)}\nR: {flat(TURN)}\nP: {flat(VIEW)}\nbinning_x: 0\nroi:\n  x_offset: 0\n---\n"""
    stereo = {"M1": CAMERA, "D1": WIDE, "M2": FISHEYE, "D2": WIDE, "R": TURN.T, "T": [1, 0, 0], "R1": numpy.eye(3),
              "R2": TURN, "P1": numpy.hstack([CAMERA, [[0], [0], [0]]]), "P2": VIEW}
    pair = ["image_size: [1920, 1080]\n", *(f"{name}: {flat(values)}\n" for name, values in stereo.items())]
    for name, lines in {"camchain.yml": kalibr, "cameras.txt": colmap, "ros.yml": ros, "message.yml": message,
                        "stereo.yml": pair}.items():
        with open(os.path.join(directory, name), "w") as file:
            file.writelines(lines)


def write_calibration(path, camera, coefficients):
    storage = cv2.FileStorage(path, cv2.FILE_STORAGE_WRITE)
    storage.write("image_width", 1920)
    storage.write("image_height", 1080)
    storage.write("camera_matrix", camera)
    storage.write("distortion_coefficients", numpy.array(coefficients).reshape(-1, 1))
    storage.write("fisheye_model", int("fisheye" in path))
    storage.release()


def scaled(camera, size):
    camera = camera.copy()
    for axis, scale in enumerate((size[0] / 1920, size[1] / 1080)):
        camera[axis, axis] *= scale
        camera[axis, 2] = (camera[axis, 2] + 0.5) * scale - 0.5  # the first pixel's centre is at 0
    return camera


def source_map(camera, coefficients, size, alpha, rotation, projection):
    is_fisheye = camera is FISHEYE and len(coefficients) == 4
    camera, straight, coefficients = scaled(camera, size), scaled(projection, size), numpy.array(coefficients)
    if alpha is not None:
        # Some versions look at one pixel beyond the picture, and so even change the camera of a perfect lens.
        plain, _ = cv2.getOptimalNewCameraMatrix(camera, numpy.zeros(5), size, 0)
        seen = size if numpy.allclose(plain, camera, atol=0.1) else (size[0] - 1, size[1] - 1)
        straight, _ = cv2.getOptimalNewCameraMatrix(camera, coefficients, seen, alpha, size)
    module = cv2.fisheye if is_fisheye else cv2
    return module.initUndistortRectifyMap(camera, coefficients, rotation, straight, size, cv2.CV_32FC1)


directory = sys.argv[1]
write_others(directory)
with open(os.path.join(directory, "maps.txt"), "w") as lines:
    for name, camera, coefficients, (width, height), alpha, *view in CASES:
        chosen, rotation, projection = view + ["-", numpy.eye(3), camera][len(view):]
        if not view:
            write_calibration(os.path.join(directory, name), camera, coefficients)
        across, down = source_map(camera, coefficients, (width, height), alpha, rotation, projection)
        for y in (0, height // 3, height - 1):
            for x in (0, width // 5, width // 2, width - 1):
                print(name, chosen, width, height, -1 if alpha is None else alpha, x, y,
                      "%.4f %.4f" % (across[y, x], down[y, x]), file=lines)
