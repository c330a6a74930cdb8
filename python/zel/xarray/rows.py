"""Lines of a dataset, computed for all variables at once."""

from __future__ import annotations

from bisect import bisect_right
from itertools import accumulate
from typing import Any, Hashable

import numpy as np
import numpy.typing as npt
import xarray as xr

__all__ = ["LineBlocks"]

_LINES_WITHOUT_CHUNKS = 256


class LineBlocks:
    """The lines of one chunk of all variables, kept until the next ones are wanted."""

    def __init__(self, dataset: xr.Dataset, dim: Any) -> None:
        self._dataset = dataset.drop_vars(list(dataset.coords))
        self._dim = dim
        self._count = int(dataset.sizes[dim])
        chunked = [v for v in self._dataset.data_vars.values() if v.chunks]
        sizes = chunked[0].chunksizes[dim] if chunked else ()
        steps = range(0, self._count, _LINES_WITHOUT_CHUNKS)
        bounds = [0, *accumulate(sizes)] if sizes else [*steps]
        self._begins = [b for b in bounds if b < self._count]
        self._at = -1
        self._block: xr.Dataset | None = None
        self._span = (-1, -1)
        self._taken: dict[Hashable, npt.NDArray[Any]] = {}

    def rows_of(self, name: Hashable) -> "Rows":
        """The lines of a variable."""
        return Rows(self, name, self._dataset[name])

    def _blocks(self, begin: int, end: int) -> range:
        return range(bisect_right(self._begins, begin) - 1, bisect_right(self._begins, end - 1))

    def _load(self, at: int) -> xr.Dataset:
        if at != self._at or self._block is None:
            self._block = None  # never two at a time
            ends = [*self._begins[1:], self._count]
            lines = slice(self._begins[at], ends[at])
            self._block = self._dataset.isel({self._dim: lines}).compute()
            self._at = at
        return self._block

    def taken(self, begin: int, end: int) -> dict[Hashable, npt.NDArray[Any]]:
        """Lines of all variables; those of the last call are at hand."""
        if self._span != (begin, end):
            self._taken = self._take(begin, end)
            self._span = (begin, end)
        return self._taken

    def _take(self, begin: int, end: int) -> dict[Hashable, npt.NDArray[Any]]:
        parts = []
        for at in self._blocks(begin, end):
            first = self._begins[at]
            lines = slice(max(begin - first, 0), end - first)
            parts.append(self._load(at).isel({self._dim: lines}))
        return {
            name: np.concatenate([part[name].values for part in parts])
            for name in self._dataset.data_vars
        }


class Rows:
    """The lines of one variable. All variables are asked for the same lines in turn.

    Attributes
    ----------
    own : object or None
        What gives the lines that the variable began with. Nothing else is compared.
    is_own : bool
        Whether all lines were those so far.
    """

    own: Any = None
    is_own = True

    def __init__(self, blocks: LineBlocks, name: Hashable, variable: xr.DataArray) -> None:
        self.shape: tuple[int, ...] = variable.shape
        self.dtype = variable.dtype
        self._blocks = blocks
        self._name = name

    def __getitem__(self, lines: slice) -> npt.NDArray[Any]:
        begin, end, _ = lines.indices(self.shape[0])
        found = self._blocks.taken(begin, end)[self._name]
        if self.own is not None and self.is_own:
            self.is_own = found.tobytes() == self.own[begin:end].tobytes()
        return found
