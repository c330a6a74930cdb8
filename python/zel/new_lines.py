"""Times and places of lines that are to be written."""

from __future__ import annotations

import datetime
import warnings
from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

from .lines import Lines, TiePoints
from .scene import Scene

_NO_DATE = datetime.date(1900, 1, 1)
_HOUR = np.timedelta64(3600 * 10**6, "us")


@dataclass
class LineFacts:
    """The fields of lines, by line."""

    hours: npt.NDArray[np.float64]
    altitude: npt.NDArray[np.float32]
    padding: npt.NDArray[np.int32]
    nadir_pixel: npt.NDArray[np.int32]
    nadir: npt.NDArray[np.float32]
    pixels: npt.NDArray[np.int64]  # that have navigation points
    latitude: npt.NDArray[np.float32]
    longitude: npt.NDArray[np.float32]

    @classmethod
    def empty(cls, shape: tuple[int, int]) -> LineFacts:
        """Lines without times, places and padding; their nadir is in the middle."""
        lines, pixels = shape
        none = np.zeros((lines, 0), np.float32)
        return cls(
            np.zeros(lines), np.zeros(lines, np.float32),
            np.tile(np.array([0, pixels - 1], np.int32), (lines, 1)),
            np.full(lines, max(pixels // 2 - 1, 0), np.int32), np.zeros((lines, 2), np.float32),
            np.zeros(0, np.int64), none, none,
        )

    def header(self) -> dict[str, int]:
        """What the header says of navigation points."""
        first, interval = 0, 1
        if len(self.pixels):
            first = int(self.pixels[0])
        if len(self.pixels) > 1:
            steps = np.unique(np.diff(self.pixels))
            if len(steps) > 1 or steps[0] < 1:
                raise ValueError("the pixels of navigation points are not evenly spaced")
            interval = int(steps[0])
        return {"points": len(self.pixels), "first_point": first, "point_interval": interval}

    def part(self, begin: int, end: int) -> dict[str, Any]:
        """The arrays of some lines."""
        part = slice(begin, end)
        return {
            name: np.ascontiguousarray(values[part])
            for name, values in vars(self).items()
            if name != "pixels"
        }

    def take(self, lines: Lines) -> None:
        """Takes everything but navigation points."""
        if len(lines) != len(self.hours):
            raise ValueError(f"{len(lines)} lines for {len(self.hours)}")
        self.hours, self.altitude, self.padding = lines.hours, lines.altitude, lines.padding
        self.nadir_pixel = lines.nadir_pixel
        self.nadir = np.stack([lines.nadir_latitude, lines.nadir_longitude], axis=1)


def lines_like(scene: Scene) -> LineFacts:
    """The lines of a scene."""
    found = LineFacts.empty(scene.shape)
    found.take(scene.lines)
    found.pixels, found.latitude, found.longitude = scene.tie_points()
    return found


def _utc(moment: datetime.datetime) -> np.datetime64:
    if moment.tzinfo is not None:
        moment = moment.astimezone(datetime.timezone.utc).replace(tzinfo=None)
    return np.datetime64(moment, "us")


def _moments(
    count: int, start: datetime.datetime, end: datetime.datetime | None
) -> npt.NDArray[np.datetime64]:
    first = _utc(start)
    if end is None or count < 2:
        return np.full(count, first)
    step = (_utc(end) - first) / np.timedelta64(1, "us") / (count - 1)
    steps: npt.NDArray[np.timedelta64] = np.rint(np.arange(count) * step).astype("timedelta64[us]")
    moments: npt.NDArray[np.datetime64] = first + steps
    return moments


def times_of(
    lines: LineFacts, like: Scene | None, start: datetime.datetime | datetime.date | None,
    end: datetime.datetime | None, times: npt.ArrayLike | None,
) -> datetime.date:
    """Sets the times of lines. Returns the day of the scene."""
    count = len(lines.hours)
    if times is not None:
        found = np.asarray(times).astype("datetime64[us]")
        if found.shape != (count,):
            raise ValueError(f"{found.shape} times for {count} lines")
    elif isinstance(start, datetime.datetime):
        found = _moments(count, start, end)
    else:
        return _date_alone(like, start)
    day = found[0].astype("datetime64[D]") if count else np.datetime64(_NO_DATE)
    lines.hours = np.where(np.isnat(found), 0.0, (found - day) / _HOUR)
    date: datetime.date = day.item()
    return _checked(date)


def _date_alone(like: Scene | None, start: datetime.date | None) -> datetime.date:
    if start is not None:
        return _checked(start)
    if like is not None and like.date is not None:
        return _checked(like.date)
    warnings.warn("without start or times the file gets the first day of 1900", stacklevel=4)
    return _NO_DATE


# The format takes a year of two digits for one of the 20th century.
def _checked(date: datetime.date) -> datetime.date:
    if not isinstance(date, datetime.date) or date.year < 100:
        raise ValueError(f"no date for a scene: {date}")
    return date


def tie_points_of(
    lines: LineFacts, shape: tuple[int, int], latitude: npt.ArrayLike | None,
    longitude: npt.ArrayLike | None, interval: int, tie_points: TiePoints | None,
) -> None:
    """Sets the navigation points of lines, where there are some."""
    if tie_points is not None:
        pixels, lat, lon = (np.asarray(values) for values in tie_points)
    elif latitude is not None and longitude is not None:
        lat, lon = np.asarray(latitude), np.asarray(longitude)
        if lat.shape != lon.shape or lat.shape != shape:
            raise ValueError(f"latitudes and longitudes of shapes {lat.shape} and {lon.shape}")
        pixels = np.arange(0, shape[1], max(interval, 1))
        lat, lon = lat[:, pixels], lon[:, pixels]
    elif (latitude is None) != (longitude is None):
        raise ValueError("latitude and longitude belong together")
    else:
        return
    if lat.shape != lon.shape or lat.shape != (len(lines.hours), len(pixels)):
        raise ValueError(f"navigation points of shapes {lat.shape} and {lon.shape}")
    lines.pixels = pixels.astype(np.int64)
    lines.latitude, lines.longitude = lat.astype(np.float32), lon.astype(np.float32)
