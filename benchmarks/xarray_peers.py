#!/usr/bin/env python3
"""What scenes cost in Python beside what users would take instead. The ratios are of one run:
xarray_peers.py [LINES [PIXELS]], with Debian's Python, PYTHONPATH leading to the package and rasterio,
dask, distributed, netCDF4 and zarr installed. Files are warm. `--sparse` instead measures memory and graph."""
import datetime
import os
import resource
import sys
import tempfile
import time
import warnings

import numpy as np

warnings.filterwarnings("ignore")
CHANNELS, ROUNDS = 8, 7
LOW, HIGH = -0.1, 1.2


def fastest(work, rounds=ROUNDS, before=lambda: None):
    times = []
    for _ in range(rounds):
        before()
        begin = time.perf_counter()
        work()
        times.append(time.perf_counter() - begin)
    return min(times)


def show(name, own, peers):
    for peer, seconds in peers.items():
        print(f"{name:<28} {own * 1e3:9.2f} ms   {peer:<24} {seconds * 1e3:9.2f} ms   "
              f"ratio {own / seconds:5.2f}", flush=True)


def make_files(folder, shape):
    import rasterio
    import zel
    numbers = np.random.default_rng(1).integers(0, 65536, (CHANNELS, *shape)).astype(np.uint16)
    channels = [zel.NewChannel(plane, f"B{k}", storage=zel.Storage.UINT16_SCALED, min=LOW, max=HIGH,
                               raw=True) for k, plane in enumerate(numbers)]
    zel.write("scene.zel", channels, start=datetime.datetime(2024, 6, 20, 11))
    with rasterio.open("scene.tif", "w", driver="GTiff", width=shape[1], height=shape[0],
                       count=CHANNELS, dtype="uint16", interleave="pixel") as tif:
        tif.write(numbers)
        tif.scales, tif.offsets = [(HIGH - LOW) / 65535] * CHANNELS, [LOW] * CHANNELS
    numbers[1].tofile("plane.raw")
    import xarray as xr
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
    show("zel.open", fastest(lambda: zel.open("scene.zel").close(), 50),
         {"rasterio.open": fastest(lambda: rasterio.open("scene.tif").close(), 50)})
    show("xr.open_dataset", fastest(lambda: xr.open_dataset("scene.zel", engine="zel"), 50,
                                    forget),
         {"xarray, netCDF4": fastest(lambda: xr.open_dataset("scene.nc").close(), 50),
          "xarray, rasterio": fastest(lambda: xr.open_dataset("scene.tif", engine="rasterio"), 50)})


def pixels(shape):
    import zel
    scene = zel.open("scene.zel")
    raw = scene.channels["B1"].raw
    facts, channel = scene._facts, scene._facts["channels"][1]

    def mapped():
        return np.ndarray(shape, np.uint16, np.memmap("scene.zel", np.uint8, "r"),
                          facts["first_line"] + channel["offset"], (facts["line_size"], 2))
    known = mapped()
    assert np.array_equal(raw[:], known)
    for name, at in (("one channel", np.s_[:, :]),
                     ("a window of 500 x 500", np.s_[700:1200, 300:800])):
        show(name, fastest(lambda: raw[at]), {
            "memmap": fastest(lambda: np.array(mapped()[at])),
            "memmap, touched before": fastest(lambda: np.array(known[at]))})


def all_channels():
    import rasterio
    import zel

    def decoded():
        with rasterio.open("scene.tif") as tif:
            scales = np.array(tif.scales, np.float32)[:, None, None]
            offsets = np.array(tif.offsets, np.float32)[:, None, None]
            return tif.read() * scales + offsets
    show("all channels decoded", fastest(lambda: [c.values for c in zel.open("scene.zel").channels], 3),
         {"rasterio": fastest(decoded, 3)})


def means():
    import dask.distributed as distributed
    import xarray as xr

    def mean_of(dataset):
        return lambda: client.compute(dataset.mean()).result()

    def settle():
        time.sleep(0.5)  # until the results of the last round are forgotten
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1,
                                  dashboard_address=None) as cluster:
        with distributed.Client(cluster) as client:
            options = {"geolocation": "none", "drop_variables": ["time"], "chunks": {}}
            scene = xr.open_dataset("scene.zel", engine="zel", **options)
            works = {"zel": mean_of(scene),
                     "netCDF4": mean_of(xr.open_dataset("scene.nc", chunks={})),
                     "zarr": mean_of(xr.open_zarr("scene.zarr"))}
            results = {name: work() for name, work in works.items()}
            assert all(abs(r["B1"] - results["zel"]["B1"]) < 1e-3 for r in results.values())
            times = {name: fastest(work, 5, settle) for name, work in works.items()}
            show("mean, two workers", times.pop("zel"), times)


def sparse():
    """A scene of 8 GB, of which nothing is on the disk, and what its graph takes."""
    import pickle
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
        works = {"read": small[:, :10].data, "made": dask.array.zeros((1000, 10), chunks=(1, 10))}
        times = {name: fastest(work.compute, 3) for name, work in works.items()}
    print("1000 chunks of 10 pixels: " + ", ".join(
        f"{name} {seconds * 1e3:.0f} ms" for name, seconds in times.items()))


def main(arguments):
    with tempfile.TemporaryDirectory(dir=os.environ.get("TMPDIR")) as folder:
        os.chdir(folder)
        if arguments == ["--sparse"]:
            return sparse()
        shape = (*map(int, arguments), *(2000, 2000)[len(arguments):])
        make_files(folder, shape)
        opening()
        pixels(shape)
        all_channels()
        means()
        os.chdir("/")


if __name__ == "__main__":
    main(sys.argv[1:])
