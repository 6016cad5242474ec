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


def inline(text):
    """Code, pictures, links and emphasis of a line of Markdown."""
    code = []

    def keep(found):
        code.append(f"<code>{html.escape(found[1])}</code>")
        return f"\0{len(code) - 1}\0"

    text = html.escape(re.sub(r"`([^`]+)`", keep, text), quote=False)
    text = re.sub(r"\*\*([^*]+)\*\*", r"<strong>\1</strong>", text)
    text = re.sub(r"(?<![\w*])\*([^*]+)\*(?![\w*])", r"<em>\1</em>", text)
    text = re.sub(r"\0(\d+)\0", lambda found: code[int(found[1])], text)
    text = re.sub(r"!\[([^\]]*)\]\(([^)]+)\)", r'<img alt="\1" src="\2">', text)
    text = re.sub(r"\[([^\]]*)\]\(([^)]+)\)", r'<a href="\2">\1</a>', text)
    return re.sub(r'href="([\w./-]+)\.md', r'href="\1.html', text)


def slug(title):
    return re.sub(r"[^\w -]", "", title.lower().replace("`", "")).replace(" ", "-")


def table(lines):
    cells = [[cell.strip() for cell in re.split(r"(?<!\\)\|", line.strip()[1:-1])] for line in lines]
    rows = [("th", cells[0])] + [("td", row) for row in cells[2:]]
    return "<table>" + "".join("<tr>" + "".join(f"<{tag}>{inline(cell)}</{tag}>" for cell in row) + "</tr>"
                               for tag, row in rows) + "</table>"


def block(text):
    """A paragraph, a heading, a list or a table."""
    lines = text.split("\n")
    heading = re.match(r"(#+) (.*)", text)
    if heading:
        level, title = len(heading[1]), heading[2].split("\n")[0]
        rest = "\n".join(lines[1:])
        return f'<h{level} id="{slug(title)}">{inline(title)}</h{level}>\n' + (block(rest) if rest else "")
    if lines[0].startswith("|"):
        return table(lines)
    if re.match(r"(-|\d+\.) ", lines[0]):
        items = re.split(r"^(?:-|\d+\.) ", text, flags=re.M)[1:]
        tag = "ul" if lines[0].startswith("-") else "ol"
        return f"<{tag}>" + "".join(f"<li>{inline(item)}</li>" for item in items) + f"</{tag}>"
    start = next((i for i, line in enumerate(lines) if i and re.match(r"(-|\d+\.|\|) ", line)), None)
    if start:
        return block("\n".join(lines[:start])) + block("\n".join(lines[start:]))
    return f"<p>{inline(text)}</p>"


def rendered(text):
    """A page of Markdown, as far as the documents use it."""
    made = []
    for i, part in enumerate(re.split(r"^```.*\n", text, flags=re.M)):
        if i % 2:
            made.append(f"<pre><code>{html.escape(part)}</code></pre>")
        else:
            made += [block(text) for text in re.split(r"\n\s*\n", part.strip("\n")) if text.strip()]
    title = html.escape(re.search(r"^# (.*)", text, re.M)[1])
    return (f'<!DOCTYPE html>\n<html lang="en"><head><meta charset="utf-8"><meta name="viewport" '
            f'content="width=device-width"><title>{title}</title><style>{STYLE}</style></head>\n<body>\n'
            + "\n".join(made) + "\n</body></html>\n")


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
    shutil.copytree(ROOT / "docs/images", site / "docs/images")
    for page in [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")]:
        target = site / page.relative_to(ROOT).with_suffix(".html")
        target.write_text(rendered(page.read_text()))
    (site / "scene.png").unlink()


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve())
