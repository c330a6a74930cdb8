"""Class maps, display LUTs and histograms."""
import json
import subprocess

import pytest
from osgeo import gdal

from conftest import opened
from scenes import Channel, Scene, ramp

LUT = (3, "Surface", [(0, 0, 0, "none"), (0, 80, 200, "water"), (90, 150, 60, "land")])


def colours(band):
    table = band.GetColorTable()
    return table and [table.GetColorEntry(k) for k in range(table.GetCount())]


@pytest.mark.parametrize("code", [3, 5])
def test_a_class_channel_has_the_colours_and_names_of_its_lut(keep, code):
    channel = Channel(code, [[0, 1, 2, 1]], label="map", comment="surface", units=5)
    band = opened(keep(Scene({0: channel}, luts=[LUT]).bytes())).GetRasterBand(1)
    assert colours(band) == [(0, 0, 0, 255), (0, 80, 200, 255), (90, 150, 60, 255)]
    assert band.GetCategoryNames() == ["none", "water", "land"]
    assert band.GetColorInterpretation() == gdal.GCI_PaletteIndex
    assert band.ReadAsArray().tolist() == [[0, 1, 2, 1]]


def test_classes_stay_numbers_when_values_are_asked_for(keep):
    channels = {0: Channel(3, [[0, 1]], comment="Surface"), 1: Channel(1, [[0, 255]], 0.0, 1.0)}
    dataset = opened(keep(Scene(channels, luts=[LUT]).bytes()), "UNSCALE=YES")
    assert [dataset.GetRasterBand(k).DataType for k in (1, 2)] == [gdal.GDT_Byte, gdal.GDT_Float32]
    assert colours(dataset.GetRasterBand(1))


def test_other_channels_are_painted_on_request_only(keep):
    # Numbers are halves: 0 and 1 have value 0, 2 and 3 value 1, as whole numbers.
    channel = Channel(1, [[0, 1, 2, 3]], 0.0, 127.5, comment="Surface")
    path = keep(Scene({0: channel}, luts=[LUT]).bytes())
    plain, painted = opened(path), opened(path, "COLOR_TABLE=YES")
    assert colours(plain.GetRasterBand(1)) is None
    assert colours(painted.GetRasterBand(1))[:7] == [
        (0, 0, 0, 255), (0, 0, 0, 255), (0, 80, 200, 255), (0, 80, 200, 255), (90, 150, 60, 255),
        (90, 150, 60, 255), (0, 0, 0, 0)]
    assert painted.GetRasterBand(1).GetCategoryNames() is None


def test_a_comment_that_names_no_lut_is_a_comment(keep):
    channel = Channel(3, [[0, 1]], comment="something else")
    assert colours(opened(keep(Scene({0: channel}, luts=[LUT]).bytes())).GetRasterBand(1)) is None


def test_the_stored_histogram_is_the_default_one(keep):
    # Five bins from 10 to 18 are 2 wide; the last one begins at 18.
    channel = Channel(3, [[0, 1]], histogram=(10.0, 18.0, [5, 0, 7, 1, 2]))
    path = keep(Scene({0: channel}).bytes())
    assert opened(path).GetRasterBand(1).GetDefaultHistogram() == (10.0, 20.0, 5, [5, 0, 7, 1, 2])


def test_a_histogram_of_values_is_shown_in_the_numbers_of_the_band(keep):
    # A value is 100 + number / 2: from 110 to 118 are the numbers 20 to 36.
    channel = Channel(1, [[0, 1]], 100.0, 227.5, histogram=(110.0, 118.0, [1, 2, 3, 4, 5]))
    path = keep(Scene({0: channel}).bytes())
    low, high, count, buckets = opened(path).GetRasterBand(1).GetDefaultHistogram()
    assert (low, high, count, buckets) == (20.0, 40.0, 5, [1, 2, 3, 4, 5])
    values = opened(path, "UNSCALE=YES").GetRasterBand(1).GetDefaultHistogram()
    assert values == (110.0, 120.0, 5, [1, 2, 3, 4, 5])


def test_gdalinfo_shows_the_buckets(tmp_path):
    path = tmp_path / "scene.zel"
    path.write_bytes(Scene({0: Channel(3, ramp(2, 3), histogram=(0.0, 3.0, [9, 8, 7, 6]))}).bytes())
    text = subprocess.run(["gdalinfo", "-json", "-hist", path], check=True,
                          stdout=subprocess.PIPE).stdout
    histogram = json.loads(text)["bands"][0]["histogram"]
    assert (histogram["count"], histogram["buckets"]) == (4, [9, 8, 7, 6])
