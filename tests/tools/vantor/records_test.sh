#!/bin/bash
# records_test.sh VANTOR: requests recorded and replayed, and records that are not what they should be.
source "$(dirname "$0")/expect.sh"

expect 0 "" chart -o chart.png --size 320x180
expect 0 "" chart -o odd_101x77.gray --size 101x77
for request in "warp chart.png --rotate 10" "warp odd_101x77.gray --matrix 5000,0,90,0,5000,7" \
    "warp chart.png --zoom 2 --path hw" "scale chart.png --size 400x300" "scale odd_101x77.gray --size 50x39" \
    "scale chart.png --size 160x90 --path hw"; do
    expect 0 "vantor replay runs it again" record bug.vrec $request -o made.png
    VANTOR_CPU=plain expect 0 "same" replay bug.vrec
    expect 0 "" record --hashes-only hashes.vrec $request -o again.png
    expect 0 "same" replay hashes.vrec --source "$(cut -d' ' -f2 <<<"$request")"
    cmp made.png again.png || fail "$request: record changed the result"
done
expect 2 "the record has only the hash of its source, a 320x180 nv12 picture: expected --source" replay hashes.vrec
expect 2 "--source again.png: as a 320x180 nv12 picture it has the hash" replay hashes.vrec --source again.png
expect 2 "the hardware path refused" record refused.vrec scale odd_101x77.gray -o x.gray --size 160x90 --path hw
expect 0 "status -38 (Src width(101)" replay refused.vrec
cat odd_101x77.gray odd_101x77.gray >two_101x77.gray
expect 2 "two_101x77.gray: a record is of one frame: expected --limit 1" \
    record x.vrec scale two_101x77.gray -o x.gray --size 50%
expect 0 "" record bug.vrec scale two_101x77.gray -o half.gray --size 50% --skip 1 --limit 1 --hash
grep -q "\"hash\":\"$(sed -n 's/.*; hash //p' out)\"" bug.vrec || fail "another hash than --hash says"

# edited EXPRESSION: x.vrec, which is bug.vrec with another header and the first line that belongs to it.
edited() {
    sed "$1" bug.vrec >x.vrec
    sed -i "1s/1 [0-9]*/1 $(sed '/^}/q' x.vrec | tail -n +2 | wc -c | xargs printf %08d)/" x.vrec
    sed -i "1s/[0-9a-f]*$/$("$vantor" replay x.vrec 2>&1 | sed -n 's/.*its hash is \([0-9a-f]*\),.*/\1/p')/" x.vrec
}
expect 0 "" record bug.vrec warp chart.png -o made.png --matrix 4096,0,0,0,4096,0
# The process ends where it would write the result.
{ (ulimit -f 120 && "$vantor" record ended.vrec warp chart.png -o x.png --rotate 1); } >out 2>&1
expect 1 "recorded: the request did not end" replay ended.vrec
edited 's/"matrix": \[4096/"matrix": [4200/'
expect 1 '"verdict": "different"' replay x.vrec --json
python3 - <<'END' # one sample of the result
record = bytearray(open("bug.vrec", "rb").read())
record[-86400 + 320 * 9 + 17] ^= 1
open("flipped.vrec", "wb").write(record)
END
expect 2 "the planes of the result are damaged: their hash is" replay flipped.vrec
mv bug.vrec whole.vrec
mv flipped.vrec bug.vrec
edited "s/\(\"result\".*\"hash\":\"\)[0-9a-f]*/\1$(sed 's/.*hash is \([0-9a-f]*\),.*/\1/' out)/"
expect 1 "Y: 1 of 57600 samples differ, first at (17, 9)" replay x.vrec
mv whole.vrec bug.vrec

refuse() { # refuse TEXT EXPRESSION
    edited "$2"
    expect 2 "x.vrec: not a valid record: $1" replay x.vrec
}
refuse 'source.size[0] 99999: expected a whole number from 4 to 16384' '/"source"/s/\[320,/[99999,/'
refuse 'source.size [319,180]: expected even numbers, in nv12' '/"source"/s/\[320,/[319,/'
refuse 'source.region[2] 320: expected a whole number from 0 to 319' '/"source"/s/319/320/'
refuse 'matrix[0] 18446744073709551615: expected a whole number from -32768' 's/\[4096/[18446744073709551615/'
refuse 'matrix [1.5]: expected a list of 6' 's/\[4096.*/[1.5]/'
refuse 'operation "rm": expected runInterpBicubic, runCSC' 's/runGDCMatrix/rm/'
refuse 'grid is missing' 's/runGDCMatrix/runGDCGrid/'
refuse 'source.hash "../..": expected 16 hexadecimal digits' '/"source"/s/"hash":"[0-9a-f]*/"hash":"..\/../'
refuse 'the header is not a JSON object' 's/^ "format"/]/'
nest=$(printf '[%.0s' {1..60000})$(printf ']%.0s' {1..60000}) # as JSON to read, 7 GB
refuse 'the header has a value inside more than 8 objects and lists' "s/^ \"made_by\".*/ \"made_by\": $nest,/"
refuse 'the file has 1' '/"destination"/s/\[320,180/[16384,16384/'
head -c 1000 bug.vrec >x.vrec
expect 2 "x.vrec: not a valid record: the header ends after 958 of" replay x.vrec
sed '1s/ 1 / 2 /' bug.vrec >x.vrec
expect 2 "x.vrec: not a valid record: version 2: this vantor reads version 1" replay x.vrec
sed '1s/1 [0-9]*/1 99999999/' bug.vrec >x.vrec
expect 2 "header of 99999999 bytes: expected at most 131072" replay x.vrec
expect 2 "chart.png: not a record: expected a first line 'vantor-record 1 LENGTH HASH'" replay chart.png
finish
