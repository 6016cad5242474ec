#!/bin/sh
# old_and_new.sh COMMIT [SECONDS]: builds libVantor10 as it was at a commit and as it is here, loads both into one
# process, pinned to one CPU, and compares their times and bytes in each case of the benchmark (SECONDS each, 1 by
# default).
set -eu
cd "$(dirname "$0")/.."
[ $# -ge 1 ] || { echo "usage: scripts/old_and_new.sh COMMIT [SECONDS]" >&2; exit 2; }
scripts/setup.sh
out=$PWD/build-old-and-new
rm -rf "$out/source"
mkdir -p "$out/source"
git archive "$1" | tar -x -C "$out/source"

# build SOURCE DIRECTORY TARGET...: in a release build without the tool.
build() {
    from=$1 to=$2
    shift 2
    { cmake -S "$from" -B "$to" -G Ninja -DVANTOR_BENCH=ON -DVANTOR_TOOL=OFF && cmake --build "$to" --target "$@"; } \
        >"$out/build.log" 2>&1 || { cat "$out/build.log"; exit 1; }
}

build "$out/source" "$out/old" Vantor10
build . "$out/new" Vantor10 vantor-old-and-new
shift
taskset -c 0 "$out/new/bin/vantor-old-and-new" "$out/old/lib/libVantor10.so" "$out/new/lib/libVantor10.so" "$@"
