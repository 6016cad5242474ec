#!/bin/sh
# setup.sh [--all|--api|--bench|--count|--deb|--packages|--python|--rooms|--web]: installs what the build, the tool and
# the native tests need; also, with --all what the whole test matrix needs, with --bench what the benchmarks compare with,
# with --count what counts instructions, with --rooms what draws the rooms, with --web what builds and tests the engines
# for browsers, and what the scripts api.sh, packages.sh, packages.sh --deb and python.sh need. Only missing packages are
# installed, and nothing is done where none is missing.
set -eu
packages="g++ cmake ninja-build libcairo2-dev libcli11-dev libjpeg-dev libpng-dev libpugixml-dev"
packages="$packages libyaml-cpp-dev libyuv-dev zlib1g-dev libsimde-dev nlohmann-json3-dev googletest python3"
packages="$packages python3-numpy python3-pil python3-pytest python3-yaml"
emulated="g++-arm-linux-gnueabi g++-aarch64-linux-gnu qemu-user"
integration="make pkg-config"
python="binutils flake8 mypy opencv-doc python3-distributed python3-matplotlib python3-opencv python3-pip"
python="$python python3-setuptools python3-venv python3-wheel"
simulators="iverilog verilator yosys"
gstreamer="gstreamer1.0-plugins-bad gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-tools"
gstreamer="$gstreamer libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev"
wasm="clang-14 libc++-14-dev-wasm32 libclang-rt-14-dev-wasm32 lld-14 wasi-libc"
web="$wasm chromium chromium-driver nodejs python3-markdown python3-selenium"
peers="libbenchmark-dev libopencv-imgproc-dev libswscale-dev libzimg-dev pkg-config"
programs="ffmpeg imagemagick libvips-tools"
case ${1:-} in
--all)
    packages="$packages clang clang-format fish libclang-rt-14-dev lld hidl-gen valgrind zsh $emulated"
    packages="$packages g++-s390x-linux-gnu doxygen $integration $peers $python $simulators $gstreamer $web"
    ;;
--api) packages="$packages doxygen" ;;
--bench) packages="$packages $peers $programs" ;;
--count) packages="$packages $emulated" ;;
--deb) packages="$packages $integration debootstrap dpkg-dev file git lintian verilator"
    packages="$packages libgstreamer-plugins-base1.0-dev $wasm" ;;
--packages) packages="$packages $integration" ;;
--python) packages="$packages $python" ;;
--rooms) packages="$packages graphviz" ;;
--web) packages="$packages $web" ;;
esac

missing=
for package in $packages; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if [ "$(id -u)" = 0 ]; then
    as_root=
elif command -v sudo >/dev/null; then
    as_root=sudo
else
    echo "setup: please install these Debian packages as root:$missing" >&2
    exit 1
fi
echo "setup: installing$missing"
$as_root apt-get update -q
# shellcheck disable=SC2086 # a list of words
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends $missing
