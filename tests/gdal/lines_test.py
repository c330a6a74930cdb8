"""What a file has for each line, and the angles of every pixel, as datasets of their own."""
import math

import numpy
import pytest
from osgeo import gdal

from conftest import opened
from scenes import Channel, Scene, composite, ramp

NONE = -9999.0


def scene(pixels=4, lines=3, **more):
    return Scene({0: Channel(3, ramp(lines, pixels))}, **more)


def columns(dataset):
    bands = [dataset.GetRasterBand(k) for k in range(1, dataset.RasterCount + 1)]
    return {b.GetDescription(): b.ReadAsArray()[:, 0].tolist() for b in bands}


# The fields of a line that versions have.
FIELDS = [(110, ["ScanTime"]), (131, ["ScanTime", "ScanAltitude"]),
          (201, ["ScanTime", "ScanAltitude", "LeftPixel", "RightPixel", "NadirPixel"]),
          (230, ["ScanTime", "ScanAltitude", "LeftPixel", "RightPixel", "NadirPixel", "NadirLat",
                 "NadirLon"])]


@pytest.mark.parametrize("version,names", FIELDS)
def test_each_field_of_the_lines_is_a_band(keep, version, names):
    path = keep(scene(version=version, times=[7.25, 7.5, 8.0], nadir=(2, 10.5, -20.25)).bytes())
    dataset = opened(opened(path).GetMetadataItem("LINES_DATASET", "ZEL_SCAN"))
    assert (dataset.RasterXSize, dataset.RasterYSize) == (1, 3)
    values = {"ScanTime": [7.25, 7.5, 8.0], "ScanAltitude": [0.0] * 3, "LeftPixel": [0] * 3,
              "RightPixel": [3] * 3, "NadirPixel": [2] * 3, "NadirLat": [10.5] * 3,
              "NadirLon": [-20.25] * 3}
    assert columns(dataset) == {name: values[name] for name in names}
    assert dataset.GetFileList() == [path]


def test_the_lines_have_types_and_units(keep):
    dataset = opened('ZEL:"%s":lines' % keep(scene().bytes()))
    bands = [dataset.GetRasterBand(k) for k in range(1, 8)]
    assert [gdal.GetDataTypeName(b.DataType) for b in bands] == [
        "Float64", "Float32", "Int32", "Int32", "Int32", "Float32", "Float32"]
    assert [b.GetUnitType() for b in bands] == ["h", "km", "", "", "", "degree", "degree"]


def test_the_lines_of_files_in_the_other_byte_order(keep):
    path = keep(scene(version=132, big_endian=True, times=[1.5, 2.5, 3.5]).bytes())
    assert columns(opened('ZEL:"%s":lines' % path))["ScanTime"] == [1.5, 2.5, 3.5]


def test_each_component_has_its_lines(keep):
    parts = [scene(times=[1.0, 2.0, 3.0]), scene(lines=2, times=[4.0, 5.0], resolution=60.0)]
    path = keep(composite(parts))
    assert columns(opened('ZEL:"%s":1:lines' % path))["ScanTime"] == [4.0, 5.0]
    assert columns(opened('ZEL:"%s":view:lines' % path))["ScanTime"] == [1.0, 2.0, 3.0]
    assert columns(opened('ZEL:"%s":lines' % path))["ScanTime"] == [1.0, 2.0, 3.0]


def test_statistics_of_lines_and_angles_go_into_the_file_beside_the_scene(tmp_path):
    path = tmp_path / "scene.zel"
    path.write_bytes(at_nadir().bytes())
    for part in ("lines", "angles"):
        name = 'ZEL:"%s":%s' % (path, part)
        opened(name).GetRasterBand(1).ComputeStatistics(False)
    from conftest import kept
    kept.clear()
    assert sorted(p.name for p in tmp_path.iterdir()) == ["scene.zel", "scene.zel.aux.xml"]
    dataset = opened('ZEL:"%s":lines' % path)
    assert dataset.GetRasterBand(1).GetMetadataItem("STATISTICS_MINIMUM") == "12"
    assert opened(str(path)).GetRasterBand(1).GetMetadataItem("STATISTICS_MINIMUM") is None


def at_nadir(**more):
    """At noon UT of day 81, with the satellite above the middle pixel, at latitude 0 and longitude 0.
    That is two days after the sun has crossed the equator: it stands within a degree of it; and the
    equation of time is below two degrees."""
    lats, lons = [[0.0, 0.0, 0.0]] * 2, [[-10.0, 0.0, 10.0]] * 2
    settings = dict(times=[12.0, 12.0], lats=lats, lons=lons, nadir=(1, 0.0, 0.0), day=81,
                    altitude=6371.0)
    settings.update(more)
    return Scene({0: Channel(3, ramp(2, 3))}, **settings)


def angles(keep, made):
    dataset = opened(opened(keep(made.bytes())).GetMetadataItem("ANGLES_DATASET", "ZEL_ANGLES"))
    return dataset, dataset.ReadAsArray()


def test_angles_are_those_of_sun_and_satellite(keep):
    dataset, found = angles(keep, at_nadir())
    bands = [dataset.GetRasterBand(k) for k in (1, 2, 3)]
    assert [b.GetDescription() for b in bands] == ["Solar zenith", "View zenith", "Relative azimuth"]
    assert {b.GetUnitType() for b in bands} == {"degree"}
    assert {b.DataType for b in bands} == {gdal.GDT_Float32}
    sun, view, _ = found[:, 0]
    assert sun[0] == pytest.approx(10, abs=2.5) and sun[2] == pytest.approx(10, abs=2.5)
    assert sun[1] < 2.5
    # A satellite one radius of the Earth up sees a place 10 degrees off at
    # atan2(2 sin 10, 2 cos 10 - 1) from the vertical.
    ten = math.radians(10)
    wanted = math.degrees(math.atan2(2 * math.sin(ten), 2 * math.cos(ten) - 1))
    assert view.tolist() == pytest.approx([wanted, 0, wanted], abs=0.05)


def test_angles_are_placed_like_the_pixels(keep):
    dataset, _ = angles(keep, at_nadir())
    scene_items = opened("/vsimem/scene.zel").GetMetadata("GEOLOCATION")
    assert dataset.GetMetadata("GEOLOCATION") == scene_items
    assert (dataset.RasterXSize, dataset.RasterYSize) == (3, 2)
    assert dataset.GetFileList() == ["/vsimem/scene.zel"]


def test_bands_of_angles_may_be_read_one_after_the_other(keep):
    _, together = angles(keep, at_nadir())
    dataset = opened('ZEL:"/vsimem/scene.zel":angles')
    for line in (1, 0):
        for band in (3, 1, 2):
            one = dataset.GetRasterBand(band).ReadAsArray(0, line, 3, 1)
            assert (one == together[band - 1, line]).all()


def test_where_no_angle_is_known_there_is_no_data(keep):
    lats, lons = [[0.0, NONE, 0.0], [0.0] * 3], [[-10.0, NONE, 10.0], [-10.0, 0.0, 10.0]]
    dataset, found = angles(keep, at_nadir(lats=lats, lons=lons, times=[12.0, 0.0]))
    assert dataset.GetRasterBand(2).GetNoDataValue() == NONE
    assert (found[:, 0, 1] == NONE).all() and (found[:, 1] == NONE).all()
    assert (found[:2, 0, 0] > 0).all()


def test_stored_angles_are_the_angles(keep):
    """Numbers of a scale with half a degree to a step."""
    stored = {k: Channel(1, [[10 * k + 1, 2, 3]], 0.0, 127.5) for k in range(3)}
    path = keep(Scene(stored, angles=(1, 2, 0), day=400, altitude=0.0).bytes())
    dataset = opened('ZEL:"%s":angles' % path)
    assert [row[0].tolist() for row in dataset.ReadAsArray()] == [
        [5.5, 1.0, 1.5], [10.5, 1.0, 1.5], [0.5, 1.0, 1.5]]


@pytest.mark.parametrize("missing", [dict(altitude=0.0), dict(lats=None, lons=None), dict(day=0),
                                     dict(altitude=0.0, angles=(0, 0, 5))])
def test_without_what_angles_are_computed_from_there_are_no_angles(keep, messages, missing):
    path = keep(at_nadir(**missing).bytes())
    assert gdal.Open(path).GetMetadataItem("ANGLES_DATASET", "ZEL_ANGLES") is None
    assert gdal.Open('ZEL:"%s":angles' % path) is None
    assert "has no angles" in messages.text()


def test_angles_of_a_component_are_its_own(keep):
    coarse = Scene({0: Channel(3, [[1]])}, resolution=500.0)
    path = keep(composite([coarse, at_nadir()]))
    name = opened(path).GetMetadataItem("ANGLES_DATASET", "ZEL_ANGLES")
    assert name == 'ZEL:"%s":angles' % path
    _, alone = angles(lambda data: keep(data, "alone.zel"), at_nadir())
    assert (opened(name).ReadAsArray() == alone).all()
    assert (opened('ZEL:"%s":1:angles' % path).ReadAsArray() == alone).all()


def test_angles_of_a_damaged_file_end_with_an_error(keep, messages):
    path = keep(at_nadir().bytes())
    dataset = gdal.Open('ZEL:"%s":angles' % path)
    stream = gdal.VSIFOpenL(path, "rb+")
    gdal.VSIFTruncateL(stream, len(at_nadir().bytes()) - 3)
    gdal.VSIFCloseL(stream)
    assert dataset.GetRasterBand(1).ReadAsArray(0, 1, 3, 1) is None
    assert messages.text()


def test_the_angles_of_a_real_scene_are_plausible(real):
    """GOES-16 at longitude -89.5, which it had until December 2017, over Hispaniola, in the morning."""
    dataset = opened('ZEL:"%s":angles' % real("goes16_maria_4km.zel"))
    sun, view, azimuth = dataset.ReadAsArray()
    assert 20 < sun.min() and sun.max() < 70
    assert 15 < view.min() and view.max() < 60
    assert 0 <= azimuth.min() and azimuth.max() <= 180
    assert numpy.ptp(sun) < 25
