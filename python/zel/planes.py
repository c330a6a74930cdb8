"""Where the pixels of channels are: in a file, or in the lines of a view."""

from __future__ import annotations

from collections.abc import Mapping
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _core
from .enums import Storage
from .errors import PathLike, reported

_NO_TABLE: npt.NDArray[np.float32] = np.zeros(0, np.float32)


def stored_type(channel: Mapping[str, Any]) -> np.dtype[Any]:
    """The type of a channel's stored numbers, in the byte order of the machine."""
    kind = "f" if channel["storage"] == Storage.FLOAT else "u"
    return np.dtype(f"{kind}{channel['itemsize']}")


class FilePlane:
    """A plane of a plain file or component. It is read from its place, without the library."""

    def __init__(
        self, file: _core.File, component: _core.Component, name: PathLike, part: int | None,
        facts: Mapping[str, Any], channel: Mapping[str, Any],
    ) -> None:
        self.shape: tuple[int, int] = (facts["lines"], facts["pixels"])
        self.dtype = stored_type(channel)
        self._file = file
        self._component = component
        self._name = name
        self._part = part
        self._slot: int = channel["slot"]
        self._begin: int = facts["first_line"] + channel["offset"]
        self._line_size: int = facts["line_size"]
        self._is_swapped: bool = facts["is_swapped"]
        self._is_scaled = Storage(channel["storage"]).is_scaled
        self._table: npt.NDArray[np.float32] | None = None if self._is_scaled else _NO_TABLE

    def _values(self) -> npt.NDArray[np.float32]:
        if self._table is None:
            self._table = self._component.scaling_table(self._slot)
        return self._table

    def read(self, lines: range, pixels: range, decode: bool) -> npt.NDArray[Any]:
        span = pixels[-1] - pixels[0] + 1 if pixels else 0
        begin = self._begin + lines.start * self._line_size + pixels.start * self.dtype.itemsize
        window = (begin, self._line_size * lines.step, len(lines), span, self.dtype)
        with reported(self._name):
            if decode:
                table = self._values()
                found = self._file.read_values(*window, self._is_swapped, table)
            else:
                found = self._file.read(*window, self._is_swapped)
        return found[:, :: pixels.step]

    def mask_bytes(self) -> bytes:
        with reported(self._name):
            return self._component.mask(self._slot)

    def memmap(self) -> npt.NDArray[Any]:
        kind = self.dtype.newbyteorder("S") if self._is_swapped else self.dtype
        if 0 in self.shape:
            return np.empty(self.shape, kind)
        mapped = np.memmap(self._name, np.uint8, "r")
        strides = (self._line_size, kind.itemsize)
        found: npt.NDArray[Any] = np.ndarray(self.shape, kind, mapped, self._begin, strides)
        return found

    def place(self) -> tuple[Any, ...]:
        return (self._name, self._part, self._slot)


class ViewPlane:
    """A plane of a view, whose lines the library makes."""

    def __init__(
        self, view: _core.View, name: PathLike, facts: Mapping[str, Any],
        channel: Mapping[str, Any],
    ) -> None:
        self.shape: tuple[int, int] = (facts["lines"], facts["pixels"])
        self.dtype = stored_type(channel)
        self._view = view
        self._name = name
        self._slot: int = channel["slot"]

    def read(self, lines: range, pixels: range, decode: bool) -> npt.NDArray[Any]:
        with reported(self._name):
            planes = self._view.read([self._slot], lines.start, lines.step, len(lines), decode)
        return planes[0][:, pixels.start : pixels.stop : pixels.step]

    def place(self) -> tuple[Any, ...]:
        return (self._name, "view", self._slot)
