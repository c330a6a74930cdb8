#!/usr/bin/env python3
"""How long GDAL takes to read the same pixels from a ZEL file, an uncompressed GeoTIFF and an ENVI file:
random windows, single bands, all bands. Processor time, the best of some rounds. Run it with a Python that
has GDAL's module, GDAL_DRIVER_PATH leading to the plugin: gdal_windows.py [DIRECTORY] [ROUNDS]"""
import os
import random
import sys
import tempfile
import time

import numpy
from osgeo import gdal

SIZE, BANDS = 3000, 6
FILES = {"ZEL": "scene.zel", "GeoTIFF, by pixel": "pixel.tif", "GeoTIFF, by band": "band.tif",
         "ENVI, by band": "band.img", "ENVI, by line": "line.img"}


def make_files(folder):
    random_numbers = numpy.random.default_rng(1)
    source = gdal.GetDriverByName("MEM").Create("", SIZE, SIZE, BANDS, gdal.GDT_UInt16)
    for band in range(BANDS):
        numbers = random_numbers.integers(0, 65536, (SIZE, SIZE)).astype(numpy.uint16)
        source.GetRasterBand(band + 1).WriteArray(numbers)
    for driver, name, options in (
            ("ZEL", "scene.zel", ["YEAR=2001", "JULIAN=1"]), ("GTiff", "pixel.tif", []),
            ("GTiff", "band.tif", ["INTERLEAVE=BAND"]), ("ENVI", "band.img", []),
            ("ENVI", "line.img", ["INTERLEAVE=BIL"])):
        gdal.GetDriverByName(driver).CreateCopy(os.path.join(folder, name), source, options=options)


def windows(size, count):
    places = random.Random(7)
    for _ in range(count):
        yield places.randrange(SIZE - size), places.randrange(SIZE - size), \
            places.randrange(BANDS) + 1


def large_windows(dataset):
    for x, y, band in windows(256, 512):
        dataset.GetRasterBand(band).ReadAsArray(x, y, 256, 256)


def small_windows(dataset):
    for x, y, band in windows(32, 2000):
        dataset.GetRasterBand(band).ReadAsArray(x, y, 32, 32)


def windows_of_all_bands(dataset):
    for x, y, _ in windows(256, 100):
        dataset.ReadAsArray(x, y, 256, 256)


def one_band(dataset):
    dataset.GetRasterBand(3).ReadAsArray()


def all_bands(dataset):
    dataset.ReadAsArray()


READS = {"512 windows of 256 x 256": large_windows, "2000 windows of 32 x 32": small_windows,
         "100 windows of all bands": windows_of_all_bands, "one band": one_band,
         "all bands": all_bands}


def seconds(path, read):
    dataset = gdal.Open(path)
    begin = time.process_time()
    read(dataset)
    return time.process_time() - begin


def main(folder, rounds):
    gdal.UseExceptions()
    gdal.SetCacheMax(64 << 20)
    make_files(folder)
    for title, read in READS.items():
        best = {kind: min(seconds(os.path.join(folder, name), read) for _ in range(rounds))
                for kind, name in FILES.items()}
        print("%-26s" % title + "".join(
            "  %s %.3f s" % (kind, t) if kind == "ZEL" else "  %s %.3f s (%.2f)"
            % (kind, t, best["ZEL"] / t) for kind, t in best.items()))


if __name__ == "__main__":
    if len(sys.argv) > 1:
        main(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 5)
    else:
        with tempfile.TemporaryDirectory() as directory:
            main(directory, 5)
