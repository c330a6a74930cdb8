"""Positions: geolocation arrays, control points and the transform of a north-up grid."""
import json
import os

import numpy
import pytest
from osgeo import gdal

from conftest import SCENES, opened
from scenes import Channel, Scene, ramp

NONE = -9999.0


def scene_with(lats, lons, pixels, **more):
    return Scene({0: Channel(3, ramp(len(lats), pixels))}, lats=lats, lons=lons, **more)


def array(dataset, key):
    items = dataset.GetMetadata("GEOLOCATION")
    return opened(items[key + "_DATASET"]).ReadAsArray().tolist()


def test_the_arrays_are_the_stored_points(keep):
    lats, lons = [[10.5, 11.0], [20.5, 21.0]], [[-30.25, -29.0], [-31.0, -30.5]]
    dataset = opened(keep(scene_with(lats, lons, 4, interval=3).bytes()))
    assert array(dataset, "Y") == lats
    assert array(dataset, "X") == lons
    items = dataset.GetMetadata("GEOLOCATION")
    # Pixel 0.5, the middle of pixel 0, is that of the first point: (0 + 0.5) x 3 - 1.
    assert (float(items["PIXEL_OFFSET"]), float(items["PIXEL_STEP"])) == (-1.0, 3.0)
    assert (items["LINE_OFFSET"], items["LINE_STEP"]) == ("0", "1")
    assert items["GEOREFERENCING_CONVENTION"] == "PIXEL_CENTER"
    assert "WGS 84" in items["SRS"]


def test_the_arrays_of_files_in_the_other_byte_order(keep):
    lats, lons = [[10.5, 11.0]], [[-30.25, -29.0]]
    dataset = opened(keep(scene_with(lats, lons, 4, interval=3, version=132, big_endian=True)
                             .bytes()))
    assert (array(dataset, "Y"), array(dataset, "X")) == (lats, lons)


def test_pixels_outside_of_the_points_have_columns_too(keep):
    # Points at pixels 2 and 5 of 10: one column before, at -1, and two after, at 8 and 11.
    dataset = opened(keep(scene_with([[10.0, 12.0]], [[179.0, -179.5]], 10, start=2, interval=3)
                             .bytes()))
    assert array(dataset, "Y") == [[8.0, 10.0, 12.0, 14.0, 16.0]]
    assert array(dataset, "X") == [[177.5, 179.0, -179.5, -178.0, -176.5]]
    # The column of pixel -1 is the first: its middle is -0.5 = 0.5 x 3 - 2.
    assert float(dataset.GetMetadata("GEOLOCATION")["PIXEL_OFFSET"]) == -2.0


def test_what_is_no_place_has_no_data(keep):
    lats = [[10.0, NONE, 91.0, float("nan"), 30.0]]
    lons = [[200.0, NONE, 10.0, 10.0, 400.0]]
    dataset = opened(keep(scene_with(lats, lons, 5).bytes()))
    assert array(dataset, "Y") == [[10.0, NONE, NONE, NONE, NONE]]
    assert array(dataset, "X") == [[-160.0, NONE, NONE, NONE, NONE]]
    name = dataset.GetMetadata("GEOLOCATION")["X_DATASET"]
    assert opened(name).GetRasterBand(1).GetNoDataValue() == NONE


@pytest.mark.parametrize("points", [0, 1])
def test_without_two_points_there_are_no_positions(keep, points):
    one = [[10.0] * points] * 3 if points else None
    scene = scene_with([[0.0]] * 3, [[0.0]] * 3, 4)
    scene.lats = scene.lons = one
    dataset = opened(keep(scene.bytes()), "GCPS=YES")
    assert not dataset.GetMetadata("GEOLOCATION")
    assert dataset.GetGCPCount() == 0
    assert dataset.GetGeoTransform(can_return_null=True) is None
    assert dataset.ReadAsArray().tolist() == ramp(3, 4)


def test_control_points_are_there_when_they_are_asked_for(keep):
    lines, points = 101, 3
    lats = [[50.0 - n / 8 + k / 16 for k in range(points)] for n in range(lines)]
    lons = [[5.0 + k for k in range(points)] for n in range(lines)]
    path = keep(scene_with(lats, lons, 11, interval=5).bytes())
    assert opened(path).GetGCPCount() == 0
    dataset = opened(path, "GCPS=YES")
    found = dataset.GetGCPs()
    assert len(found) == 20 * points
    assert {p.GCPLine for p in found} >= {0.5, 100.5}
    assert {p.GCPPixel for p in found} == {0.5, 5.5, 10.5}
    for p in found:
        n, k = int(p.GCPLine), int(p.GCPPixel) // 5
        assert (p.GCPY, p.GCPX) == (lats[n][k], lons[n][k])
    assert "WGS 84" in dataset.GetGCPProjection()


def north_up(shift=0.0):
    lats = [[45.0 - 0.25 * n for _ in range(3)] for n in range(5)]
    lons = [[10.0 + 0.5 * 4 * k for k in range(3)] for _ in range(5)]
    lats[3][1] += shift
    return scene_with(lats, lons, 10, start=1, interval=4)


def test_a_north_up_grid_has_a_transform_as_well(keep):
    dataset = opened(keep(north_up().bytes()))
    # Pixel 1 has its middle at 10 degrees: the left edge is 1.5 pixels before, the upper half of one above.
    assert dataset.GetGeoTransform() == (10.0 - 1.5 * 0.5, 0.5, 0.0, 45.125, 0.0, -0.25)
    assert dataset.GetSpatialRef().GetAuthorityCode(None) == "4326"
    assert dataset.GetMetadata("GEOLOCATION")
    assert opened(keep(north_up(0.002).bytes())).GetGeoTransform(can_return_null=True)


def test_a_point_more_than_a_hundredth_of_a_pixel_away_is_no_grid(keep):
    dataset = opened(keep(north_up(0.003).bytes()))
    assert dataset.GetGeoTransform(can_return_null=True) is None
    assert dataset.GetSpatialRef() is None


def real_positions(name, grid):
    folder = os.path.join(os.path.dirname(SCENES), "data", name)
    with open(os.path.join(folder, "scene.json"), encoding="utf-8") as text:
        json.load(text)
    arrays = [numpy.fromfile(os.path.join(folder, "nav_%s_%s.bin" % (grid, axis)), "<f4")
              for axis in ("lat", "lon")]
    return arrays


@pytest.mark.parametrize("name,grid", [("goes16_maria", "1km"), ("landsat8_gulf", "30m")])
def test_real_positions_are_found_within_half_a_pixel(real, name, grid):
    dataset = opened(real("%s_%s.zel" % (name, grid)))
    lat, lon = (a.reshape(dataset.RasterYSize, -1) for a in real_positions(name, grid))
    transformer = gdal.Transformer(dataset, None, ["METHOD=GEOLOC_ARRAY"])
    places = [(n, k) for n in range(0, len(lat), 7) for k in range(lat.shape[1])]
    found, good = transformer.TransformPoints(
        True, [(float(lon[n, k]), float(lat[n, k])) for n, k in places])
    assert all(good)
    for (n, k), (x, y, _) in zip(places, found):
        assert abs(x - (10 * k + 0.5)) < 0.5 and abs(y - (n + 0.5)) < 0.5


@pytest.mark.parametrize("name,grid", [("goes16_maria", "1km"), ("landsat8_gulf", "30m")])
def test_a_warp_puts_every_real_pixel_where_it_belongs(real, name, grid):
    """The pixels warped are their own indices, on a map four times as fine."""
    source = opened(real("%s_%s.zel" % (name, grid)))
    width, height = source.RasterXSize, source.RasterYSize
    lat, lon = (a.reshape(height, -1) for a in real_positions(name, grid))
    indices = gdal.GetDriverByName("MEM").Create("", width, height, 2, gdal.GDT_Float32)
    indices.SetMetadata(source.GetMetadata("GEOLOCATION"), "GEOLOCATION")
    x, y = numpy.meshgrid(numpy.arange(width), numpy.arange(height))
    indices.GetRasterBand(1).WriteArray(x)
    indices.GetRasterBand(2).WriteArray(y)
    step = float(abs(lat[0] - lat[-1]).max()) / (height - 1) / 4
    warped = gdal.Warp("", indices, format="MEM", dstSRS="EPSG:4326", xRes=step, yRes=step,
                       dstNodata=-1, errorThreshold=0)
    left, _, _, top, _, _ = warped.GetGeoTransform()
    got = warped.ReadAsArray()
    wrong, seen = 0, 0
    for n in range(10, height - 10, 9):
        for k in range(1, lat.shape[1] - 1):
            column, row = int((lon[n, k] - left) / step), int((top - lat[n, k]) / step)
            off = numpy.abs(got[:, row, column] - (10 * k, n))
            assert off.max() <= 1
            wrong += off.max() > 0
            seen += 1
    assert wrong < 0.02 * seen
