"""Channels that are to be written."""

from __future__ import annotations

from collections.abc import Callable, Mapping, Sequence
from dataclasses import dataclass, field, replace
from typing import Any, Union

import numpy as np

from . import _core
from .blocks import Classes, Histogram, Table, table_facts
from .channel import Channel
from .enums import Storage, Unit

__all__ = ["NewChannel"]

_LIMIT = _core.CHANNEL_TEXT_SIZE - 1
_PLAIN = {np.dtype(np.uint8): Storage.BYTE, np.dtype(np.uint16): Storage.UINT16}
_BITS = {Storage.BYTE_SCALED: 8, Storage.BYTE: 8, Storage.FLOAT: 32}
_TYPES: dict[int, np.dtype[Any]] = {
    8: np.dtype(np.uint8), 16: np.dtype(np.uint16), 32: np.dtype(np.float32)
}


@dataclass
class NewChannel:
    """A channel that is to be written.

    Attributes
    ----------
    data : array_like
        Of shape (lines, pixels), or anything of that shape that gives arrays for slices of lines:
        a Dask array, a DataArray, a channel of another scene.
    label : str
        At most 119 bytes.
    storage : Storage, optional
        By default that of the data's type: uint8 and uint16 as they are, all other
        numbers as float32; with a range, scaled 16-bit numbers.
    min, max : float, optional
        The range of scaled numbers, or of floats, in `unit`. Values outside are brought to its
        ends, with a warning.
    unit : Unit
    wavelength : float, optional
        Microns.
    comment : str
        At most 119 bytes; of a channel with classes it is the label of these.
    classes : Classes, optional
        Names and colours of values.
    raw : bool
        Whether the data are the stored numbers of a scaled channel, not values.
    missing : float, optional
        The value that stands for NaN where numbers are no floats.
    bits, is_base, slot, tables
        As `Channel` has them; the slot after that of the channel before is the default.
    mask : bytes
        A classifier mask, as `Channel.mask_bytes` has it.
    histogram : Histogram or function, optional
        What is written in place of the counts of the stored numbers, where it has as many bins as
        the library's; a function is called when all data are written.
    """

    data: Any
    label: str = ""
    storage: Storage | None = None
    min: float | None = None
    max: float | None = None
    unit: Unit | int = Unit.NONE
    wavelength: float | None = None
    comment: str = ""
    classes: Classes | None = None
    raw: bool = False
    missing: float | None = None
    bits: int | None = None
    is_base: bool = False
    slot: int | None = None
    tables: Sequence[Table] = field(default=())
    mask: bytes = field(default=b"", repr=False)
    histogram: Histogram | Callable[[], Histogram | None] | None = field(default=None, repr=False)

    def __post_init__(self) -> None:
        if not hasattr(self.data, "shape") or not hasattr(self.data, "dtype"):
            self.data = np.asarray(self.data)
        if len(self.data.shape) != 2:
            raise ValueError(f"channel '{self.label}' has shape {self.data.shape}, not two axes")
        if self.storage is None:
            self.storage = self._storage_of_data()
        if self.storage.is_scaled and not self._has_range():
            raise ValueError(f"channel '{self.label}' needs min and max for scaled numbers")
        if self.classes is not None:
            self._name_classes(self.classes)
        for name, text in (("label", self.label), ("comment", self.comment)):
            if len(text.encode()) > _LIMIT:
                raise ValueError(f"the {name} '{text[:40]}...' has more than {_LIMIT} bytes")

    def _has_range(self) -> bool:
        return self.min is not None and self.max is not None and self.min < self.max

    def _storage_of_data(self) -> Storage:
        if self.min is not None or self.max is not None:
            return Storage.UINT16_SCALED
        kind = np.dtype(self.data.dtype)
        if kind.kind not in "buif":
            raise TypeError(f"channel '{self.label}' has data of type {kind}")
        return _PLAIN.get(kind.newbyteorder("="), Storage.FLOAT)

    # A channel finds its classes by the label that is its comment.
    def _name_classes(self, classes: Classes) -> None:
        name = classes.label or self.comment or self.label
        self.classes = Classes(classes.names, classes.colours, name, classes.key)
        if self.raw and self.comment.lower() == name.lower():  # a channel that has them already
            return
        self.comment = name
        if self.unit == Unit.NONE:
            self.unit = Unit.LUT

    @property
    def known_histogram(self) -> Histogram | None:
        """The histogram that is written in place of counts."""
        return self.histogram() if callable(self.histogram) else self.histogram

    @property
    def stored_type(self) -> np.dtype[Any]:
        """The type of stored numbers."""
        return _TYPES[_BITS.get(self.storage or Storage.FLOAT, 16)]

    @property
    def is_raw(self) -> bool:
        """Whether the data are stored as they are."""
        plain = self.storage in (Storage.BYTE, Storage.UINT16)
        same = np.dtype(self.data.dtype).newbyteorder("=") == self.stored_type
        return (self.raw or plain) and same

    def facts(self, slot: int) -> dict[str, Any]:
        """What the extension needs."""
        storage = self.storage or Storage.FLOAT
        if self.raw and not self.is_raw:
            raise TypeError(f"stored numbers of '{self.label}' are {self.stored_type}")
        return {
            "slot": slot,
            "label": self.label,
            "comment": self.comment,
            "storage": int(storage),
            "min": self.min or 0.0,
            "max": self.max or 0.0,
            "unit": int(self.unit),
            "bits": self.bits if self.bits is not None else 8 * self.stored_type.itemsize,
            "wavelength": self.wavelength or 0.0,
            "is_base": self.is_base,
            "is_raw": self.is_raw,
            "missing": self.missing,
            "tables": [table_facts(table) for table in self.tables],
            "mask": self.mask,
        }


def _from_channel(channel: Channel) -> NewChannel:
    return NewChannel(
        channel.raw, channel.label, channel.storage, *channel._range, channel._unit_code,
        channel.wavelength, channel.comment, channel.classes, raw=True, bits=channel.bits,
        is_base=channel.is_base, tables=channel.tables, mask=_mask_of(channel),
        histogram=channel.histogram,
    )


def _mask_of(channel: Channel) -> bytes:
    return channel.mask_bytes() if hasattr(channel.raw._plane, "mask_bytes") else b""


# A DataArray has a name, and attributes for the rest.
def _from_array(data: Any, label: str) -> NewChannel:
    known = getattr(data, "attrs", {})
    symbol = str(known.get("units", ""))
    unit = next((u for u in Unit if symbol and symbol in (u.symbol, u.name.lower())), Unit.NONE)
    wavelength = known.get("wavelength")
    return NewChannel(
        data, label or str(getattr(data, "name", None) or ""), unit=unit,
        wavelength=None if wavelength is None else float(wavelength),
    )


AnyChannels = Union[Mapping[str, Any], Sequence[Any]]


def new_channels(channels: AnyChannels) -> list[NewChannel]:
    """Channels of a mapping from labels to arrays or channels, or of a sequence of channels."""
    pairs = channels.items() if isinstance(channels, Mapping) else (("", c) for c in channels)
    found = []
    for label, item in pairs:
        if isinstance(item, NewChannel):
            made = item
        else:
            made = _from_channel(item) if isinstance(item, Channel) else _from_array(item, label)
        found.append(replace(made, label=str(label)) if label else made)
    if not found:
        raise ValueError("there are no channels")
    return found
