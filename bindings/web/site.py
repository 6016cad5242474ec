#!/usr/bin/env python3
"""site.py VANTOR OUT: makes OUT/site, a directory for any static host: live pages of a scene and of a chart, which the
tool VANTOR fills in, and the documents as HTML."""

import html
import math
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import zlib

import markdown

ROOT = pathlib.Path(__file__).resolve().parents[2]
WIDTH, HEIGHT = 1280, 720
SPHERES = ((-1.5, 0.9, 5.0, 0.9, (0.86, 0.24, 0.18)), (0.6, 0.6, 3.6, 0.6, (0.95, 0.77, 0.2)),
           (2.3, 1.2, 6.5, 1.2, (0.2, 0.45, 0.85)))
SUN = (-0.45, 0.75, -0.48)
STYLE = """:root { color-scheme: light dark; } body { max-width: 60em; margin: 2em auto; padding: 0 1em;
font: 16px/1.5 system-ui, sans-serif; } pre { overflow-x: auto; padding: .8em; background: #8882; border-radius: 6px; }
code { font-family: ui-monospace, monospace; } table { border-collapse: collapse; display: block; overflow-x: auto; }
td, th { border: 1px solid #8886; padding: .3em .6em; text-align: left; vertical-align: top; }
img { max-width: 100%; background: #fff; }"""


def hit(x, y, z, dx, dy, dz):
    """The nearest sphere along a ray: its distance and itself."""
    nearest, found = math.inf, None
    for sphere in SPHERES:
        ox, oy, oz = x - sphere[0], y - sphere[1], z - sphere[2]
        b = ox * dx + oy * dy + oz * dz
        d = b * b - (ox * ox + oy * oy + oz * oz - sphere[3] ** 2)
        if d > 0 and 1e-4 < -b - math.sqrt(d) < nearest:
            nearest, found = -b - math.sqrt(d), sphere
    return nearest, found


def sky(dy):
    blend = max(0.0, min(dy * 1.6, 1.0))
    return 0.83 - 0.5 * blend, 0.89 - 0.32 * blend, 0.95 - 0.12 * blend


def color(dx, dy, dz):
    """Of a ray from the camera: spheres on tiles, under a sky."""
    x, y, z = 0.0, 1.3, 0.0
    distance, sphere = hit(x, y, z, dx, dy, dz)
    floor = y / -dy if dy < 0 else math.inf
    if sphere is None and floor > 60:
        return sky(dy)
    distance = min(distance, floor)
    px, py, pz = x + distance * dx, y + distance * dy, z + distance * dz
    if sphere:
        normal = [(p - c) / sphere[3] for p, c in zip((px, py, pz), sphere)]
        base = sphere[4]
    else:
        normal = (0.0, 1.0, 0.0)
        is_white = (math.floor(px) + math.floor(pz)) % 2
        base = (0.86, 0.85, 0.82) if is_white else (0.25, 0.3, 0.33)
    light = max(0.0, sum(n * s for n, s in zip(normal, SUN)))
    if light and hit(px, py, pz, *SUN)[1]:
        light = 0.0
    haze = min(1.0, distance / 60) ** 1.5
    return tuple((b * (0.35 + 0.65 * light)) * (1 - haze) + s * haze for b, s in zip(base, sky(0)))


def scene():
    """A PNG file."""
    rows = bytearray()
    for row in range(HEIGHT):
        rows.append(0)
        for column in range(WIDTH):
            dx, dy, dz = (column - WIDTH / 2) / WIDTH * 1.5, (HEIGHT * 0.42 - row) / WIDTH * 1.5, 1.0
            norm = math.sqrt(dx * dx + dy * dy + dz * dz)
            rows += bytes(int(255 * c ** 0.8 + 0.5) for c in color(dx / norm, dy / norm, dz / norm))

    def chunk(name, content):
        return struct.pack(">I", len(content)) + name + content + struct.pack(">I", zlib.crc32(name + content))

    header = struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(bytes(rows), 9)) +
            chunk(b"IEND", b""))


def slug(title, _):
    return re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-")


def rendered(text):
    """A page of Markdown."""
    parts = re.split(r"^(```.*?^```\n)", text, flags=re.M | re.S)
    # Markdown's first form begins lists and tables behind empty lines only.
    start = re.compile(r"^((?!- |\d+\. |\|| ).+\n)(?=- |\d+\. |\|)", re.M)
    parts[::2] = [start.sub(r"\1\n", part) for part in parts[::2]]
    body = markdown.markdown("".join(parts), extensions=["fenced_code", "tables", "toc"],
                             extension_configs={"toc": {"slugify": slug}})
    body = re.sub(r'href="([\w./-]+)\.md', r'href="\1.html', body)
    title = html.escape(re.search(r"^# (.*)", text, re.M)[1])
    return (f'<!DOCTYPE html>\n<html lang="en"><head><meta charset="utf-8"><meta name="viewport" '
            f'content="width=device-width"><title>{title}</title><style>{STYLE}</style></head>\n<body>\n{body}\n'
            "</body></html>\n")


def main(vantor, out):
    site = out / "site"
    shutil.rmtree(site, ignore_errors=True)
    (site / "docs").mkdir(parents=True)

    def run(*words):
        subprocess.run([vantor, *map(str, words)], cwd=site, check=True)

    (site / "scene.png").write_bytes(scene())
    run("warp", "scene.png", "-o", "photo.png", "--lens=0.12,0.03")
    run("chart", "-o", "chart.png", "--size", f"{WIDTH}x{HEIGHT}")
    run("live", "photo.png", "-o", "index.html", "--lens=-0.11,0.01")
    run("live", "chart.png", "-o", "chart.html", "--rotate", 2)
    for page, name, other in (("index.html", "chart", "chart.html"), ("chart.html", "scene", "index.html")):
        file = '<output id="name"></output>'
        before, after = (site / page).read_text().split(file)
        links = f'<span><a href="{other}">{name}</a> · <a href="README.html">documents</a></span>'
        (site / page).write_text(before + file + links + after)
    shutil.copytree(ROOT / "docs/images", site / "docs/images")
    for page in [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")]:
        target = site / page.relative_to(ROOT).with_suffix(".html")
        target.write_text(rendered(page.read_text()))
    (site / "scene.png").unlink()


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve())
