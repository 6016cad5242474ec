"""Records changed by hand: every part of a request is asked for again."""

import re

import pytest


def edit(vantor, record, old="", new="", behind=b""):
    """Writes changed.vrec, the record with another header and the first line that belongs to it."""
    text = record.read_bytes()
    start, end = text.index(b"\n") + 1, text.index(b"\n}\n") + 3
    header = text[start:end].replace(old.encode(), new.encode(), 1)
    digest = "0" * 16
    for _ in range(2):
        first = f"vantor-record 1 {len(header):08} {digest}\n".encode()
        record.with_name("changed.vrec").write_bytes(first + header + text[end:] + behind)
        if digest == "0" * 16:
            digest = re.search("its hash is ([0-9a-f]{16})", vantor("replay changed.vrec", 2).text)[1]


@pytest.mark.parametrize(
    "picture, request_of",
    [
        ("destination", "warp chart.png --matrix 4200,0,0,0,4096,0"),
        ("source", "scale chart.png --size 160x90 --backend hardware"),
        ("destination", "scale chart.png --size 160x90 --backend hardware"),
    ],
)
def test_recorded_regions_are_those_of_the_replay(vantor, chart, directory, picture, request_of):
    vantor(f"record bug.vrec {request_of} -o x.nv12")
    whole = re.search(f'"{picture}": .*?"region":', (directory / "bug.vrec").read_bytes().decode("latin1"))[0]
    edit(vantor, directory / "bug.vrec", whole + "[0,0,", whole + "[16,16,")
    vantor("replay changed.vrec", 1, "status 0")


def test_bytes_behind_a_record_are_refused(vantor, chart, directory):
    vantor("record bug.vrec scale chart.png -o x.png --size 8x8")
    edit(vantor, directory / "bug.vrec")
    vantor("replay changed.vrec", text="same")
    edit(vantor, directory / "bug.vrec", behind=b"!")
    assert re.search("the file has [0-9]* bytes, what its header says makes [0-9]*$", vantor("replay changed.vrec", 2).text)


def test_the_hash_of_a_record_is_that_of_the_picture_in_the_library(vantor, chart, directory):
    for name, is_same in ("x.nv12", True), ("x.png", False):
        text = vantor(f"record bug.vrec scale chart.png -o {name} --size 50% --hash").text
        library = re.search("the library's result has the hash ([0-9a-f]{16});", text)[1]
        assert (re.search("; hash ([0-9a-f]{16})$", text, re.M)[1] == library) == is_same
        assert f'"hash":"{library}"'.encode() in (directory / "bug.vrec").read_bytes()


def test_what_a_record_holds_is_saved_before_and_after_the_request(vantor, chart, directory):
    vantor("record bug.vrec warp chart.png -o x.nv12 --rotate 3")
    vantor("grid --rotate 3 --size 320x180 -o turn.grid")
    saved = vantor("replay bug.vrec --save out --json").json()["saved"]
    assert saved == [f"out/{name}" for name in ("source_320x180.nv12", "result_320x180.nv12", "warp.grid",
                                                "replayed_320x180.nv12")]
    same = dict(zip(saved[1:], ("x.nv12", "turn.grid", "x.nv12")))
    assert all((directory / a).read_bytes() == (directory / b).read_bytes() for a, b in same.items())
    vantor("warp out/source_320x180.nv12 -o again.nv12 --grid out/warp.grid")
    assert (directory / "again.nv12").read_bytes() == (directory / "x.nv12").read_bytes()
    text = "--save out/source_320x180.nv12: expected another file than out/source_320x180.nv12"
    vantor("replay bug.vrec --save out --source out/source_320x180.nv12", 2, text)
    vantor("replay bug.vrec --save bug.vrec", 2, "--save bug.vrec: cannot make the directory: ")
    vantor("record --hashes-only hashes.vrec scale chart.png -o x.png --size 8x8")
    vantor("replay hashes.vrec --save out --source chart.png", text="saved: out/replayed_8x8.nv12")
