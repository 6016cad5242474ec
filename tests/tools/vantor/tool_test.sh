#!/bin/bash
# tool_test.sh VANTOR: the command-line tool from end to end, bad input included.
set -u
vantor=$(realpath "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failures=0

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# expect STATUS TEXT ARGUMENTS...: the tool ends with the status and says the text on either stream.
expect() {
    local status=$1 text=$2
    shift 2
    "$vantor" "$@" >out 2>&1
    local got=$?
    [ "$got" = "$status" ] || fail "vantor $*: status $got, expected $status: $(cat out)"
    grep -qF -- "$text" out || fail "vantor $*: expected '$text' in: $(cat out)"
}

# bytes COUNT VALUE: a stretch of equal bytes, the value in octal.
bytes() {
    head -c "$1" /dev/zero | tr '\0' "\\$2"
}

# Scaling, between all kinds of files. A flat picture stays flat in every layout and direction.
{ bytes 1536 144; bytes 384 62; bytes 384 310; } >flat_48x32_i420.yuv
for size in 24x16 48x32 96x80 20x64; do
    pixels=$((${size%x*} * ${size#*x}))
    for layout in nv12 i420 gray; do
        expect 0 "to out.$layout $size $layout" scale flat_48x32_i420.yuv -o "out.$layout" --size $size
    done
    { bytes $pixels 144; bytes $((pixels / 4)) 62; bytes $((pixels / 4)) 310; } | cmp - out.i420 || fail "$size i420"
    bytes $pixels 144 | cmp - out.gray || fail "$size gray"
    expect 0 "V: equal" compare out.nv12 out.i420 --input-size $size
done

# PNG: colour and gray, alpha dropped, odd sizes padded for the chroma.
base64 -d >rgba.png <<<iVBORw0KGgoAAAANSUhEUgAAAAUAAAAECAYAAABGM/VAAAAAEklEQVR42mM4kWLEgI4ZKBMEAJZkG1mDTVoPAAAAAElFTkSuQmCC
base64 -d >rgb.png <<<iVBORw0KGgoAAAANSUhEUgAAAAUAAAAECAIAAADJUWIXAAAAEUlEQVR42mM4kWKEjBhI5AMAdyUbWYGsRagAAAAASUVORK5CYII=
base64 -d >deep.png <<<iVBORw0KGgoAAAANSUhEUgAAAAQAAAAEEAAAAADcCh3hAAAAC0lEQVR42mNgIAwAACQAASXCqOMAAAAASUVORK5CYII=
expect 0 "rgba.png: alpha dropped" compare rgba.png rgb.png
expect 0 "G: equal (20 samples)" compare rgba.png rgb.png
expect 0 "last column or row is repeated (6x4)" scale rgb.png -o flat.png --size 12x8
expect 0 "gray to gray.png 31x17 gray" scale out.gray --input-size 20x64 -o gray.png --size 31x17
expect 0 "test chart" chart -o chart.png --size 320x180
expect 0 "rgb to chart.nv12 320x180 nv12: copied" scale chart.png -o chart.nv12 --size 320x180
expect 0 "reduced (bicubic" scale chart.png -o half.png --size 160x90
expect 0 "to odd.nv12 66x36 nv12" scale chart.png -o odd.nv12 --size 20.5%
expect 0 "enlarged (four-tap" scale half.png -o chart_320x180.i420 --size 320x180

# Comparing.
bytes 24 0 >a_6x4.gray
{ bytes 7 0; bytes 1 3; bytes 16 0; } >b_6x4.gray
expect 0 "Y: equal (24 samples)" compare a_6x4.gray a_6x4.gray
line="Y: 1 of 24 samples differ, first at (1, 1): 0 and 3; largest difference 3, PSNR 52.39 dB"
expect 1 "$line" compare a_6x4.gray b_6x4.gray
expect 0 "$line" compare a_6x4.gray b_6x4.gray --tolerance 3
expect 1 '"first": {' compare a_6x4.gray b_6x4.gray --json
python3 -c 'import json; d = json.load(open("out")); c = d["components"][0]
assert d["identical"] is False and c["differing"] == 1 and c["first"] == {"x": 1, "y": 1, "a": 0, "b": 3}, d
assert c["largest"] == 3 and abs(c["psnr"] - 52.39) < 0.01, c' || fail "compare --json"
expect 2 "cannot compare: a_6x4.gray is 6x4 gray, chart.png is 320x180 rgb" compare a_6x4.gray chart.png

# Bad input: the message names what was wrong and what was expected, and an existing result stays.
echo old >kept.png
refuse() { # refuse TEXT ARGUMENTS...: of `vantor scale ... -o kept.png`
    expect 2 "$1" scale -o kept.png "${@:2}"
    [ "$(cat kept.png)" = old ] || fail "vantor $*: kept.png was touched"
}
head -c 100 chart.png >cut.png
refuse "--size 12y8: expected WIDTHxHEIGHT, such as 1280x720" chart.png --size 12y8
refuse "--size -50%: expected a positive percentage" chart.png --size -50%
refuse "--size 1%: 4x2: width and height must be from 4" chart.png --size 1%
refuse "--size 3x8: width and height must be from 4 to 16384" chart.png --size 3x8
refuse "--size 16385x8: width and height must be from 4 to 16384" chart.png --size 16385x8
refuse "--size 99999999999x8: expected WIDTHxHEIGHT" chart.png --size 99999999999x8
refuse "--size 15x8: width and height of a colour picture must be even" chart.png --size 15x8
refuse "b_6x4.gray: one 6x8 gray picture has 48 bytes, the file has 24" b_6x4.gray --size 8x8 --input-size 6x8
refuse "--input-format nv21: expected nv12, i420 or gray" b_6x4.gray --size 8x8 --input-format nv21
refuse "clip.yuv: layout unknown: expected a name ending in" clip.yuv --size 8x8
refuse "clip.nv12: size unknown" clip.nv12 --size 8x8
refuse "clip_5x4.nv12: nv12 pictures of 5x4: width and height must be even" clip_5x4.nv12 --size 8x8
refuse "none.png: No such file or directory" none.png --size 8x8
refuse "cut.png: no readable PNG" cut.png --size 8x8
refuse "deep.png: 16 bits a sample: at most 8 expected" deep.png --size 8x8
refuse "--input-size 4x4: chart.png is a PNG file" chart.png --size 8x8 --input-size 4x4
refuse "--sise (vantor --help shows how)" chart.png --size 8x8 --sise 8x8
expect 2 "--size 8x8: the output's name says 16x8" scale chart.png -o out_16x8.nv12 --size 8x8
expect 2 "nowhere/out.png: cannot write: No such file or directory" scale chart.png -o nowhere/out.png --size 8x8
expect 2 "--tolerance: Value 300 not in range 0 to 255" compare chart.png chart.png --tolerance 300
expect 2 "subcommand is required" --
VANTOR_CPU=sse9 expect 2 "VANTOR_CPU=sse9: expected plain, avx2 or avx512" info
VANTOR_LOG=loud expect 2 "VANTOR_LOG=loud: expected off, error or info" info
[ -z "$(find . -name '*.png.*')" ] || fail "temporary files were left"

# Results: through links, with usual rights, and to what is no file.
ln -s kept.png link.png
expect 0 "to link.png" scale chart.png -o link.png --size 8x8
[ -L link.png ] && expect 0 "R: equal" compare link.png kept.png
[ "$(stat -c %a kept.png)" = "$(printf %o $((0666 & ~$(umask))))" ] || fail "rights of a result: $(stat -c %a kept.png)"
expect 0 "to /dev/null" scale chart.png -o /dev/null --output-format gray --size 8x8
[ -c /dev/null ] || fail "/dev/null was replaced"
expect 2 "cannot write: No space left on device" scale chart.png -o /dev/full --output-format gray --size 8x8

VANTOR_CPU=plain expect 0 "in use plain" info
expect 0 "pictures of 4x4 to 16384x16384" info
expect 0 "Examples:" scale --help

echo "$failures failures"
[ "$failures" = 0 ]
