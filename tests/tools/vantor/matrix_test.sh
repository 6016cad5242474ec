#!/bin/bash
# matrix_test.sh VANTOR: README's table "What runs where" and this build say the same of this processor.
source "$(dirname "$0")/expect.sh"

readme=$tests/../../../README.md
case $(uname -m) in
x86_64) column=3 ;;
arm*) column=4 ;;
aarch64) column=5 ;;
s390x) column=6 ;;
*) exit 77 ;;
esac
# stated ROW: the instruction sets that README states for a row, as vantor info spells them, in its order.
stated() {
    grep "^| $1 |" "$readme" | cut -d'|' -f $column | tr 'A-Z,' 'a-z ' | sed 's/avx-512/avx512/; s/plain c++/plain/; s/ or / /' |
        tr ' ' '\n' | grep . | sort | paste -sd' '
}
compiled() { "$vantor" info | sed -n "s/^  $1 *compiled \([^;]*\);.*/\1/p" | tr -d ',' | tr ' ' '\n' | sort | paste -sd' '; }

for family in "bicubic luma" "bilinear chroma" "interp4 luma" "interp4 chroma"; do
    [ "$(compiled "$family")" = "$(stated scaler)" ] || fail "$family: $(compiled "$family"); README: $(stated scaler)"
done
[ "$(compiled warp)" = "$(stated warp)" ] || fail "warp: $(compiled warp); README: $(stated warp)"
[ -n "$(stated warp)" ] || fail "no table in README"
finish
