"""Where a scene is, in short: the ACDD attributes of its place."""

from __future__ import annotations

from typing import Any

import numpy as np
import numpy.typing as npt

from ..errors import ZelError
from ..scene import Scene
from ..view import View

__all__ = ["bounds_of"]

# To open a file stays cheap: of more lines some are read, always the first and the last.
_LINES = 64


def _lines(count: int) -> range:
    step = max(1, -(-(count - 1) // (_LINES - 2)))
    return range(0, count, step)


def _degrees(value: float) -> float:
    """A single-precision number without digits that it does not have."""
    return float(str(np.float32(value)))


def east_and_west(longitudes: npt.NDArray[Any]) -> tuple[float, float]:
    """The ends of the shortest arc that has all longitudes, from west to east.

    Examples
    --------
    >>> east_and_west(np.array([10.0, 20.0, 15.0])), east_and_west(np.array([179.0, -179.0]))
    ((10.0, 20.0), (179.0, -179.0))
    """
    found = np.unique((longitudes.astype(np.float64) + 180.0) % 360.0 - 180.0)
    gaps = np.diff(found, append=found[0] + 360.0)
    after = int(np.argmax(gaps))  # the widest gap is what the scene does not have
    return _degrees(found[(after + 1) % len(found)]), _degrees(found[after])


def bounds_of(grid: Scene | View) -> dict[str, Any]:
    """Attributes from the navigation points; nothing where there are none, or cannot be read.

    In a scene across the date line the least longitude is greater than the greatest.
    """
    count = grid.shape[0]
    try:
        parts = [grid.tie_points(_lines(count)), grid.tie_points(slice(max(count - 1, 0), None))]
    except ZelError:
        return {}
    lat = np.concatenate([part.latitude.reshape(-1) for part in parts])
    lon = np.concatenate([part.longitude.reshape(-1) for part in parts])
    known = (np.abs(lat) <= 90) & (np.abs(lon) <= 360)
    if not known.any():
        return {}
    west, east = east_and_west(lon[known])
    return {
        "geospatial_lat_min": _degrees(lat[known].min()),
        "geospatial_lat_max": _degrees(lat[known].max()),
        "geospatial_lat_units": "degrees_north",
        "geospatial_lon_min": west,
        "geospatial_lon_max": east,
        "geospatial_lon_units": "degrees_east",
    }
