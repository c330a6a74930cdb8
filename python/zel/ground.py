"""The variables of expressions, for lines of a scene."""

from __future__ import annotations

from collections.abc import Callable, Iterable
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _core
from .errors import ZelError
from .grid import Grid

_GRIDS = {"olson_eco": 0, "percent_water": 1, "igbp_eco": 2, "terrain": 3}


def variables_of(grid: Grid, names: Iterable[str], lines: range) -> dict[str, npt.ArrayLike]:
    """Arrays of shape (lines, pixels), or numbers, by the names of variables."""
    wanted = set(names)
    found: dict[str, npt.ArrayLike] = {}
    dates = {"julian_day": "day_of_year", "year": "year"}
    found.update({name: grid._facts[dates[name]] for name in wanted & set(dates)})
    if wanted & {"lat", "lon", *_GRIDS}:
        places = grid.positions(lines)
        found.update(_chosen(wanted, {"lat": places.latitude, "lon": places.longitude}))
        for name in wanted & set(_GRIDS):
            found[name] = _by_pixel(_ground(name), *places)
    if wanted & {"sz", "vz", "az", "sg"}:
        angles = grid.angles(lines)
        found.update(_chosen(wanted, dict(zip(("sz", "vz", "az"), angles))))
        if "sg" in wanted:
            found["sg"] = _by_pixel(_core.sun_glint, *angles)
    return found


def _chosen(wanted: set[str], arrays: dict[str, Any]) -> dict[str, Any]:
    return {name: values for name, values in arrays.items() if name in wanted}


def _ground(name: str) -> Callable[[Any, Any], npt.NDArray[np.float32]]:
    def look_up(lat: Any, lon: Any) -> npt.NDArray[np.float32]:
        try:
            return _core.ground(_GRIDS[name], lat, lon)
        except _core.LibraryError:
            missing = f"{name} needs an ancillary grid that was not found: set ZEL_DATA_DIR"
            raise ZelError(missing) from None

    return look_up


def _by_pixel(
    function: Callable[..., npt.NDArray[np.float32]], *arrays: npt.NDArray[np.float32]
) -> npt.NDArray[np.float32]:
    flat = [np.ascontiguousarray(values).reshape(-1) for values in arrays]
    return function(*flat).reshape(arrays[0].shape)
