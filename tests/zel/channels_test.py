#!/usr/bin/env python3
"""zel channels: the raster and its text header to the byte, and the way back through zel_combine."""
import struct
import subprocess

from zel_case import BIN, SCENES, ZelTest, main, needs_scenes
from scene import small_scene
from zelfile import Channel, container, parse


def header(labels):
    """The text header of channels of small_scene: (label, units, microns, slot)."""
    return "".join("Channel %d\nLabel %s\nUnits %s\nWavelength %s\nSlot %d\nPixels 4\nLines 3\n"
                   % (i + 1, *c) for i, c in enumerate(labels)).encode()


class Raster(ZelTest):
    def setUp(self):
        super().setUp()
        self.put("a.zel", small_scene())

    def test_chosen_channels_in_their_order(self):
        self.assertEqual(self.run_zel("channels", "a.zel", "-c", "RAW,B1", "-o", "r.vorn"),
                         (0, "", "zel channels: r.vorn: 2 channels of 4 x 3 pixels; labels in r.vorn.hdr\n"))
        fifths = [n * (1.0 / 255.0) for n in (0, 51, 102, 153, 204, 255, 0, 51, 102, 153, 204, 255)]
        self.assertEqual(self.got("r.vorn"), struct.pack("<I3i", 0xABCD, 4, 3, 2)
                         + struct.pack("<12f", *[1000, 2000, 3000, 4000] * 3)
                         + struct.pack("<12f", *fifths))
        self.assertEqual(self.got("r.vorn.hdr"), header([("RAW", "None", 0, 5),
                                                         ("B1", "Reflectance", 0.5, 0)]))

    def test_all_channels_are_the_default(self):
        self.run_zel("channels", "a.zel", "-o", "r.vorn")
        self.assertEqual(struct.unpack_from("<4i", self.got("r.vorn")), (0xABCD, 4, 3, 3))
        self.assertEqual(len(self.got("r.vorn")), 16 + 3 * 12 * 4)

    def test_the_name_of_the_text_header(self):
        self.run_zel("channels", "a.zel", "-o", "r.vorn", "--header", "labels")
        self.assertEqual(self.names(), ["a.zel", "labels", "r.vorn"])

    def test_a_part_of_a_container_on_its_own_grid(self):
        base = small_scene(pixels=2, resolution=60.0, nav_interval=1)
        base.channels = {0: Channel(type=3, label=b"T", rows=[[7, 8]])}
        base.lines = base.lines[:1]
        self.put("c.zel", container([(base.bytes(), 60.0), (small_scene().bytes(), 30.0)]))
        self.run_zel("channels", "c.zel", "-c", "CLS", "--part", "1", "-o", "own")
        self.assertEqual(struct.unpack("<4i12f", self.got("own"))[1:5], (4, 3, 1, 0.0))
        self.run_zel("channels", "c.zel", "-c", "T,B1", "-o", "both")
        numbers = struct.unpack("<4i4f", self.got("both"))
        self.assertEqual(numbers[1:6], (2, 1, 2, 7.0, 8.0))
        self.assertAlmostEqual(numbers[6], (0 + 51 + 204 + 255) / 4 / 255, 6)

    def test_labels_stay_on_their_line(self):
        f = small_scene()
        f.channels[0].label = b"two\nlines"
        f.channels[2].label = b"x" * 119
        self.put("b.zel", f)
        self.run_zel("channels", "b.zel", "-o", "r")
        lines = self.got("r.hdr").split(b"\n")
        self.assertEqual((lines[1], lines[8]), (b"Label two_lines", b"Label " + b"x" * 112))

    def test_either_existing_output_is_refused_and_neither_is_written(self):
        for name in ("r", "r.hdr"):
            self.put(name, b"mine")
            self.fails("channels a.zel -o r", "zel channels: a.zel: %s exists; --overwrite replaces it" % name)
            self.assertEqual(self.names(), ["a.zel", name])
            (self.dir / name).unlink()

    def test_an_output_is_required(self):
        self.fails("channels a.zel", "zel channels: -o is required; see zel channels --help", 2)

    def test_what_zel_combine_reads_back(self):
        self.put("a.zel", small_scene())
        self.run_zel("channels", "a.zel", "-c", "CLS,RAW", "-o", "r.vorn")
        subprocess.run([str(BIN / "zel_combine"), "-i", "a.zel", "-vorn", "r.vorn", "-vorn_hdr",
                        "r.vorn.hdr", "-o", "out.zel"], cwd=self.dir, check=True,
                       stdout=subprocess.DEVNULL, timeout=60)
        made = parse(self.got("out.zel"))
        self.assertEqual([c.label for _, c in made.present()], [b"B1", b"CLS", b"RAW", b"CLS", b"RAW"])
        rows = [list(map(float, r)) for r in small_scene().channels[2].rows]
        self.assertEqual([list(r) for r in made.channels[6].rows], rows)


@needs_scenes
class RealScenes(ZelTest):
    def test_the_class_map_is_the_raster_that_was_made_without_zel(self):
        self.run_zel("channels", SCENES / "sentinel2_ireland_60m.zel", "-c", "SCL", "-o", "scl.vorn")
        self.assertTrue(self.got("scl.vorn") == (SCENES / "sentinel2_ireland_60m_scl.vorn").read_bytes())


if __name__ == "__main__":
    main()
