"""Feature files of samples."""

from __future__ import annotations

import os
import stat
from collections.abc import Mapping, Sequence
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _core
from .errors import DamagedFileError, PathLike, ZelError
from .outputs import output

__all__ = ["read_samples", "write_samples"]

# The fields of a sample beside its features.
_FIELDS: dict[str, type[np.generic]] = {
    "class": np.int32,
    "elementary_class": np.int32,
    "lat": np.float32,
    "lon": np.float32,
    "sz": np.float32,
    "vz": np.float32,
    "az": np.float32,
    "box": np.int32,
    "priority": np.uint32,
    "julian_day": np.float32,
    "year": np.float32,
}


def _unique(labels: Sequence[str]) -> list[str]:
    """Names of columns: labels, with a number where one is there before.

    Examples
    --------
    >>> _unique(["a", "lat", "a", ""])
    ['a', 'lat_2', 'a_2', 'feature_4']
    """
    names: list[str] = []
    for place, label in enumerate(labels, 1):
        wanted = name = label or f"feature_{place}"
        number = 2
        while name in _FIELDS or name in names:
            name = f"{wanted}_{number}"
            number += 1
        names.append(name)
    return names


def _has_pandas() -> bool:
    try:
        import pandas  # noqa: F401
    except ImportError:
        return False
    return True


def _frame_of(samples: npt.NDArray[Any], found: Mapping[str, Any], names: Sequence[str]) -> Any:
    import pandas

    frame = pandas.DataFrame({name: samples[name] for name in samples.dtype.names or ()})
    expressions = [expression for _, expression in found["features"]]
    frame.attrs["features"] = dict(zip(names, expressions))
    frame.attrs["definitions"] = dict(found["definitions"])
    frame.attrs["requirements"] = [expression for _, expression in found["requirements"]]
    frame.attrs["classes"] = {number: name for number, name, *_ in found["classes"] if name}
    frame.attrs["colours"] = {number: tuple(rgb) for number, _, *rgb in found["classes"]}
    frame.attrs["title"] = found["title"]
    return frame


def read_samples(path: PathLike, *, frame: bool | None = None) -> Any:
    """Reads all samples of a feature file, as `zel sample` writes them.

    Parameters
    ----------
    path : str or os.PathLike
    frame : bool, optional
        Whether the result is a DataFrame; it is where pandas is installed.

    Returns
    -------
    pandas.DataFrame or numpy.ndarray
        A row for each sample, with ``class``, ``elementary_class``, ``lat``, ``lon``, ``sz``,
        ``vz``, ``az``, ``box``, ``priority``, ``julian_day``, ``year`` and a column for each
        feature. A DataFrame has in its ``attrs`` what the header says: ``features`` (expressions
        by column), ``definitions`` (expressions by name), ``requirements``, ``classes`` (names),
        ``colours`` and ``title``.

    Raises
    ------
    OSError
        The file cannot be opened.
    DamagedFileError
        It is damaged, or no such file.
    """
    name = os.fspath(path)
    if not stat.S_ISREG(os.stat(name).st_mode):
        raise DamagedFileError("is no regular file", file=name)
    with open(name, "rb"):
        pass  # what the system says where it cannot be read
    try:
        found = _core.read_samples(os.fsencode(name))
    except _core.LibraryError as error:
        raise DamagedFileError(str(error), file=name) from None
    names = _unique([label for label, _ in found["features"]])
    fields = [*_FIELDS.items(), *((feature, np.float32) for feature in names)]
    samples = np.empty(len(found["class"]), np.dtype(fields))
    for field in _FIELDS:
        samples[field] = found[field]
    for place, feature in enumerate(names):
        samples[feature] = found["values"][:, place]
    wanted = _has_pandas() if frame is None else frame
    return _frame_of(samples, found, names) if wanted else samples


def _columns_of(samples: Any) -> dict[str, npt.NDArray[Any]]:
    names = getattr(getattr(samples, "dtype", None), "names", None)
    if names is None and not hasattr(samples, "columns") and not isinstance(samples, Mapping):
        raise TypeError("samples are a structured array, a DataFrame or a mapping of columns")
    if names is None:
        names = list(samples.columns) if hasattr(samples, "columns") else list(samples)
    return {str(name): np.asarray(samples[name]) for name in names}


def _classes_of(
    classes: Mapping[int, str] | None, colours: Mapping[int, Sequence[int]] | None
) -> list[tuple[int, str, int, int, int]]:
    rows = []
    for number in sorted({*(classes or {}), *(colours or {})}):
        red, green, blue = (int(part) for part in (colours or {}).get(number, (0, 0, 0)))
        rows.append((int(number), (classes or {}).get(number, ""), red, green, blue))
    return rows


def write_samples(
    path: PathLike,
    samples: Any,
    *,
    features: Mapping[str, str] | None = None,
    definitions: Mapping[str, str] | None = None,
    requirements: Sequence[str] | None = None,
    classes: Mapping[int, str] | None = None,
    colours: Mapping[int, Sequence[int]] | None = None,
    title: str | None = None,
    overwrite: bool = False,
) -> None:
    """Writes a feature file of samples. It is whole, or not there.

    Parameters
    ----------
    path : str or os.PathLike
    samples : pandas.DataFrame, structured array, or mapping of columns
        Columns as `read_samples` gives them. All but those of its fixed names are features; a
        field that is missing is 0.
    features : mapping of str to str, optional
        Expressions by the columns of features.
    definitions : mapping of str to str, optional
        Names for expressions that the others use, and the definitions after them.
    requirements : sequence of str, optional
        Expressions that hold for every pixel with a sample.
    classes, colours : mapping, optional
        Names and (R, G, B) by class.
    title : str, optional
        What is not given comes from the ``attrs`` of a DataFrame.
    overwrite : bool
        Whether an existing file is replaced.

    Raises
    ------
    FileExistsError
        There is a file, and `overwrite` is false.
    ZelError
        An expression cannot be compiled, or the file could not be written.
    """
    columns = _columns_of(samples)
    known = getattr(samples, "attrs", {})
    count = len(next(iter(columns.values()), ()))
    given = {
        field: np.ascontiguousarray(columns.get(field, np.zeros(count)), kind)
        for field, kind in _FIELDS.items()
    }
    names = [name for name in columns if name not in _FIELDS]
    values = np.zeros((count, len(names)), np.float32)
    for place, name in enumerate(names):
        values[:, place] = columns[name]
    expressions = features if features is not None else known.get("features", {})
    defined = definitions if definitions is not None else known.get("definitions", {})
    required = requirements if requirements is not None else known.get("requirements", ())
    rows = _classes_of(
        classes if classes is not None else known.get("classes"),
        colours if colours is not None else known.get("colours"),
    )
    labelled = [(name, expressions.get(name, "")) for name in names]
    with output(path, overwrite) as temporary:
        try:
            _core.write_samples(
                os.fsencode(temporary), os.fsencode(path), list(defined.items()),
                [("", requirement) for requirement in required], labelled, rows,
                {**given, "values": values}, known.get("title", "") if title is None else title,
            )
        except _core.LibraryError as error:
            raise ZelError(str(error), file=path) from None
