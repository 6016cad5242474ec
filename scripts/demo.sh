#!/bin/sh
# demo.sh [PICTURE.png]: sets up, builds, and scales and warps a picture (or a test chart). The results are in demo/.
set -eu
input=${1:+$(realpath "$1")}
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release
cmake --build --preset release --target vantor
mkdir -p demo
vantor=$PWD/build/bin/vantor

say() {
    echo "+ vantor $*"
    "$vantor" "$@"
}

if [ -z "$input" ]; then
    input=demo/chart.png
    say chart -o "$input" --size 1280x720
fi
say scale "$input" -o demo/same.png --size 100%
say scale demo/same.png -o demo/reduced.png --size 50%
say scale demo/same.png -o demo/enlarged.png --size 150%
size=$("$vantor" info demo/same.png | cut -d' ' -f1)
say scale demo/reduced.png -o demo/restored.png --size "$size"
echo "What the way down and up again costs:"
say compare demo/same.png demo/restored.png || [ $? = 1 ]

say warp "$input" -o demo/rotated.png --rotate 5 --zoom 0.9
say warp "$input" -o demo/straightened.png --lens=-0.15,0.02
say grid --lens=-0.15,0.02 --size "$size" -o demo/lens.txt --plot demo/lens.png
echo "Done. Look at the pictures in demo/: reduced, enlarged, restored, rotated, straightened, and the grid in lens."
