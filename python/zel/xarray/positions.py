"""Where pixels are: as points to interpolate between, or one by one."""

from __future__ import annotations

from typing import Any, Callable

import numpy as np
import xarray as xr

from ..scene import Scene
from ..view import View
from .arrays import PointRows, PositionRows

__all__ = ["POINT_PIXELS", "POSITION_NAMES", "TIE_POINTS", "positions_of"]

POSITION_NAMES = ("latitude", "longitude")
TIE_POINTS = "tie_points"
_UNITS = {"latitude": "degrees_north", "longitude": "degrees_east"}
POINT_PIXELS = "tie_point_pixel"
_DIMENSION = "tie_point"
_KINDS = ("tiepoints", "full", "none")
# What CF's linear interpolation leaves out.
_RULE = (
    "linear along the line in degrees, longitudes the shorter way round; the first and the last"
    " segment are continued to the ends of the line"
)


def _attributes(name: str) -> dict[str, Any]:
    return {"standard_name": name, "units": _UNITS[name]}


def _full(make: Callable[..., xr.Variable], grid: Scene | View) -> dict[str, xr.Variable]:
    width = (grid.shape[1],)
    return {
        name: make(("y", "x"), width, PositionRows(name), np.float32, _attributes(name), {})
        for name in POSITION_NAMES
    }


def _points(make: Callable[..., xr.Variable], grid: Scene | View) -> dict[str, xr.Variable]:
    pixels = grid.tie_points(slice(0, 0)).pixels
    dims, width = ("y", _DIMENSION), (len(pixels),)
    found = {
        name: make(dims, width, PointRows(name), np.float32, _attributes(name), {})
        for name in POSITION_NAMES
    }
    facts = {"long_name": "pixel of the line that has the point"}
    found[POINT_PIXELS] = xr.Variable((_DIMENSION,), pixels.astype(np.int32), facts)
    mapping = {
        "interpolation_description": _RULE,
        "tie_point_mapping": f"x: {POINT_PIXELS} {_DIMENSION}",
        "pixels": grid.shape[1],
    }
    found[TIE_POINTS] = xr.Variable((), np.int32(0), mapping)
    return found


def positions_of(
    make: Callable[..., xr.Variable], grid: Scene | View, kind: str
) -> dict[str, xr.Variable]:
    """The coordinates for positions; nothing for a file without navigation."""
    if kind not in _KINDS:
        raise ValueError(f"unknown geolocation {kind!r}: there are {', '.join(_KINDS)}")
    if kind == "none" or grid.tie_points(slice(0, 0)).latitude.shape[1] == 0:
        return {}
    return _full(make, grid) if kind == "full" else _points(make, grid)
