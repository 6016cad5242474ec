#!/bin/sh
# android.sh: compiles and links the library for the device's triple, with Debian's parts instead of a development kit,
# and compares its undefined symbols with platform/android/undefined.txt. Compiles its self-test and the C library as
# well.
set -eu
cd "$(dirname "$0")/.."
out=$PWD/build-android
mkdir -p "$out"

# The C++ headers are unpacked, not installed: their package does not go together with its other versions.
if [ ! -d "$out/libcxx" ]; then
    (
        cd "$out"
        apt-get download -q libc++-16-dev >/dev/null 2>&1 || { apt-get update -q && apt-get download -q libc++-16-dev; }
        dpkg -x libc++-16-dev_*.deb libcxx
    )
fi
cxx_headers=$(dirname "$(find "$out/libcxx" -path '*c++/v1/vector')")
c_headers=$(dirname "$(dirname "$(arm-linux-gnueabi-g++ -print-file-name=libc.so.6)")")/include

# compile SOURCE OPTIONS...
compile() {
    clang++ --target=armv7a-linux-androideabi24 -std=c++17 -O2 -fPIC -ffp-contract=off -Wall -Wextra -Werror -nostdinc++ \
        -nostdlibinc -isystem "$cxx_headers" -isystem "$c_headers" -I. -Iplatform/linux/include \
        -isystem platform/linux/include/generated -c "$@"
}

objects=
for source in $(git ls-files 'gdc_model/*.cpp' 'hardware/*.cpp' 'processor/*.cpp' 'scaler/*.cpp'); do
    object=$out/$(echo "$source" | tr / _).o
    compile "$source" -fvisibility=hidden -fvisibility-inlines-hidden -o "$object"
    objects="$objects $object"
done
# shellcheck disable=SC2086 # a list of files
clang++ --target=armv7a-linux-androideabi24 -fuse-ld=lld -nostdlib -shared -Wl,-soname,libVantor10.so \
    -Wl,--version-script=cmake/exports.map -o "$out/libVantor10.so" $objects

# The device's own strong pointers do not ask for sp_report_null, and __aeabi_ names are the compiler's own.
arm-linux-gnueabi-nm -DC --undefined-only "$out/libVantor10.so" | sed 's/^ *[Uw] //; s/@.*//' |
    grep -v -e sp_report_null -e __aeabi_ | LC_ALL=C sort >"$out/undefined.txt"
diff platform/android/undefined.txt "$out/undefined.txt" || {
    echo "android: the library asks other things of the device than platform/android/undefined.txt says (above)" >&2
    exit 1
}
for source in tools/selftest/*.cpp; do compile "$source" -fno-exceptions -fno-rtti -o "$out/selftest.o"; done
for source in bindings/c/*.cpp geometry/*.cpp; do compile "$source" -Ibindings/c -DVANTOR_VERSION='""' -o "$out/c.o"; done
echo "android: compiled, linked and asks for what it should"
