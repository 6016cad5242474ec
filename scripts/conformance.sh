#!/bin/sh
# conformance.sh: runs the tests of the platform's stand-in with the platform's real libraries, as far as Debian has
# them. Where they are not there and cannot be installed, nothing is tested.
set -eu
cd "$(dirname "$0")/.."
packages="android-liblog-dev android-libutils-dev android-libcutils-dev googletest g++"
# shellcheck disable=SC2086 # a list of words
installed() { dpkg-query -W -f '${Status}\n' $packages 2>/dev/null | grep -c 'ok installed' | grep -qx 5; }

# shellcheck disable=SC2086
installed || DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends $packages >/dev/null 2>&1 ||
    { echo "conformance: skipped, cannot install $packages"; exit 0; }

include=$(dpkg -L android-libutils-dev | sed -n 's,/utils/RefBase.h$,,p')
libraries=$(dirname "$(dpkg -L android-libutils | grep '/libutils\.so$')")
gtest=$(dpkg -L googletest | sed -n 's,/src/gtest-all.cc$,,p')
mkdir -p build-conformance
g++ -std=c++17 -pthread -I"$include" -I"$gtest" -I"$gtest/include" tests/platform/platform_test.cpp \
    "$gtest/src/gtest-all.cc" "$gtest/src/gtest_main.cc" -L"$libraries" -Wl,-rpath,"$libraries" \
    -llog -lutils -lcutils -o build-conformance/platform_test
build-conformance/platform_test
