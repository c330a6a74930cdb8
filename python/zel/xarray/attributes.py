"""What a file says, as attributes of the CF and ACDD conventions."""

from __future__ import annotations

import datetime
import re
from collections.abc import Mapping, Sequence
from typing import Any

import numpy as np

from ..channel import Channel
from ..enums import Storage
from ..scene import Scene
from ..view import View
from .bounds import bounds_of
from .source import Source, groups_of

__all__ = ["channel_attributes", "class_attributes", "global_attributes", "names_of"]

CONVENTIONS = "CF-1.9, ACDD-1.3"
# Where the file names angles, the quantity is certain. That of a channel is not: a reflectance may
# be that of the surface or that at the sensor.
_ANGLE_NAMES = ("solar_zenith_angle", "sensor_zenith_angle", None)


def names_of(channels: Sequence[Channel], taken: Sequence[str] = ()) -> list[str]:
    """A name for each channel: its label, where no other has it; "Ch6" where there is none.

    A slash becomes an underscore, as netCDF has it in paths. A label that is not the only one of
    its kind gets the number of the channel.
    """
    labels = [channel.label.strip().replace("/", "_") for channel in channels]
    names: list[str] = []
    for channel, label in zip(channels, labels):
        number = f"Ch{channel.number}"
        is_free = label and labels.count(label) == 1 and label not in taken
        name = label if is_free else "_".join(filter(None, [label, number]))
        while name in names or (not is_free and name in labels):
            name += "_"
        names.append(name)
    return names


def is_class_map(channel: Channel) -> bool:
    """Whether stored numbers are classes."""
    return channel.classes is not None and channel.storage in (Storage.BYTE, Storage.UINT16)


def _word(name: str, value: int) -> str:
    """A class name as one of CF's words.

    Examples
    --------
    >>> _word("dark feature / shadow", 2), _word("", 7)
    ('dark_feature_shadow', 'class_7')
    """
    return re.sub(r"[^A-Za-z0-9.+@-]+", "_", name).strip("_") or f"class_{value}"


def class_attributes(channel: Channel) -> dict[str, Any]:
    """Values, names and colours of classes; the names as they are, where CF's words differ."""
    dtype = channel.raw.dtype
    classes = [entry for entry in channel.classes or () if entry.value <= np.iinfo(dtype).max]
    names = [entry.name for entry in classes]
    words = [_word(entry.name, entry.value) for entry in classes]
    found = {
        "flag_values": np.array([entry.value for entry in classes], dtype),
        "flag_meanings": " ".join(words),
        "flag_colors": " ".join("#%02x%02x%02x" % entry.colour for entry in classes),
    }
    if names != words:
        found["class_names"] = "\n".join(names)
    return found


def channel_attributes(channel: Channel, angle_slots: Sequence[int]) -> dict[str, Any]:
    """What a file says of a channel; nothing of what is not set."""
    angle = list(angle_slots).index(channel.slot) if channel.slot in angle_slots else None
    facts: dict[str, Any] = {
        "standard_name": None if angle is None else _ANGLE_NAMES[angle],
        "long_name": channel.label,
        "units": channel.unit.symbol,
        "comment": channel.comment,
        "channel_number": channel.number,
    }
    if channel.wavelength is not None:
        facts["wavelength"] = float(str(np.float32(channel.wavelength)))
        facts["wavelength_units"] = "um"
    if is_class_map(channel):
        facts.update(class_attributes(channel))
    return present(facts)


def present(facts: Mapping[str, Any]) -> dict[str, Any]:
    """The facts that are known."""
    return {name: fact for name, fact in facts.items() if fact is not None and str(fact) != ""}


def _moment(time: datetime.datetime | None) -> str | None:
    return None if time is None else time.strftime("%Y-%m-%dT%H:%M:%S.%fZ")


def global_attributes(scene: Scene, source: Source, grid: Scene | View) -> dict[str, Any]:
    """What a file says of the scene."""
    part = grid if isinstance(grid, Scene) else scene
    facts = {
        "Conventions": CONVENTIONS,
        "title": part.comment.strip() or scene.path.stem,
        "id": scene.path.stem,
        "instrument": part.sensor.name,
        "platform": f"satellite {part.satellite}",
        "satellite_number": part.satellite,
        "platform_altitude_km": part.altitude,
        "spatial_resolution": f"{part.resolution:g} m",
        "time_coverage_start": _moment(part.start),
        "time_coverage_end": _moment(part.end),
        **bounds_of(grid),
        "metadata": part.metadata.text if part.metadata else None,
        "format_version": f"{part.version:.2f}",
    }
    if scene.is_container:
        facts["group"] = str(source.part)
        facts["groups"] = " ".join(groups_of(scene))
    return present(facts)
