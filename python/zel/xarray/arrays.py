"""Arrays that xarray reads when it needs them, from any thread and in any process."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any, Protocol

import numpy as np
import numpy.typing as npt
from xarray.backends import BackendArray
from xarray.core import indexing

from ..arrays import span_of
from ..channel import Channel
from ..errors import DamagedFileError, ZelError
from ..scene import Scene
from ..view import View
from .source import Source

__all__ = ["ChannelRows", "LineArray", "PointRows", "PositionRows", "TimeRows"]

Rows = npt.NDArray[Any]


class Reader(Protocol):
    """What reads some lines of a grid."""

    def __call__(self, grid: Scene | View, lines: range, pixels: range | None) -> Rows: ...


def channel_in(grid: Scene | View, slot: int) -> Channel:
    """The channel in a slot."""
    return next(channel for channel in grid.channels if channel.slot == slot)


@dataclass(frozen=True)
class ChannelRows:
    """The pixels of a channel: values, or stored numbers."""

    slot: int
    decode: bool

    def __call__(self, grid: Scene | View, lines: range, pixels: range | None) -> Rows:
        channel = channel_in(grid, self.slot)
        array = channel.lazy_values if self.decode else channel.raw
        columns = slice(None) if pixels is None else slice_of(pixels)
        found: Rows = array[slice_of(lines), columns]
        return found


@dataclass(frozen=True)
class TimeRows:
    """The times of lines, or the hours of the day as they are stored."""

    decode: bool

    def __call__(self, grid: Scene | View, lines: range, pixels: range | None) -> Rows:
        found = grid.lines_at(lines)
        if self.decode:
            return found.time.astype("datetime64[ns]")
        return np.where(np.isnat(found.time), np.nan, found.hours)


@dataclass(frozen=True)
class PointRows:
    """Latitudes or longitudes of navigation points."""

    name: str

    def __call__(self, grid: Scene | View, lines: range, pixels: range | None) -> Rows:
        found: Rows = getattr(grid.tie_points(lines), self.name)
        return found if pixels is None else found[:, slice_of(pixels)]


@dataclass(frozen=True)
class PositionRows:
    """Latitudes or longitudes of pixels."""

    name: str

    def __call__(self, grid: Scene | View, lines: range, pixels: range | None) -> Rows:
        found: Rows = getattr(grid.positions(lines), self.name)
        return found if pixels is None else found[:, slice_of(pixels)]


def slice_of(span: range) -> slice:
    """The slice that takes what an ascending range has."""
    return slice(span.start, span.stop, span.step)


class LineArray(BackendArray):  # type: ignore[misc]
    """An array of one or two dimensions, the first of which are lines of a grid.

    It holds no lock and no open file, and reads through the files that its process has open.
    """

    def __init__(
        self, source: Source, reader: Reader, shape: tuple[int, ...], dtype: npt.DTypeLike
    ) -> None:
        self._source = source
        self._reader = reader
        self.shape = shape
        self.dtype: np.dtype[Any] = np.dtype(dtype)

    def __getitem__(self, key: indexing.ExplicitIndexer) -> Any:
        return indexing.explicit_indexing_adapter(
            key, self.shape, indexing.IndexingSupport.BASIC, self._read
        )

    def _read(self, key: tuple[Any, ...]) -> Any:
        lines, take_lines = span_of(key[0], self.shape[0], 0)
        if len(self.shape) == 1:
            return self._rows(lines, None)[take_lines]
        pixels, take_pixels = span_of(key[1], self.shape[1], 1)
        return self._rows(lines, pixels)[take_lines, take_pixels]

    def _rows(self, lines: range, pixels: range | None) -> Rows:
        grid = self._source.grid()
        # Another process opens the file later: it may have been cut since, or written over.
        if lines and lines[-1] >= grid.shape[0]:
            raise DamagedFileError(
                f"the file is cut short after it was opened: no line {lines[-1]}",
                file=self._source.path,
            )
        rows = self._reader(grid, lines, pixels)
        width = () if pixels is None else (len(pixels),)
        if rows.shape != (len(lines), *width) or rows.dtype != self.dtype:
            raise ZelError("the file has changed since it was opened", file=self._source.path)
        return rows
