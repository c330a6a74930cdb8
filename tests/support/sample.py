"""Small files with pixels that differ everywhere."""
from array import array

from zelfile import TYPECODE, Channel, Line, ZelFile

LIMIT = {"B": 256, "H": 65536}


def pixels(code, slot, line, count, seed=0):
    """Raw pixels of one line: a pattern that no two channels, lines or neighbours share."""
    if TYPECODE[code] == "f":
        return array("f", [((slot * 7 + line * 13 + x * 3 + seed) % 97) / 8 - 2 for x in range(count)])
    limit = LIMIT[TYPECODE[code]]
    return array(TYPECODE[code],
                 [(slot * 4099 + line * 7919 + x * 257 + x * x * 31 + seed * 611 + 5) % limit
                  for x in range(count)])


def channel(code, slot=0, **fields):
    top = {1: 330.0, 2: 1.25}.get(code, 0.0)
    bottom = {1: 180.0, 2: -0.25}.get(code, 0.0)
    settings = dict(type=code, max=top, min=bottom, label=b"label %d" % slot,
                    comment=b"comment of %d" % slot, wavelength=0.5 + slot, base_flag=1,
                    bits={1: 8, 2: 16, 3: 8, 4: 32, 5: 16}.get(code, 8))
    settings.update(fields)
    return Channel(**settings)


def sample(resolution=1000.0, width=8, height=6, codes=(3,), seed=0, places=None, **header):
    """A file of height lines; codes: the storage codes of its channels; places: their slots."""
    places = places or range(len(codes))
    f = ZelFile(resolution=resolution, pixels=width, nav_points=3, nav_interval=4,
                comment=b"scene at %d m" % resolution, meta_type=1, meta_size=9 + seed,
                metadata=b"metadata %d" % seed)
    for name, value in header.items():
        setattr(f, name, value)
    f.slots = max(f.slots, max(places, default=0) + 1)
    for slot, code in zip(places, codes):
        f.channels[slot] = channel(code, slot)
        f.channels[slot].rows = [pixels(code, slot, n, width, seed) for n in range(height)]
    for n in range(height):
        f.lines.append(Line(
            time=12.25 + n / 3600, altitude=705.0 + n, left=0, right=width - 1, nadir=width // 2,
            nadir_lat=10.0 + n / 8, nadir_lon=20.0 + seed,
            lat=[10.0 + n / 16 + k / 32 + seed / 64 for k in range(f.nav_points)],
            lon=[20.0 + n / 16 + k / 8 for k in range(f.nav_points)]))
    return f
