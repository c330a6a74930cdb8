#!/usr/bin/env python3
"""Opens a scene and a class map in programs that people use: rasterio, rioxarray, Orfeo ToolBox and QGIS.
Each runs where it is installed; what QGIS draws is left in the directory given. ./dev clients installs and
runs all of them."""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
import warnings

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(HERE), "support"))
from scenes import Channel, Scene, ramp  # noqa: E402

OUT = tempfile.mkdtemp(prefix="zel_clients_")
COLOURS = [(0, 0, 0), (0, 80, 200), (90, 150, 60), (255, 255, 255)]
LUT = (1, "Surface", [c + ("class %d" % k,) for k, c in enumerate(COLOURS)])
SIZE = 64
WORDS = ramp(SIZE, SIZE, 16, most=65535)
CLASSES = [[(x // 16 + n // 16) % 4 for x in range(SIZE)] for n in range(SIZE)]

QGIS = """
import sys
from qgis.core import (QgsApplication, QgsMapRendererSequentialJob, QgsMapSettings, QgsRasterLayer)
from qgis.PyQt.QtCore import QSize
QgsApplication.setPrefixPath("/usr", True)
application = QgsApplication([], False)
application.initQgis()
layer = QgsRasterLayer(sys.argv[1], "layer", "gdal")
if not layer.isValid():
    sys.exit("not valid")
settings = QgsMapSettings()
settings.setLayers([layer])
settings.setDestinationCrs(layer.crs())
settings.setOutputSize(QSize(%d, %d))
settings.setExtent(layer.extent())
job = QgsMapRendererSequentialJob(settings)
job.start()
job.waitForFinished()
image = job.renderedImage()
image.save(sys.argv[2])
points = [(8, 8), (24, 8), (40, 8), (56, 8)]
print([image.pixelColor(x, y).getRgb()[:3] for x, y in points], layer.crs().authid(),
      layer.bandCount())
""" % (SIZE, SIZE)


def path(name, scene):
    out = os.path.join(OUT, name)
    with open(out, "wb") as stream:
        stream.write(scene.bytes())
    return out


def has(module):
    return subprocess.run([sys.executable, "-c", "import " + module], stderr=subprocess.DEVNULL,
                          env=dict(os.environ, QT_QPA_PLATFORM="offscreen")).returncode == 0


class Clients(unittest.TestCase):
    def setUp(self):
        warnings.simplefilter("ignore")
        lats = [[45 - 0.25 * n] * 2 for n in range(SIZE)]
        lons = [[5.0, 5.0 + 0.25 * 63]] * SIZE
        self.scene = path("scene.zel", Scene(
            {0: Channel(2, WORDS, -1.0, 3.0, "B1", units=3)}, lats=lats, lons=lons, interval=63))
        self.classes = path("classes.zel", Scene(
            {0: Channel(3, CLASSES, label="map", comment="Surface", units=5)}, luts=[LUT],
            lats=lats, lons=lons, interval=63))

    @unittest.skipUnless(has("rasterio"), "rasterio is not installed")
    def test_rasterio(self):
        import rasterio
        with rasterio.open(self.scene) as dataset:
            self.assertEqual(dataset.driver, "ZEL")
            self.assertEqual(dataset.read(1).tolist(), WORDS)
            self.assertEqual((dataset.scales, dataset.offsets), ((4 / 65535,), (-1.0,)))
            self.assertEqual((dataset.descriptions, dataset.units), (("B1",), ("1",)))
            self.assertEqual(dataset.crs.to_epsg(), 4326)
            self.assertEqual(dataset.transform[:6], (0.25, 0, 4.875, 0, -0.25, 45.125))
        with rasterio.open(self.classes) as dataset:
            self.assertEqual([dataset.colormap(1)[k][:3] for k in range(4)], COLOURS)

    @unittest.skipUnless(has("rioxarray"), "rioxarray is not installed")
    def test_rioxarray(self):
        import rioxarray
        array = rioxarray.open_rasterio(self.scene)
        self.assertEqual(array[0].values.tolist(), WORDS)
        self.assertEqual(float(array.y[3]), 45 - 3 * 0.25)
        self.assertEqual(array.attrs["add_offset"], -1.0)

    @unittest.skipUnless(shutil.which("otbcli_BandMath"), "Orfeo ToolBox is not installed")
    def test_orfeo_toolbox(self):
        from osgeo import gdal
        out = os.path.join(OUT, "otb.tif")
        subprocess.run(["otbcli_BandMath", "-il", self.scene, "-exp", "im1b1 + 1", "-out", out,
                        "float"], check=True, stdout=subprocess.DEVNULL)
        wanted = [[v + 1.0 for v in line] for line in WORDS]
        self.assertEqual(gdal.Open(out).ReadAsArray().tolist(), wanted)

    def rendered(self, file, picture):
        done = subprocess.run([sys.executable, "-c", QGIS, file, os.path.join(OUT, picture)],
                              stdout=subprocess.PIPE, check=True,
                              env=dict(os.environ, QT_QPA_PLATFORM="offscreen"))
        return done.stdout.decode().splitlines()[-1]

    @unittest.skipUnless(has("qgis.core"), "QGIS is not installed")
    def test_qgis_draws_classes_in_their_colours(self):
        self.assertEqual(self.rendered(self.classes, "classes.png"),
                         "%s EPSG:4326 1" % COLOURS)

    @unittest.skipUnless(has("qgis.core"), "QGIS is not installed")
    def test_qgis_draws_a_scene(self):
        self.assertTrue(self.rendered(self.scene, "scene.png").endswith("EPSG:4326 1"))


if __name__ == "__main__":
    if len(sys.argv) > 1:
        OUT = sys.argv.pop()
        os.makedirs(OUT, exist_ok=True)
    unittest.main()
