"""The table that the benchmarks print: what is measured, beside what, and what it must reach. A row
is a ratio of times where nothing else is said."""
from collections import namedtuple

Row = namedtuple("Row", "key work peer must goal")

GRID = "W2 one grid of three files"
HEAD = ("work", "compared with", "measured", "must", "goal", "met")


def expression_rows():
    must = {"E1": 0.3, "E2": 0.3, "E3": 1.8, "E4": 1.5, "E5": 5}
    goals = {"E1": (0.25, 0.2), "E2": (0.20, 0.25), "E3": (0.30, 1.6), "E4": (0.30, 1.2),
             "E5": (0.25, 4.5)}
    for name, (streamed, _) in goals.items():
        yield Row("w3-%s-streamed" % name, "W3 expression %s, planes in memory" % name,
                  "numexpr, one thread", 0.35, streamed)
    for name, (_, cached) in goals.items():
        yield Row("w3-%s-cached" % name, "W3 expression %s, a line in the cache" % name,
                  "ns per pixel (the best loop by hand)", must[name], cached)


def python_rows():
    memmap = "`numpy.memmap`", "`numpy.memmap`, its pages touched before"
    dataset, mean = "W6 Python: open a dataset", "W6 Python: mean by Dask, two workers"
    for row in [
            ("open", "W6 Python: open a file", "rasterio, a GeoTIFF", 1, 1),
            ("dataset-netcdf", dataset, "xarray and netCDF4", 1, 1),
            ("dataset-rasterio", dataset, "xarray and rasterio", 1, 1),
            ("channel-memmap", "W6 Python: a channel", memmap[0], 1.1, 1.1),
            ("channel-touched", "W6 Python: a channel", memmap[1], 1.1, 1.1),
            ("window-memmap", "W6 Python: a window of 500 x 500", memmap[0], 1.1, 1.1),
            ("window-touched", "W6 Python: a window of 500 x 500", memmap[1], 1.1, 1.1),
            ("decoded", "W6 Python: values of all channels", "rasterio, scale and offset", 0.5, 0.5),
            ("arrays", "W6 Python: expression, arrays in memory", "numexpr, one thread", 0.35, 0.25),
            ("scene", "W6 Python: expression over a scene", "rasterio and numexpr", 0.35, 0.25),
            ("mean-netcdf", mean, "the same over netCDF4", 1, 1),
            ("mean-zarr", mean, "the same over zarr", 1, 1)]:
        yield Row("w6-" + row[0], *row[1:])


ROWS = [
    Row("w1", "W1 container of three files", "`cat` of the same files", 1.00, 0.90),
    Row("w2-gdal", GRID,
        "GDAL: three `gdal_translate -r average`, three `gdalinfo -hist`", 0.35, 0.25),
    Row("w2-bytes", GRID, "reading every input byte and writing every output byte once", 6, 4),
    Row("w2-threads", GRID + ", two threads", "the same on one thread", 0.65, 0.55),
    Row("w2-memory", GRID + ", resident memory", "MiB (GDAL)", 16, 16),
    *expression_rows(),
    Row("w4-numexpr", "W4 pixel program with filters", "numexpr, one thread", 0.5, 0.20),
    Row("w4-loop", "W4 pixel program with filters", "a vector loop by hand", 6, 2),
    Row("w5-process", "W5 container of three short files", "`gdalinfo` of one GeoTIFF", 0.10, 0.05),
    Row("w5-open", "W5 open and finish within a process", "microseconds", 100, 30),
    *python_rows(),
]


def number(value):
    """Two digits after the point below 10, none above 100."""
    return "%.2f" % value if value < 10 else "%.1f" % value if value < 100 else "%.0f" % value


def bound(value):
    return "%g" % value if value > 1 else "%.2f" % value


def met(row, value):
    return "goal" if value <= row.goal else "must" if value <= row.must else "no"


def cells(row, result):
    """The texts of a row; without a result it was not measured."""
    measured, verdict = "n/a", "-"
    if result:
        measured, verdict = number(result["value"]), met(row, result["value"])
        if result.get("peer") is not None:
            measured += " (%s)" % number(result["peer"])
    return row.work, row.peer, measured, bound(row.must), bound(row.goal), verdict


def table(results, keys=None):
    """The table in Markdown, its columns aligned; only the rows of keys when they are given."""
    lines = [HEAD] + [cells(row, results.get(row.key)) for row in ROWS
                      if keys is None or row.key in keys]
    widths = [max(len(line[column]) for line in lines) for column in range(len(HEAD))]
    text = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths)) + " |"
            for line in lines]
    text.insert(1, "| " + " | ".join("-" * width for width in widths) + " |")
    return "\n".join(text)
