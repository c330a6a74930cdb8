"""Scenes that arrays read from, whichever process they are in."""

from __future__ import annotations

import os
from dataclasses import dataclass
from functools import lru_cache
from typing import Union

from ..errors import PathLike
from ..scene import Scene
from ..view import View

__all__ = ["Group", "Source", "groups_of", "source_of"]

Group = Union[int, str, None]
_VIEW = "view"
# Files that a process keeps open. What is dropped stays open for those who still read it.
_OPEN_FILES = 128


@dataclass(frozen=True)
class Source:
    """A grid of a file: a component, or the view. It is pickled as its names.

    Attributes
    ----------
    path : str
        Absolute.
    part : int or str
        The component, from 0, or "view".
    stamp : tuple of int
        What tells a file that was written over from the one that was opened.
    """

    path: str
    part: Union[int, str]
    stamp: tuple[int, ...]

    @property
    def is_there(self) -> bool:
        """Whether the file is the one that was opened."""
        try:
            return stamp_of(self.path) == self.stamp
        except OSError:
            return False

    def scene(self) -> Scene:
        """The open file; a process opens it once."""
        return _scene(self.path, self.stamp)

    def grid(self) -> Scene | View:
        """The grid in the open file."""
        if self.part == _VIEW:
            return _view(self.path, self.stamp)
        return self.scene().components[int(self.part)]


@lru_cache(maxsize=_OPEN_FILES)
def _scene(path: str, stamp: tuple[int, ...]) -> Scene:
    return Scene(path)


@lru_cache(maxsize=_OPEN_FILES)
def _view(path: str, stamp: tuple[int, ...]) -> View:
    return _scene(path, stamp).view()


def groups_of(scene: Scene) -> list[str]:
    """The names of all grids of a file."""
    return [*map(str, range(len(scene.components))), _VIEW]


def stamp_of(path: str) -> tuple[int, ...]:
    facts = os.stat(path)
    return (facts.st_mtime_ns, facts.st_size, facts.st_ino)


def source_of(path: PathLike, group: Group) -> Source:
    """The grid that a group of a file is: a number, "view", or None for the base component."""
    name = os.path.abspath(path)
    stamp = stamp_of(name)
    scene = _scene(name, stamp)
    if group is None:
        return Source(name, scene.base, stamp)
    groups = groups_of(scene)
    if str(group) not in groups:
        raise ValueError(f"no group {group!r} in {name}: there are {', '.join(groups)}")
    return Source(name, _VIEW if group == _VIEW else int(group), stamp)
