"""Scenes: what `zel.open` gives."""

from __future__ import annotations

import datetime
import os
from collections.abc import Mapping
from functools import cached_property
from pathlib import Path
from types import TracebackType
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _core
from .arrays import LazyArray
from .blocks import Classes, Metadata, Table, classes_from, tables_from
from .channel import Channel, Channels
from .enums import Sensor
from .errors import PathLike, reported
from .grid import Grid
from .planes import FilePlane
from .times import day_of, moment
from .view import View

__all__ = ["Scene", "open"]


class Scene(Grid):
    """A ZEL file: a plain one, a container of several, or a component of a container.

    A container has the channels of all its components, each on the grid of its own component, in
    the order and with the slots that its view has. Its shape, lines and positions are those of the
    base component.

    A scene reads pixels when they are asked for. It can be used from several threads, and pickled:
    it opens its file again. It is closed by `close`, or at the end of a ``with`` block.

    Attributes
    ----------
    path : pathlib.Path
        Absolute.
    part : int or None
        The component of a container that this scene is; None for a whole file.
    shape : tuple of int
        Lines, and pixels a line.
    channels : Channels
    sensor : Sensor
    satellite : int
    year, day_of_year : int
    version : float
        Of the layout.
    altitude : float
        Of the satellite, km.
    resolution : float
        Metres.
    comment : str
    metadata : Metadata or None
    luts : tuple of Classes
        All display LUTs of the file.
    tables : tuple of Table
    base : int
        The place of the base component in `components`; 0 for a plain file.
    """

    def __init__(self, path: PathLike, part: int | None = None) -> None:
        name = os.path.abspath(path)  # the working directory may be another one later
        self._file = _core.File(os.fsencode(name))
        with reported(name):
            directory = self._file.directory()
        places = directory["components"]
        if part is not None and not 0 <= part < len(places):
            raise IndexError(f"{name} has no component {part}: it has {len(places)}")
        self._setup(name, directory, part)

    def _setup(self, name: str, directory: Mapping[str, Any], part: int | None) -> None:
        self.path = Path(name)
        self.part = part
        self._name = name
        self._directory = directory
        self._is_container = bool(directory["is_container"]) and part is None
        places = directory["components"]
        self.base: int = directory["base"] if self._is_container else 0
        if self._is_container:
            self._components = tuple(self._component(k) for k in range(len(places)))
            self._take_facts(self._components[self.base]._facts)
            self.channels = self._channels_of_all()
            return
        offset, size = places[part or 0]
        self._core = _core.Component(self._file, offset, size)
        with reported(name):
            facts = self._core.facts()
        self._take_facts(facts)
        self.luts = tuple(classes_from(lut) for lut in facts["luts"])
        self.channels = Channels([self._channel(c) for c in facts["channels"]], name)

    def _component(self, part: int) -> Scene:
        scene = Scene.__new__(Scene)
        scene._file = self._file
        scene._setup(self._name, self._directory, part)
        return scene

    def _take_facts(self, facts: Mapping[str, Any]) -> None:
        self._facts = facts
        self.shape = (facts["lines"], facts["pixels"])
        self.sensor = Sensor(facts["sensor"])
        self.satellite: int = facts["satellite"]
        self.year: int = facts["year"]
        self.day_of_year: int = facts["day_of_year"]
        self.version: float = round(facts["version"], 2)
        self.altitude: float = facts["altitude"]
        self.resolution: float = facts["resolution"]
        self.comment: str = facts["comment"]
        self.metadata = Metadata(**facts["metadata"]) if facts["metadata"] else None
        self.tables: tuple[Table, ...] = tables_from(facts["tables"])

    def _channel(self, facts: Mapping[str, Any]) -> Channel:
        plane = FilePlane(self._file, self._core, self._name, self.part, self._facts, facts)
        classes = self.luts[facts["lut"]] if facts["lut"] >= 0 else None
        return Channel(facts, plane, facts["slot"], self.part or 0, classes)

    # Slots are counted on from component to component, as they are in the view.
    def _channels_of_all(self) -> Channels:
        channels: list[Channel] = []
        luts: list[Classes] = []
        for scene in self._components:
            luts += scene.luts
            for channel, facts in zip(scene.channels, scene._facts["channels"]):
                plane = channel.raw._plane
                channels.append(
                    Channel(facts, plane, len(channels), channel.component, channel.classes)
                )
        self.luts = tuple(luts)
        return Channels(channels, self._name)

    @property
    def is_container(self) -> bool:
        """Whether this is a container of several components."""
        return self._is_container

    @property
    def components(self) -> tuple[Scene, ...]:
        """The components of a container as scenes of their own; of a plain file, the scene."""
        return self._components if self._is_container else (self,)

    @property
    def finest(self) -> Scene:
        """The component with the smallest pixels."""
        known = [scene for scene in self.components if scene.resolution > 0]
        return min(known or self.components, key=lambda scene: scene.resolution)

    @cached_property
    def date(self) -> datetime.date | None:
        """The day of the scene; None where the file has no valid one."""
        return day_of(self.year, self.day_of_year)

    @cached_property
    def start(self) -> datetime.datetime | None:
        """The time of the first line, UTC; None where it is not set."""
        return self._time_of(0)

    @cached_property
    def end(self) -> datetime.datetime | None:
        """The time of the last line, UTC; None where it is not set."""
        return self._time_of(self.shape[0] - 1)

    def _time_of(self, line: int) -> datetime.datetime | None:
        if self.shape[0] == 0:
            return None
        hours = self._scans(range(line, line + 1))["hours"][0]
        return moment(self.date, float(hours))

    def _navigator(self) -> _core.Component:
        return self._components[self.base]._core if self._is_container else self._core

    def view(self) -> View:
        """The scene as the library reads it: all channels on the grid of the base component.

        Returns
        -------
        View
            Its stored numbers, values, positions and angles are the library's, to the bit.
        """
        return View(self)

    def close(self) -> None:
        """Closes the file. Pixels cannot be read any more."""
        self._file.close()

    @property
    def closed(self) -> bool:
        """Whether the file is closed."""
        return self._file.closed

    def __enter__(self) -> Scene:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self.close()

    def __reduce__(self) -> tuple[Any, ...]:
        return (Scene, (self._name, self.part))

    def __repr__(self) -> str:
        from .describe import text_of

        return text_of(self)

    def _repr_html_(self) -> str:
        from .picture import html_of

        return html_of(self)

    def quicklook(self) -> npt.NDArray[np.uint8] | None:
        """A small picture, uint8 of shape (lines, pixels, 3); None without pixels."""
        from .picture import quicklook

        return quicklook(self)


def _array_again(path: str, part: int | str | None, slot: int, decode: bool) -> LazyArray:
    """What a pickled array becomes."""
    scene: Scene | View = Scene(path).view() if part == "view" else _part_again(path, part)
    channel = next(c for c in scene.channels if c.slot == slot)
    return channel.lazy_values if decode else channel.raw


def _part_again(path: str, part: int | str | None) -> Scene:
    return Scene(path, part if isinstance(part, int) else None)


def open(path: PathLike) -> Scene:  # noqa: A001
    """Opens a ZEL file, plain or container, for reading.

    Parameters
    ----------
    path : str or os.PathLike

    Returns
    -------
    Scene

    Raises
    ------
    OSError
        The file cannot be opened, or is no regular file.
    UnsupportedFileError
        It is no ZEL file, or of a version that is not supported.
    DamagedFileError
        Its header is damaged; the error has the field and its offset.
    """
    return Scene(path)
