#!/usr/bin/env python3
"""Puts the figures of a run into the page: plot.py FILE, which ./dev bench --json FILE has written.

Draws docs/speed/*.svg, and writes the tables of docs/speed.md between the two markers.
"""
import json
import statistics
import sys
from pathlib import Path

sys.dont_write_bytecode = True

import fit  # noqa: E402
import rows  # noqa: E402
from svg import FAINT, Drawing  # noqa: E402

ROOT = Path(__file__).resolve().parents[1]
PAGE = ROOT / "docs" / "speed.md"
PLOTS = ROOT / "docs" / "speed"
BEGIN, END = "<!-- figures of a run -->", "<!-- end of the figures -->"
COLOURS = {"goal": "#2f6b9a", "must": "#7fb0d6", "no": "#cc6a1e"}
LEGEND = (("goal", "reaches the goal"), ("must", "within the bound"), ("no", "beyond it"))
CLIPPED = 2.0  # times the bound


# ---- The table as bars ----

def draw_rows(results, path):
    """A bar for each row, as a share of what it must reach; none is longer than CLIPPED."""
    left, scale, step, top = 400, 170, 22, 50
    measured = [row for row in rows.ROWS if row.key in results]
    bottom = top + step * len(measured)
    drawing = Drawing(left + CLIPPED * scale + 80, bottom + 20)
    for number, (verdict, words) in enumerate(LEGEND):
        drawing.bar(20 + 150 * number, 14, 12, 12, COLOURS[verdict])
        drawing.text(38 + 150 * number, 24, words)
    drawing.text(470, 24, "short lines: the goal")
    for share in (0, 0.5, 1, 1.5, 2):
        x = left + share * scale
        drawing.line(x, top - 4, x, bottom, "#333333" if share == 1 else FAINT)
        drawing.text(x, bottom + 14, "bound" if share == 1 else "%g" % share, "middle")
    for number, row in enumerate(measured):
        draw_row(drawing, row, results[row.key]["value"], left, top + step * number, scale)
    drawing.save(path)


def draw_row(drawing, row, value, left, y, scale):
    width = min(value / row.must, CLIPPED) * scale
    goal = left + row.goal / row.must * scale
    words = "%s / %s" % (row.work, row.peer.replace("`", "").split(":")[0].split(" (")[0])
    drawing.text(left - 8, y + 13, words if len(words) < 64 else words[:61] + "...", "end")
    drawing.bar(left, y + 3, width, 13, COLOURS[rows.met(row, value)])
    drawing.line(goal, y, goal, y + 19, "#000000", 2)
    drawing.text(left + CLIPPED * scale + 10, y + 14, rows.number(value))


# ---- Growth ----

def draw_growth(found, path):
    """A panel for each: the costs, and the straight line through them."""
    width, height = 250, 210
    drawing = Drawing(3 * width, 2 * height)
    for number, part in enumerate(found.values()):
        draw_panel(drawing, part, number % 3 * width + 20, number // 3 * height + 20)
    drawing.save(path)


def draw_panel(drawing, part, left, top):
    sizes, costs = part["sizes"], part["costs"]
    width, height = 200, 130
    bottom = top + 20 + height
    x = lambda size: left + width * size / max(sizes)  # noqa: E731
    y = lambda cost: bottom - height * cost / max(costs)  # noqa: E731
    slope, start = statistics.linear_regression(sizes, costs)
    drawing.text(left, top + 6, "%s, up to %.3g" % (part["unit"], max(costs)))
    drawing.line(left, bottom, left + width, bottom)
    drawing.line(left, bottom, left, top + 20)
    drawing.line(x(0), y(start), x(max(sizes)), y(start + slope * max(sizes)), COLOURS["must"], 2)
    for size, cost in zip(sizes, costs):
        drawing.dot(x(size), y(cost), COLOURS["goal"])
        drawing.text(x(size), bottom + 15, "%.3g" % size, "middle")
    drawing.text(left, bottom + 32, part["what"])


# ---- The page ----

def section(report):
    parts = ["Measured on %(date)s: %(machine)s, load %(load).1f at the start." % report]
    if report["load"] > 1:
        parts.append("Other programs were running: do not rely on these figures.")
    if report["quick"]:
        parts.append("A run with `--quick`: the figures mean little.")
    parts.append(rows.table(report["rows"]))
    parts.append("![each row as a share of its bound](speed/rows.svg)")
    if "growth" in report:
        parts += ["### Growth", fit.table(report["growth"]),
                  "![costs at four sizes](speed/growth.svg)"]
    return "\n\n".join(parts)


def with_section(page, text):
    before, rest = page.split(BEGIN)
    after = rest.split(END)[1]
    return "%s%s\n%s\n%s%s" % (before, BEGIN, text, END, after)


def main(path):
    report = json.loads(Path(path).read_text())
    PLOTS.mkdir(exist_ok=True)
    draw_rows(report["rows"], PLOTS / "rows.svg")
    if "growth" in report:
        draw_growth(report["growth"], PLOTS / "growth.svg")
    PAGE.write_text(with_section(PAGE.read_text(encoding="utf-8"), section(report)),
                    encoding="utf-8")


if __name__ == "__main__":
    main(sys.argv[1])
