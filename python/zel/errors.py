"""What can go wrong, as exceptions."""

from __future__ import annotations

import os
import re
from collections.abc import Iterator
from contextlib import contextmanager
from typing import Union

from . import _core

__all__ = ["ChannelError", "DamagedFileError", "UnsupportedFileError", "ZelError"]

PathLike = Union[str, "os.PathLike[str]"]


class ZelError(Exception):
    """What all errors of the package are, but for those of the operating system.

    Attributes
    ----------
    file : str or None
        The file that it is about.
    field : str or None
        The field of the format that is wrong.
    offset : int or None
        The place of that field in the file, bytes.
    """

    def __init__(
        self,
        message: str,
        *,
        file: PathLike | None = None,
        field: str | None = None,
        offset: int | None = None,
    ) -> None:
        super().__init__(message)
        self.file = None if file is None else os.fspath(file)
        self.field = field
        self.offset = offset

    def __str__(self) -> str:
        message = str(self.args[0])
        return message if self.file is None else f"{self.file}: {message}"

    def __reduce__(self) -> tuple[object, ...]:
        return (type(self), self.args, self.__dict__)


class DamagedFileError(ZelError, ValueError):
    """A file is damaged: a field has an impossible value, or is cut short."""


class UnsupportedFileError(ZelError, ValueError):
    """A file is no ZEL file, or of a version that is not supported."""


class ChannelError(ZelError, KeyError):
    """A channel that is not there, or a name that several channels have."""


_DAMAGE = re.compile(
    r"(?:invalid|cut short in|cannot read) (?P<field>[A-Za-z][\w ]*?)(?: -?[\d.+-][^ ]*|: .*)?"
    r" at offset (?P<offset>\d+)$"
)
_FUNCTION = re.compile(r"^(?:ZEL\w*|OpenReadOnlyFile|ReadLine|OpenComposite\w*): ")


def _plain(message: str, file: str) -> str:
    text = _FUNCTION.sub("", message)
    for beginning in (f"corrupt file {file}: ", f"file {file}: ", f"{file}: "):
        text = text.removeprefix(beginning)
    return text


def from_library(message: str, file: PathLike) -> ZelError:
    """The exception for a message of the library.

    Examples
    --------
    >>> text = "OpenReadOnlyFile: corrupt file a.zel: invalid year -5 at offset 1227"
    >>> e = from_library(text, "a.zel")
    >>> print(e, e.field, e.offset, sep=" | ")
    a.zel: invalid year -5 at offset 1227 | year | 1227
    """
    name = os.fspath(file)
    text = _plain(message, name)
    if "unsupported data type" in text:
        return UnsupportedFileError("not a ZEL file, or of an unsupported version", file=name)
    if "Library version" in text:
        return UnsupportedFileError(text, file=name)
    found = _DAMAGE.search(text)
    if found:
        field, offset = found["field"], int(found["offset"])
        return DamagedFileError(text, file=name, field=field, offset=offset)
    return DamagedFileError(text, file=name)


@contextmanager
def reported(file: PathLike) -> Iterator[None]:
    """Turns what the library reports about a file into exceptions."""
    try:
        yield
    except _core.LibraryError as error:
        raise from_library(str(error), file) from None
