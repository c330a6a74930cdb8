"""The variables of a dataset."""

from __future__ import annotations

import math
from collections.abc import Set
from typing import Any

import numpy as np
import xarray as xr
from xarray.core import indexing

from ..channel import Channel
from ..scene import Scene
from ..view import View
from .arrays import ChannelRows, LineArray, Reader, TimeRows
from .attributes import channel_attributes, global_attributes, is_class_map, names_of
from .origin import LINE, ORIGIN
from .positions import POSITION_NAMES, TIE_POINTS, positions_of
from .source import Source

__all__ = ["dataset_of"]

# A chunk of values is about as large as this, as tasks of milliseconds cost more than they do.
_CHUNK_BYTES = 1 << 24
# What nanoseconds of 64 bits can say.
_YEARS_OF_NANOSECONDS = range(1678, 2262)


class _Maker:
    """Makes variables that read lines of one grid."""

    def __init__(self, source: Source, grid: Scene | View) -> None:
        self.source = source
        lines, pixels = grid.shape
        self._lines = lines
        chunk = min(lines, _CHUNK_BYTES // (4 * max(pixels, 1)))
        if isinstance(grid, View):  # two workers have their lines at hand for all channels
            chunk = min(chunk, grid.lines_at_hand // 2)
        self._chunk = max(1, chunk)

    def __call__(
        self, dims: tuple[str, ...], width: tuple[int, ...], reader: Reader, dtype: Any,
        attributes: dict[str, Any], encoding: dict[str, Any],
    ) -> xr.Variable:
        array = LineArray(self.source, reader, (self._lines, *width), dtype)
        sizes = dict(zip(dims, (self._chunk, *width)))
        data = indexing.LazilyIndexedArray(array)
        return xr.Variable(dims, data, attributes, {"preferred_chunks": sizes, **encoding})


def _packing(channel: Channel) -> dict[str, Any]:
    """How stored numbers are packed; nothing where they are the values."""
    scaling = channel.scaling
    if scaling is None or not all(map(math.isfinite, scaling)) or scaling[0] == 0:
        return {}
    return {"scale_factor": np.float64(scaling[0]), "add_offset": np.float64(scaling[1])}


def _channel(
    make: _Maker, grid: Scene | View, channel: Channel, is_decoded: bool, pointer: str
) -> xr.Variable:
    packing = _packing(channel)
    is_scaled = channel.scaling is not None and is_decoded and not is_class_map(channel)
    attributes = channel_attributes(channel, grid._facts["angle_slots"])
    if pointer:
        attributes["coordinate_interpolation"] = pointer
    encoding: dict[str, Any] = {}
    if is_scaled and packing:
        encoding = {"dtype": channel.raw.dtype, **packing}
    elif channel.scaling is not None:
        attributes.update(packing)
    encoding[ORIGIN] = (make.source, channel.slot)
    dtype = np.dtype(np.float32) if is_scaled else channel.raw.dtype
    rows = ChannelRows(channel.slot, is_scaled)
    return make(("y", "x"), (grid.shape[1],), rows, dtype, attributes, encoding)


def _time(make: _Maker, grid: Scene | View, is_decoded: bool) -> xr.Variable | None:
    """The times of lines; None for a file without a date."""
    day = grid.date
    if day is None:
        return None
    attributes: dict[str, Any] = {"standard_name": "time", "long_name": "time of the line"}
    units = {"units": f"hours since {day.isoformat()}", "calendar": "proleptic_gregorian"}
    if not is_decoded or day.year not in _YEARS_OF_NANOSECONDS:
        return make(("y",), (), TimeRows(False), np.float64, {**attributes, **units}, {})
    encoding: dict[str, Any] = {**units, "dtype": np.dtype(np.float64)}
    return make(("y",), (), TimeRows(True), "datetime64[ns]", attributes, encoding)


def dataset_of(
    source: Source, is_decoded: bool, times: bool, geolocation: str, dropped: Set[str]
) -> xr.Dataset:
    """A grid as a dataset. Only the header is read."""
    scene, grid = source.scene(), source.grid()
    make = _Maker(source, grid)
    time = _time(make, grid, times)
    coordinates = {} if time is None else {"time": time}
    numbers = np.arange(grid.shape[0], dtype=np.int32)
    facts = {"long_name": "number of the line in the file"}
    coordinates[LINE] = xr.Variable(("y",), numbers, facts)
    coordinates.update(positions_of(make, grid, geolocation))
    pointer = ""
    if TIE_POINTS in coordinates and not {TIE_POINTS, *POSITION_NAMES} & dropped:
        pointer = " ".join(f"{name}:" for name in POSITION_NAMES) + f" {TIE_POINTS}"
    names = names_of(list(grid.channels), ["time", LINE, TIE_POINTS, *POSITION_NAMES, *coordinates])
    variables = {
        name: _channel(make, grid, channel, is_decoded, pointer)
        for name, channel in zip(names, grid.channels)
        if name not in dropped
    }
    dataset = xr.Dataset(
        variables,
        {name: variable for name, variable in coordinates.items() if name not in dropped},
        global_attributes(scene, source, grid),
    )
    dataset.encoding[ORIGIN] = source
    return dataset
