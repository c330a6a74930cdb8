"""Writing scenes: what is in the file, as a reader that shares nothing with the package sees it."""
import os
import stat
import warnings
from datetime import date, datetime, timedelta, timezone

import numpy as np
import pytest

import zel
import zelfile
from samples import container, five_channels, navigated
from scenes import Scene

NOON = datetime(2024, 2, 29, 12, 0)


def parsed(path):
    return zelfile.parse(path.read_bytes())


def rows(channel):
    return [list(row) for row in channel.rows]


def test_arrays_are_stored_by_their_type(tmp_path):
    path = tmp_path / "new.zel"
    data = {"bytes": np.array([[1, 2, 3], [4, 5, 255]], np.uint8),
            "words": np.array([[1, 2, 3], [4, 5, 65535]], ">u2"),
            "floats": [[0.5, -1.5, 1e20], [1, 2, 3]], "truth": np.eye(2, 3, dtype=bool)}
    zel.write(path, data, start=NOON)
    file = parsed(path)
    assert (file.version_text, file.year, file.julian, file.pixels) == (b"2.3", 2024, 60, 3)
    assert [line.time for line in file.lines] == [12.0, 12.0]
    assert [(line.left, line.right, line.nadir) for line in file.lines] == [(0, 2, 0)] * 2
    found = [file.channels[k] for k in range(4)]
    assert [c.type for c in found] == [3, 5, 4, 4]
    assert [c.label for c in found] == [b"bytes", b"words", b"floats", b"truth"]
    assert [c.bits for c in found] == [8, 16, 32, 32]
    assert rows(found[0]) == [[1, 2, 3], [4, 5, 255]]
    assert rows(found[1]) == [[1, 2, 3], [4, 5, 65535]]
    assert rows(found[2]) == [[0.5, -1.5, float(np.float32(1e20))], [1, 2, 3]]
    assert rows(found[3]) == [[1, 0, 0], [0, 1, 0]]


def test_values_are_spread_over_a_range_and_rounded(tmp_path):
    path = tmp_path / "new.zel"
    values = [[-1.0, 0.25, 1.0, -0.49, -0.51]]
    zel.write(path, [zel.NewChannel(values, "a", zel.Storage.BYTE_SCALED, -1.0, 1.0),
                     zel.NewChannel(values, "b", min=-1.0, max=1.0)], start=NOON)
    first, second = (parsed(path).channels[k] for k in (0, 1))
    # number = (value + 1) * 255 / 2 and * 65535 / 2, to the nearest
    assert (first.type, first.min, first.max) == (1, -1.0, 1.0)
    assert rows(first) == [[0, 159, 255, 65, 62]]
    assert second.type == 2
    assert rows(second) == [[0, 40959, 65535, 16711, 16056]]


def test_values_that_do_not_fit_are_warned_of(tmp_path):
    channel = zel.NewChannel([[-5.0, 5.0, np.nan]], "a", min=0.0, max=1.0)
    with pytest.warns(UserWarning) as caught:
        zel.write(tmp_path / "a", [channel], start=NOON)
    assert [str(w.message) for w in caught] == [
        "1 values of 'a' are NaN and stored as its lowest number",
        "2 values of 'a' are outside of its range"]
    assert rows(parsed(tmp_path / "a").channels[0]) == [[0, 65535, 0]]
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        zel.write(tmp_path / "b", [zel.NewChannel([[np.nan, 1.0]], storage=zel.Storage.BYTE,
                                                  missing=255.0)], start=NOON)
    assert rows(parsed(tmp_path / "b").channels[0]) == [[255, 1]]


def test_stored_numbers_are_kept(tmp_path):
    numbers = np.arange(256, dtype=np.uint8).reshape(16, 16)
    zel.write(tmp_path / "a", [zel.NewChannel(numbers, storage=zel.Storage.BYTE_SCALED, min=-0.1,
                                              max=6.4535, raw=True)], start=NOON)
    assert rows(parsed(tmp_path / "a").channels[0]) == numbers.tolist()
    with pytest.raises(TypeError, match="uint16"):
        zel.write(tmp_path / "b", [zel.NewChannel(numbers, min=0.0, max=1.0, raw=True)], start=NOON)


def test_values_of_a_scene_give_its_numbers_back(tmp_path):
    numbers = np.arange(65536, dtype=np.uint16).reshape(256, 256)
    facts = dict(storage=zel.Storage.UINT16_SCALED, min=-0.1, max=6.4535)
    zel.write(tmp_path / "a", [zel.NewChannel(numbers, raw=True, **facts)], start=NOON)
    values = zel.open(tmp_path / "a").channels[1].values
    zel.write(tmp_path / "b", [zel.NewChannel(values, **facts)], start=NOON)
    assert np.array_equal(zel.open(tmp_path / "b").channels[1].raw, numbers)


def test_a_channel_has_unit_wavelength_comment_and_slot(tmp_path):
    one = np.zeros((1, 2), np.uint8)
    zel.write(tmp_path / "a", [
        zel.NewChannel(one, "T", unit=zel.Unit.KELVIN, wavelength=10.5, comment="Wärme", slot=4,
                       bits=6, is_base=True, tables=[zel.Table(3, "gain", np.array([1.0, 2.5]))]),
        zel.NewChannel(one)], start=NOON)
    channel = parsed(tmp_path / "a").channels[4]
    assert (channel.label, channel.units, channel.wavelength) == (b"T", 1, 10.5)
    assert (channel.comment, channel.bits, channel.base_flag) == ("Wärme".encode(), 6, 1)
    assert [(t.key, t.label, t.values) for t in channel.tables] == [(3, b"gain", [1.0, 2.5])]
    assert [c.slot for c in zel.open(tmp_path / "a").channels] == [4, 5]


def test_the_header_has_the_facts(tmp_path):
    zel.write(tmp_path / "a", {"a": [[1.0]]}, start=date(2023, 12, 31), sensor=zel.Sensor.MODIS,
              satellite=9, altitude=705.0, resolution=250.0, comment="coast",
              metadata=zel.Metadata(3, "some text"), tables=[zel.Table(1, "t", np.array([7.0]))])
    file = parsed(tmp_path / "a")
    assert (file.year, file.julian, file.satellite, file.data_type) == (2023, 365, 9, 7)
    assert (file.altitude, file.resolution, file.comment) == (705.0, 250.0, b"coast")
    assert (file.meta_type, file.meta_size, file.metadata) == (3, 9, b"some text")
    assert [(t.key, t.values) for t in file.tables] == [(1, [7.0])]
    assert file.lines[0].time == 0.0


def test_times_are_those_of_the_lines(tmp_path):
    east = timezone(timedelta(hours=2))
    zel.write(tmp_path / "a", {"a": np.zeros((3, 1))}, start=datetime(2024, 1, 1, 1, tzinfo=east),
              end=datetime(2023, 12, 31, 23, 30))
    file = parsed(tmp_path / "a")
    assert (file.year, file.julian) == (2023, 365)
    assert [line.time for line in file.lines] == [23.0, 23.25, 23.5]
    moments = np.array(["2024-01-01T23:00", "NaT", "2024-01-02T01:00"], "datetime64[ns]")
    zel.write(tmp_path / "b", {"a": np.zeros((3, 1))}, times=moments)
    assert [line.time for line in parsed(tmp_path / "b").lines] == [23.0, 0.0, 25.0]
    with pytest.warns(UserWarning, match="first day of 1900"):
        zel.write(tmp_path / "c", {"a": np.zeros((3, 1))})
    assert (parsed(tmp_path / "c").year, parsed(tmp_path / "c").julian) == (1900, 1)


def test_navigation_points_come_from_positions(tmp_path):
    lat = np.linspace(50, 40, 5)[:, None] + np.linspace(0, 1, 25)
    lon = np.linspace(-10, 10, 25) + np.zeros((5, 1))
    zel.write(tmp_path / "a", {"a": np.zeros((5, 25))}, start=NOON, latitude=lat, longitude=lon,
              navigation_interval=8)
    file = parsed(tmp_path / "a")
    assert (file.nav_points, file.nav_start, file.nav_interval) == (4, 0, 8)
    assert file.lines[1].lat == lat[1, ::8].astype(np.float32).tolist()
    assert file.lines[1].lon == lon[1, ::8].astype(np.float32).tolist()
    places = zel.open(tmp_path / "a").positions()
    assert np.abs(places.latitude - lat).max() < 1e-4
    assert np.abs(places.longitude - lon).max() < 1e-4


def test_navigation_points_may_be_given(tmp_path):
    points = zel.TiePoints(np.array([1, 3]), np.array([[1.0, 2.0]]), np.array([[3.0, 4.0]]))
    zel.write(tmp_path / "a", {"a": np.zeros((1, 5))}, start=NOON, tie_points=points)
    file = parsed(tmp_path / "a")
    assert (file.nav_points, file.nav_start, file.nav_interval) == (2, 1, 2)
    assert (file.lines[0].lat, file.lines[0].lon) == ([1.0, 2.0], [3.0, 4.0])


def test_each_file_of_a_process_has_its_classes(tmp_path):
    for n, name in enumerate(("a", "b")):
        classes = zel.Classes(["sea " + name, "land"], [[n, 2, 3], [4, 5, 6]], "cover")
        zel.write(tmp_path / name, [zel.NewChannel(np.eye(2, dtype=np.uint8), "map",
                                                   classes=classes)], start=NOON)
    for n, name in enumerate(("a", "b")):
        file = parsed(tmp_path / name)
        assert [(lut.label, lut.entries) for lut in file.luts] == [
            (b"cover", [(n, 2, 3, b"sea " + name.encode()), (4, 5, 6, b"land")])]
        assert (file.channels[0].comment, file.channels[0].units) == (b"cover", 5)
        assert zel.open(tmp_path / name).channels["map"].classes.names == ["sea " + name, "land"]


def test_histograms_are_kept_unless_not_wanted(tmp_path):
    data = {"a": np.array([[1, 1, 7, 9]] * 2, np.uint8)}
    zel.write(tmp_path / "a", data, start=NOON)
    zel.write(tmp_path / "b", data, start=NOON, histograms=False)
    histogram = zel.open(tmp_path / "a").channels["a"].histogram
    assert histogram.counts.sum() == 6  # never the last pixel of a line
    assert zel.open(tmp_path / "b").channels["a"].histogram is None


def test_a_scene_gives_what_is_not_given(keep, tmp_path):
    scene = zel.open(keep(navigated(year=2024, day=60, metadata="text").bytes()))
    zel.write(tmp_path / "a", {"new": np.zeros((3, 5))}, like=scene, satellite=99)
    file = parsed(tmp_path / "a")
    assert (file.year, file.julian, file.satellite, file.altitude) == (2024, 60, 99, 700.0)
    assert [line.time for line in file.lines] == [11.5, 11.5, 11.75]
    assert [line.lat for line in file.lines] == [[40.0, 42.0], [30.0, 34.0], [20.0, 20.0]]
    assert (file.nav_start, file.nav_interval, file.metadata) == (1, 2, b"text")
    assert (file.lines[0].nadir, file.lines[0].nadir_lat) == (-1, 41.0)
    with pytest.warns(UserWarning, match="another shape"):
        zel.write(tmp_path / "b", {"new": np.zeros((2, 5))}, like=scene)


def test_channels_of_a_scene_are_copied_as_they_are(keep, tmp_path):
    scene = zel.open(keep(Scene(five_channels(), version=141, big_endian=True).bytes()))
    zel.write(tmp_path / "a", scene.channels, like=scene)
    file = parsed(tmp_path / "a")
    for slot, wanted in enumerate(five_channels().values()):
        got = file.channels[slot]
        assert rows(got) == wanted.pixels
        assert (got.type, got.units, got.min, got.max) == (
            wanted.code, wanted.units, wanted.low, wanted.high)
    zel.write(tmp_path / "b", {"fine": zel.open(keep(container(), "c")).channels["fine"]},
              start=NOON)
    assert parsed(tmp_path / "b").channels[0].label == b"fine"


def test_angles_are_channels(tmp_path):
    plane = np.zeros((1, 2))
    zel.write(tmp_path / "a", {"x": plane, "s": plane + 1, "v": plane + 2, "z": plane + 3},
              start=NOON, angles=("s", "v", "z"))
    assert parsed(tmp_path / "a").angles == (1, 2, 3)
    assert zel.open(tmp_path / "a").angles().relative_azimuth.tolist() == [[3.0, 3.0]]
    with pytest.raises(ValueError, match="angles"):
        zel.write(tmp_path / "b", {"x": plane}, start=NOON, angles=("s", "v", "z"))


@pytest.mark.parametrize("channels,more", [
    ({}, {}), ({"a": [1, 2]}, {}), ({"a": [[1]], "b": [[1, 2]]}, {}), ({"a": [["text"]]}, {}),
    ({"l" * 120: [[1]]}, {}), ({"a": [[1]]}, {"comment": "c" * 2001}),
    ({"a": [[1]]}, {"metadata": zel.Metadata(1, "c" * 20001)}),
    ({"a": [[1]]}, {"start": date(99, 1, 1)}),
    ({"a": [[1]]}, {"latitude": [[1]]}), ({"a": [[1]]}, {"latitude": [1], "longitude": [1]}),
    ({"a": [[1]]}, {"times": np.array(["2024-01-01"] * 2, "datetime64")}),
    ([zel.NewChannel([[1]], slot=1000)], {}), ([zel.NewChannel([[1]], slot=-1)], {}),
    ([zel.NewChannel([[1]], slot=1), zel.NewChannel([[1]], slot=1)], {}),
    ({"a": np.zeros((1, 40000), np.uint8)}, {}), ({"a": np.zeros((1, 0), np.uint8)}, {})])
def test_what_does_not_fit_is_an_error_and_leaves_nothing(tmp_path, channels, more):
    with pytest.raises((ValueError, TypeError, zel.ZelError)):
        zel.write(tmp_path / "a", channels, **{"start": NOON, **more})
    assert os.listdir(tmp_path) == []


def test_an_existing_file_is_replaced_only_on_demand(tmp_path):
    path = tmp_path / "a"
    path.write_bytes(b"old")
    path.chmod(0o640)
    with pytest.raises(FileExistsError, match="overwrite=True"):
        zel.write(path, {"a": [[1]]}, start=NOON)
    assert path.read_bytes() == b"old"
    zel.write(path, {"a": [[1]]}, start=NOON, overwrite=True)
    assert zel.open(path).shape == (1, 1)
    assert stat.S_IMODE(path.stat().st_mode) == 0o640
    assert os.listdir(tmp_path) == ["a"]


def test_a_scene_may_be_written_over_itself(keep):
    path = keep(Scene(five_channels()).bytes())
    scene = zel.open(path)
    zel.write(path, [scene.channels["byte"]], like=scene, overwrite=True)
    assert parsed(path).channels[0].label == b"byte"
    still = scene.channels["float"].raw  # of the old file
    assert still[:].tolist() == five_channels()[7].pixels


class Failing:
    shape, dtype = (100, 3), np.dtype(np.uint8)

    def __getitem__(self, lines):
        if lines.start > 0:
            raise RuntimeError("no more")
        return np.zeros((lines.stop - lines.start, 3), np.uint8)


def test_data_that_fail_leave_no_file(tmp_path):
    (tmp_path / "old").write_bytes(b"old")
    for name in ("new", "old"):
        with pytest.raises(RuntimeError, match="no more"):
            zel.write(tmp_path / name, {"a": Failing()}, start=NOON, overwrite=True)
    assert os.listdir(tmp_path) == ["old"]
    assert (tmp_path / "old").read_bytes() == b"old"


def test_a_directory_that_is_not_there_is_an_error(tmp_path):
    with pytest.raises(FileNotFoundError):
        zel.write(tmp_path / "no" / "a", {"a": [[1]]}, start=NOON)


def test_big_endian_scenes_are_read_while_others_are_written(keep, tmp_path):
    scene = zel.open(keep(Scene(five_channels(), version=141, big_endian=True).bytes()))
    view = scene.view()

    class Reading:
        shape, dtype = (3, 4), np.dtype(np.uint16)

        def __getitem__(self, lines):
            return view.channels["16-bit"].raw[lines]
    zel.write(tmp_path / "a", {"a": Reading()}, start=NOON)
    assert rows(parsed(tmp_path / "a").channels[0]) == five_channels()[11].pixels


def test_xarray_gives_units_and_wavelengths(tmp_path):
    xarray = pytest.importorskip("xarray")
    data = xarray.DataArray([[280.0, 281.0]], dims=("y", "x"), name="T",
                            attrs={"units": "K", "wavelength": 11.0})
    zel.write(tmp_path / "a", [data], start=NOON)
    channel = zel.open(tmp_path / "a").channels["T"]
    assert (channel.unit, channel.wavelength) == (zel.Unit.KELVIN, 11.0)
    assert channel.values.tolist() == [[280.0, 281.0]]
