"""CreateCopy: what is stored is read back by the places that the format says, without the drivers."""
import os
import struct
import subprocess
import sys

import numpy
import pytest
from osgeo import gdal, osr

from conftest import PROGRAMS, kept, opened
from scenes import CODES, Channel, Scene, ramp

sys.path.insert(0, os.path.join(os.environ["ZEL_SOURCE_DIR"], "examples"))
from zel_to_vrt import Layout  # noqa: E402

DATE = ["YEAR=2001", "JULIAN=123"]


def raster(*arrays, types=None):
    """A raster in memory with a band for each array."""
    first = numpy.array(arrays[0])
    dataset = gdal.GetDriverByName("MEM").Create("", first.shape[1], first.shape[0], 0)
    for array in arrays:
        array = numpy.asarray(array)
        kind = {"uint8": gdal.GDT_Byte, "uint16": gdal.GDT_UInt16, "int16": gdal.GDT_Int16,
                "float32": gdal.GDT_Float32, "float64": gdal.GDT_Float64,
                "int32": gdal.GDT_Int32, "complex64": gdal.GDT_CFloat32}[array.dtype.name]
        dataset.AddBand(kind)
        dataset.GetRasterBand(dataset.RasterCount).WriteArray(array)
    kept.append(dataset)
    return dataset


def copy(tmp_path, source, *options, name="copy.zel", date=True, **more):
    path = str(tmp_path / name)
    done = gdal.GetDriverByName("ZEL").CreateCopy(
        path, source, options=list(options) + (DATE if date else []), **more)
    kept.append(done)
    return path, done


def stored(path, slot):
    """The stored numbers of the channel that is slot-th among those present."""
    layout = Layout(path)
    channel = layout.channels[slot]
    with open(path, "rb") as stream:
        data = stream.read()
    size = layout.pixels
    return [list(struct.unpack_from("<%d%s" % (size, CODES[channel.code]), data,
                                    layout.header_offset + n * layout.line_offset + channel.offset))
            for n in range(layout.lines)]


BYTES = numpy.array(ramp(5, 7, 9), numpy.uint8)
WORDS = numpy.array(ramp(5, 7, 1871, most=65535), numpy.uint16)
FLOATS = numpy.array(ramp(5, 7), numpy.float32) / 3 - 4
NUMBERS = (numpy.array(ramp(5, 7, 1871, most=65535)) - 32768).astype(numpy.int16)


def test_every_type_gets_the_storage_that_keeps_it(tmp_path):
    path, done = copy(tmp_path, raster(BYTES, WORDS, FLOATS))
    assert [c.code for c in Layout(path).channels] == [3, 5, 4]
    for k, array in enumerate((BYTES, WORDS, FLOATS)):
        assert stored(path, k) == array.tolist()
        assert (done.GetRasterBand(k + 1).ReadAsArray() == array).all()


def test_signed_numbers_are_steps_of_one(tmp_path):
    path, done = copy(tmp_path, raster(NUMBERS))
    channel = Layout(path).channels[0]
    assert (channel.code, channel.low, channel.high) == (2, -32768.0, 32767.0)
    assert stored(path, 0) == (NUMBERS.astype(int) + 32768).tolist()
    values = opened(path, "UNSCALE=YES").ReadAsArray()
    assert (values == NUMBERS).all()


@pytest.mark.parametrize("array,scale,offset,code,low,high", [
    (WORDS, 0.5, -100.0, 2, -100.0, 32667.5),
    (WORDS, 2e-5, -0.1, 2, numpy.float32(-0.1), numpy.float32(1.2107)),
    (BYTES, 0.25, 1.0, 1, 1.0, 64.75),
    (NUMBERS, 2.0, 1.0, 2, -65535.0, 65535.0)])
def test_a_scale_goes_into_the_scale_range(tmp_path, array, scale, offset, code, low, high):
    source = raster(array)
    source.GetRasterBand(1).SetScale(scale)
    source.GetRasterBand(1).SetOffset(offset)
    path, done = copy(tmp_path, source)
    channel = Layout(path).channels[0]
    assert (channel.code, channel.low, channel.high) == (code, low, high)
    values = opened(path, "UNSCALE=YES").ReadAsArray()
    assert numpy.allclose(values, offset + scale * array.astype(float), rtol=3e-7, atol=1e-7)


@pytest.mark.parametrize("scale,offset", [(1e-6, 1e6), (1e-3, 1e4), (-1.0, 5.0), (0.0, 3.0)])
def test_a_scale_that_does_not_fit_makes_values_of_the_numbers(tmp_path, scale, offset):
    source = raster(BYTES)
    source.GetRasterBand(1).SetScale(scale)
    source.GetRasterBand(1).SetOffset(offset)
    path, _ = copy(tmp_path, source)
    assert Layout(path).channels[0].code == 4
    assert stored(path, 0) == (offset + scale * BYTES.astype(float)).astype(numpy.float32).tolist()


@pytest.mark.parametrize("array", [FLOATS.astype(numpy.float64), BYTES.astype(numpy.int32)])
def test_what_floats_may_not_keep_is_warned_of_and_refused_when_strict(tmp_path, messages, array):
    path, done = copy(tmp_path, raster(array), strict=0)
    assert done is not None
    assert "is stored as Float32" in messages.text()
    path, done = copy(tmp_path, raster(array), strict=1, name="strict.zel")
    assert done is None and not os.path.exists(path)


def test_colours_and_names_become_a_lut(tmp_path):
    source = raster(BYTES)
    table = gdal.ColorTable()
    table.SetColorEntry(0, (1, 2, 3, 255))
    table.SetColorEntry(1, (200, 100, 50, 255))
    band = source.GetRasterBand(1)
    band.SetDescription("map")
    band.SetColorTable(table)
    band.SetCategoryNames(["none", "water", "land"])
    path, done = copy(tmp_path, source)
    layout = Layout(path)
    assert (layout.channels[0].comment, layout.channels[0].units) == ("map classes", 5)
    assert layout.luts["map classes"][:3] == [(1, 2, 3, "none"), (200, 100, 50, "water"),
                                              (0, 0, 0, "land")]
    assert done.GetRasterBand(1).GetCategoryNames()[:3] == ["none", "water", "land"]


def test_every_file_of_a_process_and_every_band_has_its_own_lut(tmp_path):
    source = raster(BYTES, BYTES)
    for k in (1, 2):
        source.GetRasterBand(k).SetDescription("map")
        source.GetRasterBand(k).SetCategoryNames(["first of %d" % k])
    for name in ("one.zel", "two.zel"):
        path, _ = copy(tmp_path, source, name=name)
        layout = Layout(path)
        for k, channel in enumerate(layout.channels, 1):
            assert layout.luts[channel.comment][0][3] == "first of %d" % k
        assert stored(path, 1) == BYTES.tolist()


def test_options_are_in_the_header(tmp_path):
    path, done = copy(tmp_path, raster(BYTES), "SATELLITE=9", "DATATYPE=modis", "ALTITUDE=705",
                      "RESOLUTION=250.5", "SCANTIME=10.5", "LINE_TIME=36", "COMMENT=a comment",
                      "METADATA=some text")
    layout = Layout(path)
    assert (layout.year, layout.day, layout.satellite, layout.sensor) == (2001, 123, 9, 7)
    assert (layout.resolution, layout.comment) == (250.5, "a comment")
    assert done.GetMetadataItem("SATELLITE_ALTITUDE_KM") == "705"
    assert done.GetMetadataItem("TEXT", "ZEL_METADATA") == "some text"
    with open(path, "rb") as stream:
        data = stream.read()
    times = [struct.unpack_from("<d", data, layout.header_offset + n * layout.line_offset)[0]
             for n in range(5)]
    assert numpy.allclose(times, [10.5 + 0.01 * n for n in range(5)], rtol=0, atol=1e-9)


@pytest.mark.parametrize("option", ["YEAR=soon", "JULIAN=367", "DATATYPE=TELESCOPE", "SCANTIME=-1",
                                    "NAV_INTERVAL=0"])
def test_options_that_make_no_sense_are_refused(tmp_path, messages, option):
    path, done = copy(tmp_path, raster(BYTES), option, date=False)
    assert done is None and not os.path.exists(path)
    assert option in messages.text()


@pytest.mark.parametrize("begin,end,hours", [
    ("2001-05-03T09:30:00Z", "2001-05-03T09:30:30Z", [9.5, 9.5 + 15 / 3600, 9.5 + 30 / 3600]),
    ("2001-05-03T23:30:00Z", "2001-05-04T00:30:00Z", [23.5, 24.0, 24.5]),
    ("2001-12-31T23:30:00Z", "2002-01-01T00:30:00Z", [23.5, 24.0, 24.5]),
    ("2001-05-03T10:00:00Z", "2001-05-03T09:00:00Z", [10.0, 10.0, 10.0])])
def test_lines_have_their_times_between_begin_and_end(tmp_path, begin, end, hours):
    source = raster(BYTES[:3])
    source.SetMetadata({"START_TIME": begin, "END_TIME": end})
    path, done = copy(tmp_path, source, date=False)
    times = opened('ZEL:"%s":lines' % path).GetRasterBand(1).ReadAsArray()[:, 0]
    assert times.tolist() == pytest.approx(hours, abs=1e-9)
    assert done.GetMetadataItem("START_TIME") == begin.replace("Z", ".000Z")


def test_units_wavelengths_and_labels_are_kept(tmp_path):
    source = raster(FLOATS, FLOATS)
    band = source.GetRasterBand(1)
    band.SetDescription("11 um")
    band.SetUnitType("K")
    band.SetMetadataItem("CENTRAL_WAVELENGTH_UM", "11.25", "IMAGERY")
    band.SetMetadataItem("COMMENT", "of a test")
    channels = Layout(copy(tmp_path, source)[0]).channels
    assert [(c.label, c.units, c.wavelength, c.comment) for c in channels] == [
        ("11 um", 1, 11.25, "of a test"), ("Band 2", 0, 0.0, "")]


def test_a_source_without_a_date_is_warned_of(tmp_path, messages):
    path, _ = copy(tmp_path, raster(BYTES), date=False)
    assert "has no date" in messages.text()
    assert (Layout(path).year, Layout(path).day) == (1900, 1)


def test_nodata_goes_into_the_comment(tmp_path, messages):
    source = raster(BYTES, FLOATS)
    source.GetRasterBand(2).SetNoDataValue(-9999)
    path, _ = copy(tmp_path, source, "COMMENT=scene")
    assert Layout(path).comment == "scene; nodata -9999 in band 2"
    assert "no nodata value" in messages.text()
    source.GetRasterBand(1).SetNoDataValue(-9999)
    assert Layout(copy(tmp_path, source)[0]).comment == "nodata -9999"


def test_texts_that_are_too_long_are_cut_with_a_warning(tmp_path, messages):
    """Between characters: a u with dots is two bytes, the second of which has number 119."""
    source = raster(BYTES)
    band = source.GetRasterBand(1)
    band.SetDescription("x" * 118 + "\u00fc")
    band.SetMetadataItem("COMMENT", "y" * 120)
    band.SetNoDataValue(0)
    path, done = copy(tmp_path, source, "COMMENT=" + "c" * 3000, "METADATA=" + "m" * 30000)
    assert done.GetRasterBand(1).GetDescription() == "x" * 118
    assert done.GetRasterBand(1).GetMetadataItem("COMMENT") == "y" * 119
    comment = Layout(path).comment
    assert len(comment) <= 2000 and comment.endswith("ccc; nodata 0")
    assert opened(path).GetMetadataItem("TEXT", "ZEL_METADATA") == "m" * 20000
    for part in ("COMMENT: only", "METADATA: only the first 20000", "Band 1, description: only",
                 "Band 1, comment: only the first 119"):
        assert part in messages.text()


@pytest.mark.parametrize("array,nodata,scale,wanted", [
    (BYTES, 255, None, 255), (NUMBERS, -32768, None, 0), (WORDS, 3, 0.5, 3),
    (BYTES, 2, 1e-6, 1000000.0), (FLOATS, -9999, None, -9999)])
def test_nodata_is_kept_beside_the_file_as_a_number_of_the_band(tmp_path, array, nodata, scale,
                                                                wanted):
    source = raster(array)
    source.GetRasterBand(1).SetNoDataValue(nodata)
    if scale:
        source.GetRasterBand(1).SetScale(scale)
        source.GetRasterBand(1).SetOffset(1e6 if scale < 0.1 else 0)
    path = copy(tmp_path, source)[0]
    kept.clear()
    again = opened(path)
    assert again.GetRasterBand(1).GetNoDataValue() == wanted
    assert again.GetFileList() == [path, path + ".aux.xml"]
    os.remove(path + ".aux.xml")
    assert opened(path).GetRasterBand(1).GetNoDataValue() is None


def test_without_nodata_nothing_is_beside_the_file(tmp_path):
    copy(tmp_path, raster(BYTES))
    kept.clear()
    assert os.listdir(tmp_path) == ["copy.zel"]


def points(path, line):
    layout = Layout(path)
    with open(path, "rb") as stream:
        stream.seek(layout.header_offset + line * layout.line_offset + 32)
        values = struct.unpack("<%df" % (2 * layout.nav_points),
                               stream.read(8 * layout.nav_points))
    return values[:layout.nav_points], values[layout.nav_points:]


def test_navigation_points_come_from_the_georeferencing(tmp_path):
    source = raster(numpy.zeros((5, 21), numpy.uint8))
    system = osr.SpatialReference()
    system.ImportFromEPSG(4326)
    system.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
    source.SetSpatialRef(system)
    source.SetGeoTransform((179.0, 0.125, 0, 50.0, 0, -0.5))
    path, _ = copy(tmp_path, source, "NAV_INTERVAL=5")
    layout = Layout(path)
    assert (layout.nav_points, layout.nav_start, layout.nav_interval) == (5, 0, 5)
    lats, lons = points(path, 3)
    assert lats == (48.25,) * 5
    assert lons == (179.0625, 179.6875, -179.6875, -179.0625, -178.4375)


def test_navigation_points_of_a_projection(tmp_path):
    source = raster(numpy.zeros((30, 40), numpy.uint8))
    system = osr.SpatialReference()
    system.ImportFromEPSG(32616)
    source.SetSpatialRef(system)
    source.SetGeoTransform((600000, 30, 0, 3400000, 0, -30))
    path, _ = copy(tmp_path, source)
    assert Layout(path).resolution == 30
    system.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
    earth = osr.SpatialReference()
    earth.ImportFromEPSG(4326)
    transform = osr.CoordinateTransformation(system, earth)
    lats, lons = points(path, 29)
    for k in range(4):
        lat, lon, _ = transform.TransformPoint(600015 + 300 * k, 3400000 - 29.5 * 30)
        assert abs(lats[k] - lat) < 4e-6 and abs(lons[k] - lon) < 8e-6


def test_a_source_that_is_nowhere_has_no_navigation(tmp_path):
    path, done = copy(tmp_path, raster(BYTES))
    assert Layout(path).nav_points == 0
    assert not done.GetMetadata("GEOLOCATION")


def test_histograms_count_what_was_written(tmp_path):
    array = numpy.array([[0, 255, 10, 10, 9], [10, 10, 10, 10, 9]], numpy.uint8)
    _, done = copy(tmp_path, raster(array))
    low, high, count, buckets = done.GetRasterBand(1).GetDefaultHistogram()
    # The last pixel of a line is not counted; bins are one number wide.
    assert (low, high, count) == (0.0, 256.0, 256)
    assert {k: n for k, n in enumerate(buckets) if n} == {0: 1, 10: 6, 255: 1}
    _, done = copy(tmp_path, raster(array), "HISTOGRAMS=NO", name="none.zel")
    assert done.GetRasterBand(1).GetDefaultHistogram(force=0) is None


def test_a_scene_is_copied_with_all_that_it_has(tmp_path, keep):
    lut = (0, "Surface", [(0, 0, 0, "none"), (9, 8, 7, "water")])
    channels = {2: Channel(2, ramp(3, 4, 900, most=65535), -1.0, 3.0, "b", "note", 3, 0.5, 16,
                           base=1),
                5: Channel(5, [[0, 1, 1, 0]] * 3, label="map", comment="Surface", units=5)}
    scene = Scene(channels, luts=[lut], lats=[[1.0 + n, 2.0] for n in range(3)],
                  lons=[[5.0, 6.0 + n] for n in range(3)], interval=3, times=[7.25, 7.5, 7.75],
                  comment="whole", metadata="text", sensor=6, satellite=16, altitude=35786.0,
                  angles=(5, -1, -1))
    original = opened(keep(scene.bytes()))
    path, done = copy(tmp_path, original, "NAV_INTERVAL=3", date=False)
    assert done.GetMetadata() == original.GetMetadata()
    for domain in ("IMAGERY", "ZEL_METADATA", "ZEL_ANGLES"):
        found, wanted = done.GetMetadata(domain), original.GetMetadata(domain)
        assert {k: v.replace(path, "/vsimem/scene.zel") for k, v in found.items()} == wanted
    for k, channel in enumerate(channels.values(), 1):
        ours, theirs = done.GetRasterBand(k), original.GetRasterBand(k)
        assert ours.GetMetadata() == {**theirs.GetMetadata(), "BIT_DEPTH": "16"}
        assert ours.ReadAsArray().tolist() == channel.pixels
        assert ours.GetScale() == theirs.GetScale() and ours.GetOffset() == theirs.GetOffset()
        assert ours.GetCategoryNames() == theirs.GetCategoryNames()
    lats, lons = points(path, 1)
    assert numpy.allclose((lats, lons), [[2.0, 2.0], [5.0, 7.0]], atol=1e-5)


def test_a_copy_goes_to_memory_too(keep):
    done = gdal.GetDriverByName("ZEL").CreateCopy("/vsimem/copy.zel", raster(WORDS), options=DATE)
    kept.append(done)
    assert (done.ReadAsArray() == WORDS).all()


def test_an_interrupted_copy_leaves_no_file(tmp_path, messages):
    path, done = copy(tmp_path, raster(BYTES), callback=lambda share, text, data: share < 0.5)
    assert done is None
    assert "interrupted" in messages.text()
    assert os.listdir(tmp_path) == []


def test_files_that_are_opened_meanwhile_do_not_change_the_byte_order(tmp_path, keep):
    big = keep(Scene({0: Channel(3, [[1]])}, version=141, big_endian=True).bytes())
    path, _ = copy(tmp_path, raster(WORDS),
                   callback=lambda share, text, data: gdal.Open(big) is not None)
    assert stored(path, 0) == WORDS.tolist()


def test_progress_goes_from_nothing_to_all(tmp_path):
    shares = []
    copy(tmp_path, raster(BYTES), callback=lambda share, text, data: shares.append(share) or 1)
    assert shares[0] == 0 and shares[-1] == 1 and shares == sorted(shares)


@pytest.mark.parametrize("source", [
    lambda: raster(numpy.zeros((1, 32768), numpy.uint8)),
    lambda: raster(*[numpy.zeros((1, 1), numpy.uint8)] * 1001),
    lambda: raster(numpy.zeros((1, 1), numpy.complex64))])
def test_what_does_not_fit_is_refused(tmp_path, messages, source):
    path, done = copy(tmp_path, source())
    assert done is None and not os.path.exists(path)
    assert messages.text()


def test_a_thousand_bands_fit(tmp_path):
    arrays = [numpy.array([[k]], numpy.uint16) for k in range(1000)]
    _, done = copy(tmp_path, raster(*arrays), "HISTOGRAMS=NO")
    assert done.ReadAsArray().ravel().tolist() == list(range(1000))


def test_a_folder_that_is_not_there_is_reported(tmp_path, messages):
    path, done = copy(tmp_path, raster(BYTES), name="missing/copy.zel")
    assert done is None
    assert "cannot open file" in messages.text()


FULL = """
import resource, signal, sys
signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
from osgeo import gdal
source = gdal.GetDriverByName("MEM").Create("", 1000, 1000)
driver = gdal.GetDriverByName("ZEL")
driver.CreateCopy(sys.argv[1], source)
whole = gdal.VSIStatL(sys.argv[1]).size
limit = whole // 2 if sys.argv[2] == "half" else whole - 1
resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
sys.exit(driver.CreateCopy(sys.argv[1], source) is not None)
"""


# The last byte is written when the file is finished.
@pytest.mark.parametrize("share", ["half", "all but a byte"])
def test_a_disk_that_is_full_leaves_no_file(tmp_path, share):
    path = tmp_path / "full.zel"
    done = subprocess.run([sys.executable, "-c", FULL, path, share], stderr=subprocess.PIPE)
    assert done.returncode == 0
    assert b"write error" in done.stderr
    assert not path.exists()


def test_the_combine_tool_reads_a_copy(tmp_path):
    fine, _ = copy(tmp_path, raster(WORDS.repeat(2, 0).repeat(2, 1)), "RESOLUTION=10", name="f.zel")
    coarse, _ = copy(tmp_path, raster(WORDS), "RESOLUTION=20", name="c.zel")
    kept.clear()
    both = str(tmp_path / "both.zel")
    subprocess.run([os.path.join(PROGRAMS, "zel_combine"), "-i", coarse, "-i", fine, "-o", both],
                   check=True, stdout=subprocess.DEVNULL)
    assert opened(both).RasterXSize == 14
    assert (opened('ZEL:"%s":0' % both).ReadAsArray() == WORDS).all()
    assert (opened('ZEL:"%s":view' % both).ReadAsArray() == numpy.array([WORDS, WORDS])).all()
