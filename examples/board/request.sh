#!/bin/sh
# One request, done by a board that has nothing but a shell and a program of its own; here that is vantor:
#   vantor serve --socket /tmp/board.sock --backend pipe --command examples/board/request.sh
# BOARD is what takes a command to it, such as `ssh root@board` or `adb exec-out`; without, this machine is the board.
read -r operation size more
raw="--input-size $size --input-format nv12 --output-format nv12 --quiet"
case $operation in
scale) ${BOARD:-sh -c} "vantor scale - -o - --size $more $raw" ;;
warp) ${BOARD:-sh -c} "g=\$(mktemp) && dd of=\$g bs=1 count=8712 2>/dev/null && vantor warp - -o - --grid \$g $raw; s=\$?; rm \$g; exit \$s" ;;
esac
