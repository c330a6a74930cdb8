"""Vorn rasters: planes of floats with a header in either byte order, and the text header beside."""
import os
import struct
import subprocess

import numpy
import pytest
from osgeo import gdal

from conftest import PROGRAMS, kept, opened
from scenes import Channel, Scene, ramp

PLANES = [[[0.0, 1.5, -2.0], [3.0, 4.0, 5.25]], [[9.0, 8.0, 7.0], [6.0, 5.0, 1e30]]]


def vorn(planes=PLANES, order="<"):
    """The rows are little-endian, whatever the order of the header is."""
    lines, pixels = len(planes[0]), len(planes[0][0])
    numbers = [v for plane in planes for line in plane for v in line]
    return (struct.pack(order + "4i", 43981, pixels, lines, len(planes))
            + struct.pack("<%df" % len(numbers), *numbers))


def text_header(labels, word="Label"):
    return "".join("one\n%s %s\n3\n4\n5\n6\n7\n" % (word, label) for label in labels).encode()


def create(name, source, *options, **more):
    kept.append(gdal.GetDriverByName("VORN").CreateCopy(name, source, options=list(options), **more))
    return kept[-1]


def content(name):
    stream = gdal.VSIFOpenL(name, "rb")
    data = gdal.VSIFReadL(1, 1000000, stream)
    gdal.VSIFCloseL(stream)
    return bytes(data)


@pytest.mark.parametrize("order", "<>")
def test_the_header_may_have_either_byte_order_and_the_rows_have_one(keep, order):
    path = keep(vorn(order=order), "a.vorn")
    dataset = opened(path)
    assert dataset.GetDriver().ShortName == "VORN"
    assert (dataset.ReadAsArray() == numpy.array(PLANES, numpy.float32)).all()
    assert dataset.GetFileList() == [path]


def test_labels_come_from_the_text_header_beside(keep):
    path = keep(vorn(), "a.vorn")
    keep(text_header(["water classes", "cloud"]), "a.vorn.hdr")
    dataset = opened(path)
    assert [dataset.GetRasterBand(k).GetDescription() for k in (1, 2)] == ["water classes", "cloud"]
    assert dataset.GetFileList() == [path, path + ".hdr"]


def test_labels_come_from_a_text_header_that_is_named(keep):
    path, header = keep(vorn(), "a.vorn"), keep(text_header(["x"]), "labels.txt")
    dataset = opened(path, "HEADER=" + header)
    assert [dataset.GetRasterBand(k).GetDescription() for k in (1, 2)] == ["x", ""]


def test_a_copy_has_the_bytes_of_the_format(keep):
    source = opened(keep(vorn(), "a.vorn"))
    create("/vsimem/b.vorn", source)
    assert content("/vsimem/b.vorn") == vorn()
    create("/vsimem/c.vorn", source, "BYTE_ORDER=MSB")
    assert content("/vsimem/c.vorn") == vorn(order=">")
    assert gdal.VSIStatL("/vsimem/b.vorn.hdr") is None


def test_names_of_bands_go_into_the_text_header(keep):
    source = opened(keep(vorn(), "a.vorn"), "HEADER=" + keep(text_header(["w " + "x" * 200]), "t"))
    create("/vsimem/b.vorn", source)
    lines = content("/vsimem/b.vorn.hdr").decode().split("\n")
    assert len(lines) == 2 * 7 + 1
    assert lines[1].startswith("Label w xxx") and len(lines[1]) == 118
    assert lines[8] == "Label Band 2"
    again = opened("/vsimem/b.vorn")
    assert [again.GetRasterBand(k).GetDescription()[:4] for k in (1, 2)] == ["w xx", "Band"]


def test_scaled_numbers_become_their_values(keep):
    source = opened(keep(Scene({0: Channel(1, [[0, 51, 255]], 10.0, 20.0)}).bytes()))
    done = create("/vsimem/b.vorn", source)
    assert done.ReadAsArray().tolist() == [[10.0, 12.0, 20.0]]


@pytest.mark.parametrize("strict,is_done", [(0, True), (1, False)])
def test_numbers_that_floats_may_not_keep(keep, messages, strict, is_done):
    source = gdal.GetDriverByName("MEM").Create("", 2, 2, 1, gdal.GDT_Int32)
    done = create("/vsimem/b.vorn", source, strict=strict)
    assert (done is not None) == is_done
    assert "Int32 is stored as Float32" in messages.text()


@pytest.mark.parametrize("limit", [0.5, 1])
def test_an_interrupted_copy_leaves_no_file(keep, messages, limit):
    source = opened(keep(vorn(), "a.vorn"), "HEADER=" + keep(text_header(["one", "two"]), "t"))
    assert create("/vsimem/b.vorn", source, callback=lambda share, text, data: share < limit) is None
    assert "interrupted" in messages.text()
    assert sorted(gdal.ReadDir("/vsimem/")) == ["a.vorn", "t"]


@pytest.mark.parametrize("bands", [0, 1001])
def test_no_band_and_more_than_a_scene_has_are_refused(keep, messages, bands):
    source = gdal.GetDriverByName("MEM").Create("", 1, 1, bands)
    assert create("/vsimem/b.vorn", source) is None
    assert "1 to 1000 bands" in messages.text()
    assert gdal.VSIStatL("/vsimem/b.vorn") is None


@pytest.mark.parametrize("data,reason", [
    (vorn()[:-1], "is cut short: 3 of 4 lines"),
    (struct.pack("<4i", 43981, 2000000000, 2000000000, 1000), "cut short")])
def test_damage_is_reported(keep, messages, data, reason):
    assert gdal.Open(keep(data, "a.vorn")) is None
    assert reason in messages.text()


@pytest.mark.parametrize("data", [struct.pack("<4i", 43981, -1, 1, 1), b"\xcd\xab\0\0",
                                  struct.pack("<4i", 43980, 1, 1, 1),
                                  struct.pack("<4i", 43981, 1, 1, 1001).ljust(5000)])
def test_what_is_no_raster_is_left_to_others(keep, data):
    assert gdal.IdentifyDriverEx(keep(data), gdal.OF_RASTER, ["VORN"]) is None


def test_the_real_rasters_of_both_orders_agree(real):
    little, big = (opened(real("sentinel2_ireland_60m_scl%s.vorn" % order)).ReadAsArray()
                   for order in ("", "_big_endian"))
    assert (little == big).all() and 0 <= little.min() and little.max() <= 11


def test_the_combine_tool_takes_a_copied_class_map(tmp_path):
    scene, both = str(tmp_path / "scene.zel"), str(tmp_path / "both.zel")
    with open(scene, "wb") as stream:
        stream.write(Scene({k: Channel(3, ramp(2, 3)) for k in (0, 1)}).bytes())
    source = gdal.GetDriverByName("MEM").Create("", 3, 2, 1, gdal.GDT_Byte)
    source.GetRasterBand(1).WriteArray(numpy.array([[0, 1, 2], [3, 2, 1]]))
    source.GetRasterBand(1).SetDescription("my classes")
    raster = str(tmp_path / "classes.vorn")
    create(raster, source)
    kept.clear()
    subprocess.run([os.path.join(PROGRAMS, "zel_combine"), "-i", scene, "-vorn", raster,
                    "-vorn_hdr", raster + ".hdr", "-o", both],
                   check=True, stdout=subprocess.DEVNULL)
    dataset = opened(both)
    assert dataset.GetRasterBand(3).ReadAsArray().tolist() == [[0, 1, 2], [3, 2, 1]]
    assert dataset.GetRasterBand(3).GetDescription() == "my classes"
