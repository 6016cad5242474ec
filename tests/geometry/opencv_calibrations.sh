#!/bin/sh
# opencv_calibrations.sh UNDISTORT_MAP_TEST: the test on calibrations and maps that the installed OpenCV makes now.
set -eu
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
"$(dirname "$0")/opencv_calibrations.py" "$directory"
VANTOR_CALIBRATIONS=$directory "$1" --gtest_filter=UndistortMap.*
