#!/bin/sh
# instructions.sh [--write]: counts executed instructions per pixel of output (chroma: per pair) of each family of
# kernels, plain and with the best table, on 32-bit ARM, 64-bit ARM and x86-64 (to AVX2), all under the emulator. With
# --write the table goes into docs/performance.md as well.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh --count
out=build-count
mkdir -p "$out"
gcc -shared -fPIC -O2 -Wall -Wextra -Werror bench/instruction_count.c -o "$out/count.so"

# count LIMIT FAMILY ROWS COMMAND...: pixels and executed instructions of one run.
count() {
    limit=$1 family=$2 rows=$3
    shift 3
    env ${limit:+VANTOR_CPU=$limit} "$@" "$family" "$rows" 2>&1 | grep -o '[0-9]*$' | tr '\n' ' '
}

# measure NAME PRESET EMULATOR...: a line for each family, from the difference of two runs.
measure() {
    name=$1 preset=$2
    shift 2
    { cmake --preset "$preset" -B "$out/$preset" -DVANTOR_BENCH=ON -DVANTOR_TESTS=OFF -DVANTOR_TOOL=OFF &&
        cmake --build "$out/$preset" --target vantor-count; } >"$out/$preset.log" 2>&1 ||
        { cat "$out/$preset.log"; exit 1; }
    set -- "$@" "$out/$preset/bin/vantor-count"
    for family in luma chroma nv12-1.5 nv12-2 nv12-2.1 nv12-3.75 interp4-luma interp4-nv12 warp; do
        for limit in plain ''; do
            echo "$(count "$limit" "$family" 120 "$@") $(count "$limit" "$family" 360 "$@")"
        done | awk -v name="$name" -v family="$family" '
            { cost[NR] = ($4 - $2) / ($3 - $1) }
            END { printf "| %-6s | %-12s | %6.2f | %10.2f | %5.1f |\n", name, family, cost[1], cost[2], cost[1] / cost[2] }'
    done
}

table() {
    printf '| target | family       |  plain | best table | ratio |\n|--------|--------------|-------:|-----------:|------:|\n'
    arm=$(dirname "$(dirname "$(arm-linux-gnueabi-g++ -print-file-name=libc.so.6)")")
    arm64=$(dirname "$(dirname "$(aarch64-linux-gnu-g++ -print-file-name=libc.so.6)")")
    measure arm arm qemu-arm -plugin "$out/count.so" -L "$arm" -E LD_LIBRARY_PATH="$arm/lib"
    measure arm64 arm64 qemu-aarch64 -plugin "$out/count.so" -L "$arm64" -E LD_LIBRARY_PATH="$arm64/lib"
    measure x86-64 release qemu-x86_64 -cpu max -plugin "$out/count.so"
}

table >"$out/table.md"
cat "$out/table.md"
if [ "${1:-}" = --write ]; then
    page=docs/performance.md
    sed -i -e "/<!-- counted: begin -->/r $out/table.md" -e '/<!-- counted: begin -->/,/<!-- counted: end -->/{/^|/d}' $page
fi
