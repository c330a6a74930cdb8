"""Vorn rasters: planes of floats for external classifiers, and back; and the classes of one."""

from __future__ import annotations

import os
from collections.abc import Sequence
from dataclasses import dataclass, field

import numpy as np
import numpy.typing as npt

from .blocks import Classes
from .errors import DamagedFileError, PathLike
from .outputs import output

__all__ = ["Vorn", "read_vorn", "write_lut", "write_vorn"]

_WORD = 0xABCD  # shows the byte order of the header
_HEADER = 16
_LINES_OF_LABEL = 7  # of the text header, the second with the label
_LONGEST_LABEL = 112
_LONGEST_NAME = 200  # bytes of the names of LUTs and of classes in a scene


@dataclass(eq=False)
class Vorn:
    """A raster.

    Attributes
    ----------
    data : numpy.ndarray
        float32 of shape (channels, lines, pixels).
    labels : list of str
        Of the channels, empty where there is no text header.
    """

    data: npt.NDArray[np.float32]
    labels: list[str] = field(default_factory=list)


def _labels_of(name: str, count: int) -> list[str]:
    try:
        with open(name, "rb") as file:
            lines = file.read(count * _LINES_OF_LABEL * 121).split(b"\n")
    except FileNotFoundError:
        return []
    labels = []
    for line in lines[1 : count * _LINES_OF_LABEL : _LINES_OF_LABEL]:
        _, blank, label = line.rstrip(b"\r").partition(b" ")
        if not blank:
            break
        try:
            labels.append(label.decode())
        except UnicodeDecodeError:
            labels.append(label.decode("latin-1"))
    return labels


def _sizes(header: bytes, name: str) -> tuple[int, int, int]:
    for order in ("<", ">"):
        words = np.frombuffer(header, f"{order}i4").tolist() if len(header) == _HEADER else [0]
        if words[0] == _WORD:
            _, pixels, lines, channels = words
            if min(pixels, lines, channels) > 0:
                return channels, lines, pixels
            raise DamagedFileError("invalid sizes", file=name, field="pixels", offset=4)
    raise DamagedFileError("is no Vorn raster", file=name, field="byte order", offset=0)


def read_vorn(path: PathLike, header: PathLike | None = None) -> Vorn:
    """Reads a raster.

    Parameters
    ----------
    path : str or os.PathLike
    header : str or os.PathLike, optional
        The text header with labels; the name of the raster with ``.hdr`` is the default.

    Returns
    -------
    Vorn

    Raises
    ------
    OSError
        The file cannot be opened.
    DamagedFileError
        It is no raster, or is cut short.
    """
    name = os.fspath(path)
    with open(name, "rb") as file:
        shape = _sizes(file.read(_HEADER), name)
        # Rows are little-endian, whatever the order of the header is.
        count = shape[0] * shape[1] * shape[2]
        there = os.fstat(file.fileno()).st_size - _HEADER
        if there < 4 * count:
            raise DamagedFileError(
                f"is cut short: {there} of {4 * count} bytes", file=name, field="row",
                offset=_HEADER + there,
            )
        data = np.fromfile(file, "<f4", count).reshape(shape).astype(np.float32, copy=False)
    labels = _labels_of(name + ".hdr" if header is None else os.fspath(header), shape[0])
    return Vorn(data, labels)


def _text_header(labels: Sequence[str]) -> bytes:
    text = b""
    for number, label in enumerate(labels, 1):
        line = " ".join(label.splitlines()).encode()[:_LONGEST_LABEL]
        text += b"Channel %d\nLabel %s\n" % (number, line) + b"not used\n" * (_LINES_OF_LABEL - 2)
    return text


def write_vorn(
    path: PathLike,
    data: npt.ArrayLike,
    labels: Sequence[str] | None = None,
    *,
    overwrite: bool = False,
) -> None:
    """Writes a raster, and its labels beside it into the same name with ``.hdr``.

    Parameters
    ----------
    path : str or os.PathLike
    data : array_like
        Of shape (channels, lines, pixels), or (lines, pixels) for one channel.
    labels : sequence of str, optional
        One for each channel.
    overwrite : bool
        Whether existing files are replaced.

    Raises
    ------
    FileExistsError
        There is a file, and `overwrite` is false.

    Examples
    --------
    >>> write_vorn("map.vorn", [[0, 1], [1, 2]], ["cover"])
    >>> read_vorn("map.vorn").data.tolist(), read_vorn("map.vorn").labels
    ([[[0.0, 1.0], [1.0, 2.0]]], ['cover'])
    """
    planes = np.asarray(data, "<f4")
    planes = planes[np.newaxis] if planes.ndim == 2 else planes
    if planes.ndim != 3 or 0 in planes.shape:
        raise ValueError(f"a raster has channels, lines and pixels, not shape {planes.shape}")
    if labels is not None and len(labels) != len(planes):
        raise ValueError(f"{len(labels)} labels for {len(planes)} channels")
    channels, lines, pixels = planes.shape
    with output(path, overwrite) as temporary:
        with open(temporary, "wb") as file:
            np.array([_WORD, pixels, lines, channels], "<i4").tofile(file)
            np.ascontiguousarray(planes).tofile(file)
        if labels is not None:
            with output(os.fspath(path) + ".hdr", overwrite) as text:
                with open(text, "wb") as file:
                    file.write(_text_header(labels))


# In a line of the definition file, and no longer than a scene keeps it.
def _name(text: str) -> str:
    return " ".join(text.split()).encode()[:_LONGEST_NAME].decode(errors="ignore")


def write_lut(path: PathLike, classes: Classes, *, overwrite: bool = False) -> None:
    """Writes the LUT definition file of a class map, for `zel_combine -vorn_lut`.

    Parameters
    ----------
    path : str or os.PathLike
    classes : Classes
        Names and colours of the numbers of the raster, from 0. The label becomes that of the LUT.
    overwrite : bool
        Whether an existing file is replaced.

    Raises
    ------
    FileExistsError
        There is a file, and `overwrite` is false.
    ValueError
        There are no classes, or the label is empty or begins with ``#``, the mark of a comment.

    Examples
    --------
    >>> write_lut("cover.txt", Classes(["no data", "water"], [(0, 0, 0), (0, 60, 160)], "Cover"))
    >>> print(open("cover.txt").read(), end="")
    Cover
    0 255
    2
      0   0   0 0 : no data
      0  60 160 1 : water
    """
    label = _name(classes.label)
    if not classes or not label or label.startswith("#"):
        raise ValueError(f"no LUT can be defined by {len(classes)} classes '{classes.label}'")
    with output(path, overwrite) as temporary:
        with open(temporary, "w", encoding="utf-8", newline="\n") as file:
            print(label, "0 255", len(classes), sep="\n", file=file)
            for value, name, (red, green, blue) in classes:
                print(f"{red:3} {green:3} {blue:3} {value} : {_name(name)}", file=file)
