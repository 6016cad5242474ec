#!/bin/sh
# seat.sh PROGRAM [ARGUMENT...]: one request of the service, reduced or warped by the blocks; PROGRAM is pictures.sv as
# Verilator built it.
#   vantor serve --socket ./rtl.sock --backend pipe --command './seat.sh build/good/Vpictures'
set -eu
files=$(mktemp -d)
trap 'rm -rf "$files"' EXIT
read -r operation size more
case $operation in
scale)
    if [ "${more%x*}" -gt "${size%x*}" ] || [ "${more#*x}" -gt "${size#*x}" ]; then
        cat >"$files/source"
        echo "seat.sh: $size to $more: the blocks enlarge nothing" >&2
        exit 1
    fi
    set -- "$@" "+to_width=${more%x*}" "+to_height=${more#*x}"
    ;;
warp) dd of="$files/grid" bs=1 count=8712 2>"$files/dd" && set -- "$@" "+grid=$files/grid" ;;
esac
cat >"$files/source"
set -- "$@" "+source=$files/source" "+width=${size%x*}" "+height=${size#*x}" "+output=$files/output"
"$@" >"$files/log" 2>&1 || { cat "$files/log" >&2; exit 1; }
cat "$files/output"
