#!/usr/bin/env python3
"""tool.py VANTOR [--rounds N] [--quick]: times vantor against ffmpeg, ImageMagick and vips at whole jobs, from files to
files, and prints a table in Markdown: CPU time (user and system, of all threads) and elapsed time, the least of N
rounds (5) in which the programs take turns, the size of what was written, and CPU time as a multiple of vantor's.
Programs run with their own number of threads, filters and file compression: results are alike, not equal. --quick uses
few small pictures, one round, and only shows that all jobs run. Programs that `scripts/setup.sh --bench` would install
are left out where they are missing."""

import argparse
import glob
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile
import time

QUALITY = 90
LENS = "-0.12,0.01"
FFMPEG = "ffmpeg -nostdin -loglevel error -y"


def jobs(vantor, size, half, frames):
    """Of each job its title and the command of each program, for the shell; results go to out/."""
    width, height = half.split("x")
    scale = f"-vf scale={width}:{height}:flags=bicubic"
    numbered = "-start_number 1 -i in/%03d"
    k1, k2 = LENS.split(",")
    lens = f"-vf lenscorrection=k1={k1}:k2={k2}:i=bilinear"  # it has no bicubic one
    return {
        f"{frames} JPEG files, {size} to {half}": {
            "vantor": f"{vantor} scale in/*.jpg -o out/ --size {half} --quality {QUALITY}",
            "ffmpeg": f"{FFMPEG} {numbered}.jpg {scale} -q:v 2 out/%03d.jpg",
            "mogrify": f"mogrify -path out -filter Catrom -resize {half}! -quality {QUALITY} in/*.jpg",
            "vipsthumbnail": f"vipsthumbnail in/*.jpg --size {half}! -o $PWD/out/%s.jpg[Q={QUALITY}]",
        },
        f"{frames} PNG files, {size} to {half}": {
            "vantor": f"{vantor} scale in/*.png -o out/ --size {half}",
            "ffmpeg": f"{FFMPEG} {numbered}.png {scale} out/%03d.png",
            "mogrify": f"mogrify -path out -filter Catrom -resize {half}! in/*.png",
            "vipsthumbnail": f"vipsthumbnail in/*.png --size {half}! -o $PWD/out/%s.png",
        },
        f"Y4M, {frames} frames, {size} to {half}": {
            "vantor": f"{vantor} scale in/clip.y4m -o out/clip.y4m --size {half}",
            "ffmpeg": f"{FFMPEG} -i in/clip.y4m {scale} out/clip.y4m",
        },
        f"Y4M, {frames} frames, {size}, lens": {
            "vantor": f"{vantor} warp in/clip.y4m -o out/clip.y4m --lens={LENS}",
            "ffmpeg": f"{FFMPEG} -i in/clip.y4m {lens} out/clip.y4m",
        },
        f"{frames} JPEG files, {size}, lens": {
            "vantor": f"{vantor} warp in/*.jpg -o out/ --lens={LENS} --quality {QUALITY}",
            "ffmpeg": f"{FFMPEG} {numbered}.jpg {lens} -q:v 2 out/%03d.jpg",
            "mogrify": f"mogrify -path out -distort barrel '{k2} 0 {k1}' -quality {QUALITY} in/*.jpg",
        },
    }


def run(command):
    """CPU and elapsed seconds."""
    before, start = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    subprocess.run(command, shell=True, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    elapsed, after = time.monotonic() - start, resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime, elapsed


def make_inputs(vantor, size, frames):
    """in/001.jpg and so on, the same as PNG, and as frames of a clip: the test chart, turned further each time."""
    os.mkdir("in")
    run(f"{vantor} chart -o chart.png --size {size}")
    for number in range(1, frames + 1):
        run(f"{vantor} warp chart.png -o in/{number:03}.png --rotate {number / 10}")
    run(f"{vantor} scale in/*.png -o 'in/%03d.jpg' --size {size} --quality {QUALITY}")
    run(f"{FFMPEG} -start_number 1 -i in/%03d.png -pix_fmt yuv420p in/clip.y4m")


def measure(commands, rounds):
    """Of each program: the least CPU time, the least elapsed time, and the bytes that it wrote."""
    least = {program: (float("inf"), float("inf"), 0) for program in commands}
    for _ in range(rounds):
        for program, command in commands.items():
            shutil.rmtree("out", ignore_errors=True)
            os.mkdir("out")
            cpu, elapsed = run(command)
            written = sum(map(os.path.getsize, glob.glob("out/*")))
            least[program] = (min(cpu, least[program][0]), min(elapsed, least[program][1]), written)
    return least


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("vantor")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--quick", action="store_true")
    arguments = parser.parse_args()
    vantor = pathlib.Path(arguments.vantor).resolve()
    full = "1920x1080", "960x540", 50, arguments.rounds
    size, half, frames, rounds = ("320x180", "160x90", 3, 1) if arguments.quick else full
    if not shutil.which("ffmpeg"):
        sys.exit("tool.py: ffmpeg, which makes the clip, is not installed")
    with tempfile.TemporaryDirectory() as directory:
        os.chdir(directory)
        make_inputs(vantor, size, frames)
        print("| job | program | CPU | elapsed | written | CPU, of vantor's |\n|---|---|---|---|---|---|")
        for title, commands in jobs(vantor, size, half, frames).items():
            found = {name: command for name, command in commands.items() if name == "vantor" or shutil.which(name)}
            results = measure(found, rounds)
            for program, (cpu, elapsed, written) in results.items():
                print(f"| {title} | {program} | {cpu:.2f} s | {elapsed:.2f} s | {written / 1e6:.1f} MB "
                      f"| {cpu / results['vantor'][0]:.2f} |", flush=True)
        os.chdir("/")


if __name__ == "__main__":
    main()
