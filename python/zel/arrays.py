"""Arrays that read what is asked for."""

from __future__ import annotations

from collections.abc import Iterator
from types import EllipsisType
from typing import Any, Protocol, Union

import numpy as np
import numpy.typing as npt

__all__ = ["LazyArray"]

_Index = Union[int, np.integer[Any], slice]
Key = Union[_Index, EllipsisType, tuple[Union[_Index, EllipsisType], ...], Any]


class Plane(Protocol):
    """The pixels of a channel, wherever they are."""

    @property
    def shape(self) -> tuple[int, int]: ...

    @property
    def dtype(self) -> np.dtype[Any]: ...

    def read(self, lines: range, pixels: range, decode: bool) -> npt.NDArray[Any]: ...

    def place(self) -> tuple[Any, ...]: ...


def lines_of(key: slice | range | int | None, count: int) -> range:
    """The lines that a slice of them means, in ascending order.

    Examples
    --------
    >>> lines_of(slice(2, None), 10), lines_of(-1, 10), lines_of(None, 3)
    (range(2, 10), range(9, 10), range(0, 3))
    """
    if key is None:
        return range(count)
    if isinstance(key, range):
        if key and not (0 <= key[0] < count and 0 <= key[-1] < count and key.step > 0):
            raise IndexError(f"{key} is outside of {count} lines")
        return key
    if isinstance(key, slice):
        found = range(*key.indices(count))
        if found.step < 0:
            raise IndexError("lines are read forwards")
        return found
    return range(count)[key : key + 1 or None]


def span_of(key: _Index, size: int, axis: int) -> tuple[range, slice | int]:
    """What is read along an axis, in ascending order, and what is taken of that."""
    if not isinstance(key, slice):
        at = int(key)
        if not -size <= at < size:
            raise IndexError(f"index {at} is out of bounds for axis {axis} with size {size}")
        at %= size
        return range(at, at + 1), 0
    span = range(*key.indices(size))
    if span.step < 0:
        return span[::-1], slice(None, None, -1)
    return span, slice(None)


def _both(key: Key) -> tuple[_Index, _Index] | None:
    """The indices of the two axes, or None where the key is no basic one."""
    parts: tuple[Any, ...] = key if isinstance(key, tuple) else (key,)
    if any(part is Ellipsis for part in parts):
        at = next(i for i, part in enumerate(parts) if part is Ellipsis)
        filler = (slice(None),) * (3 - len(parts))
        parts = parts[:at] + filler + parts[at + 1 :]
    parts = parts + (slice(None),) * (2 - len(parts))
    basic = all(
        isinstance(part, (int, np.integer, slice)) and not isinstance(part, bool) for part in parts
    )
    return (parts[0], parts[1]) if basic and len(parts) == 2 else None


class LazyArray:
    """The pixels of a channel, read when they are asked for.

    Slices read the lines and pixels that they touch and no others. The array can be used from
    several threads, and pickled: it opens its file again.

    Attributes
    ----------
    shape : tuple of int
        Lines and pixels a line.
    dtype : numpy.dtype
        In the byte order of the machine, whatever that of the file.
    """

    ndim = 2

    def __init__(self, plane: Plane, decode: bool = False) -> None:
        self._plane = plane
        self._decode = decode
        self.shape = plane.shape
        self.dtype: np.dtype[Any] = np.dtype(np.float32) if decode else plane.dtype

    @property
    def size(self) -> int:
        """The number of pixels."""
        return self.shape[0] * self.shape[1]

    @property
    def nbytes(self) -> int:
        """The bytes that all pixels take in memory."""
        return self.size * self.dtype.itemsize

    def __len__(self) -> int:
        return self.shape[0]

    def __getitem__(self, key: Key) -> Any:
        both = _both(key)
        if both is None:
            return np.asarray(self)[key]
        lines, take_lines = span_of(both[0], self.shape[0], 0)
        pixels, take_pixels = span_of(both[1], self.shape[1], 1)
        read = self._plane.read(lines, pixels, self._decode)
        return read[take_lines, take_pixels]

    def __iter__(self) -> Iterator[npt.NDArray[Any]]:
        return (self[line] for line in range(len(self)))

    def __array__(self, dtype: npt.DTypeLike = None, copy: bool | None = None) -> npt.NDArray[Any]:
        if copy is False:
            raise ValueError("the pixels are in a file: an array of them is a copy")
        read: npt.NDArray[Any] = self[:, :]
        return read if dtype is None else read.astype(dtype, copy=False)

    def memmap(self) -> npt.NDArray[Any]:
        """The stored numbers as an array that is mapped into memory, and not copied.

        Returns
        -------
        numpy.ndarray
            Read-only, in the byte order of the file. A file that is cut short while it is in use
            ends the process: other ways of reading do not.

        Raises
        ------
        TypeError
            Values, and pixels of a view, are not in the file as they are.
        """
        mapped = getattr(self._plane, "memmap", None)
        if mapped is None or self._decode:
            raise TypeError("these pixels are not in the file as they are")
        found: npt.NDArray[Any] = mapped()
        return found

    def __repr__(self) -> str:
        return f"<{type(self).__name__} {self.shape[0]} x {self.shape[1]} {self.dtype}>"

    def __reduce__(self) -> tuple[Any, ...]:
        from .scene import _array_again

        return (_array_again, (*self._plane.place(), self._decode))
