#!/bin/sh
# reproducible.sh: builds the library, the tool and the Debian packages from two clean clones in different folders, and
# compares their hashes. Takes some minutes.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh --deb
commit=$(git rev-parse HEAD)
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct "$commit")
export SOURCE_DATE_EPOCH
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# build NAME CLONE MASK: builds all in a clone made under the mask, and writes the hashes of what comes out.
build() {
    (umask "$3" && git clone -q . "$folder/$2" && git -C "$folder/$2" checkout -q "$commit")
    {
        cmake -S "$folder/$2" -B "$folder/$2/build" -G Ninja -DCMAKE_INSTALL_PREFIX=/usr
        cmake --build "$folder/$2/build"
        env -C "$folder/$2/build" cpack
    } >"$folder/log" 2>&1 || { cat "$folder/log"; exit 1; }
    (cd "$folder/$2/build" && sha256sum bin/* lib/*.* ./*.deb) >"$folder/hashes.$1"
}

umask 022
build first one 022
TZ=Asia/Tokyo build second another/folder 077
cat "$folder/hashes.first"
diff "$folder/hashes.first" "$folder/hashes.second" ||
    { echo "reproducible: the builds differ (above)" >&2; exit 1; }
echo "reproducible: both builds are the same"
