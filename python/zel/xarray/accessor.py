"""Datasets as scenes: ``ds.zel.to_file(path)``."""

from __future__ import annotations

from typing import Any

import xarray as xr

from ..errors import PathLike
from ..writing import write
from .given import channel_of, facts_of, time_of, tie_points_of
from .origin import angle_labels, header_facts, line_facts, source_in
from .rows import LineBlocks

__all__ = ["ZelAccessor"]

_DEFAULT_INTERVAL = 10


@xr.register_dataset_accessor("zel")
class ZelAccessor:
    """What `zel` adds to datasets, as ``ds.zel``."""

    def __init__(self, dataset: xr.Dataset) -> None:
        self._dataset = dataset

    def _dims(self) -> tuple[Any, Any]:
        shapes = {name: v.dims for name, v in self._dataset.data_vars.items()}
        planes = {dims for dims in shapes.values() if len(dims) == 2}
        if len(planes) != 1 or len(set(shapes.values())) != 1:
            raise ValueError(f"all variables need the same two dimensions: {shapes}")
        lines, pixels = planes.pop()
        return lines, pixels

    # What the file that the dataset comes from says, and the dataset does not.
    def _origin(self, dims: tuple[Any, Any], labels: list[str]) -> dict[str, Any]:
        source = source_in(self._dataset)
        if source is None:
            return {}
        facts = header_facts(source, self._dataset.attrs)
        lines, day = line_facts(source, self._dataset, dims), source.grid().date
        if lines is not None and day is not None:
            facts.update(lines=lines, start=day)
        angles = angle_labels(source)
        if angles and all(labels.count(label) == 1 for label in angles):
            facts["angles"] = angles
        return facts

    def to_file(
        self, path: PathLike, *, overwrite: bool = False,
        navigation_interval: int = _DEFAULT_INTERVAL, **options: Any,
    ) -> None:
        """Writes the dataset as a plain file, the lines of one chunk at a time.

        Stored numbers are packed as the encoding or the attributes have it (``dtype``,
        ``scale_factor``, ``add_offset``); without packing, bytes and 16-bit numbers are stored as
        they are, all else as float32.

        Parameters
        ----------
        path : str or os.PathLike
        overwrite : bool
            Whether an existing file is replaced.
        navigation_interval : int
            Of full latitudes and longitudes every so many pixels are kept.
        **options
            As in `zel.write`, instead of what the dataset says: ``sensor``, ``start``, ...

        Raises
        ------
        FileExistsError
            There is a file, and `overwrite` is false.
        ValueError
            Variables have other dimensions than lines and pixels, or do not fit the format.
        """
        dims = self._dims()
        blocks = LineBlocks(self._dataset, dims[0])
        channels = [
            channel_of(name, variable, blocks.rows_of(name))
            for name, variable in self._dataset.data_vars.items()
        ]
        slots = [channel.slot for channel in channels]
        if None in slots or len(set(slots)) < len(slots):
            for channel in channels:
                channel.slot = None
        facts = {**facts_of(self._dataset), **self._origin(dims, [c.label for c in channels])}
        if not {"start", "times", "lines"} & set(options) and "lines" not in facts:
            facts.update(time_of(self._dataset, dims[0]))
        if not {"tie_points", "latitude", "longitude"} & set(options):
            facts["tie_points"] = tie_points_of(self._dataset, dims, navigation_interval)
        write(path, channels, overwrite=overwrite, **{**facts, **options})
