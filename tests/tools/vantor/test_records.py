"""Requests recorded and replayed, and records that are not what they should be."""

import re

import pytest
from conftest import flat, read, write


@pytest.fixture(autouse=True)
def pictures(vantor, chart):
    vantor("chart -o odd_101x77.gray --size 101x77")


@pytest.fixture
def record(vantor):
    vantor("record bug.vrec warp chart.png -o made.png --matrix 4096,0,0,0,4096,0")


def edit(vantor, pattern, new):
    """x.vrec: bug.vrec with its header changed, and with the first line that belongs to it."""
    first, rest = read("bug.vrec").split(b"\n", 1)
    header, planes = rest[: int(first.split()[2])], rest[int(first.split()[2]) :]
    changed = re.sub(pattern, new, header, count=1)
    assert changed != header
    line = b"vantor-record 1 %08d %%s\n" % len(changed)
    write("x.vrec", line % (b"0" * 16) + changed)
    digest = re.search("its hash is (\\w+),", vantor("replay x.vrec", 2).text).group(1).encode()
    write("x.vrec", line % digest + changed + planes)


@pytest.mark.parametrize("arguments", [
    "warp chart.png --rotate 10",
    "warp odd_101x77.gray --matrix 5000,0,90,0,5000,7",
    "warp chart.png --zoom 2 --backend hardware",
    "scale chart.png --size 400x300",
    "scale odd_101x77.gray --size 50x39",
    "scale chart.png --size 160x90 --backend hardware",
])
def test_a_replay_gives_the_same(vantor, arguments):
    vantor(f"{arguments} -o plain.png")
    vantor(f"record bug.vrec {arguments} -o made.png", text="vantor replay runs it again")
    vantor("replay bug.vrec", text="same", env={"VANTOR_CPU": "plain"})
    vantor(f"record --hashes-only hashes.vrec {arguments} -o again.png")
    vantor(f"replay hashes.vrec --source {arguments.split()[1]}", text="same")
    assert read("hashes.vrec").endswith(b"\n}\n"), "samples behind the header"
    assert read("plain.png") == read("made.png") == read("again.png"), "record changed the result"


def test_hashes_need_their_source(vantor):
    vantor("record --hashes-only hashes.vrec scale chart.png -o again.png --size 160x90")
    text = "the record has only the hash of its source, a 320x180 nv12 picture: expected --source"
    vantor("replay hashes.vrec", 2, text)
    vantor("warp chart.png -o turned.png --rotate 1")
    text = "--source turned.png: as a 320x180 nv12 picture it has the hash"
    vantor("replay hashes.vrec --source turned.png", 2, text)
    vantor("chart -o high.png --size 320x182")
    text = "--source high.png 320x182: the record's is a 320x180 nv12 picture"
    vantor("replay hashes.vrec --source high.png", 2, text)


def test_a_refusal_is_recorded(vantor):
    arguments = "scale odd_101x77.gray -o x.gray --size 160x90 --backend hardware"
    vantor(f"record refused.vrec {arguments}", 2, "the hardware backend refused")
    vantor("replay refused.vrec", text="status -38 (Src width(101)")


def test_a_record_is_of_one_frame_and_has_its_hash(vantor):
    write("two_101x77.gray", read("odd_101x77.gray") * 2)
    arguments = "record bug.vrec scale two_101x77.gray -o half.gray --size 50%"
    vantor(arguments, 2, "two_101x77.gray: a record holds one frame: expected --limit 1")
    digest = vantor(f"{arguments} --skip 1 --limit 1 --hash").text.split("; hash ")[1].split()[0]
    assert f'"hash":"{digest}"'.encode() in read("bug.vrec")
    write("padded_24x16.gray", bytes(16 * 32 - 8))  # one frame, though its last padding is missing
    vantor("record bug.vrec scale padded_24x16.gray --input-stride 32 -o half.gray --size 50%")
    clip = b"YUV4MPEG2 W8 H8\nFRAME Ip\n" + flat("8x8", 1, 2, 3)  # one frame, though it is longer than without a tag
    vantor("record bug.vrec scale - -o x.gray --size 50%", input=clip)


def test_a_process_that_ends_leaves_its_request(vantor):
    # It ends where it would write the result.
    vantor.run("record ended.vrec warp chart.png -o x.png --rotate 1", under="prlimit --fsize=122880")
    vantor("replay ended.vrec", 1, "recorded: the request did not complete")


def test_another_result_is_different(vantor, record):
    edit(vantor, rb'("matrix": \[)4096', rb"\g<1>4200")
    assert vantor("replay x.vrec --json", 1).json()["verdict"] == "different"
    edit(vantor, b'"status":0', b'"status":-1')
    vantor("replay x.vrec", 1, "recorded: status -1, hash")


def test_a_changed_sample_of_the_result_is_found(vantor, record):
    content = bytearray(read("bug.vrec"))
    content[-86400 + 320 * 9 + 17] ^= 1
    write("bug.vrec", content)
    text = vantor("replay bug.vrec", 2, "the planes of the result are damaged: their hash is").text
    digest = re.search(r"hash is (\w+),", text).group(1).encode()
    edit(vantor, rb'("result".*"hash":")\w+', rb"\g<1>" + digest)
    vantor("replay x.vrec", 1, "Y: 1 of 57600 samples differ, first at (17, 9)")


NEST = b'"made_by": ' + b"[" * 60000 + b"]" * 60000 + b","  # as JSON to read, 7 GB


@pytest.mark.parametrize("pattern, new, text", [
    (rb'("source".*)\[320,', rb"\1[99999,", "source.size[0] 99999: expected a whole number from 4 to 16384"),
    (rb'("source".*)\[320,', rb"\1[319,", "source.size [319,180]: expected even numbers, in nv12"),
    (rb'("source".*)319', rb"\g<1>320", "source.region[2] 320: expected a whole number from 0 to 319"),
    (rb'("source".*"region":)\[0,0', rb"\1[320,0", "source.region[0] 320: expected a whole number from 0 to 319"),
    (rb'("source".*"region":)\[0,0,319', rb"\1[16,0,9", "source.region[2] 9: expected a whole number from 16 to 319"),
    (rb"\[4096", b"[%d" % (2**64 - 1), f"matrix[0] {2**64 - 1}: expected a whole number from -32768"),
    (rb"\[4096.*", b"[1.5]", "matrix [1.5]: expected a list of 6"),
    (b"runGDCMatrix", b"rm", 'operation "rm": expected runInterpBicubic, runCSC'),
    (b"runGDCMatrix", b"runGDCGrid", "grid is missing"),
    (rb'("source".*"hash":")\w+', rb"\1../..", 'source.hash "../..": expected 16 hexadecimal digits'),
    (rb'\n "format"', b"\n]", "the header is not a JSON object"),
    (rb'"made_by".*', NEST, "the header has a value inside more than 8 objects and lists"),
    (rb'("destination".*)\[320,180', rb"\1[16384,16384", "the file has 1"),
], ids=lambda value: value if isinstance(value, str) else "")
def test_headers_that_cannot_be_are_refused(vantor, record, pattern, new, text):
    edit(vantor, pattern, new)
    vantor("replay x.vrec", 2, f"x.vrec: not a valid record: {text}")


@pytest.mark.parametrize("pattern, new, text", [
    (rb"(?s)^(.{1000}).*", rb"\1", "not a valid record: the header ends after 958 of"),
    (rb"^(\S+) 1 ", rb"\1 2 ", "not a valid record: version 2: this vantor reads version 1"),
    (rb"^(\S+) 1 \d+", rb"\1 1 99999999", "not a valid record: header of 99999999 bytes: expected at most 131072"),
    (rb"^\S+", b"x", "not a record: expected a first line 'vantor-record 1 LENGTH HASH'"),
])
def test_first_lines_that_cannot_be_are_refused(vantor, record, pattern, new, text):
    write("x.vrec", re.sub(pattern, new, read("bug.vrec"), count=1))
    vantor("replay x.vrec", 2, f"x.vrec: {text}")
