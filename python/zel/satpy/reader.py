"""The file handler of the Satpy reader ``zel``."""

from __future__ import annotations

import datetime
from collections.abc import Iterator, Mapping
from typing import Any

import xarray as xr
from satpy.readers.file_handlers import BaseFileHandler

from ..channel import Channel
from ..enums import Unit
from ..scene import Scene, open as open_scene
from ..xarray import ZelBackend
from ..xarray.attributes import names_of

__all__ = ["ZelFileHandler"]

# Files have the centre of a channel, Satpy wants its ends, too: near enough for a query.
_HALF_WIDTH = 0.03
_CALIBRATIONS = {
    Unit.KELVIN: "brightness_temperature",
    Unit.CELSIUS: "brightness_temperature",
    Unit.PERCENT_ALBEDO: "reflectance",
    Unit.REFLECTANCE: "reflectance",
    Unit.RADIANCE: "radiance",
}
# Satpy has reflectances in percent and temperatures in kelvin.
_TO_SATPY = {Unit.REFLECTANCE: (100.0, 0.0, "%"), Unit.CELSIUS: (1.0, 273.15, "K")}
_COORDINATES = {"longitude": "degrees_east", "latitude": "degrees_north"}
_Facts = dict[str, Any]


def _resolution(scene: Scene) -> float:
    """Metres, as a whole number where it is one."""
    return int(scene.resolution) if scene.resolution == int(scene.resolution) else scene.resolution


class ZelFileHandler(BaseFileHandler):  # type: ignore[misc]
    """A ZEL file: its channels, each on the grid of its component."""

    def __init__(
        self, filename: Any, filename_info: Mapping[str, Any], filetype_info: Mapping[str, Any]
    ) -> None:
        super().__init__(filename, filename_info, filetype_info)
        self._scene = open_scene(filename)
        self._datasets: dict[int, xr.Dataset] = {}
        channels = [
            (part, place, channel)
            for part, scene in enumerate(self._scene.components)
            for place, channel in enumerate(scene.channels)
        ]
        names = names_of(list(self._scene.channels), list(_COORDINATES))
        self._channels = dict(zip(names, channels))

    @property
    def start_time(self) -> datetime.datetime | None:
        """The time of the first line, or the day; UTC, and without a zone, as Satpy has it."""
        return self._time(self._scene.start, datetime.time.min)

    @property
    def end_time(self) -> datetime.datetime | None:
        """The time of the last line, or the end of the day."""
        return self._time(self._scene.end, datetime.time.max)

    def _time(
        self, moment: datetime.datetime | None, otherwise: datetime.time
    ) -> datetime.datetime | None:
        if moment is not None:
            return moment.replace(tzinfo=None)
        day = self._scene.date
        return None if day is None else datetime.datetime.combine(day, otherwise)

    @property
    def sensor_names(self) -> set[str]:
        """The name under which Satpy finds the composites of the reader."""
        return {"zel"}

    def _channel_facts(self, name: str, component: int, channel: Channel) -> _Facts:
        part = self._scene.components[component]
        facts: _Facts = {"name": name, "resolution": _resolution(part), "sensor": "zel"}
        if part.tie_points(slice(0, 0)).latitude.shape[1]:
            facts["coordinates"] = list(_COORDINATES)
        if channel.wavelength is not None:
            half = channel.wavelength * _HALF_WIDTH
            ends = (channel.wavelength - half, channel.wavelength, channel.wavelength + half)
            facts["wavelength"] = list(ends)
        if channel.unit in _CALIBRATIONS:
            facts["calibration"] = _CALIBRATIONS[channel.unit]
        facts["units"] = _TO_SATPY.get(channel.unit, (1.0, 0.0, channel.unit.symbol or "1"))[2]
        return facts

    def _own_datasets(self) -> Iterator[_Facts]:
        for name, (component, _, channel) in self._channels.items():
            yield self._channel_facts(name, component, channel)
        for resolution in {_resolution(part): None for part in self._scene.components}:
            for name, unit in _COORDINATES.items():
                yield {"name": name, "resolution": resolution, "standard_name": name, "units": unit}

    def available_datasets(
        self, configured_datasets: Any = None
    ) -> Iterator[tuple[bool | None, _Facts]]:
        """What Satpy can load: names are those of the file."""
        yield from super().available_datasets(configured_datasets)
        for facts in self._own_datasets():
            yield True, {"file_type": self.filetype_info["file_type"], **facts}

    def _dataset(self, component: int) -> xr.Dataset:
        if component not in self._datasets:
            self._datasets[component] = xr.open_dataset(
                self._scene.path, engine=ZelBackend, group=component, geolocation="full", chunks={}
            )
        return self._datasets[component]

    def get_dataset(self, dataset_id: Any, dataset_info: Mapping[str, Any]) -> xr.DataArray:
        """A channel, or the positions of a grid, as a Dask array with the attributes of Satpy."""
        name = dataset_id["name"]
        if name in _COORDINATES:
            array = self._positions(name, dataset_id["resolution"])
        else:
            array = self._pixels(*self._channels[name])
        array = array.reset_coords(drop=True)
        array.attrs.update(
            sensor="zel", platform_name=f"satellite-{self._scene.satellite}",
            start_time=self.start_time, end_time=self.end_time, units=dataset_info["units"],
        )
        return array

    def _positions(self, name: str, resolution: float) -> xr.DataArray:
        parts = self._scene.components
        at = next(i for i, part in enumerate(parts) if _resolution(part) == resolution)
        return self._dataset(at)[name]

    def _pixels(self, component: int, place: int, channel: Channel) -> xr.DataArray:
        dataset = self._dataset(component)
        array = dataset[list(dataset.data_vars)[place]]
        attributes = dict(array.attrs)
        if channel.unit in _TO_SATPY:
            factor, offset, _ = _TO_SATPY[channel.unit]
            array = array * array.dtype.type(factor) + array.dtype.type(offset)
        for key in ("coordinate_interpolation", "wavelength", "wavelength_units"):
            attributes.pop(key, None)
        array.attrs = attributes
        return array
