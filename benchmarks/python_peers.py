#!/usr/bin/env python3
"""What scenes cost in Python beside what users would take instead: python_peers.py [LINES [PIXELS]],
with Debian's Python, PYTHONPATH leading to the package, and rasterio, numexpr, dask, distributed,
netCDF4 and zarr installed. `./dev bench --only W6` runs it in a build tree. Prints KEY RATIO OWN PEER,
milliseconds: all works of a row run in turn, and the ratio is the median of those of the rounds.
Results are compared before they are timed; files are warm. `--sparse` instead measures memory and graph.
"""
import datetime
import os
import statistics
import sys
import tempfile
import time
import warnings

import numpy as np

warnings.filterwarnings("ignore")
CHANNELS = 8
LOW, HIGH = -0.1, 1.2
EXPRESSION = "(B2 - B1) / (B2 + B1)"


def in_turn(works, rounds, before=lambda: None):
    """The seconds of each round for each work, after a round that does not count."""
    times = {name: [] for name in works}
    for number in range(rounds + 1):
        for name, work in works.items():
            before()
            begin = time.perf_counter()
            work()
            if number > 0:
                times[name].append(time.perf_counter() - begin)
    return times


def show(key, own, peers, rounds=15, before=lambda: None):
    """A row for each peer; their keys end with the names of the peers where there are several."""
    times = in_turn({"zel": own, **peers}, rounds, before)
    for peer in peers:
        ratio = statistics.median(a / b for a, b in zip(times["zel"], times[peer]))
        best = [min(times[name]) * 1e3 for name in ("zel", peer)]
        name = f"{key}-{peer}" if len(peers) > 1 else key
        print(f"{name:<22} {ratio:6.2f} {best[0]:9.3f} {best[1]:9.3f}", flush=True)


def same(one, other, tolerance=0.0):
    assert one.shape == other.shape and np.allclose(one, other, rtol=0, atol=tolerance)


def numbers_of(shape):
    """Slopes and noise, as channels of a scene have them."""
    random = np.random.default_rng(1)
    slope = np.add.outer(np.arange(shape[0]) * 6, np.arange(shape[1]) * 9)
    for channel in range(CHANNELS):
        noise = random.integers(0, 2000, shape)
        yield ((8000 + 500 * channel + slope + noise) % 65536).astype(np.uint16)


def make_files(shape):
    import rasterio
    import xarray as xr
    import zel
    numbers = np.stack(list(numbers_of(shape)))
    channels = [zel.NewChannel(plane, f"B{k}", storage=zel.Storage.UINT16_SCALED, min=LOW, max=HIGH,
                               raw=True) for k, plane in enumerate(numbers)]
    zel.write("scene.zel", channels, start=datetime.datetime(2024, 6, 20, 11))
    with rasterio.open("scene.tif", "w", driver="GTiff", width=shape[1], height=shape[0],
                       count=CHANNELS, dtype="uint16", interleave="pixel") as tif:
        tif.write(numbers)
        tif.scales, tif.offsets = [(HIGH - LOW) / 65535] * CHANNELS, [LOW] * CHANNELS
    scene = xr.open_dataset("scene.zel", engine="zel", geolocation="none").drop_vars("time")
    lines = scene["B0"].encoding["preferred_chunks"]["y"]
    chunks = {name: {"chunksizes": (min(lines, 512), shape[1])} for name in scene}
    scene.to_netcdf("scene.nc", encoding=chunks)
    scene.chunk({"y": lines}).to_zarr("scene.zarr", encoding={n: {"compressor": None} for n in scene})


def opening():
    import rasterio
    import xarray as xr
    import zel
    from zel.xarray import source
    forget = source._scene.cache_clear  # a file that is open is not opened again
    assert zel.open("scene.zel").shape == rasterio.open("scene.tif").shape
    show("w6-open", lambda: zel.open("scene.zel").close(),
         {"rasterio": lambda: rasterio.open("scene.tif").close()}, 50)
    show("w6-dataset", lambda: xr.open_dataset("scene.zel", engine="zel"),
         {"netcdf": lambda: xr.open_dataset("scene.nc").close(),
          "rasterio": lambda: xr.open_dataset("scene.tif", engine="rasterio").close()}, 50, forget)


def pixels(shape):
    import zel
    raw = zel.open("scene.zel").channels["B1"].raw
    known = raw.memmap()
    begin = known.__array_interface__["data"][0] - known.base.__array_interface__["data"][0]

    def mapped():
        bytes_of_file = np.memmap("scene.zel", np.uint8, "r")
        return np.ndarray(shape, known.dtype, bytes_of_file, begin, known.strides)
    window = np.s_[shape[0] // 3:shape[0] // 3 + 500, shape[1] // 6:shape[1] // 6 + 500]
    for key, at in (("w6-channel", np.s_[:, :]), ("w6-window", window)):
        assert np.array_equal(raw[at], mapped()[at]) and np.array_equal(raw[at], known[at])
        show(key, lambda: raw[at], {"memmap": lambda: np.array(mapped()[at]),
                                    "touched": lambda: np.array(known[at])})


def rasterio_values(bands=None):
    import rasterio
    with rasterio.open("scene.tif") as tif:
        scales = np.array(tif.scales[:len(bands or tif.scales)], np.float32)[:, None, None]
        offsets = np.array(tif.offsets[:len(bands or tif.scales)], np.float32)[:, None, None]
        return tif.read(bands) * scales + offsets


def all_channels():
    import zel

    def own():
        return [channel.values for channel in zel.open("scene.zel").channels]
    for one, other in zip(own(), rasterio_values()):
        same(one, other, 1e-6)
    show("w6-decoded", own, {"rasterio": rasterio_values}, 7)


def expressions():
    """Over arrays in memory, and over the scene as it is on the disk."""
    import numexpr
    import zel
    numexpr.set_num_threads(1)
    scene = zel.open("scene.zel")
    formula = zel.Expression(EXPRESSION, scene)
    arrays = {name: scene.channels[name].values for name in ("B1", "B2")}

    def peer(values):
        return numexpr.evaluate(EXPRESSION, local_dict=values)

    def peer_of_file():
        return peer(dict(zip(("B1", "B2"), rasterio_values([2, 3]))))
    with np.errstate(divide="ignore"):
        same(formula(arrays), peer(arrays), 1e-5)
        same(formula.evaluate(), peer_of_file(), 1e-4)
    show("w6-arrays", lambda: formula(arrays), {"numexpr": lambda: peer(arrays)}, 7)
    show("w6-scene", formula.evaluate, {"numexpr": peer_of_file}, 7)


def means():
    import dask.distributed as distributed
    import xarray as xr

    def mean_of(dataset):
        return lambda: client.compute(dataset.mean()).result()

    def settle():
        time.sleep(0.3)  # until the results of the last round are forgotten
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1,
                                  dashboard_address=None) as cluster:
        with distributed.Client(cluster) as client:
            options = {"geolocation": "none", "drop_variables": ["time"], "chunks": {}}
            own = mean_of(xr.open_dataset("scene.zel", engine="zel", **options))
            peers = {"netcdf": mean_of(xr.open_dataset("scene.nc", chunks={})),
                     "zarr": mean_of(xr.open_zarr("scene.zarr"))}
            for peer in peers.values():
                assert all(abs(a - b) < 1e-6 for a, b in zip(
                    own().data_vars.values(), peer().data_vars.values()))
            show("w6-mean", own, peers, 9, settle)


def sparse():
    """A scene of 8 GB, of which nothing is on the disk, and what its graph takes."""
    import pickle
    import resource
    import dask.array
    import xarray as xr
    import zel
    zel.write("scene.zel", {"wide": np.zeros((1, 30000), np.uint8)},
              start=datetime.datetime(2024, 6, 20, 11))
    size = os.path.getsize("scene.zel")
    line = zel.open("scene.zel")._facts["line_size"]
    with open("scene.zel", "r+b") as file:
        file.truncate(size + 269999 * line)
    scene = xr.open_dataset("scene.zel", engine="zel", geolocation="none", chunks={})
    mean = scene["wide"].mean()
    graph = dict(mean.__dask_graph__())
    begin = time.perf_counter()
    with dask.config.set(scheduler="threads", num_workers=2):
        assert mean.values == 0
    seconds = time.perf_counter() - begin
    kept = len(pickle.dumps(mean.__dask_graph__()))
    print(f"values {scene['wide'].nbytes / 1e9:.1f} GB in {len(scene['wide'].chunks[0])} chunks, "
          f"peak {resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024:.0f} MiB, {seconds:.1f} s; "
          f"graph of the mean: {len(graph)} tasks, {kept / len(graph):.0f} bytes each")
    os.truncate("scene.zel", size + 999 * line)
    small = xr.open_dataset("scene.zel", engine="zel", chunks={"y": 1}, geolocation="none")["wide"]
    with dask.config.set(scheduler="synchronous"):
        times = in_turn({"read": small[:, :10].data.compute,
                         "made": dask.array.zeros((1000, 10), chunks=(1, 10)).compute}, 3)
    print("1000 chunks of 10 pixels: " + ", ".join(
        f"{name} {min(seconds) * 1e3:.0f} ms" for name, seconds in times.items()))


def main(arguments):
    with tempfile.TemporaryDirectory(dir=os.environ.get("TMPDIR")) as folder:
        os.chdir(folder)
        if arguments == ["--sparse"]:
            sparse()
        else:
            shape = (*map(int, arguments), *(2000, 2000)[len(arguments):])
            make_files(shape)
            opening()
            pixels(shape)
            all_channels()
            expressions()
            means()
        os.chdir("/")


if __name__ == "__main__":
    main(sys.argv[1:])
