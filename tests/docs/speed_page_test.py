#!/usr/bin/env python3
"""The page of speed: its tables are those that the benchmarks print, and its plots show them."""
import re
import sys
import unittest
import xml.etree.ElementTree as xml

from pages import ROOT, read

sys.path.insert(0, str(ROOT / "benchmarks"))
import bench  # noqa: E402
import plot  # noqa: E402
import rows  # noqa: E402

PAGE = read("docs/speed.md")
FIGURES = PAGE.split(plot.BEGIN)[1].split(plot.END)[0]


def tables(text):
    """The cells of each table, without heads."""
    for block in re.findall(r"(?:^\|.*\n)+", text, re.MULTILINE):
        lines = [[cell.strip() for cell in line.strip().strip("|").split("|")]
                 for line in block.splitlines()]
        yield lines[2:]


def words_of(plot_path):
    return "".join(xml.parse(ROOT / "docs" / plot_path).getroot().itertext())


class Figures(unittest.TestCase):
    def setUp(self):
        self.rows, self.growth = list(tables(FIGURES))

    def test_the_rows_are_those_that_the_benchmarks_print(self):
        printed = [(row.work, row.peer, rows.bound(row.must), rows.bound(row.goal))
                   for row in rows.ROWS]
        self.assertEqual([(r[0], r[1], r[3], r[4]) for r in self.rows], printed)

    def test_every_row_is_measured_and_judged_by_its_figure(self):
        for row, cells in zip(rows.ROWS, self.rows):
            value = float(cells[2].split()[0])
            self.assertGreater(value, 0, row.key)
            if rows.number(row.must) != rows.number(value) != rows.number(row.goal):
                self.assertEqual(cells[5], rows.met(row, value), row.key)

    def test_growth_has_four_sizes_of_each(self):
        self.assertEqual(len(self.growth), 5)
        for what, sizes, costs, *_ in self.growth:
            self.assertEqual((len(sizes.split(",")), len(costs.split(","))), (4, 4), what)

    def test_date_machine_and_full_scene(self):
        self.assertRegex(FIGURES, r"Measured on \d{4}-\d\d-\d\d: .+ cores, Linux")
        self.assertNotIn("--quick", FIGURES)

    def test_the_plots_show_the_figures_of_the_tables(self):
        bars = words_of("speed/rows.svg")
        for cells in self.rows:
            self.assertIn(cells[2].split()[0], bars)
        panels = words_of("speed/growth.svg")
        for what, sizes, *_ in self.growth:
            self.assertIn(what, panels)
            for size in sizes.split(", "):
                self.assertIn(size, panels, what)


class Words(unittest.TestCase):
    def test_commands_of_the_page_are_taken(self):
        shown = re.findall(r"^\./dev bench(.*?)(?:#.*)?$", PAGE, re.MULTILINE)
        self.assertGreater(len(shown), 2)
        for words in shown:
            bench.arguments(words.split())

    def test_every_work_is_described(self):
        for work in bench.WORK[:-1]:
            self.assertRegex(PAGE, r"\*\*%s" % work)


if __name__ == "__main__":
    unittest.main()
