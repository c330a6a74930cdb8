"""Files that are whole or not there."""

from __future__ import annotations

import os
import tempfile
from collections.abc import Iterator
from contextlib import contextmanager, suppress

from .errors import PathLike


def _permissions(path: str) -> int:
    try:
        return os.stat(path).st_mode & 0o7777
    except FileNotFoundError:
        mask = os.umask(0)
        os.umask(mask)
        return 0o666 & ~mask


def _flush(path: str) -> None:
    number = os.open(path, os.O_RDONLY)
    try:
        os.fsync(number)
    finally:
        os.close(number)


# A link never replaces a file that has come meanwhile.
def _name_new(temporary: str, path: str) -> None:
    try:
        os.link(temporary, path)
    except FileExistsError:
        raise
    except OSError:  # no links here
        os.rename(temporary, path)
    else:
        os.unlink(temporary)


@contextmanager
def output(path: PathLike, overwrite: bool) -> Iterator[str]:
    """The name of a new file beside that of the path, which it gets when all went well.

    Raises
    ------
    FileExistsError
        There is a file, and it is not to be overwritten.
    """
    name = os.path.realpath(os.fspath(path))
    if os.path.exists(name) and not overwrite:
        raise FileExistsError(17, "File exists; overwrite=True replaces it", os.fspath(path))
    permissions = _permissions(name)
    number, temporary = tempfile.mkstemp(".part", ".zel-", os.path.dirname(name))
    os.close(number)
    try:
        yield temporary
        os.chmod(temporary, permissions)
        _flush(temporary)
        if overwrite:
            os.replace(temporary, name)
        else:
            _name_new(temporary, name)
    except BaseException:
        with suppress(FileNotFoundError):
            os.unlink(temporary)
        raise
