"""Scene files, byte by byte from the tables of the format: nothing here is shared with the library or
the drivers."""
import struct

NAMES = "BHBfH"  # numpy-like code of a stored pixel by storage code - 1
SIZES = {1: 1, 2: 2, 3: 1, 4: 4, 5: 2}
CODES = {1: "B", 2: "H", 3: "B", 4: "f", 5: "H"}
PREFIX_SIZE = 1221


def text(value, size):
    return value.encode("latin-1").ljust(size, b"\0")


class Channel:
    """pixels[line][pixel] are stored numbers."""

    def __init__(self, code, pixels, low=0.0, high=0.0, label="", comment="", units=0,
                 wavelength=0.0, bits=0, histogram=None, base=0):
        self.code, self.pixels, self.low, self.high = code, pixels, low, high
        self.label, self.comment, self.units, self.wavelength = label, comment, units, wavelength
        self.bits, self.histogram, self.base = bits, histogram, base


class Scene:
    """channels: by slot. luts: (key, label, [(r, g, b, name)]). lats, lons: [line][point]."""

    def __init__(self, channels, slots=20, version=230, big_endian=False, year=2001, day=123,
                 satellite=7, sensor=5, altitude=700.0, resolution=30.0, comment="", metadata="",
                 luts=(), start=0, interval=1, lats=None, lons=None, times=None, nadir=None,
                 angles=(-1, -1, -1)):
        self.__dict__.update(locals())
        first = next(iter(channels.values())).pixels if channels else [[0]]
        self.lines, self.pixels = len(first), len(first[0])
        self.order = ">" if big_endian else "<"

    def since(self, version):
        return self.version >= version

    def pack(self, codes, *values):
        return struct.pack(self.order + codes, *values)

    def points(self):
        return len(self.lats[0]) if self.lats else 0

    def prefix(self, base=0, count=1, offsets=(), resolutions=None, sizes=()):
        if self.version < 151:
            return b""
        filled = [list(v) + [0] * (100 - len(v))
                  for v in (offsets, resolutions or [self.resolution], sizes)]
        return (b"ZEL" + text("%g" % (self.version / 100), 10) + struct.pack("<2i", base, count)
                + struct.pack("<100i", *filled[0]) + struct.pack("<100f", *filled[1])
                + struct.pack("<100i", *filled[2]))

    def header(self):
        out = self.pack("f", self.version / 100)
        if self.since(101):
            out += self.pack("h", self.slots)
        out += self.pack("4h", self.year, self.day, self.satellite, self.pixels)
        if not self.since(111):
            return out
        out += self.pack("3ih2f", self.points(), self.start, self.interval, self.sensor,
                         self.altitude, self.resolution)
        out += text(self.comment, 2000) + self.pack("2h", len(self.luts), 0)
        for key, label, entries in self.luts:
            out += self.pack("2h", len(entries), key) + text(label, 200)
            for red, green, blue, name in entries:
                out += struct.pack("3B", red, green, blue) + text(name, 200)
        if self.since(142):
            out += self.pack("3h", *self.angles)
        if self.since(201):
            out += self.pack("2i", 1 if self.metadata else 0, len(self.metadata))
            out += text(self.metadata, 20000)
        return out

    def slot(self, channel):
        c = channel or Channel(0, [])
        out = self.pack("i2f3i", 1 if channel else 0, c.high, c.low, c.code, SIZES.get(c.code, 0),
                        c.bits)
        out += text(c.label, 120) + text(c.comment, 120)
        if self.since(111):
            out += self.pack("f", c.wavelength)
        if self.since(131):
            out += self.pack("i", c.units)
        if self.since(132):
            out += self.pack("i", c.base)
        if self.since(141):
            out += self.pack("i", 0)
        if self.since(211):
            out += self.pack("h", 0)
        if self.since(121):
            out += b"\1" if c.histogram else b"\0"
            if c.histogram:
                low, high, counts = c.histogram
                out += self.pack("h2f%di" % len(counts), len(counts), high, low, *counts)
            out += b"\0"
        return out

    def line(self, n):
        out = self.pack("d", self.times[n] if self.times else 0.0)
        if self.since(131):
            out += self.pack("f", 0.0)
        if self.since(201):
            out += self.pack("3i", 0, self.pixels - 1, self.nadir[0] if self.nadir else -1)
        if self.since(221):
            out += self.pack("2f", *(self.nadir[1:] if self.nadir else (-999.0, -999.0)))
        if self.lats:
            out += self.pack("%df" % self.points(), *self.lats[n])
            out += self.pack("%df" % self.points(), *self.lons[n])
        elif not self.since(111):
            out += bytes(8 * 51)  # such files always have 51 points
        for slot in sorted(self.channels):
            channel = self.channels[slot]
            out += self.pack("%d%s" % (self.pixels, CODES[channel.code]), *channel.pixels[n])
        return out

    def own_bytes(self):
        slots = range(20 if self.version == 100 else self.slots)
        return (self.header() + b"".join(self.slot(self.channels.get(k)) for k in slots)
                + b"".join(self.line(n) for n in range(self.lines)))

    def bytes(self):
        return self.prefix() + self.own_bytes()


def composite(scenes, base=0):
    """The container of several scenes: the prefix of the first is the directory."""
    parts = [scene.bytes() for scene in scenes]
    offsets = [sum(len(part) for part in parts[:k]) for k in range(len(parts))]
    directory = scenes[0].prefix(base, len(parts), offsets, [s.resolution for s in scenes],
                                 [len(part) for part in parts])
    return directory + parts[0][PREFIX_SIZE:] + b"".join(parts[1:])


def ramp(lines, pixels, step=1, first=0, most=255):
    """Numbers that grow by the step from pixel to pixel, line after line, and begin again."""
    return [[(first + step * (n * pixels + x)) % (most + 1) for x in range(pixels)]
            for n in range(lines)]
