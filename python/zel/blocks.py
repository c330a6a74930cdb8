"""What a file carries beside its pixels: classes, histograms, tables, masks, metadata."""

from __future__ import annotations

from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from typing import Any, NamedTuple, overload

import numpy as np
import numpy.typing as npt

__all__ = ["ClassEntry", "Classes", "Histogram", "Mask", "Metadata", "Table"]


class ClassEntry(NamedTuple):
    """One class: its value in the channel, its name, and its colour as (R, G, B), 0 to 255."""

    value: int
    name: str
    colour: tuple[int, int, int]


class Classes(Sequence[ClassEntry]):
    """The names and colours of a channel's values, from 0.

    Attributes
    ----------
    label : str
        The name of the display LUT.
    key : int
        Its number in the file.
    names : list of str
        By value.
    colours : numpy.ndarray
        By value, uint8 of shape (n, 3).
    """

    def __init__(
        self, names: Sequence[str], colours: npt.ArrayLike, label: str = "", key: int = 0
    ) -> None:
        self.names = list(names)
        self.colours: npt.NDArray[np.uint8] = np.asarray(colours, np.uint8).reshape(-1, 3)
        if len(self.names) != len(self.colours):
            raise ValueError(f"{len(self.names)} names and {len(self.colours)} colours")
        self.label = label
        self.key = key

    def __len__(self) -> int:
        return len(self.names)

    @overload
    def __getitem__(self, value: int) -> ClassEntry: ...

    @overload
    def __getitem__(self, value: slice) -> list[ClassEntry]: ...

    def __getitem__(self, value: int | slice) -> ClassEntry | list[ClassEntry]:
        if isinstance(value, slice):
            return [self[i] for i in range(*value.indices(len(self)))]
        at = range(len(self))[value]
        red, green, blue = self.colours[at].tolist()
        return ClassEntry(at, self.names[at], (red, green, blue))

    def __repr__(self) -> str:
        return f"<Classes {self.label!r}: {', '.join(self.names)}>"


@dataclass(frozen=True, eq=False)
class Histogram:
    """The counts of a channel's values.

    Attributes
    ----------
    counts : numpy.ndarray
        int32 of shape (n,).
    min, max : float
        Where the first bin begins, and the last; in the unit of the channel.
    pixels : float
        How many values were counted.
    mean, sigma : float
        Of the bins, as the library computes them.
    """

    counts: npt.NDArray[np.int32]
    min: float
    max: float
    pixels: float
    mean: float
    sigma: float

    @property
    def edges(self) -> npt.NDArray[np.float64]:
        """Where the bins begin and the last one ends, float64 of shape (n + 1,).

        Examples
        --------
        >>> Histogram(np.array([1, 2, 3], np.int32), 0.0, 1.0, 6.0, 0.7, 0.4).edges.tolist()
        [0.0, 0.5, 1.0, 1.5]
        """
        gaps = max(len(self.counts) - 1, 1)
        return self.min + np.arange(len(self.counts) + 1) * ((self.max - self.min) / gaps)


@dataclass(frozen=True, eq=False)
class Table:
    """A named array of float32, such as a calibration curve."""

    key: int
    label: str
    values: npt.NDArray[np.float32]


@dataclass(frozen=True)
class Mask:
    """The classifier mask of a channel, in short."""

    classifiers: int
    is_hierarchical: bool
    label: str
    title: str
    pre_class_filters: int
    post_class_filters: int


@dataclass(frozen=True)
class Metadata:
    """The metadata text of a file, and the number of its type."""

    type: int
    text: str


def histogram_from(facts: Mapping[str, Any] | None) -> Histogram | None:
    return None if facts is None else Histogram(**facts)


def mask_from(facts: Mapping[str, Any] | None) -> Mask | None:
    return None if facts is None else Mask(**facts)


def tables_from(facts: Sequence[Mapping[str, Any]]) -> tuple[Table, ...]:
    return tuple(Table(**table) for table in facts)


def classes_from(facts: Mapping[str, Any]) -> Classes:
    return Classes(facts["names"], facts["colours"], facts["label"], facts["key"])


def table_facts(table: Table) -> dict[str, Any]:
    return {
        "key": table.key, "label": table.label, "values": np.asarray(table.values, np.float32)
    }
