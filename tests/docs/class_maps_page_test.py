#!/usr/bin/env python3
"""The page on class maps: its script, its definition file and its commands make the map and the
picture that it shows."""
import shutil
import struct
import sys
import unittest
import xml.etree.ElementTree as ElementTree
import zlib
from pathlib import Path

from pages import (BIN, ROOT, SCRIPT, TOOL, WithSampleScene, code_blocks, commands,
                   pixels_by_place, read, run, zel_to_vrt)

PAGE = read("docs/class-maps.md")


def rgb_picture(path):
    """Width and colours of a PNG file of 8-bit red, green and blue."""
    data = Path(path).read_bytes()
    chunks, at = {}, 8
    while at < len(data):
        size, kind = struct.unpack_from(">I4s", data, at)
        chunks[kind] = chunks.get(kind, b"") + data[at + 8:at + 8 + size]
        at += size + 12
    width, height, depth, colour, _, _, interlace = struct.unpack(">2I5B", chunks[b"IHDR"])
    if (depth, colour, interlace) != (8, 2, 0):
        raise AssertionError("%s: another kind of picture" % path)
    raw, above, out = zlib.decompress(chunks[b"IDAT"]), bytes(3 * width), []
    for y in range(height):
        row = raw[y * (3 * width + 1):][:3 * width + 1]
        above = unfiltered(row[0], row[1:], above)
        out += zip(above[0::3], above[1::3], above[2::3])
    return width, out


def unfiltered(kind, row, above):
    out = bytearray(3) + bytearray(row)
    above = bytes(3) + above
    for i in range(3, len(out)):
        left, up, corner = out[i - 3], above[i], above[i - 3]
        nearest = min((left, up, corner), key=lambda n: abs(left + up - corner - n))
        out[i] = (out[i] + (0, left, up, (left + up) // 2, nearest)[kind]) & 255
    return bytes(out[3:])


class ClassMaps(WithSampleScene):
    def make_map(self):
        """Follows the page up to the file with the classes."""
        self.one_grid()
        (self.demo / "classes.py").write_text(code_blocks(PAGE, "python")[0], encoding="utf-8")
        (self.demo / "colours.txt").write_text(code_blocks(PAGE, "text")[0], encoding="utf-8")
        run(sys.executable, "classes.py", cwd=self.demo)
        words, = commands(code_blocks(PAGE, "sh")[0])
        run(TOOL, *words, cwd=self.demo)
        return self.demo / "with_classes.zel"

    def test_the_map_has_the_pixels_that_the_page_shows(self):
        path = self.make_map()
        shown = run(BIN / "examples" / "quicklook", "with_classes.zel", 4, 40, cwd=self.demo)
        self.assertIn(code_blocks(PAGE, "text")[1], shown)
        layout = zel_to_vrt.Layout(str(path))
        water = pixels_by_place(path, layout, 4).count(1)
        self.assertIn("(%d pixels of water)" % water, PAGE)
        self.check_colours(path, layout, code_blocks(PAGE, "text")[0])

    def check_colours(self, path, layout, definition):
        """The virtual raster and the picture show what the definition file says."""
        lines = [line.partition(":") for line in definition.splitlines() if ":" in line][1:]
        want = [tuple(int(n) for n in numbers.split()[:3]) for numbers, _, _ in lines]
        names = [name.strip() for _, _, name in lines]
        run(sys.executable, SCRIPT, path)
        band = list(ElementTree.parse(str(path) + ".vrt").getroot().iter("VRTRasterBand"))[4]
        self.assertEqual([c.text for c in band.find("CategoryNames")], names)
        self.assertEqual([tuple(int(e.get(c)) for c in ("c1", "c2", "c3"))
                          for e in band.find("ColorTable")], want)
        width, picture = rgb_picture(ROOT / "docs" / "class_map.png")
        self.assertEqual(width, 3 * layout.pixels)
        self.assertEqual(len(picture), 9 * layout.pixels * layout.lines)
        for k, number in enumerate(pixels_by_place(path, layout, 4)):
            y, x = divmod(k, layout.pixels)
            self.assertEqual(picture[3 * y * width + 3 * x], want[number])

    @unittest.skipUnless(shutil.which("gdal_translate"), "GDAL is not installed")
    def test_gdal_draws_the_picture_of_the_page(self):
        self.make_map()
        for command in code_blocks(PAGE, "sh")[1].splitlines():
            run("sh", "-c", command, cwd=self.demo)
        drawn = rgb_picture(self.demo / "class_map.png") == rgb_picture(ROOT / "docs/class_map.png")
        self.assertTrue(drawn)  # assertEqual would list the differences of 172,800 pixels

    def test_the_readme_shows_the_command_of_the_page(self):
        self.assertIn(commands(code_blocks(PAGE, "sh")[0])[0], commands(read("README.md")))


if __name__ == "__main__":
    unittest.main()
