#!/bin/bash
# faults_test.sh VANTOR FAILING_CALLS: memory, disks, descriptors and processes that are missing, signals at any time, and
# many runs at once: the whole result, or a clear error and the old file.
source "$(dirname "$0")/expect.sh"
calls=$(realpath "$2")
ulimit -c 0

expect 0 "" chart -o chart.png --size 96x64
expect 0 "" warp chart.png -o turned.png --rotate 3
expect 0 "" scale chart.png -o small.y4m --size 16x8
{ cat small.y4m; tail -c 198 small.y4m; tail -c 198 small.y4m; } >clip.y4m
expect 0 "" record bug.vrec warp chart.png -o x.png --rotate 3
cp "$tests/calibrations/five.yml" camera.yml

# safe FILE WHAT STATUS...: FILE is as in the file whole after status 0 and old after 2, which has its error in the file out.
safe() {
    local file=$1 what=$2 status=$3
    shift 3
    case $status in
    0) cmp -s "$file" whole || fail "$what: another result" ;;
    2) grep -q '^vantor: ' out || fail "$what: no error: $(cat out)" ;;&
    2) cmp -s "$file" <(echo old) || { [ -n "${1:-}" ] && cmp -s "$file" whole; } || fail "$what: the old file is gone" ;;
    *) fail "$what: status $status: $(cat out)" ;;
    esac
    [ -z "$(find . -name '.vantor*')" ] || { fail "$what: left $(ls .vantor*)"; rm -f .vantor*; }
}

# No memory. Each allocation of a run in its turn: one share of 13 of them. Most are those of the options.
seed=${VANTOR_SEED:-0}
starve() { # starve FILE ARGUMENTS...
    local file=$1 at
    "$vantor" "${@:2}" >out 2>&1
    cp "$file" whole
    for ((at = 1 + 10#$seed % 13; ; at += at < 6900 ? 377 : 13)); do
        rm -f fault
        echo old >"$file"
        (
            [ $((at % 2)) = 0 ] || export FAIL_ON=1
            FAIL_MARK=fault FAIL_AT=$at LD_PRELOAD=$calls timeout 20 "$vantor" "${@:2}" >out 2>&1
        )
        safe "$file" "$2 without memory ($at, seed $seed)" $? late # the report may be what has no memory
        [ -e fault ] || break
    done
    [ $at -gt 6900 ] || fail "$2: only $at allocations failed"
}
if [ -z "${SANITIZED:-}" ]; then # sanitizers have memory calls of their own
    starve x.png scale chart.png -o x.png --size 48x32
    starve x.y4m scale clip.y4m -o x.y4m --size 8x8 --jobs 2
    starve x.png warp chart.png -o x.png --calibration camera.yml
    starve x.gray warp chart.png -o x.gray --rotate 3 --backend hardware
    starve x.grid grid --calibration camera.yml --size 96x64 -o x.grid
    starve x.png record x.vrec warp chart.png -o x.png --rotate 3
    starve x.html view chart.png turned.png -o x.html
    heatmap="compare chart.png turned.png --tolerance 255 --heatmap"
    "$vantor" $heatmap whole.png >out && mv whole.png whole
    for ((size = 16000; size < 32000; size += 1000)); do # cairo cannot go on from a failure, so it should have none
        echo old >x.png
        prlimit --as=${size}000 "$vantor" $heatmap x.png >out 2>&1
        status=$?
        [ $status = 127 ] || safe x.png "compare within $size KB" $status # what loads programs wants memory as well
    done
    for ((at = 7000 + 10#$seed % 29; at < 10200; at += 29)); do # which writes no file
        FAIL_MARK=fault FAIL_AT=$at LD_PRELOAD=$calls timeout 20 "$vantor" replay bug.vrec >out 2>&1
        status=$?
        [ $status = 0 ] || { [ $status = 2 ] && grep -q '^vantor: ' out; } ||
            fail "replay without memory ($at, seed $seed): status $status: $(cat out)"
    done
fi

# What cannot be written.
not_written() { # not_written TEXT FILE COMMAND...: the text is said of the file, which stays as it is
    local text=$1 file=$2
    [ -e "$file" ] || echo old >"$file"
    cp "$file" before
    "${@:3}" >out 2>&1 && fail "${*:3}: written: $(cat out)"
    grep -qF "vantor: $file: cannot write: $text" out || fail "${*:3}: expected '$text' in: $(cat out)"
    cmp "$file" before || fail "${*:3}: the old file is gone"
    [ -z "$(ls .vantor* 2>/dev/null)" ] || fail "${*:3}: left $(ls .vantor*)"
}
scale=("$vantor" scale chart.png --size 100% -o)
not_written "File too large" x.gray bash -c 'ulimit -f 1; exec "$@"' - "${scale[@]}" x.gray
expect 2 "chart.png/x.gray: cannot write: Not a directory" "${scale[@]:1}" chart.png/x.gray
expect 2 "/dev/full: cannot write: No space left on device" scale chart.png -o /dev/full --output-format gray --size 50%
ln -s loop.gray loop2.gray && ln -s loop2.gray loop.gray
expect 2 "loop.gray: cannot write: Too many levels of symbolic links" "${scale[@]:1}" loop.gray
for command in info --help "compare chart.png chart.png --json"; do
    "$vantor" $command 2>out >/dev/full && fail "$command to a full disk"
    grep -q "vantor: standard output: cannot write: No space" out || fail "$command to a full disk: $(cat out)"
    "$vantor" $command 2>out >&- && fail "$command to nowhere"
done
expect 0 "" "${scale[@]:1}" whole.gray
"${scale[@]}" x.gray <&- >&- 2>&- && cmp x.gray whole.gray || fail "without standard streams"
chmod 640 x.gray && expect 0 "" "${scale[@]:1}" x.gray && [ "$(stat -c %a x.gray)" = 640 ] || fail "the file's rights"
chmod 755 . && chmod 644 ./* 2>/dev/null
as_nobody=(setpriv --reuid 65534 --regid 65534 --clear-groups)
if "${as_nobody[@]}" "$vantor" --version >out 2>&1; then
    mkdir open closed && chmod 777 open && echo old >open/x.gray && chmod 444 open/x.gray
    not_written "Permission denied" open/x.gray "${as_nobody[@]}" "${scale[@]}" open/x.gray
    not_written "Permission denied" closed/x.gray "${as_nobody[@]}" "${scale[@]}" closed/x.gray
    # Every account has so many processes; the first may be another's.
    "${as_nobody[@]}" bash -c 'ulimit -u 1; exec "$@"' - "$vantor" scale clip.y4m -o - --size 8x8 --jobs 2 2>out | cat >x
    grep -q "cannot start a worker: Resource temporarily unavailable" out || fail "no processes: $(cat out)"
fi
mkdir disk
if unshare -m mount -t tmpfs none disk 2>/dev/null; then
    unshare -m bash -c 'mount -t tmpfs -o size=4k none disk && echo old >disk/old && exec "$@"' - \
        "${scale[@]}" disk/x.gray 2>out && fail "a full disk"
    grep -q "disk/x.gray: cannot write: No space left" out || fail "a full disk: $(cat out)"
    not_written "Device or resource busy" x.gray unshare -m bash -c 'mount --bind chart.png x.gray && exec "$@"' - \
        "${scale[@]}" x.gray # a mounted file cannot be replaced
fi

# Limits of a process.
"$vantor" scale clip.y4m -o whole --output-format y4m --size 8x8 2>out
for limit in nofile={4,5,6,7,8,9,10} as={30,50,100}000000; do
    [ -z "${SANITIZED:-}" ] || break
    echo old >x.y4m
    prlimit --$limit "$vantor" scale clip.y4m -o x.y4m --size 8x8 --jobs 3 >out 2>&1
    status=$?
    [ $status = 127 ] || safe x.y4m "$limit" $status
done
truncate -s $((300 * 96 * 64)) many_96x64.gray
gray_warp() { # gray_warp LIMIT STATUS TEXT: such requests leave two descriptors open each
    (failures=0; ulimit -$1; expect "${@:2}" warp many_96x64.gray -o x.gray --rotate 9 --backend hardware --jobs 1; exit $failures)
}
gray_warp "Sn 256" 0 "software service) in" || fail "the usual limit of descriptors"
[ -n "${SANITIZED:-}" ] || gray_warp "n 24" 2 "the hardware path refused: ion_alloc_fd" || fail "descriptors that run out"

# Signals at any time, with and without files that have no names.
truncate -s $((150 * 320 * 180)) long_320x180.gray
cleaning=$(trap -p EXIT)
trap - EXIT # or a signal before the tool runs would clean up
for preload in "" "$calls"; do
    [ -z "$preload" ] || [ -z "${SANITIZED:-}" ] || break
    for signal in INT TERM HUP KILL; do
        for at in 0.00 0.02 0.04 0.07 0.11 0.16; do
            echo old >never.gray
            FAIL_TMPFILE=1 LD_PRELOAD=$preload env --default-signal "$vantor" scale "$folder/long_320x180.gray" \
                -o never.gray --size 640x360 --jobs 2 >out 2>&1 &
            sleep $at
            kill -$signal $! 2>/dev/null
            wait $! 2>/dev/null
            status=$?
            case $status-$(stat -c %s never.gray) in
            0-34560000 | $((128 + $(kill -l $signal)))-34560000 | $((128 + $(kill -l $signal)))-4) ;;
            *) fail "$signal at $at: status $status, $(stat -c %s never.gray) bytes: $(cat out)" ;;
            esac
            [ $signal$preload = "KILL$calls" ] || [ -z "$(ls .vantor* 2>/dev/null)" ] || fail "$signal at $at left a file"
            rm -f .vantor*
            for ((i = 0; i < 40; ++i)); do
                grep -qs "$folder/long" /proc/[0-9]*/cmdline || break
                sleep 0.05
            done
            [ $i -lt 40 ] || fail "$signal at $at left a process"
        done
    done
done

eval "$cleaning"

# Eight at once, in one folder.
together() { # together FOLDER [at_once]
    mkdir -p "$1"
    while read -r name arguments; do
        (cd "$1" && exec "$vantor" ${arguments//OUT/$name}) >"$1.$name" 2>&1 || touch "failed.$name" &
        [ "${2:-}" = at_once ] || wait $!
    done <<'END'
a.png scale ../chart.png -o OUT --size 48x32
b.y4m scale ../clip.y4m -o OUT --size 8x8 --jobs 3
c.png warp ../chart.png -o OUT --rotate 3
d.gray warp ../many_96x64.gray -o OUT --rotate 9 --backend hardware --jobs 2 --limit 50
e.gray warp ../many_96x64.gray -o OUT --rotate 5 --jobs 2
f.png scale ../chart.png -o OUT --size 60x40 --backend hardware
g.vrec record OUT warp ../chart.png -o same.png --rotate 3
h.png compare ../chart.png ../turned.png --tolerance 255 --heatmap OUT
END
    wait
}
together alone
for round in 1 2 3; do
    together many at_once
    diff -r alone many || fail "eight at once: another result"
done
ls failed.* >out 2>&1 && fail "eight at once: $(cat out)"
finish
