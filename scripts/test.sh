#!/bin/sh
# test.sh [--all]: sets up, builds and runs the native tests; with --all the whole matrix: the format of the sources,
# the generated headers, the platform's real libraries, a build for the device's triple, the installation, valgrind, g++
# and clang, sanitizers, 32-bit and 64-bit ARM and s390x under the emulator, and a short turn of each fuzzer.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh "$@"

# run PRESET: builds and tests one entry of CMakePresets.json.
run() {
    echo "== $1"
    cmake --preset "$1" >"build-$1.log" 2>&1 || { cat "build-$1.log"; exit 1; }
    cmake --build --preset "$1" >"build-$1.log" 2>&1 || { cat "build-$1.log"; exit 1; }
    ctest --test-dir "build-$1" --output-on-failure --progress -j "$(nproc)" >"build-$1.log" 2>&1 ||
        { cat "build-$1.log"; exit 1; }
    tail -n 4 "build-$1.log"
    grep -h '^kernel table' "build-$1/Testing/Temporary/LastTest.log" | sort -u
}

run release
if [ "${1:-}" = --all ]; then
    git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
    scripts/hidl.sh --check
    scripts/conformance.sh
    scripts/android.sh
    scripts/packages.sh
    echo "== memcheck"
    scripts/memcheck.sh
    for preset in release-clang asan tsan arm arm64 s390x; do run "$preset"; done
    echo "== fuzz"
    scripts/fuzz.sh 10
fi
