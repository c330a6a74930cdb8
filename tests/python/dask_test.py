"""Datasets in chunks: threads, processes and workers; writing chunk by chunk."""
import os
import resource
import subprocess
import sys

import numpy as np
import pytest

import zel
from samples import container, five_channels, navigated
from scenes import Channel, Scene, ramp

xr = pytest.importorskip("xarray")
dask = pytest.importorskip("dask")

LINES, PIXELS = 60, 50
NUMBERS = ramp(LINES, PIXELS, 37, 0, 65535)
TENTHS = [[x / 8 for x in row] for row in NUMBERS]


def large(**more):
    channels = {0: Channel(2, NUMBERS, -10.0, 100.0, "scaled", units=1),
                1: Channel(4, TENTHS, label="float")}
    return Scene(channels, lats=[[n, n + 5.0] for n in range(LINES)],
                 lons=[[10.0, 20.0]] * LINES, interval=40, altitude=700.0, **more).bytes()


def means(dataset):
    return [dataset[name].mean(dtype=float).item() for name in ("scaled", "float", "latitude")]


def wanted():
    numbers = np.array(NUMBERS, np.float64)
    latitude = np.add.outer(np.arange(LINES), np.arange(PIXELS) / 8)
    return [-10 + numbers.mean() * 110 / 65535, np.array(TENTHS).mean(), latitude.mean()]


@pytest.mark.parametrize("scheduler", ["synchronous", "threads", "processes"])
def test_schedulers_give_the_same_numbers(keep, scheduler):
    path = keep(large())
    found = xr.open_dataset(path, engine="zel", geolocation="full", chunks={}).chunk({"y": 7})
    with dask.config.set(scheduler=scheduler, num_workers=2):
        assert means(found.compute()) == pytest.approx(wanted(), rel=1e-5)
        assert found.scaled.values.tobytes() == zel.open(path).channels["scaled"].values.tobytes()


@pytest.mark.filterwarnings("ignore:The specified Dask chunks", "ignore:make_current")
def test_two_worker_processes_give_the_same_numbers(keep):
    distributed = pytest.importorskip("distributed")
    path = keep(large())
    found = xr.open_dataset(path, engine="zel", geolocation="full", chunks={"y": 20})
    with dask.config.set({"distributed.worker.daemon": True}), distributed.LocalCluster(
            n_workers=2, threads_per_worker=1, dashboard_address=None, processes=True) as cluster:
        with distributed.Client(cluster) as client:
            again = client.compute(found).result()
            assert means(again) == pytest.approx(wanted(), rel=1e-5)
            expected = zel.open(path).channels["scaled"].values
            assert again.scaled.values.tobytes() == expected.tobytes()


def test_chunks_are_whole_lines(keep):
    found = xr.open_dataset(keep(large()), engine="zel", chunks={})
    assert found.scaled.chunks == ((LINES,), (PIXELS,))
    assert found.time.chunks == found.scaled.chunks[:1]
    wide = Scene({0: Channel(3, [[0] * 30000] * 200)}).bytes()
    found = xr.open_dataset(keep(wide, "wide.zel"), engine="zel", chunks={})
    assert found["Ch1"].chunks == ((139, 61), (30000,))  # 16 MiB of float32


def test_a_damaged_chunk_alone_fails(keep):
    path = keep(large())
    found = xr.open_dataset(path, engine="zel", chunks={}).chunk({"y": 20})
    line = 8 + 4 + 12 + 8 + 16 + 6 * PIXELS
    path.write_bytes(large()[:-21 * line])
    with dask.config.set(scheduler="processes", num_workers=1):
        assert found.scaled[:20].values.shape == (20, PIXELS)
        with pytest.raises(zel.DamagedFileError, match="cut short"):
            found.scaled[20:40].compute()


SPARSE = """
import resource, sys, xarray as xr, dask
ds = xr.open_dataset(sys.argv[1], engine="zel", chunks={})
with dask.config.set(scheduler="threads", num_workers=2):
    assert ds["wide"].mean().values == 0.0
    assert ds["wide"].shape == (70000, 30000)
print(resource.getrusage(resource.RUSAGE_SELF).ru_maxrss // 1024)
"""


@pytest.mark.skipif("libasan" in os.environ.get("LD_PRELOAD", ""),
                    reason="the address sanitizer reserves more addresses than the limit")
def test_memory_is_bounded_by_chunks(keep):
    """2 GB of pixels, in a file without bytes on the disk."""
    data = Scene({0: Channel(3, [[0] * 30000], label="wide")}).bytes()
    path = keep(data)
    with open(path, "r+b") as file:
        file.truncate(len(data) + 69999 * (32 + 30000))
    run = subprocess.run([sys.executable, "-c", SPARSE, str(path)], check=True,
                         stdout=subprocess.PIPE, text=True,
                         preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (6 << 30,) * 2))
    assert int(run.stdout) < 500


@pytest.mark.parametrize("chunks", [None, {"y": 2}])
@pytest.mark.parametrize("decoded", [True, False])
@pytest.mark.filterwarnings("ignore:The specified Dask chunks")
def test_a_dataset_becomes_a_file(keep, tmp_path, chunks, decoded):
    channels = five_channels()
    facts = {"satellite": 3, "sensor": 6, "altitude": 705.0, "resolution": 90.0, "comment": "c",
             "year": 2024, "day": 60, "times": [11.5, 11.5, 11.75], "metadata": "notes",
             "lats": [[40.0, 42.0]] * 3, "lons": [[1.0, 2.0]] * 3, "start": 0, "interval": 2}
    path = keep(Scene(channels, **facts).bytes())
    found = xr.open_dataset(path, engine="zel", chunks=chunks, mask_and_scale=decoded)
    found.zel.to_file(tmp_path / "new.zel")
    again = zel.open(tmp_path / "new.zel")
    assert [c.slot for c in again.channels] == list(channels)
    for got, channel in zip(again.channels, channels.values()):
        assert got.raw[:].tolist() == channel.pixels
        assert (got.label, got.unit, got.storage) == (channel.label, channel.units, channel.code)
    assert (again.channels[1].min, again.channels[1].max) == (-1.0, 50.0)
    assert again.channels[3].wavelength == 0.5
    assert (again.satellite, again.sensor, again.altitude, again.resolution) == (3, 6, 705.0, 90.0)
    assert (again.comment, again.metadata.text) == ("c", "notes")
    assert again.lines.hours.tolist() == [11.5, 11.5, 11.75]
    assert again.tie_points().latitude.tolist() == [[40.0, 42.0]] * 3
    with pytest.raises(FileExistsError):
        found.zel.to_file(tmp_path / "new.zel")
    found.zel.to_file(tmp_path / "new.zel", overwrite=True)


def test_classes_and_calculated_variables_become_channels(keep, tmp_path):
    entries = [(0, 0, 0, "no data"), (255, 0, 16, "snow / ice"), (1, 2, 3, "ice")]
    scene = Scene({0: Channel(3, ramp(3, 4, most=2), label="map", comment="kinds", units=5),
                   1: Channel(3, ramp(3, 4), label="b")}, luts=[(1, "kinds", entries)])
    found = xr.open_dataset(keep(scene.bytes()), engine="zel", chunks={})
    found["half"] = found.b / np.float32(2)
    found.zel.to_file(tmp_path / "new.zel", sensor=zel.Sensor.MODIS)
    again = zel.open(tmp_path / "new.zel")
    assert again.channels["map"].classes.names == ["no data", "snow / ice", "ice"]
    assert again.channels["map"].classes.colours.tolist() == [[0, 0, 0], [255, 0, 16], [1, 2, 3]]
    assert again.channels["half"][2].tolist() == [4.0, 4.5, 5.0, 5.5]
    assert again.sensor is zel.Sensor.MODIS


def test_full_positions_become_navigation_points(keep, tmp_path):
    path = keep(large())
    found = xr.open_dataset(path, engine="zel", geolocation="full", chunks={})
    found.isel(x=slice(10, None)).zel.to_file(tmp_path / "new.zel", navigation_interval=8)
    again = zel.open(tmp_path / "new.zel").positions()
    assert np.allclose(again.latitude, zel.open(path).positions().latitude[:, 10:], atol=1e-4)


def test_what_fits_no_file_is_an_error(keep, tmp_path):
    found = xr.open_dataset(keep(navigated().bytes()), engine="zel")
    with pytest.raises(ValueError, match="geolocation='full'"):
        found.isel(x=slice(1, 3)).zel.to_file(tmp_path / "new.zel")
    found["line"] = ("y", [1, 2, 3])
    with pytest.raises(ValueError, match="same two dimensions"):
        found.zel.to_file(tmp_path / "new.zel")
    assert not (tmp_path / "new.zel").exists()


def test_each_chunk_is_computed_once_for_all_channels(keep, tmp_path):
    computed = []
    scene = Scene({0: Channel(3, ramp(250, 4), label="one"), 1: Channel(3, ramp(250, 4, 3))})
    found = xr.open_dataset(keep(scene.bytes()), engine="zel", chunks={}).chunk({"y": 110})

    def counted(block):
        computed.append(len(block))
        return block
    found["one"] = found.one.copy(data=found.one.data.map_blocks(
        counted, dtype=np.uint8, meta=np.zeros((0, 0), np.uint8)))
    found.zel.to_file(tmp_path / "new.zel")
    assert computed == [110, 110, 30]
    assert zel.open(tmp_path / "new.zel").channels["one"].raw[:].tolist() == ramp(250, 4)


def test_the_components_of_a_container_are_chunked_each(keep):
    for group, lines in ((0, 2), (1, 4), ("view", 4)):
        found = xr.open_dataset(keep(container(1)), engine="zel", group=group, chunks={})
        assert all(v.chunks[0] == (lines,) for v in found.data_vars.values())
        found.load(scheduler="threads")
