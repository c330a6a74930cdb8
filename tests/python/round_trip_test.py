"""Scenes that become datasets, and scenes again: with all that they had."""
from dataclasses import replace
from datetime import date, datetime

import numpy as np
import pytest

import maskfile
import zel
from zel.new_channel import new_channels

xr = pytest.importorskip("xarray")

SHAPE = (5, 6)
NUMBERS = np.random.default_rng(5).integers(0, 65536, SHAPE).astype(np.uint16)
CLASSES = zel.Classes(["none", "snow / ice"], [[0, 0, 0], [1, 2, 3]], "Kinds", 7)


def plane(value):
    return np.full(SHAPE, value, np.float32)


def rich(path, **more):
    """A file with all that the format has. Its histograms are counted from values in between those
    that are stored."""
    own = zel.Table(3, "curve", np.float32([0.5, -2.0]))
    heat = np.linspace(199.7, 300.3, 30).reshape(SHAPE)
    channels = [
        zel.NewChannel(NUMBERS, "B1", zel.Storage.UINT16_SCALED, -0.1, 1.2, zel.Unit.REFLECTANCE,
                       0.65, "red", raw=True, bits=12, is_base=True, slot=2, tables=[own]),
        zel.NewChannel(heat, "T", zel.Storage.BYTE_SCALED, 180.0, 330.0, zel.Unit.KELVIN, 11.0,
                       slot=3),
        zel.NewChannel(NUMBERS.astype(np.uint8) % 2, "map", comment="KINDS", classes=CLASSES,
                       slot=5, raw=True, unit=zel.Unit.NONE),
        zel.NewChannel(heat - 250, "day", unit=zel.Unit.DAYTIME, slot=9),
        *(zel.NewChannel(plane(k), label, slot=20 + k) for k, label in enumerate("sva"))]
    zel.write(path, channels, start=datetime(2024, 2, 29, 11, 30),
              end=datetime(2024, 2, 29, 11, 31),
              tie_points=zel.TiePoints(np.array([1, 4]), np.arange(10).reshape(5, 2) / 7,  # by day
                                       np.arange(10).reshape(5, 2) / 3),
              sensor=zel.Sensor.MODIS, satellite=4, altitude=705.3, resolution=31.25,
              comment=" a scene ", metadata=zel.Metadata(5, "notes"), angles=list("sva"),
              tables=[zel.Table(1, "solar", np.float32([1.5]))],
              luts=[zel.Classes(["a"], [[9, 9, 9]], "unused", 30)], **more)
    lines = zel.open(path).lines
    lines.hours = lines.hours + 1 / 3e9
    lines.altitude = np.arange(5, dtype=np.float32) + 700.1
    lines.padding = np.array([[0, 5], [1, 4], [0, 3], [2, 5], [0, 5]], np.int32)
    lines.nadir_pixel = np.array([-7, 0, 2, 3, 99], np.int32)
    lines.nadir_latitude, lines.nadir_longitude = lines.altitude / 10, -lines.altitude / 9
    scene = zel.open(path)
    zel.write(path, copied(scene), like=scene, lines=lines, start=scene.date, overwrite=True)
    return path


def copied(scene):
    """The channels of a scene, in their slots."""
    return [replace(new, slot=old.slot)
            for new, old in zip(new_channels(scene.channels), scene.channels)]


@pytest.fixture
def there(tmp_path):
    return rich(tmp_path / "there.zel")


def opened(path, **options):
    return xr.open_dataset(path, engine="zel", **options)


def parts(scene):
    """What a scene says, without the places of things in the file."""
    facts = {k: v for k, v in scene._facts.items() if k not in ("first_line", "line_size")}
    return repr([facts, vars(scene.lines), scene.tie_points()])


@pytest.mark.parametrize("chunks", [None, {"y": 2}])
@pytest.mark.parametrize("is_decoded", [True, False])
@pytest.mark.filterwarnings("ignore:The specified Dask chunks")
def test_a_file_becomes_itself(there, tmp_path, chunks, is_decoded):
    found = opened(there, chunks=chunks, mask_and_scale=is_decoded, decode_times=is_decoded)
    found.zel.to_file(tmp_path / "new.zel")
    assert parts(zel.open(tmp_path / "new.zel")) == parts(zel.open(there))
    assert (tmp_path / "new.zel").read_bytes() == there.read_bytes()


def test_facts_that_are_not_in_the_dataset_come_back(there, tmp_path):
    """The same, by hand: what was written is what is there."""
    opened(there).zel.to_file(tmp_path / "new.zel")
    scene = zel.open(tmp_path / "new.zel")
    first = scene.channels["B1"]
    assert (first.bits, first.is_base, first.slot, first.tables[0].key) == (12, True, 2, 3)
    assert first.tables[0].values.tolist() == [0.5, -2.0]
    assert [(lut.label, lut.key) for lut in scene.luts] == [("Kinds", 7), ("unused", 30)] or [
        (lut.label, lut.key) for lut in scene.luts] == [("unused", 30), ("Kinds", 7)]
    assert scene.channels["map"].comment == "KINDS"
    assert scene.channels["map"].unit is zel.Unit.NONE
    assert scene.channels["day"].unit is zel.Unit.DAYTIME
    assert (scene.comment, scene.metadata) == (" a scene ", zel.Metadata(5, "notes"))
    assert scene.resolution == 31.25 and scene.altitude == np.float32(705.3)
    assert scene.tables[0].label == "solar"
    assert scene.lines.padding.tolist() == [[0, 5], [1, 4], [0, 3], [2, 5], [0, 5]]
    assert scene.lines.nadir_pixel.tolist() == [-7, 0, 2, 3, 99]
    assert scene.lines.altitude.tolist() == (np.arange(5, dtype=np.float32) + 700.1).tolist()
    assert scene.angles().view_zenith.tolist() == plane(1).tolist()


def test_masks_come_back(tmp_path):
    known = maskfile.full_mask(3)
    zel.write(tmp_path / "a", [zel.NewChannel(NUMBERS, "map", mask=maskfile.mask_bytes(known))],
              start=date(2024, 1, 1))
    opened(tmp_path / "a").zel.to_file(tmp_path / "b")
    channel = zel.open(tmp_path / "b").channels["map"]
    assert channel.mask.classifiers == len(known.classifiers) > 0
    found = maskfile.parse_mask(channel.mask_bytes())
    found = found[0] if isinstance(found, tuple) else found
    for name in ("label", "comment", "conditions", "pre_program", "type", "title", "comments"):
        assert getattr(found, name) == getattr(known, name)
    assert [c.data for c in found.classifiers] == [c.data for c in known.classifiers]
    view = zel.open(tmp_path / "b").view()
    with pytest.raises(TypeError, match="view"):
        view.channels["map"].mask_bytes()


def test_what_attributes_say_counts_more(there, tmp_path):
    found = opened(there)
    found.attrs.update(title="other", satellite_number=9, instrument="GOES", metadata="more")
    found["T"].attrs.update(units="degC", wavelength=12.0, long_name="heat")
    found["map"].attrs["flag_meanings"] = "a b"
    del found["map"].attrs["class_names"]
    found.zel.to_file(tmp_path / "new.zel")
    scene = zel.open(tmp_path / "new.zel")
    assert (scene.comment, scene.satellite, scene.sensor.name) == ("other", 9, "GOES")
    assert scene.metadata.text == "more"
    heat = scene.channels["heat"]
    assert (heat.unit, heat.wavelength) == (zel.Unit.CELSIUS, 12.0)
    assert scene.channels["map"].classes.names == ["a", "b"]


def test_other_pixels_have_other_histograms(there, tmp_path):
    found = opened(there).load()
    found["T"][0, 0] = 250.0  # the lowest
    found.zel.to_file(tmp_path / "new.zel")
    new, old = zel.open(tmp_path / "new.zel"), zel.open(there)
    assert old.channels["T"].histogram.min < 200 < new.channels["T"].histogram.min
    assert new.channels["day"].histogram.counts.tolist() == old.channels[
        "day"].histogram.counts.tolist()


def test_a_file_without_histograms_stays_without(tmp_path):
    zel.write(tmp_path / "a", {"a": NUMBERS}, start=date(2024, 1, 1), histograms=False)
    opened(tmp_path / "a").zel.to_file(tmp_path / "b")
    assert zel.open(tmp_path / "b").channels["a"].histogram is None
    opened(tmp_path / "a").zel.to_file(tmp_path / "b", histograms=True, overwrite=True)
    assert zel.open(tmp_path / "b").channels["a"].histogram is not None


def test_chosen_lines_keep_their_facts(there, tmp_path):
    opened(there).isel(y=slice(1, None, 2)).zel.to_file(tmp_path / "new.zel")
    new, old = zel.open(tmp_path / "new.zel"), zel.open(there)
    for name, values in vars(old.lines[1::2]).items():
        assert getattr(new.lines, name).tobytes() == values.tobytes()
    assert new.channels["B1"].raw[:].tolist() == NUMBERS[1::2].tolist()


def test_chosen_pixels_have_no_padding_of_whole_lines(there, tmp_path):
    opened(there, geolocation="none").isel(x=slice(0, 4)).zel.to_file(tmp_path / "new.zel")
    new = zel.open(tmp_path / "new.zel").lines
    assert new.padding.tolist() == [[0, 3]] * 5 and new.nadir_pixel.tolist() == [1] * 5
    assert new.altitude.tolist() == zel.open(there).lines.altitude.tolist()


def test_lines_of_other_files_do_not_get_the_facts_of_the_first(there, tmp_path):
    zel.write(tmp_path / "b", {c.label: c for c in zel.open(there).channels}, like=zel.open(there),
              start=datetime(2024, 3, 1, 10))
    both = xr.concat([opened(there), opened(tmp_path / "b")], dim="y")
    late = both.isel(y=slice(5, 10))
    late.zel.to_file(tmp_path / "c")
    found = zel.open(tmp_path / "c")
    assert found.start == zel.open(tmp_path / "b").start
    assert found.lines.altitude.tolist() == [0] * 5
    both.zel.to_file(tmp_path / "d")
    assert zel.open(tmp_path / "d").lines.altitude.tolist() == [0] * 10
    twice = xr.concat([opened(there)] * 2, dim="y").drop_vars("time")
    twice.zel.to_file(tmp_path / "e", start=date(2024, 2, 29))
    assert zel.open(tmp_path / "e").lines.altitude.tolist() == [0] * 10


def test_a_file_that_is_gone_is_a_warning(there, tmp_path):
    found = opened(there).load()
    there.unlink()
    with pytest.warns(UserWarning, match="has changed or is gone"):
        found.zel.to_file(tmp_path / "new.zel")
    assert zel.open(tmp_path / "new.zel").channels["B1"].raw[:].tolist() == NUMBERS.tolist()


def test_a_file_may_be_written_over_itself(there):
    before = there.read_bytes()
    opened(there).zel.to_file(there, overwrite=True)
    assert there.read_bytes() == before


@pytest.mark.filterwarnings("ignore:saving variable", "ignore:without start")
def test_by_way_of_netcdf_pixels_and_attributes_are_kept(there, tmp_path):
    pytest.importorskip("netCDF4")
    opened(there).to_netcdf(tmp_path / "a.nc")
    with xr.open_dataset(tmp_path / "a.nc") as found:
        found.zel.to_file(tmp_path / "new.zel")
    new, old = zel.open(tmp_path / "new.zel"), zel.open(there)
    for one, other in zip(new.channels, old.channels, strict=True):
        assert one.raw[:].tolist() == other.raw[:].tolist()
        assert (one.label, one.slot) == (other.label, other.slot)
    assert new.start == old.start


def test_channels_are_copied_with_what_they_have(there, tmp_path):
    scene = zel.open(there)
    zel.write(tmp_path / "new.zel", copied(scene), like=scene)
    assert (tmp_path / "new.zel").read_bytes() == there.read_bytes()


@pytest.mark.parametrize("name", ["sentinel2_ireland_60m.zel", "goes16_maria_1km.zel",
                                  "landsat8_gulf_90m.zel", "nlcd_zion_31m.zel"])
def test_real_scenes_become_themselves(real, tmp_path, name):
    opened(real(name)).zel.to_file(tmp_path / "new.zel")
    with open(real(name), "rb") as file:
        assert (tmp_path / "new.zel").read_bytes() == file.read()
