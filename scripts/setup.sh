#!/bin/sh
# setup.sh [--all]: installs what the build, the tool and the native tests need, with --all also what the whole test
# matrix needs. Only missing packages are installed, and nothing is done where none is missing.
set -eu
packages="g++ cmake ninja-build libcairo2-dev libcli11-dev libpng-dev libxxhash-dev libyuv-dev nlohmann-json3-dev googletest python3"
if [ "${1:-}" = --all ]; then
    packages="$packages clang clang-format libclang-rt-14-dev lld g++-arm-linux-gnueabi g++-aarch64-linux-gnu"
    packages="$packages hidl-gen qemu-user"
fi

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
