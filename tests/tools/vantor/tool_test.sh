#!/bin/bash
# tool_test.sh VANTOR: the command-line tool from end to end, bad input included.
source "$(dirname "$0")/expect.sh"

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
# Whatever a run writes is another file than all else that it reads or writes, by whatever path.
ln -s chart.png same.png
while read -r option file other arguments; do
    expect 2 "$option $file: expected another file than $other" $arguments
done <<'END'
--heatmap chart.png chart.png compare back.png chart.png --heatmap chart.png
--heatmap same.png chart.png compare back.png chart.png --heatmap same.png
--heatmap - standard compare back.png chart.png --heatmap -
--times ./x.gray x.gray scale a_6x4.gray -o x.gray --size 50% --times ./x.gray
--times a_6x4.gray a_6x4.gray scale a_6x4.gray -o x.gray --size 50% --times a_6x4.gray
--times - standard scale a_6x4.gray -o x.gray --size 50% --times - --json
--output - standard grid --rotate 1 -o -
--plot ./a.png a.png grid --rotate 1 --plot ./a.png -o a.png
--output ./chart.png chart.png view chart.png -o ./chart.png
FILE ./chart.png chart.png record ./chart.png scale chart.png -o x.png --size 50%
FILE ./t.txt t.txt record ./t.txt scale chart.png -o x.png --size 50% --times=t.txt
END
expect 2 "FILE -: expected a file" record - scale chart.png -o x.png --size 50%
expect 2 "cannot compare: a_6x4.gray is 6x4 gray, chart.png is 320x180 rgb" compare a_6x4.gray chart.png

# Bad input: the message names what was wrong and what was expected, and an existing result stays.
echo old >kept.png
refuse() { # refuse TEXT ARGUMENTS...: of `vantor scale ... -o kept.png`
    expect 2 "$1" scale -o kept.png "${@:2}"
    [ "$(cat kept.png)" = old ] || fail "vantor $*: kept.png was touched"
}
head -c 100 chart.png >cut.png
touch a_gray_nv12.yuv clip.yuv clip.nv12 clip_5x4.nv12
refuse "--size 12y8: expected WIDTHxHEIGHT, such as 1280x720" chart.png --size 12y8
refuse "--size -50%: expected a positive percentage" chart.png --size -50%
refuse "--size 3x8: width and height must be from 4 to 16384" chart.png --size 3x8
refuse "--size 15x8: width and height of a colour picture must be even" chart.png --size 15x8
refuse "b_6x4.gray: frame 0 (6x8 gray) ends after 24 of 48 bytes" b_6x4.gray --size 8x8 --input-size 6x8
refuse "b_6x4.gray: frame 1 (4x4 gray) ends after 8 of 16 bytes" b_6x4.gray --size 8x8 --input-size 4x4
refuse "a_gray_nv12.yuv: several layouts in the name" a_gray_nv12.yuv --size 8x8
refuse ".: a directory, expected a file" . --input-format gray --input-size 8x8 --size 8x8
refuse "--input-format nv16: expected nv12, nv21, i420, gray or y4m" b_6x4.gray --size 8x8 --input-format nv16
refuse "clip.yuv: layout unknown: expected a name ending in" clip.yuv --size 8x8
refuse "clip.nv12: size unknown" clip.nv12 --size 8x8
refuse "clip_5x4.nv12 5x4: width and height of a picture in nv12 must be even" clip_5x4.nv12 --size 8x8
refuse "none.png: No such file or directory" none.png --size 8x8
refuse "cut.png: truncated PNG file" cut.png --size 8x8
refuse "deep.png: 16 bits per sample: at most 8 expected" deep.png --size 8x8
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
expect 0 "note: --size: 101x77 picture: warped as 112x78" grid --rotate 2 --size 101x77
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
expect 2 "turned.png: not a grid: " grid turned.png
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
refuse_warp "broken.txt: not a grid: line 37: 'dZ', expected dY" --grid broken.txt
refuse_warp "expected one of --matrix, --grid, --calibration, or a warp"
refuse_warp "several warps: expected one of a grid file, --matrix, --calibration, and" --rotate 2 --matrix 1,2,3,4,5,6
refuse_warp "--matrix 1,2,3: expected 6 numbers set off by commas" --matrix 1,2,3
refuse_warp "--matrix 40000,0,0,0,0,0: expected whole numbers from -32768 to 32767" --matrix 40000,0,0,0,0,0
refuse_warp "--lens 1,2,3,4: expected K1[,K2[,K3[,P1,P2]]]" --lens 1,2,3,4

# Calibrations.
refuse_calibration() { # refuse_calibration TEXT SED-SCRIPT [OPTIONS...]: of a calibration changed by sed
    sed "$2" "$tests/calibrations/${file:-five.yml}" >changed.yml
    expect 2 "$1" grid --calibration changed.yml -o never.grid "${@:3}"
}
expect 0 "camera of the straight picture: fx 1402.5, fy 1399.75, cx 967.25, cy 531.5" grid --calibration "$tests/calibrations/five.yml" -o lens.grid
expect 0 '"camera_matrix": [' grid --calibration "$tests/calibrations/twelve.xml" --alpha 0 --size 320x180 --json
python3 -c 'import json; d = json.load(open("out")); assert d["size"] == [320, 180] and d["error"]["largest"] < 0.1 and d["outside"] == 0, d' ||
    fail "grid --json: $(cat out)"
expect 0 "taken as stretched, not cropped" warp chart.png -o by_options.png --calibration "$tests/calibrations/five.yml" --calibrated-size 640x640
expect 0 "warped (calibration" warp chart.png -o by_options.png --calibration "$tests/calibrations/five.yml"
expect 0 "" warp chart.png -o by_grid.png --grid lens.grid
expect 0 "R: equal" compare by_options.png by_grid.png
refuse_calibration "changed.yml: camera_matrix (or K, M, mtx" s/camera_matrix/x/
refuse_calibration "changed.yml: image_width (or width) is missing; --calibrated-size" s/image_width/x/
refuse_calibration "has '.Nan', expected a number" s/1.4025000000000000e+03/.Nan/
refuse_calibration "camera_matrix (or K, M, mtx, intrinsic_matrix, intrinsics) is not a camera matrix" 's/1\. ]/2. ]/'
refuse_calibration "has 5 elements, expected 4 for a fisheye" "" --fisheye
refuse_calibration "distortion_model is 'kb9', expected plumb_bob" "\$ a distortion_model: kb9"
refuse_calibration "not a calibration in YAML or XML: " 's/!!opencv-matrix/[/'
refuse_calibration "several warps: expected one of a grid file" "" --rotate 2
refuse_calibration "--alpha 1.500000: expected a number from 0 to 1" "" --alpha 1.5
file=fisheye.yml refuse_calibration "lens cannot be straightened as far as the picture's corners; expected 0" "" --alpha 1
file=fisheye.yml refuse_calibration "lens cannot be straightened as far as the picture's sides" 's/\[ 700./[ 500./' --alpha 0
expect 2 "--alpha, --fisheye and --calibrated-size: expected --calibration" grid --alpha 1
expect 2 "gray.png: 31x17 picture: warps take 96x64 to 8192x6144" warp gray.png -o never.png --zoom 2
for warp in "--rotate 10" "--matrix 5000,0,90,0,5000,7"; do
    expect 0 "the library's picture has Y" explain chart.png 160 90 $warp
    said=$(sed -n 's/.*\([YUV]\) = \([0-9]*\)$/\1 \2/p' out | paste -sd, | sed 's/,/, /g')
    grep -qF "picture has $said there" out || fail "explain says $said: $(cat out)"
    expect 0 '"library": [' explain chart.png 160 90 $warp --json
    python3 -c 'import json; d = json.load(open("out"))
assert d["library"] == [d[part]["value"] for part in ("luma", "u", "v")], d' || fail "explain --json"
done
expect 2 "X Y 320 0: expected 0 0 to 319 179" explain chart.png 320 0 --rotate 10


# The hardware path.
expect 0 "as nv12 on the hardware path (software service)" scale chart.png -o hw.png --size 160x90 --path hw
expect 0 "R: equal" compare hw.png half.png
expect 0 "as gray on the hardware path" warp odd.gray --input-size 101x77 -o hw_odd.gray --shift 5,5 --path hw
expect 2 "Src width(101) and height(77) must be aligned" scale odd.gray --input-size 101x77 -o x.gray --size 160x90 --path hw
expect 0 "" scale chart.png -o expected.gray --size 160x90
if [ -z "${SANITIZED:-}" ]; then # sanitizers want descriptors of their own
    (   # descriptors enough for the result, the allocator and two pictures, and no more
        for descriptor in /proc/$BASHPID/fd/*; do
            [ "${descriptor##*/}" -gt 2 ] && eval "exec ${descriptor##*/}>&-"
        done
        ulimit -n 7 && "$vantor" scale chart.png -o fallback.gray --size 160x90 --path hw
    ) >out 2>&1 || fail "$(cat out)"
    grep -qF "as gray by the hardware path's fallback (ion_alloc_fd(6) failed)" out || fail "a fallback: $(cat out)"
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

# Clips: all frames in order, tags carried over, in a pipe and through several workers.
flat() { # flat SIZE Y U V: samples of an I420 picture
    local pixels=$((${1%x*} * ${1#*x}))
    bytes $pixels "$2"; bytes $((pixels / 4)) "$3"; bytes $((pixels / 4)) "$4"
}
y4m() { # y4m SIZE TAGS: three frames
    printf 'YUV4MPEG2 W%s H%s %s\nFRAME\n' "${1%x*}" "${1#*x}" "$2"; flat "$1" 20 100 200
    printf 'FRAME Ip XNOTE\n'; flat "$1" 60 110 210; printf 'FRAME\n'; flat "$1" 144 120 220
}
y4m 48x32 "F30000:1001 Ip A4:3 C420mpeg2 Q7 XYSCSS=420MPEG2 XCOLORRANGE=FULL" >clip.y4m
y4m 24x32 "F30000:1001 Ip A8:3 C420mpeg2 Q7 XYSCSS=420MPEG2 XCOLORRANGE=FULL" >narrow.y4m
for jobs in 1 2 8; do
    "$vantor" scale - -o - --size 24x32 --jobs $jobs <clip.y4m 2>out | cmp - narrow.y4m || fail "y4m, $jobs jobs: $(cat out)"
    grep -q $'\r' out && fail "progress outside a terminal"
done
script -qec "(cat clip.y4m; sleep 0.4; tail -c 2310 clip.y4m) | '$vantor' scale - -o x.y4m --size 24x32" /dev/null >out
grep -q 'vantor: 4 frames, .* a second' out || fail "progress: $(cat -v out)"
for i in 1 2 3 4 5 6 7 8; do head -c $((i * 10000)) chart.nv12; bytes $((86400 - i * 10000)) 200; done >chart_320x180_8.nv12
expect 0 ", 8 frames, " warp chart_320x180_8.nv12 -o model.nv12 --rotate 9 --jobs 1 --hash
expect 0 "service) in" warp chart_320x180_8.nv12 -o hw.nv12 --rotate 9 --jobs 4 --path hw --verify "$(sed 's/.*hash //' out)"
{ flat 48x32 60 110 210; flat 48x32 144 120 220; } >two_48x32.i420
expect 0 "hash dcc542aad836410b" scale clip.y4m -o two.i420 --size 100% --skip 1 --times times.txt --hash # as xxh64sum says
cmp two.i420 two_48x32.i420 || fail "y4m to i420"
[ "$(cut -d' ' -f1 times.txt | paste -sd,)" = 1,2 ] || fail "times: $(cat times.txt)"
expect 1 "--verify 0123456789abcdef: the result has dcc542aad836410b" \
    scale two_48x32.i420 -o x.y4m --size 100% --verify 0123456789abcdef
expect 0 "gray to x.y4m 101x77 gray" warp odd.gray --input-size 101x77 -o x.y4m --zoom 2
expect 0 "101x77 gray, 1 frame" info x.y4m

# Padded dumps, of which the last padding is missing.
python3 - <<'END'
import random
def frame(layout, stride, slice_height, padding):
    width, height, samples = 24, 16, random.Random(1)
    planes = [[[samples.randrange(256) for _ in range(w)] for _ in range(h)] for w, h in ((24, 16), (12, 8), (12, 8))]
    if layout != "i420":
        u, v = planes[1:] if layout == "nv12" else planes[:0:-1]
        planes[1:] = [[[x for pair in zip(*rows) for x in pair] for rows in zip(u, v)]]
    out = bytearray()
    for i, rows in enumerate(planes):
        row = stride // 2 if i and layout == "i420" else stride
        for y in range(slice_height // 2 if i else slice_height):
            out += bytes(rows[y] if y < len(rows) else []).ljust(row, bytes([padding]))
    return out
for layout in "nv12", "nv21", "i420":
    open("packed_24x16." + layout, "wb").write(frame(layout, 24, 16, 0) * 2)
    open("zeros_24x16." + layout, "wb").write(frame(layout, 32, 20, 0) * 2)
    open("padded_24x16." + layout, "wb").write((frame(layout, 32, 20, 99) * 2)[:-9 if layout == "i420" else -72])
END
for from in nv12 nv21 i420; do
    for to in nv12 nv21 i420; do
        expect 0 "$to: copied" scale padded_24x16.$from -o x.$to --size 100% --input-stride 32 --input-slice-height 20
        cmp x.$to packed_24x16.$to || fail "padded $from to $to"
        expect 0 "$to: copied" scale packed_24x16.$from -o x.$to --size 100% --output-stride 32 --output-slice-height 20
        cmp x.$to zeros_24x16.$to || fail "$from to padded $to"
    done
done

# RGB by the other matrices and ranges: red as the standards give it, and back.
for color in "709 limited 77 146 360" "601 full 114 125 377" "709 full 66 143 377"; do
    set -- $color
    expect 0 "by BT.$1, $2 range" scale red_4x4.png -o red.i420 --size 4x4 --yuv-matrix $1 --yuv-range $2
    flat 4x4 $3 $4 $5 | cmp - red.i420 || fail "red by $color: $(od -An -tu1 red.i420)"
    expect 0 "" scale red.i420 --input-size 4x4 -o x.png --size 4x4 --yuv-matrix $1 --yuv-range $2
    expect 0 "" compare x.png red_4x4.png --tolerance 3
done

# Clips that are not what they should be: the frames before go out through a pipe, and no file is left.
refuse_clip() { # refuse_clip TEXT TAGS ARGUMENTS...: of a clip that ends 100 bytes early
    y4m 48x32 "$2" | head -c -100 >cut.y4m
    expect 2 "$1" scale cut.y4m --size 24x16 "${@:3}"
}
refuse_clip "cut.y4m: frame 2 (48x32 i420) ends after 2204 of 2304 bytes" F25:1 -o never.y4m
refuse_clip "cut.y4m: Y4M sample format C422: expected 8-bit 4:2:0 (C420, C420jpeg, C420mpeg2 or C420paldv) or" C422 -o never.y4m
refuse_clip "cut.y4m: Y4M 48x99999: width and height must be from 4 to 16384" H99999 -o never.y4m
refuse_clip "cut.y4m: interlaced; frames are worked on as if they were not" It -o never.y4m
expect 2 "--skip: -1: expected a number of frames, 0 or more" scale clip.y4m --size 24x16 -o never.y4m --skip=-1
expect 2 "--limit: 0: expected a number of frames, 1 or more" scale clip.y4m --size 24x16 -o never.y4m --limit 0
expect 2 "--skip 4: clip.y4m has 3 frames" scale clip.y4m --size 24x16 -o never.y4m --skip 4
refuse_clip "never.png: a PNG file holds one frame, and there are more: expected --limit 1" Ip -o never.png
refuse_clip "--yuv-range full: neither cut.y4m nor never.y4m is RGB" Ip -o never.y4m --yuv-range full
refuse_clip "--input-stride 50: cut.y4m is a Y4M file; the option is for raw files" Ip -o never.y4m --input-stride 50
refuse_clip "--output-stride 23: a 24x16 nv12 picture has 24 bytes a row" Ip -o never.nv12 --output-stride 23
"$vantor" scale cut.y4m -o - --size 24x32 --jobs 2 2>out | cmp - <(y4m 24x32 Ip | head -c -1158) || fail "whole frames of a cut clip"
"$vantor" scale clip.y4m -o - --size 4800x3200 2>out | head -c 1 >x
[ "${PIPESTATUS[0]}" = 2 ] && grep -q "standard output: cannot write: Broken pipe" out || fail "a reader that went: $(cat out)"

# Workers that are killed, and a run that is: no process and no file is left.
mkfifo feed
for victim in worker tool; do
    "$vantor" scale feed -o never.gray --input-size 48x32 --input-format gray --size 24x16 --jobs 2 2>out &
    tool=$!
    exec 3>feed
    bytes 1536 1 >&3
    for ((i = 0; i < 100; i++)); do
        workers=$(cat /proc/$tool/task/$tool/children)
        [ "$(wc -w <<<"$workers")" = 2 ] && break
        sleep 0.05
    done
    [ $victim = tool ] && kill $tool
    [ $victim = worker ] && kill -9 ${workers%% *} && bytes 3072 1 >&3
    exec 3>&-
    wait $tool
    status=$?
    [ $victim$status = tool143 ] || [ $victim$status = worker2 ] || fail "a killed $victim: status $status: $(cat out)"
    [ $victim = tool ] || grep -q "worker process .* ended by signal 9 (Killed)" out || fail "a killed worker: $(cat out)"
    sleep 0.1
    for worker in $workers; do grep -qs '^State:[^Z]*$' /proc/$worker/status && fail "a killed $victim left a process"; done
done
[ -z "$(find . -name '.vantor*' -o -name 'never*')" ] || fail "files were left: $(find . -name '.vantor*' -o -name 'never*')"

VANTOR_CPU=plain expect 0 "in use plain" info
VANTOR_CPU=plain expect 0 '"in_use": "plain"' info --json
expect 0 '"frames": 1' info chart.png --json
VANTOR_CPU=plain expect 0 "in use plain" selftest
all=$(sed -n 's/^all  *\([0-9a-f]\{8\}\) ok$/\1/p' out)
expect 0 "\"hash\": \"${all:-none}\"" selftest --json
grep -qF '"identical": false' out && fail "selftest: $(cat out)"
expect 0 '"identical": true' crosscheck chart.png --matrix 5000,0,90,0,5000,7 --json
expect 0 '"path": "hardware"' scale chart.png -o x.png --size 50% --path hw --json
expect 2 "--output -: expected another file than standard output" scale chart.png -o - --size 50% --json
expect 2 "expected a sub-command: scale warp"

finish
