#!/bin/sh
# web.sh [--site] [OUT]: builds what runs in browsers into OUT (build/web by default): vantor.wasm, the engines with plain
# kernels, and, where the tree has kernels for 128-bit vectors, vantor-simd.wasm with these; and live.html, the page that
# `vantor live` fills in. With --site also OUT/site, for any static host: the page with pictures to try it on, and the
# documents. VANTOR names the tool that draws them (build/bin/vantor by default); it needs python3-markdown.
set -eu
cd "$(dirname "$0")/.."
site=
if [ "${1:-}" = --site ]; then
    site=yes
    shift
fi
out=${1:-build/web}
version=$(sed -n 's/^project(Vantor10 VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
for needed in clang++-14 wasm-ld-14; do
    command -v "$needed" >/dev/null || {
        echo "web: $needed is missing: scripts/setup.sh --web installs what builds WebAssembly" >&2
        exit 1
    }
done
mkdir -p "$out"
objects=$(mktemp -d)
trap 'rm -rf "$objects"' EXIT

# What the engines and the C library are made of, but for threads, the device's entries and vector kernels.
sources=$(printf "%s\n" bindings/web/*.cpp bindings/c/*.cpp geometry/*.cpp gdc_model/*.cpp scaler/*.cpp processor/*.cpp |
    grep -Ev '_(avx2|avx512|neon|wasm)\.cpp$' |
    grep -Ev 'bindings/c/(compare|engine_new|thread_pool)\.cpp$|scaler/interpolate\.cpp$' |
    grep -Ev 'gdc_model/(device_warp|gdc_(core|grid|planes|run|state)|run_state)\.cpp$')
vectors=$(find gdc_model -name '*_wasm.cpp')
exports='malloc free __stack_pointer vantor_from_rgb vantor_to_rgb vantor_scale vantor_warp_part vantor_explain
    vantor_grid_from_transform vantor_grid_from_rectification vantor_grid_parse vantor_grid_format
    vantor_hash_begin vantor_hash_bytes vantor_hash_value vantor_selftest vantor_version
    vantor_web_kernels vantor_web_rgba vantor_web_mesh vantor_web_report vantor_web_error'
clang="clang++-14 --target=wasm32-wasi -flto -mmutable-globals -mnontrapping-fptoint -msign-ext"

# module NAME FLAGS SOURCES...: the loops of the warp are worth their size, all else is not; and vectors are for the warp,
# as the page scales a picture once.
module() {
    name=$1 flags=$2
    shift 2
    mkdir "$objects/$name"
    for source in "$@"; do
        case $source in
        gdc_model/picture_warp.cpp | gdc_model/warp_* | bindings/c/colour.cpp | bindings/web/rgba.cpp) level=-O3 ;;
        *) level=-Oz ;;
        esac
        case $source in gdc_model/* | processor/* | bindings/web/*) own=$flags ;; *) own= ;; esac
        # shellcheck disable=SC2086 # a list of words
        ${WEB_LAUNCHER:-} $clang $own $level -std=c++17 -fignore-exceptions -ffp-contract=off -fvisibility=hidden \
            -I. -Ibindings/c -DVANTOR_VERSION="\"$version\"" -Wall -Wextra -c "$source" \
            -o "$objects/$name/$(echo "$source" | tr / _).o"
    done
    # shellcheck disable=SC2046,SC2086
    $clang -O2 -mexec-model=reactor -Wl,--strip-all,--gc-sections,-z,stack-size=262144 \
        $(printf -- '-Wl,--export=%s ' $exports) "$objects/$name"/*.o -o "$out/$name.wasm"
}

# shellcheck disable=SC2086
module vantor "" $sources
# shellcheck disable=SC2086
[ -z "$vectors" ] || module vantor-simd -msimd128 $sources $vectors
python3 bindings/web/bundle.py "$out"
[ -z "$site" ] || /usr/bin/python3 bindings/web/site.py "${VANTOR:-build/bin/vantor}" "$out"
