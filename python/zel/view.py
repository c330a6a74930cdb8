"""A scene on one grid."""

from __future__ import annotations

import datetime
import os
from collections.abc import Sequence
from functools import cached_property
from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from . import _core
from .arrays import lines_of
from .blocks import classes_from
from .channel import Channel, Channels
from .errors import reported
from .grid import Grid, LineKey
from .planes import ViewPlane

if TYPE_CHECKING:
    from .scene import Scene

__all__ = ["View"]


class View(Grid):
    """All channels of a scene on the grid of its base component, as the library reads them.

    Finer components are averaged, coarser ones repeated. Reading a line of one channel makes the
    line for all, and keeps the last ones (64 MiB of them) for the other channels: read channel by
    channel in blocks of `lines_at_hand` lines, or several at once with `read`.

    Attributes
    ----------
    scene : Scene
    shape : tuple of int
        Lines, and pixels a line.
    channels : Channels
    """

    def __init__(self, scene: Scene) -> None:
        self.scene = scene
        self._name = scene._name
        with reported(self._name):
            self._core = _core.View(os.fsencode(self._name))
            self._facts = self._core.facts()
        facts = self._facts
        self.shape = (facts["lines"], facts["pixels"])
        self.luts = tuple(classes_from(lut) for lut in facts["luts"])
        origins = [channel.component for channel in scene.channels]
        self.channels = Channels(
            [
                Channel(
                    channel,
                    ViewPlane(self._core, self._name, facts, channel),
                    channel["slot"],
                    origin,
                    self.luts[channel["lut"]] if channel["lut"] >= 0 else None,
                )
                for channel, origin in zip(facts["channels"], origins)
            ],
            self._name,
        )

    @cached_property
    def date(self) -> datetime.date | None:
        """The day of the scene; None where the file has no valid one."""
        return self.scene.date

    def _navigator(self) -> _core.View:
        return self._core

    def _component_of_lines(self) -> _core.Component:
        return self.scene._navigator()

    # The library has the angles of a view's line, whatever they come from.
    def _angle_channels(self) -> list[Any]:
        return []

    def read(
        self, channels: Sequence[str | int], lines: LineKey = None, *, raw: bool = False
    ) -> list[npt.NDArray[Any]]:
        """Several channels at once.

        Parameters
        ----------
        channels : sequence of str or int
            Names, as in ``channels[name]``.
        lines : slice, range or int, optional
            All lines are the default.
        raw : bool
            Stored numbers instead of values.

        Returns
        -------
        list of numpy.ndarray
            One array of shape (lines, pixels) for each channel.
        """
        slots = [self.channels[name].slot for name in channels]
        span = lines_of(lines, self.shape[0])
        with reported(self._name):
            return self._core.read(slots, span.start, span.step, len(span), not raw)

    def stack(self, lines: LineKey = None) -> npt.NDArray[np.float32]:
        """The values of all channels, float32 of shape (channels, lines, pixels)."""
        slots = [channel.slot for channel in self.channels]
        span = lines_of(lines, self.shape[0])
        with reported(self._name):
            planes = self._core.read(slots, span.start, span.step, len(span), True)
        shape = (len(slots), len(span), self.shape[1])
        return np.stack(planes) if planes else np.zeros(shape, np.float32)

    @property
    def lines_at_hand(self) -> int:
        """How many lines are kept for the channels that are read next."""
        return self._core.lines_kept

    def close(self) -> None:
        """Closes the view. The scene stays open."""
        self._core.close()

    def __enter__(self) -> View:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __reduce__(self) -> tuple[Any, ...]:
        return (View, (self.scene,))

    def __repr__(self) -> str:
        return f"<View of {self._name}: {self.shape[0]} x {self.shape[1]}, {self.channels!r}>"
