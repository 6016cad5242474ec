#!/bin/sh
# packages.sh [--deb]: sets up, builds, installs into a directory that is then moved, and builds and runs the examples
# against it: by find_package, by pkg-config and as a subdirectory. With --deb (as root, about five minutes) it makes
# the Debian packages instead, in build-deb/, and installs and runs them in a bare Debian system of their own.
set -eu
cd "$(dirname "$0")/.."
source=$PWD

# quietly COMMAND...: shows the output of a command only if it fails.
quietly() {
    "$@" >"$log" 2>&1 || { cat "$log"; exit 1; }
}

# Examples of the C library, and of the device's.
of_c="half half_clip half_loaded" of_device="half_client half_on_service"

# check NAME EXAMPLES COMMAND... DIRECTORY: the examples in the directory give the tool's bytes.
check() {
    name=$1 names=$2
    shift 2
    for example in $names; do
        # shellcheck disable=SC2145 # the last argument is the directory
        "$@/$example" 1280 720 <"$out/chart_1280x720.nv12" >"$out/half.nv12"
        cmp "$out/half.nv12" "$out/expected_640x360.nv12"
        echo "packages: $name: $example is built, and halves a picture"
    done
}

# shown LANGUAGE PAGE: the blocks of code in a page.
shown() {
    sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/{/^\`\`\`/!p}" "$2"
}

examples() {
    out=$source/build-packages log=$source/build-packages/log
    rm -rf "$out"
    mkdir "$out"
    quietly cmake --preset release
    quietly cmake --build --preset release
    quietly cmake --install build --prefix "$out/installed" --strip
    mv "$out/installed" "$out/moved"
    vantor=$out/moved/bin/vantor
    "$out/moved/bin/vantor-selftest" | tail -n 1
    "$vantor" chart -o "$out/chart_1280x720.nv12" --size 1280x720
    "$vantor" scale "$out/chart_1280x720.nv12" -o "$out/expected_640x360.nv12" --size 50%

    plugin=$(find "$out/moved" -name libgstvantor.so)
    if [ -n "$plugin" ] && command -v gst-inspect-1.0 >"$log"; then
        quietly env GST_PLUGIN_PATH="${plugin%/*}" GST_REGISTRY="$out/registry" gst-inspect-1.0 vantorscale
        echo "packages: gst-inspect-1.0 finds vantorscale"
    fi

    # Each header compiles alone, with nothing of this directory, as C++14.
    while read -r header; do
        echo "#include \"$header\"" | g++ -std=c++14 -pedantic-errors -Wall -Wextra -Werror -fsyntax-only \
            -I"$out/moved/include/vantor10" -x c++ -
    done <cmake/public_headers.txt
    # The README shows the first example, and how it is built; what docs/c.md shows compiles.
    shown c README.md | diff - examples/half.c
    shown c docs/c.md | gcc -std=c99 -pedantic-errors -Wall -Wextra -Werror -fopenmp -fsyntax-only \
        -I"$out/moved/include" -x c -
    { shown cmake README.md && echo 'include(../others.cmake)'; } | diff - examples/find_package/CMakeLists.txt
    quietly cmake -S examples/find_package -B "$out/find_package" -DCMAKE_PREFIX_PATH="$out/moved"
    quietly cmake --build "$out/find_package"
    check find_package "$of_c $of_device" "$out/find_package"

    PKG_CONFIG_PATH=$(dirname "$(find "$out/moved" -name vantor10.pc)")
    export PKG_CONFIG_PATH
    # shellcheck disable=SC2086 # lists of words
    quietly make -C examples/pkg_config OUT="$out" $of_c $of_device
    check pkg-config "$of_c $of_device" env LD_LIBRARY_PATH="$(pkg-config --variable=libdir vantor)" "$out"

    quietly cmake -S examples/add_subdirectory -B "$out/add_subdirectory" -G Ninja
    quietly cmake --build "$out/add_subdirectory"
    ninja -C "$out/add_subdirectory" -t commands | grep -q -e '-O3 .*scaler/interpolate.cpp' ||
        { echo "packages: add_subdirectory: not optimised without a build type" >&2; exit 1; }
    check add_subdirectory "$of_c $of_device" "$out/add_subdirectory"
}

# bare COMMAND...: runs a command in the bare system, with /proc, which $ORIGIN needs, mounted for it alone.
bare() {
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive \
        unshare --mount sh -c 'mount -t proc proc "$0/proc" && exec chroot "$0" "$@"' "$root" "$@"
}

# try EXAMPLES PACKAGES: installs packages in the bare system, and builds and runs examples there.
try() {
    quietly bare sh -ec "apt-get install -q -y --no-install-recommends $2
        rm -rf /tmp/build && cmake -S /tmp/examples/find_package -B /tmp/build && cmake --build /tmp/build
        make -C /tmp/examples/pkg_config OUT=/tmp $1"
    check find_package "$1" bare /tmp/build
    check pkg-config "$1" bare /tmp
}

packages() {
    out=$source/build-deb log=$source/build-deb/log root=$source/build-deb/root
    mkdir -p "$out"
    SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
    export SOURCE_DATE_EPOCH
    rm -f "$out"/*.deb
    quietly cmake -S . -B "$out" -G Ninja -DCMAKE_INSTALL_PREFIX=/usr
    quietly cmake --build "$out"
    quietly env -C "$out" cpack
    # The packages are not made for Debian's archive; two tags are how cpack and the package are called. Simulators name
    # libvantor_dpi.so, so it has no version.
    lintian --allow-root --fail-on error,warning --suppress-tags \
        initial-upload-closes-no-bugs,maintscript-calls-ldconfig,package-name-doesnt-match-sonames,shared-library-lacks-version \
        "$out"/*.deb

    rm -rf "$root"
    mirror=$(apt-get indextargets --format '$(SITE)' 'Codename: bookworm' 'Created-By: Packages' | head -n 1)
    quietly debootstrap --variant=minbase bookworm "$root" "$mirror"
    cp "$out"/*.deb "$root/tmp"
    quietly bare sh -c 'apt-get install -q -y --no-install-recommends /tmp/libvantor10_*.deb /tmp/vantor_*.deb'
    bare vantor --version
    bare vantor-selftest | tail -n 1
    bare vantor chart -o /tmp/chart_1280x720.nv12 --size 1280x720
    bare vantor scale /tmp/chart_1280x720.nv12 -o /tmp/expected_640x360.nv12 --size 50%
    bare vantor warp /tmp/chart_1280x720.nv12 -o /tmp/straight.png --lens=-0.15,0.02

    cp -R examples "$root/tmp"
    out=$root/tmp
    # With the C library's development package alone, and then with both.
    try "$of_c" 'cmake g++ make pkg-config /tmp/libvantor1_*.deb /tmp/libvantor-dev_*.deb'
    try "$of_c $of_device" '/tmp/libvantor10-dev_*.deb'
    quietly bare sh -c 'apt-get install -q -y --no-install-recommends /tmp/python3-vantor_*.deb'
    bare python3 -c "import vantor
right, pictures = vantor.selftest()
vantor.write('/tmp/half.nv12', vantor.scale(vantor.read('/tmp/chart_1280x720.nv12'), (640, 360)))
print(f'packages: python3-vantor: {right} of {pictures} pictures have the published bytes')"
    cmp "$out/half.nv12" "$out/expected_640x360.nv12"
    quietly bare sh -c 'apt-get install -q -y --no-install-recommends verilator /tmp/vantor-verification_*.deb'
    bare make -s -C /usr/share/vantor/verification/bench OUT=/tmp/bench
    quietly bare sh -c 'apt-get install -q -y /tmp/gstreamer1.0-vantor_*.deb'
    quietly bare gst-inspect-1.0 vantorscale
    bare gst-launch-1.0 -q filesrc location=/tmp/chart_1280x720.nv12 ! \
        rawvideoparse format=nv12 width=1280 height=720 ! vantorscale ! \
        video/x-raw,width=640,height=360 ! filesink location=/tmp/half.nv12
    cmp "$out/half.nv12" "$out/expected_640x360.nv12"
    echo "packages: gstreamer1.0-vantor: gst-launch-1.0 halves a picture"
    quietly bare apt-get purge -q -y gstreamer1.0-vantor libvantor1 libvantor-dev libvantor10 libvantor10-dev \
        python3-vantor vantor vantor-verification
    left=$(find "$root/usr" "$root/etc" -iname '*vantor*')
    [ -z "$left" ] || { echo "packages: left behind: $left" >&2; exit 1; }
    echo "packages: installed, run and removed without a trace"
}

if [ "${1:-}" = --deb ]; then
    scripts/setup.sh --deb
    packages
else
    scripts/setup.sh --packages
    examples
fi
