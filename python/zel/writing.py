"""Writing scenes."""

from __future__ import annotations

import datetime
import os
import warnings
from collections.abc import Sequence
from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _core
from .blocks import Classes, Metadata, Table, table_facts
from .enums import Sensor
from .errors import PathLike, ZelError
from .lines import Lines, TiePoints
from .new_channel import AnyChannels, NewChannel, new_channels
from .new_lines import LineFacts, lines_like, tie_points_of, times_of
from .outputs import output
from .scene import Scene

__all__ = ["write"]

_LINES_AT_A_TIME = 64


@dataclass
class _Header:
    """What the header of a file says."""

    sensor: int = Sensor.GENERIC
    satellite: int = 0
    altitude: float = 0.0
    resolution: float = 0.0
    comment: str = ""
    metadata: Metadata | None = None
    tables: Sequence[Table] = ()
    luts: Sequence[Classes] = ()

    def facts(self, date: datetime.date, shape: tuple[int, int]) -> dict[str, Any]:
        metadata = self.metadata or Metadata(0, "")
        texts = {self.comment: _core.COMMENT_SIZE, metadata.text: _core.METADATA_SIZE}
        for text, limit in texts.items():
            if len(text.encode()) > limit:
                raise ValueError(f"the text '{text[:40]}...' has more than {limit} bytes")
        return {
            "sensor": int(self.sensor),
            "satellite": self.satellite,
            "altitude": self.altitude,
            "resolution": self.resolution,
            "comment": self.comment,
            "metadata": metadata.text.encode(),
            "metadata_type": metadata.type,
            "tables": [table_facts(table) for table in self.tables],
            "year": date.year,
            "day_of_year": date.timetuple().tm_yday,
            "pixels": shape[1],
        }


def _header_like(scene: Scene) -> _Header:
    return _Header(
        scene._facts["sensor"], scene.satellite, scene.altitude, scene.resolution, scene.comment,
        scene.metadata, scene.tables, scene.luts,
    )


def _shape_of(channels: Sequence[NewChannel]) -> tuple[int, int]:
    shapes = {tuple(channel.data.shape) for channel in channels}
    if len(shapes) > 1:
        raise ValueError(f"channels of different shapes: {sorted(shapes)}")
    lines, pixels = shapes.pop()
    return lines, pixels


def _slots_of(channels: Sequence[NewChannel]) -> list[int]:
    slots: list[int] = []
    for channel in channels:
        after = slots[-1] + 1 if slots else 0
        slots.append(after if channel.slot is None else channel.slot)
    if len(set(slots)) < len(slots) or not 0 <= min(slots) <= max(slots) < _core.MAX_CHANNELS:
        raise ValueError(f"impossible slots: {slots}")
    return slots


def _classes_of(channels: Sequence[NewChannel]) -> dict[str, Classes]:
    found: dict[str, Classes] = {}
    for channel in channels:
        if channel.classes is None:
            continue
        known = found.setdefault(channel.classes.label.lower(), channel.classes)
        if list(known) != list(channel.classes):
            raise ValueError(f"two sets of classes have the label '{known.label}'")
    return found


# A channel finds the first LUT of its label: others of the file that differ give way.
def _luts_of(channels: Sequence[NewChannel], luts: Sequence[Classes]) -> list[Classes]:
    own = _classes_of(channels)
    others = [lut for lut in luts if list(own.get(lut.label.lower(), lut)) == list(lut)]
    there = {lut.label.lower() for lut in others}
    return others + [lut for label, lut in own.items() if label not in there]


# Keys as they are, or by order where two are the same.
def _lut_facts(luts: Sequence[Classes]) -> list[dict[str, Any]]:
    are_keys = len({lut.key for lut in luts}) == len(luts)
    return [{**vars(lut), "key": lut.key if are_keys else None} for lut in luts]


def _angle_slots(
    angles: Sequence[str] | None, channels: Sequence[NewChannel], slots: Sequence[int],
    like: Scene | None,
) -> tuple[int, ...]:
    labels = [channel.label for channel in channels]
    if angles is None:
        angles = _angles_like(like)
        if len(angles) != 3 or any(labels.count(label) != 1 for label in angles):
            return (-1, -1, -1)
    if len(angles) != 3 or not set(angles) <= set(labels):
        raise ValueError("angles are the labels of three channels")
    return tuple(slots[labels.index(label)] for label in angles)


def _angles_like(like: Scene | None) -> list[str]:
    carried = like._angle_channels() if like else []
    return [channel.label for channel in carried]


def _block(channel: NewChannel, begin: int, end: int) -> npt.NDArray[Any]:
    kind = channel.stored_type if channel.is_raw else np.dtype(np.float32)
    return np.ascontiguousarray(np.asarray(channel.data[begin:end]), kind)


def _warn(channels: Sequence[NewChannel], misfits: Sequence[tuple[int, int]]) -> None:
    for channel, (missing, outside) in zip(channels, misfits):
        storage = channel.stored_type
        if missing and storage.kind != "f" and channel.missing is None:
            warnings.warn(
                f"{missing} values of '{channel.label}' are NaN and stored as its lowest number",
                stacklevel=4,
            )
        if outside:
            warnings.warn(
                f"{outside} values of '{channel.label}' are outside of its range", stacklevel=4
            )


def _write_file(
    name: str, header: dict[str, Any], channels: Sequence[NewChannel], slots: Sequence[int],
    luts: Sequence[Classes], lines: LineFacts,
) -> None:
    facts = [channel.facts(slot) for channel, slot in zip(channels, slots)]
    every_lut = _lut_facts(_luts_of(channels, luts))
    writer = _core.Writer(os.fsencode(name), header, facts, every_lut)
    count = channels[0].data.shape[0]
    for begin in range(0, count, _LINES_AT_A_TIME):
        end = min(begin + _LINES_AT_A_TIME, count)
        planes = [_block(channel, begin, end) for channel in channels]
        writer.write_lines(lines.part(begin, end), planes)
    for channel, slot in zip(channels, slots):
        known = channel.known_histogram
        if known is not None:
            writer.set_histogram(slot, known.min, known.max, known.counts)
    writer.finish()
    _warn(channels, writer.misfits())


def write(
    path: PathLike,
    channels: AnyChannels,
    *,
    like: Scene | None = None,
    start: datetime.datetime | datetime.date | None = None,
    end: datetime.datetime | None = None,
    times: npt.ArrayLike | None = None,
    lines: Lines | None = None,
    latitude: npt.ArrayLike | None = None,
    longitude: npt.ArrayLike | None = None,
    navigation_interval: int = 10,
    tie_points: TiePoints | None = None,
    sensor: Sensor | int | None = None,
    satellite: int | None = None,
    altitude: float | None = None,
    resolution: float | None = None,
    comment: str | None = None,
    metadata: Metadata | None = None,
    tables: Sequence[Table] | None = None,
    luts: Sequence[Classes] | None = None,
    angles: Sequence[str] | None = None,
    histograms: bool = True,
    overwrite: bool = False,
) -> None:
    """Writes a plain file. It is whole, or not there.

    Parameters
    ----------
    path : str or os.PathLike
    channels : mapping of str to array_like, or sequence of NewChannel
        All of one shape (lines, pixels). Data are taken some lines at a time. A `Channel` of
        another scene is copied as it is stored; a DataArray's attributes ``units`` and
        ``wavelength`` are kept.
    like : Scene, optional
        Where everything comes from that is not given: facts, LUTs, channels of angles that are
        written under the same labels, and the lines' times, altitudes, padding, nadirs and
        navigation points.
    start, end : datetime, optional
        Times of the first and the last line; UTC where they have no time zone. A date sets no
        times.
    times : array_like of datetime64, optional
        UTC, shape (lines,).
    lines : Lines, optional
        Times, altitudes, padding and nadirs of lines, as `Scene.lines` has them. Their times are of
        the day `start`; `times` replaces them.
    latitude, longitude : array_like, optional
        Degrees, of shape (lines, pixels). Every `navigation_interval`-th pixel is kept.
    tie_points : TiePoints, optional
        Navigation points as they are to be; pixels are evenly spaced.
    sensor, satellite, altitude, resolution, comment, metadata, tables : optional
        As `Scene` has them.
    luts : sequence of Classes, optional
        Display LUTs beside those of the channels, which go first where labels are the same.
    angles : sequence of str, optional
        Labels of the channels of solar zenith, view zenith and relative azimuth.
    histograms : bool
        Whether channels get histograms.
    overwrite : bool
        Whether an existing file is replaced.

    Raises
    ------
    FileExistsError
        There is a file, and `overwrite` is false.
    ValueError, TypeError
        Something does not fit the format.
    ZelError
        The file could not be written.

    Examples
    --------
    >>> import zel
    >>> zel.write("new.zel", {"a": np.array([[1, 2], [3, 4]], np.uint8)},
    ...           start=datetime.datetime(2024, 6, 20, 11, 30))
    >>> zel.open("new.zel").channels["a"].raw[:].tolist()
    [[1, 2], [3, 4]]
    """
    found = new_channels(channels)
    shape, slots = _shape_of(found), _slots_of(found)
    if like is not None and shape != like.shape:
        facts = _header_like(like)
        like = None
        warnings.warn("the scene has another shape: its lines are not taken", stacklevel=2)
    else:
        facts = _header_like(like) if like else _Header()
    given = {
        "sensor": sensor, "satellite": satellite, "altitude": altitude,
        "resolution": resolution, "comment": comment, "metadata": metadata, "tables": tables,
        "luts": luts,
    }
    for name, value in given.items():
        if value is not None:
            setattr(facts, name, value)
    new_lines = lines_like(like) if like else LineFacts.empty(shape)
    if lines is not None:
        new_lines.take(lines)
    date = times_of(new_lines, like, start, end, times)
    tie_points_of(new_lines, shape, latitude, longitude, navigation_interval, tie_points)
    header = facts.facts(date, shape) | new_lines.header()
    header["angle_slots"] = _angle_slots(angles, found, slots, like)
    header["histograms"] = histograms
    with output(path, overwrite) as temporary:
        try:
            _write_file(temporary, header, found, slots, facts.luts, new_lines)
        except _core.LibraryError as error:
            raise ZelError(str(error), file=path) from None
