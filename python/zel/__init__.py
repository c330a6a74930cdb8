"""Single-scene, multi-channel satellite image files.

>>> import zel
>>> scene = zel.open(SCENE)
>>> red, infrared = scene.channels["Ch1"], scene.channels["Ch2"]
>>> red.shape, red.raw[0, 0].item(), red[0, 0].item()
((3, 4), 10, 0.25)
"""

from .blocks import ClassEntry, Classes, Histogram, Mask, Metadata, Table
from .channel import Channel, Channels
from .enums import Sensor, Storage, Unit
from .errors import ChannelError, DamagedFileError, UnsupportedFileError, ZelError
from .formula import Expression, ExpressionError, Program, ProgramResult
from .lines import Angles, Lines, Positions, TiePoints
from .arrays import LazyArray
from .new_channel import NewChannel
from .samples import read_samples, write_samples
from .scene import Scene, open
from .view import View
from .vorn import Vorn, read_vorn, write_lut, write_vorn
from .writing import write

__all__ = [
    "Angles",
    "Channel",
    "ChannelError",
    "Channels",
    "ClassEntry",
    "Classes",
    "DamagedFileError",
    "Expression",
    "ExpressionError",
    "Histogram",
    "LazyArray",
    "Lines",
    "Mask",
    "Metadata",
    "NewChannel",
    "Positions",
    "Program",
    "ProgramResult",
    "Scene",
    "Sensor",
    "Storage",
    "Table",
    "TiePoints",
    "Unit",
    "UnsupportedFileError",
    "View",
    "Vorn",
    "ZelError",
    "open",
    "read_samples",
    "read_vorn",
    "write",
    "write_lut",
    "write_samples",
    "write_vorn",
]
