"""The engine ``zel`` of `xarray.open_dataset`."""

from __future__ import annotations

import os
from collections.abc import Iterable
from typing import Any

import xarray as xr
from xarray.backends import BackendEntrypoint

from ..errors import PathLike
from .source import Group, groups_of, source_of
from .variables import dataset_of

__all__ = ["ZelBackend"]


class ZelBackend(BackendEntrypoint):  # type: ignore[misc]
    """Opens ZEL files as datasets: a variable for each channel, on the dimensions y and x."""

    description = "Single-scene, multi-channel satellite image files (.zel)"
    open_dataset_parameters = (
        "filename_or_obj",
        "drop_variables",
        "mask_and_scale",
        "decode_times",
        "group",
        "geolocation",
    )

    def open_dataset(
        self,
        filename_or_obj: PathLike,
        *,
        drop_variables: str | Iterable[str] | None = None,
        mask_and_scale: bool = True,
        decode_times: bool = True,
        group: Group = None,
        geolocation: str = "tiepoints",
    ) -> xr.Dataset:
        """Opens one grid of a file; of its pixels nothing is read.

        Parameters
        ----------
        filename_or_obj : str or os.PathLike
        drop_variables : str or iterable of str, optional
            Variables to leave out.
        mask_and_scale : bool
            Values as float32 in their unit, equal to the library's, the default; False for stored
            numbers with ``scale_factor`` and ``add_offset``. Numbers that are not scaled, such as
            classes, stay integers.
        decode_times : bool
            Times as datetime64; False for hours of the day.
        group : int or str, optional
            The component of a container, from 0, or "view" for all channels on the grid of the
            base component. The base component is the default.
        geolocation : str
            "tiepoints" for the navigation points of the file, "full" for latitude and longitude of
            each pixel, interpolated when they are read, or "none".

        Raises
        ------
        OSError
            The file cannot be opened.
        ValueError
            It is damaged, of an unsupported version, has no such group, or a parameter is wrong.
        """
        source = source_of(os.fspath(filename_or_obj), group)
        dropped = {drop_variables} if isinstance(drop_variables, str) else set(drop_variables or ())
        return dataset_of(source, mask_and_scale, decode_times, geolocation, dropped)

    def open_groups_as_dict(
        self, filename_or_obj: PathLike, **options: Any
    ) -> dict[str, xr.Dataset]:
        """All components of a file, by the paths of their groups; for `xarray.open_groups`."""
        scene = source_of(os.fspath(filename_or_obj), None).scene()
        found = {"/": xr.Dataset()}
        for group in groups_of(scene)[:-1]:
            found[f"/{group}"] = self.open_dataset(filename_or_obj, group=group, **options)
        return found

    def guess_can_open(self, filename_or_obj: Any) -> bool:
        """Whether a name ends as those of ZEL files do."""
        try:
            name = os.fspath(filename_or_obj)
        except TypeError:
            return False
        return os.path.splitext(os.fsdecode(name))[1].lower() == ".zel"
