#!/bin/bash
# damage_test.sh VANTOR: small files cut off, or with a byte changed, at every place: a result or a clear error, and
# nothing half-written. VANTOR_STEP=1 damages every byte of the longer files too.
source "$(dirname "$0")/expect.sh"

expect 0 "" chart -o chart.png --size 96x64
expect 0 "" scale chart.png -o small.png --size 8x8
expect 0 "" scale chart.png -o small.y4m --size 8x8
expect 0 "" grid --rotate 3 --size 96x64 -o turn.txt
expect 0 "" record --hashes-only small.vrec scale chart.png -o x.png --size 8x8
cp "$tests/calibrations/five.yml" camera.yml

# damaged FILE STEP ARGUMENTS...: runs the tool on damaged.EXTENSION made from the file, at every STEP bytes.
damaged() {
    local file=$1 size input status
    size=$(stat -c %s "$file")
    input=damaged.${file##*.}
    for ((at = 0; at < size; at += ${VANTOR_STEP:-$2})); do
        for damage in cut changed; do
            head -c "$at" "$file" >"$input"
            [ $damage = cut ] || { printf '\xa5'; tail -c +$((at + 2)) "$file"; } >>"$input"
            rm -f never.*
            "$vantor" "${@:3}" >out 2>&1
            status=$?
            [ $status -le 2 ] || fail "$file $damage at $at: status $status: $(cat out)"
            if [ $status = 2 ]; then
                grep -q "^vantor: " out || fail "$file $damage at $at: no error: $(cat out)"
                [ -z "$(ls never.* .vantor* 2>/dev/null)" ] || fail "$file $damage at $at: left $(ls never.* .vantor*)"
            fi
        done
    done
}
damaged small.png 1 scale damaged.png -o never.gray --size 4x4
damaged small.y4m 1 scale damaged.y4m -o never.y4m --size 4x4
damaged small.vrec 9 replay damaged.vrec --source chart.png
damaged turn.txt 199 warp chart.png -o never.png --grid damaged.txt
damaged camera.yml 61 grid --calibration damaged.yml --size 96x64 -o never.txt
finish
