#!/usr/bin/python3
"""gstreamer.py [--quick|--write]: times the GStreamer elements against videoscale and fisheye, all on one core and with
one thread, in turns: CPU time of a whole gst-launch-1.0 per frame, without its start. Prints the least times and their
ratios; --write also puts them into docs/gstreamer.md, and --quick takes few. Needs gstreamer1.0-tools, and
gstreamer1.0-plugins-base, -good and -bad; GST_PLUGIN_PATH=build/lib/gstreamer-1.0 finds elements that are not
installed."""

import argparse
import datetime
import os
import pathlib
import random
import re
import subprocess

PAGE = pathlib.Path(__file__).resolve().parents[1] / "docs/gstreamer.md"
LENS = "vantorwarp lens=-0.15,0.02"
FISHEYE = "videoconvert ! fisheye ! videoconvert"
# Source, result, and the elements that make one of the other; the first is ours.
CASES = [
    *[(source, result, ["vantorscale", *(f"videoscale method={method}" for method in ("bilinear", "4-tap", "catrom"))])
      for source, result in (("NV12,width=1920,height=1080", "NV12,width=1280,height=720"),
                             ("I420,width=1920,height=1080", "I420,width=1280,height=720"),
                             ("NV12,width=1280,height=720", "NV12,width=1920,height=1080"))],
    ("NV12,width=1920,height=1080", "NV12,width=1920,height=1080", [LENS, FISHEYE]),
    ("GRAY8,width=1920,height=1080", "GRAY8,width=1920,height=1080", [LENS, "fisheye"]),
]


def seconds(source, element, result, frames):
    """CPU seconds of a pipeline that has its source ready after the first frame."""
    pipeline = (f"videotestsrc num-buffers=1 ! video/x-raw,format={source} ! imagefreeze num-buffers={frames} "
                f"! {element} ! video/x-raw,format={result} ! fakesink sync=false")
    process = subprocess.Popen(["gst-launch-1.0", "-q", *pipeline.split()])
    _, status, usage = os.wait4(process.pid, 0)
    if status:
        raise SystemExit(f"failed: {pipeline}")
    return usage.ru_utime + usage.ru_stime


def measured(frames, repeat):
    """Rows of the table: milliseconds per frame, and ours over theirs."""
    runs = [(source, element, result) for source, result, elements in CASES for element in elements]
    times = {(run, count): [] for run in runs for count in (1, frames)}
    for _ in range(repeat):
        for run, count in random.sample(list(times), len(times)):
            times[run, count].append(seconds(*run, count))
    for source, result, elements in CASES:
        each = [1000 * (min(times[(source, element, result), frames]) - min(times[(source, element, result), 1]))
                / (frames - 1) for element in elements]
        for element, taken in zip(elements[1:], each[1:]):
            shown = [re.sub(r",width=(\d+),height=(\d+)", r" \1x\2", caps) for caps in (source, result)]
            yield (f"| {shown[0]} to {shown[1].split()[1]} | `{elements[0]}` {each[0]:.2f} | `{element}` {taken:.2f} "
                   f"| {each[0] / taken:.2f} |")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--write", action="store_true")
    arguments = parser.parse_args()
    os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})
    rows = measured(3 if arguments.quick else 150, 1 if arguments.quick else 8)
    model = re.search("model name.*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    version = re.search("version (.*)", subprocess.check_output(["gst-launch-1.0", "--version"], text=True))[1]
    table = "\n".join([f"{datetime.date.today()}, {model[1] if model else 'unknown'}, GStreamer {version}:", "",
                       "| frames | ms per frame | ms per frame | ratio |", "|---|---|---|---|", *rows])
    print(table)
    if arguments.write:
        marked = re.compile("(<!-- measured: begin -->\n\n).*(\n\n<!-- measured: end -->)", re.DOTALL)
        PAGE.write_text(marked.sub(lambda found: found[1] + table + found[2], PAGE.read_text()))


if __name__ == "__main__":
    main()
