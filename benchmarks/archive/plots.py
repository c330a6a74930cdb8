#!/usr/bin/env python3
"""Draws docs/archive/*.svg and writes the table of docs/archive.md from results.csv."""
import csv
import math
import sys
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))

from svg import Drawing  # noqa: E402

ROOT = HERE.parents[1]
PLOTS = ROOT / "docs" / "archive"
PAGE = ROOT / "docs" / "archive.md"
BEGIN, END = "<!-- limits of the simulation -->", "<!-- end of the limits -->"
COLOURS = {1: "#cc6a1e", 10: "#7fb0d6", 100: "#2f6b9a"}
TITLES = {"combine": "combine: three files into one container", "grid": "grid: three files to one grid",
          "calc": "calc: an index of two channels", "sample": "sample: two features of every pixel"}
WIDTH, HEIGHT, LEFT, TOP = 310, 210, 60, 70
OTHERS = {"stated": "as stated", "fast_storage": "storage of 40 GB/s",
          "busy_metadata": "500 metadata operations/s", "fast_scheduler": "100 tasks/s, 0.05 s between",
          "own_manifests": "a manifest for each task"}


class Panel:
    """A plot with two logarithmic scales, of workers and of a figure."""

    def __init__(self, drawing, left, top, figures):
        self.drawing, self.left, self.bottom = drawing, left, top + HEIGHT
        self.low = math.floor(math.log10(min(figures)))
        self.high = math.ceil(math.log10(max(figures)))
        for power in range(4):
            self.mark(power, left + WIDTH * power / 3)
        for power in range(self.low, self.high + 1):
            y = self.y(10.0 ** power)
            drawing.line(left, y, left + WIDTH, y)
            drawing.text(left - 6, y + 4, format(10.0 ** power, ",g"), "end")

    def mark(self, power, x):
        self.drawing.line(x, self.bottom, x, self.bottom - HEIGHT)
        self.drawing.text(x, self.bottom + 16, "%d" % 10 ** power, "middle")

    def x(self, workers):
        return self.left + WIDTH * math.log10(workers) / 3

    def y(self, figure):
        share = (math.log10(figure) - self.low) / (self.high - self.low)
        return self.bottom - HEIGHT * share

    def curve(self, points, colour):
        places = [(self.x(workers), self.y(figure)) for workers, figure in points]
        for (x1, y1), (x2, y2) in zip(places, places[1:]):
            self.drawing.line(x1, y1, x2, y2, colour, 2)


PLOTTED = {"throughput": ("scenes_per_hour", "scenes an hour, of 720 MB"),
           "hours": ("hours", "hours for 100,000 scenes of 720 MB")}


def drawing(results, name):
    """A panel for each kind of work, with a curve for each batch."""
    field, title = PLOTTED[name]
    plot = Drawing(2 * (WIDTH + LEFT + 30), 2 * (HEIGHT + TOP) + 40)
    plot.text(20, 24, title)
    for number, batch in enumerate(COLOURS):
        plot.bar(330 + 130 * number, 14, 12, 12, COLOURS[batch])
        plot.text(348 + 130 * number, 24, "--batch %d" % batch)
    rows = [row for row in results if row["site"] == "stated"]
    figures = [float(row[field]) for row in rows]
    for number, kind in enumerate(TITLES):
        left = LEFT + 10 + number % 2 * (WIDTH + LEFT + 20)
        top = TOP + number // 2 * (HEIGHT + TOP)
        panel = Panel(plot, left, top, figures)
        plot.text(left, top - 10, TITLES[kind])
        plot.text(left + WIDTH, top + HEIGHT + 32, "workers", "end")
        for batch, colour in COLOURS.items():
            own = [row for row in rows if (row["kind"], row["batch"]) == (kind, str(batch))]
            panel.curve([(int(row["workers"]), float(row[field])) for row in own], colour)
            if batch in (1, 100):
                above = -6 if (batch == 100) == (name == "throughput") else 16
                plot.text(left + WIDTH - 4, panel.y(float(own[-1][field])) + above, own[-1]["limit"], "end",
                          colour)
    return plot


# ---- The table of the page ----

def knee(rows):
    """The fewest workers that give nine tenths of what most of them give."""
    most = max(float(row["scenes_per_hour"]) for row in rows)
    return next(row for row in rows if float(row["scenes_per_hour"]) >= 0.9 * most)


def table(results):
    """What the most workers do at every site, for each batch: scenes an hour, what limits them, and
    with how many workers that is reached."""
    lines = ["| site | work | %s |" % " | ".join("`--batch %d`" % batch for batch in COLOURS),
             "| --- | --- | --- | --- | --- |"]
    for site, words in OTHERS.items():
        for kind in TITLES:
            cells = []
            for batch in COLOURS:
                rows = [row for row in results if (row["site"], row["kind"], row["batch"]) ==
                        (site, kind, str(batch))]
                cells.append("%s, %s, %s" % (format(int(rows[-1]["scenes_per_hour"]), ","),
                                             rows[-1]["limit"], knee(rows)["workers"]))
            lines.append("| %s | %s | %s |" % (words, kind, " | ".join(cells)))
    return "\n".join(lines)


def main(path=HERE / "results.csv"):
    with open(path, newline="") as file:
        results = list(csv.DictReader(file))
    PLOTS.mkdir(exist_ok=True)
    for name in PLOTTED:
        drawing(results, name).save(PLOTS / (name + ".svg"))
    if PAGE.exists():
        before, rest = PAGE.read_text(encoding="utf-8").split(BEGIN)
        PAGE.write_text("%s%s\n%s\n%s%s" % (before, BEGIN, table(results), END, rest.split(END)[1]),
                        encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
