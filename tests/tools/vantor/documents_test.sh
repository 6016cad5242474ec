#!/bin/bash
# documents_test.sh VANTOR: runs all commands that README.md, docs/ and --help show, page by page, with the files they name.
source "$(dirname "$0")/expect.sh"
root=$(realpath "$tests/../../..")

mkdir bin
export VANTOR=$vantor PATH=$folder/bin:$PATH
cat >bin/vantor <<'END'
#!/bin/sh
"$VANTOR" "$@"
status=$?
[ "$1$status" = compare1 ] || exit $status # pictures may differ
END
ffmpeg=$(PATH=${PATH#*:} command -v ffmpeg) && printf '#!/bin/sh\nexec %s -y -loglevel error "$@"\n' "$ffmpeg" >bin/ffmpeg
chmod +x bin/*

mkdir files
cd files || exit 1
{
    cp "$tests/calibrations/five.yml" camera.yml
    vantor chart -o photo.png
    vantor warp photo.png -o straight.png --rotate 1
    ln -s photo.png a.png
    ln -s straight.png b.png
    vantor scale photo.png -o frame.nv12 --size 100%
    vantor scale straight.png -o frame.i420 --size 100%
    for name in warp lens; do vantor grid --rotate 2 --size 1280x720 -o $name.grid; done
    vantor record bug.vrec scale photo.png -o x.png --size 50%
    vantor record --hashes-only hashes.vrec scale photo.png -o x.png --size 50%
    truncate -s $((24 * 1920 * 1080 * 3 / 2)) clip_1920x1080_nv12.yuv
    truncate -s $((102 * 320 * 180 * 3 / 2)) small_320x180.nv12
    vantor scale small_320x180.nv12 -o clip.y4m --size 100%
    [ -z "$ffmpeg" ] || ffmpeg -i clip.y4m clip.mp4
} >log 2>&1 || fail "the files: $(cat log)"
cd ..

# run PAGE: the commands on standard input, in a folder with the files.
run() {
    rm -rf work && cp -r files work
    case $1 in # of one padded frame, or two packed ones
    *.md) truncate -s $((2 * 1920 * 1080 * 3 / 2)) work/dump.bin ;;
    *) truncate -s $((2048 * 1088 * 3 / 2)) work/dump.bin ;;
    esac
    sed -e :join -e '/\\$/{N;s/\\\n */ /;b join' -e '}' >all
    for program in ffmpeg xxh64sum; do
        command -v $program >log || { grep -w $program all | sed 's/^/skipped: /' && sed -i "/\b$program\b/d" all; }
    done
    (cd work && bash -exu -o pipefail ../all) </dev/null >log 2>&1 || fail "$1: $(tail -n 3 log)"
    echo "$1: $(grep -c '\bvantor ' all) commands"
}

for page in $(cd "$root" && ls README.md docs/*.md); do
    awk '/^```/ { inside = !inside; isFirst = inside; next }
         isFirst { isShown = /^(vantor |VANTOR_|ffmpeg |cat >)/; isFirst = 0 }
         inside && isShown' "$root/$page" >commands
    [ -s commands ] && run "$page" <commands
done
for command in "" $("$vantor" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
    "$vantor" $command --help | sed -n '/^Examples:/,$s/^  //p' >commands
    [ "$(grep -c "vantor $command" commands)" -ge 2 ] || fail "vantor $command --help: expected two examples"
    run "vantor $command --help" <commands
done
finish
