"""Composites: the finest component, all components, and the view of them on one grid."""
import numpy
import pytest
from osgeo import gdal

from conftest import opened
from scenes import Channel, Scene, composite, ramp


def scenes():
    """A coarse scene of 2 x 3 pixels and a fine one of 4 x 6."""
    coarse = Scene({0: Channel(5, [[10, 20, 30], [40, 50, 60]], label="coarse")}, resolution=500.0,
                   lats=[[1.0, 2.0], [3.0, 4.0]], lons=[[5.0, 6.0], [7.0, 8.0]], interval=2)
    fine = Scene({0: Channel(3, ramp(4, 6), label="fine"),
                  4: Channel(1, ramp(4, 6), 0.0, 51.0, label="scaled")}, resolution=250.0)
    return [coarse, fine]


def names(dataset):
    found = dataset.GetMetadata("SUBDATASETS")
    return [found["SUBDATASET_%d_NAME" % k] for k in range(1, len(found) // 2 + 1)]


def test_the_name_of_the_file_opens_the_finest_component(keep):
    path = keep(composite(scenes()))
    dataset = opened(path)
    assert (dataset.RasterXSize, dataset.RasterYSize, dataset.RasterCount) == (6, 4, 2)
    assert dataset.GetRasterBand(1).ReadAsArray().tolist() == ramp(4, 6)
    assert dataset.GetFileList() == [path]


def test_subdatasets_are_the_components_and_the_view(keep):
    path = keep(composite(scenes()))
    assert names(opened(path)) == ['ZEL:"%s":%s' % (path, part) for part in ("0", "1", "view")]


def test_a_component_opens_by_its_name(keep):
    first, second, _ = names(opened(keep(composite(scenes()))))
    assert opened(first).ReadAsArray().tolist() == [[10, 20, 30], [40, 50, 60]]
    assert opened(second).GetRasterBand(2).ReadAsArray().tolist() == ramp(4, 6)
    assert opened(first).GetFileList() == ["/vsimem/scene.zel"]


def test_quotes_that_a_shell_took_away_are_not_missed(keep):
    path = keep(composite(scenes()))
    assert opened("ZEL:%s:0" % path).RasterXSize == 3


def test_positions_are_those_of_the_component(keep):
    path = keep(composite(scenes()))
    items = opened("ZEL:%s:0" % path).GetMetadata("GEOLOCATION")
    assert items["Y_DATASET"] == 'ZEL:"%s":0:lat' % path
    assert opened(items["Y_DATASET"]).ReadAsArray().tolist() == [[1.0, 2.0], [3.0, 4.0]]
    assert opened(items["Y_DATASET"]).GetFileList() == [path]
    assert opened(items["X_DATASET"]).ReadAsArray().tolist() == [[5.0, 6.0], [7.0, 8.0]]
    assert not opened(path).GetMetadata("GEOLOCATION")


def zipped(name, data):
    """The bytes in an archive, as all of one file that is read from it."""
    path = "/vsizip//vsimem/archive.zip/" + name
    stream = gdal.VSIFOpenL(path, "wb")
    gdal.VSIFWriteL(data, 1, len(data), stream)
    gdal.VSIFCloseL(stream)
    return path


@pytest.mark.parametrize("put", [lambda name, data: gdal.FileFromMemBuffer("/vsimem/" + name, data)
                                 or "/vsimem/" + name, zipped])
def test_the_view_of_a_file_that_is_on_no_disk(put):
    path = put("scene.zel", composite(scenes(), 1))
    dataset = opened('ZEL:"%s":view' % path)
    coarse = numpy.array([[10, 20, 30], [40, 50, 60]]).repeat(2, 0).repeat(2, 1)
    assert (dataset.GetRasterBand(1).ReadAsArray() == coarse).all()
    assert dataset.GetRasterBand(2).ReadAsArray().tolist() == ramp(4, 6)
    assert dataset.GetFileList() == [path]


def on_disk(tmp_path, base):
    path = tmp_path / "composite.zel"
    path.write_bytes(composite(scenes(), base))
    return str(path)


def test_the_view_repeats_coarse_pixels_on_a_fine_grid(tmp_path):
    dataset = opened('ZEL:"%s":view' % on_disk(tmp_path, 1))
    coarse = numpy.array([[10, 20, 30], [40, 50, 60]]).repeat(2, 0).repeat(2, 1)
    assert [dataset.GetRasterBand(k).GetDescription() for k in (1, 2, 3)] == [
        "coarse", "fine", "scaled"]
    assert (dataset.GetRasterBand(1).ReadAsArray() == coarse).all()
    assert dataset.GetRasterBand(2).ReadAsArray().tolist() == ramp(4, 6)


def test_the_view_averages_fine_pixels_on_a_coarse_grid(tmp_path):
    path = on_disk(tmp_path, 0)
    dataset = opened('ZEL:"%s":view' % path)
    fine = numpy.array(ramp(4, 6)).reshape(2, 2, 3, 2).mean((1, 3))
    assert (dataset.RasterXSize, dataset.RasterYSize) == (3, 2)
    assert (dataset.GetRasterBand(2).ReadAsArray() == numpy.trunc(fine)).all()
    assert dataset.GetMetadata("GEOLOCATION")["Y_DATASET"] == 'ZEL:"%s":0:lat' % path


def test_a_line_of_the_view_is_read_once_for_all_bands(keep):
    data = composite(scenes(), 1)
    dataset = opened('ZEL:"%s":view' % keep(data))
    for line in (3, 0):
        dataset.GetRasterBand(1).ReadAsArray(0, line, 6, 1)
    stream = gdal.VSIFOpenL("/vsimem/scene.zel", "rb+")
    gdal.VSIFTruncateL(stream, 0)
    gdal.VSIFCloseL(stream)
    assert dataset.GetRasterBand(2).ReadAsArray(0, 3, 6, 1).tolist() == ramp(4, 6)[3:]


def test_the_view_has_values_on_request(tmp_path):
    dataset = opened('ZEL:"%s":view' % on_disk(tmp_path, 1), "UNSCALE=YES")
    assert numpy.allclose(dataset.GetRasterBand(3).ReadAsArray(), numpy.array(ramp(4, 6)) / 5)
    assert dataset.GetRasterBand(1).DataType == gdal.GDT_Float32


def test_lines_of_the_view_may_be_read_in_any_order(tmp_path):
    dataset = opened('ZEL:"%s":view' % on_disk(tmp_path, 1))
    for band, line in ((3, 3), (1, 0), (2, 2), (1, 3), (3, 0)):
        wanted = [[10, 20, 30], [40, 50, 60]][line // 2] if band == 1 else ramp(4, 6)[line]
        got = dataset.GetRasterBand(band).ReadAsArray(0, line, 6, 1)[0]
        assert got.tolist() == (numpy.repeat(wanted, 2).tolist() if band == 1 else wanted)


def test_files_that_are_opened_meanwhile_do_not_change_the_byte_order_of_the_view(tmp_path, keep):
    dataset = opened('ZEL:"%s":view' % on_disk(tmp_path, 1))
    opened(keep(Scene({0: Channel(3, [[1]])}, version=141, big_endian=True).bytes(), "big"))
    assert dataset.GetRasterBand(1).ReadAsArray(0, 3, 6, 1).tolist() == [[40, 40, 50, 50, 60, 60]]


def test_a_view_ends_with_an_error_where_a_component_does(keep, messages):
    long = Scene({0: Channel(3, ramp(4, 6))})
    path = keep(composite([long, Scene({0: Channel(3, ramp(2, 6))})]))
    view = gdal.Open('ZEL:"%s":view' % path)
    assert view.GetRasterBand(2).ReadAsArray(0, 1, 6, 1).tolist() == ramp(4, 6)[1:2]
    assert view.GetRasterBand(2).ReadAsArray(0, 2, 6, 1) is None
    assert "scene.zel: line 2: cannot be read" in messages.text()


@pytest.mark.parametrize("name,reason", [
    ("ZEL:%s:2", "has no component 2; there are 0 to 1"),
    ("ZEL:%s:1:angles", "has no angles: they need a date, positions and the satellite's altitude"),
    ("ZEL:%s:lat:lon", "cannot be opened"),
    ("ZEL:%s:1:lat", "has no navigation points"),
    ("ZEL:%s:nothing", "cannot be opened"),
    ("ZEL:/vsimem/missing.zel:0", "cannot be opened")])
def test_parts_that_are_not_there_are_refused(keep, messages, name, reason):
    path = keep(composite(scenes()))
    assert gdal.Open(name.replace("%s", path)) is None
    assert reason in messages.text()
