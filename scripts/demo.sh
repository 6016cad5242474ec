#!/bin/sh
# demo.sh [PICTURE.png]: sets up, builds, and scales a picture (or a test chart) down and up again. The results are in
# demo/.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake -S . -B build -G Ninja >/dev/null
cmake --build build | tail -n 1
vantor=$PWD/build/bin/vantor
mkdir -p demo

say() {
    echo "+ vantor $*"
    "$vantor" "$@"
}

input=${1:-demo/chart.png}
[ $# -gt 0 ] || say chart -o "$input" --size 1280x720
say scale "$input" -o demo/same.png --size 100% 2>&1 | tee demo/same.log
size=$(sed -n 's/.* to demo.same.png \([0-9]*x[0-9]*\) .*/\1/p' demo/same.log)
say scale demo/same.png -o demo/reduced.png --size 50%
say scale demo/reduced.png -o demo/restored.png --size "$size"
say scale demo/same.png -o demo/enlarged.png --size 150%
echo "What the way down and up again costs:"
say compare demo/same.png demo/restored.png || [ $? = 1 ]
echo "Done. Look at demo/reduced.png, demo/restored.png and demo/enlarged.png."
