"""The hardware backend, against the CPU."""

import pytest
from conftest import read, write


@pytest.fixture(autouse=True)
def pictures(vantor, chart):
    vantor("chart -o odd_101x77.gray --size 101x77")


def test_the_results_are_the_processors(vantor):
    vantor("scale chart.png -o x.png --size 50%")
    vantor("scale chart.png -o hw.png --size 50% --backend hardware", text="as nv12 on the hardware backend (software service)")
    assert read("hw.png") == read("x.png")
    vantor("warp odd_101x77.gray -o x.gray --shift 5,5")
    vantor("warp odd_101x77.gray -o hw.gray --shift 5,5 --backend hardware", text="as gray on the hardware backend")
    assert read("hw.gray") == read("x.gray")


def test_the_path_is_in_the_json_and_in_the_log(vantor):
    assert vantor("scale chart.png -o x.png --size 50% --backend hardware --json").json()["path"] == "hardware"
    arguments = "warp chart.png -o x.png --matrix 4096,0,0,0,4096,0 --backend hardware"
    vantor(arguments, text="runGDCHWGrid():970 WARPING done", env={"VANTOR_LOG": "info"})


@pytest.mark.parametrize("arguments, text", [
    ("odd_101x77.gray --size 160x90 --backend hardware", "Src width(101) and height(77) must be aligned"),
    ("chart.png --size 8x8 --path fpga", "--path fpga: expected software or hardware"),
])
def test_refusals_are_told(refuse, arguments, text):
    refuse(f"scale {arguments}", text)


@pytest.mark.parametrize("arguments", [
    "chart.png --size 200x100", "small_160x90.gray --size 64x126", "chart.png --rotate 30",
    "chart.png --matrix 5000,0,90,0,5000,7",
])
def test_crosscheck_finds_both_paths_identical(vantor, arguments):
    vantor("scale chart.png -o small_160x90.gray --size 50%")
    for what in "hardware backend (here the software service)", "C library":
        vantor(f"crosscheck {arguments}", text=f"{what} and software backend: identical")
    assert vantor(f"crosscheck {arguments} --json").json()["identical"] is True


@pytest.mark.parametrize("options", ["", "--size 50% --rotate 2"])
def test_crosscheck_wants_one_request(vantor, options):
    vantor(f"crosscheck chart.png {options}", 2, "expected --size for a scaling request, or")


def test_a_fallback_has_the_same_bytes_and_is_named(vantor, not_sanitized):
    vantor("scale chart.png -o expected.gray --size 160x90")
    # Descriptors enough for the result, the worker, the allocator and two pictures, and no more.
    text = "as gray by the hardware backend's fallback (ion_alloc_fd(7) failed)"
    vantor("scale chart.png -o x.gray --size 160x90 --backend hardware", text=text, under="prlimit --nofile=8")
    assert read("x.gray") == read("expected.gray")


def test_gray_warps_of_a_clip_leave_two_descriptors_open_each(vantor, not_sanitized):
    write("many_96x64.gray", bytes(300 * 96 * 64))
    arguments = "warp many_96x64.gray -o x.gray --rotate 9 --backend hardware --jobs 1"
    vantor(arguments, text="software service) in", under="prlimit --nofile=256:")  # which it may raise
    vantor(arguments, 2, "the hardware backend refused: ion_alloc_fd", under="prlimit --nofile=24")
