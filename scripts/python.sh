#!/bin/sh
# python.sh: makes the Python wheel in build-python/, with a C library in it that runs on other distributions too, checks
# it, installs it into a fresh environment, and runs the tests there.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh --python
out=$PWD/build-python log=$PWD/build-python/log platform=manylinux_2_34_$(uname -m)
rm -rf "$out/dist" "$out/environment"
mkdir -p "$out"

# quietly COMMAND...: shows the output of a command only if it fails.
quietly() {
    "$@" >"$log" 2>&1 || { cat "$log"; exit 1; }
}

# newest NAME: the highest version of the symbols with this name that the library needs.
newest() {
    objdump -T "$library" | sed -n "s/.*[ (]$1_\([0-9][0-9.]*\).*/\1/p" | sort -uV | tail -n 1
}

echo "== python"
(cd bindings/python && mypy --strict --python-version 3.9 vantor)
flake8 --max-line-length 120 bench bindings examples tests/bindings

quietly cmake --preset release
quietly cmake --build --preset release --target vantor
# A distribution with this version of the C library may have an older one of the C++ library.
quietly cmake -S . -B "$out/library" -G Ninja -DVANTOR_TOOL=OFF \
    -DCMAKE_SHARED_LINKER_FLAGS="-static-libstdc++ -Wl,--gc-sections"
quietly cmake --build "$out/library" --target vantor_c
library=$out/library/lib/libvantor.so.1
strip --strip-unneeded "$library"
[ "$(printf '2.34\n%s\n' "$(newest GLIBC)" | sort -V | tail -n 1)" = 2.34 ] && [ -z "$(newest GLIBCXX)" ] ||
    { echo "python: the library needs GLIBC_$(newest GLIBC) GLIBCXX_$(newest GLIBCXX)" >&2; exit 1; }

rm -rf bindings/python/build
(cd bindings/python && VANTOR_LIBRARY=$library quietly /usr/bin/python3 setup.py -q egg_info --egg-base "$out" \
    bdist_wheel --plat-name "$platform" --dist-dir "$out/dist")
rm -rf bindings/python/build
/usr/bin/python3 -m venv --system-site-packages "$out/environment"
quietly "$out/environment/bin/pip" install --no-index "$out"/dist/vantor-*-py3-none-"$platform".whl
env -u VANTOR_LIBRARY -u PYTHONPATH "$out/environment/bin/python" -B -m pytest -q -p no:cacheprovider \
    tests/bindings/python --tool build/bin/vantor
echo "python: $(basename "$out"/dist/*.whl) needs GLIBC_$(newest GLIBC), and works in an environment of its own"
