#!/bin/sh
# test.sh [--all]: sets up, builds and runs the native tests; with --all the whole matrix: the format of the sources,
# the includes between the rooms, the generated headers, the platform's real libraries, a build for the device's triple,
# the reference of the public headers, the installation, the Python wheel, whether what measures still runs, valgrind,
# g++ and clang, sanitizers, 32-bit and 64-bit ARM and s390x under the emulator, and a short run of each fuzzer.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh "$@"

# run PRESET DIRECTORY: builds and tests one entry of CMakePresets.json, in its build directory.
run() {
    echo "== $1"
    cmake --preset "$1" &&
        cmake --build --preset "$1" &&
        ctest --test-dir "$2" --output-on-failure --progress -j "$(nproc)" &&
        grep -h '^kernel table' "$2/Testing/Temporary/LastTest.log" | sort -u
}

# run_quietly PRESET: the same, with full output only on failure.
run_quietly() {
    (run "$1" "build-$1") >"build-$1.log" 2>&1 || { cat "build-$1.log"; exit 1; }
    head -n 1 "build-$1.log"
    sed -n '/tests passed/,$p' "build-$1.log"
}

# quietly NAME COMMAND...: shows what a command prints only if it fails.
quietly() {
    log=build-$1.log
    echo "== $1"
    shift
    "$@" >"$log" 2>&1 || { cat "$log"; exit 1; }
}

run release build
if [ "${1:-}" = --all ]; then
    git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
    scripts/rooms.py --check
    scripts/hidl.sh --check
    scripts/conformance.sh
    scripts/android.sh
    scripts/api.sh
    scripts/packages.sh
    scripts/python.sh
    quietly bench scripts/bench.sh --quick
    quietly instructions scripts/instructions.sh
    echo "== memcheck"
    scripts/memcheck.sh
    for preset in asan tsan arm arm64 s390x; do run_quietly "$preset"; done
    echo "== fuzz"
    scripts/fuzz.sh 10
fi
