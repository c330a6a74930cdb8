#!/usr/bin/env python3
"""A real class map appended to its scene, compared with the arrays that both were made from.

Runs where the shared scenes are (ZEL_TEST_DATA, or "shared" beside the source tree); else exit status
77.
"""
import json
import sys
import unittest
from array import array
from collections import Counter
from pathlib import Path

from harness import TEST_DATA, ToolTest, grids_missing, main, progress, report  # noqa: E402
from model import HistogramModel  # noqa: E402
from vornfile import BIG_ENDIAN_HOST, feature_header  # noqa: E402
from zelfile import parse  # noqa: E402

SCENES = TEST_DATA / "scenes"
DATA = TEST_DATA / "data" / "sentinel2_ireland"
SCENE = str(SCENES / "sentinel2_ireland_60m.zel")
FINER = str(SCENES / "sentinel2_ireland_20m.zel")
MAP = str(SCENES / "sentinel2_ireland_60m_scl.vorn")
TURNED = str(SCENES / "sentinel2_ireland_60m_scl_big_endian.vorn")
# A big-endian raster does not fit where the scene sets the order of a big-endian host.
FITTING = (MAP,) if BIG_ENDIAN_HOST else (MAP, TURNED)
LABELS = str(SCENES / "scl_labels.txt")
COLOURS = str(SCENES / "scl_lut.txt")
SIZE = 440
SLOT = 14      # the scene holds channels 0 to 13


def classes():
    """The class map's rows, from the plain array."""
    pixels = (DATA / "SCL_60m.bin").read_bytes()
    return [pixels[y * SIZE:(y + 1) * SIZE] for y in range(SIZE)]


def colour_table():
    """(r, g, b, name) of each class, from the description of the data."""
    bands = json.loads((DATA / "scene.json").read_text())["bands"]
    table, = [b["colour_table"] for b in bands if (b["name"], b["resolution"]) == ("SCL", "60m")]
    table.sort(key=lambda c: c["value"])
    return [tuple(c["rgb"]) + (c["name"].encode(),) for c in table]


def counted(rows):
    """The histogram of rows of values, of which the last pixel of each is not counted."""
    model = HistogramModel()
    for row in rows:
        model.add_line(Counter(map(float, row[:-1])))
    return model.result()


@unittest.skipUnless(SCENES.is_dir(), "ZEL_TEST_DATA has no scenes")
class ClassMap(ToolTest):
    @classmethod
    def setUpClass(cls):
        cls.scene = parse(Path(SCENE).read_bytes())
        cls.rows = classes()

    def run_with(self, *words, said=""):
        self.check(["-overwrite", "-i", SCENE, "-o", "out", *words],
                   grids_missing() + said + report(self.scene) + progress(SIZE))
        return parse(self.got("out"))

    def check_channel(self, made, rows, label, comment, code):
        """The scene is unchanged, and the channel after it holds the rows."""
        self.assertEqual([s for s, _ in made.present()], list(range(SLOT + 1)))
        for (_, a), (_, b) in zip(made.present(), self.scene.present()):
            self.assertEqual((a.label, a.type, a.max, a.min, a.units),
                             (b.label, b.type, b.max, b.min, b.units))
            self.assertTrue(a.rows == b.rows, a.label)
        self.assertTrue(made.lines == self.scene.lines)
        c = made.channels[SLOT]
        self.assertEqual((c.label, c.comment, c.type), (label, comment, code))
        for y, row in enumerate(rows):
            self.assertTrue(list(c.rows[y]) == list(row), "line %d" % y)
        self.assertTrue(c.histogram == counted(rows), "histogram")
        return c

    def test_the_map_is_the_array(self):
        """Checks the shared files themselves, so that a later difference comes from the tool."""
        for name, order in ((MAP, "little"), (TURNED, "big")):
            data = Path(name).read_bytes()
            header = [int.from_bytes(data[4 * k:4 * k + 4], order) for k in range(4)]
            self.assertEqual(header, [0xABCD, SIZE, SIZE, 1])
            values = array("f", data[16:])
            self.assertTrue(values == array("f", list(b"".join(self.rows))))

    def test_with_labels_and_colours(self):
        for name in FITTING:
            with self.subTest(name):
                made = self.run_with("-vorn", name, "-vorn_hdr", LABELS, "-vorn_lut", COLOURS)
                c = self.check_channel(made, self.rows, b"Scene classification",
                                       b"Scene classification", 5)
                self.assertEqual((c.units, c.bits), (5, 16))
                self.assertEqual([(l.key, l.label) for l in made.luts],
                                 [(0, b"SCL classes"), (1, b"Scene classification")])
                self.assertEqual(made.luts[0].entries, self.scene.luts[0].entries)
                self.assertEqual(made.luts[1].entries, colour_table())

    def test_the_pixels_have_the_colours_of_the_table(self):
        """Each pixel, looked up in the output, beside the colour of its class as described."""
        made, table = self.run_with("-vorn", MAP, "-vorn_lut", COLOURS), colour_table()
        lut = made.luts[-1].entries
        for y, row in enumerate(made.channels[SLOT].rows):
            wanted = [table[v] for v in self.rows[y]]
            self.assertTrue([lut[v] for v in row] == wanted, "line %d" % y)

    @unittest.skipIf(BIG_ENDIAN_HOST, "a little-endian host")
    def test_both_byte_orders_give_one_file(self):
        files = []
        for name in (MAP, TURNED):
            self.run_with("-vorn", name, "-vorn_label", "SCL", "-vorn_lut", COLOURS)
            files.append(self.got("out"))
        self.same_bytes(*files, "the twin")

    def test_as_plain_values(self):
        made = self.run_with("-vorn", MAP, "-vorn_prepend", "Sentinel ", "-vorn_label", "classes")
        c = self.check_channel(made, self.rows, b"Sentinel classes", b"Vorn processed imagery", 4)
        self.assertEqual((c.units, c.bits, c.wavelength), (0, 32, -99.0))
        self.assertEqual(made.luts, self.scene.luts)

    def test_with_the_color_cube(self):
        made = self.run_with("-vorn", MAP, "-vorn_label", "SCL", "-vorn_lut_cc")
        self.check_channel(made, self.rows, b"SCL", b"Color Cube LUT", 5)
        entries = made.luts[-1].entries
        self.assertEqual(len(entries), 194)
        # The classes that occur lie in the groups of red and green.
        self.assertEqual([e[:3] for e in entries[3:11]],
                         [(127 + 16 * k, 0, 0) for k in range(2, 8)] + [(0, 127, 0), (0, 143, 0)])

    def test_with_classes_translated(self):
        """Twelve classes become four: nothing, clear, water and cloud."""
        table = [0, 0, 1, 1, 1, 1, 2, 3, 3, 3, 3, 1]
        self.put("f", feature_header([b"ARFF_TO_ZEL 12 " + b" ".join(b"%d" % c for c in table)]))
        made = self.run_with("-vorn", MAP, "-vorn_label", "SCL", "-vorn_lut", COLOURS,
                             "-feat_hdr", "f", said="12 classes: 0 0 1 1 1 1 2 3 3 3 3 1\n")
        self.check_channel(made, [bytes(table[v] for v in r) for r in self.rows],
                           b"SCL", b"Scene classification", 5)

    def test_at_another_grid_it_is_refused(self):
        self.check(["-i", FINER, "-vorn", MAP, "-o", "out"], grids_missing() + "Error:  size "
                   "mismatch:  ZEL lines 1320 pix 1320, Vorn lines 440 pix 440\n", 254)
        self.absent("out")

    def test_in_a_view_over_both_grids(self):
        status, out = self.run_tool("-overwrite", "-i", FINER, "-ib", SCENE, "-o", "out", "-vorn",
                                    MAP, "-vorn_hdr", LABELS, "-vorn_lut", COLOURS,
                                    warns=["channel 0, from file .*, holds classes and was averaged$"])
        self.assertEqual((status, out.splitlines()[-1]), (0, "440 lines processed"))
        made = parse(self.got("out"))
        self.assertEqual([s for s, _ in made.present()], list(range(17)))
        self.assertTrue([list(r) for r in made.channels[16].rows] == [list(r) for r in self.rows])
        self.assertEqual([l.key for l in made.luts], [0, 1, 2])
        self.assertEqual(made.luts[2].entries, colour_table())


if __name__ == "__main__":
    main()
