"""What scenes and views have in common: lines, positions and angles."""

from __future__ import annotations

import datetime
from collections.abc import Mapping
from functools import cached_property
from typing import Any, Protocol, Union

import numpy as np
import numpy.typing as npt

from .arrays import lines_of
from .channel import Channels
from .errors import reported
from .lines import Angles, Lines, Positions, TiePoints

LineKey = Union[slice, range, int, None]


class _Navigator(Protocol):
    """A part of a file, or a view, for positions and angles."""

    def positions(
        self, first: int, step: int, count: int
    ) -> tuple[npt.NDArray[np.float32], npt.NDArray[np.float32]]: ...

    def angles(
        self, first: int, step: int, count: int
    ) -> tuple[npt.NDArray[np.float32], npt.NDArray[np.float32], npt.NDArray[np.float32]]: ...


class Grid:
    """Lines of pixels with time and place."""

    channels: Channels
    shape: tuple[int, int]
    _facts: Mapping[str, Any]
    _name: str

    @cached_property
    def date(self) -> datetime.date | None:
        raise NotImplementedError

    def _navigator(self) -> Any:
        raise NotImplementedError

    def _component_of_lines(self) -> Any:
        return self._navigator()

    def _scans(self, lines: range) -> dict[str, npt.NDArray[Any]]:
        with reported(self._name):
            found: dict[str, npt.NDArray[Any]] = self._component_of_lines().scans(
                lines.start, lines.step, len(lines)
            )
        return found

    @cached_property
    def lines(self) -> Lines:
        """Time, altitude, padding and nadir of each line."""
        return self.lines_at()

    def lines_at(self, lines: LineKey = None) -> Lines:
        """Time, altitude, padding and nadir of some lines.

        Parameters
        ----------
        lines : slice, range or int, optional
            All lines are the default.
        """
        return Lines(self._scans(lines_of(lines, self.shape[0])), self.date)

    def tie_points(self, lines: LineKey = None) -> TiePoints:
        """The navigation points of lines.

        Parameters
        ----------
        lines : slice, range or int, optional
            All lines are the default.

        Returns
        -------
        TiePoints
            With arrays of shape (lines, points); without points where the file has none.
        """
        span = lines_of(lines, self.shape[0])
        facts = self._facts
        points = np.arange(max(facts["points"], 0)) * facts["point_interval"]
        with reported(self._name):
            lat, lon = self._component_of_lines().points(span.start, span.step, len(span))
        return TiePoints(points + facts["first_point"], lat, lon)

    def positions(self, lines: LineKey = None) -> Positions:
        """The positions of pixels, interpolated as the library does, to the bit.

        Parameters
        ----------
        lines : slice, range or int, optional
            All lines are the default.

        Returns
        -------
        Positions
            Two arrays of shape (lines, pixels), degrees; -9999 where the file has no navigation.
        """
        span = lines_of(lines, self.shape[0])
        with reported(self._name):
            return Positions(*self._navigator().positions(span.start, span.step, len(span)))

    def angles(self, lines: LineKey = None) -> Angles:
        """Sun and view angles of pixels, as the library computes or finds them, to the bit.

        Parameters
        ----------
        lines : slice, range or int, optional
            All lines are the default.

        Returns
        -------
        Angles
            Three arrays of shape (lines, pixels), degrees.
        """
        span = lines_of(lines, self.shape[0])
        carried = self._angle_channels()
        if carried:
            rows = slice(span.start, span.stop, span.step)
            return Angles(*(channel[rows] for channel in carried))
        with reported(self._name):
            return Angles(*self._navigator().angles(span.start, span.step, len(span)))

    # A file that names three channels of angles carries them.
    def _angle_channels(self) -> list[Any]:
        slots = self._facts["angle_slots"]
        found = [c for slot in slots for c in self._own_channels() if c.slot == slot]
        return found if len(found) == 3 else []

    def _own_channels(self) -> Channels:
        return self.channels
