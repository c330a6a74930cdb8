#!/usr/bin/env python3
"""The C program of the guide to expressions, built and run; the other examples are run by
expression_guide_test.cpp."""
import os
import sys
import unittest

from pages import ROOT, InDirectory, build_program, code_blocks, read, run

sys.path.insert(0, str(ROOT / "tests" / "support"))
from zelfile import Channel, Line, ZelFile  # noqa: E402


class ExpressionsInC(InDirectory):
    """On 2 lines of 4 pixels, and without ancillary grids."""

    # Red and near infrared in the slots 2 and 0, and the index by hand: (n - r) / (n + r).
    RED = [(0.0625, 0.125, 0.25, 0.5), (0.25, 0.25, 0.25, 0.25)]
    NEAR = [(0.1875, 0.375, 0.75, 0.5), (0.75, 0.25, 0.25, 0.75)]
    MEANS = (0.375, 0.25)  # of 0.5, 0.5, 0.5, 0 and of 0.5, 0, 0, 0.5

    def setUp(self):
        super().setUp()
        program, = code_blocks(read("docs/expressions.md"), "c")
        self.ndvi = build_program(self.dir, "ndvi", program)
        channels = {2: Channel(type=4, bits=32, label=b"red", rows=self.RED),
                    0: Channel(type=4, bits=32, label=b"near infrared", rows=self.NEAR)}
        self.scene = self.dir / "scene.zel"
        self.scene.write_bytes(ZelFile(pixels=4, channels=channels, lines=[Line(), Line()]).bytes())

    def test_the_vegetation_index_of_each_line(self):
        nowhere = {k: str(self.dir) for k in ("ZEL_DATA_DIR", "EPA_DATA_DIR", "CC_DATA_DIR")}
        printed = run(self.ndvi, self.scene, 2, 0, env=dict(os.environ, **nowhere))
        self.assertEqual(printed.splitlines()[-2:],
                         ["line %d: %f" % row for row in enumerate(self.MEANS)])

    def test_what_cannot_be_read_is_refused(self):
        run(self.ndvi, self.dir / "no_such_file", 2, 0, status=1)
        run(self.ndvi, self.scene, 2, 1, status=1)
        run(self.ndvi, self.scene, status=1)


if __name__ == "__main__":
    unittest.main()
