"""A file as the command zel and the driver of GDAL have it, beside what the package says: pixels,
facts, lines, navigation, LUTs, tables and histograms."""
import json
import os
import subprocess

import numpy as np

from conftest import PROGRAMS

try:
    from osgeo import gdal
    gdal.UseExceptions()
    HAS_DRIVER = gdal.GetDriverByName("ZEL") is not None
except ImportError:
    HAS_DRIVER = False
ZEL = os.path.join(PROGRAMS, "zel")
HEADER = {"sat_no": "satellite", "year": "year", "julian": "day_of_year",
          "DataComment": "comment"}
LINES = {"ScanAltitude": "altitude", "NadirPixel": "nadir_pixel", "NadirLat": "nadir_latitude",
         "NadirLon": "nadir_longitude"}


def floats(text):
    return np.array(text.split(), np.float64).astype(np.float32)


def dumped(path):
    """The values of all fields, by record and name."""
    done = subprocess.run([ZEL, "dump", "--json", "--pixels", "--all", str(path)],
                          capture_output=True, check=True)
    fields = map(json.loads, done.stdout.splitlines())
    return {(f["record"], f["name"]): text_of(f) for f in fields}


def text_of(field):
    """The value of a field; the command shows a backslash in a text as two."""
    value = field["value"]
    return value.replace("\\\\", "\\") if field["type"] == "text" else value


def check_dump(path, scene):
    fields = dumped(path)
    for name, own in HEADER.items():
        assert fields["header", name] == str(getattr(scene, own))
    assert fields["header", "DataType"] == str(int(scene.sensor))
    for name, own in (("SatelliteAltitude", scene.altitude),
                      ("SpatialResolution", scene.resolution)):
        assert floats(fields["header", name]) == [np.float32(own)]
    check_luts(fields, scene)
    check_tables(fields, "header", scene.tables)
    for channel in scene.channels:
        check_channel(fields, channel)
    check_lines(fields, scene)


def check_luts(fields, scene):
    assert fields["header", "NumDisplayLUTs"] == str(len(scene.luts))
    for k, lut in enumerate(scene.luts):
        record = f"header LUT {k}"
        assert fields[record, "DisplayLUTLabel"] == lut.label
        assert fields[record, "DisplayLUTKeyValue"] == str(lut.key)
        assert fields[record, "NumLUTValues"] == str(len(lut))
        for entry in lut:
            found = [fields[f"{record} entry {entry.value}", name]
                     for name in ("LUTEntryLabel", "R", "G", "B")]
            assert found == [entry.name, *map(str, entry.colour)]


def check_tables(fields, owner, tables):
    for k, table in enumerate(tables):
        record = f"{owner} table {k}"
        assert fields[record, "TableLabel"] == table.label
        assert fields[record, "TableKeyValue"] == str(table.key)
        assert floats(fields[record, "value"]).tolist() == table.values.tolist()


def check_channel(fields, channel):
    record = f"channel {channel.slot}"
    for name, own in (("ChannelLabel", channel.label), ("ChannelComment", channel.comment),
                      ("Type", str(int(channel.storage))), ("Units", str(int(channel.unit))),
                      ("DataBitResolution", str(channel.bits)),
                      ("BaseChannelFlag", str(int(channel.is_base)))):
        assert fields[record, name] == own
    assert floats(fields[record, "ChannelWaveLength"]) == [np.float32(channel.wavelength or 0)]
    if channel.min is not None:
        assert floats(fields[record, "MinValue"]) == [np.float32(channel.min)]
        assert floats(fields[record, "MaxValue"]) == [np.float32(channel.max)]
    check_tables(fields, record, channel.tables)
    counts = fields.get((f"{record} histogram", "histogram counts"))
    known = None if counts is None else list(map(int, counts.split()))
    assert known == (channel.histogram and channel.histogram.counts.tolist())
    if known:
        for name in ("Min", "Max"):
            assert floats(fields[f"{record} histogram", name]) == [
                np.float32(getattr(channel.histogram, name.lower()))]


def check_lines(fields, scene):
    lines, points = scene.lines, scene.tie_points()
    for n in range(len(lines)):
        record = f"line {n}"
        assert abs(float(fields[record, "ScanTime"]) - lines.hours[n]) < 1e-8
        sides = [fields[record, name] for name in ("LeftPixel", "RightPixel")]
        assert sides == list(map(str, lines.padding[n]))
        for name, own in LINES.items():
            assert floats(fields[record, name]) == [np.float32(getattr(lines, own)[n])]
        for name, own in (("LatBuffer", points.latitude), ("LonBuffer", points.longitude)):
            assert floats(fields.get((record, name), "")).tolist() == own[n].tolist()
        for channel in scene.channels:
            numbers = np.array(fields[f"{record} channel {channel.slot}", "pixels"].split())
            assert numbers.astype(channel.raw.dtype).tobytes() == channel.raw[n].tobytes()


def check_driver(path, scene):
    dataset = gdal.Open(str(path))
    assert dataset.RasterCount == len(scene.channels)
    assert (dataset.RasterYSize, dataset.RasterXSize) == scene.shape
    facts = dataset.GetMetadata()
    assert facts["SATELLITE_NUMBER"] == str(scene.satellite)
    assert facts.get("COMMENT", "") == scene.comment
    assert np.float32(facts.get("RESOLUTION_M", 0)) == np.float32(scene.resolution)
    values = gdal.OpenEx(str(path), open_options=["UNSCALE=YES"])
    for number, channel in enumerate(scene.channels, 1):
        check_band(dataset.GetRasterBand(number), channel)
        decoded = values.GetRasterBand(number).ReadAsArray().astype(np.float32)
        assert decoded.tobytes() == channel.values.tobytes()
    check_points(dataset, scene)


def check_band(band, channel):
    assert band.ReadAsArray().tobytes() == channel.raw[:].tobytes()
    facts = band.GetMetadata()
    assert (facts["SLOT"], facts["BIT_DEPTH"]) == (str(channel.slot), str(channel.bits))
    assert facts.get("BASE_CHANNEL") == ("YES" if channel.is_base else None)
    assert (band.GetDescription(), facts.get("COMMENT", "")) == (channel.label, channel.comment)
    if channel.wavelength is not None:
        assert np.float32(facts["WAVELENGTH_UM"]) == np.float32(channel.wavelength)
    if channel.scaling is not None:
        assert np.allclose((band.GetScale(), band.GetOffset()), channel.scaling, rtol=1e-12)
    if channel.classes and channel.raw.dtype == np.uint8:
        assert (band.GetCategoryNames() or [])[:len(channel.classes)] == channel.classes.names
        table = band.GetColorTable()
        for entry in channel.classes:
            assert table.GetColorEntry(entry.value)[:3] == entry.colour
    stored = band.GetDefaultHistogram(force=0)
    if stored is not None and channel.histogram is not None:
        assert stored[3] == channel.histogram.counts.tolist()


def check_points(dataset, scene):
    points = scene.tie_points()
    items = dataset.GetMetadata("GEOLOCATION") or {}
    if not items:
        assert len(points.pixels) < 2
        return
    step, offset = float(items["PIXEL_STEP"]), float(items["PIXEL_OFFSET"])
    before = round((points.pixels[0] + 0.5 - offset) / step - 0.5)  # columns that go on to the left
    there = slice(before, before + len(points.pixels))
    for key, own in (("Y", points.latitude), ("X", points.longitude)):
        found = gdal.Open(items[key + "_DATASET"]).ReadAsArray()[:, there]
        assert found.astype(np.float32).tobytes() == own[:, :found.shape[1]].tobytes()
