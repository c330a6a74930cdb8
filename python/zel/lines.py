"""What a file says of its lines."""

from __future__ import annotations

from collections.abc import Mapping
from datetime import date
from typing import Any, NamedTuple

import numpy as np
import numpy.typing as npt

from .times import moments

__all__ = ["Angles", "Lines", "Positions", "TiePoints"]

_Floats = npt.NDArray[np.float32]


class Positions(NamedTuple):
    """Positions of pixels, float32 of shape (lines, pixels), degrees north and east."""

    latitude: _Floats
    longitude: _Floats


class Angles(NamedTuple):
    """Sun and view angles of pixels, float32 of shape (lines, pixels), degrees.

    The azimuth is that between the sun and the satellite. All angles are 0 where altitude, time
    or navigation are not known.
    """

    solar_zenith: _Floats
    view_zenith: _Floats
    relative_azimuth: _Floats


class TiePoints(NamedTuple):
    """The navigation points of lines.

    Attributes
    ----------
    pixels : numpy.ndarray
        The pixels of a line that have points, int64 of shape (points,).
    latitude, longitude : numpy.ndarray
        Degrees north and east, float32 of shape (lines, points).
    """

    pixels: npt.NDArray[np.int64]
    latitude: _Floats
    longitude: _Floats


class Lines:
    """Time, altitude, padding and nadir of each line.

    Attributes
    ----------
    time : numpy.ndarray
        UTC, datetime64[us] of shape (lines,); NaT where it is not set.
    hours : numpy.ndarray
        The same as hours of the day as they are stored, float64.
    altitude : numpy.ndarray
        Of the satellite, km, float32; 0 where it is not set.
    padding : numpy.ndarray
        The first and the last pixel that hold image, int32 of shape (lines, 2).
    nadir_pixel : numpy.ndarray
        int32; negative where the nadir is outside of the line.
    nadir_latitude, nadir_longitude : numpy.ndarray
        Degrees north and east, float32.
    """

    def __init__(self, scans: Mapping[str, npt.NDArray[Any]], day: date | None) -> None:
        self.hours: npt.NDArray[np.float64] = scans["hours"]
        self.time = moments(day, self.hours)
        self.altitude: _Floats = scans["altitude"]
        self.padding: npt.NDArray[np.int32] = np.stack([scans["left"], scans["right"]], axis=1)
        self.nadir_pixel: npt.NDArray[np.int32] = scans["nadir_pixel"]
        self.nadir_latitude: _Floats = scans["nadir_latitude"]
        self.nadir_longitude: _Floats = scans["nadir_longitude"]

    def __len__(self) -> int:
        return len(self.hours)

    def __getitem__(self, key: slice | npt.NDArray[Any]) -> Lines:
        """Some of the lines, by a slice or by their indices."""
        some = Lines.__new__(Lines)
        some.__dict__.update({name: values[key] for name, values in vars(self).items()})
        return some

    def __repr__(self) -> str:
        if not len(self) or np.isnat(self.time[0]):
            return f"<Lines: {len(self)}, without times>"
        return f"<Lines: {len(self)}, from {self.time[0]} to {self.time[-1]}>"
