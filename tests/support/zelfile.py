"""Builds and takes apart ZEL files byte by byte, from the tables of the file format.

Shares nothing with the library, so that a fault there cannot hide here. Text is bytes without
its terminator; a text that holds a NUL is stored as given, to put junk after the terminator.
"""
import struct
from array import array
from dataclasses import dataclass, field, replace

from maskfile import Mask, mask_bytes, parse_mask

PREFIX_SIZE = 1221   # bytes of the prefix
DIRECTORY_AT = 13    # where base index, count and the three tables of 100 begin
FLT_MAX = struct.unpack("<f", b"\xff\xff\x7f\x7f")[0]
BYTE_SIZE = {1: 1, 2: 2, 3: 1, 4: 4, 5: 2}              # of a stored pixel, by storage code
TYPECODE = {1: "B", 2: "H", 3: "B", 4: "f", 5: "H"}     # of array(), by storage code


@dataclass
class Lut:
    key: int
    label: bytes
    entries: list                  # (r, g, b, label)


@dataclass
class Table:
    key: int
    label: bytes
    values: list


@dataclass
class Histogram:
    max: float = -FLT_MAX
    min: float = FLT_MAX
    counts: list = field(default_factory=lambda: [0] * 256)


@dataclass
class Channel:
    type: int = 3
    max: float = 255.0
    min: float = 0.0
    label: bytes = b""
    comment: bytes = b""
    wavelength: float = 0.0
    units: int = 0
    base_flag: int = 0
    bits: int = 8
    present: int = 1
    byte_size: int = None          # None: as the storage code has it
    mask: Mask = None
    tables: list = field(default_factory=list)
    histogram: Histogram = None
    standard: Histogram = None
    rows: list = field(default_factory=list)   # raw stored pixels, one sequence per line

    def pixel_bytes(self):
        return BYTE_SIZE[self.type] if self.byte_size is None else self.byte_size


@dataclass
class Line:
    time: float = 12.0
    altitude: float = 0.0
    left: int = 0
    right: int = 0
    nadir: int = 0
    nadir_lat: float = 0.0
    nadir_lon: float = 0.0
    lat: list = field(default_factory=list)
    lon: list = field(default_factory=list)


@dataclass
class ZelFile:
    version: float = 2.3
    slots: int = 4
    year: int = 2001
    julian: int = 100
    satellite: int = 7
    pixels: int = 8
    nav_start: int = 0
    nav_interval: int = 4
    nav_points: int = 0
    data_type: int = 6
    altitude: float = 0.0
    resolution: float = 1000.0
    comment: bytes = b""
    luts: list = field(default_factory=list)
    tables: list = field(default_factory=list)
    angles: tuple = (-1, -1, -1)   # channel slots of solar zenith, view zenith, azimuth
    meta_type: int = 0
    meta_size: int = 0
    metadata: bytes = b""
    channels: dict = field(default_factory=dict)   # slot -> Channel; missing slots are all zero
    lines: list = field(default_factory=list)
    order: str = "<"
    version_text: bytes = b"2.3"
    filler: bytes = b""            # between the last channel record and the first line

    def int_version(self):
        return int((struct.unpack("<f", struct.pack("<f", self.version))[0] + 0.005) * 100)

    def present(self):
        """(slot, channel) of the channels that have pixels, in the order of their pixels."""
        return [(s, c) for s, c in sorted(self.channels.items()) if c.present]

    def prefix(self):
        return (b"ZEL" + text(self.version_text, 10)
                + directory(0, [0], [self.resolution], [0], self.order, count=1))

    def header(self):
        v, out = self.int_version(), []

        def put(codes, *values):
            out.append(struct.pack(self.order + codes, *values))
        put("f", self.version)
        if v > 100:
            put("h", self.slots)
        put("4h", self.year, self.julian, self.satellite, self.pixels)
        if v >= 111:
            put("3i", self.nav_points, self.nav_start, self.nav_interval)
            put("hff", self.data_type, self.altitude, self.resolution)
            out.append(text(self.comment, 2000))
            put("2h", len(self.luts), len(self.tables))
            out += [lut_record(l, self.order) for l in self.luts]
            out += [table_record(t, self.order) for t in self.tables]
        if v >= 142:
            put("3h", *self.angles)
        if v >= 201:
            put("2i", self.meta_type, self.meta_size)
            out.append(text(self.metadata, 20000))
        return b"".join(out)

    def channel_record(self, slot):
        v, o, c = self.int_version(), self.order, self.channels.get(slot)
        if c is None:
            c = Channel(type=0, max=0.0, bits=0, present=0, byte_size=0)
        out = [struct.pack(o + "iffiii", c.present, c.max, c.min, c.type, c.pixel_bytes(), c.bits),
               text(c.label, 120), text(c.comment, 120)]
        if v >= 111:
            out.append(struct.pack(o + "f", c.wavelength))
        if v >= 131:
            out.append(struct.pack(o + "i", c.units))
        if v >= 132:
            out.append(struct.pack(o + "i", c.base_flag))
        if v >= 141:
            out.append(mask_bytes(c.mask))                # big-endian in every file
        if v >= 211:
            out.append(struct.pack(o + "h", len(c.tables)))
            out += [table_record(t, o) for t in c.tables]
        if v >= 121:
            out += [histogram_block(c.histogram, o), histogram_block(c.standard, o)]
        return b"".join(out)

    def line_record(self, n):
        v, o, l = self.int_version(), self.order, self.lines[n]
        out = [struct.pack(o + "d", l.time)]
        if v >= 131:
            out.append(struct.pack(o + "f", l.altitude))
        if v >= 201:
            out.append(struct.pack(o + "3i", l.left, l.right, l.nadir))
        if v >= 221:
            out.append(struct.pack(o + "2f", l.nadir_lat, l.nadir_lon))
        out.append(struct.pack("%s%df" % (o, len(l.lat)), *l.lat))
        out.append(struct.pack("%s%df" % (o, len(l.lon)), *l.lon))
        for _, c in self.present():
            row = array(TYPECODE[c.type], c.rows[n])
            if o == ">":
                row.byteswap()
            out.append(row.tobytes())
        return b"".join(out)

    def bytes(self):
        out = [self.prefix()] if self.int_version() >= 151 else []
        out.append(self.header())
        out += [self.channel_record(s) for s in range(self.slots)]
        out.append(self.filler)
        out += [self.line_record(n) for n in range(len(self.lines))]
        return b"".join(out)


def text(value, size):
    if len(value) > size:
        raise ValueError("text of %d bytes in a field of %d" % (len(value), size))
    return value.ljust(size, b"\0")


def directory(base, offsets, resolutions, sizes, order="<", count=None):
    """The 1208 bytes after magic and version text."""
    count = len(offsets) if count is None else count

    def table(code, values):
        return struct.pack("%s100%s" % (order, code), *(list(values) + [0] * (100 - len(values))))
    return (struct.pack(order + "2i", base, count)
            + table("i", offsets) + table("f", resolutions) + table("i", sizes))


def lut_record(lut, o):
    return struct.pack(o + "2h", len(lut.entries), lut.key) + text(lut.label, 200) + b"".join(
        bytes(e[:3]) + text(e[3], 200) for e in lut.entries)


def table_record(t, o):
    return (struct.pack(o + "2h", len(t.values), t.key) + text(t.label, 200)
            + struct.pack("%s%df" % (o, len(t.values)), *t.values))


def histogram_block(h, o):
    if h is None:
        return b"\0"
    return b"\1" + struct.pack("%shff%di" % (o, len(h.counts)),
                               len(h.counts), h.max, h.min, *h.counts)


def container(files, base=0):
    """The composite of files, each a (bytes with a prefix, resolution) pair."""
    sizes = [len(b) for b, _ in files]
    offsets = [sum(sizes[:k]) for k in range(len(sizes))]
    first = files[0][0]
    return b"".join([first[:DIRECTORY_AT], directory(base, offsets, [r for _, r in files], sizes),
                     first[PREFIX_SIZE:]] + [b for b, _ in files[1:]])


def read_directory(data):
    """(base, count, offsets, resolutions, sizes) of a prefix, the unused entries included."""
    values = struct.unpack("<2i100i100f100i", data[DIRECTORY_AT:PREFIX_SIZE])
    return values[0], values[1], values[2:102], values[102:202], values[202:302]


class Cursor:
    def __init__(self, data, at, order):
        self.data, self.at, self.order = data, at, order

    def take(self, codes):
        values = struct.unpack_from(self.order + codes, self.data, self.at)
        self.at += struct.calcsize(self.order + codes)
        return values

    def one(self, code):
        return self.take(code)[0]

    def raw(self, size):
        self.at += size
        return bytes(self.data[self.at - size:self.at])

    def text(self, size):
        return self.raw(size).split(b"\0")[0]


def parse(data, start=0, size=None, order="<"):
    """One plain file, or the component of size bytes at start."""
    end = len(data) if size is None else start + size
    prefixed = data[start:start + 3] == b"ZEL"
    c = Cursor(data, start + (PREFIX_SIZE if prefixed else 0), order)
    f = ZelFile(order=order, version=c.one("f"))
    v = f.int_version()
    if prefixed:
        f.version_text = bytes(data[start + 3:start + 13]).split(b"\0")[0]
    f.slots = c.one("h") if v > 100 else 20
    f.year, f.julian, f.satellite, f.pixels = c.take("4h")
    if v >= 111:
        f.nav_points, f.nav_start, f.nav_interval = c.take("3i")
        f.data_type, f.altitude, f.resolution = c.take("hff")
        f.comment = c.text(2000)
        luts, tables = c.take("2h")
        f.luts = [parse_lut(c) for _ in range(luts)]
        f.tables = [parse_table(c) for _ in range(tables)]
    else:
        f.nav_points = 51
    if v >= 142:
        f.angles = c.take("3h")
    if v >= 201:
        f.meta_type, f.meta_size = c.take("2i")
        f.metadata = c.raw(20000).rstrip(b"\0")
    for slot in range(f.slots):
        f.channels[slot] = parse_channel(c, v)
    f.header_size = c.at - start
    size, channels = line_size(f), f.present()
    while c.at + size <= end:
        parse_line(c, v, f, channels)
    return f


def line_size(f):
    v = f.int_version()
    nav = 8 * f.nav_points + 8 + 4 * (v >= 131) + 12 * (v >= 201) + 8 * (v >= 221)
    return nav + sum(ch.pixel_bytes() * f.pixels for _, ch in f.present())


def parse_lut(c):
    count, key = c.take("2h")
    return Lut(key, c.text(200), [c.take("3B") + (c.text(200),) for _ in range(count)])


def parse_table(c):
    count, key = c.take("2h")
    return Table(key, c.text(200), list(c.take("%df" % count)))


def parse_histogram(c):
    if not c.one("B"):
        return None
    bins, top, bottom = c.take("hff")
    return Histogram(top, bottom, list(c.take("%di" % bins)))


def parse_channel(c, v):
    ch = Channel()
    ch.present, ch.max, ch.min, ch.type, ch.byte_size, ch.bits = c.take("iffiii")
    ch.label, ch.comment = c.text(120), c.text(120)
    ch.wavelength = c.one("f") if v >= 111 else 0.0
    ch.units = c.one("i") if v >= 131 else 0
    ch.base_flag = c.one("i") if v >= 132 else 0
    if v >= 141:
        ch.mask, c.at = parse_mask(c.data, c.at)
    if v >= 211:
        ch.tables = [parse_table(c) for _ in range(c.one("h"))]
    if v >= 121:
        ch.histogram, ch.standard = parse_histogram(c), parse_histogram(c)
    return ch


def parse_line(c, v, f, channels):
    l = Line(time=c.one("d"), right=f.pixels - 1, nadir=f.pixels // 2 - 1)
    if v >= 131:
        l.altitude = c.one("f")
    if v >= 201:
        l.left, l.right, l.nadir = c.take("3i")
    if v >= 221:
        l.nadir_lat, l.nadir_lon = c.take("2f")
    l.lat, l.lon = (list(c.take("%df" % f.nav_points)) for _ in range(2))
    f.lines.append(l)
    for _, ch in channels:
        row = array(TYPECODE[ch.type], c.raw(f.pixels * ch.pixel_bytes()))
        if c.order == ">":
            row.byteswap()
        ch.rows.append(row)


def read_in_order(f, order):
    """f as its bytes look when its lines, but not its header, are read in the given byte order."""
    g = replace(f, order=order, lines=[],
                channels={s: replace(c, rows=[]) for s, c in f.channels.items()})
    for n in range(len(f.lines)):
        parse_line(Cursor(f.line_record(n), 0, order), f.int_version(), g, g.present())
    return g


def parse_all(data):
    """The components of a composite, in directory order, or the one file."""
    _, count, offsets, _, sizes = read_directory(data)
    if count < 2:
        return [parse(data)]
    return [parse(data, offsets[k], sizes[k]) for k in range(count)]
