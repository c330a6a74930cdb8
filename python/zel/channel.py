"""The channels of a scene."""

from __future__ import annotations

import math
from collections.abc import Iterator, Mapping, Sequence
from functools import cached_property
from typing import Any

import numpy as np
import numpy.typing as npt

from .arrays import Key, LazyArray, Plane
from .blocks import Classes, Histogram, Mask, Table, histogram_from, mask_from, tables_from
from .enums import Storage, Unit
from .errors import ChannelError, PathLike

__all__ = ["Channel", "Channels"]


class Channel:
    """A channel: its pixels, and what the file says of them.

    Indexing gives values as float32 in `unit`, and reads only what it touches: ``channel[10:20]``.
    ``numpy.asarray(channel)`` gives all values.

    Attributes
    ----------
    label, comment : str
    slot : int
        Its place in the scene, from 0.
    component : int
        The component of a container that has it; 0 in a plain file.
    unit : Unit
    wavelength : float or None
        Microns; None where it is not set.
    storage : Storage
    bits : int
        The resolution of the sensor that the file declares.
    min, max : float or None
        The scale range, in `unit`; None where stored numbers are not scaled.
    is_base : bool
        Whether the file marks it as a base channel.
    classes : Classes or None
        Names and colours of its values.
    histogram, standard_histogram : Histogram or None
    mask : Mask or None
        In short; `mask_bytes` has all of it.
    tables : tuple of Table
    raw : LazyArray
        The stored numbers: uint8, uint16 or float32 of shape (lines, pixels).
    """

    def __init__(
        self, facts: Mapping[str, Any], plane: Plane, slot: int, component: int,
        classes: Classes | None,
    ) -> None:
        self.label: str = facts["label"]
        self.comment: str = facts["comment"]
        self.slot = slot
        self.component = component
        self.unit = Unit(facts["unit"])
        self._unit_code: int = facts["unit"]
        self.storage = Storage(facts["storage"])
        self.bits: int = facts["bits"]
        length = float(facts["wavelength"])
        self.wavelength = length if math.isfinite(length) and length > 0 else None
        self.min = float(facts["min"]) if self.storage.is_scaled else None
        self.max = float(facts["max"]) if self.storage.is_scaled else None
        self._range = (float(facts["min"]), float(facts["max"]))  # whatever the storage
        self.is_base: bool = facts["is_base"]
        self.classes = classes
        self.histogram: Histogram | None = histogram_from(facts["histogram"])
        self.standard_histogram: Histogram | None = histogram_from(facts["standard_histogram"])
        self.mask: Mask | None = mask_from(facts["mask"])
        self.tables: tuple[Table, ...] = tables_from(facts["tables"])
        self.raw = LazyArray(plane)
        self._values = LazyArray(plane, decode=True)

    ndim = 2

    @property
    def number(self) -> int:
        """The number in expressions, from 1: channel ``Ch6`` is in slot 5."""
        return self.slot + 1

    @property
    def shape(self) -> tuple[int, int]:
        """Lines, and pixels a line."""
        return self.raw.shape

    @property
    def dtype(self) -> np.dtype[Any]:
        """float32, the type of values."""
        return self._values.dtype

    @property
    def values(self) -> npt.NDArray[np.float32]:
        """All values in `unit`, float32 of shape (lines, pixels), read now."""
        found: npt.NDArray[np.float32] = self._values[:, :]
        return found

    @property
    def lazy_values(self) -> LazyArray:
        """The values as an array that reads what is asked for."""
        return self._values

    def mask_bytes(self) -> bytes:
        """The classifier mask as a file has it, for `NewChannel`; empty without one.

        Raises
        ------
        TypeError
            The channel is that of a view: ask that of the scene.
        """
        if self.mask is None:
            return b""
        found = getattr(self.raw._plane, "mask_bytes", None)
        if found is None:
            raise TypeError("channels of a view do not have their masks")
        mask: bytes = found()
        return mask

    @cached_property
    def scaling(self) -> tuple[float, float] | None:
        """Scale factor and offset of stored numbers; None where these are not scaled.

        ``number * factor + offset`` is the value to the precision of a float; `values` are those
        of the library to the bit.
        """
        if self.min is None or self.max is None:
            return None
        steps = int(np.iinfo(self.raw.dtype).max)
        return float(np.float32(self.max) - np.float32(self.min)) / steps, self.min

    def __getitem__(self, key: Key) -> Any:
        return self._values[key]

    def __len__(self) -> int:
        return self.shape[0]

    def __array__(self, dtype: npt.DTypeLike = None, copy: bool | None = None) -> npt.NDArray[Any]:
        return self._values.__array__(dtype, copy)

    def __repr__(self) -> str:
        parts = [f"<Channel #{self.slot} {self.label!r}", f"{self.shape[0]} x {self.shape[1]}"]
        parts.append(self.storage.name.lower())
        if self.min is not None:
            parts.append(f"{np.float32(self.min)!s} .. {np.float32(self.max)!s}")
        if self.unit is not Unit.NONE:
            parts.append(self.unit.name.lower())
        if self.wavelength is not None:
            parts.append(f"{np.float32(self.wavelength)!s} um")
        if self.classes:
            parts.append(f"{len(self.classes)} classes")
        return ", ".join(parts) + ">"


def _number(text: str) -> int | None:
    digits = text[1:] if text[:1] == "+" else text
    return int(text) if digits.isascii() and digits.isdigit() else None


def _lower(text: str) -> str:
    """Letters of ASCII in lower case, as labels are compared."""
    return "".join(c.lower() if c.isascii() else c for c in text)


class Channels:
    """The channels of a scene, in the order of their slots.

    A channel is found by its label (where no label is the same, without regard to case), by its
    number in expressions (``"Ch6"`` or 6, from 1), or by its slot (``"#5"``, from 0).
    """

    def __init__(self, channels: Sequence[Channel], file: PathLike | None = None) -> None:
        self._channels = tuple(channels)
        self._file = file

    @property
    def labels(self) -> list[str]:
        """The labels, in order. Several channels may have the same."""
        return [channel.label for channel in self._channels]

    def _labelled(self, name: str) -> list[Channel]:
        found = [c for c in self._channels if c.label == name]
        return found or [c for c in self._channels if _lower(c.label) == _lower(name)]

    def _numbered(self, name: str | int) -> list[Channel]:
        slot = None
        if isinstance(name, int):
            slot = name - 1
        elif name[:1] == "#":
            slot = _number(name[1:])
        elif _lower(name[:2]) == "ch":
            number = _number(name[2:])
            slot = None if number is None else number - 1
        return [c for c in self._channels if c.slot == slot]

    def find(self, name: str | int) -> list[Channel]:
        """All channels that a name may mean."""
        if not isinstance(name, str):
            return self._numbered(int(name))
        found = self._labelled(name)
        return found + [c for c in self._numbered(name) if c not in found]

    def __getitem__(self, name: str | int) -> Channel:
        found = self.find(name)
        if len(found) == 1:
            return found[0]
        shown = name if isinstance(name, str) else f"Ch{name}"
        if found:
            raise ChannelError(f"channel '{shown}' is ambiguous: {_listed(found)}", file=self._file)
        there = _listed(self._channels)
        raise ChannelError(f"no channel '{shown}'; there are {there}", file=self._file)

    def __contains__(self, name: object) -> bool:
        return isinstance(name, (str, int)) and len(self.find(name)) == 1

    def __iter__(self) -> Iterator[Channel]:
        return iter(self._channels)

    def __len__(self) -> int:
        return len(self._channels)

    def __repr__(self) -> str:
        return f"<Channels: {_listed(self._channels)}>"


def _listed(channels: Sequence[Channel]) -> str:
    return ", ".join(f"#{c.slot} {c.label}".rstrip() for c in channels)
