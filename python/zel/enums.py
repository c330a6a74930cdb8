"""The codes of the format as enumerations."""

from __future__ import annotations

from enum import IntEnum

from . import _core

__all__ = ["Sensor", "Storage", "Unit"]


class Sensor(IntEnum):
    """The sensor of a scene."""

    GENERIC = _core.SENSOR_GENERIC
    AVHRR_LAC = _core.SENSOR_AVHRR_LAC
    AVHRR_GAC = _core.SENSOR_AVHRR_GAC
    MAS = _core.SENSOR_MAS
    VIRS = _core.SENSOR_VIRS
    LANDSAT_TM = _core.SENSOR_LANDSAT_TM
    GOES = _core.SENSOR_GOES
    MODIS = _core.SENSOR_MODIS
    ASTER = _core.SENSOR_ASTER
    CIRROVUE_VIRS = _core.SENSOR_CIRROVUE_VIRS
    CIRROVUE_MODIS = _core.SENSOR_CIRROVUE_MODIS
    LANDSAT_MSS = _core.SENSOR_LANDSAT_MSS
    IKONOS = _core.SENSOR_IKONOS
    UNSUPPORTED = _core.SENSOR_UNSUPPORTED

    @classmethod
    def _missing_(cls, value: object) -> Sensor:
        return cls.UNSUPPORTED


class Storage(IntEnum):
    """How the pixels of a channel are stored."""

    BYTE_SCALED = _core.STORED_BYTE_SCALED
    UINT16_SCALED = _core.STORED_UINT16_SCALED
    BYTE = _core.STORED_BYTE
    FLOAT = _core.STORED_FLOAT
    UINT16 = _core.STORED_UINT16

    @property
    def is_scaled(self) -> bool:
        """Whether stored numbers are spread over a range of values."""
        return self in (Storage.BYTE_SCALED, Storage.UINT16_SCALED)


_SYMBOLS = {
    _core.UNITS_KELVIN: "K",
    _core.UNITS_PERCENT_ALBEDO: "%",
    _core.UNITS_REFLECTANCE: "1",
    _core.UNITS_CELSIUS: "degC",
    _core.UNITS_RADIANCE: "W m-2 um-1 sr-1",
}


class Unit(IntEnum):
    """The unit of a channel's values."""

    NONE = _core.UNITS_NONE
    KELVIN = _core.UNITS_KELVIN
    PERCENT_ALBEDO = _core.UNITS_PERCENT_ALBEDO
    REFLECTANCE = _core.UNITS_REFLECTANCE
    CELSIUS = _core.UNITS_CELSIUS
    LUT = _core.UNITS_LUT
    DAYTIME = _core.UNITS_DAYTIME
    RADIANCE = _core.UNITS_RADIANCE
    UNKNOWN = -1

    @classmethod
    def _missing_(cls, value: object) -> Unit:
        return cls.UNKNOWN

    @property
    def symbol(self) -> str:
        """As CF and UDUNITS write it; empty where there is no unit.

        Examples
        --------
        >>> Unit.KELVIN.symbol, Unit.REFLECTANCE.symbol, Unit.LUT.symbol
        ('K', '1', '')
        """
        return _SYMBOLS.get(int(self), "")
