#!/bin/sh
# reproducible.sh: builds the libraries, the tool and the Debian packages from two clean clones in different directories,
# and compares their hashes. Takes some minutes.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh --deb
commit=$(git rev-parse HEAD)
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct "$commit")
export SOURCE_DATE_EPOCH
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT

# build NAME CLONE MASK: builds all in a clone made under the mask, and writes the hashes of what comes out.
build() {
    (umask "$3" && git clone -q . "$directory/$2" && git -C "$directory/$2" checkout -q "$commit")
    {
        cmake -S "$directory/$2" -B "$directory/$2/build" -G Ninja -DCMAKE_INSTALL_PREFIX=/usr
        cmake --build "$directory/$2/build"
        env -C "$directory/$2/build" cpack
    } >"$directory/log" 2>&1 || { cat "$directory/log"; exit 1; }
    (cd "$directory/$2/build" && sha256sum bin/* lib/*.* ./*.deb) >"$directory/hashes.$1"
}

umask 022
build first one 022
TZ=Asia/Tokyo build second another/directory 077
cat "$directory/hashes.first"
diff "$directory/hashes.first" "$directory/hashes.second" ||
    { echo "reproducible: the builds differ (above)" >&2; exit 1; }
echo "reproducible: both builds are the same"
