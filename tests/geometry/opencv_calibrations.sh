#!/bin/sh
# opencv_calibrations.sh UNDISTORT_MAP_TEST: the test on calibrations and maps that the installed OpenCV makes now.
set -eu
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$(dirname "$0")/opencv_calibrations.py" "$folder"
VANTOR_CALIBRATIONS=$folder "$1" --gtest_filter=UndistortMap.*
