"""Scenes that get a raster's channels: existing outputs, views over several files, byte orders."""
import unittest

from harness import ToolTest, cases, grids_missing, main, progress, question, report
from model import one_grid
from sample import sample
from vorn_case import HEIGHT, MISMATCH, WIDTH, VornTest
from vornfile import BIG_ENDIAN_HOST, append, float_channel, plane, raster
from zelfile import container


def refused_output(self, answer, left):
    """What an existing output holds after the question, which is asked when everything is set up."""
    rows, = self.rasters()
    self.put("out", b"old")
    expected = self.made([(float_channel(b"v", rows), rows)])
    tail = report(expected) + progress(HEIGHT) if left is None else ""
    self.check("-i a -vorn v -o out", grids_missing() + question("out") + tail, stdin=answer)
    if left is None:
        self.check_made("out", expected)
    else:
        self.assertEqual(self.got("out"), left)


@cases({"y": (b"y\n", None), "n": (b"n\n", b"old"), "end of input": (b"", b"old")}, refused_output)
class OverwriteQuestion(VornTest):
    def test_it_is_not_asked_when_the_raster_does_not_fit(self):
        self.put("v", raster([plane(WIDTH, 5)]))
        self.put("out", b"old")
        self.check("-i a -vorn v -o out",
                   grids_missing() + MISMATCH % (HEIGHT, WIDTH, 5, WIDTH), 254, stdin=b"y\n")
        self.assertEqual(self.got("out"), b"old")

    def test_an_output_that_cannot_be_created(self):
        self.rasters()
        self.check("-i a -vorn v -o no/out", grids_missing()
                   + "ZELOpenWriteOnlyFile: cannot open file no/out\n"
                   + "Cannot create ZEL output file no/out\n", 255)


class Views(ToolTest):
    """Rasters for several files at the grid of one."""

    def setUp(self):
        super().setUp()
        self.parts = [sample(2000, 4, 3, (3, 2)), sample(1000, 8, 6, (5,), seed=1)]
        for name, f in zip("ab", self.parts):
            self.put(name, f)

    def check_view(self, words, base, reference=None):
        grid = self.parts[base]
        height = len(grid.lines)
        rows = plane(grid.pixels, height)
        self.put("v", raster([rows]))
        expected = one_grid(self.parts, base, reference)
        slot = append(expected, float_channel(b"v", rows), rows)
        self.assertEqual((slot, expected.slots), (3, 1000))
        self.check(words, grids_missing() + report(expected, height) + progress(height))
        self.check_made("out", expected)

    def test_after_the_renumbered_channels_at_the_first_files_grid(self):
        self.check_view("-i a -i b -vorn v -o out", 0)

    def test_at_the_base_files_grid(self):
        self.check_view("-i a -ib b -vorn v -o out", 1)

    def test_one_composite(self):
        self.put("pair", container([(p.bytes(), p.resolution) for p in self.parts], base=1))
        self.check_view("-i pair -vorn v -o out", 1)

    def test_a_raster_of_another_grid(self):
        self.put("v", raster([plane(8, 6)]))
        self.check("-ib a -o out -i b -vorn v", grids_missing() + MISMATCH % (3, 4, 6, 8), 254)
        self.absent("out")


class BigEndianScene(ToolTest):
    """The byte order of the scene is still in force when the raster's header is read."""

    def setUp(self):
        super().setUp()
        self.scene = sample(codes=(3, 3), version=1.32, order=">")
        self.put("a", self.scene.bytes())
        self.lead = "OpenReadOnlyFile: Trying another byte ordering...\n" + grids_missing()

    def test_a_big_endian_raster_fits(self):
        rows = plane(8, 6)
        self.put("v", raster([rows], order=">"))
        expected = one_grid([self.scene])
        append(expected, float_channel(b"v", rows), rows)
        self.check("-i a -vorn v -o out", self.lead + report(expected, 6) + progress(6),
                   warns=["file a is of the other byte order"])
        self.check_made("out", expected)

    @unittest.skipIf(BIG_ENDIAN_HOST, "a little-endian host")
    def test_a_little_endian_header_is_read_in_the_scenes_order(self):
        self.put("v", raster([plane(8, 6)]))
        self.check("-i a -vorn v -o out", self.lead + MISMATCH % (6, 8, 6 << 24, 8 << 24), 254)
        self.absent("out")

    @unittest.skipUnless(BIG_ENDIAN_HOST, "a big-endian host")
    def test_a_little_endian_header_is_turned_where_the_scene_is_in_the_hosts_order(self):
        rows = plane(8, 6)
        self.put("v", raster([rows]))
        expected = one_grid([self.scene])
        append(expected, float_channel(b"v", rows), rows)
        self.check("-i a -vorn v -o out", self.lead + report(expected, 6) + progress(6),
                   warns=["file a is of the other byte order"])
        self.check_made("out", expected)


if __name__ == "__main__":
    main()
