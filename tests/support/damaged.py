"""A scene to damage, and where its parts begin."""
from scenes import Channel, Scene, composite, ramp


def scene(**more):
    channel = Channel(3, ramp(3, 4), label="byte", histogram=(0.0, 1.0, [1, 2]))
    return Scene({0: channel}, slots=3, luts=[(1, "colours", [(1, 2, 3, "one")])],
                 lats=[[1.0, 2.0]] * 3, lons=[[1.0, 2.0]] * 3, interval=3, **more)


def with_bytes(data, offset, new):
    return data[:offset] + new + data[offset + len(new):]


WHOLE = scene().bytes()
TWO = composite([scene(), scene()])
FIELDS = 1221  # where the header begins
LUT = FIELDS + 2040
CHANNEL = LUT + 407 + 20014


def places_of_damage(step):
    """Places in the header, the LUT and the record of the channel."""
    return [*range(0, FIELDS + 60, step), *range(LUT - 8, LUT + 300, step),
            *range(CHANNEL - 20, CHANNEL + 400, step)]


def cuts():
    """Sizes of a file that is cut."""
    return [*range(0, 3000, 13), *range(len(WHOLE) - 400, len(WHOLE))]


def lines_left(size):
    """The lines, of 52 bytes each, that a cut file has whole."""
    return 3 - (len(WHOLE) - size + 51) // 52
