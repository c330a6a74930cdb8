"""Plain files: pixels of all layouts in both byte orders, and what a scene says of itself."""
import os
import pickle
import signal
import threading
import time
from datetime import date, datetime, timezone

import numpy as np
import pytest

import zel
from samples import LAYOUTS, five_channels, navigated
from scenes import Channel, Scene, ramp


@pytest.mark.parametrize("version,big_endian", LAYOUTS)
def test_pixels_of_all_layouts_are_the_stored_numbers(keep, version, big_endian):
    channels = five_channels()
    scene = zel.open(keep(Scene(channels, version=version, big_endian=big_endian).bytes()))
    assert scene.shape == (3, 4)
    assert [c.slot for c in scene.channels] == list(channels)
    assert [c.label for c in scene.channels] == [c.label for c in channels.values()]
    for got, wanted in zip(scene.channels, channels.values()):
        assert got.raw[:].tolist() == wanted.pixels
        assert got.raw.dtype.isnative


@pytest.mark.parametrize("version,big_endian", LAYOUTS)
def test_values_are_those_of_the_library_to_the_bit(keep, version, big_endian):
    path = keep(Scene(five_channels(), version=version, big_endian=big_endian).bytes())
    scene = zel.open(path)
    view = scene.view()
    for own, library in zip(scene.channels, view.channels, strict=True):
        assert own.values.dtype == np.float32
        assert own.values.tobytes() == library.values.tobytes()
        assert own.raw[:].tobytes() == library.raw[:].tobytes()


def test_values_are_spread_over_the_scale_range(keep):
    scene = zel.open(keep(Scene(five_channels()).bytes()))
    first, second, third, fourth, fifth = scene.channels
    assert first.values[0].tolist() == pytest.approx([-1.0, 3.2, 7.4, 11.6], abs=1e-6)
    assert second.values[1, 0] == pytest.approx(2.0 * 4 * 5957 / 65535, abs=1e-7)
    assert third.values[0].tolist() == [0, 23, 46, 69]
    assert fourth.values[1].tolist() == [-1.0, -0.75, -0.5, -0.25]
    assert fifth.values[0].tolist() == [7, 4007, 8007, 12007]


def test_a_channel_says_what_the_file_says_of_it(keep):
    scene = zel.open(keep(Scene(five_channels()).bytes()))
    first, second, third, fourth, fifth = scene.channels
    assert (first.unit, first.storage) == (zel.Unit.KELVIN, zel.Storage.BYTE_SCALED)
    assert (first.min, first.max, first.scaling) == (-1.0, 50.0, (51 / 255, -1.0))
    assert (second.wavelength, second.bits, second.number) == (0.5, 12, 3)
    assert (third.min, third.max, third.scaling, third.wavelength) == (None,) * 4
    assert (fourth.unit.symbol, fourth.storage) == ("W m-2 um-1 sr-1", zel.Storage.FLOAT)
    assert fifth.comment == "counts"
    assert (fifth.classes, fifth.histogram, fifth.mask) == (None, None, None)


def test_unknown_codes_of_units_and_sensors_are_no_errors(keep):
    channel = Channel(3, ramp(1, 2), units=99)
    scene = zel.open(keep(Scene({0: channel}, sensor=77).bytes()))
    assert scene.channels[1].unit is zel.Unit.UNKNOWN
    assert scene.sensor is zel.Sensor.UNSUPPORTED


def test_channels_are_found_by_label_number_and_slot(keep):
    labels = {0: "B5", 4: "b5", 5: "Ch1", 6: "Red", 7: "same", 8: "same"}
    channels = {k: Channel(3, ramp(1, 2), label=label) for k, label in labels.items()}
    found = zel.open(keep(Scene(channels).bytes())).channels
    assert (found["B5"].slot, found["b5"].slot, found["RED"].slot) == (0, 4, 6)
    assert (found["Ch6"].slot, found["ch7"].slot, found[7].slot, found["#6"].slot) == (5, 6, 6, 6)
    assert found.labels == list(labels.values())
    assert "red" in found and "Ch2" not in found and 0 not in found
    with pytest.raises(zel.ChannelError, match="'Ch1' is ambiguous: #5 Ch1, #0 B5"):
        found["Ch1"]
    with pytest.raises(KeyError, match="'same' is ambiguous: #7 same, #8 same"):
        found["same"]
    with pytest.raises(zel.ChannelError, match="no channel 'B9'; there are #0 B5, #4 b5"):
        found["B9"]
    with pytest.raises(zel.ChannelError, match="no channel 'Ch0'"):
        found[0]


def test_classes_have_names_and_colours(keep):
    lut = (7, "Land Cover", [(1, 2, 3, "water"), (250, 0, 9, "sand")])
    channel = Channel(3, ramp(1, 2), label="map", comment="land cover", units=5)
    classes = zel.open(keep(Scene({0: channel}, luts=[lut]).bytes())).channels["map"].classes
    assert (len(classes), classes.label, classes.key) == (2, "Land Cover", 7)
    assert classes[1] == zel.ClassEntry(1, "sand", (250, 0, 9))
    assert classes.names == ["water", "sand"]
    assert classes.colours.tolist() == [[1, 2, 3], [250, 0, 9]]
    assert [entry.value for entry in classes] == [0, 1]


def test_a_histogram_has_its_counts_and_edges(keep):
    channel = Channel(3, ramp(1, 2), histogram=(0.0, 2.0, [5, 0, 7]))
    histogram = zel.open(keep(Scene({0: channel}).bytes())).channels[1].histogram
    assert histogram.counts.tolist() == [5, 0, 7]
    assert (histogram.min, histogram.max, histogram.pixels) == (0.0, 2.0, 12.0)
    assert histogram.edges.tolist() == [0.0, 1.0, 2.0, 3.0]


def test_a_scene_has_facts_of_natural_types(keep):
    data = navigated(year=2024, day=60, satellite=9, sensor=7, resolution=250.0, comment="über",
                     metadata="text of\nmetadata").bytes()
    scene = zel.open(keep(data))
    assert (scene.sensor, scene.satellite, scene.altitude) == (zel.Sensor.MODIS, 9, 700.0)
    assert (scene.date, scene.resolution, scene.version) == (date(2024, 2, 29), 250.0, 2.3)
    assert scene.start == datetime(2024, 2, 29, 11, 30, tzinfo=timezone.utc)
    assert scene.end == datetime(2024, 2, 29, 11, 45, tzinfo=timezone.utc)
    assert scene.comment == "über"
    assert scene.metadata == zel.Metadata(1, "text of\nmetadata")
    assert not scene.is_container and scene.components == (scene,) and scene.finest is scene


def test_a_date_that_does_not_exist_is_none(keep):
    scene = zel.open(keep(navigated(year=2023, day=366).bytes()))
    assert (scene.date, scene.start, scene.end) == (None, None, None)
    assert np.isnat(scene.lines.time).all()


def test_slices_are_those_of_numpy(keep):
    pixels = ramp(40, 30, 7, 0, 65535)
    channel = zel.open(keep(Scene({3: Channel(5, pixels)}).bytes())).channels["#3"]
    whole = np.array(pixels, np.uint16)
    for key in [np.s_[5], np.s_[-1], np.s_[2:9], np.s_[:, 4], np.s_[::3, ::7], np.s_[30:2:-4, ::-1],
                np.s_[..., 1:3], np.s_[...], np.s_[3, 4], np.s_[-2, -3], np.s_[7:7], np.s_[:, 9:2],
                np.s_[100:, 2], np.s_[..., 5, 6], np.s_[whole > 700], np.s_[[1, 2], [3, 4]]]:
        assert np.array_equal(channel.raw[key], whole[key]), key
        assert np.array_equal(channel[key], whole[key].astype(np.float32)), key
    for key in (40, -41, np.s_[0, 30]):
        with pytest.raises(IndexError):
            channel.raw[key]
    with pytest.raises(IndexError):
        channel.raw[1, 2, 3]


def test_a_lazy_array_serves_numpy(keep):
    raw = zel.open(keep(Scene(five_channels()).bytes())).channels["byte"].raw
    assert (raw.ndim, raw.size, raw.nbytes, len(raw)) == (2, 12, 12, 3)
    assert np.asarray(raw, np.float64).dtype == np.float64
    assert np.mean(raw) == 23 * 11 / 2
    assert [line.tolist() for line in raw] == [line.tolist() for line in raw[:]]


def test_a_slice_reads_only_what_it_touches(keep):
    data = Scene({0: Channel(3, ramp(9, 4), label="a")}).bytes()
    path = keep(data)
    raw = zel.open(path).channels["a"].raw
    line = (len(data) - len(Scene({0: Channel(3, ramp(8, 4))}).bytes()))
    with open(path, "r+b") as file:
        file.truncate(len(data) - 3 * line)
    assert raw[:6].tolist() == ramp(6, 4)
    with pytest.raises(zel.DamagedFileError, match="cut short"):
        raw[5:7]


def test_a_scene_and_its_arrays_are_pickled_by_path(keep, monkeypatch, tmp_path):
    keep(Scene(five_channels()).bytes())
    monkeypatch.chdir(tmp_path)
    scene = zel.open("scene.zel")
    pickled = pickle.dumps([scene, scene.channels["float"].raw, scene.channels[3].lazy_values,
                            scene.view().channels["byte"].raw])
    monkeypatch.chdir("/")
    again, raw, values, viewed = pickle.loads(pickled)
    assert again.channels.labels == scene.channels.labels
    assert raw[:].tolist() == five_channels()[7].pixels
    assert values[:].tobytes() == scene.channels[3].values.tobytes()
    assert viewed[:].tolist() == five_channels()[3].pixels


def test_a_closed_scene_says_so(keep):
    with zel.open(keep(Scene(five_channels()).bytes())) as scene:
        raw = scene.channels["byte"].raw
    assert scene.closed
    assert "closed" in repr(scene)
    with pytest.raises(ValueError, match="closed"):
        raw[0]
    with pytest.raises(ValueError, match="closed"):
        scene.positions()


def test_threads_read_one_scene(keep):
    pixels = ramp(200, 50, 3, 0, 65535)
    scene = zel.open(keep(Scene({0: Channel(5, pixels)}, lats=[[1.0, 2.0]] * 200,
                                lons=[[3.0, 4.0]] * 200, interval=10).bytes()))
    wrong = []

    def work(first):
        for n in range(first, 200, 8):
            if scene.channels[1].raw[n].tolist() != pixels[n]:
                wrong.append(n)
            if abs(float(scene.positions(n).latitude[0, 10]) - 2.0) > 1e-5:
                wrong.append(-n)
    threads = [threading.Thread(target=work, args=(k,)) for k in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert wrong == []


def test_the_repr_says_what_a_file_is(keep):
    text = repr(zel.open(keep(navigated(comment="Coast", year=2024, day=1).bytes())))
    for part in ("zel.Scene scene.zel", "Coast", "2024-01-01T11:30:00.000000Z to 2024-01-01T11:45",
                 "3 lines x 5 pixels of 30 m", "LANDSAT_TM, satellite 7", "#0 'one'"):
        assert part in text


def test_real_scenes_are_those_of_the_library(real):
    for name in ("landsat8_gulf_30m.zel", "goes16_maria_4km_v1.32_big_endian.zel",
                 "goes16_maria_4km_v1.41.zel", "nlcd_zion_31m.zel"):
        scene = zel.open(real(name))
        view = scene.view()
        for own, library in zip(scene.channels, view.channels, strict=True):
            assert own.values.tobytes() == library.values.tobytes()
        for own, library in zip(scene.positions(), view.positions()):
            assert own.tobytes() == library.tobytes()
        for own, library in zip(scene.angles(slice(0, None, 9)), view.angles(slice(0, None, 9))):
            assert own.tobytes() == library.tobytes()


@pytest.mark.parametrize("big_endian", [False, True])
def test_stored_numbers_can_be_mapped(keep, big_endian):
    scene = zel.open(keep(Scene(five_channels(), version=141, big_endian=big_endian).bytes()))
    for got, wanted in zip(scene.channels, five_channels().values()):
        mapped = got.raw.memmap()
        assert mapped.tolist() == wanted.pixels
        assert not mapped.flags.owndata and not mapped.flags.writeable
    for array in (scene.channels[1].lazy_values, scene.view().channels[1].raw):
        with pytest.raises(TypeError):
            array.memmap()


def test_a_process_may_fork_while_a_thread_uses_the_library(keep):
    path = keep(Scene(five_channels(), lats=[[1.0, 2.0]] * 3, lons=[[1.0, 2.0]] * 3,
                      interval=2).bytes())
    done = threading.Event()

    def work():
        while not done.is_set():
            zel.open(path).positions()
    thread = threading.Thread(target=work)
    thread.start()
    children = []
    for _ in range(20):
        child = os.fork()
        if child == 0:
            os._exit(0 if zel.open(path).positions().latitude.shape == (3, 4) else 1)
        children.append(child)
    results = {}
    end = time.monotonic() + 60
    while len(results) < len(children) and time.monotonic() < end:
        for child in set(children) - set(results):
            found, status = os.waitpid(child, os.WNOHANG)
            if found:
                results[child] = status
        time.sleep(0.01)
    done.set()
    thread.join()
    for child in set(children) - set(results):
        os.kill(child, signal.SIGKILL)
        os.waitpid(child, 0)
    assert set(results) == set(children) and set(results.values()) == {0}
