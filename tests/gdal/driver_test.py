"""The drivers as GDAL lists them, and what every driver of GDAL does."""
import os
import subprocess
import sys
from xml.etree import ElementTree

import pytest
from osgeo import gdal, osr

from conftest import kept, opened
from scenes import Channel, Scene, composite, ramp

NAMES = ["ZEL", "VORN"]


def scene(**more):
    return Scene({0: Channel(3, ramp(8, 8)), 1: Channel(3, ramp(8, 8))}, **more)


@pytest.mark.parametrize("name", NAMES)
def test_the_driver_says_what_it_can(name):
    items = gdal.GetDriverByName(name).GetMetadata()
    for capability in ("DCAP_RASTER", "DCAP_OPEN", "DCAP_CREATECOPY", "DCAP_VIRTUALIO"):
        assert items[capability] == "YES"
    assert items["DMD_EXTENSION"] == items["DMD_EXTENSIONS"] == name.lower()
    assert items["DMD_LONGNAME"]
    assert os.path.exists(os.path.join(os.environ["ZEL_SOURCE_DIR"], items["DMD_HELPTOPIC"]))
    assert ("DMD_SUBDATASETS" in items) == (name == "ZEL")
    assert "DCAP_CREATE" not in items and "DCAP_VECTOR" not in items


@pytest.mark.parametrize("name", NAMES)
def test_types_that_it_says_to_write_are_written(name):
    driver = gdal.GetDriverByName(name)
    for word in driver.GetMetadataItem("DMD_CREATIONDATATYPES").split():
        source = gdal.GetDriverByName("MEM").Create("", 2, 2, 1, gdal.GetDataTypeByName(word))
        source.GetRasterBand(1).Fill(7)
        gdal.PushErrorHandler("CPLQuietErrorHandler")
        kept.append(driver.CreateCopy("/vsimem/copy", source, strict=0))
        gdal.PopErrorHandler()
        values = kept[-1].GetRasterBand(1).ReadAsArray()
        shift = 32768 if name == "ZEL" and word == "Int16" else 0
        assert (values == 7 + shift).all()


OPTIONS = [("ZEL", "OPEN", {"UNSCALE", "COLOR_TABLE", "GCPS"}),
           ("ZEL", "CREATION", {"YEAR", "JULIAN", "SCANTIME", "LINE_TIME", "SATELLITE", "DATATYPE",
                                "ALTITUDE", "RESOLUTION", "COMMENT", "METADATA", "NAV_INTERVAL",
                                "HISTOGRAMS"}),
           ("VORN", "OPEN", {"HEADER"}), ("VORN", "CREATION", {"BYTE_ORDER"})]


@pytest.mark.parametrize("name,kind,options", OPTIONS)
def test_options_are_listed_with_a_type_and_a_description(name, kind, options):
    text = gdal.GetDriverByName(name).GetMetadataItem("DMD_%sOPTIONLIST" % kind)
    found = list(ElementTree.fromstring(text))
    assert {option.get("name") for option in found} == options
    assert all(option.get("type") and option.get("description") for option in found)


def test_options_that_are_not_listed_are_warned_of(keep, messages):
    dataset = gdal.OpenEx(keep(scene().bytes()), open_options=["NOTHING=1", "UNSCALE=perhaps"])
    assert gdal.GetDriverByName("ZEL").CreateCopy("/vsimem/b.zel", dataset,
                                                  options=["ANYTHING=1"]) is not None
    for part in ("does not support open option NOTHING", "unexpected value for UNSCALE",
                 "does not support creation option ANYTHING"):
        assert part in messages.text()


def formats():
    """Drivers of GDAL that write files, with one of their extensions."""
    for k in range(gdal.GetDriverCount()):
        driver = gdal.GetDriver(k)
        items = driver.GetMetadata()
        if driver.ShortName in NAMES or "DCAP_RASTER" not in items:
            continue
        if "DCAP_CREATECOPY" in items or "DCAP_CREATE" in items:
            words = (items.get("DMD_EXTENSIONS") or items.get("DMD_EXTENSION") or "x").split()
            yield driver, words[0] if words else "x"


# 43981 is the first number of a Vorn raster, 1 the number of a version.
@pytest.mark.parametrize("kind,number", [(gdal.GDT_Byte, 90), (gdal.GDT_Int16, 1),
                                         (gdal.GDT_Int32, 43981), (gdal.GDT_Float32, 1),
                                         (gdal.GDT_UInt16, 43981)])
def test_files_of_other_formats_are_not_claimed(tmp_path, messages, kind, number):
    system = osr.SpatialReference()
    system.ImportFromEPSG(4326)
    source = gdal.GetDriverByName("MEM").Create("", 40, 30, 1, kind)
    source.SetGeoTransform((5, 0.1, 0, 45, 0, -0.1))
    source.SetProjection(system.ExportToWkt())
    source.GetRasterBand(1).Fill(number)
    for driver, extension in formats():
        folder = tmp_path / driver.ShortName
        folder.mkdir()
        kept.append(driver.CreateCopy(str(folder / ("a." + extension)), source, 0))
    kept.clear()
    paths = [path for path in tmp_path.glob("**/*") if path.is_file()]
    assert len(paths) > 40
    claimed = [p for p in paths if gdal.IdentifyDriverEx(str(p), gdal.OF_RASTER, NAMES)]
    assert claimed == []


def test_folders_and_files_without_content_are_not_claimed(tmp_path, keep):
    assert gdal.IdentifyDriverEx(str(tmp_path), gdal.OF_RASTER, NAMES) is None
    assert gdal.IdentifyDriverEx(keep(b""), gdal.OF_RASTER, NAMES) is None


def test_the_manager_knows_the_files(tmp_path):
    path = tmp_path / "scene.zel"
    path.write_bytes(scene().bytes())
    said = subprocess.run(["gdalmanage", "identify", path], check=True, stdout=subprocess.PIPE)
    assert said.stdout.decode() == "%s: ZEL\n" % path


SKIP = """
from osgeo import gdal
gdal.SetConfigOption("GDAL_SKIP", "ZEL")
for _ in range(2):
    gdal.AllRegister()
print([gdal.GetDriverByName(name) is not None for name in ("ZEL", "VORN")])
"""


def test_one_driver_may_be_left_out():
    said = subprocess.run([sys.executable, "-c", SKIP], check=True, stdout=subprocess.PIPE,
                          env=dict(os.environ, GDAL_SKIP="ZEL"))
    assert said.stdout.decode() == "[False, True]\n"


@pytest.mark.parametrize("setting", ["TRUE", "FALSE", "EMPTY_DIR"])
def test_the_list_of_files_does_not_depend_on_the_folder_s(keep, setting):
    path = keep(scene().bytes())
    gdal.SetConfigOption("GDAL_DISABLE_READDIR_ON_OPEN", setting)
    try:
        assert opened(path).GetFileList() == [path]
    finally:
        gdal.SetConfigOption("GDAL_DISABLE_READDIR_ON_OPEN", None)


def test_statistics_and_items_of_users_go_into_a_file_beside(keep):
    path = keep(scene().bytes())
    dataset = opened(path)
    dataset.SetMetadataItem("MINE", "yes")
    dataset.GetRasterBand(2).ComputeStatistics(False)
    kept.clear()
    dataset = None
    again = opened(path)
    assert again.GetFileList() == [path, path + ".aux.xml"]
    assert again.GetMetadataItem("MINE") == "yes"
    assert again.GetMetadataItem("SENSOR") == "LANDSAT TM"
    assert again.GetRasterBand(2).GetMetadataItem("STATISTICS_MAXIMUM") == "63"


def test_statistics_and_overviews_of_numbers_are_not_those_of_values(tmp_path):
    path = str(tmp_path / "scene.zel")
    with open(path, "wb") as stream:
        stream.write(Scene({0: Channel(1, ramp(8, 8), -1.0, 50.0)}).bytes())
    numbers = opened(path)
    assert numbers.GetRasterBand(1).ComputeStatistics(False)[:2] == [0, 63]
    numbers.BuildOverviews("NEAREST", [2])
    numbers = None
    kept.clear()
    values = opened(path, "UNSCALE=YES")
    assert values.GetRasterBand(1).GetOverviewCount() == 0
    assert values.GetRasterBand(1).GetMetadataItem("STATISTICS_MAXIMUM") is None
    assert values.GetRasterBand(1).ComputeStatistics(False)[:2] == [-1, pytest.approx(11.6)]
    values = None
    kept.clear()
    again = opened(path)
    assert again.GetRasterBand(1).GetOverviewCount() == 1
    assert again.GetRasterBand(1).GetMetadataItem("STATISTICS_MAXIMUM") == "63"
    values = opened(path, "UNSCALE=YES")
    assert values.GetRasterBand(1).GetMetadataItem("STATISTICS_MINIMUM") == "-1"


@pytest.mark.parametrize("part", ["", ":0", ":view"])
def test_overviews_go_into_a_file_beside(tmp_path, part):
    path = str(tmp_path / "scene.zel")
    with open(path, "wb") as stream:
        stream.write(composite([scene(), scene(resolution=60.0)]))
    name = 'ZEL:"%s"%s' % (path, part) if part else path
    opened(name).BuildOverviews("NEAREST", [2])
    kept.clear()
    again = opened(name)
    overview = again.GetRasterBand(1).GetOverview(0)
    assert (overview.XSize, overview.YSize) == (4, 4)
    assert [f for f in again.GetFileList() if f.endswith(".ovr")]


@pytest.mark.parametrize("part", [":0", ":view", ":0:lat", ":0:angles", ":0:lines"])
def test_no_part_is_updated(keep, messages, part):
    lats = [[0.0, 1.0]] * 8
    made = scene(lats=lats, lons=lats, interval=7)
    path = keep(composite([made, made]))
    name = 'ZEL:"%s"%s' % (path, part)
    assert gdal.Open(name) is not None
    assert gdal.Open(name, gdal.GA_Update) is None
    assert "cannot be updated" in messages.text()


def test_a_virtual_raster_over_a_part_reads_it(tmp_path):
    path = str(tmp_path / "scene.zel")
    with open(path, "wb") as stream:
        stream.write(composite([scene(), scene()], 1))
    virtual = gdal.Translate(str(tmp_path / "view.vrt"), 'ZEL:"%s":view' % path)
    virtual.FlushCache()
    assert opened(str(tmp_path / "view.vrt")).ReadAsArray().tolist() == [ramp(8, 8)] * 4


def test_a_dataset_opened_twice_is_shared_by_its_name(keep):
    name = 'ZEL:"%s":0' % keep(composite([scene(), scene()]))
    first = gdal.OpenShared(name)
    assert first.GetDescription() == name
    assert gdal.OpenShared(name).ReadAsArray().tolist() == [ramp(8, 8)] * 2


def test_a_part_of_a_file_is_neither_deleted_nor_replaced(keep, messages):
    path = keep(composite([scene(), scene()]))
    name = 'ZEL:"%s":0' % path
    driver = gdal.GetDriverByName("ZEL")
    assert driver.Delete(name) != 0
    assert "a part of a file cannot be removed" in messages.text()
    assert driver.CreateCopy(name, gdal.Open(keep(scene().bytes(), "b.zel"))) is None
    assert gdal.Open(name).ReadAsArray().tolist() == [ramp(8, 8)] * 2


def test_a_file_is_deleted_with_what_is_beside_it(keep):
    path = keep(scene().bytes())
    opened(path).GetRasterBand(1).ComputeStatistics(False)
    kept.clear()
    gdal.GetDriverByName("ZEL").Delete(path)
    assert not gdal.ReadDir("/vsimem/")
