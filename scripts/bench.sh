#!/bin/sh
# bench.sh [--quick]: sets up, builds and times the libraries against their peers, pinned to one CPU, and on all;
# about ten minutes. Prints the numbers, and writes build-bench/bench.json, docs/images/speed.svg and the measured parts
# of docs/performance.md and bench/README.md. With --quick it takes a few numbers in 20 seconds and writes no document.
set -eu
cd "$(dirname "$0")/.."
rounds=6 seconds=0.03 repetitions=2 warps= quick=
if [ "${1:-}" = --quick ]; then
    rounds=1 seconds=0.001 repetitions=1 warps=1920 quick=yes
fi
scripts/setup.sh --bench
out=build-bench
mkdir -p "$out"
{ cmake -S . -B "$out" -G Ninja -DVANTOR_BENCH=ON -DVANTOR_TOOL=OFF && cmake --build "$out" --target vantor-bench; } \
    >"$out/build.log" 2>&1 || { cat "$out/build.log"; exit 1; }
rm -rf "$out/runs"
mkdir "$out/runs"

# run NAME FILTER COMMAND...: one run of the benchmarks whose names match.
run() {
    name=$1 filter=$2
    shift 2
    "$@" "$out/bin/vantor-bench" --benchmark_filter="$filter" --benchmark_min_time="$seconds" \
        --benchmark_repetitions="$repetitions" --benchmark_out="$out/runs/$name.json" >"$out/runs/$name.log" 2>&1 ||
        { cat "$out/runs/$name.log"; exit 1; }
}

# The machine may be slower for seconds at a time: all take turns, and the minimum time of each counts.
all="^(threads/|scale/|warp/$warps)"
own="^(scale/|warp/$warps).*/(Vantor10|engine, 1 thread)"
on_all="^(scale/|warp/$warps).*/(engine, all threads|engines side by side)"
round=1
while [ "$round" -le "$rounds" ]; do
    echo "bench: round $round of $rounds"
    run "all-$round" "$all" taskset -c 0
    run "avx2-$round" "$own" env VANTOR_CPU=avx2 taskset -c 0
    run "plain-$round" "$own" env VANTOR_CPU=plain taskset -c 0
    run "engines-$round" "$on_all" env
    round=$((round + 1))
done
if [ -z "$quick" ]; then
    echo "bench: growth with size"
    run sweep '^sweep/' taskset -c 0
    echo "bench: all processors"
    run cores "^(scale|warp)/.*/Vantor10" env
fi

python3 -B bench/report.py "$out" ${quick:+--quick}
[ -n "$quick" ] || python3 -B bench/chart.py "$out/bench.json" docs/images/speed.svg
