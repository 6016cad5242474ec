#!/bin/sh
# memcheck.sh: runs the self-test, the tool on small pictures and the service's tests, as built by scripts/test.sh, under
# valgrind: no use of uninitialised memory, no invalid access, and no leak. With the plain
# kernels, and with the best ones that valgrind emulates (AVX2).
set -eu
cd "$(dirname "$0")/.."
bin=$PWD/build/bin
tests=$PWD/tests
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
cd "$directory"

check() {
    program=$1
    shift
    # A test's own operator new is to be called as it is; it takes what malloc gives, which is watched.
    valgrind --quiet --error-exitcode=99 --leak-check=full --soname-synonyms=somalloc=nouserintercepts \
        --errors-for-leak-kinds=definite,indirect,possible "$bin/$program" "$@" >out 2>&1 && return
    echo "memcheck: VANTOR_CPU=$VANTOR_CPU $program $*"
    cat out
    exit 1
}

for VANTOR_CPU in plain avx512; do
    export VANTOR_CPU
    check vantor info
    grep '^  warp' out
    check vantor-selftest
    grep '^all ' out
    check software_service_test
    check vantor chart -o chart.png --size 192x128
    check vantor scale chart.png -o half.png --size 50%
    check vantor scale chart.png -o chart_240x160.nv12 --size 240x160 --backend hardware
    cat chart_240x160.nv12 chart_240x160.nv12 chart_240x160.nv12 >clip_240x160.nv12
    check vantor warp clip_240x160.nv12 -o clip.y4m --lens=-0.15,0.02 --jobs 2
    check vantor grid --calibration "$tests/geometry/calibrations/five.yml" -o five.grid --plot mesh.png
    check vantor record bug.vrec warp chart.png -o turned.png --rotate 5
    check vantor replay bug.vrec
    check vantor compare chart.png chart.png
done
echo "memcheck: nothing wrong"
