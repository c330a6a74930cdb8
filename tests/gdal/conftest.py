"""What all tests of the drivers share. GDAL_DRIVER_PATH leads to the plugin of the build tree."""
import os
import sys

import pytest
from osgeo import gdal

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE, os.path.join(os.path.dirname(HERE), "support")]
gdal.UseExceptions()

from real_scenes import PROGRAMS, SCENES, real  # noqa: E402,F401  for the tests


kept = []  # a band does not keep its dataset open


def opened(path, *options):
    kept.append(gdal.OpenEx(path, gdal.OF_RASTER | gdal.OF_VERBOSE_ERROR,
                            open_options=list(options)))
    return kept[-1]


@pytest.fixture(autouse=True)
def clean_memory():
    yield
    kept.clear()
    for name in gdal.ReadDirRecursive("/vsimem/") or []:
        gdal.Unlink("/vsimem/" + name)


@pytest.fixture
def keep(request):
    """Puts bytes into a file in memory and gives its name."""
    def put(data, name="scene.zel"):
        path = "/vsimem/" + name
        gdal.FileFromMemBuffer(path, data)
        return path
    return put


class Messages:
    def __init__(self):
        self.all = []

    def __call__(self, kind, number, text):
        if kind != gdal.CE_Debug:
            self.all.append((kind, text))

    def text(self):
        return "\n".join(text for _, text in self.all)


@pytest.fixture
def messages():
    """The messages of GDAL, which are not raised as exceptions meanwhile."""
    taken = Messages()
    gdal.DontUseExceptions()
    gdal.PushErrorHandler(taken)
    yield taken
    gdal.PopErrorHandler()
    gdal.UseExceptions()
