"""What a dataset does not say of the file that it comes from, for writing it again."""

from __future__ import annotations

import warnings
from typing import Any, Mapping

import numpy as np
import numpy.typing as npt
import xarray as xr

from ..blocks import Classes
from ..channel import Channel
from ..lines import Lines
from ..scene import Scene
from .attributes import (
    channel_attributes,
    class_attributes,
    global_attributes,
    is_class_map,
)
from .rows import Rows
from .source import Source

__all__ = [
    "LINE",
    "ORIGIN",
    "angle_labels",
    "channel_facts",
    "header_facts",
    "line_facts",
    "source_in",
]

LINE = "line_number"
# The key in the encoding of a dataset and of its variables.
ORIGIN = "zel_origin"


def source_in(dataset: xr.Dataset) -> Source | None:
    """The file that a dataset comes from, if it is there, and as it was."""
    source: Source | None = dataset.encoding.get(ORIGIN)
    if source is not None and not source.is_there:
        warnings.warn(
            f"{source.path} has changed or is gone: tables, masks and facts of lines are not taken",
            stacklevel=4,
        )
        return None
    return source


def _is_same(one: Any, other: Any) -> bool:
    return type(one) is type(other) and bool(np.array_equal(one, other))


def header_facts(source: Source, attributes: Mapping[str, Any]) -> dict[str, Any]:
    """What the header says, but for what attributes say otherwise."""
    scene, grid = source.scene(), source.grid()
    part = grid if isinstance(grid, Scene) else scene
    own = global_attributes(scene, source, grid)
    facts = {
        "sensor": ("instrument", part._facts["sensor"]),
        "satellite": ("satellite_number", part.satellite),
        "altitude": ("platform_altitude_km", part.altitude),
        "resolution": ("spatial_resolution", part.resolution),
        "comment": ("title", part.comment),
        "metadata": ("metadata", part.metadata),
    }
    kept = {
        name: fact
        for name, (attribute, fact) in facts.items()
        if _is_same(attributes.get(attribute), own.get(attribute))
    }
    counted = any(channel.histogram is not None for channel in grid.channels)
    return {**kept, "tables": part.tables, "luts": part.luts, "histograms": counted}


def angle_labels(source: Source) -> list[str]:
    """The labels of the channels that have angles: three, or none."""
    grid = source.grid()
    labels = {channel.slot: channel.label for channel in grid.channels}
    slots = grid._facts["angle_slots"]
    return [labels[slot] for slot in slots] if set(slots) <= set(labels) else []


def _as_it_was(attributes: Mapping[str, Any], own: Mapping[str, Any], *names: str) -> bool:
    return all(_is_same(attributes.get(name), own.get(name)) for name in names)


def _channel_in(variable: xr.DataArray) -> Channel | None:
    source, slot = variable.encoding.get(ORIGIN, (None, 0))
    if source is None or not source.is_there:
        return None
    channels = source.scene().channels if source.part == "view" else source.grid().channels
    found: Channel | None = next((c for c in channels if c.slot == slot), None)
    return found


def _classes(channel: Channel, known: Mapping[str, Any]) -> Classes | None:
    own = class_attributes(channel) if is_class_map(channel) else {}
    return channel.classes if own and _as_it_was(known, own, *own) else None


def channel_facts(
    variable: xr.DataArray, rows: Rows, facts: Mapping[str, Any]
) -> dict[str, Any]:
    """What the channel of a variable has beside the facts, but for what these say otherwise."""
    channel = _channel_in(variable)
    if channel is None or facts["storage"] not in (None, channel.storage):
        return {}
    known, own = variable.attrs, channel_attributes(channel, ())
    found: dict[str, Any] = {
        "bits": channel.bits, "is_base": channel.is_base, "tables": channel.tables,
        "mask": channel.mask_bytes(), "classes": _classes(channel, known) or facts["classes"],
    }
    if channel.histogram is not None and rows.shape == channel.shape:
        rows.own = channel.raw if variable.dtype == channel.raw.dtype else channel.lazy_values
        found["histogram"] = lambda: channel.histogram if rows.is_own else None
    if _as_it_was(known, own, "units"):
        found["unit"] = channel._unit_code
    if _as_it_was(known, own, "wavelength"):
        found["wavelength"] = channel.wavelength
    if _as_it_was(known, own, "long_name"):
        found["label"] = channel.label
    return {**found, **_numbers(variable, channel, facts)}


# Numbers of a range are those of the file where packing is that of the file, to the bit.
def _numbers(
    variable: xr.DataArray, channel: Channel, facts: Mapping[str, Any]
) -> dict[str, Any]:
    low, high = channel._range
    if channel.storage.is_scaled:
        scaling = channel.scaling or (0.0, 0.0)
        packed = {**variable.encoding, **variable.attrs}
        is_same = (packed.get("scale_factor"), packed.get("add_offset")) == scaling
        return {"min": low, "max": high} if is_same and facts.get("storage") else {}
    if variable.dtype == channel.raw.dtype:
        return {"storage": channel.storage, "min": low, "max": high, "raw": True}
    return {}


def _times_of(source: Source, lines: Lines, is_decoded: bool) -> npt.NDArray[Any]:
    if is_decoded:
        return lines.time.astype("datetime64[ns]")
    return np.where(np.isnat(lines.time), np.nan, lines.hours)


def line_facts(source: Source, dataset: xr.Dataset, dims: tuple[Any, Any]) -> Lines | None:
    """What the file says of the lines of a dataset, if they are lines of that file."""
    grid = source.grid()
    if LINE not in dataset.coords or dataset[LINE].dims != dims[:1]:
        return None
    numbers = dataset[LINE].values
    if len(set(numbers.tolist())) < len(numbers) or not _are_lines(numbers, grid.shape[0]):
        return None
    lines = grid.lines[numbers]
    if "time" in dataset.coords:
        known = dataset["time"].values
        own = _times_of(source, lines, known.dtype.kind == "M")
        if known.shape != own.shape or not np.array_equal(known, own, equal_nan=True):
            return None
    if dataset.sizes[dims[1]] != grid.shape[1]:  # padding and nadirs are pixels of whole lines
        middle = np.full(len(lines), max(dataset.sizes[dims[1]] // 2 - 1, 0), np.int32)
        lines.padding = np.zeros_like(lines.padding)
        lines.padding[:, 1] = dataset.sizes[dims[1]] - 1
        lines.nadir_pixel, lines.nadir_latitude = middle, np.zeros_like(lines.nadir_latitude)
        lines.nadir_longitude = np.zeros_like(lines.nadir_longitude)
    return lines


def _are_lines(numbers: npt.NDArray[Any], count: int) -> bool:
    return numbers.dtype.kind in "iu" and (
        not len(numbers) or (numbers.min() >= 0 and numbers.max() < count)
    )
