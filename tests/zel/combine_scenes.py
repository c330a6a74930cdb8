"""Scenes to combine: random pixels, few different ones, so that blocks hold equal and missing pixels."""
import random
from array import array

from zelfile import TYPECODE, Channel, Line, Lut, ZelFile

RANGES = {1: (2.0, -1.0), 2: (330.0, 180.0), 3: (0.0, 0.0), 4: (0.0, 0.0), 5: (0.0, 0.0)}
NAMES = {1: b"byte", 2: b"scaled", 3: b"CLS", 4: b"float", 5: b"RAW"}


def stored_row(code, width, choose):
    if code == 4:
        return array("f", [choose.choice((-1.5, 0.25, 0.25, 3.0, -999.0)) for _ in range(width)])
    kinds = {1: (0, 0, 1, 2, 3, 200, 255), 2: (0, 0, 1, 2, 40000, 65535), 3: (0, 0, 1, 2, 2, 7),
             5: (0, 0, 1, 5, 5, 60000)}[code]
    return array(TYPECODE[code], [choose.choice(kinds) for _ in range(width)])


def scene(resolution, width, height, codes=(1, 2, 3, 4, 5), seed=0, labels=None, **header):
    """Channel k has the storage code codes[k], in slot k."""
    choose = random.Random(seed)
    f = ZelFile(**{"slots": len(codes), "pixels": width, "nav_points": 2, "nav_interval": max(1, width - 1),
                   "resolution": resolution, "comment": b"%d m" % resolution, **header})
    for slot, code in enumerate(codes):
        top, bottom = RANGES[code]
        label = (labels or NAMES)[slot if labels else code]
        f.channels[slot] = Channel(type=code, max=top, min=bottom, label=label, comment=b"of %d" % slot,
                                   units=5 if code == 3 else 0, bits=8 * {4: 4}.get(code, 1),
                                   rows=[stored_row(code, width, choose) for _ in range(height)])
    f.luts = [Lut(4, b"Cover", [(10, 20, 30, b"sea"), (0, 255, 0, b"grass")])]
    f.lines = [Line(time=12.0 + n / 36000.0, right=width - 1, nadir=width // 2, lat=[50.0 - n / 10.0] * 2,
                    lon=[10.0, 11.0]) for n in range(height)]
    return f
