"""Plain files: bands, facts and pixels, of all layouts and in both byte orders."""
import struct

import numpy
import pytest
from osgeo import gdal

from conftest import opened
from scenes import Channel, Scene, composite, ramp

VERSIONS = [100, 110, 120, 121, 131, 132, 141, 142, 151, 201, 211, 221, 230]


def five_channels():
    """A channel of each storage code, 3 lines of 4 pixels."""
    return {0: Channel(1, ramp(3, 4, 21), -1.0, 50.0, "scaled byte", units=1),
            2: Channel(2, ramp(3, 4, 5957, most=65535), 0.0, 2.0, "scaled 16-bit", units=3,
                       wavelength=0.5, bits=12),
            3: Channel(3, ramp(3, 4, 23), label="byte"),
            7: Channel(4, [[0.25 * x - n for x in range(4)] for n in range(3)], label="float",
                       units=7),
            11: Channel(5, ramp(3, 4, 4000, 7, 65535), label="16-bit", comment="counts")}


def pixels(dataset, band):
    return dataset.GetRasterBand(band).ReadAsArray().tolist()


# Files with a prefix are little-endian.
@pytest.mark.parametrize("version,big_endian", [
    (v, order) for v in VERSIONS for order in (False, True) if v < 151 or not order])
def test_pixels_of_all_layouts_are_the_stored_numbers(keep, version, big_endian):
    channels = five_channels()
    scene = Scene(channels, version=version, big_endian=big_endian)
    dataset = opened(keep(scene.bytes()))
    assert dataset.GetDriver().ShortName == "ZEL"
    assert (dataset.RasterXSize, dataset.RasterYSize, dataset.RasterCount) == (4, 3, 5)
    for band, channel in enumerate(channels.values(), 1):
        assert pixels(dataset, band) == channel.pixels


def test_files_of_both_byte_orders_are_read_in_turn(keep):
    little = opened(keep(Scene(five_channels(), version=141).bytes(), "little"))
    big = opened(keep(Scene(five_channels(), version=141, big_endian=True).bytes(), "big"))
    again = opened(keep(Scene(five_channels(), version=230).bytes(), "again"))
    wanted = five_channels()[11].pixels
    for line in range(3):
        for dataset in (big, little, again, big):
            got = dataset.GetRasterBand(5).ReadAsArray(0, line, 4, 1).tolist()
            assert got == [wanted[line]]


def test_bands_are_the_present_channels_in_the_order_of_their_slots(keep):
    dataset = opened(keep(Scene(five_channels()).bytes()))
    bands = [dataset.GetRasterBand(k) for k in range(1, 6)]
    assert [b.GetDescription() for b in bands] == [
        "scaled byte", "scaled 16-bit", "byte", "float", "16-bit"]
    assert [b.GetMetadataItem("SLOT") for b in bands] == ["0", "2", "3", "7", "11"]
    assert [gdal.GetDataTypeName(b.DataType) for b in bands] == [
        "Byte", "UInt16", "Byte", "Float32", "UInt16"]
    assert [b.GetUnitType() for b in bands] == ["K", "1", "", "W m-2 um-1 sr-1", ""]
    assert bands[1].GetMetadataItem("WAVELENGTH_UM") == "0.5"
    assert bands[1].GetMetadataItem("CENTRAL_WAVELENGTH_UM", "IMAGERY") == "0.5"
    assert bands[1].GetMetadataItem("BIT_DEPTH") == "12"
    assert bands[4].GetMetadataItem("COMMENT") == "counts"
    assert bands[0].GetMetadataItem("WAVELENGTH_UM") is None


def test_scale_and_offset_are_those_of_the_scale_range(keep):
    dataset = opened(keep(Scene(five_channels()).bytes()))
    bands = [dataset.GetRasterBand(k) for k in range(1, 6)]
    assert [b.GetOffset() for b in bands] == [-1.0, 0.0, None, None, None]
    assert bands[0].GetScale() == 51 / 255
    assert bands[1].GetScale() == 2 / 65535
    assert [b.GetScale() for b in bands[2:]] == [None] * 3


def test_unscaled_bands_have_the_values_of_the_numbers(keep):
    dataset = opened(keep(Scene(five_channels()).bytes()), "UNSCALE=YES")
    for band, channel in enumerate(five_channels().values(), 1):
        steps = {1: 255, 2: 65535}.get(channel.code)
        wanted = numpy.array(channel.pixels, float)
        if steps:
            wanted = channel.low + wanted * (channel.high - channel.low) / steps
        assert dataset.GetRasterBand(band).DataType == gdal.GDT_Float32
        assert dataset.GetRasterBand(band).GetScale() is None
        assert (dataset.GetRasterBand(band).ReadAsArray() == wanted.astype(numpy.float32)).all()


def test_what_the_header_says_arrives(keep):
    scene = Scene(five_channels(), year=2020, day=60, satellite=9, sensor=6, altitude=35786.0,
                  resolution=2000.0, comment="a test", metadata="more text", times=[23.5, 23.75, 24.25],
                  nadir=(2, 10.5, -20.25), angles=(7, -1, 3))
    dataset = opened(keep(scene.bytes()))
    items = dataset.GetMetadata()
    assert items["SENSOR"] == "GOES"
    assert items["SATELLITE_NUMBER"] == "9"
    assert items["SATELLITE_ALTITUDE_KM"] == "35786"
    assert items["RESOLUTION_M"] == "2000"
    assert items["COMMENT"] == "a test"
    assert items["DATE"] == "2020-02-29"
    assert items["START_TIME"] == "2020-02-29T23:30:00.000Z"
    assert items["END_TIME"] == "2020-03-01T00:15:00.000Z"
    assert dataset.GetMetadata("IMAGERY") == {
        "ACQUISITIONDATETIME": "2020-02-29 23:30:00", "SATELLITEID": "GOES 9"}
    assert dataset.GetMetadata("ZEL_METADATA")["TEXT"] == "more text"
    scan = dataset.GetMetadata("ZEL_SCAN")
    assert (scan["NADIR_FIRST_LINE_PIXEL"], scan["NADIR_LAST_LINE_LAT"]) == ("2", "10.5")
    assert scan["LAST_LINE_HOURS"] == "24.25"
    assert dataset.GetMetadata("ZEL_ANGLES") == {
        "SOLAR_ZENITH_BAND": "4", "RELATIVE_AZIMUTH_BAND": "3"}
    assert scan["LINES_DATASET"] == 'ZEL:"/vsimem/scene.zel":lines'


def test_times_that_are_not_set_are_not_shown(keep):
    items = opened(keep(Scene(five_channels()).bytes())).GetMetadata()
    assert "START_TIME" not in items
    assert items["DATE"] == "2001-05-03"


def test_texts_that_are_no_utf8_are_latin1(keep):
    scene = Scene({0: Channel(3, [[1]], label="temp\u00e9rature")})
    assert opened(keep(scene.bytes())).GetRasterBand(1).GetDescription() == "temp\u00e9rature"


def test_a_window_has_its_own_pixels(keep):
    channel = Channel(2, ramp(50, 40, 7, most=65535), 0.0, 1.0)
    dataset = opened(keep(Scene({0: Channel(3, ramp(50, 40)), 1: channel}).bytes()))
    wanted = numpy.array(channel.pixels)
    assert (dataset.GetRasterBand(2).ReadAsArray(11, 7, 20, 30) == wanted[7:37, 11:31]).all()


def test_the_archive_of_a_scene_is_read(keep):
    data = Scene(five_channels()).bytes()
    gdal.FileFromMemBuffer("/vsimem/plain", data)
    archive = gdal.VSIFOpenL("/vsizip//vsimem/a.zip/scene.zel", "wb")
    gdal.VSIFWriteL(data, 1, len(data), archive)
    gdal.VSIFCloseL(archive)
    dataset = opened("/vsizip//vsimem/a.zip/scene.zel")
    assert pixels(dataset, 5) == five_channels()[11].pixels


def test_no_other_driver_claims_the_file_and_ours_claims_no_other(keep):
    files = {"a.zel": Scene(five_channels()).bytes(),
             "b.zel": Scene(five_channels(), version=132, big_endian=True).bytes(),
             "c.zel": composite([Scene(five_channels()), Scene(five_channels(), resolution=60.0)])}
    others = [gdal.GetDriver(k).ShortName for k in range(gdal.GetDriverCount())]
    others = [name for name in others if name not in ("ZEL", "VORN")]
    for name, data in files.items():
        path = keep(data, name)
        assert gdal.IdentifyDriver(path).ShortName == "ZEL"
        gdal.PushErrorHandler("CPLQuietErrorHandler")
        try:
            assert gdal.OpenEx(path, gdal.OF_RASTER, others) is None
        except RuntimeError:
            pass
        finally:
            gdal.PopErrorHandler()


def old_header(version=1.32, slots=20, year=2001, day=123, pixels=4, points=2, sensor=5):
    """The start of a file without a prefix."""
    return struct.pack("<f5h3ih", version, slots, year, day, 7, pixels, points, 0, 3,
                       sensor).ljust(2000, b"\0")


def test_a_file_without_a_prefix_is_known_by_its_numbers(keep):
    assert gdal.IdentifyDriverEx(keep(old_header()), gdal.OF_RASTER, ["ZEL"]) is not None


@pytest.mark.parametrize("data", [
    b"ZEL", b"ZEL2.3\0", b"ZELDA is no scene".ljust(2000), b"ZEL2.3" * 400, b"\0" * 4000,
    struct.pack("<1000f", *[1.0] * 1000),           # raw floats of 1
    old_header(version=1.325),       # a number between two versions
    old_header(version=2.3),         # a version whose files have a prefix
    old_header(slots=0), old_header(slots=1001), old_header(year=1200), old_header(day=367),
    old_header(pixels=0), old_header(points=-1), old_header(sensor=14)])
def test_what_is_no_scene_is_left_to_others(keep, data):
    assert gdal.IdentifyDriverEx(keep(data), gdal.OF_RASTER, ["ZEL"]) is None


def test_the_list_of_files_is_complete(keep):
    path = keep(Scene(five_channels()).bytes())
    assert opened(path).GetFileList() == [path]


def test_reading_leaves_no_file_behind(keep):
    path = keep(Scene(five_channels()).bytes())
    dataset = opened(path)
    dataset.GetRasterBand(1).ReadAsArray()
    dataset = None
    assert gdal.ReadDir("/vsimem/") == ["scene.zel"]


def test_an_update_is_refused(keep, messages):
    path = keep(Scene(five_channels()).bytes())
    assert gdal.Open(path, gdal.GA_Update) is None
    assert "cannot be updated" in messages.text()


def test_many_files_are_open_at_once(keep):
    datasets = []
    for k in range(300):
        scene = Scene({0: Channel(5, [[k, 2 * k]])}, slots=3, version=141, big_endian=k % 2 == 1)
        datasets.append(opened(keep(scene.bytes(), "scene%d" % k)))
    for k, dataset in enumerate(datasets):
        assert pixels(dataset, 1) == [[k, 2 * k]]


def test_threads_read_a_dataset_each(keep):
    from concurrent.futures import ThreadPoolExecutor
    little = keep(Scene(five_channels(), version=141, slots=1000).bytes(), "little")
    big = keep(Scene(five_channels(), version=141, slots=1000,
                     big_endian=True).bytes(), "big")

    def check(k):
        dataset = opened(big if k % 2 else little)
        return all(pixels(dataset, b) == c.pixels for b, c in enumerate(five_channels().values(), 1))

    with ThreadPoolExecutor(8) as threads:
        assert all(threads.map(check, range(200)))
