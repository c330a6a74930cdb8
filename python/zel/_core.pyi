from typing import Any

import numpy as np
import numpy.typing as npt

MAX_CHANNELS: int
CHANNEL_TEXT_SIZE: int
COMMENT_SIZE: int
METADATA_SIZE: int
LABEL_SIZE: int
STORED_BYTE_SCALED: int
STORED_UINT16_SCALED: int
STORED_BYTE: int
STORED_FLOAT: int
STORED_UINT16: int
UNITS_NONE: int
UNITS_KELVIN: int
UNITS_PERCENT_ALBEDO: int
UNITS_REFLECTANCE: int
UNITS_CELSIUS: int
UNITS_LUT: int
UNITS_DAYTIME: int
UNITS_RADIANCE: int
SENSOR_GENERIC: int
SENSOR_AVHRR_LAC: int
SENSOR_AVHRR_GAC: int
SENSOR_MAS: int
SENSOR_VIRS: int
SENSOR_LANDSAT_TM: int
SENSOR_GOES: int
SENSOR_MODIS: int
SENSOR_ASTER: int
SENSOR_CIRROVUE_VIRS: int
SENSOR_CIRROVUE_MODIS: int
SENSOR_LANDSAT_MSS: int
SENSOR_IKONOS: int
SENSOR_UNSUPPORTED: int

_Floats = npt.NDArray[np.float32]

class LibraryError(Exception): ...

class File:
    def __init__(self, name: bytes) -> None: ...
    def close(self) -> None: ...
    @property
    def closed(self) -> bool: ...
    @property
    def size(self) -> int: ...
    def directory(self) -> dict[str, Any]: ...
    def read(
        self,
        place: int,
        stride: int,
        rows: int,
        columns: int,
        dtype: np.dtype[Any],
        is_swapped: bool,
    ) -> npt.NDArray[Any]: ...
    def read_values(
        self,
        place: int,
        stride: int,
        rows: int,
        columns: int,
        dtype: np.dtype[Any],
        is_swapped: bool,
        table: _Floats,
    ) -> _Floats: ...

class Component:
    def __init__(self, file: File, offset: int, size: int) -> None: ...
    def facts(self) -> dict[str, Any]: ...
    def mask(self, slot: int) -> bytes: ...
    def scaling_table(self, slot: int) -> _Floats: ...
    def scans(self, first: int, step: int, count: int) -> dict[str, npt.NDArray[Any]]: ...
    def points(self, first: int, step: int, count: int) -> tuple[_Floats, _Floats]: ...
    def positions(self, first: int, step: int, count: int) -> tuple[_Floats, _Floats]: ...
    def angles(self, first: int, step: int, count: int) -> tuple[_Floats, _Floats, _Floats]: ...

class View:
    def __init__(self, name: bytes) -> None: ...
    def facts(self) -> dict[str, Any]: ...
    def read(
        self, slots: list[int], first: int, step: int, count: int, decode: bool
    ) -> list[npt.NDArray[Any]]: ...
    def positions(self, first: int, step: int, count: int) -> tuple[_Floats, _Floats]: ...
    def angles(self, first: int, step: int, count: int) -> tuple[_Floats, _Floats, _Floats]: ...
    @property
    def lines_made(self) -> int: ...
    @property
    def lines_kept(self) -> int: ...
    def close(self) -> None: ...

class FormulaError(Exception): ...

class Formula:
    def __init__(
        self,
        labels: list[tuple[int, str]],
        text: str,
        definitions: list[tuple[str, str]],
        is_program: bool,
    ) -> None: ...
    def facts(self) -> dict[str, Any]: ...
    def run(
        self, channels: dict[int, _Floats], variables: dict[str, _Floats], count: int
    ) -> dict[str, Any]: ...

def ground(grid: int, lat: _Floats, lon: _Floats) -> _Floats: ...
def sun_glint(sz: _Floats, vz: _Floats, az: _Floats) -> _Floats: ...

class Writer:
    def __init__(
        self,
        name: bytes,
        header: dict[str, Any],
        channels: list[dict[str, Any]],
        luts: list[dict[str, Any]],
    ) -> None: ...
    def write_lines(
        self, lines: dict[str, npt.NDArray[Any]], planes: list[npt.NDArray[Any]]
    ) -> None: ...
    def set_histogram(
        self, slot: int, min: float, max: float, counts: npt.NDArray[np.int32]
    ) -> None: ...
    def misfits(self) -> list[tuple[int, int]]: ...
    def finish(self) -> None: ...

def read_samples(name: bytes) -> dict[str, Any]: ...
def write_samples(
    name: bytes,
    name_in_header: bytes,
    definitions: list[tuple[str, str]],
    requirements: list[tuple[str, str]],
    features: list[tuple[str, str]],
    classes: list[tuple[int, str, int, int, int]],
    columns: dict[str, npt.NDArray[Any]],
    title: str,
) -> None: ...
