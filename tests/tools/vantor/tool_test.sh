#!/bin/bash
# tool_test.sh VANTOR: the command-line tool from end to end, bad input included.
set -u
calibrations=$(realpath "$(dirname "$0")/calibrations")
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
expect 0 "i420: copied" scale chart.png -o chart_320x180.i420 --size 320x180
expect 0 "V: equal (14400 samples)" compare chart.nv12 chart_320x180.i420 --input-size 320x180
expect 0 "" scale chart.nv12 --input-size 320x180 -o back.png --size 100%
expect 1 "psnr" compare chart.png back.png --json # colours survive but for rounding and the half size of chroma
python3 -c 'import json; c = json.load(open("out"))["components"]; assert min(x["psnr"] for x in c) > 24, c' ||
    fail "colours after RGB to NV12 and back"
base64 -d >red_4x4.png <<<iVBORw0KGgoAAAANSUhEUgAAAAQAAAAECAIAAAAmkwkpAAAAEElEQVR42mP4z8AARwzEcQCukw/xOF6MEQAAAABJRU5ErkJggg==
expect 0 "nv12: copied" scale red_4x4.png -o red.nv12 --size 4x4
{ bytes 16 122; printf '\132\357\132\357\132\357\132\357'; } | cmp - red.nv12 || fail "red is no BT.601 red"
expect 0 "reduced (bicubic" scale chart.png -o half.png --size 160x90
expect 0 "to odd.nv12 106x60 nv12" scale chart.png -o odd.nv12 --size 33%
expect 0 "enlarged (four-tap" scale half.png -o chart_320x180.i420 --size 320x180

# Comparing.
bytes 24 0 >a_6x4.gray
{ bytes 10 0; bytes 1 3; bytes 13 0; } >b_6x4.gray
expect 0 "Y: equal (24 samples)" compare a_6x4.gray a_6x4.gray
line="Y: 1 of 24 samples differ, first at (4, 1): 0 and 3; largest difference 3, PSNR 52.39 dB"
expect 1 "$line" compare a_6x4.gray b_6x4.gray
expect 0 "$line" compare a_6x4.gray b_6x4.gray --tolerance 3
expect 1 '"first": {' compare a_6x4.gray b_6x4.gray --json
python3 -c 'import json; d = json.load(open("out")); c = d["components"][0]
assert d["identical"] is False and c["differing"] == 1 and c["first"] == {"x": 4, "y": 1, "a": 0, "b": 3}, d
assert c["largest"] == 3 and abs(c["psnr"] - 52.39) < 0.01, c' || fail "compare --json"
expect 1 "$line" compare a_6x4.gray b_6x4.gray --heatmap heat.png
expect 0 "$line" compare a_6x4.gray b_6x4.gray --heatmap black.png --tolerance 3
expect 1 "G: 3" compare heat.png black.png
grep -q "^G: .* first at (4, 1): 121 and 0;" out || fail "the colour of a difference of 3: $(cat out)"
expect 2 "--heatmap chart.png: expected another file" compare back.png chart.png --heatmap chart.png
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
refuse "--size 3x8: width and height must be from 4 to 16384" chart.png --size 3x8
refuse "--size 15x8: width and height of a colour picture must be even" chart.png --size 15x8
refuse "b_6x4.gray: one 6x8 gray picture has 48 bytes, the file has 24" b_6x4.gray --size 8x8 --input-size 6x8
refuse "b_6x4.gray: one 4x4 gray picture has 16 bytes, the file has 24" b_6x4.gray --size 8x8 --input-size 4x4
refuse "a_gray_nv12.yuv: several layouts in the name" a_gray_nv12.yuv --size 8x8
refuse ".: expected a regular file" . --input-format gray --input-size 8x8 --size 8x8
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
VANTOR_CPU=sse9 expect 2 "VANTOR_CPU=sse9: expected plain, avx2 or avx512" info
VANTOR_LOG=loud expect 2 "VANTOR_LOG=loud: expected off, error or info" info
(trap '' XFSZ && ulimit -f 8 && "$vantor" scale chart.png -o kept.png --size 300% 2>&1) | grep -qF "File too large" ||
    fail "a file size limit went unnoticed"
[ "$(cat kept.png)" = old ] || fail "a file size limit: kept.png was touched"
[ -z "$(find . -name '.vantor*')" ] || fail "temporary files were left"
expect 2 "scael: expected a sub-command: scale warp" scael
"$vantor" info >/dev/full 2>out && fail "a full disk behind standard output went unnoticed"

# Results: through links, with usual rights, and to what is no file.
ln -s kept.png link.png
expect 0 "to link.png" scale chart.png -o link.png --size 8x8
[ -L link.png ] && expect 0 "R: equal" compare link.png kept.png
[ "$(stat -c %a half.png)" = "$(printf %o $((0666 & ~$(umask))))" ] || fail "rights of a new result"
chmod 600 half.png
ln -s made.png dangling.png
expect 0 "" scale chart.png -o half.png --size 50%
[ "$(stat -c %a half.png)" = 600 ] || fail "rights of a replaced result"
expect 0 "to dangling.png" scale chart.png -o dangling.png --size 8x8
[ -L dangling.png ] && [ -f made.png ] || fail "a dangling link was replaced"
expect 0 "to /dev/null" scale chart.png -o /dev/null --output-format gray --size 8x8
[ -c /dev/null ] || fail "/dev/null was replaced"
expect 2 "cannot write: No space left on device" scale chart.png -o /dev/full --output-format gray --size 8x8


# Warping.
expect 0 "" scale chart.png -o odd.gray --size 101x77
expect 0 "warped (rotation 90) as nv12" warp chart.png -o turned.png --rotate 90
expect 0 "warped as 112x78, its last column and row repeated" warp odd.gray --input-size 101x77 -o w.gray --zoom 1.5
expect 0 "as gray in the software model" warp odd.gray --input-size 101x77 -o odd.png --shift 5,5
expect 0 "101x77 gray" info odd.png
expect 0 "folded cells: 0 of 1024" grid --rotate 2 --size 320x180 -o turn.grid --plot mesh.png --check
[ "$(stat -c %s turn.grid)" = 8712 ] || fail "length of a grid"
expect 0 "grid of turn.grid" grid turn.grid -o turn.txt
expect 0 "" grid turn.txt -o again.grid
cmp turn.grid again.grid || fail "a grid changed on its way through text"
expect 0 "1510x968 rgb" info mesh.png
for start in 0 4356; do # dX, then dY, little-endian
    od -An -td4 -v -w12 -j$start -N12 turn.grid | tr -s ' ' | grep -qF -- "$(grep -A1 "^d$([ $start = 0 ] && echo X || echo Y)" turn.txt |
        tail -1 | cut -d' ' -f1-3)" || fail "the wire form at byte $start"
done
expect 0 "" grid --zoom 1 --size 320x180 -o long.txt
sed -i "2s/.*/# $(head -c $((8709 - $(sed 2d long.txt | wc -c))) /dev/zero | tr '\0' x)/" long.txt
expect 0 "moves: 0.00 to 0.00" grid long.txt # text of as many bytes as the wire form
expect 2 "turned.png: no grid: " grid turned.png
expect 2 "--plot a.png: expected another file than --output" grid --rotate 1 --plot a.png -o a.png
expect 0 "" warp chart.png -o by_options.png --rotate 2
expect 0 "" warp chart.png -o by_grid.png --grid turn.txt
expect 0 "R: equal" compare by_options.png by_grid.png
expect 0 "matrix 4096,0,0,0,4096,0" warp chart.png -o matrix.png --matrix 4096,0,0,0,4096,0
VANTOR_LOG=info expect 0 "I VANTOR_CLIENT: vantor_client.cpp:runGDCGrid():1132 Process WARPING" warp chart.png -o x.png --zoom 2
expect 1 "folded cells:" grid --lens=-1 --size 320x180 --check
sed 's/^dY/dZ/' turn.txt >broken.txt
refuse_warp() {
    expect 2 "$1" warp chart.png -o never.png "${@:2}"
}
refuse_warp "broken.txt: no grid: line 37: 'dZ', expected dY" --grid broken.txt
refuse_warp "expected one of --matrix, --grid, --calibration, or a warp"
refuse_warp "expected one of --matrix, --grid, --calibration, or a warp" --rotate 2 --matrix 1,2,3,4,5,6
refuse_warp "--matrix 1,2,3: expected 6 numbers set off by commas" --matrix 1,2,3
refuse_warp "--matrix 40000,0,0,0,0,0: expected whole numbers from -32768 to 32767" --matrix 40000,0,0,0,0,0
refuse_warp "--lens 1,2,3,4: expected K1[,K2[,K3[,P1,P2]]]" --lens 1,2,3,4

# Calibrations.
refuse_calibration() { # refuse_calibration TEXT SED-SCRIPT [OPTIONS...]: of a calibration changed by sed
    sed "$2" "$calibrations/${file:-five.yml}" >changed.yml
    expect 2 "$1" grid --calibration changed.yml -o never.grid "${@:3}"
}
expect 0 "camera of the straight picture: fx 1402.5, fy 1399.75, cx 967.25, cy 531.5" grid --calibration "$calibrations/five.yml" -o lens.grid
expect 0 '"camera_matrix": [' grid --calibration "$calibrations/twelve.xml" --alpha 0 --size 320x180 --json
python3 -c 'import json; d = json.load(open("out")); assert d["size"] == [320, 180] and d["error"]["largest"] < 0.1 and d["outside"] == 0, d' ||
    fail "grid --json: $(cat out)"
expect 0 "taken as stretched, not cropped" warp chart.png -o by_options.png --calibration "$calibrations/five.yml" --calibrated-size 640x640
expect 0 "warped (calibration" warp chart.png -o by_options.png --calibration "$calibrations/five.yml"
expect 0 "" warp chart.png -o by_grid.png --grid lens.grid
expect 0 "R: equal" compare by_options.png by_grid.png
refuse_calibration "changed.yml: camera_matrix (or K, M, mtx" s/camera_matrix/x/
refuse_calibration "changed.yml: image_width (or width) is missing; --calibrated-size" s/image_width/x/
refuse_calibration "has '.Nan', expected a number" s/1.4025000000000000e+03/.Nan/
refuse_calibration "camera_matrix (or K, M, mtx, intrinsic_matrix, intrinsics) is no camera matrix" 's/1\. ]/2. ]/'
refuse_calibration "has 5 elements, expected 4 for a fisheye" "" --fisheye
refuse_calibration "distortion_model is 'kb9', expected plumb_bob" "\$ a distortion_model: kb9"
refuse_calibration "no calibration in YAML or XML: " 's/!!opencv-matrix/[/'
refuse_calibration "expected one of a grid file, a calibration and a described warp" "" --rotate 2
refuse_calibration "--alpha 1.500000: expected a number from 0 to 1" "" --alpha 1.5
file=fisheye.yml refuse_calibration "lens cannot be straightened as far as the picture's corners; expected 0" "" --alpha 1
file=fisheye.yml refuse_calibration "lens cannot be straightened as far as the picture's sides" 's/\[ 700./[ 500./' --alpha 0
expect 2 "--alpha, --fisheye and --calibrated-size: expected --calibration" grid --alpha 1
expect 2 "gray.png: 31x17 picture: warps take 96x64 to 8192x6144" warp gray.png -o never.png --zoom 2
expect 0 "the library's picture has Y" explain chart.png 160 90 --rotate 10
said=$(sed -n 's/.*\([YUV]\) = \([0-9]*\)$/\1 \2/p' out | paste -sd, | sed 's/,/, /g')
grep -qF "picture has $said there" out || fail "explain says $said: $(cat out)"
expect 2 "X Y 320 0: expected 0 0 to 319 179" explain chart.png 320 0 --rotate 10


# The hardware path.
expect 0 "as nv12 on the hardware path (software service)" scale chart.png -o hw.png --size 160x90 --path hw
expect 0 "R: equal" compare hw.png half.png
expect 0 "as gray on the hardware path" warp odd.gray --input-size 101x77 -o hw_odd.gray --shift 5,5 --path hw
expect 2 "Src width(101) and height(77) must be aligned" scale odd.gray --input-size 101x77 -o x.gray --size 160x90 --path hw
expect 0 "" scale chart.png -o expected.gray --size 160x90
if [ -z "${SANITIZED:-}" ]; then # sanitizers want descriptors of their own
    (   # descriptors enough for the allocator and two pictures, and no more
        for descriptor in /proc/$BASHPID/fd/*; do
            [ "${descriptor##*/}" -gt 2 ] && eval "exec ${descriptor##*/}>&-"
        done
        ulimit -n 6 && "$vantor" scale chart.png -o fallback.gray --size 160x90 --path hw
    ) >out 2>&1 || fail "$(cat out)"
    grep -qF "as gray by the hardware path's fallback (ion_alloc_fd(3) failed)" out || fail "a fallback: $(cat out)"
    cmp fallback.gray expected.gray || fail "a fallback's bytes"
fi
VANTOR_LOG=info expect 0 "runGDCHWGrid():970 WARPING done" warp chart.png -o x.png --matrix 4096,0,0,0,4096,0 --path hw
expect 0 "processor: identical" crosscheck chart.png --size 200x100
expect 0 "processor: identical" crosscheck expected.gray --input-size 160x90 --size 64x126
expect 0 "processor: identical" crosscheck chart.png --rotate 30
expect 2 "expected --size for a scaling request, or" crosscheck chart.png
expect 2 "--path fpga: expected hw or sw" scale chart.png -o x.png --size 8x8 --path fpga

# Pages to look at.
expect 0 "a page of" view chart.png turned.png --grid turn.txt -o page.html
grep -q "https\?://" page.html && fail "a page needs more than itself"
expect 2 "cannot be laid over each other: chart.png is 320x180, half.png is 160x90" view chart.png half.png -o x.html
expect 2 "--output chart.png: expected another file" view chart.png -o chart.png

VANTOR_CPU=plain expect 0 "in use plain" info

echo "$failures failures"
[ "$failures" = 0 ]
