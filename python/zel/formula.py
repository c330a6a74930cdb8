"""Expressions and pixel programs, compiled once and run at the speed of the library."""

from __future__ import annotations

import re
import warnings
from collections.abc import Mapping, Sequence
from typing import Any, Union

import numpy as np
import numpy.typing as npt

from . import _core
from .arrays import lines_of
from .channel import Channels
from .errors import ChannelError, ZelError
from .ground import variables_of
from .grid import Grid, LineKey
from .scene import Scene
from .view import View

__all__ = ["Expression", "ExpressionError", "Program", "ProgramResult"]

_Floats = npt.NDArray[np.float32]
Source = Union[Grid, Sequence[str], None]
_LINES_AT_A_TIME = 256
_NUMBER = re.compile(r"ch(\d+)$", re.IGNORECASE)
_SLOT = re.compile(r"#(\d+)$")
_NAMED = re.compile(r"\bch(\d+)\b|#(\d+)\b", re.IGNORECASE)


class ExpressionError(ZelError, ValueError):
    """A text that is no expression or program, or that names what is not there."""


# Without a scene, the channels are those that are named.
def _labels(source: Source, texts: Sequence[str]) -> list[tuple[int, str]]:
    if source is None:
        found = _NAMED.findall(" ".join(texts))
        slots = {int(slot) if slot else int(number) - 1 for number, slot in found}
        return [(slot, "") for slot in sorted(slots)]
    if isinstance(source, Grid):
        return [(channel.slot, channel.label) for channel in source.channels]
    return list(enumerate(source))


class _Formula:
    """What expressions and programs have in common."""

    _is_program = False

    def __init__(
        self, text: str, scene: Source = None, *, definitions: Mapping[str, str] | None = None
    ) -> None:
        self.text = text
        self._source = scene
        self._definitions = dict(definitions or {})
        texts = [text, *self._definitions, *self._definitions.values()]
        if any("\0" in one for one in texts):  # where the library would end
            raise ExpressionError(f"{text!r} has a zero character")
        self._label_list = _labels(scene, [text, *self._definitions.values()])
        try:
            self._core = _core.Formula(
                self._label_list, text, list(self._definitions.items()), self._is_program
            )
        except _core.FormulaError as error:
            raise ExpressionError(str(error)) from None
        facts = self._core.facts()
        self._numbers: list[int] = facts["channels"]
        self._made: dict[int, str] = dict(facts["made"])
        self.variables: tuple[str, ...] = tuple(facts["variables"])
        for warning in facts["warnings"]:
            warnings.warn(warning, stacklevel=3)

    @property
    def channels(self) -> tuple[str, ...]:
        """The channels that it names, by their labels or as ``Ch6``."""
        return tuple(self._name(number) for number in self._numbers)

    def _name(self, number: int) -> str:
        labels = [label for slot, label in self._label_list if slot == number - 1 and label]
        same = [label for _, label in self._label_list if labels and label == labels[0]]
        return labels[0] if len(same) == 1 else f"Ch{number}"

    # By the rules for channels of a scene; without one, by number only.
    def _number(self, name: str | int) -> int | None:
        if isinstance(self._source, Grid):
            channels: Channels = self._source.channels
            found = [channel.number for channel in channels.find(name)]
        elif isinstance(name, int):
            found = [name]
        else:
            found = [slot + 1 for slot, label in self._label_list if label == name]
            numbered, slotted = _NUMBER.match(name), _SLOT.match(name)
            if not found and (numbered or slotted):
                found = [int(numbered[1]) if numbered else int(slotted[1]) + 1 if slotted else 0]
        if len(found) > 1:
            raise ChannelError(f"channel '{name}' is ambiguous")
        return found[0] if found else None

    def _run(
        self, arrays: Mapping[Any, npt.ArrayLike]
    ) -> tuple[dict[str, Any], tuple[int, ...]]:
        rows = {name: np.asarray(values, np.float32) for name, values in arrays.items()}
        shape = np.broadcast_shapes(*(row.shape for row in rows.values())) if rows else ()
        flat = {
            name: np.ascontiguousarray(np.broadcast_to(row, shape)).reshape(-1)
            for name, row in rows.items()
        }
        channels, variables = self._sorted(flat)
        missing = [self._name(number) for number in self._numbers if number not in channels]
        if missing:
            raise ChannelError(f"no array for {', '.join(missing)}")
        count = int(np.prod(shape, dtype=np.int64))
        try:
            return self._core.run(channels, variables, count), shape
        except _core.LibraryError as error:
            raise ExpressionError(str(error)) from None

    def _sorted(self, flat: Mapping[Any, _Floats]) -> tuple[dict[int, _Floats], dict[str, _Floats]]:
        channels: dict[int, _Floats] = {}
        variables: dict[str, _Floats] = {}
        for name, row in flat.items():
            if name in self.variables:
                variables[name] = row
                continue
            number = self._number(name)
            if number is None:
                raise ChannelError(f"'{name}' is no channel, and no variable of the formula")
            channels[number] = row
        return channels, variables

    def _grid(self) -> Grid:
        if isinstance(self._source, Scene) and self._source.is_container:
            self._source = self._source.view()
        if not isinstance(self._source, Grid):
            raise ValueError("there is no scene: call it with arrays")
        return self._source

    def _inputs(self, grid: Grid, span: range) -> dict[Any, npt.ArrayLike]:
        rows = slice(span.start, span.stop, span.step)
        if isinstance(grid, View):
            planes = grid.read(self._numbers, span)
        else:
            planes = [grid.channels[number][rows] for number in self._numbers]
        inputs: dict[Any, npt.ArrayLike] = dict(zip(self._numbers, planes))
        inputs.update(variables_of(grid, self.variables, span))
        return inputs

    def __reduce__(self) -> tuple[Any, ...]:
        return (_again, (type(self), self.text, self._source, self._definitions))

    def __repr__(self) -> str:
        return f"<{type(self).__name__} {self.text!r}>"


def _again(
    kind: type[_Formula], text: str, source: Source, definitions: dict[str, str]
) -> _Formula:
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        return kind(text, source, definitions=definitions)


class Expression(_Formula):
    """An expression over channels, compiled once.

    Parameters
    ----------
    text : str
        As in ``zel calc``: labels, ``"labels with blanks"``, numbers (``Ch6``), slots (``#5``) and
        variables such as ``lat`` and ``sz``.
    scene : Scene, View or sequence of str, optional
        Where names and pixels come from, or labels, the first one that of ``Ch1``. Without it
        channels have numbers only.
    definitions : mapping of str to str, optional
        Names for expressions that the text may use.

    Attributes
    ----------
    channels, variables : tuple of str
        What it names.

    Raises
    ------
    ExpressionError
        The text is no expression, or names what is not there.

    Examples
    --------
    >>> ndvi = Expression("(b - a) / (b + a)", ["a", "b"])
    >>> ndvi(a=[0.25, 0.5], b=[0.75, 0.5]).tolist()
    [0.5, 0.0]
    >>> scene = __import__("zel").open(SCENE)
    >>> Expression("Infrared / 4", scene).evaluate(lines=0).tolist()
    [[0.0, 0.5, 1.0, 1.5]]

    Notes
    -----
    A call can come from any thread, and leaves the interpreter to the others while it computes.
    """

    def __call__(
        self, arrays: Mapping[str | int, npt.ArrayLike] | None = None, /, **more: npt.ArrayLike
    ) -> _Floats:
        """The values for arrays.

        Parameters
        ----------
        arrays, **more
            By the names of channels and variables, of shapes that fit together. Variables without
            an array are 0.

        Returns
        -------
        numpy.ndarray
            float32, of the shape of the arrays.

        Raises
        ------
        ChannelError
            An array is missing, or has a name that nothing has.
        """
        found, shape = self._run({**(arrays or {}), **more})
        values: _Floats = found["values"].reshape(shape)
        return values

    def evaluate(self, lines: LineKey = None) -> _Floats:
        """The values for lines of the scene; of a container, on the grid of its base component.

        Parameters
        ----------
        lines : slice, range or int, optional
            All lines are the default.

        Returns
        -------
        numpy.ndarray
            float32 of shape (lines, pixels).
        """
        grid = self._grid()
        span = lines_of(lines, grid.shape[0])
        values = np.empty((len(span), grid.shape[1]), np.float32)
        for begin in range(0, len(span), _LINES_AT_A_TIME):
            part = span[begin : begin + _LINES_AT_A_TIME]
            values[begin : begin + len(part)] = self(self._inputs(grid, part))
        return values


class ProgramResult(dict[str, Any]):
    """What a program has written: arrays by channel or variable.

    Attributes
    ----------
    skipped : numpy.ndarray
        bool: where ``skip_pixel`` was reached. New channels are not a number there.
    """

    skipped: npt.NDArray[np.bool_]


class Program(_Formula):
    """A pixel program, compiled once.

    Parameters
    ----------
    text : str
        One statement a line; lines that begin with ``#`` are comments. A name that nothing has,
        before ``=``, is a new channel.
    scene, definitions
        As for `Expression`.

    Examples
    --------
    >>> program = Program('''
    ...     if (a > 2) class = 7
    ...     twice = a * 2
    ... ''', ["a"])
    >>> result = program(a=[1.0, 3.0])
    >>> result["class"].tolist(), result["twice"].tolist()
    ([0.0, 7.0], [2.0, 6.0])
    """

    _is_program = True

    @property
    def outputs(self) -> tuple[str, ...]:
        """The new channels, by their labels."""
        return tuple(self._made.values())

    def __call__(
        self, arrays: Mapping[str | int, npt.ArrayLike] | None = None, /, **more: npt.ArrayLike
    ) -> ProgramResult:
        """Runs the program for every element of the arrays, which stay as they are.

        Returns
        -------
        ProgramResult
            float32 arrays of the shape of the arguments: new channels, and channels and variables
            that were written to.
        """
        found, shape = self._run({**(arrays or {}), **more})
        result = ProgramResult()
        for number, values in found["channels"].items():
            result[self._made.get(number) or self._name(number)] = values.reshape(shape)
        for name, values in found["variables"].items():
            result[name] = values.reshape(shape)
        result.skipped = found["skipped"].reshape(shape)
        return result

    def evaluate(self, lines: LineKey = None) -> ProgramResult:
        """Runs the program for lines of the scene; see `Expression.evaluate`."""
        grid = self._grid()
        span = lines_of(lines, grid.shape[0])
        return self(self._inputs(grid, span))
