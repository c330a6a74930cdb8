#!/usr/bin/env python3
"""The page on GDAL without the plugin and on Python: the virtual raster names the places that the library reads, and the
commands and the program of the page give the values of the file."""
import json
import math
import shutil
import struct
import subprocess
import sys
import unittest
import xml.etree.ElementTree as ElementTree

from pages import (SCRIPT, WithSampleScene, code_blocks, mean_by_place, pixels_by_place, read,
                   run, zel_to_vrt)

PAGE = read("docs/zel_to_vrt.md")


def python_with(module):
    """A Python that has the module, or None."""
    for python in (sys.executable, "/usr/bin/python3"):
        if shutil.which(python) and subprocess.run(
                [python, "-c", "import " + module], stderr=subprocess.DEVNULL).returncode == 0:
            return python
    return None


class VirtualRaster(WithSampleScene):
    def test_it_names_the_places_of_the_layout(self):
        path = self.one_grid()
        run(sys.executable, SCRIPT, path)
        layout = zel_to_vrt.Layout(str(path))
        tree = ElementTree.parse(str(path) + ".vrt").getroot()
        self.assertEqual((tree.get("rasterXSize"), tree.get("rasterYSize")), ("160", "120"))
        for band, channel in zip(tree.iter("VRTRasterBand"), layout.channels):
            self.assertEqual(band.findtext("Description"), channel.label)
            self.assertEqual(band.findtext("SourceFilename"), "one_grid.zel")
            place = layout.header_offset + channel.offset
            self.assertEqual(int(band.findtext("ImageOffset")), place)
            self.assertEqual(int(band.findtext("LineOffset")), layout.line_offset)
            self.assertEqual(int(band.findtext("PixelOffset")), zel_to_vrt.BYTES[channel.code])
        # The scene begins at 44 north, 9.5 west; lines are 1 km, 111.2 km a degree.
        points = list(tree.iter("GCP"))
        self.assertEqual(len(points), 9 * 20)
        self.assertEqual((points[0].get("Pixel"), points[0].get("Line")), ("0.5", "0.5"))
        self.assertAlmostEqual(float(points[0].get("Y")), 44 - 0.5 / 111.2, places=4)
        self.assertAlmostEqual(float(points[0].get("X")), -9.5 + 0.5 / 111.2 / 0.72, places=4)
        self.assertAlmostEqual(float(points[-1].get("Y")), 44 - 119.5 / 111.2, places=4)

    def test_a_composite_is_refused(self):
        self.combine("-i sample_250m.zel -i sample_500m.zel -o composite.zel".split())
        self.assertIn("a composite of 2 components",
                      run(sys.executable, SCRIPT, self.demo / "composite.zel", status=1))


@unittest.skipUnless(shutil.which("gdalwarp"), "GDAL is not installed")
class Gdal(WithSampleScene):
    def setUp(self):
        super().setUp()
        self.one_grid()
        for command in code_blocks(PAGE, "sh")[0].splitlines():
            run("sh", "-c", command, cwd=self.demo)
        self.layout = zel_to_vrt.Layout(str(self.demo / "one_grid.zel"))

    def info(self, name):
        text = run("gdalinfo", "-json", "-stats", name, cwd=self.demo)
        return json.loads(text.replace("nan", "NaN"))

    def test_warped_bands_keep_their_numbers_and_their_corners_are_no_data(self):
        info = self.info("map.tif")
        for k, band in enumerate(info["bands"]):
            numbers = pixels_by_place(self.demo / "one_grid.zel", self.layout, k)
            self.assertEqual(band["type"], "Float32")
            self.assertTrue(math.isnan(float(band["noDataValue"])))
            self.assertLessEqual(min(numbers), band["minimum"])
            self.assertLessEqual(band["maximum"], max(numbers))
            self.assertGreater(band["maximum"], 0.9 * max(numbers))

    def test_unscaled_bands_have_the_values_that_the_library_reads(self):
        for k, band in enumerate(self.info("values.tif")["bands"]):
            wanted = mean_by_place(self.demo / "one_grid.zel", self.layout, k)
            self.assertAlmostEqual(band["mean"], wanted, delta=6e-4)  # it prints three decimals

    def test_units_times_and_wavelengths_arrive(self):
        info = self.info("one_grid.zel.vrt")
        self.assertEqual(info["metadata"][""]["START_TIME"][:10], info["metadata"][""]["DATE"])
        self.assertEqual([b.get("unit") for b in info["bands"][:3]], ["1", "1", "K"])
        self.assertEqual([b["metadata"][""]["WAVELENGTH_UM"] for b in info["bands"][:3]],
                         ["0.65", "0.86", "11"])


class Python(WithSampleScene):
    @unittest.skipUnless(python_with("numpy"), "numpy is not installed")
    def test_the_program_of_the_page_finds_the_values(self):
        path = self.one_grid()
        (self.demo / "reflectance.py").write_text(code_blocks(PAGE, "python")[0], encoding="utf-8")
        said = run(python_with("numpy"), "reflectance.py", cwd=self.demo)
        wanted = mean_by_place(path, zel_to_vrt.Layout(str(path)), 1)
        self.assertEqual(said.rsplit(" ", 1)[0], "0.86 um: mean")
        self.assertAlmostEqual(float(said.split()[-1]), wanted, places=5)


if __name__ == "__main__":
    unittest.main()
