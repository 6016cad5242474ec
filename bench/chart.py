#!/usr/bin/env python3
"""chart.py BENCH.json CHART.svg: draws this library and its peers, one panel per case, in nanoseconds per pixel.
On a background of its own, so that it is legible on light and dark pages."""
import json
import pathlib
import sys
from html import escape

from report import BEST, Results, ns

OWN = {"libvantor": Results.engine, "libVantor10": Results.own}
WIDTH, MARGIN, PANEL_GAP = 960, 24, 32
TITLE, BAR, BAR_GAP, PANEL_END = 26, 16, 4, 18
LABEL, VALUE = 186, 44  # margins to the left and to the right of bars
HEADER, FOOTER = 66, 52
PANEL_WIDTH = (WIDTH - 2 * MARGIN - PANEL_GAP) / 2
COLORS = {"ground": "#ffffff", "edge": "#d0d7de", "text": "#1f2328", "faint": "#59636e", "own": "#0b6bcb",
          "peer": "#b3bcc6"}


def text(x, y, content, size=12, color="text", anchor="start", weight="normal"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" font-weight="{weight}" text-anchor="{anchor}" '
            f'fill="{COLORS[color]}">{escape(content)}</text>')


def rectangle(x, y, width, height, color, rest=""):
    return (f'<rect x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" height="{height:.1f}" fill="{COLORS[color]}" '
            f'{rest}/>')


def bars(results, group, case):
    """Names and times: this project's entries, then the fastest filter of each peer; of warps, every filter."""
    peers = sorted(results.peers(case), key=lambda row: row["cpu_ns_per_pixel"])
    if group == "scale":
        fastest = {}
        for row in peers:
            fastest.setdefault(row["contender"].split()[0], row)
        peers = fastest.values()
    own = [(name, time(results, case)) for name, time in OWN.items()]
    return own + [(row["contender"], row["cpu_ns_per_pixel"]) for row in peers]


def panel(x, y, title, content):
    parts = [text(x, y + 14, title, 13, weight="bold")]
    longest = max(value for _, value in content)
    scale = (PANEL_WIDTH - LABEL - VALUE) / longest
    for i, (name, value) in enumerate(content):
        top = y + TITLE + i * (BAR + BAR_GAP)
        own = name in OWN
        weight = "bold" if own else "normal"
        parts += [text(x + LABEL - 8, top + 12, name, anchor="end", weight=weight),
                  rectangle(x + LABEL, top, max(value * scale, 1), BAR, "own" if own else "peer", 'rx="2"'),
                  text(x + LABEL + value * scale + 6, top + 12, ns(value), weight=weight)]
    return parts


def panel_height(content):
    return TITLE + len(content) * (BAR + BAR_GAP) + PANEL_END


def chart(results):
    panels = [(case, bars(results, "scale", case)) for case in results.cases("scale")]
    panels += [(f"warp {case}", bars(results, "warp", case)) for case in results.cases("warp") if "mild" in case]
    parts, y = [], HEADER
    for i in range(0, len(panels), 2):
        pair = panels[i:i + 2]
        for column, (title, content) in enumerate(pair):
            parts += panel(MARGIN + column * (PANEL_WIDTH + PANEL_GAP), y, title, content)
        y += max(panel_height(content) for _, content in pair)

    bench = results.bench
    tables = "/".join(dict.fromkeys(bench["kernels"][BEST].values()))
    versions = ", ".join(f"{name} {version}" for name, version in bench["peers"].items())
    height = y + FOOTER
    head = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" width="{WIDTH}" height="{height}" '
        'font-family="system-ui, -apple-system, Segoe UI, Helvetica, Arial, sans-serif">',
        rectangle(0.5, 0.5, WIDTH - 1, height - 1, "ground", f'rx="8" stroke="{COLORS["edge"]}"'),
        text(MARGIN, 32, "Nanoseconds per pixel of output, NV12 in and out, one core: shorter is faster", 16,
             weight="bold"),
        text(MARGIN, 50, "CPU time of complete calls; for scaling, the fastest filter of each peer; for warps, "
                         "all filters", 12, "faint"),
    ]
    machine = f"{bench['processor']}, {bench['date']}, {bench['compiler']}, {tables} kernels"
    foot = [text(MARGIN, y + 16, machine, 11, "faint"), text(MARGIN, y + 32, versions, 11, "faint"), "</svg>\n"]
    return "\n".join(head + parts + foot)


def main():
    bench = json.loads(pathlib.Path(sys.argv[1]).read_text())
    pathlib.Path(sys.argv[2]).write_text(chart(Results(bench)))


if __name__ == "__main__":
    main()
