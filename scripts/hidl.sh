#!/bin/sh
# hidl.sh [--check]: makes the C++ headers of the service's interface anew from the .hal files, with --check only says
# whether they are up to date. Needs hidl-gen (Debian package hidl-gen).
set -eu
cd "$(dirname "$0")/.."
kept=platform/linux/include/generated
hal=platform/android/hal

made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
for package in android.hidl.base@1.0 android.hidl.manager@1.0 vendor.norlake.hardware.vantorService@1.0; do
    hidl-gen -o "$made" -L c++-headers -R -r "vendor.norlake:$hal/vendor/norlake" -r "android.hidl:$hal/android/hidl" \
        "$package"
done
# What passes calls between processes has no use here.
find "$made" \( -name 'B[nps]*.h' -o -name 'IHw*.h' -o -name 'hwtypes.h' \) -delete

if [ "${1:-}" = --check ]; then
    diff -r -x .clang-format "$kept" "$made" ||
        { echo "hidl: $kept is not what $hal gives: run scripts/hidl.sh" >&2; exit 1; }
else
    find "$kept" -name '*.h' -delete
    cp -R "$made/." "$kept"
fi
