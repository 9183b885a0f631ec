#!/usr/bin/env python3
"""Draws the sequences of docs/threads.md: each *.txt beside this file becomes an SVG of that name.

Lines of a source: "lanes A, B, ..." once; then "A -> B: text" for an arrow, "A: text" for what a
lane does, "A wait: text" for a lane that waits, "..." for time that passes.
"""

import html
import pathlib
import re

WIDTH, LANE_TOP, STEP, BOX_WIDTH, BOX_HEIGHT = 960, 44, 34, 216, 24
FILLS = {"": "#e8eef7", "wait": "#fff2d8"}


def label(x, y, text, weight="normal"):
    return (f'<text x="{x}" y="{y}" text-anchor="middle" font-weight="{weight}">'
            f"{html.escape(text)}</text>")


def arrow(x1, x2, y, text):
    tip = -9 if x2 > x1 else 9
    middle, half = (x1 + x2) // 2, 3.4 * len(text) + 4
    return [f'<line x1="{x1}" y1="{y}" x2="{x2}" y2="{y}"/>',
            f'<path d="M{x2} {y}l{tip} -4v8z" fill="#222"/>',
            f'<rect x="{middle - half:.0f}" y="{y - 19}" width="{2 * half:.0f}" height="15" '
            'fill="white" stroke="none"/>',
            label(middle, y - 7, text)]


def box(x, y, text, kind):
    return [f'<rect x="{x - BOX_WIDTH // 2}" y="{y - 18}" width="{BOX_WIDTH}" '
            f'height="{BOX_HEIGHT}" rx="3" fill="{FILLS[kind]}"/>', label(x, y - 2, text)]


def drawing(source):
    lines = [line for line in source.splitlines() if line]
    names = re.split(r",\s*", lines[0].removeprefix("lanes "))
    x = {name: WIDTH * (2 * i + 1) // (2 * len(names)) for i, name in enumerate(names)}
    steps, y = [], LANE_TOP
    for line in lines[1:]:
        y += STEP
        if line == "...":
            steps += [f'<rect x="{at - 2}" y="{y - 16}" width="4" height="20" fill="white" '
                      'stroke="none"/>' for at in x.values()]
        elif match := re.fullmatch(r"(.+) -> (.+?): (.+)", line):
            steps += arrow(x[match[1]], x[match[2]], y, match[3])
        else:
            name, kind, text = re.fullmatch(r"(.+?)(?: (wait))?: (.+)", line).groups()
            steps += box(x[name], y, text, kind or "")
    height = y + 30
    lanes = [f'<line x1="{at}" y1="30" x2="{at}" y2="{height - 6}" stroke="#999"/>'
             for at in x.values()]
    heads = [label(at, 20, name, "bold") for name, at in x.items()]
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
        f'viewBox="0 0 {WIDTH} {height}" font-family="DejaVu Sans, Verdana, sans-serif" '
        'font-size="11" stroke-width="1">',
        f'<rect width="{WIDTH}" height="{height}" fill="white"/>',
        '<g stroke="#222">', *lanes, "</g>", *heads,
        *(step.replace("/>", ' stroke="#222"/>') if "stroke" not in step and "<text" not in step
          else step for step in steps), "</svg>", ""])


if __name__ == "__main__":
    for path in pathlib.Path(__file__).parent.glob("*.txt"):
        path.with_suffix(".svg").write_text(drawing(path.read_text()))
