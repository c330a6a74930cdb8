"""What the attributes and coordinates of a dataset say of the scene that it becomes."""

from __future__ import annotations

import datetime
import re
from typing import Any, Hashable, Mapping

import numpy as np
import xarray as xr

from ..blocks import Classes, Metadata
from ..enums import Sensor, Storage, Unit
from ..lines import TiePoints
from ..new_channel import NewChannel
from .origin import channel_facts
from .positions import POINT_PIXELS, POSITION_NAMES, TIE_POINTS
from .rows import Rows

__all__ = ["channel_of", "facts_of", "tie_points_of", "time_of"]

_SCALED = {np.dtype(np.uint8): Storage.BYTE_SCALED, np.dtype(np.uint16): Storage.UINT16_SCALED}


def _classes(attributes: Mapping[str, Any]) -> Classes | None:
    """Names and colours from 0 on; values without a class get an empty name, in black."""
    if "flag_values" not in attributes or "flag_meanings" not in attributes:
        return None
    values = np.atleast_1d(attributes["flag_values"]).tolist()
    text = attributes.get("class_names")
    names = str(text).split("\n") if text else str(attributes["flag_meanings"]).split()
    colours = str(attributes.get("flag_colors", "")).split() or ["#000000"] * len(values)
    if not len(values) == len(names) == len(colours) or min(values) < 0:
        raise ValueError("flag_values, flag_meanings and flag_colors do not fit together")
    all_names, all_colours = [""] * (max(values) + 1), [(0, 0, 0)] * (max(values) + 1)
    for value, name, colour in zip(values, names, colours):
        red, green, blue = bytes.fromhex(colour.lstrip("#"))
        all_names[value], all_colours[value] = name, (red, green, blue)
    return Classes(all_names, all_colours)


def _packing(variable: xr.DataArray) -> dict[str, Any]:
    """Storage and range of numbers that are packed, or are to be."""
    for facts, dtype in (
        (variable.attrs, variable.dtype), (variable.encoding, variable.encoding.get("dtype")),
    ):
        storage = _SCALED.get(np.dtype(dtype)) if dtype is not None else None
        if storage is None or "scale_factor" not in facts:
            continue
        low = float(facts.get("add_offset", 0.0))
        high = low + float(facts["scale_factor"]) * int(np.iinfo(dtype).max)
        is_raw = facts is variable.attrs
        return {"storage": storage, "min": low, "max": high, "raw": is_raw}
    return {}


def channel_of(name: Hashable, variable: xr.DataArray, rows: Rows) -> NewChannel:
    """A variable as a channel, with the data to be taken from `rows`."""
    known = variable.attrs
    symbol = str(known.get("units", ""))
    unit = next((u for u in Unit if symbol and symbol in (u.symbol, u.name.lower())), Unit.NONE)
    number, wavelength = known.get("channel_number"), known.get("wavelength")
    facts: dict[str, Any] = {
        "label": str(known.get("long_name") or name), "unit": unit, "classes": _classes(known),
        "wavelength": None if wavelength is None else float(wavelength),
        "storage": _storage_of_integers(variable), **_packing(variable),
    }
    facts.update(channel_facts(variable, rows, facts))
    return NewChannel(
        rows, comment=str(known.get("comment", "")),
        slot=None if number is None else int(number) - 1, **facts,
    )


# What went through a calculation may be wider than it was stored.
def _storage_of_integers(variable: xr.DataArray) -> Storage | None:
    if "flag_values" not in variable.attrs or variable.dtype.kind != "f":
        return None
    values = np.atleast_1d(variable.attrs["flag_values"])
    return Storage.BYTE if values.max() <= np.iinfo(np.uint8).max else Storage.UINT16


def _sensor(name: str) -> Sensor | None:
    return Sensor[name] if name in Sensor.__members__ else None


def facts_of(dataset: xr.Dataset) -> dict[str, Any]:
    """The facts of the header that global attributes have."""
    known = dataset.attrs
    metres = re.match(r"([\d.eE+-]+) m$", str(known.get("spatial_resolution", "")))
    satellite, altitude = known.get("satellite_number"), known.get("platform_altitude_km")
    text = known.get("metadata")
    return {
        "sensor": _sensor(str(known.get("instrument", ""))),
        "satellite": None if satellite is None else int(satellite),
        "altitude": None if altitude is None else float(altitude),
        "resolution": float(metres[1]) if metres else None,
        "comment": known.get("title"),
        "metadata": None if text is None else Metadata(0, str(text)),
    }


def _day(time: xr.DataArray) -> datetime.date | None:
    units = str(time.encoding.get("units") or time.attrs.get("units") or "")
    found = re.search(r"since (\d{4}-\d{2}-\d{2})", units)
    return datetime.date.fromisoformat(found[1]) if found else None


def time_of(dataset: xr.Dataset, dim: Any) -> dict[str, Any]:
    """The times of lines, or the day where times are not set."""
    if "time" not in dataset.coords or dataset["time"].dims != (dim,):
        return {}
    time = dataset["time"]
    if time.dtype.kind != "M":
        time = xr.decode_cf(time.to_dataset(name="moments", promote_attrs=False))["moments"]
    values = time.values
    if len(values) and not np.isnat(values[0]):
        return {"times": values}
    day = _day(dataset["time"])
    return {} if day is None else {"start": day}


def tie_points_of(dataset: xr.Dataset, dims: tuple[Any, Any], interval: int) -> TiePoints | None:
    """Points as the dataset has them, or some of its positions."""
    if not all(name in dataset.coords for name in POSITION_NAMES):
        return None
    latitude, longitude = (dataset[name] for name in POSITION_NAMES)
    if latitude.dims == dims:
        pixels = np.arange(0, dataset.sizes[dims[1]], max(interval, 1))
        kept = {dims[1]: pixels}
        return TiePoints(pixels, latitude.isel(kept).values, longitude.isel(kept).values)
    if POINT_PIXELS not in dataset or TIE_POINTS not in dataset:
        return None
    pixels = dataset[POINT_PIXELS].values
    if int(dataset[TIE_POINTS].attrs["pixels"]) != dataset.sizes[dims[1]]:
        raise ValueError("tie points are those of whole lines: open with geolocation='full'")
    return TiePoints(pixels, latitude.values, longitude.values)
