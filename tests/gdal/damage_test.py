"""Damaged files: an error that says what is wrong, and never more than that."""
import pytest
from osgeo import gdal

from damaged import FIELDS, WHOLE, cuts, lines_left, places_of_damage, scene, with_bytes
from scenes import composite, ramp


DAMAGE = {
    "prefix cut": (WHOLE[:700], "cut short in"),
    "header cut": (WHOLE[:FIELDS + 100], "cut short in"),
    "LUT cut": (WHOLE[:FIELDS + 2040 + 100], "cut short in"),
    "channels cut": (WHOLE[:FIELDS + 2040 + 407 + 20014 + 300], "cut short in"),
    "no line": (WHOLE[:len(WHOLE) - 3 * 52 + 20], "is cut short before the end of its first line"),
    "newer version": (with_bytes(WHOLE, 3, b"9.9\0"), "Library version 9.9 or higher needed"),
    "version number": (with_bytes(WHOLE, FIELDS, b"\0\0\0\0"), "unsupported data type"),
    "slots": (with_bytes(WHOLE, FIELDS + 4, b"\xff\xff"), "invalid MaxNumChan -1"),
    "pixels": (with_bytes(WHOLE, FIELDS + 12, b"\0\0"), "invalid NPixelPerLine 0"),
    "points": (with_bytes(WHOLE, FIELDS + 14, b"\xff\xff\xff\xff"), "invalid NumNavPoints -1"),
    "LUTs": (with_bytes(WHOLE, FIELDS + 2036, b"\xff\xff"), "invalid NumDisplayLUTs -1"),
    "storage code": (with_bytes(WHOLE, FIELDS + 2040 + 407 + 20014 + 12, b"\x09\0\0\0"),
                     "invalid Type 9"),
    "components": (with_bytes(WHOLE, 17, b"\x65\0\0\0"), "invalid number of components 101"),
    "component sizes": (composite([scene(), scene()])[:-1], "invalid component size"),
    "component offsets": (with_bytes(composite([scene(), scene()]), 25, b"\xff\xff\xff\x7f"),
                          "invalid component offset"),
    "base": (with_bytes(composite([scene(), scene()]), 13, b"\x02\0\0\0"),
             "invalid base component index 2"),
}


@pytest.mark.parametrize("kind", DAMAGE)
def test_damage_is_reported(keep, messages, kind):
    data, reason = DAMAGE[kind]
    assert gdal.Open(keep(data)) is None
    assert reason in messages.text()
    assert all(level == gdal.CE_Failure for level, _ in messages.all)


def test_a_file_opens_after_a_damaged_one(keep, messages):
    assert gdal.Open(keep(DAMAGE["LUT cut"][0])) is None
    assert gdal.Open(keep(WHOLE, "whole")).ReadAsArray().tolist() == ramp(3, 4)


def test_every_cut_is_an_error_or_a_file_with_fewer_lines(keep, messages):
    for size in cuts():
        dataset = gdal.Open(keep(WHOLE[:size]))
        if dataset is not None:
            assert dataset.ReadAsArray().tolist() == ramp(3, 4)[:dataset.RasterYSize]
            assert dataset.RasterYSize == lines_left(size)


def test_damage_in_any_place_of_the_header_does_no_harm(keep, messages):
    for offset in places_of_damage(3):
        for new in (b"\xff\xff", b"\x7f\x00", b"\x00\x00"):
            dataset = gdal.Open(keep(with_bytes(WHOLE, offset, new)))
            if dataset is not None and dataset.RasterXSize * dataset.RasterYSize < 1000000:
                dataset.ReadAsArray()
                gdal.Info(dataset)
